// Expected log lines of the library and their comparison, line by line, with what the framework's
// sinks and the Android log received: the records, printf and pointer formatting, the captures.
#pragma once

#include <android/log.h>
#include <camera_host/camera_host.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace vpptest {

// Base name every statement of the library prints as its file.
constexpr const char* kSourceBaseName = "pavovppservicebase";

enum class Level { kError, kWarn, kInfo, kVerbose };

// Which log statement form a line was written in.
enum class Form {
    kNode,  // group "VPP" of the node masks, Android tag "IxoNode"
    kIxe,   // group "FRC" of the extension-layer masks, Android tag "Ixo"
};

// One expected line: level, emitting function, fully expanded message, statement form.
struct ExpectedLine {
    Level level;
    std::string function;
    std::string message;
    Form form = Form::kNode;
};

inline ExpectedLine Error(std::string function, std::string message) {
    return {Level::kError, std::move(function), std::move(message)};
}
inline ExpectedLine Warn(std::string function, std::string message) {
    return {Level::kWarn, std::move(function), std::move(message)};
}
inline ExpectedLine Info(std::string function, std::string message) {
    return {Level::kInfo, std::move(function), std::move(message)};
}
inline ExpectedLine Verbose(std::string function, std::string message) {
    return {Level::kVerbose, std::move(function), std::move(message)};
}

// A line by its level letter ('E', 'W', 'I', 'V') in either form.
inline Level LevelOf(char letter) {
    switch (letter) {
        case 'E':
            return Level::kError;
        case 'W':
            return Level::kWarn;
        case 'I':
            return Level::kInfo;
        default:
            return Level::kVerbose;
    }
}
inline ExpectedLine Node(char level, std::string function, std::string message) {
    return {LevelOf(level), std::move(function), std::move(message), Form::kNode};
}
inline ExpectedLine Ixe(char level, std::string function, std::string message) {
    return {LevelOf(level), std::move(function), std::move(message), Form::kIxe};
}

inline const char* LevelTag(Level level) {
    static const char* const kTags[] = {"[ERROR]", "[ WARN]", "[ INFO]", "[VERBOSE]"};
    return kTags[static_cast<int>(level)];
}
inline const char* LevelLetter(Level level) {
    static const char* const kLetters[] = {"E", "W", "I", "V"};
    return kLetters[static_cast<int>(level)];
}
// Android priority of a level; verbose lines go out at info priority.
inline int LevelPriority(Level level) {
    return level == Level::kError  ? ANDROID_LOG_ERROR
           : level == Level::kWarn ? ANDROID_LOG_WARN
                                   : ANDROID_LOG_INFO;
}
inline const char* GroupName(Form form) {
    return form == Form::kNode ? "VPP" : "FRC";
}
inline const char* AndroidTag(Form form) {
    return form == Form::kNode ? "IxoNode" : "Ixo";
}

// printf into a string: expectations go through the same formatting as the library's lines, so
// that "%p" and "%lu" print exactly as they do in the log.
inline std::string Printf(const char* pFormat, ...) __attribute__((format(printf, 1, 2)));
inline std::string Printf(const char* pFormat, ...) {
    va_list args;
    va_start(args, pFormat);
    char buffer[1024];
    vsnprintf(buffer, sizeof(buffer), pFormat, args);
    va_end(args);
    return buffer;
}

// A pointer as "%p" prints it ("(nil)" for null).
inline std::string Ptr(const void* p) {
    return Printf("%p", p);
}

// One line that reached the Android log.
struct AndroidLogLine {
    int priority;
    std::string tag;
    std::string message;
};

// Captures the Android log (liblog's logger hook) while alive.
class AndroidLogCapture {
  public:
    AndroidLogCapture();
    ~AndroidLogCapture();
    AndroidLogCapture(const AndroidLogCapture&) = delete;
    AndroidLogCapture& operator=(const AndroidLogCapture&) = delete;
    std::vector<AndroidLogLine> Lines() const;
    // Forgets the lines captured so far.
    void Clear();
};

// Android logger for the time no recorder captures: the lines are dropped, not printed.
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
    void Clear() {
        m_capture->Clear();
        m_android->Clear();
    }
    std::vector<camera_host::LogLine> Lines() const { return m_capture->Lines(); }
    std::vector<AndroidLogLine> AndroidLines() const { return m_android->Lines(); }
    // Messages of the framework's sink, in order.
    std::vector<std::string> Messages() const { return m_capture->Messages(); }

  private:
    std::optional<camera_host::LogCapture> m_capture;
    std::optional<AndroidLogCapture> m_android;
};

// A framework line in one comparable string, every field but the line number.
inline std::string Describe(const camera_host::LogLine& line) {
    return std::string(line.sink == camera_host::LogSink::Normal ? "normal" : "encrypt") + " | " +
           line.levelTag + " | " + line.levelLetter + " | " + line.group + " | " + line.file +
           " | " + line.function + " | " + line.message;
}
// The same for an expected line on the given sink; an empty group is the form's own.
inline std::string Describe(const ExpectedLine& expected,
                            camera_host::LogSink sink = camera_host::LogSink::Normal,
                            const std::string& group = "") {
    return std::string(sink == camera_host::LogSink::Normal ? "normal" : "encrypt") + " | " +
           LevelTag(expected.level) + " | " + LevelLetter(expected.level) + " | " +
           (group.empty() ? GroupName(expected.form) : group) + " | " + kSourceBaseName + " | " +
           expected.function + " | " + expected.message;
}

// The full Android line the statement behind a framework line must have written.
inline std::string AndroidText(const camera_host::LogLine& line) {
    return line.levelTag + line.group + " " + line.file + ":" + std::to_string(line.line) + " " +
           line.function + "() " + line.message + "\n";
}

// Compares framework lines alone with the expected ones, field by field and in order; each line
// must carry a positive line number.
inline void ExpectLines(const std::vector<camera_host::LogLine>& lines,
                        const std::vector<ExpectedLine>& expected,
                        camera_host::LogSink sink = camera_host::LogSink::Normal,
                        const std::string& group = "") {
    std::vector<std::string> actual;
    for (const auto& line : lines) {
        actual.push_back(Describe(line));
        EXPECT_GT(line.line, 0) << Describe(line);
    }
    std::vector<std::string> wanted;
    for (const auto& line : expected) {
        wanted.push_back(Describe(line, sink, group));
    }
    EXPECT_EQ(actual, wanted);
}

// Every node-form framework line has its Android twin, in the same order, with tag "IxoNode",
// the level's priority and the same line number.
inline void ExpectAndroidTwins(const std::vector<camera_host::LogLine>& lines,
                               const std::vector<AndroidLogLine>& androidLines) {
    std::vector<std::string> wanted;
    for (const auto& line : lines) {
        const int priority = line.levelLetter == "E"   ? ANDROID_LOG_ERROR
                             : line.levelLetter == "W" ? ANDROID_LOG_WARN
                                                       : ANDROID_LOG_INFO;
        wanted.push_back(std::to_string(priority) + " IxoNode " + AndroidText(line));
    }
    std::vector<std::string> actual;
    for (const auto& line : androidLines) {
        actual.push_back(std::to_string(line.priority) + " " + line.tag + " " + line.message);
    }
    EXPECT_EQ(actual, wanted);
}

// Whether a captured framework line is the expected one in every field.
inline bool Matches(const camera_host::LogLine& line, const ExpectedLine& expected) {
    return line.sink == camera_host::LogSink::Normal && line.levelTag == LevelTag(expected.level) &&
           line.levelLetter == LevelLetter(expected.level) &&
           line.group == GroupName(expected.form) && line.file == kSourceBaseName &&
           line.function == expected.function && line.message == expected.message && line.line > 0;
}

// Whether an Android line is the twin of a framework line of the expected level and form.
inline bool AndroidMatches(const AndroidLogLine& android, const camera_host::LogLine& line,
                           const ExpectedLine& expected) {
    return android.priority == LevelPriority(expected.level) &&
           android.tag == AndroidTag(expected.form) && android.message == AndroidText(line);
}

inline std::string Describe(const std::vector<camera_host::LogLine>& lines) {
    std::ostringstream out;
    for (const auto& line : lines) {
        out << "  " << line.levelTag << " " << line.group << " " << line.file << ":" << line.line
            << " " << line.function << "() " << line.message << "\n";
    }
    return out.str();
}

// Every line of both sinks, in order and to the character, against the expectation.
inline ::testing::AssertionResult LogIs(const LogRecorder& recorder,
                                        const std::vector<ExpectedLine>& expected) {
    const auto lines = recorder.Lines();
    const auto android = recorder.AndroidLines();
    std::ostringstream want;
    for (const auto& e : expected) {
        want << "  " << LevelTag(e.level) << " " << GroupName(e.form) << " " << e.function << "() "
             << e.message << "\n";
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

// Both sinks against the expectation, in order.
inline void ExpectLines(const LogRecorder& recorder, const std::vector<ExpectedLine>& expected) {
    EXPECT_TRUE(LogIs(recorder, expected));
}

}  // namespace vpptest
