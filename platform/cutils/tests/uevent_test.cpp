// SPDX-License-Identifier: Apache-2.0
#include <android-base/unique_fd.h>
#include <cutils/uevent.h>
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <poll.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

static bool sBufferSizesAreRefused = false;

// In place of the C library's, for a failure that no kernel gives.
extern "C" int setsockopt(int fd, int level, int option, const void* value,
                          socklen_t length) noexcept {
    if (sBufferSizesAreRefused && (option == SO_RCVBUF || option == SO_RCVBUFFORCE)) {
        errno = EPERM;
        return -1;
    }
    return static_cast<int>(syscall(SYS_setsockopt, fd, level, option, value, length));
}

namespace {

using android::base::unique_fd;

constexpr int kBufferSize = 65536;
constexpr int kLimitMs = 10000;

// A receive buffer full of a mark, so that what is written and what is cleared shows.
struct Received {
    explicit Received(int socket, size_t length = 2048) : buffer(length, '#') {
        errno = 0;
        size = uevent_kernel_multicast_recv(socket, buffer.data(), buffer.size());
        error = errno;
    }
    std::string text() const {
        return buffer.substr(0, static_cast<size_t>(std::max<ssize_t>(size, 0)));
    }
    bool isRefused() const {
        return size == -1 && error == EIO && buffer == std::string(buffer.size(), '\0');
    }

    std::string buffer;
    ssize_t size;
    int error;
};

bool becomesReadable(int socket) {
    pollfd ready = {socket, POLLIN, 0};
    return poll(&ready, 1, kLimitMs) == 1;
}

class NetlinkUeventTest : public testing::Test {
  protected:
    NetlinkUeventTest() {
        unsetenv("ANDROID_HOST_UEVENT_SOCKET");
        mSocket = uevent_open_socket(kBufferSize, true);
        if (mSocket >= 0) fcntl(mSocket, F_SETFL, O_NONBLOCK);
    }
    ~NetlinkUeventTest() override { close(mSocket); }

    // Sends a message to our socket, directly (groups 0) or to multicast groups, as root's
    // processes can.
    bool forge(const std::string& text, unsigned groups) const {
        sockaddr_nl own = {};
        socklen_t size = sizeof(own);
        EXPECT_EQ(0, getsockname(mSocket, reinterpret_cast<sockaddr*>(&own), &size));
        const unique_fd sender(
            socket(PF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT));
        sockaddr_nl to = {};
        to.nl_family = AF_NETLINK;
        to.nl_groups = groups;
        to.nl_pid = groups == 0 ? own.nl_pid : 0;
        return sendto(sender.get(), text.data(), text.size(), 0,
                      reinterpret_cast<const sockaddr*>(&to),
                      sizeof(to)) == static_cast<ssize_t>(text.size());
    }

    int mSocket = -1;
};

TEST_F(NetlinkUeventTest, SocketIsReadyForUse) {
    ASSERT_GE(mSocket, 0) << strerror(errno);
    EXPECT_NE(0, fcntl(mSocket, F_GETFD) & FD_CLOEXEC);
    int on = 0;
    socklen_t size = sizeof(on);
    ASSERT_EQ(0, getsockopt(mSocket, SOL_SOCKET, SO_PASSCRED, &on, &size));
    EXPECT_EQ(1, on);
    int bytes = 0;
    ASSERT_EQ(0, getsockopt(mSocket, SOL_SOCKET, SO_RCVBUF, &bytes, &size));
    EXPECT_GE(bytes, kBufferSize);
}

TEST_F(NetlinkUeventTest, WithoutAReceiveBufferThereIsNoSocket) {
    sBufferSizesAreRefused = true;
    const int socket = uevent_open_socket(kBufferSize, true);
    sBufferSizesAreRefused = false;
    EXPECT_EQ(-1, socket);
}

TEST_F(NetlinkUeventTest, MessageOfAProcessIsRefusedAndCleared) {
    ASSERT_GE(mSocket, 0);
    for (const unsigned groups : {0u, 1u, 2u}) {
        // All uevents of the machine arrive here, those of another run of this test too.
        const std::string text =
            "change@/forged/" + std::to_string(getpid()) + "/" + std::to_string(groups);
        if (!forge(text, groups)) {
            ASSERT_EQ(EPERM, errno);
            GTEST_SKIP() << "needs root: the kernel lets nobody else send to this kind of socket";
        }
        bool refused = false;
        while (!refused && becomesReadable(mSocket)) {
            char start[2048];
            const ssize_t size = recv(mSocket, start, sizeof(start), MSG_PEEK);
            const bool own =
                size >= 0 && text == std::string_view(start, static_cast<size_t>(size));
            const Received message(mSocket);
            if (!own) continue;
            ASSERT_TRUE(message.isRefused());
            refused = true;
        }
        EXPECT_TRUE(refused) << "groups " << groups;
    }
}

class DatagramUeventTest : public testing::Test {
  protected:
    DatagramUeventTest() {
        EXPECT_NE(nullptr, mkdtemp(mBase.data()));
        mPath = mBase + "/uevent";
        setenv("ANDROID_HOST_UEVENT_SOCKET", mPath.c_str(), 1);
    }
    ~DatagramUeventTest() override {
        unsetenv("ANDROID_HOST_UEVENT_SOCKET");
        std::error_code ignored;
        std::filesystem::remove_all(mBase, ignored);
    }

    // The receiver's socket, closed when the test ends.
    int open(bool passCredentials = true) {
        mReceiver.reset(uevent_open_socket(kBufferSize, passCredentials));
        return mReceiver.get();
    }
    static void expectRefusal(int error) {
        EXPECT_EQ(-1, uevent_open_socket(kBufferSize, true));
        EXPECT_EQ(error, errno);
    }

    // Sends `text`, with a descriptor unless that is -1.
    bool send(std::string text, int attached = -1) const {
        const unique_fd sender(socket(PF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        sockaddr_un to = {};
        to.sun_family = AF_UNIX;
        mPath.copy(to.sun_path, sizeof(to.sun_path) - 1);
        iovec area = {text.data(), text.size()};
        msghdr message = {};
        message.msg_name = &to;
        message.msg_namelen = sizeof(to);
        message.msg_iov = &area;
        message.msg_iovlen = 1;
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
        if (attached >= 0) {
            message.msg_control = control;
            message.msg_controllen = sizeof(control);
            cmsghdr* const item = CMSG_FIRSTHDR(&message);
            item->cmsg_level = SOL_SOCKET;
            item->cmsg_type = SCM_RIGHTS;
            item->cmsg_len = CMSG_LEN(sizeof(int));
            memcpy(CMSG_DATA(item), &attached, sizeof(int));
        }
        return sendmsg(sender.get(), &message, 0) == static_cast<ssize_t>(text.size());
    }

    std::string mBase = testing::TempDir() + "uevent-XXXXXX";
    std::string mPath;
    unique_fd mReceiver;
};

TEST_F(DatagramUeventTest, MessageOfTheSameUserCountsAsTheKernels) {
    ASSERT_GE(open(), 0) << strerror(errno);
    struct stat info = {};
    ASSERT_EQ(0, stat(mPath.c_str(), &info));
    EXPECT_EQ(mode_t{0600}, info.st_mode & 07777);
    const std::string text("change@/x\0SOURCE=FAN\0", 21);
    ASSERT_TRUE(send(text));
    EXPECT_EQ(text, Received(mReceiver.get()).text());
}

TEST_F(DatagramUeventTest, SizesAroundTheBufferAreReported) {
    ASSERT_GE(open(), 0);
    for (const ssize_t size : {0, 1, 2047, 2048, 2049, 8000}) {
        ASSERT_TRUE(send(std::string(static_cast<size_t>(size), 'u')));
        EXPECT_EQ(std::min<ssize_t>(size, 2048), Received(mReceiver.get()).size);
    }
}

TEST_F(DatagramUeventTest, MessageOfAnotherUserIsRefusedAndCleared) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root, to send as another user";
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
    EXPECT_TRUE(Received(mReceiver.get()).isRefused());
}

TEST_F(DatagramUeventTest, WithoutCredentialsEverythingIsRefused) {
    ASSERT_GE(open(false), 0);
    ASSERT_TRUE(send("change@/x"));
    EXPECT_TRUE(Received(mReceiver.get()).isRefused());
}

TEST_F(DatagramUeventTest, AttachedDescriptorsAreDropped) {
    ASSERT_GE(open(), 0);
    unique_fd read;
    unique_fd write;
    ASSERT_TRUE(android::base::Pipe(&read, &write));
    ASSERT_TRUE(send("change@/x", write.get()));
    write.reset();
    EXPECT_EQ("change@/x", Received(mReceiver.get()).text());
    // The writing end is gone everywhere: reading finds the end instead of waiting.
    EXPECT_TRUE(becomesReadable(read.get()));
}

TEST_F(DatagramUeventTest, DeadPredecessorIsReplacedAndALiveOneIsNot) {
    ASSERT_GE(open(), 0);
    expectRefusal(EADDRINUSE);
    ASSERT_TRUE(send("still there"));
    EXPECT_EQ("still there", Received(mReceiver.get()).text());
    mReceiver.reset();
    ASSERT_GE(open(), 0) << strerror(errno);
    ASSERT_TRUE(send("new"));
    EXPECT_EQ("new", Received(mReceiver.get()).text());
}

TEST_F(DatagramUeventTest, UnusablePathsAreRefused) {
    std::ofstream(mPath) << "precious";
    expectRefusal(EEXIST);
    EXPECT_EQ(8u, std::filesystem::file_size(mPath)) << "what is not a socket stays";
    setenv("ANDROID_HOST_UEVENT_SOCKET", ("/" + std::string(107, 'x')).c_str(), 1);
    expectRefusal(ENAMETOOLONG);
    setenv("ANDROID_HOST_UEVENT_SOCKET", (mBase + "/missing/uevent").c_str(), 1);
    expectRefusal(ENOENT);
}

}  // namespace
