// Frame copy and exact rounded weighted blend (SSE2).
#include "frc/ops.h"

#include <emmintrin.h>

#include <cstdlib>
#include <cstring>

namespace frc {
namespace {

// Largest phase denominator of the 16-bit SSE2 path.
constexpr int kMaxNarrowDenominator = 16;

// Integer quotient of x by n (1 <= n <= 16) as (x * m) >> 16 with m = ceil(65536 / n). Exact
// for every x a blend can produce (x <= 255 * n + n / 2); a unit test checks all of them.
inline uint16_t reciprocal(int n) {
    return static_cast<uint16_t>((65536 + n - 1) / n);
}

int gcd(int a, int b) {
    while (b != 0) {
        const int t = a % b;
        a = b;
        b = t;
    }
    return a;
}

// Large denominators (phases of a fractional rate ratio): the quotient as (s * m) >> 40 with
// m = ceil(2^40 / n), exact for s <= 256 * n and n <= 65535 since s * n < 2^40.
void blendRowWide(const uint8_t* a, const uint8_t* b, uint8_t* d, int bytes, int k, int n) {
    const uint64_t m =
        ((uint64_t{1} << 40) + static_cast<uint64_t>(n) - 1) / static_cast<uint64_t>(n);
    const uint32_t wa = static_cast<uint32_t>(n - k);
    const uint32_t wb = static_cast<uint32_t>(k);
    const uint32_t bias = static_cast<uint32_t>(n / 2);
    for (int x = 0; x < bytes; ++x) {
        const uint64_t s = a[x] * wa + b[x] * wb + bias;
        d[x] = static_cast<uint8_t>((s * m) >> 40);
    }
}

void blendRow(const uint8_t* a, const uint8_t* b, uint8_t* d, int bytes, int k, int n) {
    if (n > kMaxNarrowDenominator) {
        blendRowWide(a, b, d, bytes, k, n);
        return;
    }
    int x = 0;
    if (n == 2) {
        for (; x + 16 <= bytes; x += 16) {
            const __m128i va = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + x));
            const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + x));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + x), _mm_avg_epu8(va, vb));
        }
        for (; x < bytes; ++x) d[x] = static_cast<uint8_t>((a[x] + b[x] + 1) >> 1);
        return;
    }
    const uint16_t m = reciprocal(n);
    const __m128i zero = _mm_setzero_si128();
    const __m128i wa = _mm_set1_epi16(static_cast<short>(n - k));
    const __m128i wb = _mm_set1_epi16(static_cast<short>(k));
    const __m128i bias = _mm_set1_epi16(static_cast<short>(n / 2));
    const __m128i vm = _mm_set1_epi16(static_cast<short>(m));
    auto half = [&](__m128i va, __m128i vb) {
        const __m128i s =
            _mm_add_epi16(_mm_add_epi16(_mm_mullo_epi16(va, wa), _mm_mullo_epi16(vb, wb)), bias);
        return _mm_mulhi_epu16(s, vm);
    };
    for (; x + 16 <= bytes; x += 16) {
        const __m128i va = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + x));
        const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + x));
        const __m128i lo = half(_mm_unpacklo_epi8(va, zero), _mm_unpacklo_epi8(vb, zero));
        const __m128i hi = half(_mm_unpackhi_epi8(va, zero), _mm_unpackhi_epi8(vb, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + x), _mm_packus_epi16(lo, hi));
    }
    for (; x < bytes; ++x) {
        const unsigned s = a[x] * (n - k) + b[x] * k + n / 2;
        d[x] = static_cast<uint8_t>((s * m) >> 16);
    }
}

}  // namespace

bool copyFrame(const ConstFrameView& src, const FrameView& dst) {
    if (!src.valid() || !dst.valid() || !src.sameGeometry(dst)) return false;
    for (int p = 0; p < src.numPlanes(); ++p) {
        const size_t bytes = static_cast<size_t>(src.rowBytes(p));
        if (src.planes[p] == dst.planes[p] && src.strides[p] == dst.strides[p]) continue;
        if (src.strides[p] == dst.strides[p] && static_cast<ptrdiff_t>(bytes) == src.strides[p]) {
            std::memmove(dst.planes[p], src.planes[p], bytes * src.rows(p));
            continue;
        }
        for (int y = 0; y < src.rows(p); ++y) {
            std::memmove(dst.planes[p] + y * dst.strides[p], src.planes[p] + y * src.strides[p],
                         bytes);
        }
    }
    return true;
}

bool blendFrames(const ConstFrameView& a, const ConstFrameView& b, int k, int n,
                 const FrameView& dst) {
    if (n < 1 || n > kMaxBlendDenominator || k < 0 || k > n || !a.valid() || !b.valid() ||
        !dst.valid() || !a.sameGeometry(b) || !a.sameGeometry(dst)) {
        return false;
    }
    if (k == 0) return copyFrame(a, dst);
    if (k == n) return copyFrame(b, dst);
    const int g = gcd(k, n);
    k /= g;
    n /= g;
    for (int p = 0; p < a.numPlanes(); ++p) {
        const int bytes = a.rowBytes(p);
        for (int y = 0; y < a.rows(p); ++y) {
            blendRow(a.planes[p] + y * a.strides[p], b.planes[p] + y * b.strides[p],
                     dst.planes[p] + y * dst.strides[p], bytes, k, n);
        }
    }
    return true;
}

}  // namespace frc
