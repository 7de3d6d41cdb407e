// SPDX-License-Identifier: Apache-2.0
/*
 * What the three kinds of client callback share. The functions take a list that the caller
 * protects: none locks, and only callEach calls a client.
 */
#pragma once

#include <android-base/logging.h>
#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/log.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "result_status.h"

namespace aidl::vendor::zorvak::wireless_charger {

/** Registered callbacks in order of registration; none is null, none is there twice. */
template <typename Callback>
using CallbackList = std::vector<std::shared_ptr<Callback>>;

/** Two callbacks are the same when their binder object is the same. */
template <typename Callback>
typename CallbackList<Callback>::iterator findCallback(CallbackList<Callback>& list,
                                                       Callback& callback) {
    const ndk::SpAIBinder owner = callback.asBinder();
    AIBinder* binder = owner.get();
    return std::find_if(list.begin(), list.end(), [binder](const auto& registered) {
        return registered->asBinder().get() == binder;
    });
}

/** The answer to a null callback. */
inline ndk::ScopedAStatus refuseNullCallback(const char* message) {
    LOG(ERROR) << "Invalid nullptr callback";
    return ndk::ScopedAStatus::fromServiceSpecificErrorWithMessage(
        static_cast<int32_t>(ErrorCode::INVALID_ARGUMENT), message);
}

/**
 * Appends a callback and links its death to the recipient. A callback that is there already gives
 * ALREADY_EXISTS. One whose death cannot be linked stays all the same; linkError is logged.
 */
template <typename Callback>
ndk::ScopedAStatus addCallback(CallbackList<Callback>& list,
                               const std::shared_ptr<Callback>& callback,
                               const ndk::ScopedAIBinder_DeathRecipient& recipient, void* cookie,
                               const char* linkError) {
    if (findCallback(list, *callback) != list.end()) {
        return statusOfError(ErrorCode::ALREADY_EXISTS);
    }
    list.push_back(callback);
    if (recipient.get() != nullptr &&
        AIBinder_linkToDeath(callback->asBinder().get(), recipient.get(), cookie) != STATUS_OK) {
        LOG(ERROR) << linkError;
    }
    return ndk::ScopedAStatus::ok();
}

/** Removes a callback if it is there. */
template <typename Callback>
void removeCallback(CallbackList<Callback>& list, Callback& callback) {
    if (auto found = findCallback(list, callback); found != list.end()) list.erase(found);
}

/** Removes these entries; a client that has registered anew since then has another one. */
template <typename Callback>
void removeEntries(CallbackList<Callback>& list, const CallbackList<Callback>& gone) {
    std::erase_if(list, [&](const auto& registered) {
        return std::find(gone.begin(), gone.end(), registered) != gone.end();
    });
}

/** Removes every callback whose process is gone. */
template <typename Callback>
void removeDeadCallbacks(CallbackList<Callback>& list) {
    std::erase_if(list, [](const auto& registered) {
        return !AIBinder_isAlive(registered->asBinder().get());
    });
}

/**
 * Calls each callback, in order, with call(callback). Returns those that failed, each logged with
 * the method's name. Takes a copy of the list, so that a callback may change the list.
 */
template <typename Callback, typename Call>
CallbackList<Callback> callEach(const CallbackList<Callback>& callbacks, const char* method,
                                Call call) {
    CallbackList<Callback> failed;
    for (const auto& callback : callbacks) {
        ndk::ScopedAStatus status = call(*callback);
        if (status.isOk()) continue;
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "Error in %s(): %s", method,
                            status.getDescription().c_str());
        failed.push_back(callback);
    }
    return failed;
}

}  // namespace aidl::vendor::zorvak::wireless_charger
