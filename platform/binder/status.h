// SPDX-License-Identifier: Apache-2.0
//
// The inside of an AStatus, for the parcel code that carries it over the wire.
#pragma once

#include <android/binder_status.h>

#include <cstdint>
#include <memory>
#include <string_view>

// Immutable once made. Every success is the one object of ok(), which is never freed.
struct AStatus {
    // No message.
    constexpr AStatus(binder_exception_t exceptionCode, int32_t errorCode)
        : exception(exceptionCode), code(errorCode) {}
    // Copies the message up to its first NUL.
    AStatus(binder_exception_t exceptionCode, int32_t errorCode, std::string_view text);

    static AStatus* ok();

    const char* messageText() const { return message == nullptr ? "" : message.get(); }

    const binder_exception_t exception;
    // The service specific code, the transport status, or 0, as the exception says.
    const int32_t code;
    const std::unique_ptr<const char[]> message;  // null when empty
};

namespace android::host {

// The value itself when binder_status.h names it, else EX_TRANSACTION_FAILED or
// STATUS_UNKNOWN_ERROR.
binder_exception_t pruneException(binder_exception_t exception);
binder_status_t pruneStatus(binder_status_t status);

// Names without the STATUS_ ("DEAD_OBJECT") and with the EX_ ("EX_SECURITY"); of a value that has
// none, what pruning makes of it. Static texts.
const char* statusName(binder_status_t status);
const char* exceptionName(binder_exception_t exception);

// A new status owned by the caller, or the shared success. Pruned; EX_TRANSACTION_FAILED without a
// transport status of its own (0) gets STATUS_FAILED_TRANSACTION.
AStatus* makeStatus(binder_exception_t exception, int32_t code, std::string_view message = {});

}  // namespace android::host
