// SPDX-License-Identifier: Apache-2.0
// The dock's description of itself, of any shape and claimed length, and Qi IDs of any text.
#include <fuzzer/FuzzedDataProvider.h>

#include "charger_under_fuzz.h"
#include "utf8_text.h"

using namespace aidl::vendor::zorvak::wireless_charger;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    WirelessCharger& charger = chargerUnderFuzz();
    const auto claimed = input.ConsumeIntegralInRange<size_t>(0, 300);
    WlcInfo update;
    DockInfo given;
    given.qiId = input.ConsumeRandomLengthString(40);
    update.set<WlcInfo::Tag::dockInfo>(given);
    charger.updateInformation(update);
    fake::answerAll({.bytes = input.ConsumeRemainingBytes<uint8_t>(), .claimedLength = claimed});

    DockInfo info;
    const bool ok = charger.getInformation(&info).isOk();
    DockInfo cached;
    charger.getDockInformation(&cached);
    makeValidUtf8(given.qiId);
    if (cached.qiId != given.qiId) __builtin_trap();
    if (ok && info.infoText0 != cached.infoText0) __builtin_trap();
    if (cached.flagBits < 0 || cached.flagBits > 3) __builtin_trap();
    return 0;
}
