// SPDX-License-Identifier: Apache-2.0
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/x509.h>
#include <zlib.h>

#include <memory>
#include <vector>

#include "extras.h"

namespace virtual_dock {
namespace {

template <auto Free>
struct Freer {
    template <typename T>
    void operator()(T* object) const {
        Free(object);
    }
};
using KeyPointer = std::unique_ptr<EVP_PKEY, Freer<EVP_PKEY_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Freer<EVP_PKEY_CTX_free>>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, Freer<EVP_MD_CTX_free>>;
using EcdsaSignature = std::unique_ptr<ECDSA_SIG, Freer<ECDSA_SIG_free>>;

constexpr int kNumberSize = 32;

Digest sha256(std::initializer_list<Bytes> pieces) {
    Digest digest;
    const DigestContext context(EVP_MD_CTX_new());
    EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr);
    for (const Bytes piece : pieces) EVP_DigestUpdate(context.get(), piece.data(), piece.size());
    EVP_DigestFinal_ex(context.get(), digest.data(), nullptr);
    return digest;
}

Digest hmacSha256(Bytes key, Bytes message) {
    Digest mac;
    HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), message.data(), message.size(),
         mac.data(), nullptr);
    return mac;
}

bool sign(Bytes key, Bytes message, Signature* signature) {
    const uint8_t* begin = key.data();
    const KeyPointer parsed(d2i_AutoPrivateKey(nullptr, &begin, static_cast<long>(key.size())));
    const DigestContext context(EVP_MD_CTX_new());
    if (!parsed ||
        EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, parsed.get()) != 1) {
        return false;
    }
    size_t length = 0;
    EVP_DigestSign(context.get(), nullptr, &length, message.data(), message.size());
    std::vector<uint8_t> der(length);
    if (EVP_DigestSign(context.get(), der.data(), &length, message.data(), message.size()) != 1) {
        return false;
    }
    begin = der.data();
    const EcdsaSignature numbers(d2i_ECDSA_SIG(nullptr, &begin, static_cast<long>(length)));
    if (!numbers) return false;
    BN_bn2binpad(ECDSA_SIG_get0_r(numbers.get()), signature->data(), kNumberSize);
    BN_bn2binpad(ECDSA_SIG_get0_s(numbers.get()), signature->data() + kNumberSize, kNumberSize);
    return true;
}

bool agree(Bytes peerKey, Key* ownKey, Key* secret) {
    const KeyPointer own(EVP_PKEY_Q_keygen(nullptr, nullptr, "X25519"));
    const KeyPointer peer(
        EVP_PKEY_new_raw_public_key(EVP_PKEY_X25519, nullptr, peerKey.data(), peerKey.size()));
    if (!own || !peer) return false;
    size_t length = ownKey->size();
    if (EVP_PKEY_get_raw_public_key(own.get(), ownKey->data(), &length) != 1) return false;
    const KeyContext context(EVP_PKEY_CTX_new(own.get(), nullptr));
    length = secret->size();
    return EVP_PKEY_derive_init(context.get()) == 1 &&
           EVP_PKEY_derive_set_peer(context.get(), peer.get()) == 1 &&
           EVP_PKEY_derive(context.get(), secret->data(), &length) == 1;
}

bool inflateAll(Bytes compressed, uint8_t* bytes, size_t size) {
    uLongf expanded = size;
    uLong used = compressed.size();
    return uncompress2(bytes, &expanded, compressed.data(), &used) == Z_OK && expanded == size &&
           used == compressed.size();
}

}  // namespace
}  // namespace virtual_dock

const virtual_dock::Extras virtualDockExtras = {virtual_dock::sha256, virtual_dock::hmacSha256,
                                                virtual_dock::sign, virtual_dock::agree,
                                                virtual_dock::inflateAll};
