// AStatus: construction, queries, description text, and the status/exception pruning rules.
#include <android/binder_status.h>
#include <string.h>
#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "binder_internal.h"

namespace binder_host {

void logMessage(int priority, const char* format, ...) {
    va_list args;
    va_start(args, format);
    vsyslog(priority, format, args);
    va_end(args);
}

binder_status_t pruneStatus(binder_status_t status) {
    switch (status) {
        case STATUS_OK:
        case STATUS_UNKNOWN_ERROR:
        case STATUS_NO_MEMORY:
        case STATUS_INVALID_OPERATION:
        case STATUS_BAD_VALUE:
        case STATUS_BAD_TYPE:
        case STATUS_NAME_NOT_FOUND:
        case STATUS_PERMISSION_DENIED:
        case STATUS_NO_INIT:
        case STATUS_ALREADY_EXISTS:
        case STATUS_DEAD_OBJECT:
        case STATUS_FAILED_TRANSACTION:
        case STATUS_BAD_INDEX:
        case STATUS_NOT_ENOUGH_DATA:
        case STATUS_WOULD_BLOCK:
        case STATUS_TIMED_OUT:
        case STATUS_UNKNOWN_TRANSACTION:
        case STATUS_FDS_NOT_ALLOWED:
        case STATUS_UNEXPECTED_NULL:
            return status;
        default:
            logMessage(LOG_WARNING, "Unknown binder status %d, reporting STATUS_UNKNOWN_ERROR",
                       status);
            return STATUS_UNKNOWN_ERROR;
    }
}

binder_exception_t pruneException(binder_exception_t exception) {
    switch (exception) {
        case EX_NONE:
        case EX_SECURITY:
        case EX_BAD_PARCELABLE:
        case EX_ILLEGAL_ARGUMENT:
        case EX_NULL_POINTER:
        case EX_ILLEGAL_STATE:
        case EX_NETWORK_MAIN_THREAD:
        case EX_UNSUPPORTED_OPERATION:
        case EX_SERVICE_SPECIFIC:
        case EX_PARCELABLE:
        case EX_TRANSACTION_FAILED:
            return exception;
        default:
            logMessage(LOG_WARNING, "Unknown binder exception %d, reporting EX_TRANSACTION_FAILED",
                       exception);
            return EX_TRANSACTION_FAILED;
    }
}

}  // namespace binder_host

namespace {

using binder_host::pruneException;
using binder_host::pruneStatus;

// The one OK status handed out by AStatus_newOk; AStatus_delete ignores it.
AStatus* okSingleton() {
    static AStatus* const ok = new AStatus();
    return ok;
}

AStatus* fromException(binder_exception_t exception, const char* message) {
    AStatus* status = new AStatus();
    status->exception = pruneException(exception);
    if (status->exception == EX_TRANSACTION_FAILED) {
        status->errorCode = STATUS_FAILED_TRANSACTION;
    }
    if (message != nullptr) {
        status->message = message;
    }
    return status;
}

AStatus* fromServiceSpecific(int32_t code, const char* message) {
    AStatus* status = new AStatus();
    status->exception = EX_SERVICE_SPECIFIC;
    status->errorCode = code;
    if (message != nullptr) {
        status->message = message;
    }
    return status;
}

const char* exceptionName(binder_exception_t exception) {
    switch (exception) {
        case EX_NONE:
            return "EX_NONE";
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
        case EX_NETWORK_MAIN_THREAD:
            return "EX_NETWORK_MAIN_THREAD";
        case EX_UNSUPPORTED_OPERATION:
            return "EX_UNSUPPORTED_OPERATION";
        case EX_SERVICE_SPECIFIC:
            return "EX_SERVICE_SPECIFIC";
        case EX_PARCELABLE:
            return "EX_PARCELABLE";
        case -128:
            return "EX_HAS_REPLY_HEADER";
        case EX_TRANSACTION_FAILED:
            return "EX_TRANSACTION_FAILED";
        default:
            return nullptr;
    }
}

// The symbolic name without the STATUS_ prefix, or "<n> (<strerror(-n)>)".
std::string statusName(binder_status_t status) {
    switch (status) {
        case STATUS_OK:
            return "OK";
        case STATUS_UNKNOWN_ERROR:
            return "UNKNOWN_ERROR";
        case STATUS_NO_MEMORY:
            return "NO_MEMORY";
        case STATUS_INVALID_OPERATION:
            return "INVALID_OPERATION";
        case STATUS_BAD_VALUE:
            return "BAD_VALUE";
        case STATUS_BAD_TYPE:
            return "BAD_TYPE";
        case STATUS_NAME_NOT_FOUND:
            return "NAME_NOT_FOUND";
        case STATUS_PERMISSION_DENIED:
            return "PERMISSION_DENIED";
        case STATUS_NO_INIT:
            return "NO_INIT";
        case STATUS_ALREADY_EXISTS:
            return "ALREADY_EXISTS";
        case STATUS_DEAD_OBJECT:
            return "DEAD_OBJECT";
        case STATUS_FAILED_TRANSACTION:
            return "FAILED_TRANSACTION";
        case STATUS_BAD_INDEX:
            return "BAD_INDEX";
        case STATUS_NOT_ENOUGH_DATA:
            return "NOT_ENOUGH_DATA";
        case STATUS_WOULD_BLOCK:
            return "WOULD_BLOCK";
        case STATUS_TIMED_OUT:
            return "TIMED_OUT";
        case STATUS_UNKNOWN_TRANSACTION:
            return "UNKNOWN_TRANSACTION";
        case STATUS_FDS_NOT_ALLOWED:
            return "FDS_NOT_ALLOWED";
        case STATUS_UNEXPECTED_NULL:
            return "UNEXPECTED_NULL";
        default:
            return std::to_string(status) + " (" + strerror(-status) + ")";
    }
}

std::string describe(const AStatus* status) {
    if (status->exception == EX_NONE) {
        return "No error";
    }
    std::string text = "Status(" + std::to_string(status->exception) + ", ";
    const char* name = exceptionName(status->exception);
    text += name != nullptr ? std::string(name) : std::to_string(status->exception);
    text += "): '";
    if (status->exception == EX_SERVICE_SPECIFIC) {
        text += std::to_string(status->errorCode) + ": ";
    } else if (status->exception == EX_TRANSACTION_FAILED) {
        text += statusName(status->errorCode) + ": ";
    }
    text += status->message + "'";
    return text;
}

}  // namespace

AStatus* AStatus_newOk() {
    return okSingleton();
}

AStatus* AStatus_fromExceptionCode(binder_exception_t exception) {
    return fromException(exception, nullptr);
}

AStatus* AStatus_fromExceptionCodeWithMessage(binder_exception_t exception, const char* message) {
    return fromException(exception, message);
}

AStatus* AStatus_fromServiceSpecificError(int32_t serviceSpecific) {
    return fromServiceSpecific(serviceSpecific, nullptr);
}

AStatus* AStatus_fromServiceSpecificErrorWithMessage(int32_t serviceSpecific, const char* message) {
    return fromServiceSpecific(serviceSpecific, message);
}

AStatus* AStatus_fromStatus(binder_status_t status) {
    AStatus* result = new AStatus();
    binder_status_t pruned = pruneStatus(status);
    if (pruned != STATUS_OK) {
        result->exception = EX_TRANSACTION_FAILED;
        result->errorCode = pruned;
    }
    return result;
}

bool AStatus_isOk(const AStatus* status) {
    return status->exception == EX_NONE;
}

binder_exception_t AStatus_getExceptionCode(const AStatus* status) {
    return pruneException(status->exception);
}

int32_t AStatus_getServiceSpecificError(const AStatus* status) {
    return status->exception == EX_SERVICE_SPECIFIC ? status->errorCode : 0;
}

binder_status_t AStatus_getStatus(const AStatus* status) {
    return status->exception == EX_TRANSACTION_FAILED ? pruneStatus(status->errorCode) : STATUS_OK;
}

const char* AStatus_getMessage(const AStatus* status) {
    return status->message.c_str();
}

const char* AStatus_getDescription(const AStatus* status) {
    std::string text = describe(status);
    char* copy = new char[text.size() + 1];
    memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

void AStatus_deleteDescription(const char* description) {
    delete[] description;
}

void AStatus_delete(AStatus* status) {
    if (status != okSingleton()) {
        delete status;
    }
}
