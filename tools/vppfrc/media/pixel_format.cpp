// Conversions between the tool's I420 frames and the NV12 layout of camera buffers.
#include "media/pixel_format.h"

#include <cstddef>
#include <cstring>

namespace media {

void I420ToNv12(const uint8_t* i420, uint32_t width, uint32_t height, uint8_t* luma,
                uint32_t lumaStride, uint8_t* chroma, uint32_t chromaStride) {
    const size_t lumaSize = static_cast<size_t>(width) * height;
    const uint32_t chromaWidth = width / 2;
    const uint32_t chromaHeight = height / 2;
    const uint8_t* u = i420 + lumaSize;
    const uint8_t* v = u + static_cast<size_t>(chromaWidth) * chromaHeight;
    for (uint32_t row = 0; row < height; ++row) {
        std::memcpy(luma + static_cast<size_t>(row) * lumaStride,
                    i420 + static_cast<size_t>(row) * width, width);
    }
    for (uint32_t row = 0; row < chromaHeight; ++row) {
        uint8_t* out = chroma + static_cast<size_t>(row) * chromaStride;
        const uint8_t* uRow = u + static_cast<size_t>(row) * chromaWidth;
        const uint8_t* vRow = v + static_cast<size_t>(row) * chromaWidth;
        for (uint32_t column = 0; column < chromaWidth; ++column) {
            out[2 * column] = uRow[column];
            out[2 * column + 1] = vRow[column];
        }
    }
}

void Nv12ToI420(const uint8_t* luma, uint32_t lumaStride, const uint8_t* chroma,
                uint32_t chromaStride, uint32_t width, uint32_t height, uint8_t* i420) {
    const size_t lumaSize = static_cast<size_t>(width) * height;
    const uint32_t chromaWidth = width / 2;
    const uint32_t chromaHeight = height / 2;
    uint8_t* u = i420 + lumaSize;
    uint8_t* v = u + static_cast<size_t>(chromaWidth) * chromaHeight;
    for (uint32_t row = 0; row < height; ++row) {
        std::memcpy(i420 + static_cast<size_t>(row) * width,
                    luma + static_cast<size_t>(row) * lumaStride, width);
    }
    for (uint32_t row = 0; row < chromaHeight; ++row) {
        const uint8_t* in = chroma + static_cast<size_t>(row) * chromaStride;
        uint8_t* uRow = u + static_cast<size_t>(row) * chromaWidth;
        uint8_t* vRow = v + static_cast<size_t>(row) * chromaWidth;
        for (uint32_t column = 0; column < chromaWidth; ++column) {
            uRow[column] = in[2 * column];
            vRow[column] = in[2 * column + 1];
        }
    }
}

}  // namespace media
