// SPDX-License-Identifier: Apache-2.0
#include <android/binder_status.h>

#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <utility>

// Immutable once made. Every success is the one object gOk.
struct AStatus {
    constexpr AStatus(binder_exception_t exceptionCode, int32_t errorCode)
        : exception(exceptionCode), code(errorCode) {}
    AStatus(binder_exception_t exceptionCode, int32_t errorCode, std::unique_ptr<const char[]> text)
        : exception(exceptionCode), code(errorCode), message(std::move(text)) {}

    const char* messageText() const { return message == nullptr ? "" : message.get(); }

    const binder_exception_t exception;
    // The service specific code, the transport status, or 0, as the exception says.
    const int32_t code;
    const std::unique_ptr<const char[]> message;  // null when empty
};

namespace {

struct Named {
    int32_t value;
    const char* name;
};

constexpr Named kStatuses[] = {
    {STATUS_OK, "OK"},
    {STATUS_UNKNOWN_ERROR, "UNKNOWN_ERROR"},
    {STATUS_NO_MEMORY, "NO_MEMORY"},
    {STATUS_INVALID_OPERATION, "INVALID_OPERATION"},
    {STATUS_BAD_VALUE, "BAD_VALUE"},
    {STATUS_BAD_TYPE, "BAD_TYPE"},
    {STATUS_NAME_NOT_FOUND, "NAME_NOT_FOUND"},
    {STATUS_PERMISSION_DENIED, "PERMISSION_DENIED"},
    {STATUS_NO_INIT, "NO_INIT"},
    {STATUS_ALREADY_EXISTS, "ALREADY_EXISTS"},
    {STATUS_DEAD_OBJECT, "DEAD_OBJECT"},
    {STATUS_FAILED_TRANSACTION, "FAILED_TRANSACTION"},
    {STATUS_BAD_INDEX, "BAD_INDEX"},
    {STATUS_NOT_ENOUGH_DATA, "NOT_ENOUGH_DATA"},
    {STATUS_WOULD_BLOCK, "WOULD_BLOCK"},
    {STATUS_TIMED_OUT, "TIMED_OUT"},
    {STATUS_UNKNOWN_TRANSACTION, "UNKNOWN_TRANSACTION"},
    {STATUS_FDS_NOT_ALLOWED, "FDS_NOT_ALLOWED"},
    {STATUS_UNEXPECTED_NULL, "UNEXPECTED_NULL"},
};

constexpr Named kExceptions[] = {
    {EX_NONE, "EX_NONE"},
    {EX_SECURITY, "EX_SECURITY"},
    {EX_BAD_PARCELABLE, "EX_BAD_PARCELABLE"},
    {EX_ILLEGAL_ARGUMENT, "EX_ILLEGAL_ARGUMENT"},
    {EX_NULL_POINTER, "EX_NULL_POINTER"},
    {EX_ILLEGAL_STATE, "EX_ILLEGAL_STATE"},
    {EX_NETWORK_MAIN_THREAD, "EX_NETWORK_MAIN_THREAD"},
    {EX_UNSUPPORTED_OPERATION, "EX_UNSUPPORTED_OPERATION"},
    {EX_SERVICE_SPECIFIC, "EX_SERVICE_SPECIFIC"},
    {EX_PARCELABLE, "EX_PARCELABLE"},
    {EX_TRANSACTION_FAILED, "EX_TRANSACTION_FAILED"},
};

const char* nameIn(std::span<const Named> table, int32_t value) {
    for (const Named& entry : table) {
        if (entry.value == value) return entry.name;
    }
    return nullptr;
}

std::unique_ptr<const char[]> copyText(const char* text) {
    if (*text == '\0') return nullptr;
    const size_t size = strlen(text) + 1;
    auto copy = std::make_unique<char[]>(size);
    memcpy(copy.get(), text, size);
    return copy;
}

// Has no message, so nothing is lost by never destroying what it holds.
constinit AStatus gOk(EX_NONE, 0);

// A new status, or the shared success. Values without a name become the unknown ones;
// EX_TRANSACTION_FAILED without a transport status of its own gets STATUS_FAILED_TRANSACTION.
AStatus* makeStatus(binder_exception_t exception, int32_t code, const char* message = "") {
    if (nameIn(kExceptions, exception) == nullptr) exception = EX_TRANSACTION_FAILED;
    switch (exception) {
        case EX_NONE:
            return &gOk;
        case EX_SERVICE_SPECIFIC:
            break;
        case EX_TRANSACTION_FAILED:
            if (code == STATUS_OK) code = STATUS_FAILED_TRANSACTION;
            if (nameIn(kStatuses, code) == nullptr) code = STATUS_UNKNOWN_ERROR;
            break;
        default:
            code = 0;
            break;
    }
    return new AStatus(exception, code, copyText(message));
}

}  // namespace

AStatus* AStatus_newOk() {
    return &gOk;
}

AStatus* AStatus_fromExceptionCode(binder_exception_t exception) {
    return makeStatus(exception, 0);
}

AStatus* AStatus_fromExceptionCodeWithMessage(binder_exception_t exception, const char* message) {
    return makeStatus(exception, 0, message);
}

AStatus* AStatus_fromServiceSpecificError(int32_t serviceSpecific) {
    return makeStatus(EX_SERVICE_SPECIFIC, serviceSpecific);
}

AStatus* AStatus_fromServiceSpecificErrorWithMessage(int32_t serviceSpecific, const char* message) {
    return makeStatus(EX_SERVICE_SPECIFIC, serviceSpecific, message);
}

AStatus* AStatus_fromStatus(binder_status_t status) {
    return status == STATUS_OK ? &gOk : makeStatus(EX_TRANSACTION_FAILED, status);
}

bool AStatus_isOk(const AStatus* status) {
    return status->exception == EX_NONE;
}

binder_exception_t AStatus_getExceptionCode(const AStatus* status) {
    return status->exception;
}

int32_t AStatus_getServiceSpecificError(const AStatus* status) {
    return status->exception == EX_SERVICE_SPECIFIC ? status->code : 0;
}

binder_status_t AStatus_getStatus(const AStatus* status) {
    return status->exception == EX_TRANSACTION_FAILED ? status->code : STATUS_OK;
}

const char* AStatus_getMessage(const AStatus* status) {
    return status->messageText();
}

const char* AStatus_getDescription(const AStatus* status) {
    std::string text;
    if (status->exception == EX_NONE) {
        text = "No error";
    } else {
        text = "Status(" + std::to_string(status->exception) + ", " +
               nameIn(kExceptions, status->exception) + "): '";
        if (status->exception == EX_SERVICE_SPECIFIC) {
            text += std::to_string(status->code) + ": ";
        } else if (status->exception == EX_TRANSACTION_FAILED) {
            text += std::string(nameIn(kStatuses, status->code)) + ": ";
        }
        text += status->messageText();
        text += "'";
    }
    char* copy = new char[text.size() + 1];
    memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

void AStatus_deleteDescription(const char* description) {
    delete[] description;
}

void AStatus_delete(AStatus* status) {
    if (status != &gOk) delete status;
}
