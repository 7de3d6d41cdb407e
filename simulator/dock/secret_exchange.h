// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "extras.h"
#include "packet.h"
#include "protocol.h"

namespace virtual_dock {

// The dock's own challenge and key exchange, beside WPC authentication. A value type.
//
// Key exchange: X25519. The phone sends its public key; the dock answers kHeader and the public key
// of a fresh pair. Both then hold the session key
//     SHA-256("virtual dock session" | shared secret | phone's key | dock's key).
//
// Challenge: the phone sends a value and 8 bytes; the dock answers the first 8 bytes of
//     HMAC-SHA-256(key, value | the 8 bytes)
// with the session key, or kPairingKey while none was exchanged.
class SecretExchange {
  public:
    static constexpr uint8_t kHeader = 1;  // the form of the exchange
    static constexpr char kPairingKey[] = "virtual dock without session key";  // 32 characters

    SecretExchange();

    Result answerKeyExchange(Bytes request, AnswerBuffer* answer);
    Result answerChallenge(Bytes request, AnswerBuffer* answer) const;

  private:
    Key mKey;
};

}  // namespace virtual_dock
