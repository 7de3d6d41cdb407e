// SPDX-License-Identifier: Apache-2.0
//
// The dock's side of authentication. That its chains and signatures are good, and its forgeries
// not, the tests of `wlc auth` find out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/sha.h>

#include <memory>
#include <string>
#include <vector>

#include "dock/certificates.h"
#include "dock/secret_exchange.h"

namespace virtual_dock {
namespace {

using ::testing::ElementsAre;
using ByteVector = std::vector<uint8_t>;
using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

constexpr int32_t kGetDigests = 0x19;
constexpr int32_t kGetCertificate = 0x1A;
constexpr int32_t kChallenge = 0x1B;

ByteVector ask(WpcAuthenticator* dock, int32_t type, const ByteVector& request,
               Result expected = kOk) {
    AnswerBuffer answer;
    EXPECT_EQ(dock->answer(type, request, &answer), expected);
    return {answer.bytes().begin(), answer.bytes().end()};
}

ByteVector certificateRequest(uint8_t slot, uint32_t offset, uint32_t length) {
    return {0x1A, static_cast<uint8_t>(slot | (offset >> 3 & 0xE0) | (length >> 6 & 0x1C)),
            static_cast<uint8_t>(offset), static_cast<uint8_t>(length)};
}

ByteVector challengeRequest(uint8_t slot, uint8_t seed) {
    ByteVector request = {0x1B, slot};
    for (uint8_t i = 0; i < 16; ++i) request.push_back(static_cast<uint8_t>(seed + i));
    return request;
}

TEST(CertificatesTest, NonsenseIsAnsweredWithErrors) {
    WpcAuthenticator dock;
    const struct {
        int32_t type;
        ByteVector request;
        uint8_t code;
    } kCases[] = {
        {kGetCertificate, certificateRequest(2, 0, 10), 1},    // an empty slot
        {kGetCertificate, certificateRequest(0, 1058, 1), 1},  // behind the end
        {kGetCertificate, {0x1A, 0, 0}, 1},                    // short
        {kGetCertificate, {0x2A, 0, 0, 0}, 2},                 // a version that it does not speak
        {kGetDigests, {0x19}, 1},
        {kChallenge, challengeRequest(2, 0), 1},
        {kChallenge, {0x1B, 0}, 1},
    };
    for (const auto& each : kCases) {
        const ByteVector answer = ask(&dock, each.type, each.request);
        ASSERT_EQ(answer.size(), 3u);
        EXPECT_EQ(answer[0], 0x17);
        EXPECT_EQ(answer[1], each.code) << ::testing::PrintToString(each.request);
    }
    ask(&dock, kGetDigests, {}, kInvalidArgument);
    ask(&dock, kGetDigests, {0x1A, 0, 0, 0}, kInvalidArgument);
    ask(&dock, 24, {0x18, 0}, kUnsupported);
    dock.error = 3;
    EXPECT_THAT(ask(&dock, kGetDigests, {0x19, 1}), ElementsAre(0x17, 3, 0));
}

TEST(Sha256Test, AgreesWithOpenSslAtEveryLengthAroundABlock) {
    ByteVector bytes(200);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 7);
    for (size_t length = 0; length <= bytes.size(); ++length) {
        Digest expected;
        SHA256(bytes.data(), length, expected.data());
        EXPECT_EQ(sha256(Bytes(bytes.data(), length)), expected) << length;
        Sha256 inPieces;
        inPieces.add(Bytes(bytes.data(), length / 3));
        inPieces.add(Bytes(bytes.data() + length / 3, length - length / 3));
        EXPECT_EQ(inPieces.finish(), expected) << length;
    }
}

TEST(SecretExchangeTest, ClientCanCheckChallengeBeforeAndAfterKeyExchange) {
    SecretExchange dock;
    const ByteVector challenge = {5, 8, 1, 2, 3, 4, 5, 6, 7, 8};
    const ByteVector message = {5, 1, 2, 3, 4, 5, 6, 7, 8};
    const auto expectAnswer = [&](const void* key) {
        uint8_t mac[32];
        HMAC(EVP_sha256(), key, 32, message.data(), message.size(), mac, nullptr);
        AnswerBuffer answer;
        EXPECT_EQ(dock.answerChallenge(challenge, &answer), kOk);
        ASSERT_EQ(answer.size(), 9u);
        EXPECT_EQ(answer.bytes()[0], 8);
        EXPECT_TRUE(std::equal(mac, mac + 8, answer.bytes().begin() + 1));
    };
    expectAnswer(SecretExchange::kPairingKey);

    const Key own(EVP_PKEY_Q_keygen(nullptr, nullptr, "X25519"), EVP_PKEY_free);
    size_t length = 32;
    ByteVector ownKey(32);
    EVP_PKEY_get_raw_public_key(own.get(), ownKey.data(), &length);
    AnswerBuffer exchanged;
    ASSERT_EQ(dock.answerKeyExchange(ownKey, &exchanged), kOk);
    ASSERT_EQ(exchanged.size(), 33u);
    EXPECT_EQ(exchanged.bytes()[0], SecretExchange::kHeader);
    const Key peer(
        EVP_PKEY_new_raw_public_key(EVP_PKEY_X25519, nullptr, exchanged.bytes().data() + 1, 32),
        EVP_PKEY_free);
    ByteVector secret(32);
    EVP_PKEY_CTX* const context = EVP_PKEY_CTX_new(own.get(), nullptr);
    EVP_PKEY_derive_init(context);
    EVP_PKEY_derive_set_peer(context, peer.get());
    ASSERT_EQ(EVP_PKEY_derive(context, secret.data(), &length), 1);
    EVP_PKEY_CTX_free(context);
    const std::string label = "virtual dock session";
    ByteVector session(label.begin(), label.end());
    session.insert(session.end(), secret.begin(), secret.end());
    session.insert(session.end(), ownKey.begin(), ownKey.end());
    session.insert(session.end(), exchanged.bytes().begin() + 1, exchanged.bytes().end());
    uint8_t key[32];
    SHA256(session.data(), session.size(), key);
    expectAnswer(key);
}

TEST(SecretExchangeTest, WrongSizesAndWorthlessKeysAreRefused) {
    SecretExchange dock;
    AnswerBuffer answer;
    EXPECT_EQ(dock.answerKeyExchange(ByteVector(31, 9), &answer), kInvalidArgument);
    EXPECT_EQ(dock.answerKeyExchange(ByteVector(33, 9), &answer), kInvalidArgument);
    EXPECT_EQ(dock.answerKeyExchange(ByteVector(32, 0), &answer), kRefused);
    EXPECT_EQ(dock.answerChallenge(ByteVector(9, 8), &answer), kInvalidArgument);
    EXPECT_EQ(dock.answerChallenge(ByteVector(10, 7), &answer), kInvalidArgument);
    EXPECT_EQ(answer.size(), 0u);
}

}  // namespace
}  // namespace virtual_dock
