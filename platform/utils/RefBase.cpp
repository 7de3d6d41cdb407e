// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "RefBase"
#include <log/log.h>
#include <utils/RefBase.h>

#include <atomic>

namespace android {
namespace {

// A strong count from here on: never strongly referenced so far. The first reference takes it away.
constexpr int32_t kNeverReferenced = 1 << 28;

}  // namespace

// Every strong reference is a weak one too, so that this outlives the object.
class RefBase::Counts final : public RefBase::weakref_type {
  public:
    explicit Counts(RefBase* object) : base(object) {}

    static Counts* of(weakref_type* refs) { return static_cast<Counts*>(refs); }

    // Takes a strong reference unless the last one has gone.
    bool joinStrong() {
        int32_t count = strong.load(std::memory_order_relaxed);
        while (count > 0) {
            if (!strong.compare_exchange_weak(count, count + 1, std::memory_order_relaxed))
                continue;
            if (count == kNeverReferenced) begun();
            return true;
        }
        return false;
    }

    void begun() {
        strong.fetch_sub(kNeverReferenced, std::memory_order_relaxed);
        base->onFirstRef();
    }

    RefBase* const base;
    std::atomic<int32_t> strong{kNeverReferenced};
    std::atomic<int32_t> weak{0};
};

RefBase::RefBase() : mRefs(new Counts(this)) {}

RefBase::~RefBase() {
    const int32_t strong = mRefs->strong.load(std::memory_order_relaxed);
    if (strong == kNeverReferenced) {
        LOG_ALWAYS_FATAL_IF(
            mRefs->weak.load(std::memory_order_relaxed) != 0,
            "an object without strong reference was deleted while weak ones remain");
        delete mRefs;
    } else {
        LOG_ALWAYS_FATAL_IF(strong != 0, "an object was deleted with %d strong references", strong);
    }
}

void RefBase::incStrong(const void* id) const {
    mRefs->incWeak(id);
    if (mRefs->strong.fetch_add(1, std::memory_order_relaxed) == kNeverReferenced) mRefs->begun();
}

void RefBase::decStrong(const void* id) const {
    Counts* const refs = mRefs;
    const int32_t former = refs->strong.fetch_sub(1, std::memory_order_acq_rel);
    LOG_ALWAYS_FATAL_IF(former <= 0 || former == kNeverReferenced,
                        "a strong reference was dropped that nobody held");
    if (former == 1) {
        refs->base->onLastStrongRef(id);
        delete this;
    }
    refs->decWeak(id);
}

int32_t RefBase::getStrongCount() const {
    return mRefs->strong.load(std::memory_order_relaxed);
}

RefBase::weakref_type* RefBase::createWeak(const void* id) const {
    mRefs->incWeak(id);
    return mRefs;
}

void RefBase::onFirstRef() {}

void RefBase::onLastStrongRef(const void* /*id*/) {}

void RefBase::weakref_type::incWeak(const void* /*id*/) {
    Counts::of(this)->weak.fetch_add(1, std::memory_order_relaxed);
}

void RefBase::weakref_type::decWeak(const void* /*id*/) {
    Counts* const refs = Counts::of(this);
    const int32_t former = refs->weak.fetch_sub(1, std::memory_order_acq_rel);
    LOG_ALWAYS_FATAL_IF(former <= 0, "a weak reference was dropped that nobody held");
    if (former != 1) return;
    if (refs->strong.load(std::memory_order_relaxed) != kNeverReferenced) {
        delete refs;
    }
    // Otherwise the object was never strongly referenced; its destructor deletes the counts.
}

bool RefBase::weakref_type::attemptIncStrong(const void* id) {
    Counts* const refs = Counts::of(this);
    incWeak(id);
    if (refs->joinStrong()) return true;
    decWeak(id);
    return false;
}

}  // namespace android
