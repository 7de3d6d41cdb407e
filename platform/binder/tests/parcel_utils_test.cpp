// SPDX-License-Identifier: Apache-2.0
#include <android/binder_parcel_utils.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using ndk::AParcel_readData;
using ndk::AParcel_readNullableData;
using ndk::AParcel_writeData;
using ndk::AParcel_writeNullableData;
using ndk::ScopedAParcel;
using testing::ElementsAre;

enum class Small : int8_t { kMinus = -1, kTwo = 2 };
enum class Wide : int64_t { kBig = 0x123456789abcdef0 };

struct Point {
    int32_t x = 0;
    binder_status_t readFromParcel(const AParcel* parcel) { return AParcel_readData(parcel, &x); }
    binder_status_t writeToParcel(AParcel* parcel) const { return AParcel_writeData(parcel, x); }
};

ScopedAParcel parcelOfInts(std::initializer_list<int32_t> values) {
    ScopedAParcel parcel(AParcel_create());
    for (const int32_t value : values) {
        EXPECT_EQ(AParcel_writeInt32(parcel.get(), value), STATUS_OK);
    }
    EXPECT_EQ(AParcel_setDataPosition(parcel.get(), 0), STATUS_OK);
    return parcel;
}

// The bytes as 32-bit words, which is how every item is laid out.
template <typename T>
std::vector<uint32_t> written(const T& value) {
    ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(AParcel_writeNullableData(parcel.get(), value), STATUS_OK);
    const auto size = static_cast<size_t>(AParcel_getDataSize(parcel.get()));
    EXPECT_EQ(size % 4, 0u);
    std::vector<uint32_t> words(size / 4);
    auto* bytes = reinterpret_cast<uint8_t*>(words.data());
    EXPECT_EQ(AParcel_marshal(parcel.get(), bytes, 0, size), STATUS_OK);
    return words;
}

template <typename T>
binder_status_t readFrom(const ScopedAParcel& parcel, T* value) {
    EXPECT_EQ(AParcel_setDataPosition(parcel.get(), 0), STATUS_OK);
    return AParcel_readData(parcel.get(), value);
}

template <typename T>
class ListTest : public testing::Test {};
using Elements =
    testing::Types<bool, int8_t, char16_t, int32_t, int64_t, float, double, std::string, Point>;
TYPED_TEST_SUITE(ListTest, Elements);

// Enough bytes for an element of every kind but never for the counts they announce.
TYPED_TEST(ListTest, CountsWithoutBytesBehindThemAllocateNothing) {
    using T = TypeParam;
    for (const int32_t count : {65, 1 << 20, INT32_MAX, -2, INT32_MIN}) {
        const ScopedAParcel parcel = parcelOfInts({count, 0, 0, 0, 0, 0, 0, 0, 0});
        std::vector<T> vector;
        EXPECT_NE(readFrom(parcel, &vector), STATUS_OK) << count;
        EXPECT_EQ(vector.capacity(), 0u) << count;
        std::optional<std::vector<T>> optional;
        EXPECT_EQ(AParcel_setDataPosition(parcel.get(), 0), STATUS_OK);
        EXPECT_NE(AParcel_readNullableData(parcel.get(), &optional), STATUS_OK) << count;
    }
}

TYPED_TEST(ListTest, FixedArrayTakesExactlyItsLengthAndNoListTakesNull) {
    using T = TypeParam;
    std::array<T, 3> array{};
    for (const size_t length : {0u, 2u, 4u}) {
        ScopedAParcel parcel(AParcel_create());
        ASSERT_EQ(AParcel_writeData(parcel.get(), std::vector<T>(length)), STATUS_OK);
        EXPECT_EQ(readFrom(parcel, &array), STATUS_BAD_VALUE) << length;
    }
    EXPECT_EQ(readFrom(parcelOfInts({-1}), &array), STATUS_UNEXPECTED_NULL);
    std::vector<T> vector;
    EXPECT_EQ(readFrom(parcelOfInts({-1}), &vector), STATUS_UNEXPECTED_NULL);
}

TEST(ParcelUtilsTest, ItemsHaveTheDocumentedBytes) {
    EXPECT_THAT(written(true), ElementsAre(1u));
    EXPECT_THAT(written(char16_t{0xfffe}), ElementsAre(0xfffeu));
    EXPECT_THAT(written(Small::kMinus), ElementsAre(0xffffffffu));
    EXPECT_THAT(written(Wide::kBig), ElementsAre(0x9abcdef0u, 0x12345678u));
    EXPECT_THAT(written(std::string("ab")), ElementsAre(2u, 0x00620061u, 0u));
    EXPECT_THAT(written(std::string()), ElementsAre(0u, 0u));
    EXPECT_THAT(written(std::vector<uint8_t>{1, 2, 3, 4, 5}), ElementsAre(5u, 0x04030201u, 5u));
    EXPECT_THAT(written(std::array<uint8_t, 2>{7, 8}), ElementsAre(2u, 0x0807u));
    EXPECT_THAT(written(std::vector<Small>{Small::kTwo, Small::kMinus}), ElementsAre(2u, 0xff02u));
    EXPECT_THAT(written(std::vector<bool>{true, false}), ElementsAre(2u, 1u, 0u));
    EXPECT_THAT(written(std::vector<char16_t>{0xffff}), ElementsAre(1u, 0xffffu));
    EXPECT_THAT(written(Point{9}), ElementsAre(1u, 9u));
    EXPECT_THAT(written(std::vector<Point>{{9}, {8}}), ElementsAre(2u, 1u, 9u, 1u, 8u));
    EXPECT_THAT(written(std::optional<Point>()), ElementsAre(0u));
    EXPECT_THAT(written(std::optional<std::string>()), ElementsAre(0xffffffffu));
    EXPECT_THAT(written(std::vector<std::optional<Point>>{std::nullopt, Point{4}}),
                ElementsAre(2u, 0u, 1u, 4u));
}

// What no record of the compiler's tests has.
TEST(ParcelUtilsTest, RecordsOnTheHeapComeBack) {
    ScopedAParcel parcel(AParcel_create());
    auto point = std::make_unique<Point>(Point{6});
    ASSERT_EQ(AParcel_writeNullableData(parcel.get(), point), STATUS_OK);
    point.reset();
    ASSERT_EQ(AParcel_writeNullableData(parcel.get(), point), STATUS_OK);
    ASSERT_EQ(AParcel_setDataPosition(parcel.get(), 0), STATUS_OK);
    ASSERT_EQ(AParcel_readNullableData(parcel.get(), &point), STATUS_OK);
    ASSERT_NE(point, nullptr);
    EXPECT_EQ(point->x, 6);
    ASSERT_EQ(AParcel_readNullableData(parcel.get(), &point), STATUS_OK);
    EXPECT_EQ(point, nullptr);
}

TEST(ParcelUtilsTest, NullWhereNoneIsAllowedIsRefusedByReaderAndWriter) {
    const ScopedAParcel absent = parcelOfInts({0, 0});
    const auto refuses = [](const ScopedAParcel& parcel, auto value) {
        return readFrom(parcel, &value) == STATUS_UNEXPECTED_NULL;
    };
    EXPECT_TRUE(refuses(absent, Point()));
    EXPECT_TRUE(refuses(absent, std::optional<Point>()));
    EXPECT_TRUE(refuses(absent, ndk::SpAIBinder()));
    EXPECT_TRUE(refuses(parcelOfInts({-1}), std::string()));
    EXPECT_TRUE(refuses(parcelOfInts({1, -1}), std::vector<std::string>()));
    EXPECT_TRUE(refuses(parcelOfInts({1, 0}), std::vector<Point>()));

    ScopedAParcel parcel(AParcel_create());
    const auto keeps = [&](const auto& value) {
        return AParcel_writeData(parcel.get(), value) == STATUS_UNEXPECTED_NULL;
    };
    EXPECT_TRUE(keeps(std::optional<Point>()));
    EXPECT_TRUE(keeps(std::optional<std::string>()));
    EXPECT_TRUE(keeps(ndk::SpAIBinder()));
    EXPECT_TRUE(keeps(ndk::ScopedFileDescriptor()));
    EXPECT_EQ(AParcel_getDataSize(parcel.get()), 0);
}

TEST(ParcelUtilsTest, OutVectorsGetTheirLengthWithinBounds) {
    std::vector<uint8_t> blob;
    std::vector<Point> points;
    std::optional<std::vector<Point>> maybe(std::in_place);
    const auto resize = [](int32_t length, auto* vector) {
        return ndk::AParcel_resizeVector(parcelOfInts({length}).get(), vector);
    };
    EXPECT_EQ(resize(100000, &blob), STATUS_OK);
    EXPECT_EQ(resize(100001, &blob), STATUS_NO_MEMORY);
    EXPECT_EQ(resize(25000, &points), STATUS_OK);
    EXPECT_EQ(resize(25001, &points), STATUS_NO_MEMORY);
    EXPECT_EQ(resize(-1, &blob), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(resize(-2, &blob), STATUS_BAD_VALUE);
    EXPECT_EQ(resize(-1, &maybe), STATUS_OK);
    EXPECT_FALSE(maybe.has_value());
}

TEST(ParcelUtilsTest, DescriptorsAreDuplicatedBothWays) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const ndk::ScopedFileDescriptor reader(ends[0]);
    ndk::ScopedFileDescriptor writer(ends[1]);
    ScopedAParcel parcel(AParcel_create());
    ASSERT_EQ(AParcel_writeData(parcel.get(), writer), STATUS_OK);
    writer.set(-1);
    ndk::ScopedFileDescriptor copy;
    ASSERT_EQ(readFrom(parcel, &copy), STATUS_OK);
    EXPECT_EQ(fcntl(copy.get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    ASSERT_EQ(write(copy.get(), "x", 1), 1);
    char byte = 0;
    EXPECT_EQ(read(reader.get(), &byte, 1), 1);
    EXPECT_EQ(byte, 'x');

    // With the last writing end the pipe ends: nobody keeps a forgotten duplicate.
    copy.set(-1);
    parcel.set(nullptr);
    EXPECT_EQ(read(reader.get(), &byte, 1), 0);
}

}  // namespace
