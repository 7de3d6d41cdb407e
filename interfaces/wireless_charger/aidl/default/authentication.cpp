// SPDX-License-Identifier: Apache-2.0
// Carries the messages of Qi authentication, and two further exchanges that authenticate the dock.
// Verifying them is the client's business.
#include <android/log.h>
#include <sys/types.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

#include "WirelessCharger.h"
#include "protocol/chargelink.h"
#include "result_status.h"

namespace aidl::vendor::zorvak::wireless_charger {

using ndk::ScopedAStatus;

namespace {

// Byte 0 of every message: protocol version 1 and the message type.
constexpr uint8_t kGetDigests = 0x19;
constexpr uint8_t kGetCertificate = 0x1A;
constexpr uint8_t kChallenge = 0x1B;
constexpr uint8_t kDigests = 0x11;
constexpr uint8_t kCertificate = 0x12;
constexpr uint8_t kChallengeAuth = 0x13;
constexpr uint8_t kError = 0x17;

constexpr uint8_t kSlotBits = 0x03;
constexpr uint8_t kSlotMaskBits = 0x0F;

// DIGESTS: two masks in one byte, then the digests that the lower one names, packed.
constexpr size_t kMasksAt = 1;
constexpr size_t kFirstDigestAt = 2;
constexpr size_t kDigestSize = 32;
constexpr uint32_t kDigestsTimeLimit = 53000;

// CERTIFICATE: a part of the chain; a chain begins with its length, most significant byte first.
constexpr size_t kCertDataAt = 1;
constexpr size_t kMaxCertificate = AuthPacket::kSize;
constexpr size_t kAssumedChainLength = 1058;

// CHALLENGE and CHALLENGE_AUTH.
constexpr size_t kAuthNonceSize = 16;
constexpr size_t kVersionAndSlotsAt = 1;
constexpr size_t kChainHashLsbAt = 2;
constexpr size_t kSignatureRAt = 3;
constexpr size_t kSignatureSAt = 35;
constexpr size_t kSignatureSize = 32;
constexpr size_t kChallengeAuthSize = 67;
constexpr uint32_t kChallengeTimeLimit = 33000;

// ERROR.
constexpr size_t kErrorCodeAt = 1;
constexpr size_t kErrorDataAt = 2;

// The dock's challenge: the value, the nonce's length, the nonce; answered by length and bytes.
constexpr int32_t kBidiChallenge = 18;
constexpr size_t kDockNonceSize = 8;
constexpr size_t kDockAnswerSizeAt = 0;
constexpr size_t kDockAnswerAt = 1;

// The key exchange: the key; answered by one byte and the dock's key.
constexpr int32_t kBidiKeyExchange = 16;
constexpr size_t kKeySize = 32;
constexpr size_t kKeyHeaderAt = 0;
constexpr size_t kKeyAt = 1;

/** GET_CERTIFICATE: offset and length have 11 bits each, the upper three in byte 1. */
void putCertificateRequest(AuthPacket& packet, int8_t slot, uint16_t offset, size_t piece) {
    packet.restart();
    packet.put8(kGetCertificate);
    packet.put8(
        static_cast<uint8_t>((slot & kSlotBits) | ((offset >> 3) & 0xE0) | ((piece >> 6) & 0x1C)));
    packet.put8(offset & 0xFF);
    packet.put8(piece & 0xFF);
}

uint32_t certificateTimeLimit(size_t piece) {
    return piece == 0 ? 330000 : static_cast<uint32_t>((3 * piece + 40) / 10 * 1000 + 10000);
}

/** The error that an answer of another type than expected means. */
ErrorCode errorOfAnswer(const AuthPacket& packet) {
    if (packet.get8(0) != kError) return ErrorCode::INVALID_RESPONSE;
    switch (packet.get8(kErrorCodeAt)) {
        case 1:
            return ErrorCode::INVALID_ARGUMENT;
        case 2:
            return ErrorCode::UNSUPPORTED;
        case 3:
            return ErrorCode::BUSY;
        default:
            return ErrorCode::FAILED;
    }
}

/** kNoError for an answer of the expected type; any other is logged. */
ErrorCode checkAnswer(const AuthPacket& packet, uint8_t expected) {
    if (packet.get8(0) == expected) return kNoError;
    __android_log_print(ANDROID_LOG_ERROR, nullptr, "Received error %02hhx %02hhx %02hhx\n",
                        packet.get8(0), packet.get8(kErrorCodeAt), packet.get8(kErrorDataAt));
    return errorOfAnswer(packet);
}

std::vector<uint8_t> bytesAt(const uint8_t* from, size_t count) {
    return {from, from + count};
}

}  // namespace

ScopedAStatus WirelessCharger::getWpcAuthDigests(int8_t slotMask, WpcAuthDigests* out) {
    out->slotPopulatedMask = 0;
    out->digestMask = 0;
    AuthPacket packet;
    packet.put8(kGetDigests);
    packet.put8(slotMask & kSlotMaskBits);
    ErrorCode error = sendWpcAuthUnderLock(kDigestsTimeLimit, packet);
    if (error == kNoError) error = checkAnswer(packet, kDigests);
    if (error != kNoError) return statusOf(error);
    out->slotPopulatedMask = static_cast<int8_t>(packet.get8(kMasksAt) >> 4);
    out->digestMask = static_cast<int8_t>(packet.get8(kMasksAt) & kSlotMaskBits);

    std::array<uint8_t, kDigestSize>* const digests[] = {&out->digest0, &out->digest1,
                                                         &out->digest2, &out->digest3};
    size_t position = kFirstDigestAt;
    for (size_t slot = 0; slot < std::size(digests); slot++) {
        if (out->digestMask & (1 << slot)) {
            std::copy_n(packet.at(position), kDigestSize, digests[slot]->begin());
            position += kDigestSize;
        } else {
            digests[slot]->fill(0);
        }
    }
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::getWpcAuthChallengeResponse(int8_t slot,
                                                           const std::vector<uint8_t>& nonce,
                                                           WpcAuthChallengeResponse* out) {
    out->maxProtocolVersion = 0;
    out->slotPopulatedMask = 0;
    out->certChainHashLsb = 0;
    if (nonce.size() != kAuthNonceSize) return statusOf(ErrorCode::INVALID_ARGUMENT);

    AuthPacket packet;
    packet.put8(kChallenge);
    packet.put8(slot & kSlotBits);
    packet.putBytes(nonce);
    ErrorCode error = sendWpcAuthUnderLock(kChallengeTimeLimit, packet);
    if (error == kNoError) error = checkAnswer(packet, kChallengeAuth);
    if (error != kNoError) return statusOf(error);
    if (packet.answerLength() < kChallengeAuthSize) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "Received invalid length packet %zd\n",
                            static_cast<ssize_t>(packet.answerLength()));
        return statusOf(ErrorCode::INVALID_RESPONSE);
    }
    out->maxProtocolVersion = static_cast<int8_t>(packet.get8(kVersionAndSlotsAt) >> 4);
    out->slotPopulatedMask = static_cast<int8_t>(packet.get8(kVersionAndSlotsAt) & kSlotMaskBits);
    out->certChainHashLsb = packet.getSigned8(kChainHashLsbAt);
    out->signatureR = bytesAt(packet.at(kSignatureRAt), kSignatureSize);
    out->signatureS = bytesAt(packet.at(kSignatureSAt), kSignatureSize);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::getWpcAuthCertificate(int8_t slot, char16_t offset, char16_t length,
                                                     std::vector<uint8_t>* out) {
    if (length > kMaxCertificate) return statusOf(ErrorCode::INVALID_ARGUMENT);

    AuthPacket packet;
    std::array<uint8_t, kMaxCertificate> aggregate{};
    // gathered + remaining never grows, so the aggregate holds every byte; each answer that is
    // taken lowers remaining, so there are at most as many requests as bytes.
    size_t remaining = length != 0 ? length : kAssumedChainLength;
    size_t gathered = 0;
    size_t piece = mCertRequestLength.load(std::memory_order_relaxed);
    do {
        piece = std::min(piece, remaining);
        putCertificateRequest(packet, slot, offset, piece);
        __android_log_print(ANDROID_LOG_INFO, nullptr, "get cert B1:%02hhx B2:%02hhx B3:%02hhx\n",
                            packet.get8(1), packet.get8(2), packet.get8(3));
        const ErrorCode error = sendWpcAuthUnderLock(certificateTimeLimit(piece), packet);
        if (error != kNoError) return statusOf(error);
        if (packet.get8(0) != kCertificate) {
            __android_log_print(ANDROID_LOG_ERROR, nullptr, "Received error %02hhx\n",
                                packet.get8(0));
            return statusOf(errorOfAnswer(packet));
        }
        if (packet.answerLength() <= kCertDataAt) {
            return statusOf(ErrorCode::INVALID_RESPONSE);
        }
        if (offset == 0) {
            const size_t chainLength = packet.get8(kCertDataAt) << 8 | packet.get8(kCertDataAt + 1);
            remaining = std::min(chainLength, remaining);
        }
        const size_t received = std::min(packet.answerLength() - kCertDataAt, remaining);
        std::copy_n(packet.at(kCertDataAt), received, aggregate.begin() + gathered);
        remaining -= received;
        gathered += received;
        offset = static_cast<char16_t>(offset + received);
        __android_log_print(ANDROID_LOG_INFO, nullptr,
                            "aggregate of cert, len:%zu sum:%d remaining:%d\n", received,
                            static_cast<int>(gathered), static_cast<int>(remaining));
    } while (remaining != 0);

    out->assign(aggregate.begin(), aggregate.begin() + gathered);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::isAuthReady(bool* out) {
    const ErrorCode error = errorOfResult(setAuthStart());
    *out = error == kNoError;
    return statusOf(error);
}

ScopedAStatus WirelessCharger::challenge(int8_t value, const std::vector<uint8_t>& nonce,
                                         std::vector<uint8_t>* out) {
    if (nonce.size() != kDockNonceSize) return statusOf(ErrorCode::INVALID_ARGUMENT);

    Request request;
    request.put8(static_cast<uint8_t>(value));
    request.put8(kDockNonceSize);
    request.putBytes(nonce);
    const ErrorCode error = sendBidiUnderLock(kBidiChallenge, request);
    if (error != kNoError) return statusOf(error);
    if (request.get8(kDockAnswerSizeAt) != kDockNonceSize) {
        return statusOf(ErrorCode::INVALID_RESPONSE);
    }
    *out = bytesAt(request.at(kDockAnswerAt), kDockNonceSize);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::keyExchange(const std::vector<uint8_t>& key,
                                           KeyExchangeResponse* out) {
    if (key.size() != kKeySize) return statusOf(ErrorCode::INVALID_ARGUMENT);

    Request request;
    request.putBytes(key);
    const ErrorCode error = sendBidiUnderLock(kBidiKeyExchange, request);
    if (error != kNoError) return statusOf(error);
    out->header = request.getSigned8(kKeyHeaderAt);
    out->key = bytesAt(request.at(kKeyAt), kKeySize);
    return ScopedAStatus::ok();
}

}  // namespace aidl::vendor::zorvak::wireless_charger
