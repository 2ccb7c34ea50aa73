// End-to-end throughput at 1920x1080, factor 2, blend: the vppfrc tool's conversion of a file
// (reading, node, library, embedded service, writing), and the node alone on frames in memory.
// Counters: out_fps (output frames per second of wall time); library_share (time inside the
// library's queue calls, the service's side of each call included, over the wall time);
// handler_share (time in the node's buffer-done handlers: NV12 to I420 and the consumer);
// consumer_share (the part of it spent writing the output); queue_us (one queue call).
#include <benchmark/benchmark.h>
#include <camera_host/camera_host.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "convert.h"
#include "frc_node.h"
#include "media/clipgen.h"
#include "vppservice/vpp_service.h"

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kFrames = 30;
constexpr int kFactor = 2;

media::ClipOptions ClipOf() {
    media::ClipOptions options;
    options.width = kWidth;
    options.height = kHeight;
    options.frames = kFrames;
    return options;
}

// A scratch folder with the input clip, made once for the whole program.
class Scratch {
  public:
    Scratch() {
        const char* base = getenv("TMPDIR");
        std::string pattern =
            std::string(base != nullptr && *base ? base : "/tmp") + "/vppfrc-bench-XXXXXX";
        std::vector<char> buffer(pattern.begin(), pattern.end());
        buffer.push_back('\0');
        if (mkdtemp(buffer.data()) == nullptr) return;
        dir_ = buffer.data();
        std::string error;
        if (!media::WriteClip(Input(), ClipOf(), &error)) {
            fprintf(stderr, "e2e_bench: %s\n", error.c_str());
            dir_.clear();
        }
    }
    ~Scratch() {
        if (dir_.empty()) return;
        unlink(Input().c_str());
        unlink(Output().c_str());
        rmdir(dir_.c_str());
    }
    bool ok() const { return !dir_.empty(); }
    std::string Input() const { return dir_ + "/in.y4m"; }
    std::string Output() const { return dir_ + "/out.y4m"; }

  private:
    std::string dir_;
};

Scratch& SharedScratch() {
    static Scratch scratch;
    return scratch;
}

void Report(benchmark::State& state, double wall, int64_t framesOut,
            const vppfrc::NodeStats& stats) {
    state.counters["out_fps"] =
        benchmark::Counter(static_cast<double>(framesOut), benchmark::Counter::kIsRate);
    state.counters["library_share"] =
        benchmark::Counter(stats.queueSeconds / wall, benchmark::Counter::kAvgIterations);
    state.counters["handler_share"] =
        benchmark::Counter(stats.handlerSeconds / wall, benchmark::Counter::kAvgIterations);
    state.counters["consumer_share"] =
        benchmark::Counter(stats.consumerSeconds / wall, benchmark::Counter::kAvgIterations);
    state.counters["queue_us"] = benchmark::Counter(
        stats.queueCalls > 0 ? stats.queueSeconds * 1e6 / static_cast<double>(stats.queueCalls) : 0,
        benchmark::Counter::kAvgIterations);
}

void BM_ToolBlendX2_1080p(benchmark::State& state) {
    Scratch& scratch = SharedScratch();
    if (!scratch.ok()) {
        state.SkipWithError("cannot make the input clip");
        return;
    }
    vppfrc::ConversionJob job;
    job.input = scratch.Input();
    job.output = scratch.Output();
    job.mode = vppfrc::FrcMode::kBlend;
    job.factor = kFactor;
    job.showProgress = false;
    for (auto _ : state) {
        vppfrc::ConversionReport report;
        std::string error;
        if (!vppfrc::ConvertFile(job, nullptr, vppfrc::RunHooks(), &report, &error)) {
            state.SkipWithError(error.c_str());
            return;
        }
        Report(state, report.wallSeconds, report.framesOut, report.node);
        state.SetIterationTime(report.wallSeconds);
    }
}
BENCHMARK(BM_ToolBlendX2_1080p)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(3);

void BM_NodeBlendX2_1080p(benchmark::State& state) {
    media::ClipGenerator clip;
    std::string error;
    if (!clip.Init(ClipOf(), &error)) {
        state.SkipWithError(error.c_str());
        return;
    }
    std::vector<std::vector<uint8_t>> frames(kFrames, std::vector<uint8_t>(clip.frameSize()));
    for (int t = 0; t < kFrames; ++t) clip.Render(t, frames[static_cast<size_t>(t)].data());

    auto service = vppservice::RegisterService();
    if (service == nullptr) {
        state.SkipWithError("cannot register the service");
        return;
    }
    vppfrc::FrcNodeConfig config;
    config.width = kWidth;
    config.height = kHeight;
    config.mode = vppfrc::FrcMode::kBlend;
    config.factor = kFactor;
    for (auto _ : state) {
        int64_t framesOut = 0;
        const auto start = std::chrono::steady_clock::now();
        vppfrc::NodeStats stats;
        {
            vppfrc::FrcNode node(config, [&](const vppfrc::OutputFrame& frame) {
                framesOut += frame.i420 != nullptr;
                return true;
            });
            bool ok = node.Start() == LumResultSuccess;
            for (int t = 0; ok && t < kFrames; ++t) {
                ok = node.QueueFrame(frames[static_cast<size_t>(t)].data(), t * 33333333LL) ==
                     LumResultSuccess;
            }
            ok = ok && node.EndStream() == LumResultSuccess && node.WaitForEnd(60000);
            if (!ok) {
                state.SkipWithError(node.failure().c_str());
                return;
            }
            stats = node.stats();
            node.Stop();
        }
        const double wall =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        Report(state, wall, framesOut, stats);
        state.SetIterationTime(wall);
    }
}
BENCHMARK(BM_NodeBlendX2_1080p)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
