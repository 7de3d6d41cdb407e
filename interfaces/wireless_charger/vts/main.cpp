// SPDX-License-Identifier: Apache-2.0
// Checks every declared instance of IWirelessCharger.
#include <android/binder_process.h>

#include <iostream>
#include <string_view>

#include "charger_vts.h"

bool aidl::vendor::zorvak::wireless_charger::gMayChangeDock = false;

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (int i = 1; i < argc; i++) {
        if (std::string_view(argv[i]) != "--change_dock") {
            std::cerr << "unknown argument '" << argv[i] << "'; beside GoogleTest's there is\n"
                      << "  --change_dock  also restart the dock and open firmware transfers\n";
            return 2;
        }
        aidl::vendor::zorvak::wireless_charger::gMayChangeDock = true;
    }
    ABinderProcess_setThreadPoolMaxThreadCount(1);
    ABinderProcess_startThreadPool();
    return RUN_ALL_TESTS();
}
