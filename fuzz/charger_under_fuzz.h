// SPDX-License-Identifier: Apache-2.0
/* The service on the fake libraries, silent and without an event thread, for one fuzz target. */
#pragma once

#include <android/log.h>
#include <stdint.h>
#include <stdlib.h>

#include <memory>

#include "WirelessCharger.h"
#include "fake_protocol.h"

namespace aidl::vendor::zorvak::wireless_charger {

inline WirelessCharger& chargerUnderFuzz() {
    // Never destroyed: it lives as long as the process, as the service does.
    static WirelessCharger& charger = []() -> WirelessCharger& {
        setenv("ANDROID_HOST_UEVENT_SOCKET", "/dev/null/no-socket", 1);
        __android_log_set_logger([](const __android_log_message*) {});
        static auto& owner = *new auto(ndk::SharedRefBase::make<WirelessCharger>());
        return *owner;
    }();
    fake::reset();
    return charger;
}

}  // namespace aidl::vendor::zorvak::wireless_charger
