// Test helpers for the frame-rate conversion engine: owned frames in any layout, synthetic
// moving content with exact ground truth, and PSNR.
#pragma once

#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "frc/frame.h"

namespace frc_test {

// A frame that owns its buffer, laid out as the service lays out buffers, with a guard band
// after the last plane so that writes past the picture show up.
class OwnedFrame {
  public:
    static constexpr size_t kGuard = 64;
    static constexpr uint8_t kGuardByte = 0xA5;

    OwnedFrame(frc::PixelFormat format, int width, int height, int stride = 0, int scanlines = 0)
        : stride_(stride > 0 ? stride : 2 * frc::chromaWidth(width)),
          scanlines_(scanlines > 0 ? scanlines : height) {
        const size_t size = frc::bufferSize(format, width, height, stride_, scanlines_);
        buffer_.assign(size + kGuard, kGuardByte);
        view_ =
            frc::FrameView::fromBuffer(buffer_.data(), format, width, height, stride_, scanlines_);
    }

    const frc::FrameView& view() const { return view_; }
    frc::ConstFrameView cview() const { return view_; }
    int width() const { return view_.width; }
    int height() const { return view_.height; }

    uint8_t& at(int plane, int x, int y) {
        return view_.planes[plane][y * view_.strides[plane] + x];
    }
    uint8_t at(int plane, int x, int y) const {
        return view_.planes[plane][y * view_.strides[plane] + x];
    }

    // Fills luma with fy(x, y) and chroma with fc(component 0 = Cb / 1 = Cr, x, y) at chroma
    // resolution, whatever the layout.
    void fill(const std::function<int(double, double)>& fy,
              const std::function<int(int, double, double)>& fc);

    // Picture samples of every plane equal (layout-independent comparison).
    bool samePixels(const OwnedFrame& o) const;
    // Guard band after the buffer is intact.
    bool guardIntact() const;
    // Luma sample, for any layout.
    uint8_t luma(int x, int y) const { return at(0, x, y); }
    // Chroma component c (0 = Cb, 1 = Cr) at chroma position (x, y).
    uint8_t chroma(int c, int x, int y) const;

  private:
    int stride_;
    int scanlines_;
    std::vector<uint8_t> buffer_;
    frc::FrameView view_;
};

inline int clamp8(double v) {
    const long r = std::lround(v);
    return r < 0 ? 0 : (r > 255 ? 255 : static_cast<int>(r));
}

inline void OwnedFrame::fill(const std::function<int(double, double)>& fy,
                             const std::function<int(int, double, double)>& fc) {
    for (int y = 0; y < height(); ++y) {
        for (int x = 0; x < width(); ++x) at(0, x, y) = static_cast<uint8_t>(fy(x, y));
    }
    const int cw = frc::chromaWidth(width());
    const int ch = frc::chromaHeight(height());
    for (int y = 0; y < ch; ++y) {
        for (int x = 0; x < cw; ++x) {
            const uint8_t cb = static_cast<uint8_t>(fc(0, x, y));
            const uint8_t cr = static_cast<uint8_t>(fc(1, x, y));
            switch (view_.format) {
                case frc::PixelFormat::kI420:
                    at(1, x, y) = cb;
                    at(2, x, y) = cr;
                    break;
                case frc::PixelFormat::kNv12:
                    at(1, 2 * x, y) = cb;
                    at(1, 2 * x + 1, y) = cr;
                    break;
                case frc::PixelFormat::kNv21:
                    at(1, 2 * x, y) = cr;
                    at(1, 2 * x + 1, y) = cb;
                    break;
            }
        }
    }
}

inline uint8_t OwnedFrame::chroma(int c, int x, int y) const {
    switch (view_.format) {
        case frc::PixelFormat::kI420:
            return at(1 + c, x, y);
        case frc::PixelFormat::kNv12:
            return at(1, 2 * x + c, y);
        case frc::PixelFormat::kNv21:
            return at(1, 2 * x + 1 - c, y);
    }
    return 0;
}

inline bool OwnedFrame::samePixels(const OwnedFrame& o) const {
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

inline bool OwnedFrame::guardIntact() const {
    for (size_t i = buffer_.size() - kGuard; i < buffer_.size(); ++i) {
        if (buffer_[i] != kGuardByte) return false;
    }
    return true;
}

// PSNR of luma, optionally ignoring a border of `margin` pixels.
inline double psnrLuma(const OwnedFrame& a, const OwnedFrame& b, int margin = 0) {
    double se = 0;
    long n = 0;
    for (int y = margin; y < a.height() - margin; ++y) {
        for (int x = margin; x < a.width() - margin; ++x) {
            const double d = a.luma(x, y) - b.luma(x, y);
            se += d * d;
            ++n;
        }
    }
    if (se == 0) return 99.0;
    return 10.0 * std::log10(255.0 * 255.0 * n / se);
}

// PSNR of one chroma component.
inline double psnrChroma(const OwnedFrame& a, const OwnedFrame& b, int c, int margin = 0) {
    double se = 0;
    long n = 0;
    const int cw = frc::chromaWidth(a.width());
    const int ch = frc::chromaHeight(a.height());
    for (int y = margin; y < ch - margin; ++y) {
        for (int x = margin; x < cw - margin; ++x) {
            const double d = a.chroma(c, x, y) - b.chroma(c, x, y);
            se += d * d;
            ++n;
        }
    }
    if (se == 0) return 99.0;
    return 10.0 * std::log10(255.0 * 255.0 * n / se);
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
               const double lx = 2 * x + 0.5 - dx;
               const double ly = 2 * y + 0.5 - dy;
               return clamp8(128 + 0.4 * (texture(lx, ly, seed + 5 + c) - 128));
           });
}

}  // namespace frc_test
