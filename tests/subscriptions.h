// SPDX-License-Identifier: Apache-2.0
//
// Subscribers in the test's process that keep what they are told.
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerFanLevelChangedCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerInfoCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerRtxStatusCallback.h>
#include <android-base/thread_annotations.h>

#include <functional>
#include <mutex>
#include <vector>

#include "charger_system.h"

namespace charger_system {

// What came, in order. Any thread.
template <typename Value>
class Received {
  public:
    void add(const Value& value) {
        std::lock_guard lock(mLock);
        mValues.push_back(value);
    }
    std::vector<Value> all() const {
        std::lock_guard lock(mLock);
        return mValues;
    }
    size_t count() const {
        std::lock_guard lock(mLock);
        return mValues.size();
    }
    bool waitForCount(size_t count) const {
        return eventually([&] { return this->count() >= count; });
    }
    bool waitForLast(const std::function<bool(const Value&)>& is) const {
        return eventually([&] {
            std::lock_guard lock(mLock);
            return !mValues.empty() && is(mValues.back());
        });
    }

  private:
    mutable std::mutex mLock;
    std::vector<Value> mValues GUARDED_BY(mLock);
};

class AlignSubscriber : public charger::BnWirelessChargerInfoCallback {
  public:
    ndk::ScopedAStatus alignChanged(const charger::AlignInfo& info) override {
        received.add(info);
        return ndk::ScopedAStatus::ok();
    }
    Received<charger::AlignInfo> received;
};

class RtxSubscriber : public charger::BnWirelessChargerRtxStatusCallback {
  public:
    ndk::ScopedAStatus statusChanged(const charger::RtxStatusInfo& info) override {
        received.add(info);
        return ndk::ScopedAStatus::ok();
    }
    Received<charger::RtxStatusInfo> received;
};

class FanSubscriber : public charger::BnWirelessChargerFanLevelChangedCallback {
  public:
    ndk::ScopedAStatus fanLevelChanged(int32_t level) override {
        received.add(level);
        return ndk::ScopedAStatus::ok();
    }
    Received<int32_t> received;
};

}  // namespace charger_system
