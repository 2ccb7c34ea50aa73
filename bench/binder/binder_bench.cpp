// Cross-process call latency: a binder call carrying one descriptor (a queue call's shape) to a
// child process, against the floor: a raw AF_UNIX round trip with one descriptor each way
// (SCM_RIGHTS) to the same child. Both ends are pinned the same way for both measurements:
// --pin=same (default: both on the first allowed CPU, so every hop is a context switch),
// --pin=split (parent on the first allowed CPU, child on the last) or --pin=none. The ratio
// counter of BM_CallVsFloor is call time over floor time, both measured in alternating batches
// of the same run.
#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <benchmark/benchmark.h>
#include <binder_host/binder_host.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

extern char** environ;

namespace {

constexpr const char* kDescriptor = "bench.IEcho";
constexpr transaction_code_t kQueue = FIRST_CALL_TRANSACTION;
constexpr int kChildSocket = 3;  // the child's end of the raw socket pair

enum class Pinning { kSame, kSplit, kNone };
Pinning gPinning = Pinning::kSame;

// Pins the calling thread (and the threads it creates later) to one allowed CPU: the last one
// for the child when split.
void pin(Pinning pinning, bool child) {
    if (pinning == Pinning::kNone) return;
    const bool last = child && pinning == Pinning::kSplit;
    cpu_set_t allowed;
    if (sched_getaffinity(0, sizeof(allowed), &allowed) != 0) return;
    int chosen = -1;
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
        if (!CPU_ISSET(cpu, &allowed)) continue;
        if (chosen < 0 || last) chosen = cpu;
    }
    if (chosen < 0) return;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(chosen, &one);
    sched_setaffinity(0, sizeof(one), &one);
}

bool sendWithFd(int socket, int fd) {
    char byte = 1;
    iovec iov{&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
    msghdr msg{};
    msg.msg_iov = &iov;
    msg.msg_iovlen = 1;
    msg.msg_control = control;
    msg.msg_controllen = sizeof(control);
    cmsghdr* c = CMSG_FIRSTHDR(&msg);
    c->cmsg_level = SOL_SOCKET;
    c->cmsg_type = SCM_RIGHTS;
    c->cmsg_len = CMSG_LEN(sizeof(int));
    memcpy(CMSG_DATA(c), &fd, sizeof(int));
    return sendmsg(socket, &msg, MSG_NOSIGNAL) == 1;
}

// Receives one byte and its descriptor (-1 when none came); false at the end of the stream.
bool receiveWithFd(int socket, int* fd) {
    char byte;
    iovec iov{&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
    msghdr msg{};
    msg.msg_iov = &iov;
    msg.msg_iovlen = 1;
    msg.msg_control = control;
    msg.msg_controllen = sizeof(control);
    if (recvmsg(socket, &msg, MSG_CMSG_CLOEXEC) != 1) return false;
    *fd = -1;
    cmsghdr* c = CMSG_FIRSTHDR(&msg);
    if (c != nullptr && c->cmsg_type == SCM_RIGHTS) memcpy(fd, CMSG_DATA(c), sizeof(int));
    return true;
}

binder_status_t onTransact(AIBinder*, transaction_code_t code, const AParcel* in, AParcel* out) {
    if (code != kQueue) return STATUS_UNKNOWN_TRANSACTION;
    int32_t port = 0;
    int fd = -1;
    int64_t timestamp = 0;
    binder_status_t status = AParcel_readInt32(in, &port);
    if (status == STATUS_OK) status = AParcel_readParcelFileDescriptor(in, &fd);
    if (status == STATUS_OK) status = AParcel_readInt64(in, &timestamp);
    if (fd >= 0) close(fd);
    return status == STATUS_OK ? AParcel_writeInt32(out, 0) : status;
}

const AIBinder_Class* echoClass() {
    static const AIBinder_Class* clazz = AIBinder_Class_define(
        kDescriptor, [](void* args) { return args; }, [](void*) {}, onTransact);
    return clazz;
}

// The child: serves the binder object under instance and echoes the raw socket.
int serve(const char* instance, Pinning pinning) {
    pin(pinning, true);
    ndk::SpAIBinder service(AIBinder_new(echoClass(), nullptr));
    if (AServiceManager_addService(service.get(), instance) != EX_NONE) return 1;
    ABinderProcess_startThreadPool();
    int fd = -1;
    while (receiveWithFd(kChildSocket, &fd)) {
        const bool sent = sendWithFd(kChildSocket, fd);
        if (fd >= 0) close(fd);
        if (!sent) break;
    }
    return 0;
}

// The child process and the client's ends of both paths.
class Peer {
  public:
    Peer() {
        if (getenv("BINDER_HOST_DIR") == nullptr &&
            ABinderHost_usePrivateServiceDir() != STATUS_OK) {
            error_ = "no service folder";
            return;
        }
        instance_ = "bench.binder/" + std::to_string(getpid());
        int pair[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) {
            error_ = "socketpair failed";
            return;
        }
        raw_.set(pair[0]);
        ndk::ScopedFileDescriptor childEnd(pair[1]);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, childEnd.get(), kChildSocket);
        char self[4096];
        const ssize_t length = readlink("/proc/self/exe", self, sizeof(self) - 1);
        if (length <= 0) {
            error_ = "cannot find the program";
            return;
        }
        self[length] = '\0';
        const char* pinning = gPinning == Pinning::kSame    ? "same"
                              : gPinning == Pinning::kSplit ? "split"
                                                            : "none";
        const char* argv[] = {self, "--serve", instance_.c_str(), pinning, nullptr};
        if (posix_spawn(&pid_, self, &actions, nullptr, const_cast<char* const*>(argv), environ) !=
            0) {
            pid_ = -1;
            error_ = "cannot start the child";
        }
        posix_spawn_file_actions_destroy(&actions);
        if (pid_ < 0) return;
        pin(gPinning, false);
        ABinderHost_setGetServicePolling(20, 5000);
        service_ = ndk::SpAIBinder(AServiceManager_getService(instance_.c_str()));
        if (service_.get() == nullptr || !AIBinder_associateClass(service_.get(), echoClass())) {
            error_ = "cannot reach the child's service";
        }
        file_.set(memfd_create("bench", MFD_CLOEXEC));
    }
    ~Peer() {
        service_ = nullptr;
        raw_.set(-1);
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
    }
    const std::string& error() const { return error_; }

    bool call() {
        ndk::ScopedAParcel in;
        ndk::ScopedAParcel out;
        if (AIBinder_prepareTransaction(service_.get(), in.getR()) != STATUS_OK) return false;
        AParcel_writeInt32(in.get(), 0);
        AParcel_writeParcelFileDescriptor(in.get(), file_.get());
        AParcel_writeInt64(in.get(), 33333333);
        return AIBinder_transact(service_.get(), kQueue, in.getR(), out.getR(), 0) == STATUS_OK;
    }

    bool floor() {
        if (!sendWithFd(raw_.get(), file_.get())) return false;
        int fd = -1;
        if (!receiveWithFd(raw_.get(), &fd)) return false;
        if (fd >= 0) close(fd);
        return fd >= 0;
    }

  private:
    std::string error_;
    std::string instance_;
    pid_t pid_ = -1;
    ndk::ScopedFileDescriptor raw_;
    ndk::ScopedFileDescriptor file_;
    ndk::SpAIBinder service_;
};

Peer& sharedPeer() {
    static Peer peer;
    return peer;
}

void BM_BinderCall(benchmark::State& state) {
    Peer& peer = sharedPeer();
    if (!peer.error().empty()) {
        state.SkipWithError(peer.error().c_str());
        return;
    }
    for (auto _ : state) {
        if (!peer.call()) {
            state.SkipWithError("call failed");
            return;
        }
    }
}
BENCHMARK(BM_BinderCall)->Unit(benchmark::kMicrosecond);

void BM_RawFloor(benchmark::State& state) {
    Peer& peer = sharedPeer();
    if (!peer.error().empty()) {
        state.SkipWithError(peer.error().c_str());
        return;
    }
    for (auto _ : state) {
        if (!peer.floor()) {
            state.SkipWithError("raw round trip failed");
            return;
        }
    }
}
BENCHMARK(BM_RawFloor)->Unit(benchmark::kMicrosecond);

// Alternating batches of both, so that both see the same load; reports each one's median batch
// time per round trip and their ratio.
void BM_CallVsFloor(benchmark::State& state) {
    Peer& peer = sharedPeer();
    if (!peer.error().empty()) {
        state.SkipWithError(peer.error().c_str());
        return;
    }
    constexpr int kBatch = 200;
    std::vector<double> calls;
    std::vector<double> floors;
    for (auto _ : state) {
        for (int path = 0; path < 2; ++path) {
            const auto start = std::chrono::steady_clock::now();
            for (int i = 0; i < kBatch; ++i) {
                if (!(path == 0 ? peer.call() : peer.floor())) {
                    state.SkipWithError("round trip failed");
                    return;
                }
            }
            const double us =
                std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
                    .count() /
                kBatch;
            (path == 0 ? calls : floors).push_back(us);
        }
    }
    auto median = [](std::vector<double> values) {
        std::sort(values.begin(), values.end());
        return values.empty() ? 0.0 : values[values.size() / 2];
    };
    const double call = median(calls);
    const double floor = median(floors);
    state.counters["call_us"] = call;
    state.counters["floor_us"] = floor;
    state.counters["ratio"] = floor > 0 ? call / floor : 0;
}
BENCHMARK(BM_CallVsFloor)->Iterations(25)->Unit(benchmark::kMillisecond);

Pinning parsePinning(const char* name) {
    if (strcmp(name, "split") == 0) return Pinning::kSplit;
    if (strcmp(name, "none") == 0) return Pinning::kNone;
    return Pinning::kSame;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && strcmp(argv[1], "--serve") == 0) return serve(argv[2], parsePinning(argv[3]));
    // --pin=MODE is ours; the rest goes to the benchmark library.
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        if (strncmp(argv[i], "--pin=", 6) == 0) {
            gPinning = parsePinning(argv[i] + 6);
        } else {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
