// SPDX-License-Identifier: Apache-2.0
// Asks for the fan level, then prints three alignment events.
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerInfoCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/IWirelessCharger.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>

#include <iostream>
#include <latch>
#include <string>

namespace charger = aidl::vendor::zorvak::wireless_charger;

class Subscriber : public charger::BnWirelessChargerInfoCallback {
  public:
    ndk::ScopedAStatus alignChanged(const charger::AlignInfo& info) override {
        std::cout << info.toString() << std::endl;
        if (mLeft-- > 0) done.count_down();
        return ndk::ScopedAStatus::ok();
    }
    std::latch done{3};

  private:
    int mLeft = 3;  // one call at a time
};

int main() {
    ABinderProcess_startThreadPool();  // callbacks arrive on its threads
    const std::string name = std::string(charger::IWirelessCharger::descriptor) + "/default";
    const auto service = charger::IWirelessCharger::fromBinder(
        ndk::SpAIBinder(AServiceManager_waitForService(name.c_str())));
    int32_t level = 0;
    const ndk::ScopedAStatus status = service->getFanLevel(&level);
    if (!status.isOk()) {
        std::cerr << "getFanLevel: " << status.getDescription() << '\n';
        return 1;
    }
    std::cout << "fan level " << level << std::endl;
    const auto subscriber = ndk::SharedRefBase::make<Subscriber>();
    if (!service->registerCallback(subscriber).isOk()) return 1;
    subscriber->done.wait();
    return service->unregisterCallback(subscriber).isOk() ? 0 : 1;
}
