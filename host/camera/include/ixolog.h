// Logging of the camera framework: the sinks, the group names and the process-wide switches.
#pragma once

#include <cstdint>

// Number of entries in the per-level group mask arrays (indexed by a level's mask index).
#define IXO_LOG_LEVEL_COUNT 8

// 1: send log lines only to the encrypting sink.
extern int32_t g_logIxeEncryption;
// 1: also write log lines to the Android log.
extern int32_t g_enableSystemLog;
// Enabled log groups per level, for node logs and for the extension layer's logs.
extern uint64_t g_enableIxoNodeLogs[IXO_LOG_LEVEL_COUNT];
extern uint64_t g_enableIxeLogs[IXO_LOG_LEVEL_COUNT];

namespace IxoLog {
// The framework's normal sink.
void LogSystem(const char* pLevelTag, const char* pLevelLetter, const char* pGroup,
               const char* pFile, const char* pFunction, int line, const char* pFormat, ...)
    __attribute__((format(printf, 7, 8)));
// The framework's encrypting sink.
void IxeEncryptLogSystem(const char* pLevelTag, const char* pLevelLetter, const char* pGroup,
                         const char* pFile, const char* pFunction, int line, const char* pFormat,
                         ...) __attribute__((format(printf, 7, 8)));
}  // namespace IxoLog

namespace IxoNodeLog {
// Name of a node log group mask (one bit set).
const char* GroupToString(uint64_t group);
}  // namespace IxoNodeLog

namespace IxeLog {
// Name of an extension-layer log group mask (one bit set).
const char* GroupToString(uint64_t group);
}  // namespace IxeLog
