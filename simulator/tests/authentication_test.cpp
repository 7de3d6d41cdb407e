// SPDX-License-Identifier: Apache-2.0
//
// The dock's own key exchange and challenge. That its certificate chains and signatures are good,
// and its forgeries not, the tests of `wlc auth` find out.
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include "dock/extras.h"
#include "dock/words.h"
#include "dock_fixture.h"

namespace virtual_dock::testing {
namespace {

// A client's pair of X25519 keys.
const ByteVector kPrivateKey(32, 0x11);
const ByteVector kPublicKey =
    parseHex("7b4e909bbe7ffe44c465a220037d608ee35897d31ef972f07f74892cb0f73f13").value();

// The secret that the client gets with the dock's key.
ByteVector derive(Bytes dockKey) {
    EVP_PKEY* const own = EVP_PKEY_new_raw_private_key(EVP_PKEY_X25519, nullptr, kPrivateKey.data(),
                                                       kPrivateKey.size());
    EVP_PKEY* const peer =
        EVP_PKEY_new_raw_public_key(EVP_PKEY_X25519, nullptr, dockKey.data(), dockKey.size());
    EVP_PKEY_CTX* const context = EVP_PKEY_CTX_new(own, nullptr);
    ByteVector secret(32);
    size_t length = secret.size();
    EVP_PKEY_derive_init(context);
    EVP_PKEY_derive_set_peer(context, peer);
    EXPECT_EQ(EVP_PKEY_derive(context, secret.data(), &length), 1);
    EVP_PKEY_CTX_free(context);
    EVP_PKEY_free(peer);
    EVP_PKEY_free(own);
    return secret;
}

TEST(SecretExchangeTest, ClientCanCheckChallengeBeforeAndAfterKeyExchange) {
    SecretExchange dock;
    const auto expectAnswer = [&](const void* key) {
        const ByteVector challenge = {5, 8, 1, 2, 3, 4, 5, 6, 7, 8};
        const ByteVector message = {5, 1, 2, 3, 4, 5, 6, 7, 8};
        ByteVector expected(33, 8);
        HMAC(EVP_sha256(), key, 32, message.data(), message.size(), expected.data() + 1, nullptr);
        expected.resize(9);
        AnswerBuffer answer;
        EXPECT_EQ(dock.answerChallenge(challenge, &answer), kOk);
        EXPECT_EQ(ByteVector(answer.bytes().begin(), answer.bytes().end()), expected);
    };
    expectAnswer(SecretExchange::kPairingKey);

    AnswerBuffer exchanged;
    ASSERT_EQ(dock.answerKeyExchange(kPublicKey, &exchanged), kOk);
    ASSERT_EQ(exchanged.size(), 33u);
    EXPECT_EQ(exchanged.bytes()[0], SecretExchange::kHeader);
    const Bytes dockKey = exchanged.bytes().subspan(1);
    const ByteVector secret = derive(dockKey);
    expectAnswer(
        extras().sha256({bytesOf("virtual dock session"), secret, kPublicKey, dockKey}).data());
}

}  // namespace
}  // namespace virtual_dock::testing
