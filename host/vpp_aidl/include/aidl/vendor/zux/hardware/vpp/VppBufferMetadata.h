// VppBufferMetadata: side data attached to a buffer (move-only: it owns descriptors).
#pragma once

#include <aidl/android/hardware/common/NativeHandle.h>
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
class VppBufferMetadata {
  public:
    typedef std::false_type fixed_size;
    static const char* descriptor;

    std::string key;
    ::aidl::android::hardware::common::NativeHandle handle;
    int64_t offset = 0L;
    int64_t length = 0L;
    int64_t value = 0L;

    binder_status_t readFromParcel(const AParcel* parcel);
    binder_status_t writeToParcel(AParcel* parcel) const;

    inline bool operator==(const VppBufferMetadata& _rhs) const {
        return std::tie(key, handle, offset, length, value) ==
               std::tie(_rhs.key, _rhs.handle, _rhs.offset, _rhs.length, _rhs.value);
    }
    inline bool operator<(const VppBufferMetadata& _rhs) const {
        return std::tie(key, handle, offset, length, value) <
               std::tie(_rhs.key, _rhs.handle, _rhs.offset, _rhs.length, _rhs.value);
    }
    inline bool operator!=(const VppBufferMetadata& _rhs) const { return !(*this == _rhs); }
    inline bool operator>(const VppBufferMetadata& _rhs) const { return _rhs < *this; }
    inline bool operator>=(const VppBufferMetadata& _rhs) const { return !(*this < _rhs); }
    inline bool operator<=(const VppBufferMetadata& _rhs) const { return !(_rhs < *this); }

    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_VINTF;
    inline std::string toString() const {
        std::ostringstream _aidl_os;
        _aidl_os << "VppBufferMetadata{";
        _aidl_os << "key: " << ::android::internal::ToString(key);
        _aidl_os << ", handle: " << ::android::internal::ToString(handle);
        _aidl_os << ", offset: " << ::android::internal::ToString(offset);
        _aidl_os << ", length: " << ::android::internal::ToString(length);
        _aidl_os << ", value: " << ::android::internal::ToString(value);
        _aidl_os << "}";
        return _aidl_os.str();
    }
};
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
