// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <openssl/x509.h>

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

// What a client has to check of a dock's Qi authentication: the certificate chain and the signature
// over a challenge. Pure computation on bytes that the dock sent; nothing of them is trusted.
//
// A chain as the dock sends it: its total length (2 bytes, most significant first), the SHA-256 of
// the root certificate, then the certificates in DER, the manufacturer's first, the product unit's
// last, each signed by the one before it and the first by the root. All keys are on P-256.
namespace wlc {

using Sha256 = std::array<uint8_t, 32>;
using Bytes = std::span<const uint8_t>;

struct X509Deleter {
    void operator()(X509* certificate) const { X509_free(certificate); }
};
using Certificate = std::unique_ptr<X509, X509Deleter>;

// Something does not hold. The message says what, for people.
class NotAuthentic : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct CertificateChain {
    Sha256 hash;      // over all bytes of the chain
    Sha256 rootHash;  // as the chain says it
    std::vector<Certificate> certificates;

    X509* productUnit() const { return certificates.back().get(); }
};

inline constexpr size_t kNonceSize = 16;

// The message of the dock that a signature covers the head of.
struct ChallengeAnswer {
    uint8_t maxProtocolVersion;  // 0 to 15
    uint8_t slotPopulatedMask;   // 0 to 15
    uint8_t certChainHashLsb;
    Bytes signatureR;
    Bytes signatureS;
};

Sha256 sha256(Bytes bytes);

// The length that a chain gives itself. Throws NotAuthentic when there are not even two bytes.
size_t chainLength(Bytes chain);

// Takes a chain apart. Throws NotAuthentic when anything is missing, left over or not a
// certificate.
CertificateChain parseChain(Bytes chain);

// One certificate from PEM or DER. Throws NotAuthentic.
Certificate parseCertificate(Bytes file);

// Throws NotAuthentic unless root is the one the chain names.
void checkRoot(const CertificateChain& chain, X509* root);

// Throws NotAuthentic unless each certificate is signed by the one before it, the first by root,
// all are valid now and have keys on P-256.
void checkSignatures(const CertificateChain& chain, X509* root);

// Throws NotAuthentic unless the answer is the product unit's signature for this slot and nonce.
// slot: 0 to 3; nonce: kNonceSize bytes.
void checkChallenge(const CertificateChain& chain, uint8_t slot, Bytes nonce,
                    const ChallengeAnswer& answer);

// The subject's or issuer's common name, or all of the name when it has none. For people.
std::string commonName(const X509_NAME* name);

// The serial number in hexadecimal.
std::string serialNumber(const X509* certificate);

}  // namespace wlc
