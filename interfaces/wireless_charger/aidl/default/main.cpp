// SPDX-License-Identifier: Apache-2.0
// Brings the service up and gives the main thread to binder; it serves until it is killed.
#include <aidl/vendor/zorvak/wireless_charger/IWirelessCharger.h>
#include <android-base/logging.h>
#include <android/binder_interface_utils.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <android/binder_status.h>
#include <signal.h>

#include <memory>
#include <string>

#include "WirelessCharger.h"
#include "protocol/chargelink.h"
#include "protocol/reverselink.h"

using aidl::vendor::zorvak::wireless_charger::IWirelessCharger;
using aidl::vendor::zorvak::wireless_charger::WirelessCharger;

int main(int /*argc*/, char** argv) {
    // A dump whose reader has gone is an error of the write, not the end of the service.
    signal(SIGPIPE, SIG_IGN);
    android::base::InitLogging(argv, android::base::LogdLogger(android::base::SYSTEM));
    LOG(INFO) << "WirelessCharger AIDL HAL service is starting";
    ABinderProcess_setThreadPoolMaxThreadCount(2);

    if (initWlcProto() != 0) {
        LOG(ERROR) << "error initializing WirelessCharger";
        return 2;
    }
    if (initRtxProto() != 0) {
        LOG(ERROR) << "error initializing RtxWirelessCharger";
        return 2;
    }

    std::shared_ptr<WirelessCharger> charger = ndk::SharedRefBase::make<WirelessCharger>();
    const std::string instance = std::string() + IWirelessCharger::descriptor + "/default";
    binder_exception_t status =
        AServiceManager_addService(charger->asBinder().get(), instance.c_str());
    CHECK_EQ(status, EX_NONE);

    ABinderProcess_startThreadPool();
    ABinderProcess_joinThreadPool();
    return 1;
}
