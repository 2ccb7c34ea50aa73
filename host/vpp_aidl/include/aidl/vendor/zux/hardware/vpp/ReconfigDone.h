// ReconfigDone: event data of a reconfiguration that took effect or was refused.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/VppError.h>
#include <aidl/vendor/zux/hardware/vpp/VppPortParam.h>
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
class ReconfigDone {
  public:
    typedef std::false_type fixed_size;
    static const char* descriptor;

    ::aidl::vendor::zux::hardware::vpp::VppError status =
        ::aidl::vendor::zux::hardware::vpp::VppError(0);
    ::aidl::vendor::zux::hardware::vpp::VppPortParam inputParam;
    ::aidl::vendor::zux::hardware::vpp::VppPortParam outputParam;

    binder_status_t readFromParcel(const AParcel* parcel);
    binder_status_t writeToParcel(AParcel* parcel) const;

    inline bool operator==(const ReconfigDone& _rhs) const {
        return std::tie(status, inputParam, outputParam) ==
               std::tie(_rhs.status, _rhs.inputParam, _rhs.outputParam);
    }
    inline bool operator<(const ReconfigDone& _rhs) const {
        return std::tie(status, inputParam, outputParam) <
               std::tie(_rhs.status, _rhs.inputParam, _rhs.outputParam);
    }
    inline bool operator!=(const ReconfigDone& _rhs) const { return !(*this == _rhs); }
    inline bool operator>(const ReconfigDone& _rhs) const { return _rhs < *this; }
    inline bool operator>=(const ReconfigDone& _rhs) const { return !(*this < _rhs); }
    inline bool operator<=(const ReconfigDone& _rhs) const { return !(_rhs < *this); }

    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_VINTF;
    inline std::string toString() const {
        std::ostringstream _aidl_os;
        _aidl_os << "ReconfigDone{";
        _aidl_os << "status: " << ::android::internal::ToString(status);
        _aidl_os << ", inputParam: " << ::android::internal::ToString(inputParam);
        _aidl_os << ", outputParam: " << ::android::internal::ToString(outputParam);
        _aidl_os << "}";
        return _aidl_os.str();
    }
};
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
