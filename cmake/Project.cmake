# SPDX-License-Identifier: Apache-2.0
# Flags, output folders and the two helper functions that every target of the project uses.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# For the sanitizer, lint and demo presets, which compile several files at once: a clean build takes a
# third of the time.
set(CMAKE_UNITY_BUILD_BATCH_SIZE 12)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
# RUNPATH, not RPATH: it is searched after LD_LIBRARY_PATH, so another libchargelink.so can take the
# virtual dock's place without a rebuild.
add_link_options(LINKER:--enable-new-dtags LINKER:--as-needed)

find_package(Threads REQUIRED)

# What every target gets: warnings are errors.
add_library(project_options INTERFACE)
target_compile_options(project_options INTERFACE
  -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough -Werror
  -fno-semantic-interposition
  # Messages name files as they are called here, wherever that is.
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
target_link_libraries(project_options INTERFACE Threads::Threads)

# For programs that have --version.
add_library(project_version INTERFACE)
target_compile_definitions(project_version INTERFACE PROJECT_VERSION="${PROJECT_VERSION}")

# The service and platform/ are built as on the platform: without exceptions and RTTI.
add_library(platform_options INTERFACE)
target_link_libraries(platform_options INTERFACE project_options)
target_compile_options(platform_options INTERFACE -fno-exceptions -fno-rtti)

# add_project_test(NAME SOURCES file... [LIBS target...] [TIMEOUT seconds])
# One GoogleTest program, one CTest entry. Without RTTI, so that tests may derive from platform classes.
function(add_project_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
  if(NOT BUILD_TESTING)
    return()
  endif()
  find_package(GTest REQUIRED)
  add_executable(${name} ${ARG_SOURCES})
  # Not optimised, to compile in half the time; what is tested is, as its preset says.
  target_compile_options(${name} PRIVATE -fno-rtti -O0)
  target_link_libraries(${name} PRIVATE project_options ${ARG_LIBS} GTest::gmock GTest::gtest_main)
  add_test(NAME ${name} COMMAND ${name})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
endfunction()

# add_project_fuzzer(NAME SOURCES file... [LIBS target...])
# One libFuzzer program; a folder corpus/NAME beside it holds its seeds when there are any.
function(add_project_fuzzer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE -fno-rtti)
  target_link_libraries(${name} PRIVATE project_options ${ARG_LIBS})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
endfunction()
