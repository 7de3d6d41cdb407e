// SPDX-License-Identifier: Apache-2.0
//
// The inside of an AParcel: the bytes as they go over the wire, and beside them the objects that
// bytes cannot carry. Binders get their wire address only when the parcel is sent, so that a parcel
// that is dropped unsent leaves no DEC_STRONG pending.
#pragma once

#include <android-base/unique_fd.h>
#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>

#include <algorithm>
#include <memory>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace android::host {
class Session;
}

struct AParcel {
  public:
    struct BinderItem {
        size_t offset;
        AIBinder* binder;  // a strong reference
    };

    AParcel() = default;
    ~AParcel() { clear(); }
    AParcel(const AParcel&) = delete;
    AParcel& operator=(const AParcel&) = delete;

    // From and back to a small cache of the calling thread, so that calls allocate nothing once
    // warm.
    static AParcel* obtain();
    static void recycle(AParcel* parcel);

    void clear() {
        mSize = mPosition = mBindersSeen = 0;
        target = nullptr;
        if (!mBinders.empty() || !mFdOffsets.empty()) dropObjects();
        mSession.reset();
    }

    // Makes it what arrived in a frame. `fdOffsets` are the object table; STATUS_BAD_VALUE when it
    // does not fit bytes or descriptors.
    binder_status_t setReceived(std::shared_ptr<android::host::Session> session,
                                std::span<const uint8_t> bytes,
                                std::span<const uint8_t> objectTable,
                                std::vector<android::base::unique_fd> fds);

    std::span<const uint8_t> bytes() const { return {mStorage.data(), mSize}; }
    std::span<uint8_t> bytes() { return {mStorage.data(), mSize}; }
    std::span<const uint32_t> fdOffsets() const { return mFdOffsets; }
    std::span<const android::base::unique_fd> fds() const { return mFds; }
    std::span<const BinderItem> binders() const { return mBinders; }

    size_t position() const { return mPosition; }
    binder_status_t setPosition(size_t position) const;
    size_t remaining() const { return mSize - mPosition; }

    // Appends (or, after setPosition, overwrites) `size` bytes and zeros up to a multiple of 4.
    void write(const void* data, size_t size);
    template <typename T>
    void writeValue(T value) {
        static_assert(sizeof(T) % 4 == 0);
        __builtin_memcpy(extend(sizeof(value)), &value, sizeof(value));
    }
    // As write, but gives the place where the caller puts the bytes.
    uint8_t* writeInPlace(size_t size);
    void writeString(std::string_view text);
    void writeBinder(AIBinder* binder);
    void writeFd(android::base::unique_fd fd);

    // The next `size` bytes (padded to a multiple of 4), or null when fewer remain.
    const uint8_t* read(size_t size) const {
        if (size > remaining() || padded(size) > remaining()) return nullptr;
        const uint8_t* place = mStorage.data() + mPosition;
        mPosition += padded(size);
        return place;
    }
    template <typename T>
    binder_status_t readValue(T* value) const {
        const uint8_t* bytes = read(sizeof(T));
        if (bytes == nullptr) return STATUS_NOT_ENOUGH_DATA;
        __builtin_memcpy(value, bytes, sizeof(T));
        return STATUS_OK;
    }
    // Element count of an array of items of at least `itemSize` bytes each; -1 is null. Never more
    // than the bytes that are left can hold.
    binder_status_t readCount(size_t itemSize, int32_t* count) const;
    // UTF-16 units of a string, or null pointer and count -1 for a null string.
    binder_status_t readUnits(const uint8_t** units, int32_t* count) const;
    binder_status_t readString(std::string* text) const;
    binder_status_t readBinder(AIBinder** binder) const;
    binder_status_t readFd(android::base::unique_fd* fd) const;

    // For whom AIBinder_prepareTransaction made it; compared only, never used.
    const AIBinder* target = nullptr;

  private:
    void dropObjects();

    static constexpr size_t padded(size_t size) { return (size + 3) & ~size_t{3}; }

    // Makes room for `size` bytes, a multiple of 4, which the caller writes.
    uint8_t* extend(size_t size) {
        const size_t end = mPosition + size;
        if (end > mStorage.size()) mStorage.resize(end);
        mSize = std::max(mSize, end);
        return mStorage.data() + std::exchange(mPosition, end);
    }

    // The first mSize bytes are the parcel's. The rest is what it had room for before: growing a
    // vector clears every byte before it is written.
    std::vector<uint8_t> mStorage;
    size_t mSize = 0;
    mutable size_t mPosition = 0;
    std::vector<BinderItem> mBinders;
    std::vector<android::base::unique_fd> mFds;
    std::vector<uint32_t> mFdOffsets;
    std::shared_ptr<android::host::Session> mSession;  // set when it came over the wire
    mutable size_t mBindersSeen = 0;  // each arrival of an address counts once, however often read
};
