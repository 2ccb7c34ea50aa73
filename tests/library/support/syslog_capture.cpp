// Interposed syslog entry points and the recording behind SyslogCapture. Without a live capture
// every line is passed on to the C library's vsyslog, so executables that never capture see no
// difference.
#include "syslog_capture.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace vpptest {
namespace {

std::mutex g_syslogMutex;
bool g_capturing = false;
std::vector<std::string> g_syslogLines;

// Records the line while a capture is alive, or passes it on to the C library's vsyslog.
void Log(int priority, const char* pFormat, va_list args) {
    const int savedErrno = errno;  // %m in the format refers to the caller's errno
    {
        std::lock_guard<std::mutex> lock(g_syslogMutex);
        if (g_capturing) {
            char text[1024];
            vsnprintf(text, sizeof(text), pFormat != nullptr ? pFormat : "", args);
            g_syslogLines.push_back(text);
            errno = savedErrno;
            return;
        }
    }
    using VsyslogFunction = void (*)(int, const char*, va_list);
    static const auto pReal = reinterpret_cast<VsyslogFunction>(dlsym(RTLD_NEXT, "vsyslog"));
    if (pReal != nullptr) {
        errno = savedErrno;
        pReal(priority, pFormat, args);
    }
}

}  // namespace

SyslogCapture::SyslogCapture() {
    std::lock_guard<std::mutex> lock(g_syslogMutex);
    g_syslogLines.clear();
    g_capturing = true;
}

SyslogCapture::~SyslogCapture() {
    std::lock_guard<std::mutex> lock(g_syslogMutex);
    g_capturing = false;
    g_syslogLines.clear();
}

std::vector<std::string> SyslogCapture::Lines() const {
    std::lock_guard<std::mutex> lock(g_syslogMutex);
    return g_syslogLines;
}

}  // namespace vpptest

// The C library's entry points, defined here so that calls from every module of the process
// (the library's inline descriptor release included) reach the capture first.
extern "C" {

void vsyslog(int priority, const char* pFormat, va_list args) {
    vpptest::Log(priority, pFormat, args);
}

void syslog(int priority, const char* pFormat, ...) {
    va_list args;
    va_start(args, pFormat);
    vpptest::Log(priority, pFormat, args);
    va_end(args);
}

void __vsyslog_chk(int priority, int /*flag*/, const char* pFormat, va_list args) {
    vpptest::Log(priority, pFormat, args);
}

void __syslog_chk(int priority, int /*flag*/, const char* pFormat, ...) {
    va_list args;
    va_start(args, pFormat);
    vpptest::Log(priority, pFormat, args);
    va_end(args);
}

}  // extern "C"
