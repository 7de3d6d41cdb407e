// SPDX-License-Identifier: Apache-2.0
#include <android-base/unique_fd.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <host/escape.h>
#include <host/text_relay.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

namespace android::host {
namespace {

const struct {
    const char* text;
    const char* shown;
} kCases[] = {
    {"tab\tstays, é € 😀 \\ too", "tab\tstays, é € 😀 \\ too"},
    {"one\ntwo", "one\\x0atwo"},
    {"\x1b[2J\r\x7f", "\\x1b[2J\\x0d\\x7f"},
    {"\xc2\x9b", "\\xc2\\x9b"},                    // a control character of its own
    {"\xe2\x80\xae", "\\xe2\\x80\\xae"},           // turns the direction of writing
    {"\xe2\x81\xa6", "\\xe2\\x81\\xa6"},           // likewise
    {"\xe2\x80\x8f", "\\xe2\\x80\\x8f"},           // likewise
    {"\xe2\x80\xa8", "\\xe2\\x80\\xa8"},           // ends a line
    {"\xc3", "\\xc3"},                             // cut
    {"\xf0\x9f\x98", "\\xf0\\x9f\\x98"},           // cut
    {"\xc0\x80", "\\xc0\\x80"},                    // overlong
    {"\xe0\x80\x80", "\\xe0\\x80\\x80"},           // overlong
    {"\xed\xa0\x80", "\\xed\\xa0\\x80"},           // a surrogate
    {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},  // beyond the last character
    {"\xff", "\\xff"},
};

TEST(EscapeTest, WhatCouldMisleadIsWrittenOut) {
    for (const auto& each : kCases) EXPECT_EQ(each.shown, escaped(each.text));
    EXPECT_EQ("one\ntwo\n\\x1b", escaped("one\ntwo\n\x1b", LineFeeds::kKept));
    EXPECT_EQ("\\x00", escaped(std::string_view("\0", 1)));
}

TEST(EscapeTest, PiecesCutAnywhereMakeTheSameAsTheWhole) {
    std::string all;
    for (const auto& each : kCases) all += each.text;
    const std::string shown = escaped(all, LineFeeds::kKept);
    for (size_t cut = 0; cut <= all.size(); ++cut) {
        StreamEscaper escaper;
        std::string out = escaper.next(all.substr(0, cut));
        out += escaper.next(all.substr(cut));
        out += escaper.end();
        EXPECT_EQ(shown, out) << cut;
    }
}

TEST(EscapeTest, ShortRoomTakesWholeCharactersOnly) {
    for (const auto& each : kCases) {
        const std::string whole = escaped(each.text);
        for (size_t room = 0; room <= whole.size(); ++room) {
            std::string_view rest = each.text;
            std::string to(room, '#');
            const size_t used = takeEscaped(&rest, to.data(), room);
            EXPECT_EQ(whole, to.substr(0, used) + escaped(rest)) << room;
        }
    }
}

TEST(TextRelayTest, TextArrivesThoughSomebodyKeepsThePipeAndWriterNoticesThatTheReaderHasGone) {
    signal(SIGPIPE, SIG_IGN);
    base::unique_fd reader;
    base::unique_fd writer;
    ASSERT_TRUE(base::Pipe(&reader, &writer));
    TextRelay kept(writer);
    const base::unique_fd keeper(dup(kept.descriptor()));
    ASSERT_EQ(1, write(keeper, "x", 1));
    EXPECT_EQ(0, kept.finish());
    char byte = 0;
    EXPECT_EQ(1, read(reader, &byte, 1));

    reader.reset();
    TextRelay relay(writer);
    ASSERT_EQ(1, write(relay.descriptor(), "x", 1));
    pollfd gone = {relay.descriptor(), 0, 0};
    EXPECT_EQ(1, poll(&gone, 1, 20000));
    EXPECT_NE(0, gone.revents & POLLERR);
    EXPECT_EQ(EPIPE, relay.finish());
}

}  // namespace
}  // namespace android::host
