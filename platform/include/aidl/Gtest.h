// SPDX-License-Identifier: Apache-2.0
//
// Stands in for the header of the same name in Android's VINTF test helpers. The names that it
// makes differ in form from the platform's; they are unique and valid, and nothing else is promised
// of them there either.
#pragma once

#include <ctype.h>
#include <gtest/gtest.h>

#include <string>

namespace android {

// Names the tests of one instance: its place in the list and its letters and digits.
inline std::string PrintInstanceNameToString(const testing::TestParamInfo<std::string>& info) {
    std::string name = std::to_string(info.index) + "_" + info.param;
    for (char& c : name) {
        if (isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
    }
    return name;
}

}  // namespace android
