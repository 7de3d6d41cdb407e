// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <testing/system_test.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace wlc {

using test_support::Outcome;
using test_support::Process;
using test_support::run;
using test_support::Words;
using testing::HasSubstr;

// The real service on the virtual dock, with wlc and dockctl as processes against it. The journal
// of transfers is in the system's folder.
class ServiceTest : public test_support::SystemTest {
  protected:
    void SetUp() override { system.start(); }

    // "fan get 2": the words of a command line, split at blanks.
    static Words wlcCommand(const std::string& line);
    Outcome wlc(const std::string& line) { return run(wlcCommand(line)); }
    // With --json; fails the test unless it prints one object on one line.
    nlohmann::json wlcJson(const std::string& line, int exitStatus = 0);

    void dock(const std::string& line) { system.dock(line); }
    // The number of the latest request that the dock saw.
    size_t latestRequest() {
        const auto log = system.dockLog();
        return log.empty() ? 0 : log.back()["number"].get<size_t>();
    }
    nlohmann::json dockStatus() { return system.dock("status"); }
    std::string file(const std::string& name, const std::string& bytes) const {
        return system.file(name, bytes);
    }
};

std::vector<nlohmann::json> jsonLines(const std::string& text);

}  // namespace wlc
