// Recording and scripted answers of the test session and service.
#include "scripted_vpp.h"

#include <android/binder_manager.h>
#include <binder_host/binder_host.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <stdexcept>

namespace vpptest {
namespace {

BufferSeen Snapshot(const VppBuffer& buffer) {
    std::vector<FdSeen> fds;
    for (const auto& fd : buffer.bufferHandle.fds) {
        const int flags = fd.get() >= 0 ? fcntl(fd.get(), F_GETFD) : -1;
        struct stat status {};
        const bool open = flags >= 0 && fstat(fd.get(), &status) == 0;
        fds.push_back(
            {fd.get(), open, open && (flags & FD_CLOEXEC) != 0, status.st_dev, status.st_ino});
    }
    const size_t extras =
        buffer.extraHandle.fds.size() + buffer.extraHandle.ints.size() + buffer.metadata.size();
    return {std::move(fds),   buffer.bufferHandle.ints, buffer.offset,
            buffer.bufferLen, buffer.filledLen,         buffer.allocLen,
            extras,           buffer.extraOffset,       buffer.extraLen,
            buffer.flags,     buffer.timestamp,         buffer.portType,
            buffer.cookie};
}

}  // namespace

void ScriptedSession::Script(const std::string& method, std::vector<Reply> replies) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_scripts[method] = std::move(replies);
    m_scriptPositions[method] = 0;
}

void ScriptedSession::OnCall(const std::string& method, std::function<void(const Call&)> hook) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_hooks[method] = std::move(hook);
}

std::vector<Call> ScriptedSession::Calls() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}

std::vector<std::string> ScriptedSession::Methods() const {
    std::vector<std::string> methods;
    for (const Call& call : Calls()) {
        methods.push_back(call.method);
    }
    return methods;
}

std::vector<Call> ScriptedSession::CallsOf(const std::string& method) const {
    std::vector<Call> calls;
    for (const Call& call : Calls()) {
        if (call.method == method) {
            calls.push_back(call);
        }
    }
    return calls;
}

std::shared_ptr<IVppCallbacks> ScriptedSession::Callbacks() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_callbacks;
}

ndk::ScopedAStatus ScriptedSession::Handle(Call call, VppError* _aidl_return) {
    std::function<void(const Call&)> hook;
    Reply reply;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_calls.push_back(call);
        auto hookIt = m_hooks.find(call.method);
        if (hookIt != m_hooks.end()) {
            hook = hookIt->second;
        }
        auto scriptIt = m_scripts.find(call.method);
        if (scriptIt != m_scripts.end() && !scriptIt->second.empty()) {
            size_t& position = m_scriptPositions[call.method];
            reply = scriptIt->second[std::min(position, scriptIt->second.size() - 1)];
            position++;
        }
    }
    // The hook runs without the session's lock, so it may call back into the node.
    if (hook) {
        hook(call);
    }
    if (reply.broken) {
        return ndk::ScopedAStatus::fromStatus(STATUS_FAILED_TRANSACTION);
    }
    if (_aidl_return != nullptr) {
        *_aidl_return = reply.error;
    }
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ScriptedSession::init(int32_t flags,
                                         const std::shared_ptr<IVppCallbacks>& callbacks,
                                         VppError* r) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_callbacks = callbacks;
    }
    return Handle(Of("init", -1, flags), r);
}

ndk::ScopedAStatus ScriptedSession::queueBuf(int32_t port, const VppBuffer& buffer, VppError* r) {
    Call call = Of("queueBuf", port);
    call.buffer = Snapshot(buffer);
    return Handle(call, r);
}

ndk::ScopedAStatus ScriptedSession::setParameter(int32_t port, const VppPortParam& param,
                                                 VppError* r) {
    Call call = Of("setParameter", port);
    call.param = param;
    return Handle(call, r);
}

ndk::ScopedAStatus ScriptedSession::setCtrlFrc(const VppCtrlFrc& ctrl, VppError* r) {
    Call call = Of("setCtrlFrc");
    call.ctrl = ctrl;
    return Handle(call, r);
}

ndk::ScopedAStatus ScriptedService::getNewVppSession(int32_t /*flags*/,
                                                     std::shared_ptr<IVppSession>* _aidl_return) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_calls++;
    if (m_mode == Mode::kOkButEmpty) {
        return ndk::ScopedAStatus::ok();
    }
    std::shared_ptr<ScriptedSession> session =
        m_session ? m_session : ndk::SharedRefBase::make<ScriptedSession>();
    *_aidl_return = session;
    if (m_mode == Mode::kFillButFail) {
        return ndk::ScopedAStatus::fromStatus(STATUS_FAILED_TRANSACTION);
    }
    return ndk::ScopedAStatus::ok();
}

std::string DefaultInstanceName() {
    return std::string(ScriptedService::descriptor) + "/default";
}

void DeclareServiceDead() {
    ASSERT_EQ(ABinderHost_declareDead(DefaultInstanceName().c_str()), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
}

ServiceRegistration::ServiceRegistration(std::shared_ptr<ScriptedService> service)
    : m_service(std::move(service)) {
    ndk::SpAIBinder binder = m_service->asBinder();
    if (AServiceManager_addService(binder.get(), DefaultInstanceName().c_str()) != EX_NONE) {
        throw std::runtime_error("cannot register the test service");
    }
}

ServiceRegistration::~ServiceRegistration() {
    ABinderHost_removeService(DefaultInstanceName().c_str());
}

}  // namespace vpptest
