// SPDX-License-Identifier: Apache-2.0
// Counts the bytes that this process moves with send, sendmsg and recvmsg, which is how the binder
// transport moves all of its frames: what a raw baseline has to move, too.
#pragma once

#include <cstddef>
#include <cstdint>

namespace bench {

struct SocketBytes {
    uint64_t sent;
    uint64_t received;
};

// Of all threads so far.
SocketBytes socketBytes();

// Sizes of the messages of one exchange, in bytes.
struct WireSizes {
    size_t request = 0;
    size_t reply = 0;
};

// What one `call` moves on average, from `count` of them.
template <typename Call>
WireSizes wireSizes(int count, Call call) {
    const SocketBytes before = socketBytes();
    for (int i = 0; i < count; ++i) call();
    const SocketBytes after = socketBytes();
    return {(after.sent - before.sent) / static_cast<unsigned>(count),
            (after.received - before.received) / static_cast<unsigned>(count)};
}

}  // namespace bench
