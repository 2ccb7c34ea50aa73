// A vppd child process (started with a socket folder, ready once it says so, stopped by signal)
// and a private socket folder for it and its clients.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

namespace vppservice {

// The vppd program to start: $VPPSERVICE_VPPD, else the vppd of the build this code comes from,
// else "vppd" beside the running program, else "vppd" on the PATH.
std::string DaemonProgram();

struct DaemonOptions {
    std::string program;         // empty: DaemonProgram()
    std::string socketDir;       // empty: the child inherits BINDER_HOST_DIR or its default
    std::string instance;        // empty: "default"
    int readyTimeoutMs = 10000;  // sanitizer builds start slowly
};

// A fresh socket folder (0700) under $TMPDIR or /tmp that BINDER_HOST_DIR names while it lives,
// so that this process and the children it starts find each other's services there and nowhere
// else. Destroying it restores BINDER_HOST_DIR and removes the folder with the sockets in it.
class SocketFolder {
  public:
    // Null with *error set to one sentence when no folder can be made.
    static std::unique_ptr<SocketFolder> Make(std::string* error);
    ~SocketFolder();
    SocketFolder(const SocketFolder&) = delete;
    SocketFolder& operator=(const SocketFolder&) = delete;
    const std::string& path() const { return path_; }

  private:
    SocketFolder() = default;
    std::string path_;
    bool hadPrevious_ = false;
    std::string previous_;
};

class DaemonProcess {
  public:
    // Starts vppd and waits for its ready line. The child gets SIGTERM when the thread that
    // started it ends (tools and tests start it from their main thread). Returns null with
    // *error set to one sentence when it does not become ready (the child is then reaped).
    static std::unique_ptr<DaemonProcess> Start(const DaemonOptions& options, std::string* error);

    // Stops the child if it still runs (Stop()).
    ~DaemonProcess();
    DaemonProcess(const DaemonProcess&) = delete;
    DaemonProcess& operator=(const DaemonProcess&) = delete;

    pid_t pid() const { return pid_; }

    // Sends a signal (SIGKILL to make it die mid-stream, for instance); does not wait.
    void Signal(int signal);

    // Waits up to timeoutMs for the child to end. True once it has, with its wait status.
    bool Wait(int timeoutMs, int* status = nullptr);

    // SIGTERM, up to timeoutMs for a clean exit, then SIGKILL. Returns the wait status, or -1 if
    // the child had been reaped already.
    int Stop(int timeoutMs = 3000);

  private:
    explicit DaemonProcess(pid_t pid) : pid_(pid) {}
    pid_t pid_;
    bool reaped_ = false;
    int status_ = 0;
};

}  // namespace vppservice
