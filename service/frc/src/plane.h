// Padded single-plane copies: the frame-rate conversion engine's working pictures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "dsp.h"

namespace frc {
namespace detail {

// One image plane copied into a buffer with `pad` elements of replicated border on every side,
// so that block reads at any in-range displacement need no clipping. An element is `step`
// bytes (2 for interleaved chroma pairs); rows start 64-byte aligned.
class PaddedPlane {
  public:
    void allocate(int width, int height, int pad, int step);
    // Copies the picture area of a plane and replicates its edges into the padding.
    void load(const uint8_t* src, ptrdiff_t srcStride);
    // Replicates the picture's edge elements into the padding.
    void extendEdges();
    // Halves the plane (2x2 box average, single-byte elements only) into `dst`, which must be
    // allocated with ceil(width / 2) x ceil(height / 2) elements.
    void downsampleInto(PaddedPlane& dst) const;

    const uint8_t* at(int x, int y) const { return origin_ + y * stride_ + x * step_; }
    uint8_t* row(int y) { return origin_ + y * stride_; }
    const uint8_t* row(int y) const { return origin_ + y * stride_; }
    ptrdiff_t stride() const { return stride_; }
    int width() const { return width_; }
    int height() const { return height_; }
    int pad() const { return pad_; }
    int step() const { return step_; }
    bool empty() const { return origin_ == nullptr; }

  private:
    struct Free {
        void operator()(uint8_t* p) const { std::free(p); }
    };
    static constexpr size_t kHugePage = size_t{2} << 20;
    std::unique_ptr<uint8_t[], Free> storage_;
    uint8_t* origin_ = nullptr;
    ptrdiff_t stride_ = 0;
    int width_ = 0;
    int height_ = 0;
    int pad_ = 0;
    int step_ = 1;
};

}  // namespace detail
}  // namespace frc
