// Tests of the host logging and OS stand-ins: log capture, stderr lines, switches, level and group
// names; conditions, mutexes and threads.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "camera_host/camera_host.h"
#include "descriptors.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "ixolog.h"
#include "pavoosutils.h"

namespace {

using camera_host::LogCapture;
using camera_host::LogSink;
using ::testing::ElementsAre;

constexpr uint64_t kAll = ~uint64_t{0};

// Runs fn with stderr sent to an appending memfd (as a log file: each write lands whole at the
// end) and returns the lines written, each checked to end with a newline.
template <typename Fn>
std::vector<std::string> StderrLinesOf(Fn fn) {
    const int descriptors = testsupport::OpenDescriptorCount();
    const int saved = dup(STDERR_FILENO);
    const int file = memfd_create("err", MFD_CLOEXEC);
    fcntl(file, F_SETFL, O_APPEND);
    dup2(file, STDERR_FILENO);
    camera_host::SetStderrLogging(true);
    fn();
    camera_host::SetStderrLogging(false);
    dup2(saved, STDERR_FILENO);
    close(saved);
    std::string text(static_cast<size_t>(lseek(file, 0, SEEK_END)), '\0');
    EXPECT_EQ(pread(file, &text[0], text.size(), 0), static_cast<ssize_t>(text.size()));
    close(file);
    EXPECT_EQ(testsupport::OpenDescriptorCount(), descriptors);
    EXPECT_TRUE(text.empty() || text.back() == '\n');
    std::vector<std::string> lines;
    for (size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos;
         start = end + 1) {
        lines.push_back(text.substr(start, end - start));
    }
    return lines;
}

class LogTest : public ::testing::Test {
  protected:
    void SetUp() override { camera_host::SetStderrLogging(false); }
    void TearDown() override { camera_host::SetStderrLogging(true); }
};

// A capture sees the lines of its own lifetime, from both sinks, and messages of any length.
TEST_F(LogTest, CaptureRecordsBothSinksDuringItsLifetime) {
    {
        LogCapture earlier;
        IxoLog::LogSystem("[ INFO]", "I", "VPP", "f", "g", 1, "before");
    }
    LogCapture capture;
    IxoLog::IxeEncryptLogSystem("[ERROR]", "E", "FRC", "file.cpp", "Queue", 9, "[%s] %d", "n", 7);
    const std::string longText(3000, 'x');
    IxoLog::LogSystem("[ WARN]", "W", "Core", "f", "g", 1, "%s|end", longText.c_str());
    const auto lines = capture.Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(lines[0].sink == LogSink::Encrypt && lines[1].sink == LogSink::Normal);
    EXPECT_EQ(lines[1].message, longText + "|end");
}

TEST_F(LogTest, SinksWriteOneReadableLineEachAndLeaveErrnoAlone) {
    LogCapture capture;
    const auto lines = StderrLinesOf([] {
        errno = EBADF;
        IxoLog::LogSystem("[ WARN]", "W", "VPP", "pavovppservicebase", "Open", 12, "[%s] code %d",
                          "n", 3);
        EXPECT_EQ(errno, EBADF);
        IxoLog::IxeEncryptLogSystem("[VERBOSE]", "V", "FRC", "a.cpp", "Temp", 5, "enc %u", 4u);
        IxoLog::LogSystem("[ INFO]", "I", "VPP", "f", "g", 2, "ends with newline\n");
    });
    IxoLog::LogSystem("[ INFO]", "I", "VPP", "f", "g", 3, "silenced");
    EXPECT_THAT(lines, ElementsAre("[ WARN] VPP pavovppservicebase:12 Open() [n] code 3",
                                   "[ENC][VERBOSE] FRC a.cpp:5 Temp() enc 4",
                                   "[ INFO] VPP f:2 g() ends with newline"));
    EXPECT_EQ(capture.Messages().size(), 4u) << "the capture does not depend on stderr";
}

// Lines of concurrent threads must neither interleave on stderr nor be lost by the capture.
TEST_F(LogTest, ConcurrentLinesStayWhole) {
    const std::string padding(300, 'p');
    std::set<std::string> expected;
    LogCapture capture;
    const auto written = StderrLinesOf([&] {
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([t, &padding] {
                for (int i = 0; i < 200; ++i) {
                    auto sink = i % 2 == 0 ? IxoLog::LogSystem : IxoLog::IxeEncryptLogSystem;
                    sink("[ INFO]", "I", "VPP", "f", "g", t, "%d %s", i, padding.c_str());
                }
            });
            for (int i = 0; i < 200; ++i) {
                expected.insert((i % 2 == 0 ? "" : "[ENC]") + std::string("[ INFO] VPP f:") +
                                std::to_string(t) + " g() " + std::to_string(i) + " " + padding);
            }
        }
        for (std::thread& thread : threads) thread.join();
    });
    EXPECT_EQ(std::multiset<std::string>(written.begin(), written.end()),
              std::multiset<std::string>(expected.begin(), expected.end()));
    EXPECT_EQ(capture.Lines().size(), expected.size());
}

TEST(LogSwitches, HostDefaultsGuardAndLevelNames) {
    if (getenv("IXO_LOG_LEVEL") != nullptr) GTEST_SKIP() << "IXO_LOG_LEVEL changes the defaults";
    auto snapshot = [] {
        return std::make_tuple(
            g_logIxeEncryption, g_enableSystemLog,
            std::vector<uint64_t>(g_enableIxoNodeLogs, g_enableIxoNodeLogs + IXO_LOG_LEVEL_COUNT),
            std::vector<uint64_t>(g_enableIxeLogs, g_enableIxeLogs + IXO_LOG_LEVEL_COUNT));
    };
    // Errors and warnings of every group; info, verbose, encryption and Android log off.
    const std::vector<uint64_t> defaults = {kAll, kAll, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(snapshot(), std::make_tuple(0, 0, defaults, defaults));
    {
        camera_host::LogSwitchesGuard guard;
        g_logIxeEncryption = 1;
        g_enableSystemLog = 1;
        const std::tuple<const char*, std::vector<uint64_t>> cases[] = {
            {"verbose", {kAll, kAll, kAll, kAll}},
            {"INFO", {kAll, kAll, kAll, 0}},
            {"error", {kAll, 0, 0, 0}},
            {"off", {0, 0, 0, 0}}};
        for (const auto& [name, want] : cases) {
            ASSERT_TRUE(camera_host::ApplyLogLevel(name)) << name;
            for (const uint64_t* masks : {g_enableIxoNodeLogs, g_enableIxeLogs}) {
                EXPECT_EQ(std::vector<uint64_t>({masks[0], masks[1], masks[4], masks[6]}), want)
                    << name;
            }
        }
        g_enableIxoNodeLogs[0] = 0x77;
        EXPECT_FALSE(camera_host::ApplyLogLevel("loud") || camera_host::ApplyLogLevel(nullptr));
        EXPECT_EQ(g_enableIxoNodeLogs[0], 0x77u) << "an unknown name must change nothing";
    }
    EXPECT_EQ(snapshot(), std::make_tuple(0, 0, defaults, defaults));
}

// Run by its own test entry with IXO_LOG_LEVEL=verbose in the environment.
TEST(LogEnvironment, LevelFromEnvironmentAppliedAtStartup) {
    const char* pLevel = getenv("IXO_LOG_LEVEL");
    if (pLevel == nullptr || std::string(pLevel) != "verbose") {
        GTEST_SKIP() << "needs IXO_LOG_LEVEL=verbose";
    }
    for (int level : {0, 1, 4, 6}) {
        EXPECT_EQ(g_enableIxoNodeLogs[level], kAll);
        EXPECT_EQ(g_enableIxeLogs[level], kAll);
    }
}

TEST(LogGroups, OnlySingleNamedBitsHaveNames) {
    const uint64_t vpp = uint64_t{1} << 54;
    const uint64_t frc = uint64_t{1} << 11;
    EXPECT_STREQ(IxoNodeLog::GroupToString(vpp), "VPP");
    EXPECT_STREQ(IxeLog::GroupToString(frc), "FRC");
    EXPECT_STRNE(IxoNodeLog::GroupToString(1), "Unknown");
    EXPECT_STRNE(IxeLog::GroupToString(1), "Unknown");
    for (uint64_t mask : {uint64_t{0}, vpp | 1, uint64_t{1} << 40, kAll}) {
        EXPECT_STREQ(IxoNodeLog::GroupToString(mask), "Unknown") << mask;
    }
    for (uint64_t mask : {uint64_t{0}, frc | 1, uint64_t{1} << 60, vpp}) {
        EXPECT_STREQ(IxeLog::GroupToString(mask), "Unknown") << mask;
    }
}

using Pavo::Condition;
using Pavo::Mutex;
using Pavo::OsUtils;

int64_t MillisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start)
        .count();
}

void* Increment(void* pArg) {
    ++*static_cast<int*>(pArg);  // read by the creator after ThreadWait: the join orders it
    return nullptr;
}

// Every test must leave no live object and no injection behind.
class OsUtilsTest : public ::testing::Test {
  protected:
    void TearDown() override {
        camera_host::ResetFailureInjection();
        EXPECT_EQ(camera_host::LiveMutexCount(), m_mutexes);
        EXPECT_EQ(camera_host::LiveConditionCount(), m_conditions);
        EXPECT_EQ(camera_host::LiveThreadCount(), 0);
    }

    const int m_mutexes = camera_host::LiveMutexCount();
    const int m_conditions = camera_host::LiveConditionCount();
};

// A handshake as a node's flush uses it: a flag guarded by the mutex, and the condition.
TEST_F(OsUtilsTest, TimedWaitTimesOutOrReturnsWhenSignalled) {
    Mutex* pMutex = Mutex::Create("HandshakeLock");
    Condition* pCondition = Condition::Create("HandshakeDone");
    bool done = false;
    pMutex->Lock();
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(pCondition->TimedWait(pMutex->GetNativeHandle(), 30), LumResultETimeout);
    EXPECT_GE(MillisecondsSince(start), 30);
    EXPECT_EQ(pCondition->TimedWait(pMutex->GetNativeHandle(), 0), LumResultETimeout);

    // The signaller needs the mutex, so it can only signal while the wait below releases it.
    std::thread signaller([&] {
        pMutex->Lock();
        done = true;
        pCondition->Signal();
        pMutex->Unlock();
    });
    start = std::chrono::steady_clock::now();
    while (!done) {
        // The 999 ms part carries into the deadline's seconds most of the time; a malformed
        // deadline would fail at once instead of waiting.
        ASSERT_EQ(pCondition->TimedWait(pMutex->GetNativeHandle(), 20999), LumResultSuccess);
    }
    EXPECT_LT(MillisecondsSince(start), 20000);
    pMutex->Unlock();
    signaller.join();
    pCondition->Destroy();
    pMutex->Destroy();

    const uint64_t before = OsUtils::GetNanoTime();
    OsUtils::SleepMicroseconds(20000);
    EXPECT_GE(OsUtils::GetNanoTime() - before, 20000000u);
}

// Threads made and joined from several threads at once get distinct ids and are all released;
// an id is joined once.
TEST_F(OsUtilsTest, ThreadsRunAndAreJoinedOnceById) {
    std::vector<std::vector<Pavo::OSThreadHandle>> ids(4);
    std::vector<std::thread> creators;
    for (auto& list : ids) {
        creators.emplace_back([&list] {
            for (int i = 0; i < 50; ++i) {
                int value = 0;
                Pavo::OSThreadHandle id = 0;
                ASSERT_EQ(OsUtils::ThreadCreate(Increment, &value, &id), LumResultSuccess);
                ASSERT_EQ(OsUtils::ThreadWait(id), LumResultSuccess);
                EXPECT_EQ(value, 1);
                list.push_back(id);
            }
        });
    }
    std::set<Pavo::OSThreadHandle> unique;
    for (size_t c = 0; c < creators.size(); ++c) {
        creators[c].join();
        unique.insert(ids[c].begin(), ids[c].end());
    }
    EXPECT_EQ(unique.size(), 200u);
    EXPECT_EQ(unique.count(0), 0u);

    int value = 0;
    Pavo::OSThreadHandle id = 0;
    ASSERT_EQ(OsUtils::ThreadCreate(Increment, &value, &id), LumResultSuccess);
    EXPECT_EQ(camera_host::LiveThreadCount(), 1);
    EXPECT_EQ(OsUtils::ThreadWait(id), LumResultSuccess);
    EXPECT_EQ(OsUtils::ThreadWait(id), LumResultEInvalidArg) << "already joined";
    EXPECT_EQ(OsUtils::ThreadWait(0), LumResultEInvalidArg);
    EXPECT_EQ(OsUtils::ThreadCreate(nullptr, nullptr, &id), LumResultEInvalidPointer);
}

}  // namespace
