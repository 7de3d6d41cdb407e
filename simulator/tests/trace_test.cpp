// SPDX-License-Identifier: Apache-2.0
//
// Traces are read, replayed, compared and masked.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <testing/process.h>

#include <atomic>
#include <fstream>
#include <thread>

#include "dock_fixture.h"
#include "trace/replayer.h"

namespace virtual_dock::testing {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using Kind = TraceDifference::Kind;
using Kinds = std::vector<Kind>;

const std::string kTraceHeader =
    R"({"trace":1,"recorder":"r","timeNs":1,"wallTimeNs":1,"libraries":["/a"]})"
    "\n";

std::string exchangeLine(const std::string& request, const std::string& answer, int thread = 1,
                         int microseconds = 0, const char* operation = "sendBidiRequest",
                         int type = 12) {
    return R"({"timeNs":2,"wallTimeNs":2,"new":{},"thread":)" + std::to_string(thread) +
           R"(,"operation":")" + operation + R"(","type":)" + std::to_string(type) +
           R"(,"timeLimitMs":0,"request":")" + request +
           R"(","capacity":64,"result":0,"answer":")" + answer + R"(","microseconds":)" +
           std::to_string(microseconds) + "}\n";
}

std::string ueventLine(const std::string& source) {
    return R"({"timeNs":2,"wallTimeNs":2,"uevent":["change@/d","ACTION=change","SOURCE=)" + source +
           R"(","DRIVER=p9221"]})"
           "\n";
}

std::string at(int milliseconds, const std::string& line) {
    return "{\"timeNs\":" + std::to_string(milliseconds) + "000000" + line.substr(line.find(','));
}

class TraceTest : public ::testing::Test {
  protected:
    std::string write(const std::string& text, const std::string& name = "trace") {
        std::ofstream(folder / name) << text;
        return folder / name;
    }

    TempFolder folder;
};

// The answer's first byte, or the negative result.
int ask(Replayer* replayer, const std::vector<uint8_t>& request, int32_t type = 12) {
    uint8_t answer[64];
    const Outcome outcome = replayer->exchange({.operation = Operation::kBidiRequest,
                                                .type = type,
                                                .request = request,
                                                .answer = answer,
                                                .capacity = sizeof(answer)});
    return outcome.result != kOk ? -static_cast<int>(outcome.result) : answer[0];
}

void load(Replayer* replayer, const std::string& path) {
    std::string problem;
    std::string warning;
    ASSERT_TRUE(replayer->open(path, &problem, &warning)) << problem;
    ASSERT_EQ(warning, "");
}

TEST_F(TraceTest, SaysWhatIsWrongWithALine) {
    for (const auto& [text, expected] : std::vector<Step>{
             {"{\"trace\":2}\n", "format 2; this program reads 1"},
             {"{\"trace\":1}\n", "\"recorder\" has to be a string"},
             {kTraceHeader.substr(0, 20), "this is not a trace"},
             {kTraceHeader + "{]\n", "line 2: this is no JSON"},
             {kTraceHeader + exchangeLine("01", "") + exchangeLine("0", ""),
              "line 3: \"request\" has to be a string of an even number of hex digits"},
             {kTraceHeader + exchangeLine("01", std::string(130, '0')),
              "no longer than \"capacity\""},
             {kTraceHeader + exchangeLine("01", "", 1, 0, "boil"), "\"operation\" has to be"},
             {kTraceHeader + exchangeLine("01", "", -1),
              "\"thread\" has to be a whole number from 0"},
             {kTraceHeader + std::string(TraceReader::kMaxLine + 1, ' '), "line 2: longer than"},
             {kTraceHeader + std::string(R"({"timeNs":1,"wallTimeNs":1,"uevent":["\u0100"]})") +
                  "\n",
              "characters up to"}}) {
        TraceReader reader;
        std::string problem;
        TraceEntry entry;
        if (reader.open(write(text), &problem)) {
            while (reader.next(&entry)) {
            }
            problem = reader.problem();
        }
        EXPECT_THAT(problem, HasSubstr(expected));
    }
}

TEST_F(TraceTest, AnswersInRecordedOrderThenLikeTheLatestOrNotAtAll) {
    const std::string path = write(kTraceHeader + exchangeLine("01", "0a") +
                                   exchangeLine("02", "0b") + exchangeLine("01", "0c"));
    for (const bool strict : {false, true}) {
        Kinds reported;
        Replayer replayer({.speed = 0, .strict = strict}, [&](const TraceDifference& difference) {
            reported.push_back(difference.kind);
        });
        load(&replayer, path);
        EXPECT_EQ(ask(&replayer, {1}), 0x0A);
        EXPECT_EQ(ask(&replayer, {9}), strict ? -6 : 0x0A);
        EXPECT_EQ(ask(&replayer, {1}), 0x0C);
        EXPECT_EQ(ask(&replayer, {2}), 0x0B);  // the trace's thread asked before the other
        EXPECT_EQ(ask(&replayer, {1}), strict ? -6 : 0x0B);
        EXPECT_EQ(ask(&replayer, {1}, 99), -6);
        EXPECT_EQ(reported, (Kinds{Kind::kUnexpected, Kind::kReordered, Kind::kUnexpected,
                                   Kind::kUnexpected}));
    }
}

// But not for what the service did about them before the recorder was woken.
TEST_F(TraceTest, UeventsWaitForWhatIsBeforeThem) {
    Replayer replayer({.speed = 0, .strict = true}, nullptr);
    load(&replayer, write(kTraceHeader + at(2, exchangeLine("01", "0a", 1)) +
                          at(20, exchangeLine("02", "0b", 2)) + at(20, ueventLine("WLC")) +
                          at(30, exchangeLine("03", "0c", 2)) + at(40, ueventLine("RTX"))));
    std::vector<std::string> sent;
    std::atomic<int> count = 0;
    std::thread sender([&] {
        replayer.sendUevents([&](const std::vector<std::string>& lines) {
            ++count;
            sent.push_back(resentLines(lines).at(0));
        });
    });
    EXPECT_EQ(ask(&replayer, {3}), 0x0C);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(ask(&replayer, {1}), 0x0A);
    EXPECT_TRUE(test_support::eventually([&] { return count == 1; }));
    EXPECT_EQ(ask(&replayer, {2}), 0x0B);
    sender.join();
    EXPECT_EQ(sent, (std::vector<std::string>{"SOURCE=WLC", "SOURCE=RTX"}));
}

// As the kernel sends it for an interface of that name.
TEST(ResentLinesTest, SourceInAnInterfaceNameGoesFirst) {
    EXPECT_EQ(resentLines({"change@/devices/virtual/net/SOURCE=WLC_OFF", "ACTION=change",
                           "SYNTH_ARG_DRIVER=p9221", "INTERFACE=SOURCE=WLC_OFF", "SEQNUM=1"}),
              (std::vector<std::string>{"SOURCE=WLC_OFF", "DRIVER=p9221"}));
}

TEST_F(TraceTest, StopEndsARecordedWait) {
    Replayer replayer({.speed = 0.001, .strict = true}, nullptr);
    load(&replayer, write(kTraceHeader + exchangeLine("01", "0a", 1, 1'000'000'000)));
    std::thread caller([&] { EXPECT_EQ(ask(&replayer, {1}), 0x0A); });
    EXPECT_TRUE(test_support::eventually([&] { return replayer.progress().missing == 0; }));
    replayer.stop();
    caller.join();
}

TEST_F(TraceTest, LongTracesTakeLittleMemoryAndTwoThreadsGetEveryAnswerOnce) {
    constexpr uint32_t kCount = 100'000;
    std::string trace = kTraceHeader;
    for (uint32_t i = 0; i < kCount; ++i) {
        trace += exchangeLine(i % 2 == 0 ? "00" : "01", i % 3 == 0 ? "02" : "03", 1 + i % 2);
    }
    const std::string path = write(trace);
    const auto memory = [] { return mallinfo2().uordblks + mallinfo2().hblkhd; };
    const size_t before = memory();
    Replayer replayer({.speed = 0, .strict = true}, nullptr);
    load(&replayer, path);
    std::thread threads[2];
    for (uint8_t t = 0; t < 2; ++t) {
        threads[t] = std::thread([&, t] {
            for (uint32_t i = t; i < kCount; i += 2) {
                ASSERT_EQ(ask(&replayer, {t}), i % 3 == 0 ? 2 : 3) << i;
            }
        });
    }
    for (std::thread& each : threads) each.join();
    EXPECT_TRUE(replayer.differences().empty());
    EXPECT_LT(memory() - before, trace.size() / 2);
}

TEST_F(TraceTest, DockctlComparesAndMasksAndTheMaskedTraceReplays) {
    const std::string secret = "1122334455667788";
    const std::string recorded =
        kTraceHeader + exchangeLine("0008" + secret, "08" + secret, 1, 0, "sendBidiRequest", 18) +
        exchangeLine("", "0003414243", 1, 0, "sendBidiRequest", 0) +
        exchangeLine("0003414243", "0200000003", 1, 0, "getPacketTlv", 0) + ueventLine("FAN");
    const std::string path = write(recorded);
    const std::string masked = folder / "masked";
    const auto dockctl = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {DOCKCTL_PATH, "trace"});
        return test_support::run(words);
    };
    ASSERT_EQ(dockctl({"mask", path, "-o", masked}).exitStatus, 0);
    EXPECT_EQ(dockctl({"mask", path, "-o", masked}).exitStatus, 1);  // overwrites nothing
    std::ifstream file(masked);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_THAT(text, Not(HasSubstr(secret)));
    // One mask for the nonce and the answer that repeats it, one for both texts.
    EXPECT_THAT(
        text, AllOf(HasSubstr(R"("request":"000801000000a5a5a5a5")"),
                    HasSubstr(R"("answer":"0801000000a5a5a5a5")"),
                    HasSubstr(R"("answer":"0003303032")"), HasSubstr(R"("request":"0003303032")")));

    // The last line is whole without its line feed.
    const std::string unended = write(recorded.substr(0, recorded.size() - 1), "unended");
    EXPECT_EQ(dockctl({"diff", path, unended}).exitStatus, 0);
    EXPECT_THAT(dockctl({"stat", unended}).out, HasSubstr("3 exchanges, 1 uevents"));
    const auto differing = dockctl({"diff", path, masked});
    EXPECT_EQ(differing.exitStatus, 1);
    EXPECT_THAT(differing.out, AllOf(HasSubstr("changed: sendBidiRequest:18"),
                                     HasSubstr("answered otherwise: sendBidiRequest:0")));
    EXPECT_THAT(dockctl({"show", masked}).out,
                AllOf(HasSubstr("text 0 \"002\""), HasSubstr("SOURCE=FAN")));
    const auto cut = dockctl({"stat", write(text.substr(0, text.size() - 9), "cut")});
    EXPECT_EQ(cut.exitStatus, 1);
    EXPECT_THAT(cut.out, HasSubstr("3 exchanges, 0 uevents"));
    EXPECT_THAT(cut.err, HasSubstr("line 5: cut off"));

    Replayer replayer({.speed = 0, .strict = true}, nullptr);
    load(&replayer, masked);
    EXPECT_EQ(ask(&replayer, {0, 8, 1, 0, 0, 0, 0xA5, 0xA5, 0xA5, 0xA5}, 18), 8);
}

// The commands that docs/example.trace was recorded with, and others.
TEST(TraceCheckTest, ServiceAsksWhatIsInTheTraceOrTheDifferencesAreNamed) {
    const auto check = [](const std::string& commands) {
        return test_support::run({DOCKCTL_PATH, "trace", "check", EXAMPLE_TRACE, "--", "/bin/sh",
                                  "-c", "PATH=\"${0%/*}:$PATH\"; " + commands, DOCKCTL_PATH});
    };
    const auto same =
        check("wlc fan set 2 manual 80 && wlc fan get 2 && wlc presence && wlc power");
    EXPECT_EQ(same.exitStatus, 0) << same.out << same.err;
    EXPECT_THAT(same.err, HasSubstr("9 of 9 exchanges, 1 of 1 uevents"));

    const auto other = check("wlc fan set 3 manual 80; wlc fan get 2; exit 7");
    EXPECT_EQ(other.exitStatus, 1);
    EXPECT_THAT(other.out, AllOf(HasSubstr("changed: sendBidiRequest:12  set fan 3"),
                                 HasSubstr("missing: getWlcInfo:2")));
    EXPECT_THAT(other.err, HasSubstr("ended with 7"));
    EXPECT_TRUE(test_support::hasNoChildren());
}

}  // namespace
}  // namespace virtual_dock::testing
