// Padded plane copies: allocation, edge replication and pyramid downsampling.
#include "plane.h"

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
    // 64 spare bytes for alignment and 16 for vector loads that run past the last element.
    storage_.assign(static_cast<size_t>(stride_) * (height + 2 * pad) + 64 + 16, 0);
    const uintptr_t base = reinterpret_cast<uintptr_t>(storage_.data());
    const uintptr_t aligned = (base + 63) & ~uintptr_t{63};
    origin_ =
        reinterpret_cast<uint8_t*>(aligned) + pad * stride_ + static_cast<ptrdiff_t>(pad) * step;
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
    const __m128i lowBytes = _mm_set1_epi16(0x00FF);
    const __m128i one = _mm_set1_epi16(1);
    for (int y = 0; y < dst.height(); ++y) {
        const uint8_t* r0 = row(2 * y);
        const uint8_t* r1 = row(2 * y + 1);  // the padding supplies the row past an odd height
        uint8_t* out = dst.row(y);
        int x = 0;
        for (; x + 16 <= dst.width(); x += 16) {
            const __m128i a0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(r0 + 2 * x));
            const __m128i a1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(r0 + 2 * x + 16));
            const __m128i b0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(r1 + 2 * x));
            const __m128i b1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(r1 + 2 * x + 16));
            // Sum vertically in 16 bits per even/odd column, then add the column pairs.
            const __m128i s0 =
                _mm_add_epi16(_mm_add_epi16(_mm_and_si128(a0, lowBytes), _mm_srli_epi16(a0, 8)),
                              _mm_add_epi16(_mm_and_si128(b0, lowBytes), _mm_srli_epi16(b0, 8)));
            const __m128i s1 =
                _mm_add_epi16(_mm_add_epi16(_mm_and_si128(a1, lowBytes), _mm_srli_epi16(a1, 8)),
                              _mm_add_epi16(_mm_and_si128(b1, lowBytes), _mm_srli_epi16(b1, 8)));
            const __m128i two = _mm_add_epi16(one, one);
            const __m128i q0 = _mm_srli_epi16(_mm_add_epi16(s0, two), 2);
            const __m128i q1 = _mm_srli_epi16(_mm_add_epi16(s1, two), 2);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_packus_epi16(q0, q1));
        }
        for (; x < dst.width(); ++x) {
            out[x] = static_cast<uint8_t>(
                (r0[2 * x] + r0[2 * x + 1] + r1[2 * x] + r1[2 * x + 1] + 2) >> 2);
        }
    }
    dst.extendEdges();
}

void PaddedPlane::halfPelFrom(const PaddedPlane& src, int kind) {
    const int dx = kind & 1;
    const int dy = kind >> 1;
    const ptrdiff_t bytes = static_cast<ptrdiff_t>(width_ + 2 * pad_) - 1;
    const __m128i zero = _mm_setzero_si128();
    const __m128i two = _mm_set1_epi16(2);
    for (int y = -pad_; y < height_ + pad_; ++y) {
        const int sy = y + dy < height_ + pad_ ? y + dy : y;
        const uint8_t* r0 = src.row(y) - pad_;
        const uint8_t* r1 = src.row(sy) - pad_;
        uint8_t* out = row(y) - pad_;
        ptrdiff_t x = 0;
        if (kind != 3) {
            // Two taps: the rounded average, as _mm_avg_epu8 computes it.
            const uint8_t* other = dx ? r0 + 1 : r1;
            for (; x + 16 <= bytes; x += 16) {
                const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(r0 + x));
                const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(other + x));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_avg_epu8(a, b));
            }
            for (; x < bytes; ++x) out[x] = static_cast<uint8_t>((r0[x] + other[x] + 1) >> 1);
        } else {
            for (; x + 8 <= bytes; x += 8) {
                auto load = [&](const uint8_t* q) {
                    return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(q)),
                                             zero);
                };
                const __m128i sum = _mm_add_epi16(_mm_add_epi16(load(r0 + x), load(r0 + x + 1)),
                                                  _mm_add_epi16(load(r1 + x), load(r1 + x + 1)));
                _mm_storel_epi64(
                    reinterpret_cast<__m128i*>(out + x),
                    _mm_packus_epi16(_mm_srli_epi16(_mm_add_epi16(sum, two), 2), zero));
            }
            for (; x < bytes; ++x) {
                out[x] = static_cast<uint8_t>((r0[x] + r0[x + 1] + r1[x] + r1[x + 1] + 2) >> 2);
            }
        }
        out[bytes] = out[bytes - 1];
    }
}

}  // namespace detail
}  // namespace frc
