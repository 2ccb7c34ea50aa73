// Compensation kernels: weighted multi-tap window accumulation in SSE2 and AVX2.
#include <immintrin.h>

#include "plane.h"

namespace frc {
namespace detail {

namespace {

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
        const __m128i* wr = reinterpret_cast<const __m128i*>(weights + r * 16);
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
        const __m128i wr = _mm_load_si128(reinterpret_cast<const __m128i*>(weights + r * 16));
        __m128i* oa = reinterpret_cast<__m128i*>(accA + r * accStride);
        __m128i* ob = reinterpret_cast<__m128i*>(accB + r * accStride);
        _mm_storeu_si128(oa, _mm_add_epi16(_mm_loadu_si128(oa), _mm_mulhi_epu16(sa, wr)));
        _mm_storeu_si128(ob, _mm_add_epi16(_mm_loadu_si128(ob), _mm_mulhi_epu16(sb, wr)));
    }
}

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
#define FRC_HAVE_AVX2_KERNELS 1

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
        const __m256i wr = _mm256_load_si256(reinterpret_cast<const __m256i*>(weights + r * 16));
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
        const __m128i w8 = _mm_load_si128(reinterpret_cast<const __m128i*>(weights + r * 16));
        const __m256i prod = _mm256_mulhi_epu16(sum, _mm256_broadcastsi128_si256(w8));
        __m128i* oa = reinterpret_cast<__m128i*>(accA + r * accStride);
        __m128i* ob = reinterpret_cast<__m128i*>(accB + r * accStride);
        _mm_storeu_si128(oa, _mm_add_epi16(_mm_loadu_si128(oa), _mm256_castsi256_si128(prod)));
        _mm_storeu_si128(ob, _mm_add_epi16(_mm_loadu_si128(ob), _mm256_extracti128_si256(prod, 1)));
    }
}
#endif

// Pads the tap list to an even count with zero-weight taps so that few kernel sizes suffice.
int evenCount(const WindowTaps& taps) {
    return (taps.count + 1) & ~1;
}

}  // namespace

bool cpuHasAvx2() {
#ifdef FRC_HAVE_AVX2_KERNELS
    return __builtin_cpu_supports("avx2");
#else
    return false;
#endif
}

void accumulateWindow(bool avx2, WindowTaps& taps, ptrdiff_t stride, const uint16_t* weights,
                      uint16_t* acc, ptrdiff_t accStride, int rows) {
    const int n = evenCount(taps);
    for (int t = taps.count; t < n; ++t) {
        taps.base[t] = taps.base[0];
        taps.weight[t] = 0;
    }
#ifdef FRC_HAVE_AVX2_KERNELS
    if (avx2) {
        switch (n) {
            case 2:
                return accumulateAvx2<2>(taps, stride, weights, acc, accStride, rows);
            case 4:
                return accumulateAvx2<4>(taps, stride, weights, acc, accStride, rows);
            case 6:
                return accumulateAvx2<6>(taps, stride, weights, acc, accStride, rows);
            default:
                return accumulateAvx2<8>(taps, stride, weights, acc, accStride, rows);
        }
    }
#else
    (void)avx2;
#endif
    switch (n) {
        case 2:
            return accumulateSse2<2>(taps, stride, weights, acc, accStride, rows);
        case 4:
            return accumulateSse2<4>(taps, stride, weights, acc, accStride, rows);
        case 6:
            return accumulateSse2<6>(taps, stride, weights, acc, accStride, rows);
        default:
            return accumulateSse2<8>(taps, stride, weights, acc, accStride, rows);
    }
}

void accumulateWindowPair(bool avx2, WindowTaps& a, WindowTaps& b, ptrdiff_t stride,
                          const uint16_t* weights, uint16_t* accA, uint16_t* accB,
                          ptrdiff_t accStride, int rows) {
    const int n = evenCount(a);
    for (int t = a.count; t < n; ++t) {
        a.base[t] = a.base[0];
        b.base[t] = b.base[0];
        a.weight[t] = b.weight[t] = 0;
    }
#ifdef FRC_HAVE_AVX2_KERNELS
    if (avx2) {
        switch (n) {
            case 2:
                return accumulatePairAvx2<2>(a, b, stride, weights, accA, accB, accStride, rows);
            case 4:
                return accumulatePairAvx2<4>(a, b, stride, weights, accA, accB, accStride, rows);
            case 6:
                return accumulatePairAvx2<6>(a, b, stride, weights, accA, accB, accStride, rows);
            default:
                return accumulatePairAvx2<8>(a, b, stride, weights, accA, accB, accStride, rows);
        }
    }
#else
    (void)avx2;
#endif
    switch (n) {
        case 2:
            return accumulatePairSse2<2>(a, b, stride, weights, accA, accB, accStride, rows);
        case 4:
            return accumulatePairSse2<4>(a, b, stride, weights, accA, accB, accStride, rows);
        case 6:
            return accumulatePairSse2<6>(a, b, stride, weights, accA, accB, accStride, rows);
        default:
            return accumulatePairSse2<8>(a, b, stride, weights, accA, accB, accStride, rows);
    }
}

}  // namespace detail
}  // namespace frc
