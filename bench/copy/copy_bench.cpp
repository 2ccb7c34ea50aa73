// CopyImage against the plain copies it stands for: whole NV12 planes against memcpy of the same
// bytes, and row-by-row copies between different strides against a per-row memcpy loop and
// libyuv's CopyPlane on the same rows. Bytes/s counters count the bytes copied; the paired
// benchmarks give the ratio of CopyImage's bandwidth to the baseline's, measured side by side.
#include <benchmark/benchmark.h>
#include <camera_host/camera_buffers.h>
#include <time.h>

#include <cstring>
#include <memory>

#include "ixolog.h"
#include "pavovppservicebase.h"

#ifdef BENCH_WITH_LIBYUV
#include <libyuv/planar_functions.h>
#endif

namespace {

using camera_host::ImageGeometry;
using camera_host::PlainImageList;

// A node with empty handlers: CopyImage needs no service.
class CopyNode : public IxoNodeVppBase {
  public:
    CopyNode() {
        m_pNodeName = "CopyBench";
        m_skipWaitForClose = 1;
    }
    void OnVppServiceDied() override {}
    void OnVppInputBufferDone(const VppBuffer&) override {}
    void OnVppOutputBufferDone(const VppBuffer&) override {}
    void OnVppFlushDone(const FlushDone&) override {}
    void OnVppDrainDone() override {}
    void OnVppReconfigDone(const ReconfigDone&) override {}
    void OnVppError(VppError) override {}
};

void SilenceLogs() {
    for (int index = 0; index < IXO_LOG_LEVEL_COUNT; index++) {
        g_enableIxoNodeLogs[index] = 0;
        g_enableIxeLogs[index] = 0;
    }
}

std::unique_ptr<PlainImageList> Nv12(uint32_t width, uint32_t height, uint32_t stride) {
    ImageGeometry geometry;
    geometry.width = width;
    geometry.height = height;
    geometry.stride = stride;
    geometry.format = IxoFormatNV12;
    std::unique_ptr<PlainImageList> list = PlainImageList::Create(geometry, 1);
    if (list != nullptr) {
        for (uint32_t p = 0; p < list->numberOfPlanes; p++) {
            std::memset(list->pAddr[0][p], static_cast<int>(p + 1), list->planeSize[p]);
        }
    }
    return list;
}

// Source and destination of one frame size; the destination stride is the source's unless a
// row-by-row copy is wanted.
struct Frames {
    Frames(benchmark::State& state, bool differentStrides) {
        SilenceLogs();
        const uint32_t width = static_cast<uint32_t>(state.range(0));
        const uint32_t height = static_cast<uint32_t>(state.range(1));
        input = Nv12(width, height, width);
        output = Nv12(width, height, differentStrides ? width + 128 : width);
        if (input == nullptr || output == nullptr) {
            state.SkipWithError("cannot allocate the frames");
            return;
        }
        // Bytes moved per frame: whole planes, or rows of the smaller stride.
        for (uint32_t p = 0; p < input->numberOfPlanes; p++) {
            bytes += differentStrides
                         ? static_cast<size_t>(width) * input->formatBlock.planeLayout[p].height
                         : input->planeSize[p];
        }
    }
    std::unique_ptr<PlainImageList> input;
    std::unique_ptr<PlainImageList> output;
    size_t bytes = 0;
};

// The copies compared; each moves the bytes that Frames::bytes counts.
void CopyImageOnce(const Frames& frames, CopyNode& node) {
    benchmark::DoNotOptimize(node.CopyImage(frames.output.get(), frames.input.get()));
}

void MemcpyPlanes(const Frames& frames) {
    for (uint32_t p = 0; p < frames.input->numberOfPlanes; p++) {
        std::memcpy(frames.output->pAddr[0][p], frames.input->pAddr[0][p],
                    frames.input->planeSize[p]);
    }
}

// The rows CopyImage copies for NV12 between different strides: plane 0 whole, plane 1 over half
// of plane 0's rows, each row as long as the smaller stride (the source's, the width here).
template <typename CopyRows>
void Nv12Rows(const Frames& frames, CopyRows copyRows) {
    const uint32_t width = frames.input->formatBlock.planeLayout[0].stride;
    const uint32_t rows = frames.input->formatBlock.planeLayout[0].height;
    const uint32_t destinationStride = frames.output->formatBlock.planeLayout[0].stride;
    copyRows(frames.input->pAddr[0][0], width, frames.output->pAddr[0][0], destinationStride, width,
             rows);
    copyRows(frames.input->pAddr[0][1], width, frames.output->pAddr[0][1], destinationStride, width,
             rows / 2);
}

void MemcpyRows(const Frames& frames) {
    Nv12Rows(frames, [](const uint8_t* pSource, uint32_t sourceStride, uint8_t* pDestination,
                        uint32_t destinationStride, uint32_t width, uint32_t rows) {
        for (uint32_t r = 0; r < rows; r++) {
            std::memcpy(pDestination + static_cast<size_t>(r) * destinationStride,
                        pSource + static_cast<size_t>(r) * sourceStride, width);
        }
    });
}

#ifdef BENCH_WITH_LIBYUV
void LibyuvRows(const Frames& frames) {
    Nv12Rows(frames, [](const uint8_t* pSource, uint32_t sourceStride, uint8_t* pDestination,
                        uint32_t destinationStride, uint32_t width, uint32_t rows) {
        libyuv::CopyPlane(pSource, static_cast<int>(sourceStride), pDestination,
                          static_cast<int>(destinationStride), static_cast<int>(width),
                          static_cast<int>(rows));
    });
}
#endif

// One copy alone; bytes_per_second counts the bytes copied.
template <typename Copy>
void Alone(benchmark::State& state, bool differentStrides, Copy copy) {
    Frames frames(state, differentStrides);
    CopyNode node;
    for (auto _ : state) {
        copy(frames, node);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * frames.bytes));
}

double ThreadSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// CopyImage and a baseline on the same frames, alternately within every iteration (in turns of
// who goes first), each timed in the thread's CPU time, so that a shared machine's changing load
// weighs on both alike. ratio is CopyImage's bandwidth over the baseline's.
template <typename Baseline>
void Paired(benchmark::State& state, bool differentStrides, Baseline baseline) {
    Frames frames(state, differentStrides);
    CopyNode node;
    double copyImageSeconds = 0;
    double baselineSeconds = 0;
    bool copyImageFirst = true;
    for (auto _ : state) {
        for (int turn = 0; turn < 2; turn++) {
            const bool copyImageTurn = (turn == 0) == copyImageFirst;
            const double start = ThreadSeconds();
            if (copyImageTurn) {
                CopyImageOnce(frames, node);
            } else {
                baseline(frames);
            }
            benchmark::ClobberMemory();
            (copyImageTurn ? copyImageSeconds : baselineSeconds) += ThreadSeconds() - start;
        }
        copyImageFirst = !copyImageFirst;
    }
    const double bytes =
        static_cast<double>(frames.bytes) * static_cast<double>(state.iterations());
    state.counters["CopyImage_Bps"] = bytes / copyImageSeconds;
    state.counters["baseline_Bps"] = bytes / baselineSeconds;
    state.counters["ratio"] = baselineSeconds / copyImageSeconds;
}

void BM_CopyImagePlain(benchmark::State& state) {
    Alone(state, false, CopyImageOnce);
}
void BM_MemcpyPlanes(benchmark::State& state) {
    Alone(state, false, [](const Frames& frames, CopyNode&) { MemcpyPlanes(frames); });
}
void BM_PlainVsMemcpy(benchmark::State& state) {
    Paired(state, false, MemcpyPlanes);
}

void BM_CopyImageRows(benchmark::State& state) {
    Alone(state, true, CopyImageOnce);
}
void BM_MemcpyRows(benchmark::State& state) {
    Alone(state, true, [](const Frames& frames, CopyNode&) { MemcpyRows(frames); });
}
void BM_RowsVsMemcpyLoop(benchmark::State& state) {
    Paired(state, true, MemcpyRows);
}

#ifdef BENCH_WITH_LIBYUV
void BM_LibyuvCopyPlane(benchmark::State& state) {
    Alone(state, true, [](const Frames& frames, CopyNode&) { LibyuvRows(frames); });
}
void BM_RowsVsLibyuv(benchmark::State& state) {
    Paired(state, true, LibyuvRows);
}
#endif

void Sizes(benchmark::internal::Benchmark* pBenchmark) {
    pBenchmark->Args({1920, 1080})->Args({3840, 2160})->Unit(benchmark::kMicrosecond);
}

BENCHMARK(BM_CopyImagePlain)->Apply(Sizes);
BENCHMARK(BM_MemcpyPlanes)->Apply(Sizes);
BENCHMARK(BM_PlainVsMemcpy)->Apply(Sizes);
BENCHMARK(BM_CopyImageRows)->Apply(Sizes);
BENCHMARK(BM_MemcpyRows)->Apply(Sizes);
BENCHMARK(BM_RowsVsMemcpyLoop)->Apply(Sizes);
#ifdef BENCH_WITH_LIBYUV
BENCHMARK(BM_LibyuvCopyPlane)->Apply(Sizes);
BENCHMARK(BM_RowsVsLibyuv)->Apply(Sizes);
#endif

}  // namespace

BENCHMARK_MAIN();
