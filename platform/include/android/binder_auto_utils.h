// SPDX-License-Identifier: Apache-2.0
//
// Owners for what the C functions hand out: each gives its resource back when it goes. None of them
// is synchronised; one object belongs to one thread at a time.
//
// Stands in for the header of the same name in Android's NDK, written for Linux.

#pragma once

#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>
#include <android/binder_status.h>
#include <fcntl.h>
#include <unistd.h>

#include <compare>
#include <cstddef>
#include <string>
#include <utility>

namespace ndk {

// A strong reference to a binder object, or null. Copies count one more.
class SpAIBinder {
  public:
    SpAIBinder() = default;
    SpAIBinder(std::nullptr_t) {}
    // Takes over a reference that the caller owns.
    explicit SpAIBinder(AIBinder* binder) : mBinder(binder) {}
    SpAIBinder(const SpAIBinder& other) : mBinder(other.mBinder) {
        if (mBinder != nullptr) AIBinder_incStrong(mBinder);
    }
    SpAIBinder(SpAIBinder&& other) noexcept : mBinder(std::exchange(other.mBinder, nullptr)) {}
    ~SpAIBinder() { set(nullptr); }

    SpAIBinder& operator=(const SpAIBinder& other) {
        if (other.mBinder != nullptr) AIBinder_incStrong(other.mBinder);
        set(other.mBinder);
        return *this;
    }
    SpAIBinder& operator=(SpAIBinder&& other) noexcept {
        if (this != &other) set(std::exchange(other.mBinder, nullptr));
        return *this;
    }

    // Gives back what was held and takes over a reference that the caller owns.
    void set(AIBinder* binder) {
        AIBinder* old = std::exchange(mBinder, binder);
        if (old != nullptr) AIBinder_decStrong(old);
    }

    // The object, without a reference of its own.
    AIBinder* get() const { return mBinder; }

    // Where a C function is to put a reference. Only for an empty owner: nothing is given back.
    AIBinder** getR() { return &mBinder; }

    // Identity, and an order by it.
    bool operator==(const SpAIBinder& rhs) const { return mBinder == rhs.mBinder; }
    auto operator<=>(const SpAIBinder& rhs) const {
        return std::compare_three_way()(mBinder, rhs.mBinder);
    }

  private:
    AIBinder* mBinder = nullptr;
};

namespace impl {

// The one owner of a resource of type T, which kEmpty stands for the absence of and destroy()
// frees.
template <typename T, void (*destroy)(T), T kEmpty>
class ScopedAResource {
  public:
    ScopedAResource() = default;
    // Takes over a resource that the caller owns.
    explicit ScopedAResource(T resource) : mResource(resource) {}
    ScopedAResource(ScopedAResource&& other) noexcept
        : mResource(std::exchange(other.mResource, kEmpty)) {}
    ~ScopedAResource() { set(kEmpty); }

    ScopedAResource& operator=(ScopedAResource&& other) noexcept {
        if (this != &other) set(std::exchange(other.mResource, kEmpty));
        return *this;
    }
    ScopedAResource(const ScopedAResource&) = delete;
    ScopedAResource& operator=(const ScopedAResource&) = delete;

    // Frees what was held and takes over a resource that the caller owns.
    void set(T resource) {
        const T old = std::exchange(mResource, resource);
        if (old != kEmpty) destroy(old);
    }

    // The resource, which stays owned here.
    T get() const { return mResource; }

    // Where a C function takes or puts a resource. What it overwrites is not freed.
    T* getR() { return &mResource; }

    // Hands the resource over to the caller and is empty afterwards.
    [[nodiscard]] T release() { return std::exchange(mResource, kEmpty); }

  private:
    T mResource = kEmpty;
};

inline void closeDescriptor(int fd) {
    ::close(fd);
}

}  // namespace impl

// Owner of a parcel, or none.
class ScopedAParcel : public impl::ScopedAResource<AParcel*, AParcel_delete, nullptr> {
  public:
    using ScopedAResource::ScopedAResource;
};

// The outcome of an interface method. Made by the functions at the end; default-made it is a
// success, which costs no allocation. Moved from, it is neither success nor error: only to be
// assigned or destroyed.
class ScopedAStatus : public impl::ScopedAResource<AStatus*, AStatus_delete, nullptr> {
  public:
    ScopedAStatus() : ScopedAResource(AStatus_newOk()) {}
    // Takes over a status that the caller owns.
    explicit ScopedAStatus(AStatus* status) : ScopedAResource(status) {}

    bool isOk() const { return get() != nullptr && AStatus_isOk(get()); }

    // As the AStatus functions of the same names.
    binder_exception_t getExceptionCode() const {
        return get() == nullptr ? EX_TRANSACTION_FAILED : AStatus_getExceptionCode(get());
    }
    int32_t getServiceSpecificError() const {
        return get() == nullptr ? 0 : AStatus_getServiceSpecificError(get());
    }
    binder_status_t getStatus() const {
        return get() == nullptr ? STATUS_UNEXPECTED_NULL : AStatus_getStatus(get());
    }
    // Lives as long as this status.
    const char* getMessage() const { return get() == nullptr ? "" : AStatus_getMessage(get()); }

    std::string getDescription() const {
        if (get() == nullptr) return "(not a status)";
        const char* text = AStatus_getDescription(get());
        std::string description(text);
        AStatus_deleteDescription(text);
        return description;
    }

    static ScopedAStatus ok() { return ScopedAStatus(AStatus_newOk()); }
    static ScopedAStatus fromExceptionCode(binder_exception_t exception) {
        return ScopedAStatus(AStatus_fromExceptionCode(exception));
    }
    // `message` is NUL-terminated UTF-8 and copied.
    static ScopedAStatus fromExceptionCodeWithMessage(binder_exception_t exception,
                                                      const char* message) {
        return ScopedAStatus(AStatus_fromExceptionCodeWithMessage(exception, message));
    }
    static ScopedAStatus fromServiceSpecificError(int32_t serviceSpecific) {
        return ScopedAStatus(AStatus_fromServiceSpecificError(serviceSpecific));
    }
    // `message` is NUL-terminated UTF-8 and copied.
    static ScopedAStatus fromServiceSpecificErrorWithMessage(int32_t serviceSpecific,
                                                             const char* message) {
        return ScopedAStatus(AStatus_fromServiceSpecificErrorWithMessage(serviceSpecific, message));
    }
    static ScopedAStatus fromStatus(binder_status_t status) {
        return ScopedAStatus(AStatus_fromStatus(status));
    }
};

// Owner of a death recipient. Its links end with it, so it has to live as long as they are wanted.
class ScopedAIBinder_DeathRecipient
    : public impl::ScopedAResource<AIBinder_DeathRecipient*, AIBinder_DeathRecipient_delete,
                                   nullptr> {
  public:
    using ScopedAResource::ScopedAResource;
};

// A weak reference to a binder object, or none.
class ScopedAIBinder_Weak
    : public impl::ScopedAResource<AIBinder_Weak*, AIBinder_Weak_delete, nullptr> {
  public:
    using ScopedAResource::ScopedAResource;

    // The object, or null when it is gone or there is none.
    SpAIBinder promote() const {
        return get() == nullptr ? SpAIBinder() : SpAIBinder(AIBinder_Weak_promote(get()));
    }
};

// Owner of a file descriptor, or none (-1).
class ScopedFileDescriptor : public impl::ScopedAResource<int, impl::closeDescriptor, -1> {
  public:
    using ScopedAResource::ScopedAResource;

    // A duplicate, close-on-exec; empty when there is none or the process can open no more (errno).
    ScopedFileDescriptor dup() const {
        return ScopedFileDescriptor(get() < 0 ? -1 : ::fcntl(get(), F_DUPFD_CLOEXEC, 0));
    }

    // By number: two duplicates differ.
    bool operator==(const ScopedFileDescriptor& rhs) const { return get() == rhs.get(); }
    auto operator<=>(const ScopedFileDescriptor& rhs) const { return get() <=> rhs.get(); }
};

}  // namespace ndk
