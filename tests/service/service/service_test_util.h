// Drives the reference service directly: memfd frames, a recorder of callbacks, and a fixture
// with one session of a service in this process or in a vppd child, checked for leaks.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/BnVppCallbacks.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <binder_host/binder_host.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "descriptors.h"
#include "socket_folder.h"
#include "vppservice/daemon_process.h"
#include "vppservice/vpp_service.h"

namespace svctest {

using testsupport::SettledCount;
using namespace ::aidl::vendor::zux::hardware::vpp;  // NOLINT(google-build-using-namespace)
using S = IVppSession;
using E = VppError;

constexpr int32_t kEos = 1;
// The name of every memfd the tests make, to find their mappings in /proc/<pid>/maps.
constexpr const char* kMemfdName = "svctest-frame";

inline int FrameMappingCount(pid_t pid = getpid()) {
    return testsupport::MappingCountOf(pid, kMemfdName);
}

// One frame's memory in a memfd, mapped here; each buffer made from it carries a duplicate
// descriptor that the VppBuffer closes, as a client's would.
struct SharedFrame {
    explicit SharedFrame(size_t bytes)
        : size(bytes),
          fd(memfd_create(kMemfdName, MFD_CLOEXEC)),
          data(ftruncate(fd, static_cast<off_t>(size)) == 0
                   ? static_cast<uint8_t*>(
                         mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0))
                   : nullptr) {}
    ~SharedFrame() {
        munmap(data, size);
        close(fd);
    }
    SharedFrame(const SharedFrame&) = delete;
    SharedFrame& operator=(const SharedFrame&) = delete;

    VppBuffer Buffer(int64_t cookie, int64_t timestamp = 0, int32_t flags = 0) const {
        VppBuffer buffer;
        buffer.bufferHandle.fds.emplace_back(fcntl(fd, F_DUPFD_CLOEXEC, 0));
        buffer.bufferLen = buffer.allocLen = buffer.filledLen = static_cast<int32_t>(size);
        std::tie(buffer.timestamp, buffer.flags, buffer.cookie) =
            std::tie(timestamp, flags, cookie);
        return buffer;
    }

    const size_t size;
    const int fd;
    uint8_t* const data;
};

using FrameList = std::vector<std::unique_ptr<SharedFrame>>;
inline FrameList Frames(size_t count, size_t size) {
    FrameList frames;
    for (size_t i = 0; i < count; ++i) frames.push_back(std::make_unique<SharedFrame>(size));
    return frames;
}

// An end-of-stream buffer without memory, as the library's QueueInputEmpty sends.
inline VppBuffer EndMarker(int64_t cookie = 0) {
    VppBuffer buffer;
    buffer.flags = kEos;
    buffer.cookie = cookie;
    return buffer;
}

// One callback as the client saw it; port is a flush's, status a reconfiguration's or error's.
struct Event {
    enum Kind { kInput, kOutput, kFlush, kDrain, kReconfig, kError } kind;
    int64_t cookie;
    int32_t filledLen, flags;
    int64_t timestamp;
    int32_t port;
    E status;
    std::thread::id thread;
};

// Records every callback in order; the hook runs after each is recorded, on the callback's
// thread and without the recorder's lock, so that it may call into the session.
class RecordingCallbacks : public BnVppCallbacks {
  public:
    std::function<void(const Event&)> hook;

    std::vector<Event> Events() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return events_;
    }
    std::vector<Event> Of(Event::Kind kind) const {
        std::vector<Event> out;
        for (const Event& e : Events()) out.insert(out.end(), e.kind == kind ? 1 : 0, e);
        return out;
    }
    // Waits until `count` events of the kind were recorded; false after 5 s.
    bool WaitFor(Event::Kind kind, size_t count = 1) const {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(5), [&] {
            size_t seen = 0;
            for (const Event& e : events_) seen += e.kind == kind;
            return seen >= count;
        });
    }

    ndk::ScopedAStatus eventDrainDone(E* r) override { return Add(r, Event::kDrain); }
    ndk::ScopedAStatus eventError(E error, E* r) override {
        return Add(r, Event::kError, {}, -1, error);
    }
    ndk::ScopedAStatus eventFlushDone(const FlushDone& done, E* r) override {
        return Add(r, Event::kFlush, {}, done.port);
    }
    ndk::ScopedAStatus eventReconfigDone(const ReconfigDone& done, E* r) override {
        return Add(r, Event::kReconfig, {}, -1, done.status);
    }
    ndk::ScopedAStatus inputBufferDone(const VppBuffer& b, E* r) override {
        return Add(r, Event::kInput, b);
    }
    ndk::ScopedAStatus outputBufferDone(const VppBuffer& b, E* r) override {
        return Add(r, Event::kOutput, b);
    }

  private:
    ndk::ScopedAStatus Add(E* r, Event::Kind kind, const VppBuffer& b = {}, int32_t port = -1,
                           E status = E::VPP_OK) {
        const Event e{kind,        b.cookie, b.filledLen, b.flags,
                      b.timestamp, port,     status,      std::this_thread::get_id()};
        {
            std::lock_guard<std::mutex> lock(mutex_);
            events_.push_back(e);
        }
        changed_.notify_all();
        if (hook) hook(e);
        *r = E::VPP_OK;
        return ndk::ScopedAStatus::ok();
    }

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::vector<Event> events_;
};

inline VppPortParam Param(int32_t width, int32_t height, int32_t format = 3, int32_t stride = 0,
                          int32_t scanlines = 0) {
    VppPortParam p;
    p.width = width;
    p.height = height;
    p.stride = stride != 0 ? stride : width;
    p.scanlines = scanlines != 0 ? scanlines : height;
    p.colorFormat = format;
    return p;
}

inline VppCtrlFrc Ctrl(int32_t mode, int32_t factor, int32_t searchRange = 0) {
    VppCtrlFrc c;
    std::tie(c.mode, c.factor, c.searchRange) = std::tie(mode, factor, searchRange);
    return c;
}

// Where the service under test runs: registered in this process, or in a vppd child reached
// across processes (in a socket folder private to this test process).
enum class Transport { kEmbedded, kProcess };

inline std::string TransportName(const ::testing::TestParamInfo<Transport>& info) {
    return info.param == Transport::kEmbedded ? "Embedded" : "Process";
}
#define ON_BOTH_TRANSPORTS(Suite)                                                          \
    INSTANTIATE_TEST_SUITE_P(Transports, Suite,                                            \
                             ::testing::Values(Transport::kEmbedded, Transport::kProcess), \
                             TransportName)

// A service of its own, one session from it, a recorder for its callbacks and room for the
// test's frames. At the end the frames are dropped, the session is terminated and the service
// ended, and this process (and the service's, when separate) must hold the descriptors and frame
// mappings it held at the start.
class ServiceTest : public ::testing::TestWithParam<Transport> {
  protected:
    void SetUp() override {
        // Death notifications and calls from the service are delivered on the pool.
        ABinderProcess_startThreadPool();
        fds_ = testsupport::OpenDescriptorCount();
        mappings_ = FrameMappingCount();
        static int counter = 0;
        const std::string instance = "svctest-" + std::to_string(++counter);
        if (Embedded()) {
            handle_ = vppservice::RegisterService(instance);
            ASSERT_NE(handle_, nullptr);
            service_ = handle_->service();
        } else {
            vppservice::DaemonOptions options;
            options.socketDir = testsupport::TestSocketFolder();
            options.instance = instance;
            std::string why;
            daemon_ = vppservice::DaemonProcess::Start(options, &why);
            const std::string name = std::string(IVppService::descriptor) + "/" + instance;
            if (daemon_ != nullptr) {
                ndk::SpAIBinder binder(AServiceManager_checkService(name.c_str()));
                service_ = IVppService::fromBinder(binder);
                why = "the binder does not reach other processes here";
            }
            if (service_ == nullptr) {
                daemon_.reset();
                fds_ = -1;
                GTEST_SKIP() << "no service in a separate process: " << why;
            }
            serviceFds_ = testsupport::OpenDescriptorCountOf(daemon_->pid());
            serviceMappings_ = FrameMappingCount(daemon_->pid());
        }
        ASSERT_TRUE(service_->getNewVppSession(0, &session_).isOk());
        ASSERT_NE(session_, nullptr);
        callbacks_ = ndk::SharedRefBase::make<RecordingCallbacks>();
    }
    void TearDown() override {
        if (fds_ < 0) return;  // skipped
        in_.clear();
        out_.clear();
        if (session_) session_->term();
        session_.reset();
        callbacks_.reset();
        if (daemon_ != nullptr) {
            // Everything the service took for the session is released by the time term returns.
            const pid_t pid = daemon_->pid();
            auto fds = [pid] { return testsupport::OpenDescriptorCountOf(pid); };
            EXPECT_EQ(SettledCount(fds, serviceFds_), serviceFds_) << "service descriptors leaked";
            EXPECT_EQ(SettledCount([pid] { return FrameMappingCount(pid); }, serviceMappings_),
                      serviceMappings_)
                << "service mappings leaked";
        }
        service_.reset();
        handle_.reset();
        if (daemon_ != nullptr) {
            const int status = daemon_->Stop();
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "vppd status " << status;
            daemon_.reset();
        }
        ABinderHost_flushPool();
        // The connection to a stopped daemon is closed by its reading thread once it sees the end.
        EXPECT_EQ(SettledCount(testsupport::OpenDescriptorCount, fds_), fds_)
            << "descriptors leaked";
        EXPECT_EQ(FrameMappingCount(), mappings_) << "frame mappings leaked";
    }
    // A fresh service and session, for tests that loop over cases.
    void Restart() {
        TearDown();
        SetUp();
    }

    bool Embedded() const { return GetParam() == Transport::kEmbedded; }
    // Mappings of the tests' frames held by the service (which shares this process's, embedded).
    int ServiceMappings() const {
        return daemon_ ? FrameMappingCount(daemon_->pid()) - serviceMappings_
                       : FrameMappingCount() - mappings_;
    }

    // Calls a session method with its result appended; the transaction itself must succeed.
    template <typename Method, typename... Args>
    E Call(Method method, Args&&... args) {
        E error = E::VPP_ERR_HW;  // a value no call of these tests answers
        EXPECT_TRUE(((*session_).*method)(std::forward<Args>(args)..., &error).isOk());
        return error;
    }
    E Queue(int32_t port, const VppBuffer& buffer) { return Call(&S::queueBuf, port, buffer); }
    // init, both ports, control, other settings, open.
    void OpenSession(const VppPortParam& param, const VppCtrlFrc& ctrl,
                     const std::function<void()>& settings = nullptr) {
        ASSERT_EQ(Call(&S::init, 0, callbacks_), E::VPP_OK);
        for (int32_t port : {0, 1}) ASSERT_EQ(Call(&S::setParameter, port, param), E::VPP_OK);
        ASSERT_EQ(Call(&S::setCtrlFrc, ctrl), E::VPP_OK);
        if (settings) settings();
        ASSERT_EQ(Call(&S::open), E::VPP_OK);
    }
    int32_t State() {
        int32_t state = -1;
        Call(&S::getState, &state);
        return state;
    }

    std::unique_ptr<vppservice::ServiceHandle> handle_;
    std::unique_ptr<vppservice::DaemonProcess> daemon_;
    std::shared_ptr<IVppService> service_;
    std::shared_ptr<IVppSession> session_;
    std::shared_ptr<RecordingCallbacks> callbacks_;
    FrameList in_, out_;
    int fds_ = 0;
    int mappings_ = 0;
    int serviceFds_ = 0;
    int serviceMappings_ = 0;
};

}  // namespace svctest
