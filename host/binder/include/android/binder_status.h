// Binder NDK status codes, exception codes and the AStatus C API.
#pragma once

#include <errno.h>
#include <stdbool.h>
#include <stdint.h>
#include <sys/cdefs.h>

#ifndef __INTRODUCED_IN
#define __INTRODUCED_IN(api)
#endif

// Off-device builds behave like the newest platform, so version-guarded code paths are compiled.
#ifndef __ANDROID_API__
#define __ANDROID_API__ 10000
#endif

__BEGIN_DECLS

// Transport-level status. Values are negated Linux errno numbers where one fits.
enum {
    STATUS_OK = 0,

    STATUS_UNKNOWN_ERROR = (-2147483647 - 1),
    STATUS_NO_MEMORY = -ENOMEM,
    STATUS_INVALID_OPERATION = -ENOSYS,
    STATUS_BAD_VALUE = -EINVAL,
    STATUS_BAD_TYPE = (STATUS_UNKNOWN_ERROR + 1),
    STATUS_NAME_NOT_FOUND = -ENOENT,
    STATUS_PERMISSION_DENIED = -EPERM,
    STATUS_NO_INIT = -ENODEV,
    STATUS_ALREADY_EXISTS = -EEXIST,
    STATUS_DEAD_OBJECT = -EPIPE,
    STATUS_FAILED_TRANSACTION = (STATUS_UNKNOWN_ERROR + 2),
    STATUS_BAD_INDEX = -EOVERFLOW,
    STATUS_NOT_ENOUGH_DATA = -ENODATA,
    STATUS_WOULD_BLOCK = -EWOULDBLOCK,
    STATUS_TIMED_OUT = -ETIMEDOUT,
    STATUS_UNKNOWN_TRANSACTION = -EBADMSG,
    STATUS_FDS_NOT_ALLOWED = (STATUS_UNKNOWN_ERROR + 7),
    STATUS_UNEXPECTED_NULL = (STATUS_UNKNOWN_ERROR + 8),
};

typedef int32_t binder_status_t;

// Application-level exception carried by an AStatus.
enum {
    EX_NONE = 0,
    EX_SECURITY = -1,
    EX_BAD_PARCELABLE = -2,
    EX_ILLEGAL_ARGUMENT = -3,
    EX_NULL_POINTER = -4,
    EX_ILLEGAL_STATE = -5,
    EX_NETWORK_MAIN_THREAD = -6,
    EX_UNSUPPORTED_OPERATION = -7,
    EX_SERVICE_SPECIFIC = -8,
    EX_PARCELABLE = -9,
    EX_TRANSACTION_FAILED = -129,
};

typedef int32_t binder_exception_t;

// Result of a binder call: an exception, an error code and a message.
struct AStatus;
typedef struct AStatus AStatus;

__attribute__((warn_unused_result)) AStatus* AStatus_newOk(void) __INTRODUCED_IN(29);
__attribute__((warn_unused_result)) AStatus* AStatus_fromExceptionCode(binder_exception_t exception)
    __INTRODUCED_IN(29);
__attribute__((warn_unused_result)) AStatus* AStatus_fromExceptionCodeWithMessage(
    binder_exception_t exception, const char* message) __INTRODUCED_IN(29);
__attribute__((warn_unused_result)) AStatus* AStatus_fromServiceSpecificError(
    int32_t serviceSpecific) __INTRODUCED_IN(29);
__attribute__((warn_unused_result)) AStatus* AStatus_fromServiceSpecificErrorWithMessage(
    int32_t serviceSpecific, const char* message) __INTRODUCED_IN(29);
__attribute__((warn_unused_result)) AStatus* AStatus_fromStatus(binder_status_t status)
    __INTRODUCED_IN(29);

bool AStatus_isOk(const AStatus* status) __INTRODUCED_IN(29);
binder_exception_t AStatus_getExceptionCode(const AStatus* status) __INTRODUCED_IN(29);
int32_t AStatus_getServiceSpecificError(const AStatus* status) __INTRODUCED_IN(29);
binder_status_t AStatus_getStatus(const AStatus* status) __INTRODUCED_IN(29);
// Never NULL; valid as long as the status lives.
const char* AStatus_getMessage(const AStatus* status) __INTRODUCED_IN(29);
// Newly allocated; free with AStatus_deleteDescription.
__attribute__((warn_unused_result)) const char* AStatus_getDescription(const AStatus* status)
    __INTRODUCED_IN(30);
void AStatus_deleteDescription(const char* description) __INTRODUCED_IN(30);
void AStatus_delete(AStatus* status) __INTRODUCED_IN(29);

__END_DECLS
