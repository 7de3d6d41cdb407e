// SPDX-License-Identifier: Apache-2.0
#include <android-base/properties.h>
#include <gmock/gmock.h>
#include <host/property_list.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <thread>
#include <vector>

#include "temporary_runtime.h"

namespace {

using namespace android::base;
using android::host::listProperties;
using android::host::setProperty;
using testing::ElementsAre;
using testing::Pair;

class PropertiesTest : public TemporaryRuntime {
  protected:
    static bool set(const std::string& name, const std::string& value) {
        std::string error;
        const bool done = setProperty(name, value, &error);
        EXPECT_EQ(done, error.empty()) << error;
        return done;
    }
    static std::vector<std::pair<std::string, std::string>> list() {
        std::vector<std::pair<std::string, std::string>> all;
        std::string error;
        EXPECT_TRUE(listProperties(&all, &error)) << error;
        return all;
    }
};

TEST_F(PropertiesTest, ValueIsTheWholeFileAndReplacesTheFormer) {
    ASSERT_TRUE(SetProperty("vendor.wlcservice.start", "1"));
    std::ifstream file(mDir + "/properties/vendor.wlcservice.start");
    EXPECT_EQ("1", std::string(std::istreambuf_iterator<char>(file), {}));
    ASSERT_TRUE(SetProperty("vendor.wlcservice.start", ""));
    EXPECT_EQ("default", GetProperty("vendor.wlcservice.start", "default"));
}

TEST_F(PropertiesTest, NamesAreCheckedBeforeAnyFileIsTouched) {
    const std::string longest(247, 'n');
    for (const std::string& name : std::vector<std::string>{"A-b@c:d_e.9", longest}) {
        EXPECT_TRUE(set(name, "v")) << name;
        EXPECT_EQ("v", GetProperty(name, ""));
    }
    const std::vector<std::string> kBad = {"",     ".",        ".a",          "a.",
                                           "a..b", "../x",     "a/b",         "a b",
                                           "a\n",  "\xc3\xa9", longest + "n", {'a', '\0', 'b'}};
    for (const std::string& name : kBad) {
        EXPECT_FALSE(set(name, "v")) << name;
        EXPECT_EQ("fallback", GetProperty(name, "fallback"));
    }
}

TEST_F(PropertiesTest, ValuesAreLimitedInLengthAndContent) {
    const struct {
        const char* name;
        std::string value;
        bool fits;
    } kCases[] = {
        {"p", std::string(91, 'v'), true},
        {"p", std::string(92, 'v'), false},
        {"ro.fits", std::string(65535, 'v'), true},
        {"ro.not", std::string(65536, 'v'), false},
        {"p", "é € 😀", true},
        {"p", std::string("a\0b", 3), false},
        {"p", "\xff", false},
    };
    for (const auto& item : kCases) {
        const std::string former = GetProperty(item.name, "");
        EXPECT_EQ(item.fits, set(item.name, item.value)) << item.value.substr(0, 20);
        EXPECT_EQ(item.fits ? item.value : former, GetProperty(item.name, ""));
    }
}

TEST_F(PropertiesTest, ReadOnlyPropertyIsSetOnce) {
    EXPECT_TRUE(set("ro.once", "first"));
    EXPECT_FALSE(set("ro.once", "second"));
    EXPECT_EQ("first", GetProperty("ro.once", ""));
}

TEST_F(PropertiesTest, ReaderSeesOneWholeValueOrTheOther) {
    const std::string shorter(10, 'a');
    const std::string longer(91, 'b');
    ASSERT_TRUE(SetProperty("p", shorter));
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 0; i < 500; ++i) EXPECT_TRUE(SetProperty("p", i % 2 == 0 ? longer : shorter));
        done = true;
    });
    while (!done) {
        const std::string value = GetProperty("p", "none");
        EXPECT_TRUE(value == shorter || value == longer) << value;
    }
    writer.join();
    EXPECT_THAT(list(), ElementsAre(Pair("p", shorter)));
}

TEST_F(PropertiesTest, WhatIsNoFileIsNoProperty) {
    ASSERT_TRUE(SetProperty("good", "1"));
    const std::string folder = mDir + "/properties/";
    ASSERT_EQ(0, mkfifo((folder + "fifo").c_str(), 0600));
    ASSERT_EQ(0, symlink("/etc/passwd", (folder + "link").c_str()));
    std::ofstream(folder + "huge") << std::string(70000, 'x');
    for (const char* name : {"fifo", "link", "huge"}) {
        EXPECT_EQ("none", GetProperty(name, "none")) << name;
    }
    EXPECT_THAT(list(), ElementsAre(Pair("good", "1")));
}

}  // namespace
