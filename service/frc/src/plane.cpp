// Padded plane copies: allocation, edge replication and pyramid downsampling.
#include "plane.h"

#ifdef __linux__
#include <sys/mman.h>
#endif

#include <cstdlib>
#include <new>

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
    // load and downsampleInto write the whole padded area before anything reads it, so the
    // storage is not cleared: clearing would fault in every page of a few tens of megabytes
    // per stream for nothing. Large planes are aligned to huge pages and advised into them,
    // which saves most page faults of their first fill where the kernel grants them.
    const size_t area = static_cast<size_t>(stride_) * (height + 2 * pad);
    // 16 spare bytes for vector loads that run past the last element (cleared: they are read).
    const size_t align = area + 16 >= kHugePage ? kHugePage : 64;
    // (aligned_alloc takes whole multiples of the alignment.)
    const size_t bytes = (area + 16 + align - 1) & ~(align - 1);
    storage_.reset(static_cast<uint8_t*>(std::aligned_alloc(align, bytes)));
    if (!storage_) throw std::bad_alloc();
#ifdef __linux__
    if (align == kHugePage) madvise(storage_.get(), bytes, MADV_HUGEPAGE);
#endif
    std::memset(storage_.get() + area, 0, 16);
    origin_ = storage_.get() + pad * stride_ + static_cast<ptrdiff_t>(pad) * step;
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

}  // namespace detail
}  // namespace frc
