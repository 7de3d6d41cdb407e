// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

// What libvirtual_dock_crypto.so does with OpenSSL. The dock loads it when the first challenge or
// key exchange comes, so that a service that never authenticates never has OpenSSL in memory. Each
// returns 1 when it has written its output, else 0. Any thread.
extern "C" {

// ECDSA on P-256 over the SHA-256 of the message, with a PKCS #8 DER key. R then S, big-endian.
int virtualDockSign(const uint8_t* key, size_t keyLength, const uint8_t* message,
                    size_t messageLength, uint8_t signature[64]);

// X25519 with a fresh key: the public key that goes out and the secret shared with the peer. 0 for
// a peer key that gives no secret.
int virtualDockAgree(const uint8_t peerKey[32], uint8_t ownKey[32], uint8_t secret[32]);
}
