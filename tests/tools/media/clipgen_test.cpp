// Tests of the demo clip generator: determinism, real motion, texture detail, sizes and output.
#include "media/clipgen.h"

#include <gtest/gtest.h>

#include <cmath>

#include "descriptors.h"
#include "media/y4m.h"
#include "temp_dir.h"

namespace {

using media::ClipGenerator;
using media::ClipOptions;

std::vector<uint8_t> Render(const ClipGenerator& generator, double time) {
    std::vector<uint8_t> frame(generator.frameSize());
    generator.Render(time, frame.data());
    return frame;
}

// The default 640x360 clip pans by (2, 1) pixels a frame: away from the ball a frame is the
// previous one shifted exactly, and the ball moves. The background has fine grain between
// neighbours, larger structure further apart, and coloured chroma.
TEST(ClipGeneratorTest, FramesPanAroundAMovingBallOverADetailedBackground) {
    ClipOptions options;
    ClipGenerator generator;
    ASSERT_TRUE(generator.Init(options, nullptr));
    const int w = options.width, h = options.height;
    for (int t : {0, 10, 30}) {
        const auto prev = Render(generator, t), next = Render(generator, t + 1);
        double px, py, nx, ny;
        generator.BallCentre(t, &px, &py);
        generator.BallCentre(t + 1, &nx, &ny);
        EXPECT_GT(std::hypot(nx - px, ny - py), 3.0) << "the ball does not move";
        const double r = generator.ballRadius() + 2;
        size_t compared = 0, shifted = 0, unshifted = 0;
        for (int y = 0; y + 1 < h; ++y) {
            for (int x = 0; x + 2 < w; ++x) {
                if (std::hypot(x + 0.5 - nx, y + 0.5 - ny) <= r ||
                    std::hypot(x + 2.5 - px, y + 1.5 - py) <= r) {
                    continue;
                }
                ++compared;
                shifted += next[size_t(y) * w + x] == prev[size_t(y + 1) * w + x + 2];
                unshifted += next[size_t(y) * w + x] == prev[size_t(y) * w + x];
            }
        }
        EXPECT_GT(compared, size_t(w * h) * 8 / 10) << t;
        EXPECT_EQ(shifted, compared) << t;
        EXPECT_LT(unshifted, compared / 4) << t;
        // Where the ball is now, the picture differs from the shifted previous frame.
        const size_t bx = static_cast<size_t>(nx), by = static_cast<size_t>(ny);
        EXPECT_TRUE(bx + 2 >= size_t(w) || by + 1 >= size_t(h) ||
                    next[by * w + bx] != prev[(by + 1) * w + bx + 2])
            << t;
    }
    const auto frame = Render(generator, 0);
    auto meanAbsDiff = [&](int step) {
        double sum = 0;
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x + step < w; ++x) {
                sum += std::abs(frame[size_t(y) * w + x] - frame[size_t(y) * w + x + step]);
            }
        }
        return sum / (h * (w - step));
    };
    EXPECT_GT(meanAbsDiff(1), 2.0);
    EXPECT_GT(meanAbsDiff(8), meanAbsDiff(1) * 1.5);
    EXPECT_GT(meanAbsDiff(64), meanAbsDiff(8) * 1.2);
    const auto u = frame.begin() + w * h;
    const auto [minU, maxU] = std::minmax_element(u, u + (w / 2) * (h / 2));
    EXPECT_GT(*maxU - *minU, 40);
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
        EXPECT_EQ(Render(generator, 3).size(), generator.frameSize());
    }
    const std::pair<void (*)(ClipOptions&), const char*> rejected[] = {
        {[](ClipOptions& o) { o.width = 641; }, "641x360"},
        {[](ClipOptions& o) { o.height = 0; }, "640x0"},
        {[](ClipOptions& o) { o.frames = 0; }, "0 frames"},
        {[](ClipOptions& o) { o.fpsDen = 0; }, "30/0"},
        {[](ClipOptions& o) { o.panX = NAN; }, "motion"},
    };
    for (const auto& [change, text] : rejected) {
        ClipOptions options;
        change(options);
        ClipGenerator generator;
        std::string error;
        EXPECT_FALSE(generator.Init(options, &error)) << text;
        EXPECT_NE(error.find(text), std::string::npos) << error;
    }
}

// The file holds what a generator of the same options renders; another seed, another picture.
TEST(ClipGeneratorTest, WriteClipProducesTheRenderedFramesOfItsSeed) {
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
    for (; reader.Read(frame.data(), &error) == media::Y4mReader::Result::kFrame; ++count) {
        EXPECT_EQ(frame, Render(generator, count)) << "frame " << count;
    }
    EXPECT_EQ(count, 5) << error;
    reader.Close();
    options.seed = 2;
    ClipGenerator other;
    ASSERT_TRUE(other.Init(options, nullptr));
    for (int t : {0, 4}) EXPECT_NE(Render(other, t), Render(generator, t)) << t;
    options.width = 63;
    EXPECT_FALSE(media::WriteClip(dir.File("bad.y4m"), options, &error));
    EXPECT_EQ(dir.Entries(), std::vector<std::string>{"demo.y4m"});
    EXPECT_EQ(testsupport::OpenDescriptorCount(), fds);
}

}  // namespace
