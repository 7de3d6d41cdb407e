// SPDX-License-Identifier: Apache-2.0
#include "exchange_server.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>

#include "exchange_wire.h"
#include "uevent.h"

namespace virtual_dock {
namespace {

// One request as it arrives.
struct Request {
    wire::RequestHeader header;
    std::array<uint8_t, wire::kMaxRequest> bytes;
};

bool isSound(const wire::RequestHeader& header) {
    return header.operation < kOperationCount && header.length <= wire::kMaxRequest &&
           (header.capacity <= wire::kMaxAnswer || header.capacity == wire::kNotWanted);
}

// Reads one request, and nothing of a next one: a library waits for its answer first. False when
// the connection has ended or breaks the protocol.
bool receive(int fd, Request* request) {
    auto* const place = reinterpret_cast<uint8_t*>(request);
    size_t size = 0;
    size_t wanted = sizeof(request->header);
    while (size < wanted) {
        const ssize_t count = recv(fd, place + size, sizeof(*request) - size, 0);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        size += static_cast<size_t>(count);
        if (size < sizeof(request->header)) continue;
        if (!isSound(request->header)) return false;
        wanted = sizeof(request->header) + request->header.length;
    }
    return size == wanted;
}

}  // namespace

struct ExchangeServer::Connection {
    ExchangeServer* server;
    android::base::unique_fd fd;
    std::string uevents;
};

ExchangeServer::~ExchangeServer() {
    std::unique_lock lock(mLock);
    const android::base::ScopedLockAssertion assertion(mLock);
    for (const Connection* connection : mConnections) shutdown(connection->fd.get(), SHUT_RDWR);
    while (!mConnections.empty()) mEnded.wait(lock);
}

bool ExchangeServer::hasRoom() const {
    std::lock_guard lock(mLock);
    return mConnections.size() < kMaxConnections;
}

bool ExchangeServer::serve(android::base::unique_fd fd, const std::string& uevents) {
    const int flags = fcntl(fd.get(), F_GETFL);
    if (flags < 0 || fcntl(fd.get(), F_SETFL, flags & ~O_NONBLOCK) != 0) return false;
    auto connection = std::make_unique<Connection>(Connection{this, std::move(fd), uevents});
    std::lock_guard lock(mLock);
    if (mConnections.size() >= kMaxConnections) return false;
    // Signals are for the process's own threads.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread;
    const int error = pthread_create(&thread, nullptr, run, connection.get());
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (error != 0) return false;
    pthread_detach(thread);
    addUeventListener(uevents);
    mConnections.insert(connection.release());
    return true;
}

void* ExchangeServer::run(void* argument) {
    pthread_setname_np(pthread_self(), "dock-exchange");
    const std::unique_ptr<Connection> connection(static_cast<Connection*>(argument));
    ExchangeServer* const server = connection->server;
    server->serveUntilEnd(*connection);
    std::lock_guard lock(server->mLock);
    removeUeventListener(connection->uevents);
    server->mConnections.erase(connection.get());
    server->mEnded.notify_all();
    return nullptr;
}

void ExchangeServer::serveUntilEnd(const Connection& connection) {
    Request request;
    std::array<uint8_t, sizeof(wire::AnswerHeader) + wire::kMaxAnswer> answer;
    uint8_t* const answerBytes = answer.data() + sizeof(wire::AnswerHeader);
    while (receive(connection.fd.get(), &request)) {
        const wire::RequestHeader& header = request.header;
        const bool wanted = header.capacity != wire::kNotWanted;
        const Outcome outcome =
            mEndpoint->exchange({.operation = static_cast<Operation>(header.operation),
                                 .type = header.type,
                                 .request = Bytes(request.bytes.data(), header.length),
                                 .answer = wanted ? answerBytes : nullptr,
                                 .capacity = wanted ? header.capacity : 0,
                                 .timeLimitMs = header.timeLimitMs});
        const bool answered = wanted && outcome.result == kOk;
        const size_t length = answered ? std::min<size_t>(outcome.length, header.capacity) : 0;
        const wire::AnswerHeader answerHeader = {outcome.result, static_cast<uint32_t>(length)};
        std::memcpy(answer.data(), &answerHeader, sizeof(answerHeader));
        if (!wire::sendAll(connection.fd.get(), answer.data(), sizeof(answerHeader) + length)) {
            return;
        }
    }
}

}  // namespace virtual_dock
