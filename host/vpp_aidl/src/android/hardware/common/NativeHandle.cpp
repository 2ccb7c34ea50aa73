// NativeHandle: descriptor and parcel entry points.
#include <aidl/android/hardware/common/NativeHandle.h>

namespace aidl {
namespace android {
namespace hardware {
namespace common {
const char* NativeHandle::descriptor = "android.hardware.common.NativeHandle";

// Parcels are only needed across processes; in-process calls pass the object itself.
binder_status_t NativeHandle::readFromParcel(const AParcel* /*parcel*/) {
    return STATUS_INVALID_OPERATION;
}

binder_status_t NativeHandle::writeToParcel(AParcel* /*parcel*/) const {
    return STATUS_INVALID_OPERATION;
}
}  // namespace common
}  // namespace hardware
}  // namespace android
}  // namespace aidl
