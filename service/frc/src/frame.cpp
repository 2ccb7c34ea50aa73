// Frame geometry helpers: supported formats and buffer sizes.
#include "frc/frame.h"

namespace frc {

bool isSupportedFormat(int code) {
    return code == static_cast<int>(PixelFormat::kI420) ||
           code == static_cast<int>(PixelFormat::kNv12) ||
           code == static_cast<int>(PixelFormat::kNv21);
}

size_t bufferSize(PixelFormat format, int width, int height, int stride, int scanlines) {
    if (!isSupportedFormat(static_cast<int>(format)) || width <= 0 || height <= 0 ||
        stride < width || scanlines < height) {
        return 0;
    }
    const size_t luma = static_cast<size_t>(stride) * scanlines;
    const size_t chromaRows = static_cast<size_t>(chromaHeight(height));
    if (format == PixelFormat::kI420) {
        const size_t half = static_cast<size_t>(stride / 2);
        if (half < static_cast<size_t>(chromaWidth(width))) return 0;
        // Cb occupies (scanlines + 1) / 2 rows; Cr needs only the picture's rows.
        return luma + half * ((scanlines + 1) / 2) + half * chromaRows;
    }
    if (static_cast<size_t>(stride) < 2 * static_cast<size_t>(chromaWidth(width))) return 0;
    return luma + static_cast<size_t>(stride) * chromaRows;
}

}  // namespace frc
