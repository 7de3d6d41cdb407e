// SPDX-License-Identifier: Apache-2.0
#include "parcel.h"

#include <fcntl.h>
#include <string.h>

#include <algorithm>
#include <array>
#include <limits>

#include "binder.h"
#include "rpc_wire.h"
#include "session.h"
#include "utf.h"

using android::base::unique_fd;
using namespace android::host;

namespace {

constexpr size_t kKeptCapacity = 4096;

struct ParcelCache {
    std::array<AParcel*, 8> parcels;
    size_t count = 0;
    bool closed = false;  // later destructors of this thread may still use parcels

    ~ParcelCache() {
        closed = true;
        while (count > 0) delete parcels[--count];
    }
};

thread_local ParcelCache tCache;

}  // namespace

AParcel* AParcel::obtain() {
    return tCache.count == 0 ? new AParcel : tCache.parcels[--tCache.count];
}

void AParcel::recycle(AParcel* parcel) {
    if (parcel == nullptr) return;
    if (tCache.closed || tCache.count == tCache.parcels.size() ||
        parcel->mStorage.capacity() > kKeptCapacity) {
        delete parcel;
        return;
    }
    parcel->clear();
    tCache.parcels[tCache.count++] = parcel;
}

void AParcel::dropObjects() {
    for (const BinderItem& item : mBinders) item.binder->decStrong();
    mBinders.clear();
    mFds.clear();
    mFdOffsets.clear();
}

binder_status_t AParcel::setReceived(std::shared_ptr<Session> session,
                                     std::span<const uint8_t> bytes,
                                     std::span<const uint8_t> objectTable,
                                     std::vector<unique_fd> fds) {
    clear();
    mSession = std::move(session);
    if (bytes.size() > mStorage.size()) mStorage.resize(bytes.size());
    std::copy(bytes.begin(), bytes.end(), mStorage.begin());
    mSize = bytes.size();
    if (objectTable.empty() && fds.empty()) return STATUS_OK;
    if (objectTable.size() % sizeof(uint32_t) != 0 ||
        objectTable.size() / sizeof(uint32_t) != fds.size()) {
        return STATUS_BAD_VALUE;
    }
    mFdOffsets.resize(fds.size());
    memcpy(mFdOffsets.data(), objectTable.data(), objectTable.size());
    size_t smallest = 0;
    for (uint32_t offset : mFdOffsets) {
        WireFd item;
        if (offset < smallest || offset % 4 != 0 || mSize < sizeof(item) ||
            offset > mSize - sizeof(item)) {
            return STATUS_BAD_VALUE;
        }
        memcpy(&item, mStorage.data() + offset, sizeof(item));
        if (item.type != kObjectFd) return STATUS_BAD_VALUE;
        smallest = offset + sizeof(item);
    }
    mFds = std::move(fds);
    return STATUS_OK;
}

binder_status_t AParcel::setPosition(size_t position) const {
    if (position > mSize) return STATUS_BAD_VALUE;
    mPosition = position;
    return STATUS_OK;
}

uint8_t* AParcel::writeInPlace(size_t size) {
    uint8_t* place = extend(padded(size));
    std::fill_n(place + size, padded(size) - size, uint8_t{0});
    return place;
}

void AParcel::write(const void* data, size_t size) {
    uint8_t* place = writeInPlace(size);
    if (size > 0) memcpy(place, data, size);
}

void AParcel::writeString(std::string_view text) {
    size_t units = utf16Length(text);
    writeValue(static_cast<int32_t>(units));
    uint8_t* place = writeInPlace((units + 1) * sizeof(char16_t));
    toUtf16(text, place);
    memset(place + units * sizeof(char16_t), 0, sizeof(char16_t));
}

void AParcel::writeBinder(AIBinder* binder) {
    WireBinder item{kObjectNull, {}, 0};
    if (binder == nullptr) {
        writeValue(item.type);
        writeValue(item.stability);
        return;
    }
    binder->incStrong();
    mBinders.push_back({mPosition, binder});
    item.type = kObjectBinder;
    item.stability = binder->stability();
    writeValue(item);
}

void AParcel::writeFd(unique_fd fd) {
    mFdOffsets.push_back(static_cast<uint32_t>(mPosition));
    writeValue(WireFd{kObjectFd, static_cast<int32_t>(mFds.size())});
    mFds.push_back(std::move(fd));
}

binder_status_t AParcel::readCount(size_t itemSize, int32_t* count) const {
    if (binder_status_t status = readValue(count); status != STATUS_OK) return status;
    if (*count < -1) return STATUS_BAD_VALUE;
    if (*count > 0 && static_cast<size_t>(*count) > remaining() / itemSize) return STATUS_NO_MEMORY;
    return STATUS_OK;
}

binder_status_t AParcel::readUnits(const uint8_t** units, int32_t* count) const {
    *units = nullptr;
    if (binder_status_t status = readValue(count); status != STATUS_OK) return status;
    if (*count == -1) return STATUS_OK;
    if (*count < 0) return STATUS_BAD_VALUE;
    *units = read((static_cast<size_t>(*count) + 1) * sizeof(char16_t));
    return *units == nullptr ? STATUS_NOT_ENOUGH_DATA : STATUS_OK;
}

binder_status_t AParcel::readString(std::string* text) const {
    const uint8_t* units;
    int32_t count;
    if (binder_status_t status = readUnits(&units, &count); status != STATUS_OK) return status;
    if (units == nullptr) return STATUS_UNEXPECTED_NULL;
    *text = toUtf8String(units, static_cast<size_t>(count));
    return STATUS_OK;
}

binder_status_t AParcel::readBinder(AIBinder** binder) const {
    *binder = nullptr;
    size_t offset = mPosition;
    int32_t type;
    if (binder_status_t status = readValue(&type); status != STATUS_OK) return status;
    WireAddress address{};
    if (type == kObjectBinder) {
        if (binder_status_t status = readValue(&address); status != STATUS_OK) return status;
    } else if (type != kObjectNull) {
        return STATUS_BAD_TYPE;
    }
    int32_t stability;
    if (binder_status_t status = readValue(&stability); status != STATUS_OK) return status;
    if (type == kObjectNull) return stability == 0 ? STATUS_OK : STATUS_BAD_TYPE;

    if (mSession) {
        bool firstTime = offset >= mBindersSeen;
        mBindersSeen = std::max(mBindersSeen, mPosition);
        return mSession->addressArrived(address, stability, firstTime, binder);
    }
    for (const BinderItem& item : mBinders) {
        if (item.offset != offset) continue;
        item.binder->incStrong();
        *binder = item.binder;
        return STATUS_OK;
    }
    return STATUS_BAD_TYPE;
}

binder_status_t AParcel::readFd(unique_fd* fd) const {
    size_t offset = mPosition;
    WireFd item;
    if (binder_status_t status = readValue(&item); status != STATUS_OK) return status;
    bool listed = std::find(mFdOffsets.begin(), mFdOffsets.end(), offset) != mFdOffsets.end();
    if (!listed || item.type != kObjectFd) return STATUS_BAD_TYPE;
    if (item.index < 0 || static_cast<size_t>(item.index) >= mFds.size()) return STATUS_BAD_VALUE;
    fd->reset(fcntl(mFds[static_cast<size_t>(item.index)].get(), F_DUPFD_CLOEXEC, 0));
    return fd->ok() ? STATUS_OK : -errno;
}
