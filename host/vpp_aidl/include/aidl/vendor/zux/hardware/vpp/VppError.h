// VppError: the int-backed result code of every session and callback operation.
#pragma once

#include <android/binder_enums.h>

#include <array>
#include <cstdint>
#include <string>

namespace aidl {
namespace vendor {
namespace zux {
namespace hardware {
namespace vpp {
enum class VppError : int32_t {
    VPP_OK = 0,
    VPP_ERR = 1,
    VPP_PENDING = 2,
    VPP_ERR_STATE = 3,
    VPP_ERR_INVALID_CFG = 4,
    VPP_ERR_PARAM = 5,
    VPP_ERR_NO_MEM = 6,
    VPP_ERR_RESOURCES = 7,
    VPP_ERR_HW = 8,
    VPP_ERR_FATAL = 9,
};

// Named values print as their names; any other value (one a newer peer may send) as its number.
[[nodiscard]] static inline std::string toString(VppError val) {
    switch (val) {
        case VppError::VPP_OK:
            return "VPP_OK";
        case VppError::VPP_ERR:
            return "VPP_ERR";
        case VppError::VPP_PENDING:
            return "VPP_PENDING";
        case VppError::VPP_ERR_STATE:
            return "VPP_ERR_STATE";
        case VppError::VPP_ERR_INVALID_CFG:
            return "VPP_ERR_INVALID_CFG";
        case VppError::VPP_ERR_PARAM:
            return "VPP_ERR_PARAM";
        case VppError::VPP_ERR_NO_MEM:
            return "VPP_ERR_NO_MEM";
        case VppError::VPP_ERR_RESOURCES:
            return "VPP_ERR_RESOURCES";
        case VppError::VPP_ERR_HW:
            return "VPP_ERR_HW";
        case VppError::VPP_ERR_FATAL:
            return "VPP_ERR_FATAL";
        default:
            return std::to_string(static_cast<int32_t>(val));
    }
}
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl

namespace ndk {
namespace internal {
template <>
constexpr inline std::array<aidl::vendor::zux::hardware::vpp::VppError, 10>
    enum_values<aidl::vendor::zux::hardware::vpp::VppError> = {
        aidl::vendor::zux::hardware::vpp::VppError::VPP_OK,
        aidl::vendor::zux::hardware::vpp::VppError::VPP_ERR,
        aidl::vendor::zux::hardware::vpp::VppError::VPP_PENDING,
        aidl::vendor::zux::hardware::vpp::VppError::VPP_ERR_STATE,
        aidl::vendor::zux::hardware::vpp::VppError::VPP_ERR_INVALID_CFG,
        aidl::vendor::zux::hardware::vpp::VppError::VPP_ERR_PARAM,
        aidl::vendor::zux::hardware::vpp::VppError::VPP_ERR_NO_MEM,
        aidl::vendor::zux::hardware::vpp::VppError::VPP_ERR_RESOURCES,
        aidl::vendor::zux::hardware::vpp::VppError::VPP_ERR_HW,
        aidl::vendor::zux::hardware::vpp::VppError::VPP_ERR_FATAL,
};
}  // namespace internal
}  // namespace ndk
