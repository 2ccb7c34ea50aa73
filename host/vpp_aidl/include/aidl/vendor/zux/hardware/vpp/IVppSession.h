// IVppSession: one video post-processing session of the service.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/IVppCallbacks.h>
#include <aidl/vendor/zux/hardware/vpp/VppBuffer.h>
#include <aidl/vendor/zux/hardware/vpp/VppBufferRequirements.h>
#include <aidl/vendor/zux/hardware/vpp/VppCtrlFrc.h>
#include <aidl/vendor/zux/hardware/vpp/VppError.h>
#include <aidl/vendor/zux/hardware/vpp/VppPortParam.h>
#include <aidl/vendor/zux/hardware/vpp/VppStats.h>
#include <android/binder_ibinder.h>
#include <android/binder_interface_utils.h>
#include <android/binder_parcel_utils.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#ifdef BINDER_STABILITY_SUPPORT
#include <android/binder_stability.h>
#endif  // BINDER_STABILITY_SUPPORT

namespace aidl {
namespace vendor {
namespace zux {
namespace hardware {
namespace vpp {
class IVppCallbacks;
class IVppSessionDelegator;

class IVppSession : public ::ndk::ICInterface {
  public:
    typedef IVppSessionDelegator DefaultDelegator;
    static const char* descriptor;
    IVppSession();
    virtual ~IVppSession();

    static const int32_t version = 1;
    static inline const std::string hash = "fc7401b659298ec5ec0ed5806e7d99feeff2fe5e";
    static constexpr uint32_t TRANSACTION_close = FIRST_CALL_TRANSACTION + 0;
    static constexpr uint32_t TRANSACTION_drain = FIRST_CALL_TRANSACTION + 1;
    static constexpr uint32_t TRANSACTION_flush = FIRST_CALL_TRANSACTION + 2;
    static constexpr uint32_t TRANSACTION_getBufferRequirements = FIRST_CALL_TRANSACTION + 3;
    static constexpr uint32_t TRANSACTION_init = FIRST_CALL_TRANSACTION + 4;
    static constexpr uint32_t TRANSACTION_open = FIRST_CALL_TRANSACTION + 5;
    static constexpr uint32_t TRANSACTION_queueBuf = FIRST_CALL_TRANSACTION + 6;
    static constexpr uint32_t TRANSACTION_getCtrlFrc = FIRST_CALL_TRANSACTION + 7;
    static constexpr uint32_t TRANSACTION_getMode = FIRST_CALL_TRANSACTION + 8;
    static constexpr uint32_t TRANSACTION_getParameter = FIRST_CALL_TRANSACTION + 9;
    static constexpr uint32_t TRANSACTION_getState = FIRST_CALL_TRANSACTION + 10;
    static constexpr uint32_t TRANSACTION_getStats = FIRST_CALL_TRANSACTION + 11;
    static constexpr uint32_t TRANSACTION_reconfigure = FIRST_CALL_TRANSACTION + 12;
    static constexpr uint32_t TRANSACTION_resetStats = FIRST_CALL_TRANSACTION + 13;
    static constexpr uint32_t TRANSACTION_setCtrlFrc = FIRST_CALL_TRANSACTION + 14;
    static constexpr uint32_t TRANSACTION_setDebugFlags = FIRST_CALL_TRANSACTION + 15;
    static constexpr uint32_t TRANSACTION_setFrameRate = FIRST_CALL_TRANSACTION + 16;
    static constexpr uint32_t TRANSACTION_setMaxQueuedBuffers = FIRST_CALL_TRANSACTION + 17;
    static constexpr uint32_t TRANSACTION_setName = FIRST_CALL_TRANSACTION + 18;
    static constexpr uint32_t TRANSACTION_setMode = FIRST_CALL_TRANSACTION + 19;
    static constexpr uint32_t TRANSACTION_setParameter = FIRST_CALL_TRANSACTION + 20;
    static constexpr uint32_t TRANSACTION_setPriority = FIRST_CALL_TRANSACTION + 21;
    static constexpr uint32_t TRANSACTION_setTimestampMode = FIRST_CALL_TRANSACTION + 22;
    static constexpr uint32_t TRANSACTION_setPassThrough = FIRST_CALL_TRANSACTION + 23;
    static constexpr uint32_t TRANSACTION_ping = FIRST_CALL_TRANSACTION + 24;
    static constexpr uint32_t TRANSACTION_term = FIRST_CALL_TRANSACTION + 25;
    static constexpr uint32_t TRANSACTION_getInterfaceVersion = FIRST_CALL_TRANSACTION + 16777214;
    static constexpr uint32_t TRANSACTION_getInterfaceHash = FIRST_CALL_TRANSACTION + 16777213;

    static std::shared_ptr<IVppSession> fromBinder(const ::ndk::SpAIBinder& binder);
    static binder_status_t writeToParcel(AParcel* parcel,
                                         const std::shared_ptr<IVppSession>& instance);
    static binder_status_t readFromParcel(const AParcel* parcel,
                                          std::shared_ptr<IVppSession>* instance);
    static bool setDefaultImpl(const std::shared_ptr<IVppSession>& impl);
    static const std::shared_ptr<IVppSession>& getDefaultImpl();
    virtual ::ndk::ScopedAStatus close(
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus drain(
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus flush(
        int32_t in_port, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus getBufferRequirements(
        int32_t in_port,
        ::aidl::vendor::zux::hardware::vpp::VppBufferRequirements* out_requirements,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus init(
        int32_t in_flags,
        const std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppCallbacks>& in_callbacks,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus open(
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus queueBuf(
        int32_t in_port, const ::aidl::vendor::zux::hardware::vpp::VppBuffer& in_buffer,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus getCtrlFrc(
        ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc* out_ctrl,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus getMode(
        int32_t* out_mode, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus getParameter(
        int32_t in_port, ::aidl::vendor::zux::hardware::vpp::VppPortParam* out_param,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus getState(
        int32_t* out_state, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus getStats(
        ::aidl::vendor::zux::hardware::vpp::VppStats* out_stats,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus reconfigure(
        const ::aidl::vendor::zux::hardware::vpp::VppPortParam& in_inputParam,
        const ::aidl::vendor::zux::hardware::vpp::VppPortParam& in_outputParam,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus resetStats(
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus setCtrlFrc(
        const ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc& in_ctrl,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus setDebugFlags(
        int32_t in_flags, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus setFrameRate(
        int32_t in_numerator, int32_t in_denominator,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus setMaxQueuedBuffers(
        int32_t in_port, int32_t in_count,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus setName(
        const std::string& in_name, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus setMode(
        int32_t in_mode, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus setParameter(
        int32_t in_port, const ::aidl::vendor::zux::hardware::vpp::VppPortParam& in_param,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus setPriority(
        int32_t in_priority, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus setTimestampMode(
        int32_t in_mode, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus setPassThrough(
        int32_t in_enable, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus ping(
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus term() = 0;
    virtual ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) = 0;

  private:
    static std::shared_ptr<IVppSession> default_impl;
};

// Answers every call with STATUS_UNKNOWN_TRANSACTION: what a peer built from an older
// interface would do. Meant as a base for default implementations.
class IVppSessionDefault : public IVppSession {
  public:
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
    ::ndk::SpAIBinder asBinder() override;
    bool isRemote() override;
};
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
