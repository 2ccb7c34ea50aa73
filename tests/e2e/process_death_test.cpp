// The service in a vppd child dies (SIGKILL) while the node is idle, while it queues, while a
// flush waits, inside a callback, or stops on SIGTERM: the node notices within a second and
// nothing hangs. A client killed in mid-stream leaves the daemon with the descriptors and
// mappings it had.
#include <binder_host/binder_host.h>
#include <camera_host/camera_host.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "e2e_clips.h"
#include "e2e_service.h"
#include "frc_node.h"

namespace {

using Clock = std::chrono::steady_clock;
using e2e::Eventually;
using vppfrc::FrcNode;

constexpr double kNoticeLimit = 1.0;  // seconds from the death to the node's notice

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

class ServiceDeath : public ::testing::Test {
  protected:
    void SetUp() override {
        camera_host::SetStderrLogging(false);
        std::string why;
        service_ = e2e::TestService::Start(e2e::Transport::kProcess, &why);
        if (service_ == nullptr) GTEST_SKIP() << "no service in a separate process: " << why;
    }
    void TearDown() override {
        node_.reset();
        service_.reset();
        ABinderHost_flushPool();
        EXPECT_EQ(testsupport::OpenDescriptorCount(), descriptors_) << "descriptors leaked";
        camera_host::SetStderrLogging(true);
    }
    // A started blend x2 node of 64x48 frames.
    void StartNode(FrcNode::FrameConsumer consumer = nullptr) {
        vppfrc::FrcNodeConfig config;
        config.width = 64;
        config.height = 48;
        config.mode = vppfrc::FrcMode::kBlend;
        config.factor = 2;
        node_ = std::make_unique<FrcNode>(config, std::move(consumer));
        ASSERT_EQ(node_->Start(), LumResultSuccess) << node_->failure();
    }
    // SIGKILL, and the time it was sent.
    Clock::time_point Kill() {
        const Clock::time_point at = Clock::now();
        service_->daemon()->Signal(SIGKILL);
        return at;
    }
    // The node noticed the death within the limit; its close (the destructor waits for it)
    // then ends promptly too.
    void ExpectNoticedAndClosed(Clock::time_point killedAt) {
        EXPECT_TRUE(Eventually([&] { return node_->serviceDied(); }, 5000));
        EXPECT_LT(SecondsSince(killedAt), kNoticeLimit);
        const auto stopAt = Clock::now();
        node_->Stop();
        node_.reset();
        EXPECT_LT(SecondsSince(stopAt), kNoticeLimit) << "close against a dead service";
    }

    const int descriptors_ = testsupport::OpenDescriptorCount();
    const std::vector<e2e::Frame> frames_ = e2e::NoiseFrames(64, 48, 8);
    std::unique_ptr<e2e::TestService> service_;
    std::unique_ptr<FrcNode> node_;
};

TEST_F(ServiceDeath, WhileIdle) {
    StartNode();
    const auto killedAt = Kill();
    EXPECT_TRUE(Eventually([&] { return node_->serviceDied(); }, 5000));
    EXPECT_EQ(node_->QueueFrame(frames_[0].data(), 0), LumResultEFailed);
    ExpectNoticedAndClosed(killedAt);
}

TEST_F(ServiceDeath, WhileQueueing) {
    StartNode();
    std::atomic<int> queued{0};
    std::atomic<bool> refused{false};
    std::thread feeder([&] {
        for (int k = 0; k < 100000 && !refused; ++k, ++queued) {
            refused =
                node_->QueueFrame(frames_[k % frames_.size()].data(), k * 1000) != LumResultSuccess;
        }
    });
    ASSERT_TRUE(Eventually([&] { return queued >= 5; }, 5000));
    const auto killedAt = Kill();
    EXPECT_TRUE(Eventually([&] { return refused.load(); }, 5000)) << "queueing did not stop";
    EXPECT_LT(SecondsSince(killedAt), kNoticeLimit);
    feeder.join();
    ExpectNoticedAndClosed(killedAt);
}

TEST_F(ServiceDeath, WhileAFlushWaitsAndInsideACallback) {
    // The consumer holds the service's first output callback until the test lets it go: the
    // flush that follows waits on it, and the death happens while the callback is inside this
    // process.
    std::mutex mutex;
    std::condition_variable released;
    bool release = false;
    std::atomic<bool> inCallback{false};
    StartNode([&](const vppfrc::OutputFrame&) {
        inCallback = true;
        std::unique_lock<std::mutex> lock(mutex);
        released.wait(lock, [&] { return release; });
        return true;
    });
    for (int k = 0; k < 3; ++k) {
        ASSERT_EQ(node_->QueueFrame(frames_[k].data(), k * 1000), LumResultSuccess);
    }
    ASSERT_TRUE(Eventually([&] { return inCallback.load(); }, 5000));
    auto flush = std::async(std::launch::async, [&] { return node_->Flush(20000); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const auto killedAt = Kill();
    EXPECT_EQ(flush.wait_for(std::chrono::seconds(2)), std::future_status::ready)
        << "the flush still waits for a dead service";
    EXPECT_LT(SecondsSince(killedAt), kNoticeLimit);
    {
        std::lock_guard<std::mutex> lock(mutex);
        release = true;
    }
    released.notify_all();
    EXPECT_NE(flush.get(), LumResultSuccess);
    ExpectNoticedAndClosed(killedAt);
}

TEST_F(ServiceDeath, KilledFromInsideACallback) {
    std::atomic<bool> killed{false};
    Clock::time_point killedAt;
    StartNode([&](const vppfrc::OutputFrame&) {
        if (!killed.exchange(true)) killedAt = Kill();
        return true;
    });
    for (int k = 0; k < 3 && !killed; ++k) node_->QueueFrame(frames_[k].data(), k * 1000);
    ASSERT_TRUE(Eventually([&] { return killed.load(); }, 5000));
    EXPECT_FALSE(node_->WaitForEnd(5000));
    ExpectNoticedAndClosed(killedAt);
}

TEST_F(ServiceDeath, SigtermEndsTheSessionsAndVppdExitsZero) {
    StartNode();
    ASSERT_EQ(node_->QueueFrame(frames_[0].data(), 0), LumResultSuccess);
    const int status = service_->daemon()->Stop();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "vppd status " << status;
    // Counted from the exit: the clean shutdown before it takes its own time.
    ExpectNoticedAndClosed(Clock::now());
}

TEST(ClientDeath, AClientKilledInMidStreamLeavesTheDaemonAsItWas) {
    std::string why;
    auto service = e2e::TestService::Start(e2e::Transport::kProcess, &why);
    if (service == nullptr) GTEST_SKIP() << "no service in a separate process: " << why;
    const pid_t daemon = service->daemon()->pid();
    e2e::TempDir dir;
    const std::string input = dir.File("in.y4m");
    ASSERT_TRUE(e2e::WriteY4m(input, 320, 240, e2e::NoiseFrames(320, 240, 300)));
    // Once to learn the daemon's own descriptors with a client connected and gone.
    const int baseline = testsupport::OpenDescriptorCountOf(daemon);
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const pid_t client = fork();
        if (client == 0) {
            // The tool converts through the running daemon (BINDER_HOST_DIR is inherited).
            execl(VPPFRC_PROGRAM, VPPFRC_PROGRAM, input.c_str(), "-o", dir.File("out.y4m").c_str(),
                  "--mode", "motion", "--service", "connect", "--quiet",
                  static_cast<char*>(nullptr));
            _exit(127);
        }
        ASSERT_GT(client, 0);
        // In mid-stream: the daemon maps the client's frames.
        const bool streaming =
            Eventually([&] { return e2e::MemfdMappingCountOf(daemon) > 0; }, 10000);
        kill(client, SIGKILL);
        int status = 0;
        waitpid(client, &status, 0);
        ASSERT_TRUE(streaming) << "the client never reached the daemon";
        EXPECT_TRUE(WIFSIGNALED(status)) << "the client finished before it was killed";
        EXPECT_TRUE(Eventually(
            [&] {
                return testsupport::OpenDescriptorCountOf(daemon) == baseline &&
                       e2e::MemfdMappingCountOf(daemon) == 0;
            },
            2000))
            << testsupport::OpenDescriptorCountOf(daemon) << " descriptors (baseline " << baseline
            << "), " << e2e::MemfdMappingCountOf(daemon) << " frame mappings";
    }
    int status = service->daemon()->Stop();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

}  // namespace
