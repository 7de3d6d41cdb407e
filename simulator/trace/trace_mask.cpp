// SPDX-License-Identifier: Apache-2.0
#include "trace_mask.h"

#include <algorithm>

namespace virtual_dock {
namespace {

constexpr size_t kAll = SIZE_MAX;
constexpr uint8_t kFiller = 0xA5;

// Bytes of a request or of an answer: from a position on, to the end.
struct MaskedField {
    Operation operation;
    int32_t type;
    bool answer;
    size_t from;
};

constexpr MaskedField kFields[] = {
    {Operation::kGetWlcInfo, status::kDockId, true, 0},
    {Operation::kSetQiId, 0, false, 0},
    {Operation::kBidiRequest, bidi::kKeyExchange, false, 0},
    {Operation::kBidiRequest, bidi::kKeyExchange, true, 1},  // after the header
    // After the value and the length.
    {Operation::kBidiRequest, bidi::kChallenge, false, 2},
    {Operation::kBidiRequest, bidi::kChallenge, true, 1},
    // After the message's header and what says which slots it is about.
    {Operation::kWpcAuthRequest, wpc_auth::kGetDigests, true, 2},
    {Operation::kWpcAuthRequest, wpc_auth::kGetCertificate, true, 1},
    {Operation::kWpcAuthRequest, wpc_auth::kChallenge, false, 2},
    {Operation::kWpcAuthRequest, wpc_auth::kChallenge, true, 2},
};

bool isAuthError(const TraceExchange& exchange) {
    return exchange.operation == Operation::kWpcAuthRequest && !exchange.answer.empty() &&
           exchange.answer[0] == wpc_auth::kError;
}

}  // namespace

void TraceMask::mask(std::vector<uint8_t>* bytes, size_t from, size_t size) {
    if (from >= bytes->size()) return;
    const auto begin = bytes->begin() + static_cast<ptrdiff_t>(from);
    const auto end = begin + static_cast<ptrdiff_t>(std::min(size, bytes->size() - from));
    if (begin == end) return;
    const auto next = static_cast<uint32_t>(mNumbers.size() + 1);
    uint32_t number = mNumbers.try_emplace({begin, end}, next).first->second;
    for (auto byte = begin; byte != end; ++byte, number >>= 8) {
        *byte = byte - begin < 4 ? static_cast<uint8_t>(number) : kFiller;
    }
}

// Those of the dock information that are not its flags or its version; as text.
void TraceMask::maskTexts(std::vector<uint8_t>* packet) {
    constexpr size_t kHeader = 2;
    for (size_t at = 0; at + kHeader <= packet->size();) {
        const size_t size = std::min<size_t>((*packet)[at + 1], packet->size() - at - kHeader);
        if ((*packet)[at] < element::kFlags && size > 0) {
            const auto begin = packet->begin() + static_cast<ptrdiff_t>(at + kHeader);
            const auto end = begin + static_cast<ptrdiff_t>(size);
            const auto next = static_cast<uint32_t>(mNumbers.size() + 1);
            uint32_t number = mNumbers.try_emplace({begin, end}, next).first->second;
            for (auto byte = end; byte != begin; number /= 10) {
                *--byte = static_cast<uint8_t>('0' + number % 10);
            }
        }
        at += kHeader + size;
    }
}

void TraceMask::apply(TraceExchange* exchange) {
    for (const MaskedField& field : kFields) {
        if (field.operation != exchange->operation || field.type != exchange->type) continue;
        if (field.answer && isAuthError(*exchange)) continue;
        mask(field.answer ? &exchange->answer : &exchange->request, field.from, kAll);
    }
    if (exchange->operation == Operation::kBidiRequest &&
        exchange->type == bidi::kDockInformation) {
        maskTexts(&exchange->answer);
    }
    if (exchange->operation == Operation::kGetPacketTlv) maskTexts(&exchange->request);
    const bool framed = exchange->operation == Operation::kBidiRequest ||
                        exchange->operation == Operation::kPropRequest;
    if (mFirmware && framed && exchange->type == firmware::kChunk) {
        // After the target, if any, and what numbers the piece.
        const size_t header = exchange->operation == Operation::kPropRequest ? 4 : 3;
        mask(&exchange->request, header, kAll);
    }
}

}  // namespace virtual_dock
