// SPDX-License-Identifier: Apache-2.0
#include <aidl/example/IThermometer.h>
#include <android/binder_manager.h>

#include <cstdlib>
#include <iostream>

int main(int argc, char** argv) {
    const auto thermometer = aidl::example::IThermometer::fromBinder(
        ndk::SpAIBinder(AServiceManager_waitForService("example.IThermometer/default")));
    aidl::example::Reading reading;
    const auto status = thermometer->read(argc > 1 ? std::atoi(argv[1]) : 0, &reading);
    std::cout << (status.isOk() ? reading.toString() : status.getDescription()) << '\n';
    return status.isOk() ? 0 : 1;
}
