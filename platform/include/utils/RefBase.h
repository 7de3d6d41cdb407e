// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <utils/StrongPointer.h>

namespace android {

// The base of objects that strong (sp) and weak (wp) pointers share, as in Android's libutils.
//
// The object is deleted when its last strong reference goes. An object never held by an sp may be a
// local or deleted by who made it. References may be taken and dropped by any
// thread; whoever drops the last one runs the destructor.
//
// Differs from Android: references are not tracked per holder (the `id` arguments are ignored),
// weak references never extend an object's life, and there is no LightRefBase.
class RefBase {
  public:
    void incStrong(const void* id) const;
    void decStrong(const void* id) const;
    // For debugging only: stale as soon as it returns.
    int32_t getStrongCount() const;

    // The counts, which outlive the object as long as weak references do.
    class weakref_type {
      public:
        void incWeak(const void* id);
        void decWeak(const void* id);
        // Takes a strong reference if the object still has one, or has never had one; else returns
        // false. The caller holds a weak reference.
        bool attemptIncStrong(const void* id);

      protected:
        weakref_type() = default;
        ~weakref_type() = default;
    };

    weakref_type* createWeak(const void* id) const;

    RefBase(const RefBase&) = delete;
    RefBase& operator=(const RefBase&) = delete;

  protected:
    RefBase();
    virtual ~RefBase();

    // Called on the thread that took the first strong reference, after it was taken.
    virtual void onFirstRef();
    // Called on the thread that dropped the last strong reference, before the object is deleted.
    virtual void onLastStrongRef(const void* id);

  private:
    class Counts;

    Counts* const mRefs;
};

// Holds a weak reference: knows an object without keeping it alive. Thread rules as for sp.
template <typename T>
class wp {
  public:
    wp() = default;
    wp(T* other) : mPtr(other) { take(); }       // NOLINT: as on Android
    wp(const sp<T>& other) : wp(other.get()) {}  // NOLINT: as on Android
    wp(const wp& other) : mPtr(other.mPtr), mRefs(other.mRefs) {
        if (mRefs != nullptr) mRefs->incWeak(this);
    }
    wp(wp&& other) noexcept
        : mPtr(std::exchange(other.mPtr, nullptr)), mRefs(std::exchange(other.mRefs, nullptr)) {}
    template <typename U>
    wp(const sp<U>& other) : wp(static_cast<T*>(other.get())) {}  // NOLINT: as on Android
    ~wp() { clear(); }

    wp& operator=(wp other) noexcept {
        std::swap(mPtr, other.mPtr);
        std::swap(mRefs, other.mRefs);
        return *this;
    }

    void clear() {
        mPtr = nullptr;
        if (mRefs != nullptr) std::exchange(mRefs, nullptr)->decWeak(this);
    }

    // A strong pointer to the object, or null when it has gone.
    sp<T> promote() const {
        sp<T> result;
        if (mRefs != nullptr && mRefs->attemptIncStrong(&result)) result.mPtr = mPtr;
        return result;
    }

    // For comparisons only: the object may be gone.
    T* unsafe_get() const { return mPtr; }
    bool operator==(const wp& other) const { return mRefs == other.mRefs && mPtr == other.mPtr; }
    bool operator<(const wp& other) const { return std::less<const void*>()(mRefs, other.mRefs); }

  private:
    void take() {
        if (mPtr != nullptr) mRefs = mPtr->createWeak(this);
    }

    T* mPtr = nullptr;
    RefBase::weakref_type* mRefs = nullptr;
};

}  // namespace android
