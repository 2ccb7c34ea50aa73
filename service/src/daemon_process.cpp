// A vppd child process: fork and exec with its ready line on a pipe, signals, reaping.
#include "vppservice/daemon_process.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <vector>

namespace vppservice {
namespace {

constexpr const char* kReadyPrefix = "vppd: serving ";

// The first line written to fd, or what came before EOF or the timeout.
std::string ReadLine(int fd, int timeoutMs) {
    std::string line;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                              deadline - std::chrono::steady_clock::now())
                              .count();
        if (left <= 0) return line;
        pollfd entry = {fd, POLLIN, 0};
        const int ready = poll(&entry, 1, static_cast<int>(left));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return line;
        char c;
        const ssize_t got = read(fd, &c, 1);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0 || c == '\n') return line;
        line.push_back(c);
    }
}

}  // namespace

std::unique_ptr<SocketFolder> SocketFolder::Make(std::string* error) {
    const char* tmp = getenv("TMPDIR");
    std::string pattern =
        std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/vpp-binder-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (mkdtemp(buffer.data()) == nullptr) {
        *error = "cannot make a socket folder: " + std::string(strerror(errno));
        return nullptr;
    }
    std::unique_ptr<SocketFolder> folder(new SocketFolder());
    folder->path_ = buffer.data();
    const char* previous = getenv("BINDER_HOST_DIR");
    folder->hadPrevious_ = previous != nullptr;
    if (previous != nullptr) folder->previous_ = previous;
    setenv("BINDER_HOST_DIR", folder->path_.c_str(), 1);
    return folder;
}

SocketFolder::~SocketFolder() {
    if (DIR* dir = opendir(path_.c_str())) {
        while (dirent* entry = readdir(dir)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") {
                unlink((path_ + "/" + name).c_str());
            }
        }
        closedir(dir);
    }
    rmdir(path_.c_str());
    if (hadPrevious_) {
        setenv("BINDER_HOST_DIR", previous_.c_str(), 1);
    } else {
        unsetenv("BINDER_HOST_DIR");
    }
}

std::string DaemonProgram() {
    const char* chosen = getenv("VPPSERVICE_VPPD");
    if (chosen != nullptr && *chosen != '\0') {
        return chosen;
    }
#ifdef VPPSERVICE_BUILT_VPPD
    if (access(VPPSERVICE_BUILT_VPPD, X_OK) == 0) {
        return VPPSERVICE_BUILT_VPPD;
    }
#endif
    char self[4096];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof(self) - 1);
    if (length > 0) {
        std::string path(self, static_cast<size_t>(length));
        path = path.substr(0, path.rfind('/') + 1) + "vppd";
        if (access(path.c_str(), X_OK) == 0) {
            return path;
        }
    }
    return "vppd";
}

std::unique_ptr<DaemonProcess> DaemonProcess::Start(const DaemonOptions& options,
                                                    std::string* error) {
    const std::string program = options.program.empty() ? DaemonProgram() : options.program;
    // A daemon started by a program reports its end through its exit status, not a line.
    std::vector<std::string> args = {program, "--quiet"};
    if (!options.socketDir.empty()) {
        args.push_back("--socket-dir");
        args.push_back(options.socketDir);
    }
    if (!options.instance.empty()) {
        args.push_back("--instance");
        args.push_back(options.instance);
    }
    std::vector<char*> argv;
    argv.reserve(args.size() + 1);
    for (std::string& arg : args) argv.push_back(&arg[0]);
    argv.push_back(nullptr);

    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0) {
        *error = "cannot start vppd: " + std::string(strerror(errno));
        return nullptr;
    }
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid == 0) {
        // Only async-signal-safe calls between fork and exec: the parent has threads.
        if (dup2(ready[1], STDOUT_FILENO) < 0) _exit(127);
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent) _exit(127);
        // The parent may block signals for its own reasons; the daemon starts clean.
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    close(ready[1]);
    if (pid < 0) {
        close(ready[0]);
        *error = "cannot start vppd: " + std::string(strerror(errno));
        return nullptr;
    }
    std::unique_ptr<DaemonProcess> child(new DaemonProcess(pid));
    const std::string line = ReadLine(ready[0], options.readyTimeoutMs);
    close(ready[0]);
    if (line.compare(0, strlen(kReadyPrefix), kReadyPrefix) != 0) {
        *error = "vppd (" + program + ") did not become ready";
        return nullptr;  // the destructor stops and reaps it
    }
    return child;
}

DaemonProcess::~DaemonProcess() {
    Stop();
}

void DaemonProcess::Signal(int signal) {
    if (!reaped_) {
        kill(pid_, signal);
    }
}

bool DaemonProcess::Wait(int timeoutMs, int* status) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!reaped_) {
        int result = 0;
        const pid_t done = waitpid(pid_, &result, WNOHANG);
        if (done == pid_) {
            reaped_ = true;
            status_ = result;
            break;
        }
        if (done < 0 && errno != EINTR) {
            reaped_ = true;  // not our child any more
            status_ = -1;
            break;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    if (status != nullptr) *status = status_;
    return true;
}

int DaemonProcess::Stop(int timeoutMs) {
    if (reaped_) {
        return -1;
    }
    Signal(SIGTERM);
    int status = -1;
    if (!Wait(timeoutMs, &status)) {
        Signal(SIGKILL);
        Wait(timeoutMs, &status);
    }
    return status;
}

}  // namespace vppservice
