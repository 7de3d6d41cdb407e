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
    static const Counts* of(const weakref_type* refs) { return static_cast<const Counts*>(refs); }

    bool livesWeakly() const {
        return (lifetime.load(std::memory_order_relaxed) & OBJECT_LIFETIME_WEAK) != 0;
    }

    // Takes a strong reference unless there is none to add to.
    bool joinStrong() {
        int32_t count = strong.load(std::memory_order_relaxed);
        while (count > 0 && count != kNeverReferenced) {
            if (strong.compare_exchange_weak(count, count + 1, std::memory_order_relaxed)) {
                return true;
            }
        }
        return false;
    }

    // Takes a strong reference of an object that may never have had one.
    bool joinOrBeginStrong() {
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
    std::atomic<int32_t> lifetime{OBJECT_LIFETIME_STRONG};
};

RefBase::RefBase() : mRefs(new Counts(this)) {}

RefBase::~RefBase() {
    if (mRefs->livesWeakly()) {
        // Deleted by the last weak reference, or by its maker before there was any.
        if (mRefs->weak.load(std::memory_order_relaxed) == 0) delete mRefs;
        return;
    }
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
        if (!refs->livesWeakly()) delete this;
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

RefBase::weakref_type* RefBase::getWeakRefs() const {
    return mRefs;
}

void RefBase::extendObjectLifetime(int32_t mode) {
    mRefs->lifetime.fetch_or(mode, std::memory_order_relaxed);
}

void RefBase::onFirstRef() {}

void RefBase::onLastStrongRef(const void* /*id*/) {}

bool RefBase::onIncStrongAttempted(uint32_t flags, const void* /*id*/) {
    return (flags & FIRST_INC_STRONG) != 0;
}

void RefBase::onLastWeakRef(const void* /*id*/) {}

RefBase* RefBase::weakref_type::refBase() const {
    return Counts::of(this)->base;
}

void RefBase::weakref_type::incWeak(const void* /*id*/) {
    Counts::of(this)->weak.fetch_add(1, std::memory_order_relaxed);
}

void RefBase::weakref_type::decWeak(const void* id) {
    Counts* const refs = Counts::of(this);
    const int32_t former = refs->weak.fetch_sub(1, std::memory_order_acq_rel);
    LOG_ALWAYS_FATAL_IF(former <= 0, "a weak reference was dropped that nobody held");
    if (former != 1) return;
    if (refs->livesWeakly()) {
        refs->base->onLastWeakRef(id);
        delete refs->base;
    } else if (refs->strong.load(std::memory_order_relaxed) != kNeverReferenced) {
        delete refs;
    }
    // Otherwise the object was never strongly referenced; its destructor deletes the counts.
}

bool RefBase::weakref_type::attemptIncStrong(const void* id) {
    Counts* const refs = Counts::of(this);
    incWeak(id);
    if (refs->joinStrong()) return true;
    if (!refs->livesWeakly()) {
        if (refs->joinOrBeginStrong()) return true;
    } else if (refs->base->onIncStrongAttempted(FIRST_INC_STRONG, id)) {
        if (refs->strong.fetch_add(1, std::memory_order_relaxed) == kNeverReferenced) {
            refs->begun();
        }
        return true;
    }
    decWeak(id);
    return false;
}

int32_t RefBase::weakref_type::getWeakCount() const {
    return Counts::of(this)->weak.load(std::memory_order_relaxed);
}

}  // namespace android
