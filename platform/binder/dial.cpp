// SPDX-License-Identifier: Apache-2.0
#include "dial.h"

#include <android-base/logging.h>
#include <errno.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>

#include "peer_limits.h"
#include "unix_socket.h"

namespace android::host {

using android::base::unique_fd;

bool sendAll(int socket, const void* data, size_t size) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    while (size > 0) {
        const ssize_t sent = send(socket, bytes, size, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0) return false;
        bytes += sent;
        size -= static_cast<size_t>(sent);
    }
    return true;
}

bool receiveAll(int socket, void* data, size_t size) {
    auto* bytes = static_cast<uint8_t*>(data);
    while (size > 0) {
        const ssize_t received = recv(socket, bytes, size, MSG_WAITALL);
        if (received < 0 && errno == EINTR) continue;
        if (received <= 0) return false;
        bytes += received;
        size -= static_cast<size_t>(received);
    }
    return true;
}

unique_fd dial(const std::string& path, const DialOptions& options) {
    unique_fd socket = connectUnix(path);
    if (!socket.ok()) return socket;
    constexpr timeval kTimeout{kOpeningTimeout.count(), 0};
    (void)setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &kTimeout, sizeof(kTimeout));
    // Header, id and init are written at once, without waiting for an answer.
    struct {
        WireConnectionHeader header;
        std::array<uint8_t, kSessionIdSize + sizeof(WireConnectionInit)> rest;
    } opening{};
    opening.header.version = options.version;
    opening.header.options = options.incoming ? kConnectionIncoming : 0;
    opening.header.fdMode =
        static_cast<uint8_t>(options.passesFds ? WireFdMode::kUnix : WireFdMode::kNone);
    size_t size = sizeof(opening.header);
    if (options.id != nullptr) {
        opening.header.sessionIdSize = kSessionIdSize;
        memcpy(opening.rest.data(), options.id->data(), kSessionIdSize);
        size += kSessionIdSize;
    }
    if (!options.incoming) {
        memcpy(reinterpret_cast<uint8_t*>(&opening) + size, &kConnectionInit,
               sizeof(kConnectionInit));
        size += sizeof(kConnectionInit);
    }
    if (!sendAll(socket.get(), &opening, size)) return {};
    if (options.incoming) {
        WireConnectionInit init;
        if (!receiveAll(socket.get(), &init, sizeof(init)) ||
            memcmp(init.magic, kConnectionInit.magic, sizeof(init.magic)) != 0) {
            LOG(WARNING) << "The service at " << path
                         << " does not accept a connection for callbacks";
            return {};
        }
    }
    return socket;
}

}  // namespace android::host
