# SPDX-License-Identifier: Apache-2.0
# Stub libraries from AIDL files.
#
# add_aidl_ndk_library(NAME name PACKAGE a.b ROOT folder SOURCES file... [VERSION n FROZEN folder])
#
#   NAME      the static library, linked to binder_ndk; who links it gets the generated headers
#             (aidl/a/b/IFoo.h, BnFoo.h, BpFoo.h, Record.h) on its include path, without warnings
#             from them
#   PACKAGE   the AIDL package of all files
#   ROOT      the folder that the package's folders start in
#   SOURCES   the .aidl files, relative to ROOT
#   VERSION   the version of the interface; without it the interface has none and is not checked
#   FROZEN    where the API dumps are kept: n/ with its .hash, and current/
#
# With a version, the build fails when the .aidl files, the dump of version n, its .hash and the
# dump current/ do not all say the same. The error names the target to run:
#
#   cmake --build DIR --target NAME-update-api   writes current/ from the .aidl files
#   cmake --build DIR --target NAME-freeze-api   the same, then writes n/ and its .hash; for a version
#                                                that nobody has been given yet
#
# A released version stays as it is: change VERSION first, then freeze the new one.

function(add_aidl_ndk_library)
  cmake_parse_arguments(ARG "" "NAME;PACKAGE;ROOT;VERSION;FROZEN" "SOURCES" ${ARGN})
  set(needed NAME PACKAGE ROOT SOURCES)
  if(ARG_VERSION OR ARG_FROZEN)
    list(APPEND needed VERSION FROZEN)
  endif()
  foreach(name IN LISTS needed)
    if(NOT ARG_${name})
      message(FATAL_ERROR "add_aidl_ndk_library: ${name} is missing")
    endif()
  endforeach()
  set(AIDL_NDK_TASKS ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/AidlNdkTasks.cmake)
  string(REPLACE "." "/" package_path ${ARG_PACKAGE})
  set(output ${CMAKE_CURRENT_BINARY_DIR}/${ARG_NAME})
  set(hash_file ${ARG_FROZEN}/${ARG_VERSION}/.hash)

  set(inputs)
  set(generated)
  foreach(file IN LISTS ARG_SOURCES)
    set(input ${ARG_ROOT}/${file})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${input})
    list(APPEND inputs ${input})
    get_filename_component(type ${file} NAME_WE)
    list(APPEND generated ${output}/src/${package_path}/${type}.cpp
                          ${output}/include/aidl/${package_path}/${type}.h)
    file(STRINGS ${input} declaration REGEX "(^|[^A-Za-z0-9_])interface[ \t]+${type}([^A-Za-z0-9_]|$)")
    if(declaration)
      string(SUBSTRING ${type} 1 -1 base)
      list(APPEND generated ${output}/include/aidl/${package_path}/Bn${base}.h
                            ${output}/include/aidl/${package_path}/Bp${base}.h)
    endif()
  endforeach()

  # Found anew at each build, so that a dump file that comes or goes is noticed.
  set(dumps)
  if(ARG_VERSION)
    file(GLOB_RECURSE dumps CONFIGURE_DEPENDS ${ARG_FROZEN}/${ARG_VERSION}/*.aidl
         ${ARG_FROZEN}/current/*.aidl ${hash_file})
  endif()

  list(JOIN inputs "\n" input_lines)
  file(CONFIGURE OUTPUT ${output}/inputs.txt CONTENT "${input_lines}\n" @ONLY)
  set(task ${CMAKE_COMMAND} -DAIDL=$<TARGET_FILE:wireless_charger::aidl> -DNAME=${ARG_NAME}
           -DROOT=${ARG_ROOT} -DVERSION=${ARG_VERSION} -DFROZEN=${ARG_FROZEN}
           -DPACKAGE_PATH=${package_path} -DOUTPUT=${output} -DBUILD=${CMAKE_BINARY_DIR})

  add_custom_command(
    OUTPUT ${generated}
    COMMAND ${task} -DTASK=generate -P ${AIDL_NDK_TASKS}
    DEPENDS wireless_charger::aidl ${inputs} ${dumps} ${AIDL_NDK_TASKS}
    COMMENT "Generating the stubs of ${ARG_NAME}"
    VERBATIM)
  add_library(${ARG_NAME} STATIC ${generated})
  # Generated text is not to be changed by hand: no warnings, for it or for who includes it.
  target_include_directories(${ARG_NAME} SYSTEM PUBLIC ${output}/include)
  target_compile_options(${ARG_NAME} PRIVATE -w)
  # With RTTI and exceptions: users are built either way, and with RTTI they need the type information
  # of the classes that they derive from.
  target_link_libraries(${ARG_NAME} PUBLIC wireless_charger::binder_ndk)
  if(NOT ARG_VERSION)
    return()
  endif()

  add_custom_command(
    OUTPUT ${output}/api-checked
    COMMAND ${task} -DTASK=check -P ${AIDL_NDK_TASKS}
    DEPENDS wireless_charger::aidl ${inputs} ${dumps} ${AIDL_NDK_TASKS}
    COMMENT "Checking the frozen API of ${ARG_NAME}"
    VERBATIM)
  add_custom_target(${ARG_NAME}-check-api DEPENDS ${output}/api-checked)
  foreach(change update freeze)
    add_custom_target(${ARG_NAME}-${change}-api
      COMMAND ${task} -DTASK=${change} -P ${AIDL_NDK_TASKS}
      VERBATIM)
    add_dependencies(${ARG_NAME}-${change}-api wireless_charger::aidl)
  endforeach()
  add_dependencies(${ARG_NAME} ${ARG_NAME}-check-api)
endfunction()
