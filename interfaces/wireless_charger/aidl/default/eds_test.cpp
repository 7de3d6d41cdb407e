// SPDX-License-Identifier: Apache-2.0
#include "eds_test.h"

#include <android/log.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "protocol/chargelink.h"
#include "request.h"

namespace aidl::vendor::zorvak::wireless_charger {

namespace {

constexpr int32_t kPropEds = 14;
constexpr int kModeData = 0;
constexpr int kModeLoopback = 1;

// Request: the mode, then the random bytes.
constexpr size_t kPacketSize = 128;
constexpr size_t kModeAt = 0;
constexpr size_t kDataAt = 1;

void logError(const char* line) {
    __android_log_print(ANDROID_LOG_ERROR, nullptr, "%s", line);
}

/** Fills the bytes at random; false after telling why not. */
bool fillRandom(uint8_t* bytes, size_t size) {
    FILE* random = fopen("/dev/urandom", "rb");
    if (random == nullptr) {
        logError("eds io error\n");
        return false;
    }
    const size_t got = fread(bytes, 1, size, random);
    fclose(random);
    if (got < size) {
        logError("eds input data error\n");
        return false;
    }
    return true;
}

/** Sends the packet and checks the answer; false after telling what is wrong. */
bool exchange(const uint8_t* request, size_t requestLength, uint8_t* answer) {
    size_t answerLength = kPacketSize;
    if (sendPropRequest(kPropEds, request, requestLength, answer, &answerLength, kPropTimeLimit) !=
        0) {
        logError("eds test error\n");
        return false;
    }
    if (request[kModeAt] == kModeData && answer[0] != 0) {
        logError("eds test data error\n");
        return false;
    }
    if (request[kModeAt] == kModeLoopback && memcmp(answer, request, requestLength) != 0) {
        logError("eds test loopback error\n");
        return false;
    }
    return true;
}

}  // namespace

void edsTest(int mode, int loop, int size) {
    const auto dataSize = static_cast<size_t>(size);
    uint8_t request[kPacketSize] = {};
    uint8_t answer[kPacketSize] = {};  // kept from pass to pass
    request[kModeAt] = static_cast<uint8_t>(mode);
    for (int pass = 1; pass <= loop; pass++) {
        if (!fillRandom(request + kDataAt, dataSize)) return;
        __android_log_print(ANDROID_LOG_INFO, nullptr, "eds test mode: %d, loop: %d/ %d\n", mode,
                            pass, loop);
        if (!exchange(request, dataSize + kDataAt, answer)) break;
    }
    logError("eds test done\n");
}

}  // namespace aidl::vendor::zorvak::wireless_charger
