// SPDX-License-Identifier: Apache-2.0
#include "dock/virtual_dock.h"

#include <chargelink.h>
#include <gtest/gtest.h>

#include "dock_fixture.h"

namespace virtual_dock::testing {
namespace {

constexpr const char* kFan2 = "0f00b004b004c8003200";

TEST(VirtualDockTest, AnswerThatDoesNotFitFailsAndWritesNothing) {
    VirtualDock dock;
    const uint8_t request[] = {0x0F, 0xFA};
    uint8_t area[10] = {};
    EXPECT_EQ(dock.exchange({.operation = Operation::kBidiRequest,
                             .type = 12,
                             .request = request,
                             .answer = area,
                             .capacity = 9})
                  .result,
              kReceiveFailed);
    EXPECT_EQ(area[0], 0);
    size_t length = sizeof(area);
    EXPECT_EQ(sendBidiRequest(12, request, 2, area, nullptr), kInvalidArgument);
    EXPECT_EQ(sendBidiRequest(12, nullptr, 2, area, &length), kInvalidArgument);
}

TEST(VirtualDockTest, FaultsCountDownAndThoseOfATypeGoFirst) {
    VirtualDock dock;
    expectSteps(&dock, {{"fail sendBidiRequest:12 12 2 1", ""},
                        {"fail sendBidiRequest 5 1", ""},
                        {"bidi 12 0ffa", kFan2},
                        {"bidi 12 0ffa", "result 12"},
                        {"bidi 12 0ffa", "result 12"},
                        {"bidi 12 0ffa", "result 5"},
                        {"bidi 12 0ffa", kFan2},
                        {"fail sendRtxRequest:3 -1", ""},
                        {"rtx 3", "result 4294967295"},
                        {"get rtx.mode", "available"},  // it changed nothing
                        {"answer sendBidiRequest:12 0F 1", ""},
                        {"bidi 12 0ffa", "0f"},
                        {"bidi 12 0ffa", kFan2},
                        {"delay sendPropRequest 600000", ""}});
    EXPECT_EQ(
        dock.exchange({.operation = Operation::kPropRequest, .type = 23, .timeLimitMs = 20}).result,
        kTimedOut);
}

TEST(VirtualDockTest, WithoutADockOnlyThePhoneAnswers) {
    VirtualDock dock;
    expectSteps(&dock, {{"remove", ""},
                        {"info -1", "result 3"},
                        {"info 0", "01130000"},
                        {"info 1", "result 6"},
                        {"info 9", "result 3"},
                        {"alignment 0", "03000000000000000000"},
                        {"bidi 12 0ffa", "result 6"}});
}

}  // namespace
}  // namespace virtual_dock::testing
