// Tests of motion-compensated interpolation: known translations and moving objects must be
// rebuilt far better than by blending; scene cuts and bad input fall back to blend.
#include "frc/motion.h"

#include <gtest/gtest.h>

#include <cmath>

#include "frc/ops.h"
#include "frc_test_util.h"

namespace {

using frc::MotionInterpolator;
using frc::PixelFormat;
using frc_test::OwnedFrame;

constexpr int kW = 160;
constexpr int kH = 96;

struct Outcome {
    double motion;
    double blend;
};

// Interpolates frame `mid` from `a` and `b` at phase k/n and compares motion and blend with it.
Outcome rebuild(const OwnedFrame& a, const OwnedFrame& b, const OwnedFrame& mid, int k, int n,
                MotionInterpolator& mi, int margin) {
    OwnedFrame m(a.view().format, a.width(), a.height());
    OwnedFrame bl(a.view().format, a.width(), a.height());
    EXPECT_TRUE(mi.push(a.cview()));
    EXPECT_TRUE(mi.push(b.cview()));
    EXPECT_TRUE(mi.interpolate(k, n, m.view()));
    EXPECT_TRUE(frc::blendFrames(a.cview(), b.cview(), k, n, bl.view()));
    return {frc_test::psnrLuma(m, mid, margin), frc_test::psnrLuma(bl, mid, margin)};
}

TEST(Motion, RebuildsGlobalTranslationsInEveryFormatAndPhase) {
    // Sub-pixel velocities in both directions, per input interval.
    const double velocities[][2] = {{6.5, -3.25}, {-11.0, 4.75}, {0.75, 0.5}};
    for (PixelFormat f : {PixelFormat::kI420, PixelFormat::kNv12, PixelFormat::kNv21}) {
        for (const auto& v : velocities) {
            for (int n : {2, 3}) {
                SCOPED_TRACE(testing::Message() << "format " << static_cast<int>(f) << " v " << v[0]
                                                << "," << v[1] << " n " << n);
                OwnedFrame a(f, kW, kH);
                OwnedFrame b(f, kW, kH);
                OwnedFrame mid(f, kW, kH);
                frc_test::fillTranslated(a, 0, 0);
                frc_test::fillTranslated(b, v[0], v[1]);
                frc_test::fillTranslated(mid, v[0] / n, v[1] / n);
                MotionInterpolator mi;
                const Outcome o = rebuild(a, b, mid, 1, n, mi, 16);
                EXPECT_GT(o.motion, 34.0);
                if (std::abs(v[0]) > 2) {
                    EXPECT_GT(o.motion, o.blend + 8.0);
                }
                // Chroma follows the halved luma vectors.
                OwnedFrame m(f, kW, kH);
                ASSERT_TRUE(mi.interpolate(1, n, m.view()));
                EXPECT_GT(frc_test::psnrChroma(m, mid, 0, 8), 34.0);
                EXPECT_GT(frc_test::psnrChroma(m, mid, 1, 8), 34.0);
                EXPECT_FALSE(mi.lastPairWasSceneCut());
            }
        }
    }
}

TEST(Motion, RebuildsAMovingObjectOverAStillBackground) {
    auto draw = [](OwnedFrame& f, double ox, double oy) {
        f.fill(
            [&](double x, double y) {
                const bool inside = x >= ox && x < ox + 40 && y >= oy && y < oy + 32;
                return frc_test::clamp8(inside ? frc_test::texture(x - ox, y - oy, 3)
                                               : frc_test::texture(x, y, 1));
            },
            [&](int c, double, double) { return c ? 100 : 150; });
    };
    OwnedFrame a(PixelFormat::kNv12, kW, kH);
    OwnedFrame b(PixelFormat::kNv12, kW, kH);
    OwnedFrame mid(PixelFormat::kNv12, kW, kH);
    draw(a, 30, 20);
    draw(mid, 42, 26);
    draw(b, 54, 32);
    MotionInterpolator mi;
    const Outcome o = rebuild(a, b, mid, 1, 2, mi, 0);
    EXPECT_GT(o.motion, o.blend + 4.0);
}

TEST(Motion, FallsBackToBlendOnASceneCut) {
    OwnedFrame a(PixelFormat::kNv12, kW, kH);
    OwnedFrame b(PixelFormat::kNv12, kW, kH);
    frc_test::fillTranslated(a, 0, 0, 0);
    // An unrelated picture: different texture, inverted and brighter.
    b.fill([](double x, double y) { return frc_test::clamp8(255 - frc_test::texture(y, x, 7)); },
           [](int c, double, double) { return c ? 60 : 200; });
    MotionInterpolator mi;
    ASSERT_TRUE(mi.push(a.cview()));
    ASSERT_TRUE(mi.push(b.cview()));
    EXPECT_TRUE(mi.lastPairWasSceneCut());
    OwnedFrame m(PixelFormat::kNv12, kW, kH);
    OwnedFrame bl(PixelFormat::kNv12, kW, kH);
    ASSERT_TRUE(mi.interpolate(1, 2, m.view()));
    ASSERT_TRUE(frc::blendFrames(a.cview(), b.cview(), 1, 2, bl.view()));
    EXPECT_TRUE(m.samePixels(bl));
    EXPECT_EQ(mi.stats().sceneCuts, 1u);
    EXPECT_EQ(mi.stats().fallbackBlocks, mi.stats().blocks);

    // The next pair continues normally, with no cut.
    OwnedFrame c(PixelFormat::kNv12, kW, kH);
    c.fill(
        [](double x, double y) { return frc_test::clamp8(255 - frc_test::texture(y - 3, x, 7)); },
        [](int cc, double, double) { return cc ? 60 : 200; });
    ASSERT_TRUE(mi.push(c.cview()));
    EXPECT_FALSE(mi.lastPairWasSceneCut());
}

// A pan over a repetitive pattern: vectors a period apart fit the two frames equally well, so
// the engine must not bet on one of them; it blends, and so does no worse than blending.
TEST(Motion, BlendsWhereRepetitiveTextureMakesMotionAmbiguous) {
    auto stripes = [](OwnedFrame& f, double dx) {
        f.fill(
            [&](double x, double y) {
                return frc_test::clamp8(128 + 60 * std::sin(2 * M_PI * (x - dx) / 16) +
                                        10 * std::sin(0.05 * y));
            },
            [](int c, double, double) { return c ? 110 : 140; });
    };
    OwnedFrame a(PixelFormat::kNv12, 192, 128);
    OwnedFrame b(PixelFormat::kNv12, 192, 128);
    OwnedFrame mid(PixelFormat::kNv12, 192, 128);
    stripes(a, 0);
    stripes(mid, 5.5);
    stripes(b, 11);  // as consistent with moving 11 pixels right as with 5 left
    MotionInterpolator mi;
    const Outcome o = rebuild(a, b, mid, 1, 2, mi, 0);
    EXPECT_GT(o.motion, o.blend - 0.3);
    EXPECT_GT(mi.stats().fallbackBlocks * 2, mi.stats().blocks);
}

TEST(Motion, StillFramesStayUnchangedAndOddTinyFramesWork) {
    OwnedFrame a(PixelFormat::kI420, kW, kH);
    frc_test::fillTranslated(a, 0, 0);
    MotionInterpolator mi;
    OwnedFrame m(PixelFormat::kI420, kW, kH);
    ASSERT_TRUE(mi.push(a.cview()));
    EXPECT_FALSE(mi.interpolate(1, 2, m.view()));  // no pair yet
    ASSERT_TRUE(mi.push(a.cview()));
    ASSERT_TRUE(mi.interpolate(1, 2, m.view()));
    EXPECT_TRUE(m.samePixels(a));
    EXPECT_FALSE(mi.interpolate(0, 2, m.view()));
    EXPECT_FALSE(mi.interpolate(2, 2, m.view()));
    OwnedFrame wrong(PixelFormat::kNv12, kW, kH);
    EXPECT_FALSE(mi.interpolate(1, 2, wrong.view()));

    // Search ranges far below and above the motion stay in bounds.
    for (int range : {1, 4, 1000}) {
        MotionInterpolator limited(frc::MotionParams{range});
        OwnedFrame x(PixelFormat::kI420, kW, kH);
        OwnedFrame y(PixelFormat::kI420, kW, kH);
        frc_test::fillTranslated(x, 0, 0);
        frc_test::fillTranslated(y, 30, -20);
        ASSERT_TRUE(limited.push(x.cview()));
        ASSERT_TRUE(limited.push(y.cview()));
        ASSERT_TRUE(limited.interpolate(1, 3, m.view()));
        EXPECT_TRUE(m.guardIntact());
    }

    // Sizes that are odd or smaller than a block start a new stream and stay in bounds.
    for (auto [w, h] : {std::pair{1, 1}, {7, 5}, {33, 17}, {161, 97}}) {
        for (PixelFormat f : {PixelFormat::kI420, PixelFormat::kNv21}) {
            OwnedFrame x(f, w, h, 2 * frc::chromaWidth(w) + 6, h + 3);
            OwnedFrame y(f, w, h, 2 * frc::chromaWidth(w) + 6, h + 3);
            OwnedFrame d(f, w, h, 2 * frc::chromaWidth(w) + 6, h + 3);
            frc_test::fillTranslated(x, 0, 0);
            frc_test::fillTranslated(y, 1, 1);
            ASSERT_TRUE(mi.push(x.cview()));
            ASSERT_TRUE(mi.push(y.cview()));
            ASSERT_TRUE(mi.interpolate(1, 2, d.view()));
            EXPECT_TRUE(d.guardIntact());
        }
    }
}

// Phases with large denominators (rates like 24 to 60000/1001) are exact: k/n and the same
// fraction in other terms give the same frame, and the frame sits at its phase.
TEST(Motion, AnyPhaseDenominator) {
    OwnedFrame a(PixelFormat::kNv12, kW, kH);
    OwnedFrame b(PixelFormat::kNv12, kW, kH);
    OwnedFrame mid(PixelFormat::kNv12, kW, kH);
    frc_test::fillTranslated(a, 0, 0);
    frc_test::fillTranslated(b, 12, -6);
    frc_test::fillTranslated(mid, 12 * 0.3, -6 * 0.3);
    MotionInterpolator mi;
    ASSERT_TRUE(mi.push(a.cview()));
    ASSERT_TRUE(mi.push(b.cview()));
    OwnedFrame small(PixelFormat::kNv12, kW, kH);
    OwnedFrame large(PixelFormat::kNv12, kW, kH);
    ASSERT_TRUE(mi.interpolate(3, 10, small.view()));
    ASSERT_TRUE(mi.interpolate(300300, 1001000, large.view()));
    EXPECT_TRUE(small.samePixels(large));
    EXPECT_GT(frc_test::psnrLuma(large, mid, 16), 34.0);
    EXPECT_FALSE(mi.interpolate(1001000, 1001000, large.view()));
}

// Pictures of few rows keep a shallow pyramid and still find large motions.
TEST(Motion, ShortPicturesFindLargeMotions) {
    for (auto [w, h] : {std::pair{320, 40}, {640, 24}}) {
        SCOPED_TRACE(testing::Message() << w << "x" << h);
        OwnedFrame a(PixelFormat::kI420, w, h);
        OwnedFrame b(PixelFormat::kI420, w, h);
        OwnedFrame mid(PixelFormat::kI420, w, h);
        frc_test::fillTranslated(a, 0, 0);
        frc_test::fillTranslated(b, 37, 2);
        frc_test::fillTranslated(mid, 18.5, 1);
        MotionInterpolator mi;
        const Outcome o = rebuild(a, b, mid, 1, 2, mi, 0);
        EXPECT_GT(o.motion, o.blend + 8.0);
    }
}

// The result does not depend on how many threads share the work.
TEST(Motion, SameFramesWithAnyThreadCount) {
    constexpr int w = 200;
    constexpr int h = 424;  // several bands of block rows
    OwnedFrame a(PixelFormat::kI420, w, h);
    OwnedFrame b(PixelFormat::kI420, w, h);
    frc_test::fillTranslated(a, 0, 0);
    frc_test::fillTranslated(b, -9.5, 4.25);
    OwnedFrame out[3] = {OwnedFrame(PixelFormat::kI420, w, h), OwnedFrame(PixelFormat::kI420, w, h),
                         OwnedFrame(PixelFormat::kI420, w, h)};
    const int threads[3] = {1, 2, 5};
    for (int i = 0; i < 3; ++i) {
        MotionInterpolator mi(frc::MotionParams{16, threads[i]});
        ASSERT_TRUE(mi.push(a.cview()));
        ASSERT_TRUE(mi.push(b.cview()));
        ASSERT_TRUE(mi.interpolate(1, 2, out[i].view()));
    }
    EXPECT_TRUE(out[0].samePixels(out[1]));
    EXPECT_TRUE(out[0].samePixels(out[2]));
}

// Strong grain, new in every frame, is not a reason to give up on motion: the allowance for
// a true match follows the noise measured in the picture.
TEST(Motion, KeepsMotionUnderStrongGrain) {
    auto grainy = [](OwnedFrame& f, double dx, int seed) {
        f.fill(
            [&](double x, double y) {
                unsigned v = static_cast<unsigned>(x) * 2654435761u ^
                             static_cast<unsigned>(y) * 40503u ^ static_cast<unsigned>(seed) * 977u;
                v ^= v >> 15;
                v *= 2246822519u;
                v ^= v >> 13;
                const double noise = static_cast<double>(v % 41) - 20;  // uniform, sd ~12
                return frc_test::clamp8(frc_test::texture(x - dx, y) + noise);
            },
            [](int c, double, double) { return c ? 110 : 140; });
    };
    OwnedFrame a(PixelFormat::kNv12, kW, kH);
    OwnedFrame b(PixelFormat::kNv12, kW, kH);
    OwnedFrame clean(PixelFormat::kNv12, kW, kH);
    grainy(a, 0, 1);
    grainy(b, 10, 2);
    frc_test::fillTranslated(clean, 5, 0);
    MotionInterpolator mi;
    const Outcome o = rebuild(a, b, clean, 1, 2, mi, 16);
    EXPECT_FALSE(mi.lastPairWasSceneCut());
    EXPECT_LT(mi.stats().fallbackBlocks * 10, mi.stats().blocks);
    EXPECT_GT(o.motion, o.blend + 3.0);
}

}  // namespace

// A small object of fine texture over a smooth, stripy background: chance matches between
// distant parts of the background fit the object's blocks almost as well as its own motion,
// which the search must still carry from the blocks where it finds it to the whole object.
TEST(Motion, SmallObjectOverStripyBackgroundKeepsItsOwnMotion) {
    constexpr int w = 640;
    constexpr int h = 360;
    constexpr int x0 = 376, y0 = 70, ow = 60, oh = 42;  // the object in the middle frame
    auto smooth = [](double x, double y, double s) {
        return 128 + 45 * std::sin(0.031 * x + 0.017 * y + s) +
               30 * std::sin(0.023 * y - 0.041 * x + 2 * s) +
               22 * std::sin(0.11 * x + 0.07 * y + s) * std::sin(0.05 * y - 0.09 * x) +
               14 * std::sin(0.29 * x - 0.23 * y + 3 * s);
    };
    auto draw = [&](OwnedFrame& f, double ox, double oy) {
        f.fill(
            [&](double x, double y) {
                const double u = x - ox - x0;
                const double v = y - oy - y0;
                const bool inside = u >= 0 && u < ow && v >= 0 && v < oh;
                return frc_test::clamp8(inside ? smooth(3 * (u - 30), 3 * (v - 21), 6.5)
                                               : smooth(x, y, 1.3));
            },
            [](int c, double, double) { return c ? 100 : 150; });
    };
    OwnedFrame a(PixelFormat::kI420, w, h);
    OwnedFrame b(PixelFormat::kI420, w, h);
    OwnedFrame mid(PixelFormat::kI420, w, h);
    draw(a, 4.5, -0.75);
    draw(mid, 0, 0);
    draw(b, -4.5, 0.75);
    MotionInterpolator mi;
    ASSERT_TRUE(mi.push(a.cview()));
    ASSERT_TRUE(mi.push(b.cview()));
    OwnedFrame m(PixelFormat::kI420, w, h);
    ASSERT_TRUE(mi.interpolate(1, 2, m.view()));
    // Error inside the object, away from its edges (where occlusion repair decides).
    double se = 0;
    int count = 0;
    for (int y = y0 + 8; y < y0 + oh - 8; ++y) {
        for (int x = x0 + 8; x < x0 + ow - 8; ++x) {
            const int d = m.view().planes[0][y * m.view().strides[0] + x] -
                          mid.view().planes[0][y * mid.view().strides[0] + x];
            se += d * d;
            ++count;
        }
    }
    EXPECT_LT(std::sqrt(se / count), 6.0);
}

// A small object moving fast over still detail: halfway between its positions both frames
// show the background, which fits standing still, yet the object must appear there (and not
// where it was or will be).
TEST(Motion, SmallFastObjectAppearsHalfway) {
    constexpr int w = 320;
    constexpr int h = 192;
    constexpr double cx = 160, cy = 100, r = 11;  // the disc in the middle frame
    auto draw = [&](OwnedFrame& f, double ox, double oy) {
        f.fill(
            [&](double x, double y) {
                const bool inside = std::hypot(x - cx - ox, y - cy - oy) < r;
                return frc_test::clamp8(inside ? 230 - 4 * std::abs(y - cy - oy)
                                               : frc_test::texture(x, y, 1));
            },
            [](int c, double, double) { return c ? 100 : 150; });
    };
    OwnedFrame a(PixelFormat::kI420, w, h);
    OwnedFrame b(PixelFormat::kI420, w, h);
    OwnedFrame mid(PixelFormat::kI420, w, h);
    draw(a, -22, 7);
    draw(mid, 0, 0);
    draw(b, 22, -7);
    MotionInterpolator mi;
    ASSERT_TRUE(mi.push(a.cview()));
    ASSERT_TRUE(mi.push(b.cview()));
    OwnedFrame m(PixelFormat::kI420, w, h);
    ASSERT_TRUE(mi.interpolate(1, 2, m.view()));
    // The disc's inner part halfway: where the disc is missing the error is about 100.
    double se = 0;
    int count = 0;
    for (int y = static_cast<int>(cy - r); y <= cy + r; ++y) {
        for (int x = static_cast<int>(cx - r); x <= cx + r; ++x) {
            if (std::hypot(x - cx, y - cy) > r - 3) continue;
            const int d = m.view().planes[0][y * m.view().strides[0] + x] -
                          mid.view().planes[0][y * mid.view().strides[0] + x];
            se += d * d;
            ++count;
        }
    }
    EXPECT_LT(std::sqrt(se / count), 60.0);
}
