// SPDX-License-Identifier: Apache-2.0
#include "dock/firmware.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include "dock/dock_model.h"

namespace virtual_dock {
namespace {

using ::testing::ElementsAre;
using ByteVector = std::vector<uint8_t>;

constexpr int64_t kSecond = 1'000'000'000;

ByteVector randomImage(size_t size) {
    std::mt19937 random(static_cast<uint32_t>(size));
    ByteVector image(size);
    for (uint8_t& byte : image) byte = static_cast<uint8_t>(random() % 16);  // compressible
    return image;
}

void add32(uint32_t value, ByteVector* bytes) {
    for (int i = 0; i < 4; ++i) bytes->push_back(static_cast<uint8_t>(value >> (8 * i)));
}

// The requests of a client, for a target or (target -1) the older updater.
class FirmwareTest : public ::testing::Test {
  protected:
    ByteVector ask(int32_t type, const ByteVector& request, Result expected = kOk) {
        AnswerBuffer answer;
        FirmwareEffect happened = FirmwareEffect::kNone;
        const Result result =
            isLegacy() ? dock.answerLegacy(type, request, &answer, &happened, now)
                       : dock.answerTargeted(type, request, 31, -2, &answer, &happened, now);
        EXPECT_EQ(result, expected) << "type " << type;
        effect = happened;
        return {answer.bytes().begin(), answer.bytes().end()};
    }
    bool isLegacy() const { return target < 0; }
    ByteVector withTarget(const ByteVector& rest) const {
        ByteVector request = rest;
        if (!isLegacy()) request.insert(request.begin(), static_cast<uint8_t>(target));
        return request;
    }

    // The answer without its target.
    ByteVector start(uint32_t size, uint8_t chunkSize, bool fresh, Result expected = kOk,
                     uint32_t compressedSize = 0) {
        ByteVector request;
        add32(size, &request);
        const int flags = (fresh ? 0x80 : 0) | (compressedSize != 0 ? 0x40 : 0);
        request.insert(request.end(), {chunkSize, static_cast<uint8_t>(flags), 2, 7});
        if (compressedSize != 0) add32(compressedSize, &request);
        return fields(ask(25, withTarget(request), expected));
    }
    ByteVector chunk(uint32_t number, const ByteVector& data, Result expected = kOk) {
        ByteVector request = {static_cast<uint8_t>(number), static_cast<uint8_t>(number >> 8), 0};
        request.insert(request.end(), data.begin(), data.end());
        return ask(26, withTarget(request), expected);
    }
    ByteVector missing(Result expected = kOk) { return fields(ask(27, withTarget({}), expected)); }
    int execute() { return fields(ask(28, withTarget({}))).at(0); }
    ByteVector status() { return fields(ask(29, withTarget({}))); }
    ByteVector fields(ByteVector answer) const {
        if (!isLegacy() && !answer.empty()) answer.erase(answer.begin());
        return answer;
    }
    FirmwareSlot& slot() {
        return isLegacy() ? dock.legacy : dock.targets[static_cast<size_t>(target)];
    }

    // Sends the chunks in this order.
    void send(const ByteVector& bytes, size_t chunkSize, const std::vector<uint32_t>& order) {
        for (const uint32_t number : order) {
            const auto begin = bytes.begin() + static_cast<ptrdiff_t>(number * chunkSize);
            const auto rest = static_cast<size_t>(bytes.end() - begin);
            const auto size = static_cast<ptrdiff_t>(std::min(chunkSize, rest));
            chunk(number, {begin, begin + size});
        }
    }
    std::vector<uint32_t> inOrder(size_t size, size_t chunkSize) const {
        std::vector<uint32_t> order((size + chunkSize - 1) / chunkSize);
        std::iota(order.begin(), order.end(), 0);
        return order;
    }

    FirmwareUpdater dock;
    int target = 0;
    int64_t now = kSecond;
    FirmwareEffect effect = FirmwareEffect::kNone;
};

TEST_F(FirmwareTest, ImageArrivesOutOfOrderAndTwice) {
    for (const int each : {0, 1, -1}) {
        target = each;
        const size_t chunkSize = isLegacy() ? 253 : 252;
        const ByteVector image = randomImage(100'000);
        EXPECT_THAT(start(100'000, static_cast<uint8_t>(chunkSize), true),
                    ElementsAre(0, chunkSize, 100));
        std::vector<uint32_t> order = inOrder(image.size(), chunkSize);
        std::shuffle(order.begin(), order.end(), std::mt19937(1));
        send(image, chunkSize, order);
        send(image, chunkSize, {5, 5, 0});
        EXPECT_EQ(execute(), 0);
        EXPECT_EQ(slot().imageDigest(), sha256(image));
        EXPECT_THAT(status(), ElementsAre(1, 0));
        now += kSecond * 3 / 4;
        EXPECT_THAT(status(), ElementsAre(1, 50));
        now += kSecond;
        EXPECT_THAT(status(), ElementsAre(0, 100));
        EXPECT_EQ(slot().version.major, 1) << "runs only after a reboot";
        ask(30, {});
        EXPECT_EQ(effect, FirmwareEffect::kReboot);
        EXPECT_EQ(slot().version.major, 2);
        EXPECT_EQ(slot().version.minor, 7);
        missing(kRefused);
    }
}

TEST_F(FirmwareTest, CompressedImageIsExpanded) {
    const ByteVector image = randomImage(1024 * 1024);
    uLongf size = compressBound(image.size());
    ByteVector compressed(size);
    ASSERT_EQ(compress(compressed.data(), &size, image.data(), image.size()), Z_OK);
    compressed.resize(size);
    start(static_cast<uint32_t>(image.size()), 252, true, kOk, static_cast<uint32_t>(size));
    send(compressed, 252, inOrder(size, 252));
    EXPECT_EQ(execute(), 0);
    EXPECT_EQ(slot().imageDigest(), sha256(image));

    // One that gives another size than was announced, and one that is damaged.
    now += 10 * kSecond;
    start(static_cast<uint32_t>(image.size()) - 1, 252, true, kOk, static_cast<uint32_t>(size));
    send(compressed, 252, inOrder(size, 252));
    EXPECT_EQ(execute(), 2);
    start(static_cast<uint32_t>(image.size()), 252, true, kOk, static_cast<uint32_t>(size));
    compressed[size / 2] ^= 0xFF;
    send(compressed, 252, inOrder(size, 252));
    EXPECT_EQ(execute(), 2);
}

TEST_F(FirmwareTest, ResumeContinuesTheSameImageOnly) {
    const ByteVector image = randomImage(1000);
    start(1000, 100, true);
    send(image, 100, {0, 1, 2, 5});
    EXPECT_THAT(missing(), ElementsAre(3, 0, 2, 0));
    EXPECT_EQ(execute(), 1);
    EXPECT_THAT(start(1000, 100, false), ElementsAre(1, 100, 60));
    EXPECT_THAT(missing(), ElementsAre(3, 0, 2, 0));
    EXPECT_THAT(chunk(3, ByteVector(100, 1)), ElementsAre(0, 4, 0, 31, 0xFE));
    EXPECT_THAT(start(1000, 50, false), ElementsAre(0, 50, 100)) << "other chunks: begins anew";
    EXPECT_THAT(missing(), ElementsAre(0, 0, 20, 0));
    target = 1;
    missing(kRefused);
}

TEST_F(FirmwareTest, LimitsOfATransfer) {
    slot().maxSize = 65535 * 10 + 10;
    start(0, 10, true, kInvalidArgument);
    start(100, 0, true, kInvalidArgument);
    start(slot().maxSize + 1, 252, true, kInvalidArgument);
    start(0xFFFFFFFF, 252, true, kInvalidArgument);
    start(100, 252, true, kInvalidArgument, 0xFFFFFFFF);
    start(100, 253, true, kInvalidArgument);
    start(100, 252, true);
    start(65535 * 10 + 1, 10, true, kInvalidArgument);
    start(65535 * 10, 10, true);
    EXPECT_THAT(missing(), ElementsAre(0, 0, 0xFF, 0xFF));
    chunk(65534, ByteVector(10));
    EXPECT_THAT(chunk(65535, ByteVector(10)), ElementsAre(0x80, 0, 0, 31, 0xFE));
    target = 2;
    for (const int32_t type : {24, 25, 26, 27, 28, 29}) ask(type, withTarget({}), kInvalidArgument);
    target = -1;
    start(100, 253, true);
    start(100, 254, true, kInvalidArgument);
}

TEST_F(FirmwareTest, ChunksWithoutAPlaceAreUnexpected) {
    chunk(0, {1, 2, 3}, kRefused);
    start(25, 10, true);
    for (const auto& [number, size] : std::vector<std::pair<uint32_t, size_t>>{
             {0, 9}, {0, 11}, {0, 0}, {2, 10}, {2, 6}, {3, 5}}) {
        EXPECT_EQ(chunk(number, ByteVector(size)).at(0), 0x80) << number << " " << size;
    }
    EXPECT_EQ(chunk(2, ByteVector(5)).at(0), 0x00);
    target = -1;
    start(25, 10, true);
    chunk(0, ByteVector(9), kInvalidArgument);
    EXPECT_THAT(chunk(0, ByteVector(10)), ElementsAre(1, 0));
}

TEST_F(FirmwareTest, FaultyDocksForgetLosePowerAndFail) {
    const ByteVector image = randomImage(100);
    slot().forgetEvery = 3;
    dock.powerOffAfter = 4;
    start(100, 10, true);
    send(image, 10, {0, 1, 2});
    EXPECT_EQ(effect, FirmwareEffect::kNone);
    EXPECT_THAT(missing(), ElementsAre(2, 0, 8, 0));
    send(image, 10, {3});
    EXPECT_EQ(effect, FirmwareEffect::kPowerLoss);
    send(image, 10, {4});
    EXPECT_EQ(effect, FirmwareEffect::kNone) << "once";
    slot().forgetEvery = 0;
    send(image, 10, inOrder(100, 10));

    slot().failAt = 40;
    EXPECT_EQ(execute(), 0);
    EXPECT_EQ(execute(), 3) << "while it is being applied";
    start(100, 10, true, kBusy);
    chunk(0, ByteVector(10), kBusy);
    now += kSecond;
    EXPECT_THAT(status(), ElementsAre(2, 40));
    slot().failAt = -1;
    EXPECT_EQ(execute(), 0);
    ask(30, {});
    EXPECT_THAT(status(), ElementsAre(2, 0)) << "restarted too early";
    now += 10 * kSecond;
    ask(30, {});
    EXPECT_EQ(slot().version.major, 1);
    slot().rejectsImages = true;
    EXPECT_EQ(execute(), 2);
}

TEST_F(FirmwareTest, RequestsCutAtEveryLengthAreHarmless) {
    const ByteVector longest = {0, 100, 0, 0, 0, 10, 0xC0, 1, 2, 50, 0, 0, 0, 1};
    for (int32_t type = 23; type <= 31; ++type) {
        for (size_t length = 0; length <= longest.size(); ++length) {
            const ByteVector exact(longest.begin(),
                                   longest.begin() + static_cast<ptrdiff_t>(length));
            AnswerBuffer answer;
            dock.answerTargeted(type, exact, 0, 0, &answer, &effect, now);
            dock.answerLegacy(type, exact, &answer, &effect, now);
        }
    }
    start(100, 10, true);
    EXPECT_THAT(missing(), ElementsAre(0, 0, 10, 0));
}

TEST(DockModelTest, FirmwareChangesWhatTheDockIs) {
    DockModel model;
    const auto ask = [&](int32_t type, const ByteVector& request, int64_t nowNs, Event* event) {
        AnswerBuffer answer;
        return model.answerRequest(Operation::kPropRequest, type, request, &answer, event, nowNs);
    };
    Event event;
    EXPECT_EQ(ask(25, {0, 2, 0, 0, 0, 1, 0x80, 9, 8}, 0, &event), kOk);
    EXPECT_EQ(ask(26, {0, 0, 0, 0, 0xAA}, 0, &event), kOk);
    model.firmware.powerOffAfter = 1;
    EXPECT_EQ(ask(26, {0, 1, 0, 0, 0xBB}, 0, &event), kOk);
    EXPECT_EQ(event, Event::kWlcOff);
    EXPECT_EQ(ask(28, {0}, 0, &event), kUnavailable);
    model.charger.docked = true;  // laid on it again: the dock still has the chunks
    EXPECT_EQ(ask(28, {0}, 0, &event), kOk);
    EXPECT_EQ(ask(30, {}, 10 * kSecond, &event), kOk);
    EXPECT_EQ(event, Event::kRestart);
    EXPECT_EQ(model.information.major, 9);
    EXPECT_EQ(model.information.minor, 8);
}

TEST(DockModelTest, EdsPacketsComeBackOrAreAcknowledged) {
    DockModel model;
    const auto ask = [&](const ByteVector& request) {
        AnswerBuffer answer;
        Event event;
        model.answerRequest(Operation::kPropRequest, 14, request, &answer, &event, 0);
        return ByteVector(answer.bytes().begin(), answer.bytes().end());
    };
    EXPECT_THAT(ask({0, 7, 8}), ElementsAre(0));
    EXPECT_THAT(ask({1, 7, 8}), ElementsAre(1, 7, 8));
    EXPECT_THAT(ask({1}), ElementsAre(1));
    EXPECT_THAT(ask({2, 7}), ElementsAre());
    EXPECT_THAT(ask({}), ElementsAre());
}

}  // namespace
}  // namespace virtual_dock
