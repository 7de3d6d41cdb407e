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
    unique_fd& itself = moved;
    moved = std::move(itself);
    EXPECT_TRUE(isOpen(first));
    moved = std::move(write);
    EXPECT_FALSE(isOpen(first));
    EXPECT_EQ(second, moved.release());
    EXPECT_FALSE(moved.ok());
    EXPECT_TRUE(isOpen(second));
    errno = 33;
    moved.reset(second);
    moved.reset();
    EXPECT_EQ(33, errno);
    EXPECT_FALSE(isOpen(second));
}

}  // namespace
