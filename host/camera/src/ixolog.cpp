// Host logging of the camera framework: switches, stderr sinks, group names and line capture.
#include "ixolog.h"

#include <strings.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "camera_host/camera_host.h"

namespace {

// Mask indices of the four levels the framework logs at.
constexpr int kErrorIndex = 0;
constexpr int kWarnIndex = 1;
constexpr int kInfoIndex = 4;
constexpr int kVerboseIndex = 6;
constexpr uint64_t kAllGroups = ~0ULL;

}  // namespace

// Host defaults: errors and warnings of every group, nothing chattier, no Android log.
int32_t g_logIxeEncryption = 0;
int32_t g_enableSystemLog = 0;
uint64_t g_enableIxoNodeLogs[IXO_LOG_LEVEL_COUNT] = {kAllGroups, kAllGroups};
uint64_t g_enableIxeLogs[IXO_LOG_LEVEL_COUNT] = {kAllGroups, kAllGroups};

namespace {

// Capture state shared by every LogCapture (there is one at a time; nesting shares the lines).
struct CaptureState {
    std::mutex mutex;
    int depth = 0;
    std::vector<camera_host::LogLine> lines;
};

CaptureState& Capture() {
    static CaptureState* const pState = new CaptureState();  // never destroyed: sinks may run late
    return *pState;
}

std::atomic<bool> g_stderrEnabled{true};

const char* OrEmpty(const char* p) {
    return p != nullptr ? p : "(null)";
}

// Expands a printf format; never throws (an allocation failure yields what fitted).
std::string Format(const char* pFormat, va_list args) {
    std::string out;
    if (pFormat == nullptr) {
        return out;
    }
    char stackBuffer[512];
    va_list copy;
    va_copy(copy, args);
    int needed = vsnprintf(stackBuffer, sizeof(stackBuffer), pFormat, copy);
    va_end(copy);
    if (needed < 0) {
        return out;
    }
    try {
        if (static_cast<size_t>(needed) < sizeof(stackBuffer)) {
            out.assign(stackBuffer, static_cast<size_t>(needed));
        } else {
            out.resize(static_cast<size_t>(needed) + 1);
            vsnprintf(&out[0], out.size(), pFormat, args);
            out.resize(static_cast<size_t>(needed));
        }
    } catch (...) {
        out.clear();
    }
    return out;
}

void WriteAll(int fd, const char* pData, size_t length) {
    while (length > 0) {
        ssize_t written = write(fd, pData, length);
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return;
        }
        pData += written;
        length -= static_cast<size_t>(written);
    }
}

// Common body of both sinks: record the call if captured, then write one line to stderr.
void Sink(camera_host::LogSink sink, const char* pPrefix, const char* pLevelTag,
          const char* pLevelLetter, const char* pGroup, const char* pFile, const char* pFunction,
          int line, const char* pFormat, va_list args) {
    const int savedErrno = errno;  // logging must not disturb the caller's errno
    std::string message = Format(pFormat, args);
    try {
        CaptureState& state = Capture();
        {
            std::lock_guard<std::mutex> lock(state.mutex);
            if (state.depth > 0) {
                state.lines.push_back({sink, OrEmpty(pLevelTag), OrEmpty(pLevelLetter),
                                       OrEmpty(pGroup), OrEmpty(pFile), OrEmpty(pFunction), line,
                                       message});
            }
        }
        if (g_stderrEnabled.load(std::memory_order_relaxed)) {
            std::string text = pPrefix;
            text += OrEmpty(pLevelTag);
            text += ' ';
            text += OrEmpty(pGroup);
            text += ' ';
            text += OrEmpty(pFile);
            text += ':';
            text += std::to_string(line);
            text += ' ';
            text += OrEmpty(pFunction);
            text += "() ";
            text += message;
            if (text.back() != '\n') {
                text += '\n';
            }
            // One write per line so that lines of concurrent threads do not interleave.
            WriteAll(STDERR_FILENO, text.data(), text.size());
        }
    } catch (...) {
        // A sink never throws into the code that logs.
    }
    errno = savedErrno;
}

// Names of single-bit group masks, indexed by bit number; null for bits without a name.
const char* const kNodeGroupNames[64] = {
    "Core",    "Sensor",  "ISP",    "Stats",  "Metadata", "Buffer",  "Pipeline", "Request",
    "Session", "Sync",    "Thread", "Memory", "Jpeg",     "Encoder", "Decoder",  "Scaler",
    nullptr,   nullptr,   nullptr,  nullptr,  nullptr,    nullptr,   nullptr,    nullptr,
    nullptr,   nullptr,   nullptr,  nullptr,  nullptr,    nullptr,   nullptr,    nullptr,
    nullptr,   nullptr,   nullptr,  nullptr,  nullptr,    nullptr,   nullptr,    nullptr,
    nullptr,   nullptr,   nullptr,  nullptr,  nullptr,    nullptr,   nullptr,    nullptr,
    "Fusion",  "Denoise", "Warp",   "Depth",  "Tracking", "Eis",     "VPP",      "Remosaic",
    nullptr,   nullptr,   nullptr,  nullptr,  nullptr,    nullptr,   nullptr,    "Misc",
};

const char* const kIxeGroupNames[64] = {
    "Core",     "Session",  "Feature", "Stats", "Metadata", "Buffer", "HDR",      "Bokeh",
    "MultiCam", "Snapshot", "Preview", "FRC",   "Video",    "Night",  "Portrait", "Zoom",
    "Utils",    "Plugin",   "Graph",   nullptr, nullptr,    nullptr,  nullptr,    nullptr,
    nullptr,    nullptr,    nullptr,   nullptr, nullptr,    nullptr,  nullptr,    nullptr,
    nullptr,    nullptr,    nullptr,   nullptr, nullptr,    nullptr,  nullptr,    nullptr,
    nullptr,    nullptr,    nullptr,   nullptr, nullptr,    nullptr,  nullptr,    nullptr,
    nullptr,    nullptr,    nullptr,   nullptr, nullptr,    nullptr,  nullptr,    nullptr,
    nullptr,    nullptr,    nullptr,   nullptr, nullptr,    nullptr,  nullptr,    nullptr,
};

const char* GroupName(const char* const (&names)[64], uint64_t group) {
    // Only a mask with exactly one bit set names a group.
    if (group == 0 || (group & (group - 1)) != 0) {
        return "Unknown";
    }
    const char* pName = names[__builtin_ctzll(group)];
    return pName != nullptr ? pName : "Unknown";
}

void SetLevelMasks(uint64_t (&masks)[IXO_LOG_LEVEL_COUNT], int level) {
    masks[kErrorIndex] = level >= 1 ? kAllGroups : 0;
    masks[kWarnIndex] = level >= 2 ? kAllGroups : 0;
    masks[kInfoIndex] = level >= 3 ? kAllGroups : 0;
    masks[kVerboseIndex] = level >= 4 ? kAllGroups : 0;
}

// Applies IXO_LOG_LEVEL once, before main, for developers who want more (or less) output.
struct EnvironmentLogLevel {
    EnvironmentLogLevel() {
        const char* pLevel = getenv("IXO_LOG_LEVEL");
        if (pLevel != nullptr && *pLevel != '\0' && !camera_host::ApplyLogLevel(pLevel)) {
            fprintf(stderr, "IXO_LOG_LEVEL=%s not understood (off|error|warn|info|verbose)\n",
                    pLevel);
        }
    }
} g_environmentLogLevel;

}  // namespace

namespace IxoLog {

void LogSystem(const char* pLevelTag, const char* pLevelLetter, const char* pGroup,
               const char* pFile, const char* pFunction, int line, const char* pFormat, ...) {
    va_list args;
    va_start(args, pFormat);
    Sink(camera_host::LogSink::Normal, "", pLevelTag, pLevelLetter, pGroup, pFile, pFunction, line,
         pFormat, args);
    va_end(args);
}

// A host has no log encryption: the line is written in clear, marked so that it can be told
// apart from the normal sink's output.
void IxeEncryptLogSystem(const char* pLevelTag, const char* pLevelLetter, const char* pGroup,
                         const char* pFile, const char* pFunction, int line, const char* pFormat,
                         ...) {
    va_list args;
    va_start(args, pFormat);
    Sink(camera_host::LogSink::Encrypt, "[ENC]", pLevelTag, pLevelLetter, pGroup, pFile, pFunction,
         line, pFormat, args);
    va_end(args);
}

}  // namespace IxoLog

namespace IxoNodeLog {
const char* GroupToString(uint64_t group) {
    return GroupName(kNodeGroupNames, group);
}
}  // namespace IxoNodeLog

namespace IxeLog {
const char* GroupToString(uint64_t group) {
    return GroupName(kIxeGroupNames, group);
}
}  // namespace IxeLog

namespace camera_host {

LogCapture::LogCapture() {
    CaptureState& state = Capture();
    std::lock_guard<std::mutex> lock(state.mutex);
    if (state.depth++ == 0) {
        state.lines.clear();
    }
}

LogCapture::~LogCapture() {
    CaptureState& state = Capture();
    std::lock_guard<std::mutex> lock(state.mutex);
    if (--state.depth == 0) {
        state.lines.clear();
        state.lines.shrink_to_fit();
    }
}

std::vector<LogLine> LogCapture::Lines() const {
    CaptureState& state = Capture();
    std::lock_guard<std::mutex> lock(state.mutex);
    return state.lines;
}

std::vector<std::string> LogCapture::Messages() const {
    CaptureState& state = Capture();
    std::lock_guard<std::mutex> lock(state.mutex);
    std::vector<std::string> messages;
    messages.reserve(state.lines.size());
    for (const LogLine& line : state.lines) {
        messages.push_back(line.message);
    }
    return messages;
}

void LogCapture::Clear() {
    CaptureState& state = Capture();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.lines.clear();
}

void SetStderrLogging(bool enabled) {
    g_stderrEnabled.store(enabled, std::memory_order_relaxed);
}

bool ApplyLogLevel(const char* pLevelName) {
    if (pLevelName == nullptr) {
        return false;
    }
    static const struct {
        const char* pName;
        int level;
    } kLevels[] = {{"off", 0},     {"none", 0}, {"error", 1},   {"warn", 2},
                   {"warning", 2}, {"info", 3}, {"verbose", 4}, {"all", 4}};
    for (const auto& entry : kLevels) {
        if (strcasecmp(pLevelName, entry.pName) == 0) {
            SetLevelMasks(g_enableIxoNodeLogs, entry.level);
            SetLevelMasks(g_enableIxeLogs, entry.level);
            return true;
        }
    }
    return false;
}

LogSwitchesGuard::LogSwitchesGuard()
    : m_encryption(g_logIxeEncryption), m_systemLog(g_enableSystemLog) {
    static_assert(sizeof(m_node) == sizeof(g_enableIxoNodeLogs), "switch array sizes differ");
    for (int i = 0; i < IXO_LOG_LEVEL_COUNT; ++i) {
        m_node[i] = g_enableIxoNodeLogs[i];
        m_ixe[i] = g_enableIxeLogs[i];
    }
}

LogSwitchesGuard::~LogSwitchesGuard() {
    g_logIxeEncryption = m_encryption;
    g_enableSystemLog = m_systemLog;
    for (int i = 0; i < IXO_LOG_LEVEL_COUNT; ++i) {
        g_enableIxoNodeLogs[i] = m_node[i];
        g_enableIxeLogs[i] = m_ixe[i];
    }
}

}  // namespace camera_host
