// IVppSession: class object, stub, proxy, statics and default implementation.
#include <aidl/vendor/zux/hardware/vpp/BnVppSession.h>
#include <aidl/vendor/zux/hardware/vpp/BpVppSession.h>
#include <aidl/vendor/zux/hardware/vpp/IVppSession.h>
#include <android/binder_ibinder.h>

#include <cassert>
#include <cstring>

#include "ProxyTransact.h"

namespace aidl {
namespace vendor {
namespace zux {
namespace hardware {
namespace vpp {
// Incoming transactions need parcels; in-process callers reach the implementation directly,
// so every code is answered as unknown until transactions cross processes.
static binder_status_t _aidl_vendor_zux_hardware_vpp_IVppSession_onTransact(
    AIBinder* /*_aidl_binder*/, transaction_code_t /*_aidl_code*/, const AParcel* /*_aidl_in*/,
    AParcel* /*_aidl_out*/) {
    return STATUS_UNKNOWN_TRANSACTION;
}

static AIBinder_Class* _g_aidl_vendor_zux_hardware_vpp_IVppSession_clazz =
    ::ndk::ICInterface::defineClass(IVppSession::descriptor,
                                    _aidl_vendor_zux_hardware_vpp_IVppSession_onTransact);

BpVppSession::BpVppSession(const ::ndk::SpAIBinder& binder) : BpCInterface(binder) {}
BpVppSession::~BpVppSession() {}

::ndk::ScopedAStatus BpVppSession::close(
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_close);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->close(_aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::drain(
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_drain);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->drain(_aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::flush(
    int32_t in_port, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_flush);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->flush(in_port, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::getBufferRequirements(
    int32_t in_port, ::aidl::vendor::zux::hardware::vpp::VppBufferRequirements* out_requirements,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = internal::transactWithoutParcels(
        asBinder().get(), IVppSession::TRANSACTION_getBufferRequirements);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->getBufferRequirements(in_port, out_requirements,
                                                                    _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::init(
    int32_t in_flags,
    const std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppCallbacks>& in_callbacks,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_init);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->init(in_flags, in_callbacks, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::open(
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_open);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->open(_aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::queueBuf(
    int32_t in_port, const ::aidl::vendor::zux::hardware::vpp::VppBuffer& in_buffer,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_queueBuf);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->queueBuf(in_port, in_buffer, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::getCtrlFrc(
    ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc* out_ctrl,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_getCtrlFrc);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->getCtrlFrc(out_ctrl, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::getMode(
    int32_t* out_mode, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_getMode);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->getMode(out_mode, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::getParameter(
    int32_t in_port, ::aidl::vendor::zux::hardware::vpp::VppPortParam* out_param,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_getParameter);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->getParameter(in_port, out_param, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::getState(
    int32_t* out_state, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_getState);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->getState(out_state, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::getStats(
    ::aidl::vendor::zux::hardware::vpp::VppStats* out_stats,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_getStats);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->getStats(out_stats, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::reconfigure(
    const ::aidl::vendor::zux::hardware::vpp::VppPortParam& in_inputParam,
    const ::aidl::vendor::zux::hardware::vpp::VppPortParam& in_outputParam,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_reconfigure);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->reconfigure(in_inputParam, in_outputParam,
                                                          _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::resetStats(
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_resetStats);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->resetStats(_aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::setCtrlFrc(
    const ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc& in_ctrl,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_setCtrlFrc);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->setCtrlFrc(in_ctrl, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::setDebugFlags(
    int32_t in_flags, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_setDebugFlags);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->setDebugFlags(in_flags, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::setFrameRate(
    int32_t in_numerator, int32_t in_denominator,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_setFrameRate);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->setFrameRate(in_numerator, in_denominator,
                                                           _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::setMaxQueuedBuffers(
    int32_t in_port, int32_t in_count, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = internal::transactWithoutParcels(
        asBinder().get(), IVppSession::TRANSACTION_setMaxQueuedBuffers);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->setMaxQueuedBuffers(in_port, in_count, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::setName(
    const std::string& in_name, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_setName);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->setName(in_name, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::setMode(
    int32_t in_mode, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_setMode);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->setMode(in_mode, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::setParameter(
    int32_t in_port, const ::aidl::vendor::zux::hardware::vpp::VppPortParam& in_param,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_setParameter);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->setParameter(in_port, in_param, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::setPriority(
    int32_t in_priority, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_setPriority);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->setPriority(in_priority, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::setTimestampMode(
    int32_t in_mode, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = internal::transactWithoutParcels(
        asBinder().get(), IVppSession::TRANSACTION_setTimestampMode);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->setTimestampMode(in_mode, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::setPassThrough(
    int32_t in_enable, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_setPassThrough);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->setPassThrough(in_enable, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::ping(
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_ping);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->ping(_aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::term() {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppSession::TRANSACTION_term);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->term();
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::getInterfaceVersion(int32_t* _aidl_return) {
    if (_aidl_cached_version != -1) {
        *_aidl_return = _aidl_cached_version;
        return ::ndk::ScopedAStatus::ok();
    }
    binder_status_t _aidl_ret_status = internal::transactWithoutParcels(
        asBinder().get(), IVppSession::TRANSACTION_getInterfaceVersion);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->getInterfaceVersion(_aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppSession::getInterfaceHash(std::string* _aidl_return) {
    std::lock_guard<std::mutex> lockGuard(_aidl_cached_hash_mutex);
    if (_aidl_cached_hash != "-1") {
        *_aidl_return = _aidl_cached_hash;
        return ::ndk::ScopedAStatus::ok();
    }
    binder_status_t _aidl_ret_status = internal::transactWithoutParcels(
        asBinder().get(), IVppSession::TRANSACTION_getInterfaceHash);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        return IVppSession::getDefaultImpl()->getInterfaceHash(_aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
BnVppSession::BnVppSession() {}
BnVppSession::~BnVppSession() {}
::ndk::SpAIBinder BnVppSession::createBinder() {
    AIBinder* binder =
        AIBinder_new(_g_aidl_vendor_zux_hardware_vpp_IVppSession_clazz, static_cast<void*>(this));
    return ::ndk::SpAIBinder(binder);
}
::ndk::ScopedAStatus BnVppSession::getInterfaceVersion(int32_t* _aidl_return) {
    *_aidl_return = IVppSession::version;
    return ::ndk::ScopedAStatus(AStatus_newOk());
}
::ndk::ScopedAStatus BnVppSession::getInterfaceHash(std::string* _aidl_return) {
    *_aidl_return = IVppSession::hash;
    return ::ndk::ScopedAStatus(AStatus_newOk());
}
const char* IVppSession::descriptor = "vendor.zux.hardware.vpp.IVppSession";
IVppSession::IVppSession() {}
IVppSession::~IVppSession() {}

std::shared_ptr<IVppSession> IVppSession::fromBinder(const ::ndk::SpAIBinder& binder) {
    if (!AIBinder_associateClass(binder.get(), _g_aidl_vendor_zux_hardware_vpp_IVppSession_clazz)) {
#if __ANDROID_API__ >= 31
        const AIBinder_Class* originalClass = AIBinder_getClass(binder.get());
        if (originalClass == nullptr) return nullptr;
        if (0 == strcmp(AIBinder_Class_getDescriptor(originalClass), descriptor)) {
            return ::ndk::SharedRefBase::make<BpVppSession>(binder);
        }
#endif
        return nullptr;
    }
    std::shared_ptr<::ndk::ICInterface> interface = ::ndk::ICInterface::asInterface(binder.get());
    if (interface) {
        return std::static_pointer_cast<IVppSession>(interface);
    }
    return ::ndk::SharedRefBase::make<BpVppSession>(binder);
}

binder_status_t IVppSession::writeToParcel(AParcel* /*parcel*/,
                                           const std::shared_ptr<IVppSession>& /*instance*/) {
    return STATUS_INVALID_OPERATION;
}
binder_status_t IVppSession::readFromParcel(const AParcel* /*parcel*/,
                                            std::shared_ptr<IVppSession>* /*instance*/) {
    return STATUS_INVALID_OPERATION;
}
bool IVppSession::setDefaultImpl(const std::shared_ptr<IVppSession>& impl) {
    // One default per process: a second caller would silently replace the first one's.
    assert(!IVppSession::default_impl);
    if (impl) {
        IVppSession::default_impl = impl;
        return true;
    }
    return false;
}
const std::shared_ptr<IVppSession>& IVppSession::getDefaultImpl() {
    return IVppSession::default_impl;
}
std::shared_ptr<IVppSession> IVppSession::default_impl = nullptr;
::ndk::ScopedAStatus IVppSessionDefault::close(
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::drain(
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::flush(
    int32_t /*in_port*/, ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::getBufferRequirements(
    int32_t /*in_port*/,
    ::aidl::vendor::zux::hardware::vpp::VppBufferRequirements* /*out_requirements*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::init(
    int32_t /*in_flags*/,
    const std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppCallbacks>& /*in_callbacks*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::open(
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::queueBuf(
    int32_t /*in_port*/, const ::aidl::vendor::zux::hardware::vpp::VppBuffer& /*in_buffer*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::getCtrlFrc(
    ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc* /*out_ctrl*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::getMode(
    int32_t* /*out_mode*/, ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::getParameter(
    int32_t /*in_port*/, ::aidl::vendor::zux::hardware::vpp::VppPortParam* /*out_param*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::getState(
    int32_t* /*out_state*/, ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::getStats(
    ::aidl::vendor::zux::hardware::vpp::VppStats* /*out_stats*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::reconfigure(
    const ::aidl::vendor::zux::hardware::vpp::VppPortParam& /*in_inputParam*/,
    const ::aidl::vendor::zux::hardware::vpp::VppPortParam& /*in_outputParam*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::resetStats(
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::setCtrlFrc(
    const ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc& /*in_ctrl*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::setDebugFlags(
    int32_t /*in_flags*/, ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::setFrameRate(
    int32_t /*in_numerator*/, int32_t /*in_denominator*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::setMaxQueuedBuffers(
    int32_t /*in_port*/, int32_t /*in_count*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::setName(
    const std::string& /*in_name*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::setMode(
    int32_t /*in_mode*/, ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::setParameter(
    int32_t /*in_port*/, const ::aidl::vendor::zux::hardware::vpp::VppPortParam& /*in_param*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::setPriority(
    int32_t /*in_priority*/, ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::setTimestampMode(
    int32_t /*in_mode*/, ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::setPassThrough(
    int32_t /*in_enable*/, ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::ping(
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::term() {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppSessionDefault::getInterfaceVersion(int32_t* _aidl_return) {
    *_aidl_return = 0;
    return ::ndk::ScopedAStatus(AStatus_newOk());
}
::ndk::ScopedAStatus IVppSessionDefault::getInterfaceHash(std::string* _aidl_return) {
    *_aidl_return = "";
    return ::ndk::ScopedAStatus(AStatus_newOk());
}
::ndk::SpAIBinder IVppSessionDefault::asBinder() {
    return ::ndk::SpAIBinder();
}
bool IVppSessionDefault::isRemote() {
    return false;
}
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
