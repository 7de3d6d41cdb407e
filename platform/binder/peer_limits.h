// SPDX-License-Identifier: Apache-2.0
//
// How long the runtime waits for a peer and how much it keeps on a peer's behalf. A peer that
// exceeds a limit loses its session and everything held for it, with one line in the log; nobody
// else notices. What the wire format itself fixes is in rpc_wire.h.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <chrono>

namespace android::host {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;
inline constexpr Deadline kNoDeadline = Deadline::max();

// ---- Time -------------------------------------------------------------------------------------

// The unit of the limits: a second, but for fuzz targets, which have no time to reach them.
#ifdef BINDER_FUZZ_LIMITS
using LimitUnit = std::chrono::duration<int64_t, std::ratio<1, 50>>;
#else
using LimitUnit = std::chrono::seconds;
#endif

// For everything a live peer does at once: completing an opening or a frame it has begun, reading
// some of its output, sending the oneway call that others of its calls wait for, answering a call
// that this side makes to it. A peer that is stopped, or waits for us, fails all of them.
//
// A client's calls to its server have no limit: a method may take as long as the hardware behind
// it.
inline constexpr LimitUnit kPeerTimeout(5);

// How long the requester of a dump or shell command may keep its output waiting, in all; and from
// when on such a call makes no further calls to others, such as the dumps of subscribers. Twice the
// above, so that one slow subscriber does not cost the next one its turn.
inline constexpr LimitUnit kDiagnosticsTimeout(10);

// How often limits are checked while something is pending; nothing runs otherwise. A limit is
// exceeded by at most this much.
inline constexpr std::chrono::nanoseconds kLimitCheckInterval =
    std::chrono::nanoseconds(LimitUnit(1)) / 2;

// How long a pool thread waits for the next call of a connection whose calls have come as quickly
// kBusyCalls times, before it goes back to waiting for all. Longer than a client takes between two
// calls of a loop; and what another client waits at the most when all other threads become busy
// meanwhile.
inline constexpr std::chrono::milliseconds kLingerTime(4);
inline constexpr int kBusyCalls = 16;

// How long a server may take to accept a client's connection. All its threads may be busy with slow
// calls, so this only tells a hang from a wait.
inline constexpr std::chrono::seconds kOpeningTimeout(60);

// ---- Space, per session -----------------------------------------------------------------------

// Calls inside calls, counted on this side. Every level takes stack; real interfaces need two.
inline constexpr size_t kMaxNesting = 16;

// Connections on which a client may call, at least: one per thread of a client with a few threads,
// as over the platform's kernel driver. Its server offers more when it has more threads.
inline constexpr uint32_t kMinCallConnections = 4;
// The platform's client opens no more than this, whatever the server offers.
inline constexpr size_t kMaxClientConnections = 10;
// Connections on which the server may call.
inline constexpr size_t kMaxIncomingConnections = 10;

// Bytes of oneway calls that wait their turn, with what it takes to keep one: room for as many
// small calls as the protocol lets a peer queue on one object.
inline constexpr size_t kMaxWaitingOnewayBytes = size_t{4} << 20;
inline constexpr size_t kWaitingCallOverhead = 256;

// Output that the peer has yet to read, per connection: the largest answer and a burst of small
// messages. Nothing is read from a connection meanwhile, so more never comes together.
inline constexpr size_t kMaxUnsentBytes = size_t{256} << 10;

// Descriptors that came with unfinished frames: what one message may bring.
inline constexpr size_t kMaxHeldFds = 253;

// ---- Space, per process -----------------------------------------------------------------------

// The same for all sessions together: a small part of what a process may have open.
inline constexpr size_t kMaxHeldFdsInAll = 1024;

// Pool threads that wait for peers at the same time. Others take their place, so this bounds the
// number of threads; one more call to a peer fails.
inline constexpr uint32_t kMaxWaitingThreads = 64;

// Threads for dumps and shell commands, and how many of them may wait for one.
inline constexpr size_t kMaxDiagnosticsThreads = 4;
inline constexpr size_t kMaxWaitingDiagnostics = 16;

}  // namespace android::host
