// Tests of the converter's output schedule: order, phases, timestamps, stream end, validation.
#include "frc/converter.h"

#include <gtest/gtest.h>

#include <thread>

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

ConverterConfig config(FrcMode mode, int factor) {
    ConverterConfig c;
    c.mode = mode;
    c.factor = factor;
    return c;
}

std::vector<OwnedFrame> movingFrames(int count, PixelFormat format = PixelFormat::kNv12) {
    std::vector<OwnedFrame> frames;
    for (int i = 0; i < count; ++i) {
        frames.emplace_back(format, 64, 48);
        frc_test::fillTranslated(frames.back(), 2.0 * i, 1.0 * i);
    }
    return frames;
}

TEST(ConverterSchedule, GroupsHaveEvenPhasesAndTimestampsForEveryFactor) {
    for (FrcMode mode : {FrcMode::kRepeat, FrcMode::kBlend, FrcMode::kMotion}) {
        for (int n = 2; n <= 8; ++n) {
            SCOPED_TRACE(testing::Message() << "mode " << static_cast<int>(mode) << " n " << n);
            auto frames = movingFrames(3);
            Converter conv(config(mode, n));
            // Uneven input intervals (a 33333/33334 us cadence) exercise the rounding.
            const int64_t ts[3] = {1000, 34333, 67667};
            std::vector<OutputFrame> out;
            ASSERT_EQ(conv.push(frames[0].cview(), ts[0], 10, &out), ConvertStatus::kOk);
            EXPECT_TRUE(out.empty());  // nothing is due before the second frame
            for (int i = 1; i < 3; ++i) {
                out.clear();
                ASSERT_EQ(conv.push(frames[i].cview(), ts[i], 10 + i, &out), ConvertStatus::kOk);
                ASSERT_EQ(out.size(), static_cast<size_t>(n));
                EXPECT_EQ(out[0].kind, OutputFrame::Kind::kInput);
                EXPECT_EQ(out[0].tag, static_cast<uint64_t>(10 + i - 1));
                EXPECT_EQ(out[0].timestamp, ts[i - 1]);
                for (int k = 1; k < n; ++k) {
                    EXPECT_EQ(out[k].kind, OutputFrame::Kind::kInterpolated);
                    EXPECT_EQ(out[k].phase, k);
                    EXPECT_EQ(out[k].factor, n);
                    EXPECT_EQ(out[k].tag, static_cast<uint64_t>(10 + i - 1));
                    EXPECT_EQ(out[k].nextTag, static_cast<uint64_t>(10 + i));
                    EXPECT_EQ(out[k].timestamp, ts[i - 1] + k * (ts[i] - ts[i - 1]) / n);
                    EXPECT_GT(out[k].timestamp, out[k - 1].timestamp);
                    EXPECT_LT(out[k].timestamp, ts[i]);
                    EXPECT_FALSE(out[k].last);
                }
                // Every output renders.
                OwnedFrame dst(PixelFormat::kNv12, 64, 48);
                for (const auto& o : out) EXPECT_EQ(conv.render(o, dst.view()), ConvertStatus::kOk);
            }
            out.clear();
            conv.finish(&out);
            ASSERT_EQ(out.size(), 1u);
            EXPECT_EQ(out[0].tag, 12u);
            EXPECT_EQ(out[0].timestamp, ts[2]);
            EXPECT_TRUE(out[0].last);
            EXPECT_EQ(conv.stats().outputs, static_cast<uint64_t>(2 * n + 1));
        }
    }
}

TEST(ConverterSchedule, OffPassesEachFrameAtOnceAndFullGroupEndRepeats) {
    auto frames = movingFrames(2);
    Converter off(config(FrcMode::kOff, 2));
    std::vector<OutputFrame> out;
    ASSERT_EQ(off.push(frames[0].cview(), 5, 1, &out), ConvertStatus::kOk);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0].tag, 1u);
    EXPECT_EQ(out[0].timestamp, 5);
    out.clear();
    off.finish(&out);
    EXPECT_TRUE(out.empty());

    ConverterConfig c = config(FrcMode::kBlend, 4);
    c.streamEnd = frc::StreamEnd::kFullGroup;
    Converter conv(c);
    ASSERT_EQ(conv.push(frames[0].cview(), 0, 1, &out), ConvertStatus::kOk);
    ASSERT_EQ(conv.push(frames[1].cview(), 100, 2, &out), ConvertStatus::kOk);
    out.clear();
    conv.finish(&out);
    ASSERT_EQ(out.size(), 4u);
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(out[k].tag, 2u);
        EXPECT_EQ(out[k].timestamp, 100 + 25 * k);
        EXPECT_EQ(out[k].last, k == 3);
        OwnedFrame dst(PixelFormat::kNv12, 64, 48);
        ASSERT_EQ(conv.render(out[k], dst.view()), ConvertStatus::kOk);
        EXPECT_TRUE(dst.samePixels(frames[1]));
    }
    // A stream of one frame has no interval to continue: the frame comes out alone.
    out.clear();
    ASSERT_EQ(conv.push(frames[0].cview(), 7, 3, &out), ConvertStatus::kOk);
    conv.finish(&out);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_TRUE(out[0].last);
}

TEST(ConverterSchedule, InputFramesComeOutBitExactInEveryMode) {
    for (FrcMode mode : {FrcMode::kOff, FrcMode::kRepeat, FrcMode::kBlend, FrcMode::kMotion}) {
        SCOPED_TRACE(static_cast<int>(mode));
        auto frames = movingFrames(4, PixelFormat::kI420);
        Converter conv(config(mode, 3));
        std::vector<OutputFrame> out;
        for (int i = 0; i < 4; ++i) {
            ASSERT_EQ(conv.push(frames[i].cview(), i * 3000, i, &out), ConvertStatus::kOk);
            for (const auto& o : out) {
                OwnedFrame dst(PixelFormat::kI420, 64, 48, 80, 50);
                ASSERT_EQ(conv.render(o, dst.view()), ConvertStatus::kOk);
                if (o.kind == OutputFrame::Kind::kInput) {
                    EXPECT_TRUE(dst.samePixels(frames[o.tag]));
                } else if (mode == FrcMode::kRepeat) {
                    EXPECT_TRUE(dst.samePixels(frames[o.tag]));
                }
                EXPECT_TRUE(dst.guardIntact());
            }
            out.clear();
        }
    }
}

TEST(ConverterSchedule, RejectsBadConfigurationsFramesAndStaleOutputs) {
    EXPECT_FALSE(frc::isValidConfig(config(FrcMode::kBlend, 1)));
    EXPECT_FALSE(frc::isValidConfig(config(FrcMode::kBlend, 9)));
    EXPECT_FALSE(frc::isValidConfig(config(static_cast<FrcMode>(4), 2)));
    EXPECT_TRUE(frc::isValidConfig(config(FrcMode::kOff, 0)));

    auto frames = movingFrames(3);
    Converter conv(config(FrcMode::kBlend, 2));
    EXPECT_FALSE(conv.reconfigure(config(FrcMode::kMotion, 12)));
    EXPECT_EQ(conv.config().mode, FrcMode::kBlend);

    std::vector<OutputFrame> out;
    EXPECT_EQ(conv.push(frc::ConstFrameView(), 0, 0, &out), ConvertStatus::kInvalidFrame);
    ASSERT_EQ(conv.push(frames[0].cview(), 0, 0, &out), ConvertStatus::kOk);
    OwnedFrame other(PixelFormat::kNv12, 32, 48);
    EXPECT_EQ(conv.push(other.cview(), 1, 1, &out), ConvertStatus::kInvalidFrame);
    ASSERT_EQ(conv.push(frames[1].cview(), 2, 1, &out), ConvertStatus::kOk);
    ASSERT_EQ(out.size(), 2u);
    OutputFrame stale = out[1];
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

TEST(ConverterSchedule, ModeChangesTakeEffectAtTheNextGroup) {
    auto frames = movingFrames(4);
    Converter conv(config(FrcMode::kBlend, 2));
    std::vector<OutputFrame> out;
    conv.push(frames[0].cview(), 0, 0, &out);
    conv.push(frames[1].cview(), 10, 1, &out);
    ASSERT_EQ(out.size(), 2u);
    // Switching to motion while frame 1 waits: its group falls back to blend, then motion.
    ASSERT_TRUE(conv.reconfigure(config(FrcMode::kMotion, 2)));
    out.clear();
    conv.push(frames[2].cview(), 20, 2, &out);
    ASSERT_EQ(out.size(), 2u);
    OwnedFrame dst(PixelFormat::kNv12, 64, 48);
    OwnedFrame blend(PixelFormat::kNv12, 64, 48);
    ASSERT_EQ(conv.render(out[1], dst.view()), ConvertStatus::kOk);
    ASSERT_TRUE(frc::blendFrames(frames[1].cview(), frames[2].cview(), 1, 2, blend.view()));
    EXPECT_TRUE(dst.samePixels(blend));
    // Switching off with frame 2 waiting: frame 2 and frame 3 come out alone, in order.
    ASSERT_TRUE(conv.reconfigure(config(FrcMode::kOff, 2)));
    out.clear();
    conv.push(frames[3].cview(), 30, 3, &out);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_EQ(out[0].tag, 2u);
    EXPECT_EQ(out[1].tag, 3u);
    for (const auto& o : out) {
        ASSERT_EQ(conv.render(o, dst.view()), ConvertStatus::kOk);
        EXPECT_TRUE(dst.samePixels(frames[o.tag]));
    }
}

// Sessions run on their own threads; converters must share nothing (ThreadSanitizer checks).
TEST(ConverterSchedule, IndependentConvertersOnThreadsMatchASequentialRun) {
    auto frames = movingFrames(4);
    auto run = [&frames](std::vector<OwnedFrame>* results) {
        Converter conv(config(FrcMode::kMotion, 2));
        std::vector<OutputFrame> out;
        for (int i = 0; i < 4; ++i) {
            out.clear();
            conv.push(frames[i].cview(), i, i, &out);
            for (const auto& o : out) {
                results->emplace_back(PixelFormat::kNv12, 64, 48);
                conv.render(o, results->back().view());
            }
        }
    };
    std::vector<OwnedFrame> reference;
    run(&reference);
    std::vector<OwnedFrame> a;
    std::vector<OwnedFrame> b;
    std::thread ta(run, &a);
    std::thread tb(run, &b);
    ta.join();
    tb.join();
    ASSERT_EQ(a.size(), reference.size());
    ASSERT_EQ(b.size(), reference.size());
    for (size_t i = 0; i < reference.size(); ++i) {
        EXPECT_TRUE(a[i].samePixels(reference[i]));
        EXPECT_TRUE(b[i].samePixels(reference[i]));
    }
}

}  // namespace
