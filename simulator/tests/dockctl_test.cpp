// SPDX-License-Identifier: Apache-2.0
//
// dockctl as a process, against a dock of the test's own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <testing/process.h>

#include <nlohmann/json.hpp>

#include "served_dock.h"

namespace virtual_dock::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

using test_support::Outcome;

class DockctlTest : public ::testing::Test {
  protected:
    // `arguments` as a shell would get them.
    Outcome dockctl(const std::string& arguments, const std::string& folder = {}) {
        const std::string command = "ANDROID_HOST_DIR='" +
                                    (folder.empty() ? served.folder.path() : folder) +
                                    "' '" DOCKCTL_PATH "' " + arguments;
        return test_support::run({"/bin/sh", "-c", command});
    }

    ServedDock served;
};

TEST_F(DockctlTest, ExitCodesTellWhatHappened) {
    EXPECT_EQ(dockctl("fan-level 5").exitStatus, 0);
    for (size_t i = 0; i < Faults::kMaxFaults; ++i) {
        Fault fault{
            Operation::kGetWlcInfo, static_cast<int32_t>(i), Fault::Kind::kFail, 1, 0, {}, {}};
        ASSERT_TRUE(served.dock.withFaults([&](Faults& faults) { return faults.set(fault); }));
    }
    EXPECT_EQ(dockctl("fail setQiId 3").exitStatus, 1);
    EXPECT_EQ(dockctl("fan-level").exitStatus, 2);
    EXPECT_EQ(dockctl("fan-level many").exitStatus, 2);
    EXPECT_EQ(dockctl("--nonsense status").exitStatus, 2);
    EXPECT_EQ(dockctl("").exitStatus, 2);
    EXPECT_EQ(dockctl("--help").exitStatus, 0);
    EXPECT_EQ(dockctl("status", "/nonexistent/nowhere").exitStatus, 3);
    const Outcome none = dockctl("status", served.folder / "other");
    EXPECT_EQ(none.exitStatus, 3);
    EXPECT_THAT(none.err, HasSubstr("no virtual dock at"));
}

TEST_F(DockctlTest, JsonIsAllThatStandsOnStandardOutput) {
    for (const char* arguments : {"--json status", "--json fan-level 3", "--json fan-level x",
                                  "--json keys", "--json statsu", "--json fan-level"}) {
        const Outcome run = dockctl(arguments);
        const auto reply = nlohmann::json::parse(run.out, nullptr, false);
        ASSERT_TRUE(reply.is_object()) << arguments << ": " << run.out;
        EXPECT_EQ(reply["ok"].get<bool>(), run.exitStatus == 0) << arguments;
        EXPECT_THAT(run.err, IsEmpty()) << arguments;
    }
    const Outcome none = dockctl("--json status", served.folder / "other");
    EXPECT_EQ(nlohmann::json::parse(none.out)["kind"], "no-dock");
}

TEST_F(DockctlTest, OutputThatIsNotTakenIsAnError) {
    for (const char* arguments : {"status", "--json status", "keys", "--help"}) {
        const Outcome run = dockctl(std::string(arguments) + " >/dev/full");
        EXPECT_EQ(run.exitStatus, 1) << arguments;
        EXPECT_THAT(run.err, HasSubstr("cannot write to standard output"));
    }
}

TEST_F(DockctlTest, NegativeNumbersAreArguments) {
    EXPECT_EQ(dockctl("align 1 0 -5 -7").exitStatus, 0);
    EXPECT_EQ(dockctl("temperature -10 -128").exitStatus, 0);
    EXPECT_EQ(dockctl("place --id -2").exitStatus, 0);
    served.dock.withModel([](DockModel& model, int64_t) {
        EXPECT_EQ(model.charger.alignment.value1, -5);
        EXPECT_EQ(model.charger.alignment.value2, -7);
        EXPECT_EQ(model.charger.puckTemperature, -128);
        EXPECT_EQ(model.charger.dockId, 0xFFFFFFFE);
    });
}

TEST_F(DockctlTest, AwkwardTextsReachTheLibrary) {
    EXPECT_EQ(dockctl("rtx text 6 '4999\\n'").exitStatus, 0);
    char area[20] = {};
    EXPECT_EQ(served.dock.rtxRequest(6, area), kOk);
    EXPECT_STREQ(area, "4999\n");
    EXPECT_EQ(dockctl("rtx text 6 '\\xff\\x00 \"%'").exitStatus, 0);
    EXPECT_EQ(served.dock.rtxRequest(6, area), kOk);
    EXPECT_EQ(std::string(area, 5), std::string("\xff\0 \"%", 5));
    EXPECT_EQ(dockctl("rtx text 6 none").exitStatus, 0);
    EXPECT_EQ(served.dock.rtxRequest(6, area), kOk);
    EXPECT_STREQ(area, "0");
    EXPECT_EQ(dockctl("rtx text 6 '\\q'").exitStatus, 2);
    EXPECT_EQ(dockctl("rtx text 11 x").exitStatus, 2);
}

TEST_F(DockctlTest, LogShowsMeaningAndBytes) {
    const uint8_t request[] = {0x0F, 0x0B, 0x50, 0x01};
    served.dock.request(Operation::kBidiRequest, 12, request, nullptr, nullptr, 0);
    const Outcome run = dockctl("log");
    EXPECT_THAT(run.out, HasSubstr("sendBidiRequest:12  set fan 3 manual, level 336 -> ok: valid"));
    EXPECT_THAT(run.out, HasSubstr("sent  0f 0b 50 01\n"));
    const auto entry = nlohmann::json::parse(dockctl("--json log").out);
    EXPECT_EQ(entry["request"], "0f0b5001");
    EXPECT_EQ(entry["meaning"], "set fan 3 manual, level 336");
}

// Whatever a service may send and the dock be told to answer, the decoder gets through it.
TEST_F(DockctlTest, LogOfAnyBytesIsDecoded) {
    setenv("ANDROID_HOST_UEVENT_SOCKET", (served.folder / "nobody").c_str(), 1);
    const struct {
        Operation operation;
        std::vector<int32_t> types;
    } kRequests[] = {{Operation::kBidiRequest, {0, 12, 16, 18, 24, 25, 26, 27, 28, 29, 30, -1}},
                     {Operation::kPropRequest, {14, 23, 24, 25, 26, 27, 28, 29, 30, 31}},
                     {Operation::kWpcAuthRequest, {25, 26, 27}}};
    const std::vector<uint8_t> bytes = {0x1A, 0xFF, 0x03, 0x80, 0x01, 0xC0, 0x00, 0x7F, 0xFE, 0x0A};
    for (const auto& each : kRequests) {
        for (const int32_t type : each.types) {
            for (size_t length : {size_t{0}, size_t{1}, bytes.size()}) {
                Fault fault{each.operation, type, Fault::Kind::kAnswer, 0, 0, {}, {}};
                fault.answer.assign(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(length));
                served.dock.withFaults([&](Faults& faults) { return faults.set(fault); });
                served.dock.request(each.operation, type, Bytes(bytes.data(), length), nullptr,
                                    nullptr, 0);
            }
        }
        served.dock.reset();
    }
    const Outcome run = dockctl("log");
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("get certificate, slot 3, offset 1795, length 1920"));
}

}  // namespace
}  // namespace virtual_dock::testing
