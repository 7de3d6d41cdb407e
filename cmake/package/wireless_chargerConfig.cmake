# SPDX-License-Identifier: Apache-2.0
# find_package(wireless_charger) provides
#
#   wireless_charger::stubs        the classes generated from the .aidl files; brings binder_ndk
#   wireless_charger::binder_ndk   the binder layer, with log and base below it
#   wireless_charger::service      all of the service but main(); who links it also links chargelink
#                                  and reverselink, or closed libraries of his own
#   wireless_charger::chargelink, wireless_charger::reverselink    the virtual dock
#   add_aidl_ndk_library()         stubs for another interface; see AidlNdk.cmake

# The real path: through a link such as /lib to /usr/lib the prefix would come out as /.
file(REAL_PATH "${CMAKE_CURRENT_LIST_DIR}" _prefix)
get_filename_component(_prefix "${_prefix}/../../.." ABSOLUTE)
set(_folder "${_prefix}/lib/wireless-charger")

if(NOT TARGET wireless_charger::binder_ndk)
  function(_wireless_charger_library name kind file)
    add_library(wireless_charger::${name} ${kind} IMPORTED)
    list(TRANSFORM ARGN PREPEND wireless_charger:: OUTPUT_VARIABLE needed)
    set_target_properties(wireless_charger::${name} PROPERTIES
      IMPORTED_LOCATION "${_folder}/${file}"
      INTERFACE_INCLUDE_DIRECTORIES "${_prefix}/include/wireless-charger"
      INTERFACE_LINK_LIBRARIES "${needed}"
      INTERFACE_COMPILE_FEATURES cxx_std_20)
  endfunction()

  _wireless_charger_library(log SHARED liblog.so)
  _wireless_charger_library(base SHARED libbase.so log)
  _wireless_charger_library(utils SHARED libutils.so log)
  _wireless_charger_library(cutils SHARED libcutils.so)
  _wireless_charger_library(binder_ndk SHARED libbinder_ndk.so base log)
  _wireless_charger_library(stubs STATIC libvendor.zorvak.wireless_charger-V8-ndk.a binder_ndk)
  _wireless_charger_library(service STATIC libwireless_charger_hal.a stubs base log utils cutils)
  set_property(TARGET wireless_charger::service APPEND PROPERTY
    INTERFACE_INCLUDE_DIRECTORIES "${_prefix}/include/wireless-charger/service")
  _wireless_charger_library(virtual_dock SHARED libvirtual_dock.so)
  _wireless_charger_library(chargelink SHARED libchargelink.so virtual_dock)
  _wireless_charger_library(reverselink SHARED libreverselink.so virtual_dock)

  add_executable(wireless_charger::aidl IMPORTED)
  set_target_properties(wireless_charger::aidl PROPERTIES IMPORTED_LOCATION "${_folder}/bin/aidl")
endif()

include("${CMAKE_CURRENT_LIST_DIR}/AidlNdk.cmake")
