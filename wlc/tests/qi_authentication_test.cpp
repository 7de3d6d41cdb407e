// SPDX-License-Identifier: Apache-2.0
#include "qi_authentication.h"

#include <gtest/gtest.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>

#include <fstream>
#include <functional>
#include <iterator>

namespace wlc {
namespace {

std::vector<uint8_t> fixture(const std::string& name) {
    std::ifstream in(std::string(CERTIFICATES) + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// What a client makes of a chain, all checks together.
void believe(Bytes bytes, X509* root) {
    const CertificateChain chain = parseChain(bytes);
    checkRoot(chain, root);
    checkSignatures(chain, root);
}

class QiAuthenticationTest : public testing::Test {
  protected:
    const std::vector<uint8_t> mBytes = fixture("slot1.chain");
    const Certificate mRoot = parseCertificate(fixture("root.pem"));
};

TEST_F(QiAuthenticationTest, ChainCutAnywhereIsRefused) {
    ASSERT_NO_THROW(believe(mBytes, mRoot.get()));
    for (size_t length = 0; length < mBytes.size(); ++length) {
        const std::vector<uint8_t> cut(mBytes.begin(), mBytes.begin() + static_cast<long>(length));
        EXPECT_THROW(believe(cut, mRoot.get()), NotAuthentic) << length;
        // The same with a length field that fits, so that the certificates themselves are cut.
        std::vector<uint8_t> consistent = cut;
        if (length >= 2) {
            consistent[0] = static_cast<uint8_t>(length >> 8);
            consistent[1] = static_cast<uint8_t>(length);
        }
        EXPECT_THROW(believe(consistent, mRoot.get()), NotAuthentic) << length;
    }
}

TEST_F(QiAuthenticationTest, AnyChangedBitIsRefused) {
    for (size_t i = 0; i < mBytes.size(); ++i) {
        std::vector<uint8_t> changed = mBytes;
        changed[i] ^= static_cast<uint8_t>(1 << (i % 8));
        try {
            believe(changed, mRoot.get());
            ADD_FAILURE() << "a chain changed at byte " << i << " is believed";
        } catch (const NotAuthentic&) {
        }
    }
}

TEST_F(QiAuthenticationTest, CertificateThatIsNoPartOfThePathIsRefused) {
    // The manufacturer's certificate twice: all signatures hold, and yet there is one too many.
    const CertificateChain chain = parseChain(mBytes);
    unsigned char* der = nullptr;
    const int length = i2d_X509(chain.certificates[0].get(), &der);
    std::vector<uint8_t> longer = mBytes;
    longer.insert(longer.begin() + 34, der, der + length);
    OPENSSL_free(der);
    longer[0] = static_cast<uint8_t>(longer.size() >> 8);
    longer[1] = static_cast<uint8_t>(longer.size());
    EXPECT_THROW(believe(longer, mRoot.get()), NotAuthentic);
}

TEST_F(QiAuthenticationTest, ManufacturerInPlaceOfAProductUnitIsRefused) {
    const Certificate manufacturer = std::move(parseChain(mBytes).certificates[0]);
    CertificateChain chain;
    chain.certificates.push_back(Certificate(X509_dup(manufacturer.get())));
    EXPECT_THROW(checkSignatures(chain, mRoot.get()), NotAuthentic);
}

TEST_F(QiAuthenticationTest, RootsOfOtherPeopleAreRefused) {
    const Certificate other = parseCertificate(fixture("other_root.pem"));
    const CertificateChain chain = parseChain(mBytes);
    EXPECT_THROW(checkRoot(chain, other.get()), NotAuthentic);
    EXPECT_THROW(checkSignatures(chain, other.get()), NotAuthentic);
    for (const char* text : {"", "-----BEGIN CERTIFICATE-----\n", "junk"}) {
        const std::string bytes = text;
        EXPECT_THROW(
            parseCertificate({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}),
            NotAuthentic)
            << text;
    }
}

// An answer signed here with slot 1's key, over what the protocol says is signed.
class ChallengeTest : public QiAuthenticationTest {
  protected:
    ChallengeTest() {
        std::vector<uint8_t> covered = {'A'};
        covered.insert(covered.end(), mChain.hash.begin(), mChain.hash.end());
        covered.insert(covered.end(), {0x1B, 1});
        covered.insert(covered.end(), mNonce.begin(), mNonce.end());
        covered.insert(covered.end(), {0x13, 0x1B, mChain.hash.back()});
        const std::vector<uint8_t> der = fixture("slot1.key");
        const unsigned char* at = der.data();
        EVP_PKEY* const key = d2i_AutoPrivateKey(nullptr, &at, static_cast<long>(der.size()));
        EVP_MD_CTX* const context = EVP_MD_CTX_new();
        std::vector<uint8_t> signature(128);
        size_t length = signature.size();
        EVP_DigestSignInit(context, nullptr, EVP_sha256(), nullptr, key);
        EVP_DigestSign(context, signature.data(), &length, covered.data(), covered.size());
        EVP_MD_CTX_free(context);
        EVP_PKEY_free(key);
        at = signature.data();
        ECDSA_SIG* const numbers = d2i_ECDSA_SIG(nullptr, &at, static_cast<long>(length));
        BN_bn2binpad(ECDSA_SIG_get0_r(numbers), mR.data(), 32);
        BN_bn2binpad(ECDSA_SIG_get0_s(numbers), mS.data(), 32);
        ECDSA_SIG_free(numbers);
    }

    ChallengeAnswer answer() const { return {1, 0x0B, mChain.hash.back(), mR, mS}; }

    const CertificateChain mChain = parseChain(mBytes);
    std::vector<uint8_t> mNonce = std::vector<uint8_t>(kNonceSize, 0x5A);
    std::vector<uint8_t> mR = std::vector<uint8_t>(32);
    std::vector<uint8_t> mS = std::vector<uint8_t>(32);
};

TEST_F(ChallengeTest, OnlyTheAnswerToThisChallengeIsBelieved) {
    ASSERT_NO_THROW(checkChallenge(mChain, 1, mNonce, answer()));
    EXPECT_THROW(checkChallenge(mChain, 0, mNonce, answer()), NotAuthentic);
    EXPECT_THROW(checkChallenge(mChain, 2, mNonce, answer()), NotAuthentic);
    const std::vector<uint8_t> nothing;
    const std::function<void(ChallengeAnswer&)> changes[] = {
        [](auto& changed) { changed.maxProtocolVersion = 2; },
        [](auto& changed) { changed.slotPopulatedMask = 0x0F; },
        [](auto& changed) { changed.certChainHashLsb ^= 1; },
        [&](auto& changed) { changed.signatureR = nothing; },
    };
    for (const auto& change : changes) {
        ChallengeAnswer changed = answer();
        change(changed);
        EXPECT_THROW(checkChallenge(mChain, 1, mNonce, changed), NotAuthentic);
    }
    for (std::vector<uint8_t>* const bytes : {&mNonce, &mR, &mS}) {
        for (uint8_t& byte : *bytes) {
            byte ^= 0x10;
            EXPECT_THROW(checkChallenge(mChain, 1, mNonce, answer()), NotAuthentic);
            byte ^= 0x10;
        }
    }
}

}  // namespace
}  // namespace wlc
