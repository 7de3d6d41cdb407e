// SPDX-License-Identifier: Apache-2.0
//
// Puts a frame together from its head and a parcel, and sends it.
#pragma once

#include <array>
#include <span>

#include "connection.h"
#include "object_table.h"
#include "parcel.h"
#include "rpc_wire.h"

namespace android::host {

template <typename T>
struct FrameHead {
    WireHeader header;
    T body;
};

template <typename T>
FrameHead<T> makeHead(WireCommand command, const T& body, size_t bodyHeadSize,
                      const AParcel& parcel) {
    size_t size = bodyHeadSize + parcel.bytes().size() + parcel.fdOffsets().size_bytes();
    return {{static_cast<uint32_t>(command), static_cast<uint32_t>(size), {}}, body};
}

// DEC_STRONGs (or none), head, parcel and object table in one message.
template <typename T>
Connection::Sent sendFrame(Connection& connection, PendingDecs* pending, const FrameHead<T>& head,
                           size_t headSize, const AParcel& parcel, Connection::Full full,
                           Deadline deadline = kNoDeadline) {
    std::array<iovec, 4> pieces{};
    size_t count = 0;
    if (pending != nullptr && pending->count > 0) pieces[count++] = pending->piece();
    pieces[count++] = {const_cast<FrameHead<T>*>(&head), headSize};
    pieces[count++] = {const_cast<uint8_t*>(parcel.bytes().data()), parcel.bytes().size()};
    if (parcel.fds().empty()) {
        return connection.send(std::span(pieces).first(count), {}, full, deadline);
    }
    const std::span<const uint32_t> table = parcel.fdOffsets();
    pieces[count++] = {const_cast<uint32_t*>(table.data()), table.size_bytes()};
    std::array<int, kMaxFdsPerMessage> fds;
    size_t fdCount = 0;
    for (const auto& fd : parcel.fds()) fds[fdCount++] = fd.get();
    return connection.send(std::span(pieces).first(count), std::span(fds).first(fdCount), full,
                           deadline);
}

}  // namespace android::host
