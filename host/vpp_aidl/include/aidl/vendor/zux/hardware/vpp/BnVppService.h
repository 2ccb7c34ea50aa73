// BnVppService: base class of local IVppService implementations, with their binder and stub.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/IVppService.h>
#include <android/binder_ibinder.h>

#include <cassert>

// Outside bionic the delegator's version checks compile to nothing.
#ifndef __BIONIC__
#ifndef __assert2
#define __assert2(a, b, c, d) ((void)0)
#endif
#endif

namespace aidl {
namespace vendor {
namespace zux {
namespace hardware {
namespace vpp {
class BnVppService : public ::ndk::BnCInterface<IVppService> {
  public:
    BnVppService();
    virtual ~BnVppService();

    ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) final;
    ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) final;

  protected:
    ::ndk::SpAIBinder createBinder() override;

  private:
};

// Forwards every call to another implementation of the same version.
class IVppServiceDelegator : public BnVppService {
  public:
    explicit IVppServiceDelegator(const std::shared_ptr<IVppService>& impl) : _impl(impl) {
        int32_t _impl_ver = 0;
        if (!impl->getInterfaceVersion(&_impl_ver).isOk()) {
            __assert2(__FILE__, __LINE__, __PRETTY_FUNCTION__,
                      "Delegator failed to get version of the implementation.");
        }
        if (_impl_ver != IVppService::version) {
            __assert2(__FILE__, __LINE__, __PRETTY_FUNCTION__,
                      "Mismatched versions of delegator and implementation is not allowed.");
        }
    }

    ::ndk::ScopedAStatus getNewVppSession(
        int32_t in_flags,
        std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppSession>* _aidl_return) override {
        return _impl->getNewVppSession(in_flags, _aidl_return);
    }

  protected:
  private:
    std::shared_ptr<IVppService> _impl;
};

}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
