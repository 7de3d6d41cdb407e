// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <fuzzbinder/libbinder_ndk_driver.h>
#include <sys/mman.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "binder.h"
#include "parcel.h"

namespace android {
namespace {

using android::base::unique_fd;
using namespace android::host;

constexpr int kMaxItems = 64;
constexpr size_t kMaxBytes = 300;  // a little more than the longest arrays that services take
constexpr transaction_code_t kMaxLikelyMethod = 100;
constexpr transaction_code_t kGeneralCodes[] = {kPingCode, kDumpCode, kShellCommandCode,
                                                kInterfaceCode, kExtensionCode};

// Where the random objects take their answers from; null while none is fuzzed.
thread_local FuzzedDataProvider* tAnswers = nullptr;

binder_status_t answerAtRandom(AIBinder*, transaction_code_t, const AParcel*, AParcel* out) {
    if (tAnswers == nullptr) return STATUS_DEAD_OBJECT;
    const auto bytes = tAnswers->ConsumeBytes<uint8_t>(tAnswers->ConsumeIntegral<uint8_t>());
    out->write(bytes.data(), bytes.size());
    return tAnswers->PickValueInArray(
        {STATUS_OK, STATUS_DEAD_OBJECT, STATUS_UNKNOWN_TRANSACTION, STATUS_FAILED_TRANSACTION});
}

AIBinder_Class* defineClass(const char* descriptor) {
    return AIBinder_Class_define(
        descriptor, [](void* args) { return args; }, [](void*) {}, answerAtRandom);
}

class ParcelMaker {
  public:
    ParcelMaker(AIBinder* target, FuzzedDataProvider* provider)
        : mTarget(target), mProvider(*provider) {}

    void fill(AParcel* parcel) {
        const int count = mProvider.ConsumeIntegralInRange(0, kMaxItems);
        for (int i = 0; i < count && mProvider.remaining_bytes() > 0; ++i) addItem(parcel);
    }

  private:
    void addItem(AParcel* parcel) {
        switch (mProvider.ConsumeIntegralInRange(0, 7)) {
            case 0:  // a truth value, an enumerator, presence, a length
                parcel->writeValue(mProvider.ConsumeIntegralInRange<int32_t>(-2, 40));
                break;
            case 1:
                parcel->writeValue(mProvider.ConsumeIntegral<int32_t>());
                break;
            case 2:
                parcel->writeValue(mProvider.ConsumeIntegral<int64_t>());
                break;
            case 3:
                parcel->writeString(mProvider.ConsumeRandomLengthString(kMaxBytes));
                break;
            case 4: {
                const auto bytes = mProvider.ConsumeBytes<uint8_t>(takeSize());
                parcel->write(bytes.data(), bytes.size());
                break;
            }
            case 5: {  // an array; how long it is counts for more than what is in it
                const size_t size = takeSize();
                const std::vector<uint8_t> bytes(size, mProvider.ConsumeIntegral<uint8_t>());
                parcel->writeValue(static_cast<int32_t>(bytes.size()));
                parcel->write(bytes.data(), bytes.size());
                break;
            }
            case 6:
                addBinder(parcel);
                break;
            default:
                addDescriptor(parcel);
                break;
        }
    }

    size_t takeSize() { return mProvider.ConsumeIntegralInRange<size_t>(0, kMaxBytes); }

    void addBinder(AParcel* parcel) {
        // One that looks like the fuzzed object, and one that looks like nothing known.
        static AIBinder_Class* const alike = defineClass(mTarget->clazz()->descriptor.c_str());
        static AIBinder_Class* const unlike = defineClass("fuzzbinder.IUnknown");
        switch (mProvider.ConsumeIntegralInRange(0, 3)) {
            case 0:
                parcel->writeBinder(nullptr);
                break;
            case 1:
                parcel->writeBinder(mTarget);
                break;
            default: {
                AIBinder* binder = AIBinder_new(mProvider.ConsumeBool() ? alike : unlike, nullptr);
                parcel->writeBinder(binder);
                AIBinder_decStrong(binder);
                break;
            }
        }
    }

    void addDescriptor(AParcel* parcel) {
        unique_fd fd(mProvider.ConsumeBool() ? open("/dev/null", O_RDWR | O_CLOEXEC)
                                             : memfd_create("fuzz", MFD_CLOEXEC));
        if (fd.ok()) parcel->writeFd(std::move(fd));
    }

    AIBinder* const mTarget;
    FuzzedDataProvider& mProvider;
};

transaction_code_t pickCode(FuzzedDataProvider* provider) {
    switch (provider->ConsumeIntegralInRange(0, 7)) {
        case 0:
            return provider->ConsumeIntegral<transaction_code_t>();
        case 1:
            return provider->PickValueInArray(kGeneralCodes);
        default:
            return provider->ConsumeIntegralInRange<transaction_code_t>(0, kMaxLikelyMethod);
    }
}

}  // namespace

void fuzzService(AIBinder* binder, FuzzedDataProvider&& provider) {
    tAnswers = &provider;
    ParcelMaker maker(binder, &provider);
    while (provider.remaining_bytes() > 0) {
        AParcel in;
        AParcel out;
        const transaction_code_t code = pickCode(&provider);
        // Without its token a method is not even begun.
        if (code <= kMaxLikelyMethod && provider.ConsumeIntegralInRange(0, 15) != 0) {
            const std::vector<uint8_t>& token = binder->clazz()->token;
            in.write(token.data(), token.size());
        }
        maker.fill(&in);
        const binder_flags_t flags = provider.ConsumeBool() ? binder_flags_t{FLAG_ONEWAY} : 0;
        (void)binder->transact(code, in, out, flags);
    }
    tAnswers = nullptr;
}

}  // namespace android
