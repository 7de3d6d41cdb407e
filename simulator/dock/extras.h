// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>

#include "packet.h"

namespace virtual_dock {

using Digest = std::array<uint8_t, 32>;
using Signature = std::array<uint8_t, 64>;
using Key = std::array<uint8_t, 32>;

// What the dock does with OpenSSL and zlib, in libvirtual_dock_extras.so. Any thread. The functions
// that return bool write their output only when they return true.
struct Extras {
    // SHA-256 of the pieces one after another; HMAC-SHA-256.
    Digest (*sha256)(std::initializer_list<Bytes> pieces);
    Digest (*hmacSha256)(Bytes key, Bytes message);

    // ECDSA on P-256 over the SHA-256 of the message, with a PKCS #8 DER key. R then S, big-endian.
    bool (*sign)(Bytes key, Bytes message, Signature* signature);

    // X25519 with a fresh key: the public key that goes out and the secret shared with the peer.
    // False for a peer key that gives no secret.
    bool (*agree)(Bytes peerKey, Key* ownKey, Key* secret);

    // Expands a zlib stream, which must be whole and give exactly `size` bytes.
    bool (*inflate)(Bytes compressed, uint8_t* bytes, size_t size);
};

// Loads the library, which lies beside this one, at the first call, so that a service that neither
// authenticates nor updates firmware has no OpenSSL in memory. It stays loaded. The process ends
// with a message when it is missing. Any thread.
const Extras& extras();

}  // namespace virtual_dock

// What the library exports.
extern "C" const virtual_dock::Extras virtualDockExtras;
