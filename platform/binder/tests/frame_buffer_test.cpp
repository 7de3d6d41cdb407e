// SPDX-License-Identifier: Apache-2.0
#include "frame_buffer.h"

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
    feed(&buffer, two, std::vector<unique_fd>(2));
    Frame frame;
    ASSERT_EQ(Result::kFrame, buffer.next(&frame));
    EXPECT_EQ(0u, frame.fds.size());
    ASSERT_EQ(Result::kFrame, buffer.next(&frame));
    EXPECT_EQ(2u, frame.fds.size());
    EXPECT_FALSE(frame.fdsMisplaced);

    const Bytes one = framed(8);
    feed(&buffer, Bytes(one.begin(), one.begin() + 16));
    feed(&buffer, Bytes(one.begin() + 16, one.end()), std::vector<unique_fd>(1));
    ASSERT_EQ(Result::kFrame, buffer.next(&frame));
    EXPECT_TRUE(frame.fdsMisplaced) << "no frame begins in that read";
}

}  // namespace
}  // namespace android::host::test
