// Tests of frame layouts, copy and the exact rounded blend across formats, strides and sizes.
#include "frc/ops.h"

#include <gtest/gtest.h>

#include <random>

#include "frc_test_util.h"

namespace {

using frc::PixelFormat;
using frc_test::OwnedFrame;

constexpr PixelFormat kFormats[] = {PixelFormat::kI420, PixelFormat::kNv12, PixelFormat::kNv21};

void fillRandom(OwnedFrame& f, uint32_t seed) {
    std::mt19937 rng(seed);
    f.fill([&](double, double) { return static_cast<int>(rng() & 255); },
           [&](int, double, double) { return static_cast<int>(rng() & 255); });
}

TEST(FrameLayout, BuffersPlacePlanesAsTheServiceDoes) {
    uint8_t* base = reinterpret_cast<uint8_t*>(0x10000);
    const auto nv = frc::FrameView::fromBuffer(base, PixelFormat::kNv21, 100, 50, 128, 64);
    EXPECT_EQ(nv.planes[1], base + 128 * 64);
    EXPECT_EQ(nv.strides[1], 128);
    EXPECT_EQ(nv.rowBytes(1), 100);
    EXPECT_EQ(nv.rows(1), 25);
    const auto i420 = frc::FrameView::fromBuffer(base, PixelFormat::kI420, 101, 51, 128, 65);
    EXPECT_EQ(i420.planes[1], base + 128 * 65);
    EXPECT_EQ(i420.planes[2], base + 128 * 65 + 64 * 33);
    EXPECT_EQ(i420.strides[2], 64);
    EXPECT_EQ(i420.rowBytes(1), 51);
    EXPECT_EQ(i420.rows(2), 26);

    EXPECT_EQ(frc::bufferSize(PixelFormat::kNv12, 64, 48, 64, 48), 64u * 48 * 3 / 2);
    EXPECT_EQ(frc::bufferSize(PixelFormat::kI420, 64, 48, 64, 48), 64u * 48 * 3 / 2);
    EXPECT_EQ(frc::bufferSize(PixelFormat::kNv12, 63, 47, 64, 47), 64u * 47 + 64u * 24);
    EXPECT_EQ(frc::bufferSize(PixelFormat::kNv12, 63, 47, 63, 47), 0u);  // chroma row is 64
    EXPECT_EQ(frc::bufferSize(PixelFormat::kI420, 64, 48, 63, 48), 0u);
    EXPECT_EQ(frc::bufferSize(PixelFormat::kNv12, 64, 48, 64, 40), 0u);
    EXPECT_EQ(frc::bufferSize(static_cast<PixelFormat>(1), 64, 48, 64, 48), 0u);
    EXPECT_FALSE(frc::isSupportedFormat(1));
}

// The blend's division by n uses a reciprocal multiply; check every input pair for every n, and
// the views it refuses.
TEST(Blend, EqualsTheRoundedWeightedAverageForEverySamplePairAndPhase) {
    OwnedFrame a(PixelFormat::kNv12, 256, 256);
    OwnedFrame b(PixelFormat::kNv12, 256, 256);
    a.fill([](double x, double) { return static_cast<int>(x); },
           [](int c, double x, double y) { return static_cast<int>(c ? x + y : 255 - x); });
    b.fill([](double, double y) { return static_cast<int>(y); },
           [](int c, double x, double y) { return static_cast<int>(c ? 2 * y : x); });
    OwnedFrame d(PixelFormat::kNv12, 256, 256);
    // Every phase up to 16; phases of fractional rate ratios have large denominators (24 ->
    // 60000/1001 gives 2500).
    std::vector<std::pair<int, int>> phases;
    for (int n = 1; n <= 16; ++n) {
        for (int k = 0; k <= n; ++k) phases.emplace_back(k, n);
    }
    for (int n : {17, 25, 1001, 2500, 65521, frc::kMaxBlendDenominator}) {
        for (int k : {1, n / 3, n / 2, n - 1}) phases.emplace_back(k, n);
    }
    for (const auto& [k, n] : phases) {
        ASSERT_TRUE(frc::blendFrames(a.cview(), b.cview(), k, n, d.view()));
        for (int p = 0; p < 2; ++p) {
            for (int y = 0; y < d.view().rows(p); ++y) {
                for (int x = 0; x < 256; ++x) {
                    const int64_t want =
                        (int64_t{a.at(p, x, y)} * (n - k) + int64_t{b.at(p, x, y)} * k + n / 2) / n;
                    ASSERT_EQ(d.at(p, x, y), want)
                        << "n " << n << " k " << k << " plane " << p << " at " << x << "," << y;
                }
            }
        }
    }
    EXPECT_FALSE(
        frc::blendFrames(a.cview(), b.cview(), 1, frc::kMaxBlendDenominator + 1, d.view()));
    EXPECT_FALSE(frc::blendFrames(a.cview(), b.cview(), 3, 2, d.view()));
    EXPECT_FALSE(frc::blendFrames(a.cview(), b.cview(), -1, 2, d.view()));
    // Views that differ in format or size, or are not valid.
    OwnedFrame nv21(PixelFormat::kNv21, 256, 256), shorter(PixelFormat::kNv12, 256, 254);
    EXPECT_FALSE(frc::blendFrames(a.cview(), nv21.cview(), 1, 2, d.view()));
    EXPECT_FALSE(frc::blendFrames(a.cview(), shorter.cview(), 1, 2, d.view()));
    EXPECT_FALSE(frc::copyFrame(a.cview(), shorter.view()));
    frc::FrameView bad = a.view();
    bad.strides[1] = 10;
    EXPECT_FALSE(bad.valid());
    EXPECT_FALSE(frc::copyFrame(bad, d.view()));
    EXPECT_FALSE(frc::copyFrame(a.cview(), frc::FrameView()));
}

// Padded strides, taller buffers and odd sizes in every format: exact results, nothing
// written outside the picture (row padding keeps its bytes, the guard band stays intact).
TEST(Blend, HandlesEveryFormatStrideAndOddSizeWithoutTouchingPadding) {
    struct Geometry {
        int w, h, stride, scanlines;
    };
    const Geometry geometries[] = {
        {64, 48, 0, 0}, {33, 17, 48, 20}, {1, 1, 2, 1}, {70, 30, 96, 40}};
    for (PixelFormat f : kFormats) {
        for (const Geometry& g : geometries) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(f) << " " << g.w << "x" << g.h);
            OwnedFrame a(f, g.w, g.h, g.stride, g.scanlines);
            OwnedFrame b(f, g.w, g.h, g.stride, g.scanlines);
            fillRandom(a, 1);
            fillRandom(b, 2);
            OwnedFrame d(f, g.w, g.h, g.stride, g.scanlines);
            ASSERT_TRUE(frc::blendFrames(a.cview(), b.cview(), 2, 5, d.view()));
            EXPECT_TRUE(d.guardIntact());
            const auto& v = d.view();
            for (int p = 0; p < v.numPlanes(); ++p) {
                for (int y = 0; y < v.rows(p); ++y) {
                    for (int x = 0; x < v.strides[p]; ++x) {
                        if (x < v.rowBytes(p)) {
                            ASSERT_EQ(d.at(p, x, y),
                                      (a.at(p, x, y) * 3 + b.at(p, x, y) * 2 + 2) / 5);
                        } else {
                            ASSERT_EQ(d.at(p, x, y), OwnedFrame::kGuardByte) << "padding written";
                        }
                    }
                }
            }
            OwnedFrame c(f, g.w, g.h, static_cast<int>(d.view().strides[0]) + 16, g.h + 2);
            ASSERT_TRUE(frc::copyFrame(d.cview(), c.view()));
            EXPECT_TRUE(c.samePixels(d));
            EXPECT_TRUE(c.guardIntact());
        }
    }
}

}  // namespace
