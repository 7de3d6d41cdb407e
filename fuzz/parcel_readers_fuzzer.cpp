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

#include <iterator>
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

constexpr void (*kRecordReaders[])(Input) = {
    readRecord<AlignInfo>,
    readRecord<ChunkResponse>,
    readRecord<DockInfo>,
    readRecord<DockPresent>,
    readRecord<FanInfo>,
    readRecord<FirmwareVersion>,
    readRecord<FwMissingChunk>,
    readRecord<FwUpdateInfo>,
    readRecord<FwUpdateStartResponse>,
    readRecord<FwUpdateStatus>,
    readRecord<KeyExchangeResponse>,
    readRecord<MissingChunk>,
    readRecord<PhoneInfo>,
    readRecord<PowerInfo>,
    readRecord<RtxStatusInfo>,
    readRecord<SkinTemp>,
    readRecord<UpdateInfo>,
    readRecord<UpdateStartResponse>,
    readRecord<UpdateStatus>,
    readRecord<WlcInfo>,
    readRecord<WpcAuthChallengeResponse>,
    readRecord<WpcAuthDigests>,
};

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

template <typename... Args>
void callWithNothing(ndk::ScopedAStatus (IWirelessCharger::*method)(Args...)) {
    std::tuple<std::remove_pointer_t<std::remove_cvref_t<Args>>...> values{};
    std::apply([&](auto&... each) { (void)(proxyOfLiar().*method)(passed<Args>(each)...); },
               values);
}

// Calls the method with zeros and empty lists; what counts is the reply.
template <auto method>
void readReply() {
    callWithNothing(method);
}

using I = IWirelessCharger;
// Every method whose reply has a type of its own.
constexpr void (*kReplyReaders[])() = {
    readReply<&I::challenge>,
    readReply<&I::getAlignInfo>,
    readReply<&I::getFanInfo>,
    readReply<&I::getFanLevel>,
    readReply<&I::getFeatures>,
    readReply<&I::getInformation>,
    readReply<&I::getRtxInformation>,
    readReply<&I::getWpcAuthCertificate>,
    readReply<&I::getWpcAuthChallengeResponse>,
    readReply<&I::getWpcAuthDigests>,
    readReply<&I::isDockPresent>,
    readReply<&I::isRtxModeOn>,
    readReply<&I::keyExchange>,
    readReply<&I::reboot>,
    readReply<&I::getFirstMissingChunk>,
    readReply<&I::sendChunk>,
    readReply<&I::getUpdateExecutionStatus>,
    readReply<&I::getUpdateInformation>,
    readReply<&I::executeUpdate>,
    readReply<&I::updateStart>,
    readReply<&I::getFirstFwMissingChunk>,
    readReply<&I::getFwUpdateExecutionStatus>,
    readReply<&I::getFwUpdateInformation>,
    readReply<&I::fwUpdateStart>,
    readReply<&I::sendCompressFwChunk>,
    readReply<&I::getSkinTemperature>,
    readReply<&I::getPhoneInformation>,
    readReply<&I::getPowerInformation>,
    readReply<&I::getInterfaceHash>,
};

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace aidl::vendor::zorvak::wireless_charger;
    if (size < 2) return 0;
    const uint8_t choice = data[1];
    const Input bytes(data + 2, size - 2);
    if (data[0] % 2 == 0) {
        kRecordReaders[choice % std::size(kRecordReaders)](bytes);
    } else {
        gReply = bytes;
        kReplyReaders[choice % std::size(kReplyReaders)]();
    }
    return 0;
}
