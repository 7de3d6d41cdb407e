// SPDX-License-Identifier: Apache-2.0
#include "qi_authentication.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "text.h"

namespace wlc {
namespace {

using Vector = std::vector<uint8_t>;

Vector fixture(const std::string& name) {
    std::ifstream in(std::string(CERTIFICATES) + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void setLength(Vector* chain) {
    if (chain->size() < 2) return;
    (*chain)[0] = static_cast<uint8_t>(chain->size() >> 8);
    (*chain)[1] = static_cast<uint8_t>(chain->size());
}

class QiAuthenticationTest : public testing::Test {
  protected:
    void checkChain(Bytes bytes) const {
        const CertificateChain chain = parseChain(bytes);
        checkRoot(chain, mRoot.get());
        checkSignatures(chain, mRoot.get());
    }

    const Vector mBytes = fixture("slot1.chain");
    const Certificate mRoot = parseCertificate(fixture("root.pem"));
    const CertificateChain mChain = parseChain(mBytes);
};

TEST_F(QiAuthenticationTest, ChainCutOrChangedAnywhereFails) {
    ASSERT_NO_THROW(checkChain(mBytes));
    for (size_t i = 0; i < mBytes.size(); ++i) {
        Vector changed = mBytes;
        changed[i] ^= static_cast<uint8_t>(1 << (i % 8));
        EXPECT_THROW(checkChain(changed), NotAuthentic) << i;
        Vector cut(mBytes.begin(), mBytes.begin() + static_cast<long>(i));
        EXPECT_THROW(checkChain(cut), NotAuthentic) << i;
        // With a length field that matches, so that the certificates themselves are cut.
        setLength(&cut);
        EXPECT_THROW(checkChain(cut), NotAuthentic) << i;
    }
}

TEST_F(QiAuthenticationTest, CertificatesOutOfPlaceFail) {
    // The manufacturer's certificate twice: all signatures are right, but one is unrelated.
    unsigned char* der = nullptr;
    const int length = i2d_X509(mChain.certificates[0].get(), &der);
    Vector longer = mBytes;
    longer.insert(longer.begin() + 34, der, der + length);
    OPENSSL_free(der);
    setLength(&longer);
    EXPECT_THROW(checkChain(longer), NotAuthentic);

    CertificateChain manufacturerOnly;
    manufacturerOnly.certificates.emplace_back(X509_dup(mChain.certificates[0].get()));
    EXPECT_THROW(checkSignatures(manufacturerOnly, mRoot.get()), NotAuthentic);

    const Certificate other = parseCertificate(fixture("other_root.pem"));
    EXPECT_THROW(checkRoot(mChain, other.get()), NotAuthentic);
    EXPECT_THROW(checkSignatures(mChain, other.get()), NotAuthentic);
    EXPECT_THROW(parseCertificate(Vector(4, 'x')), NotAuthentic);
}

TEST_F(QiAuthenticationTest, OnlyTheAnswerToThisChallengePasses) {
    // Made with slot 1's key over what the protocol says is signed.
    Vector nonce(kNonceSize, 0x5A);
    const Vector r =
        fromHex("5A0CD7426C50A3E85C23ECC03C3FAC521DDE20F920F660BEBB3A8A50E358D69E", "r");
    const Vector s =
        fromHex("9392D60FDA72600BF5D8B2F5102DF6215AA89FE671C87FA7BF7BC2F4A59F32C7", "s");
    const ChallengeAnswer right = {1, 0x0B, mChain.hash.back(), r, s};
    ASSERT_NO_THROW(checkChallenge(mChain, 1, nonce, right));
    nonce[kNonceSize - 1] ^= 1;
    EXPECT_THROW(checkChallenge(mChain, 1, nonce, right), NotAuthentic);
}

}  // namespace
}  // namespace wlc
