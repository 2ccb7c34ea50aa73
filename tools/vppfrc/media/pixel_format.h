// Conversions between the tool's I420 frames and the NV12 layout of camera buffers.
#pragma once

#include <cstdint>

namespace media {

// Copies an I420 frame (planes packed, no padding) into NV12 planes with the given strides.
void I420ToNv12(const uint8_t* i420, uint32_t width, uint32_t height, uint8_t* luma,
                uint32_t lumaStride, uint8_t* chroma, uint32_t chromaStride);
// The reverse: NV12 planes with strides into a packed I420 frame.
void Nv12ToI420(const uint8_t* luma, uint32_t lumaStride, const uint8_t* chroma,
                uint32_t chromaStride, uint32_t width, uint32_t height, uint8_t* i420);

}  // namespace media
