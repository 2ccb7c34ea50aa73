// VppBuffer: a buffer exchanged between a client and a session (move-only: it owns descriptors).
#pragma once

#include <aidl/android/hardware/common/NativeHandle.h>
#include <aidl/vendor/zux/hardware/vpp/VppBufferMetadata.h>
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
class VppBuffer {
  public:
    typedef std::false_type fixed_size;
    static const char* descriptor;

    ::aidl::android::hardware::common::NativeHandle bufferHandle;
    int32_t offset = 0;
    int32_t bufferLen = 0;
    int32_t filledLen = 0;
    int32_t allocLen = 0;
    ::aidl::android::hardware::common::NativeHandle extraHandle;
    int64_t extraOffset = 0L;
    int64_t extraLen = 0L;
    std::vector<::aidl::vendor::zux::hardware::vpp::VppBufferMetadata> metadata;
    int32_t flags = 0;
    int64_t timestamp = 0L;
    int64_t portType = 0L;
    int64_t cookie = 0L;

    binder_status_t readFromParcel(const AParcel* parcel);
    binder_status_t writeToParcel(AParcel* parcel) const;

    inline bool operator==(const VppBuffer& _rhs) const {
        return std::tie(bufferHandle, offset, bufferLen, filledLen, allocLen, extraHandle,
                        extraOffset, extraLen, metadata, flags, timestamp, portType, cookie) ==
               std::tie(_rhs.bufferHandle, _rhs.offset, _rhs.bufferLen, _rhs.filledLen,
                        _rhs.allocLen, _rhs.extraHandle, _rhs.extraOffset, _rhs.extraLen,
                        _rhs.metadata, _rhs.flags, _rhs.timestamp, _rhs.portType, _rhs.cookie);
    }
    inline bool operator<(const VppBuffer& _rhs) const {
        return std::tie(bufferHandle, offset, bufferLen, filledLen, allocLen, extraHandle,
                        extraOffset, extraLen, metadata, flags, timestamp, portType, cookie) <
               std::tie(_rhs.bufferHandle, _rhs.offset, _rhs.bufferLen, _rhs.filledLen,
                        _rhs.allocLen, _rhs.extraHandle, _rhs.extraOffset, _rhs.extraLen,
                        _rhs.metadata, _rhs.flags, _rhs.timestamp, _rhs.portType, _rhs.cookie);
    }
    inline bool operator!=(const VppBuffer& _rhs) const { return !(*this == _rhs); }
    inline bool operator>(const VppBuffer& _rhs) const { return _rhs < *this; }
    inline bool operator>=(const VppBuffer& _rhs) const { return !(*this < _rhs); }
    inline bool operator<=(const VppBuffer& _rhs) const { return !(_rhs < *this); }

    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_VINTF;
    inline std::string toString() const {
        std::ostringstream _aidl_os;
        _aidl_os << "VppBuffer{";
        _aidl_os << "bufferHandle: " << ::android::internal::ToString(bufferHandle);
        _aidl_os << ", offset: " << ::android::internal::ToString(offset);
        _aidl_os << ", bufferLen: " << ::android::internal::ToString(bufferLen);
        _aidl_os << ", filledLen: " << ::android::internal::ToString(filledLen);
        _aidl_os << ", allocLen: " << ::android::internal::ToString(allocLen);
        _aidl_os << ", extraHandle: " << ::android::internal::ToString(extraHandle);
        _aidl_os << ", extraOffset: " << ::android::internal::ToString(extraOffset);
        _aidl_os << ", extraLen: " << ::android::internal::ToString(extraLen);
        _aidl_os << ", metadata: " << ::android::internal::ToString(metadata);
        _aidl_os << ", flags: " << ::android::internal::ToString(flags);
        _aidl_os << ", timestamp: " << ::android::internal::ToString(timestamp);
        _aidl_os << ", portType: " << ::android::internal::ToString(portType);
        _aidl_os << ", cookie: " << ::android::internal::ToString(cookie);
        _aidl_os << "}";
        return _aidl_os.str();
    }
};
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
