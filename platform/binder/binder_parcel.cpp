// SPDX-License-Identifier: Apache-2.0
//
// The C functions of android/binder_parcel.h.
#include <android/binder_parcel.h>
#include <fcntl.h>
#include <host/utf8.h>
#include <string.h>

#include <string_view>
#include <utility>

#include "parcel.h"
#include "utf.h"

using namespace android::host;
using android::base::unique_fd;

namespace {

constexpr int32_t kNullCount = -1;
// In the place of an exception: a head of extra data, which its own size lets a reader skip.
constexpr int32_t kHasReplyHeader = -128;

// Arrays whose items have the same layout in the parcel and in memory.
template <typename T>
binder_status_t writeArray(AParcel* parcel, const T* data, int32_t length) {
    if (length < kNullCount || (data == nullptr && length > 0)) return STATUS_BAD_VALUE;
    parcel->writeValue(data == nullptr && length != 0 ? kNullCount : length);
    if (length > 0) parcel->write(data, static_cast<size_t>(length) * sizeof(T));
    return STATUS_OK;
}

// Lets the caller make room. True in *done when there are no items to read.
template <typename Allocate>
binder_status_t allocate(const AParcel* parcel, size_t itemSize, int32_t* count, bool* done,
                         Allocate allocator) {
    if (binder_status_t s = parcel->readCount(itemSize, count); s != STATUS_OK) return s;
    *done = *count <= 0;
    if (allocator(*count)) return STATUS_OK;
    return *count == kNullCount ? STATUS_UNEXPECTED_NULL : STATUS_NO_MEMORY;
}

template <typename T>
binder_status_t readArray(const AParcel* parcel, void* arrayData,
                          bool (*allocator)(void*, int32_t, T**)) {
    int32_t count;
    bool done;
    T* buffer = nullptr;
    binder_status_t status = allocate(parcel, sizeof(T), &count, &done,
                                      [&](int32_t n) { return allocator(arrayData, n, &buffer); });
    if (status != STATUS_OK || done) return status;
    if (buffer == nullptr) return STATUS_NO_MEMORY;
    const uint8_t* bytes = parcel->read(static_cast<size_t>(count) * sizeof(T));
    if (bytes == nullptr) return STATUS_NOT_ENOUGH_DATA;
    memcpy(buffer, bytes, static_cast<size_t>(count) * sizeof(T));
    return STATUS_OK;
}

// Arrays whose items are written and read one by one; the functions get an item's index.
template <typename Write>
binder_status_t writeElements(AParcel* parcel, int32_t length, Write write) {
    if (length < kNullCount) return STATUS_BAD_VALUE;
    parcel->writeValue(length);
    for (int32_t i = 0; i < length; ++i) {
        if (binder_status_t s = write(static_cast<size_t>(i)); s != STATUS_OK) return s;
    }
    return STATUS_OK;
}

template <typename Allocate, typename Read>
binder_status_t readElements(const AParcel* parcel, Allocate allocator, Read read) {
    int32_t count;
    bool done;
    binder_status_t status = allocate(parcel, sizeof(int32_t), &count, &done, allocator);
    if (status != STATUS_OK || done) return status;
    for (int32_t i = 0; i < count; ++i) {
        if (binder_status_t s = read(static_cast<size_t>(i)); s != STATUS_OK) return s;
    }
    return STATUS_OK;
}

template <typename T>
binder_status_t writeScalar(AParcel* parcel, T value) {
    parcel->writeValue(value);
    return STATUS_OK;
}

template <typename Narrow>
binder_status_t readNarrow(const AParcel* parcel, Narrow* value) {
    int32_t wide;
    binder_status_t status = parcel->readValue(&wide);
    if (status == STATUS_OK) *value = static_cast<Narrow>(wide);
    return status;
}

}  // namespace

AParcel* AParcel_create() {
    return AParcel::obtain();
}
void AParcel_delete(AParcel* parcel) {
    AParcel::recycle(parcel);
}

binder_status_t AParcel_setDataPosition(const AParcel* parcel, int32_t position) {
    return position < 0 ? STATUS_BAD_VALUE : parcel->setPosition(static_cast<size_t>(position));
}

int32_t AParcel_getDataPosition(const AParcel* parcel) {
    return static_cast<int32_t>(parcel->position());
}

int32_t AParcel_getDataSize(const AParcel* parcel) {
    return static_cast<int32_t>(parcel->bytes().size());
}

binder_status_t AParcel_marshal(const AParcel* parcel, uint8_t* buffer, size_t start, size_t len) {
    if (!parcel->binders().empty() || !parcel->fds().empty()) return STATUS_INVALID_OPERATION;
    std::span<const uint8_t> bytes = parcel->bytes();
    if (start > bytes.size() || len > bytes.size() - start) return STATUS_BAD_VALUE;
    if (len > 0) memcpy(buffer, bytes.data() + start, len);
    return STATUS_OK;
}

binder_status_t AParcel_unmarshal(AParcel* parcel, const uint8_t* buffer, size_t len) {
    if (len > INT32_MAX) return STATUS_BAD_VALUE;
    return parcel->setReceived(nullptr, {buffer, len}, {}, {});
}

binder_status_t AParcel_writeStrongBinder(AParcel* parcel, AIBinder* binder) {
    parcel->writeBinder(binder);
    return STATUS_OK;
}

binder_status_t AParcel_readStrongBinder(const AParcel* parcel, AIBinder** binder) {
    return parcel->readBinder(binder);
}

// A descriptor as the platform's ParcelFileDescriptor: present, without a channel for its state.
binder_status_t AParcel_writeParcelFileDescriptor(AParcel* parcel, int fd) {
    if (fd < 0) {
        if (fd != -1) return STATUS_UNKNOWN_ERROR;
        return writeScalar(parcel, int32_t{0});
    }
    unique_fd copy(fcntl(fd, F_DUPFD_CLOEXEC, 0));
    if (!copy.ok()) return -errno;
    parcel->writeValue(int32_t{1});
    parcel->writeValue(int32_t{0});
    parcel->writeFd(std::move(copy));
    return STATUS_OK;
}

binder_status_t AParcel_readParcelFileDescriptor(const AParcel* parcel, int* fd) {
    *fd = -1;
    int32_t present;
    if (binder_status_t s = parcel->readValue(&present); s != STATUS_OK || present == 0) return s;
    int32_t hasChannel;
    if (binder_status_t s = parcel->readValue(&hasChannel); s != STATUS_OK) return s;
    if (hasChannel != 0) return STATUS_INVALID_OPERATION;
    unique_fd copy;
    binder_status_t status = parcel->readFd(&copy);
    if (status == STATUS_OK) *fd = copy.release();
    return status;
}

binder_status_t AParcel_writeStatusHeader(AParcel* parcel, const AStatus* status) {
    // A failed transaction has no status header: the frame carries its status.
    if (AStatus_getExceptionCode(status) == EX_TRANSACTION_FAILED) return AStatus_getStatus(status);
    binder_exception_t exception = AStatus_getExceptionCode(status);
    parcel->writeValue(exception);
    if (exception == EX_NONE) return STATUS_OK;
    const std::string_view message = AStatus_getMessage(status);
    parcel->writeString(isUtf8(message) ? message : std::string_view());
    parcel->writeValue(int32_t{0});  // no stack trace
    if (exception == EX_SERVICE_SPECIFIC) {
        parcel->writeValue(AStatus_getServiceSpecificError(status));
    }
    return STATUS_OK;
}

binder_status_t AParcel_readStatusHeader(const AParcel* parcel, AStatus** status) {
    binder_exception_t exception;
    if (binder_status_t s = parcel->readValue(&exception); s != STATUS_OK) return s;
    if (exception == kHasReplyHeader) {
        // The size counts itself.
        size_t start = parcel->position();
        int32_t size;
        if (binder_status_t s = parcel->readValue(&size); s != STATUS_OK) return s;
        if (size < 0 || static_cast<size_t>(size) > parcel->bytes().size() - start) {
            return STATUS_BAD_VALUE;
        }
        if (binder_status_t s = parcel->setPosition(start + static_cast<size_t>(size));
            s != STATUS_OK) {
            return s;
        }
        exception = EX_NONE;
    }
    if (exception == EX_NONE) {
        *status = AStatus_newOk();
        return STATUS_OK;
    }
    std::string message;
    const uint8_t* units;
    int32_t count;
    if (binder_status_t s = parcel->readUnits(&units, &count); s != STATUS_OK) return s;
    if (units != nullptr) message = toUtf8String(units, static_cast<size_t>(count));
    int32_t traceSize;
    if (binder_status_t s = parcel->readValue(&traceSize); s != STATUS_OK) return s;
    if (traceSize < 0 || static_cast<size_t>(traceSize) > parcel->remaining()) {
        return STATUS_BAD_VALUE;
    }
    if (traceSize > 0 && parcel->read(static_cast<size_t>(traceSize)) == nullptr) {
        return STATUS_BAD_VALUE;
    }
    if (exception != EX_SERVICE_SPECIFIC) {
        *status = AStatus_fromExceptionCodeWithMessage(exception, message.c_str());
        return STATUS_OK;
    }
    int32_t code;
    if (binder_status_t s = parcel->readValue(&code); s != STATUS_OK) return s;
    *status = AStatus_fromServiceSpecificErrorWithMessage(code, message.c_str());
    return STATUS_OK;
}

binder_status_t AParcel_writeString(AParcel* parcel, const char* string, int32_t length) {
    if (string == nullptr) {
        if (length != kNullCount) return STATUS_BAD_VALUE;
        parcel->writeValue(kNullCount);
        return STATUS_OK;
    }
    if (length < 0) return STATUS_BAD_VALUE;
    const std::string_view text(string, static_cast<size_t>(length));
    if (!isUtf8(text)) return STATUS_BAD_VALUE;
    parcel->writeString(text);
    return STATUS_OK;
}

binder_status_t AParcel_readString(const AParcel* parcel, void* stringData,
                                   AParcel_stringAllocator allocator) {
    const uint8_t* units;
    int32_t count;
    if (binder_status_t s = parcel->readUnits(&units, &count); s != STATUS_OK) return s;
    if (units == nullptr) {
        return allocator(stringData, kNullCount, nullptr) ? STATUS_OK : STATUS_UNEXPECTED_NULL;
    }
    const size_t length = utf8Length(units, static_cast<size_t>(count));
    char* buffer = nullptr;
    if (!allocator(stringData, static_cast<int32_t>(length + 1), &buffer) || buffer == nullptr) {
        return STATUS_NO_MEMORY;
    }
    toUtf8(units, static_cast<size_t>(count), buffer);
    buffer[length] = '\0';
    return STATUS_OK;
}

binder_status_t AParcel_writeBool(AParcel* p, bool v) {
    return writeScalar<int32_t>(p, v ? 1 : 0);
}
binder_status_t AParcel_writeByte(AParcel* p, int8_t v) {
    return writeScalar<int32_t>(p, v);
}
binder_status_t AParcel_writeChar(AParcel* p, char16_t v) {
    return writeScalar<int32_t>(p, v);
}
binder_status_t AParcel_writeInt32(AParcel* p, int32_t v) {
    return writeScalar(p, v);
}
binder_status_t AParcel_writeInt64(AParcel* p, int64_t v) {
    return writeScalar(p, v);
}
binder_status_t AParcel_writeFloat(AParcel* p, float v) {
    return writeScalar(p, v);
}
binder_status_t AParcel_writeDouble(AParcel* p, double v) {
    return writeScalar(p, v);
}

binder_status_t AParcel_readBool(const AParcel* p, bool* v) {
    int32_t wide;
    binder_status_t status = p->readValue(&wide);
    if (status == STATUS_OK) *v = wide != 0;
    return status;
}
binder_status_t AParcel_readByte(const AParcel* p, int8_t* v) {
    return readNarrow(p, v);
}
binder_status_t AParcel_readChar(const AParcel* p, char16_t* v) {
    return readNarrow(p, v);
}
binder_status_t AParcel_readInt32(const AParcel* p, int32_t* v) {
    return p->readValue(v);
}
binder_status_t AParcel_readInt64(const AParcel* p, int64_t* v) {
    return p->readValue(v);
}
binder_status_t AParcel_readFloat(const AParcel* p, float* v) {
    return p->readValue(v);
}
binder_status_t AParcel_readDouble(const AParcel* p, double* v) {
    return p->readValue(v);
}

binder_status_t AParcel_writeBoolArray(AParcel* parcel, const void* arrayData, int32_t length,
                                       AParcel_boolArrayGetter getter) {
    return writeElements(parcel, length,
                         [&](size_t i) { return AParcel_writeBool(parcel, getter(arrayData, i)); });
}

binder_status_t AParcel_readBoolArray(const AParcel* parcel, void* arrayData,
                                      AParcel_boolArrayAllocator allocator,
                                      AParcel_boolArraySetter setter) {
    return readElements(
        parcel, [&](int32_t count) { return allocator(arrayData, count); },
        [&](size_t i) {
            bool value = false;
            const binder_status_t status = AParcel_readBool(parcel, &value);
            if (status == STATUS_OK) setter(arrayData, i, value);
            return status;
        });
}

// Each character of an array takes 32 bits.
binder_status_t AParcel_writeCharArray(AParcel* parcel, const char16_t* arrayData, int32_t length) {
    if (arrayData == nullptr && length > 0) return STATUS_BAD_VALUE;
    return writeElements(parcel, length,
                         [&](size_t i) { return AParcel_writeChar(parcel, arrayData[i]); });
}

binder_status_t AParcel_readCharArray(const AParcel* parcel, void* arrayData,
                                      AParcel_charArrayAllocator allocator) {
    char16_t* buffer = nullptr;
    return readElements(
        parcel, [&](int32_t count) { return allocator(arrayData, count, &buffer); },
        [&](size_t i) {
            return buffer != nullptr ? readNarrow(parcel, &buffer[i]) : STATUS_NO_MEMORY;
        });
}

// The other arrays differ in nothing but the type of their items.
#define DEFINE_ARRAY(Name, type, allocatorType)                                        \
    binder_status_t AParcel_write##Name##Array(AParcel* parcel, const type* arrayData, \
                                               int32_t length) {                       \
        return writeArray(parcel, arrayData, length);                                  \
    }                                                                                  \
    binder_status_t AParcel_read##Name##Array(const AParcel* parcel, void* arrayData,  \
                                              allocatorType allocator) {               \
        return readArray<type>(parcel, arrayData, allocator);                          \
    }
DEFINE_ARRAY(Byte, int8_t, AParcel_byteArrayAllocator)
DEFINE_ARRAY(Int32, int32_t, AParcel_int32ArrayAllocator)
DEFINE_ARRAY(Int64, int64_t, AParcel_int64ArrayAllocator)
DEFINE_ARRAY(Float, float, AParcel_floatArrayAllocator)
DEFINE_ARRAY(Double, double, AParcel_doubleArrayAllocator)
#undef DEFINE_ARRAY
