// SPDX-License-Identifier: Apache-2.0
#include "dock_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>

#include "dock/words.h"

namespace virtual_dock::testing {
namespace {

std::string performRtx(VirtualDock* dock, int32_t type) {
    std::string area(ReverseTransmit::kAreaSize + 1, '\xEE');
    const Outcome outcome = dock->exchange({.operation = Operation::kRtxRequest,
                                            .type = type,
                                            .answer = reinterpret_cast<uint8_t*>(area.data()),
                                            .capacity = ReverseTransmit::kAreaSize});
    EXPECT_EQ(area.back(), '\xEE') << "beyond the area";
    if (outcome.result != kOk) return "result " + std::to_string(outcome.result);
    return area.substr(0, area.find('\xEE'));
}

}  // namespace

std::string perform(VirtualDock* dock, const std::string& step) {
    static const std::map<std::string, Operation> kOperations = {
        {"bidi", Operation::kBidiRequest},       {"prop", Operation::kPropRequest},
        {"auth", Operation::kWpcAuthRequest},    {"info", Operation::kGetWlcInfo},
        {"alignment", Operation::kGetAlignment}, {"rtx", Operation::kRtxRequest}};
    const std::vector<std::string> words = splitWords(step).value_or(std::vector<std::string>());
    const auto type = words.size() < 2 ? std::nullopt : parseNumber(words[1], INT32_MIN, INT32_MAX);
    const auto operation = words.empty() || !type ? kOperations.end() : kOperations.find(words[0]);
    if (operation == kOperations.end()) return runCommand(dock, step);
    if (operation->first == "rtx") return performRtx(dock, static_cast<int32_t>(*type));
    std::string digits;
    for (size_t i = 2; i < words.size(); ++i) digits += words[i];
    const std::optional<ByteVector> request = parseHex(digits);
    if (!request) return "not hex digits: " + digits;
    uint8_t answer[AnswerBuffer::kCapacity];
    const Outcome outcome = dock->exchange({.operation = operation->second,
                                            .type = static_cast<int32_t>(*type),
                                            .request = *request,
                                            .answer = answer,
                                            .capacity = sizeof(answer)});
    if (outcome.result != kOk) return "result " + std::to_string(outcome.result);
    return hexJson({answer, outcome.length}).get<std::string>();
}

void expectSteps(VirtualDock* dock, const std::vector<Step>& steps) {
    for (const auto& [step, expected] : steps) {
        const std::string outcome = perform(dock, step);
        if (outcome.rfind('{', 0) != 0) {
            EXPECT_EQ(outcome, expected) << step;
        } else {
            EXPECT_THAT(outcome, ::testing::HasSubstr(expected.empty() ? "\"ok\":true" : expected))
                << step;
        }
    }
}

TempFolder::TempFolder() {
    mPath = (std::filesystem::temp_directory_path() / "dock-XXXXXX").string();
    EXPECT_NE(mkdtemp(mPath.data()), nullptr);
}

TempFolder::~TempFolder() {
    std::filesystem::remove_all(mPath);
}

int boundSocket(const std::string& path, int type) {
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    return fd;
}

// Uevents of tests that have no listener of their own reach nobody, least of all through the
// kernel.
const int kNoUevents = setenv("ANDROID_HOST_UEVENT_SOCKET", "/nonexistent/uevents", 1);

}  // namespace virtual_dock::testing
