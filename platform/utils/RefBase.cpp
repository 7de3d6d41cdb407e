// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <utils/RefBase.h>

namespace android {

RefBase::~RefBase() {
    const int32_t strong = mStrong.load(std::memory_order_relaxed);
    if (strong != 0) {
        __android_log_assert("strong == 0", "RefBase",
                             "an object was deleted with %d strong references", strong);
    }
}

void RefBase::incStrong(const void* /*id*/) const {
    mStrong.fetch_add(1, std::memory_order_relaxed);
}

void RefBase::decStrong(const void* /*id*/) const {
    if (mStrong.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

}  // namespace android
