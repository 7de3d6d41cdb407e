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

// The client's side of Qi authentication: verification of the certificate chain and of the
// signature over a challenge. Pure computation on untrusted bytes.
//
// Format of a chain: total length (2 bytes, big-endian), SHA-256 of the root certificate, then the
// certificates in DER, from the manufacturer's to the product unit's, each signed by the one before
// it and the first by the root. All keys are on P-256.
namespace wlc {

using Sha256 = std::array<uint8_t, 32>;
using Bytes = std::span<const uint8_t>;

struct X509Deleter {
    void operator()(X509* certificate) const { X509_free(certificate); }
};
using Certificate = std::unique_ptr<X509, X509Deleter>;

// A check failed. The message is for the user.
class NotAuthentic : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct CertificateChain {
    Sha256 hash;      // over all bytes of the chain
    Sha256 rootHash;  // as given in the chain
    std::vector<Certificate> certificates;

    X509* productUnit() const { return certificates.back().get(); }
};

inline constexpr size_t kNonceSize = 16;

// The dock's answer to a challenge. The signature covers the fields before it.
struct ChallengeAnswer {
    uint8_t maxProtocolVersion;  // 0 to 15
    uint8_t slotPopulatedMask;   // 0 to 15
    uint8_t certChainHashLsb;
    Bytes signatureR;
    Bytes signatureS;
};

Sha256 sha256(Bytes bytes);

// The chain's own length field. Throws NotAuthentic when there are fewer than two bytes.
size_t chainLength(Bytes chain);

// Parses a chain. Throws NotAuthentic when bytes are missing, left over or not a certificate.
CertificateChain parseChain(Bytes chain);

// Parses one certificate, PEM or DER. Throws NotAuthentic.
Certificate parseCertificate(Bytes file);

// Throws NotAuthentic unless the chain names this root.
void checkRoot(const CertificateChain& chain, X509* root);

// Throws NotAuthentic unless every certificate is signed by the one before it, the first by root,
// is currently valid and has a key on P-256.
void checkSignatures(const CertificateChain& chain, X509* root);

// Throws NotAuthentic unless the product unit signed this answer for this slot and nonce.
// slot: 0 to 3; nonce: kNonceSize bytes.
void checkChallenge(const CertificateChain& chain, uint8_t slot, Bytes nonce,
                    const ChallengeAnswer& answer);

// The common name, or the entire name when it has none. Untrusted text.
std::string commonName(const X509_NAME* name);

// The serial number in hexadecimal.
std::string serialNumber(const X509* certificate);

}  // namespace wlc
