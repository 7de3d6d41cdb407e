// SPDX-License-Identifier: Apache-2.0
// Which handlers a uevent calls, as letters: R reverse transmit, W charging status, O charging off,
// A alignment, F fan, s firmware update skipped.
#include "wireless_event.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "test_environment.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

using namespace std::string_literals;

std::string stepsOf(std::string_view message) {
    std::string steps;
    // In the order of UeventStep.
    readUevent(message, [&](UeventStep step) { steps += "RWOAFs"[static_cast<int>(step)]; });
    return steps;
}

/** '|' stands for the zero byte that ends a line. */
std::string message(std::string lines) {
    std::replace(lines.begin(), lines.end(), '|', '\0');
    return lines;
}

TEST(UeventTest, LinesDecideWhichHandlersRun) {
    const struct {
        const char* lines;
        const char* steps;
    } kCases[] = {
        {"change@/x|SOURCE=RTX|DRIVER=p9221|", "R"},
        {"change@/x|SOURCE=WLC|DRIVER=zorvak_wlc|", "WA"},
        {"change@/x|SOURCE=WLC_OFF|DRIVER=zorvak_wlc|", "OA"},
        {"change@/x|SOURCE=FAN|DRIVER=p9221|", "F"},
        {"change@/x|DRIVER=p9221|", "RWAF"},
        // The order of the lines counts: a source after the driver line comes too late for it.
        {"DRIVER=p9221|SOURCE=RTX|", "RWAF"},
        {"DRIVER=p9221|SOURCE=RTX|DRIVER=p9221|", "RWAFR"},
        // The source stays, charging off does not.
        {"SOURCE=RTX|DRIVER=p9221|DRIVER=p9221|", "RR"},
        {"SOURCE=WLC_OFF|DRIVER=p9221|DRIVER=p9221|", "OAWA"},
        {"SOURCE=WLC_OFF|SOURCE=RTX|DRIVER=p9221|SOURCE=WLC|DRIVER=p9221|", "RWA"},
        // WLC wins over FAN, FAN over RTX, in one line.
        {"SOURCE=RTX SOURCE=FAN|DRIVER=p9221|", "F"},
        {"SOURCE=FAN SOURCE=WLC|DRIVER=p9221|", "WA"},
        // The battery driver means the fan, whatever came before, and for what follows.
        {"DRIVER=zorvak,battery|", "F"},
        {"SOURCE=WLC_OFF|DRIVER=zorvak,battery|DRIVER=p9221|", "FF"},
        {"SOURCE=WLC_OFF|DRIVER=zorvak,battery|SOURCE=WLC|DRIVER=p9221|", "FWA"},
        {"DRIVER=p9221 DRIVER=zorvak,battery|", "RWAF"},
        // A firmware-update line is passed over, the rest is not.
        {"SOURCE=FWUPDATE|", "s"},
        {"SOURCE=FWUPDATE|DRIVER=p9221|", "sRWAF"},
        {"SOURCE=RTX|SOURCE=FWUPDATE|DRIVER=p9221|", "sR"},
        {"SOURCE=RTX SOURCE=FWUPDATE DRIVER=p9221|DRIVER=p9221|", "sR"},
        // A line may hold the texts anywhere, and both at once.
        {"xSOURCE=RTXxDRIVER=p9221x|", "R"},
        // Everything else is foreign.
        {"SOURCE=WLC|DRIVER=other|", ""},
        {"SOURCE=WLC|", ""},
        {"source=WLC|driver=p9221|", ""},
        {"DRIVER=p922|SOURCE=RT|", ""},
        {"no equals sign|", ""},
        {"\xff\xfe\x80 DRIVER=p9221|", "RWAF"},
        // An empty line ends the message.
        {"", ""},
        {"||DRIVER=p9221|", ""},
        {"SOURCE=RTX||DRIVER=p9221|", ""},
        {"|DRIVER=p9221|", ""},
        // The last line needs no zero byte.
        {"SOURCE=RTX|DRIVER=p9221", "R"},
    };
    for (const auto& [lines, steps] : kCases) EXPECT_EQ(stepsOf(message(lines)), steps) << lines;
}

// A message that is cut calls what a prefix of its steps calls, and reads nothing behind its end.
TEST(UeventTest, CutAtEveryLengthCallsNoMoreThanTheWhole) {
    const std::string whole = message(
        "change@/devices/x|ACTION=change|SOURCE=WLC_OFF|DRIVER=zorvak_wlc|SOURCE=FWUPDATE|"
        "DRIVER=p9221|DRIVER=zorvak,battery|SEQNUM=1|");
    const std::string steps = stepsOf(whole);
    EXPECT_EQ(steps, "OAsWAF");
    for (size_t length = 0; length < whole.size(); length++) {
        const std::vector<char> exact(whole.begin(), whole.begin() + length);
        const std::string part = stepsOf({exact.data(), exact.size()});
        EXPECT_EQ(part, steps.substr(0, part.size())) << length;
    }
}

int ownPriority() {
    return getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
}

// The real thread. It never ends, so what it uses is never freed nor closed.
TEST(UeventTest, ThreadHandlesEachMessageThatFits) {
    struct Journal {
        std::mutex lock;
        std::condition_variable changed;
        std::string steps;
    };
    static Journal& journal = *new Journal;
    const auto note = [](const std::string& step) {
        std::lock_guard lock(journal.lock);
        journal.steps += step;
        journal.changed.notify_all();
    };
    // The highest that this process may set.
    static const int highest = std::async(std::launch::async, [] {
                                   setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), -20);
                                   return ownPriority();
                               }).get();
    static auto& event = *new ::android::sp<WirelessEvent>(::android::sp<WirelessEvent>::make(
        [=](RtxStatusInfo& info) { note("R" + std::to_string(info.prmc++)); },
        [=](AlignInfo&) { note("A"); }, [=](int& level) { note("F" + std::to_string(level++)); },
        [=](int& off) {
            note(ownPriority() != highest ? "wrong priority" : off ? "O" : "W");
        }));
    const auto eventually = [](const std::function<bool()>& holds) {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!holds()) {
            if (std::chrono::steady_clock::now() > limit) return false;
            std::this_thread::yield();
        }
        return true;
    };
    // Without a socket the thread ends: it can be started again.
    countInLog("failed to open uevent socket");
    ASSERT_TRUE(event->startThread());
    ASSERT_TRUE(eventually([] { return countedInLog() == 1; }));
    int ends[2] = {};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends), 0);
    giveUeventSocket(ends[0]);
    ASSERT_TRUE(eventually([] { return event->startThread(); }));

    countInLog("Error reading from Uevent Fd");
    const std::string driver = message("|DRIVER=p9221");
    const auto sized = [&](size_t size) { return std::string(size - driver.size(), 'x') + driver; };
    for (const std::string& text :
         {sized(2048), sized(2047), "\0"s + driver, driver.substr(1),
          "errno " + std::to_string(EAGAIN), "errno " + std::to_string(EIO),
          message("SOURCE=WLC_OFF|DRIVER=p9221|")}) {
        ASSERT_EQ(send(ends[1], text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    }
    std::unique_lock lock(journal.lock);
    EXPECT_TRUE(journal.changed.wait_for(lock, std::chrono::seconds(30),
                                         [] { return journal.steps.ends_with("OA"); }));
    EXPECT_EQ(journal.steps, "R0WAF0R1WAF1OA");
    EXPECT_EQ(countedInLog(), 1);
    EXPECT_TRUE(fcntl(ends[0], F_GETFL) & O_NONBLOCK);
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
