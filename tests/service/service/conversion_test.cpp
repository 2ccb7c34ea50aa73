// Frame-rate conversion through a session: output count and order, timestamps, end of stream,
// pixels of input and in-between frames, and the settings that change them.
#include <cstdint>
#include <random>

#include "service_test_util.h"

namespace svctest {
namespace {

constexpr int32_t kWidth = 64;
constexpr int32_t kHeight = 32;
constexpr size_t kFrameSize = kWidth * kHeight * 3 / 2;
// Divisible by every factor used, so that in-between timestamps are exact.
constexpr int64_t kInterval = 840;
constexpr int64_t kFirstTimestamp = 10000;

// A clip of input frames with random pixels and the output buffers for its conversion.
struct Clip {
    std::vector<std::unique_ptr<SharedFrame>> inputs;
    std::vector<std::unique_ptr<SharedFrame>> outputs;

    Clip(size_t inputCount, size_t outputCount, uint32_t seed = 7) {
        std::mt19937 random(seed);
        for (size_t i = 0; i < inputCount; ++i) {
            inputs.push_back(std::make_unique<SharedFrame>(kFrameSize));
            for (size_t b = 0; b < kFrameSize; ++b) inputs.back()->data()[b] = random() & 0xff;
        }
        for (size_t i = 0; i < outputCount; ++i) {
            outputs.push_back(std::make_unique<SharedFrame>(kFrameSize));
        }
    }
    static int64_t InputTimestamp(size_t i) { return kFirstTimestamp + kInterval * i; }
    bool OutputEquals(size_t output, size_t input) const {
        return std::memcmp(outputs[output]->data(), inputs[input]->data(), kFrameSize) == 0;
    }
};

constexpr int64_t kOutputCookie = 1000;

class ConversionTest : public ServiceTest {
  protected:
    // Queues every output, then every input (the last flagged end of stream, or followed by an
    // empty end marker), and waits for the drain.
    void Run(const Clip& clip, bool separateEndMarker) {
        for (size_t i = 0; i < clip.outputs.size(); ++i) {
            ASSERT_EQ(Queue(1, clip.outputs[i]->Buffer(kOutputCookie + i)), VppError::VPP_OK);
        }
        for (size_t i = 0; i < clip.inputs.size(); ++i) {
            const bool last = i + 1 == clip.inputs.size();
            const int32_t flags = (last && !separateEndMarker) ? kEos : 0;
            ASSERT_EQ(Queue(0, clip.inputs[i]->Buffer(i, Clip::InputTimestamp(i), flags)),
                      VppError::VPP_OK);
        }
        if (separateEndMarker) {
            ASSERT_EQ(Queue(0, EndMarker()), VppError::VPP_OK);
        }
        ASSERT_TRUE(callbacks_->WaitForDrain());
    }
    // Outputs that carry a frame, in callback order.
    std::vector<Event> FilledOutputs() const {
        std::vector<Event> filled;
        for (const Event& e : callbacks_->Of(Event::kOutput)) {
            if (e.filledLen > 0) filled.push_back(e);
        }
        return filled;
    }
};

TEST_P(ConversionTest, EveryModeAndFactorYieldsTheFullScheduleInOrder) {
    const size_t m = 4;
    for (int32_t mode : {1, 2, 3}) {
        for (int32_t factor : {2, 3, 4}) {
            SCOPED_TRACE("mode " + std::to_string(mode) + " factor " + std::to_string(factor));
            TearDown();
            SetUp();
            const size_t expected = (m - 1) * factor + 1;
            Clip clip(m, expected);
            // A small motion search keeps the sanitizer builds quick.
            ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(mode, factor, 4)));
            ASSERT_NO_FATAL_FAILURE(Run(clip, factor == 3));

            const auto outputs = FilledOutputs();
            ASSERT_EQ(outputs.size(), expected);
            for (size_t k = 0; k < expected; ++k) {
                EXPECT_EQ(outputs[k].cookie, kOutputCookie + static_cast<int64_t>(k));
                EXPECT_EQ(outputs[k].filledLen, static_cast<int32_t>(kFrameSize));
                EXPECT_EQ(outputs[k].timestamp, kFirstTimestamp + kInterval * k / factor);
                EXPECT_EQ(outputs[k].flags, k + 1 == expected ? kEos : 0);
            }
            // Every input back once, end marker included; the drain comes after everything.
            const auto inputs = callbacks_->Of(Event::kInput);
            EXPECT_EQ(inputs.size(), m + (factor == 3 ? 1 : 0));
            const auto events = callbacks_->Events();
            EXPECT_EQ(events.back().kind, Event::kDrain);
            // Every callback was made on one thread (embedded; across processes they arrive
            // on this process's binder threads), never the test's.
            for (const Event& e : events) {
                if (Embedded()) {
                    EXPECT_EQ(e.thread, events.front().thread);
                }
                EXPECT_NE(e.thread, std::this_thread::get_id());
            }
            VppStats stats;
            ASSERT_EQ(Call([&](VppError* e) { return session_->getStats(&stats, e); }),
                      VppError::VPP_OK);
            EXPECT_EQ(stats.interpolatedFrames, static_cast<int64_t>((m - 1) * (factor - 1)));
            EXPECT_EQ(stats.outputBuffersDone, static_cast<int64_t>(expected));
            EXPECT_EQ(stats.inputBuffersDone, stats.inputBuffersQueued);
        }
    }
}

TEST_P(ConversionTest, InputsAreBitExactAndInBetweenFramesFollowTheMode) {
    const size_t m = 3;
    const int32_t factor = 4;
    for (int32_t mode : {0, 1, 2}) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        TearDown();
        SetUp();
        const size_t expected = mode == 0 ? m : (m - 1) * factor + 1;
        Clip clip(m, expected, 11 + mode);
        ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(mode, factor)));
        ASSERT_NO_FATAL_FAILURE(Run(clip, false));
        ASSERT_EQ(FilledOutputs().size(), expected);
        const size_t step = mode == 0 ? 1 : factor;
        for (size_t i = 0; i < m; ++i) {
            EXPECT_TRUE(clip.OutputEquals(i * step, i)) << "input " << i;
        }
        if (mode == 0) continue;
        for (size_t i = 0; i + 1 < m; ++i) {
            for (int32_t k = 1; k < factor; ++k) {
                const uint8_t* a = clip.inputs[i]->data();
                const uint8_t* b = clip.inputs[i + 1]->data();
                const uint8_t* out = clip.outputs[i * factor + k]->data();
                size_t mismatches = 0;
                for (size_t s = 0; s < kFrameSize; ++s) {
                    const int want =
                        mode == 1 ? a[s] : (a[s] * (factor - k) + b[s] * k + factor / 2) / factor;
                    mismatches += out[s] != want;
                }
                EXPECT_EQ(mismatches, 0u) << "frame " << i << " phase " << k;
            }
        }
    }
}

TEST_P(ConversionTest, EndOfStreamWithNothingLeftGivesAnEmptyFlaggedOutput) {
    Clip clip(2, 3);
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(0, 0)));
    ASSERT_NO_FATAL_FAILURE(Run(clip, true));
    const auto outputs = callbacks_->Of(Event::kOutput);
    ASSERT_EQ(outputs.size(), 3u);
    EXPECT_EQ(outputs[1].flags, 0) << "the last frame went out before the marker came";
    EXPECT_EQ(outputs[2].filledLen, 0);
    EXPECT_EQ(outputs[2].flags, kEos);

    // drain() ends the next stream the same way, without a buffer of its own.
    ASSERT_EQ(Queue(0, clip.inputs[0]->Buffer(1, 5)), VppError::VPP_OK);
    ASSERT_EQ(Queue(1, clip.outputs[0]->Buffer(kOutputCookie)), VppError::VPP_OK);
    ASSERT_EQ(Queue(1, clip.outputs[1]->Buffer(kOutputCookie + 1)), VppError::VPP_OK);
    ASSERT_EQ(Call([&](VppError* e) { return session_->drain(e); }), VppError::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitForCount(Event::kDrain, 2));
    const auto after = callbacks_->Of(Event::kOutput);
    ASSERT_EQ(after.size(), 5u);
    EXPECT_EQ(after[3].filledLen, static_cast<int32_t>(kFrameSize));
    EXPECT_EQ(after[4].filledLen, 0);
    EXPECT_EQ(after[4].flags, kEos);
}

TEST_P(ConversionTest, TimestampAndPassThroughSettings) {
    const size_t m = 3;
    const int32_t factor = 2;
    Clip clip(m, 3);
    ASSERT_EQ(Init(), VppError::VPP_OK);
    ASSERT_EQ(SetPorts(Param(kWidth, kHeight), Param(kWidth, kHeight)), VppError::VPP_OK);
    ASSERT_EQ(SetCtrl(Ctrl(2, factor)), VppError::VPP_OK);
    ASSERT_EQ(Call([&](VppError* e) { return session_->setPassThrough(0, e); }), VppError::VPP_OK);
    ASSERT_EQ(Call([&](VppError* e) { return session_->setTimestampMode(1, e); }),
              VppError::VPP_OK);
    ASSERT_EQ(Open(), VppError::VPP_OK);
    ASSERT_NO_FATAL_FAILURE(Run(clip, false));
    // Only the in-between frames, stamped with their earlier input. The last input is not
    // passed through, so an empty buffer carries the end of stream.
    const auto outputs = callbacks_->Of(Event::kOutput);
    ASSERT_EQ(outputs.size(), 3u);
    EXPECT_EQ(outputs[0].timestamp, Clip::InputTimestamp(0));
    EXPECT_EQ(outputs[1].timestamp, Clip::InputTimestamp(1));
    EXPECT_EQ(outputs[1].flags, 0);
    EXPECT_EQ(outputs[1].filledLen, static_cast<int32_t>(kFrameSize));
    EXPECT_EQ(outputs[2].filledLen, 0);
    EXPECT_EQ(outputs[2].flags, kEos);
}

TEST_P(ConversionTest, ReconfigureReturnsOldBuffersThenTakesTheNewSize) {
    Clip clip(2, 2);
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(0, 0)));
    ASSERT_EQ(Queue(1, clip.outputs[0]->Buffer(kOutputCookie)), VppError::VPP_OK);
    ASSERT_EQ(Queue(1, clip.outputs[1]->Buffer(kOutputCookie + 1)), VppError::VPP_OK);
    ASSERT_EQ(Queue(0, clip.inputs[0]->Buffer(0, 1)), VppError::VPP_OK);
    const VppPortParam small = Param(32, 16);
    ASSERT_EQ(Call([&](VppError* e) { return session_->reconfigure(small, small, e); }),
              VppError::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitFor([](const Event& e) { return e.kind == Event::kReconfig; }));
    const auto events = callbacks_->Events();
    ASSERT_EQ(events.size(), 4u);
    EXPECT_EQ(events[0].kind, Event::kOutput);
    EXPECT_EQ(events[0].filledLen, static_cast<int32_t>(kFrameSize));
    EXPECT_EQ(events[1].kind, Event::kInput);
    EXPECT_EQ(events[2].kind, Event::kOutput) << "the unused old buffer comes back unfilled";
    EXPECT_EQ(events[2].filledLen, 0);
    EXPECT_EQ(events[3].status, VppError::VPP_OK);
    // The new size counts from now on: a buffer of the new frame size is enough.
    SharedFrame newSize(32 * 16 * 3 / 2);
    EXPECT_EQ(Queue(0, newSize.Buffer(5, 2)), VppError::VPP_OK);
}

TEST_P(ConversionTest, InputsWithoutTimestampsAreSpacedByTheFrameRate) {
    Clip clip(3, 5);
    ASSERT_EQ(Init(), VppError::VPP_OK);
    ASSERT_EQ(SetPorts(Param(kWidth, kHeight), Param(kWidth, kHeight)), VppError::VPP_OK);
    ASSERT_EQ(SetCtrl(Ctrl(2, 2)), VppError::VPP_OK);
    ASSERT_EQ(Call([&](VppError* e) { return session_->setFrameRate(25, 1, e); }),
              VppError::VPP_OK);
    ASSERT_EQ(Open(), VppError::VPP_OK);
    for (size_t i = 0; i < clip.outputs.size(); ++i) {
        ASSERT_EQ(Queue(1, clip.outputs[i]->Buffer(kOutputCookie + i)), VppError::VPP_OK);
    }
    for (size_t i = 0; i < clip.inputs.size(); ++i) {
        ASSERT_EQ(Queue(0, clip.inputs[i]->Buffer(i, 0, i + 1 == clip.inputs.size() ? kEos : 0)),
                  VppError::VPP_OK);
    }
    ASSERT_TRUE(callbacks_->WaitForDrain());
    const auto outputs = callbacks_->Of(Event::kOutput);
    ASSERT_EQ(outputs.size(), 5u);
    for (size_t k = 0; k < outputs.size(); ++k) {
        EXPECT_EQ(outputs[k].timestamp, static_cast<int64_t>(k) * 20000000) << k;
    }
}

TEST_P(ConversionTest, ClientTimestampsAndFrameRatesAtTheirExtremes) {
    constexpr int64_t kMin = INT64_MIN;
    constexpr int64_t kMax = INT64_MAX;
    // Blend between the two ends of the range, and back: made frames fall in between.
    {
        Clip clip(3, 2 * 4 + 1);
        ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(2, 4)));
        for (size_t i = 0; i < clip.outputs.size(); ++i) {
            ASSERT_EQ(Queue(1, clip.outputs[i]->Buffer(kOutputCookie + i)), VppError::VPP_OK);
        }
        const int64_t stamps[] = {kMin, kMax, kMin};
        for (size_t i = 0; i < 3; ++i) {
            ASSERT_EQ(Queue(0, clip.inputs[i]->Buffer(i, stamps[i], i == 2 ? kEos : 0)),
                      VppError::VPP_OK);
        }
        ASSERT_TRUE(callbacks_->WaitForDrain());
        const auto out = FilledOutputs();
        ASSERT_EQ(out.size(), 9u);
        EXPECT_EQ(out[0].timestamp, kMin);
        EXPECT_EQ(out[2].timestamp, -1) << "half way from the minimum to the maximum";
        EXPECT_EQ(out[4].timestamp, kMax);
        EXPECT_EQ(out[8].timestamp, kMin);
        for (size_t k = 1; k < 4; ++k) EXPECT_LT(out[k - 1].timestamp, out[k].timestamp);
        for (size_t k = 5; k < 8; ++k) EXPECT_GT(out[k - 1].timestamp, out[k].timestamp);
    }
    // The slowest frame rate a client can set spaces untimed inputs by 2^31-1 s: the timeline
    // stops at the maximum rather than wrapping.
    TearDown();
    SetUp();
    {
        const size_t inputs = 6;
        Clip clip(inputs, (inputs - 1) * 2 + 1);
        ASSERT_EQ(Init(), VppError::VPP_OK);
        ASSERT_EQ(SetPorts(Param(kWidth, kHeight), Param(kWidth, kHeight)), VppError::VPP_OK);
        ASSERT_EQ(SetCtrl(Ctrl(2, 2)), VppError::VPP_OK);
        ASSERT_EQ(Call([&](VppError* e) { return session_->setFrameRate(1, INT32_MAX, e); }),
                  VppError::VPP_OK);
        ASSERT_EQ(Open(), VppError::VPP_OK);
        for (size_t i = 0; i < clip.outputs.size(); ++i) {
            ASSERT_EQ(Queue(1, clip.outputs[i]->Buffer(kOutputCookie + i)), VppError::VPP_OK);
        }
        for (size_t i = 0; i < inputs; ++i) {
            ASSERT_EQ(Queue(0, clip.inputs[i]->Buffer(i, 0, i + 1 == inputs ? kEos : 0)),
                      VppError::VPP_OK);
        }
        ASSERT_TRUE(callbacks_->WaitForDrain());
        const auto out = FilledOutputs();
        ASSERT_EQ(out.size(), clip.outputs.size());
        const int64_t period = INT64_C(2147483647) * 1000000000;
        EXPECT_EQ(out[2].timestamp, period);
        for (size_t k = 1; k < out.size(); ++k) EXPECT_LE(out[k - 1].timestamp, out[k].timestamp);
        EXPECT_EQ(out.back().timestamp, kMax);
    }
}

TEST_P(ConversionTest, PlanesMayLiveInSeparateDescriptors) {
    const size_t lumaSize = kWidth * kHeight;
    SharedFrame luma(lumaSize);
    SharedFrame chroma(lumaSize / 2);
    SharedFrame output(kFrameSize);
    for (size_t b = 0; b < lumaSize; ++b) luma.data()[b] = static_cast<uint8_t>(b * 3);
    for (size_t b = 0; b < lumaSize / 2; ++b) chroma.data()[b] = static_cast<uint8_t>(b * 5 + 1);
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(0, 0)));
    ASSERT_EQ(Queue(1, output.Buffer(kOutputCookie)), VppError::VPP_OK);
    VppBuffer input = luma.Buffer(1, 0, kEos);
    input.bufferHandle.fds.push_back(std::move(chroma.Buffer(0).bufferHandle.fds[0]));
    input.bufferLen = input.allocLen = input.filledLen = static_cast<int32_t>(kFrameSize);
    ASSERT_EQ(Queue(0, input), VppError::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitForDrain());
    EXPECT_EQ(std::memcmp(output.data(), luma.data(), lumaSize), 0);
    EXPECT_EQ(std::memcmp(output.data() + lumaSize, chroma.data(), lumaSize / 2), 0);
}

INSTANTIATE_TEST_SUITE_P(Transports, ConversionTest,
                         ::testing::Values(Transport::kEmbedded, Transport::kProcess),
                         TransportName);

}  // namespace
}  // namespace svctest
