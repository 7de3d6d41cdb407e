// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "extras.h"
#include "packet.h"
#include "protocol.h"

namespace virtual_dock {

// One of the dock's certificate chains and the key that belongs to it.
struct CertificateSlot {
    bool present = false;
    Bytes chain;  // as shipped: length, root hash, manufacturer and product unit certificates
    Bytes key;    // PKCS #8 DER
    int32_t flippedByte = -1;  // offset of a byte that is sent inverted; -1: none

    // The chain with the changed byte, as the dock sends it.
    std::vector<uint8_t> sentChain() const;
};

// The dock's side of WPC (Qi) authentication. Malformed requests get the protocol's ERROR answer. A
// value type.
class WpcAuthenticator {
  public:
    static constexpr size_t kSlots = 4;

    // What the dock signs with.
    enum class Signing : uint8_t {
        kRight,
        kReplayed,   // the signature before this one; the first is right
        kWrongSlot,  // the key of another slot
        kGarbage,    // 64 bytes that are not a signature
    };

    WpcAuthenticator();

    std::array<CertificateSlot, kSlots> slots;
    Signing signing = Signing::kRight;
    uint16_t maxPiece = 2043;    // most certificate bytes in one answer
    int32_t claimedLength = -1;  // the chain length that is sent; -1: the true one
    uint8_t error = 0;           // not 0: every answer is this ERROR

    // Digests are of the shipped chains, even when a byte is sent inverted.
    uint8_t populatedMask() const;
    Digest digest(size_t slot) const { return extras().sha256({slots[slot].chain}); }

    Result answer(int32_t type, Bytes request, AnswerBuffer* answer);

  private:
    void answerDigests(Bytes request, AnswerBuffer* answer) const;
    void answerCertificate(Bytes request, AnswerBuffer* answer) const;
    Result answerChallenge(Bytes request, AnswerBuffer* answer);
    Result sign(size_t slot, Bytes signedBytes, Signature* signature);

    Signature mLastSignature{};
    bool mHasSigned = false;
};

}  // namespace virtual_dock
