// Fixture of the session tests: clean state, all log levels, line-by-line log checks, gates.
#pragma once

#include <android/binder_status.h>
#include <binder_host/binder_host.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "camera_host/camera_host.h"
#include "ixolog.h"
#include "scripted_vpp.h"
#include "test_node.h"

namespace vpptest {

// What every node statement of the library carries besides its level and message.
constexpr const char* kNodeGroupName = "VPP";
constexpr const char* kSourceBaseName = "pavovppservicebase";
constexpr const char* kAndroidNodeTag = "IxoNode";

enum class Level { kError, kWarn, kInfo, kVerbose };

// One expected log line: level, emitting function and the fully expanded message.
struct ExpectedLine {
    Level level;
    std::string function;
    std::string message;
};

inline const char* LevelTag(Level level) {
    switch (level) {
        case Level::kError:
            return "[ERROR]";
        case Level::kWarn:
            return "[ WARN]";
        case Level::kInfo:
            return "[ INFO]";
        case Level::kVerbose:
            return "[VERBOSE]";
    }
    return "?";
}

inline const char* LevelLetter(Level level) {
    switch (level) {
        case Level::kError:
            return "E";
        case Level::kWarn:
            return "W";
        case Level::kInfo:
            return "I";
        case Level::kVerbose:
            return "V";
    }
    return "?";
}

// Android priority of a level; verbose lines go out at info priority.
inline int LevelPriority(Level level) {
    switch (level) {
        case Level::kError:
            return ANDROID_LOG_ERROR;
        case Level::kWarn:
            return ANDROID_LOG_WARN;
        case Level::kInfo:
        case Level::kVerbose:
            return ANDROID_LOG_INFO;
    }
    return -1;
}

// printf into a string; expectations are built with the library's own formats so that "%p" and
// "%ld" print exactly as they do in the log.
inline std::string Printf(const char* pFormat, ...) __attribute__((format(printf, 1, 2)));
inline std::string Printf(const char* pFormat, ...) {
    va_list args;
    va_start(args, pFormat);
    char buffer[1024];
    vsnprintf(buffer, sizeof(buffer), pFormat, args);
    va_end(args);
    return buffer;
}

inline std::string Ptr(const void* p) {
    return Printf("%p", p);
}

// Android logger for the time no LogRecorder captures: the lines are dropped, not printed.
inline void DiscardAndroidLog(const struct __android_logger_data* /*pData*/,
                              const char* /*pMessage*/) {}

// Captures the framework's sinks and the Android log at once; Restart drops what was captured.
class LogRecorder {
  public:
    LogRecorder() { Restart(); }
    ~LogRecorder() {
        m_android.reset();
        __android_log_set_logger(DiscardAndroidLog);
    }
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;
    void Restart() {
        m_capture.reset();
        m_android.reset();
        m_capture.emplace();
        m_android.emplace();
    }
    std::vector<camera_host::LogLine> Lines() const { return m_capture->Lines(); }
    std::vector<AndroidLogLine> AndroidLines() const { return m_android->Lines(); }
    // Messages of the framework's sink, in order.
    std::vector<std::string> Messages() const { return m_capture->Messages(); }

  private:
    std::optional<camera_host::LogCapture> m_capture;
    std::optional<AndroidLogCapture> m_android;
};

// The Android form of a captured line: tag, "%s %s:%d %s() " expanded, message, newline.
inline std::string AndroidText(const camera_host::LogLine& line) {
    return line.levelTag + kNodeGroupName + " " + kSourceBaseName + ":" +
           std::to_string(line.line) + " " + line.function + "() " + line.message + "\n";
}

inline std::string Describe(const std::vector<camera_host::LogLine>& lines) {
    std::ostringstream out;
    for (const auto& line : lines) {
        out << "  " << line.levelTag << " " << line.levelLetter << " " << line.group << " "
            << line.file << ":" << line.line << " " << line.function << "() " << line.message
            << "\n";
    }
    return out.str();
}

// Whether one captured framework line is the expected one in every field.
inline bool Matches(const camera_host::LogLine& line, const ExpectedLine& expected) {
    return line.sink == camera_host::LogSink::Normal && line.levelTag == LevelTag(expected.level) &&
           line.levelLetter == LevelLetter(expected.level) && line.group == kNodeGroupName &&
           line.file == kSourceBaseName && line.function == expected.function &&
           line.message == expected.message && line.line > 0;
}

// Whether the Android line is the node-form twin of the framework line of the expected level.
inline bool AndroidMatches(const AndroidLogLine& android, const camera_host::LogLine& line,
                           const ExpectedLine& expected) {
    return android.priority == LevelPriority(expected.level) && android.tag == kAndroidNodeTag &&
           android.message == AndroidText(line);
}

// Every line of both sinks, in order and to the character, against the expectation.
inline ::testing::AssertionResult LogIs(const LogRecorder& recorder,
                                        const std::vector<ExpectedLine>& expected) {
    const auto lines = recorder.Lines();
    const auto android = recorder.AndroidLines();
    std::ostringstream want;
    for (const auto& e : expected) {
        want << "  " << LevelTag(e.level) << " " << e.function << "() " << e.message << "\n";
    }
    auto failure = [&](const std::string& why) {
        return ::testing::AssertionFailure() << why << "\nexpected:\n"
                                             << want.str() << "captured:\n"
                                             << Describe(lines);
    };
    if (lines.size() != expected.size()) {
        return failure("line count " + std::to_string(lines.size()) + " instead of " +
                       std::to_string(expected.size()));
    }
    if (android.size() != expected.size()) {
        return failure("Android line count " + std::to_string(android.size()));
    }
    for (size_t i = 0; i < expected.size(); i++) {
        if (!Matches(lines[i], expected[i])) {
            return failure("line " + std::to_string(i) + " differs");
        }
        if (!AndroidMatches(android[i], lines[i], expected[i])) {
            return failure("Android line " + std::to_string(i) + " differs: priority " +
                           std::to_string(android[i].priority) + " tag " + android[i].tag +
                           " text " + android[i].message);
        }
    }
    return ::testing::AssertionSuccess();
}

// Every expected line is present exactly once in both sinks, in any order (lines of threads that
// run at the same time), and nothing else was written.
inline ::testing::AssertionResult LogHasExactly(const LogRecorder& recorder,
                                                const std::vector<ExpectedLine>& expected) {
    const auto lines = recorder.Lines();
    const auto android = recorder.AndroidLines();
    if (lines.size() != expected.size() || android.size() != expected.size()) {
        return ::testing::AssertionFailure()
               << lines.size() << " lines and " << android.size() << " Android lines instead of "
               << expected.size() << "; captured:\n"
               << Describe(lines);
    }
    std::vector<bool> used(lines.size(), false);
    std::vector<bool> androidUsed(android.size(), false);
    for (const auto& e : expected) {
        bool found = false;
        for (size_t i = 0; i < lines.size() && !found; i++) {
            if (used[i] || !Matches(lines[i], e)) {
                continue;
            }
            for (size_t j = 0; j < android.size(); j++) {
                if (!androidUsed[j] && AndroidMatches(android[j], lines[i], e)) {
                    used[i] = true;
                    androidUsed[j] = true;
                    found = true;
                    break;
                }
            }
        }
        if (!found) {
            return ::testing::AssertionFailure()
                   << "missing " << LevelTag(e.level) << " " << e.function << "() " << e.message
                   << "; captured:\n"
                   << Describe(lines);
        }
    }
    return ::testing::AssertionSuccess();
}

// A one-shot gate: threads wait until the test opens it (bounded, so that a fault fails the test
// instead of hanging it).
class Gate {
  public:
    void Open() {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_open = true;
        }
        m_changed.notify_all();
    }
    bool Wait(std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, limit, [this] { return m_open; });
    }

  private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_open = false;
};

// Fixture: a scripted service registered under the default name, clean statics and binder host,
// every node log level on (Android log included), stderr output off, and checks afterwards that
// no descriptor, Pavo object or thread was left behind.
class SessionTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ABinderHost_resetForTesting();
        TestNode::ResetStatics();
        camera_host::ResetFailureInjection();
        m_switches.emplace();
        ASSERT_TRUE(camera_host::ApplyLogLevel("verbose"));
        g_logIxeEncryption = 0;
        g_enableSystemLog = 1;
        camera_host::SetStderrLogging(false);
        __android_log_set_logger(DiscardAndroidLog);
        m_mutexesBefore = camera_host::LiveMutexCount();
        m_conditionsBefore = camera_host::LiveConditionCount();
        m_fdsBefore = OpenFdCount();
        m_service = ndk::SharedRefBase::make<ScriptedService>();
        m_registration.emplace(m_service);
    }

    void TearDown() override {
        m_registration.reset();
        m_service.reset();
        TestNode::ResetStatics();
        // Death notifications still queued on the pool finish before the next test.
        ABinderHost_flushPool();
        ABinderHost_resetForTesting();
        camera_host::ResetFailureInjection();
        EXPECT_EQ(camera_host::LiveThreadCount(), 0) << "a worker thread was never joined";
        EXPECT_EQ(camera_host::LiveMutexCount(), m_mutexesBefore);
        EXPECT_EQ(camera_host::LiveConditionCount(), m_conditionsBefore);
        EXPECT_EQ(OpenFdCount(), m_fdsBefore);
        camera_host::SetStderrLogging(true);
        __android_log_set_logger(__android_log_stderr_logger);
        m_switches.reset();
    }

    // A constructed and initialised node (the service, if registered, is acquired).
    std::unique_ptr<TestNode> MakeNode(const char* pName = "SessionNode", uint32_t width = 640,
                                       uint32_t height = 480) {
        auto node = std::make_unique<TestNode>(pName, width, height);
        EXPECT_EQ(node->Initialize(&m_interface), LumResultSuccess);
        return node;
    }

    // A node whose InitVppSession succeeded.
    std::unique_ptr<TestNode> MakeSessionNode(const char* pName = "SessionNode",
                                              uint32_t width = 640, uint32_t height = 480) {
        auto node = MakeNode(pName, width, height);
        EXPECT_EQ(node->InitVppSession(), LumResultSuccess);
        return node;
    }

    // The scripted session that the node holds.
    static std::shared_ptr<ScriptedSession> SessionOf(const TestNode& node) {
        return std::dynamic_pointer_cast<ScriptedSession>(node.m_pVppSession);
    }

    static std::string SessionPtr(const TestNode& node) { return Ptr(node.m_pVppSession.get()); }

    IxoNodeInterface m_interface{};
    std::shared_ptr<ScriptedService> m_service;
    std::optional<ServiceRegistration> m_registration;

  private:
    std::optional<camera_host::LogSwitchesGuard> m_switches;
    int m_fdsBefore = 0;
    int m_mutexesBefore = 0;
    int m_conditionsBefore = 0;
};

}  // namespace vpptest
