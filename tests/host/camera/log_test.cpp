// Tests of the host logging stand-in: capture, stderr lines, switches, level names, group names.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "camera_host/camera_host.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "ixolog.h"

namespace {

using camera_host::LogCapture;
using camera_host::LogLine;
using camera_host::LogSink;
using ::testing::ElementsAre;

constexpr uint64_t kAll = ~0ULL;
constexpr uint64_t kVppGroup = 0x40000000000000ULL;
constexpr uint64_t kFrcGroup = 0x800ULL;

// Sends stderr to a memfd while alive; Finish restores it and returns what was written.
class StderrRedirect {
  public:
    StderrRedirect() {
        fflush(stderr);
        m_saved = dup(STDERR_FILENO);
        m_file = memfd_create("stderr-capture", MFD_CLOEXEC);
        // Appending, as a log file would be opened: each write lands whole at the end.
        fcntl(m_file, F_SETFL, O_APPEND);
        dup2(m_file, STDERR_FILENO);
    }
    ~StderrRedirect() { Finish(); }

    std::string Finish() {
        if (m_saved < 0) {
            return m_text;
        }
        fflush(stderr);
        dup2(m_saved, STDERR_FILENO);
        close(m_saved);
        m_saved = -1;
        char buffer[4096];
        off_t offset = 0;
        ssize_t got;
        while ((got = pread(m_file, buffer, sizeof(buffer), offset)) > 0) {
            m_text.append(buffer, static_cast<size_t>(got));
            offset += got;
        }
        close(m_file);
        return m_text;
    }

  private:
    int m_saved = -1;
    int m_file = -1;
    std::string m_text;
};

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
        lines.push_back(text.substr(start, end - start));
    }
    EXPECT_EQ(start, text.size()) << "output does not end with a newline";
    return lines;
}

class LogTest : public ::testing::Test {
  protected:
    void SetUp() override { camera_host::SetStderrLogging(false); }
    void TearDown() override { camera_host::SetStderrLogging(true); }

    camera_host::LogSwitchesGuard m_switches;
};

TEST_F(LogTest, CaptureRecordsBothSinksWithEveryArgument) {
    LogCapture capture;
    IxoLog::LogSystem("[ INFO]", "I", "VPP", "pavovppservicebase", "Initialize", 42,
                      "[%s] count %d", "node0", 7);
    IxoLog::IxeEncryptLogSystem("[ERROR]", "E", "FRC", "file.cpp", "Queue", 9, "plain");
    // Longer than any fixed formatting buffer: the whole message must survive.
    const std::string longText(3000, 'x');
    IxoLog::LogSystem("[ WARN]", "W", "Core", "f", "g", 1, "%s|end", longText.c_str());

    const std::vector<LogLine> lines = capture.Lines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].sink, LogSink::Normal);
    EXPECT_EQ(lines[0].levelTag, "[ INFO]");
    EXPECT_EQ(lines[0].levelLetter, "I");
    EXPECT_EQ(lines[0].group, "VPP");
    EXPECT_EQ(lines[0].file, "pavovppservicebase");
    EXPECT_EQ(lines[0].function, "Initialize");
    EXPECT_EQ(lines[0].line, 42);
    EXPECT_EQ(lines[0].message, "[node0] count 7");
    EXPECT_EQ(lines[1].sink, LogSink::Encrypt);
    EXPECT_EQ(lines[1].levelTag, "[ERROR]");
    EXPECT_EQ(lines[1].levelLetter, "E");
    EXPECT_EQ(lines[1].group, "FRC");
    EXPECT_EQ(lines[1].file, "file.cpp");
    EXPECT_EQ(lines[1].function, "Queue");
    EXPECT_EQ(lines[1].line, 9);
    EXPECT_EQ(lines[1].message, "plain");
    EXPECT_EQ(lines[2].message, longText + "|end");
    EXPECT_EQ(capture.Messages().size(), 3u);
    EXPECT_EQ(capture.Messages()[1], "plain");

    capture.Clear();
    EXPECT_TRUE(capture.Lines().empty());
    IxoLog::LogSystem("[ INFO]", "I", "VPP", "f", "g", 1, "after clear");
    EXPECT_THAT(capture.Messages(), ElementsAre("after clear"));
}

TEST_F(LogTest, CaptureStartsEmptyAndSeesOnlyItsLifetime) {
    {
        LogCapture first;
        IxoLog::LogSystem("[ INFO]", "I", "VPP", "f", "g", 1, "first");
    }
    IxoLog::LogSystem("[ INFO]", "I", "VPP", "f", "g", 1, "between");
    LogCapture second;
    IxoLog::LogSystem("[ INFO]", "I", "VPP", "f", "g", 1, "second");
    EXPECT_THAT(second.Messages(), ElementsAre("second"));
}

TEST_F(LogTest, SinksWriteOneReadableLineEach) {
    camera_host::SetStderrLogging(true);
    StderrRedirect redirect;
    errno = EBADF;
    IxoLog::LogSystem("[ WARN]", "W", "VPP", "pavovppservicebase", "Open", 12, "[%s] code %d", "n",
                      3);
    EXPECT_EQ(errno, EBADF) << "a sink must leave errno alone";
    IxoLog::IxeEncryptLogSystem("[VERBOSE]", "V", "FRC", "a.cpp", "Temp", 5, "enc %u", 4u);
    IxoLog::LogSystem("[ INFO]", "I", "VPP", "f", "g", 2, "ends with newline\n");
    camera_host::SetStderrLogging(false);
    {
        LogCapture capture;
        IxoLog::LogSystem("[ INFO]", "I", "VPP", "f", "g", 3, "silenced");
        EXPECT_THAT(capture.Messages(), ElementsAre("silenced"));
    }
    EXPECT_THAT(SplitLines(redirect.Finish()),
                ElementsAre("[ WARN] VPP pavovppservicebase:12 Open() [n] code 3",
                            "[ENC][VERBOSE] FRC a.cpp:5 Temp() enc 4",
                            "[ INFO] VPP f:2 g() ends with newline"));
}

// Lines of concurrent threads must neither interleave on stderr nor be lost by the capture.
TEST_F(LogTest, ConcurrentLinesStayWhole) {
    constexpr int kThreads = 4;
    constexpr int kLinesPerThread = 200;
    const std::string padding(300, 'p');
    camera_host::SetStderrLogging(true);
    LogCapture capture;
    StderrRedirect redirect;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &padding] {
            for (int i = 0; i < kLinesPerThread; ++i) {
                if (i % 2 == 0) {
                    IxoLog::LogSystem("[ INFO]", "I", "VPP", "f", "g", t, "%d %d %s", t, i,
                                      padding.c_str());
                } else {
                    IxoLog::IxeEncryptLogSystem("[ INFO]", "I", "FRC", "f", "g", t, "%d %d %s", t,
                                                i, padding.c_str());
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::vector<std::string> written = SplitLines(redirect.Finish());
    camera_host::SetStderrLogging(false);

    std::set<std::string> expected;
    for (int t = 0; t < kThreads; ++t) {
        for (int i = 0; i < kLinesPerThread; ++i) {
            const std::string body = std::to_string(t) + " " + std::to_string(i) + " " + padding;
            expected.insert(i % 2 == 0
                                ? "[ INFO] VPP f:" + std::to_string(t) + " g() " + body
                                : "[ENC][ INFO] FRC f:" + std::to_string(t) + " g() " + body);
        }
    }
    EXPECT_EQ(written.size(), expected.size());
    EXPECT_EQ(std::set<std::string>(written.begin(), written.end()), expected);
    EXPECT_EQ(capture.Lines().size(), expected.size());
}

TEST(LogSwitches, HostDefaultsShowErrorsAndWarningsOnly) {
    if (getenv("IXO_LOG_LEVEL") != nullptr) {
        GTEST_SKIP() << "IXO_LOG_LEVEL changes the defaults";
    }
    EXPECT_EQ(g_logIxeEncryption, 0);
    EXPECT_EQ(g_enableSystemLog, 0);
    for (int level = 0; level < IXO_LOG_LEVEL_COUNT; ++level) {
        const uint64_t want = level <= 1 ? kAll : 0;
        EXPECT_EQ(g_enableIxoNodeLogs[level], want) << "level " << level;
        EXPECT_EQ(g_enableIxeLogs[level], want) << "level " << level;
    }
}

TEST(LogSwitches, GuardRestoresEverySwitch) {
    int32_t encryption = g_logIxeEncryption;
    int32_t systemLog = g_enableSystemLog;
    std::vector<uint64_t> node(g_enableIxoNodeLogs, g_enableIxoNodeLogs + IXO_LOG_LEVEL_COUNT);
    std::vector<uint64_t> ixe(g_enableIxeLogs, g_enableIxeLogs + IXO_LOG_LEVEL_COUNT);
    {
        camera_host::LogSwitchesGuard guard;
        g_logIxeEncryption = 1;
        g_enableSystemLog = 1;
        for (int level = 0; level < IXO_LOG_LEVEL_COUNT; ++level) {
            g_enableIxoNodeLogs[level] = 0x1234 + level;
            g_enableIxeLogs[level] = 0x5678 + level;
        }
    }
    EXPECT_EQ(g_logIxeEncryption, encryption);
    EXPECT_EQ(g_enableSystemLog, systemLog);
    EXPECT_EQ(std::vector<uint64_t>(g_enableIxoNodeLogs, g_enableIxoNodeLogs + IXO_LOG_LEVEL_COUNT),
              node);
    EXPECT_EQ(std::vector<uint64_t>(g_enableIxeLogs, g_enableIxeLogs + IXO_LOG_LEVEL_COUNT), ixe);
}

TEST(LogSwitches, LevelNamesSetTheFourLevelMasks) {
    camera_host::LogSwitchesGuard guard;
    struct Case {
        const char* pName;
        uint64_t error, warn, info, verbose;
    };
    const Case cases[] = {{"verbose", kAll, kAll, kAll, kAll},
                          {"INFO", kAll, kAll, kAll, 0},
                          {"warn", kAll, kAll, 0, 0},
                          {"error", kAll, 0, 0, 0},
                          {"off", 0, 0, 0, 0}};
    for (const Case& c : cases) {
        ASSERT_TRUE(camera_host::ApplyLogLevel(c.pName)) << c.pName;
        for (const uint64_t* masks : {g_enableIxoNodeLogs, g_enableIxeLogs}) {
            EXPECT_EQ(masks[0], c.error) << c.pName;
            EXPECT_EQ(masks[1], c.warn) << c.pName;
            EXPECT_EQ(masks[4], c.info) << c.pName;
            EXPECT_EQ(masks[6], c.verbose) << c.pName;
        }
    }
    g_enableIxoNodeLogs[0] = 0x77;
    EXPECT_FALSE(camera_host::ApplyLogLevel("loud"));
    EXPECT_FALSE(camera_host::ApplyLogLevel(nullptr));
    EXPECT_EQ(g_enableIxoNodeLogs[0], 0x77u) << "an unknown name must change nothing";
}

// Run by its own test entry with IXO_LOG_LEVEL=verbose in the environment.
TEST(LogEnvironment, LevelFromEnvironmentAppliedAtStartup) {
    const char* pLevel = getenv("IXO_LOG_LEVEL");
    if (pLevel == nullptr || std::string(pLevel) != "verbose") {
        GTEST_SKIP() << "needs IXO_LOG_LEVEL=verbose";
    }
    for (int level : {0, 1, 4, 6}) {
        EXPECT_EQ(g_enableIxoNodeLogs[level], kAll) << "level " << level;
        EXPECT_EQ(g_enableIxeLogs[level], kAll) << "level " << level;
    }
}

TEST(LogGroups, NamesOfSingleBitMasks) {
    EXPECT_STREQ(IxoNodeLog::GroupToString(kVppGroup), "VPP");
    EXPECT_STREQ(IxeLog::GroupToString(kFrcGroup), "FRC");
    EXPECT_STRNE(IxoNodeLog::GroupToString(1), "Unknown");
    EXPECT_STRNE(IxeLog::GroupToString(1), "Unknown");
    for (uint64_t mask : {uint64_t{0}, kVppGroup | 1, uint64_t{1} << 40, ~uint64_t{0}}) {
        EXPECT_STREQ(IxoNodeLog::GroupToString(mask), "Unknown") << std::hex << mask;
    }
    for (uint64_t mask : {uint64_t{0}, kFrcGroup | 1, uint64_t{1} << 60, kVppGroup}) {
        EXPECT_STREQ(IxeLog::GroupToString(mask), "Unknown") << std::hex << mask;
    }
}

}  // namespace
