// Views of 8-bit 4:2:0 frames (NV12, NV21, I420) in caller-owned memory with arbitrary strides.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace frc {

// Pixel layouts, numbered as the service's colour-format codes.
enum class PixelFormat : int {
    kI420 = 2,  // Y plane, then Cb plane, then Cr plane (half strides)
    kNv12 = 3,  // Y plane, then one interleaved CbCr plane
    kNv21 = 4,  // Y plane, then one interleaved CrCb plane
};

// True for the three codes above.
bool isSupportedFormat(int code);

// Planes of a frame: 2 for the semi-planar formats (luma, interleaved chroma), 3 for I420.
inline int planeCount(PixelFormat format) {
    return format == PixelFormat::kI420 ? 3 : 2;
}

// Sample dimensions of chroma for a luma size; odd sizes round up, as 4:2:0 requires.
inline int chromaWidth(int width) {
    return (width + 1) / 2;
}
inline int chromaHeight(int height) {
    return (height + 1) / 2;
}

// A frame in memory that the view does not own. T is uint8_t (writable) or const uint8_t.
//
// Plane 0 is luma. For NV12/NV21, plane 1 holds interleaved chroma pairs: a row has
// 2 * chromaWidth(width) bytes. For I420, planes 1 and 2 hold Cb and Cr: a row has
// chromaWidth(width) bytes. Every plane may have its own stride (bytes between rows, at least
// the row's byte count); nothing is copied to build a view.
template <typename T>
struct BasicFrameView {
    static_assert(std::is_same_v<std::remove_const_t<T>, uint8_t>, "views hold bytes");

    PixelFormat format = PixelFormat::kNv12;
    int width = 0;
    int height = 0;
    T* planes[3] = {nullptr, nullptr, nullptr};
    ptrdiff_t strides[3] = {0, 0, 0};

    BasicFrameView() = default;

    // A writable view converts to a read-only one.
    template <typename U, typename = std::enable_if_t<std::is_same_v<U, uint8_t> &&
                                                      std::is_same_v<T, const uint8_t>>>
    BasicFrameView(const BasicFrameView<U>& other)  // NOLINT: implicit by design
        : format(other.format), width(other.width), height(other.height) {
        for (int i = 0; i < 3; ++i) {
            planes[i] = other.planes[i];
            strides[i] = other.strides[i];
        }
    }

    // The layout of one service buffer: luma at `base` with `stride` bytes per row; chroma
    // starts `scanlines` luma rows after it. NV12/NV21 chroma keeps the luma stride. I420 uses
    // stride / 2 for both chroma planes; Cr starts (scanlines + 1) / 2 chroma rows after Cb.
    static BasicFrameView fromBuffer(T* base, PixelFormat format, int width, int height, int stride,
                                     int scanlines) {
        BasicFrameView v;
        v.format = format;
        v.width = width;
        v.height = height;
        v.planes[0] = base;
        v.strides[0] = stride;
        T* chroma = base + static_cast<ptrdiff_t>(stride) * scanlines;
        if (format == PixelFormat::kI420) {
            const ptrdiff_t half = stride / 2;
            v.planes[1] = chroma;
            v.planes[2] = chroma + half * ((scanlines + 1) / 2);
            v.strides[1] = v.strides[2] = half;
        } else {
            v.planes[1] = chroma;
            v.strides[1] = stride;
        }
        return v;
    }

    int numPlanes() const { return planeCount(format); }
    // Bytes of one row of plane i that belong to the picture.
    int rowBytes(int i) const {
        if (i == 0) return width;
        return format == PixelFormat::kI420 ? chromaWidth(width) : 2 * chromaWidth(width);
    }
    // Rows of plane i.
    int rows(int i) const { return i == 0 ? height : chromaHeight(height); }

    // Non-null planes, positive size, strides covering each row, and a known format.
    bool valid() const {
        if (!isSupportedFormat(static_cast<int>(format)) || width <= 0 || height <= 0) {
            return false;
        }
        for (int i = 0; i < numPlanes(); ++i) {
            if (planes[i] == nullptr || strides[i] < rowBytes(i)) return false;
        }
        return true;
    }

    // Same format and size.
    template <typename U>
    bool sameGeometry(const BasicFrameView<U>& o) const {
        return format == o.format && width == o.width && height == o.height;
    }
};

using FrameView = BasicFrameView<uint8_t>;
using ConstFrameView = BasicFrameView<const uint8_t>;

// Bytes a buffer needs for fromBuffer() with these parameters; 0 when they are inconsistent
// (stride below the row size, scanlines below the height, non-positive size, unknown format).
size_t bufferSize(PixelFormat format, int width, int height, int stride, int scanlines);

}  // namespace frc
