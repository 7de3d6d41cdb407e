// SPDX-License-Identifier: Apache-2.0
// What each method may answer, and what it has to refuse.
#include <functional>
#include <iostream>

#include "charger_vts.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

using ndk::ScopedAStatus;
using testing::_;
using testing::AllOf;
using testing::AnyOf;
using testing::AnyOfArray;
using testing::Eq;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

using Bytes = std::vector<uint8_t>;
using Call = std::function<ScopedAStatus(I&)>;

struct Row {
    const char* method;
    Call call;
};

/** A call whose answer, when there is one, is as the interface documents it. */
template <typename Answer, typename Method, typename... Args>
Call asks(Method method, const testing::Matcher<const Answer&>& documented, Args... args) {
    return [=](I& charger) {
        Answer answer{};
        ScopedAStatus status = (charger.*method)(args..., &answer);
        if (status.isOk()) {
            EXPECT_THAT(answer, documented);
        }
        return status;
    };
}

template <typename Method>
Call tells(Method method) {
    return [=](I& charger) { return (charger.*method)(); };
}

const auto isByte = Within(0, 255);
const auto isWord = Within(0, 65535);
const auto isMask = Within(0, 15);
const auto isDockKind = AnyOfArray({0, 1, 2, 4, 15});
const auto isVersion = AllOf(Field("major", &FirmwareVersion::major, isByte),
                             Field("minor", &FirmwareVersion::minor, isByte));
const auto isExecuteStatus = AnyOf(ExecuteStatus::ACCEPTED, ExecuteStatus::INCOMPLETE,
                                   ExecuteStatus::INVALID_IMAGE, ExecuteStatus::REFUSED);

const testing::Matcher<const DockInfo&> isDockInfo =
    AllOf(Field("dockValue", &DockInfo::dockValue, 0),
          Field("firmwareVersion", &DockInfo::firmwareVersion, isVersion),
          Field("flagBits", &DockInfo::flagBits, Within(0, 3)),
          Field("dockKind", &DockInfo::dockKind, isDockKind),
          Field("extraText", &DockInfo::extraText, IsEmpty()),
          Field("compatibility", &DockInfo::compatibility, AnyOf(Within(-2, 7), 127)),
          Field("extraFirmwareVersion", &DockInfo::extraFirmwareVersion, Eq(std::nullopt)));

const testing::Matcher<const DockPresent&> isPresence =
    AllOf(Field("dockKind", &DockPresent::dockKind, isDockKind),
          Field("dockClass", &DockPresent::dockClass, Within(0, 3)),
          AnyOf(Field("docked", &DockPresent::docked, true),
                Field("dockKind", &DockPresent::dockKind, 15)));

const testing::Matcher<const PhoneInfo&> isPhone = AllOf(
    Field("model", &PhoneInfo::model, IsEmpty()), Field("receiverId", &PhoneInfo::receiverId, 0),
    Field("qiSpec", &PhoneInfo::qiSpec,
          AnyOfArray({-1, 0, 0x1200, 0x1201, 0x1300, 0x1301, 0x2003, 0x2102, 0x2203})));

const testing::Matcher<const WpcAuthChallengeResponse&> isSignature =
    AllOf(Field("maxProtocolVersion", &WpcAuthChallengeResponse::maxProtocolVersion, isMask),
          Field("slotPopulatedMask", &WpcAuthChallengeResponse::slotPopulatedMask, isMask),
          Field("signatureR", &WpcAuthChallengeResponse::signatureR, SizeIs(32)),
          Field("signatureS", &WpcAuthChallengeResponse::signatureS, SizeIs(32)));

const testing::Matcher<const FwUpdateStartResponse&> isStart =
    AllOf(Field("resume", &FwUpdateStartResponse::resume, AnyOf(0, 1)),
          Field("progress", &FwUpdateStartResponse::progress, Within(100 - 255, 100)));

const testing::Matcher<const WpcAuthDigests&> isDigests =
    AllOf(Field("slotPopulatedMask", &WpcAuthDigests::slotPopulatedMask, isMask),
          Field("digestMask", &WpcAuthDigests::digestMask, isMask));

FirmwareVersion versionNamed(size_t nameLength) {
    return {1, 0, std::string(nameLength, 'n')};
}

constexpr FanMode kUnknownMode = FanMode(2);

// clang-format off
const Row kNeverFailing[] = {
    {"getPhoneInformation", asks<PhoneInfo>(&I::getPhoneInformation, isPhone)},
    {"getDockInformation", asks<DockInfo>(&I::getDockInformation, isDockInfo)},
    {"getPowerInformation", asks<PowerInfo>(&I::getPowerInformation, Field("limitReason", &PowerInfo::limitReason, AnyOfArray({0, 2, 3, 4, 5, 6, 7, 8, 10, 11})))},
    {"getRtxInformation", asks<RtxStatusInfo>(&I::getRtxInformation, IsRtxStatus())},
    {"isDockPresent", asks<DockPresent>(&I::isDockPresent, isPresence)},
    {"isRtxModeOn", asks<bool>(&I::isRtxModeOn, _)},
    {"isRtxSupported", asks<bool>(&I::isRtxSupported, _)},
};

const Row kHarmless[] = {
    {"challenge", asks<Bytes>(&I::challenge, SizeIs(8), 5, Bytes(8, 7))},
    {"getAlignInfo", asks<AlignInfo>(&I::getAlignInfo, Field("status", &AlignInfo::status, Within(0, 3)))},
    {"getFanInfo", asks<FanInfo>(&I::getFanInfo, _, 0)},
    {"getFanInfo of the last", asks<FanInfo>(&I::getFanInfo, _, 7)},
    {"getFanLevel", asks<int32_t>(&I::getFanLevel, _)},
    {"getFeatures", asks<WirelessChargerFeature>(&I::getFeatures, _, 1)},
    {"getInformation", asks<DockInfo>(&I::getInformation, isDockInfo)},
    {"getWpcAuthCertificate", asks<Bytes>(&I::getWpcAuthCertificate, SizeIs(testing::Le(1058)), 0, 0, 0)},
    {"getWpcAuthCertificate of a beginning", asks<Bytes>(&I::getWpcAuthCertificate, SizeIs(testing::Le(100)), 0, 0, 100)},
    {"getWpcAuthCertificate of a part", asks<Bytes>(&I::getWpcAuthCertificate, SizeIs(32), 0, 2, 32)},
    {"getWpcAuthChallengeResponse", asks<WpcAuthChallengeResponse>(&I::getWpcAuthChallengeResponse, isSignature, 0, Bytes(16, 9))},
    {"getWpcAuthDigests", asks<WpcAuthDigests>(&I::getWpcAuthDigests, isDigests, 15)},
    {"isAuthReady", asks<bool>(&I::isAuthReady, true)},
    {"keyExchange", asks<KeyExchangeResponse>(&I::keyExchange, Field("key", &KeyExchangeResponse::key, SizeIs(32)), Bytes(32, 3))},
    {"setFan of an unknown mode", asks<FanInfo>(&I::setFan, _, 0, kUnknownMode, 9)},
    {"setFan", asks<FanInfo>(&I::setFan, _, 0, FanMode::AUTO, 0)},
    {"getSkinTemperature", asks<SkinTemp>(&I::getSkinTemperature, _)},
    {"getUpdateInformation", asks<UpdateInfo>(&I::getUpdateInformation, _)},
    {"getUpdateExecutionStatus", asks<UpdateStatus>(&I::getUpdateExecutionStatus, Field("status", &UpdateStatus::status, Within(0, 2)))},
    {"getFwUpdateInformation", asks<FwUpdateInfo>(&I::getFwUpdateInformation, Field("version", &FwUpdateInfo::version, AllOf(isVersion, Field("name", &FirmwareVersion::name, IsEmpty()))), 0)},
    {"getFwUpdateExecutionStatus", asks<FwUpdateStatus>(&I::getFwUpdateExecutionStatus, Field("status", &FwUpdateStatus::status, AnyOf(Within(0, 2), 16)), 0)},
    {"getFirstFwMissingChunk", asks<FwMissingChunk>(&I::getFirstFwMissingChunk, AllOf(Field("chunkNumber", &FwMissingChunk::chunkNumber, isWord), Field("numChunks", &FwMissingChunk::numChunks, isWord)), 0)},
    {"getFirstMissingChunk", asks<MissingChunk>(&I::getFirstMissingChunk, _)},
};

// In the order of updates that end with chunks missing, so that the restart changes no firmware.
const Row kChangingTheDock[] = {
    {"fwUpdateStart", asks<FwUpdateStartResponse>(&I::fwUpdateStart, isStart, 0, 24, 8, true, versionNamed(300))},
    {"sendFwChunk", asks<int32_t>(&I::sendFwChunk, isWord, 0, 0, 0, Bytes(8))},
    {"fwExecuteUpdate", asks<ExecuteStatus>(&I::fwExecuteUpdate, isExecuteStatus, 0)},
    {"compressFwUpdateStart", asks<FwUpdateStartResponse>(&I::compressFwUpdateStart, isStart, 0, 100, 8, true, 24, versionNamed(0))},
    {"sendCompressFwChunk", asks<ChunkResponse>(&I::sendCompressFwChunk, Field("next", &ChunkResponse::next, isWord), 0, 0, 0, Bytes(8))},
    {"updateStart", asks<UpdateStartResponse>(&I::updateStart, UpdateStartResponse(), 24, 8, true, versionNamed(247))},
    {"sendChunk", asks<char16_t>(&I::sendChunk, _, 0, 0, Bytes(8))},
    {"executeUpdate", asks<ExecuteStatus>(&I::executeUpdate, isExecuteStatus)},
    {"reboot", tells(&I::reboot)},
    {"sendReboot", tells(&I::sendReboot)},
};

// Refused before anything is sent, whatever the dock is.
const std::pair<const char*, Call> kOutOfRange[] = {
    {"challenge of 7 bytes", asks<Bytes>(&I::challenge, _, 0, Bytes(7))},
    {"challenge of 9 bytes", asks<Bytes>(&I::challenge, _, 0, Bytes(9))},
    {"keyExchange of 31 bytes", asks<KeyExchangeResponse>(&I::keyExchange, _, Bytes(31))},
    {"keyExchange of 33 bytes", asks<KeyExchangeResponse>(&I::keyExchange, _, Bytes(33))},
    {"getFanInfo of fan 8", asks<FanInfo>(&I::getFanInfo, _, 8)},
    {"setFan of fan 8", asks<FanInfo>(&I::setFan, _, 8, FanMode::AUTO, 0)},
    {"getWpcAuthCertificate of 2045 bytes", asks<Bytes>(&I::getWpcAuthCertificate, _, 0, 0, 2045)},
    {"getWpcAuthChallengeResponse for 15 bytes", asks<WpcAuthChallengeResponse>(&I::getWpcAuthChallengeResponse, _, 0, Bytes(15))},
    {"getWpcAuthChallengeResponse for 17 bytes", asks<WpcAuthChallengeResponse>(&I::getWpcAuthChallengeResponse, _, 0, Bytes(17))},
    {"sendChunk of 254 bytes", asks<char16_t>(&I::sendChunk, _, 0, 0, Bytes(254))},
    {"sendFwChunk of 253 bytes", asks<int32_t>(&I::sendFwChunk, _, 0, 0, 0, Bytes(253))},
    {"sendCompressFwChunk of 253 bytes", asks<ChunkResponse>(&I::sendCompressFwChunk, _, 0, 0, 0, Bytes(253))},
    {"updateStart with a name of 248 bytes", asks<UpdateStartResponse>(&I::updateStart, _, 24, 8, true, versionNamed(248))},
};
// clang-format on

constexpr int kLastError = static_cast<int>(ErrorCode::BUSY);

class Methods : public ChargerVts {
  protected:
    template <size_t Size>
    void callAll(const Row (&rows)[Size], int lastError) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.method);
            const ScopedAStatus status = row.call(*charger);
            EXPECT_THAT(errorOf(status), Within(0, lastError)) << status.getDescription();
            if (!status.isOk()) {
                std::cout << row.method << " refused: " << status.getDescription() << "\n";
            }
        }
    }
};

TEST_P(Methods, InterfaceIsTheFrozenOne) {
    int32_t version = 0;
    std::string hash;
    EXPECT_TRUE(charger->getInterfaceVersion(&version).isOk());
    EXPECT_TRUE(charger->getInterfaceHash(&hash).isOk());
    EXPECT_EQ(version, I::version);
    EXPECT_EQ(hash, I::hash);
}

TEST_P(Methods, UpdateAnswersAndErrorsAreDocumented) {
    if (!gMayChangeDock) GTEST_SKIP() << "changes the dock: only with --change_dock";
    callAll(kChangingTheDock, kLastError);
}

TEST_P(Methods, AnswersAndErrorsAreDocumented) {
    callAll(kNeverFailing, 0);
    callAll(kHarmless, kLastError);
}

TEST_P(Methods, ArgumentsOutOfRangeAreInvalid) {
    for (const auto& [name, call] : kOutOfRange) {
        EXPECT_EQ(errorOf(call(*charger)), kInvalidArgument) << name;
    }
}

CHECK_EVERY_INSTANCE(Methods);

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
