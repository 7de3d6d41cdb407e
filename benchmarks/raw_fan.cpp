// SPDX-License-Identifier: Apache-2.0
#include "raw_fan.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <string>

namespace bench {

RawFan::RawFan(size_t connections, size_t size, Arrivals* arrivals,
               const std::function<void(const Emit&)>& source)
    : mArrivals(arrivals), mSockets(connections) {
    const std::string message(size, 'x');
    const Emit emit = [this, &message] {
        for (const SocketPair& pair : mSockets) {
            if (!writeAll(pair.theirs.get(), message.data(), message.size())) return false;
        }
        return true;
    };
    mPeer = std::make_unique<Fork>([&] { source(emit); }, serverCpu());
    mReader = std::thread([this, size] { read(size); });
}

RawFan::~RawFan() {
    for (const SocketPair& pair : mSockets) shutdown(pair.ours.get(), SHUT_RDWR);
    mReader.join();
}

void RawFan::read(size_t size) {
    std::string area(size, '\0');
    // A single socket needs no epoll_wait.
    while (mSockets.size() == 1) {
        if (!readAll(mSockets[0].ours.get(), area.data(), size)) return;
        mArrivals->arrived();
    }
    const Fd epoll(epoll_create1(EPOLL_CLOEXEC));
    for (const SocketPair& pair : mSockets) {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = pair.ours.get();
        epoll_ctl(epoll.get(), EPOLL_CTL_ADD, pair.ours.get(), &event);
    }
    std::vector<epoll_event> ready(mSockets.size());
    for (;;) {
        const int count = epoll_wait(epoll.get(), ready.data(), static_cast<int>(ready.size()), -1);
        for (int i = 0; i < count; ++i) {
            if (!readAll(ready[i].data.fd, area.data(), size)) return;
            mArrivals->arrived();
        }
    }
}

}  // namespace bench
