// VppStats: counters of a session since it was opened or its counters were reset.
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
class VppStats {
  public:
    typedef std::false_type fixed_size;
    static const char* descriptor;

    int64_t inputBuffersQueued = 0L;
    int64_t inputBuffersDone = 0L;
    int64_t outputBuffersQueued = 0L;
    int64_t outputBuffersDone = 0L;
    int64_t interpolatedFrames = 0L;
    int64_t fallbackFrames = 0L;
    int64_t processingTimeNs = 0L;

    binder_status_t readFromParcel(const AParcel* parcel);
    binder_status_t writeToParcel(AParcel* parcel) const;

    inline bool operator==(const VppStats& _rhs) const {
        return std::tie(inputBuffersQueued, inputBuffersDone, outputBuffersQueued,
                        outputBuffersDone, interpolatedFrames, fallbackFrames, processingTimeNs) ==
               std::tie(_rhs.inputBuffersQueued, _rhs.inputBuffersDone, _rhs.outputBuffersQueued,
                        _rhs.outputBuffersDone, _rhs.interpolatedFrames, _rhs.fallbackFrames,
                        _rhs.processingTimeNs);
    }
    inline bool operator<(const VppStats& _rhs) const {
        return std::tie(inputBuffersQueued, inputBuffersDone, outputBuffersQueued,
                        outputBuffersDone, interpolatedFrames, fallbackFrames, processingTimeNs) <
               std::tie(_rhs.inputBuffersQueued, _rhs.inputBuffersDone, _rhs.outputBuffersQueued,
                        _rhs.outputBuffersDone, _rhs.interpolatedFrames, _rhs.fallbackFrames,
                        _rhs.processingTimeNs);
    }
    inline bool operator!=(const VppStats& _rhs) const { return !(*this == _rhs); }
    inline bool operator>(const VppStats& _rhs) const { return _rhs < *this; }
    inline bool operator>=(const VppStats& _rhs) const { return !(*this < _rhs); }
    inline bool operator<=(const VppStats& _rhs) const { return !(_rhs < *this); }

    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_VINTF;
    inline std::string toString() const {
        std::ostringstream _aidl_os;
        _aidl_os << "VppStats{";
        _aidl_os << "inputBuffersQueued: " << ::android::internal::ToString(inputBuffersQueued);
        _aidl_os << ", inputBuffersDone: " << ::android::internal::ToString(inputBuffersDone);
        _aidl_os << ", outputBuffersQueued: " << ::android::internal::ToString(outputBuffersQueued);
        _aidl_os << ", outputBuffersDone: " << ::android::internal::ToString(outputBuffersDone);
        _aidl_os << ", interpolatedFrames: " << ::android::internal::ToString(interpolatedFrames);
        _aidl_os << ", fallbackFrames: " << ::android::internal::ToString(fallbackFrames);
        _aidl_os << ", processingTimeNs: " << ::android::internal::ToString(processingTimeNs);
        _aidl_os << "}";
        return _aidl_os.str();
    }
};
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
