// SPDX-License-Identifier: Apache-2.0
//
// Parcels of a hostile peer into every generated reader of a client: the records, and the replies
// that the proxies take apart. The first two bytes of the input choose the reader. What a record
// reader accepts must survive being written and read again.
#include <aidl/vendor/zorvak/wireless_charger/BpWirelessCharger.h>
#include <android/binder_auto_utils.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#include <array>
#include <span>
#include <tuple>
#include <type_traits>

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

using Input = std::span<const uint8_t>;

ndk::ScopedAParcel parcelOf(Input bytes) {
    ndk::ScopedAParcel parcel(AParcel_create());
    (void)AParcel_unmarshal(parcel.get(), bytes.data(), bytes.size());
    return parcel;
}

template <typename Record>
void readRecord(Input bytes) {
    Record record;
    if (record.readFromParcel(parcelOf(bytes).get()) != STATUS_OK) return;
    (void)record.toString();
    ndk::ScopedAParcel copy(AParcel_create());
    if (record.writeToParcel(copy.get()) != STATUS_OK) abort();
    (void)AParcel_setDataPosition(copy.get(), 0);
    Record again;
    if (again.readFromParcel(copy.get()) != STATUS_OK || !(again == record)) abort();
}

using Reader = void (*)(Input);

template <typename... Records>
constexpr std::array<Reader, sizeof...(Records)> kReadersOf = {readRecord<Records>...};

constexpr auto kRecordReaders =
    kReadersOf<AlignInfo, ChunkResponse, DockInfo, DockPresent, FanInfo, FirmwareVersion,
               FwMissingChunk, FwUpdateInfo, FwUpdateStartResponse, FwUpdateStatus,
               KeyExchangeResponse, MissingChunk, PhoneInfo, PowerInfo, RtxStatusInfo, SkinTemp,
               UpdateInfo, UpdateStartResponse, UpdateStatus, WlcInfo, WpcAuthChallengeResponse,
               WpcAuthDigests>;

// Answers every call with the current input.
Input gReply;

binder_status_t answerWithInput(AIBinder*, transaction_code_t, const AParcel*, AParcel* out) {
    return AParcel_unmarshal(out, gReply.data(), gReply.size());
}

IWirelessCharger& proxyOfLiar() {
    static AIBinder_Class* const clazz = AIBinder_Class_define(
        IWirelessCharger::descriptor, [](void* args) { return args; }, [](void*) {},
        answerWithInput);
    static auto& proxy = *new std::shared_ptr<BpWirelessCharger>(
        ndk::SharedRefBase::make<BpWirelessCharger>(ndk::SpAIBinder(AIBinder_new(clazz, nullptr))));
    return *proxy;
}

template <typename T, typename Value>
T passed(Value& value) {
    if constexpr (std::is_pointer_v<T>) {
        return &value;
    } else {
        return value;
    }
}

// Calls the method with zeros and empty lists; what counts is the reply.
template <typename... Args>
void callWithNothing(ndk::ScopedAStatus (IWirelessCharger::*method)(Args...)) {
    std::tuple<std::remove_pointer_t<std::remove_cvref_t<Args>>...> values{};
    std::apply([&](auto&... each) { (void)(proxyOfLiar().*method)(passed<Args>(each)...); },
               values);
}

template <auto method>
void readReply(Input bytes) {
    gReply = bytes;
    callWithNothing(method);
}

template <auto... methods>
constexpr std::array<Reader, sizeof...(methods)> kReadersOfReplies = {readReply<methods>...};

using I = IWirelessCharger;
// Every method whose reply has a type of its own.
constexpr auto kReplyReaders = kReadersOfReplies<
    &I::challenge, &I::getAlignInfo, &I::getFanInfo, &I::getFanLevel, &I::getFeatures,
    &I::getInformation, &I::getRtxInformation, &I::getWpcAuthCertificate,
    &I::getWpcAuthChallengeResponse, &I::getWpcAuthDigests, &I::isDockPresent, &I::isRtxModeOn,
    &I::keyExchange, &I::reboot, &I::getFirstMissingChunk, &I::sendChunk,
    &I::getUpdateExecutionStatus, &I::getUpdateInformation, &I::executeUpdate, &I::updateStart,
    &I::getFirstFwMissingChunk, &I::getFwUpdateExecutionStatus, &I::getFwUpdateInformation,
    &I::fwUpdateStart, &I::sendCompressFwChunk, &I::getSkinTemperature, &I::getPhoneInformation,
    &I::getPowerInformation, &I::getInterfaceHash>;

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace aidl::vendor::zorvak::wireless_charger;
    if (size < 2) return 0;
    const uint8_t choice = data[1];
    const Input bytes(data + 2, size - 2);
    const std::span<const Reader> readers =
        data[0] % 2 == 0 ? std::span<const Reader>(kRecordReaders) : kReplyReaders;
    readers[choice % readers.size()](bytes);
    return 0;
}
