// SPDX-License-Identifier: Apache-2.0
// Answers of Qi authentication, and certificate chains of every length from docks of every kind.
#include "charger_test.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

/** A chain of this length: its own length first, then counting bytes. */
Bytes chainOf(size_t length) {
    Bytes chain(std::max<size_t>(length, 2));
    for (size_t i = 2; i < chain.size(); i++) chain[i] = static_cast<uint8_t>(i * 7);
    chain[0] = static_cast<uint8_t>(length >> 8);
    chain[1] = static_cast<uint8_t>(length);
    chain.resize(length);
    return chain;
}

class CertificateTest : public ChargerTest {
  protected:
    struct Piece {
        size_t offset, length;
        bool operator==(const Piece&) const = default;
    };

    /** A dock that answers from the chain, at most limit bytes at a time, and extra bytes more. */
    void dock(const Bytes& chain, size_t limit = 2043, size_t extra = 0) {
        protocol().answer = [=, this](const Sent& sent) {
            const Bytes& r = sent.request;
            const Piece piece{static_cast<size_t>((r[1] & 0xE0) << 3 | r[2]),
                              static_cast<size_t>((r[1] & 0x1C) << 6 | r[3])};
            pieces.push_back(piece);
            limits.push_back(sent.timeLimit);
            Bytes answer{0x12};
            const size_t from = std::min(piece.offset, chain.size());
            const size_t count = std::min({piece.length + extra, limit, chain.size() - from});
            answer.insert(answer.end(), chain.begin() + from, chain.begin() + from + count);
            return fake::Answer{.bytes = answer};
        };
    }
    int read(char16_t offset, char16_t length) {
        pieces.clear();
        limits.clear();
        got = {0xEE};
        return errorOf(charger->getWpcAuthCertificate(0, offset, length, &got));
    }

    std::vector<Piece> pieces;
    std::vector<uint32_t> limits;
    Bytes got;
};

TEST_F(CertificateTest, WholeChainIsReadInPieces) {
    dock(chainOf(500));
    // A piece size set meanwhile is for the next read.
    protocol().answer = [this, dock = protocol().answer](const Sent& sent) {
        shell({"cert.request_length", "10"});
        return dock(sent);
    };
    EXPECT_EQ(read(0, 0), 0);
    EXPECT_EQ(got, chainOf(500));
    EXPECT_THAT(pieces,
                ElementsAre(Piece{0, 127}, Piece{127, 127}, Piece{254, 127}, Piece{381, 119}));
    EXPECT_THAT(limits, ElementsAre(52000, 52000, 52000, 49000));
}

TEST_F(CertificateTest, PartOfAChainIsReadAsAsked) {
    const Bytes chain = chainOf(700);
    dock(chain);
    EXPECT_EQ(read(256, 200), 0);  // where the next bytes would be a length of 7
    EXPECT_EQ(got, Bytes(chain.begin() + 256, chain.begin() + 456));
    EXPECT_THAT(pieces, ElementsAre(Piece{256, 127}, Piece{383, 73}));
    EXPECT_EQ(read(0, 100), 0);
    EXPECT_EQ(got.size(), 100u);
    EXPECT_THAT(pieces, ElementsAre(Piece{0, 100}));
    EXPECT_EQ(read(0, 800), 0);
    EXPECT_EQ(got, chain);
}

TEST_F(CertificateTest, EveryChainLengthEndsWithItsBytes) {
    for (size_t length : {2, 126, 127, 128, 1058, 1059, 2044, 2045, 65535}) {
        dock(chainOf(length));
        EXPECT_EQ(read(0, 0), 0) << length;
        const size_t expected = std::min<size_t>(length, 1058);
        EXPECT_EQ(got.size(), expected);
        EXPECT_TRUE(std::equal(got.begin(), got.end(), chainOf(length).begin()));
    }
    dock(chainOf(2044));
    EXPECT_EQ(read(0, 2044), 0);
    EXPECT_EQ(got, chainOf(2044));
    // The dock claims a chain of 0 or 1 bytes, and sends more.
    for (uint8_t length : {0, 1}) {
        dock({0, length, 3, 4});
        EXPECT_EQ(read(0, 0), 0);
        EXPECT_EQ(got, Bytes(length));
    }
}

TEST_F(CertificateTest, AwkwardAnswersEndInTime) {
    const Bytes chain = chainOf(1500);
    dock(chain, 2043, 1000);  // more than was asked
    EXPECT_EQ(read(0, 300), 0);
    EXPECT_EQ(got, Bytes(chain.begin(), chain.begin() + 300));
    dock(chain, 1);  // one byte at a time
    EXPECT_EQ(read(1, 1499), 0);
    EXPECT_EQ(got, Bytes(chain.begin() + 1, chain.end()));
    EXPECT_EQ(pieces.size(), 1499u);
    dock(chainOf(100));  // nothing behind the end of the chain
    EXPECT_EQ(read(90, 20), 2);
    EXPECT_EQ(got, Bytes{0xEE});
    fake::answerAll({.bytes = {}});  // nothing at all: the area still holds the request
    EXPECT_EQ(read(0, 0), 2);
    // More than the area holds is claimed.
    fake::answerAll({.bytes = Bytes(2044, 0x12), .claimedLength = SIZE_MAX});
    EXPECT_EQ(read(5, 2044), 0);
    EXPECT_EQ(got, Bytes(2044, 0x12));
}

TEST_F(CertificateTest, PieceSizeIsTheShells) {
    dock(chainOf(300));
    shell({"cert.request_length", "1030"});
    EXPECT_EQ(read(0, 0), 0);
    EXPECT_EQ(got, chainOf(300));
    EXPECT_THAT(pieces, ElementsAre(Piece{0, 1030}));
    shell({"cert.request_length", "0"});
    dock(chainOf(300), 2043, 100);
    EXPECT_EQ(read(0, 0), 0);
    EXPECT_EQ(got, chainOf(300));
    EXPECT_THAT(pieces, ElementsAre(Piece{0, 0}, Piece{100, 0}, Piece{200, 0}));
    EXPECT_THAT(limits, ElementsAre(330000, 330000, 330000));
    shell({"cert.request_length"});  // no value: as before
    read(0, 0);
    EXPECT_EQ(pieces.at(0).length, 0u);
    for (const auto& [text, length] :
         {std::pair{"200", 200u}, {"0x10", 0u}, {"-1", 300u}, {"x", 0u}}) {
        shell({"cert.request_length", text});
        read(0, 300);
        EXPECT_EQ(pieces.at(0).length, length) << text;
    }
}

class AuthAnswerTest : public ChargerTest {
  protected:
    std::vector<int> errors() {
        Bytes certificate;
        WpcAuthDigests digests;
        WpcAuthChallengeResponse response;
        return {errorOf(charger->getWpcAuthCertificate(0, 0, 0, &certificate)),
                errorOf(charger->getWpcAuthDigests(1, &digests)),
                errorOf(charger->getWpcAuthChallengeResponse(0, Bytes(16), &response))};
    }
};

TEST_F(AuthAnswerTest, ErrorAnswersAreMapped) {
    for (const auto& [code, error] :
         std::vector<std::pair<uint8_t, int>>{{0, 7}, {1, 1}, {2, 9}, {3, 10}, {4, 7}, {255, 7}}) {
        fake::answerAll({.bytes = {0x17, code, 0xAB}});
        EXPECT_THAT(errors(), ElementsAre(error, error, error)) << int{code};
    }
    fake::answerAll({.bytes = {0x14, 3, 0xAB}});
    EXPECT_THAT(errors(), ElementsAre(2, 2, 2));
}

TEST_F(AuthAnswerTest, DigestsAreUnpackedBySlot) {
    Bytes answer{0x11, 0xFA};
    answer.insert(answer.end(), 32, 0xB1);
    answer.insert(answer.end(), 32, 0xB3);
    fake::answerAll({.bytes = answer});
    const WpcAuthDigests digests = ask(&W::getWpcAuthDigests, 0xF);
    EXPECT_EQ(digests.slotPopulatedMask, 15);
    EXPECT_EQ(digests.digestMask, 10);
    const auto all = [](uint8_t byte) { return testing::Each(byte); };
    EXPECT_THAT(digests.digest0, all(0));
    EXPECT_THAT(digests.digest1, all(0xB1));
    EXPECT_THAT(digests.digest2, all(0));
    EXPECT_THAT(digests.digest3, all(0xB3));
}

TEST_F(AuthAnswerTest, ChallengeAnswerNeedsItsWholeSignature) {
    Bytes answer{0x13, 0x2C, 0xF0};
    answer.insert(answer.end(), 32, 0x01);
    answer.insert(answer.end(), 32, 0x02);
    fake::answerAll({.bytes = answer});
    const auto whole = ask(&W::getWpcAuthChallengeResponse, 0, Bytes(16));
    EXPECT_EQ(whole.maxProtocolVersion, 2);
    EXPECT_EQ(whole.slotPopulatedMask, 12);
    EXPECT_EQ(whole.certChainHashLsb, -16);
    EXPECT_EQ(whole.signatureR, Bytes(32, 1));
    EXPECT_EQ(whole.signatureS, Bytes(32, 2));

    answer.pop_back();
    fake::answerAll({.bytes = answer});
    for (const auto& [nonceSize, error] : {std::pair{16, 2}, {15, 1}}) {
        WpcAuthChallengeResponse out = whole;
        EXPECT_EQ(errorOf(charger->getWpcAuthChallengeResponse(0, Bytes(nonceSize), &out)), error);
        EXPECT_EQ(out.maxProtocolVersion | out.slotPopulatedMask | out.certChainHashLsb, 0);
    }
}

TEST_F(AuthAnswerTest, ReadinessIsTheLibrarysResult) {
    for (const auto& [result, error] :
         std::vector<std::pair<uint32_t, int>>{{0, 0}, {3, 1}, {20, 7}}) {
        protocol().simpleResult = result;
        bool ready = result != 0;
        EXPECT_EQ(errorOf(charger->isAuthReady(&ready)), error);
        EXPECT_EQ(ready, result == 0);
    }
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
