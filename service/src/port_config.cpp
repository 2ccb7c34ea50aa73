// Checks of port parameters and frame-rate controls, and the frame layout a port's parameters give.
#include "port_config.h"

namespace vppservice {

VppError CheckPortParam(const VppPortParam& param) {
    if (param.width <= 0 || param.height <= 0 || (param.width % 2) != 0 ||
        (param.height % 2) != 0 || param.stride < param.width || param.scanlines < param.height) {
        return VppError::VPP_ERR_PARAM;
    }
    if (!frc::isSupportedFormat(param.colorFormat)) {
        return VppError::VPP_ERR_INVALID_CFG;
    }
    const size_t size = FrameSize(param);
    if (size == 0 || size > kMaxFrameBytes) {
        return VppError::VPP_ERR_PARAM;
    }
    return VppError::VPP_OK;
}

VppError CheckPortPair(const VppPortParam& input, const VppPortParam& output) {
    if (input.width != output.width || input.height != output.height ||
        input.colorFormat != output.colorFormat) {
        return VppError::VPP_ERR_INVALID_CFG;
    }
    return VppError::VPP_OK;
}

VppError CheckCtrlFrc(const VppCtrlFrc& ctrl) {
    if (ctrl.mode < 0 || ctrl.mode > 3 || ctrl.searchRange < 0) {
        return VppError::VPP_ERR_PARAM;
    }
    // A ratio is checked even in mode 0, so that a later mode change cannot meet a bad one.
    if (ctrl.rateNum != 0 || ctrl.rateDen != 0) {
        frc::ConverterConfig config = ConverterConfigOf(ctrl, false);
        config.mode = frc::FrcMode::kBlend;
        return frc::isValidConfig(config) ? VppError::VPP_OK : VppError::VPP_ERR_PARAM;
    }
    if (ctrl.mode != 0 && (ctrl.factor < 2 || ctrl.factor > 8)) {
        return VppError::VPP_ERR_PARAM;
    }
    return VppError::VPP_OK;
}

size_t FrameSize(const VppPortParam& param) {
    return frc::bufferSize(FormatOf(param), param.width, param.height, param.stride,
                           param.scanlines);
}

size_t PlaneSpan(const VppPortParam& param, int plane) {
    const size_t stride = static_cast<size_t>(param.stride);
    if (plane == 0) {
        return stride * static_cast<size_t>(param.height);
    }
    const size_t rows = static_cast<size_t>(frc::chromaHeight(param.height));
    return FormatOf(param) == frc::PixelFormat::kI420 ? (stride / 2) * rows : stride * rows;
}

frc::ConverterConfig ConverterConfigOf(const VppCtrlFrc& ctrl, bool bypass) {
    frc::ConverterConfig config;
    config.mode = bypass ? frc::FrcMode::kOff : static_cast<frc::FrcMode>(ctrl.mode);
    config.factor = config.mode == frc::FrcMode::kOff ? 2 : ctrl.factor;
    config.rateNum = ctrl.rateNum;
    config.rateDen = ctrl.rateDen;
    config.searchRange = ctrl.searchRange;
    config.streamEnd = frc::StreamEnd::kLastFrameAlone;
    return config;
}

}  // namespace vppservice
