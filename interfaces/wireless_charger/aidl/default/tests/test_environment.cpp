// SPDX-License-Identifier: Apache-2.0
// Every test program of the service gets a run-time folder of its own, and event threads that end
// at once because their socket cannot be opened: a test may then destroy the service it made.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

namespace {

class HostFolder : public testing::Environment {
  public:
    void SetUp() override {
        ASSERT_NE(mkdtemp(mFolder.data()), nullptr);
        ASSERT_EQ(setenv("ANDROID_HOST_DIR", mFolder.c_str(), 1), 0);
        const std::string socket = mFolder + "/no-such-folder/uevent";
        ASSERT_EQ(setenv("ANDROID_HOST_UEVENT_SOCKET", socket.c_str(), 1), 0);
    }
    void TearDown() override { std::filesystem::remove_all(mFolder); }

  private:
    std::string mFolder = testing::TempDir() + "charger-XXXXXX";
};

[[maybe_unused]] const auto* const kHostFolder = testing::AddGlobalTestEnvironment(new HostFolder);

}  // namespace
