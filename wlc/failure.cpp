// SPDX-License-Identifier: Apache-2.0
#include "failure.h"

#include <fmt/format.h>

#include <cstring>

#include "names.h"
#include "text.h"
#include "time_limit.h"

namespace wlc {
namespace {

std::string exceptionName(binder_exception_t exception) {
    switch (exception) {
        case EX_SECURITY:
            return "EX_SECURITY";
        case EX_BAD_PARCELABLE:
            return "EX_BAD_PARCELABLE";
        case EX_ILLEGAL_ARGUMENT:
            return "EX_ILLEGAL_ARGUMENT";
        case EX_NULL_POINTER:
            return "EX_NULL_POINTER";
        case EX_ILLEGAL_STATE:
            return "EX_ILLEGAL_STATE";
        case EX_UNSUPPORTED_OPERATION:
            return "EX_UNSUPPORTED_OPERATION";
        case EX_TRANSACTION_FAILED:
            return "EX_TRANSACTION_FAILED";
        default:
            return "EX_" + std::to_string(exception);
    }
}

std::string transportText(binder_status_t status) {
    switch (status) {
        case STATUS_UNKNOWN_TRANSACTION:
            return "the service does not implement this call";
        case STATUS_FAILED_TRANSACTION:
            return "the call could not be delivered or is too large";
        case STATUS_BAD_TYPE:
            return "the service implements a different interface";
        case STATUS_FDS_NOT_ALLOWED:
            return "file descriptors cannot be sent to the service";
        case STATUS_UNKNOWN_ERROR:
            return "unknown error";
        default:
            // The other values are negative errno numbers.
            return fmt::format("{} ({})", std::strerror(-status), status);
    }
}

Failure serviceGone(const std::string& what) {
    return Failure(kNoService, EX_TRANSACTION_FAILED, "NO_SERVICE",
                   what + ": the service died during the call");
}

}  // namespace

Json errorJson(const Failure& failure) {
    return {{"error",
             {{"code", failure.code()}, {"name", failure.name()}, {"message", failure.what()}}}};
}

Failure badUsage(const std::string& message) {
    return Failure(kBadUsage, 0, "BAD_USAGE", message);
}

Failure refused(const std::string& message) {
    return Failure(kRefused, 0, "REJECTED", message);
}

void check(binder_status_t status, const std::string& what) {
    noteAnswer();
    if (status == STATUS_OK) return;
    if (status == STATUS_DEAD_OBJECT) throw serviceGone(what);
    throw Failure(kRefused, EX_TRANSACTION_FAILED, exceptionName(EX_TRANSACTION_FAILED),
                  fmt::format("{}: call failed: {}", what, transportText(status)));
}

void check(const ndk::ScopedAStatus& status, const std::string& what) {
    noteAnswer();
    if (status.isOk()) return;
    const binder_exception_t exception = status.getExceptionCode();
    if (exception == EX_TRANSACTION_FAILED) return check(status.getStatus(), what);
    const std::string said = printable(status.getMessage());
    if (exception == EX_SERVICE_SPECIFIC) {
        const int code = status.getServiceSpecificError();
        throw Failure(
            kRefused, code, errorName(code),
            fmt::format("{}: refused with error {} ({}): {}{}", what, code, errorName(code),
                        errorMeaning(code), said.empty() ? "" : " [" + said + "]"));
    }
    throw Failure(kRefused, exception, exceptionName(exception),
                  fmt::format("{}: refused with {}{}", what, exceptionName(exception),
                              said.empty() ? "" : ": " + said));
}

}  // namespace wlc
