// SPDX-License-Identifier: Apache-2.0
#include "crypto_module.h"

#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <vector>

namespace {

template <auto Free>
struct Freer {
    template <typename T>
    void operator()(T* object) const {
        Free(object);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Freer<EVP_PKEY_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Freer<EVP_PKEY_CTX_free>>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, Freer<EVP_MD_CTX_free>>;
using Signature = std::unique_ptr<ECDSA_SIG, Freer<ECDSA_SIG_free>>;

constexpr int kNumberSize = 32;
constexpr size_t kKeySize = 32;

}  // namespace

int virtualDockSign(const uint8_t* key, size_t keyLength, const uint8_t* message,
                    size_t messageLength, uint8_t signature[64]) {
    const Key parsed(d2i_AutoPrivateKey(nullptr, &key, static_cast<long>(keyLength)));
    const DigestContext context(EVP_MD_CTX_new());
    if (!parsed || !context) return 0;
    if (EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, parsed.get()) != 1) {
        return 0;
    }
    size_t length = 0;
    if (EVP_DigestSign(context.get(), nullptr, &length, message, messageLength) != 1) return 0;
    std::vector<uint8_t> der(length);
    if (EVP_DigestSign(context.get(), der.data(), &length, message, messageLength) != 1) return 0;
    const uint8_t* begin = der.data();
    const Signature numbers(d2i_ECDSA_SIG(nullptr, &begin, static_cast<long>(length)));
    if (!numbers) return 0;
    return BN_bn2binpad(ECDSA_SIG_get0_r(numbers.get()), signature, kNumberSize) == kNumberSize &&
           BN_bn2binpad(ECDSA_SIG_get0_s(numbers.get()), signature + kNumberSize, kNumberSize) ==
               kNumberSize;
}

int virtualDockAgree(const uint8_t peerKey[32], uint8_t ownKey[32], uint8_t secret[32]) {
    const Key own(EVP_PKEY_Q_keygen(nullptr, nullptr, "X25519"));
    const Key peer(EVP_PKEY_new_raw_public_key(EVP_PKEY_X25519, nullptr, peerKey, kKeySize));
    if (!own || !peer) return 0;
    size_t length = kKeySize;
    if (EVP_PKEY_get_raw_public_key(own.get(), ownKey, &length) != 1) return 0;
    const KeyContext context(EVP_PKEY_CTX_new(own.get(), nullptr));
    length = kKeySize;
    return context && EVP_PKEY_derive_init(context.get()) == 1 &&
           EVP_PKEY_derive_set_peer(context.get(), peer.get()) == 1 &&
           EVP_PKEY_derive(context.get(), secret, &length) == 1 && length == kKeySize;
}
