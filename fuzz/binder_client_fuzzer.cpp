// SPDX-License-Identifier: Apache-2.0
//
// A hostile server, for a client with two threads: it answers the opening, calls, nested calls and
// death links as it likes, calls the client's objects, and hangs up in the end. The client gets an
// error at worst, and nothing of the session is left.
#include <unistd.h>

#include <thread>

#include "binder_script.h"
#include "host/binder_host.h"
#include "reactor.h"
#include "unix_socket.h"

namespace android::host::test {
namespace {

constexpr size_t kOperations = 6;  // of each thread

// ---- The server ---------------------------------------------------------------------------------

class Server final : BinderScript {
  public:
    Server(std::span<const uint8_t> input, int listening)
        : BinderScript(input), mListening(listening) {}

    // Until the client is done; without a script it only hangs up.
    void run(const std::atomic<bool>& clientIsDone) {
        while (!clientIsDone) {
            std::vector<pollfd> polled{{mListening, POLLIN, 0}};
            for (const HostileSocket& socket : mSockets) {
                polled.push_back({socket.fd(), POLLIN, 0});
            }
            if (poll(polled.data(), polled.size(), /*milliseconds=*/1) == 0) pass();
            unique_fd accepted(accept4(mListening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
            if (accepted.ok() && mInput.remaining_bytes() > 0) {
                mSockets.emplace_back(RawPeer(std::move(accepted)));
            }
            for (HostileSocket& socket : mSockets) {
                if (socket.isOpened || open(socket)) serve(socket);
            }
            std::erase_if(mSockets, [](const auto& socket) { return socket.hasHungUp(); });
        }
        hangUp();
    }

  private:
    // Nothing comes: the client waits for something, or thinks.
    void pass() {
        if (mInput.remaining_bytes() == 0) return hangUp();
        if (mSockets.empty()) return;
        const auto socket = anySocket();
        switch (choose(4)) {
            case 0:
                return answer(*socket, {});
            case 1:
                return transmit(*socket, oddFrame());
            case 2:
                return call(*socket);
            default:
                (void)shutdown(socket->fd(), SHUT_RDWR);
                mSockets.erase(socket);
        }
    }

    bool open(HostileSocket& socket) {
        WireConnectionHeader header;
        if (recv(socket.fd(), &header, sizeof(header), MSG_PEEK) != sizeof(header)) return false;
        const bool isIncoming = header.options == kConnectionIncoming;
        const size_t size =
            sizeof(header) + header.sessionIdSize + (isIncoming ? 0 : sizeof(WireConnectionInit));
        if (!socket.take(size)) return false;
        socket.isOpened = true;
        const uint32_t odd = rarely() ? choose(3) : 1;
        if (header.sessionIdSize == 0) mVersion = odd;
        socket.version = mVersion;
        Bytes response;
        if (isIncoming) append(&response, kConnectionInit);
        if (header.sessionIdSize == 0) append(&response, WireNewSessionResponse{mVersion, {}});
        if (!response.empty()) transmit(socket, response);
        return true;
    }

    void answer(HostileSocket& socket, const WireTransaction& question) override {
        if (question.address == kSessionAddress) {
            answerSession(question.code);
        } else if (question.code == kInterfaceCode) {
            addText("test.IEcho");
        } else if (question.code <= kLastUserCode) {
            append(&mParcel, int32(rarely() ? number() : 0));
            if (question.code == echo::kReturnObject) {
                addBinderOrNull();
            } else {
                append(&mParcel, int32(number()));
            }
        }
        if (rarely()) addFd(socket);
        transmit(socket, replyFrame(socket.version, rarely() ? number() : 0));
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
    void call(HostileSocket& socket) override {
        constexpr uint32_t kCodes[] = {1, kInterfaceCode, kDumpCode, kPingCode, kExtensionCode, 7};
        const Call call = someCall({kAddressCreated, choose(2)}, kCodes);
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
    const std::function<void()> operations[] = {
        [&] { (void)echo::ping(root, 1, &answer); },
        [&] { (void)echo::callOneway(root, echo::kPing, 1); },
        [&] {
            for (int i = 0; i < 600; ++i) (void)echo::callOneway(root, echo::kPing, i);
        },
        [&] { (void)echo::echo(root, bytes, &bytes); },
        [&] { (void)echo::callWithBinder(root, echo::kRegisterCallback, caller.get()); },
        [&] {
            (void)echo::callWithBinder(root, echo::kReturnObject, callback.get(), &object);
            if (!AIBinder_associateClass(object.get(), echo::callbackClass())) return;
            (void)echo::callWithInt(object.get(), echo::Code{1}, 1, &answer);
        },
        [&] { linkToDeath(root); },
        [&] { (void)AIBinder_unlinkToDeath(root, recipient(), nullptr); },
        [&] { (void)AIBinder_dump(root, STDERR_FILENO, nullptr, 0); },
        [&] { (void)shellCommand(root, 0, 2, 2, {"an argument"}, &result); },
        [&] { (void)echo::callWithBinder(root, echo::kReturnObject, root, &object); },
        [&] { (void)AIBinder_isAlive(root); },
        [&] { (void)AIBinder_ping(root); },
    };
    operations[what % std::size(operations)]();
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
