// vppd_kill_probe: starts vppd, streams frames into it through a FrcNode, kills it (SIGKILL) in
// mid-stream, and measures how long the node takes to notice and what it leaves open; N rounds.
// Prints one line per round with --verbose, and a summary line; exit 0 when every round met the
// targets (notice under 1 s, no descriptor left open), 1 otherwise, 2 when vppd is not reachable
// from this process.
#include <binder_host/binder_host.h>
#include <camera_host/camera_host.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "descriptors.h"
#include "frc_node.h"
#include "media/clipgen.h"
#include "vppservice/daemon_process.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kWidth = 640;
constexpr int kHeight = 360;
constexpr double kNoticeTarget = 1.0;

struct Round {
    double noticeSeconds = -1;  // -1: not noticed within the wait
    int descriptorsLeft = 0;
};

Round RunRound(const std::vector<std::vector<uint8_t>>& frames, int killAfter) {
    Round round;
    const int before = testsupport::OpenDescriptorCount();
    std::string error;
    vppservice::DaemonOptions options;
    auto daemon = vppservice::DaemonProcess::Start(options, &error);
    if (daemon == nullptr) {
        fprintf(stderr, "vppd_kill_probe: %s\n", error.c_str());
        return round;
    }
    {
        vppfrc::FrcNodeConfig config;
        config.width = kWidth;
        config.height = kHeight;
        config.mode = vppfrc::FrcMode::kBlend;
        config.factor = 2;
        vppfrc::FrcNode node(config, nullptr);
        if (node.Start() != LumResultSuccess) {
            fprintf(stderr, "vppd_kill_probe: %s\n", node.failure().c_str());
            return round;
        }
        std::atomic<int> queued{0};
        std::thread feeder([&] {
            for (size_t k = 0;; ++k) {
                if (node.QueueFrame(frames[k % frames.size()].data(),
                                    static_cast<int64_t>(k) * 33333333) != LumResultSuccess) {
                    return;
                }
                queued++;
            }
        });
        while (queued < killAfter) std::this_thread::sleep_for(std::chrono::microseconds(100));
        const Clock::time_point killedAt = Clock::now();
        daemon->Signal(SIGKILL);
        const Clock::time_point deadline = killedAt + std::chrono::seconds(5);
        while (!node.serviceDied() && Clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
        if (node.serviceDied()) {
            round.noticeSeconds = std::chrono::duration<double>(Clock::now() - killedAt).count();
        }
        feeder.join();
        node.Stop();
    }
    daemon->Wait(5000);
    daemon.reset();
    ABinderHost_flushPool();
    round.descriptorsLeft = testsupport::OpenDescriptorCount() - before;
    return round;
}

}  // namespace

int main(int argc, char** argv) {
    int rounds = 100;
    bool verbose = false;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--verbose") == 0) {
            verbose = true;
        } else if (strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
            rounds = atoi(argv[++i]);
        } else {
            fprintf(stderr, "usage: vppd_kill_probe [--rounds N] [--verbose]\n");
            return 2;
        }
    }
    camera_host::SetStderrLogging(false);
    std::string error;
    auto folder = vppservice::SocketFolder::Make(&error);
    if (folder == nullptr) {
        fprintf(stderr, "vppd_kill_probe: %s\n", error.c_str());
        return 2;
    }
    media::ClipOptions clip;
    clip.width = kWidth;
    clip.height = kHeight;
    clip.frames = 8;
    media::ClipGenerator generator;
    if (!generator.Init(clip, &error)) {
        fprintf(stderr, "vppd_kill_probe: %s\n", error.c_str());
        return 2;
    }
    std::vector<std::vector<uint8_t>> frames(clip.frames,
                                             std::vector<uint8_t>(generator.frameSize()));
    for (int t = 0; t < clip.frames; ++t)
        generator.Render(t, frames[static_cast<size_t>(t)].data());

    std::mt19937 random(1);
    std::vector<double> notices;
    int missed = 0;
    int leftMax = 0;
    for (int r = 0; r < rounds; ++r) {
        const int killAfter = 2 + static_cast<int>(random() % 20);
        const Round round = RunRound(frames, killAfter);
        if (round.noticeSeconds < 0) {
            missed++;
            if (r == 0) {
                fprintf(stderr,
                        "vppd_kill_probe: the node never noticed vppd's death (is the "
                        "binder reaching other processes?)\n");
                return 2;
            }
        } else {
            notices.push_back(round.noticeSeconds);
        }
        leftMax = std::max(leftMax, round.descriptorsLeft);
        if (verbose) {
            printf("round %d: killed after %d frames, noticed after %.3f ms, %d descriptors left\n",
                   r + 1, killAfter, round.noticeSeconds * 1e3, round.descriptorsLeft);
        }
    }
    std::sort(notices.begin(), notices.end());
    const double longest = notices.empty() ? 0 : notices.back();
    const double median = notices.empty() ? 0 : notices[notices.size() / 2];
    printf(
        "vppd_kill_probe: %d rounds, notice median %.3f ms, longest %.3f ms (target < 1000), "
        "%d not noticed, descriptors left open: %d (target 0)\n",
        rounds, median * 1e3, longest * 1e3, missed, leftMax);
    return (missed == 0 && longest < kNoticeTarget && leftMax == 0) ? 0 : 1;
}
