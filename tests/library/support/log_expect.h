// Expected log lines of the library and their comparison with what the framework's sinks and the
// Android log received: the records, printf and pointer formatting, the captures.
#pragma once

#include <android/log.h>
#include <camera_host/camera_host.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

namespace vpptest {

// Base name every statement of the library prints as its file.
constexpr const char* kSourceBaseName = "pavovppservicebase";

enum class Level { kError, kWarn, kInfo, kVerbose };

// Which statement form wrote a line: the node form (group "VPP" of the node masks, Android tag
// "IxoNode") or the extension-layer form (group "FRC" of its own masks, Android tag "Ixo").
enum class Form { kNode, kIxe };

// One expected line: level, emitting function, fully expanded message, statement form.
struct ExpectedLine {
    Level level;
    std::string function;
    std::string message;
    Form form = Form::kNode;
};

// A line by its level letter ('E', 'W', 'I', 'V') in either form.
inline Level LevelOf(char letter) {
    return letter == 'E'   ? Level::kError
           : letter == 'W' ? Level::kWarn
           : letter == 'I' ? Level::kInfo
                           : Level::kVerbose;
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
    return &"E\0W\0I\0V"[2 * static_cast<int>(level)];
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

// printf into a string, so that "%p" and "%lu" print exactly as they do in the log.
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

// Android logger for the time no recorder captures: the lines are dropped, not printed.
inline void DiscardAndroidLog(const struct __android_logger_data*, const char*) {}

// Captures the framework's sinks and the Android log (liblog's logger hook) while alive.
class LogRecorder {
  public:
    LogRecorder() {
        Clear();
        __android_log_set_logger(Capture);
    }
    ~LogRecorder() { __android_log_set_logger(DiscardAndroidLog); }
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;
    void Clear() {
        m_capture.Clear();
        std::lock_guard<std::mutex> lock(s_mutex);
        s_android.clear();
    }
    std::vector<camera_host::LogLine> Lines() const { return m_capture.Lines(); }
    std::vector<AndroidLogLine> AndroidLines() const {
        std::lock_guard<std::mutex> lock(s_mutex);
        return s_android;
    }
    std::vector<std::string> Messages() const { return m_capture.Messages(); }

  private:
    static void Capture(const struct __android_logger_data* pData, const char* pMessage) {
        std::lock_guard<std::mutex> lock(s_mutex);
        s_android.push_back({pData->priority, pData->tag != nullptr ? pData->tag : "",
                             pMessage != nullptr ? pMessage : ""});
    }
    camera_host::LogCapture m_capture;
    static inline std::mutex s_mutex;
    static inline std::vector<AndroidLogLine> s_android;
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

// Framework lines alone against the expected ones, in order; each carries a positive line number.
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

// Both sinks as one list of strings: each framework line with the Android twin found at the same
// place (the level's priority and the form's tag, the full text with the same line number).
inline std::vector<std::string> Joined(const LogRecorder& recorder) {
    const auto lines = recorder.Lines();
    const auto android = recorder.AndroidLines();
    std::vector<std::string> joined;
    for (size_t i = 0; i < std::max(lines.size(), android.size()); i++) {
        std::string text = i < lines.size() ? Describe(lines[i]) : "(none)";
        if (i < lines.size() && lines[i].line <= 0) {
            text += " | no line number";
        }
        if (i >= android.size()) {
            text += " || (no Android line)";
        } else if (i < lines.size() && android[i].message == AndroidText(lines[i])) {
            text += " || " + std::to_string(android[i].priority) + " " + android[i].tag;
        } else {
            text += " || " + std::to_string(android[i].priority) + " " + android[i].tag + " " +
                    android[i].message;
        }
        joined.push_back(text);
    }
    return joined;
}
inline std::string Joined(const ExpectedLine& e) {
    return Describe(e) + " || " + std::to_string(LevelPriority(e.level)) + " " + AndroidTag(e.form);
}

// Every line of both sinks, in order and to the character, against the expectation.
inline ::testing::AssertionResult LogIs(const LogRecorder& recorder,
                                        const std::vector<ExpectedLine>& expected) {
    std::vector<std::string> wanted;
    for (const auto& e : expected) {
        wanted.push_back(Joined(e));
    }
    const std::vector<std::string> actual = Joined(recorder);
    if (actual == wanted) {
        return ::testing::AssertionSuccess();
    }
    std::ostringstream out;
    out << "expected:\n";
    for (const auto& line : wanted) out << "  " << line << "\n";
    out << "captured:\n";
    for (const auto& line : actual) out << "  " << line << "\n";
    return ::testing::AssertionFailure() << out.str();
}

// The same in any order (lines of threads that run at the same time): the framework lines as a
// set, and the Android lines as the set of the framework lines' twins.
inline ::testing::AssertionResult LogHasExactly(const LogRecorder& recorder,
                                                const std::vector<ExpectedLine>& expected) {
    std::vector<std::string> wanted, actual, twins, android;
    for (const auto& e : expected) {
        wanted.push_back(Describe(e));
    }
    for (const auto& line : recorder.Lines()) {
        actual.push_back(Describe(line));
        const Form form = line.group == "VPP" ? Form::kNode : Form::kIxe;
        twins.push_back(std::to_string(LevelPriority(LevelOf(line.levelLetter[0]))) + " " +
                        AndroidTag(form) + " " + AndroidText(line));
    }
    for (const auto& line : recorder.AndroidLines()) {
        android.push_back(std::to_string(line.priority) + " " + line.tag + " " + line.message);
    }
    for (auto* list : {&wanted, &actual, &twins, &android}) {
        std::sort(list->begin(), list->end());
    }
    if (actual == wanted && android == twins) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << ::testing::PrintToString(actual) << "\ninstead of\n"
                                         << ::testing::PrintToString(wanted)
                                         << "\nAndroid: " << ::testing::PrintToString(android);
}

}  // namespace vpptest
