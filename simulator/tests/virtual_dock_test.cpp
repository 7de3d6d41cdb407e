// SPDX-License-Identifier: Apache-2.0
#include "dock/virtual_dock.h"

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
    size_t length = sizeof(area);
    EXPECT_EQ(dock.request(Operation::kBidiRequest, 12, Bytes(area, 2), area, &length, 0), kOk);
    EXPECT_EQ(hexJson({area, length}), kFan2);
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
    size_t length = 9;
    const auto ask = [&](Bytes asked, uint8_t* answer, size_t* answerLength) {
        return dock.request(Operation::kBidiRequest, 12, asked, answer, answerLength, 0);
    };
    EXPECT_EQ(ask(request, area, &length), kReceiveFailed);
    EXPECT_EQ(area[0], 0);
    EXPECT_EQ(ask(request, nullptr, nullptr), kOk);
    EXPECT_EQ(ask(request, area, nullptr), kInvalidArgument);
    EXPECT_EQ(ask(Bytes(static_cast<uint8_t*>(nullptr), 2), area, &length), kInvalidArgument);
}

TEST(VirtualDockTest, FailureCountsDownAndTypesGoFirst) {
    VirtualDock dock;
    expectSteps(&dock, {{"fail sendBidiRequest:12 12 2", ""},
                        {"fail sendBidiRequest 5 1", ""},
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
    uint32_t value = 0;
    EXPECT_EQ(dock.readStatus(1, &value), kOk);
    EXPECT_EQ(value, 0x04030201u);
    perform(&dock, "answer getWlcInfo:1 010203");
    EXPECT_EQ(dock.readStatus(1, &value), kReceiveFailed);
}

TEST(VirtualDockTest, DelayHoldsNobodyElseAndEndsWithResetOrTheTimeLimit) {
    VirtualDock dock;
    perform(&dock, "delay sendPropRequest 600000");
    EXPECT_EQ(dock.request(Operation::kPropRequest, 23, {}, nullptr, nullptr, 20), kTimedOut);
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
        dock.request(Operation::kPropRequest, static_cast<int32_t>(i), request, nullptr, nullptr,
                     0);
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
    uint32_t value = 0;
    std::vector<uint32_t> results;
    for (int32_t selector = -1; selector <= 9; ++selector) {
        results.push_back(dock.readStatus(selector, &value));
    }
    EXPECT_THAT(results, ::testing::ElementsAre(3, 0, 6, 6, 6, 6, 6, 6, 6, 6, 3));
    Alignment alignment;
    EXPECT_EQ(dock.readAlignment(&alignment), kOk);
    EXPECT_EQ(alignment.state, Alignment::kOff);
    EXPECT_EQ(perform(&dock, "bidi 12 0ffa"), "result 6");
}

}  // namespace
}  // namespace virtual_dock::testing
