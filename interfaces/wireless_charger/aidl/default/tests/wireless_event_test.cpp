// SPDX-License-Identifier: Apache-2.0
// Which handlers a uevent calls, as letters: R reverse transmit, W charging status, O charging off,
// A alignment, F fan, s firmware update skipped.
#include "wireless_event.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <string>

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
        {"change@/x|DRIVER=p9221|", "RWAF"},
        // The order of the lines counts: a source after the driver line comes too late for it.
        {"DRIVER=p9221|SOURCE=RTX|DRIVER=p9221|", "RWAFR"},
        // The source stays, charging off does not.
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
        {"SOURCE=RTX|SOURCE=FWUPDATE|DRIVER=p9221|", "sR"},
        {"SOURCE=RTX SOURCE=FWUPDATE DRIVER=p9221|DRIVER=p9221|", "sR"},
        // A line may hold the texts anywhere, and both at once.
        {"xSOURCE=RTXxDRIVER=p9221x|", "R"},
        // Everything else is foreign.
        {"SOURCE=WLC|DRIVER=other|", ""},
        {"source=WLC|driver=p9221|", ""},
        {"DRIVER=p922|SOURCE=RT|", ""},
        {"\xff\xfe\x80 DRIVER=p9221|", "RWAF"},
        // An empty line ends the message.
        {"", ""},
        {"||DRIVER=p9221|", ""},
        // The last line needs no zero byte.
        {"SOURCE=RTX|DRIVER=p9221", "R"},
    };
    for (const auto& [lines, steps] : kCases) EXPECT_EQ(stepsOf(message(lines)), steps) << lines;
}

// The real thread. It never ends, so what it uses is never freed nor closed.
TEST(UeventTest, ThreadHandlesEachMessageThatFits) {
    static std::string& steps = *new std::string;
    static std::promise<void>& handled = *new std::promise<void>;
    static auto& event = *new ::android::sp<WirelessEvent>(::android::sp<WirelessEvent>::make(
        [](RtxStatusInfo& info) { steps += "R" + std::to_string(info.prmc++); },
        [](AlignInfo&) {
            steps += "A";
            if (steps.ends_with("OA")) handled.set_value();
        },
        [](int& level) { steps += "F" + std::to_string(level++); },
        [](int& off) { steps += off != 0 ? "O" : "W"; }));
    int ends[2] = {};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends), 0);
    giveUeventSocket(ends[0]);
    ASSERT_TRUE(event->startThread());

    const std::string driver = message("|DRIVER=p9221");
    const auto sized = [&](size_t size) { return std::string(size - driver.size(), 'x') + driver; };
    for (const std::string& text : {sized(2048), sized(2047), "\0"s + driver, driver.substr(1),
                                    "errno"s, message("SOURCE=WLC_OFF|DRIVER=p9221|")}) {
        ASSERT_EQ(send(ends[1], text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    }
    ASSERT_EQ(handled.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(steps, "R0WAF0R1WAF1OA");
    EXPECT_TRUE(fcntl(ends[0], F_GETFL) & O_NONBLOCK);
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
