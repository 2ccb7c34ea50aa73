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
#include <string>
#include <vector>

namespace vpptest {

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

// A level's tag and letter as the sinks print them, and its Android priority (verbose lines go
// out at info priority).
struct LevelText {
    const char* tag;
    const char* letter;
    int priority;
};
inline const LevelText& TextOf(Level level) {
    static const LevelText kTexts[] = {{"[ERROR]", "E", ANDROID_LOG_ERROR},
                                       {"[ WARN]", "W", ANDROID_LOG_WARN},
                                       {"[ INFO]", "I", ANDROID_LOG_INFO},
                                       {"[VERBOSE]", "V", ANDROID_LOG_INFO}};
    return kTexts[static_cast<int>(level)];
}
// A level by its letter: 'E', 'W', 'I' or 'V'.
inline Level LevelOf(char letter) {
    return static_cast<Level>(std::string("EWIV").find(letter));
}
inline ExpectedLine Node(char level, std::string function, std::string message) {
    return {LevelOf(level), std::move(function), std::move(message), Form::kNode};
}
inline ExpectedLine Ixe(char level, std::string function, std::string message) {
    return {LevelOf(level), std::move(function), std::move(message), Form::kIxe};
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
// The Android tag of a framework line's statement, and the full text it must have written there.
inline std::string AndroidTwin(const camera_host::LogLine& line) {
    const LevelText& text = TextOf(LevelOf(line.levelLetter[0]));
    return std::to_string(text.priority) + (line.group == "VPP" ? " IxoNode " : " Ixo ") +
           line.levelTag + line.group + " " + line.file + ":" + std::to_string(line.line) + " " +
           line.function + "() " + line.message + "\n";
}
inline std::string Describe(const AndroidLogLine& line) {
    return std::to_string(line.priority) + " " + line.tag + " " + line.message;
}

// How a comparison expects the lines to have gone out: on the normal sink with their Android
// twins, on the normal sink alone, or on the encrypting sink alone (named by the given group).
enum class Sinks { kBoth, kNormalOnly, kEncryptOnly };

// Both sinks as one list of strings: each framework line with the verdict on the Android line at
// the same place (its twin, or what it holds instead).
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
        } else if (i < lines.size() && Describe(android[i]) == AndroidTwin(lines[i])) {
            text += " || twin";
        } else {
            text += " || " + Describe(android[i]);
        }
        joined.push_back(text);
    }
    return joined;
}
// An expected line as Joined prints it; an empty group is the form's own.
inline std::string Joined(const ExpectedLine& e, Sinks sinks, const std::string& group) {
    const LevelText& text = TextOf(e.level);
    return std::string(sinks == Sinks::kEncryptOnly ? "encrypt" : "normal") + " | " + text.tag +
           " | " + text.letter + " | " +
           (!group.empty()          ? group
            : e.form == Form::kNode ? "VPP"
                                    : "FRC") +
           " | pavovppservicebase | " + e.function + " | " + e.message +
           (sinks == Sinks::kBoth ? " || twin" : " || (no Android line)");
}

// Every line of both sinks, in order and to the character, against the expectation.
inline ::testing::AssertionResult LogIs(const LogRecorder& recorder,
                                        const std::vector<ExpectedLine>& expected,
                                        Sinks sinks = Sinks::kBoth, const std::string& group = "") {
    std::vector<std::string> wanted;
    for (const auto& e : expected) {
        wanted.push_back(Joined(e, sinks, group));
    }
    const std::vector<std::string> actual = Joined(recorder);
    if (actual == wanted) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "expected:\n"
                                         << ::testing::PrintToString(wanted) << "\ncaptured:\n"
                                         << ::testing::PrintToString(actual);
}

// The same in any order (lines of threads that run at the same time): the framework lines as a
// set, and the Android lines as the set of the framework lines' twins.
inline ::testing::AssertionResult LogHasExactly(const LogRecorder& recorder,
                                                const std::vector<ExpectedLine>& expected) {
    std::vector<std::string> wanted, actual, twins, android;
    for (const auto& e : expected) {
        std::string text = Joined(e, Sinks::kBoth, "");
        wanted.push_back(text.erase(text.rfind(" || ")));
    }
    for (const auto& line : recorder.Lines()) {
        actual.push_back(Describe(line));
        twins.push_back(AndroidTwin(line));
    }
    for (const auto& line : recorder.AndroidLines()) {
        android.push_back(Describe(line));
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
