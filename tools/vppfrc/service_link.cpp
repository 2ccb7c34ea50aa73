// Where the vppfrc tool's VPP service runs: the embedded service, a vppd child process with a
// private socket folder, or a vppd that is running already.
#include "service_link.h"

#include <aidl/vendor/zux/hardware/vpp/IVppService.h>
#include <android/binder_manager.h>
#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

#include "vppservice/vpp_service.h"

namespace vppfrc {
namespace {

using ::aidl::vendor::zux::hardware::vpp::IVppService;

// How long vppd may take to say it is ready (sanitizer builds start slowly), and to stop.
constexpr int kReadyTimeoutMs = 10000;
constexpr int kStopTimeoutMs = 3000;
constexpr const char* kReadyPrefix = "vppd: serving ";

std::string ServiceName() {
    return std::string(IVppService::descriptor) + "/default";
}

class EmbeddedLink : public ServiceLink {
  public:
    explicit EmbeddedLink(std::unique_ptr<vppservice::ServiceHandle> handle)
        : handle_(std::move(handle)) {}

  private:
    std::unique_ptr<vppservice::ServiceHandle> handle_;
};

class ConnectLink : public ServiceLink {};

std::string VppdPath() {
    const char* chosen = getenv("VPPFRC_VPPD");
    if (chosen != nullptr && *chosen != '\0') {
        return chosen;
    }
#ifdef VPPFRC_BUILT_VPPD
    if (access(VPPFRC_BUILT_VPPD, X_OK) == 0) {
        return VPPFRC_BUILT_VPPD;
    }
#endif
    // Installed side by side.
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

// Removes a folder and the files in it (the sockets a transport made there).
void RemoveFolder(const std::string& path) {
    if (DIR* dir = opendir(path.c_str())) {
        while (dirent* entry = readdir(dir)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") {
                unlink((path + "/" + name).c_str());
            }
        }
        closedir(dir);
    }
    rmdir(path.c_str());
}

// Waits for the child to exit, up to timeoutMs; true once reaped.
bool Reap(pid_t pid, int timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        int status = 0;
        const pid_t done = waitpid(pid, &status, WNOHANG);
        if (done == pid || (done < 0 && errno == ECHILD)) {
            return true;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

class ProcessLink : public ServiceLink {
  public:
    ~ProcessLink() override { Stop(); }

    bool Start(std::string* error) {
        const char* tmp = getenv("TMPDIR");
        std::string pattern =
            std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/vppfrc-binder-XXXXXX";
        std::vector<char> buffer(pattern.begin(), pattern.end());
        buffer.push_back('\0');
        if (mkdtemp(buffer.data()) == nullptr) {
            *error = "cannot make a socket folder for vppd: " + std::string(strerror(errno));
            return false;
        }
        folder_ = buffer.data();
        const char* previous = getenv("BINDER_HOST_DIR");
        hadPrevious_ = previous != nullptr;
        if (hadPrevious_) previous_ = previous;
        setenv("BINDER_HOST_DIR", folder_.c_str(), 1);

        int ready[2];
        if (pipe2(ready, O_CLOEXEC) != 0) {
            *error = "cannot start vppd: " + std::string(strerror(errno));
            return false;
        }
        const std::string program = VppdPath();
        std::vector<std::string> args = {program, "--socket-dir", folder_};
        std::vector<char*> argv;
        for (std::string& arg : args) argv.push_back(&arg[0]);
        argv.push_back(nullptr);
        const pid_t parent = getpid();
        pid_t pid = fork();
        if (pid == 0) {
            // Only async-signal-safe calls between fork and exec: this process has threads.
            if (dup2(ready[1], STDOUT_FILENO) < 0) _exit(127);
            // vppd ends with the tool, whatever ends the tool.
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            if (getppid() != parent) _exit(127);
            execvp(argv[0], argv.data());
            _exit(127);
        }
        close(ready[1]);
        if (pid < 0) {
            close(ready[0]);
            *error = "cannot start vppd: " + std::string(strerror(errno));
            return false;
        }
        pid_ = pid;
        const std::string line = ReadLine(ready[0], kReadyTimeoutMs);
        close(ready[0]);
        if (line.compare(0, strlen(kReadyPrefix), kReadyPrefix) != 0) {
            *error = "vppd (" + program + ") did not become ready";
            return false;
        }
        return true;
    }

  private:
    // The first line the child writes, or what came before EOF or the timeout.
    static std::string ReadLine(int fd, int timeoutMs) {
        std::string line;
        const auto deadline =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
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

    void Stop() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            if (!Reap(pid_, kStopTimeoutMs)) {
                kill(pid_, SIGKILL);
                Reap(pid_, kStopTimeoutMs);
            }
            pid_ = -1;
        }
        if (!folder_.empty()) {
            RemoveFolder(folder_);
            if (hadPrevious_) {
                setenv("BINDER_HOST_DIR", previous_.c_str(), 1);
            } else {
                unsetenv("BINDER_HOST_DIR");
            }
            folder_.clear();
        }
    }

    pid_t pid_ = -1;
    std::string folder_;
    bool hadPrevious_ = false;
    std::string previous_;
};

}  // namespace

const char* ServiceModeName(ServiceMode mode) {
    switch (mode) {
        case ServiceMode::kEmbedded:
            return "embedded";
        case ServiceMode::kProcess:
            return "process";
        case ServiceMode::kConnect:
            return "connect";
    }
    return "?";
}

bool ParseServiceMode(const std::string& text, ServiceMode* mode) {
    for (ServiceMode candidate :
         {ServiceMode::kEmbedded, ServiceMode::kProcess, ServiceMode::kConnect}) {
        if (text == ServiceModeName(candidate)) {
            *mode = candidate;
            return true;
        }
    }
    return false;
}

std::unique_ptr<ServiceLink> OpenServiceLink(ServiceMode mode, std::string* error) {
    switch (mode) {
        case ServiceMode::kEmbedded: {
            std::unique_ptr<vppservice::ServiceHandle> handle = vppservice::RegisterService();
            if (handle == nullptr) {
                *error = "cannot start the embedded VPP service: its name is taken";
                return nullptr;
            }
            return std::make_unique<EmbeddedLink>(std::move(handle));
        }
        case ServiceMode::kProcess: {
            auto link = std::make_unique<ProcessLink>();
            if (!link->Start(error)) return nullptr;
            return link;
        }
        case ServiceMode::kConnect: {
            ndk::SpAIBinder binder(AServiceManager_checkService(ServiceName().c_str()));
            if (binder.get() == nullptr) {
                *error = "no VPP service is running (start vppd first, or use --service process)";
                return nullptr;
            }
            return std::make_unique<ConnectLink>();
        }
    }
    return nullptr;
}

}  // namespace vppfrc
