// SPDX-License-Identifier: Apache-2.0
#include "status_poller.h"

#include <android/binder_auto_utils.h>
#include <android/binder_process.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

#include "event_subscriptions.h"
#include "failure.h"
#include "lock_annotations.h"
#include "time_limit.h"

namespace wlc {
namespace {

using SteadyClock = std::chrono::steady_clock;

// How often a service that is not there is looked for; nothing announces it.
constexpr double kLookupSeconds = 1;
constexpr std::chrono::seconds kEndWait(1);
constexpr double kNever = -1;

double secondsSince(SteadyClock::time_point begin) {
    return std::chrono::duration<double>(SteadyClock::now() - begin).count();
}

void signalOn(const ndk::ScopedFileDescriptor& descriptor) {
    const uint64_t one = 1;
    // Fails only when the counter is full, in which case the descriptor is readable already.
    [[maybe_unused]] const ssize_t written = write(descriptor.get(), &one, sizeof(one));
}

void clear(const ndk::ScopedFileDescriptor& descriptor) {
    uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(descriptor.get(), &count, sizeof(count));
}

// "service is not running": without the name and without advice, for which there is no room.
std::string inShort(const Failure& failure) {
    std::string text = failure.what();
    const std::string name = instanceName() + " ";
    if (const size_t at = text.find(name); at != std::string::npos) {
        text.replace(at, name.size(), at == 0 ? "service " : "");
    }
    return text.substr(0, text.find(';'));
}

}  // namespace

struct StatusPoller::Shared {
    Shared(const Context& ofCommand, double seconds) : context(ofCommand), interval(seconds) {}

    void run();
    PollResult poll();
    void publish(PollResult result) EXCLUDES(lock);

    // The thread's own.
    Context context;
    const double interval;
    const SteadyClock::time_point begin = SteadyClock::now();
    std::optional<EventSubscriptions> subscriptions;
    bool everSubscribed = false;

    const ndk::ScopedFileDescriptor wake{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    const ndk::ScopedFileDescriptor news{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    std::atomic<bool> stop{false};
    std::atomic<double> pollingSince{kNever};  // seconds from `begin`
    std::mutex lock;
    std::optional<PollResult> result GUARDED_BY(lock);
};

PollResult StatusPoller::Shared::poll() {
    PollResult found;
    const double began = secondsSince(begin);
    found.slot = static_cast<int64_t>(began / interval);
    try {
        // A closed queue belongs to a service that has died.
        if (subscriptions && EventSubscriptions::queue().closed()) subscriptions.reset();
        if (!subscriptions) {
            context.forgetService();
            subscriptions.emplace(context, std::vector<std::string>());
            found.reconnected = std::exchange(everSubscribed, true);
        }
        double before = secondsSince(begin);
        readStatus(context, [&](const StatusLine& line) {
            const double now = secondsSince(begin);
            if ((now - before) * 1e3 > found.slowestMilliseconds) {
                found.slowestMilliseconds = (now - before) * 1e3;
                found.slowest = line.label;
            }
            before = now;
            found.lines.push_back(line);
        });
    } catch (const Failure& failure) {
        subscriptions.reset();
        found.lines.clear();
        found.trouble = inShort(failure);
    }
    found.milliseconds = (secondsSince(begin) - began) * 1e3;
    found.time = std::chrono::system_clock::now();
    return found;
}

void StatusPoller::Shared::publish(PollResult found) {
    const std::lock_guard guard(lock);
    // One that nobody took is replaced.
    found.reconnected |= result && result->reconnected;
    result = std::move(found);
    signalOn(news);
}

void StatusPoller::Shared::run() {
    while (!stop) {
        pollingSince = secondsSince(begin);
        publish(poll());
        pollingSince = kNever;
        double next = (std::floor(secondsSince(begin) / interval) + 1) * interval;
        if (!subscriptions) next = std::min(next, secondsSince(begin) + kLookupSeconds);
        pollfd wait = {wake.get(), POLLIN, 0};
        const double left = std::ceil((next - secondsSince(begin)) * 1e3);
        ::poll(&wait, 1, static_cast<int>(std::max(left, 0.0)));
        clear(wake);
    }
    subscriptions.reset();
}

StatusPoller::StatusPoller(const Context& context, double interval)
    : mShared(std::make_shared<Shared>(context, interval)) {
    if (mShared->wake.get() < 0 || mShared->news.get() < 0) {
        throw std::runtime_error("cannot create an event descriptor");
    }
    ABinderProcess_startThreadPool();
    mShared->context.limited = false;
    mShared->context.waitSeconds = 0;
    std::promise<void> ended;
    mEnded = ended.get_future();
    std::thread([shared = mShared, ended = std::move(ended)]() mutable {
        shared->run();
        ended.set_value();
    }).detach();
}

StatusPoller::~StatusPoller() {
    mShared->stop = true;
    signalOn(mShared->wake);
    mEnded.wait_for(kEndWait);
}

int StatusPoller::descriptor() const {
    return mShared->news.get();
}

std::optional<PollResult> StatusPoller::take() {
    const std::lock_guard guard(mShared->lock);
    clear(mShared->news);
    return std::exchange(mShared->result, std::nullopt);
}

double StatusPoller::waitingSeconds() const {
    const double since = mShared->pollingSince;
    return since == kNever
               ? 0
               : std::min(secondsSince(mShared->begin) - since, secondsSince(latestAnswer()));
}

void StatusPoller::pollNow() {
    signalOn(mShared->wake);
}

}  // namespace wlc
