// SPDX-License-Identifier: Apache-2.0
// subscriber ALIGN RTX FAN: a process with so many subscribers of each kind. Says "ready" once they
// are registered. Alignment events carry a number, value1, that grows by one each time; a process
// that misses one or gets them out of order says "gap". value2 = 1 asks for a report: when every
// alignment subscriber has had that event, the process says "at" and its number. SIGTERM ends it
// with status 0.
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerFanLevelChangedCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerInfoCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerRtxStatusCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/IWirelessCharger.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

#include <atomic>
#include <optional>
#include <string>
#include <vector>

namespace charger = aidl::vendor::zorvak::wireless_charger;
using ndk::ScopedAStatus;

namespace {

int gAlignCount = 0;
std::atomic<int> gReached = 0;  // alignment subscribers that have had the event asked about

class AlignSubscriber : public charger::BnWirelessChargerInfoCallback {
  public:
    ScopedAStatus alignChanged(const charger::AlignInfo& info) override {
        if (mLast && info.value1 != *mLast + 1) dprintf(1, "gap %d %d\n", *mLast, info.value1);
        mLast = info.value1;
        if (info.value2 == 1 && ++gReached == gAlignCount) {
            gReached = 0;
            dprintf(1, "at %d\n", info.value1);
        }
        return ScopedAStatus::ok();
    }

  private:
    std::optional<int32_t> mLast;  // one call at a time
};

class RtxSubscriber : public charger::BnWirelessChargerRtxStatusCallback {
    ScopedAStatus statusChanged(const charger::RtxStatusInfo&) override {
        return ScopedAStatus::ok();
    }
};

class FanSubscriber : public charger::BnWirelessChargerFanLevelChangedCallback {
    ScopedAStatus fanLevelChanged(int32_t) override { return ScopedAStatus::ok(); }
};

template <typename Subscriber>
std::vector<std::shared_ptr<Subscriber>> make(const char* count) {
    std::vector<std::shared_ptr<Subscriber>> made(static_cast<size_t>(atoi(count)));
    for (auto& subscriber : made) subscriber = ndk::SharedRefBase::make<Subscriber>();
    return made;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    gAlignCount = atoi(argv[1]);
    ABinderProcess_startThreadPool();
    const std::string instance = std::string(charger::IWirelessCharger::descriptor) + "/default";
    const auto align = make<AlignSubscriber>(argv[1]);
    const auto rtx = make<RtxSubscriber>(argv[2]);
    const auto fan = make<FanSubscriber>(argv[3]);

    const auto service = charger::IWirelessCharger::fromBinder(
        ndk::SpAIBinder(AServiceManager_checkService(instance.c_str())));
    std::string said = service == nullptr ? "no service" : "ready";
    const auto keepError = [&](const ScopedAStatus& status) {
        if (!status.isOk()) said = status.getDescription();
    };
    if (service != nullptr) {
        for (const auto& one : align) keepError(service->registerCallback(one));
        for (const auto& one : rtx) keepError(service->registerRtxCallback(one));
        for (const auto& one : fan) keepError(service->registerFanLevelChangedCallback(one));
    }
    dprintf(1, "%s\n", said.c_str());
    int signal = 0;
    sigwait(&signals, &signal);
    return 0;
}
