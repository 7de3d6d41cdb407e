// SPDX-License-Identifier: Apache-2.0
// What the charger and the dock report, reduced to what the interface defines.
#include <android/log.h>
#include <string.h>

#include <atomic>
#include <set>

#include "charger_test.h"
#include "utf8_text.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

using Elements = std::vector<std::pair<uint8_t, std::string>>;

/** A dock's answer of these elements, in the fake's TLV coding. */
Bytes packet(const Elements& elements) {
    Bytes bytes;
    for (const auto& [tag, value] : elements) {
        bytes.push_back(tag);
        bytes.push_back(static_cast<uint8_t>(value.size()));
        bytes.insert(bytes.end(), value.begin(), value.end());
    }
    return bytes;
}
Bytes packetOf(const std::string& name, char flags, const std::string& version) {
    return packet({{0, name + "0"}, {1, name + "1"}, {2, name + "2"}, {3, {flags}}, {4, version}});
}

class InformationTest : public ChargerTest {
  protected:
    int qiSpec() { return ask(&W::getPhoneInformation).qiSpec; }
    DockInfo dock() { return ask(&W::getDockInformation); }
    PowerInfo power() { return ask(&W::getPowerInformation); }
    DockPresent presence() { return ask(&W::isDockPresent); }
    void qiId(const std::string& text) {
        DockInfo dock;
        dock.qiId = text;
        const auto info = WlcInfo::make<WlcInfo::Tag::dockInfo>(dock);
        EXPECT_EQ(errorOf(charger->updateInformation(info)), 0);
    }
    int information(const Bytes& packet, DockInfo* out) {
        fake::answerAll({.bytes = packet});
        return errorOf(charger->getInformation(out));
    }
};

TEST_F(InformationTest, ValuesOutsideTheDefinedSetsAreZero) {
    const auto reduced = [](const std::set<int>& defined, int value) {
        return defined.contains(value) ? value : 0;
    };
    for (int value = -300; value < 0x2300; value++) {
        const auto read = static_cast<uint32_t>(value);
        protocol().values = {{0, read}, {1, read}, {4, read}};
        EXPECT_EQ(qiSpec(),
                  reduced({-1, 0x1200, 0x1201, 0x1300, 0x1301, 0x2003, 0x2102, 0x2203}, value));
        EXPECT_EQ(dock().compatibility, reduced({1, 2, 3, 4, 5, 6, 7, 127, -1, -2}, value));
        EXPECT_EQ(power().limitReason, reduced({2, 3, 4, 5, 6, 7, 8, 10, 11}, value));
    }
}

TEST_F(InformationTest, FailedReadsShowAsDefaultsAndStopNothing) {
    EXPECT_EQ(qiSpec(), 0);
    EXPECT_EQ(dock().compatibility, 0);
    EXPECT_EQ(power(), PowerInfo());
    protocol().values[3] = static_cast<uint32_t>(-5);
    EXPECT_EQ(power(), (PowerInfo{-1, -5, 0}));
}

TEST_F(InformationTest, OverrideReplacesTheChargerUnlessZero) {
    protocol().values = {{0, 0x1301}, {1, 3}, {2, 3}, {3, 3}, {4, 3}};
    shell({"diag.qispec", "0x2003"});
    shell({"diag.compatibility", "127"});
    shell({"diag.maxpower", "0755"});
    shell({"diag.negopower", "-7"});
    shell({"diag.limitreason", "9"});
    EXPECT_EQ(qiSpec(), 0x2003);
    EXPECT_EQ(dock().compatibility, 127);
    EXPECT_EQ(power(), (PowerInfo{493, -7, 0}));
    shell({"diag.qispec", "0x1234"});
    EXPECT_EQ(qiSpec(), 0);
    shell({"diag.qispec", "0"});
    EXPECT_EQ(qiSpec(), 0x1301);
}

TEST_F(InformationTest, PresenceTellsWhichDockItIsAndLogsEachChange) {
    const struct {
        uint32_t identifier;
        int ptmc;
        bool infoSupported;
        int8_t kind, dockClass;
        uint32_t id;
    } kCases[] = {
        {0xA5123456, 0x72, true, 15, 2, 0x123456},
        {0xA5123456, 0x10, false, 15, 2, 0xA5123456},
        {0xA5123456, 0, false, 15, 2, 0xA5123456},
        {0xA0123456, 0, true, 0, 2, 0x123456},
        {0xE0000001, 0, true, 0, 3, 1},
        {0xE0000001, 1, false, 0, 3, 0xE0000001},
        {0x03000001, 0x72, false, 2, 0, 1},
        {0x44000001, 0x10, false, 4, 1, 0x44000001},
        {0x01FFFFFF, 0x10, false, 1, 0, 0x01FFFFFF},
        {0, 0x10, false, 15, 0, 0},
        {0, 0x72, false, 15, 0, 0},
    };
    static std::atomic<int> logged;
    __android_log_set_logger([](const __android_log_message* message) {
        if (strstr(message->message, "dockpresent: ptmc=") != nullptr) logged++;
    });
    for (const auto& [identifier, ptmc, infoSupported, kind, dockClass, id] : kCases) {
        protocol().values = {{7, identifier}, {5, static_cast<uint32_t>(ptmc)}, {8, 77}};
        const DockPresent expected{true, kind, dockClass, infoSupported, static_cast<int>(id),
                                   ptmc, 77};
        logged = 0;
        EXPECT_EQ(presence(), expected);
        EXPECT_EQ(presence(), expected);
        EXPECT_EQ(logged, 1) << std::hex << identifier;
    }
    __android_log_set_logger(__android_log_logd_logger);
    protocol().values = {{7, 0xE0000001}, {8, 77}};  // no ptmc: no product either
    EXPECT_EQ(presence(), (DockPresent{true, 0, 3, true, 1, 0, 0}));
    protocol().values.clear();
    EXPECT_EQ(presence(), DockPresent());
}

TEST_F(InformationTest, AlignmentIsLimited) {
    protocol().alignment = {.status = 7, .subStatus = 200, .value1 = -1, .value2 = 5};
    EXPECT_EQ(ask(&W::getAlignInfo), (AlignInfo{3, -56, -1, 5}));
}

TEST_F(InformationTest, DockInformationFillsTheCacheUntilChargingGoesOff) {
    DockInfo info;
    EXPECT_EQ(information(packetOf("a", 0x23, "\xFF\x02XY"), &info), 0);
    EXPECT_EQ(info, (DockInfo{"a0", "a1", "a2", 0, true, {255, 2, "XY"}, 3, 2, "", "", -1, {}}));
    qiId("12");
    // A version without a name keeps the last one.
    EXPECT_EQ(information(packetOf("", 0x05, "\x03\x04"), &info), 0);
    EXPECT_EQ(info, (DockInfo{"0", "1", "2", 0, false, {3, 4, "XY"}, 1, 15, "12", "", -1, {}}));
    chargingOff();
    info = DockInfo();
    info.compatibility = 0;
    EXPECT_EQ(dock(), info);
}

TEST_F(InformationTest, ClientsGetTheDocksTextsAsValidUtf8) {
    constexpr char kWrong[] = "\xEF\xBF\xBD";
    const std::pair<std::string, int> kCases[] = {
        {"\xC3\xA9\xE0\xA0\x80\xED\x9F\xBF\xF4\x8F\xBF\xBF", 0},
        {"\xE2\x82", 2},
        {"\xC1\x81", 2},
        {"\xED\xA0\x80", 3},
        {"\xE0\x9F\xBF", 3},
        {"\xF4\x90\x80\x80", 4},
        {"\xF0\x8F\x80\x80", 4},
    };
    for (const auto& [sent, wrong] : kCases) {
        std::string text = "a" + sent + "z";
        std::string expected = "a" + (wrong == 0 ? sent : "");
        for (int i = 0; i < wrong; i++) expected += kWrong;
        makeValidUtf8(text);
        EXPECT_EQ(text, expected + "z");
    }
    const std::string bad = std::string("\xFF"), good = kWrong;
    DockInfo info;
    qiId(bad);
    information(packet({{0, bad}, {1, bad}, {2, bad}, {3, {0}}, {4, "\x01\x02" + bad}}), &info);
    EXPECT_EQ(info, (DockInfo{good, good, good, 0, false, {1, 2, good}, 0, 0, good, "", -1, {}}));
    EXPECT_EQ(dock().infoText0, good);
}

TEST_F(InformationTest, FaultyElementStopsTheWalkAndKeepsWhatCameBefore) {
    const Elements whole = {{0, "new"}, {1, ""}, {2, ""}, {3, "f"}, {4, "vv"}};
    const auto expect = [&](const Elements& elements, int error, const char* text0) {
        DockInfo info;
        information(packet({{0, "old"}}), &info);
        EXPECT_EQ(information(packet(elements), &info), error);
        EXPECT_EQ(dock().infoText0, text0);
    };
    expect(whole, 0, "new");
    for (size_t missing = 0; missing < whole.size(); missing++) {
        Elements rest = whole;
        rest.erase(rest.begin() + missing);
        expect(rest, 3, missing == 0 ? "old" : "new");
    }
    for (const auto& [at, value] : {std::pair{3, ""}, {3, "12"}, {4, "1"}}) {
        Elements wrong = whole;
        wrong[at].second = value;
        expect(wrong, 2, "new");
    }
}

TEST_F(InformationTest, QiIdIsHandedOverWhenItIsADecimalNumber) {
    for (const char* id : {"12345", "70000", "", " 7", "010", "-1", "99999999999999999999"}) {
        qiId(id);
    }
    for (const char* id : {"12a", "x", " ", "12 "}) {
        qiId(id);
        EXPECT_EQ(dock().qiId, id);
    }
    const auto other = WlcInfo::make<WlcInfo::Tag::powerInfo>(PowerInfo());
    EXPECT_EQ(errorOf(charger->updateInformation(other)), 0);
    EXPECT_EQ(dock().qiId, "12 ");
    EXPECT_THAT(protocol().qiIds, ElementsAre(12345, 4464, 0, 7, 10, 65535, 65535));
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
