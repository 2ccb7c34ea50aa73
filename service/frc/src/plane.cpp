// Padded plane copies: allocation, edge replication and pyramid downsampling.
#include "plane.h"

namespace frc {
namespace detail {

void PaddedPlane::allocate(int width, int height, int pad, int step) {
    if (origin_ != nullptr && width == width_ && height == height_ && pad == pad_ &&
        step == step_) {
        return;
    }
    width_ = width;
    height_ = height;
    pad_ = pad;
    step_ = step;
    stride_ = (static_cast<ptrdiff_t>(width + 2 * pad) * step + 63) & ~ptrdiff_t{63};
    // 64 spare bytes for alignment and 16 for vector loads that run past the last element.
    storage_.assign(static_cast<size_t>(stride_) * (height + 2 * pad) + 64 + 16, 0);
    const uintptr_t base = reinterpret_cast<uintptr_t>(storage_.data());
    const uintptr_t aligned = (base + 63) & ~uintptr_t{63};
    origin_ =
        reinterpret_cast<uint8_t*>(aligned) + pad * stride_ + static_cast<ptrdiff_t>(pad) * step;
}

void PaddedPlane::load(const uint8_t* src, ptrdiff_t srcStride) {
    const size_t bytes = static_cast<size_t>(width_) * step_;
    for (int y = 0; y < height_; ++y) {
        std::memcpy(row(y), src + y * srcStride, bytes);
    }
    extendEdges();
}

void PaddedPlane::extendEdges() {
    const ptrdiff_t rowBytes = static_cast<ptrdiff_t>(width_) * step_;
    const ptrdiff_t padBytes = static_cast<ptrdiff_t>(pad_) * step_;
    for (int y = 0; y < height_; ++y) {
        uint8_t* r = row(y);
        if (step_ == 1) {
            std::memset(r - padBytes, r[0], padBytes);
            std::memset(r + rowBytes, r[rowBytes - 1], padBytes);
        } else {
            for (int x = 1; x <= pad_; ++x) {
                std::memcpy(r - x * step_, r, step_);
                std::memcpy(r + rowBytes + (x - 1) * step_, r + rowBytes - step_, step_);
            }
        }
    }
    const size_t full = static_cast<size_t>(rowBytes + 2 * padBytes);
    for (int y = 1; y <= pad_; ++y) {
        std::memcpy(row(-y) - padBytes, row(0) - padBytes, full);
        std::memcpy(row(height_ - 1 + y) - padBytes, row(height_ - 1) - padBytes, full);
    }
}

void PaddedPlane::downsampleInto(PaddedPlane& dst) const {
    const Dsp& d = dsp();
    for (int y = 0; y < dst.height(); ++y) {
        // The padding supplies the row and column past an odd height or width.
        d.downsample2(row(2 * y), row(2 * y + 1), dst.row(y), dst.width());
    }
    dst.extendEdges();
}

void PaddedPlane::halfPelFrom(const PaddedPlane& src, int kind) {
    const Dsp& d = dsp();
    const int dx = kind & 1;
    const int dy = kind >> 1;
    const ptrdiff_t bytes = static_cast<ptrdiff_t>(width_ + 2 * pad_) - 1;
    for (int y = -pad_; y < height_ + pad_; ++y) {
        const int sy = y + dy < height_ + pad_ ? y + dy : y;
        const uint8_t* r0 = src.row(y) - pad_;
        const uint8_t* r1 = src.row(sy) - pad_;
        uint8_t* out = row(y) - pad_;
        if (kind != 3) {
            d.average2(r0, dx ? r0 + 1 : r1, out, bytes);
        } else {
            d.average4(r0, r1, out, bytes);
        }
        out[bytes] = out[bytes - 1];
    }
}

}  // namespace detail
}  // namespace frc
