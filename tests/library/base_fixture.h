// Fixture and log-line helpers shared by the node base, service link, callback and logging tests.
#pragma once

#include <android/binder_process.h>
#include <android/log.h>
#include <binder_host/binder_host.h>
#include <camera_host/camera_host.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "ixolog.h"
#include "test_node.h"

namespace vpptest {

// Group bit of the node statements and the mask indices of the four levels.
constexpr uint64_t kNodeGroup = 0x40000000000000ULL;
constexpr uint64_t kIxeGroup = 0x800ULL;
constexpr int kErrorIndex = 0;
constexpr int kWarnIndex = 1;
constexpr int kInfoIndex = 4;
constexpr int kVerboseIndex = 6;

// Base name every statement of the library prints as its file.
constexpr const char* kLogFile = "pavovppservicebase";

// printf into a string: expected messages go through the same formatting as the sinks'.
inline std::string Format(const char* pFormat, ...) __attribute__((format(printf, 1, 2)));
inline std::string Format(const char* pFormat, ...) {
    va_list args;
    va_start(args, pFormat);
    char buffer[1024];
    vsnprintf(buffer, sizeof(buffer), pFormat, args);
    va_end(args);
    return buffer;
}

inline std::string Pointer(const void* p) {
    return Format("%p", p);
}

// One expected framework line: level, function and formatted message. The file is always the
// library's base name; the group depends on the sink and is checked by the comparison.
struct Expected {
    std::string tag;
    std::string letter;
    std::string function;
    std::string message;
};
inline Expected Error(const std::string& function, const std::string& message) {
    return {"[ERROR]", "E", function, message};
}
inline Expected Warn(const std::string& function, const std::string& message) {
    return {"[ WARN]", "W", function, message};
}
inline Expected Info(const std::string& function, const std::string& message) {
    return {"[ INFO]", "I", function, message};
}
inline Expected Verbose(const std::string& function, const std::string& message) {
    return {"[VERBOSE]", "V", function, message};
}

// A framework line in one comparable string, every field but the line number.
inline std::string Describe(const camera_host::LogLine& line) {
    return std::string(line.sink == camera_host::LogSink::Normal ? "normal" : "encrypt") + " | " +
           line.levelTag + " | " + line.levelLetter + " | " + line.group + " | " + line.file +
           " | " + line.function + " | " + line.message;
}
inline std::string Describe(const Expected& expected, camera_host::LogSink sink,
                            const std::string& group) {
    return std::string(sink == camera_host::LogSink::Normal ? "normal" : "encrypt") + " | " +
           expected.tag + " | " + expected.letter + " | " + group + " | " + kLogFile + " | " +
           expected.function + " | " + expected.message;
}

// Compares captured framework lines with the expected ones, field by field and in order; each
// line must carry a positive line number. Node statements on the normal sink name group "VPP".
inline void ExpectLines(const std::vector<camera_host::LogLine>& lines,
                        const std::vector<Expected>& expected,
                        camera_host::LogSink sink = camera_host::LogSink::Normal,
                        const std::string& group = "VPP") {
    std::vector<std::string> actualText;
    for (const auto& line : lines) {
        actualText.push_back(Describe(line));
        EXPECT_GT(line.line, 0) << Describe(line);
    }
    std::vector<std::string> expectedText;
    for (const auto& line : expected) {
        expectedText.push_back(Describe(line, sink, group));
    }
    EXPECT_EQ(actualText, expectedText);
}

// Android priority of a level letter: verbose goes out at info priority.
inline int AndroidPriority(const std::string& letter) {
    if (letter == "E") return ANDROID_LOG_ERROR;
    if (letter == "W") return ANDROID_LOG_WARN;
    return ANDROID_LOG_INFO;
}

// The full Android line the statement that produced a framework line must have written.
inline std::string AndroidText(const camera_host::LogLine& line) {
    return line.levelTag + line.group + " " + line.file + ":" + std::to_string(line.line) + " " +
           line.function + "() " + line.message + "\n";
}

// Every normal-sink line has its Android twin, in the same order, with tag "IxoNode", the
// level's priority and the same line number.
inline void ExpectAndroidTwins(const std::vector<camera_host::LogLine>& lines,
                               const std::vector<AndroidLogLine>& androidLines) {
    std::vector<std::string> expected;
    for (const auto& line : lines) {
        expected.push_back(std::to_string(AndroidPriority(line.levelLetter)) + " IxoNode " +
                           AndroidText(line));
    }
    std::vector<std::string> actual;
    for (const auto& line : androidLines) {
        actual.push_back(std::to_string(line.priority) + " " + line.tag + " " + line.message);
    }
    EXPECT_EQ(actual, expected);
}

// Both sinks captured together while alive: the framework's lines, and the Android log, which it
// switches on. Lines from one thread at a time keep the same order in both.
class BothSinks {
  public:
    BothSinks() { g_enableSystemLog = 1; }
    std::vector<camera_host::LogLine> Lines() const { return m_framework.Lines(); }
    std::vector<std::string> Messages() const { return m_framework.Messages(); }
    std::vector<AndroidLogLine> AndroidLines() const { return m_android.Lines(); }
    void Clear() {
        m_framework.Clear();
        m_android.Clear();
    }

  private:
    camera_host::LogCapture m_framework;
    AndroidLogCapture m_android;
};

// The expected lines on the framework sink, each with its Android twin.
inline void ExpectLines(const BothSinks& sinks, const std::vector<Expected>& expected) {
    const auto lines = sinks.Lines();
    ExpectLines(lines, expected);
    ExpectAndroidTwins(lines, sinks.AndroidLines());
}

// Enables or clears the node group bit at the given level indices, leaving other bits alone.
inline void SetNodeGroup(std::initializer_list<int> indices, bool enabled) {
    for (int index : indices) {
        if (enabled) {
            g_enableIxoNodeLogs[index] |= kNodeGroup;
        } else {
            g_enableIxoNodeLogs[index] &= ~kNodeGroup;
        }
    }
}

// Clean process-wide state around every test: statics, binder registry and counters, failure
// injection, log switches (all four levels of the node group on, Android log and encryption
// off, stderr silenced), and checks that descriptors, mutexes, conditions and threads made
// during the test are gone at its end.
class BaseTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        // Whatever the pool keeps open for its life is opened here, outside every count.
        ABinderProcess_startThreadPool();
    }

    void SetUp() override {
        camera_host::SetStderrLogging(false);
        camera_host::ResetFailureInjection();
        ABinderHost_resetForTesting();
        TestNode::ResetStatics();
        g_logIxeEncryption = 0;
        g_enableSystemLog = 0;
        SetNodeGroup({kErrorIndex, kWarnIndex, kInfoIndex, kVerboseIndex}, true);
        m_fds = OpenFdCount();
        m_mutexes = camera_host::LiveMutexCount();
        m_conditions = camera_host::LiveConditionCount();
        m_threads = camera_host::LiveThreadCount();
    }

    void TearDown() override {
        // Deliveries still queued (deaths, posted callbacks) finish before the state goes.
        ABinderHost_flushPool();
        TestNode::ResetStatics();
        ABinderHost_resetForTesting();
        camera_host::ResetFailureInjection();
        EXPECT_EQ(OpenFdCount(), m_fds) << "descriptors leaked";
        EXPECT_EQ(camera_host::LiveMutexCount(), m_mutexes) << "mutexes leaked";
        EXPECT_EQ(camera_host::LiveConditionCount(), m_conditions) << "conditions leaked";
        EXPECT_EQ(camera_host::LiveThreadCount(), m_threads) << "threads not joined";
        camera_host::SetStderrLogging(true);
    }

    camera_host::LogSwitchesGuard m_switches;
    int m_fds = 0;
    int m_mutexes = 0;
    int m_conditions = 0;
    int m_threads = 0;
};

}  // namespace vpptest
