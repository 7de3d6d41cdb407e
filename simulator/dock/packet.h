// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

// Reading requests and building answers. Multi-byte fields are little-endian.
namespace virtual_dock {

using Bytes = std::span<const uint8_t>;

inline Bytes bytesOf(std::string_view text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

inline uint16_t readLe16(Bytes bytes, size_t at) {
    return static_cast<uint16_t>(bytes[at] | bytes[at + 1] << 8);
}

inline uint32_t readLe32(Bytes bytes, size_t at) {
    return readLe16(bytes, at) | static_cast<uint32_t>(readLe16(bytes, at + 2)) << 16;
}

inline uint64_t readLe64(Bytes bytes, size_t at) {
    return readLe32(bytes, at) | static_cast<uint64_t>(readLe32(bytes, at + 4)) << 32;
}

// Writes 8 bytes.
inline void writeLe64(uint64_t value, uint8_t* to) {
    for (int i = 0; i < 8; ++i) to[i] = static_cast<uint8_t>(value >> 8 * i);
}

// An answer being built, on the stack of the request that asks for it. What does not fit is left
// out; kCapacity is more than any area that callers pass. Not initialised beyond size().
class AnswerBuffer {
  public:
    static constexpr size_t kCapacity = 2048;

    // Not `= default`: that would zero the bytes in front of every request.
    AnswerBuffer() {}

    void clear() { mSize = 0; }
    void add8(uint8_t value) {
        if (mSize < kCapacity) mBytes[mSize++] = value;
    }
    void add16(uint16_t value) {
        add8(static_cast<uint8_t>(value));
        add8(static_cast<uint8_t>(value >> 8));
    }
    void add32(uint32_t value) {
        add16(static_cast<uint16_t>(value));
        add16(static_cast<uint16_t>(value >> 16));
    }
    void add64(uint64_t value) {
        add32(static_cast<uint32_t>(value));
        add32(static_cast<uint32_t>(value >> 32));
    }
    void add(Bytes bytes) {
        const size_t count = std::min(bytes.size(), kCapacity - mSize);
        if (count > 0) std::memcpy(mBytes.data() + mSize, bytes.data(), count);
        mSize += count;
    }
    Bytes bytes() const { return {mBytes.data(), mSize}; }
    size_t size() const { return mSize; }

  private:
    std::array<uint8_t, kCapacity> mBytes;
    size_t mSize = 0;
};

}  // namespace virtual_dock
