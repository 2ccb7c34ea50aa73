// End-to-end throughput at 1920x1080, factor 2, blend: the vppfrc tool's conversion of a file
// (reading, node, library, embedded service, writing), the same with the service in a vppd child
// against embedded in alternating runs, and the node alone on frames in memory.
// Counters, per output frame: frame_ms (wall time), queue_ms (inside the library's queue calls,
// the service's side of each call included), handler_ms (on returned output buffers: the
// handlers, NV12 to I420 and the consumer on the node's delivery thread). Shares of the wall
// time: library_share (queue calls), handler_share, consumer_share (writing the output).
// out_fps: output frames per second of wall time.
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
#include "temp_dir.h"
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
    Scratch() : dir_("vppfrc-bench") {
        std::string error;
        ok_ = !dir_.path().empty() && media::WriteClip(Input(), ClipOf(), &error);
        if (!ok_ && !error.empty()) fprintf(stderr, "e2e_bench: %s\n", error.c_str());
    }
    bool ok() const { return ok_; }
    std::string Input() const { return dir_.File("in.y4m"); }
    std::string Output() const { return dir_.File("out.y4m"); }

  private:
    testsupport::TempDir dir_;
    bool ok_ = false;
};

Scratch& SharedScratch() {
    static Scratch scratch;
    return scratch;
}

// Sums over the iterations, reported as averages.
struct Totals {
    double wall = 0;
    double frames = 0;
    double queue = 0;
    double handler = 0;
    double consumer = 0;

    void Add(double wallSeconds, int64_t framesOut, const vppfrc::NodeStats& stats) {
        wall += wallSeconds;
        frames += static_cast<double>(framesOut);
        queue += stats.queueSeconds;
        handler += stats.handlerSeconds;
        consumer += stats.consumerSeconds;
    }
    void Report(benchmark::State& state) const {
        if (wall <= 0 || frames <= 0) return;
        state.counters["out_fps"] = frames / wall;
        state.counters["frame_ms"] = wall * 1e3 / frames;
        state.counters["queue_ms"] = queue * 1e3 / frames;
        state.counters["handler_ms"] = handler * 1e3 / frames;
        state.counters["library_share"] = queue / wall;
        state.counters["handler_share"] = handler / wall;
        state.counters["consumer_share"] = consumer / wall;
    }
};

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
    job.overwrite = true;  // every run writes the same output file
    Totals totals;
    for (auto _ : state) {
        vppfrc::ConversionReport report;
        std::string error;
        if (!vppfrc::ConvertFile(job, nullptr, vppfrc::RunHooks(), &report, &error)) {
            state.SkipWithError(error.c_str());
            return;
        }
        totals.Add(report.wallSeconds, report.framesOut, report.node);
        state.SetIterationTime(report.wallSeconds);
    }
    totals.Report(state);
}
BENCHMARK(BM_ToolBlendX2_1080p)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(3);

// The tool through vppd and through the embedded service, one run of each per iteration so that
// both see the same machine load; the order alternates, so that neither always inherits the
// other's dirty page cache. process_vs_embedded: output frame rate through vppd over the
// embedded one (1.0: the process boundary costs nothing).
void BM_ToolBlendX2_1080p_ProcessVsEmbedded(benchmark::State& state) {
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
    job.overwrite = true;  // every run writes the same output file
    Totals embedded;
    Totals process;
    bool embeddedFirst = true;
    for (auto _ : state) {
        double wall = 0;
        const vppfrc::ServiceMode first =
            embeddedFirst ? vppfrc::ServiceMode::kEmbedded : vppfrc::ServiceMode::kProcess;
        const vppfrc::ServiceMode second =
            embeddedFirst ? vppfrc::ServiceMode::kProcess : vppfrc::ServiceMode::kEmbedded;
        embeddedFirst = !embeddedFirst;
        for (vppfrc::ServiceMode mode : {first, second}) {
            job.service = mode;
            vppfrc::ConversionReport report;
            std::string error;
            if (!vppfrc::ConvertFile(job, nullptr, vppfrc::RunHooks(), &report, &error)) {
                state.SkipWithError(
                    (std::string(vppfrc::ServiceModeName(mode)) + ": " + error).c_str());
                return;
            }
            (mode == vppfrc::ServiceMode::kEmbedded ? embedded : process)
                .Add(report.wallSeconds, report.framesOut, report.node);
            wall += report.wallSeconds;
        }
        state.SetIterationTime(wall);
    }
    if (embedded.wall > 0 && process.wall > 0) {
        const double embeddedFps = embedded.frames / embedded.wall;
        const double processFps = process.frames / process.wall;
        state.counters["embedded_fps"] = embeddedFps;
        state.counters["process_fps"] = processFps;
        state.counters["process_vs_embedded"] = processFps / embeddedFps;
    }
}
BENCHMARK(BM_ToolBlendX2_1080p_ProcessVsEmbedded)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(8);

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
    Totals totals;
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
        totals.Add(wall, framesOut, stats);
        state.SetIterationTime(wall);
    }
    totals.Report(state);
}
BENCHMARK(BM_NodeBlendX2_1080p)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
