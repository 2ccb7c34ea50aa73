// BpVppService: the proxy that reaches the service through its binder when it lives elsewhere.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/IVppService.h>
#include <android/binder_ibinder.h>

#include <atomic>
#include <mutex>
#include <string>

namespace aidl {
namespace vendor {
namespace zux {
namespace hardware {
namespace vpp {
class BpVppService : public ::ndk::BpCInterface<IVppService> {
  public:
    explicit BpVppService(const ::ndk::SpAIBinder& binder);
    virtual ~BpVppService();

    ::ndk::ScopedAStatus getNewVppSession(
        int32_t in_flags,
        std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppSession>* _aidl_return) override;
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
