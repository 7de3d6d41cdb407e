// SPDX-License-Identifier: Apache-2.0
#include <aidl/example/BnThermometer.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>

#include <string>

using aidl::example::Reading;

class Thermometer : public aidl::example::BnThermometer {
    ndk::ScopedAStatus read(int32_t sensor, Reading* out) override {
        if (sensor < 0 || sensor > 3) {
            return ndk::ScopedAStatus::fromExceptionCode(EX_ILLEGAL_ARGUMENT);
        }
        out->temperature = 200 + sensor;
        out->place = "sensor " + std::to_string(sensor);
        return ndk::ScopedAStatus::ok();
    }
};

int main() {
    const auto thermometer = ndk::SharedRefBase::make<Thermometer>();
    if (AServiceManager_addService(thermometer->asBinder().get(), "example.IThermometer/default") !=
        EX_NONE) {
        return 1;
    }
    ABinderProcess_joinThreadPool();
}
