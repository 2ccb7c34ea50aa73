// SSE2 and AVX2 variants of the engine's pixel kernels (x86 only, and only when the build
// enables SIMD; otherwise no variant is offered and the reference runs).
#include "dsp.h"

#if defined(FRC_SIMD) && (defined(__x86_64__) || defined(__i386__)) && defined(__GNUC__)
#include <immintrin.h>

#include <cstring>

namespace frc {
namespace detail {
namespace {

int sad8x8Sse2(const uint8_t* a, const uint8_t* b, ptrdiff_t stride) {
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

// The eight rows of a block at a half-pixel phase (see Dsp::sad8x8Half), two rows per
// register; every source row is loaded once.
template <int Phase>
inline void halfRows(const uint8_t* p, ptrdiff_t stride, __m128i out[4]) {
    auto load8 = [&](int r) {
        return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + r * stride));
    };
    auto load16 = [&](int r) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + r * stride));
    };
    if (Phase == 0) {
        for (int i = 0; i < 4; ++i) out[i] = _mm_unpacklo_epi64(load8(2 * i), load8(2 * i + 1));
    } else if (Phase == 1) {
        for (int i = 0; i < 4; ++i) {
            const __m128i a = load16(2 * i);
            const __m128i b = load16(2 * i + 1);
            out[i] = _mm_unpacklo_epi64(_mm_avg_epu8(a, _mm_srli_si128(a, 1)),
                                        _mm_avg_epu8(b, _mm_srli_si128(b, 1)));
        }
    } else if (Phase == 2) {
        __m128i above = load8(0);
        for (int i = 0; i < 4; ++i) {
            const __m128i mid = load8(2 * i + 1);
            const __m128i below = load8(2 * i + 2);
            out[i] = _mm_unpacklo_epi64(_mm_avg_epu8(above, mid), _mm_avg_epu8(mid, below));
            above = below;
        }
    } else {
        // Horizontal pair sums in 16 bits, then the rounded mean of two of them.
        const __m128i zero = _mm_setzero_si128();
        const __m128i two = _mm_set1_epi16(2);
        auto pairSum = [&](int r) {
            const __m128i v = load16(r);
            return _mm_add_epi16(_mm_unpacklo_epi8(v, zero),
                                 _mm_unpacklo_epi8(_mm_srli_si128(v, 1), zero));
        };
        __m128i above = pairSum(0);
        for (int i = 0; i < 4; ++i) {
            const __m128i mid = pairSum(2 * i + 1);
            const __m128i below = pairSum(2 * i + 2);
            const __m128i r0 = _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(above, mid), two), 2);
            const __m128i r1 = _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(mid, below), two), 2);
            out[i] = _mm_packus_epi16(r0, r1);
            above = below;
        }
    }
}

template <int PhaseA, int PhaseB>
int sad8x8HalfSse2(const uint8_t* a, const uint8_t* b, ptrdiff_t stride) {
    __m128i ra[4];
    __m128i rb[4];
    halfRows<PhaseA>(a, stride, ra);
    halfRows<PhaseB>(b, stride, rb);
    __m128i acc = _mm_setzero_si128();
    for (int i = 0; i < 4; ++i) acc = _mm_add_epi64(acc, _mm_sad_epu8(ra[i], rb[i]));
    return _mm_cvtsi128_si32(acc) + _mm_cvtsi128_si32(_mm_srli_si128(acc, 8));
}

template <int PhaseA>
constexpr int (*kHalfSad[4])(const uint8_t*, const uint8_t*, ptrdiff_t) = {
    sad8x8HalfSse2<PhaseA, 0>, sad8x8HalfSse2<PhaseA, 1>, sad8x8HalfSse2<PhaseA, 2>,
    sad8x8HalfSse2<PhaseA, 3>};

int sad8x8HalfAnySse2(const uint8_t* a, int aPhase, const uint8_t* b, int bPhase,
                      ptrdiff_t stride) {
    switch (aPhase & 3) {
        case 0:
            return kHalfSad<0>[bPhase & 3](a, b, stride);
        case 1:
            return kHalfSad<1>[bPhase & 3](a, b, stride);
        case 2:
            return kHalfSad<2>[bPhase & 3](a, b, stride);
        default:
            return kHalfSad<3>[bPhase & 3](a, b, stride);
    }
}

int activity8x8Sse2(const uint8_t* p, ptrdiff_t stride) {
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

// acc += (sum over the taps of sample * weight) * window weight >> 16, for 16-byte rows.
template <int N>
void accumulateSse2(const WindowTaps& taps, ptrdiff_t stride, const uint16_t* weights,
                    uint16_t* acc, ptrdiff_t accStride, int rows) {
    const __m128i zero = _mm_setzero_si128();
    __m128i w[N];
    for (int t = 0; t < N; ++t) w[t] = _mm_set1_epi16(taps.weight[t]);
    for (int r = 0; r < rows; ++r) {
        const ptrdiff_t off = r * stride;
        __m128i lo = zero;
        __m128i hi = zero;
        for (int t = 0; t < N; ++t) {
            const __m128i px =
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(taps.base[t] + off));
            lo = _mm_add_epi16(lo, _mm_mullo_epi16(_mm_unpacklo_epi8(px, zero), w[t]));
            hi = _mm_add_epi16(hi, _mm_mullo_epi16(_mm_unpackhi_epi8(px, zero), w[t]));
        }
        const __m128i* wr =
            reinterpret_cast<const __m128i*>(weights + static_cast<ptrdiff_t>(r) * 16);
        __m128i* out = reinterpret_cast<__m128i*>(acc + r * accStride);
        _mm_storeu_si128(
            out, _mm_add_epi16(_mm_loadu_si128(out), _mm_mulhi_epu16(lo, _mm_load_si128(wr))));
        _mm_storeu_si128(out + 1, _mm_add_epi16(_mm_loadu_si128(out + 1),
                                                _mm_mulhi_epu16(hi, _mm_load_si128(wr + 1))));
    }
}

// Two 8-byte windows (the same taps in two planes) per call.
template <int N>
void accumulatePairSse2(const WindowTaps& a, const WindowTaps& b, ptrdiff_t stride,
                        const uint16_t* weights, uint16_t* accA, uint16_t* accB,
                        ptrdiff_t accStride, int rows) {
    const __m128i zero = _mm_setzero_si128();
    __m128i w[N];
    for (int t = 0; t < N; ++t) w[t] = _mm_set1_epi16(a.weight[t]);
    for (int r = 0; r < rows; ++r) {
        const ptrdiff_t off = r * stride;
        __m128i sa = zero;
        __m128i sb = zero;
        for (int t = 0; t < N; ++t) {
            const __m128i pa = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(a.base[t] + off));
            const __m128i pb = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(b.base[t] + off));
            sa = _mm_add_epi16(sa, _mm_mullo_epi16(_mm_unpacklo_epi8(pa, zero), w[t]));
            sb = _mm_add_epi16(sb, _mm_mullo_epi16(_mm_unpacklo_epi8(pb, zero), w[t]));
        }
        const __m128i wr = _mm_load_si128(
            reinterpret_cast<const __m128i*>(weights + static_cast<ptrdiff_t>(r) * 16));
        __m128i* oa = reinterpret_cast<__m128i*>(accA + r * accStride);
        __m128i* ob = reinterpret_cast<__m128i*>(accB + r * accStride);
        _mm_storeu_si128(oa, _mm_add_epi16(_mm_loadu_si128(oa), _mm_mulhi_epu16(sa, wr)));
        _mm_storeu_si128(ob, _mm_add_epi16(_mm_loadu_si128(ob), _mm_mulhi_epu16(sb, wr)));
    }
}

template <int N>
__attribute__((target("avx2"))) void accumulateAvx2(const WindowTaps& taps, ptrdiff_t stride,
                                                    const uint16_t* weights, uint16_t* acc,
                                                    ptrdiff_t accStride, int rows) {
    __m256i w[N];
    for (int t = 0; t < N; ++t) w[t] = _mm256_set1_epi16(taps.weight[t]);
    for (int r = 0; r < rows; ++r) {
        const ptrdiff_t off = r * stride;
        __m256i sum = _mm256_setzero_si256();
        for (int t = 0; t < N; ++t) {
            const __m256i px = _mm256_cvtepu8_epi16(
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(taps.base[t] + off)));
            sum = _mm256_add_epi16(sum, _mm256_mullo_epi16(px, w[t]));
        }
        const __m256i wr = _mm256_load_si256(
            reinterpret_cast<const __m256i*>(weights + static_cast<ptrdiff_t>(r) * 16));
        __m256i* out = reinterpret_cast<__m256i*>(acc + r * accStride);
        _mm256_storeu_si256(out,
                            _mm256_add_epi16(_mm256_loadu_si256(out), _mm256_mulhi_epu16(sum, wr)));
    }
}

template <int N>
__attribute__((target("avx2"))) void accumulatePairAvx2(const WindowTaps& a, const WindowTaps& b,
                                                        ptrdiff_t stride, const uint16_t* weights,
                                                        uint16_t* accA, uint16_t* accB,
                                                        ptrdiff_t accStride, int rows) {
    __m256i w[N];
    for (int t = 0; t < N; ++t) w[t] = _mm256_set1_epi16(a.weight[t]);
    for (int r = 0; r < rows; ++r) {
        const ptrdiff_t off = r * stride;
        __m256i sum = _mm256_setzero_si256();
        for (int t = 0; t < N; ++t) {
            const __m128i both = _mm_unpacklo_epi64(
                _mm_loadl_epi64(reinterpret_cast<const __m128i*>(a.base[t] + off)),
                _mm_loadl_epi64(reinterpret_cast<const __m128i*>(b.base[t] + off)));
            sum = _mm256_add_epi16(sum, _mm256_mullo_epi16(_mm256_cvtepu8_epi16(both), w[t]));
        }
        // Weights of an 8-byte window row are its first 8 entries; use them for both halves.
        const __m128i w8 = _mm_load_si128(
            reinterpret_cast<const __m128i*>(weights + static_cast<ptrdiff_t>(r) * 16));
        const __m256i prod = _mm256_mulhi_epu16(sum, _mm256_broadcastsi128_si256(w8));
        __m128i* oa = reinterpret_cast<__m128i*>(accA + r * accStride);
        __m128i* ob = reinterpret_cast<__m128i*>(accB + r * accStride);
        _mm_storeu_si128(oa, _mm_add_epi16(_mm_loadu_si128(oa), _mm256_castsi256_si128(prod)));
        _mm_storeu_si128(ob, _mm_add_epi16(_mm_loadu_si128(ob), _mm256_extracti128_si256(prod, 1)));
    }
}

// The kernels above for the tap count of the call (even, 2..8).
void accumulateSse2Any(const WindowTaps& t, ptrdiff_t s, const uint16_t* w, uint16_t* acc,
                       ptrdiff_t as, int rows) {
    switch (t.count) {
        case 2:
            return accumulateSse2<2>(t, s, w, acc, as, rows);
        case 4:
            return accumulateSse2<4>(t, s, w, acc, as, rows);
        case 6:
            return accumulateSse2<6>(t, s, w, acc, as, rows);
        default:
            return accumulateSse2<8>(t, s, w, acc, as, rows);
    }
}
void accumulatePairSse2Any(const WindowTaps& a, const WindowTaps& b, ptrdiff_t s, const uint16_t* w,
                           uint16_t* accA, uint16_t* accB, ptrdiff_t as, int rows) {
    switch (a.count) {
        case 2:
            return accumulatePairSse2<2>(a, b, s, w, accA, accB, as, rows);
        case 4:
            return accumulatePairSse2<4>(a, b, s, w, accA, accB, as, rows);
        case 6:
            return accumulatePairSse2<6>(a, b, s, w, accA, accB, as, rows);
        default:
            return accumulatePairSse2<8>(a, b, s, w, accA, accB, as, rows);
    }
}
void accumulateAvx2Any(const WindowTaps& t, ptrdiff_t s, const uint16_t* w, uint16_t* acc,
                       ptrdiff_t as, int rows) {
    switch (t.count) {
        case 2:
            return accumulateAvx2<2>(t, s, w, acc, as, rows);
        case 4:
            return accumulateAvx2<4>(t, s, w, acc, as, rows);
        case 6:
            return accumulateAvx2<6>(t, s, w, acc, as, rows);
        default:
            return accumulateAvx2<8>(t, s, w, acc, as, rows);
    }
}
void accumulatePairAvx2Any(const WindowTaps& a, const WindowTaps& b, ptrdiff_t s, const uint16_t* w,
                           uint16_t* accA, uint16_t* accB, ptrdiff_t as, int rows) {
    switch (a.count) {
        case 2:
            return accumulatePairAvx2<2>(a, b, s, w, accA, accB, as, rows);
        case 4:
            return accumulatePairAvx2<4>(a, b, s, w, accA, accB, as, rows);
        case 6:
            return accumulatePairAvx2<6>(a, b, s, w, accA, accB, as, rows);
        default:
            return accumulatePairAvx2<8>(a, b, s, w, accA, accB, as, rows);
    }
}

// Saturating rounding add: values near 65535 give 255, as in the reference.
void storeRowSse2(const uint16_t* in, uint8_t* out, int count) {
    const __m128i round8 = _mm_set1_epi16(128);
    int x = 0;
    for (; x + 16 <= count; x += 16) {
        const __m128i lo = _mm_srli_epi16(
            _mm_adds_epu16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in + x)), round8), 8);
        const __m128i hi = _mm_srli_epi16(
            _mm_adds_epu16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in + x + 8)), round8),
            8);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_packus_epi16(lo, hi));
    }
    for (; x < count; ++x) {
        const int v = (in[x] + 128) >> 8;
        out[x] = static_cast<uint8_t>(v > 255 ? 255 : v);
    }
}

void average2Sse2(const uint8_t* a, const uint8_t* b, uint8_t* out, ptrdiff_t count) {
    ptrdiff_t x = 0;
    for (; x + 16 <= count; x += 16) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x),
                         _mm_avg_epu8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(a + x)),
                                      _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + x))));
    }
    for (; x < count; ++x) out[x] = static_cast<uint8_t>((a[x] + b[x] + 1) >> 1);
}

void downsample2Sse2(const uint8_t* r0, const uint8_t* r1, uint8_t* out, int count) {
    const __m128i lowBytes = _mm_set1_epi16(0x00FF);
    const __m128i two = _mm_set1_epi16(2);
    int x = 0;
    for (; x + 16 <= count; x += 16) {
        const __m128i a0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(r0 + 2 * ptrdiff_t{x}));
        const __m128i a1 =
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(r0 + 2 * ptrdiff_t{x} + 16));
        const __m128i b0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(r1 + 2 * ptrdiff_t{x}));
        const __m128i b1 =
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(r1 + 2 * ptrdiff_t{x} + 16));
        // Sum vertically in 16 bits per even/odd column, then add the column pairs.
        const __m128i s0 =
            _mm_add_epi16(_mm_add_epi16(_mm_and_si128(a0, lowBytes), _mm_srli_epi16(a0, 8)),
                          _mm_add_epi16(_mm_and_si128(b0, lowBytes), _mm_srli_epi16(b0, 8)));
        const __m128i s1 =
            _mm_add_epi16(_mm_add_epi16(_mm_and_si128(a1, lowBytes), _mm_srli_epi16(a1, 8)),
                          _mm_add_epi16(_mm_and_si128(b1, lowBytes), _mm_srli_epi16(b1, 8)));
        const __m128i q0 = _mm_srli_epi16(_mm_add_epi16(s0, two), 2);
        const __m128i q1 = _mm_srli_epi16(_mm_add_epi16(s1, two), 2);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_packus_epi16(q0, q1));
    }
    for (; x < count; ++x) {
        out[x] = static_cast<uint8_t>((r0[2 * ptrdiff_t{x}] + r0[2 * ptrdiff_t{x} + 1] +
                                       r1[2 * ptrdiff_t{x}] + r1[2 * ptrdiff_t{x} + 1] + 2) >>
                                      2);
    }
}

void blendRowSse2(const uint8_t* a, const uint8_t* b, uint8_t* out, ptrdiff_t count, int k, int n) {
    ptrdiff_t x = 0;
    if (k == 0 || k == n) {
        // One frame alone (also n = 1, whose reciprocal does not fit 16 bits).
        std::memcpy(out, k == 0 ? a : b, static_cast<size_t>(count));
        return;
    }
    if (2 * k == n) {
        // Halfway: the rounded average, (a + b + 1) >> 1.
        average2Sse2(a, b, out, count);
        return;
    }
    const uint16_t m = static_cast<uint16_t>((65536 + n - 1) / n);
    const __m128i zero = _mm_setzero_si128();
    const __m128i wa = _mm_set1_epi16(static_cast<short>(n - k));
    const __m128i wb = _mm_set1_epi16(static_cast<short>(k));
    const __m128i bias = _mm_set1_epi16(static_cast<short>(n / 2));
    const __m128i vm = _mm_set1_epi16(static_cast<short>(m));
    // The sums stay below 255 * 16 + 8: 16-bit products, the quotient by a high multiply.
    auto half = [&](__m128i va, __m128i vb) {
        const __m128i s =
            _mm_add_epi16(_mm_add_epi16(_mm_mullo_epi16(va, wa), _mm_mullo_epi16(vb, wb)), bias);
        return _mm_mulhi_epu16(s, vm);
    };
    for (; x + 16 <= count; x += 16) {
        const __m128i va = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + x));
        const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + x));
        const __m128i lo = half(_mm_unpacklo_epi8(va, zero), _mm_unpacklo_epi8(vb, zero));
        const __m128i hi = half(_mm_unpackhi_epi8(va, zero), _mm_unpackhi_epi8(vb, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_packus_epi16(lo, hi));
    }
    for (; x < count; ++x) {
        const unsigned s = static_cast<unsigned>(a[x] * (n - k) + b[x] * k + n / 2);
        out[x] = static_cast<uint8_t>((s * m) >> 16);
    }
}

const Dsp kSse2 = {"sse2",          sad8x8Sse2,        sad8x8HalfAnySse2,
                   activity8x8Sse2, accumulateSse2Any, accumulatePairSse2Any,
                   storeRowSse2,    blendRowSse2,      average2Sse2,
                   downsample2Sse2};
const Dsp kAvx2 = {"avx2",          sad8x8Sse2,        sad8x8HalfAnySse2,
                   activity8x8Sse2, accumulateAvx2Any, accumulatePairAvx2Any,
                   storeRowSse2,    blendRowSse2,      average2Sse2,
                   downsample2Sse2};

}  // namespace

const Dsp* dspSse2() {
    return &kSse2;  // part of every x86-64 CPU
}

const Dsp* dspAvx2() {
    return __builtin_cpu_supports("avx2") ? &kAvx2 : nullptr;
}

}  // namespace detail
}  // namespace frc

#else

namespace frc {
namespace detail {

const Dsp* dspSse2() {
    return nullptr;
}

const Dsp* dspAvx2() {
    return nullptr;
}

}  // namespace detail
}  // namespace frc

#endif
