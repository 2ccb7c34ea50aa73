// The engine's pixel kernels as a function table: a portable reference and SIMD variants, one
// table chosen once from the CPU's features.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace frc {
namespace detail {

// One window of overlapped-block compensation: up to eight source samples per output sample,
// each at a fixed offset from the window position, with weights totalling 256.
struct WindowTaps {
    const uint8_t* base[8];
    int16_t weight[8];
    int count = 0;
};

// Every kernel has the same result in every variant (bit-exact with the reference).
struct Dsp {
    const char* name;
    // Sum of absolute differences of two 8x8 blocks with a common stride.
    int (*sad8x8)(const uint8_t* a, const uint8_t* b, ptrdiff_t stride);
    // sad8x8 of two blocks each sampled at a half-pixel phase (bit 0: half a pixel right, bit
    // 1: half a pixel down) by rounded averages of neighbouring samples: (p + q + 1) >> 1 along
    // one axis, (p + q + r + s + 2) >> 2 along both. Reads a row and a column past the block.
    int (*sad8x8Half)(const uint8_t* a, int aPhase, const uint8_t* b, int bPhase, ptrdiff_t stride);
    // Texture activity of an 8x8 block: sum of absolute differences between horizontally and
    // vertically adjacent samples (reads one column and one row past the block).
    int (*activity8x8)(const uint8_t* p, ptrdiff_t stride);
    // acc[r][c] += ((sum over taps t of base[t][r * stride + c] * weight[t]) *
    //               weights[r * 16 + c]) >> 16, in 16-bit arithmetic, for c < 16 and r < rows.
    // `taps.count` is even (pad with zero weights); the tap sum must stay below 65536.
    void (*accumulate)(const WindowTaps& taps, ptrdiff_t stride, const uint16_t* weights,
                       uint16_t* acc, ptrdiff_t accStride, int rows);
    // The same for c < 8 in two planes at once (the taps of `a` and `b` share their weights,
    // those of `a`), each with its own accumulator.
    void (*accumulatePair)(const WindowTaps& a, const WindowTaps& b, ptrdiff_t stride,
                           const uint16_t* weights, uint16_t* accA, uint16_t* accB,
                           ptrdiff_t accStride, int rows);
    // out[x] = min(255, (acc[x] + 128) >> 8) for x < count.
    void (*storeRow)(const uint16_t* acc, uint8_t* out, int count);
    // out[x] = (a[x] * (n - k) + b[x] * k + n / 2) / n for x < count, 0 <= k <= n, 1 <= n <= 16
    // (the quotient as ((...) * ceil(65536 / n)) >> 16, exact for every such sum).
    void (*blendRow)(const uint8_t* a, const uint8_t* b, uint8_t* out, ptrdiff_t count, int k,
                     int n);
    // out[x] = (a[x] + b[x] + 1) >> 1 for x < count.
    void (*average2)(const uint8_t* a, const uint8_t* b, uint8_t* out, ptrdiff_t count);
    // out[x] = (r0[2x] + r0[2x + 1] + r1[2x] + r1[2x + 1] + 2) >> 2 for x < count.
    void (*downsample2)(const uint8_t* r0, const uint8_t* r1, uint8_t* out, int count);
};

// The table for this CPU (chosen on first use; thread-safe).
const Dsp& dsp();
// The portable reference.
const Dsp& dspReference();
// Every variant this build and CPU can run, the reference first (for tests and benchmarks).
std::vector<const Dsp*> dspVariants();

// Variants built in their own files; null when not built or not supported by this CPU.
const Dsp* dspSse2();
const Dsp* dspAvx2();

}  // namespace detail
}  // namespace frc
