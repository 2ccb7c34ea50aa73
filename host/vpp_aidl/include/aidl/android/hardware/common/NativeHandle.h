// NativeHandle (android.hardware.common): a buffer as owned file descriptors plus integers.
#pragma once

#include <android/binder_auto_utils.h>
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
#include <utility>
#include <vector>
#ifdef BINDER_STABILITY_SUPPORT
#include <android/binder_stability.h>
#endif  // BINDER_STABILITY_SUPPORT

namespace aidl {
namespace android {
namespace hardware {
namespace common {
// Move-only: it owns its descriptors. Releasing (on destruction, or before a move assignment
// replaces the contents) drops the ints first, then closes the descriptors from the last to the
// first, so that a handle built by appending closes in the reverse order of opening.
class NativeHandle {
  public:
    typedef std::false_type fixed_size;
    static const char* descriptor;

    std::vector<::ndk::ScopedFileDescriptor> fds;
    std::vector<int32_t> ints;

    NativeHandle() = default;
    NativeHandle(const NativeHandle&) = delete;
    NativeHandle& operator=(const NativeHandle&) = delete;
    NativeHandle(NativeHandle&& other) noexcept
        : fds(std::move(other.fds)), ints(std::move(other.ints)) {
        other.fds.clear();
        other.ints.clear();
    }
    NativeHandle& operator=(NativeHandle&& other) noexcept {
        if (this != &other) {
            releaseContents();
            fds = std::move(other.fds);
            ints = std::move(other.ints);
            other.fds.clear();
            other.ints.clear();
        }
        return *this;
    }
    ~NativeHandle() { releaseContents(); }

    binder_status_t readFromParcel(const AParcel* parcel);
    binder_status_t writeToParcel(AParcel* parcel) const;

    inline bool operator==(const NativeHandle& _rhs) const {
        return std::tie(fds, ints) == std::tie(_rhs.fds, _rhs.ints);
    }
    inline bool operator<(const NativeHandle& _rhs) const {
        return std::tie(fds, ints) < std::tie(_rhs.fds, _rhs.ints);
    }
    inline bool operator!=(const NativeHandle& _rhs) const { return !(*this == _rhs); }
    inline bool operator>(const NativeHandle& _rhs) const { return _rhs < *this; }
    inline bool operator>=(const NativeHandle& _rhs) const { return !(*this < _rhs); }
    inline bool operator<=(const NativeHandle& _rhs) const { return !(_rhs < *this); }

    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_VINTF;
    inline std::string toString() const {
        std::ostringstream _aidl_os;
        _aidl_os << "NativeHandle{";
        _aidl_os << "fds: " << ::android::internal::ToString(fds);
        _aidl_os << ", ints: " << ::android::internal::ToString(ints);
        _aidl_os << "}";
        return _aidl_os.str();
    }

  private:
    // Slots holding -1 are skipped by ScopedFileDescriptor itself; a failed close is logged by it
    // and the remaining slots are still closed.
    void releaseContents() noexcept {
        std::vector<int32_t>().swap(ints);
        for (auto it = fds.rbegin(); it != fds.rend(); ++it) {
            it->set(-1);
        }
        std::vector<::ndk::ScopedFileDescriptor>().swap(fds);
    }
};
}  // namespace common
}  // namespace hardware
}  // namespace android
}  // namespace aidl
