// A scriptable VPP session and service for tests: every call is recorded with its arguments, each
// method answers a chosen VppError, or fails the way a broken transaction does (an error status
// with the out-value left unwritten).
#pragma once

#include <aidl/vendor/zux/hardware/vpp/BnVppService.h>
#include <aidl/vendor/zux/hardware/vpp/BnVppSession.h>
#include <sys/types.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace vpptest {

using ::aidl::vendor::zux::hardware::vpp::BnVppService;
using ::aidl::vendor::zux::hardware::vpp::BnVppSession;
using ::aidl::vendor::zux::hardware::vpp::IVppCallbacks;
using ::aidl::vendor::zux::hardware::vpp::IVppSession;
using ::aidl::vendor::zux::hardware::vpp::VppBuffer;
using ::aidl::vendor::zux::hardware::vpp::VppBufferRequirements;
using ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc;
using ::aidl::vendor::zux::hardware::vpp::VppError;
using ::aidl::vendor::zux::hardware::vpp::VppPortParam;
using ::aidl::vendor::zux::hardware::vpp::VppStats;

// How a scripted method answers.
struct Reply {
    bool broken = false;                // error status, out-value not written
    VppError error = VppError::VPP_OK;  // written to the out-value otherwise
};
inline Reply Answer(VppError error) {
    return Reply{false, error};
}
inline Reply BrokenTransaction() {
    return Reply{true, VppError::VPP_OK};
}

// A descriptor of a queued buffer as the session saw it during the call: its number, whether it
// was open and close-on-exec, and the file it referred to.
struct FdSeen {
    int fd;
    bool open, closeOnExec;
    dev_t device;
    ino_t inode;
};

// A queued buffer, field by field, as the session saw it during the call; extras counts the
// extra handle's descriptors and numbers and the metadata entries.
struct BufferSeen {
    std::vector<FdSeen> fds;
    std::vector<int32_t> ints;
    int32_t offset, bufferLen, filledLen, allocLen;
    size_t extras;
    int64_t extraOffset, extraLen;
    int32_t flags;
    int64_t timestamp, portType, cookie;
};

// One recorded call.
struct Call {
    std::string method;
    int32_t port = -1;                 // flush, queueBuf, setParameter
    int32_t value = -1;                // setMode's mode, init's flags
    VppPortParam param;                // setParameter
    VppCtrlFrc ctrl;                   // setCtrlFrc
    std::optional<BufferSeen> buffer;  // queueBuf
};

class ScriptedSession : public BnVppSession {
  public:
    // Replies of a method, used in order; the last one repeats. Unscripted methods answer VPP_OK.
    void Script(const std::string& method, std::vector<Reply> replies);
    // Runs during each call of the method, after it was recorded and before it replies.
    void OnCall(const std::string& method, std::function<void(const Call&)> hook);

    std::vector<Call> Calls() const;
    std::vector<std::string> Methods() const;  // method names in call order
    std::vector<Call> CallsOf(const std::string& method) const;
    std::shared_ptr<IVppCallbacks> Callbacks() const;

    // The methods the library calls record their arguments; the others only their names.
    ndk::ScopedAStatus flush(int32_t port, VppError* r) override {
        return Handle(Of("flush", port), r);
    }
    ndk::ScopedAStatus init(int32_t flags, const std::shared_ptr<IVppCallbacks>& callbacks,
                            VppError* r) override;
    ndk::ScopedAStatus open(VppError* r) override { return Handle(Of("open"), r); }
    ndk::ScopedAStatus close(VppError* r) override { return Handle(Of("close"), r); }
    ndk::ScopedAStatus term() override { return Handle(Of("term"), nullptr); }
    ndk::ScopedAStatus queueBuf(int32_t port, const VppBuffer& buffer, VppError* r) override;
    ndk::ScopedAStatus setParameter(int32_t port, const VppPortParam& param, VppError* r) override;
    ndk::ScopedAStatus setCtrlFrc(const VppCtrlFrc& ctrl, VppError* r) override;
    ndk::ScopedAStatus setMode(int32_t mode, VppError* r) override {
        return Handle(Of("setMode", -1, mode), r);
    }
    // The methods the library never calls are recorded by name only.
#define VPPTEST_BY_NAME(name, ...)                              \
    ndk::ScopedAStatus name(__VA_ARGS__ VppError* r) override { \
        return Handle(Of(#name), r);                            \
    }
    VPPTEST_BY_NAME(drain)
    VPPTEST_BY_NAME(getBufferRequirements, int32_t, VppBufferRequirements*, )
    VPPTEST_BY_NAME(getCtrlFrc, VppCtrlFrc*, )
    VPPTEST_BY_NAME(getMode, int32_t*, )
    VPPTEST_BY_NAME(getParameter, int32_t, VppPortParam*, )
    VPPTEST_BY_NAME(getState, int32_t*, )
    VPPTEST_BY_NAME(getStats, VppStats*, )
    VPPTEST_BY_NAME(reconfigure, const VppPortParam&, const VppPortParam&, )
    VPPTEST_BY_NAME(resetStats)
    VPPTEST_BY_NAME(setDebugFlags, int32_t, )
    VPPTEST_BY_NAME(setFrameRate, int32_t, int32_t, )
    VPPTEST_BY_NAME(setMaxQueuedBuffers, int32_t, int32_t, )
    VPPTEST_BY_NAME(setName, const std::string&, )
    VPPTEST_BY_NAME(setPriority, int32_t, )
    VPPTEST_BY_NAME(setTimestampMode, int32_t, )
    VPPTEST_BY_NAME(setPassThrough, int32_t, )
    VPPTEST_BY_NAME(ping)
#undef VPPTEST_BY_NAME

  private:
    static Call Of(const char* method, int32_t port = -1, int32_t value = -1) {
        Call call;
        call.method = method;
        call.port = port;
        call.value = value;
        return call;
    }
    // Records the call, runs its hook, and answers by its script.
    ndk::ScopedAStatus Handle(Call call, VppError* _aidl_return);

    mutable std::mutex m_mutex;
    std::vector<Call> m_calls;
    std::map<std::string, std::vector<Reply>> m_scripts;
    std::map<std::string, size_t> m_scriptPositions;
    std::map<std::string, std::function<void(const Call&)>> m_hooks;
    std::shared_ptr<IVppCallbacks> m_callbacks;
};

class ScriptedService : public BnVppService {
  public:
    enum class Mode {
        kNewSession,   // fills the handle, answers OK
        kFillButFail,  // fills the handle, answers an error status
        kOkButEmpty,   // leaves the handle empty, answers OK
    };
    void SetMode(Mode mode) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_mode = mode;
    }
    // The session handed out by the next getNewVppSession calls; a new one each call otherwise.
    void SetSession(std::shared_ptr<ScriptedSession> session) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_session = std::move(session);
    }
    int GetNewVppSessionCalls() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_calls;
    }
    ndk::ScopedAStatus getNewVppSession(int32_t flags,
                                        std::shared_ptr<IVppSession>* _aidl_return) override;

  private:
    mutable std::mutex m_mutex;
    Mode m_mode = Mode::kNewSession;
    std::shared_ptr<ScriptedSession> m_session;
    int m_calls = 0;
};

// Instance name under which nodes look the service up.
std::string DefaultInstanceName();
// Declares the service of that name dead and waits until every death notice was delivered.
void DeclareServiceDead();

// Registers a service under the default instance name for the object's life.
class ServiceRegistration {
  public:
    explicit ServiceRegistration(std::shared_ptr<ScriptedService> service);
    ~ServiceRegistration();
    ServiceRegistration(const ServiceRegistration&) = delete;
    ServiceRegistration& operator=(const ServiceRegistration&) = delete;

  private:
    std::shared_ptr<ScriptedService> m_service;
};

}  // namespace vpptest
