// Fixture and helpers of the buffer-path tests: a node wired to a scripted session, real camera
// buffers, exact comparison of the lines that reach both log sinks, and descriptor checks.
#pragma once

#include <camera_host/camera_buffers.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "base_fixture.h"
#include "scripted_vpp.h"
#include "syslog_capture.h"

namespace vpptest {

// The address of a request member, as the cookie a VppBuffer carries.
inline int64_t CookieOf(const void* pMember) {
    return static_cast<int64_t>(reinterpret_cast<uintptr_t>(pMember));
}

// The final line of QueueOutput and QueueTempBuffertoVPPOutput; verb is "success!" or "failed!".
// Output buffers never carry a timestamp or a port type.
inline std::string OutputOutcome(const char* verb, unsigned count, const std::string& requestId,
                                 unsigned index, uint32_t length, const void* pHandle,
                                 const void* pCookie) {
    return std::string("[BufNode] queueOutput ") + verb +
           " portType: 0, outputQueuedNum: " + std::to_string(count) + ", reqId: " + requestId +
           ", index: " + std::to_string(index) + ", buffer len: " + std::to_string(length) +
           ", timestamp: 0, nativeHandle: " + Ptr(pHandle) + ", cookie: " + Ptr(pCookie);
}

// Identity of an open descriptor's file: device and inode.
using FileIdentity = std::pair<dev_t, ino_t>;
inline FileIdentity IdentityOf(int fd) {
    struct stat status {};
    EXPECT_EQ(fstat(fd, &status), 0) << "descriptor " << fd << " is not open";
    return {status.st_dev, status.st_ino};
}
inline bool IsOpen(int fd) {
    return fd >= 0 && fcntl(fd, F_GETFD) >= 0;
}

// A descriptor number that nothing in the process has open.
inline int UnusedDescriptorNumber() {
    int fd = 900;
    while (IsOpen(fd)) {
        fd++;
    }
    return fd;
}

// A camera buffer object over a native handle that the test owns and may fill with any numbers.
struct FakeCameraBuffer : IxoImageList {
    explicit FakeCameraBuffer(native_handle_t* pHandle) : pHandle(pHandle) {}
    void* GetHandleAddress() override { return &pHandle; }
    native_handle_t* pHandle;
};

// NV12 with a stride of its width (64x32 by default: planes of 2048 and 1024 bytes).
inline camera_host::CameraBufferConfig SmallNv12(bool descriptorPerPlane = false,
                                                 std::vector<int32_t> ints = {},
                                                 uint32_t width = 64, uint32_t height = 32) {
    camera_host::CameraBufferConfig config;
    config.geometry = {width, height, IxoFormatNV12};
    config.descriptorPerPlane = descriptorPerPlane;
    config.ints = std::move(ints);
    return config;
}

constexpr int32_t kSmallNv12Size = 3072;

// Fixture: the base's clean state and leak checks, a node wired straight to a scripted session,
// both statement forms logged at every level.
class BufferPathTest : public BaseTest {
  protected:
    static constexpr const char* kNodeName = "BufNode";

    void SetUp() override {
        BaseTest::SetUp();
        for (int index : {0, 1, 4, 6}) {
            g_enableIxoNodeLogs[index] = ~0ULL;
            g_enableIxeLogs[index] = ~0ULL;
        }
        service = ndk::SharedRefBase::make<ScriptedService>();
        registration = std::make_unique<ServiceRegistration>(service);
        session = ndk::SharedRefBase::make<ScriptedSession>();
        node = std::make_unique<TestNode>(kNodeName);
        // The buffer path needs only a session; the lifecycle around it is tested elsewhere.
        node->m_pVppSession = session;
        node->m_skipWaitForClose = 1;
    }

    void TearDown() override {
        StopCapture();
        node.reset();
        registration.reset();
        session.reset();
        service.reset();
        BaseTest::TearDown();
    }

    // Starts recording both log sinks and syslog afresh. The Android log is on only while
    // recording, so that lines outside a check do not reach stderr.
    void StartCapture() {
        StopCapture();
        m_logs.emplace();
        m_syslog.emplace();
        g_enableSystemLog = 1;
    }

    void StopCapture() {
        g_enableSystemLog = 0;
        m_syslog.reset();
        m_logs.reset();
    }

    // The lines written since StartCapture, to the character, in both sinks.
    void ExpectLog(const std::vector<ExpectedLine>& expected) {
        EXPECT_TRUE(LogIs(*m_logs, expected));
    }
    std::vector<camera_host::LogLine> SinkLines() const { return m_logs->Lines(); }
    std::vector<std::string> SyslogLines() const { return m_syslog->Lines(); }
    // The buffers the session received through queueBuf, with their ports.
    std::vector<Call> Queued() const { return session->CallsOf("queueBuf"); }

    std::unique_ptr<camera_host::RequestBuffers> MakeRequest(
        uint64_t requestId = 7, uint64_t frameTimestamp = 33333,
        const camera_host::CameraBufferConfig& config = SmallNv12()) {
        return camera_host::RequestBuffers::Create(requestId, frameTimestamp, config, config);
    }

    // The last buffer queued: its port, every field but the descriptors, and each descriptor a
    // fresh close-on-exec duplicate of its original (-1: arrived as -1), closed after the call.
    BufferSeen ExpectLastQueued(int32_t port, const std::vector<int>& originals, int32_t length,
                                int32_t filled, int64_t timestamp, int32_t flags,
                                int64_t cookie) const {
        const std::vector<Call> queued = Queued();
        if (queued.empty()) {
            ADD_FAILURE() << "nothing was queued";
            return {};
        }
        const BufferSeen seen = *queued.back().buffer;
        EXPECT_EQ(queued.back().port, port);
        EXPECT_EQ(std::make_tuple(seen.offset, seen.bufferLen, seen.filledLen, seen.allocLen,
                                  seen.extras, seen.extraOffset, seen.extraLen, seen.flags,
                                  seen.timestamp, seen.portType, seen.cookie),
                  std::make_tuple(0, length, filled, length, size_t{0}, int64_t{0}, int64_t{0},
                                  flags, timestamp, int64_t{0}, cookie));
        EXPECT_EQ(seen.fds.size(), originals.size());
        for (size_t i = 0; i < std::min(seen.fds.size(), originals.size()); i++) {
            const FdSeen& fd = seen.fds[i];
            if (originals[i] < 0) {
                EXPECT_EQ(fd.fd, -1) << "slot " << i;
                continue;
            }
            EXPECT_TRUE(fd.open && fd.closeOnExec) << "slot " << i << " was not a duplicate";
            EXPECT_NE(fd.fd, originals[i]) << "the caller's own descriptor was sent";
            EXPECT_EQ(FileIdentity(fd.device, fd.inode), IdentityOf(originals[i]));
            if (IsOpen(fd.fd)) {  // closed now, or reused for another file
                EXPECT_NE(IdentityOf(fd.fd), FileIdentity(fd.device, fd.inode))
                    << "duplicate " << fd.fd << " is still open";
            }
        }
        return seen;
    }

    std::shared_ptr<ScriptedService> service;
    std::unique_ptr<ServiceRegistration> registration;
    std::shared_ptr<ScriptedSession> session;
    std::unique_ptr<TestNode> node;

  private:
    std::optional<LogRecorder> m_logs;
    std::optional<SyslogCapture> m_syslog;
};

}  // namespace vpptest
