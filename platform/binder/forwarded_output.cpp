// SPDX-License-Identifier: Apache-2.0
#include "forwarded_output.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <string>
#include <utility>

#include "peer_limits.h"
#include "thread.h"

namespace android::host {
namespace {

using android::base::unique_fd;

// A description of our own for a pipe or terminal, so that it can be non-blocking without being so
// for its other users.
unique_fd openAnew(const unique_fd& fd) {
    return unique_fd(open(("/proc/self/fd/" + std::to_string(fd.get())).c_str(),
                          O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

}  // namespace

// One descriptor of the requester and the pipe that stands for it.
struct ForwardedOutput::Channel {
    unique_fd source;
    unique_fd target;
    bool isSocket = false;
    std::array<uint8_t, PIPE_BUF> bytes{};
    size_t begin = 0;
    size_t end = 0;

    bool isOpen() const { return source.ok(); }
    bool isBlocked() const { return begin < end; }

    // The object gets EPIPE from now on.
    void close() {
        source.reset();
        begin = end = 0;
    }

    // Passes on what can be without waiting. True when the source had nothing more.
    bool move() {
        while (isOpen()) {
            if (!isBlocked()) {
                const ssize_t count = read(source.get(), bytes.data(), bytes.size());
                if (count < 0 && errno == EAGAIN) return true;
                if (count < 0 && errno == EINTR) continue;
                if (count <= 0) {
                    close();
                    return true;
                }
                begin = 0;
                end = static_cast<size_t>(count);
            }
            const ssize_t count = isSocket ? send(target.get(), bytes.data() + begin, end - begin,
                                                  MSG_DONTWAIT | MSG_NOSIGNAL)
                                           : write(target.get(), bytes.data() + begin, end - begin);
            if (count < 0 && errno == EINTR) continue;
            if (count < 0 && errno == EAGAIN) return false;
            if (count < 0) {
                close();
                return true;
            }
            begin += static_cast<size_t>(count);
        }
        return true;
    }
};

struct ForwardedOutput::State {
    int requester;
    unique_fd stop;
    std::vector<Channel> channels;  // the thread's once it runs

    std::mutex lock;
    std::condition_variable ended;
    bool isRunning GUARDED_BY(lock) = false;
    bool isTimedOut GUARDED_BY(lock) = false;
};

ForwardedOutput::ForwardedOutput(int requester) : mState(std::make_shared<State>()) {
    mState->requester = requester;
    mState->stop.reset(eventfd(0, EFD_CLOEXEC));
}

ForwardedOutput::~ForwardedOutput() {
    (void)finish();
}

unique_fd ForwardedOutput::add(unique_fd target) {
    int ends[2];
    if (!mState->stop.ok() || pipe2(ends, O_CLOEXEC) != 0) return {};
    Channel channel;
    channel.source.reset(ends[0]);
    unique_fd writeEnd(ends[1]);
    (void)fcntl(channel.source.get(), F_SETFL, O_NONBLOCK);
    struct stat info {};
    (void)fstat(target.get(), &info);
    channel.isSocket = S_ISSOCK(info.st_mode);
    pollfd reader{target.get(), 0, 0};
    (void)poll(&reader, 1, 0);
    if (S_ISFIFO(info.st_mode) || S_ISCHR(info.st_mode)) target = openAnew(target);
    if (!target.ok() || (reader.revents & (POLLERR | POLLHUP)) != 0) channel.close();
    channel.target = std::move(target);
    mState->channels.push_back(std::move(channel));
    return writeEnd;
}

bool ForwardedOutput::start() {
    std::lock_guard lock(mState->lock);
    mState->isRunning = startThread("binder-output", [state = mState] {
        // A requester that has gone is an error of the write, not the end of this process.
        sigset_t pipe;
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
        run(*state);
        std::lock_guard inner(state->lock);
        state->channels.clear();
        state->isRunning = false;
        state->ended.notify_all();
    });
    return mState->isRunning;
}

void ForwardedOutput::run(State& state) {
    std::chrono::nanoseconds patience = kDiagnosticsTimeout;
    bool isStopping = false;
    while (true) {
        std::vector<pollfd> polled{
            {state.stop.get(), static_cast<short>(isStopping ? 0 : POLLIN), 0},
            {state.requester, POLLRDHUP, 0}};
        bool isBlocked = false;
        bool isEmpty = true;
        for (Channel& channel : state.channels) {
            const bool hadAll = channel.move();
            isEmpty = isEmpty && hadAll;
            isBlocked = isBlocked || channel.isBlocked();
            if (channel.isOpen()) {
                const bool waitsForTarget = channel.isBlocked();
                polled.push_back({waitsForTarget ? channel.target.get() : channel.source.get(),
                                  static_cast<short>(waitsForTarget ? POLLOUT : POLLIN), 0});
            }
        }
        if (isStopping && isEmpty) return;
        int limit = -1;
        if (isBlocked) {
            limit =
                static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(patience).count());
        }
        const Clock::time_point begin = Clock::now();
        (void)poll(polled.data(), polled.size(), limit);
        if (isBlocked) patience -= Clock::now() - begin;
        isStopping = isStopping || (polled[0].revents & POLLIN) != 0;
        const bool hasGone = (polled[1].revents & (POLLRDHUP | POLLHUP | POLLERR | POLLNVAL)) != 0;
        if (hasGone || patience.count() <= 0) {
            std::lock_guard lock(state.lock);
            state.isTimedOut = !hasGone;
            return;
        }
    }
}

bool ForwardedOutput::finish() NO_THREAD_SAFETY_ANALYSIS {  // std::unique_lock is not annotated
    if (mState->stop.ok()) (void)eventfd_write(mState->stop.get(), 1);
    std::unique_lock lock(mState->lock);
    mState->ended.wait(lock, [this]() NO_THREAD_SAFETY_ANALYSIS { return !mState->isRunning; });
    return !mState->isTimedOut;
}

}  // namespace android::host
