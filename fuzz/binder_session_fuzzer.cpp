// SPDX-License-Identifier: Apache-2.0
//
// Hostile clients of a served object whose methods call back: several sessions with several
// connections each, whole and broken frames, descriptors, binders, nested calls answered or not,
// oneway calls in any order, dumps, hang-ups. Whatever they do, another client is served, and when
// they have gone nothing is left of them.
#include <signal.h>
#include <unistd.h>

#include "binder_script.h"
#include "listener.h"
#include "unix_socket.h"

namespace android::host::test {
namespace {

constexpr size_t kMaxSteps = 100;
constexpr size_t kMaxSockets = 12;
constexpr int kPatienceMs = 20;
constexpr int kBeyondLimitsMs = 150;

// ---- The served object --------------------------------------------------------------------------

struct Served {
    Served();
    void onPing(int what);

    echo::Server server;
    ndk::SpAIBinder root = echo::makeServer(&server);
    const std::string path = socketPath();
    std::shared_ptr<Listener> listener;
};

Served& served() {
    static auto* const instance = new Served;
    return *instance;
}

// More than a pipe takes, when asked for it.
binder_status_t writeDump(int fd, uint32_t count) {
    const std::string text(count > 2 ? 100'000 : 10, 'x');
    (void)!write(fd, text.data(), text.size());
    return STATUS_OK;
}

binder_status_t dumpAll(AIBinder*, int fd, const char** args, uint32_t count) {
    const ndk::SpAIBinder callback = served().server.callback();
    if (count % 2 == 1) (void)AIBinder_dump(callback.get(), fd, args, count);
    return writeDump(fd, count);
}

binder_status_t runCommand(AIBinder*, int, int out, int err, const char**, uint32_t count) {
    (void)writeDump(err, count);
    return writeDump(out, count);
}

Served::Served() {
    // As the service.
    (void)signal(SIGPIPE, SIG_IGN);
    Reactor::get().setMaxThreads(2);
    Reactor::get().startPool();
    auto* clazz = const_cast<AIBinder_Class*>(AIBinder_getClass(root.get()));
    AIBinder_Class_setOnDump(clazz, dumpAll);
    AIBinder_Class_setHandleShellCommand(clazz, runCommand);
    server.onPing([this](int what) { onPing(what); });
    listener = std::make_shared<Listener>(listenUnix(path), root.get(), 3);
    if (!Reactor::get().add(listener)) abort();
}

// What a method of a service may do with a client's object.
void Served::onPing(int what) {
    const ndk::SpAIBinder callback = server.callback();
    ndk::SpAIBinder object;
    const std::function<void()> uses[] = {
        [&] { linkToDeath(callback.get()); },
        [&] { (void)AIBinder_unlinkToDeath(callback.get(), recipient(), nullptr); },
        [&] {
            (void)echo::callWithBinder(callback.get(), echo::kReturnObject, root.get(), &object);
            server.setCallback(object);
        },
        [&] { (void)AIBinder_ping(callback.get()); },
        [&] { (void)echo::callWithBinder(callback.get(), echo::kPing, root.get()); },
        [&] { server.setCallback({}); },
        [&] { (void)AIBinder_dump(callback.get(), STDERR_FILENO, nullptr, 0); },
    };
    if (what > 0 && what <= static_cast<int>(std::size(uses))) uses[what - 1]();
}

// ---- Its clients --------------------------------------------------------------------------------

class Clients final : BinderScript {
  public:
    explicit Clients(std::span<const uint8_t> input) : BinderScript(input) {}

    void run() {
        for (size_t n = 0; n < kMaxSteps && mInput.remaining_bytes() > 0; ++n) step();
    }

    // Unless some end of the sockets is still under way: then only the limits help.
    using BinderScript::hangUp;

  private:
    void step() {
        if (mSockets.empty()) return openSession();
        const auto socket = anySocket();
        switch (choose(12)) {
            case 0:
                return openSession();
            case 1:
                return join(*socket, choose(2));
            case 2:
                return openOddly(*socket);
            case 3:
                return transmit(*socket, oddFrame());
            case 4:
                if (rarely()) {
                    mSockets.erase(socket);
                } else if (rarely()) {
                    (void)socket->waitForInput(kBeyondLimitsMs);
                } else {
                    (void)shutdown(socket->fd(), choose(3));
                }
                return;
            case 5:
                return answer(*socket, {});
            case 6:
            case 7:
            case 8:
                return call(*socket);
            default:
                return read(*socket);
        }
    }

    HostileSocket& add(RawPeer peer, Bytes id, uint32_t version) {
        if (mSockets.size() == kMaxSockets) mSockets.pop_front();
        HostileSocket& socket = mSockets.emplace_back(std::move(peer));
        socket.id = std::move(id);
        socket.version = version;
        return socket;
    }

    void openSession() {
        const uint32_t version = rarely() ? 0 : 1;
        RawPeer peer(served().path);
        peer.open({}, 0, rarely() ? 0 : 1, version);
        const std::optional<RawFrame> reply =
            peer.ask(frameOf(Call{.address = kSessionAddress, .code = kGetSessionId}));
        if (!reply || reply->body.size() < kSessionIdSize) {
            perror("a client is not served");
            abort();
        }
        peer.fetchRoot();
        add(std::move(peer), Bytes(reply->body.end() - kSessionIdSize, reply->body.end()), version);
    }

    void join(const HostileSocket& first, uint8_t options) {
        RawPeer peer(served().path);
        peer.open(first.id, options, 1, first.version);
        add(std::move(peer), first.id, first.version);
    }

    void openOddly(const HostileSocket& other) {
        constexpr uint16_t kIdSizes[] = {0, kSessionIdSize, 5};
        const WireConnectionHeader header{
            choose(3), choose(4), choose(3), {}, mInput.PickValueInArray(kIdSizes)};
        Bytes opening;
        append(&opening, header);
        if (header.sessionIdSize > 0)
            append(&opening, choose(2) == 0 ? other.id : Bytes(kSessionIdSize));
        append(&opening, kConnectionInit);
        HostileSocket& socket = add(RawPeer(served().path), other.id, other.version);
        const bool isJoining = header.sessionIdSize > 0 && (header.options & 1) == 0;
        socket.unreadOpening = isJoining ? 0 : sizeof(WireNewSessionResponse);
        transmit(socket, opening);
    }

    void call(HostileSocket& socket) override {
        constexpr uint32_t kCodes[] = {
            echo::kPing, echo::kRegisterCallback, echo::kFire,    echo::kAskBack,
            echo::kEcho, echo::kReturnObject,     kDumpCode,      kShellCommandCode,
            kPingCode,   kInterfaceCode,          kExtensionCode, 99};
        const Call call = someCall({kAddressCreated | kAddressForServer, 0}, kCodes);
        if (call.code <= kLastUserCode) addText("test.IEcho");
        addArgumentsOf(call.code, socket);
        if (call.flags == 0) ++socket.expected;
        transmit(socket, callFrame(call));
    }

    void addArgumentsOf(uint32_t code, const HostileSocket& socket) {
        switch (code) {
            case echo::kEcho: {
                const auto size = static_cast<uint32_t>(choose(4)) * 33'000;
                append(&mParcel, size);
                append(&mParcel, Bytes(size));
                return;
            }
            case echo::kRegisterCallback:
            case echo::kReturnObject:
                return rarely() ? addBinderOrNull() : addBinder({kAddressCreated, choose(2)});
            case kDumpCode:
                addFd(socket);
                return addArguments();
            case kShellCommandCode:
                for (int i = 0; i < 3; ++i) addFd(socket);
                addArguments();
                addNull();
                return addBinderOrNull();
            default:
                append(&mParcel, int32(number()));
        }
    }

    // Waits for what must come, and takes what has.
    void read(HostileSocket& socket) {
        const bool isWaiting = socket.expected > 0 && !socket.owesAnswer;
        if (!socket.waitForInput(isWaiting ? kPatienceMs : 0)) socket.expected = 0;
        serve(socket);
    }

    void answer(HostileSocket& socket, const WireTransaction& question) override {
        socket.owesAnswer = false;
        if (question.code == kInterfaceCode) {
            addText("test.ICb");
        } else if (rarely()) {
            addFd(socket);
        } else {
            append(&mParcel, int32(0));
            append(&mParcel, int32(1));
        }
        transmit(socket, replyFrame(socket.version, rarely() ? number() : 0));
    }
};

void expectServed() {
    RawPeer peer(served().path);
    peer.open();
    peer.fetchRoot();
    const std::optional<RawFrame> reply = peer.ping(40);
    if (!reply || reply->replyParcel() != Bytes{0, 0, 0, 0, 41, 0, 0, 0}) abort();
}

}  // namespace
}  // namespace android::host::test

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace android::host::test;
    if (size == 0) return 0;
    (void)served();
    const size_t before = openDescriptors();
    {
        Clients clients({data, size - 1});
        clients.run();
        expectServed();
        if (data[size - 1] % 16 != 15) clients.hangUp();
    }
    served().server.setCallback({});
    expectNothingLeft(before);
    // The target's, the listener's.
    if (!eventually([] { return AIBinder_debugGetRefCount(served().root.get()) == 2; })) abort();
    return 0;
}
