// VppBufferRequirements: descriptor and parcel entry points.
#include <aidl/vendor/zux/hardware/vpp/VppBufferRequirements.h>

namespace aidl {
namespace vendor {
namespace zux {
namespace hardware {
namespace vpp {
const char* VppBufferRequirements::descriptor = "vendor.zux.hardware.vpp.VppBufferRequirements";

// Parcels are only needed across processes; in-process calls pass the object itself.
binder_status_t VppBufferRequirements::readFromParcel(const AParcel* /*parcel*/) {
    return STATUS_INVALID_OPERATION;
}

binder_status_t VppBufferRequirements::writeToParcel(AParcel* /*parcel*/) const {
    return STATUS_INVALID_OPERATION;
}
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
