// SPDX-License-Identifier: Apache-2.0
#include "dock/virtual_dock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace virtual_dock {
namespace {

using ::testing::ElementsAre;

// A fan question in an area of the size that callers use.
uint32_t askFan(VirtualDock* dock, std::vector<uint8_t>* answer) {
    uint8_t area[256] = {0x0F, 0xFA};
    size_t length = sizeof(area);
    const uint32_t result =
        dock->request(Operation::kBidiRequest, 12, Bytes(area, 2), area, &length, 0);
    if (result == kOk) answer->assign(area, area + length);
    return result;
}

void addFault(VirtualDock* dock, Fault fault) {
    EXPECT_TRUE(dock->withFaults([&](Faults& faults) { return faults.set(std::move(fault)); }));
}

TEST(VirtualDockTest, RequestAndAnswerShareAnArea) {
    VirtualDock dock;
    std::vector<uint8_t> answer;
    EXPECT_EQ(askFan(&dock, &answer), kOk);
    EXPECT_THAT(answer, ElementsAre(0x0F, 0, 0xB0, 0x04, 0xB0, 0x04, 200, 0, 50, 0));
    dock.withLog([](const RequestLog& log) {
        const LogEntry& entry = log.entry(log.newest());
        EXPECT_EQ(entry.operation, Operation::kBidiRequest);
        EXPECT_EQ(entry.type, 12);
        EXPECT_THAT(
            std::vector<uint8_t>(entry.storedRequest().begin(), entry.storedRequest().end()),
            ElementsAre(0x0F, 0xFA));
        EXPECT_EQ(entry.answerLength, 10u);
    });
}

TEST(VirtualDockTest, AnswerThatDoesNotFitFailsAndWritesNothing) {
    VirtualDock dock;
    const uint8_t request[] = {0x0F, 0xFA};
    uint8_t area[10] = {};
    size_t length = 9;
    EXPECT_EQ(dock.request(Operation::kBidiRequest, 12, request, area, &length, 0), kReceiveFailed);
    EXPECT_EQ(area[0], 0);
    length = 10;
    EXPECT_EQ(dock.request(Operation::kBidiRequest, 12, request, area, &length, 0), kOk);
    EXPECT_EQ(dock.request(Operation::kBidiRequest, 12, request, nullptr, nullptr, 0), kOk);
    EXPECT_EQ(dock.request(Operation::kBidiRequest, 12, request, area, nullptr, 0),
              kInvalidArgument);
    EXPECT_EQ(dock.request(Operation::kBidiRequest, 12, Bytes(static_cast<uint8_t*>(nullptr), 2),
                           area, &length, 0),
              kInvalidArgument);
}

TEST(VirtualDockTest, FailureCountsDownAndTypesGoFirst) {
    VirtualDock dock;
    Fault fault{Operation::kBidiRequest, 12, Fault::Kind::kFail, kBusy, 0, {}, 2};
    addFault(&dock, fault);
    addFault(&dock, {Operation::kBidiRequest, {}, Fault::Kind::kFail, kFailed, 0, {}, 1});
    std::vector<uint8_t> answer;
    EXPECT_EQ(askFan(&dock, &answer), kBusy);
    EXPECT_EQ(askFan(&dock, &answer), kBusy);
    EXPECT_EQ(askFan(&dock, &answer), kFailed);
    EXPECT_EQ(askFan(&dock, &answer), kOk);

    uint32_t value;
    addFault(&dock, {Operation::kGetWlcInfo, 7, Fault::Kind::kFail, 0xFFFFFFFF, 0, {}, {}});
    EXPECT_EQ(dock.readStatus(7, &value), 0xFFFFFFFF);
    EXPECT_EQ(dock.readStatus(5, &value), kOk) << "another selector";
}

TEST(VirtualDockTest, FaultyRequestChangesNothing) {
    VirtualDock dock;
    addFault(&dock, {Operation::kRtxRequest, 3, Fault::Kind::kFail, kFailed, 0, {}, {}});
    char area[20];
    EXPECT_EQ(dock.rtxRequest(3, area), kFailed);
    dock.withModel([](DockModel& model, int64_t) {
        EXPECT_EQ(model.rtx.mode, ReverseTransmit::Mode::kAvailable);
    });
}

TEST(VirtualDockTest, GivenAnswersReplaceTheDocksOwn) {
    VirtualDock dock;
    addFault(&dock, {Operation::kBidiRequest, 12, Fault::Kind::kAnswer, 0, 0, {0x0F}, 1});
    std::vector<uint8_t> answer;
    EXPECT_EQ(askFan(&dock, &answer), kOk);
    EXPECT_THAT(answer, ElementsAre(0x0F));
    uint32_t value = 0;
    addFault(&dock, {Operation::kGetWlcInfo, 1, Fault::Kind::kAnswer, 0, 0, {1, 2, 3, 4}, 1});
    EXPECT_EQ(dock.readStatus(1, &value), kOk);
    EXPECT_EQ(value, 0x04030201u);
    addFault(&dock, {Operation::kGetWlcInfo, 1, Fault::Kind::kAnswer, 0, 0, {1, 2, 3}, 1});
    EXPECT_EQ(dock.readStatus(1, &value), kReceiveFailed);
}

TEST(VirtualDockTest, DelayPastTheTimeLimitTimesOut) {
    VirtualDock dock;
    addFault(&dock, {Operation::kPropRequest, 23, Fault::Kind::kDelay, 0, 600'000, {}, {}});
    EXPECT_EQ(dock.request(Operation::kPropRequest, 23, {}, nullptr, nullptr, 20), kTimedOut);
}

TEST(VirtualDockTest, DelayHoldsNobodyElseAndEndsWithReset) {
    VirtualDock dock;
    addFault(&dock, {Operation::kPropRequest, {}, Fault::Kind::kDelay, 0, 600'000, {}, {}});
    std::atomic<int> done = 0;
    std::vector<std::thread> late;
    for (int i = 0; i < 4; ++i) {
        late.emplace_back([&] {
            EXPECT_EQ(dock.request(Operation::kPropRequest, 23, {}, nullptr, nullptr, 0), kOk);
            ++done;
        });
    }
    std::vector<uint8_t> answer;
    for (int i = 0; i < 100; ++i) EXPECT_EQ(askFan(&dock, &answer), kOk);
    EXPECT_EQ(done, 0);
    // A thread that is not yet waiting finds the fault gone.
    dock.reset();
    while (done < 4) {
        dock.reset();
        std::this_thread::yield();
    }
    for (std::thread& thread : late) thread.join();
}

TEST(VirtualDockTest, LogKeepsTheLatestAndCutsLongBytes) {
    VirtualDock dock;
    std::vector<uint8_t> request(1000, 7);
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
    dock.withModel([](DockModel& model, int64_t) { model.charger.docked = false; });
    uint32_t value = 0;
    EXPECT_EQ(dock.readStatus(0, &value), kOk);
    for (int32_t selector = 1; selector <= 8; ++selector) {
        EXPECT_EQ(dock.readStatus(selector, &value), kUnavailable);
    }
    EXPECT_EQ(dock.readStatus(9, &value), kInvalidArgument);
    EXPECT_EQ(dock.readStatus(-1, &value), kInvalidArgument);
    Alignment alignment;
    EXPECT_EQ(dock.readAlignment(&alignment), kOk);
    EXPECT_EQ(alignment.state, Alignment::kOff);
    std::vector<uint8_t> answer;
    EXPECT_EQ(askFan(&dock, &answer), kUnavailable);
}

TEST(VirtualDockTest, FeaturesAreKeptPerQueryUpToALimit) {
    VirtualDock dock;
    int64_t value = 0;
    EXPECT_EQ(dock.setFeature(-5, INT64_MIN), kOk);
    EXPECT_EQ(dock.getFeature(-5, &value), kOk);
    EXPECT_EQ(value, INT64_MIN);
    for (size_t i = 1; i < Features::kMaxQueries; ++i) {
        EXPECT_EQ(dock.setFeature(static_cast<int64_t>(i), 1), kOk);
    }
    EXPECT_EQ(dock.setFeature(1000, 1), kRefused);
    EXPECT_EQ(dock.setFeature(-5, 2), kOk) << "a query that is held already";
}

// What a request leaves in an area filled with 0xEE: the bytes up to the first it did not write.
std::string leftBy(VirtualDock* dock, int32_t type) {
    char area[21];
    std::memset(area, 0xEE, sizeof(area));
    EXPECT_EQ(dock->rtxRequest(type, area), kOk);
    std::string text(area, sizeof(area));
    EXPECT_EQ(text[20], '\xEE') << "beyond the area";
    return text.substr(0, text.find('\xEE'));
}

TEST(ReverseTransmitTest, TextsAreLeftInEveryStyle) {
    VirtualDock dock;
    const auto setStyle = [&](ReverseTransmit::TextStyle style) {
        dock.withModel([&](DockModel& model, int64_t) { model.rtx.textStyle = style; });
    };
    dock.withModel([](DockModel& model, int64_t) {
        model.rtx.readingA = -4999;
        model.rtx.prmc = 0xDEADBEEF;
    });
    EXPECT_EQ(leftBy(&dock, 2), std::string("available\0", 10));
    EXPECT_EQ(leftBy(&dock, 5), std::string("disconnected\0", 13));
    EXPECT_EQ(leftBy(&dock, 6), std::string("-4999\0", 6));
    EXPECT_EQ(leftBy(&dock, 8), std::string("deadbeef\0", 9));
    setStyle(ReverseTransmit::TextStyle::kNewline);
    EXPECT_EQ(leftBy(&dock, 6), std::string("-4999\n\0", 7));
    setStyle(ReverseTransmit::TextStyle::kUnterminated);
    EXPECT_EQ(leftBy(&dock, 6), "-4999xxxxxxxxxxxxxxx");
    setStyle(ReverseTransmit::TextStyle::kGarbage);
    EXPECT_EQ(leftBy(&dock, 6).find('\0'), std::string::npos);
    EXPECT_EQ(leftBy(&dock, 1).size(), 1u) << "the area of request 1 may be one byte";
}

TEST(ReverseTransmitTest, SwitchingIsAnnouncedOnlyWhenItChanges) {
    VirtualDock dock;
    char area[20];
    EXPECT_EQ(dock.rtxRequest(3, area), kOk);
    EXPECT_THAT(dock.clearWake(), ElementsAre(Event::kRtx));
    EXPECT_EQ(dock.rtxRequest(3, area), kOk);
    EXPECT_THAT(dock.clearWake(), ElementsAre());
    EXPECT_EQ(dock.rtxRequest(4, area), kOk);
    EXPECT_THAT(dock.clearWake(), ElementsAre(Event::kRtx));
    dock.withModel([](DockModel& model, int64_t) { model.rtx.supported = false; });
    for (int32_t type = 0; type <= 11; ++type) EXPECT_NE(dock.rtxRequest(type, area), kOk);
}

}  // namespace
}  // namespace virtual_dock
