// Capture of the process's syslog lines: the support library interposes syslog and vsyslog (and
// their fortified forms); lines are recorded while a SyslogCapture is alive and passed on to the
// C library otherwise.
#pragma once

#include <string>
#include <vector>

namespace vpptest {

// Records the expanded message of every syslog line of the process while alive (one capture at
// a time).
class SyslogCapture {
  public:
    SyslogCapture();
    ~SyslogCapture();
    SyslogCapture(const SyslogCapture&) = delete;
    SyslogCapture& operator=(const SyslogCapture&) = delete;
    std::vector<std::string> Lines() const;
};

}  // namespace vpptest
