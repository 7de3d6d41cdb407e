// SPDX-License-Identifier: Apache-2.0
// Diagnostic commands. Their answers go to the log.
#include <android/log.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "WirelessCharger.h"
#include "protocol/chargelink.h"

namespace aidl::vendor::zorvak::wireless_charger {

namespace {

const std::unordered_map<std::string, DiagType>& overrideWords() {
    static const std::unordered_map<std::string, DiagType> words = {
        {"diag.qispec", DiagType::QI_SPEC},
        {"diag.compatibility", DiagType::COMPATIBILITY},
        {"diag.maxpower", DiagType::MAX_POWER},
        {"diag.negopower", DiagType::NEGO_POWER},
        {"diag.limitreason", DiagType::LIMIT_REASON},
    };
    return words;
}

/** Reads a number; what follows it does not matter. Without a digit *number is 0. */
bool parseNumber(const char* text, int base, unsigned long* number) {
    char* end = nullptr;
    *number = strtoul(text, &end, base);
    return end != text;
}

// The EDS loop test.
constexpr int32_t kPropEds = 14;
constexpr int kModeData = 0;
constexpr int kModeLoopback = 1;

// Request: the mode, then the random bytes.
constexpr size_t kPacketSize = 128;
constexpr size_t kModeAt = 0;
constexpr size_t kDataAt = 1;
constexpr unsigned long kMaxEdsSize = 92;

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
bool exchangeWithoutLock(const uint8_t* request, size_t requestLength, uint8_t* answer) {
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

/**
 * Sends packets of random bytes to the dock and checks the answers; tells in the log how it went.
 * Blocks until all passes are done or one fails. Takes no lock: its requests run beside others.
 *
 * mode 0: the dock answers with a byte of 0. mode 1: it answers with the request.
 * loop: passes, 1 to 65535. size: random bytes a packet, 0 to kMaxEdsSize.
 */
void edsTest(int mode, int loop, int size) {
    const auto dataSize = static_cast<size_t>(size);
    uint8_t request[kPacketSize] = {};
    uint8_t answer[kPacketSize] = {};  // kept from pass to pass
    request[kModeAt] = static_cast<uint8_t>(mode);
    for (int pass = 1; pass <= loop; pass++) {
        if (!fillRandom(request + kDataAt, dataSize)) return;
        __android_log_print(ANDROID_LOG_INFO, nullptr, "eds test mode: %d, loop: %d/ %d\n", mode,
                            pass, loop);
        if (!exchangeWithoutLock(request, dataSize + kDataAt, answer)) break;
    }
    logError("eds test done\n");
}

/** args: mode, loop count, size. False when one is no number. */
bool runEdsTest(const char** args) {
    __android_log_print(ANDROID_LOG_INFO, nullptr, "eds test request, mode: %s, loop: %s, size: %s",
                        args[0], args[1], args[2]);
    unsigned long numbers[3];
    for (int i = 0; i < 3; i++) {
        if (!parseNumber(args[i], 10, &numbers[i])) return false;
        numbers[i] &= 0xFFFF;
    }
    const auto [mode, loop, size] = numbers;
    if (mode > 1) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "invalid eds test mode\n");
    } else if (loop == 0) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "invalid eds test loop\n");
    } else if (size > kMaxEdsSize) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "invalid eds test size, over %d\n",
                            static_cast<int>(kMaxEdsSize));
    } else {
        edsTest(static_cast<int>(mode), static_cast<int>(loop), static_cast<int>(size));
    }
    return true;
}

}  // namespace

bool WirelessCharger::setOverride(DiagType type, const char** args, uint32_t numArgs) {
    if (numArgs < 2) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "missing value for %s\n", args[0]);
        return false;
    }
    unsigned long number = 0;
    if (!parseNumber(args[1], 0, &number)) return false;
    const auto value = static_cast<uint32_t>(number);
    {
        std::lock_guard lock(mDiagOverridesLock);
        mDiagOverrides[type] = value;
    }
    __android_log_print(ANDROID_LOG_INFO, nullptr, "set %s override to: %d", args[0],
                        static_cast<int32_t>(value));
    return true;
}

bool WirelessCharger::setCertRequestLength(const char** args, uint32_t numArgs) {
    if (numArgs < 2) return false;
    __android_log_print(ANDROID_LOG_INFO, nullptr, "certificate length request: %s", args[1]);
    unsigned long number = 0;
    const bool isNumber = parseNumber(args[1], 10, &number);
    mCertRequestLength.store(static_cast<uint32_t>(number), std::memory_order_relaxed);
    return isNumber;
}

binder_status_t WirelessCharger::handleShellCommand(int /*in*/, int /*out*/, int /*err*/,
                                                    const char** args, uint32_t numArgs) {
    bool understood = false;
    if (numArgs == 0) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "Invalid argc: %d\n", 0);
    } else if (const auto word = overrideWords().find(args[0]); word != overrideWords().end()) {
        understood = setOverride(word->second, args, numArgs);
    } else if (args[0] == std::string_view("cert.request_length")) {
        understood = setCertRequestLength(args, numArgs);
    } else if (args[0] == std::string_view("eds.test")) {
        understood = numArgs >= 4 && runEdsTest(args + 1);
    }
    if (!understood) __android_log_print(ANDROID_LOG_ERROR, nullptr, "unknown cmd and args\n");
    return STATUS_OK;
}

}  // namespace aidl::vendor::zorvak::wireless_charger
