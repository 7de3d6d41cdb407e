// SPDX-License-Identifier: Apache-2.0
#include "remote_dock.h"

#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

#include "exchange_wire.h"

namespace virtual_dock {
namespace {

using android::base::unique_fd;

// A dock opens a connection at once; one that is stopped must not stop a service's start.
constexpr timeval kOpeningLimit = {.tv_sec = 5, .tv_usec = 0};
constexpr timeval kNoLimit = {.tv_sec = 0, .tv_usec = 0};
constexpr std::chrono::milliseconds kReopenInterval(100);
constexpr std::string_view kOpened = "{\"ok\":true}\n";

std::string failure(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

// Reads exactly `size` bytes; with one call when they are there.
bool receiveAll(int fd, void* bytes, size_t size) {
    auto* at = static_cast<uint8_t*>(bytes);
    while (size > 0) {
        const ssize_t count = recv(fd, at, size, 0);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        at += count;
        size -= static_cast<size_t>(count);
    }
    return true;
}

// The dock's reply to the opening line, up to its line feed.
std::string receiveLine(int fd) {
    std::string line;
    char byte = 0;
    while (line.size() < 512 && receiveAll(fd, &byte, 1)) {
        line += byte;
        if (byte == '\n') break;
    }
    return line;
}

// An exchange on one connection. *sent tells whether the dock may have got the request; the
// connection is good for another exchange when the return value is true.
bool exchangeOn(int fd, const Exchange& exchange, bool* sent, Outcome* outcome) {
    const size_t capacity = std::min(exchange.capacity, wire::kMaxAnswer);
    const bool wanted = exchange.answer != nullptr;
    const wire::RequestHeader header = {
        .operation = static_cast<uint32_t>(exchange.operation),
        .type = exchange.type,
        .timeLimitMs = exchange.timeLimitMs,
        .capacity = wanted ? static_cast<uint32_t>(capacity) : wire::kNotWanted,
        .length = static_cast<uint32_t>(exchange.request.size())};
    std::array<uint8_t, sizeof(header) + wire::kMaxRequest> message;
    std::memcpy(message.data(), &header, sizeof(header));
    if (header.length > 0) {
        std::memcpy(message.data() + sizeof(header), exchange.request.data(), header.length);
    }
    *sent = wire::sendAll(fd, message.data(), sizeof(header) + header.length);
    if (!*sent) return false;

    std::array<uint8_t, sizeof(wire::AnswerHeader) + wire::kMaxAnswer> answer;
    size_t size = 0;
    wire::AnswerHeader answerHeader = {};
    size_t expected = sizeof(answerHeader);
    while (size < expected) {
        const ssize_t count = recv(fd, answer.data() + size, answer.size() - size, 0);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        size += static_cast<size_t>(count);
        if (size < sizeof(answerHeader)) continue;
        std::memcpy(&answerHeader, answer.data(), sizeof(answerHeader));
        if (answerHeader.length > (wanted ? capacity : 0)) return false;
        expected = sizeof(answerHeader) + answerHeader.length;
    }
    if (size != expected) return false;
    if (answerHeader.length > 0) {
        std::memcpy(exchange.answer, answer.data() + sizeof(answerHeader), answerHeader.length);
    }
    *outcome = {answerHeader.result, answerHeader.length};
    return true;
}

}  // namespace

RemoteDock::RemoteDock(std::string path, std::string uevents)
    : mPath(std::move(path)), mUevents(std::move(uevents)) {}

unique_fd RemoteDock::open(std::string* problem) const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (mPath.size() >= sizeof(address.sun_path)) {
        *problem = mPath + " is too long for a socket path";
        return {};
    }
    std::memcpy(address.sun_path, mPath.data(), mPath.size());
    unique_fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (fd < 0 ||
        ::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        *problem = failure("no dock at " + mPath);
        return {};
    }
    setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &kOpeningLimit, sizeof(kOpeningLimit));
    const std::string line = wire::openingLine(mUevents) + "\n";
    if (!wire::sendAll(fd.get(), line.data(), line.size()) || receiveLine(fd.get()) != kOpened) {
        *problem = "the dock at " + mPath + " serves its own process only";
        return {};
    }
    setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &kNoLimit, sizeof(kNoLimit));
    return fd;
}

bool RemoteDock::connect(std::string* problem) {
    unique_fd fd = open(problem);
    if (fd < 0) return false;
    std::lock_guard lock(mLock);
    mIdle.push_back(std::move(fd));
    return true;
}

unique_fd RemoteDock::takeConnection() {
    std::lock_guard lock(mLock);
    if (mIdle.empty()) return {};
    unique_fd fd = std::move(mIdle.back());
    mIdle.pop_back();
    return fd;
}

void RemoteDock::stayKnown() {
    // Signals are for the process's own threads.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread;
    const auto run = [](void* self) -> void* {
        pthread_setname_np(pthread_self(), "dock-presence");
        static_cast<const RemoteDock*>(self)->stayConnected();
    };
    // Without the thread the dock knows this process as long as it asks something.
    if (pthread_create(&thread, nullptr, run, this) == 0) pthread_detach(thread);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void RemoteDock::stayConnected() const {
    for (;;) {
        std::string ignored;
        const unique_fd fd = open(&ignored);
        uint8_t byte = 0;
        // Until the dock has gone: it sends nothing of its own accord.
        if (fd >= 0) (void)receiveAll(fd.get(), &byte, sizeof(byte));
        std::this_thread::sleep_for(kReopenInterval);
    }
}

Outcome RemoteDock::exchange(const Exchange& exchange) {
    if (exchange.request.size() > wire::kMaxRequest) return {kInvalidArgument, 0};
    for (;;) {
        unique_fd fd = takeConnection();
        const bool fresh = fd < 0;
        std::string ignored;
        if (fresh) fd = open(&ignored);
        if (fd < 0) return {kSendFailed, 0};
        bool sent = false;
        Outcome outcome;
        if (exchangeOn(fd.get(), exchange, &sent, &outcome)) {
            std::lock_guard lock(mLock);
            mIdle.push_back(std::move(fd));
            return outcome;
        }
        if (sent) return {kReceiveFailed, 0};
        // A connection kept from a dock that has gone has not taken anything.
        if (fresh) return {kSendFailed, 0};
    }
}

}  // namespace virtual_dock
