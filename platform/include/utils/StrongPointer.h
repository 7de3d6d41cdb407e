// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <type_traits>
#include <utility>

namespace android {

template <typename T>
class wp;

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
    // Takes a further strong reference to an object that sps hold already.
    static sp fromExisting(T* other) { return sp(other); }

    // Takes a strong reference; the first one to an object gives its ownership to the sps.
    sp(T* other) : mPtr(other) { take(); }  // NOLINT: as on Android
    sp(const sp& other) : mPtr(other.mPtr) { take(); }
    sp(sp&& other) noexcept : mPtr(std::exchange(other.mPtr, nullptr)) {}
    template <typename U>
    sp(U* other) : mPtr(other) {  // NOLINT: as on Android
        take();
    }
    template <typename U>
    sp(const sp<U>& other) : mPtr(other.get()) {  // NOLINT: as on Android
        take();
    }
    template <typename U>
    sp(sp<U>&& other) noexcept
        : mPtr(std::exchange(other.mPtr, nullptr)) {}  // NOLINT: as on Android
    ~sp() { drop(mPtr); }

    sp& operator=(T* other) { return *this = sp(other); }
    sp& operator=(const sp& other) { return *this = sp(other); }
    sp& operator=(sp&& other) noexcept {
        // The former object goes last: its destructor may come back to this sp.
        sp former(std::move(other));
        std::swap(mPtr, former.mPtr);
        return *this;
    }
    template <typename U>
    sp& operator=(const sp<U>& other) {
        return *this = sp(other);
    }

    void clear() { drop(std::exchange(mPtr, nullptr)); }

    T& operator*() const { return *mPtr; }
    T* operator->() const { return mPtr; }
    T* get() const { return mPtr; }
    explicit operator bool() const { return mPtr != nullptr; }

  private:
    template <typename U>
    friend class sp;
    template <typename U>
    friend class wp;

    void take() {
        if (mPtr != nullptr) mPtr->incStrong(this);
    }
    void drop(T* object) {
        if (object != nullptr) object->decStrong(this);
    }

    T* mPtr = nullptr;
};

template <typename T, typename U>
bool operator==(const sp<T>& lhs, const sp<U>& rhs) {
    return lhs.get() == rhs.get();
}
template <typename T, typename U>
bool operator==(const sp<T>& lhs, const U* rhs) {
    return lhs.get() == rhs;
}
template <typename T>
bool operator==(const sp<T>& lhs, std::nullptr_t) {
    return lhs.get() == nullptr;
}
template <typename T, typename U>
bool operator<(const sp<T>& lhs, const sp<U>& rhs) {
    return std::less<const void*>()(lhs.get(), rhs.get());
}

}  // namespace android
