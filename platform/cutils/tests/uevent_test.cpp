// SPDX-License-Identifier: Apache-2.0
#include <android-base/unique_fd.h>
#include <cutils/uevent.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "../../base/tests/temporary_runtime.h"

namespace {

using android::base::unique_fd;

constexpr int kBufferSize = 65536;
constexpr char kVariable[] = "ANDROID_HOST_UEVENT_SOCKET";

class UeventTest : public TemporaryRuntime {
  protected:
    UeventTest() { setenv(kVariable, mPath.c_str(), 1); }
    ~UeventTest() override { unsetenv(kVariable); }

    // The receiver's socket, closed when the test ends.
    int open(bool passCredentials = true) {
        mReceiver.reset(uevent_open_socket(kBufferSize, passCredentials));
        return mReceiver.get();
    }
    static void expectRefusal(int error) {
        EXPECT_EQ(-1, uevent_open_socket(kBufferSize, true));
        EXPECT_EQ(error, errno);
    }

    // Sends `text` with a descriptor that nobody asked for.
    bool send(std::string text) const {
        const unique_fd sender(socket(PF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        sockaddr_un to = {};
        to.sun_family = AF_UNIX;
        mPath.copy(to.sun_path, sizeof(to.sun_path) - 1);
        iovec area = {text.data(), text.size()};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
        msghdr message = {&to, sizeof(to), &area, 1, control, sizeof(control), 0};
        cmsghdr* const item = CMSG_FIRSTHDR(&message);
        item->cmsg_level = SOL_SOCKET;
        item->cmsg_type = SCM_RIGHTS;
        item->cmsg_len = CMSG_LEN(sizeof(int));
        const int attached = sender;
        memcpy(CMSG_DATA(item), &attached, sizeof(int));
        return sendmsg(sender, &message, 0) == static_cast<ssize_t>(text.size());
    }

    // The next message; "refused" for one that was refused and cleared.
    std::string receive() const {
        std::string buffer(2048, '#');
        const ssize_t size =
            uevent_kernel_multicast_recv(mReceiver.get(), buffer.data(), buffer.size());
        if (size >= 0) return buffer.substr(0, static_cast<size_t>(size));
        EXPECT_EQ(EIO, errno);
        return buffer == std::string(buffer.size(), '\0') ? "refused" : buffer;
    }

    const std::string mPath = mBase + "/uevent";
    unique_fd mReceiver;
};

TEST_F(UeventTest, SocketsOfBothKindsAreReadyForUse) {
    for (const bool fromKernel : {false, true}) {
        if (fromKernel) unsetenv(kVariable);
        ASSERT_GE(open(), 0) << strerror(errno);
        EXPECT_EQ(FD_CLOEXEC, fcntl(mReceiver.get(), F_GETFD));
        int bytes = 0;
        socklen_t size = sizeof(bytes);
        ASSERT_EQ(0, getsockopt(mReceiver.get(), SOL_SOCKET, SO_RCVBUF, &bytes, &size));
        EXPECT_GE(bytes, kBufferSize);
    }
    struct stat info = {};
    ASSERT_EQ(0, stat(mPath.c_str(), &info));
    EXPECT_EQ(mode_t{0600}, info.st_mode & 07777);
}

TEST_F(UeventTest, MessageOfTheSameUserCountsAsTheKernelsAndIsCutToTheBuffer) {
    ASSERT_GE(open(), 0);
    const auto descriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    const auto before = descriptors();
    for (const size_t size : {0, 1, 2047, 2048, 2049, 8000}) {
        const std::string text = std::string("\0SOURCE", 7).append(8000, 'u').substr(0, size);
        ASSERT_TRUE(send(text));
        EXPECT_EQ(text.substr(0, 2048), receive());
    }
    EXPECT_EQ(before, descriptors()) << "an attached one was taken";
}

TEST_F(UeventTest, MessageOfAnotherUserOrWithoutCredentialsIsRefusedAndCleared) {
    ASSERT_GE(open(false), 0);
    ASSERT_TRUE(send("change@/x"));
    EXPECT_EQ("refused", receive());
    if (geteuid() != 0) GTEST_SKIP() << "the rest needs root, to send as another user";
    mReceiver.reset();
    ASSERT_GE(open(), 0);
    // Wide open, as a careless user would leave it.
    ASSERT_EQ(0, chmod(mBase.c_str(), 0755));
    ASSERT_EQ(0, chmod(mPath.c_str(), 0666));
    const pid_t child = fork();
    if (child == 0) {
        if (setresuid(12345, 12345, 12345) != 0) _exit(2);
        _exit(send("change@/forged") ? 0 : 3);
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    ASSERT_EQ(0, WEXITSTATUS(status));
    EXPECT_EQ("refused", receive());
}

TEST_F(UeventTest, OnlyADeadPredecessorIsReplaced) {
    ASSERT_GE(open(), 0);
    expectRefusal(EADDRINUSE);
    ASSERT_TRUE(send("still there"));
    EXPECT_EQ("still there", receive());
    mReceiver.reset();
    ASSERT_GE(open(), 0) << strerror(errno);
    ASSERT_TRUE(send("new"));
    EXPECT_EQ("new", receive());

    std::filesystem::remove(mPath);
    std::ofstream(mPath) << "precious";
    expectRefusal(EEXIST);
    EXPECT_EQ(8u, std::filesystem::file_size(mPath)) << "what is not a socket stays";
    setenv(kVariable, ("/" + std::string(107, 'x')).c_str(), 1);
    expectRefusal(ENAMETOOLONG);
}

}  // namespace
