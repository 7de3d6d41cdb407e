// SPDX-License-Identifier: Apache-2.0
#include "charger_under_fuzz.h"

#include <android/log.h>
#include <cutils/uevent.h>

// In the place of libcutils' function, here as on a phone: the event thread finds no socket.
int uevent_open_socket(int /*bufferSize*/, bool /*passcred*/) {
    return -1;
}

namespace aidl::vendor::zorvak::wireless_charger {

WirelessCharger& chargerUnderFuzz() {
    static WirelessCharger& charger = []() -> WirelessCharger& {
        __android_log_set_logger([](const __android_log_message*) {});
        static auto& owner = *new auto(ndk::SharedRefBase::make<WirelessCharger>());
        return *owner;
    }();
    fake::reset();
    return charger;
}

}  // namespace aidl::vendor::zorvak::wireless_charger
