// CopyImage against the plain copies it stands for: whole NV12 planes against memcpy of the same
// bytes, and row-by-row copies between different strides against a per-row memcpy loop and
// libyuv's CopyPlane on the same rows. Bytes/s counters count the bytes copied.
#include <benchmark/benchmark.h>
#include <camera_host/camera_buffers.h>

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

void Finish(benchmark::State& state, size_t bytesPerFrame) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytesPerFrame));
}

void BM_CopyImagePlain(benchmark::State& state) {
    Frames frames(state, false);
    CopyNode node;
    for (auto _ : state) {
        benchmark::DoNotOptimize(node.CopyImage(frames.output.get(), frames.input.get()));
        benchmark::ClobberMemory();
    }
    Finish(state, frames.bytes);
}

void BM_MemcpyPlanes(benchmark::State& state) {
    Frames frames(state, false);
    for (auto _ : state) {
        for (uint32_t p = 0; p < frames.input->numberOfPlanes; p++) {
            std::memcpy(frames.output->pAddr[0][p], frames.input->pAddr[0][p],
                        frames.input->planeSize[p]);
        }
        benchmark::ClobberMemory();
    }
    Finish(state, frames.bytes);
}

void BM_CopyImageRows(benchmark::State& state) {
    Frames frames(state, true);
    CopyNode node;
    for (auto _ : state) {
        benchmark::DoNotOptimize(node.CopyImage(frames.output.get(), frames.input.get()));
        benchmark::ClobberMemory();
    }
    Finish(state, frames.bytes);
}

// The rows CopyImage copies for NV12: plane 0 whole, plane 1 over half of plane 0's rows.
template <typename CopyRows>
void RowBaseline(benchmark::State& state, CopyRows copyRows) {
    Frames frames(state, true);
    const uint32_t width = static_cast<uint32_t>(state.range(0));
    const uint32_t rows = static_cast<uint32_t>(state.range(1));
    const uint32_t sourceStride = frames.input->formatBlock.planeLayout[0].stride;
    const uint32_t destinationStride = frames.output->formatBlock.planeLayout[0].stride;
    for (auto _ : state) {
        copyRows(frames.input->pAddr[0][0], sourceStride, frames.output->pAddr[0][0],
                 destinationStride, width, rows);
        copyRows(frames.input->pAddr[0][1], sourceStride, frames.output->pAddr[0][1],
                 destinationStride, width, rows / 2);
        benchmark::ClobberMemory();
    }
    Finish(state, frames.bytes);
}

void BM_MemcpyRows(benchmark::State& state) {
    RowBaseline(state, [](const uint8_t* pSource, uint32_t sourceStride, uint8_t* pDestination,
                          uint32_t destinationStride, uint32_t width, uint32_t rows) {
        for (uint32_t r = 0; r < rows; r++) {
            std::memcpy(pDestination + static_cast<size_t>(r) * destinationStride,
                        pSource + static_cast<size_t>(r) * sourceStride, width);
        }
    });
}

#ifdef BENCH_WITH_LIBYUV
void BM_LibyuvCopyPlane(benchmark::State& state) {
    RowBaseline(state, [](const uint8_t* pSource, uint32_t sourceStride, uint8_t* pDestination,
                          uint32_t destinationStride, uint32_t width, uint32_t rows) {
        libyuv::CopyPlane(pSource, static_cast<int>(sourceStride), pDestination,
                          static_cast<int>(destinationStride), static_cast<int>(width),
                          static_cast<int>(rows));
    });
}
#endif

void Sizes(benchmark::internal::Benchmark* pBenchmark) {
    pBenchmark->Args({1920, 1080})->Args({3840, 2160})->Unit(benchmark::kMicrosecond);
}

BENCHMARK(BM_CopyImagePlain)->Apply(Sizes);
BENCHMARK(BM_MemcpyPlanes)->Apply(Sizes);
BENCHMARK(BM_CopyImageRows)->Apply(Sizes);
BENCHMARK(BM_MemcpyRows)->Apply(Sizes);
#ifdef BENCH_WITH_LIBYUV
BENCHMARK(BM_LibyuvCopyPlane)->Apply(Sizes);
#endif

}  // namespace

BENCHMARK_MAIN();
