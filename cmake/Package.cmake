# SPDX-License-Identifier: Apache-2.0
# The Debian packages: `cpack` in the build folder, or ./dev package. One component, one package:
#
#   libwireless-charger        the shared libraries below service, dock and clients
#   wireless-charger-dock      the virtual dock behind libchargelink and libreverselink, dockctl
#   wireless-charger-service   the service with its systemd user unit, wlc, dumpsys and its siblings
#   libwireless-charger-dev    what clients and services of others are built with
#   python3-wireless-charger   the Python module for tests
#
# Libraries and service are two packages because the dock, which the service loads, needs the former.

set(PACKAGE_MAINTAINER "Wireless Charger Maintainers <wireless-charger@example.org>" CACHE STRING
  "Maintainer of the Debian packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME wireless-charger)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_COMPONENTS_ALL libraries dock service development python)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Debian's own two documents of each package.
set(debian_changelog ${PROJECT_BINARY_DIR}/changelog.gz)
add_custom_command(OUTPUT ${debian_changelog}
  COMMAND ${Python3_EXECUTABLE} -B packaging/debian_changelog.py CHANGELOG.md
          ${CPACK_PACKAGE_NAME} ${PROJECT_VERSION} ${PACKAGE_MAINTAINER} ${debian_changelog}
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
  DEPENDS ${PROJECT_SOURCE_DIR}/packaging/debian_changelog.py ${PROJECT_SOURCE_DIR}/CHANGELOG.md
  VERBATIM)
add_custom_target(debian_changelog ALL DEPENDS ${debian_changelog})

# debian_package(COMPONENT NAME name SECTION section SUMMARY text DESCRIPTION text
#                [ARCHITECTURE all] [OWN package...] [DEPENDS package...] [RECOMMENDS package...])
# OWN are the packages of this project that it needs, in the same version.
macro(debian_package component)
  cmake_parse_arguments(ARG "" "NAME;SECTION;SUMMARY;DESCRIPTION;ARCHITECTURE" "OWN;DEPENDS;RECOMMENDS"
    ${ARGN})
  string(TOUPPER ${component} upper)
  list(TRANSFORM ARG_OWN APPEND " (= ${PROJECT_VERSION})")
  list(JOIN ARG_RECOMMENDS ", " recommends)
  set(all_depends ${ARG_OWN} ${ARG_DEPENDS})
  list(JOIN all_depends ", " depends)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${ARG_NAME})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SOURCE ${CPACK_PACKAGE_NAME})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${ARG_SECTION})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${ARG_SUMMARY}\n${ARG_DESCRIPTION}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_RECOMMENDS "${recommends}")
  if(ARG_ARCHITECTURE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_ARCHITECTURE ${ARG_ARCHITECTURE})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SHLIBDEPS OFF)
  endif()
  install(FILES ${debian_changelog} packaging/copyright DESTINATION share/doc/${ARG_NAME}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endmacro()

debian_package(libraries NAME libwireless-charger SECTION libs
  SUMMARY "Android platform libraries for the wireless-charger service"
  DESCRIPTION "Stand-ins for libbinder_ndk, libbase, liblog, libutils and libcutils, on
which the wireless-charger service, its clients and its virtual dock run on
Linux.")
debian_package(dock NAME wireless-charger-dock SECTION utils OWN libwireless-charger
  SUMMARY "virtual dock for the wireless-charger service"
  DESCRIPTION "Stands in for the closed libraries through which the service reaches
charger and dock. dockctl steers the dock and shows what it was asked.")
debian_package(service NAME wireless-charger-service SECTION utils
  OWN libwireless-charger wireless-charger-dock
  SUMMARY "Android wireless-charger service on Linux, and its command-line client"
  DESCRIPTION "Serves vendor.zorvak.wireless_charger.IWirelessCharger over RPC binder to
processes of the same user: the dock's identity, power, alignment, fans,
reverse charging and firmware. Brings a systemd user unit, and the tools
wlc, dumpsys, cmd, service, getprop and setprop.")
debian_package(development NAME libwireless-charger-dev SECTION libdevel
  OWN libwireless-charger wireless-charger-dock
  RECOMMENDS g++ cmake pkg-config wireless-charger-service
  SUMMARY "development files for wireless-charger clients and services"
  DESCRIPTION "Headers, generated stubs, .aidl files, the AIDL compiler, CMake and pkg-config
files, the API reference, and examples.")
debian_package(python NAME python3-wireless-charger SECTION python ARCHITECTURE all
  OWN wireless-charger-service wireless-charger-dock DEPENDS python3 RECOMMENDS python3-pytest
  SUMMARY "Python module for tests against the wireless-charger service"
  DESCRIPTION "Starts the service on a virtual dock of its own, steers the dock, calls the
service and waits for its events. Includes a pytest fixture.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/packaging/python/postinst ${PROJECT_SOURCE_DIR}/packaging/python/prerm)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
