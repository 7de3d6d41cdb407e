// SPDX-License-Identifier: Apache-2.0
// Answers of docks that authenticate: above all certificates, which are joined from many answers.
#include <fuzzer/FuzzedDataProvider.h>

#include <string>

#include "charger_under_fuzz.h"

using namespace aidl::vendor::zorvak::wireless_charger;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    WirelessCharger& charger = chargerUnderFuzz();
    const std::string pieceSize = std::to_string(input.ConsumeIntegral<uint16_t>());
    const char* args[] = {"cert.request_length", pieceSize.c_str()};
    charger.handleShellCommand(-1, -1, -1, args, 2);
    const auto slot = input.ConsumeIntegral<int8_t>();
    const char16_t offset = input.ConsumeIntegral<uint16_t>();
    const char16_t length = input.ConsumeIntegral<uint16_t>();
    size_t requests = 0;
    fake::protocol().answer = [&](const fake::Sent&) {
        requests++;
        const auto bytes = input.ConsumeIntegralInRange<size_t>(0, 2044);
        return fake::Answer{.result = input.ConsumeIntegralInRange<uint32_t>(0, 40) / 40,
                            .bytes = input.ConsumeBytes<uint8_t>(bytes),
                            .claimedLength = input.ConsumeIntegralInRange<size_t>(0, 5000)};
    };

    std::vector<uint8_t> certificate;
    const bool ok = charger.getWpcAuthCertificate(slot, offset, length, &certificate).isOk();
    if (requests > 2044) __builtin_trap();
    if (ok && certificate.size() > (length != 0 ? length : 1058u)) __builtin_trap();

    WpcAuthDigests digests;
    charger.getWpcAuthDigests(slot, &digests);
    WpcAuthChallengeResponse response;
    charger.getWpcAuthChallengeResponse(slot, std::vector<uint8_t>(16), &response);
    std::vector<uint8_t> answer;
    charger.challenge(slot, std::vector<uint8_t>(8), &answer);
    KeyExchangeResponse key;
    charger.keyExchange(std::vector<uint8_t>(32), &key);
    return 0;
}
