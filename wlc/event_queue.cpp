// SPDX-License-Identifier: Apache-2.0
#include "event_queue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <utility>

namespace wlc {

EventQueue::EventQueue() : mDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (mDescriptor.get() < 0) throw std::runtime_error("cannot create an event descriptor");
}

void EventQueue::wake() const {
    const uint64_t one = 1;
    // Fails only when the counter is full, in which case the descriptor is readable already.
    [[maybe_unused]] const ssize_t written = ::write(mDescriptor.get(), &one, sizeof(one));
}

void EventQueue::push(std::string name, Report report) {
    const std::lock_guard lock(mLock);
    mEvents.push_back({std::move(name), std::move(report), std::chrono::system_clock::now()});
    wake();
}

std::optional<EventQueue::Event> EventQueue::pop() {
    const std::lock_guard lock(mLock);
    if (mEvents.empty()) return std::nullopt;
    Event event = std::move(mEvents.front());
    mEvents.pop_front();
    if (mEvents.empty() && !mClosed) {
        uint64_t count = 0;
        [[maybe_unused]] const ssize_t got = ::read(mDescriptor.get(), &count, sizeof(count));
    }
    return event;
}

uintptr_t EventQueue::open() {
    const std::lock_guard lock(mLock);
    mClosed = false;
    if (mEvents.empty()) {
        uint64_t count = 0;
        [[maybe_unused]] const ssize_t got = ::read(mDescriptor.get(), &count, sizeof(count));
    }
    return ++mSubscription;
}

void EventQueue::close(uintptr_t subscription) {
    const std::lock_guard lock(mLock);
    if (subscription != mSubscription) return;
    mClosed = true;
    wake();
}

bool EventQueue::closed() const {
    const std::lock_guard lock(mLock);
    return mClosed;
}

}  // namespace wlc
