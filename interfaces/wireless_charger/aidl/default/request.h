// SPDX-License-Identifier: Apache-2.0
/*
 * The request convention of libchargelink: one zeroed area that takes the request at its start and
 * then the answer, with little-endian numbers at fixed byte positions.
 */
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace aidl::vendor::zorvak::wireless_charger {

/** Time limit of every request to the charger chip. */
inline constexpr uint32_t kPropTimeLimit = 60000;

/**
 * Request and answer of one exchange. Positions are the caller's constants, below Size. Bytes that
 * neither the request nor the answer covers are zero.
 */
template <size_t Size>
class RequestArea {
  public:
    static constexpr size_t kSize = Size;

    /** Appends to the request; what is appended has to fit. */
    void put8(uint8_t value) { mBytes[mRequestLength++] = value; }
    void put16(uint16_t value) {
        put8(value & 0xFF);
        put8(value >> 8);
    }
    void put32(uint32_t value) {
        put16(value & 0xFFFF);
        put16(value >> 16);
    }
    void putBytes(const std::vector<uint8_t>& bytes) {
        std::copy(bytes.begin(), bytes.end(), mBytes.begin() + mRequestLength);
        mRequestLength += bytes.size();
    }
    /** Begins the request anew, over what is there. */
    void restart() { mRequestLength = 0; }

    uint8_t get8(size_t at) const { return mBytes[at]; }
    int8_t getSigned8(size_t at) const { return static_cast<int8_t>(mBytes[at]); }
    uint16_t get16(size_t at) const {
        return static_cast<uint16_t>(mBytes[at] | mBytes[at + 1] << 8);
    }
    uint32_t get32(size_t at) const {
        return get16(at) | static_cast<uint32_t>(get16(at + 2)) << 16;
    }
    const uint8_t* at(size_t position) const { return mBytes.data() + position; }

    /** Bytes of the answer as the library tells them, never more than the area holds. */
    size_t answerLength() const { return mAnswerLength < Size ? mAnswerLength : Size; }

    /** For the library: the area, and where it finds the capacity and leaves the answer's length.
     */
    uint8_t* data() { return mBytes.data(); }
    size_t requestLength() const { return mRequestLength; }
    size_t* beginAnswer() {
        mAnswerLength = Size;
        return &mAnswerLength;
    }

  private:
    std::array<uint8_t, Size> mBytes{};
    size_t mRequestLength = 0;
    size_t mAnswerLength = Size;
};

/** The area of a framed request. */
using Request = RequestArea<256>;

/** The area of a WPC authentication message. */
using AuthPacket = RequestArea<2044>;

}  // namespace aidl::vendor::zorvak::wireless_charger
