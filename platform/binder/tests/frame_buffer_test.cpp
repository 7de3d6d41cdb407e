// SPDX-License-Identifier: Apache-2.0
#include "frame_buffer.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "raw_peer.h"

namespace android::host::test {
namespace {

using android::base::unique_fd;
using Result = FrameBuffer::Result;

void feed(FrameBuffer* buffer, const Bytes& bytes, std::vector<unique_fd> fds = {}) {
    std::copy(bytes.begin(), bytes.end(), buffer->space().begin());
    buffer->commit(bytes.size(), std::move(fds));
}

std::vector<unique_fd> someFds(size_t count) {
    std::vector<unique_fd> fds;
    for (size_t i = 0; i < count; ++i) fds.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    return fds;
}

Bytes framed(size_t bodySize) {
    return frameOf(WireCommand::kReply, Bytes(bodySize, 0x5a));
}

TEST(FrameBufferTest, AnAnnouncedBodyCostsNoMemory) {
    FrameBuffer buffer;
    Bytes header;
    append(&header, WireHeader{0, kMaxBodySize, {}});
    feed(&buffer, header);
    Frame frame;
    EXPECT_EQ(Result::kIncomplete, buffer.next(&frame));
    EXPECT_LE(buffer.space().size(), 4096u);
}

TEST(FrameBufferTest, DescriptorsGoToTheLastFrameThatBeginsInTheirRead) {
    FrameBuffer buffer;
    Bytes two = framed(4);
    append(&two, framed(8));
    feed(&buffer, two, someFds(2));
    Frame frame;
    ASSERT_EQ(Result::kFrame, buffer.next(&frame));
    EXPECT_EQ(0u, frame.fds.size());
    ASSERT_EQ(Result::kFrame, buffer.next(&frame));
    EXPECT_EQ(2u, frame.fds.size());
    EXPECT_FALSE(frame.fdsMisplaced);

    const Bytes one = framed(8);
    feed(&buffer, Bytes(one.begin(), one.begin() + 16));
    feed(&buffer, Bytes(one.begin() + 16, one.end()), someFds(1));
    ASSERT_EQ(Result::kFrame, buffer.next(&frame));
    EXPECT_TRUE(frame.fdsMisplaced) << "no frame begins in that read";
}

}  // namespace
}  // namespace android::host::test
