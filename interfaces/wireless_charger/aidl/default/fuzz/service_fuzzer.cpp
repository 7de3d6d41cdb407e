// SPDX-License-Identifier: Apache-2.0
// Random parcels to everything that the service's binder object takes, on a dock that answers all
// requests alike.
#include <fuzzbinder/libbinder_ndk_driver.h>
#include <fuzzer/FuzzedDataProvider.h>

#include <utility>

#include "charger_under_fuzz.h"

using namespace aidl::vendor::zorvak::wireless_charger;

constexpr int32_t kEdsTest = 14;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    WirelessCharger& charger = chargerUnderFuzz();
    const uint32_t result = input.ConsumeIntegralInRange<uint32_t>(0, 40) / 40;
    const auto bytes = input.ConsumeBytes<uint8_t>(input.ConsumeIntegral<uint8_t>());
    fake::protocol().answer = [&](const fake::Sent& sent) {
        if (sent.request.size() > 256) __builtin_trap();
        // The EDS test would go on for thousands of passes; it ends at the first failure.
        if (sent.channel == fake::Sent::PROP && sent.type == kEdsTest) return fake::Answer{1};
        return fake::Answer{.result = result, .bytes = bytes};
    };
    android::fuzzService(charger.asBinder().get(), std::move(input));
    return 0;
}
