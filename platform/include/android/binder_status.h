// SPDX-License-Identifier: Apache-2.0
//
// Transport status codes, exception codes, and AStatus: the outcome of a call on an interface.
//
// A binder_status_t says whether a call or a parcel operation worked. An AStatus is what an
// interface method returns: success, an exception of the method, or a transport failure
// (EX_TRANSACTION_FAILED with a binder_status_t). Functions here never block, take no lock and are
// free of global effects; an AStatus is immutable and may be read from any thread.
//
// Stands in for the header of the same name in Android's NDK, written for Linux.

#pragma once

#include <errno.h>
#include <stdbool.h>
#include <stdint.h>
#include <sys/cdefs.h>

// Nullability is checked by clang only; other compilers read the declarations without it.
#if !defined(__clang__)
#define _Nonnull   // NOLINT(bugprone-reserved-identifier)
#define _Nullable  // NOLINT(bugprone-reserved-identifier)
#endif

__BEGIN_DECLS

// The outcome of a transport or parcel operation: 0, or one of the negative values below. A value
// that is none of them is turned into STATUS_UNKNOWN_ERROR wherever an AStatus is made of it.
enum {
    STATUS_OK = 0,

    STATUS_UNKNOWN_ERROR = (-2147483647 - 1),
    STATUS_NO_MEMORY = -ENOMEM,
    STATUS_INVALID_OPERATION = -ENOSYS,
    STATUS_BAD_VALUE = -EINVAL,
    // The call was meant for another interface.
    STATUS_BAD_TYPE = (STATUS_UNKNOWN_ERROR + 1),
    STATUS_NAME_NOT_FOUND = -ENOENT,
    STATUS_PERMISSION_DENIED = -EPERM,
    STATUS_NO_INIT = -ENODEV,
    STATUS_ALREADY_EXISTS = -EEXIST,
    // The process that owns the object is gone, or the connection to it is.
    STATUS_DEAD_OBJECT = -EPIPE,
    // The transaction could not be delivered: too large, or refused by the other side.
    STATUS_FAILED_TRANSACTION = (STATUS_UNKNOWN_ERROR + 2),
    STATUS_BAD_INDEX = -EOVERFLOW,
    // The parcel ends before the item does.
    STATUS_NOT_ENOUGH_DATA = -ENODATA,
    // No connection on which the call could go out, or a oneway queue that is full.
    STATUS_WOULD_BLOCK = -EWOULDBLOCK,
    STATUS_TIMED_OUT = -ETIMEDOUT,
    // The object has no method of that number.
    STATUS_UNKNOWN_TRANSACTION = -EBADMSG,
    // The session carries no file descriptors.
    STATUS_FDS_NOT_ALLOWED = (STATUS_UNKNOWN_ERROR + 7),
    // A null where the interface does not allow one.
    STATUS_UNEXPECTED_NULL = (STATUS_UNKNOWN_ERROR + 8),
};
typedef int32_t binder_status_t;

// How an interface method ended. A value that is none of these is turned into EX_TRANSACTION_FAILED
// wherever an AStatus is made of it.
enum {
    EX_NONE = 0,
    EX_SECURITY = -1,
    EX_BAD_PARCELABLE = -2,
    EX_ILLEGAL_ARGUMENT = -3,
    EX_NULL_POINTER = -4,
    EX_ILLEGAL_STATE = -5,
    EX_NETWORK_MAIN_THREAD = -6,
    EX_UNSUPPORTED_OPERATION = -7,
    // The method failed with a code of its own interface: AStatus_getServiceSpecificError.
    EX_SERVICE_SPECIFIC = -8,
    EX_PARCELABLE = -9,
    // The call itself failed: AStatus_getStatus. Never sent over the wire.
    EX_TRANSACTION_FAILED = -129,
};
typedef int32_t binder_exception_t;

// Opaque. Whoever gets one from a function that returns a non-const pointer owns it and gives it to
// AStatus_delete exactly once.
struct AStatus;
typedef struct AStatus AStatus;

// A success. Allocates nothing; cannot fail.
AStatus* _Nonnull AStatus_newOk(void) __attribute__((warn_unused_result));

// The status of an exception without a message; EX_NONE gives a success. EX_SERVICE_SPECIFIC here
// gives code 0. Owned by the caller.
AStatus* _Nonnull AStatus_fromExceptionCode(binder_exception_t exception)
    __attribute__((warn_unused_result));

// As above with a message: a UTF-8 text that is copied. Another process gets an empty message when
// it is not valid UTF-8.
AStatus* _Nonnull AStatus_fromExceptionCodeWithMessage(binder_exception_t exception,
                                                       const char* _Nonnull message)
    __attribute__((warn_unused_result));

// EX_SERVICE_SPECIFIC with a code the interface defines; any value is carried. Owned by the caller.
AStatus* _Nonnull AStatus_fromServiceSpecificError(int32_t serviceSpecific)
    __attribute__((warn_unused_result));

// As above with a message: a UTF-8 text that is copied.
AStatus* _Nonnull AStatus_fromServiceSpecificErrorWithMessage(int32_t serviceSpecific,
                                                              const char* _Nonnull message)
    __attribute__((warn_unused_result));

// STATUS_OK gives a success, anything else EX_TRANSACTION_FAILED with that status. Owned by the
// caller.
AStatus* _Nonnull AStatus_fromStatus(binder_status_t status) __attribute__((warn_unused_result));

// True for a success only.
bool AStatus_isOk(const AStatus* _Nonnull status);

// EX_NONE for a success.
binder_exception_t AStatus_getExceptionCode(const AStatus* _Nonnull status);

// The interface's code with EX_SERVICE_SPECIFIC, else 0. Note that 0 can also be the code itself.
int32_t AStatus_getServiceSpecificError(const AStatus* _Nonnull status);

// The transport status with EX_TRANSACTION_FAILED, else STATUS_OK.
binder_status_t AStatus_getStatus(const AStatus* _Nonnull status);

// The message, empty when there is none; never null. Lives as long as the status.
const char* _Nonnull AStatus_getMessage(const AStatus* _Nonnull status);

// One line for people, such as "Status(-8, EX_SERVICE_SPECIFIC): '3: no dock'". The caller owns the
// text and gives it to AStatus_deleteDescription.
const char* _Nonnull AStatus_getDescription(const AStatus* _Nonnull status)
    __attribute__((warn_unused_result));

// Frees a text of AStatus_getDescription; takes null.
void AStatus_deleteDescription(const char* _Nullable description);

// Ends a status; takes null. The pointer and the message it gave are invalid from here on.
void AStatus_delete(AStatus* _Nullable status);

__END_DECLS
