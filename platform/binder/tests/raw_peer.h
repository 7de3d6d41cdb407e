// SPDX-License-Identifier: Apache-2.0
//
// A peer that speaks the wire protocol by hand, so that tests can send what a runtime never would.
#pragma once

#include <android-base/unique_fd.h>
#include <string.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "rpc_wire.h"

namespace android::host::test {

using Bytes = std::vector<uint8_t>;

// Bytes of a text of hex digits; white space is passed over.
Bytes hex(std::string_view text);
std::string toHex(const Bytes& bytes);

template <typename T>
void append(Bytes* bytes, const T& value) {
    size_t size = bytes->size();
    bytes->resize(size + sizeof(value));
    memcpy(bytes->data() + size, &value, sizeof(value));
}
void append(Bytes* bytes, const Bytes& more);

// Of the root object of a session.
constexpr WireAddress kRoot{kAddressCreated | kAddressForServer, 0};

struct Call {
    WireAddress address = kRoot;
    uint32_t code = 0;
    uint32_t flags = 0;
    uint64_t asyncNumber = 0;
    Bytes parcel = {};
    Bytes objectTable = {};
};
Bytes frameOf(const Call& call);
Bytes frameOf(WireCommand command, const Bytes& body);
Bytes decStrong(WireAddress address, uint32_t amount);

// Of a call that succeeded.
Bytes replyFrame(const Bytes& parcel);

// What stands in a parcel for a text, and for a number.
Bytes text(const char* text);
Bytes int32(int32_t value);
// A parcel that begins with the descriptor "test.IEcho".
Bytes echoParcel(const Bytes& arguments = {});

// Calls of the root object.
Bytes echoFrame(uint32_t code, const Bytes& arguments, const Bytes& objectTable = {});
Bytes pingFrame(int32_t number);
Bytes onewayFrame(uint64_t asyncNumber, size_t surplus = 0);
// With one descriptor, as its parcel says.
Bytes dumpFrame(int32_t index = 0, const Bytes& objectTable = int32(0));
Bytes firstHalf(const Bytes& frame);

struct RawFrame {
    WireCommand command;
    Bytes body;

    int32_t replyStatus() const;
    Bytes replyParcel() const;
};

class RawPeer {
  public:
    explicit RawPeer(const std::string& path);
    explicit RawPeer(android::base::unique_fd socket);

    void send(const Bytes& bytes, const std::vector<int>& fds = {});
    // Without waiting, sends calls with large answers, at most so many and while the peer takes
    // them. How many.
    size_t sendUnread(size_t calls);
    // Exactly that many bytes, or fewer when the other side closed or stays silent for too long.
    Bytes receive(size_t size);
    // Sends a call and gives the frame that answers it.
    std::optional<RawFrame> ask(const Bytes& call, const std::vector<int>& fds = {});
    // The next frame that is not a give-back of references; nothing when the connection has ended.
    std::optional<RawFrame> frame();
    // Waits for its end.
    bool hasEnded();
    // Whether it has ended already.
    bool hasHungUp() const;

    // Opens a session, or joins one, as a caller.
    void open(const Bytes& sessionId = {}, uint8_t options = 0, uint8_t fdMode = 1,
              uint32_t version = 1);
    Bytes sessionId();
    void fetchRoot();
    // Of the root object.
    std::optional<RawFrame> ping(int32_t number) { return ask(pingFrame(number)); }

    int fd() const { return mSocket.get(); }
    void close() { mSocket.reset(); }

  private:
    android::base::unique_fd mSocket;
};

// How many descriptors this process has open, give or take one for the asking, and threads.
size_t openDescriptors();
size_t threadCount();

// Waits until the condition holds; false when it still does not after a long while.
bool eventually(const std::function<bool()>& condition,
                std::chrono::milliseconds limit = std::chrono::seconds(20));

}  // namespace android::host::test
