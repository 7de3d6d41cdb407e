// SPDX-License-Identifier: Apache-2.0
#include "sha256.h"

#include <bit>

namespace virtual_dock {
namespace {

constexpr std::array<uint32_t, 64> kRound = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

uint32_t readBe32(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

void writeBe32(uint32_t value, uint8_t* bytes) {
    for (int i = 0; i < 4; ++i) bytes[i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

}  // namespace

Sha256::Sha256()
    : mState{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
             0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19} {}

void Sha256::compress(const uint8_t* block) {
    std::array<uint32_t, 64> w;
    for (size_t i = 0; i < 16; ++i) w[i] = readBe32(block + 4 * i);
    for (size_t i = 16; i < 64; ++i) {
        const uint32_t s0 = std::rotr(w[i - 15], 7) ^ std::rotr(w[i - 15], 18) ^ (w[i - 15] >> 3);
        const uint32_t s1 = std::rotr(w[i - 2], 17) ^ std::rotr(w[i - 2], 19) ^ (w[i - 2] >> 10);
        w[i] = w[i - 16] + s0 + w[i - 7] + s1;
    }
    auto [a, b, c, d, e, f, g, h] = mState;
    for (size_t i = 0; i < 64; ++i) {
        const uint32_t sum1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
        const uint32_t t1 = h + sum1 + ((e & f) ^ (~e & g)) + kRound[i] + w[i];
        const uint32_t sum0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
        const uint32_t t2 = sum0 + ((a & b) ^ (a & c) ^ (b & c));
        h = g;
        g = f;
        f = e;
        e = d + t1;
        d = c;
        c = b;
        b = a;
        a = t1 + t2;
    }
    const std::array<uint32_t, 8> added = {a, b, c, d, e, f, g, h};
    for (size_t i = 0; i < mState.size(); ++i) mState[i] += added[i];
}

void Sha256::add(Bytes bytes) {
    size_t filled = mLength % kBlockSize;
    mLength += bytes.size();
    while (!bytes.empty()) {
        const size_t count = std::min(bytes.size(), kBlockSize - filled);
        std::memcpy(mBlock.data() + filled, bytes.data(), count);
        bytes = bytes.subspan(count);
        filled += count;
        if (filled < kBlockSize) return;
        compress(mBlock.data());
        filled = 0;
    }
}

Digest Sha256::finish() {
    const uint64_t bits = mLength * 8;
    static constexpr uint8_t kPadding[kBlockSize] = {0x80};
    const size_t used = mLength % kBlockSize;
    add({kPadding, used < 56 ? 56 - used : 120 - used});
    uint8_t length[8];
    writeBe32(static_cast<uint32_t>(bits >> 32), length);
    writeBe32(static_cast<uint32_t>(bits), length + 4);
    add(length);
    Digest digest;
    for (size_t i = 0; i < mState.size(); ++i) writeBe32(mState[i], digest.data() + 4 * i);
    return digest;
}

Digest sha256(Bytes bytes) {
    Sha256 hash;
    hash.add(bytes);
    return hash.finish();
}

Digest hmacSha256(Bytes key, Bytes message) {
    std::array<uint8_t, 64> inner{};
    std::copy_n(key.begin(), std::min(key.size(), inner.size()), inner.begin());
    std::array<uint8_t, 64> outer = inner;
    for (uint8_t& byte : inner) byte ^= 0x36;
    for (uint8_t& byte : outer) byte ^= 0x5c;
    Sha256 first;
    first.add(inner);
    first.add(message);
    const Digest middle = first.finish();
    Sha256 second;
    second.add(outer);
    second.add(middle);
    return second.finish();
}

}  // namespace virtual_dock
