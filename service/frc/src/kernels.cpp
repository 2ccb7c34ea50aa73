// Compensation kernels: weighted multi-tap window accumulation in SSE2 and AVX2.
#include <immintrin.h>

#include "plane.h"

namespace frc {
namespace detail {

bool cpuHasAvx2() {
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
    return __builtin_cpu_supports("avx2");
#else
    return false;
#endif
}

void accumulateWindowSse2(const WindowTaps& taps, ptrdiff_t stride, const uint16_t* weights,
                          uint16_t* acc, ptrdiff_t accStride, int rows, int bytes) {
    const __m128i zero = _mm_setzero_si128();
    __m128i tapWeight[8];
    for (int t = 0; t < taps.count; ++t) tapWeight[t] = _mm_set1_epi16(taps.weight[t]);
    for (int r = 0; r < rows; ++r) {
        const ptrdiff_t rowOffset = r * stride;
        for (int part = 0; part < bytes; part += 8) {
            __m128i sum = zero;
            for (int t = 0; t < taps.count; ++t) {
                const __m128i px = _mm_unpacklo_epi8(
                    _mm_loadl_epi64(
                        reinterpret_cast<const __m128i*>(taps.base[t] + rowOffset + part)),
                    zero);
                sum = _mm_add_epi16(sum, _mm_mullo_epi16(px, tapWeight[t]));
            }
            const __m128i w =
                _mm_load_si128(reinterpret_cast<const __m128i*>(weights + r * 16 + part));
            __m128i* out = reinterpret_cast<__m128i*>(acc + r * accStride + part);
            _mm_storeu_si128(out, _mm_add_epi16(_mm_loadu_si128(out), _mm_mulhi_epu16(sum, w)));
        }
    }
}

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
__attribute__((target("avx2"))) void accumulateWindowAvx2(const WindowTaps& taps, ptrdiff_t stride,
                                                          const uint16_t* weights, uint16_t* acc,
                                                          ptrdiff_t accStride, int rows,
                                                          int bytes) {
    if (bytes != 16) {
        accumulateWindowSse2(taps, stride, weights, acc, accStride, rows, bytes);
        return;
    }
    __m256i tapWeight[8];
    for (int t = 0; t < taps.count; ++t) tapWeight[t] = _mm256_set1_epi16(taps.weight[t]);
    for (int r = 0; r < rows; ++r) {
        const ptrdiff_t rowOffset = r * stride;
        __m256i sum = _mm256_setzero_si256();
        for (int t = 0; t < taps.count; ++t) {
            const __m256i px = _mm256_cvtepu8_epi16(
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(taps.base[t] + rowOffset)));
            sum = _mm256_add_epi16(sum, _mm256_mullo_epi16(px, tapWeight[t]));
        }
        const __m256i w = _mm256_load_si256(reinterpret_cast<const __m256i*>(weights + r * 16));
        __m256i* out = reinterpret_cast<__m256i*>(acc + r * accStride);
        _mm256_storeu_si256(out,
                            _mm256_add_epi16(_mm256_loadu_si256(out), _mm256_mulhi_epu16(sum, w)));
    }
}
#else
void accumulateWindowAvx2(const WindowTaps& taps, ptrdiff_t stride, const uint16_t* weights,
                          uint16_t* acc, ptrdiff_t accStride, int rows, int bytes) {
    accumulateWindowSse2(taps, stride, weights, acc, accStride, rows, bytes);
}
#endif

}  // namespace detail
}  // namespace frc
