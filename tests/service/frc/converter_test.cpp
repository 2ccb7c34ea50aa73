// Tests of the converter's output schedule for integer factors and rate ratios: grid positions,
// phases, timestamps, rendered pixels, stream end, mode changes, validation.
#include "frc/converter.h"

#include <gtest/gtest.h>

#include <iterator>
#include <limits>
#include <thread>
#include <tuple>

#include "frc/ops.h"
#include "frc_test_util.h"

namespace {

using frc::Converter;
using frc::ConverterConfig;
using frc::ConvertStatus;
using frc::FrcMode;
using frc::OutputFrame;
using frc::PixelFormat;
using frc_test::OwnedFrame;
using Outputs = std::vector<OutputFrame>;

ConverterConfig config(FrcMode mode, int factor, int num = 0, int den = 0) {
    ConverterConfig c;
    std::tie(c.mode, c.factor, c.rateNum, c.rateDen) = std::tie(mode, factor, num, den);
    return c;
}

std::vector<OwnedFrame> movingFrames(size_t count, PixelFormat format = PixelFormat::kNv12,
                                     int width = 64, int height = 48) {
    std::vector<OwnedFrame> frames;
    for (size_t i = 0; i < count; ++i) {
        frames.emplace_back(format, width, height);
        frc_test::fillTranslated(frames.back(), 2.0 * i, 1.0 * i);
    }
    return frames;
}

// Pushes frames (tag i at ts[i]), finishes, and renders every output into a padded frame:
// input frames and repeats come out bit-exact, blends exactly at phase / factor, nothing is
// written past the picture. Returns the outputs in order (and the rendered frames, and the push
// that returned each, frames.size() for finish()).
Outputs runStream(Converter* conv, const std::vector<OwnedFrame>& frames,
                  const std::vector<int64_t>& ts, std::vector<OwnedFrame>* rendered = nullptr,
                  std::vector<size_t>* pushes = nullptr) {
    Outputs all, out;
    auto renderNew = [&](size_t push) {
        for (const OutputFrame& o : out) {
            const frc::FrameView& f = frames[o.tag].view();
            OwnedFrame dst(f.format, f.width, f.height, f.strides[0] + 16, f.height + 2);
            EXPECT_EQ(conv->render(o, dst.view()), ConvertStatus::kOk);
            EXPECT_TRUE(dst.guardIntact());
            if (o.kind == OutputFrame::Kind::kInterpolated &&
                conv->config().mode == FrcMode::kBlend) {
                OwnedFrame want(f.format, f.width, f.height);
                EXPECT_TRUE(frc::blendFrames(frames[o.tag].cview(), frames[o.nextTag].cview(),
                                             o.phase, o.factor, want.view()));
                EXPECT_TRUE(dst.samePixels(want)) << "blend " << o.tag << " phase " << o.phase;
            } else if (o.kind != OutputFrame::Kind::kInterpolated ||
                       conv->config().mode == FrcMode::kRepeat) {
                EXPECT_TRUE(dst.samePixels(frames[o.tag])) << "frame " << o.tag;
            }
            if (rendered != nullptr) rendered->push_back(std::move(dst));
            if (pushes != nullptr) pushes->push_back(push);
            all.push_back(o);
        }
        out.clear();
    };
    for (size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(conv->push(frames[i].cview(), ts[i], i, &out), ConvertStatus::kOk);
        renderNew(i);
    }
    conv->finish(&out);
    renderNew(frames.size());
    return all;
}

std::vector<int64_t> evenly(size_t count, int64_t base, int64_t interval) {
    std::vector<int64_t> ts;
    for (size_t i = 0; i < count; ++i) ts.push_back(base + static_cast<int64_t>(i) * interval);
    return ts;
}

// Output j lies at input position j * q / p: its input, phase and timestamp follow exactly, and
// only the last output, when its input is on the grid, is marked last.
void expectGrid(const Outputs& outputs, int p, int q, const std::vector<int64_t>& ts,
                bool lastMarked = true) {
    const size_t last = ts.size() - 1;
    ASSERT_EQ(outputs.size(), last * p / q + 1);
    for (size_t j = 0; j < outputs.size(); ++j) {
        SCOPED_TRACE(testing::Message() << "output " << j);
        const int64_t position = static_cast<int64_t>(j) * q;
        const OutputFrame& o = outputs[j];
        const size_t tag = static_cast<size_t>(position / p);
        EXPECT_EQ(o.tag, tag);
        EXPECT_EQ(o.phase, position % p);
        EXPECT_EQ(o.kind,
                  o.phase == 0 ? OutputFrame::Kind::kInput : OutputFrame::Kind::kInterpolated);
        if (o.phase != 0) {
            EXPECT_EQ(o.factor, p);
            EXPECT_EQ(o.nextTag, tag + 1);
            EXPECT_EQ(o.timestamp, ts[tag] + o.phase * (ts[tag + 1] - ts[tag]) / p);
        } else {
            EXPECT_EQ(o.timestamp, ts[tag]);
        }
        EXPECT_EQ(o.last, lastMarked && j + 1 == outputs.size() && last * p % q == 0);
    }
}

TEST(Converter, EveryModeFactorAndRatioFollowsTheGrid) {
    // Uneven input intervals (a 33333/33334 us cadence) exercise the rounding.
    const std::vector<int64_t> uneven = {1000, 34333, 67667};
    for (FrcMode mode : {FrcMode::kOff, FrcMode::kRepeat, FrcMode::kBlend, FrcMode::kMotion}) {
        for (int n = 2; n <= (mode == FrcMode::kOff ? 2 : 8); ++n) {
            SCOPED_TRACE(testing::Message() << "mode " << static_cast<int>(mode) << " n " << n);
            Converter conv(config(mode, n));
            const auto format = n % 2 ? PixelFormat::kI420 : PixelFormat::kNv12;
            std::vector<size_t> pushes;
            const Outputs out = runStream(&conv, movingFrames(3, format), uneven, nullptr, &pushes);
            const int p = mode == FrcMode::kOff ? 1 : n;
            // Off passes each frame at once; the other modes return a group as soon as the
            // frame after it arrives.
            for (size_t j = 0; j < out.size(); ++j) {
                EXPECT_EQ(pushes[j], out[j].tag + (mode == FrcMode::kOff ? 0 : 1)) << j;
            }
            // Mode off passes each frame at once: finish() has nothing left to mark.
            expectGrid(out, p, 1, uneven, mode != FrcMode::kOff);
            EXPECT_EQ(conv.stats().outputs, out.size());
        }
        // 60/24 = 5/2: inputs 5 ticks apart put outputs exactly 2 ticks apart, at phases 0, .4,
        // .8, .2, .6, then again.
        if (mode == FrcMode::kOff) continue;
        Converter conv(config(mode, 0, 60, 24));
        const auto ts = evenly(7, 1000, 5);
        expectGrid(runStream(&conv, movingFrames(7), ts), 5, 2, ts);
    }
    // 24 -> 60000/1001 frames/s is the ratio 2500/1001; timestamps close to INT64_MAX must not
    // overflow in the in-between arithmetic.
    Converter conv(config(FrcMode::kBlend, 0, 60000, 24 * 1001));
    const auto ts = evenly(50, std::numeric_limits<int64_t>::max() - 60 * 2500, 2500);
    expectGrid(runStream(&conv, movingFrames(50, PixelFormat::kNv12, 32, 16), ts), 2500, 1001, ts);
    // Timestamps at the ends of the range: half way from the minimum to the maximum is -1.
    Converter ends(config(FrcMode::kBlend, 4));
    const int64_t kMin = std::numeric_limits<int64_t>::min(), kMax = -(kMin + 1);
    const Outputs out = runStream(&ends, movingFrames(3), {kMin, kMax, kMin});
    ASSERT_EQ(out.size(), 9u);
    EXPECT_EQ(
        std::make_tuple(out[0].timestamp, out[2].timestamp, out[4].timestamp, out[8].timestamp),
        std::make_tuple(kMin, int64_t{-1}, kMax, kMin));
    for (size_t k = 1; k < 9; ++k) EXPECT_EQ(out[k - 1].timestamp < out[k].timestamp, k <= 4) << k;
}

TEST(Converter, StreamEndsWithTheLastFrameOnTheGridOrAFullGroupOfRepeats) {
    constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
    const struct {
        ConverterConfig config;
        size_t inputs;
        int64_t base, interval;
        std::vector<int64_t> timestamps;  // of the outputs
    } cases[] = {
        // 3 inputs at 5/2: outputs at 0, .4, .8, 1.2, 1.6 and input 2.
        {config(FrcMode::kBlend, 0, 5, 2), 3, 0, 10, {0, 4, 8, 12, 16, 20}},
        // Input 1 (position 2.5 outputs) is off the grid and does not come out.
        {config(FrcMode::kBlend, 0, 5, 2), 2, 0, 10, {0, 4, 8}},
        // A full group repeats the last frame over one more input interval.
        {config(FrcMode::kBlend, 0, 5, 2), 2, 0, 10, {0, 4, 8, 12, 16}},
        {config(FrcMode::kBlend, 4), 2, 0, 20, {0, 5, 10, 15, 20, 25, 30, 35}},
        // Repeats due past the end of the timeline stay at its end.
        {config(FrcMode::kBlend, 4),
         2,
         kMax - 30,
         20,
         {kMax - 30, kMax - 25, kMax - 20, kMax - 15, kMax - 10, kMax - 5, kMax, kMax}},
        // A stream of one frame has no interval to continue: the frame comes out alone.
        {config(FrcMode::kBlend, 4), 1, 0, 20, {0}},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        ConverterConfig c = cases[i].config;
        const bool full = i >= 2;
        if (full) c.streamEnd = frc::StreamEnd::kFullGroup;
        Converter conv(c);
        const Outputs out = runStream(&conv, movingFrames(cases[i].inputs),
                                      evenly(cases[i].inputs, cases[i].base, cases[i].interval));
        ASSERT_EQ(out.size(), cases[i].timestamps.size());
        for (size_t j = 0; j < out.size(); ++j) {
            EXPECT_EQ(out[j].timestamp, cases[i].timestamps[j]) << j;
            EXPECT_EQ(out[j].last, j + 1 == out.size() && (i != 1)) << j;
            // Repeats show the last input frame (runStream compared their pixels).
            EXPECT_TRUE(out[j].kind != OutputFrame::Kind::kRepeat ||
                        out[j].tag == cases[i].inputs - 1);
        }
        EXPECT_EQ(out.back().kind != OutputFrame::Kind::kRepeat, !full || cases[i].inputs == 1);
        EXPECT_EQ(conv.stats().outputs, out.size());
    }
}

TEST(Converter, ModeAndRatioChangesTakeEffectAtTheNextGroup) {
    auto frames = movingFrames(5);
    Converter conv(config(FrcMode::kBlend, 2));
    Outputs out;
    for (size_t i : {0, 1}) conv.push(frames[i].cview(), 10 * i, i, &out);
    ASSERT_EQ(out.size(), 2u);
    // Switching to motion while frame 1 waits: its group falls back to blend.
    ASSERT_TRUE(conv.reconfigure(config(FrcMode::kMotion, 2)));
    out.clear();
    conv.push(frames[2].cview(), 20, 2, &out);
    ASSERT_EQ(out.size(), 2u);
    OwnedFrame dst(PixelFormat::kNv12, 64, 48), blend(PixelFormat::kNv12, 64, 48);
    ASSERT_EQ(conv.render(out[1], dst.view()), ConvertStatus::kOk);
    ASSERT_TRUE(frc::blendFrames(frames[1].cview(), frames[2].cview(), 1, 2, blend.view()));
    EXPECT_TRUE(dst.samePixels(blend));
    // 3/2 from frame 2 on: outputs at 2, 2 + 2/3, 3 + 1/3 (and 4, once it is due).
    ASSERT_TRUE(conv.reconfigure(config(FrcMode::kBlend, 0, 3, 2)));
    out.clear();
    conv.push(frames[3].cview(), 50, 3, &out);
    conv.push(frames[4].cview(), 80, 4, &out);
    // Switching off with frame 4 waiting: it and the next come out alone, in order.
    ASSERT_TRUE(conv.reconfigure(config(FrcMode::kOff, 2)));
    conv.push(frames[0].cview(), 110, 0, &out);
    std::vector<std::tuple<uint64_t, int, int64_t>> schedule;
    for (const auto& o : out) schedule.emplace_back(o.tag, o.phase, o.timestamp);
    EXPECT_EQ(schedule, (std::vector<std::tuple<uint64_t, int, int64_t>>{
                            {2, 0, 20}, {2, 2, 40}, {3, 1, 60}, {4, 0, 80}, {0, 0, 110}}));
    for (size_t j = 3; j < out.size(); ++j) {
        ASSERT_EQ(conv.render(out[j], dst.view()), ConvertStatus::kOk);
        EXPECT_TRUE(dst.samePixels(frames[out[j].tag]));
    }
}

TEST(Converter, RejectsBadConfigurationsFramesAndStaleOutputs) {
    int p = 0, q = 0;
    const struct {
        ConverterConfig config;
        int p, q;  // 0: refused
    } cases[] = {
        {config(FrcMode::kBlend, 0, 60000, 24024), 2500, 1001},
        {config(FrcMode::kBlend, 0, 2000000000, 1000000000), 2, 1},  // large terms that reduce
        {config(FrcMode::kBlend, 0, 7, 7), 1, 1},
        {config(FrcMode::kOff, 0, 5, 2), 1, 1},
        {config(FrcMode::kOff, 0), 1, 1},
        {config(FrcMode::kMotion, 4), 4, 1},
        {config(FrcMode::kBlend, 0, 65535, 65534), 65535, 65534},
        {config(FrcMode::kBlend, 0, 1, 2), 0, 0},   // lower rate
        {config(FrcMode::kBlend, 0, 17, 2), 0, 0},  // above 8
        {config(FrcMode::kBlend, 0, 5, 0), 0, 0},
        {config(FrcMode::kBlend, 0, 0, 5), 0, 0},
        {config(FrcMode::kBlend, 0, -5, -2), 0, 0},
        {config(FrcMode::kBlend, 0, 65537, 65536), 0, 0},  // terms too large
        {config(FrcMode::kBlend, 1), 0, 0},
        {config(FrcMode::kBlend, 9), 0, 0},
        {config(static_cast<FrcMode>(4), 2), 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.config.factor << " " << c.config.rateNum << "/" << c.config.rateDen);
        EXPECT_EQ(frc::isValidConfig(c.config), c.p != 0);
        ASSERT_EQ(frc::reducedRatio(c.config, &p, &q), c.p != 0);
        EXPECT_TRUE(c.p == 0 || (p == c.p && q == c.q)) << p << "/" << q;
    }

    auto frames = movingFrames(3);
    Converter conv(config(FrcMode::kBlend, 2));
    EXPECT_FALSE(conv.reconfigure(config(FrcMode::kMotion, 12)));
    EXPECT_EQ(conv.config().mode, FrcMode::kBlend);
    Outputs out;
    EXPECT_EQ(conv.push(frc::ConstFrameView(), 0, 0, &out), ConvertStatus::kInvalidFrame);
    ASSERT_EQ(conv.push(frames[0].cview(), 0, 0, &out), ConvertStatus::kOk);
    OwnedFrame other(PixelFormat::kNv12, 32, 48);
    EXPECT_EQ(conv.push(other.cview(), 1, 1, &out), ConvertStatus::kInvalidFrame);
    ASSERT_EQ(conv.push(frames[1].cview(), 2, 1, &out), ConvertStatus::kOk);
    ASSERT_EQ(out.size(), 2u);
    const OutputFrame stale = out[1];
    out.clear();
    ASSERT_EQ(conv.push(frames[2].cview(), 4, 2, &out), ConvertStatus::kOk);
    OwnedFrame dst(PixelFormat::kNv12, 64, 48);
    // The group of frames 0 and 1 is gone; its in-between frame cannot be rendered any more.
    EXPECT_EQ(conv.render(stale, dst.view()), ConvertStatus::kInvalidOutput);
    EXPECT_EQ(conv.render(out[1], other.view()), ConvertStatus::kInvalidOutput);
    EXPECT_EQ(conv.render(out[1], dst.view()), ConvertStatus::kOk);
    // After a flush nothing is pending and a new stream may change size.
    conv.flush();
    out.clear();
    EXPECT_EQ(conv.push(other.cview(), 10, 5, &out), ConvertStatus::kOk);
    EXPECT_TRUE(out.empty());
}

// Sessions run on their own threads; converters must share nothing (ThreadSanitizer checks).
TEST(Converter, IndependentConvertersOnThreadsMatchASequentialRun) {
    const auto frames = movingFrames(4);
    auto run = [&frames](std::vector<OwnedFrame>* results) {
        Converter conv(config(FrcMode::kMotion, 2));
        runStream(&conv, frames, evenly(4, 0, 1), results);
    };
    std::vector<OwnedFrame> reference, runs[2];
    run(&reference);
    std::thread ta(run, &runs[0]), tb(run, &runs[1]);
    ta.join();
    tb.join();
    for (const auto& frames : runs) {
        ASSERT_EQ(frames.size(), reference.size());
        for (size_t i = 0; i < reference.size(); ++i)
            EXPECT_TRUE(frames[i].samePixels(reference[i]));
    }
}

}  // namespace
