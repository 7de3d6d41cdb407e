// SPDX-License-Identifier: Apache-2.0
//
// Traces are read, replayed, compared and masked.
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "../../testing/process.h"
#include "trace/replayer.h"
#include "trace/trace_mask.h"

namespace virtual_dock {
namespace {

using Kind = TraceDifference::Kind;
using Kinds = std::vector<Kind>;

constexpr const char* kTraceHeader =
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

class TraceTest : public testing::Test {
  protected:
    TraceTest() {
        char folder[] = "/tmp/trace-test.XXXXXX";
        mFolder = mkdtemp(folder);
    }
    ~TraceTest() override { test_support::run({"/bin/rm", "-rf", mFolder}); }

    std::string write(const std::string& text, const std::string& name = "trace") {
        const std::string path = mFolder + "/" + name;
        std::ofstream(path) << text;
        return path;
    }

    std::string mFolder;
};

Bytes view(const std::vector<uint8_t>& bytes) {
    return {bytes.data(), bytes.size()};
}

// The answer's first byte, or the negative result.
int ask(Replayer* replayer, const std::vector<uint8_t>& request, int32_t type = 12) {
    uint8_t answer[64];
    const Outcome outcome = replayer->exchange({.operation = Operation::kBidiRequest,
                                                .type = type,
                                                .request = view(request),
                                                .answer = answer,
                                                .capacity = sizeof(answer)});
    return outcome.result != kOk ? -static_cast<int>(outcome.result) : answer[0];
}

Kinds kindsOf(const std::vector<TraceDifference>& differences) {
    Kinds kinds;
    for (const TraceDifference& each : differences) kinds.push_back(each.kind);
    return kinds;
}

void load(Replayer* replayer, const std::string& path) {
    std::string problem;
    std::string warning;
    ASSERT_TRUE(replayer->open(path, &problem, &warning)) << problem;
    ASSERT_EQ(warning, "");
}

TEST_F(TraceTest, CutAtAnyLengthGivesWhatIsIntactAndSaysWhereItStopped) {
    const std::string header = kTraceHeader;
    const std::string first = exchangeLine("01", "02");
    const std::string all = header + first + ueventLine("WLC");
    for (size_t size = 0; size <= all.size(); ++size) {
        TraceReader reader;
        std::string problem;
        const bool opened = reader.open(write(all.substr(0, size)), &problem);
        ASSERT_EQ(opened, size + 1 >= header.size()) << size << problem;
        if (!opened) continue;
        int entries = 0;
        TraceEntry entry;
        while (reader.next(&entry)) ++entries;
        // A line is whole without its line feed.
        const size_t firstEnd = header.size() + first.size();
        EXPECT_EQ(entries, (size + 1 >= firstEnd) + (size + 1 >= all.size())) << size;
        const bool cut = (size > header.size() && size + 1 < firstEnd) ||
                         (size > firstEnd && size + 1 < all.size());
        const std::string line = size < firstEnd ? "line 2" : "line 3";
        EXPECT_EQ(reader.problem(), cut ? line + ": cut off, the file ends within it" : "");
    }
}

TEST_F(TraceTest, SaysWhatIsWrongWithALine) {
    const struct {
        std::string text;
        const char* problem;
    } kCases[] = {
        {"{\"trace\":2}\n", "format 2; this program reads 1"},
        {"{\"trace\":1}\n", "\"recorder\" has to be a string"},
        {"[]\n", "not a trace"},
        {kTraceHeader + std::string("{]\n"), "line 2: this is no JSON"},
        {kTraceHeader + std::string("{}\n"), "line 2: a line has to have a member"},
        {kTraceHeader + exchangeLine("01", "") + exchangeLine("0", ""),
         "line 3: \"request\" has to be a string of an even number of hex digits"},
        {kTraceHeader + exchangeLine("01", std::string(130, '0')), "no longer than \"capacity\""},
        {kTraceHeader + exchangeLine("01", "", 1, 0, "boil"), "\"operation\" has to be"},
        {kTraceHeader + exchangeLine("01", "", -1), "\"thread\" has to be a whole number from 0"},
        {kTraceHeader + std::string(TraceReader::kMaxLine + 1, ' ') + "\n", "line 2: longer than"},
        {kTraceHeader + std::string(R"({"timeNs":1,"wallTimeNs":1,"uevent":["\u0100"]})") + "\n",
         "characters up to"},
    };
    for (const auto& each : kCases) {
        TraceReader reader;
        std::string problem;
        TraceEntry entry;
        if (reader.open(write(each.text), &problem)) {
            while (reader.next(&entry)) {
            }
            problem = reader.problem();
        }
        EXPECT_NE(problem.find(each.problem), std::string::npos) << problem;
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

TEST_F(TraceTest, PairsWhatChangedAndLetsThreadsRace) {
    Replayer replayer({.speed = 0, .strict = true}, nullptr);
    load(&replayer,
         write(kTraceHeader + exchangeLine("01", "0a", 1) + exchangeLine("02", "0b", 2) +
               exchangeLine("03", "0c", 2) + exchangeLine("05", "0c", 2, 0, "sendPropRequest")));
    EXPECT_EQ(ask(&replayer, {2}), 0x0B);
    EXPECT_EQ(ask(&replayer, {1}), 0x0A);
    EXPECT_EQ(ask(&replayer, {4}), -6);
    const auto differences = replayer.differences();
    ASSERT_EQ(kindsOf(differences), (Kinds{Kind::kChanged, Kind::kMissing}));
    EXPECT_EQ(differences[0].recorded, std::vector<uint8_t>{3});
    EXPECT_EQ(differences[0].line, 4u);
    EXPECT_EQ(differences[1].operation, Operation::kPropRequest);
}

TEST_F(TraceTest, UeventsWaitForWhatIsBeforeThem) {
    Replayer replayer({.speed = 0, .strict = true}, nullptr);
    load(&replayer, write(kTraceHeader + exchangeLine("01", "0a") + ueventLine("WLC") +
                          exchangeLine("02", "0b") + ueventLine("RTX") +
                          exchangeLine("03", "0c", 1, 1'000'000'000)));
    std::mutex lock;
    std::vector<std::string> sent;
    const auto count = [&] {
        std::lock_guard guard(lock);
        return sent.size();
    };
    std::thread sender([&] {
        replayer.sendUevents([&](const std::vector<std::string>& lines) {
            std::lock_guard guard(lock);
            sent.push_back(resentLines(lines).at(0));
        });
    });
    EXPECT_EQ(ask(&replayer, {2}), 0x0B);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(ask(&replayer, {1}), 0x0A);
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
    const std::string path = mFolder + "/long";
    {
        std::ofstream file(path);
        file << kTraceHeader;
        const std::string padding(400, '0');
        for (uint32_t i = 0; i < kCount; ++i) {
            file << exchangeLine(i % 2 == 0 ? "00" : "01",
                                 i % 3 == 0 ? "02" + padding.substr(0, 100) : "03", 1 + i % 2);
        }
    }
    const auto inUse = [] {
        const auto info = mallinfo2();
        return info.uordblks + info.hblkhd;
    };
    const size_t before = inUse();
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
    // The file has some 25 MB.
    EXPECT_LT(inUse() - before, size_t{10} << 20);
}

TEST_F(TraceTest, DockctlComparesAndMasksAndTheMaskedTraceReplays) {
    const std::string secret = "1122334455667788";
    const std::string path = write(
        kTraceHeader + exchangeLine("0008" + secret, "08" + secret, 1, 0, "sendBidiRequest", 18) +
        exchangeLine("", "0003414243", 1, 0, "sendBidiRequest", 0) +
        exchangeLine("0003414243", "0200000003", 1, 0, "getPacketTlv", 0) + ueventLine("FAN"));
    const std::string masked = mFolder + "/masked";
    const auto dockctl = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {DOCKCTL_PATH, "trace"});
        return test_support::run(words);
    };
    ASSERT_EQ(dockctl({"mask", path, "-o", masked}).exitStatus, 0);
    EXPECT_EQ(dockctl({"mask", path, "-o", masked}).exitStatus, 1);  // overwrites nothing
    std::ifstream file(masked);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    for (const std::string& each : {secret, std::string("414243")}) {
        EXPECT_EQ(text.find(each), std::string::npos) << text;
    }
    // One mask for the nonce and the answer that repeats it, one for both texts.
    EXPECT_NE(text.find(R"("request":"000801000000a5a5a5a5")"), std::string::npos) << text;
    EXPECT_NE(text.find(R"("answer":"0801000000a5a5a5a5")"), std::string::npos) << text;
    EXPECT_NE(text.find(R"("answer":"0003303032")"), std::string::npos) << text;
    EXPECT_NE(text.find(R"("request":"0003303032")"), std::string::npos) << text;

    EXPECT_EQ(dockctl({"diff", path, path}).exitStatus, 0);
    const auto differing = dockctl({"diff", path, masked});
    EXPECT_EQ(differing.exitStatus, 1);
    EXPECT_NE(differing.out.find("changed: sendBidiRequest:18"), std::string::npos);
    EXPECT_NE(differing.out.find("answered otherwise: sendBidiRequest:0"), std::string::npos);
    EXPECT_NE(dockctl({"stat", path}).out.find("3 exchanges, 1 uevents"), std::string::npos);
    const auto shown = dockctl({"show", masked}).out;
    EXPECT_NE(shown.find("text 0 \"002\""), std::string::npos) << shown;
    EXPECT_NE(shown.find("SOURCE=FAN"), std::string::npos) << shown;
    const auto cut = dockctl({"stat", write(text.substr(0, text.size() - 9), "cut")});
    EXPECT_EQ(cut.exitStatus, 1);
    EXPECT_NE(cut.err.find("line 5: cut off"), std::string::npos) << cut.err;

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
    EXPECT_NE(same.err.find("9 of 9 exchanges, 1 of 1 uevents"), std::string::npos) << same.err;

    const auto other = check("wlc fan set 3 manual 80; wlc fan get 2; exit 7");
    EXPECT_EQ(other.exitStatus, 1);
    EXPECT_NE(other.out.find("changed: sendBidiRequest:12  set fan 3"), std::string::npos);
    EXPECT_NE(other.out.find("missing: getWlcInfo:2"), std::string::npos) << other.out;
    EXPECT_NE(other.err.find("ended with 7"), std::string::npos) << other.err;
    EXPECT_TRUE(test_support::hasNoChildren());
}

}  // namespace
}  // namespace virtual_dock
