// SPDX-License-Identifier: Apache-2.0
#include "raw_peer.h"

#include <errno.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
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
    std::string digits;
    std::copy_if(text.begin(), text.end(), std::back_inserter(digits), isxdigit);
    Bytes bytes;
    for (size_t at = 0; at < digits.size(); at += 2) {
        bytes.push_back(static_cast<uint8_t>(std::stoul(digits.substr(at, 2), nullptr, 16)));
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

Bytes replyFrame(const Bytes& parcel) {
    Bytes body;
    append(&body, WireReply{STATUS_OK, static_cast<uint32_t>(parcel.size()), {}});
    append(&body, parcel);
    return frameOf(WireCommand::kReply, body);
}

Bytes text(const char* text) {
    AParcel parcel;
    parcel.writeString(text);
    return {parcel.bytes().begin(), parcel.bytes().end()};
}

Bytes echoParcel(const Bytes& arguments) {
    Bytes parcel = text("test.IEcho");
    append(&parcel, arguments);
    return parcel;
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

size_t RawPeer::sendUnread(size_t calls) {
    Bytes arguments = int32(90'000);
    append(&arguments, Bytes(90'000, 0x11));
    const Bytes call = echoFrame(echo::kEcho, arguments);
    size_t sent = 0;
    while (sent < calls &&
           ::send(mSocket.get(), call.data(), call.size(), MSG_NOSIGNAL | MSG_DONTWAIT) ==
               static_cast<ssize_t>(call.size())) {
        ++sent;
    }
    return sent;
}

Bytes RawPeer::receive(size_t size) {
    Bytes bytes(size);
    size_t have = 0;
    while (have < size) {
        const ssize_t count = recv(mSocket.get(), bytes.data() + have, size - have, 0);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        have += static_cast<size_t>(count);
    }
    bytes.resize(have);
    return bytes;
}

std::optional<RawFrame> RawPeer::ask(const Bytes& call, const std::vector<int>& fds) {
    send(call, fds);
    return frame();
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
    ssize_t count = 1;
    while (count > 0) count = recv(mSocket.get(), &byte, 1, 0);
    return count == 0 || errno == ECONNRESET;
}

bool RawPeer::hasHungUp() const {
    pollfd state{mSocket.get(), 0, 0};
    return poll(&state, 1, 0) > 0;
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
    std::optional<RawFrame> reply =
        ask(frameOf(Call{.address = kSessionAddress, .code = kGetSessionId}));
    if (!reply) return {};
    Bytes parcel = reply->replyParcel();
    return {parcel.begin() + sizeof(int32_t), parcel.end()};
}

void RawPeer::fetchRoot() {
    (void)ask(frameOf(Call{.address = kSessionAddress, .code = kGetRoot}));
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
