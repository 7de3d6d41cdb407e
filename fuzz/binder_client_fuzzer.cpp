// SPDX-License-Identifier: Apache-2.0
//
// A hostile server, for a client with two threads: it answers the opening, calls, nested calls and
// death links as it likes, calls the client's objects, and hangs up in the end. The client gets an
// error at worst, and nothing of the session is left.
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <list>
#include <thread>

#include "binder_script.h"
#include "host/binder_host.h"
#include "reactor.h"
#include "unix_socket.h"

namespace android::host::test {
namespace {

constexpr size_t kOperations = 6;  // of each thread

// ---- The server ---------------------------------------------------------------------------------

struct ServerSocket : HostileSocket {
    using HostileSocket::HostileSocket;
    bool isOpened = false;
    bool isIncoming = false;
};

class Server : BinderScript {
  public:
    Server(std::span<const uint8_t> input, int listening)
        : BinderScript(input), mListening(listening) {}

    // Until the client is done; without a script it only hangs up.
    void run(const std::atomic<bool>& clientIsDone) {
        while (!clientIsDone) {
            std::vector<pollfd> polled{{mListening, POLLIN, 0}};
            for (const ServerSocket& socket : mSockets) {
                polled.push_back({socket.peer.fd(), POLLIN, 0});
            }
            if (poll(polled.data(), polled.size(), /*milliseconds=*/1) == 0) pass();
            unique_fd accepted(accept4(mListening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
            if (accepted.ok() && mInput.remaining_bytes() > 0) {
                mSockets.emplace_back(RawPeer(std::move(accepted)));
            }
            for (ServerSocket& socket : mSockets) {
                if (socket.read()) serve(socket);
            }
            std::erase_if(mSockets, [](const ServerSocket& socket) { return socket.isClosed; });
        }
        hangUp();
    }

  private:
    // Nothing comes: the client waits for something, or thinks.
    void pass() {
        if (mInput.remaining_bytes() == 0) return hangUp();
        if (mSockets.empty()) return;
        auto socket = mSockets.begin();
        std::advance(socket, choose(static_cast<uint8_t>(mSockets.size())));
        switch (choose(4)) {
            case 0:
                return answer(*socket, {});
            case 1:
                return transmit(*socket, oddFrame());
            case 2:
                return callBack(*socket);
            default:
                (void)shutdown(socket->peer.fd(), SHUT_RDWR);
                mSockets.erase(socket);
        }
    }

    // Also where the client holds a copy of the server's end.
    void hangUp() {
        for (ServerSocket& socket : mSockets) (void)shutdown(socket.peer.fd(), SHUT_RDWR);
        mSockets.clear();
    }

    void serve(ServerSocket& socket) {
        if (!socket.isOpened && !open(socket)) return;
        while (std::optional<RawFrame> frame = socket.nextFrame()) {
            if (frame->command != WireCommand::kTransact) continue;
            const WireTransaction transaction = transactionOf(*frame);
            if (transaction.flags == kFlagOneway) continue;
            switch (choose(8)) {
                case 7:
                    transmit(socket, oddFrame());
                    break;
                case 6:
                    callBack(socket);  // the answer comes once it has been served, or never
                    break;
                case 5:
                    callBack(socket);
                    [[fallthrough]];
                default:
                    answer(socket, transaction);
            }
        }
    }

    bool open(ServerSocket& socket) {
        WireConnectionHeader header;
        if (socket.received.size() < sizeof(header)) return false;
        memcpy(&header, socket.received.data(), sizeof(header));
        socket.isIncoming = header.options == kConnectionIncoming;
        const size_t size = sizeof(header) + header.sessionIdSize +
                            (socket.isIncoming ? 0 : sizeof(WireConnectionInit));
        if (!socket.take(size)) return false;
        socket.isOpened = true;
        const uint32_t odd = rarely() ? choose(3) : 1;
        if (header.sessionIdSize == 0) mVersion = odd;
        socket.version = mVersion;
        Bytes response;
        if (socket.isIncoming) append(&response, kConnectionInit);
        if (header.sessionIdSize == 0) append(&response, WireNewSessionResponse{mVersion, {}});
        if (!response.empty()) transmit(socket, response);
        return true;
    }

    void answer(ServerSocket& socket, const WireTransaction& call) {
        if (call.address == kSessionAddress) {
            answerSession(call.code);
        } else if (call.code == kInterfaceCode) {
            addText("test.IEcho");
        } else if (call.code == kExtensionCode) {
            addBinderOrNull();
        } else if (call.code <= kLastUserCode) {
            append(&mParcel, int32(rarely() ? number() : 0));
            if (call.code == echo::kReturnObject) {
                addBinderOrNull();
            } else {
                append(&mParcel, int32(number()));
            }
        }
        if (rarely()) addFd(socket);
        transmit(socket, replyFrame(mVersion, rarely() ? number() : 0));
    }

    void answerSession(uint32_t code) {
        if (code == kGetRoot) {
            rarely() ? addBinderOrNull() : addBinder({kAddressCreated | kAddressForServer, 0});
        } else if (code == kGetMaxThreads) {
            append(&mParcel, int32(rarely() ? number() : 2));
        } else {
            append(&mParcel, int32(rarely() ? number() : kSessionIdSize));
            append(&mParcel, Bytes(kSessionIdSize));
        }
    }

    // Calls an object of the client's, where it may and where it may not.
    void callBack(ServerSocket& socket) {
        constexpr uint32_t kCodes[] = {1, kInterfaceCode, kDumpCode, kPingCode, kExtensionCode, 7};
        Call call{.address = {kAddressCreated, choose(2)}, .code = mInput.PickValueInArray(kCodes)};
        if (rarely()) call.address = address();
        if (choose(2) == 1) {
            call.flags = kFlagOneway;
            call.asyncNumber = choose(4);
        }
        if (call.code == kDumpCode) {
            addFd(socket);
            addArguments();
        } else {
            addText("test.ICb");
            append(&mParcel, int32(number()));
        }
        transmit(socket, callFrame(call));
    }

    const int mListening;
    uint32_t mVersion = 1;
    std::list<ServerSocket> mSockets;
};

// ---- The client ---------------------------------------------------------------------------------

void operate(AIBinder* root, uint8_t what) {
    // The callback's method calls the server in turn, in the middle of its own call.
    static const ndk::SpAIBinder callback = echo::makeCallback([](int x) { return x; });
    const ndk::SpAIBinder caller =
        echo::makeCallback([held = ndk::SpAIBinder(root)](int x) mutable {
            int answer = 0;
            (void)echo::ping(held.get(), x, &answer);
            return answer;
        });
    AIBinder_incStrong(root);  // the callback's
    ndk::SpAIBinder object;
    std::vector<int8_t> bytes(60'000);
    binder_status_t result;
    int answer;
    switch (what % 13) {
        case 0:
            return (void)echo::ping(root, 1, &answer);
        case 1:
            return (void)echo::callOneway(root, echo::kPing, 1);
        case 2:
            for (int i = 0; i < 600; ++i) (void)echo::callOneway(root, echo::kPing, i);
            return;
        case 3:
            return (void)echo::echo(root, bytes, &bytes);
        case 4:
            return (void)echo::callWithBinder(root, echo::kRegisterCallback, caller.get());
        case 5:
            (void)echo::callWithBinder(root, echo::kReturnObject, callback.get(), &object);
            if (!AIBinder_associateClass(object.get(), echo::callbackClass())) return;
            return (void)echo::callWithInt(object.get(), echo::Code{1}, 1, &answer);
        case 6:
            return deaths().link(root);
        case 7:
            return deaths().unlink(root);
        case 8:
            return (void)AIBinder_dump(root, STDERR_FILENO, nullptr, 0);
        case 9:
            return (void)shellCommand(root, 0, 2, 2, {"an argument"}, &result);
        case 10:
            return (void)echo::callWithBinder(root, echo::kReturnObject, root, &object);
        case 11:
            return (void)AIBinder_isAlive(root);
        default:
            return (void)AIBinder_ping(root);
    }
}

void use(AIBinder* root, const Bytes& operations) {
    for (const uint8_t operation : operations) operate(root, operation);
}

}  // namespace
}  // namespace android::host::test

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace android::host::test;
    static const std::string path = socketPath();
    static const int listening = android::host::listenUnix(path).release();
    if (size < 2 * kOperations) return 0;
    android::host::Reactor::get().setMaxThreads(2);
    android::host::Reactor::get().startPool();
    const size_t before = openDescriptors();
    std::atomic<bool> isDone{false};
    std::thread server([&] {
        Server({data + 2 * kOperations, size - 2 * kOperations}, listening).run(isDone);
    });
    {
        const ndk::SpAIBinder root(android::host::connectService(path));
        if (root.get() != nullptr) {
            (void)AIBinder_associateClass(root.get(), echo::serverClass());
            std::thread other(use, root.get(), Bytes(data, data + kOperations));
            use(root.get(), Bytes(data + kOperations, data + 2 * kOperations));
            other.join();
        }
    }
    isDone = true;
    server.join();
    expectNothingLeft(before);
    return 0;
}
