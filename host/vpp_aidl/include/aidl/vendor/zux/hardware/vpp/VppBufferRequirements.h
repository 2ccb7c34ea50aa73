// VppBufferRequirements: what a port needs of the buffers queued on it.
#pragma once

#include <android/binder_interface_utils.h>
#include <android/binder_parcelable_utils.h>
#include <android/binder_to_string.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>
#ifdef BINDER_STABILITY_SUPPORT
#include <android/binder_stability.h>
#endif  // BINDER_STABILITY_SUPPORT

namespace aidl {
namespace vendor {
namespace zux {
namespace hardware {
namespace vpp {
class VppBufferRequirements {
  public:
    typedef std::false_type fixed_size;
    static const char* descriptor;

    int32_t minBufferCount = 0;
    int32_t bufferSize = 0;

    binder_status_t readFromParcel(const AParcel* parcel);
    binder_status_t writeToParcel(AParcel* parcel) const;

    inline bool operator==(const VppBufferRequirements& _rhs) const {
        return std::tie(minBufferCount, bufferSize) ==
               std::tie(_rhs.minBufferCount, _rhs.bufferSize);
    }
    inline bool operator<(const VppBufferRequirements& _rhs) const {
        return std::tie(minBufferCount, bufferSize) <
               std::tie(_rhs.minBufferCount, _rhs.bufferSize);
    }
    inline bool operator!=(const VppBufferRequirements& _rhs) const { return !(*this == _rhs); }
    inline bool operator>(const VppBufferRequirements& _rhs) const { return _rhs < *this; }
    inline bool operator>=(const VppBufferRequirements& _rhs) const { return !(*this < _rhs); }
    inline bool operator<=(const VppBufferRequirements& _rhs) const { return !(_rhs < *this); }

    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_VINTF;
    inline std::string toString() const {
        std::ostringstream _aidl_os;
        _aidl_os << "VppBufferRequirements{";
        _aidl_os << "minBufferCount: " << ::android::internal::ToString(minBufferCount);
        _aidl_os << ", bufferSize: " << ::android::internal::ToString(bufferSize);
        _aidl_os << "}";
        return _aidl_os.str();
    }
};
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
