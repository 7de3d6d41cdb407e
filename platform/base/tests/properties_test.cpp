// SPDX-License-Identifier: Apache-2.0
#include <android-base/properties.h>
#include <host/property_list.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "temporary_runtime.h"

namespace {

using namespace android::base;
using android::host::listProperties;
using android::host::setProperty;

class PropertiesTest : public TemporaryRuntime {
  protected:
    // Also whether the value is there afterwards; when refused, the former one has to be.
    static bool set(const std::string& name, const std::string& value) {
        const std::string former = GetProperty(name, "none");
        std::string error;
        const bool done = setProperty(name, value, &error);
        EXPECT_EQ(done, error.empty()) << error;
        EXPECT_EQ(done ? value : former, GetProperty(name, "none"));
        return done;
    }
    // The names of all properties, each followed by a space.
    static std::string names() {
        std::vector<std::pair<std::string, std::string>> all;
        std::string text;
        EXPECT_TRUE(listProperties(&all, &text)) << text;
        for (const auto& [name, value] : all) text += name + " ";
        return text;
    }
};

TEST_F(PropertiesTest, NamesAreCheckedBeforeAnyFileIsTouched) {
    const std::string longest(247, 'n');
    EXPECT_TRUE(set("A-b@c:d_e.9", "v"));
    EXPECT_TRUE(set(longest, "v"));
    const std::vector<std::string> kBad = {"",     ".",        ".a",          "a.",
                                           "a..b", "../x",     "a/b",         "a b",
                                           "a\n",  "\xc3\xa9", longest + "n", {'a', '\0', 'b'}};
    for (const std::string& name : kBad) EXPECT_FALSE(set(name, "v")) << name;
    EXPECT_EQ("A-b@c:d_e.9 " + longest + " ", names());
}

TEST_F(PropertiesTest, ValuesAreLimitedInLengthAndContentAndReadOnlyOnesAreSetOnce) {
    const struct {
        const char* name;
        std::string value;
        bool fits;
    } kCases[] = {
        {"p", std::string(91, 'v'), true},
        {"p", std::string(92, 'v'), false},
        {"ro.fits", std::string(65535, 'v'), true},
        {"ro.fits", "again", false},
        {"ro.not", std::string(65536, 'v'), false},
        {"p", std::string("a\0b", 3), false},
        {"p", "\xff", false},
        {"p", "é € 😀", true},
    };
    for (const auto& item : kCases) {
        EXPECT_EQ(item.fits, set(item.name, item.value)) << item.value.substr(0, 20);
    }
    ASSERT_TRUE(SetProperty("p", ""));
    EXPECT_EQ("default", GetProperty("p", "default"));
}

TEST_F(PropertiesTest, ReaderSeesOneWholeValueOrTheOther) {
    ASSERT_TRUE(SetProperty("p", "former"));
    std::ifstream opened(mDir + "/properties/p");
    ASSERT_TRUE(SetProperty("p", "latter"));
    EXPECT_EQ("former", std::string(std::istreambuf_iterator<char>(opened), {}));
    EXPECT_EQ("p ", names());
}

TEST_F(PropertiesTest, WhatIsNoFileIsNoProperty) {
    ASSERT_TRUE(SetProperty("good", "1"));
    const std::string folder = mDir + "/properties/";
    ASSERT_EQ(0, mkfifo((folder + "fifo").c_str(), 0600));
    ASSERT_EQ(0, symlink("/etc/passwd", (folder + "link").c_str()));
    std::ofstream(folder + "huge") << std::string(70000, 'x');
    for (const char* name : {"fifo", "link", "huge"}) EXPECT_EQ("no", GetProperty(name, "no"));
    EXPECT_EQ("good ", names());
}

}  // namespace
