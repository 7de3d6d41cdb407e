// SPDX-License-Identifier: Apache-2.0
#include "service_fixture.h"

#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
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

ServiceTest::ServiceTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "wlc-test.XXXXXX").string();
    mFolder = mkdtemp(pattern.data());
    setenv("ANDROID_HOST_DIR", mFolder.c_str(), 1);
    setenv("ANDROID_HOST_UEVENT_SOCKET", (mFolder + "/uevent").c_str(), 1);
}

ServiceTest::~ServiceTest() {
    std::filesystem::remove_all(mFolder);
}

void ServiceTest::startService() {
    mService = std::make_unique<Process>(Words{SERVICE_PROGRAM}, logFile());
    const Outcome ready = wlc("--wait 30 version");
    ASSERT_EQ(0, ready.exitStatus) << ready.err << log();
}

void ServiceTest::stopService() {
    if (mService == nullptr) return;
    mService->signal(SIGTERM);
    const Outcome outcome = mService->wait();
    mService = nullptr;
    EXPECT_EQ(SIGTERM, outcome.signal) << "ended by itself: " << log();
    for (const char* complaint : {"Sanitizer", "runtime error"}) {
        EXPECT_EQ(std::string::npos, log().find(complaint)) << log();
    }
}

void ServiceTest::killService() {
    mService->signal(SIGKILL);
    mService->wait();
    mService = nullptr;
}

std::string ServiceTest::log() const {
    std::ifstream in(logFile());
    return {std::istreambuf_iterator<char>(in), {}};
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
    const std::string path = mFolder + "/" + name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

}  // namespace wlc
