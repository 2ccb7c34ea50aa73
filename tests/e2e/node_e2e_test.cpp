// The demo node through the real library and the reference service, registered in this process
// or in a vppd child: output count, order, timestamps and end of stream per mode; bit-exact input
// frames, repeats and blends; flush and a new stream; refusals.
#include <binder_host/binder_host.h>
#include <camera_host/camera_host.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "e2e_clips.h"
#include "e2e_service.h"
#include "frc_node.h"

namespace {

using e2e::Frame;
using e2e::Transport;
using vppfrc::FrcMode;
using vppfrc::FrcNode;
using vppfrc::FrcNodeConfig;

constexpr int kWidth = 64;
constexpr int kHeight = 48;
// Input spacing divisible by every factor, so that made frames have exact timestamps.
constexpr int64_t kInterval = 840 * 1000;
constexpr int kWaitMs = 20000;

struct Captured {
    Frame data;  // empty for an end of stream without a frame
    int64_t timestamp;
    bool endOfStream, isInputFrame;
};

// Collects what a node hands to its consumer (on the service's thread).
struct Collector {
    FrcNode::FrameConsumer Consumer() {
        return [this](const vppfrc::OutputFrame& frame) {
            std::lock_guard<std::mutex> lock(mutex);
            frames.push_back({frame.i420 ? Frame(frame.i420, frame.i420 + frame.size) : Frame(),
                              frame.timestamp, frame.endOfStream, frame.isInputFrame});
            return true;
        };
    }
    std::vector<Captured> Frames() {
        std::lock_guard<std::mutex> lock(mutex);
        return frames;
    }
    std::mutex mutex;
    std::vector<Captured> frames;
};

FrcNodeConfig Config(FrcMode mode, int factor) {
    FrcNodeConfig config;
    config.width = kWidth;
    config.height = kHeight;
    config.mode = mode;
    config.factor = factor;
    // A range that fits the test's motion keeps motion mode fast in sanitizer builds.
    config.searchRange = 8;
    return config;
}

// Over either transport; no descriptor or (in vppd) mapping outlives a test.
class NodeRuns : public ::testing::TestWithParam<Transport> {
  protected:
    void SetUp() override {
        std::string why;
        service_ = e2e::TestService::Start(GetParam(), &why);
        if (service_ == nullptr && GetParam() == Transport::kProcess) {
            GTEST_SKIP() << "no service in a separate process: " << why;
        }
        ASSERT_NE(service_, nullptr) << why;
        if (service_->daemon() != nullptr) {
            serviceDescriptors_ = testsupport::OpenDescriptorCountOf(service_->daemon()->pid());
        }
    }
    void TearDown() override {
        if (service_ != nullptr && service_->daemon() != nullptr) {
            const pid_t daemon = service_->daemon()->pid();
            EXPECT_TRUE(e2e::Eventually(
                [&] {
                    return testsupport::OpenDescriptorCountOf(daemon) == serviceDescriptors_ &&
                           e2e::MemfdMappingCountOf(daemon) == 0;
                },
                3000))
                << "service descriptors or mappings leaked";
        }
        service_.reset();
        ABinderHost_flushPool();
        EXPECT_EQ(testsupport::OpenDescriptorCount(), descriptors_) << "descriptors leaked";
    }

    // Runs frames (timestamps k * kInterval) through a node to the end of the stream.
    std::vector<Captured> Convert(const FrcNodeConfig& config, const std::vector<Frame>& inputs) {
        Collector collector;
        {
            FrcNode node(config, collector.Consumer());
            EXPECT_EQ(node.Start(), LumResultSuccess) << node.failure();
            for (size_t k = 0; k < inputs.size(); ++k) {
                EXPECT_EQ(node.QueueFrame(inputs[k].data(), static_cast<int64_t>(k) * kInterval),
                          LumResultSuccess)
                    << node.failure();
            }
            EXPECT_EQ(node.EndStream(), LumResultSuccess);
            EXPECT_TRUE(node.WaitForEnd(kWaitMs)) << node.failure();
            const std::vector<Captured> frames = collector.Frames();
            EXPECT_EQ(node.stats().framesDelivered,
                      static_cast<uint64_t>(std::count_if(
                          frames.begin(), frames.end(), [](auto& f) { return !f.data.empty(); })));
            node.Stop();
        }
        if (service_->daemon() == nullptr) {
            EXPECT_EQ(service_->liveSessions(), 0) << "the node's close terminated its session";
        }
        return collector.Frames();
    }

    std::unique_ptr<e2e::TestService> service_;
    const int descriptors_ = testsupport::OpenDescriptorCount();
    int serviceDescriptors_ = 0;
};

// Count, order, spacing and flags of every mode; inputs and repeats bit-exact, blends the
// rounded weighted average.
TEST_P(NodeRuns, OutputsComeInOrderEvenlySpacedWithExactInputsRepeatsAndBlends) {
    const std::vector<Frame> inputs = e2e::NoiseFrames(kWidth, kHeight, 5);
    const std::pair<FrcMode, int> cases[] = {{FrcMode::kOff, 2},
                                             {FrcMode::kRepeat, 2},
                                             {FrcMode::kBlend, 3},
                                             {FrcMode::kBlend, 4},
                                             {FrcMode::kMotion, 3}};
    for (const auto& [mode, factor] : cases) {
        SCOPED_TRACE(std::string(vppfrc::FrcModeName(mode)) + " x" + std::to_string(factor));
        const int groups = mode == FrcMode::kOff ? 1 : factor;
        std::vector<Captured> out = Convert(Config(mode, factor), inputs);
        // Without conversion the last frame is out before the end of the stream is known: the
        // end comes back alone, in an empty buffer.
        if (mode == FrcMode::kOff) {
            ASSERT_FALSE(out.empty());
            EXPECT_TRUE(out.back().endOfStream && out.back().data.empty());
            out.pop_back();
            out.back().endOfStream = true;
        }
        ASSERT_EQ(out.size(), (inputs.size() - 1) * groups + 1);
        for (size_t j = 0; j < out.size(); ++j) {
            SCOPED_TRACE("output " + std::to_string(j));
            EXPECT_EQ(out[j].timestamp, static_cast<int64_t>(j) * kInterval / groups);
            EXPECT_EQ(out[j].endOfStream, j + 1 == out.size());
            EXPECT_EQ(out[j].isInputFrame, j % groups == 0);
            ASSERT_EQ(out[j].data.size(), inputs[0].size());
            const Frame& before = inputs[j / groups];
            const int phase = static_cast<int>(j % groups);
            if (mode == FrcMode::kMotion) continue;
            if (phase == 0 || mode == FrcMode::kRepeat) {
                EXPECT_EQ(out[j].data, before) << "not the exact earlier input";
                continue;
            }
            const Frame& after = inputs[j / groups + 1];
            size_t wrong = 0;
            for (size_t i = 0; i < before.size(); ++i) {
                wrong += out[j].data[i] !=
                         (before[i] * (factor - phase) + after[i] * phase + factor / 2) / factor;
            }
            EXPECT_EQ(wrong, 0u) << "samples that are not the rounded weighted average";
        }
    }
}

TEST_P(NodeRuns, FlushInMidStreamReturnsEveryQueuedBufferAndANewStreamFollows) {
    Collector collector;
    const std::vector<Frame> inputs = e2e::NoiseFrames(kWidth, kHeight, 7);
    FrcNodeConfig config = Config(FrcMode::kBlend, 3);
    config.inputRequests = 4;
    FrcNode node(config, collector.Consumer());
    ASSERT_EQ(node.Start(), LumResultSuccess) << node.failure();
    for (int k = 0; k < 3; ++k) {
        ASSERT_EQ(node.QueueFrame(inputs[k].data(), k * kInterval), LumResultSuccess);
    }
    ASSERT_EQ(node.Flush(kWaitMs), LumResultSuccess) << node.failure();
    EXPECT_EQ(node.freeInputCount(), node.inputRequestCount());
    EXPECT_EQ(node.idleOutputCount(), node.outputRequestCount());
    const size_t beforeFlush = collector.Frames().size();
    EXPECT_LE(beforeFlush, 6u) << "at most the groups of the first two frames were complete";

    // After the flush the node carries on with a stream of its own.
    ASSERT_EQ(node.Resume(), LumResultSuccess);
    for (int k = 3; k < 7; ++k) {
        ASSERT_EQ(node.QueueFrame(inputs[k].data(), k * kInterval), LumResultSuccess);
    }
    ASSERT_EQ(node.EndStream(), LumResultSuccess);
    ASSERT_TRUE(node.WaitForEnd(kWaitMs)) << node.failure();
    const std::vector<Captured> out = collector.Frames();
    ASSERT_EQ(out.size(), beforeFlush + 3 * 3 + 1);
    for (size_t j = beforeFlush; j < out.size(); ++j) {
        EXPECT_EQ(out[j].timestamp,
                  3 * kInterval + static_cast<int64_t>(j - beforeFlush) * kInterval / 3);
        EXPECT_EQ(out[j].isInputFrame, (j - beforeFlush) % 3 == 0);
    }
    EXPECT_EQ(out[beforeFlush].data, inputs[3]);
    EXPECT_TRUE(out.back().endOfStream);
}

TEST_P(NodeRuns, ServiceRefusalsSurfaceAsResultCodes) {
    camera_host::SetStderrLogging(false);
    FrcNode node(Config(FrcMode::kBlend, 9), nullptr);
    EXPECT_EQ(node.Start(), LumResultEFailed);
    EXPECT_EQ(node.failure(), "the VPP service refused the conversion settings (LumResultEFailed)");
    EXPECT_EQ(node.QueueFrame(Frame(kWidth * kHeight * 3 / 2).data(), 0), LumResultEFailed);
    camera_host::SetStderrLogging(true);
}

INSTANTIATE_TEST_SUITE_P(Transports, NodeRuns,
                         ::testing::Values(Transport::kEmbedded, Transport::kProcess),
                         e2e::TransportName);

}  // namespace
