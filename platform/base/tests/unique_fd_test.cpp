// SPDX-License-Identifier: Apache-2.0
#include <android-base/unique_fd.h>
#include <errno.h>
#include <gtest/gtest.h>

#include <utility>

namespace {

using namespace android::base;

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

TEST(UniqueFdTest, DescriptorIsClosedExactlyOnceAlongEveryPath) {
    unique_fd read;
    unique_fd write;
    ASSERT_TRUE(Pipe(&read, &write));
    EXPECT_EQ(FD_CLOEXEC, fcntl(read.get(), F_GETFD));
    const int first = read.get();
    const int second = write.get();

    unique_fd moved(std::move(read));
    EXPECT_EQ(-1, read.get());  // NOLINT(bugprone-use-after-move): that is the point
    EXPECT_TRUE(isOpen(first));
    unique_fd& itself = moved;
    moved = std::move(itself);
    EXPECT_TRUE(isOpen(first));
    moved = std::move(write);
    EXPECT_FALSE(isOpen(first));
    EXPECT_EQ(second, moved.get());

    const int released = moved.release();
    EXPECT_FALSE(moved.ok());
    EXPECT_TRUE(isOpen(released));
    errno = 33;
    moved.reset(released);
    moved.reset();
    EXPECT_EQ(33, errno);
    EXPECT_FALSE(isOpen(second));
}

TEST(UniqueFdTest, FailedPipeLeavesArgumentsAlone) {
    unique_fd read;
    unique_fd write(dup(0));
    const int former = write.get();
    EXPECT_FALSE(Pipe(&read, &write, ~0));
    EXPECT_EQ(former, write.get());
}

}  // namespace
