// VppCtrlFrc: the frame-rate conversion control of a session.
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
class VppCtrlFrc {
  public:
    typedef std::false_type fixed_size;
    static const char* descriptor;

    int32_t mode = 0;
    int32_t factor = 0;
    int32_t searchRange = 0;
    int32_t rateNum = 0;
    int32_t rateDen = 0;

    binder_status_t readFromParcel(const AParcel* parcel);
    binder_status_t writeToParcel(AParcel* parcel) const;

    inline bool operator==(const VppCtrlFrc& _rhs) const {
        return std::tie(mode, factor, searchRange, rateNum, rateDen) ==
               std::tie(_rhs.mode, _rhs.factor, _rhs.searchRange, _rhs.rateNum, _rhs.rateDen);
    }
    inline bool operator<(const VppCtrlFrc& _rhs) const {
        return std::tie(mode, factor, searchRange, rateNum, rateDen) <
               std::tie(_rhs.mode, _rhs.factor, _rhs.searchRange, _rhs.rateNum, _rhs.rateDen);
    }
    inline bool operator!=(const VppCtrlFrc& _rhs) const { return !(*this == _rhs); }
    inline bool operator>(const VppCtrlFrc& _rhs) const { return _rhs < *this; }
    inline bool operator>=(const VppCtrlFrc& _rhs) const { return !(*this < _rhs); }
    inline bool operator<=(const VppCtrlFrc& _rhs) const { return !(_rhs < *this); }

    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_VINTF;
    inline std::string toString() const {
        std::ostringstream _aidl_os;
        _aidl_os << "VppCtrlFrc{";
        _aidl_os << "mode: " << ::android::internal::ToString(mode);
        _aidl_os << ", factor: " << ::android::internal::ToString(factor);
        _aidl_os << ", searchRange: " << ::android::internal::ToString(searchRange);
        _aidl_os << ", rateNum: " << ::android::internal::ToString(rateNum);
        _aidl_os << ", rateDen: " << ::android::internal::ToString(rateDen);
        _aidl_os << "}";
        return _aidl_os.str();
    }
};
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
