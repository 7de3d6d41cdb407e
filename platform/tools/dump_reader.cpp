// SPDX-License-Identifier: Apache-2.0
#include "dump_reader.h"

#include <android/binder_auto_utils.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <utility>

namespace android::tools {
namespace {

// What the thread in the call and the reader share; it outlives whichever ends first.
struct Call {
    ndk::SpAIBinder binder;
    std::vector<std::string> args;
    ndk::ScopedFileDescriptor write;
    ndk::ScopedFileDescriptor ended;
    std::atomic<binder_status_t> status{STATUS_OK};
};

void runDump(const std::shared_ptr<Call>& call) {
    std::vector<const char*> args;
    args.reserve(call->args.size());
    for (const std::string& arg : call->args) args.push_back(arg.c_str());
    call->status = AIBinder_dump(call->binder.get(), call->write.get(), args.data(),
                                 static_cast<uint32_t>(args.size()));
    call->write.set(-1);
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(call->ended.get(), &one, sizeof(one));
}

bool writeAll(int descriptor, const char* data, size_t length) {
    while (length > 0) {
        const ssize_t written = write(descriptor, data, length);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        data += written;
        length -= static_cast<size_t>(written);
    }
    return true;
}

// Copies what is there now. False when nothing more will come or can be written.
bool copyAvailable(int from, int to) {
    char piece[16384];
    for (;;) {
        const ssize_t got = read(from, piece, sizeof(piece));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return errno == EAGAIN;
        if (got == 0 || !writeAll(to, piece, static_cast<size_t>(got))) return false;
    }
}

}  // namespace

DumpResult copyDump(AIBinder* binder, const std::vector<std::string>& args, int out,
                    std::chrono::milliseconds limit) {
    using Clock = std::chrono::steady_clock;
    auto call = std::make_shared<Call>();
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return {DumpOutcome::kFailed, -errno};
    const ndk::ScopedFileDescriptor from(ends[0]);
    call->write.set(ends[1]);
    call->ended.set(eventfd(0, EFD_CLOEXEC));
    if (call->ended.get() < 0 || fcntl(from.get(), F_SETFL, O_NONBLOCK) != 0) {
        return {DumpOutcome::kFailed, -errno};
    }
    AIBinder_incStrong(binder);
    call->binder.set(binder);
    call->args = args;
    std::thread(runDump, call).detach();

    const auto deadline = Clock::now() + limit;
    for (bool more = true;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) return {DumpOutcome::kTimedOut, STATUS_TIMED_OUT};
        // A descriptor below 0 is passed over by poll().
        pollfd waits[] = {{more ? from.get() : -1, POLLIN, 0}, {call->ended.get(), POLLIN, 0}};
        poll(waits, 2, static_cast<int>(std::min<int64_t>(left, 1000000)));
        if (more && waits[0].revents != 0) more = copyAvailable(from.get(), out);
        if (waits[1].revents != 0) {
            // Somebody may still hold the other end: what has come by now is the dump.
            if (more) copyAvailable(from.get(), out);
            const binder_status_t status = call->status;
            return {status == STATUS_OK ? DumpOutcome::kDone : DumpOutcome::kFailed, status};
        }
    }
}

}  // namespace android::tools
