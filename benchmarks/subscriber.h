// SPDX-License-Identifier: Apache-2.0
// Subscribers in this process, and a clock that stops when the last of them was told.
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerFanLevelChangedCallback.h>
#include <android/binder_process.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <semaphore>

#include "measure.h"
#include "process.h"

namespace bench {

// Told from other threads, waited for by one.
class Arrivals {
  public:
    // So many are to come now.
    void expect(uint64_t count) { mMissing.store(count, std::memory_order_relaxed); }

    void arrived() {
        if (mMissing.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
        mLast.store(now(), std::memory_order_relaxed);
        mAll.release();
    }

    // When the last one came, by now(). Throws Trouble when it does not.
    int64_t wait() {
        if (!mAll.try_acquire_for(std::chrono::seconds(10))) throw Trouble("an event got lost");
        return mLast.load(std::memory_order_relaxed);
    }

  private:
    std::atomic<uint64_t> mMissing{0};
    std::atomic<int64_t> mLast{0};
    std::binary_semaphore mAll{0};
};

class Subscriber
    : public aidl::vendor::zorvak::wireless_charger::BnWirelessChargerFanLevelChangedCallback {
  public:
    explicit Subscriber(Arrivals* arrivals) : mArrivals(arrivals) {}
    ndk::ScopedAStatus fanLevelChanged(int32_t) override {
        mArrivals->arrived();
        return ndk::ScopedAStatus::ok();
    }

  private:
    Arrivals* const mArrivals;
};

// One thread serves all callbacks of this process, as one thread reads all sockets of a baseline.
inline void serveCallbacksWithOneThread() {
    ABinderProcess_setThreadPoolMaxThreadCount(0);
    ABinderProcess_startThreadPool();  // from a thread on the client's processor, it stays there
}

}  // namespace bench
