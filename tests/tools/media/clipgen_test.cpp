// Tests of the demo clip generator: determinism, real motion, texture detail, sizes and output.
#include "media/clipgen.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "descriptors.h"
#include "temp_dir.h"

namespace {

using media::ClipGenerator;
using media::ClipOptions;

std::vector<uint8_t> Render(const ClipGenerator& generator, double time) {
    std::vector<uint8_t> frame(generator.frameSize());
    generator.Render(time, frame.data());
    return frame;
}

TEST(ClipGeneratorTest, SameSeedSameBytesOtherSeedOtherPicture) {
    ClipOptions options;
    options.width = 160;
    options.height = 90;
    ClipGenerator a, b, c;
    ASSERT_TRUE(a.Init(options, nullptr));
    ASSERT_TRUE(b.Init(options, nullptr));
    options.seed = 2;
    ASSERT_TRUE(c.Init(options, nullptr));
    for (int t : {0, 7, 59}) {
        EXPECT_EQ(Render(a, t), Render(b, t)) << "frame " << t;
        EXPECT_NE(Render(a, t), Render(c, t)) << "frame " << t;
    }
}

// Consecutive frames differ, and the background between them is the previous frame shifted by
// the pan: away from the ball the pixels match exactly, while most do not match unshifted.
TEST(ClipGeneratorTest, FramesMoveByAPanPlusAMovingBall) {
    ClipOptions options;  // the default 640x360 clip, pan (2, 1) pixels a frame
    ClipGenerator generator;
    ASSERT_TRUE(generator.Init(options, nullptr));
    const int w = options.width, h = options.height, dx = 2, dy = 1;
    const double r = generator.ballRadius();
    for (int t : {0, 10, 30}) {
        SCOPED_TRACE(t);
        auto prev = Render(generator, t), next = Render(generator, t + 1);
        double px, py, nx, ny;
        generator.BallCentre(t, &px, &py);
        generator.BallCentre(t + 1, &nx, &ny);
        EXPECT_GT(std::hypot(nx - px, ny - py), 3.0) << "the ball does not move";
        size_t compared = 0, shiftedEqual = 0, unshiftedEqual = 0;
        for (int y = 0; y + dy < h; ++y) {
            for (int x = 0; x + dx < w; ++x) {
                auto farFromBall = [&](double cx, double cy, int px2, int py2) {
                    return std::hypot(px2 + 0.5 - cx, py2 + 0.5 - cy) > r + 2;
                };
                if (!farFromBall(nx, ny, x, y) || !farFromBall(px, py, x + dx, y + dy)) continue;
                ++compared;
                shiftedEqual += next[size_t(y) * w + x] == prev[size_t(y + dy) * w + x + dx];
                unshiftedEqual += next[size_t(y) * w + x] == prev[size_t(y) * w + x];
            }
        }
        EXPECT_GT(compared, size_t(w * h) * 8 / 10);
        EXPECT_EQ(shiftedEqual, compared);
        EXPECT_LT(unshiftedEqual, compared / 4);

        // Where the ball is now, the picture differs from the shifted previous frame.
        const int bx = static_cast<int>(nx), by = static_cast<int>(ny);
        if (bx + dx < w && by + dy < h) {
            EXPECT_NE(next[size_t(by) * w + bx], prev[size_t(by + dy) * w + bx + dx]);
        }
    }
}

// The background is not flat: it has contrast, fine grain between neighbours and larger
// structure further apart.
TEST(ClipGeneratorTest, BackgroundHasDetailAtSeveralScales) {
    ClipOptions options;
    ClipGenerator generator;
    ASSERT_TRUE(generator.Init(options, nullptr));
    auto frame = Render(generator, 0);
    const int w = options.width, h = options.height;
    auto meanAbsDiff = [&](int step) {
        double sum = 0;
        int n = 0;
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x + step < w; ++x) {
                sum += std::abs(frame[size_t(y) * w + x] - frame[size_t(y) * w + x + step]);
                ++n;
            }
        }
        return sum / n;
    };
    const double fine = meanAbsDiff(1), medium = meanAbsDiff(8), coarse = meanAbsDiff(64);
    EXPECT_GT(fine, 2.0);
    EXPECT_GT(medium, fine * 1.5);
    EXPECT_GT(coarse, medium * 1.2);
    // Chroma varies as well.
    const uint8_t* u = frame.data() + size_t(w) * h;
    int minU = 255, maxU = 0;
    for (size_t i = 0; i < size_t(w / 2) * (h / 2); ++i) {
        minU = std::min<int>(minU, u[i]);
        maxU = std::max<int>(maxU, u[i]);
    }
    EXPECT_GT(maxU - minU, 40);
}

TEST(ClipGeneratorTest, AcceptsAnyEvenSizeAndRejectsBadOptions) {
    for (auto [w, h] : {std::pair{2, 2}, std::pair{18, 10}, std::pair{1000, 2}}) {
        ClipOptions options;
        options.width = w;
        options.height = h;
        ClipGenerator generator;
        std::string error;
        ASSERT_TRUE(generator.Init(options, &error)) << error;
        EXPECT_EQ(generator.frameSize(), media::I420FrameSize(w, h));
        auto a = Render(generator, 0), b = Render(generator, 3);
        EXPECT_EQ(a.size(), generator.frameSize());
    }
    auto rejected = [](auto change, const char* text) {
        ClipOptions options;
        change(options);
        ClipGenerator generator;
        std::string error;
        EXPECT_FALSE(generator.Init(options, &error)) << text;
        EXPECT_NE(error.find(text), std::string::npos) << error;
    };
    rejected([](ClipOptions& o) { o.width = 641; }, "641x360");
    rejected([](ClipOptions& o) { o.height = 0; }, "640x0");
    rejected([](ClipOptions& o) { o.frames = 0; }, "0 frames");
    rejected([](ClipOptions& o) { o.fpsDen = 0; }, "30/0");
    rejected([](ClipOptions& o) { o.panX = NAN; }, "motion");
}

TEST(ClipGeneratorTest, WriteClipProducesTheRenderedFrames) {
    testsupport::TempDir dir;
    const int fds = testsupport::OpenDescriptorCount();
    ClipOptions options;
    options.width = 64;
    options.height = 36;
    options.frames = 5;
    options.fpsNum = 25;
    std::string path = dir.File("demo.y4m"), error;
    ASSERT_TRUE(media::WriteClip(path, options, &error)) << error;

    ClipGenerator generator;
    ASSERT_TRUE(generator.Init(options, nullptr));
    media::Y4mReader reader;
    ASSERT_TRUE(reader.Open(path, &error)) << error;
    EXPECT_EQ(reader.format().width, 64);
    EXPECT_EQ(reader.format().fpsNum, 25);
    std::vector<uint8_t> frame(generator.frameSize());
    int count = 0;
    while (reader.Read(frame.data(), &error) == media::Y4mReader::Result::kFrame) {
        EXPECT_EQ(frame, Render(generator, count)) << "frame " << count;
        ++count;
    }
    EXPECT_EQ(count, 5) << error;
    reader.Close();

    options.width = 63;
    EXPECT_FALSE(media::WriteClip(dir.File("bad.y4m"), options, &error));
    EXPECT_EQ(dir.Entries(), std::vector<std::string>{"demo.y4m"});
    EXPECT_EQ(testsupport::OpenDescriptorCount(), fds);
}

}  // namespace
