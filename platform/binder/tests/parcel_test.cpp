// SPDX-License-Identifier: Apache-2.0
#include "parcel.h"

#include <android/binder_auto_utils.h>
#include <android/binder_parcel_utils.h>
#include <gtest/gtest.h>

#include "raw_peer.h"
#include "utf.h"
#include "vintf.h"

namespace android::host::test {
namespace {

TEST(ParcelTest, StatusHeaderCutAnywhereFails) {
    const Bytes whole = hex("f8ffffff 01000000 6e00 0000 00000000 2a000000");
    for (size_t length = 0; length <= whole.size(); ++length) {
        AParcel parcel;
        ASSERT_EQ(STATUS_OK, AParcel_unmarshal(&parcel, whole.data(), length));
        ndk::ScopedAStatus status;
        const bool read = AParcel_readStatusHeader(&parcel, status.getR()) == STATUS_OK;
        EXPECT_EQ(read, length == whole.size()) << "cut at " << length;
    }
}

TEST(UtfTest, TextsCrossOverAndBrokenOnesGetReplacements) {
    struct Row {
        std::string utf8;
        std::string utf16;
        std::string back;
    };
    const Row rows[] = {
        {"", "", ""},
        {"a\xc3\xa9", "6100e900", "a\xc3\xa9"},
        {"\xe2\x82\xac", "ac20", "\xe2\x82\xac"},
        {"\xf0\x9f\x94\x8b", "3dd80bdd", "\xf0\x9f\x94\x8b"},
        {"\xff.", "fdff2e00", "\xef\xbf\xbd."},
        {"\xc0\x80", "fdfffdff", "\xef\xbf\xbd\xef\xbf\xbd"},
        {"\xed\xa0\x80", "fdfffdfffdff", "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
        {"\xe2\x82", "fdfffdff", "\xef\xbf\xbd\xef\xbf\xbd"},
        {"12345678\xff", "31003200330034003500360037003800fdff", "12345678\xef\xbf\xbd"},
        {"\xf4\x90\x80\x80", "fdfffdfffdfffdff",
         "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
    };
    for (const Row& row : rows) {
        Bytes units(utf16Length(row.utf8) * 2);
        toUtf16(row.utf8, units.data());
        EXPECT_EQ(row.utf16, toHex(units));
        EXPECT_EQ(row.back, toUtf8String(units.data(), units.size() / 2));
        // What an interface sends is not changed on the way: it arrives as it is, or not at all.
        const bool isValid = row.back == row.utf8;
        const binder_status_t expected = isValid ? STATUS_OK : STATUS_BAD_VALUE;
        AParcel parcel;
        EXPECT_EQ(expected, ndk::AParcel_writeData(&parcel, row.utf8)) << row.utf16;
        AParcel answer;
        ndk::ScopedAStatus status =
            ndk::ScopedAStatus::fromServiceSpecificErrorWithMessage(4, row.utf8.c_str());
        ASSERT_EQ(STATUS_OK, AParcel_writeStatusHeader(&answer, status.get()));
        ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(&answer, 0));
        status.set(nullptr);
        ASSERT_EQ(STATUS_OK, AParcel_readStatusHeader(&answer, status.getR()));
        EXPECT_EQ(4, status.getServiceSpecificError());
        EXPECT_EQ(isValid ? row.utf8 : "", status.getMessage());
    }
    for (const char* lone : {"3dd8", "0bdd", "3dd83dd8", "0bdd3dd8"}) {
        Bytes units = hex(lone);
        std::string text = toUtf8String(units.data(), units.size() / 2);
        EXPECT_EQ(units.size() / 2 * 3, text.size()) << lone;
        EXPECT_TRUE(text.starts_with("\xef\xbf\xbd")) << lone;
    }
}

TEST(VintfTest, InstancesAreFoundInBothFormsAndNothingElseIs) {
    constexpr char kFragment[] = R"(<manifest version="1.0" type="device">
        <hal format="aidl"><name>vendor.a</name><version>8</version>
            <fqname>IThing/default</fqname></hal>
        <hal format="aidl"><name>vendor.b</name>
            <interface><name>IOther</name><instance>one</instance><instance>two</instance></interface>
        </hal></manifest>)";
    EXPECT_TRUE(declares(kFragment, "vendor.a.IThing/default"));
    EXPECT_TRUE(declares(kFragment, "vendor.b.IOther/two"));
    EXPECT_FALSE(declares(kFragment, "vendor.b.IThing/default"));
    EXPECT_FALSE(declares(kFragment, "vendor.a.IThing/other"));
    std::string_view fragment = kFragment;
    for (size_t length = 0; length < 150; ++length) {
        EXPECT_FALSE(declares(fragment.substr(0, length), "vendor.a.IThing/default"));
    }
}

}  // namespace
}  // namespace android::host::test
