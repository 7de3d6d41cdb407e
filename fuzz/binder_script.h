// SPDX-License-Identifier: Apache-2.0
//
// What the fuzz targets of both sides of the binder protocol share: an input is a script, which
// says step by step what a hostile peer sends. Every choice takes one byte from the input's end.
#pragma once

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "echo.h"
#include "parcel.h"
#include "raw_peer.h"

namespace android::host::test {

// One socket of the hostile peer, which never waits for the other side to take what it sends.
struct HostileSocket : RawPeer {
    explicit HostileSocket(RawPeer opened) : RawPeer(std::move(opened)) {
        (void)fcntl(fd(), F_SETFL, O_NONBLOCK);
    }

    bool waitForInput(int milliseconds) const {
        pollfd state{fd(), POLLIN, 0};
        return poll(&state, 1, milliseconds) > 0;
    }
    // So many bytes, once all of them have come.
    std::optional<Bytes> take(size_t size) {
        int waiting = 0;
        (void)ioctl(fd(), FIONREAD, &waiting);
        if (static_cast<size_t>(waiting) < size) return std::nullopt;
        return receive(size);
    }
    std::optional<RawFrame> nextFrame() {
        if (unreadOpening > 0 && !take(std::exchange(unreadOpening, 0))) return std::nullopt;
        WireHeader header;
        if (recv(fd(), &header, sizeof(header), MSG_PEEK) != sizeof(header)) return std::nullopt;
        std::optional<Bytes> frame = take(sizeof(header) + header.bodySize);
        if (!frame) return std::nullopt;
        return RawFrame{static_cast<WireCommand>(header.command),
                        Bytes(frame->begin() + sizeof(header), frame->end())};
    }

    Bytes id;  // of its session
    uint32_t version = 1;
    bool isOpened = false;
    size_t unreadOpening = 0;  // bytes in front of the first frame
    int expected = 0;          // answers
    bool owesAnswer = false;
};

using android::base::unique_fd;

class BinderScript {
  protected:
    explicit BinderScript(std::span<const uint8_t> input) : mInput(input.data(), input.size()) {}
    ~BinderScript() = default;

    uint8_t choose(uint8_t count) {
        return mInput.ConsumeIntegralInRange<uint8_t>(0, static_cast<uint8_t>(count - 1));
    }
    bool rarely() { return choose(8) == 7; }

    // ---- Parts of a parcel ------------------------------------------------------------------

    int32_t number() {
        constexpr int32_t kNumbers[] = {0, 1,  2,    3,      4,  5,  6,
                                        7, 40, 2000, 60'000, -1, -2, INT32_MIN};
        return mInput.PickValueInArray(kNumbers);
    }
    WireAddress address() {
        constexpr WireAddress kAddresses[] = {{3, 0}, {1, 0}, {1, 1}, {3, 1}, {3, 2},
                                              {1, 9}, {3, 9}, {0, 0}, {2, 0}, {7, 0}};
        return mInput.PickValueInArray(kAddresses);
    }
    void addText(const char* content) { append(&mParcel, text(content)); }
    void addBinder(WireAddress of) {
        constexpr Stability kStabilities[] = {Stability::kVintf, Stability::kSystem, Stability{1}};
        append(&mParcel, WireBinder{kObjectBinder, of,
                                    static_cast<int32_t>(mInput.PickValueInArray(kStabilities))});
    }
    void addNull() { append(&mParcel, uint64_t{0}); }
    void addBinderOrNull() { rarely() ? addNull() : addBinder(address()); }
    void addFd(const HostileSocket& via) {
        append(&mTable, static_cast<uint32_t>(mParcel.size()));
        append(&mParcel, WireFd{kObjectFd, static_cast<int32_t>(mFds.size())});
        mFds.push_back(makeFd(via));
    }
    void addArguments() {
        const uint8_t count = choose(4);
        append(&mParcel, int32(count));
        for (int i = 0; i < count; ++i) addText("an argument");
    }

    // ---- Frames -----------------------------------------------------------------------------

    // Most often a call of an object that is there.
    Call someCall(WireAddress usual, std::span<const uint32_t> codes) {
        Call call{.address = usual, .code = codes[choose(static_cast<uint8_t>(codes.size()))]};
        if (rarely()) call.address = address();
        if (call.address == kSessionAddress) call.code = choose(4);
        if (choose(4) == 3) {
            call.flags = kFlagOneway;
            call.asyncNumber = choose(4);
        }
        return call;
    }
    Bytes callFrame(Call call) {
        call.parcel = std::exchange(mParcel, {});
        call.objectTable = std::exchange(mTable, {});
        return frameOf(call);
    }
    Bytes replyFrame(uint32_t version, int32_t status) {
        Bytes body = int32(status);
        if (version > 0) {
            append(&body, WireReply{status, static_cast<uint32_t>(mParcel.size()), {}});
            body.erase(body.begin(), body.begin() + sizeof(status));
        }
        append(&body, std::exchange(mParcel, {}));
        append(&body, std::exchange(mTable, {}));
        return frameOf(WireCommand::kReply, body);
    }
    Bytes oddFrame() {
        switch (choose(4)) {
            case 0:
                return decStrong(address(), static_cast<uint32_t>(number()));
            case 1:
                addBinderOrNull();
                return replyFrame(choose(2), number());
            case 2:
                return frameOf(WireCommand{choose(5)}, Bytes(choose(48)));
            default:
                return mInput.ConsumeBytes<uint8_t>(choose(64));
        }
    }

    // Sends it with the descriptors collected for it; sometimes in part, changed, or with others.
    void transmit(HostileSocket& socket, Bytes frame) {
        std::vector<unique_fd> fds = std::exchange(mFds, {});
        std::vector<int> numbers;
        for (const unique_fd& fd : fds) numbers.push_back(fd.get());
        switch (choose(16)) {
            case 12:
                for (int i = 0; i < 40; ++i) socket.send(frame, numbers);
                break;
            case 11:
                frame.resize(frame.size() * choose(16) / 16);
                break;
            case 10:
                if (!frame.empty()) frame[choose(100) % frame.size()] ^= 1 << choose(8);
                break;
            case 9:
                fds.push_back(makeFd(socket));
                numbers.resize(numbers.size() + size_t{choose(3)} * 100 + 1, fds.back().get());
                break;
            case 8: {
                const auto half = frame.begin() + static_cast<long>(frame.size() * choose(16) / 16);
                socket.send({frame.begin(), half}, numbers);
                socket.send({half, frame.end()});
                return;
            }
            default:
                break;
        }
        socket.send(frame, numbers);
    }

    // ---- Sockets ----------------------------------------------------------------------------

    std::list<HostileSocket>::iterator anySocket() {
        return std::next(mSockets.begin(), choose(static_cast<uint8_t>(mSockets.size())));
    }

    virtual void call(HostileSocket& socket) = 0;
    virtual void answer(HostileSocket& socket, const WireTransaction& question) = 0;

    // Takes what has come, and answers the questions in it, most often as it should.
    void serve(HostileSocket& socket) {
        while (std::optional<RawFrame> frame = socket.nextFrame()) {
            if (frame->command == WireCommand::kReply) --socket.expected;
            if (frame->command != WireCommand::kTransact) continue;
            WireTransaction question{};
            memcpy(&question, frame->body.data(), std::min(frame->body.size(), sizeof(question)));
            if (question.flags == kFlagOneway) continue;
            const uint8_t how = choose(8);
            socket.owesAnswer = how > 5;
            if (how == 6) transmit(socket, oddFrame());
            if (how == 5 || how == 4) call(socket);  // instead of the answer, or before it
            if (how < 5) answer(socket, question);
        }
    }

    // Also where the other side holds a copy of this side's end.
    void hangUp() {
        for (HostileSocket& socket : mSockets) (void)shutdown(socket.fd(), SHUT_RDWR);
        mSockets.clear();
    }

    FuzzedDataProvider mInput;
    Bytes mParcel;
    Bytes mTable;
    std::list<HostileSocket> mSockets;

  private:
    unique_fd makeFd(const HostileSocket& via) {
        const uint8_t kind = choose(5);
        if (kind == 4) return unique_fd(open("/dev/null", O_WRONLY | O_CLOEXEC));
        // So that no hang-up comes.
        if (kind == 3) return unique_fd(fcntl(via.fd(), F_DUPFD_CLOEXEC, 0));
        int ends[2];
        const int status = kind == 1 ? socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends)
                                     : pipe2(ends, O_CLOEXEC);
        if (status != 0) abort();
        unique_fd other(ends[0]);
        unique_fd given(ends[1]);
        (void)fcntl(given.get(), F_SETPIPE_SZ, 4096);
        // Somebody may read from it, and nobody does; or nobody may.
        if (kind != 2) mOtherEnds.push_back(std::move(other));
        return given;
    }

    std::vector<unique_fd> mFds;
    std::vector<unique_fd> mOtherEnds;
};

// A folder for the socket of a target, removed at exit.
inline std::string socketPath() {
    static std::string folder = "/tmp/binder_fuzz.XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) abort();
    atexit([] { std::filesystem::remove_all(folder); });
    return folder + "/socket";
}

// Links to deaths, each of which has to end.
inline std::atomic<int> gLinks{0};

inline AIBinder_DeathRecipient* recipient() {
    static AIBinder_DeathRecipient* const made = [] {
        AIBinder_DeathRecipient* const fresh = AIBinder_DeathRecipient_new([](void*) {});
        AIBinder_DeathRecipient_setOnUnlinked(fresh, [](void*) { --gLinks; });
        return fresh;
    }();
    return made;
}

inline void linkToDeath(AIBinder* binder) {
    if (binder == nullptr) return;
    ++gLinks;
    (void)AIBinder_linkToDeath(binder, recipient(), nullptr);
}

// Nothing of what the peer was given, or sent, stays behind.
inline void expectNothingLeft(size_t descriptorsBefore) {
    const auto isClean = [=] { return openDescriptors() <= descriptorsBefore && gLinks == 0; };
    if (eventually(isClean)) return;
    fprintf(stderr, "%zu descriptors instead of %zu and %d death links are left\n",
            openDescriptors(), descriptorsBefore, gLinks.load());
    abort();
}

}  // namespace android::host::test

// Most of what the log would say is about the peer's faults.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return setenv("ANDROID_LOG_TAGS", "*:S", /*overwrite=*/0);
}
