// SPDX-License-Identifier: Apache-2.0
// Both firmware command sets: any arguments, any answers.
#include <fuzzer/FuzzedDataProvider.h>

#include "charger_under_fuzz.h"

using namespace aidl::vendor::zorvak::wireless_charger;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    WirelessCharger& charger = chargerUnderFuzz();
    fake::protocol().answer = [&](const fake::Sent& sent) {
        if (sent.request.size() > 256) __builtin_trap();
        return fake::Answer{.result = input.ConsumeIntegralInRange<uint32_t>(0, 40) / 40,
                            .bytes = input.ConsumeBytes<uint8_t>(input.ConsumeIntegral<uint8_t>())};
    };
    const auto target = input.ConsumeIntegral<int8_t>();
    const auto number = input.ConsumeIntegral<int32_t>();
    const auto flag = input.ConsumeBool();
    FirmwareVersion version;
    version.major = number;
    version.name = input.ConsumeRandomLengthString(300);
    const auto chunk = input.ConsumeBytes<uint8_t>(input.ConsumeIntegralInRange<size_t>(0, 300));

    FwUpdateInfo info;
    charger.getFwUpdateInformation(target, &info);
    FwUpdateStartResponse start;
    charger.compressFwUpdateStart(target, number, target, flag, flag ? number : 0, version, &start);
    ChunkResponse chunkResponse;
    charger.sendCompressFwChunk(target, number, target, chunk, &chunkResponse);
    FwMissingChunk missing;
    charger.getFirstFwMissingChunk(target, &missing);
    ExecuteStatus status = ExecuteStatus::ACCEPTED;
    charger.fwExecuteUpdate(target, &status);
    FwUpdateStatus fwStatus;
    charger.getFwUpdateExecutionStatus(target, &fwStatus);

    UpdateInfo legacyInfo;
    charger.getUpdateInformation(&legacyInfo);
    UpdateStartResponse legacyStart;
    charger.updateStart(number, target, flag, version, &legacyStart);
    char16_t next = 0;
    charger.sendChunk(static_cast<char16_t>(number), target, chunk, &next);
    MissingChunk legacyMissing;
    charger.getFirstMissingChunk(&legacyMissing);
    charger.executeUpdate(&status);
    UpdateStatus legacyStatus;
    charger.getUpdateExecutionStatus(&legacyStatus);
    if (static_cast<int8_t>(status) < 0 || static_cast<int8_t>(status) > 3) __builtin_trap();
    return 0;
}
