// Padded single-plane copies and the SIMD kernels shared by the frame-rate conversion engine.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

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
    // Fills this plane (allocated like `src`) with `src` sampled half a pixel to the right
    // (kind 1), below (kind 2) or both (kind 3), by bilinear interpolation, padding included.
    void halfPelFrom(const PaddedPlane& src, int kind);

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
    std::vector<uint8_t> storage_;
    uint8_t* origin_ = nullptr;
    ptrdiff_t stride_ = 0;
    int width_ = 0;
    int height_ = 0;
    int pad_ = 0;
    int step_ = 1;
};

// Sum of absolute differences of two 8x8 blocks with a common stride.
inline int sad8x8(const uint8_t* a, const uint8_t* b, ptrdiff_t stride) {
    __m128i acc = _mm_setzero_si128();
    for (int r = 0; r < 8; r += 2) {
        const __m128i va = _mm_unpacklo_epi64(
            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(a + r * stride)),
            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(a + (r + 1) * stride)));
        const __m128i vb = _mm_unpacklo_epi64(
            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(b + r * stride)),
            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(b + (r + 1) * stride)));
        acc = _mm_add_epi64(acc, _mm_sad_epu8(va, vb));
    }
    return _mm_cvtsi128_si32(acc) + _mm_cvtsi128_si32(_mm_srli_si128(acc, 8));
}

// Texture activity of an 8x8 block: sum of absolute differences between horizontally and
// vertically adjacent samples (reads one column and one row past the block).
inline int activity8x8(const uint8_t* p, ptrdiff_t stride) {
    __m128i acc = _mm_setzero_si128();
    for (int r = 0; r < 8; r += 2) {
        const __m128i here = _mm_unpacklo_epi64(
            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + r * stride)),
            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + (r + 1) * stride)));
        const __m128i right = _mm_unpacklo_epi64(
            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + r * stride + 1)),
            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + (r + 1) * stride + 1)));
        const __m128i below = _mm_unpacklo_epi64(
            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + (r + 1) * stride)),
            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + (r + 2) * stride)));
        acc = _mm_add_epi64(acc, _mm_sad_epu8(here, right));
        acc = _mm_add_epi64(acc, _mm_sad_epu8(here, below));
    }
    return _mm_cvtsi128_si32(acc) + _mm_cvtsi128_si32(_mm_srli_si128(acc, 8));
}

// One window of overlapped-block compensation: up to eight source samples per output sample,
// each at a fixed offset from the window position, with weights totalling 256.
struct WindowTaps {
    const uint8_t* base[8];
    int16_t weight[8];
    int count = 0;
};

// acc[r][c] += (sum of taps at (r, c)) * weights[r * 16 + c] >> 16 over a window of `rows`
// rows of 16 bytes (weights rows are 16 wide); sources share `stride`. Pads `taps` to an even
// count. Uses AVX2 when `avx2` is set (only when cpuHasAvx2()).
void accumulateWindow(bool avx2, WindowTaps& taps, ptrdiff_t stride, const uint16_t* weights,
                      uint16_t* acc, ptrdiff_t accStride, int rows);
// The same for two 8-byte windows with equal weights in two planes of equal geometry (planar
// chroma), each with its own accumulator.
void accumulateWindowPair(bool avx2, WindowTaps& a, WindowTaps& b, ptrdiff_t stride,
                          const uint16_t* weights, uint16_t* accA, uint16_t* accB,
                          ptrdiff_t accStride, int rows);
bool cpuHasAvx2();

}  // namespace detail
}  // namespace frc
