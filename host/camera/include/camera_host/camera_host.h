// Host-only controls of the camera framework stand-in: capture of the log sinks' lines and failure
// injection for object and thread creation. Only tests, the service and tools include this.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ixotypes.h"

namespace camera_host {

// Which sink received a line.
enum class LogSink { Normal, Encrypt };

// One line as a framework sink received it: its arguments and the formatted message.
struct LogLine {
    LogSink sink;
    std::string levelTag;     // e.g. "[ INFO]"
    std::string levelLetter;  // e.g. "I"
    std::string group;        // group name as passed
    std::string file;
    std::string function;
    int line;
    std::string message;  // the format expanded with its arguments
};

// Captures every line that reaches IxoLog::LogSystem or IxoLog::IxeEncryptLogSystem while alive
// (one capture at a time: a nested one shares the same lines; lines are still written to stderr
// unless silenced).
class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    // Lines captured so far, in order (thread-safe copy).
    std::vector<LogLine> Lines() const;
    // Only the messages, in order.
    std::vector<std::string> Messages() const;
    void Clear();
};

// Turns the sinks' stderr output on (true, the default) or off (false); capture is unaffected.
void SetStderrLogging(bool enabled);

// Sets the error, warning, info and verbose masks of both switch arrays for a level name:
// "off", "error", "warn" (the default), "info" or "verbose" (each includes the ones before it).
// Returns false, changing nothing, for any other name. The IXO_LOG_LEVEL environment variable is
// applied this way once at start-up.
bool ApplyLogLevel(const char* pLevelName);

// Saves the log switches on construction and restores them on destruction.
class LogSwitchesGuard {
  public:
    LogSwitchesGuard();
    ~LogSwitchesGuard();

  private:
    int32_t m_encryption;
    int32_t m_systemLog;
    uint64_t m_node[8];
    uint64_t m_ixe[8];
};

// Failure injection. A predicate receives the name given to Create (or, for threads, nothing)
// and returns true to make that creation fail. Reset with nullptr.
void SetMutexCreateFailure(std::function<bool(const char* pName)> shouldFail);
void SetConditionCreateFailure(std::function<bool(const char* pName)> shouldFail);
// Thread creation: returns the LumResult to fail with, or LumResultSuccess to go ahead.
void SetThreadCreateFailure(std::function<LumResult()> failWith);
// Clears every injection.
void ResetFailureInjection();

// Counters of live objects, for leak checks in tests.
int LiveMutexCount();
int LiveConditionCount();
int LiveThreadCount();  // created and not yet waited for

}  // namespace camera_host
