// Portable reference kernels and the choice of the kernel table from the CPU's features.
#include "dsp.h"

#include <algorithm>
#include <cstdlib>

namespace frc {
namespace detail {
namespace {

int sad8x8C(const uint8_t* a, const uint8_t* b, ptrdiff_t stride) {
    int sum = 0;
    for (int r = 0; r < 8; ++r) {
        for (int c = 0; c < 8; ++c) sum += std::abs(a[r * stride + c] - b[r * stride + c]);
    }
    return sum;
}

// A sample at a half-pixel phase of p (see sad8x8Half).
inline int halfSample(const uint8_t* p, int phase, ptrdiff_t stride) {
    switch (phase) {
        case 1:
            return (p[0] + p[1] + 1) >> 1;
        case 2:
            return (p[0] + p[stride] + 1) >> 1;
        case 3:
            return (p[0] + p[1] + p[stride] + p[stride + 1] + 2) >> 2;
        default:
            return p[0];
    }
}

int sad8x8HalfC(const uint8_t* a, int aPhase, const uint8_t* b, int bPhase, ptrdiff_t stride) {
    int sum = 0;
    for (int r = 0; r < 8; ++r) {
        for (int c = 0; c < 8; ++c) {
            const ptrdiff_t o = r * stride + c;
            sum += std::abs(halfSample(a + o, aPhase, stride) - halfSample(b + o, bPhase, stride));
        }
    }
    return sum;
}

int activity8x8C(const uint8_t* p, ptrdiff_t stride) {
    int sum = 0;
    for (int r = 0; r < 8; ++r) {
        for (int c = 0; c < 8; ++c) {
            const int v = p[r * stride + c];
            sum += std::abs(v - p[r * stride + c + 1]) + std::abs(v - p[(r + 1) * stride + c]);
        }
    }
    return sum;
}

// The tap sum in 16-bit arithmetic, as the SIMD variants form it.
inline uint16_t tapSum(const WindowTaps& taps, ptrdiff_t off) {
    uint16_t sum = 0;
    for (int t = 0; t < taps.count; ++t) {
        sum =
            static_cast<uint16_t>(sum + taps.base[t][off] * static_cast<uint16_t>(taps.weight[t]));
    }
    return sum;
}

void accumulateC(const WindowTaps& taps, ptrdiff_t stride, const uint16_t* weights, uint16_t* acc,
                 ptrdiff_t accStride, int rows) {
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < 16; ++c) {
            const uint32_t s = tapSum(taps, r * stride + c);
            uint16_t& a = acc[r * accStride + c];
            a = static_cast<uint16_t>(a + ((s * weights[r * 16 + c]) >> 16));
        }
    }
}

void accumulatePairC(const WindowTaps& a, const WindowTaps& b, ptrdiff_t stride,
                     const uint16_t* weights, uint16_t* accA, uint16_t* accB, ptrdiff_t accStride,
                     int rows) {
    WindowTaps bw = b;
    for (int t = 0; t < bw.count; ++t) bw.weight[t] = a.weight[t];
    bw.count = a.count;
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < 8; ++c) {
            const uint32_t w = weights[r * 16 + c];
            uint16_t& oa = accA[r * accStride + c];
            uint16_t& ob = accB[r * accStride + c];
            oa = static_cast<uint16_t>(oa + ((tapSum(a, r * stride + c) * w) >> 16));
            ob = static_cast<uint16_t>(ob + ((tapSum(bw, r * stride + c) * w) >> 16));
        }
    }
}

void storeRowC(const uint16_t* acc, uint8_t* out, int count) {
    for (int x = 0; x < count; ++x) {
        out[x] = static_cast<uint8_t>(std::min(255, (acc[x] + 128) >> 8));
    }
}

void blendRowC(const uint8_t* a, const uint8_t* b, uint8_t* out, ptrdiff_t count, int k, int n) {
    const uint32_t m = static_cast<uint32_t>((65536 + n - 1) / n);
    for (ptrdiff_t x = 0; x < count; ++x) {
        const uint32_t s = static_cast<uint32_t>(a[x] * (n - k) + b[x] * k + n / 2);
        out[x] = static_cast<uint8_t>((s * m) >> 16);
    }
}

void average2C(const uint8_t* a, const uint8_t* b, uint8_t* out, ptrdiff_t count) {
    for (ptrdiff_t x = 0; x < count; ++x) out[x] = static_cast<uint8_t>((a[x] + b[x] + 1) >> 1);
}

void downsample2C(const uint8_t* r0, const uint8_t* r1, uint8_t* out, int count) {
    for (int x = 0; x < count; ++x) {
        out[x] = static_cast<uint8_t>((r0[2 * ptrdiff_t{x}] + r0[2 * ptrdiff_t{x} + 1] +
                                       r1[2 * ptrdiff_t{x}] + r1[2 * ptrdiff_t{x} + 1] + 2) >>
                                      2);
    }
}

const Dsp kReference = {"c",         sad8x8C,         sad8x8HalfC, activity8x8C,
                        accumulateC, accumulatePairC, storeRowC,   blendRowC,
                        average2C,   downsample2C};

const Dsp& choose() {
    // FRC_DSP=c forces the reference (to compare or to rule the SIMD code out).
    const char* forced = std::getenv("FRC_DSP");
    if (forced != nullptr && forced[0] == 'c') return kReference;
    if (const Dsp* d = dspAvx2()) return *d;
    if (const Dsp* d = dspSse2()) return *d;
    return kReference;
}

}  // namespace

const Dsp& dspReference() {
    return kReference;
}

const Dsp& dsp() {
    static const Dsp& chosen = choose();
    return chosen;
}

std::vector<const Dsp*> dspVariants() {
    std::vector<const Dsp*> all{&kReference};
    for (const Dsp* d : {dspSse2(), dspAvx2()}) {
        if (d != nullptr) all.push_back(d);
    }
    return all;
}

}  // namespace detail
}  // namespace frc
