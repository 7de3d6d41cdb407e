// SPDX-License-Identifier: Apache-2.0
#include "raw_peer.h"

#include <errno.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cctype>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <thread>

#include "echo.h"
#include "parcel.h"
#include "unix_socket.h"

namespace android::host::test {
namespace {

constexpr timeval kSilence{10, 0};

size_t entriesOf(const char* folder) {
    auto entries = std::filesystem::directory_iterator(folder);
    return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

}  // namespace

Bytes hex(std::string_view text) {
    Bytes bytes;
    std::string digits;
    for (char c : text) {
        if (isspace(static_cast<unsigned char>(c)) != 0) continue;
        digits += c;
        if (digits.size() < 2) continue;
        bytes.push_back(static_cast<uint8_t>(std::stoul(digits, nullptr, 16)));
        digits.clear();
    }
    return bytes;
}

std::string toHex(const Bytes& bytes) {
    std::string text;
    char digits[3];
    for (uint8_t byte : bytes) {
        snprintf(digits, sizeof(digits), "%02x", byte);
        text += digits;
    }
    return text;
}

void append(Bytes* bytes, const Bytes& more) {
    bytes->insert(bytes->end(), more.begin(), more.end());
}

Bytes frameOf(WireCommand command, const Bytes& body) {
    Bytes frame;
    append(&frame,
           WireHeader{static_cast<uint32_t>(command), static_cast<uint32_t>(body.size()), {}});
    append(&frame, body);
    return frame;
}

Bytes frameOf(const Call& call) {
    Bytes body;
    append(&body, WireTransaction{call.address,
                                  call.code,
                                  call.flags,
                                  call.asyncNumber,
                                  static_cast<uint32_t>(call.parcel.size()),
                                  {}});
    append(&body, call.parcel);
    append(&body, call.objectTable);
    return frameOf(WireCommand::kTransact, body);
}

Bytes decStrong(WireAddress address, uint32_t amount) {
    Bytes body;
    append(&body, WireDecStrong{address, amount, 0});
    return frameOf(WireCommand::kDecStrong, body);
}

Bytes echoParcel(const Bytes& arguments) {
    AParcel parcel;
    parcel.writeString("test.IEcho");
    Bytes bytes(parcel.bytes().begin(), parcel.bytes().end());
    append(&bytes, arguments);
    return bytes;
}

Bytes int32(int32_t value) {
    Bytes bytes;
    append(&bytes, value);
    return bytes;
}

Bytes echoFrame(uint32_t code, const Bytes& arguments, const Bytes& objectTable) {
    return frameOf(Call{.code = code, .parcel = echoParcel(arguments), .objectTable = objectTable});
}

Bytes pingFrame(int32_t number) {
    return echoFrame(echo::kPing, int32(number));
}

Bytes onewayFrame(uint64_t asyncNumber, size_t surplus) {
    Bytes arguments = int32(static_cast<int32_t>(asyncNumber));
    append(&arguments, Bytes(surplus));
    return frameOf(Call{.code = echo::kPing,
                        .flags = kFlagOneway,
                        .asyncNumber = asyncNumber,
                        .parcel = echoParcel(arguments)});
}

Bytes dumpFrame(int32_t index, const Bytes& objectTable) {
    Bytes parcel;
    append(&parcel, WireFd{kObjectFd, index});
    append(&parcel, int32(0));
    return frameOf(Call{.code = kDumpCode, .parcel = parcel, .objectTable = objectTable});
}

Bytes firstHalf(const Bytes& frame) {
    return {frame.begin(), frame.begin() + 30};
}

int32_t RawFrame::replyStatus() const {
    int32_t status = 1;
    if (body.size() >= sizeof(status)) memcpy(&status, body.data(), sizeof(status));
    return status;
}

Bytes RawFrame::replyParcel() const {
    if (body.size() < sizeof(WireReply)) return {};
    return {body.begin() + sizeof(WireReply), body.end()};
}

RawPeer::RawPeer(const std::string& path) : RawPeer(connectUnix(path)) {}

RawPeer::RawPeer(android::base::unique_fd socket) : mSocket(std::move(socket)) {
    (void)setsockopt(mSocket.get(), SOL_SOCKET, SO_RCVTIMEO, &kSilence, sizeof(kSilence));
}

void RawPeer::send(const Bytes& bytes, const std::vector<int>& fds) {
    iovec piece{const_cast<uint8_t*>(bytes.data()), bytes.size()};
    msghdr message{};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    std::vector<uint8_t> control(CMSG_SPACE(fds.size() * sizeof(int)));
    if (!fds.empty()) {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        cmsghdr* c = CMSG_FIRSTHDR(&message);
        c->cmsg_level = SOL_SOCKET;
        c->cmsg_type = SCM_RIGHTS;
        c->cmsg_len = CMSG_LEN(fds.size() * sizeof(int));
        memcpy(CMSG_DATA(c), fds.data(), fds.size() * sizeof(int));
    }
    (void)sendmsg(mSocket.get(), &message, MSG_NOSIGNAL);
}

bool RawPeer::trySend(const Bytes& bytes) {
    return ::send(mSocket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) ==
           static_cast<ssize_t>(bytes.size());
}

size_t RawPeer::sendUnread(size_t calls) {
    Bytes arguments = int32(90'000);
    append(&arguments, Bytes(90'000, 0x11));
    const Bytes call = echoFrame(echo::kEcho, arguments);
    size_t sent = 0;
    while (sent < calls && trySend(call)) ++sent;
    return sent;
}

Bytes RawPeer::receive(size_t size) {
    Bytes bytes(size);
    size_t have = 0;
    while (have < size) {
        ssize_t count = recv(mSocket.get(), bytes.data() + have, size - have, 0);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        have += static_cast<size_t>(count);
    }
    bytes.resize(have);
    return bytes;
}

std::optional<RawFrame> RawPeer::frame() {
    while (true) {
        Bytes head = receive(sizeof(WireHeader));
        if (head.size() < sizeof(WireHeader)) return std::nullopt;
        WireHeader header;
        memcpy(&header, head.data(), sizeof(header));
        RawFrame frame{static_cast<WireCommand>(header.command), receive(header.bodySize)};
        if (frame.body.size() != header.bodySize) return std::nullopt;
        if (frame.command != WireCommand::kDecStrong) return frame;
    }
}

bool RawPeer::hasEnded() {
    uint8_t byte;
    while (true) {
        ssize_t count = recv(mSocket.get(), &byte, 1, 0);
        if (count == 0) return true;
        if (count < 0) return errno != EAGAIN && errno != EWOULDBLOCK;
    }
}

void RawPeer::open(const Bytes& sessionId, uint8_t options, uint8_t fdMode, uint32_t version) {
    Bytes opening;
    append(&opening, WireConnectionHeader{
                         version, options, fdMode, {}, static_cast<uint16_t>(sessionId.size())});
    append(&opening, sessionId);
    if ((options & kConnectionIncoming) == 0) append(&opening, kConnectionInit);
    send(opening);
    if (sessionId.empty()) (void)receive(sizeof(WireNewSessionResponse));
    if ((options & kConnectionIncoming) != 0) (void)receive(sizeof(WireConnectionInit));
}

Bytes RawPeer::sessionId() {
    send(frameOf(Call{.address = kSessionAddress, .code = kGetSessionId}));
    std::optional<RawFrame> reply = frame();
    if (!reply) return {};
    Bytes parcel = reply->replyParcel();
    return {parcel.begin() + sizeof(int32_t), parcel.end()};
}

void RawPeer::fetchRoot() {
    send(frameOf(Call{.address = kSessionAddress, .code = kGetRoot}));
    (void)frame();
}

std::optional<RawFrame> RawPeer::ping(int32_t number) {
    send(pingFrame(number));
    return frame();
}

size_t openDescriptors() {
    return entriesOf("/proc/self/fd");
}

size_t threadCount() {
    return entriesOf("/proc/self/task");
}

bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace android::host::test
