// SPDX-License-Identifier: Apache-2.0
//
// The opening of connections by a client.
#pragma once

#include <android-base/unique_fd.h>

#include <array>
#include <string>

#include "rpc_wire.h"

namespace android::host {

using SessionId = std::array<uint8_t, kSessionIdSize>;

struct DialOptions {
    uint32_t version = kProtocolVersion;
    bool passesFds = true;
    bool incoming = false;          // the server will make the calls on it
    const SessionId* id = nullptr;  // the session to join; null opens a new one
};

// Connects to a served socket and says what the connection is for. For an incoming one it also
// waits for the server to accept it, kOpeningTimeout at most. Not ok when nothing answers.
android::base::unique_fd dial(const std::string& path, const DialOptions& options);

// Writes or reads all, or fails; blocks.
bool sendAll(int socket, const void* data, size_t size);
bool receiveAll(int socket, void* data, size_t size);

}  // namespace android::host
