// FlushDone: event data of a completed port flush.
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
class FlushDone {
  public:
    typedef std::false_type fixed_size;
    static const char* descriptor;

    int32_t port = 0;

    binder_status_t readFromParcel(const AParcel* parcel);
    binder_status_t writeToParcel(AParcel* parcel) const;

    inline bool operator==(const FlushDone& _rhs) const {
        return std::tie(port) == std::tie(_rhs.port);
    }
    inline bool operator<(const FlushDone& _rhs) const {
        return std::tie(port) < std::tie(_rhs.port);
    }
    inline bool operator!=(const FlushDone& _rhs) const { return !(*this == _rhs); }
    inline bool operator>(const FlushDone& _rhs) const { return _rhs < *this; }
    inline bool operator>=(const FlushDone& _rhs) const { return !(*this < _rhs); }
    inline bool operator<=(const FlushDone& _rhs) const { return !(_rhs < *this); }

    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_VINTF;
    inline std::string toString() const {
        std::ostringstream _aidl_os;
        _aidl_os << "FlushDone{";
        _aidl_os << "port: " << ::android::internal::ToString(port);
        _aidl_os << "}";
        return _aidl_os.str();
    }
};
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
