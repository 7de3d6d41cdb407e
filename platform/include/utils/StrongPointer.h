// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

namespace android {

// Holds a strong reference to a T, which is or derives from RefBase (or offers incStrong and
// decStrong as it does), or is null. As in Android's libutils. Several threads may use copies of
// one sp, but not one sp while one of them changes it.
template <typename T>
class sp {
  public:
    sp() = default;

    // Makes a T with its first strong reference.
    template <typename... Args>
    static sp make(Args&&... args) {
        return sp(new T(std::forward<Args>(args)...));
    }

    // Takes a strong reference; the first one to an object gives its ownership to the sps.
    sp(T* other) : mPtr(other) { take(); }  // NOLINT: as on Android
    sp(const sp& other) : mPtr(other.mPtr) { take(); }
    sp(sp&& other) noexcept : mPtr(std::exchange(other.mPtr, nullptr)) {}
    template <typename U>
    sp(const sp<U>& other) : mPtr(other.get()) {  // NOLINT: as on Android
        take();
    }
    ~sp() { clear(); }

    // The former object goes last: its destructor may come back to this sp.
    sp& operator=(sp other) noexcept {
        std::swap(mPtr, other.mPtr);
        return *this;
    }

    void clear() {
        if (T* const former = std::exchange(mPtr, nullptr)) former->decStrong(this);
    }

    T& operator*() const { return *mPtr; }
    T* operator->() const { return mPtr; }
    T* get() const { return mPtr; }
    explicit operator bool() const { return mPtr != nullptr; }

  private:
    void take() {
        if (mPtr != nullptr) mPtr->incStrong(this);
    }

    T* mPtr = nullptr;
};

template <typename T, typename U>
bool operator==(const sp<T>& lhs, const sp<U>& rhs) {
    return lhs.get() == rhs.get();
}

}  // namespace android
