// Checks of port parameters and frame-rate controls, and the frame layout a port's parameters give.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/VppCtrlFrc.h>
#include <aidl/vendor/zux/hardware/vpp/VppError.h>
#include <aidl/vendor/zux/hardware/vpp/VppPortParam.h>

#include <cstddef>

#include "frc/converter.h"
#include "frc/frame.h"

namespace vppservice {

using ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc;
using ::aidl::vendor::zux::hardware::vpp::VppError;
using ::aidl::vendor::zux::hardware::vpp::VppPortParam;

constexpr int32_t kInputPort = 0;
constexpr int32_t kOutputPort = 1;

// Largest frame a port accepts: buffer lengths travel as 32-bit signed integers.
constexpr size_t kMaxFrameBytes = 0x7fffffff;

inline bool IsValidPort(int32_t port) {
    return port == kInputPort || port == kOutputPort;
}

// VPP_ERR_PARAM for a bad geometry (non-positive or odd width/height, stride below the width,
// scanlines below the height, a frame above kMaxFrameBytes), VPP_ERR_INVALID_CFG for a colour
// format other than 2, 3 or 4, VPP_OK otherwise.
VppError CheckPortParam(const VppPortParam& param);

// The two ports of a session must carry frames of the same size and format (strides and
// scanlines may differ): VPP_ERR_INVALID_CFG otherwise. Both must have passed CheckPortParam.
VppError CheckPortPair(const VppPortParam& input, const VppPortParam& output);

// Mode 0..3; a ratio (rateNum, rateDen) as VppCtrlFrc.aidl states when either is set, else,
// unless the mode is 0, factor 2..8; search range not negative: VPP_ERR_PARAM
// otherwise.
VppError CheckCtrlFrc(const VppCtrlFrc& ctrl);

// Bytes a buffer needs to hold one frame of the port (checked parameters only).
size_t FrameSize(const VppPortParam& param);

// Bytes of plane `plane` of a frame of the port, from its start to the end of its last row.
size_t PlaneSpan(const VppPortParam& param, int plane);

inline frc::PixelFormat FormatOf(const VppPortParam& param) {
    return static_cast<frc::PixelFormat>(param.colorFormat);
}

// The converter's configuration for a control record; `bypass` forces conversion off.
frc::ConverterConfig ConverterConfigOf(const VppCtrlFrc& ctrl, bool bypass);

}  // namespace vppservice
