// The service's own diagnostic lines: written to stderr only when a session's flags ask for them.
#include "service_log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace vppservice {

int32_t DebugFlagsFromEnvironment() {
    const char* value = std::getenv("VPPSERVICE_DEBUG");
    if (value == nullptr || *value == '\0') {
        return 0;
    }
    char* end = nullptr;
    const long flags = std::strtol(value, &end, 10);
    if (*end != '\0' || flags < 0 || flags > INT32_MAX) {
        return 0;
    }
    return static_cast<int32_t>(flags);
}

void LogLine(const char* session, const char* format, ...) {
    char message[512];
    va_list args;
    va_start(args, format);
    vsnprintf(message, sizeof(message), format, args);
    va_end(args);
    // One write per line, so that lines of concurrent sessions do not interleave.
    std::fprintf(stderr, "vppservice[%s]: %s\n", session, message);
}

}  // namespace vppservice
