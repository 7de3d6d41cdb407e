# SPDX-License-Identifier: Apache-2.0
# What `cmake --install` puts below a prefix. All paths are relative, so a copied prefix works:
#
#   bin/                            the service, wlc, dockctl
#   lib/wireless-charger/           libraries; a folder of their own, since their names (log, base) are
#                                   too general for a shared one
#   lib/wireless-charger/recorder/  libraries that record others: for LD_LIBRARY_PATH where wanted
#   lib/wireless-charger/bin/       the AIDL compiler, dumpsys, cmd, service, getprop, setprop: for
#                                   PATH where no other programs of these names are wanted
#   include/wireless-charger/       public and generated headers
#   share/wireless-charger/         .aidl files, the virtual dock's certificates
#   share/bash-completion/, share/zsh/  completions, from the programs' own parsers
#   share/man/                      manual pages, when scdoc is there
#   lib/cmake/wireless_charger/, lib/pkgconfig/, lib/python3/dist-packages/

set(private_folder lib/wireless-charger)

set(programs vendor.zorvak.wireless_charger-service wlc dockctl)
set(tools aidl dumpsys cmd service getprop setprop)
set(shared_libraries log base utils cutils binder_ndk virtual_dock chargelink reverselink)
set(recorder_libraries dock_recorder chargelink_recorder reverselink_recorder)
set(static_libraries vendor.zorvak.wireless_charger-V8-ndk wireless_charger_hal)
set_target_properties(${programs} PROPERTIES INSTALL_RPATH "$ORIGIN/../${private_folder}")
set_target_properties(${tools} PROPERTIES INSTALL_RPATH "$ORIGIN/..")
set_target_properties(${shared_libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(${recorder_libraries} PROPERTIES INSTALL_RPATH "$ORIGIN:$ORIGIN/..")

install(TARGETS ${programs} DESTINATION bin COMPONENT runtime)
install(TARGETS ${shared_libraries} virtual_dock_extras
  LIBRARY DESTINATION ${private_folder} COMPONENT runtime)
install(TARGETS ${recorder_libraries}
  LIBRARY DESTINATION ${private_folder}/recorder COMPONENT runtime)
install(TARGETS ${tools} DESTINATION ${private_folder}/bin COMPONENT runtime)
install(DIRECTORY simulator/certificates/ DESTINATION share/wireless-charger/certificates
  COMPONENT runtime FILES_MATCHING PATTERN "*.pem")

install(TARGETS ${static_libraries} ARCHIVE DESTINATION ${private_folder} COMPONENT development)
set(headers include/wireless-charger)
install(DIRECTORY platform/include/ DESTINATION ${headers} COMPONENT development)
install(DIRECTORY ${stubs_folder}/include/ DESTINATION ${headers} COMPONENT development)
install(DIRECTORY interfaces/wireless_charger/aidl/default/ DESTINATION ${headers}/service
  COMPONENT development FILES_MATCHING PATTERN "*.h" PATTERN tests EXCLUDE PATTERN fuzz EXCLUDE)
install(DIRECTORY interfaces/wireless_charger/aidl/vendor
  DESTINATION share/wireless-charger/aidl COMPONENT development FILES_MATCHING PATTERN "*.aidl")

file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/completions)
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
  COMPONENT runtime FILES_MATCHING PATTERN "*.py" PATTERN py.typed PATTERN __pycache__ EXCLUDE)

foreach(program wlc dockctl)
  set(completions ${PROJECT_BINARY_DIR}/completions/${program}.bash
                  ${PROJECT_BINARY_DIR}/completions/_${program})
  list(GET completions 0 bash)
  list(GET completions 1 zsh)
  add_custom_command(OUTPUT ${completions}
    COMMAND ${program} --completion bash > ${bash}
    COMMAND ${program} --completion zsh > ${zsh}
    DEPENDS ${program} VERBATIM)
  add_custom_target(${program}_completions ALL DEPENDS ${completions})
  install(FILES ${bash} DESTINATION share/bash-completion/completions RENAME ${program}
    COMPONENT runtime)
  install(FILES ${zsh} DESTINATION share/zsh/site-functions COMPONENT runtime)
endforeach()

find_program(SCDOC scdoc)
foreach(page wlc.1 dockctl.1 vendor.zorvak.wireless_charger-service.8)
  if(NOT SCDOC)
    message(STATUS "No manual pages: scdoc is not installed")
    break()
  endif()
  set(source ${PROJECT_SOURCE_DIR}/docs/man/${page}.scd)
  set(made ${PROJECT_BINARY_DIR}/man/${page})
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/man)
  add_custom_command(OUTPUT ${made} COMMAND ${SCDOC} < ${source} > ${made} DEPENDS ${source}
    VERBATIM)
  add_custom_target(manual-${page} ALL DEPENDS ${made})
  string(REGEX MATCH "[0-9]$" section ${page})
  install(FILES ${made} DESTINATION share/man/man${section} COMPONENT runtime)
endforeach()
