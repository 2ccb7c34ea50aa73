// Helpers for driving the reference service directly: memfd frames, a recording callbacks object,
// a service with one session (in this process or in a vppd child), descriptor and mapping counts.
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
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "descriptors.h"
#include "socket_folder.h"
#include "vppservice/daemon_process.h"
#include "vppservice/vpp_service.h"

namespace svctest {

using testsupport::SettledCount;

using ::aidl::vendor::zux::hardware::vpp::BnVppCallbacks;
using ::aidl::vendor::zux::hardware::vpp::FlushDone;
using ::aidl::vendor::zux::hardware::vpp::IVppService;
using ::aidl::vendor::zux::hardware::vpp::IVppSession;
using ::aidl::vendor::zux::hardware::vpp::ReconfigDone;
using ::aidl::vendor::zux::hardware::vpp::VppBuffer;
using ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc;
using ::aidl::vendor::zux::hardware::vpp::VppError;
using ::aidl::vendor::zux::hardware::vpp::VppPortParam;
using ::aidl::vendor::zux::hardware::vpp::VppStats;

constexpr int32_t kEos = 1;
// Name given to every memfd the tests make, to find their mappings in /proc/self/maps.
constexpr const char* kMemfdName = "svctest-frame";

// Mappings of the tests' memfds in this process (the tests' own and the service's).
inline int FrameMappingCount() {
    std::ifstream maps("/proc/self/maps");
    int count = 0;
    for (std::string line; std::getline(maps, line);) {
        count += line.find(kMemfdName) != std::string::npos;
    }
    return count;
}

// One frame's memory in a memfd, mapped here; buffers made from it carry a duplicate descriptor
// that the VppBuffer closes when destroyed, as a client's would.
class SharedFrame {
  public:
    explicit SharedFrame(size_t size) : size_(size) {
        fd_ = memfd_create(kMemfdName, MFD_CLOEXEC);
        EXPECT_GE(fd_, 0);
        EXPECT_EQ(ftruncate(fd_, static_cast<off_t>(size)), 0);
        void* data = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
        EXPECT_NE(data, MAP_FAILED);
        data_ = static_cast<uint8_t*>(data);
    }
    ~SharedFrame() {
        munmap(data_, size_);
        close(fd_);
    }
    SharedFrame(const SharedFrame&) = delete;
    SharedFrame& operator=(const SharedFrame&) = delete;

    uint8_t* data() const { return data_; }
    size_t size() const { return size_; }
    int fd() const { return fd_; }

    VppBuffer Buffer(int64_t cookie, int64_t timestamp = 0, int32_t flags = 0) const {
        VppBuffer buffer;
        buffer.bufferHandle.fds.emplace_back(fcntl(fd_, F_DUPFD_CLOEXEC, 0));
        buffer.bufferLen = static_cast<int32_t>(size_);
        buffer.allocLen = static_cast<int32_t>(size_);
        buffer.filledLen = static_cast<int32_t>(size_);
        buffer.timestamp = timestamp;
        buffer.flags = flags;
        buffer.cookie = cookie;
        return buffer;
    }

  private:
    int fd_ = -1;
    uint8_t* data_ = nullptr;
    size_t size_ = 0;
};

// An end-of-stream buffer without memory, as the library's QueueInputEmpty sends.
inline VppBuffer EndMarker(int64_t cookie = 0) {
    VppBuffer buffer;
    buffer.flags = kEos;
    buffer.cookie = cookie;
    return buffer;
}

// One callback as the client saw it.
struct Event {
    enum Kind { kInput, kOutput, kFlush, kDrain, kReconfig, kError };
    explicit Event(Kind k = kInput) : kind(k) {}
    Kind kind;
    int64_t cookie = 0;
    int32_t filledLen = 0;
    int32_t flags = 0;
    int64_t timestamp = 0;
    int32_t port = -1;                   // flush
    VppError status = VppError::VPP_OK;  // reconfig
    std::thread::id thread;
};

// Records every callback in order; a hook runs on each one after it is recorded, on the
// callback's thread and without the recorder's lock, so that it may call into the session.
class RecordingCallbacks : public BnVppCallbacks {
  public:
    std::function<void(const Event&)> hook;

    std::vector<Event> Events() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return events_;
    }
    // Waits until some recorded event satisfies the predicate; false after 5 s.
    bool WaitFor(const std::function<bool(const Event&)>& match) const {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(5), [&] {
            for (const Event& e : events_) {
                if (match(e)) return true;
            }
            return false;
        });
    }
    // Waits until `count` events of the kind were recorded; false after 5 s.
    bool WaitForCount(Event::Kind kind, size_t count) const {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(5), [&] {
            size_t seen = 0;
            for (const Event& e : events_) seen += e.kind == kind;
            return seen >= count;
        });
    }
    bool WaitForDrain() const {
        return WaitFor([](const Event& e) { return e.kind == Event::kDrain; });
    }
    bool WaitForFlush(int32_t port) const {
        return WaitFor(
            [port](const Event& e) { return e.kind == Event::kFlush && e.port == port; });
    }
    std::vector<Event> Of(Event::Kind kind) const {
        std::vector<Event> out;
        for (const Event& e : Events()) {
            if (e.kind == kind) out.push_back(e);
        }
        return out;
    }

    ndk::ScopedAStatus eventDrainDone(VppError* r) override { return Add(Event(Event::kDrain), r); }
    ndk::ScopedAStatus eventError(VppError error, VppError* r) override {
        Event e(Event::kError);
        e.status = error;
        return Add(e, r);
    }
    ndk::ScopedAStatus eventFlushDone(const FlushDone& done, VppError* r) override {
        Event e(Event::kFlush);
        e.port = done.port;
        return Add(e, r);
    }
    ndk::ScopedAStatus eventReconfigDone(const ReconfigDone& done, VppError* r) override {
        Event e(Event::kReconfig);
        e.status = done.status;
        return Add(e, r);
    }
    ndk::ScopedAStatus inputBufferDone(const VppBuffer& buffer, VppError* r) override {
        return Add(FromBuffer(Event::kInput, buffer), r);
    }
    ndk::ScopedAStatus outputBufferDone(const VppBuffer& buffer, VppError* r) override {
        return Add(FromBuffer(Event::kOutput, buffer), r);
    }

  private:
    static Event FromBuffer(Event::Kind kind, const VppBuffer& buffer) {
        Event e(kind);
        e.cookie = buffer.cookie;
        e.filledLen = buffer.filledLen;
        e.flags = buffer.flags;
        e.timestamp = buffer.timestamp;
        return e;
    }
    ndk::ScopedAStatus Add(Event e, VppError* r) {
        e.thread = std::this_thread::get_id();
        {
            std::lock_guard<std::mutex> lock(mutex_);
            events_.push_back(e);
        }
        changed_.notify_all();
        if (hook) hook(e);
        *r = VppError::VPP_OK;
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
    c.mode = mode;
    c.factor = factor;
    c.searchRange = searchRange;
    return c;
}

// Where the service under test runs: registered in this process, or in a vppd child reached
// across processes (in a socket folder private to this test process).
enum class Transport { kEmbedded, kProcess };

inline std::string TransportName(const ::testing::TestParamInfo<Transport>& info) {
    return info.param == Transport::kEmbedded ? "Embedded" : "Process";
}

// Mappings of the tests' memfds in another process.
inline int FrameMappingCountOf(pid_t pid) {
    return testsupport::MappingCountOf(pid, kMemfdName);
}

// Starts vppd serving `instance` in the test socket folder and looks the service up from here.
// Null when the service cannot be reached from this process (*why says so).
inline std::shared_ptr<IVppService> StartDaemon(const std::string& instance,
                                                std::unique_ptr<vppservice::DaemonProcess>* daemon,
                                                std::string* why) {
    vppservice::DaemonOptions options;
    options.socketDir = testsupport::TestSocketFolder();
    options.instance = instance;
    *daemon = vppservice::DaemonProcess::Start(options, why);
    if (*daemon == nullptr) return nullptr;
    const std::string name = std::string(IVppService::descriptor) + "/" + instance;
    ndk::SpAIBinder binder(AServiceManager_checkService(name.c_str()));
    if (binder.get() == nullptr) {
        *why = "the binder does not reach other processes here";
        return nullptr;
    }
    return IVppService::fromBinder(binder);
}

// A service of its own (in this process or in a vppd child), one session from it, and a
// recorder for its callbacks; the session is terminated and the service ended at the end, and
// this process (and the service's, when separate) must have the descriptors and frame mappings
// it had at the start.
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
            std::string why;
            service_ = StartDaemon(instance, &daemon_, &why);
            if (service_ == nullptr) {
                daemon_.reset();
                fds_ = -1;
                GTEST_SKIP() << "no service in a separate process: " << why;
            }
            serviceFds_ = testsupport::OpenDescriptorCountOf(daemon_->pid());
            serviceMappings_ = FrameMappingCountOf(daemon_->pid());
        }
        ASSERT_TRUE(service_->getNewVppSession(0, &session_).isOk());
        ASSERT_NE(session_, nullptr);
        callbacks_ = ndk::SharedRefBase::make<RecordingCallbacks>();
    }
    void TearDown() override {
        if (fds_ < 0) return;  // skipped
        if (session_) session_->term();
        session_.reset();
        callbacks_.reset();
        if (daemon_ != nullptr) {
            // Everything the service took for the session is released by the time term returns.
            const pid_t pid = daemon_->pid();
            EXPECT_EQ(
                SettledCount([&] { return testsupport::OpenDescriptorCountOf(pid); }, serviceFds_),
                serviceFds_)
                << "service descriptors leaked";
            EXPECT_EQ(SettledCount([&] { return FrameMappingCountOf(pid); }, serviceMappings_),
                      serviceMappings_)
                << "service mappings leaked";
        }
        service_.reset();
        handle_.reset();
        if (daemon_ != nullptr) {
            int status = -1;
            status = daemon_->Stop();
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "vppd status " << status;
            daemon_.reset();
        }
        ABinderHost_flushPool();
        // The connection to a stopped daemon is closed by its reading thread once it sees the end.
        EXPECT_EQ(SettledCount(testsupport::OpenDescriptorCount, fds_), fds_)
            << "descriptors leaked";
        EXPECT_EQ(FrameMappingCount(), mappings_) << "frame mappings leaked";
    }

    bool Embedded() const { return GetParam() == Transport::kEmbedded; }
    // Sessions alive in the service, where this process can see them; -1 otherwise.
    int LiveSessions() const {
        return handle_ ? static_cast<int>(handle_->liveSessionCount()) : -1;
    }
    // Mappings of the tests' frames held by the service (which shares this process's, embedded).
    int ServiceMappings() const {
        return daemon_ ? FrameMappingCountOf(daemon_->pid()) - serviceMappings_
                       : FrameMappingCount() - mappings_;
    }

    VppError Call(const std::function<ndk::ScopedAStatus(VppError*)>& call) {
        VppError error = VppError::VPP_ERR_HW;  // a value no call of these tests answers
        EXPECT_TRUE(call(&error).isOk());
        return error;
    }
    VppError Init() {
        return Call([&](VppError* e) { return session_->init(0, callbacks_, e); });
    }
    VppError SetPorts(const VppPortParam& in, const VppPortParam& out) {
        VppError error = Call([&](VppError* e) { return session_->setParameter(0, in, e); });
        if (error != VppError::VPP_OK) return error;
        return Call([&](VppError* e) { return session_->setParameter(1, out, e); });
    }
    VppError SetCtrl(const VppCtrlFrc& ctrl) {
        return Call([&](VppError* e) { return session_->setCtrlFrc(ctrl, e); });
    }
    VppError Open() {
        return Call([&](VppError* e) { return session_->open(e); });
    }
    VppError Queue(int32_t port, const VppBuffer& buffer) {
        return Call([&](VppError* e) { return session_->queueBuf(port, buffer, e); });
    }
    // init, both ports, control, open.
    void OpenSession(const VppPortParam& param, const VppCtrlFrc& ctrl) {
        ASSERT_EQ(Init(), VppError::VPP_OK);
        ASSERT_EQ(SetPorts(param, param), VppError::VPP_OK);
        ASSERT_EQ(SetCtrl(ctrl), VppError::VPP_OK);
        ASSERT_EQ(Open(), VppError::VPP_OK);
    }
    int32_t State() {
        int32_t state = -1;
        Call([&](VppError* e) { return session_->getState(&state, e); });
        return state;
    }

    std::unique_ptr<vppservice::ServiceHandle> handle_;
    std::unique_ptr<vppservice::DaemonProcess> daemon_;
    std::shared_ptr<IVppService> service_;
    std::shared_ptr<IVppSession> session_;
    std::shared_ptr<RecordingCallbacks> callbacks_;
    int fds_ = 0;
    int mappings_ = 0;
    int serviceFds_ = 0;
    int serviceMappings_ = 0;
};

}  // namespace svctest
