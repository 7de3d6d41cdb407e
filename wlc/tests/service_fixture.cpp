// SPDX-License-Identifier: Apache-2.0
#include "service_fixture.h"

#include <sstream>

namespace wlc {

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
    std::istringstream in(line);
    Words words = {WLC_PROGRAM};
    for (std::string word; in >> word;) words.push_back(word);
    return words;
}

nlohmann::json ServiceTest::wlcJson(const std::string& line, int exitStatus) {
    const Outcome outcome = wlc("--json " + line);
    EXPECT_EQ(exitStatus, outcome.exitStatus) << line << "\n" << outcome.out << outcome.err;
    const auto objects = jsonLines(outcome.out);
    EXPECT_EQ(1u, objects.size()) << line << "\n" << outcome.out;
    return objects.empty() ? nlohmann::json() : objects.front();
}

}  // namespace wlc
