// Benchmarks of the frame-rate conversion engine at factor 2: blend and motion in-between
// frames (1080p on one thread and on every core, short pictures), and the whole converter.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "frc/converter.h"
#include "frc/motion.h"
#include "frc/ops.h"

namespace {

constexpr int kW = 1920;
constexpr int kH = 1080;

// An NV12 buffer holding a detailed picture shifted by (dx, dy), so that motion search works
// on content like a camera's.
struct Buffer {
    std::vector<uint8_t> data;
    frc::FrameView view;
    explicit Buffer(double dx = 0, double dy = 0, int w = kW, int h = kH)
        : data(frc::bufferSize(frc::PixelFormat::kNv12, w, h, w, h)) {
        view = frc::FrameView::fromBuffer(data.data(), frc::PixelFormat::kNv12, w, h, w, h);
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                const double u = x - dx;
                const double v = y - dy;
                const double s = 128 + 50 * std::sin(0.05 * u + 0.03 * v) +
                                 40 * std::sin(0.17 * u - 0.11 * v) * std::cos(0.013 * v) +
                                 25 * std::sin(0.41 * u + 0.37 * v);
                view.planes[0][y * w + x] =
                    static_cast<uint8_t>(std::lround(std::min(255.0, std::max(0.0, s))));
            }
        }
        for (int y = 0; y < h / 2; ++y) {
            for (int x = 0; x < w; ++x) {
                view.planes[1][y * w + x] =
                    static_cast<uint8_t>(128 + 40 * std::sin(0.02 * (x + y - dx)));
            }
        }
    }
};

void setRate(benchmark::State& state, int framesPerIteration) {
    state.counters["frames/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * framesPerIteration, benchmark::Counter::kIsRate);
}

// One blended in-between frame per iteration.
void BM_Blend1080pFactor2(benchmark::State& state) {
    Buffer a(0, 0);
    Buffer b(9.5, 3.25);
    Buffer out;
    for (auto _ : state) {
        frc::blendFrames(a.view, b.view, 1, 2, out.view);
        benchmark::ClobberMemory();
    }
    setRate(state, 1);
}
BENCHMARK(BM_Blend1080pFactor2)->Unit(benchmark::kMillisecond);

// One motion-compensated in-between frame per iteration, including the motion search of its
// pair (a new input frame is analysed every iteration, as in a stream at factor 2). Arguments:
// width, height, threads (0: one per core).
void BM_Motion(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0));
    const int h = static_cast<int>(state.range(1));
    Buffer frames[2] = {Buffer(0, 0, w, h), Buffer(9.5, 3.25, w, h)};
    Buffer out(0, 0, w, h);
    frc::MotionInterpolator mi(frc::MotionParams{0, static_cast<int>(state.range(2))});
    mi.push(frames[0].view);
    int next = 1;
    for (auto _ : state) {
        mi.push(frames[next].view);
        mi.interpolate(1, 2, out.view);
        next ^= 1;
        benchmark::ClobberMemory();
    }
    setRate(state, 1);
}
// 1080p on one thread and on every core; short pictures (a pyramid of few rows must stay as
// fast as a slightly taller picture's) and a very wide, short one.
BENCHMARK(BM_Motion)
    ->Args({kW, kH, 1})
    ->Args({kW, kH, 0})
    ->Args({640, 96, 1})
    ->Args({640, 94, 1})
    ->Args({16384, 64, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// The converter in a stream: per input frame, a copy of the input and one in-between frame
// (two output frames per iteration), as the service would run it.
void converterStream(benchmark::State& state, frc::FrcMode mode) {
    Buffer frames[2] = {Buffer(0, 0), Buffer(9.5, 3.25)};
    Buffer out;
    frc::ConverterConfig cfg;
    cfg.mode = mode;
    cfg.factor = 2;
    frc::Converter conv(cfg);
    std::vector<frc::OutputFrame> outputs;
    int64_t ts = 0;
    int next = 0;
    for (auto _ : state) {
        outputs.clear();
        conv.push(frames[next].view, ts, static_cast<uint64_t>(ts), &outputs);
        for (const auto& o : outputs) conv.render(o, out.view);
        ts += 33333;
        next ^= 1;
        benchmark::ClobberMemory();
    }
    setRate(state, 2);
}
void BM_ConverterBlend1080pFactor2(benchmark::State& state) {
    converterStream(state, frc::FrcMode::kBlend);
}
void BM_ConverterMotion1080pFactor2(benchmark::State& state) {
    converterStream(state, frc::FrcMode::kMotion);
}
BENCHMARK(BM_ConverterBlend1080pFactor2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ConverterMotion1080pFactor2)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
