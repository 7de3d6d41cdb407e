// SPDX-License-Identifier: Apache-2.0
#include "certificates.h"

#include "certificate_data.h"

namespace virtual_dock {
namespace {

constexpr uint8_t kVersion = 1;

constexpr size_t kGetDigestsLength = 2;
constexpr size_t kGetCertificateLength = 4;
constexpr size_t kChallengeLength = 18;

// Error codes.
constexpr uint8_t kInvalidRequest = 1;
constexpr uint8_t kUnsupportedProtocol = 2;

// What is signed: this byte, the chain's hash, the request, the answer up to the signature.
constexpr uint8_t kSignedPrefix = 0x41;
constexpr size_t kSignedAnswerBytes = 3;

void addError(uint8_t code, uint8_t data, AnswerBuffer* answer) {
    answer->clear();
    answer->add8(wpc_auth::kError);
    answer->add8(code);
    answer->add8(data);
}

size_t lengthOf(int32_t type) {
    if (type == wpc_auth::kGetDigests) return kGetDigestsLength;
    return type == wpc_auth::kGetCertificate ? kGetCertificateLength : kChallengeLength;
}

}  // namespace

std::vector<uint8_t> CertificateSlot::sentChain() const {
    std::vector<uint8_t> sent(chain.begin(), chain.end());
    if (flippedByte >= 0 && static_cast<size_t>(flippedByte) < sent.size()) {
        sent[static_cast<size_t>(flippedByte)] ^= 0xFF;
    }
    return sent;
}

WpcAuthenticator::WpcAuthenticator() {
    slots[0] = {true, certificate_data::kSlot0Chain, certificate_data::kSlot0Key};
    slots[1] = {true, certificate_data::kSlot1Chain, certificate_data::kSlot1Key};
    slots[3] = {true, certificate_data::kSlot3Chain, certificate_data::kSlot3Key};
}

uint8_t WpcAuthenticator::populatedMask() const {
    uint8_t mask = 0;
    for (size_t i = 0; i < kSlots; ++i) {
        if (slots[i].present && !slots[i].chain.empty()) mask |= static_cast<uint8_t>(1 << i);
    }
    return mask;
}

void WpcAuthenticator::answerDigests(Bytes request, AnswerBuffer* answer) const {
    const uint8_t given = request[1] & populatedMask();
    answer->add8(wpc_auth::kDigests);
    answer->add8(static_cast<uint8_t>(populatedMask() << 4 | given));
    for (size_t i = 0; i < kSlots; ++i) {
        if (given & 1 << i) answer->add(digest(i));
    }
}

void WpcAuthenticator::answerCertificate(Bytes request, AnswerBuffer* answer) const {
    const size_t slot = request[1] & 0x03;
    const size_t offset = static_cast<size_t>((request[1] & 0xE0) << 3 | request[2]);
    const size_t length = static_cast<size_t>((request[1] & 0x1C) << 6 | request[3]);
    std::vector<uint8_t> chain = slots[slot].sentChain();
    if (!(populatedMask() & 1 << slot) || offset >= chain.size()) {
        return addError(kInvalidRequest, 0, answer);
    }
    if (claimedLength >= 0) {
        chain[0] = static_cast<uint8_t>(claimedLength >> 8);
        chain[1] = static_cast<uint8_t>(claimedLength);
    }
    const size_t rest = chain.size() - offset;
    const size_t count = std::min<size_t>({rest, length == 0 ? rest : length, maxPiece});
    answer->add8(wpc_auth::kCertificate);
    answer->add(Bytes(chain).subspan(offset, count));
}

Result WpcAuthenticator::sign(size_t slot, Bytes signedBytes, Signature* signature) {
    if (signing == Signing::kGarbage) {
        signature->fill(0x5A);
        return kOk;
    }
    if (signing == Signing::kReplayed && mHasSigned) {
        *signature = mLastSignature;
        return kOk;
    }
    if (signing == Signing::kWrongSlot) slot = slot == 0 ? 1 : 0;
    if (!extras().sign(slots[slot].key, signedBytes, signature)) return kInternalError;
    mLastSignature = *signature;
    mHasSigned = true;
    return kOk;
}

Result WpcAuthenticator::answerChallenge(Bytes request, AnswerBuffer* answer) {
    const size_t slot = request[1] & 0x03;
    if (!(populatedMask() & 1 << slot)) {
        addError(kInvalidRequest, 0, answer);
        return kOk;
    }
    const Digest hash = digest(slot);
    answer->add8(wpc_auth::kChallengeAuth);
    answer->add8(static_cast<uint8_t>(kVersion << 4 | populatedMask()));
    answer->add8(hash.back());

    AnswerBuffer toSign;
    toSign.add8(kSignedPrefix);
    toSign.add(hash);
    toSign.add(request);
    toSign.add(answer->bytes().first(kSignedAnswerBytes));
    Signature signature;
    const Result result = sign(slot, toSign.bytes(), &signature);
    if (result == kOk) answer->add(signature);
    return result;
}

Result WpcAuthenticator::answer(int32_t type, Bytes request, AnswerBuffer* answer) {
    if (typeName(Operation::kWpcAuthRequest, type) == nullptr) return kUnsupported;
    if (request.empty() || (request[0] & 0x0F) != (type & 0x0F)) return kInvalidArgument;
    if (error != 0) {
        addError(error, 0, answer);
    } else if (request[0] >> 4 != kVersion) {
        addError(kUnsupportedProtocol, kVersion << 4, answer);
    } else if (request.size() != lengthOf(type)) {
        addError(kInvalidRequest, 0, answer);
    } else if (type == wpc_auth::kGetDigests) {
        answerDigests(request, answer);
    } else if (type == wpc_auth::kGetCertificate) {
        answerCertificate(request, answer);
    } else {
        return answerChallenge(request, answer);
    }
    return kOk;
}

}  // namespace virtual_dock
