// SPDX-License-Identifier: Apache-2.0
#include <android/binder_auto_utils.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

using ndk::ScopedAStatus;

constexpr int32_t kMin = std::numeric_limits<int32_t>::min();

TEST(StatusTest, EveryKindGivesItsCodesAndItsText) {
    struct Case {
        ScopedAStatus status;
        binder_exception_t exception;
        int32_t serviceSpecific;
        binder_status_t transport;
        const char* message;
        const char* description;
    };
    const Case cases[] = {
        {ScopedAStatus(), EX_NONE, 0, STATUS_OK, "", "No error"},
        {ScopedAStatus::fromStatus(STATUS_OK), EX_NONE, 0, STATUS_OK, "", "No error"},
        {ScopedAStatus::fromServiceSpecificErrorWithMessage(42, "m"), EX_SERVICE_SPECIFIC, 42,
         STATUS_OK, "m", "Status(-8, EX_SERVICE_SPECIFIC): '42: m'"},
        {ScopedAStatus::fromExceptionCode(EX_SERVICE_SPECIFIC), EX_SERVICE_SPECIFIC, 0, STATUS_OK,
         "", "Status(-8, EX_SERVICE_SPECIFIC): '0: '"},
        {ScopedAStatus::fromExceptionCodeWithMessage(EX_SECURITY, "not yours"), EX_SECURITY, 0,
         STATUS_OK, "not yours", "Status(-1, EX_SECURITY): 'not yours'"},
        {ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT), EX_TRANSACTION_FAILED, 0, -32, "",
         "Status(-129, EX_TRANSACTION_FAILED): 'DEAD_OBJECT: '"},
        {ScopedAStatus::fromExceptionCode(EX_TRANSACTION_FAILED), EX_TRANSACTION_FAILED, 0,
         STATUS_FAILED_TRANSACTION, "",
         "Status(-129, EX_TRANSACTION_FAILED): 'FAILED_TRANSACTION: '"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.description);
        EXPECT_EQ(c.status.isOk(), c.exception == EX_NONE);
        EXPECT_EQ(c.status.getExceptionCode(), c.exception);
        EXPECT_EQ(c.status.getServiceSpecificError(), c.serviceSpecific);
        EXPECT_EQ(c.status.getStatus(), c.transport);
        EXPECT_STREQ(c.status.getMessage(), c.message);
        EXPECT_EQ(c.status.getDescription(), c.description);
    }
}

TEST(StatusTest, ValuesNobodyNamedBecomeTheUnknownOnes) {
    for (const binder_exception_t value : {1, -10, -128, -130, kMin}) {
        EXPECT_EQ(ScopedAStatus::fromExceptionCodeWithMessage(value, "why").getDescription(),
                  "Status(-129, EX_TRANSACTION_FAILED): 'FAILED_TRANSACTION: why'")
            << value;
    }
    for (const binder_status_t value : {1, -3, -1000, kMin + 3, kMin + 6, kMin + 9}) {
        EXPECT_EQ(ScopedAStatus::fromStatus(value).getDescription(),
                  "Status(-129, EX_TRANSACTION_FAILED): 'UNKNOWN_ERROR: '")
            << value;
    }
}

}  // namespace
