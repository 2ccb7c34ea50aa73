// VppPortParam: geometry and pixel format of one port of a session.
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
class VppPortParam {
  public:
    typedef std::false_type fixed_size;
    static const char* descriptor;

    int32_t height = 0;
    int32_t width = 0;
    int32_t stride = 0;
    int32_t scanlines = 0;
    int32_t colorFormat = 0;

    binder_status_t readFromParcel(const AParcel* parcel);
    binder_status_t writeToParcel(AParcel* parcel) const;

    inline bool operator==(const VppPortParam& _rhs) const {
        return std::tie(height, width, stride, scanlines, colorFormat) ==
               std::tie(_rhs.height, _rhs.width, _rhs.stride, _rhs.scanlines, _rhs.colorFormat);
    }
    inline bool operator<(const VppPortParam& _rhs) const {
        return std::tie(height, width, stride, scanlines, colorFormat) <
               std::tie(_rhs.height, _rhs.width, _rhs.stride, _rhs.scanlines, _rhs.colorFormat);
    }
    inline bool operator!=(const VppPortParam& _rhs) const { return !(*this == _rhs); }
    inline bool operator>(const VppPortParam& _rhs) const { return _rhs < *this; }
    inline bool operator>=(const VppPortParam& _rhs) const { return !(*this < _rhs); }
    inline bool operator<=(const VppPortParam& _rhs) const { return !(_rhs < *this); }

    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_VINTF;
    inline std::string toString() const {
        std::ostringstream _aidl_os;
        _aidl_os << "VppPortParam{";
        _aidl_os << "height: " << ::android::internal::ToString(height);
        _aidl_os << ", width: " << ::android::internal::ToString(width);
        _aidl_os << ", stride: " << ::android::internal::ToString(stride);
        _aidl_os << ", scanlines: " << ::android::internal::ToString(scanlines);
        _aidl_os << ", colorFormat: " << ::android::internal::ToString(colorFormat);
        _aidl_os << "}";
        return _aidl_os.str();
    }
};
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
