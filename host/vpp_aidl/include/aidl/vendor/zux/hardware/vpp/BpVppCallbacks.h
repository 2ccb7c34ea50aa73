// BpVppCallbacks: proxy that reaches a client's callbacks through their binder.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/IVppCallbacks.h>
#include <android/binder_ibinder.h>

#include <atomic>
#include <mutex>
#include <string>

namespace aidl {
namespace vendor {
namespace zux {
namespace hardware {
namespace vpp {
class BpVppCallbacks : public ::ndk::BpCInterface<IVppCallbacks> {
  public:
    explicit BpVppCallbacks(const ::ndk::SpAIBinder& binder);
    virtual ~BpVppCallbacks();

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
