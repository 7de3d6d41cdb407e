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

/** A part of a chain: its offset and length. */
using Piece = std::pair<size_t, size_t>;

class CertificateTest : public ChargerTest {
  protected:
    /** A dock that answers from the chain, with extra bytes more than it is asked for. */
    void dock(const Bytes& chain, size_t extra = 0) {
        protocol().answer = [=, this](const Sent& sent) {
            const Bytes& r = sent.request;
            const auto [offset, length] =
                pieces.emplace_back((r[1] & 0xE0) << 3 | r[2], (r[1] & 0x1C) << 6 | r[3]);
            Bytes answer{0x12};
            const size_t from = std::min(offset, chain.size());
            const size_t count = std::min({length + extra, size_t{2043}, chain.size() - from});
            answer.insert(answer.end(), chain.begin() + from, chain.begin() + from + count);
            return fake::Answer{.bytes = answer};
        };
    }
    int read(int offset, int length) {
        pieces.clear();
        return errorOf(charger->getWpcAuthCertificate(0, static_cast<char16_t>(offset),
                                                      static_cast<char16_t>(length), &got));
    }
    void expectRead(int offset, int length, const Bytes& expected) {
        EXPECT_EQ(read(offset, length), 0) << offset << " " << length;
        EXPECT_EQ(got, expected) << offset << " " << length;
    }

    std::vector<Piece> pieces;
    Bytes got;
};

TEST_F(CertificateTest, ChainOfAnyLengthIsReadInPiecesOfOneSize) {
    for (size_t length : {2, 126, 127, 128, 1058, 1059, 2044, 2045, 65535}) {
        Bytes chain = chainOf(length);
        dock(chain);
        chain.resize(std::min<size_t>(length, 1058));
        expectRead(0, 0, chain);
    }
    dock(chainOf(2044));
    expectRead(0, 2044, chainOf(2044));
    dock(chainOf(300));
    expectRead(0, 800, chainOf(300));
    EXPECT_THAT(pieces, ElementsAre(Piece{0, 127}, Piece{127, 127}, Piece{254, 46}));
    EXPECT_EQ(protocol().sent.back().timeLimit, 27000u);
    for (uint8_t length : {0, 1}) {  // claimed by a dock that sends more
        dock({0, length, 3, 4});
        expectRead(0, 0, Bytes(length));
    }
}

TEST_F(CertificateTest, AwkwardAnswersEndInTime) {
    const Bytes chain = chainOf(1500);
    dock(chain, 1000);  // more than was asked
    expectRead(0, 300, {chain.begin(), chain.begin() + 300});
    dock(chainOf(100));  // nothing behind the end of the chain
    EXPECT_EQ(read(90, 20), 2);
    fake::answerAll({.bytes = {}});  // nothing at all: the area still holds the request
    EXPECT_EQ(read(0, 0), 2);
    // More than the area holds is claimed.
    fake::answerAll({.bytes = Bytes(2044, 0x12), .claimedLength = SIZE_MAX});
    expectRead(5, 2044, Bytes(2044, 0x12));
}

TEST_F(CertificateTest, PieceSizeIsTheShells) {
    dock(chainOf(300));
    shell({"cert.request_length", "1030"});
    expectRead(0, 0, chainOf(300));
    EXPECT_THAT(pieces, ElementsAre(Piece{0, 1030}));
    shell({"cert.request_length", "0"});
    shell({"cert.request_length"});  // no value: as before
    dock(chainOf(300), 100);
    expectRead(0, 0, chainOf(300));
    EXPECT_THAT(pieces, ElementsAre(Piece{0, 0}, Piece{100, 0}, Piece{200, 0}));
    EXPECT_EQ(protocol().sent.back().timeLimit, 330000u);
}

TEST_F(ChargerTest, DigestsAreUnpackedBySlot) {
    Bytes answer{0x11, 0xFA};
    answer.insert(answer.end(), 32, 0xB1);
    answer.insert(answer.end(), 32, 0xB3);
    fake::answerAll({.bytes = answer});
    WpcAuthDigests expected{15, 10, {}, {}, {}, {}};
    expected.digest1.fill(0xB1);
    expected.digest3.fill(0xB3);
    EXPECT_EQ(ask(&W::getWpcAuthDigests, 0xF), expected);
}

TEST_F(ChargerTest, ChallengeAnswerNeedsItsWholeSignature) {
    Bytes answer{0x13, 0x2C, 0xF0};
    answer.insert(answer.end(), 32, 0x01);
    answer.insert(answer.end(), 32, 0x02);
    fake::answerAll({.bytes = answer});
    EXPECT_EQ(ask(&W::getWpcAuthChallengeResponse, 0, Bytes(16)),
              (WpcAuthChallengeResponse{2, 12, -16, Bytes(32, 1), Bytes(32, 2)}));
    answer.pop_back();
    fake::answerAll({.bytes = answer});
    EXPECT_EQ(call(&W::getWpcAuthChallengeResponse, 0, Bytes(16)).first, 2);
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
