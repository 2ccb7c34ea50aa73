// The service's own diagnostic lines: written to stderr only when a session's flags ask for them.
#pragma once

#include <cstdint>

namespace vppservice {

// Bits of a session's debug flags (setDebugFlags, or VPPSERVICE_DEBUG for every new session).
constexpr int32_t kDebugLifecycle = 1;  // state changes, errors, flushes, drains
constexpr int32_t kDebugBuffers = 2;    // also every buffer queued and returned

// The flags in the environment variable VPPSERVICE_DEBUG (a decimal number), 0 when unset or
// not a number.
int32_t DebugFlagsFromEnvironment();

// Writes "vppservice[<session>]: <message>" as one line to stderr.
void LogLine(const char* session, const char* format, ...) __attribute__((format(printf, 2, 3)));

}  // namespace vppservice
