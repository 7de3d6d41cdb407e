// SPDX-License-Identifier: Apache-2.0
#include "service_fixture.h"

#include <fstream>
#include <sstream>

namespace wlc {
namespace {

Words split(const std::string& line) {
    std::istringstream in(line);
    Words words;
    for (std::string word; in >> word;) words.push_back(word);
    return words;
}

Words command(const char* program, const Words& words) {
    Words all = {program};
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

}  // namespace

std::vector<nlohmann::json> jsonLines(const std::string& text) {
    std::vector<nlohmann::json> objects;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        objects.push_back(nlohmann::json::parse(line, nullptr, false));
        EXPECT_TRUE(objects.back().is_object()) << line;
    }
    return objects;
}

Words ServiceTest::wlcCommand(const std::string& line) {
    return command(WLC_PROGRAM, split(line));
}

nlohmann::json ServiceTest::wlcJson(const std::string& line, int exitStatus) {
    const Outcome outcome = wlc("--json " + line);
    EXPECT_EQ(exitStatus, outcome.exitStatus) << line << "\n" << outcome.out << outcome.err;
    const auto objects = jsonLines(outcome.out);
    EXPECT_EQ(1u, objects.size()) << line << "\n" << outcome.out;
    return objects.empty() ? nlohmann::json() : objects.front();
}

void ServiceTest::dock(const Words& words) {
    const Outcome outcome = run(command(DOCKCTL_PROGRAM, words));
    ASSERT_EQ(0, outcome.exitStatus) << testing::PrintToString(words) << outcome.err << outcome.out;
}

void ServiceTest::dock(const std::string& line) {
    dock(split(line));
}

std::vector<nlohmann::json> ServiceTest::dockLog() {
    return jsonLines(run({DOCKCTL_PROGRAM, "--json", "log"}).out);
}

nlohmann::json ServiceTest::dockStatus() {
    return nlohmann::json::parse(run({DOCKCTL_PROGRAM, "--json", "status"}).out, nullptr, false);
}

std::string ServiceTest::file(const std::string& name, const std::string& bytes) const {
    const std::string path = mSystem.folder() + "/" + name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

}  // namespace wlc
