// Frame copy and exact rounded weighted blend (row kernels from the engine's kernel table).
#include "frc/ops.h"

#include <cstdlib>
#include <cstring>

#include "dsp.h"

namespace frc {
namespace {

// Largest phase denominator of the 16-bit row kernel.
constexpr int kMaxNarrowDenominator = 16;

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

void blendRow(const detail::Dsp& dsp, const uint8_t* a, const uint8_t* b, uint8_t* d, int bytes,
              int k, int n) {
    if (n > kMaxNarrowDenominator) {
        blendRowWide(a, b, d, bytes, k, n);
        return;
    }
    dsp.blendRow(a, b, d, bytes, k, n);
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
    const detail::Dsp& dsp = detail::dsp();
    for (int p = 0; p < a.numPlanes(); ++p) {
        const int bytes = a.rowBytes(p);
        for (int y = 0; y < a.rows(p); ++y) {
            blendRow(dsp, a.planes[p] + y * a.strides[p], b.planes[p] + y * b.strides[p],
                     dst.planes[p] + y * dst.strides[p], bytes, k, n);
        }
    }
    return true;
}

}  // namespace frc
