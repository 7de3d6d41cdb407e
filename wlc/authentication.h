// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "context.h"
#include "qi_authentication.h"

namespace wlc {

// Proves that the dock is who its certificates say: readiness, digests, chain, root, signatures, a
// fresh challenge. Prints each step as it is done, and in the end who the dock is. `root` is whom
// to believe. Throws Failure (kRefused, name NOT_AUTHENTIC) at the first step that does not hold,
// with the steps so far among its details, and as usual when the service refuses a request.
void authenticate(Context& context, uint8_t slot, X509* root);

// Reads a slot's whole chain, however long it says it is.
std::vector<uint8_t> readWholeChain(Context& context, uint8_t slot);

// Fresh random bytes for a challenge.
std::vector<uint8_t> freshNonce();

}  // namespace wlc
