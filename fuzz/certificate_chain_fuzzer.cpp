// SPDX-License-Identifier: Apache-2.0
//
// Certificate chains and root files as `wlc auth` gets them from a dock and a user. A chain that
// passes all checks must end in the key of a dock that our root vouches for.
#include <fmt/format.h>
#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "qi_authentication.h"

namespace {

using namespace wlc;

std::vector<uint8_t> fixture(const std::string& name) {
    std::ifstream in(std::string(CERTIFICATES) + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

template <typename Check>
bool holds(Check check) {
    try {
        check();
        return true;
    } catch (const NotAuthentic&) {
        return false;
    }
}

bool isKeyOfADock(X509* productUnit) {
    static const CertificateChain docks[] = {parseChain(fixture("slot0.chain")),
                                             parseChain(fixture("slot1.chain"))};
    return std::any_of(std::begin(docks), std::end(docks), [&](const CertificateChain& dock) {
        return EVP_PKEY_eq(X509_get0_pubkey(dock.productUnit()), X509_get0_pubkey(productUnit)) ==
               1;
    });
}

void readChain(Bytes bytes) {
    static const Certificate root = parseCertificate(fixture("root.pem"));
    const CertificateChain chain = parseChain(bytes);
    for (const Certificate& certificate : chain.certificates) {
        (void)commonName(X509_get_subject_name(certificate.get()));
        (void)commonName(X509_get_issuer_name(certificate.get()));
        (void)serialNumber(certificate.get());
    }
    const bool isNamed = holds([&] { checkRoot(chain, root.get()); });
    const bool isSigned = holds([&] { checkSignatures(chain, root.get()); });
    if (isNamed && isSigned && !isKeyOfADock(chain.productUnit())) abort();
    const ChallengeAnswer answer{1, 15, chain.hash.back(), bytes.last(64).first(32),
                                 bytes.last(32)};
    // No signature of this nonce exists.
    if (holds([&] { checkChallenge(chain, 0, bytes.first(kNonceSize), answer); })) abort();
}

}  // namespace

// The first byte says which of the two it is.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const Bytes bytes(data + 1, size - 1);
    (void)holds([&] { data[0] % 2 == 0 ? readChain(bytes) : (void)parseCertificate(bytes); });
    return 0;
}
