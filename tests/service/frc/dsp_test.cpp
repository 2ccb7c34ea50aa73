// Every kernel variant this build and CPU offer must match the portable reference bit for bit,
// on random inputs and on the extremes (all 0, all 255, the largest tap sums).
#include "dsp.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

namespace {

using frc::detail::Dsp;
using frc::detail::WindowTaps;

constexpr ptrdiff_t kStride = 80;  // room for 16-wide rows at odd offsets, plus the extra row
constexpr int kRows = 18;

// Pictures for the comparisons: random, then constant 0 and 255, then 0/255 checkerboards.
std::vector<std::vector<uint8_t>> inputs() {
    std::mt19937 rng(7);
    std::vector<std::vector<uint8_t>> all;
    for (int i = 0; i < 6; ++i) {
        std::vector<uint8_t> p(kStride * kRows);
        for (auto& v : p) v = static_cast<uint8_t>(rng());
        all.push_back(p);
    }
    all.emplace_back(kStride * kRows, 0);
    all.emplace_back(kStride * kRows, 255);
    std::vector<uint8_t> checker(kStride * kRows);
    for (size_t i = 0; i < checker.size(); ++i) checker[i] = ((i + i / kStride) & 1) ? 255 : 0;
    all.push_back(checker);
    return all;
}

TEST(Dsp, EveryVariantMatchesTheReference) {
    const Dsp& ref = frc::detail::dspReference();
    const auto pictures = inputs();
    std::mt19937 rng(11);
    ASSERT_GE(frc::detail::dspVariants().size(), 1u);
    for (const Dsp* d : frc::detail::dspVariants()) {
        SCOPED_TRACE(d->name);
        for (size_t i = 0; i < pictures.size(); ++i) {
            const uint8_t* a = pictures[i].data();
            const uint8_t* b = pictures[(i + 1) % pictures.size()].data();
            for (int off : {0, 1, 7, 13}) {
                EXPECT_EQ(d->sad8x8(a + off, b + 2 * off, kStride),
                          ref.sad8x8(a + off, b + 2 * off, kStride));
                EXPECT_EQ(d->activity8x8(a + off, kStride), ref.activity8x8(a + off, kStride));
                for (int pa = 0; pa < 4; ++pa) {
                    for (int pb = 0; pb < 4; ++pb) {
                        EXPECT_EQ(d->sad8x8Half(a + off, pa, b + 2 * off, pb, kStride),
                                  ref.sad8x8Half(a + off, pa, b + 2 * off, pb, kStride))
                            << "sad8x8Half phases " << pa << " " << pb;
                    }
                }
            }
            // Row kernels over lengths around the vector widths.
            for (int n : {1, 7, 8, 15, 16, 17, 33, 63}) {
                uint8_t got[80];
                uint8_t want[80];
                d->average2(a, b + 1, got, n);
                ref.average2(a, b + 1, want, n);
                EXPECT_EQ(0, std::memcmp(got, want, n)) << "average2 " << n;
                for (int den = 1; den <= 16; ++den) {
                    for (int k = 0; k <= den; ++k) {
                        d->blendRow(a, b + 1, got, n, k, den);
                        ref.blendRow(a, b + 1, want, n, k, den);
                        ASSERT_EQ(0, std::memcmp(got, want, n))
                            << "blendRow " << n << " at " << k << "/" << den;
                    }
                }
                d->downsample2(a, b, got, n / 2 + 1);
                ref.downsample2(a, b, want, n / 2 + 1);
                EXPECT_EQ(0, std::memcmp(got, want, n / 2 + 1)) << "downsample2 " << n;
                std::vector<uint16_t> acc(n);
                for (auto& v : acc) v = static_cast<uint16_t>(rng() % 65536);
                acc[0] = 65535;  // saturates
                d->storeRow(acc.data(), got, n);
                ref.storeRow(acc.data(), want, n);
                EXPECT_EQ(0, std::memcmp(got, want, n)) << "storeRow " << n;
            }
            // Window accumulation with 2..8 taps whose weights total 256.
            for (int count : {2, 4, 6, 8}) {
                for (bool maximal : {false, true}) {
                    WindowTaps ta;
                    WindowTaps tb;
                    int left = 256;
                    for (int t = 0; t < count; ++t) {
                        const int w = t + 1 == count ? left : static_cast<int>(rng() % (left + 1));
                        left -= w;
                        ta.base[t] = a + (t % 3) * kStride + t;
                        tb.base[t] = b + t;
                        ta.weight[t] = tb.weight[t] = static_cast<int16_t>(w);
                    }
                    ta.count = tb.count = count;
                    // Window weights (the kernels load them aligned): random, or the largest.
                    alignas(32) uint16_t w[16 * 16];
                    for (auto& v : w) v = maximal ? 65535 : static_cast<uint16_t>(rng());
                    const ptrdiff_t accStride = 40;
                    std::vector<uint16_t> accGot(accStride * 16, 100);
                    std::vector<uint16_t> accWant = accGot;
                    d->accumulate(ta, kStride, w, accGot.data(), accStride, 16);
                    ref.accumulate(ta, kStride, w, accWant.data(), accStride, 16);
                    EXPECT_EQ(accGot, accWant) << "accumulate " << count;
                    std::vector<uint16_t> pairGot(accStride * 8 * 2, 7);
                    std::vector<uint16_t> pairWant = pairGot;
                    d->accumulatePair(ta, tb, kStride, w, pairGot.data(),
                                      pairGot.data() + accStride * 8, accStride, 8);
                    ref.accumulatePair(ta, tb, kStride, w, pairWant.data(),
                                       pairWant.data() + accStride * 8, accStride, 8);
                    EXPECT_EQ(pairGot, pairWant) << "accumulatePair " << count;
                }
            }
        }
    }
}

}  // namespace
