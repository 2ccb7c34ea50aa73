// BnVppSession: base class of local IVppSession implementations, with their binder and stub.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/IVppSession.h>
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
class BnVppSession : public ::ndk::BnCInterface<IVppSession> {
  public:
    BnVppSession();
    virtual ~BnVppSession();

    ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) final;
    ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) final;

  protected:
    ::ndk::SpAIBinder createBinder() override;

  private:
};

// Forwards every call to another implementation of the same version.
class IVppSessionDelegator : public BnVppSession {
  public:
    explicit IVppSessionDelegator(const std::shared_ptr<IVppSession>& impl) : _impl(impl) {
        int32_t _impl_ver = 0;
        if (!impl->getInterfaceVersion(&_impl_ver).isOk()) {
            __assert2(__FILE__, __LINE__, __PRETTY_FUNCTION__,
                      "Delegator failed to get version of the implementation.");
        }
        if (_impl_ver != IVppSession::version) {
            __assert2(__FILE__, __LINE__, __PRETTY_FUNCTION__,
                      "Mismatched versions of delegator and implementation is not allowed.");
        }
    }

    ::ndk::ScopedAStatus close(
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->close(_aidl_return);
    }
    ::ndk::ScopedAStatus drain(
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->drain(_aidl_return);
    }
    ::ndk::ScopedAStatus flush(
        int32_t in_port, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->flush(in_port, _aidl_return);
    }
    ::ndk::ScopedAStatus getBufferRequirements(
        int32_t in_port,
        ::aidl::vendor::zux::hardware::vpp::VppBufferRequirements* out_requirements,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->getBufferRequirements(in_port, out_requirements, _aidl_return);
    }
    ::ndk::ScopedAStatus init(
        int32_t in_flags,
        const std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppCallbacks>& in_callbacks,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->init(in_flags, in_callbacks, _aidl_return);
    }
    ::ndk::ScopedAStatus open(::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->open(_aidl_return);
    }
    ::ndk::ScopedAStatus queueBuf(
        int32_t in_port, const ::aidl::vendor::zux::hardware::vpp::VppBuffer& in_buffer,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->queueBuf(in_port, in_buffer, _aidl_return);
    }
    ::ndk::ScopedAStatus getCtrlFrc(
        ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc* out_ctrl,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->getCtrlFrc(out_ctrl, _aidl_return);
    }
    ::ndk::ScopedAStatus getMode(
        int32_t* out_mode, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->getMode(out_mode, _aidl_return);
    }
    ::ndk::ScopedAStatus getParameter(
        int32_t in_port, ::aidl::vendor::zux::hardware::vpp::VppPortParam* out_param,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->getParameter(in_port, out_param, _aidl_return);
    }
    ::ndk::ScopedAStatus getState(
        int32_t* out_state, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->getState(out_state, _aidl_return);
    }
    ::ndk::ScopedAStatus getStats(
        ::aidl::vendor::zux::hardware::vpp::VppStats* out_stats,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->getStats(out_stats, _aidl_return);
    }
    ::ndk::ScopedAStatus reconfigure(
        const ::aidl::vendor::zux::hardware::vpp::VppPortParam& in_inputParam,
        const ::aidl::vendor::zux::hardware::vpp::VppPortParam& in_outputParam,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->reconfigure(in_inputParam, in_outputParam, _aidl_return);
    }
    ::ndk::ScopedAStatus resetStats(
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->resetStats(_aidl_return);
    }
    ::ndk::ScopedAStatus setCtrlFrc(
        const ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc& in_ctrl,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->setCtrlFrc(in_ctrl, _aidl_return);
    }
    ::ndk::ScopedAStatus setDebugFlags(
        int32_t in_flags, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->setDebugFlags(in_flags, _aidl_return);
    }
    ::ndk::ScopedAStatus setFrameRate(
        int32_t in_numerator, int32_t in_denominator,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->setFrameRate(in_numerator, in_denominator, _aidl_return);
    }
    ::ndk::ScopedAStatus setMaxQueuedBuffers(
        int32_t in_port, int32_t in_count,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->setMaxQueuedBuffers(in_port, in_count, _aidl_return);
    }
    ::ndk::ScopedAStatus setName(
        const std::string& in_name,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->setName(in_name, _aidl_return);
    }
    ::ndk::ScopedAStatus setMode(
        int32_t in_mode, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->setMode(in_mode, _aidl_return);
    }
    ::ndk::ScopedAStatus setParameter(
        int32_t in_port, const ::aidl::vendor::zux::hardware::vpp::VppPortParam& in_param,
        ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->setParameter(in_port, in_param, _aidl_return);
    }
    ::ndk::ScopedAStatus setPriority(
        int32_t in_priority, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->setPriority(in_priority, _aidl_return);
    }
    ::ndk::ScopedAStatus setTimestampMode(
        int32_t in_mode, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->setTimestampMode(in_mode, _aidl_return);
    }
    ::ndk::ScopedAStatus setPassThrough(
        int32_t in_enable, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->setPassThrough(in_enable, _aidl_return);
    }
    ::ndk::ScopedAStatus ping(::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) override {
        return _impl->ping(_aidl_return);
    }
    ::ndk::ScopedAStatus term() override { return _impl->term(); }

  protected:
  private:
    std::shared_ptr<IVppSession> _impl;
};

}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
