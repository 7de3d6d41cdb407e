// SPDX-License-Identifier: Apache-2.0
#include "qi_authentication.h"

#include <fmt/format.h>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/sha.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <algorithm>

namespace wlc {
namespace {

// Offsets in a chain.
constexpr size_t kRootHashAt = 2;
constexpr size_t kCertificatesAt = kRootHashAt + 32;

// A challenge signature covers, in this order: this letter, the hash of the chain, the challenge as
// sent, the answer up to the signature.
constexpr uint8_t kSignedPrefix = 'A';
constexpr uint8_t kChallengeHeader = 0x1B;
constexpr uint8_t kAnswerHeader = 0x13;

template <typename T, void (*release)(T*)>
struct Release {
    void operator()(T* resource) const { release(resource); }
};
template <typename T, void (*release)(T*)>
using Owned = std::unique_ptr<T, Release<T, release>>;

void freeChain(STACK_OF(X509) * stack) {
    sk_X509_free(stack);
}
void freeBio(BIO* bio) {
    BIO_free(bio);
}
void freeBytes(unsigned char* bytes) {
    OPENSSL_free(bytes);
}

void requireP256(X509* certificate, const std::string& what) {
    char group[64] = {};
    EVP_PKEY* const key = X509_get0_pubkey(certificate);
    if (key == nullptr || EVP_PKEY_get_group_name(key, group, sizeof(group), nullptr) != 1 ||
        std::string(group) != SN_X9_62_prime256v1) {
        throw NotAuthentic(what + " does not have a P-256 key");
    }
}

// The signature in DER, as OpenSSL expects it.
std::vector<uint8_t> signatureInDer(Bytes r, Bytes s) {
    const Owned<ECDSA_SIG, ECDSA_SIG_free> signature(ECDSA_SIG_new());
    BIGNUM* const rNumber = BN_bin2bn(r.data(), static_cast<int>(r.size()), nullptr);
    BIGNUM* const sNumber = BN_bin2bn(s.data(), static_cast<int>(s.size()), nullptr);
    // Takes ownership of both numbers.
    if (signature == nullptr || ECDSA_SIG_set0(signature.get(), rNumber, sNumber) != 1) {
        BN_free(rNumber);
        BN_free(sNumber);
        throw NotAuthentic("the signature cannot be parsed");
    }
    unsigned char* der = nullptr;
    const int length = i2d_ECDSA_SIG(signature.get(), &der);
    const Owned<unsigned char, freeBytes> owner(der);
    if (length <= 0) throw NotAuthentic("the signature cannot be encoded");
    return {der, der + length};
}

}  // namespace

Sha256 sha256(Bytes bytes) {
    Sha256 hash;
    SHA256(bytes.data(), bytes.size(), hash.data());
    return hash;
}

size_t chainLength(Bytes chain) {
    if (chain.size() < 2) throw NotAuthentic("the chain is too short for its length field");
    return static_cast<size_t>(chain[0]) << 8 | chain[1];
}

CertificateChain parseChain(Bytes chain) {
    const size_t length = chainLength(chain);
    if (length != chain.size()) {
        throw NotAuthentic(
            fmt::format("the chain claims {} bytes, but {} were received", length, chain.size()));
    }
    if (chain.size() <= kCertificatesAt) throw NotAuthentic("the chain contains no certificate");
    CertificateChain parsed;
    parsed.hash = sha256(chain);
    std::copy_n(chain.begin() + kRootHashAt, parsed.rootHash.size(), parsed.rootHash.begin());
    const unsigned char* at = chain.data() + kCertificatesAt;
    const unsigned char* const end = chain.data() + chain.size();
    while (at < end) {
        const auto position = at - chain.data();
        Certificate certificate(d2i_X509(nullptr, &at, end - at));
        if (certificate == nullptr) {
            throw NotAuthentic(fmt::format("no certificate at byte {} of the chain", position));
        }
        parsed.certificates.push_back(std::move(certificate));
    }
    if (parsed.certificates.size() < 2) {
        throw NotAuthentic("the chain lacks the product unit certificate");
    }
    return parsed;
}

Certificate parseCertificate(Bytes file) {
    const unsigned char* at = file.data();
    Certificate der(d2i_X509(nullptr, &at, static_cast<long>(file.size())));
    if (der != nullptr && at == file.data() + file.size()) return der;
    const Owned<BIO, freeBio> bio(
        BIO_new_mem_buf(file.data(), static_cast<int>(std::min<size_t>(file.size(), INT32_MAX))));
    Certificate pem(PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr));
    if (pem == nullptr) throw NotAuthentic("not a certificate in PEM or DER");
    return pem;
}

void checkRoot(const CertificateChain& chain, X509* root) {
    unsigned char* der = nullptr;
    const int length = i2d_X509(root, &der);
    const Owned<unsigned char, freeBytes> owner(der);
    if (length <= 0) throw NotAuthentic("the root certificate cannot be encoded");
    if (sha256(Bytes(der, static_cast<size_t>(length))) != chain.rootHash) {
        throw NotAuthentic("the chain names a different root, not " +
                           commonName(X509_get_subject_name(root)));
    }
}

void checkSignatures(const CertificateChain& chain, X509* root) {
    requireP256(root, "the root certificate");
    for (size_t i = 0; i < chain.certificates.size(); ++i) {
        requireP256(chain.certificates[i].get(), fmt::format("certificate {} of the chain", i + 1));
    }
    // A key that may sign certificates is a manufacturer's, not a dock's.
    if (X509_check_ca(chain.productUnit()) != 0) {
        throw NotAuthentic("the last certificate of the chain is not a product unit certificate");
    }
    const Owned<X509_STORE, X509_STORE_free> store(X509_STORE_new());
    const Owned<X509_STORE_CTX, X509_STORE_CTX_free> context(X509_STORE_CTX_new());
    const Owned<STACK_OF(X509), freeChain> others(sk_X509_new_null());
    if (store == nullptr || context == nullptr || others == nullptr) throw std::bad_alloc();
    for (size_t i = 0; i + 1 < chain.certificates.size(); ++i) {
        sk_X509_push(others.get(), chain.certificates[i].get());
    }
    X509_STORE_add_cert(store.get(), root);
    X509_STORE_CTX_init(context.get(), store.get(), chain.productUnit(), others.get());
    // Qi certificates carry critical extensions that OpenSSL does not know.
    X509_STORE_CTX_set_flags(context.get(), X509_V_FLAG_IGNORE_CRITICAL);
    if (X509_verify_cert(context.get()) != 1) {
        throw NotAuthentic(
            fmt::format("certificate verification failed: {}",
                        X509_verify_cert_error_string(X509_STORE_CTX_get_error(context.get()))));
    }
    // Every certificate must be part of the verified path.
    const auto path = static_cast<size_t>(sk_X509_num(X509_STORE_CTX_get0_chain(context.get())));
    if (path != chain.certificates.size() + 1) {
        throw NotAuthentic("the chain contains unrelated certificates");
    }
}

void checkChallenge(const CertificateChain& chain, uint8_t slot, Bytes nonce,
                    const ChallengeAnswer& answer) {
    if (answer.certChainHashLsb != chain.hash.back()) {
        throw NotAuthentic(
            fmt::format("the answer is for a chain whose hash ends in {:02x}; the hash of slot {} "
                        "ends in {:02x}",
                        answer.certChainHashLsb, slot, chain.hash.back()));
    }
    if ((answer.slotPopulatedMask >> slot & 1) == 0) {
        throw NotAuthentic(fmt::format("the answer says that slot {} is empty", slot));
    }
    std::vector<uint8_t> covered = {kSignedPrefix};
    covered.insert(covered.end(), chain.hash.begin(), chain.hash.end());
    covered.push_back(kChallengeHeader);
    covered.push_back(slot);
    covered.insert(covered.end(), nonce.begin(), nonce.end());
    covered.push_back(kAnswerHeader);
    covered.push_back(
        static_cast<uint8_t>(answer.maxProtocolVersion << 4 | answer.slotPopulatedMask));
    covered.push_back(answer.certChainHashLsb);

    const std::vector<uint8_t> signature = signatureInDer(answer.signatureR, answer.signatureS);
    const Owned<EVP_MD_CTX, EVP_MD_CTX_free> context(EVP_MD_CTX_new());
    if (context == nullptr) throw std::bad_alloc();
    if (EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr,
                             X509_get0_pubkey(chain.productUnit())) != 1 ||
        EVP_DigestVerify(context.get(), signature.data(), signature.size(), covered.data(),
                         covered.size()) != 1) {
        throw NotAuthentic("the signature was not made by the product unit for this challenge");
    }
}

std::string commonName(const X509_NAME* name) {
    const int at = X509_NAME_get_index_by_NID(name, NID_commonName, -1);
    if (at >= 0) {
        unsigned char* text = nullptr;
        const int length =
            ASN1_STRING_to_UTF8(&text, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, at)));
        const Owned<unsigned char, freeBytes> owner(text);
        if (length >= 0) return {text, text + length};
    }
    char line[256] = {};
    X509_NAME_oneline(name, line, sizeof(line));
    return line;
}

std::string serialNumber(const X509* certificate) {
    const ASN1_INTEGER* const serial = X509_get0_serialNumber(certificate);
    const unsigned char* const bytes = ASN1_STRING_get0_data(serial);
    return fmt::format("{:02x}", fmt::join(bytes, bytes + ASN1_STRING_length(serial), ""));
}

}  // namespace wlc
