// BnVppCallbacks: base class of local IVppCallbacks implementations, with their binder and stub.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/IVppCallbacks.h>
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
class BnVppCallbacks : public ::ndk::BnCInterface<IVppCallbacks> {
  public:
    BnVppCallbacks();
    virtual ~BnVppCallbacks();

    ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) final;
    ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) final;

  protected:
    ::ndk::SpAIBinder createBinder() override;

  private:
};

// Forwards every call to another implementation of the same version.
class IVppCallbacksDelegator : public BnVppCallbacks {
  public:
    explicit IVppCallbacksDelegator(const std::shared_ptr<IVppCallbacks>& impl) : _impl(impl) {
        int32_t _impl_ver = 0;
        if (!impl->getInterfaceVersion(&_impl_ver).isOk()) {
            __assert2(__FILE__, __LINE__, __PRETTY_FUNCTION__,
                      "Delegator failed to get version of the implementation.");
        }
        if (_impl_ver != IVppCallbacks::version) {
            __assert2(__FILE__, __LINE__, __PRETTY_FUNCTION__,
                      "Mismatched versions of delegator and implementation is not allowed.");
        }
    }

    ::ndk::ScopedAStatus eventDrainDone(
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->eventDrainDone(_aidl_return);
    }
    ::ndk::ScopedAStatus eventError(
        ::aidl::vendor::zux::hardware::vpp::VppError in_error,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->eventError(in_error, _aidl_return);
    }
    ::ndk::ScopedAStatus eventFlushDone(
        const ::aidl::vendor::zux::hardware::vpp::FlushDone& in_flushDone,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->eventFlushDone(in_flushDone, _aidl_return);
    }
    ::ndk::ScopedAStatus eventReconfigDone(
        const ::aidl::vendor::zux::hardware::vpp::ReconfigDone& in_reconfigDone,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->eventReconfigDone(in_reconfigDone, _aidl_return);
    }
    ::ndk::ScopedAStatus inputBufferDone(
        const ::aidl::vendor::zux::hardware::vpp::VppBuffer& in_buffer,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->inputBufferDone(in_buffer, _aidl_return);
    }
    ::ndk::ScopedAStatus outputBufferDone(
        const ::aidl::vendor::zux::hardware::vpp::VppBuffer& in_buffer,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->outputBufferDone(in_buffer, _aidl_return);
    }

  protected:
  private:
    std::shared_ptr<IVppCallbacks> _impl;
};

}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
