// Tests of the converter's schedule for fractional output/input rate ratios: exact grid
// positions, phases, timestamps, output counts, stream end and validation.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

#include "frc/converter.h"
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

ConverterConfig ratio(FrcMode mode, int num, int den) {
    ConverterConfig c;
    c.mode = mode;
    c.factor = 0;
    c.rateNum = num;
    c.rateDen = den;
    return c;
}

// Pushes `count` frames at timestamps base + i * interval, renders every output as it comes,
// and returns all outputs of the stream (finish() included).
std::vector<OutputFrame> runStream(Converter* conv, int count, int64_t base, int64_t interval,
                                   std::vector<OwnedFrame>* rendered = nullptr) {
    std::vector<OwnedFrame> frames;
    for (int i = 0; i < count; ++i) {
        frames.emplace_back(PixelFormat::kNv12, 32, 16);
        frc_test::fillTranslated(frames.back(), 3.0 * i, 0.0);
    }
    std::vector<OutputFrame> all;
    auto renderNew = [&](std::vector<OutputFrame>& out) {
        for (const OutputFrame& o : out) {
            OwnedFrame dst(PixelFormat::kNv12, 32, 16);
            EXPECT_EQ(conv->render(o, dst.view()), ConvertStatus::kOk);
            if (o.kind == OutputFrame::Kind::kInterpolated) {
                // Blend places the frame at exactly phase k / n between its two inputs.
                OwnedFrame want(PixelFormat::kNv12, 32, 16);
                EXPECT_TRUE(frc::blendFrames(frames[o.tag].cview(), frames[o.nextTag].cview(),
                                             o.phase, o.factor, want.view()));
                if (conv->config().mode == FrcMode::kBlend) {
                    EXPECT_TRUE(dst.samePixels(want));
                }
            } else {
                EXPECT_TRUE(dst.samePixels(frames[o.tag]));
            }
            if (rendered != nullptr) rendered->push_back(std::move(dst));
            all.push_back(o);
        }
        out.clear();
    };
    std::vector<OutputFrame> out;
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(
            conv->push(frames[i].cview(), base + i * interval, static_cast<uint64_t>(i), &out),
            ConvertStatus::kOk);
        renderNew(out);
    }
    conv->finish(&out);
    renderNew(out);
    return all;
}

// Output j lies at input position j * q / p: its input, phase and timestamp follow exactly.
void expectGrid(const std::vector<OutputFrame>& outputs, int p, int q, int64_t base,
                int64_t outInterval) {
    for (size_t j = 0; j < outputs.size(); ++j) {
        SCOPED_TRACE(testing::Message() << "output " << j);
        const int64_t position = static_cast<int64_t>(j) * q;
        const OutputFrame& o = outputs[j];
        EXPECT_EQ(o.tag, static_cast<uint64_t>(position / p));
        EXPECT_EQ(o.phase, position % p);
        EXPECT_EQ(o.kind,
                  position % p == 0 ? OutputFrame::Kind::kInput : OutputFrame::Kind::kInterpolated);
        if (o.kind == OutputFrame::Kind::kInterpolated) {
            EXPECT_EQ(o.factor, p);
            EXPECT_EQ(o.nextTag, o.tag + 1);
        }
        EXPECT_EQ(o.timestamp, base + static_cast<int64_t>(j) * outInterval);
        // Only finish() marks the last output, when the last input is on the grid.
        if (o.last) {
            EXPECT_EQ(j + 1, outputs.size());
        }
    }
}

TEST(ConverterRatio, TwentyFourToSixtyPlacesFramesAtTenthsOnTheExactGrid) {
    for (FrcMode mode : {FrcMode::kRepeat, FrcMode::kBlend, FrcMode::kMotion}) {
        SCOPED_TRACE(static_cast<int>(mode));
        // 60/24 = 5/2; inputs 5 ticks apart put outputs exactly 2 ticks apart.
        Converter conv(ratio(mode, 60, 24));
        const std::vector<OutputFrame> out = runStream(&conv, 7, 1000, 5);
        // Outputs at every grid time up to the last input: floor(6 * 5 / 2) + 1.
        ASSERT_EQ(out.size(), 16u);
        expectGrid(out, 5, 2, 1000, 2);
        // Phases 0, 0.4, 0.8, 0.2, 0.6, then again.
        const int phases[] = {0, 2, 4, 1, 3, 0, 2};
        for (size_t j = 0; j < 7; ++j) EXPECT_EQ(out[j].phase, phases[j]);
        EXPECT_EQ(conv.stats().outputs, 16u);
    }
}

TEST(ConverterRatio, NtscRatesKeepExactTimestampsNearTheEndOfTheRange) {
    // 24 -> 60000/1001 frames/s is the ratio 2500/1001; timestamps close to INT64_MAX must not
    // overflow in the in-between arithmetic.
    const int64_t base = std::numeric_limits<int64_t>::max() - 60 * 2500;
    Converter conv(ratio(FrcMode::kBlend, 60000, 24 * 1001));
    const std::vector<OutputFrame> out = runStream(&conv, 50, base, 2500);
    ASSERT_EQ(out.size(), 49u * 2500u / 1001u + 1u);
    expectGrid(out, 2500, 1001, base, 1001);
}

TEST(ConverterRatio, LastFrameComesOutOnlyOnTheGridAndFullGroupFillsItsInterval) {
    // 3 inputs at ratio 5/2: outputs at 0, .4, .8, 1.2, 1.6; input 2 (position 2) is output 5.
    {
        Converter conv(ratio(FrcMode::kBlend, 5, 2));
        const auto out = runStream(&conv, 3, 0, 10);
        ASSERT_EQ(out.size(), 6u);
        EXPECT_TRUE(out.back().last);
        EXPECT_EQ(out.back().kind, OutputFrame::Kind::kInput);
        EXPECT_EQ(out.back().tag, 2u);
    }
    // 2 inputs: input 1 (position 2.5 outputs) is off the grid and does not come out; finish()
    // has nothing to add.
    {
        Converter conv(ratio(FrcMode::kBlend, 5, 2));
        const auto out = runStream(&conv, 2, 0, 10);
        ASSERT_EQ(out.size(), 3u);
        EXPECT_EQ(out.back().timestamp, 8);
        EXPECT_FALSE(out.back().last);
    }
    // A full group ends with the grid's outputs within one more input interval: repeats.
    {
        ConverterConfig c = ratio(FrcMode::kBlend, 5, 2);
        c.streamEnd = frc::StreamEnd::kFullGroup;
        Converter conv(c);
        std::vector<OwnedFrame> rendered;
        const auto out = runStream(&conv, 2, 0, 10, &rendered);
        // Two input intervals hold exactly five outputs.
        ASSERT_EQ(out.size(), 5u);
        EXPECT_EQ(out[3].kind, OutputFrame::Kind::kRepeat);
        EXPECT_EQ(out[3].timestamp, 12);
        EXPECT_EQ(out[4].timestamp, 16);
        EXPECT_TRUE(out[4].last);
        EXPECT_TRUE(rendered[4].samePixels(rendered[3]));
    }
}

TEST(ConverterRatio, ValidatesRatiosAndReducesThem) {
    int p = 0, q = 0;
    ASSERT_TRUE(frc::reducedRatio(ratio(FrcMode::kBlend, 60000, 24024), &p, &q));
    EXPECT_EQ(p, 2500);
    EXPECT_EQ(q, 1001);
    // Large terms are fine when they reduce.
    ASSERT_TRUE(frc::reducedRatio(ratio(FrcMode::kBlend, 2000000000, 1000000000), &p, &q));
    EXPECT_EQ(p, 2);
    EXPECT_EQ(q, 1);
    // Equal rates pass every frame through; mode off ignores the ratio.
    ASSERT_TRUE(frc::reducedRatio(ratio(FrcMode::kBlend, 7, 7), &p, &q));
    EXPECT_EQ(p, 1);
    ASSERT_TRUE(frc::reducedRatio(ratio(FrcMode::kOff, 5, 2), &p, &q));
    EXPECT_EQ(p, 1);
    EXPECT_EQ(q, 1);
    // The integer factor stays what it was when no ratio is given.
    ConverterConfig legacy;
    legacy.mode = FrcMode::kMotion;
    legacy.factor = 4;
    ASSERT_TRUE(frc::reducedRatio(legacy, &p, &q));
    EXPECT_EQ(p, 4);
    EXPECT_EQ(q, 1);

    EXPECT_FALSE(frc::isValidConfig(ratio(FrcMode::kBlend, 1, 2)));   // lower rate
    EXPECT_FALSE(frc::isValidConfig(ratio(FrcMode::kBlend, 17, 2)));  // above 8
    EXPECT_FALSE(frc::isValidConfig(ratio(FrcMode::kBlend, 5, 0)));   // half given
    EXPECT_FALSE(frc::isValidConfig(ratio(FrcMode::kBlend, 0, 5)));
    EXPECT_FALSE(frc::isValidConfig(ratio(FrcMode::kBlend, -5, -2)));
    EXPECT_FALSE(frc::isValidConfig(ratio(FrcMode::kBlend, 65537, 65536)));  // terms too large
    EXPECT_TRUE(frc::isValidConfig(ratio(FrcMode::kBlend, 65535, 65534)));
}

TEST(ConverterRatio, ANewRatioStartsItsGridAtTheWaitingFrame) {
    std::vector<OwnedFrame> frames;
    for (int i = 0; i < 4; ++i) frames.emplace_back(PixelFormat::kNv12, 32, 16);
    ConverterConfig c;
    c.mode = FrcMode::kBlend;
    c.factor = 2;
    Converter conv(c);
    std::vector<OutputFrame> out;
    conv.push(frames[0].cview(), 0, 0, &out);
    conv.push(frames[1].cview(), 10, 1, &out);
    ASSERT_EQ(out.size(), 2u);
    // 3/2 from frame 1 on: outputs at 1, 1 + 2/3, 2 + 1/3, 3.
    ASSERT_TRUE(conv.reconfigure(ratio(FrcMode::kBlend, 3, 2)));
    out.clear();
    conv.push(frames[2].cview(), 40, 2, &out);
    conv.push(frames[3].cview(), 70, 3, &out);
    conv.finish(&out);
    ASSERT_EQ(out.size(), 4u);
    EXPECT_EQ(out[0].tag, 1u);
    EXPECT_EQ(out[0].kind, OutputFrame::Kind::kInput);
    EXPECT_EQ(out[1].phase, 2);
    EXPECT_EQ(out[1].timestamp, 30);
    EXPECT_EQ(out[2].tag, 2u);
    EXPECT_EQ(out[2].phase, 1);
    EXPECT_EQ(out[2].timestamp, 50);
    EXPECT_EQ(out[3].tag, 3u);
    EXPECT_EQ(out[3].timestamp, 70);
}

}  // namespace
