// vppd: serves the reference VPP service to other processes until SIGTERM or SIGINT.
#include <android/binder_process.h>
#include <binder_host/binder_host.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>

#include "vppservice/vpp_service.h"

namespace {

constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;
constexpr long kMaxThreads = 64;

const char kUsage[] =
    R"(Usage: vppd [--instance NAME] [--socket-dir DIR] [--threads N] [--quiet]
       vppd --help

Serves the reference VPP service (frame-rate conversion in software) to other processes, as
vendor.zux.hardware.vpp.IVppService/NAME. Prints one line when it is ready; SIGTERM or SIGINT
ends every session and exits 0.

Options:
  --instance NAME   instance name clients look up (default: default)
  --socket-dir DIR  folder of the binder sockets (default: $BINDER_HOST_DIR, else a private
                    folder of the user)
  --threads N       most binder threads serving calls at once, 1 to 64 (default: the binder's, 16)
  -q, --quiet       no line when it stops (errors are still reported)
  -h, --help        show this help

Environment: VPPSERVICE_DEBUG=1 (or 2) logs sessions (and buffers) to stderr.
)";

struct Options {
    bool help = false;
    bool quiet = false;
    std::string instance = "default";
    std::string socketDir;
    long threads = 0;  // 0: the binder's default
};

bool Parse(int argc, char** argv, Options* options, std::string* error) {
    for (int i = 1; i < argc; ++i) {
        std::string name = argv[i];
        std::string value;
        bool hasValue = false;
        const size_t equals = name.find('=');
        if (name.compare(0, 2, "--") == 0 && equals != std::string::npos) {
            value = name.substr(equals + 1);
            name = name.substr(0, equals);
            hasValue = true;
        }
        if (name == "-h" || name == "--help") {
            options->help = true;
            continue;
        }
        if (name == "-q" || name == "--quiet") {
            options->quiet = true;
            continue;
        }
        if (name != "--instance" && name != "--socket-dir" && name != "--threads") {
            *error =
                "unknown argument '" + std::string(argv[i]) + "' (vppd --help lists the options)";
            return false;
        }
        if (!hasValue) {
            if (i + 1 >= argc) {
                *error = "option " + name + " needs a value";
                return false;
            }
            value = argv[++i];
        }
        if (value.empty()) {
            *error = "option " + name + " needs a non-empty value";
            return false;
        }
        if (name == "--instance") {
            if (value.find('/') != std::string::npos) {
                *error = "instance name '" + value + "' may not contain '/'";
                return false;
            }
            options->instance = value;
        } else if (name == "--socket-dir") {
            options->socketDir = value;
        } else {
            char* end = nullptr;
            errno = 0;
            const long threads = strtol(value.c_str(), &end, 10);
            if (errno != 0 || *end != '\0' || threads < 1 || threads > kMaxThreads) {
                *error = "invalid thread count '" + value + "': it must be from 1 to " +
                         std::to_string(kMaxThreads);
                return false;
            }
            options->threads = threads;
        }
    }
    return true;
}

const char* SignalName(int signal) {
    return signal == SIGINT ? "SIGINT" : signal == SIGTERM ? "SIGTERM" : "a signal";
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    std::string error;
    if (!Parse(argc, argv, &options, &error)) {
        fprintf(stderr, "vppd: %s\n", error.c_str());
        return kExitUsage;
    }
    if (options.help) {
        fputs(kUsage, stdout);
        return kExitOk;
    }
    // Signals are taken by sigwait below; blocked before any thread starts, so every thread
    // inherits the mask and none is interrupted by them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    // A client gone in the middle of a reply must not end the daemon.
    signal(SIGPIPE, SIG_IGN);

    if (!options.socketDir.empty() &&
        setenv("BINDER_HOST_DIR", options.socketDir.c_str(), 1) != 0) {
        fprintf(stderr, "vppd: cannot use the socket folder '%s': %s\n", options.socketDir.c_str(),
                strerror(errno));
        return kExitFailed;
    }
    if (options.threads > 0) {
        ABinderProcess_setThreadPoolMaxThreadCount(static_cast<uint32_t>(options.threads));
    }
    ABinderProcess_startThreadPool();

    std::unique_ptr<vppservice::ServiceHandle> service =
        vppservice::RegisterService(options.instance);
    if (service == nullptr) {
        fprintf(stderr,
                "vppd: cannot register vendor.zux.hardware.vpp.IVppService/%s: the name is "
                "taken or the socket folder is not usable\n",
                options.instance.c_str());
        return kExitFailed;
    }
    printf("vppd: serving %s (pid %d)\n", service->name().c_str(), static_cast<int>(getpid()));
    fflush(stdout);

    int signal = 0;
    while (sigwait(&stopSignals, &signal) != 0) {
    }
    const size_t sessions = service->liveSessionCount();
    // Ends every session (workers joined, buffers unmapped) and unregisters the name.
    service.reset();
    // Clients see the end of their connections, and let go of them, before this process exits.
    ABinderHost_closeConnections(1000);
    if (!options.quiet) {
        fprintf(stderr, "vppd: stopped on %s, %zu session(s) ended\n", SignalName(signal),
                sessions);
    }
    return kExitOk;
}
