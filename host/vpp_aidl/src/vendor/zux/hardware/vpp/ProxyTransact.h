// The one transaction the interface proxies make while arguments and results are not parceled.
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>

namespace aidl {
namespace vendor {
namespace zux {
namespace hardware {
namespace vpp {
namespace internal {
// Sends the bare transaction code. Its status is what the caller reports: the peer's refusal
// (STATUS_UNKNOWN_TRANSACTION lets the proxy fall back to a default implementation) or a dead or
// missing binder. A peer that accepts the call answers with a reply this stage cannot decode, so
// that case is reported as STATUS_INVALID_OPERATION rather than as a success with no results.
inline binder_status_t transactWithoutParcels(AIBinder* binder, transaction_code_t code) {
    ::ndk::ScopedAParcel in;
    ::ndk::ScopedAParcel out;
    binder_status_t status = AIBinder_prepareTransaction(binder, in.getR());
    if (status != STATUS_OK) {
        return status;
    }
    status = AIBinder_transact(binder, code, in.getR(), out.getR(), 0);
    return status == STATUS_OK ? STATUS_INVALID_OPERATION : status;
}
}  // namespace internal
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
