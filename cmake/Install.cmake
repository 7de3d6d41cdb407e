# SPDX-License-Identifier: Apache-2.0
# What `cmake --install` puts below a prefix. All paths are relative, so a copied prefix works:
#
#   bin/                            the service, wlc, dockctl, virtual-dock
#   lib/wireless-charger/           libraries; a folder of their own, since their names (log, base) are
#                                   too general for a shared one
#   lib/wireless-charger/recorder/  libraries that record others: for LD_LIBRARY_PATH where wanted
#   lib/wireless-charger/bin/       the AIDL compiler, dumpsys, cmd, service, getprop, setprop: for
#                                   PATH where no other programs of these names are wanted
#   lib/systemd/user/               units, for a prefix whose bin/ systemd searches (/usr, /usr/local)
#   include/wireless-charger/       public and generated headers
#   share/wireless-charger/         .aidl files, the virtual dock's certificates
#   share/doc/wireless-charger/     API reference, guides, examples
#   share/bash-completion/, share/zsh/  completions, from the programs' own parsers
#   share/man/                      manual pages, when scdoc is there
#   lib/cmake/wireless_charger/, lib/pkgconfig/, lib/python3/dist-packages/
#
# The components are the packages of Package.cmake.

set(private_folder lib/wireless-charger)
set(documents share/doc/wireless-charger)

set(tools dumpsys cmd service getprop setprop)
set(platform_libraries log base utils cutils binder_ndk)
set(dock_libraries virtual_dock chargelink reverselink)
set(recorder_libraries dock_recorder chargelink_recorder reverselink_recorder)
set(static_libraries vendor.zorvak.wireless_charger-V8-ndk wireless_charger_hal)
set(service_programs vendor.zorvak.wireless_charger-service wlc)
set(dock_programs dockctl virtual-dock)
set_target_properties(${service_programs} ${dock_programs} PROPERTIES
  INSTALL_RPATH "$ORIGIN/../${private_folder}")
set_target_properties(${tools} aidl PROPERTIES INSTALL_RPATH "$ORIGIN/..")
set_target_properties(${platform_libraries} ${dock_libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(${recorder_libraries} PROPERTIES INSTALL_RPATH "$ORIGIN:$ORIGIN/..")

install(TARGETS ${service_programs} DESTINATION bin COMPONENT service)
install(TARGETS ${dock_programs} DESTINATION bin COMPONENT dock)
install(TARGETS ${platform_libraries} LIBRARY DESTINATION ${private_folder} COMPONENT libraries)
install(TARGETS ${dock_libraries} virtual_dock_extras
  LIBRARY DESTINATION ${private_folder} COMPONENT dock)
install(TARGETS ${recorder_libraries}
  LIBRARY DESTINATION ${private_folder}/recorder COMPONENT dock)
install(TARGETS ${tools} DESTINATION ${private_folder}/bin COMPONENT service)
install(DIRECTORY simulator/certificates/ DESTINATION share/wireless-charger/certificates
  COMPONENT dock FILES_MATCHING PATTERN "*.pem")

install(FILES packaging/systemd/wireless-charger.service DESTINATION lib/systemd/user
  COMPONENT service)
install(FILES packaging/systemd/virtual-dock.service DESTINATION lib/systemd/user COMPONENT dock)

install(TARGETS aidl DESTINATION ${private_folder}/bin COMPONENT development)
install(TARGETS ${static_libraries} ARCHIVE DESTINATION ${private_folder} COMPONENT development)
# CMake strips programs and shared libraries only.
install(CODE "
  if(CMAKE_INSTALL_DO_STRIP)
    file(GLOB archives \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${private_folder}/*.a\")
    execute_process(COMMAND ${CMAKE_STRIP} --strip-debug --enable-deterministic-archives \${archives}
      COMMAND_ERROR_IS_FATAL ANY)
  endif()" COMPONENT development)
set(headers include/wireless-charger)
install(DIRECTORY platform/include/ DESTINATION ${headers} COMPONENT development)
install(DIRECTORY ${stubs_folder}/include/ DESTINATION ${headers} COMPONENT development)
install(DIRECTORY interfaces/wireless_charger/aidl/default/ DESTINATION ${headers}/service
  COMPONENT development FILES_MATCHING PATTERN "*.h" PATTERN tests EXCLUDE PATTERN fuzz EXCLUDE)
install(DIRECTORY interfaces/wireless_charger/aidl/vendor
  DESTINATION share/wireless-charger/aidl COMPONENT development FILES_MATCHING PATTERN "*.aidl")

include(CMakePackageConfigHelpers)
set(package_folder lib/cmake/wireless_charger)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/wireless_chargerConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/wireless_chargerConfigVersion.cmake
  cmake/package/wireless_chargerConfig.cmake cmake/AidlNdk.cmake cmake/AidlNdkTasks.cmake
  DESTINATION ${package_folder} COMPONENT development)
configure_file(cmake/package/wireless_charger.pc.in wireless_charger.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/wireless_charger.pc DESTINATION lib/pkgconfig
  COMPONENT development)

install(DIRECTORY python/wireless_charger DESTINATION lib/python3/dist-packages
  COMPONENT python FILES_MATCHING PATTERN "*.py" PATTERN py.typed PATTERN __pycache__ EXCLUDE)

install(FILES docs/clients.md docs/own-service.md docs/virtual-dock.md
  DESTINATION ${documents}/docs COMPONENT development)
install(DIRECTORY examples DESTINATION ${documents} COMPONENT development
  PATTERN test.sh EXCLUDE PATTERN __pycache__ EXCLUDE)

# The API reference; the build fails where a comment of the interface is missing.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(generator ${PROJECT_SOURCE_DIR}/interfaces/wireless_charger/check/api_reference.py)
set(interface_folder ${PROJECT_SOURCE_DIR}/interfaces/wireless_charger/aidl/vendor/zorvak/wireless_charger)
file(GLOB interface_files CONFIGURE_DEPENDS ${interface_folder}/*.aidl)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/docs)
add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/docs/api.md
  COMMAND ${Python3_EXECUTABLE} -B ${generator} ${interface_folder} ${PROJECT_BINARY_DIR}/docs/api.md
  DEPENDS ${generator} ${interface_files} VERBATIM)
add_custom_target(api_reference ALL DEPENDS ${PROJECT_BINARY_DIR}/docs/api.md)
install(FILES ${PROJECT_BINARY_DIR}/docs/api.md DESTINATION ${documents}/docs
  COMPONENT development)

find_program(SCDOC scdoc)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/completions ${PROJECT_BINARY_DIR}/man)
if(NOT SCDOC)
  message(STATUS "No manual pages: scdoc is not installed")
endif()

function(add_completions program component)
  set(bash ${PROJECT_BINARY_DIR}/completions/${program}.bash)
  set(zsh ${PROJECT_BINARY_DIR}/completions/_${program})
  add_custom_command(OUTPUT ${bash} ${zsh}
    COMMAND ${program} --completion bash > ${bash}
    COMMAND ${program} --completion zsh > ${zsh}
    DEPENDS ${program} VERBATIM)
  add_custom_target(${program}_completions ALL DEPENDS ${bash} ${zsh})
  install(FILES ${bash} DESTINATION share/bash-completion/completions RENAME ${program}
    COMPONENT ${component})
  # Where zsh looks by itself, and, only in packages, where Debian's does.
  install(FILES ${zsh} DESTINATION share/zsh/site-functions COMPONENT prefix)
  install(FILES ${zsh} DESTINATION share/zsh/vendor-completions COMPONENT ${component}
    EXCLUDE_FROM_ALL)
endfunction()

function(add_manual_page page component)
  if(NOT SCDOC)
    return()
  endif()
  set(source ${PROJECT_SOURCE_DIR}/docs/man/${page}.scd)
  set(made ${PROJECT_BINARY_DIR}/man/${page}.gz)
  add_custom_command(OUTPUT ${made} COMMAND ${SCDOC} < ${source} | gzip -9n > ${made}
    DEPENDS ${source} VERBATIM)
  add_custom_target(manual-${page} ALL DEPENDS ${made})
  string(REGEX MATCH "[0-9]$" section ${page})
  install(FILES ${made} DESTINATION share/man/man${section} COMPONENT ${component})
endfunction()

add_completions(wlc service)
add_completions(dockctl dock)
add_completions(virtual-dock dock)
add_manual_page(wlc.1 service)
add_manual_page(dockctl.1 dock)
add_manual_page(virtual-dock.1 dock)
add_manual_page(vendor.zorvak.wireless_charger-service.8 service)
