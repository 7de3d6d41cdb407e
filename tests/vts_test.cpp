// SPDX-License-Identifier: Apache-2.0
// The conformance tests that a phone runs, on the service with the virtual dock in several states.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <testing/charger_system.h>

#include <filesystem>

namespace test_support {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

struct State {
    const char* name;
    std::vector<const char*> dockLines;
    testing::Matcher<std::string> output;  // the tests name what was refused
};

std::ostream& operator<<(std::ostream& out, const State& state) {
    return out << state.name;
}

class VtsTest : public testing::TestWithParam<State> {};

TEST_P(VtsTest, ServiceConforms) {
    ChargerSystem system;
    ASSERT_EQ(0, mkdir((system.folder() + "/vintf").c_str(), 0700));
    std::filesystem::copy(VINTF_FRAGMENT, system.folder() + "/vintf");
    system.start();
    const std::string tests = program("VtsHalWirelessChargerTargetTest");
    const std::string asked = run({program("dockctl"), "log"}).out;
    EXPECT_EQ(0, run({tests, "--gtest_filter=*OutOfRange*"}).exitStatus);
    EXPECT_EQ(asked, run({program("dockctl"), "log"}).out) << "the dock was sent what is invalid";

    for (const char* line : GetParam().dockLines) system.dock(line);
    const Outcome vts = run({tests, "--change_dock"});
    EXPECT_EQ(0, vts.exitStatus) << vts.out << vts.err << system.log();
    EXPECT_THAT(vts.out, GetParam().output);
    EXPECT_THAT(vts.out, HasSubstr("InterfaceIsTheFrozenOne")) << "no instance is declared";
    EXPECT_TRUE(eventually([&] { return system.subscribed() == Subscribed{0, 0, 0}; }));
    EXPECT_EQ("", system.complaint());
}

INSTANTIATE_TEST_SUITE_P(
    States, VtsTest,
    testing::Values(
        State{"NoDock", {"remove"}, HasSubstr("getFanInfo refused")},
        State{"Dock", {"place"}, Not(AnyOf(HasSubstr("refused"), HasSubstr("SKIPPED")))},
        State{"DockOutOfRange",
              {"align 200", "set phone.qi-spec 4660", "set dock.compatibility 200",
               "set power.limit-reason 9", "rtx error 99", "rtx mode off", "set info.flags 255"},
              Not(HasSubstr("getInformation refused"))},
        State{"DockThatAnswersNonsense",
              {"answer sendBidiRequest ffffffff", "answer sendPropRequest ffffffffff",
               "answer sendWpcAuthRequest 11ff", "set rtx.texts garbage"},
              AllOf(HasSubstr("getWpcAuthCertificate refused"), HasSubstr("challenge refused"))}),
    [](const auto& state) { return state.param.name; });

}  // namespace
}  // namespace test_support
