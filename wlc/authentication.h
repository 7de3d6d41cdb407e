// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "context.h"
#include "qi_authentication.h"

namespace wlc {

// The root certificate that a dock is checked against.
struct TrustedRoot {
    Certificate certificate;     // null: none, so that no dock can pass
    bool keysArePublic = false;  // passing proves nothing about real hardware
};

// Authenticates the dock: readiness, digests, chain, root, signatures, a challenge with this nonce
// of kNonceSize bytes, which proves something when it is fresh. Prints each step as it completes,
// then the dock's identity. Without a root certificate it prints the evidence and throws Failure
// NOT_TRUSTED. Throws Failure NOT_AUTHENTIC at the first step that fails, and as usual when the
// service refuses a request; the steps so far are in the details.
void authenticate(Context& context, uint8_t slot, const TrustedRoot& root,
                  const std::vector<uint8_t>& nonce);

// Reads a slot's entire chain, in as many requests as its length needs.
std::vector<uint8_t> readWholeChain(Context& context, uint8_t slot);

// Fresh random bytes for a challenge.
std::vector<uint8_t> freshNonce();

}  // namespace wlc
