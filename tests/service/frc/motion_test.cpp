// Tests of motion-compensated interpolation: known translations and moving objects must be rebuilt
// far better than by blending; scene cuts and bad input fall back to blend.
#include "frc/motion.h"

#include <gtest/gtest.h>

#include <cmath>

#include "frc/ops.h"
#include "frc_test_util.h"

namespace {

using frc::MotionInterpolator;
using frc::PixelFormat;
using frc_test::clamp8;
using frc_test::OwnedFrame;
using frc_test::texture;
using Draw = std::function<void(OwnedFrame &, double)>;

constexpr int kW = 160;
constexpr int kH = 96;

// A scene drawn at time 0 (a), at time t (mid, the frame to rebuild) and at time 1 (b).
struct Scene {
    Scene(PixelFormat f, int w, int h, const Draw &draw, double t = 0.5)
        : a(f, w, h), mid(f, w, h), b(f, w, h) {
        draw(a, 0);
        draw(mid, t);
        draw(b, 1);
    }
    OwnedFrame a, mid, b;
};

// The texture moving by (vx, vy) pixels from time 0 to time 1.
Draw pan(double vx, double vy) {
    return [=](OwnedFrame &f, double t) { frc_test::fillTranslated(f, vx * t, vy * t); };
}

// Luma from fy(x, y) over flat chroma.
void fillLuma(OwnedFrame &f, const std::function<double(double, double)> &fy) {
    f.fill([&](double x, double y) { return clamp8(fy(x, y)); },
           [](int c, double, double) { return c ? 100 : 150; });
}

// The frame that mi interpolates at k/n between the scene's a and b.
OwnedFrame interpolate(MotionInterpolator &mi, const Scene &s, int k = 1, int n = 2) {
    OwnedFrame m(s.a.view().format, s.a.width(), s.a.height());
    EXPECT_TRUE(mi.push(s.a.cview()));
    EXPECT_TRUE(mi.push(s.b.cview()));
    EXPECT_TRUE(mi.interpolate(k, n, m.view()));
    return m;
}

struct Outcome {
    OwnedFrame frame;
    double motion, blend;  // luma PSNR of the motion and blend frames against mid
};

Outcome rebuild(const Scene &s, MotionInterpolator &mi, int margin = 0, int n = 2) {
    OwnedFrame m = interpolate(mi, s, 1, n);
    OwnedFrame bl(s.a.view().format, s.a.width(), s.a.height());
    EXPECT_TRUE(frc::blendFrames(s.a.cview(), s.b.cview(), 1, n, bl.view()));
    const double motion = frc_test::psnr(m, s.mid, -1, margin);
    return {std::move(m), motion, frc_test::psnr(bl, s.mid, -1, margin)};
}

// Root mean square luma error of m against want over the samples of a rectangle where inside.
double rmsError(const OwnedFrame &m, const OwnedFrame &want, int x0, int y0, int x1, int y1,
                const std::function<bool(int, int)> &inside) {
    double se = 0;
    int count = 0;
    for (int y = y0; y <= y1; ++y) {
        for (int x = x0; x <= x1; ++x) {
            if (!inside(x, y)) continue;
            const int d = m.at(0, x, y) - want.at(0, x, y);
            se += d * d;
            ++count;
        }
    }
    return std::sqrt(se / count);
}

TEST(Motion, RebuildsGlobalTranslationsInEveryFormatAndPhase) {
    // Sub-pixel velocities in both directions, per input interval.
    const double velocities[][2] = {{6.5, -3.25}, {-11.0, 4.75}, {0.75, 0.5}};
    for (PixelFormat f : {PixelFormat::kI420, PixelFormat::kNv12, PixelFormat::kNv21}) {
        for (const auto &v : velocities) {
            for (int n : {2, 3}) {
                SCOPED_TRACE(testing::Message() << "format " << static_cast<int>(f) << " v " << v[0]
                                                << "," << v[1] << " n " << n);
                const Scene s(f, kW, kH, pan(v[0], v[1]), 1.0 / n);
                MotionInterpolator mi;
                const Outcome o = rebuild(s, mi, 16, n);
                EXPECT_GT(o.motion, 34.0);
                EXPECT_TRUE(std::abs(v[0]) < 2 || o.motion > o.blend + 8.0);
                // Chroma follows the halved luma vectors.
                EXPECT_GT(frc_test::psnr(o.frame, s.mid, 0, 8), 34.0);
                EXPECT_GT(frc_test::psnr(o.frame, s.mid, 1, 8), 34.0);
                EXPECT_FALSE(mi.lastPairWasSceneCut());
            }
        }
    }
}

TEST(Motion, RebuildsAMovingObjectOverAStillBackground) {
    const Scene s(PixelFormat::kNv12, kW, kH, [](OwnedFrame &f, double t) {
        const double ox = 30 + 24 * t, oy = 20 + 12 * t;
        fillLuma(f, [&](double x, double y) {
            const bool inside = x >= ox && x < ox + 40 && y >= oy && y < oy + 32;
            return inside ? texture(x - ox, y - oy, 3) : texture(x, y, 1);
        });
    });
    MotionInterpolator mi;
    const Outcome o = rebuild(s, mi);
    EXPECT_GT(o.motion, o.blend + 4.0);
}

TEST(Motion, FallsBackToBlendOnASceneCut) {
    // b, an unrelated picture (another texture, inverted, brighter), then mid, b moved 3 pixels.
    const Scene s(PixelFormat::kNv12, kW, kH, [](OwnedFrame &f, double t) {
        if (t == 0) {
            frc_test::fillTranslated(f, 0, 0);
        } else {
            f.fill([t](double x, double y) { return clamp8(255 - texture(y - 6 * t + 3, x, 7)); },
                   [](int c, double, double) { return c ? 60 : 200; });
        }
    });
    MotionInterpolator mi;
    OwnedFrame m = interpolate(mi, s);
    EXPECT_TRUE(mi.lastPairWasSceneCut());
    OwnedFrame bl(PixelFormat::kNv12, kW, kH);
    ASSERT_TRUE(frc::blendFrames(s.a.cview(), s.b.cview(), 1, 2, bl.view()));
    EXPECT_TRUE(m.samePixels(bl));
    EXPECT_EQ(mi.stats().sceneCuts, 1u);
    EXPECT_EQ(mi.stats().fallbackBlocks, mi.stats().blocks);
    // The next pair continues normally, with no cut.
    ASSERT_TRUE(mi.push(s.mid.cview()));
    EXPECT_FALSE(mi.lastPairWasSceneCut());
}

// A pan over a repetitive pattern: vectors a period apart fit the two frames equally well, so the
// engine must not bet on one of them; it blends, and so does no worse than blending.
TEST(Motion, BlendsWhereRepetitiveTextureMakesMotionAmbiguous) {
    // 11 pixels a frame: as consistent with moving 11 pixels right as with 5 left.
    const Scene s(PixelFormat::kNv12, 192, 128, [](OwnedFrame &f, double t) {
        fillLuma(f, [t](double x, double y) {
            return 128 + 60 * std::sin(2 * M_PI * (x - 11 * t) / 16) + 10 * std::sin(0.05 * y);
        });
    });
    MotionInterpolator mi;
    const Outcome o = rebuild(s, mi);
    EXPECT_GT(o.motion, o.blend - 0.3);
    EXPECT_GT(mi.stats().fallbackBlocks * 2, mi.stats().blocks);
}

TEST(Motion, StillFramesStayUnchangedAndOddTinyFramesWork) {
    const Scene still(PixelFormat::kI420, kW, kH, pan(0, 0));
    MotionInterpolator mi;
    OwnedFrame m(PixelFormat::kI420, kW, kH);
    ASSERT_TRUE(mi.push(still.a.cview()));
    EXPECT_FALSE(mi.interpolate(1, 2, m.view()));  // no pair yet
    ASSERT_TRUE(mi.push(still.b.cview()));
    ASSERT_TRUE(mi.interpolate(1, 2, m.view()));
    EXPECT_TRUE(m.samePixels(still.a));
    EXPECT_FALSE(mi.interpolate(0, 2, m.view()));
    EXPECT_FALSE(mi.interpolate(2, 2, m.view()));
    OwnedFrame wrong(PixelFormat::kNv12, kW, kH);
    EXPECT_FALSE(mi.interpolate(1, 2, wrong.view()));

    // Search ranges far below and above the motion stay in bounds.
    const Scene fast(PixelFormat::kI420, kW, kH, pan(30, -20));
    for (int range : {1, 4, 1000}) {
        MotionInterpolator limited(frc::MotionParams{range});
        EXPECT_TRUE(interpolate(limited, fast, 1, 3).guardIntact());
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

// Phases with large denominators (rates like 24 to 60000/1001) are exact: k/n and the same fraction
// in other terms give the same frame, and the frame sits at its phase.
TEST(Motion, AnyPhaseDenominator) {
    const Scene s(PixelFormat::kNv12, kW, kH, pan(12, -6), 0.3);
    MotionInterpolator mi;
    const OwnedFrame small = interpolate(mi, s, 3, 10);
    OwnedFrame large(PixelFormat::kNv12, kW, kH);
    ASSERT_TRUE(mi.interpolate(300300, 1001000, large.view()));
    EXPECT_TRUE(small.samePixels(large));
    EXPECT_GT(frc_test::psnr(large, s.mid, -1, 16), 34.0);
    EXPECT_FALSE(mi.interpolate(1001000, 1001000, large.view()));
}

// Pictures of few rows keep a shallow pyramid and still find large motions.
TEST(Motion, ShortPicturesFindLargeMotions) {
    for (auto [w, h] : {std::pair{320, 40}, {640, 24}}) {
        SCOPED_TRACE(testing::Message() << w << "x" << h);
        MotionInterpolator mi;
        const Outcome o = rebuild(Scene(PixelFormat::kI420, w, h, pan(37, 2)), mi);
        EXPECT_GT(o.motion, o.blend + 8.0);
    }
}

// The result does not depend on how many threads share the work.
TEST(Motion, SameFramesWithAnyThreadCount) {
    // 424 rows: several bands of block rows.
    const Scene s(PixelFormat::kI420, 200, 424, pan(-9.5, 4.25));
    MotionInterpolator one(frc::MotionParams{16, 1});
    const OwnedFrame reference = interpolate(one, s);
    for (int threads : {2, 5}) {
        MotionInterpolator mi(frc::MotionParams{16, threads});
        EXPECT_TRUE(interpolate(mi, s).samePixels(reference)) << threads;
    }
}

// Strong grain, new in every frame, is not a reason to give up on motion: the allowance for a true
// match follows the noise measured in the picture.
TEST(Motion, KeepsMotionUnderStrongGrain) {
    Scene s(PixelFormat::kNv12, kW, kH, [](OwnedFrame &f, double t) {
        fillLuma(f, [t](double x, double y) {
            unsigned v = static_cast<unsigned>(x) * 2654435761u ^
                         static_cast<unsigned>(y) * 40503u ^ static_cast<unsigned>(1 + t) * 977u;
            v ^= v >> 15;
            v *= 2246822519u;
            v ^= v >> 13;
            return texture(x - 10 * t, y) + static_cast<double>(v % 41) - 20;  // sd ~12
        });
    });
    frc_test::fillTranslated(s.mid, 5, 0);  // compared with the clean picture
    MotionInterpolator mi;
    const Outcome o = rebuild(s, mi, 16);
    EXPECT_FALSE(mi.lastPairWasSceneCut());
    EXPECT_LT(mi.stats().fallbackBlocks * 10, mi.stats().blocks);
    EXPECT_GT(o.motion, o.blend + 3.0);
}

// A small object of fine texture over a smooth, stripy background: chance matches between distant
// parts of the background fit the object's blocks almost as well as its own motion, which the
// search must still carry from the blocks where it finds it to the whole object.
TEST(Motion, SmallObjectOverStripyBackgroundKeepsItsOwnMotion) {
    constexpr int x0 = 376, y0 = 70, ow = 60,
                  oh = 42;  // the object in the middle frame
    auto smooth = [](double x, double y, double s) {
        return 128 + 45 * std::sin(0.031 * x + 0.017 * y + s) +
               30 * std::sin(0.023 * y - 0.041 * x + 2 * s) +
               22 * std::sin(0.11 * x + 0.07 * y + s) * std::sin(0.05 * y - 0.09 * x) +
               14 * std::sin(0.29 * x - 0.23 * y + 3 * s);
    };
    const Scene s(PixelFormat::kI420, 640, 360, [&](OwnedFrame &f, double t) {
        fillLuma(f, [&](double x, double y) {
            const double u = x - 4.5 * (1 - 2 * t) - x0, v = y + 0.75 * (1 - 2 * t) - y0;
            const bool inside = u >= 0 && u < ow && v >= 0 && v < oh;
            return inside ? smooth(3 * (u - 30), 3 * (v - 21), 6.5) : smooth(x, y, 1.3);
        });
    });
    MotionInterpolator mi;
    // Inside the object, away from its edges (where occlusion repair decides).
    EXPECT_LT(rmsError(interpolate(mi, s), s.mid, x0 + 8, y0 + 8, x0 + ow - 9, y0 + oh - 9,
                       [](int, int) { return true; }),
              6.0);
}

// A small object moving fast over still detail: halfway between its positions both frames show the
// background, which fits standing still, yet the object must appear there (and not where it was or
// will be).
TEST(Motion, SmallFastObjectAppearsHalfway) {
    constexpr int cx = 160, cy = 100, r = 11;  // the disc in the middle frame
    const Scene s(PixelFormat::kI420, 320, 192, [](OwnedFrame &f, double t) {
        const double ox = cx - 22 * (1 - 2 * t), oy = cy + 7 * (1 - 2 * t);
        fillLuma(f, [&](double x, double y) {
            return std::hypot(x - ox, y - oy) < r ? 230 - 4 * std::abs(y - oy) : texture(x, y, 1);
        });
    });
    MotionInterpolator mi;
    // The disc's inner part halfway: where the disc is missing the error is about 100.
    EXPECT_LT(rmsError(interpolate(mi, s), s.mid, cx - r, cy - r, cx + r, cy + r,
                       [](int x, int y) { return std::hypot(x - cx, y - cy) <= r - 3; }),
              60.0);
}

}  // namespace
