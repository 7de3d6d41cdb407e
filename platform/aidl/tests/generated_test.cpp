// SPDX-License-Identifier: Apache-2.0
// What the generated code of the sample interface does: every type through a parcel and through a
// call, and parcels that lie.
#include <aidl/test/sample/BnLooker.h>
#include <aidl/test/sample/BpLooker.h>
#include <aidl/test/sample/Everything.h>
#include <aidl/test/sample/OtherMode.h>
#include <android/binder_parcel_utils.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace aidl::test::sample {
namespace {

using ::testing::ElementsAre;

template <typename T>
std::vector<uint8_t> bytesOf(const T& value) {
    const ndk::ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(value.writeToParcel(parcel.get()), STATUS_OK);
    std::vector<uint8_t> bytes(static_cast<size_t>(AParcel_getDataSize(parcel.get())));
    EXPECT_EQ(AParcel_marshal(parcel.get(), bytes.data(), 0, bytes.size()), STATUS_OK);
    return bytes;
}

template <typename T>
binder_status_t readBytes(const std::vector<uint8_t>& bytes, T* value) {
    const ndk::ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(AParcel_unmarshal(parcel.get(), bytes.data(), bytes.size()), STATUS_OK);
    return value->readFromParcel(parcel.get());
}

// Reads a new T whose first word was replaced.
template <typename T>
binder_status_t readWithFirstWord(int32_t word) {
    std::vector<uint8_t> bytes = bytesOf(T());
    std::memcpy(bytes.data(), &word, sizeof(word));
    T received;
    return readBytes(bytes, &received);
}

Everything filled() {
    Everything e;
    e.flag = false;
    e.small = -1;
    e.letter = u'\xffff';
    e.number = INT32_MIN;
    e.mode = Mode::TOP;
    e.otherMode = OtherMode::AUTO;
    e.choice = Choice::make<Choice::Tag::small>(Small{7, "seven"});
    e.bytes = {0, 255, 1, 2, 3};
    e.inners.resize(2);
    e.list = {"", "b"};
    e.key = {9, 8, 7, 6, 5, 4};
    e.pair = {-1, 1};
    e.twins[1].number = 77;
    e.names = {"", "x"};
    e.maybeText = "t";
    e.maybeInner = Small{1, ""};
    e.maybeChoice = Choice::make<Choice::Tag::words>({std::string("w"), std::string("")});
    e.maybeBytes = std::vector<uint8_t>{};
    e.maybeTexts = {{"a", std::nullopt}};
    e.maybeInners = {{std::nullopt, Small{}}};
    e.maybePair = {{4, 5}};
    return e;
}

TEST(GeneratedRecordTest, NewRecordHoldsItsDefaultsAndTextNamesEachField) {
    EXPECT_EQ(Everything().toString(),
              "Everything{flag: true, small: -128, letter: a, number: 42, large: 1099511627776, "
              "ratio: 1.500000, precise: -0.250000, text: it's a text, mode: AUTO, otherMode: "
              "DEFAULT, plainMode: AUTO, inner: Small{number: 5, text: five}, nothing: Empty{}, "
              "choice: Choice{number: 42}, bytes: [1, 255], flags: [true, false], numbers: [6, "
              "-5], texts: [a, b], modes: [AUTO, FAST], inners: [], list: [], records: [], key: "
              "[1, 2, 3, 4, 5, 255], pair: [0, 0], twins: [Small{number: 5, text: five}, "
              "Small{number: 5, text: five}], names: [x, y], maybeText: (null), maybeInner: "
              "(null), maybeChoice: (null), maybeBytes: (null), maybeTexts: (null), maybeInners: "
              "(null), maybePair: (null), binder: (null), looker: (null), file: -1, lookers: "
              "(null)}");
    EXPECT_EQ(std::string(Everything::NAME), "everything");
    EXPECT_EQ(static_cast<int>(Everything::LIMIT), 6);
}

// Every other value comes through the call below.
TEST(GeneratedRecordTest, DefaultsReplaceWhatARecordHeld) {
    Everything received = filled();
    EXPECT_NE(received, Everything());
    ASSERT_EQ(readBytes(bytesOf(Everything()), &received), STATUS_OK);
    EXPECT_EQ(received, Everything());
    EXPECT_FALSE(received < Everything() || received > Everything());
}

TEST(GeneratedRecordTest, CutAnywhereIsRefused) {
    for (std::vector<uint8_t> bytes = bytesOf(filled()); !bytes.empty();) {
        bytes.pop_back();
        Everything received;
        EXPECT_NE(readBytes(bytes, &received), STATUS_OK) << bytes.size();
    }
}

TEST(GeneratedRecordTest, LyingSizeOrUnknownTagIsRefused) {
    const auto length = static_cast<int32_t>(bytesOf(Small()).size());
    EXPECT_EQ(readWithFirstWord<Small>(length), STATUS_OK);
    for (const int32_t size : {INT32_MIN, -1, 0, 3, 9, length - 1, length + 1, INT32_MAX}) {
        EXPECT_EQ(readWithFirstWord<Small>(size), STATUS_BAD_VALUE) << size;
    }
    for (const int32_t tag : {7, -1, INT32_MAX}) {
        EXPECT_EQ(readWithFirstWord<Choice>(tag), STATUS_BAD_VALUE) << tag;
    }
}

TEST(GeneratedRecordTest, ShorterRecordLeavesDefaultsAndLongerOneIsSkipped) {
    const ndk::ScopedAParcel parcel(AParcel_create());
    // Only the first field; nothing at all; both fields and 8 bytes more. Then another value.
    for (const int32_t word : {8, 1, 4, 28, 2, 1, int32_t{'a'}, -1, -1, -1, 99}) {
        ASSERT_EQ(AParcel_writeInt32(parcel.get(), word), STATUS_OK);
    }
    ASSERT_EQ(AParcel_setDataPosition(parcel.get(), 0), STATUS_OK);
    for (const Small& wanted : {Small{1, "five"}, Small(), Small{2, "a"}}) {
        Small received;
        ASSERT_EQ(received.readFromParcel(parcel.get()), STATUS_OK);
        EXPECT_EQ(received, wanted);
    }
    int32_t next = 0;
    ASSERT_EQ(AParcel_readInt32(parcel.get(), &next), STATUS_OK);
    EXPECT_EQ(next, 99);
}

TEST(GeneratedUnionTest, EachMemberSurvivesAParcel) {
    for (const Choice& sent : {
             Choice::make<Choice::Tag::number>(-1),
             Choice::make<Choice::Tag::small>(Small{3, "x"}),
             Choice::make<Choice::Tag::text>("text"),
             Choice::make<Choice::Tag::bytes>(std::vector<uint8_t>{1, 2}),
             Choice::make<Choice::Tag::maybe>(std::nullopt),
             Choice::make<Choice::Tag::key>(std::array<uint8_t, 4>{1, 2, 3, 4}),
             Choice::make<Choice::Tag::words>(std::vector<std::string>{"a"}),
         }) {
        Choice received;
        ASSERT_EQ(readBytes(bytesOf(sent), &received), STATUS_OK) << sent.toString();
        EXPECT_EQ(received, sent);
    }
}

TEST(GeneratedUnionDeathTest, WrongMemberAborts) {
    const Choice choice;
    EXPECT_DEATH(static_cast<void>(choice.get<Choice::Tag::text>()), "wrong tag");
}

TEST(GeneratedEnumTest, RangeHoldsAllNamesAndTextIsTheFirstName) {
    std::vector<int32_t> numbers;
    for (const Mode mode : ndk::enum_range<Mode>()) {
        numbers.push_back(static_cast<int32_t>(mode));
    }
    EXPECT_THAT(numbers, ElementsAre(-1, 0, 0, 16, 31));
    EXPECT_EQ(toString(Mode::DEFAULT), "AUTO");
    EXPECT_EQ(toString(static_cast<Mode>(5)), "5");
    EXPECT_EQ(static_cast<int64_t>(OtherMode::AUTO), INT64_MIN);
}

// Answers with what came in.
class Looker : public BnLooker {
  public:
    ndk::ScopedAStatus turn(const Everything& what, Mode mode,
                            const std::optional<std::string>& note, Everything* result) override {
        if (!note) {
            // Not seen by the caller: the status goes alone.
            result->number = 1;
            return ndk::ScopedAStatus(AStatus_fromServiceSpecificError(4));
        }
        EXPECT_EQ(readBytes(bytesOf(what), result), STATUS_OK);
        result->mode = mode;
        result->text = *note;
        return ndk::ScopedAStatus::ok();
    }
    ndk::ScopedAStatus look(const Choice& choice, const std::shared_ptr<ILooker>& back) override {
        EXPECT_EQ(back.get(), this);
        looked = choice.get<Choice::Tag::text>();
        return ndk::ScopedAStatus::ok();
    }
    ndk::ScopedAStatus fill(std::vector<int32_t>* numbers, std::vector<std::string>* words,
                            std::array<uint8_t, 4>* key, int32_t count) override {
        numbers->assign(numbers->size(), count);
        words->push_back(count < 0 ? "\xff" : "more");
        *key = {4, 3, 2, 1};
        return ndk::ScopedAStatus::ok();
    }
    ndk::ScopedAStatus names(
        const ndk::SpAIBinder& binder, const ndk::ScopedFileDescriptor& file, char16_t letter,
        double precise, std::optional<std::vector<std::optional<std::string>>>* result) override {
        EXPECT_GE(fcntl(file.get(), F_GETFD), 0);
        EXPECT_TRUE(letter == u'\xffff' && precise == 0.25);
        if (binder.get() != nullptr) *result = {"a", std::nullopt};
        return ndk::ScopedAStatus::ok();
    }

    std::string looked;
};

// A proxy whose calls go through parcels to an object of this process.
class GeneratedCallTest : public testing::Test {
  protected:
    const std::shared_ptr<Looker> mLooker = ndk::SharedRefBase::make<Looker>();
    const std::shared_ptr<BpLooker> mProxy =
        ndk::SharedRefBase::make<BpLooker>(mLooker->asBinder());
};

TEST_F(GeneratedCallTest, ArgumentsAndResultArriveUnlessTheCallFails) {
    Everything result;
    const auto failed = mProxy->turn(filled(), Mode::FAST, std::nullopt, &result);
    EXPECT_EQ(failed.getServiceSpecificError(), 4);
    EXPECT_EQ(result, Everything());
    ASSERT_TRUE(mProxy->turn(filled(), Mode::FAST, "note", &result).isOk());
    Everything expected = filled();
    expected.mode = Mode::FAST;
    expected.text = "note";
    EXPECT_EQ(result, expected);
}

TEST_F(GeneratedCallTest, OutArgumentsComeBack) {
    std::vector<int32_t> numbers(3);
    std::vector<std::string> words = {"one"};
    std::array<uint8_t, 4> key = {};
    ASSERT_TRUE(mProxy->fill(&numbers, &words, &key, 5).isOk());
    EXPECT_THAT(numbers, ElementsAre(5, 5, 5));
    EXPECT_THAT(words, ElementsAre("one", "more"));
    EXPECT_THAT(key, ElementsAre(4, 3, 2, 1));
    // Text that is not UTF-8 ends the call, whichever side writes it.
    EXPECT_EQ(mProxy->fill(&numbers, &words, &key, -1).getStatus(), STATUS_BAD_VALUE);
    Everything result;
    EXPECT_EQ(mProxy->turn(filled(), Mode::FAST, "\xff", &result).getStatus(), STATUS_BAD_VALUE);
}

TEST_F(GeneratedCallTest, ScalarsAndDescriptorsArriveAndNullComesBack) {
    const ndk::ScopedFileDescriptor file(open("/dev/null", O_RDONLY | O_CLOEXEC));
    std::optional<std::vector<std::optional<std::string>>> names;
    ASSERT_TRUE(mProxy->names(mLooker->asBinder(), file, u'\xffff', 0.25, &names).isOk());
    EXPECT_THAT(names.value(), ElementsAre("a", std::nullopt));
    ASSERT_TRUE(mProxy->names(ndk::SpAIBinder(), file, u'\xffff', 0.25, &names).isOk());
    EXPECT_FALSE(names.has_value());
}

TEST_F(GeneratedCallTest, OnewayCallArrivesAndNullWhereNoneMayBeIsRefused) {
    ASSERT_TRUE(mProxy->look(Choice::make<Choice::Tag::text>("x"), mLooker).isOk());
    EXPECT_EQ(mLooker->looked, "x");
    EXPECT_EQ(mProxy->look(Choice(), nullptr).getStatus(), STATUS_UNEXPECTED_NULL);
}

TEST_F(GeneratedCallTest, VersionAndHashAreAnswered) {
    // Twice: the second answer comes from the proxy's memory.
    for (int i = 0; i < 2; ++i) {
        int32_t version = 0;
        std::string hash;
        ASSERT_TRUE(mProxy->getInterfaceVersion(&version).isOk());
        ASSERT_TRUE(mProxy->getInterfaceHash(&hash).isOk());
        EXPECT_EQ(version, 1);
        EXPECT_EQ(hash, ILooker::hash);
    }
    EXPECT_EQ(ILooker::TRANSACTION_look, FIRST_CALL_TRANSACTION + 1u);
}

TEST_F(GeneratedCallTest, MissingArgumentsNeverReachTheImplementation) {
    const ndk::SpAIBinder binder = mLooker->asBinder();
    for (const transaction_code_t code : {ILooker::TRANSACTION_turn, ILooker::TRANSACTION_look,
                                          ILooker::TRANSACTION_fill, ILooker::TRANSACTION_names}) {
        ndk::ScopedAParcel in;
        ndk::ScopedAParcel out;
        ASSERT_EQ(AIBinder_prepareTransaction(binder.get(), in.getR()), STATUS_OK);
        EXPECT_NE(AIBinder_transact(binder.get(), code, in.getR(), out.getR(), 0), STATUS_OK);
    }
}

}  // namespace
}  // namespace aidl::test::sample
