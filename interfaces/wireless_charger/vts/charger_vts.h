// SPDX-License-Identifier: Apache-2.0
/*
 * What the conformance tests share. They know an implementation by its interface alone: every legal
 * answer passes, with a dock or without one, whatever features it has.
 */
#pragma once

#include <aidl/Gtest.h>
#include <aidl/Vintf.h>
#include <aidl/vendor/zorvak/wireless_charger/ErrorCode.h>
#include <aidl/vendor/zorvak/wireless_charger/IWirelessCharger.h>
#include <android/binder_manager.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace aidl::vendor::zorvak::wireless_charger {

using I = IWirelessCharger;

inline constexpr int kInvalidArgument = static_cast<int>(ErrorCode::INVALID_ARGUMENT);

/** Whether the program may restart the dock and open firmware transfers; off unless asked for. */
extern bool gMayChangeDock;

/** 0 for success, the service-specific error, or -1 for an error of another kind. */
inline int errorOf(const ndk::ScopedAStatus& status) {
    if (status.isOk()) return 0;
    return status.getExceptionCode() == EX_SERVICE_SPECIFIC ? status.getServiceSpecificError() : -1;
}

MATCHER_P2(Within, low, high, "") {
    *result_listener << "which is " << static_cast<int64_t>(arg);
    return low <= arg && arg <= high;
}

MATCHER(IsRtxStatus, "has a mode and an error type that are known") {
    return testing::Value(arg.mode, Within(0, 2)) &&
           testing::Value(arg.errorType, testing::AnyOf(Within(0, 5), 15));
}

/** One declared instance, which has to be alive before and after each test. */
class ChargerVts : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override {
        const ndk::SpAIBinder binder(AServiceManager_waitForService(GetParam().c_str()));
        charger = IWirelessCharger::fromBinder(binder);
        ASSERT_NE(charger, nullptr) << GetParam() << " is no IWirelessCharger";
    }
    void TearDown() override {
        if (charger != nullptr) {
            EXPECT_EQ(AIBinder_ping(charger->asBinder().get()), STATUS_OK);
        }
    }

    std::shared_ptr<IWirelessCharger> charger;
};

#define CHECK_EVERY_INSTANCE(suite)                                                                \
    GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(suite);                                          \
    INSTANTIATE_TEST_SUITE_P(Instances, suite,                                                     \
                             testing::ValuesIn(::android::getAidlHalInstanceNames(I::descriptor)), \
                             ::android::PrintInstanceNameToString)

}  // namespace aidl::vendor::zorvak::wireless_charger
