// SPDX-License-Identifier: Apache-2.0
#include "dock/virtual_dock.h"

#include <chargelink.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "dock_fixture.h"

namespace virtual_dock::testing {
namespace {

constexpr const char* kFan2 = "0f00b004b004c8003200";

TEST(VirtualDockTest, RequestAndAnswerShareAnAreaAndAreLogged) {
    VirtualDock dock;
    uint8_t area[10] = {0x0F, 0xFA};
    const Outcome outcome = dock.exchange({.operation = Operation::kBidiRequest,
                                           .type = 12,
                                           .request = Bytes(area, 2),
                                           .answer = area,
                                           .capacity = sizeof(area)});
    EXPECT_EQ(outcome.result, kOk);
    EXPECT_EQ(hexJson({area, outcome.length}), kFan2);
    EXPECT_EQ(toLine(dock.withLog([](const RequestLog& log) {
                  Json json = entryJson(log.entry(log.newest()));
                  json.erase("timeNs");
                  json.erase("wallTimeNs");
                  return json;
              })),
              "{\"number\":1,\"operation\":\"sendBidiRequest\",\"type\":12,\"result\":0,"
              "\"request\":\"0ffa\",\"answer\":\"0f00b004b004c8003200\","
              "\"requestLength\":2,\"answerLength\":10}");
}

TEST(VirtualDockTest, AnswerThatDoesNotFitFailsAndWritesNothing) {
    VirtualDock dock;
    const uint8_t request[] = {0x0F, 0xFA};
    uint8_t area[10] = {};
    Exchange exchange = {.operation = Operation::kBidiRequest,
                         .type = 12,
                         .request = request,
                         .answer = area,
                         .capacity = 9};
    EXPECT_EQ(dock.exchange(exchange).result, kReceiveFailed);
    EXPECT_EQ(area[0], 0);
    exchange.answer = nullptr;
    EXPECT_EQ(dock.exchange(exchange).result, kOk) << "not wanted";
    size_t length = sizeof(area);
    EXPECT_EQ(sendBidiRequest(12, request, 2, area, nullptr), kInvalidArgument);
    EXPECT_EQ(sendBidiRequest(12, nullptr, 2, area, &length), kInvalidArgument);
}

TEST(VirtualDockTest, FailureCountsDownAndTypesGoFirst) {
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
                        {"get rtx.mode", "available"}});  // it changed nothing
}

TEST(VirtualDockTest, GivenAnswersReplaceTheDocksOwn) {
    VirtualDock dock;
    expectSteps(&dock, {{"answer sendBidiRequest:12 0F 1", ""},
                        {"bidi 12 0ffa", "0f"},
                        {"bidi 12 0ffa", kFan2},
                        {"answer getWlcInfo:1 01020304 1", ""}});
    EXPECT_EQ(perform(&dock, "info 1"), "01020304");
    perform(&dock, "answer getWlcInfo:1 010203");
    EXPECT_EQ(perform(&dock, "info 1"), "010203") << "the library refuses it";
}

TEST(VirtualDockTest, DelayHoldsNobodyElseAndEndsWithResetOrTheTimeLimit) {
    VirtualDock dock;
    perform(&dock, "delay sendPropRequest 600000");
    EXPECT_EQ(
        dock.exchange({.operation = Operation::kPropRequest, .type = 23, .timeLimitMs = 20}).result,
        kTimedOut);
    std::atomic<int> done = 0;
    std::vector<std::thread> late;
    for (int i = 0; i < 4; ++i) {
        late.emplace_back([&] {
            EXPECT_EQ(perform(&dock, "prop 23"), "1f1c");
            ++done;
        });
    }
    for (int i = 0; i < 100; ++i) EXPECT_EQ(perform(&dock, "bidi 12 0ffa"), kFan2);
    EXPECT_EQ(done, 0);
    // A thread that is not yet waiting finds the fault gone.
    while (done < 4) {
        dock.reset();
        std::this_thread::yield();
    }
    for (std::thread& thread : late) thread.join();
}

TEST(VirtualDockTest, LogKeepsTheLatestAndCutsLongBytes) {
    VirtualDock dock;
    const ByteVector request(1000, 7);
    for (size_t i = 0; i < RequestLog::kCapacity + 3; ++i) {
        dock.exchange({.operation = Operation::kPropRequest,
                       .type = static_cast<int32_t>(i),
                       .request = request});
    }
    dock.withLog([](const RequestLog& log) {
        EXPECT_EQ(log.oldest(), 4u);
        EXPECT_EQ(log.entry(log.oldest()).type, 3);
        EXPECT_EQ(log.entry(log.newest()).requestLength, 1000u);
        EXPECT_EQ(log.entry(log.newest()).storedRequest().size(), LogEntry::kMaxBytes);
    });
}

TEST(VirtualDockTest, WithoutADockOnlyThePhoneAnswers) {
    VirtualDock dock;
    perform(&dock, "remove");
    std::vector<uint32_t> results;
    for (int32_t selector = -1; selector <= 9; ++selector) {
        results.push_back(
            dock.exchange({.operation = Operation::kGetWlcInfo, .type = selector}).result);
    }
    EXPECT_THAT(results, ::testing::ElementsAre(3, 0, 6, 6, 6, 6, 6, 6, 6, 6, 3));
    EXPECT_EQ(perform(&dock, "alignment 0"), "03000000000000000000");
    EXPECT_EQ(perform(&dock, "bidi 12 0ffa"), "result 6");
}

}  // namespace
}  // namespace virtual_dock::testing
