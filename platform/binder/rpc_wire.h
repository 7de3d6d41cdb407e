// SPDX-License-Identifier: Apache-2.0
//
// The RPC-binder wire format, versions 0 and 1, as the platform's libbinder speaks it over stream
// sockets. Every struct that crosses a socket is defined here and nowhere else. All integers are
// little-endian; the structs are copied to and from the wire as they are.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <bit>

namespace android::host {

static_assert(std::endian::native == std::endian::little, "wire structs are copied as they stand");

// The highest version we speak, and offer. Version 0 has shorter replies and no object table.
inline constexpr uint32_t kProtocolVersion = 1;

// A frame's body is at most this long; the platform ends the session over a longer one.
inline constexpr uint32_t kMaxBodySize = 100'000;

// SCM_MAX_FD of the kernel (include/net/scm.h): descriptors in one message.
inline constexpr size_t kMaxFdsPerMessage = 253;

// Oneway calls waiting for an earlier one, per object; one more ends the session.
inline constexpr size_t kMaxQueuedOneway = 10'000;

inline constexpr size_t kSessionIdSize = 32;

// First bytes of every connection, from the side that connects; sessionIdSize bytes of id follow.
struct WireConnectionHeader {
    uint32_t version;
    uint8_t options;  // kConnectionIncoming
    uint8_t fdMode;   // WireFdMode
    uint8_t reserved[8];
    uint16_t sessionIdSize;  // 0 opens a session, kSessionIdSize joins one
};
static_assert(sizeof(WireConnectionHeader) == 16);

inline constexpr uint8_t kConnectionIncoming = 1;  // the accepting side makes the calls on it

enum class WireFdMode : uint8_t { kNone = 0, kUnix = 1 };

// The accepting side's answer to a connection that opens a session.
struct WireNewSessionResponse {
    uint32_t version;  // the lower of both sides' versions
    uint8_t reserved[4];
};
static_assert(sizeof(WireNewSessionResponse) == 8);

// First bytes from the side that will make the calls on the connection.
struct WireConnectionInit {
    char magic[4];
    uint8_t reserved[4];
};
static_assert(sizeof(WireConnectionInit) == 8);

inline constexpr WireConnectionInit kConnectionInit{{'c', 'c', 'i', '\0'}, {}};

enum class WireCommand : uint32_t { kTransact = 0, kReply = 1, kDecStrong = 2 };

struct WireHeader {
    uint32_t command;
    uint32_t bodySize;
    uint32_t reserved[2];
};
static_assert(sizeof(WireHeader) == 16);

// An object's name within one session. Options and number 0 is the session itself.
struct WireAddress {
    uint32_t options;
    uint32_t number;

    friend bool operator==(const WireAddress&, const WireAddress&) = default;
};
static_assert(sizeof(WireAddress) == 8);

inline constexpr uint32_t kAddressCreated = 1;    // always set
inline constexpr uint32_t kAddressForServer = 2;  // the server side owns the object
inline constexpr WireAddress kSessionAddress{0, 0};

// Followed by the parcel and, from version 1 on, the object table.
struct WireTransaction {
    WireAddress address;
    uint32_t code;
    uint32_t flags;
    uint64_t asyncNumber;
    uint32_t parcelSize;  // reserved in version 0, where the parcel is the rest of the body
    uint32_t reserved[3];
};
static_assert(sizeof(WireTransaction) == 40);

inline constexpr uint32_t kFlagOneway = 1;

// Version 0 sends the status alone.
struct WireReply {
    int32_t status;
    uint32_t parcelSize;
    uint32_t reserved[3];
};
static_assert(sizeof(WireReply) == 20);
inline constexpr size_t kReplySizeV0 = 4;

struct WireDecStrong {
    WireAddress address;
    uint32_t amount;
    uint32_t reserved;
};
static_assert(sizeof(WireDecStrong) == 16);

// Codes of calls to kSessionAddress.
inline constexpr uint32_t kGetRoot = 0;
inline constexpr uint32_t kGetMaxThreads = 1;
inline constexpr uint32_t kGetSessionId = 2;

// Codes every object answers, beside its own methods.
constexpr uint32_t packCode(char a, char b, char c, char d) {
    return uint32_t(uint8_t(a)) << 24 | uint32_t(uint8_t(b)) << 16 | uint32_t(uint8_t(c)) << 8 |
           uint32_t(uint8_t(d));
}
inline constexpr uint32_t kFirstUserCode = 1;
inline constexpr uint32_t kLastUserCode = 0x00ffffff;
inline constexpr uint32_t kPingCode = packCode('_', 'P', 'N', 'G');
inline constexpr uint32_t kDumpCode = packCode('_', 'D', 'M', 'P');
inline constexpr uint32_t kShellCommandCode = packCode('_', 'C', 'M', 'D');
inline constexpr uint32_t kInterfaceCode = packCode('_', 'N', 'T', 'F');
inline constexpr uint32_t kExtensionCode = packCode('_', 'E', 'X', 'T');

// Objects inside a parcel.
inline constexpr int32_t kObjectNull = 0;
inline constexpr int32_t kObjectBinder = 1;
inline constexpr int32_t kObjectFd = 2;

struct WireFd {
    int32_t type;   // kObjectFd
    int32_t index;  // into the message's descriptors
};
static_assert(sizeof(WireFd) == 8);

// Present: type, address, stability. Null: kObjectNull and a stability of 0.
struct WireBinder {
    int32_t type;
    WireAddress address;
    int32_t stability;
};
static_assert(sizeof(WireBinder) == 16);

enum class Stability : int32_t { kVendor = 0x03, kSystem = 0x0c, kVintf = 0x3f };

}  // namespace android::host
