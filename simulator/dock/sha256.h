// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

#include "packet.h"

namespace virtual_dock {

using Digest = std::array<uint8_t, 32>;

// SHA-256 (FIPS 180-4), piece by piece. The dock has its own so that reading digests and taking
// firmware do not load a cryptography library into the service.
class Sha256 {
  public:
    Sha256();
    void add(Bytes bytes);

    // The digest of all that was added; the object is used up.
    Digest finish();

  private:
    static constexpr size_t kBlockSize = 64;

    void compress(const uint8_t* block);

    std::array<uint32_t, 8> mState;
    std::array<uint8_t, kBlockSize> mBlock{};
    uint64_t mLength = 0;
};

Digest sha256(Bytes bytes);

// HMAC-SHA-256 (RFC 2104) with a key of at most 64 bytes.
Digest hmacSha256(Bytes key, Bytes message);

}  // namespace virtual_dock
