// Test helpers for the frame-rate conversion engine: owned frames in any layout, synthetic moving
// content with exact ground truth, and PSNR.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "frc/frame.h"

namespace frc_test {

// A frame that owns its buffer, laid out as the service lays out buffers, with a guard band after
// the last plane so that writes past the picture show up.
class OwnedFrame {
  public:
    static constexpr size_t kGuard = 64;
    static constexpr uint8_t kGuardByte = 0xA5;

    OwnedFrame(frc::PixelFormat format, int width, int height, int stride = 0, int scanlines = 0) {
        stride = stride > 0 ? stride : 2 * frc::chromaWidth(width);
        scanlines = scanlines > 0 ? scanlines : height;
        buffer_.assign(frc::bufferSize(format, width, height, stride, scanlines) + kGuard,
                       kGuardByte);
        view_ =
            frc::FrameView::fromBuffer(buffer_.data(), format, width, height, stride, scanlines);
    }

    const frc::FrameView& view() const { return view_; }
    frc::ConstFrameView cview() const { return view_; }
    int width() const { return view_.width; }
    int height() const { return view_.height; }
    uint8_t& at(int plane, int x, int y) const {
        return view_.planes[plane][y * view_.strides[plane] + x];
    }
    // Byte offset of chroma component c (0 = Cb, 1 = Cr) of chroma column x in its plane row.
    int chromaAt(int c, int x) const {
        if (view_.format == frc::PixelFormat::kI420) return x;
        return 2 * x + (view_.format == frc::PixelFormat::kNv12 ? c : 1 - c);
    }
    int chromaPlane(int c) const { return view_.format == frc::PixelFormat::kI420 ? 1 + c : 1; }
    // Chroma component c at chroma position (x, y).
    uint8_t chroma(int c, int x, int y) const { return at(chromaPlane(c), chromaAt(c, x), y); }

    // Fills luma with fy(x, y) and chroma with fc(component, x, y) at chroma resolution.
    void fill(const std::function<int(double, double)>& fy,
              const std::function<int(int, double, double)>& fc) {
        for (int y = 0; y < height(); ++y) {
            for (int x = 0; x < width(); ++x) at(0, x, y) = static_cast<uint8_t>(fy(x, y));
        }
        for (int y = 0; y < frc::chromaHeight(height()); ++y) {
            for (int x = 0; x < frc::chromaWidth(width()); ++x) {
                for (int c = 0; c < 2; ++c) {
                    at(chromaPlane(c), chromaAt(c, x), y) = static_cast<uint8_t>(fc(c, x, y));
                }
            }
        }
    }
    // Picture samples of every plane equal (layout-independent comparison).
    bool samePixels(const OwnedFrame& o) const {
        if (!view_.sameGeometry(o.view_)) return false;
        for (int p = 0; p < view_.numPlanes(); ++p) {
            for (int y = 0; y < view_.rows(p); ++y) {
                for (int x = 0; x < view_.rowBytes(p); ++x) {
                    if (at(p, x, y) != o.at(p, x, y)) return false;
                }
            }
        }
        return true;
    }
    bool guardIntact() const {
        return std::all_of(buffer_.end() - kGuard, buffer_.end(),
                           [](uint8_t b) { return b == kGuardByte; });
    }

  private:
    std::vector<uint8_t> buffer_;
    frc::FrameView view_;
};

inline int clamp8(double v) {
    const long r = std::lround(v);
    return r < 0 ? 0 : (r > 255 ? 255 : static_cast<int>(r));
}

// PSNR of a plane's samples (-1: luma, else chroma component c), ignoring a border of `margin`.
inline double psnr(const OwnedFrame& a, const OwnedFrame& b, int c, int margin = 0) {
    const int w = c < 0 ? a.width() : frc::chromaWidth(a.width());
    const int h = c < 0 ? a.height() : frc::chromaHeight(a.height());
    double se = 0;
    long n = 0;
    for (int y = margin; y < h - margin; ++y) {
        for (int x = margin; x < w - margin; ++x) {
            const double d =
                c < 0 ? a.at(0, x, y) - b.at(0, x, y) : a.chroma(c, x, y) - b.chroma(c, x, y);
            se += d * d;
            ++n;
        }
    }
    return se == 0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 * n / se);
}

// A smooth, non-periodic texture over the plane (sums of sines of unrelated frequencies), rich
// enough in detail for block matching and smooth enough for bilinear sampling.
inline double texture(double x, double y, int seed = 0) {
    const double s = seed * 1.7;
    return 128 + 40 * std::sin(0.21 * x + 0.05 * y + s) +
           30 * std::sin(0.13 * y - 0.07 * x + 2 * s) +
           25 * std::sin(0.37 * x + 0.29 * y + 0.5 + s) * std::sin(0.11 * y + 1.3 * s) +
           15 * std::sin(0.53 * y + 0.43 * x + 3 * s);
}

// Frame of the texture translated by (dx, dy) pixels: sample (x, y) shows texture(x - dx, y - dy).
inline void fillTranslated(OwnedFrame& f, double dx, double dy, int seed = 0) {
    f.fill([&](double x, double y) { return clamp8(texture(x - dx, y - dy, seed)); },
           [&](int c, double x, double y) {
               // Chroma sits at the centre of its 2x2 luma samples.
               return clamp8(
                   128 + 0.4 * (texture(2 * x + 0.5 - dx, 2 * y + 0.5 - dy, seed + 5 + c) - 128));
           });
}

}  // namespace frc_test
