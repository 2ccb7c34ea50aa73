// Cost of QueueInput and QueueOutput with logging off, against a session whose queueBuf only
// answers VPP_OK, beside the floor every such call pays: one F_DUPFD_CLOEXEC and one close per
// descriptor sent. The per_call counter is the time of one queue call.
#include <android/binder_interface_utils.h>
#include <benchmark/benchmark.h>
#include <camera_host/camera_buffers.h>
#include <fcntl.h>
#include <unistd.h>

#include <memory>

#include "ixolog.h"
#include "pavovppservicebase.h"

namespace {

using ::aidl::vendor::zux::hardware::vpp::IVppSessionDefault;
using camera_host::CameraBufferConfig;
using camera_host::RequestBuffers;

// A session that accepts every buffer and does nothing else.
class NullSession : public IVppSessionDefault {
  public:
    ndk::ScopedAStatus queueBuf(int32_t, const VppBuffer&, VppError* _aidl_return) override {
        *_aidl_return = VppError::VPP_OK;
        return ndk::ScopedAStatus::ok();
    }
};

class QueueNode : public IxoNodeVppBase {
  public:
    explicit QueueNode(std::shared_ptr<IVppSession> session) {
        m_pNodeName = "QueueBench";
        m_pVppSession = std::move(session);
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

// One-descriptor NV12 1920x1080 buffers for input and output.
std::unique_ptr<RequestBuffers> MakeRequest() {
    CameraBufferConfig config;
    config.geometry.width = 1920;
    config.geometry.height = 1080;
    config.geometry.format = IxoFormatNV12;
    return RequestBuffers::Create(1, 1000, config, config);
}

// Two calls per iteration: per_call is the time of one.
void CountCalls(benchmark::State& state) {
    state.counters["per_call"] = benchmark::Counter(
        2, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_QueueInputAndOutput(benchmark::State& state) {
    SilenceLogs();
    std::unique_ptr<RequestBuffers> request = MakeRequest();
    if (request == nullptr) {
        state.SkipWithError("cannot allocate the buffers");
        return;
    }
    QueueNode node(ndk::SharedRefBase::make<NullSession>());
    const bool internal = state.range(0) != 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(node.QueueInput(&request->info, 1, 0, 0, internal ? 1 : 0, 0));
        benchmark::DoNotOptimize(node.QueueOutput(&request->info, 1, 0, 0));
    }
    CountCalls(state);
}

// The system calls one queue call of a one-descriptor buffer cannot avoid.
void BM_DupAndCloseFloor(benchmark::State& state) {
    std::unique_ptr<RequestBuffers> request = MakeRequest();
    if (request == nullptr) {
        state.SkipWithError("cannot allocate the buffers");
        return;
    }
    const int inputFd = request->input->Camera()->Handle()->data[0];
    const int outputFd = request->output->Camera()->Handle()->data[0];
    for (auto _ : state) {
        const int first = fcntl(inputFd, F_DUPFD_CLOEXEC, 0);
        benchmark::DoNotOptimize(first);
        close(first);
        const int second = fcntl(outputFd, F_DUPFD_CLOEXEC, 0);
        benchmark::DoNotOptimize(second);
        close(second);
    }
    CountCalls(state);
}

BENCHMARK(BM_DupAndCloseFloor);
BENCHMARK(BM_QueueInputAndOutput)->ArgName("internal")->Arg(0)->Arg(1);

}  // namespace

BENCHMARK_MAIN();
