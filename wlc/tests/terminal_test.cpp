// SPDX-License-Identifier: Apache-2.0
// What people see on a terminal: `wlc top` and the progress of an update, run in tmux.
#include <signal.h>

#include <sstream>

#include "service_fixture.h"

namespace wlc {
namespace {

using test_support::eventually;
using testing::AllOf;
using testing::AnyOf;
using testing::Contains;
using testing::Each;
using testing::EndsWith;
using testing::Matcher;
using testing::Not;
using testing::StartsWith;

class TerminalTest : public ServiceTest {
  protected:
    void SetUp() override {
        ServiceTest::SetUp();
        // A server that ends with its last terminal could take the next one with it.
        tmux({"start-server", ";", "set-option", "-g", "exit-empty", "off"});
    }
    void TearDown() override {
        tmux({"kill-server"});
        ServiceTest::TearDown();
    }

    std::string tmux(const Words& words) const {
        Words command = {"/usr/bin/env", "LC_ALL=C.UTF-8", "tmux", "-S", system.folder() + "/tmux",
                         "-f",           "/dev/null"};
        command.insert(command.end(), words.begin(), words.end());
        return run(command).out;
    }
    // Runs a shell command in a terminal of that width; what it prints at last is "EXIT 0".
    void open(int columns, const std::string& command) const {
        tmux({"new-session", "-d", "-x", std::to_string(columns), "-y", "24",
              "echo before; " + command + "; echo EXIT $?; exec sleep 600"});
    }
    // Rows that the terminal has wrapped count as one.
    std::vector<std::string> rows() const {
        std::istringstream in(tmux({"capture-pane", "-p", "-J"}));
        std::vector<std::string> found;
        for (std::string row; std::getline(in, row);) {
            found.push_back(row.substr(0, row.find_last_not_of(' ') + 1));
        }
        return found;
    }
    // Waits until the rows match; shows them when they don't.
    void expectRows(const Matcher<std::vector<std::string>>& matcher) const {
        std::vector<std::string> seen;
        if (eventually([&] { return testing::Matches(matcher)(seen = rows()); })) return;
        EXPECT_THAT(seen, matcher);
    }
};

// In UTF-8 characters.
MATCHER_P(IsNotWiderThan, columns, "") {
    return std::count_if(arg.begin(), arg.end(), [](char c) { return (c & 0xc0) != 0x80; }) <=
           columns;
}

TEST_F(TerminalTest, TopFitsEveryWidthAndFollowsTheService) {
    dock("set info.text0 \xe6\x9d\xb1\xe4\xba\xac");  // two columns a character
    open(80, WLC_PROGRAM " top --interval 0.2");
    for (const int columns : {40, 80, 200}) {
        SCOPED_TRACE(columns);
        tmux({"resize-window", "-x", std::to_string(columns), "-y", "24"});
        expectRows(AllOf(Each(IsNotWiderThan(columns)),
                         Contains(AllOf(StartsWith(" wlc top  "), EndsWith("q quits"))),
                         Contains(StartsWith(columns < 56 ? "auth " : "authentication ")),
                         Contains(StartsWith("subscribers ")),
                         Contains(HasSubstr("\xe2\xa3\xb6"))));  // of a plot
    }
    dock("fan-level 7");
    expectRows(Contains(HasSubstr("fan    level 7")));
    system.killService();
    expectRows(AllOf(Contains(HasSubstr("  service is not running")),
                     Contains(StartsWith("power             -"))));
    system.start();
    expectRows(AllOf(Contains(HasSubstr("events may be missing")),
                     Contains(HasSubstr("connection: answered again")),
                     Contains(StartsWith("subscribers       align 1, rtx 1, fan 1"))));
}

TEST_F(TerminalTest, TopLeavesTheTerminalAsItWas) {
    const struct {
        const char* before;
        Words end;
    } kCases[] = {{"", {"send-keys", "q"}},
                  {"TERM=vt100 ", {"send-keys", "C-c"}},
                  {"LC_ALL=C sh -c 'echo $$ >$ANDROID_HOST_DIR/pid; exec $0 $1' ",
                   {"run-shell", "kill -TERM $(cat $ANDROID_HOST_DIR/pid)"}}};
    for (const auto& [before, end] : kCases) {
        SCOPED_TRACE(end[1]);
        open(80, std::string(before) + WLC_PROGRAM " top");
        expectRows(Contains(StartsWith("subscribers ")));
        tmux(end);
        expectRows(Contains("EXIT 0"));
        EXPECT_EQ("0 1\n", tmux({"display-message", "-p", "#{alternate_on} #{cursor_flag}"}));
        tmux({"kill-session"});
    }
    EXPECT_EQ((test_support::Subscribed{0, 0, 0}), system.subscribed());
}

TEST_F(TerminalTest, TopWithoutAnAnswerStaysAliveAndEndsAtItsLimit) {
    open(80, WLC_PROGRAM " --timeout 4 top");
    expectRows(Contains(StartsWith("subscribers ")));
    kill(system.pid(), SIGSTOP);
    expectRows(Contains(testing::ContainsRegex("no answer for [23] s")));
    expectRows(AllOf(Contains("wlc: no answer from the service within 4 s"), Contains("EXIT 3")));
    kill(system.pid(), SIGCONT);
}

TEST_F(TerminalTest, TopWithoutATerminalIsBadUsage) {
    EXPECT_THAT(wlc("top").err, HasSubstr("needs a terminal"));
    EXPECT_EQ("BAD_USAGE", wlcJson("top", 2)["error"]["name"]);
    open(80, "TERM=dumb " WLC_PROGRAM " top");
    expectRows(AllOf(Contains(HasSubstr("of the type 'dumb'")), Contains("EXIT 2")));
}

TEST_F(TerminalTest, ProgressOfAnUpdateFitsANarrowTerminal) {
    dock("delay sendPropRequest:26 20");
    open(40, WLC_PROGRAM " firmware update " + file("image", std::string(9000, 'x')));
    expectRows(AllOf(Each(AnyOf(Not(StartsWith("[")), IsNotWiderThan(39))),
                     Contains(testing::MatchesRegex("\\[#+\\] apply +100 %")), Contains("EXIT 0")));
}

}  // namespace
}  // namespace wlc
