// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <testing/charger_system.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace wlc {

using test_support::Outcome;
using test_support::Process;
using test_support::run;
using test_support::Words;

// The real service on the virtual dock, in a run-time folder of the test's own; wlc and dockctl as
// processes against it. At the end the service has to be alive still, has to end when told to, and
// no sanitizer may have spoken.
class ServiceTest : public testing::Test {
  protected:
    void SetUp() override { startService(); }
    void TearDown() override { stopService(); }

    void startService() { mSystem.start(); }
    void stopService() { EXPECT_EQ("", mSystem.stopService()); }
    // As a crash would.
    void killService() { mSystem.killService(); }

    // "fan get 2": the words of a command line, split at blanks.
    Outcome wlc(const std::string& line) { return run(wlcCommand(line)); }
    // With --json; fails the test unless one object on one line came.
    nlohmann::json wlcJson(const std::string& line, int exitStatus = 0);
    static Words wlcCommand(const std::string& line);

    // Fails the test unless dockctl does it.
    void dock(const Words& words);
    void dock(const std::string& line);
    // The requests that the dock saw, oldest first.
    std::vector<nlohmann::json> dockLog();
    nlohmann::json dockStatus();

    // A file in the run-time folder with these bytes.
    std::string file(const std::string& name, const std::string& bytes) const;

    test_support::ChargerSystem mSystem;
};

std::vector<nlohmann::json> jsonLines(const std::string& text);

}  // namespace wlc
