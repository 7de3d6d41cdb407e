// SPDX-License-Identifier: Apache-2.0
//
// The dock's own key exchange and challenge. That its certificate chains and signatures are good,
// and its forgeries not, the tests of `wlc auth` find out.
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/sha.h>

#include <memory>

#include "dock_fixture.h"

namespace virtual_dock::testing {
namespace {

using KeyPointer = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

// The secret that a client gets from its key and the dock's.
ByteVector derive(EVP_PKEY* own, Bytes dockKey) {
    const KeyPointer peer(
        EVP_PKEY_new_raw_public_key(EVP_PKEY_X25519, nullptr, dockKey.data(), dockKey.size()),
        EVP_PKEY_free);
    const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(
        EVP_PKEY_CTX_new(own, nullptr), EVP_PKEY_CTX_free);
    ByteVector secret(32);
    size_t length = secret.size();
    EVP_PKEY_derive_init(context.get());
    EVP_PKEY_derive_set_peer(context.get(), peer.get());
    EXPECT_EQ(EVP_PKEY_derive(context.get(), secret.data(), &length), 1);
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

    const KeyPointer own(EVP_PKEY_Q_keygen(nullptr, nullptr, "X25519"), EVP_PKEY_free);
    ByteVector ownKey(32);
    size_t length = ownKey.size();
    EVP_PKEY_get_raw_public_key(own.get(), ownKey.data(), &length);
    AnswerBuffer exchanged;
    ASSERT_EQ(dock.answerKeyExchange(ownKey, &exchanged), kOk);
    ASSERT_EQ(exchanged.size(), 33u);
    EXPECT_EQ(exchanged.bytes()[0], SecretExchange::kHeader);
    const Bytes dockKey = exchanged.bytes().subspan(1);
    const std::string label = "virtual dock session";
    ByteVector session(label.begin(), label.end());
    const ByteVector secret = derive(own.get(), dockKey);
    for (const Bytes part : {Bytes(secret), Bytes(ownKey), dockKey}) {
        session.insert(session.end(), part.begin(), part.end());
    }
    uint8_t key[32];
    SHA256(session.data(), session.size(), key);
    expectAnswer(key);
}

TEST(SecretExchangeTest, WrongSizesAndWorthlessKeysAreRefused) {
    VirtualDock dock;
    const auto times = [](size_t count, const char* byte) {
        std::string hex;
        for (size_t i = 0; i < count; ++i) hex += byte;
        return hex;
    };
    expectSteps(&dock, {{"bidi 16 " + times(31, "09"), "result 3"},
                        {"bidi 16 " + times(33, "09"), "result 3"},
                        {"bidi 16 " + times(32, "00"), "result 9"},
                        {"bidi 18 " + times(9, "08"), "result 3"},
                        {"bidi 18 " + times(10, "07"), "result 3"}});
}

}  // namespace
}  // namespace virtual_dock::testing
