// IVppCallbacks: events and returned buffers of a session, sent from the service to its client.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/FlushDone.h>
#include <aidl/vendor/zux/hardware/vpp/ReconfigDone.h>
#include <aidl/vendor/zux/hardware/vpp/VppBuffer.h>
#include <aidl/vendor/zux/hardware/vpp/VppError.h>
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
class IVppCallbacksDelegator;

class IVppCallbacks : public ::ndk::ICInterface {
  public:
    typedef IVppCallbacksDelegator DefaultDelegator;
    static const char* descriptor;
    IVppCallbacks();
    virtual ~IVppCallbacks();

    static const int32_t version = 1;
    static inline const std::string hash = "fc7401b659298ec5ec0ed5806e7d99feeff2fe5e";
    static constexpr uint32_t TRANSACTION_eventDrainDone = FIRST_CALL_TRANSACTION + 0;
    static constexpr uint32_t TRANSACTION_eventError = FIRST_CALL_TRANSACTION + 1;
    static constexpr uint32_t TRANSACTION_eventFlushDone = FIRST_CALL_TRANSACTION + 2;
    static constexpr uint32_t TRANSACTION_eventReconfigDone = FIRST_CALL_TRANSACTION + 3;
    static constexpr uint32_t TRANSACTION_inputBufferDone = FIRST_CALL_TRANSACTION + 4;
    static constexpr uint32_t TRANSACTION_outputBufferDone = FIRST_CALL_TRANSACTION + 5;
    static constexpr uint32_t TRANSACTION_getInterfaceVersion = FIRST_CALL_TRANSACTION + 16777214;
    static constexpr uint32_t TRANSACTION_getInterfaceHash = FIRST_CALL_TRANSACTION + 16777213;

    static std::shared_ptr<IVppCallbacks> fromBinder(const ::ndk::SpAIBinder& binder);
    static binder_status_t writeToParcel(AParcel* parcel,
                                         const std::shared_ptr<IVppCallbacks>& instance);
    static binder_status_t readFromParcel(const AParcel* parcel,
                                          std::shared_ptr<IVppCallbacks>* instance);
    static bool setDefaultImpl(const std::shared_ptr<IVppCallbacks>& impl);
    static const std::shared_ptr<IVppCallbacks>& getDefaultImpl();
    virtual ::ndk::ScopedAStatus eventDrainDone(
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus eventError(
        ::aidl::vendor::zux::hardware::vpp::VppError in_error,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus eventFlushDone(
        const ::aidl::vendor::zux::hardware::vpp::FlushDone& in_flushDone,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus eventReconfigDone(
        const ::aidl::vendor::zux::hardware::vpp::ReconfigDone& in_reconfigDone,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus inputBufferDone(
        const ::aidl::vendor::zux::hardware::vpp::VppBuffer& in_buffer,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus outputBufferDone(
        const ::aidl::vendor::zux::hardware::vpp::VppBuffer& in_buffer,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) = 0;

  private:
    static std::shared_ptr<IVppCallbacks> default_impl;
};

// Answers every call with STATUS_UNKNOWN_TRANSACTION: what a peer built from an older
// interface would do. Meant as a base for default implementations.
class IVppCallbacksDefault : public IVppCallbacks {
  public:
    ::ndk::ScopedAStatus eventDrainDone(
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus eventError(
        ::aidl::vendor::zux::hardware::vpp::VppError in_error,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus eventFlushDone(
        const ::aidl::vendor::zux::hardware::vpp::FlushDone& in_flushDone,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus eventReconfigDone(
        const ::aidl::vendor::zux::hardware::vpp::ReconfigDone& in_reconfigDone,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus inputBufferDone(
        const ::aidl::vendor::zux::hardware::vpp::VppBuffer& in_buffer,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
    ::ndk::ScopedAStatus outputBufferDone(
        const ::aidl::vendor::zux::hardware::vpp::VppBuffer& in_buffer,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override;
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
