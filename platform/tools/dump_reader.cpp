// SPDX-License-Identifier: Apache-2.0
#include "dump_reader.h"

#include <android/binder_auto_utils.h>
#include <errno.h>
#include <fcntl.h>
#include <host/text_relay.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <thread>

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

}  // namespace

DumpResult copyDump(AIBinder* binder, const std::vector<std::string>& args, int out,
                    std::chrono::milliseconds limit) {
    auto call = std::make_shared<Call>();
    host::TextRelay relay(out);
    call->write.set(fcntl(relay.descriptor(), F_DUPFD_CLOEXEC, 0));
    call->ended.set(eventfd(0, EFD_CLOEXEC));
    if (call->write.get() < 0 || call->ended.get() < 0) return {DumpOutcome::kFailed, -errno, 0};
    AIBinder_incStrong(binder);
    call->binder.set(binder);
    call->args = args;
    std::thread(runDump, call).detach();

    pollfd ended = {call->ended.get(), POLLIN, 0};
    const int count = poll(&ended, 1, static_cast<int>(limit.count()));
    // Somebody may still hold the other end: what has come by now is the dump.
    const int error = relay.finish();
    if (count == 0) return {DumpOutcome::kTimedOut, STATUS_TIMED_OUT, error};
    const binder_status_t status = call->status;
    return {status == STATUS_OK ? DumpOutcome::kDone : DumpOutcome::kFailed, status, error};
}

}  // namespace android::tools
