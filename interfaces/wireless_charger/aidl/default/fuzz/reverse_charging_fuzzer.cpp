// SPDX-License-Identifier: Apache-2.0
// Texts of the reverse-transmit library, with and without an end.
#include <fuzzer/FuzzedDataProvider.h>

#include "charger_under_fuzz.h"
#include "reverse_charging.h"

using namespace aidl::vendor::zorvak::wireless_charger;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    WirelessCharger& charger = chargerUnderFuzz();
    for (int32_t type = 1; type <= 10; type++) {
        fake::protocol().rtx[type] = {input.ConsumeBool(), input.ConsumeBytesAsString(20)};
    }
    RtxStatusInfo info;
    getRtxInfoInternal(info);
    if (info.mode < 0 || info.mode > 2) __builtin_trap();
    if (info.errorType < 0 || (info.errorType > 5 && info.errorType != 15)) __builtin_trap();
    bool on = false;
    charger.isRtxModeOn(&on);
    if (on != (info.mode == 1)) __builtin_trap();
    return 0;
}
