// SPDX-License-Identifier: Apache-2.0
// Subscribing, being told, and dying as a subscriber.
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerFanLevelChangedCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerInfoCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerRtxStatusCallback.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <semaphore>

#include "charger_vts.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

using ndk::ScopedAStatus;
using testing::AnyOf;

constexpr int kAlreadyExists = static_cast<int>(ErrorCode::ALREADY_EXISTS);
constexpr int kFailed = static_cast<int>(ErrorCode::FAILED);

struct InfoSubscriber : BnWirelessChargerInfoCallback {
    ScopedAStatus alignChanged(const AlignInfo& info) override {
        EXPECT_THAT(info.status, Within(0, 3));
        return ScopedAStatus::ok();
    }
};

struct FanSubscriber : BnWirelessChargerFanLevelChangedCallback {
    ScopedAStatus fanLevelChanged(int32_t) override { return ScopedAStatus::ok(); }
};

struct RtxSubscriber : BnWirelessChargerRtxStatusCallback {
    ScopedAStatus statusChanged(const RtxStatusInfo& info) override {
        EXPECT_THAT(info, IsRtxStatus());
        told.release();
        return ScopedAStatus::ok();
    }
    std::counting_semaphore<> told{0};
};

class Callbacks : public ChargerVts {
  protected:
    /** Calls test(add, remove, subscriber) for each kind; add and remove tell their error. */
    template <typename Test>
    void forEachKind(Test test) {
        const auto with = [&](const auto& subscriber, auto add, auto remove) {
            SCOPED_TRACE(subscriber->descriptor);
            test([&](const auto& one) { return errorOf((charger.get()->*add)(one)); },
                 [&](const auto& one) { return errorOf((charger.get()->*remove)(one)); },
                 subscriber);
        };
        with(ndk::SharedRefBase::make<InfoSubscriber>(), &I::registerCallback,
             &I::unregisterCallback);
        with(ndk::SharedRefBase::make<RtxSubscriber>(), &I::registerRtxCallback,
             &I::unregisterRtxCallback);
        with(ndk::SharedRefBase::make<FanSubscriber>(), &I::registerFanLevelChangedCallback,
             &I::unregisterFanLevelChangedCallback);
    }
};

TEST_P(Callbacks, EachIsRegisteredOnceAndNullNever) {
    forEachKind([](auto add, auto remove, const auto& subscriber) {
        EXPECT_EQ(add(nullptr), kInvalidArgument);
        EXPECT_EQ(remove(nullptr), kInvalidArgument);
        EXPECT_EQ(remove(subscriber), 0);
        for (int round = 0; round < 2; round++) {
            EXPECT_EQ(add(subscriber), 0);
            EXPECT_EQ(add(subscriber), kAlreadyExists);
            EXPECT_EQ(remove(subscriber), 0);
        }
    });
}

TEST_P(Callbacks, SwitchOfReverseTransmitIsTold) {
    const auto subscriber = ndk::SharedRefBase::make<RtxSubscriber>();
    bool before = false;
    bool after = false;
    ASSERT_EQ(errorOf(charger->isRtxModeOn(&before)), 0);
    ASSERT_EQ(errorOf(charger->registerRtxCallback(subscriber)), 0);
    const int error = errorOf(charger->setRtxMode(!before));
    EXPECT_THAT(error, AnyOf(0, kFailed));
    if (error == 0) {
        const bool told = subscriber->told.try_acquire_for(std::chrono::seconds(10));
        EXPECT_EQ(errorOf(charger->isRtxModeOn(&after)), 0);
        EXPECT_TRUE(told || after == before) << "it changed and nobody was told";
        EXPECT_THAT(errorOf(charger->setRtxMode(before)), AnyOf(0, kFailed));
    }
    EXPECT_EQ(errorOf(charger->unregisterRtxCallback(subscriber)), 0);
}

TEST_P(Callbacks, SubscribersThatDieAreNoObstacle) {
    const auto subscribeAndDie = [&] {
        forEachKind([](auto add, auto, const auto& subscriber) {
            if (add(subscriber) != 0) _exit(1);
        });
        kill(getpid(), SIGKILL);
    };
    for (int i = 0; i < 3; i++) {
        EXPECT_EXIT(subscribeAndDie(), testing::KilledBySignal(SIGKILL), "");
        forEachKind([](auto add, auto remove, const auto& subscriber) {
            EXPECT_EQ(add(subscriber), 0);
            EXPECT_EQ(remove(subscriber), 0);
        });
    }
}

CHECK_EVERY_INSTANCE(Callbacks);

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
