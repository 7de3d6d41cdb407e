// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

// Gives each test an empty folder of its own and makes a folder in it, not there yet, the run-time
// folder.
class TemporaryRuntime : public testing::Test {
  protected:
    TemporaryRuntime() {
        std::string name = testing::TempDir() + "runtime-XXXXXX";
        EXPECT_NE(nullptr, mkdtemp(name.data()));
        mBase = name;
        mDir = mBase + "/host";
        setenv("ANDROID_HOST_DIR", mDir.c_str(), 1);
    }
    ~TemporaryRuntime() override {
        unsetenv("ANDROID_HOST_DIR");
        std::error_code ignored;
        std::filesystem::remove_all(mBase, ignored);
    }

    std::string mBase;
    std::string mDir;
};
