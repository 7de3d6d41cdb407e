// SPDX-License-Identifier: Apache-2.0
//
// The recorder's libraries in front of scripted ones (scripted_links.cpp has what a request of each
// type does), each test in a process of its own.
#include <chargelink.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <reverselink.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <thread>

#include "dock_fixture.h"

namespace virtual_dock::testing {
namespace {

using ::testing::HasSubstr;

constexpr rlim_t kSmallDevice = 16 * 1024;

// The functions that a service calls.
struct Links {
    decltype(&::initWlcProto) initialise;
    decltype(&::sendBidiRequest) bidi;
    decltype(&::getPacketTlv) tlv;
    decltype(&::initRtxProto) initialiseReverse;
    decltype(&::sendRtxRequest) rtx;

    // Asks for `size` bytes backwards; whether that is what came.
    bool reverse(size_t size) const {
        ByteVector area(size);
        for (size_t i = 0; i < size; ++i) area[i] = static_cast<uint8_t>(i);
        const ByteVector wanted(area.rbegin(), area.rend());
        size_t length = size;
        return bidi(1, area.data(), size, area.data(), &length) == 0 && length == size &&
               area == wanted;
    }
};

class RecorderTest : public ::testing::Test {
  protected:
    // Runs `use` with the libraries in a child process; its wait status.
    int inChild(const std::function<void(const Links&)>& use) {
        const pid_t child = fork();
        if (child == 0) {
            setenv("ANDROID_HOST_UEVENT_SOCKET", (folder / "uevents").c_str(), 1);
            setenv("CHARGELINK_REAL", real.c_str(), 1);
            setenv("REVERSELINK_REAL", SCRIPTED_LINKS, 1);
            setenv("CHARGELINK_TRACE", trace.c_str(), 1);
            dup2(open((folder / "log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), 2);
            void* const charge = dlopen(RECORDER_FOLDER "/libchargelink.so", RTLD_NOW);
            void* const reverse = dlopen(RECORDER_FOLDER "/libreverselink.so", RTLD_NOW);
            const auto find = [](void* library, const char* name, auto* function) {
                *reinterpret_cast<void**>(function) = dlsym(library, name);
            };
            Links links;
            find(charge, "initWlcProto", &links.initialise);
            find(charge, "sendBidiRequest", &links.bidi);
            find(charge, "getPacketTlv", &links.tlv);
            find(reverse, "initRtxProto", &links.initialiseReverse);
            find(reverse, "sendRtxRequest", &links.rtx);
            use(links);
            _exit(HasFailure() ? 1 : 0);
        }
        int status = -1;
        EXPECT_EQ(child, waitpid(child, &status, 0));
        return status;
    }

    std::string log() const {
        std::ifstream file(folder / "log");
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // The trace's lines after its header; every one has to be whole.
    std::vector<nlohmann::json> recorded() const {
        std::ifstream file(trace);
        std::vector<nlohmann::json> lines;
        for (std::string line; std::getline(file, line);) {
            EXPECT_FALSE(file.eof()) << "torn: " << line;
            lines.push_back(nlohmann::json::parse(line));
        }
        if (lines.empty() || lines[0].value("trace", 0) != 1) {
            ADD_FAILURE() << "no header";
            return {};
        }
        lines.erase(lines.begin());
        return lines;
    }

    TempFolder folder;
    std::string trace = folder / "trace";
    std::string real = SCRIPTED_LINKS;
};

TEST_F(RecorderTest, RecordsWhatTheCallerSentAndTheLibraryGave) {
    EXPECT_EQ(0, inChild([](const Links& links) {
                  EXPECT_TRUE(links.reverse(3)) << "before any initialisation";
                  EXPECT_EQ(0, links.initialise());
                  EXPECT_EQ(5, links.initialiseReverse());
                  EXPECT_TRUE(links.reverse(5000)) << "longer than any line of the protocol";
                  // Not a byte more than the area, whatever the library says.
                  const auto area = std::make_unique<uint8_t[]>(2);
                  size_t length = 2;
                  EXPECT_EQ(0u, links.bidi(2, nullptr, 0, area.get(), &length));
                  EXPECT_EQ(SIZE_MAX, length);
                  EXPECT_EQ(0u, links.bidi(1, area.get(), 2, nullptr, nullptr));
                  EXPECT_EQ(13u, links.bidi(-1, nullptr, 0, area.get(), &length));
                  const uint8_t* value = nullptr;
                  uint8_t valueLength = 0;
                  EXPECT_NE(0u, links.tlv(area.get(), 2, 7, &value, &valueLength));
                  RtxAnswer text = {"--"};
                  EXPECT_EQ(0u, links.rtx(2, &text));
                  EXPECT_EQ(0u, links.rtx(1, reinterpret_cast<RtxAnswer*>(area.get())));
              }));
    std::string found;
    for (nlohmann::json& line : recorded()) {
        for (const char* name : {"timeNs", "wallTimeNs", "thread", "microseconds", "timeLimitMs"}) {
            EXPECT_TRUE(line[name].is_number()) << name;
            line.erase(name);
        }
        if (line["request"].get_ref<std::string&>().size() == 10'000) continue;
        found += line.dump() + "\n";
    }
    EXPECT_EQ(
        found,
        R"({"answer":"020100","capacity":3,"operation":"sendBidiRequest","request":"000102","result":0,"type":1}
{"answer":"abab","capacity":2,"length":18446744073709551615,"operation":"sendBidiRequest","request":"","result":0,"type":2}
{"capacity":null,"operation":"sendBidiRequest","request":"abab","result":0,"type":1}
{"capacity":18446744073709551615,"operation":"sendBidiRequest","request":"","result":13,"type":-1}
{"answer":"ffffffff01","capacity":5,"operation":"getPacketTlv","request":"abab","result":0,"type":7}
{"answer":"3232320000000000000000000000000000000000","capacity":20,"operation":"sendRtxRequest","request":"","result":0,"type":2}
{"answer":"31","capacity":1,"operation":"sendRtxRequest","request":"","result":0,"type":1}
)");
}

TEST_F(RecorderTest, DyingLibraryLeavesAllThatWasAnswered) {
    const int status = inChild([](const Links& links) {
        for (int i = 0; i < 20; ++i) EXPECT_TRUE(links.reverse(16));
        links.bidi(5, nullptr, 0, nullptr, nullptr);
    });
    EXPECT_EQ(SIGKILL, WTERMSIG(status));
    EXPECT_EQ(20u, recorded().size());
}

TEST_F(RecorderTest, ThreadsNeitherWaitForEachOtherNorMixTheirLines) {
    EXPECT_EQ(0, inChild([](const Links& links) {
                  EXPECT_EQ(0, links.initialise());
                  std::thread waiting([&] { links.bidi(3, nullptr, 0, nullptr, nullptr); });
                  const auto work = [&] {
                      for (size_t i = 0; i < 500; ++i) EXPECT_TRUE(links.reverse(1 + i * 4));
                  };
                  std::thread one(work);
                  std::thread other(work);
                  one.join();
                  other.join();
                  links.bidi(4, nullptr, 0, nullptr, nullptr);
                  waiting.join();
              }));
    std::set<int> threads;
    for (const auto& line : recorded()) threads.insert(line["thread"].get<int>());
    EXPECT_EQ(4u, threads.size());
    EXPECT_EQ(1002u, recorded().size());
}

TEST_F(RecorderTest, FullDeviceEndsTheRecordingAndNothingElse) {
    const auto limitFiles = [](rlim_t size) {
        const rlimit limit = {size, RLIM_INFINITY};
        return setrlimit(RLIMIT_FSIZE, &limit) == 0;
    };
    // False when this machine does not allow it.
    using Shrink = std::function<bool()>;
    const Shrink limitIsLow = [&] { return limitFiles(kSmallDevice); };
    const Shrink deviceIsTiny = [this] {
        const std::string options = "size=" + std::to_string(kSmallDevice);
        return unshare(CLONE_NEWNS) == 0 &&
               mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               mount("none", (folder / "small").c_str(), "tmpfs", 0, options.c_str()) == 0;
    };
    std::filesystem::create_directory(folder / "small");
    for (const Shrink& shrink : {limitIsLow, deviceIsTiny}) {
        trace = folder / "small/trace";
        const std::string copy = folder / "copy";
        EXPECT_EQ(0, inChild([&](const Links& links) {
                      if (!shrink()) return;
                      for (int i = 0; i < 200; ++i) EXPECT_TRUE(links.reverse(50));
                      limitFiles(RLIM_INFINITY);
                      std::filesystem::copy_file(trace, copy);
                  }));
        if (!std::filesystem::exists(copy)) continue;
        trace = copy;
        const size_t lines = recorded().size();
        EXPECT_TRUE(lines > 30 && lines <= 100) << lines;
        EXPECT_THAT(log(), HasSubstr("the recording ends here"));
        std::filesystem::remove(copy);
        std::filesystem::remove(folder / "log");
    }
}

TEST_F(RecorderTest, WithoutARealLibraryInitialisationSaysWhatToSet) {
    for (const auto& [path, message] : std::vector<std::pair<std::string, std::string>>{
             {"", "there is no function initWlcProto"},
             {"/nonexistent/library.so", "/nonexistent/library.so"},
             {INCOMPLETE_LIBRARY, "there is no function initWlcProto"},
             {RECORDER_FOLDER "/libchargelink.so", "is a recorder itself"}}) {
        real = path;
        EXPECT_EQ(0, inChild([](const Links& links) {
                      EXPECT_EQ(10u, links.bidi(1, nullptr, 0, nullptr, nullptr));
                      EXPECT_NE(0, links.initialise());
                      EXPECT_EQ(5, links.initialiseReverse());
                  }));
        EXPECT_THAT(log(), HasSubstr(message));
        EXPECT_THAT(log(), HasSubstr("set CHARGELINK_REAL"));
        std::filesystem::remove(folder / "log");
    }
}

}  // namespace
}  // namespace virtual_dock::testing
