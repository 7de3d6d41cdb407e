// SPDX-License-Identifier: Apache-2.0
#include "secret_exchange.h"

#include <string_view>

namespace virtual_dock {
namespace {

constexpr std::string_view kSessionLabel = "virtual dock session";
constexpr size_t kNonceSize = 8;

// The challenge: byte 0 a value, byte 1 the nonce's length, then the nonce.
constexpr size_t kNonceAt = 2;

}  // namespace

SecretExchange::SecretExchange() {
    static_assert(sizeof(kPairingKey) - 1 == sizeof(Key));
    std::memcpy(mKey.data(), kPairingKey, mKey.size());
}

Result SecretExchange::answerKeyExchange(Bytes request, AnswerBuffer* answer) {
    if (request.size() != mKey.size()) return kInvalidArgument;
    Key ownKey;
    Key secret;
    if (!extras().agree(request, &ownKey, &secret)) return kRefused;
    mKey = extras().sha256({bytesOf(kSessionLabel), secret, request, ownKey});
    answer->add8(kHeader);
    answer->add(ownKey);
    return kOk;
}

Result SecretExchange::answerChallenge(Bytes request, AnswerBuffer* answer) const {
    if (request.size() != kNonceAt + kNonceSize || request[1] != kNonceSize) {
        return kInvalidArgument;
    }
    std::array<uint8_t, 1 + kNonceSize> message;
    message[0] = request[0];
    std::copy_n(request.begin() + kNonceAt, kNonceSize, message.begin() + 1);
    answer->add8(kNonceSize);
    answer->add(Bytes(extras().hmacSha256(mKey, message)).first(kNonceSize));
    return kOk;
}

}  // namespace virtual_dock
