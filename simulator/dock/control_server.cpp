// SPDX-License-Identifier: Apache-2.0
#include "control_server.h"

#include <android/log.h>
#include <host/runtime_dir.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <thread>
#include <utility>

namespace virtual_dock {
namespace {

constexpr const char* kSocketName = "/dock";
constexpr const char* kLogTag = "virtual-dock";

bool isSameUser(int fd) {
    ucred peer{};
    socklen_t length = sizeof(peer);
    return getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && peer.uid == geteuid();
}

void complain(const std::string& message) {
    __android_log_print(ANDROID_LOG_WARN, kLogTag, "%s; dockctl cannot reach this one",
                        message.c_str());
}

}  // namespace

ControlServer::ControlServer(VirtualDock* dock, ControlListener* listener,
                             ExchangeServer* exchanges)
    : mDock(dock),
      mListener(listener),
      mExchanges(exchanges),
      mStopFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

ControlServer::~ControlServer() {
    close(mStopFd);
}

void ControlServer::stop() {
    eventfd_write(mStopFd, 1);
}

void ControlServer::acceptClient() {
    const int fd = accept4(mListener->descriptor(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0) return;
    if (!isSameUser(fd)) {
        close(fd);
        return;
    }
    if (mClients.size() >= kMaxClients) makeRoom();
    mClients.push_back(std::make_unique<ControlClient>(fd, mDock, mExchanges));
}

void ControlServer::makeRoom() {
    const auto patience = [](const auto& client) {
        return std::pair(client->follows(), client->lastActive());
    };
    mClients.erase(
        std::min_element(mClients.begin(), mClients.end(),
                         [&](const auto& a, const auto& b) { return patience(a) < patience(b); }));
}

void ControlServer::sendPendingEvents() {
    for (const Event event : mDock->clearWake()) {
        const UeventOutcome outcome = sendUevent(event);
        if (!outcome.sent) {
            __android_log_print(ANDROID_LOG_WARN, kLogTag, "no uevent was sent for a change: %s",
                                outcome.detail.c_str());
        }
    }
}

void ControlServer::passOnExchanges(ControlClient* client) {
    // A client waits for the reply before it sends anything else.
    if (!client->wantsExchanges() || client->finished() || client->wantedEvents() != POLLIN) return;
    const std::string uevents = *client->wantsExchanges();
    if (!mExchanges->serve(client->releaseDescriptor(), uevents)) {
        __android_log_print(ANDROID_LOG_WARN, kLogTag,
                            "a connection for exchanges was dropped: no thread for it");
    }
}

void ControlServer::serveClients(const std::vector<pollfd>& polled) {
    for (const pollfd& each : polled) {
        if (each.revents == 0) continue;
        for (const auto& client : mClients) {
            if (client->descriptor() != each.fd) continue;
            client->handle(each.revents);
            passOnExchanges(client.get());
        }
    }
    std::erase_if(mClients, [](const auto& client) { return client->finished(); });
}

void ControlServer::run() {
    enum Fixed : size_t { kStop, kWake, kListen, kFirstClient };
    std::vector<pollfd> polled;
    for (;;) {
        polled = {{mStopFd, POLLIN, 0},
                  {mDock->wakeDescriptor(), POLLIN, 0},
                  {mListener->descriptor(), POLLIN, 0}};
        for (const auto& client : mClients) {
            polled.push_back({client->descriptor(), client->wantedEvents(), 0});
        }
        if (poll(polled.data(), polled.size(), -1) < 0) continue;
        if (polled[kStop].revents != 0) return;
        if (polled[kWake].revents != 0) {
            sendPendingEvents();
            // Followers get their new entries whether or not they wrote something.
            for (size_t i = kFirstClient; i < polled.size(); ++i) {
                if (mClients[i - kFirstClient]->follows()) polled[i].revents |= POLLOUT;
            }
        }
        serveClients({polled.begin() + kFirstClient, polled.end()});
        if (polled[kListen].revents != 0) acceptClient();
    }
}

void startProcessDock() {
    static std::once_flag once;
    std::call_once(once, [] {
        // These live until the process ends, as the dock does.
        auto* const listener = new ControlListener();
        std::string folder;
        std::string error;
        if (!android::host::hostRuntimeDir(&folder, &error) ||
            !listener->open(folder + kSocketName, &error)) {
            complain(error);
        }
        auto* const server = new ControlServer(&processDock(), listener);
        // Signals are for the process's own threads.
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        std::thread([server] {
            pthread_setname_np(pthread_self(), "virtual-dock");
            server->run();
        }).detach();
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    });
}

}  // namespace virtual_dock
