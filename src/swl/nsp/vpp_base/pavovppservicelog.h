// The VPP base library's log statement: a group-mask test, then either the framework's encrypting
// sink alone, or the Android log (when enabled) plus the framework's normal sink.
#pragma once

#include <android/log.h>

#include <cstdint>

#include "ixolog.h"

namespace pavovppbase {

// Group of the node statements (bit 54 of g_enableIxoNodeLogs) and of the extension-layer
// statements of the temporary-buffer path (bit 11 of g_enableIxeLogs).
constexpr uint64_t kNodeLogGroup = 0x40000000000000ULL;
constexpr uint64_t kIxeLogGroup = 0x800ULL;

// Part of a path after its last '/', or the whole path; evaluated at compile time.
constexpr const char* LogBaseName(const char* pPath) {
    const char* pBase = pPath;
    for (const char* p = pPath; *p != '\0'; ++p) {
        if (*p == '/') {
            pBase = p + 1;
        }
    }
    return pBase;
}

// Source name carried by every statement of the library; its base name is what is printed.
constexpr const char* kLogSourcePath = "src/swl/nsp/vpp_base/pavovppservicebase";
constexpr const char* kLogFileName = LogBaseName(kLogSourcePath);

}  // namespace pavovppbase

// Levels: tag, letter, index of the group-mask array, Android priority. Verbose lines go to the
// Android log at info priority.
#define PAVO_VPP_LEVEL_ERROR "[ERROR]", "E", 0, ANDROID_LOG_ERROR
#define PAVO_VPP_LEVEL_WARN "[ WARN]", "W", 1, ANDROID_LOG_WARN
#define PAVO_VPP_LEVEL_INFO "[ INFO]", "I", 4, ANDROID_LOG_INFO
#define PAVO_VPP_LEVEL_VERBOSE "[VERBOSE]", "V", 6, ANDROID_LOG_INFO

// Node form. A clear group bit costs one load and one bit test: no argument is evaluated and
// nothing is formatted. The Android line is built at compile time: tag, location, message.
#define PAVO_VPP_NODE_LOG_STATEMENT(tag, letter, index, priority, format, ...)                   \
    do {                                                                                         \
        if ((g_enableIxoNodeLogs[index] & ::pavovppbase::kNodeLogGroup) != 0) {                  \
            if (g_logIxeEncryption == 1) {                                                       \
                IxoLog::IxeEncryptLogSystem(                                                     \
                    tag, letter, IxeLog::GroupToString(::pavovppbase::kNodeLogGroup),            \
                    ::pavovppbase::kLogFileName, __FUNCTION__, __LINE__, format, ##__VA_ARGS__); \
            } else {                                                                             \
                if (g_enableSystemLog == 1) {                                                    \
                    __android_log_print(priority, "IxoNode", tag "%s %s:%d %s() " format "\n",   \
                                        IxoNodeLog::GroupToString(::pavovppbase::kNodeLogGroup), \
                                        ::pavovppbase::kLogFileName, __LINE__, __FUNCTION__,     \
                                        ##__VA_ARGS__);                                          \
                }                                                                                \
                IxoLog::LogSystem(                                                               \
                    tag, letter, IxoNodeLog::GroupToString(::pavovppbase::kNodeLogGroup),        \
                    ::pavovppbase::kLogFileName, __FUNCTION__, __LINE__, format, ##__VA_ARGS__); \
            }                                                                                    \
        }                                                                                        \
    } while (0)

// Extension-layer form: its own masks and group, its group names in both branches, tag "Ixo".
#define PAVO_VPP_IXE_LOG_STATEMENT(tag, letter, index, priority, format, ...)                      \
    do {                                                                                           \
        if ((g_enableIxeLogs[index] & ::pavovppbase::kIxeLogGroup) != 0) {                         \
            if (g_logIxeEncryption == 1) {                                                         \
                IxoLog::IxeEncryptLogSystem(                                                       \
                    tag, letter, IxeLog::GroupToString(::pavovppbase::kIxeLogGroup),               \
                    ::pavovppbase::kLogFileName, __FUNCTION__, __LINE__, format, ##__VA_ARGS__);   \
            } else {                                                                               \
                if (g_enableSystemLog == 1) {                                                      \
                    __android_log_print(priority, "Ixo", tag "%s %s:%d %s() " format "\n",         \
                                        IxeLog::GroupToString(::pavovppbase::kIxeLogGroup),        \
                                        ::pavovppbase::kLogFileName, __LINE__, __FUNCTION__,       \
                                        ##__VA_ARGS__);                                            \
                }                                                                                  \
                IxoLog::LogSystem(tag, letter, IxeLog::GroupToString(::pavovppbase::kIxeLogGroup), \
                                  ::pavovppbase::kLogFileName, __FUNCTION__, __LINE__, format,     \
                                  ##__VA_ARGS__);                                                  \
            }                                                                                      \
        }                                                                                          \
    } while (0)

// Expands a level's four values into the statement's parameters.
#define PAVO_VPP_EXPAND(statement, ...) statement(__VA_ARGS__)

#define VPP_LOG_ERROR(format, ...) \
    PAVO_VPP_EXPAND(PAVO_VPP_NODE_LOG_STATEMENT, PAVO_VPP_LEVEL_ERROR, format, ##__VA_ARGS__)
#define VPP_LOG_WARN(format, ...) \
    PAVO_VPP_EXPAND(PAVO_VPP_NODE_LOG_STATEMENT, PAVO_VPP_LEVEL_WARN, format, ##__VA_ARGS__)
#define VPP_LOG_INFO(format, ...) \
    PAVO_VPP_EXPAND(PAVO_VPP_NODE_LOG_STATEMENT, PAVO_VPP_LEVEL_INFO, format, ##__VA_ARGS__)
#define VPP_LOG_VERBOSE(format, ...) \
    PAVO_VPP_EXPAND(PAVO_VPP_NODE_LOG_STATEMENT, PAVO_VPP_LEVEL_VERBOSE, format, ##__VA_ARGS__)

#define VPP_IXE_LOG_ERROR(format, ...) \
    PAVO_VPP_EXPAND(PAVO_VPP_IXE_LOG_STATEMENT, PAVO_VPP_LEVEL_ERROR, format, ##__VA_ARGS__)
#define VPP_IXE_LOG_INFO(format, ...) \
    PAVO_VPP_EXPAND(PAVO_VPP_IXE_LOG_STATEMENT, PAVO_VPP_LEVEL_INFO, format, ##__VA_ARGS__)
