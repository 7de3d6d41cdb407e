// SPDX-License-Identifier: Apache-2.0
/*
 * What the three kinds of client callback share: registering, unregistering, dying and being
 * notified. The functions take the lock of the kind themselves; none holds it while a client is
 * called.
 */
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/ErrorCode.h>
#include <android-base/logging.h>
#include <android-base/thread_annotations.h>
#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/log.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "result_status.h"

namespace aidl::vendor::zorvak::wireless_charger {

/** Registered callbacks in order of registration; none is null, none is there twice. */
template <typename Callback>
using CallbackList = std::vector<std::shared_ptr<Callback>>;

/** What the service keeps of one kind of callback. */
template <typename Callback>
struct Subscribers {
    std::mutex& lock;
    CallbackList<Callback>* const list PT_GUARDED_BY(lock);
    const ndk::ScopedAIBinder_DeathRecipient& recipient;
    const char* const kind;  // for the log
};

/** Two callbacks are the same when their binder object is the same. */
template <typename Callback>
auto findCallback(CallbackList<Callback>& list, Callback& callback) {
    const ndk::SpAIBinder binder = callback.asBinder();
    return std::find_if(list.begin(), list.end(), [&](const auto& registered) {
        return registered->asBinder().get() == binder.get();
    });
}

/** The answer of a method to a null callback. */
inline ndk::ScopedAStatus refuseNullCallback(const char* method) {
    LOG(ERROR) << "Invalid nullptr callback";
    return ndk::ScopedAStatus::fromServiceSpecificErrorWithMessage(
        static_cast<int32_t>(ErrorCode::INVALID_ARGUMENT),
        (std::string(method) + " error!! Invalid nullptr callback").c_str());
}

/**
 * Appends a callback and links its death to the recipient. A callback that is there already gives
 * ALREADY_EXISTS. One whose death cannot be linked stays all the same; that is logged.
 */
template <typename Callback>
ndk::ScopedAStatus registerIn(const Subscribers<Callback>& subscribers,
                              const std::shared_ptr<Callback>& callback, const char* method,
                              void* cookie) {
    if (callback == nullptr) return refuseNullCallback(method);
    std::lock_guard lock(subscribers.lock);
    CallbackList<Callback>& list = *subscribers.list;
    if (findCallback(list, *callback) != list.end()) return statusOf(ErrorCode::ALREADY_EXISTS);
    list.push_back(callback);
    AIBinder_DeathRecipient* const recipient = subscribers.recipient.get();
    if (recipient != nullptr &&
        AIBinder_linkToDeath(callback->asBinder().get(), recipient, cookie) != STATUS_OK) {
        LOG(ERROR) << "Failed to link death of " << subscribers.kind << " callback";
    }
    return ndk::ScopedAStatus::ok();
}

/** Removes a callback if it is there. */
template <typename Callback>
ndk::ScopedAStatus unregisterIn(const Subscribers<Callback>& subscribers,
                                const std::shared_ptr<Callback>& callback, const char* method) {
    if (callback == nullptr) return refuseNullCallback(method);
    std::lock_guard lock(subscribers.lock);
    CallbackList<Callback>& list = *subscribers.list;
    if (auto found = findCallback(list, *callback); found != list.end()) list.erase(found);
    return ndk::ScopedAStatus::ok();
}

/** Logs the handler's name and removes every callback whose process is gone; nothing of no owner.
 */
template <typename Owner, typename Callback>
void handleDeath(const char* handler, Owner* owner, Subscribers<Callback> (Owner::*kind)()) {
    LOG(INFO) << handler;
    if (owner == nullptr) return;
    const Subscribers<Callback> subscribers = (owner->*kind)();
    std::lock_guard lock(subscribers.lock);
    std::erase_if(*subscribers.list, [](const auto& registered) {
        return !AIBinder_isAlive(registered->asBinder().get());
    });
}

/**
 * Calls each callback, in order, with call(callback), and drops those that fail, each logged with
 * the method's name. Works on a copy of the list, so that a callback may change the list; one that
 * registers anew while its call fails is another entry and stays.
 */
template <typename Callback, typename Call>
void notifyAll(const Subscribers<Callback>& subscribers, const char* method, Call call) {
    CallbackList<Callback> callbacks;
    {
        std::lock_guard lock(subscribers.lock);
        callbacks = *subscribers.list;
    }
    CallbackList<Callback> failed;
    for (const auto& callback : callbacks) {
        const ndk::ScopedAStatus status = call(*callback);
        if (status.isOk()) continue;
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "Error in %s(): %s", method,
                            status.getDescription().c_str());
        failed.push_back(callback);
    }
    std::lock_guard lock(subscribers.lock);
    std::erase_if(*subscribers.list, [&](const auto& registered) {
        return std::find(failed.begin(), failed.end(), registered) != failed.end();
    });
}

}  // namespace aidl::vendor::zorvak::wireless_charger
