// Cost of one log statement of the library: an empty loop iteration for reference, a statement
// whose group bit is clear, and enabled statements with the sinks kept from doing any output.
#include <android/log.h>
#include <benchmark/benchmark.h>
#include <camera_host/camera_host.h>

#include <cstdint>

#include "pavovppservicelog.h"

namespace {

constexpr int kInfoIndex = 4;

// Takes the formatted Android line and drops it.
void DiscardAndroidLine(const struct __android_logger_data* /*pData*/, const char* /*pMessage*/) {}

// The loop every other figure is compared with. The barrier forces the statements' flag load to
// happen in every iteration rather than once before the loop; it costs no instruction itself.
void BM_EmptyLoop(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_EmptyLoop);

// Group bit clear at the statement's level: one load of the mask, one bit test, a branch.
void BM_DisabledStatement(benchmark::State& state) {
    camera_host::LogSwitchesGuard switches;
    g_enableIxoNodeLogs[kInfoIndex] = ~pavovppbase::kNodeLogGroup;
    g_enableSystemLog = 1;
    uint32_t count = 0;
    for (auto _ : state) {
        VPP_LOG_INFO("[%s] s_sessionCount decrease to: %u", "bench", count);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_DisabledStatement);

// Enabled, framework sink only: the mask test, the group name, and the sink's formatting of the
// message; the sink's stderr write is switched off, so no system call is made.
void BM_EnabledStatement(benchmark::State& state) {
    camera_host::LogSwitchesGuard switches;
    camera_host::SetStderrLogging(false);
    g_enableIxoNodeLogs[kInfoIndex] = pavovppbase::kNodeLogGroup;
    g_enableSystemLog = 0;
    g_logIxeEncryption = 0;
    uint32_t count = 0;
    for (auto _ : state) {
        VPP_LOG_INFO("[%s] s_sessionCount decrease to: %u", "bench", count++);
        benchmark::ClobberMemory();
    }
    camera_host::SetStderrLogging(true);
}
BENCHMARK(BM_EnabledStatement);

// Enabled with the Android log on as well: adds liblog's formatting of the full line; its logger
// is replaced by one that drops the line, so nothing reaches a log device or stderr.
void BM_EnabledStatementWithAndroidLog(benchmark::State& state) {
    camera_host::LogSwitchesGuard switches;
    camera_host::SetStderrLogging(false);
    __android_log_set_logger(DiscardAndroidLine);
    g_enableIxoNodeLogs[kInfoIndex] = pavovppbase::kNodeLogGroup;
    g_enableSystemLog = 1;
    g_logIxeEncryption = 0;
    uint32_t count = 0;
    for (auto _ : state) {
        VPP_LOG_INFO("[%s] s_sessionCount decrease to: %u", "bench", count++);
        benchmark::ClobberMemory();
    }
    __android_log_set_logger(__android_log_stderr_logger);
    camera_host::SetStderrLogging(true);
}
BENCHMARK(BM_EnabledStatementWithAndroidLog);

}  // namespace

BENCHMARK_MAIN();
