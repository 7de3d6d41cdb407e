// SPDX-License-Identifier: Apache-2.0
#include "event_subscriptions.h"

#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerFanLevelChangedCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerInfoCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerRtxStatusCallback.h>

#include <algorithm>

#include "failure.h"
#include "records.h"
#include "time_limit.h"

namespace wlc {
namespace {

class AlignSubscriber : public charger::BnWirelessChargerInfoCallback {
  public:
    explicit AlignSubscriber(EventQueue& queue) : mQueue(queue) {}
    ndk::ScopedAStatus alignChanged(const charger::AlignInfo& info) override {
        mQueue.push("align", describe(info));
        return ndk::ScopedAStatus::ok();
    }

  private:
    EventQueue& mQueue;
};

class RtxSubscriber : public charger::BnWirelessChargerRtxStatusCallback {
  public:
    explicit RtxSubscriber(EventQueue& queue) : mQueue(queue) {}
    ndk::ScopedAStatus statusChanged(const charger::RtxStatusInfo& info) override {
        mQueue.push("rtx", describe(info));
        return ndk::ScopedAStatus::ok();
    }

  private:
    EventQueue& mQueue;
};

class FanSubscriber : public charger::BnWirelessChargerFanLevelChangedCallback {
  public:
    explicit FanSubscriber(EventQueue& queue) : mQueue(queue) {}
    ndk::ScopedAStatus fanLevelChanged(int32_t level) override {
        Report report;
        report.field("level", level);
        mQueue.push("fan", report);
        return ndk::ScopedAStatus::ok();
    }

  private:
    EventQueue& mQueue;
};

// The cookie is the number of the subscription.
void onServiceDied(void* subscription) {
    EventSubscriptions::queue().close(reinterpret_cast<uintptr_t>(subscription));
}

}  // namespace

bool isWanted(const std::vector<std::string>& kinds, const char* kind) {
    return kinds.empty() || std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

EventQueue& EventSubscriptions::queue() {
    static EventQueue* const instance = new EventQueue;
    return *instance;
}

EventSubscriptions::EventSubscriptions(Context& context, const std::vector<std::string>& kinds)
    : mContext(context), mService(context.service()) {
    context.limitAnswers();
    const uintptr_t number = queue().open();
    mDeath.set(AIBinder_DeathRecipient_new(onServiceDied));
    if (AIBinder_linkToDeath(mService->asBinder().get(), mDeath.get(),
                             reinterpret_cast<void*>(number)) != STATUS_OK) {
        queue().close(number);
    }
    if (isWanted(kinds, "align")) {
        auto subscriber = ndk::SharedRefBase::make<AlignSubscriber>(queue());
        check(mService->registerCallback(subscriber), "watch align");
        mAlign = subscriber;
    }
    if (isWanted(kinds, "rtx")) {
        auto subscriber = ndk::SharedRefBase::make<RtxSubscriber>(queue());
        check(mService->registerRtxCallback(subscriber), "watch rtx");
        mRtx = subscriber;
    }
    if (isWanted(kinds, "fan")) {
        auto subscriber = ndk::SharedRefBase::make<FanSubscriber>(queue());
        check(mService->registerFanLevelChangedCallback(subscriber), "watch fan");
        mFan = subscriber;
    }
    // What follows are events, which have no time limit.
    unlimitAnswerTime();
}

EventSubscriptions::~EventSubscriptions() {
    mContext.limitAnswers();
    if (mAlign != nullptr) static_cast<void>(mService->unregisterCallback(mAlign));
    if (mRtx != nullptr) static_cast<void>(mService->unregisterRtxCallback(mRtx));
    if (mFan != nullptr) static_cast<void>(mService->unregisterFanLevelChangedCallback(mFan));
}

}  // namespace wlc
