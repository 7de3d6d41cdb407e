// SPDX-License-Identifier: Apache-2.0
// Subscribing, being told, and dying as a subscriber.
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerFanLevelChangedCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerInfoCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerRtxStatusCallback.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <functional>
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

/** A subscriber of one of the kinds; what the verbs give is an error as errorOf tells it. */
struct Subscription {
    const char* kind;
    std::function<int(I&)> add, remove, addNull, removeNull;
};

template <typename Subscriber, typename Callback>
Subscription subscription(const char* kind,
                          ScopedAStatus (I::*add)(const std::shared_ptr<Callback>&),
                          ScopedAStatus (I::*remove)(const std::shared_ptr<Callback>&)) {
    const auto subscriber = ndk::SharedRefBase::make<Subscriber>();
    return {kind, [=](I& charger) { return errorOf((charger.*add)(subscriber)); },
            [=](I& charger) { return errorOf((charger.*remove)(subscriber)); },
            [=](I& charger) { return errorOf((charger.*add)(nullptr)); },
            [=](I& charger) { return errorOf((charger.*remove)(nullptr)); }};
}

std::vector<Subscription> oneOfEachKind() {
    return {subscription<InfoSubscriber>("alignment", &I::registerCallback, &I::unregisterCallback),
            subscription<RtxSubscriber>("reverse transmit", &I::registerRtxCallback,
                                        &I::unregisterRtxCallback),
            subscription<FanSubscriber>("fan level", &I::registerFanLevelChangedCallback,
                                        &I::unregisterFanLevelChangedCallback)};
}

class Callbacks : public ChargerVts {};

TEST_P(Callbacks, EachIsRegisteredOnceAndNullNever) {
    for (const Subscription& one : oneOfEachKind()) {
        SCOPED_TRACE(one.kind);
        EXPECT_EQ(one.addNull(*charger), kInvalidArgument);
        EXPECT_EQ(one.removeNull(*charger), kInvalidArgument);
        EXPECT_EQ(one.remove(*charger), 0);
        for (int round = 0; round < 2; round++) {
            EXPECT_EQ(one.add(*charger), 0);
            EXPECT_EQ(one.add(*charger), kAlreadyExists);
            EXPECT_EQ(one.remove(*charger), 0);
        }
    }
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
        for (const Subscription& one : oneOfEachKind()) {
            if (one.add(*charger) != 0) _exit(1);
        }
        kill(getpid(), SIGKILL);
    };
    for (int i = 0; i < 3; i++) {
        EXPECT_EXIT(subscribeAndDie(), testing::KilledBySignal(SIGKILL), "");
        for (const Subscription& one : oneOfEachKind()) {
            EXPECT_EQ(one.add(*charger), 0) << one.kind;
            EXPECT_EQ(one.remove(*charger), 0) << one.kind;
        }
    }
}

CHECK_EVERY_INSTANCE(Callbacks);

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
