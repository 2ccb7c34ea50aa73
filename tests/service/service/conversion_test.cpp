// Frame-rate conversion through a session: output count, order and pixels, timestamps, end of
// stream, and the settings that change them.
#include <random>
#include <tuple>

#include "service_test_util.h"

namespace svctest {
namespace {

constexpr int32_t kWidth = 64;
constexpr int32_t kHeight = 32;
constexpr size_t kFrameSize = kWidth * kHeight * 3 / 2;
// Divisible by every factor used, so that in-between timestamps are exact.
constexpr int64_t kInterval = 840;
constexpr int64_t kFirst = 10000;
constexpr int64_t kOutputCookie = 1000;

class ConversionTest : public ServiceTest {
  protected:
    // Input frames of random pixels and the output buffers for their conversion.
    void MakeClip(size_t inputs, size_t outputs, uint32_t seed = 7) {
        std::mt19937 random(seed);
        in_ = Frames(inputs, kFrameSize);
        out_ = Frames(outputs, kFrameSize);
        for (auto& f : in_) {
            for (size_t b = 0; b < kFrameSize; ++b) f->data[b] = random() & 0xff;
        }
    }
    void QueueOutputs() {
        for (size_t i = 0; i < out_.size(); ++i) {
            ASSERT_EQ(Queue(1, out_[i]->Buffer(kOutputCookie + i)), E::VPP_OK);
        }
    }
    // Queues every output, then every input at `stamps` (the last flagged end of stream, or
    // followed by an empty end marker), and waits for the drain.
    void Run(const std::function<int64_t(size_t)>& stamps, bool endMarker = false) {
        QueueOutputs();
        for (size_t i = 0; i < in_.size(); ++i) {
            const int32_t flags = i + 1 == in_.size() && !endMarker ? kEos : 0;
            ASSERT_EQ(Queue(0, in_[i]->Buffer(i, stamps(i), flags)), E::VPP_OK);
        }
        ASSERT_TRUE(!endMarker || Queue(0, EndMarker()) == E::VPP_OK);
        ASSERT_TRUE(callbacks_->WaitFor(Event::kDrain));
    }
    static int64_t Stamp(size_t i) { return kFirst + kInterval * static_cast<int64_t>(i); }
    std::vector<Event> FilledOutputs() const {
        std::vector<Event> filled;
        for (const Event& e : callbacks_->Of(Event::kOutput)) {
            filled.insert(filled.end(), e.filledLen > 0 ? 1 : 0, e);
        }
        return filled;
    }
};

TEST_P(ConversionTest, EveryModeAndFactorYieldsItsScheduleAndPixels) {
    const size_t m = 3;
    for (int32_t mode : {0, 1, 2, 3}) {
        for (int32_t factor : {2, 3, 4}) {
            if (mode == 0 && factor != 4) continue;
            SCOPED_TRACE("mode " + std::to_string(mode) + " factor " + std::to_string(factor));
            Restart();
            const int32_t step = mode == 0 ? 1 : factor;
            const size_t expected = (m - 1) * step + 1;
            MakeClip(m, expected, 11 + mode);
            // A small motion search keeps the sanitizer builds quick.
            ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(mode, factor, 4)));
            ASSERT_NO_FATAL_FAILURE(Run(Stamp, factor == 3));

            const auto outputs = FilledOutputs();
            ASSERT_EQ(outputs.size(), expected);
            for (size_t k = 0; k < expected; ++k) {
                const auto at = static_cast<int64_t>(k);
                EXPECT_EQ(
                    std::make_tuple(outputs[k].cookie, outputs[k].filledLen, outputs[k].timestamp,
                                    outputs[k].flags),
                    std::make_tuple(kOutputCookie + at, static_cast<int32_t>(kFrameSize),
                                    kFirst + kInterval * at / step, k + 1 == expected ? kEos : 0));
                // Inputs bit-exact; repeats copy the earlier input, blends round its mix.
                const size_t i = k / step;
                const int32_t phase = static_cast<int32_t>(k % step);
                if (mode == 3 && phase != 0) continue;
                const uint8_t* a = in_[i]->data;
                const uint8_t* b = phase != 0 ? in_[i + 1]->data : a;
                size_t mismatches = 0;
                for (size_t s = 0; s < kFrameSize; ++s) {
                    const int want =
                        mode == 2 ? (a[s] * (step - phase) + b[s] * phase + step / 2) / step : a[s];
                    mismatches += out_[k]->data[s] != want;
                }
                EXPECT_EQ(mismatches, 0u) << "output " << k;
            }
            // Every input back once, end marker included; the drain comes after everything.
            EXPECT_EQ(callbacks_->Of(Event::kInput).size(), m + (factor == 3 ? 1 : 0));
            const auto events = callbacks_->Events();
            EXPECT_EQ(events.back().kind, Event::kDrain);
            // Callbacks come on one service thread (embedded; across processes on this
            // process's binder threads), never on the test's.
            for (const Event& e : events) {
                EXPECT_TRUE(!Embedded() || e.thread == events.front().thread);
                EXPECT_NE(e.thread, std::this_thread::get_id());
            }
            VppStats stats;
            ASSERT_EQ(Call(&S::getStats, &stats), E::VPP_OK);
            EXPECT_EQ(std::make_tuple(stats.interpolatedFrames, stats.outputBuffersDone,
                                      stats.inputBuffersDone),
                      std::make_tuple(static_cast<int64_t>((m - 1) * (step - 1)),
                                      static_cast<int64_t>(expected), stats.inputBuffersQueued));
        }
    }
}

TEST_P(ConversionTest, EndOfStreamWithNothingLeftGivesAnEmptyFlaggedOutput) {
    MakeClip(2, 3);
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(0, 0)));
    ASSERT_NO_FATAL_FAILURE(Run(Stamp, true));
    auto outputs = callbacks_->Of(Event::kOutput);
    ASSERT_EQ(outputs.size(), 3u);
    EXPECT_EQ(outputs[1].flags, 0) << "the last frame went out before the marker came";
    EXPECT_TRUE(outputs[2].filledLen == 0 && outputs[2].flags == kEos);

    // drain() ends the next stream the same way, without a buffer of its own.
    ASSERT_EQ(Queue(0, in_[0]->Buffer(1, 5)), E::VPP_OK);
    out_.pop_back();
    QueueOutputs();
    ASSERT_EQ(Call(&S::drain), E::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitFor(Event::kDrain, 2));
    outputs = callbacks_->Of(Event::kOutput);
    ASSERT_EQ(outputs.size(), 5u);
    EXPECT_EQ(outputs[3].filledLen, static_cast<int32_t>(kFrameSize));
    EXPECT_TRUE(outputs[4].filledLen == 0 && outputs[4].flags == kEos);
}

TEST_P(ConversionTest, TimestampAndPassThroughSettings) {
    MakeClip(3, 3);
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(2, 2), [&] {
        ASSERT_EQ(Call(&S::setPassThrough, 0), E::VPP_OK);
        ASSERT_EQ(Call(&S::setTimestampMode, 1), E::VPP_OK);
    }));
    ASSERT_NO_FATAL_FAILURE(Run(Stamp));
    // Only the in-between frames, stamped with their earlier input. The last input is not
    // passed through, so an empty buffer carries the end of stream.
    const auto outputs = callbacks_->Of(Event::kOutput);
    ASSERT_EQ(outputs.size(), 3u);
    EXPECT_EQ(std::make_tuple(outputs[0].timestamp, outputs[1].timestamp, outputs[1].flags),
              std::make_tuple(Stamp(0), Stamp(1), 0));
    EXPECT_EQ(outputs[1].filledLen, static_cast<int32_t>(kFrameSize));
    EXPECT_TRUE(outputs[2].filledLen == 0 && outputs[2].flags == kEos);
}

TEST_P(ConversionTest, ReconfigureReturnsOldBuffersThenTakesTheNewSize) {
    MakeClip(1, 2);
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(0, 0)));
    ASSERT_NO_FATAL_FAILURE(QueueOutputs());
    ASSERT_EQ(Queue(0, in_[0]->Buffer(0, 1)), E::VPP_OK);
    ASSERT_EQ(Call(&S::reconfigure, Param(32, 16), Param(32, 16)), E::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitFor(Event::kReconfig));
    const auto events = callbacks_->Events();
    ASSERT_EQ(events.size(), 4u);
    EXPECT_TRUE(events[0].kind == Event::kOutput && events[1].kind == Event::kInput);
    EXPECT_EQ(events[0].filledLen, static_cast<int32_t>(kFrameSize));
    EXPECT_EQ(events[2].kind, Event::kOutput) << "the unused old buffer comes back unfilled";
    EXPECT_EQ(events[2].filledLen, 0);
    EXPECT_EQ(events[3].status, E::VPP_OK);
    VppPortParam current;
    EXPECT_TRUE(Call(&S::getParameter, 1, &current) == E::VPP_OK && current.width == 32);
    // The new size counts from now on: a buffer of the new frame size is enough.
    SharedFrame newSize(32 * 16 * 3 / 2);
    EXPECT_EQ(Queue(0, newSize.Buffer(5, 2)), E::VPP_OK);
}

// Untimed inputs are spaced by the frame rate; at the slowest rate a client can set (2^31-1 s a
// frame) the timeline stops at the maximum rather than wrapping.
TEST_P(ConversionTest, UntimedInputsAreSpacedByTheFrameRate) {
    const struct {
        int32_t num, den;
        size_t inputs;
    } cases[] = {{25, 1, 3}, {1, INT32_MAX, 6}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.den);
        Restart();
        MakeClip(c.inputs, (c.inputs - 1) * 2 + 1);
        ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(2, 2), [&] {
            ASSERT_EQ(Call(&S::setFrameRate, c.num, c.den), E::VPP_OK);
        }));
        ASSERT_NO_FATAL_FAILURE(Run([](size_t) { return int64_t{0}; }));
        const auto out = FilledOutputs();
        ASSERT_EQ(out.size(), out_.size());
        const __int128 period = static_cast<__int128>(c.den) * 1000000000 / c.num;
        for (size_t k = 0; k < out.size(); ++k) {
            const __int128 want = period * static_cast<__int128>(k) / 2;
            const bool onGrid = want <= period * static_cast<__int128>(c.inputs - 1);
            if ((onGrid && want <= INT64_MAX) || k + 1 == out.size()) {
                EXPECT_EQ(out[k].timestamp,
                          static_cast<int64_t>(std::min<__int128>(want, INT64_MAX)))
                    << k;
            }
            EXPECT_LE(out[k > 0 ? k - 1 : 0].timestamp, out[k].timestamp) << k;
        }
    }
}

TEST_P(ConversionTest, PlanesMayLiveInSeparateDescriptors) {
    const size_t lumaSize = kWidth * kHeight;
    SharedFrame luma(lumaSize), chroma(lumaSize / 2), output(kFrameSize);
    for (size_t b = 0; b < lumaSize; ++b) luma.data[b] = static_cast<uint8_t>(b * 3);
    for (size_t b = 0; b < lumaSize / 2; ++b) chroma.data[b] = static_cast<uint8_t>(b * 5 + 1);
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(0, 0)));
    ASSERT_EQ(Queue(1, output.Buffer(kOutputCookie)), E::VPP_OK);
    VppBuffer input = luma.Buffer(1, 0, kEos);
    input.bufferHandle.fds.push_back(std::move(chroma.Buffer(0).bufferHandle.fds[0]));
    input.bufferLen = input.allocLen = input.filledLen = static_cast<int32_t>(kFrameSize);
    ASSERT_EQ(Queue(0, input), E::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitFor(Event::kDrain));
    EXPECT_EQ(std::memcmp(output.data, luma.data, lumaSize), 0);
    EXPECT_EQ(std::memcmp(output.data + lumaSize, chroma.data, lumaSize / 2), 0);
}

ON_BOTH_TRANSPORTS(ConversionTest);

}  // namespace
}  // namespace svctest
