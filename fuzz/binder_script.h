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
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "echo.h"
#include "parcel.h"
#include "raw_peer.h"

namespace android::host::test {

// One socket of the hostile peer, which never waits for the other side to take what it sends.
struct HostileSocket {
    explicit HostileSocket(RawPeer opened) : peer(std::move(opened)) {
        (void)fcntl(peer.fd(), F_SETFL, O_NONBLOCK);
    }

    // Takes what has come. False when nothing has, or the other side has closed.
    bool read() {
        uint8_t bytes[65536];
        const ssize_t count = recv(peer.fd(), bytes, sizeof(bytes), MSG_DONTWAIT);
        if (count > 0) received.insert(received.end(), bytes, bytes + count);
        if (count == 0) isClosed = true;
        return count > 0;
    }
    bool waitForInput(int milliseconds) const {
        pollfd state{peer.fd(), POLLIN, 0};
        return poll(&state, 1, milliseconds) > 0;
    }
    std::optional<Bytes> take(size_t size) {
        if (received.size() < size) return std::nullopt;
        Bytes taken(received.begin(), received.begin() + static_cast<long>(size));
        received.erase(received.begin(), received.begin() + static_cast<long>(size));
        return taken;
    }
    std::optional<RawFrame> nextFrame() {
        WireHeader header;
        if (unreadOpening > 0 && !take(std::exchange(unreadOpening, 0))) return std::nullopt;
        if (received.size() < sizeof(header)) return std::nullopt;
        memcpy(&header, received.data(), sizeof(header));
        std::optional<Bytes> frame = take(sizeof(header) + header.bodySize);
        if (!frame) return std::nullopt;
        return RawFrame{static_cast<WireCommand>(header.command),
                        Bytes(frame->begin() + sizeof(header), frame->end())};
    }

    RawPeer peer;
    Bytes received;
    uint32_t version = 1;
    size_t unreadOpening = 0;  // bytes in front of the first frame
    bool isClosed = false;
};

inline WireTransaction transactionOf(const RawFrame& frame) {
    WireTransaction transaction{};
    memcpy(&transaction, frame.body.data(), std::min(frame.body.size(), sizeof(transaction)));
    return transaction;
}

using android::base::unique_fd;

class BinderScript {
  protected:
    explicit BinderScript(std::span<const uint8_t> input) : mInput(input.data(), input.size()) {}

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
    void addText(const char* text) {
        AParcel parcel;
        parcel.writeString(text);
        append(&mParcel, Bytes(parcel.bytes().begin(), parcel.bytes().end()));
    }
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
                for (int i = 0; i < 40; ++i) socket.peer.send(frame, numbers);
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
                socket.peer.send({frame.begin(), half}, numbers);
                socket.peer.send({half, frame.end()});
                return;
            }
            default:
                break;
        }
        socket.peer.send(frame, numbers);
    }

    FuzzedDataProvider mInput;
    Bytes mParcel;
    Bytes mTable;

  private:
    unique_fd copyOf(int fd) { return unique_fd(fcntl(fd, F_DUPFD_CLOEXEC, 0)); }
    unique_fd makeFd(const HostileSocket& via) {
        int ends[2];
        switch (choose(5)) {
            case 0:  // somebody may read from it, and nobody does
                if (pipe2(ends, O_CLOEXEC) != 0) abort();
                (void)fcntl(ends[1], F_SETPIPE_SZ, 4096);
                break;
            case 1:
                if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) abort();
                break;
            case 2:  // nobody reads
                if (pipe2(ends, O_CLOEXEC) != 0) abort();
                close(ends[0]);
                return unique_fd(ends[1]);
            case 3:  // so that no hang-up comes
                return copyOf(via.peer.fd());
            default:
                return unique_fd(open("/dev/null", O_WRONLY | O_CLOEXEC));
        }
        mOtherEnds.emplace_back(ends[0]);
        return unique_fd(ends[1]);
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

// Counts the links to deaths, each of which has to end.
class Deaths {
  public:
    void link(AIBinder* binder) {
        if (binder == nullptr) return;
        ++mLinks;
        (void)AIBinder_linkToDeath(binder, mRecipient, this);
    }
    void unlink(AIBinder* binder) { (void)AIBinder_unlinkToDeath(binder, mRecipient, this); }
    int links() const { return mLinks; }

    Deaths() {
        AIBinder_DeathRecipient_setOnUnlinked(
            mRecipient, [](void* deaths) { --static_cast<Deaths*>(deaths)->mLinks; });
    }

  private:
    AIBinder_DeathRecipient* const mRecipient = AIBinder_DeathRecipient_new([](void*) {});
    std::atomic<int> mLinks{0};
};

inline Deaths& deaths() {
    static auto* const instance = new Deaths;
    return *instance;
}

// Nothing of what the peer was given, or sent, stays behind.
inline void expectNothingLeft(size_t descriptorsBefore) {
    const auto isClean = [=] {
        return openDescriptors() <= descriptorsBefore && deaths().links() == 0;
    };
    if (eventually(isClean)) return;
    fprintf(stderr, "%zu descriptors instead of %zu and %d death links are left\n",
            openDescriptors(), descriptorsBefore, deaths().links());
    abort();
}

}  // namespace android::host::test

// Most of what the log would say is about the peer's faults.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return setenv("ANDROID_LOG_TAGS", "*:S", /*overwrite=*/0);
}
