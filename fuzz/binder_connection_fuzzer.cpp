// SPDX-License-Identifier: Apache-2.0
//
// A raw connection to the server: whatever bytes a peer sends, it may lose its own session and
// nothing else. The first byte of the input says how far the session has been opened properly
// before the rest is sent, so that the fuzzer need not find the way in each time.
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include "charger_under_fuzz.h"
#include "listener.h"
#include "unix_socket.h"

using namespace host::binder;

namespace {

std::string serve() {
    std::string folder = "/tmp/binder_fuzz.XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) abort();
    static std::string path = folder + "/socket";
    static auto* const binder =
        new ndk::SpAIBinder(aidl::vendor::zorvak::wireless_charger::chargerUnderFuzz().asBinder());
    auto listener = std::make_shared<Listener>(listenUnix(path), binder->get());
    if (!Reactor::get().add(listener)) abort();
    Reactor::get().setMaxThreads(2);
    Reactor::get().startPool();
    atexit([] {
        (void)unlink(path.c_str());
        (void)rmdir(path.substr(0, path.rfind('/')).c_str());
    });
    return path;
}

void sendAll(int socket, const void* data, size_t size) {
    if (size > 0) (void)send(socket, data, size, MSG_NOSIGNAL);
}

// Reads until the server closes; it must, once it knows that nothing more comes.
void readToEnd(int socket) {
    constexpr timeval kLimit{10, 0};
    (void)setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &kLimit, sizeof(kLimit));
    uint8_t bytes[4096];
    ssize_t count;
    while ((count = recv(socket, bytes, sizeof(bytes), 0)) > 0) {
    }
    if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
        abort();  // a connection held for good
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = serve();
    if (size == 0) return 0;
    android::base::unique_fd socket = connectUnix(path);
    if (!socket.ok()) abort();
    const unsigned depth = data[0] % 4;
    if (depth >= 1) {
        const WireConnectionHeader header{.version = depth == 1 ? 0u : 1u,
                                          .options = 0,
                                          .fdMode = 1,
                                          .reserved = {},
                                          .sessionIdSize = 0};
        sendAll(socket.get(), &header, sizeof(header));
        sendAll(socket.get(), &kConnectionInit, sizeof(kConnectionInit));
    }
    if (depth >= 3) {
        struct {
            WireHeader header{0, sizeof(WireTransaction), {}};
            WireTransaction getRoot{};
        } call;
        sendAll(socket.get(), &call, sizeof(call));
    }
    sendAll(socket.get(), data + 1, size - 1);
    (void)shutdown(socket.get(), SHUT_WR);
    readToEnd(socket.get());
    return 0;
}
