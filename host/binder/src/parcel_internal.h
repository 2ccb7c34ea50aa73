// Internal parcel hooks used by the binder objects: creation, interface tokens, local dispatch.
#pragma once

#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>

#include <string>

namespace binder_host {

// A new empty parcel bound to target (NULL: bound to nothing, like AParcel_create).
AParcel* newParcelFor(const AIBinder* target);

// The binder a parcel was prepared for.
const AIBinder* parcelTarget(const AParcel* parcel);

binder_status_t writeInterfaceToken(AParcel* parcel, const std::string& descriptor);

// Runs binder's stub on this thread: token check, then the class's onTransact.
binder_status_t transactLocal(AIBinder* binder, transaction_code_t code, AParcel* in, AParcel* out);

}  // namespace binder_host
