// BpVppSession: the proxy that reaches a session through its binder when it lives elsewhere.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/IVppSession.h>
#include <android/binder_ibinder.h>

#include <atomic>
#include <mutex>
#include <string>

namespace aidl {
namespace vendor {
namespace zux {
namespace hardware {
namespace vpp {
class BpVppSession : public ::ndk::BpCInterface<IVppSession> {
  public:
    explicit BpVppSession(const ::ndk::SpAIBinder& binder);
    virtual ~BpVppSession();

    ::ndk::ScopedAStatus close(::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus drain(::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus flush(int32_t in_port,
                               ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus getBufferRequirements(
        int32_t in_port,
        ::aidl::vendor::zux::hardware::vpp::VppBufferRequirements* out_requirements,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus init(
        int32_t in_flags,
        const std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppCallbacks>& in_callbacks,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus open(::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus queueBuf(
        int32_t in_port, const ::aidl::vendor::zux::hardware::vpp::VppBuffer& in_buffer,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus getCtrlFrc(
        ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc* out_ctrl,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus getMode(
        int32_t* out_mode, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus getParameter(
        int32_t in_port, ::aidl::vendor::zux::hardware::vpp::VppPortParam* out_param,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus getState(
        int32_t* out_state, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus getStats(
        ::aidl::vendor::zux::hardware::vpp::VppStats* out_stats,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus reconfigure(
        const ::aidl::vendor::zux::hardware::vpp::VppPortParam& in_inputParam,
        const ::aidl::vendor::zux::hardware::vpp::VppPortParam& in_outputParam,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus resetStats(
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus setCtrlFrc(
        const ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc& in_ctrl,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus setDebugFlags(
        int32_t in_flags, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus setFrameRate(
        int32_t in_numerator, int32_t in_denominator,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus setMaxQueuedBuffers(
        int32_t in_port, int32_t in_count,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus setName(
        const std::string& in_name,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus setMode(
        int32_t in_mode, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus setParameter(
        int32_t in_port, const ::aidl::vendor::zux::hardware::vpp::VppPortParam& in_param,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus setPriority(
        int32_t in_priority, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus setTimestampMode(
        int32_t in_mode, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus setPassThrough(
        int32_t in_enable, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus ping(::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus term() override;
    ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) override;
    ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) override;
    // Answers of the peer, cached after the first successful query. The version is atomic
    // because one proxy may be used from several threads.
    std::atomic<int32_t> _aidl_cached_version = -1;
    std::string _aidl_cached_hash = "-1";
    std::mutex _aidl_cached_hash_mutex;
};
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
