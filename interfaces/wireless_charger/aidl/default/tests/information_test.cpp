// SPDX-License-Identifier: Apache-2.0
// What the charger and the dock report, reduced to what the interface defines.
#include <atomic>

#include "charger_test.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

class InformationTest : public ChargerTest {
  protected:
    int qiSpec() { return ask(&W::getPhoneInformation).qiSpec; }
    DockInfo dock() { return ask(&W::getDockInformation); }
    PowerInfo power() { return ask(&W::getPowerInformation); }
    /** The record is filled before, so that what the method leaves alone shows. */
    DockPresent presence() {
        DockPresent out;
        out.docked = out.getInfoSupported = true;
        out.dockKind = out.dockClass = 1;
        out.id = out.ptmc = out.product = 99;
        EXPECT_EQ(errorOf(charger->isDockPresent(&out)), 0);
        return out;
    }
    void qiId(const std::string& text) {
        DockInfo dock;
        dock.qiId = text;
        WlcInfo info;
        info.set<WlcInfo::Tag::dockInfo>(dock);
        EXPECT_EQ(errorOf(charger->updateInformation(info)), 0);
    }
    int information(const Bytes& packet, DockInfo* out) {
        fake::answerAll({.bytes = packet});
        return errorOf(charger->getInformation(out));
    }
};

TEST_F(InformationTest, ValuesOutsideTheDefinedSetsAreZero) {
    const struct {
        int32_t selector;
        std::function<int()> get;
        std::vector<int> kept, others;
    } kCases[] = {
        {0,
         [&] { return qiSpec(); },
         {-1, 0x1200, 0x1201, 0x1300, 0x1301, 0x2003, 0x2102, 0x2203},
         {-2, 0, 1, 0x11FF, 0x1202, 0x2101, 0x2103, 0x7FFFFFFF}},
        {1,
         [&] { return dock().compatibility; },
         {1, 2, 3, 4, 5, 6, 7, 127, -1, -2},
         {0, 8, 126, 128, 255, 257, -3}},
        {4,
         [&] { return power().limitReason; },
         {2, 3, 4, 5, 6, 7, 8, 10, 11},
         {-1, 0, 1, 9, 12, 258}},
    };
    for (const auto& [selector, get, kept, others] : kCases) {
        const auto with = [&, s = selector, g = get](int value) {
            protocol().values[s] = static_cast<uint32_t>(value);
            return g();
        };
        for (int value : kept) EXPECT_EQ(with(value), value);
        for (int value : others) EXPECT_EQ(with(value), 0) << value;
    }
}

TEST_F(InformationTest, FailedReadsShowAsDefaultsAndStopNothing) {
    EXPECT_EQ(qiSpec(), 0);
    EXPECT_EQ(dock().compatibility, 0);
    EXPECT_EQ(power(), PowerInfo());
    protocol().values[3] = static_cast<uint32_t>(-5);
    EXPECT_EQ(power().maxPower, -1);
    EXPECT_EQ(power().negotiatedPower, -5);
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
    EXPECT_EQ(power().toString(), "PowerInfo{maxPower: 493, negotiatedPower: -7, limitReason: 0}");
    shell({"diag.qispec", "0x1234"});
    EXPECT_EQ(qiSpec(), 0);
    EXPECT_THAT(protocol().selectors, IsEmpty());
    shell({"diag.qispec", "0"});
    EXPECT_EQ(qiSpec(), 0x1301);
}

TEST_F(InformationTest, PresenceTellsWhichDockItIsAndLogsEachChange) {
    const struct {
        uint32_t identifier, ptmc;
        bool infoSupported;
        int kind, dockClass;
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
    for (const auto& row : kCases) {
        protocol().values = {{7, row.identifier}, {5, row.ptmc}, {8, 77}};
        countInLog("dockpresent: ptmc=");
        const DockPresent got = presence();
        EXPECT_EQ(got, presence());
        EXPECT_EQ(countedInLog(), 1) << std::hex << row.identifier;
        EXPECT_TRUE(got.docked);
        EXPECT_EQ(got.getInfoSupported, row.infoSupported) << std::hex << row.identifier;
        EXPECT_EQ(got.dockKind, row.kind);
        EXPECT_EQ(got.dockClass, row.dockClass);
        EXPECT_EQ(static_cast<uint32_t>(got.id), row.id);
        EXPECT_EQ(static_cast<uint32_t>(got.ptmc), row.ptmc);
        EXPECT_EQ(got.product, 77);
    }
}

TEST_F(InformationTest, PresenceWithoutReadableValues) {
    countInLog("dockpresent: ptmc=");
    EXPECT_EQ(presence(), DockPresent());
    EXPECT_EQ(countedInLog(), 0);
    EXPECT_THAT(protocol().selectors, ElementsAre(7));

    protocol().values = {{7, 0xE0000001}, {8, 77}};
    const DockPresent got = presence();  // no ptmc: the product is not read
    EXPECT_EQ(got.ptmc, 0);
    EXPECT_EQ(got.product, 0);
    EXPECT_EQ(got.id, 1);
    EXPECT_THAT(protocol().selectors, ElementsAre(7, 7, 5));
}

TEST_F(InformationTest, AlignmentIsLimitedAlsoOnFailure) {
    protocol().alignment = {.status = 7, .subStatus = 200, .value1 = -1, .value2 = 5};
    EXPECT_EQ(ask(&W::getAlignInfo).toString(),
              "AlignInfo{status: 3, subStatus: -56, value1: -1, value2: 5}");
    AlignInfo info;
    protocol().alignment = {.result = 6, .status = 2};
    EXPECT_EQ(errorOf(charger->getAlignInfo(&info)), 4);
    EXPECT_EQ(info.status, 2);
}

TEST_F(InformationTest, FeaturesPassThroughUnchanged) {
    const auto all = static_cast<WirelessChargerFeature>(-1);
    EXPECT_EQ(errorOf(charger->setFeatures(1LL << 40, all)), 0);
    WirelessChargerFeature got = ask(&W::getFeatures, 1LL << 40);
    EXPECT_EQ(got, all);
    protocol().simpleResult = 12;
    EXPECT_EQ(errorOf(charger->getFeatures(1LL << 40, &got)), 10);
    EXPECT_EQ(got, WirelessChargerFeature::NONE);
    EXPECT_EQ(errorOf(charger->setFeatures(0, all)), 10);
}

// Elements of the fake's TLV coding.
Bytes element(uint8_t tag, const Bytes& value) {
    Bytes bytes{tag, static_cast<uint8_t>(value.size())};
    bytes.insert(bytes.end(), value.begin(), value.end());
    return bytes;
}
Bytes text(const std::string& value) {
    return Bytes(value.begin(), value.end());
}
Bytes packet(const std::vector<Bytes>& elements) {
    Bytes bytes;
    for (const Bytes& e : elements) bytes.insert(bytes.end(), e.begin(), e.end());
    return bytes;
}
Bytes packetOf(const std::string& name, uint8_t flags, const Bytes& version) {
    return packet({element(0, text(name + "0")), element(1, text(name + "1")),
                   element(2, text(name + "2")), element(3, {flags}), element(4, version)});
}

TEST_F(InformationTest, DockInformationFillsTheCacheUntilChargingGoesOff) {
    DockInfo info;
    EXPECT_EQ(information(packetOf("a", 0x23, hex("FF 02 41 42")), &info), 0);
    DockInfo expected;
    expected.infoText0 = "a0";
    expected.infoText1 = "a1";
    expected.infoText2 = "a2";
    expected.getInfoSupported = true;
    expected.dockKind = 2;
    expected.flagBits = 3;
    expected.firmwareVersion = {255, 2, "AB"};
    EXPECT_EQ(info, expected);
    qiId("12");

    // A version without a name keeps the last one.
    EXPECT_EQ(information(packetOf("", 0x05, hex("03 04")), &info), 0);
    expected.infoText0 = "0";
    expected.infoText1 = "1";
    expected.infoText2 = "2";
    expected.getInfoSupported = false;
    expected.dockKind = 15;
    expected.flagBits = 1;
    expected.firmwareVersion = {3, 4, "AB"};
    expected.qiId = "12";
    EXPECT_EQ(info, expected);

    chargingOff();
    expected = DockInfo();
    expected.compatibility = 0;
    EXPECT_EQ(dock(), expected);
}

TEST_F(InformationTest, ClientsGetTheDocksTextsAsValidUtf8) {
    const struct {
        const char* sent;
        const char* read;  // '?' stands for U+FFFD
    } kCases[] = {
        {"ab\xFF", "ab?"},
        {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x94\x8B", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x94\x8B"},
        {"\xC3", "?"},
        {"\xC1\x81z", "??z"},
        {"\xED\xA0\x80", "???"},
        {"\xE0\x9F\xBF", "???"},
        {"\xF4\x90\x80\x80", "????"},
        {"\xF0\x8F\x80\x80", "????"},
    };
    for (const auto& [sent, read] : kCases) {
        std::string expected;
        for (const char* c = read; *c != '\0'; c++) {
            expected += *c == '?' ? std::string("\xEF\xBF\xBD") : std::string(1, *c);
        }
        const Bytes bytes = text(sent);
        DockInfo info;
        information(packet({element(0, bytes), element(1, bytes), element(2, bytes),
                            element(3, {0}), element(4, packet({{1, 2}, bytes}))}),
                    &info);
        for (const DockInfo& got : {info, dock()}) {
            EXPECT_EQ(got.infoText0, expected);
            EXPECT_EQ(got.infoText1, expected);
            EXPECT_EQ(got.infoText2, expected);
            EXPECT_EQ(got.firmwareVersion.name, expected);
        }
    }
}

TEST_F(InformationTest, FaultyElementStopsTheWalkAndKeepsWhatCameBefore) {
    const Bytes t0 = element(0, text("new")), t1 = element(1, {}), t2 = element(2, {});
    const Bytes flags = element(3, {0}), version = element(4, {1, 2});
    const struct {
        Bytes bytes;
        int error;
        const char* text0;
    } kCases[] = {
        {packet({t1, t2, flags, version}), 3, "old"},
        {packet({t0, t2, flags, version}), 3, "new"},
        {packet({t0, t1, flags, version}), 3, "new"},
        {packet({t0, t1, t2, version}), 3, "new"},
        {packet({t0, t1, t2, flags}), 3, "new"},
        {packet({t0, t1, t2, element(3, {}), version}), 2, "new"},
        {packet({t0, t1, t2, element(3, {1, 2}), version}), 2, "new"},
        {packet({t0, t1, t2, flags, element(4, {1})}), 2, "new"},
        {packet({t0, t1, t2, flags, version}), 0, "new"},
        {packet({t0, {1, 200}}), 2, "new"},
    };
    for (const auto& [bytes, error, text0] : kCases) {
        DockInfo info;
        information(packet({element(0, text("old"))}), &info);
        EXPECT_EQ(information(bytes, &info), error);
        EXPECT_EQ(dock().infoText0, text0);
    }
}

TEST_F(InformationTest, DockInformationCutAtEveryLengthFails) {
    const Bytes whole = packetOf("abc", 0x21, Bytes(200, 'v'));
    DockInfo info;
    for (size_t length = 0; length < whole.size(); length++) {
        EXPECT_NE(information(Bytes(whole.begin(), whole.begin() + length), &info), 0) << length;
    }
    fake::answerAll({.bytes = whole, .claimedLength = 100000});
    EXPECT_EQ(ask(&W::getInformation).firmwareVersion.name.size(), 198u);
}

// Two docks take turns; whoever reads meanwhile sees one of them or none, never a mixture. What
// anything here leaves unlocked the thread sanitizer reports.
TEST_F(InformationTest, ConcurrentReadersSeeWholeRecords) {
    std::atomic<int> turn = 0;
    protocol().answer = [&](const Sent&) {
        const char* name = turn++ % 2 ? "a dock with long texts, not kept in place " : "b";
        return fake::Answer{.bytes = packetOf(name, 0, text(std::string("12") + name))};
    };
    const auto write = [&] { ask(&W::getInformation); };
    const auto read = [&] {
        const DockInfo info = dock();
        if (info.infoText0.empty()) return;
        const std::string name = info.infoText0.substr(0, info.infoText0.size() - 1);
        EXPECT_EQ(info.infoText2, name + "2");
        EXPECT_EQ(info.firmwareVersion.name, name);
    };
    const auto override = [&] { shell({"diag.maxpower", "1"}); };
    runAtOnce(300, {write, write, read, read, override, [&] { power(); }, [&] { chargingOff(); }});
}

TEST_F(InformationTest, QiIdIsHandedOverWhenItIsADecimalNumber) {
    for (const char* id : {"12345", "70000", "", " 7", "010", "-1", "99999999999999999999"}) {
        qiId(id);
    }
    EXPECT_THAT(protocol().qiIds, ElementsAre(12345, 4464, 0, 7, 10, 65535, 65535));
    for (const char* id : {"12a", "x", " ", "12 "}) {
        qiId(id);
        EXPECT_EQ(dock().qiId, id);
    }
    WlcInfo other;
    other.set<WlcInfo::Tag::powerInfo>(PowerInfo());
    EXPECT_EQ(errorOf(charger->updateInformation(other)), 0);
    EXPECT_EQ(dock().qiId, "12 ");
    EXPECT_EQ(protocol().qiIds.size(), 7u);
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
