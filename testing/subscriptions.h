// SPDX-License-Identifier: Apache-2.0
//
// Subscribers in the test's process that keep what they are told.
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerFanLevelChangedCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerInfoCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerRtxStatusCallback.h>
#include <android-base/thread_annotations.h>

#include <algorithm>
#include <functional>
#include <mutex>
#include <vector>

#include "charger_system.h"

namespace test_support {

// What came, in order. Any thread.
template <typename Value>
class Received {
  public:
    ndk::ScopedAStatus add(const Value& value) {
        std::lock_guard lock(mLock);
        mValues.push_back(value);
        return ndk::ScopedAStatus::ok();
    }
    std::vector<Value> all() const {
        std::lock_guard lock(mLock);
        return mValues;
    }
    bool waitForCount(size_t count) const {
        return eventually([&] { return all().size() >= count; });
    }
    // Until one has come that is so.
    bool waitFor(const std::function<bool(const Value&)>& is) const {
        return eventually([&] {
            std::lock_guard lock(mLock);
            return std::any_of(mValues.rbegin(), mValues.rend(), is);
        });
    }

  private:
    mutable std::mutex mLock;
    std::vector<Value> mValues GUARDED_BY(mLock);
};

struct AlignSubscriber : charger::BnWirelessChargerInfoCallback, Received<charger::AlignInfo> {
    ndk::ScopedAStatus alignChanged(const charger::AlignInfo& info) override { return add(info); }
};

struct RtxSubscriber : charger::BnWirelessChargerRtxStatusCallback,
                       Received<charger::RtxStatusInfo> {
    ndk::ScopedAStatus statusChanged(const charger::RtxStatusInfo& info) override {
        return add(info);
    }
};

struct FanSubscriber : charger::BnWirelessChargerFanLevelChangedCallback, Received<int32_t> {
    ndk::ScopedAStatus fanLevelChanged(int32_t level) override { return add(level); }
};

}  // namespace test_support
