// IVppService: the video post-processing service, which makes sessions.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/IVppSession.h>
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
class IVppSession;
class IVppServiceDelegator;

class IVppService : public ::ndk::ICInterface {
  public:
    typedef IVppServiceDelegator DefaultDelegator;
    static const char* descriptor;
    IVppService();
    virtual ~IVppService();

    static const int32_t version = 1;
    static inline const std::string hash = "fc7401b659298ec5ec0ed5806e7d99feeff2fe5e";
    static constexpr uint32_t TRANSACTION_getNewVppSession = FIRST_CALL_TRANSACTION + 0;
    static constexpr uint32_t TRANSACTION_getInterfaceVersion = FIRST_CALL_TRANSACTION + 16777214;
    static constexpr uint32_t TRANSACTION_getInterfaceHash = FIRST_CALL_TRANSACTION + 16777213;

    static std::shared_ptr<IVppService> fromBinder(const ::ndk::SpAIBinder& binder);
    static binder_status_t writeToParcel(AParcel* parcel,
                                         const std::shared_ptr<IVppService>& instance);
    static binder_status_t readFromParcel(const AParcel* parcel,
                                          std::shared_ptr<IVppService>* instance);
    static bool setDefaultImpl(const std::shared_ptr<IVppService>& impl);
    static const std::shared_ptr<IVppService>& getDefaultImpl();
    virtual ::ndk::ScopedAStatus getNewVppSession(
        int32_t in_flags,
        std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppSession>* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) = 0;

  private:
    static std::shared_ptr<IVppService> default_impl;
};

// Answers every call with STATUS_UNKNOWN_TRANSACTION: what a peer built from an older
// interface would do. Meant as a base for default implementations.
class IVppServiceDefault : public IVppService {
  public:
    ::ndk::ScopedAStatus getNewVppSession(
        int32_t in_flags,
        std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppSession>* _aidl_return) override;
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
