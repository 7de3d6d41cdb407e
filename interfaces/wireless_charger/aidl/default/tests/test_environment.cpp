// SPDX-License-Identifier: Apache-2.0
// Every test program of the service gets a run-time folder of its own (which means nothing on a
// phone), and hands its event threads their sockets itself.
#include "test_environment.h"

#include <cutils/uevent.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/socket.h>

#include <atomic>
#include <filesystem>
#include <string>

namespace {

std::atomic<int> nextUeventSocket = -1;

class HostFolder : public testing::Environment {
  public:
    void SetUp() override {
        ASSERT_NE(mkdtemp(mFolder.data()), nullptr);
        ASSERT_EQ(setenv("ANDROID_HOST_DIR", mFolder.c_str(), 1), 0);
    }
    void TearDown() override { std::filesystem::remove_all(mFolder); }

  private:
    std::string mFolder = testing::TempDir() + "charger-XXXXXX";
};

[[maybe_unused]] const auto* const kHostFolder = testing::AddGlobalTestEnvironment(new HostFolder);

}  // namespace

void giveUeventSocket(int fd) {
    nextUeventSocket = fd;
}

// In the place of libcutils' functions, here as on a phone.
int uevent_open_socket(int /*bufferSize*/, bool /*passcred*/) {
    return nextUeventSocket.exchange(-1);
}

ssize_t uevent_kernel_multicast_recv(int fd, void* buffer, size_t length) {
    return recv(fd, buffer, length, 0);
}
