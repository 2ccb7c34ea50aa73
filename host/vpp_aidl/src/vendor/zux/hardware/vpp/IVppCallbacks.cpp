// IVppCallbacks: class object, stub, proxy, statics and default implementation.
#include <aidl/vendor/zux/hardware/vpp/BnVppCallbacks.h>
#include <aidl/vendor/zux/hardware/vpp/BpVppCallbacks.h>
#include <aidl/vendor/zux/hardware/vpp/IVppCallbacks.h>
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
static binder_status_t _aidl_vendor_zux_hardware_vpp_IVppCallbacks_onTransact(
    AIBinder* /*_aidl_binder*/, transaction_code_t /*_aidl_code*/, const AParcel* /*_aidl_in*/,
    AParcel* /*_aidl_out*/) {
    return STATUS_UNKNOWN_TRANSACTION;
}

static AIBinder_Class* _g_aidl_vendor_zux_hardware_vpp_IVppCallbacks_clazz =
    ::ndk::ICInterface::defineClass(IVppCallbacks::descriptor,
                                    _aidl_vendor_zux_hardware_vpp_IVppCallbacks_onTransact);

BpVppCallbacks::BpVppCallbacks(const ::ndk::SpAIBinder& binder) : BpCInterface(binder) {}
BpVppCallbacks::~BpVppCallbacks() {}

::ndk::ScopedAStatus BpVppCallbacks::eventDrainDone(
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = internal::transactWithoutParcels(
        asBinder().get(), IVppCallbacks::TRANSACTION_eventDrainDone);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        return IVppCallbacks::getDefaultImpl()->eventDrainDone(_aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppCallbacks::eventError(
    ::aidl::vendor::zux::hardware::vpp::VppError in_error,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status =
        internal::transactWithoutParcels(asBinder().get(), IVppCallbacks::TRANSACTION_eventError);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        return IVppCallbacks::getDefaultImpl()->eventError(in_error, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppCallbacks::eventFlushDone(
    const ::aidl::vendor::zux::hardware::vpp::FlushDone& in_flushDone,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = internal::transactWithoutParcels(
        asBinder().get(), IVppCallbacks::TRANSACTION_eventFlushDone);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        return IVppCallbacks::getDefaultImpl()->eventFlushDone(in_flushDone, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppCallbacks::eventReconfigDone(
    const ::aidl::vendor::zux::hardware::vpp::ReconfigDone& in_reconfigDone,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = internal::transactWithoutParcels(
        asBinder().get(), IVppCallbacks::TRANSACTION_eventReconfigDone);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        return IVppCallbacks::getDefaultImpl()->eventReconfigDone(in_reconfigDone, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppCallbacks::inputBufferDone(
    const ::aidl::vendor::zux::hardware::vpp::VppBuffer& in_buffer,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = internal::transactWithoutParcels(
        asBinder().get(), IVppCallbacks::TRANSACTION_inputBufferDone);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        return IVppCallbacks::getDefaultImpl()->inputBufferDone(in_buffer, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppCallbacks::outputBufferDone(
    const ::aidl::vendor::zux::hardware::vpp::VppBuffer& in_buffer,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = internal::transactWithoutParcels(
        asBinder().get(), IVppCallbacks::TRANSACTION_outputBufferDone);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        return IVppCallbacks::getDefaultImpl()->outputBufferDone(in_buffer, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppCallbacks::getInterfaceVersion(int32_t* _aidl_return) {
    if (_aidl_cached_version != -1) {
        *_aidl_return = _aidl_cached_version;
        return ::ndk::ScopedAStatus::ok();
    }
    binder_status_t _aidl_ret_status = internal::transactWithoutParcels(
        asBinder().get(), IVppCallbacks::TRANSACTION_getInterfaceVersion);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        return IVppCallbacks::getDefaultImpl()->getInterfaceVersion(_aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppCallbacks::getInterfaceHash(std::string* _aidl_return) {
    std::lock_guard<std::mutex> lockGuard(_aidl_cached_hash_mutex);
    if (_aidl_cached_hash != "-1") {
        *_aidl_return = _aidl_cached_hash;
        return ::ndk::ScopedAStatus::ok();
    }
    binder_status_t _aidl_ret_status = internal::transactWithoutParcels(
        asBinder().get(), IVppCallbacks::TRANSACTION_getInterfaceHash);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        return IVppCallbacks::getDefaultImpl()->getInterfaceHash(_aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
BnVppCallbacks::BnVppCallbacks() {}
BnVppCallbacks::~BnVppCallbacks() {}
::ndk::SpAIBinder BnVppCallbacks::createBinder() {
    AIBinder* binder =
        AIBinder_new(_g_aidl_vendor_zux_hardware_vpp_IVppCallbacks_clazz, static_cast<void*>(this));
    return ::ndk::SpAIBinder(binder);
}
::ndk::ScopedAStatus BnVppCallbacks::getInterfaceVersion(int32_t* _aidl_return) {
    *_aidl_return = IVppCallbacks::version;
    return ::ndk::ScopedAStatus(AStatus_newOk());
}
::ndk::ScopedAStatus BnVppCallbacks::getInterfaceHash(std::string* _aidl_return) {
    *_aidl_return = IVppCallbacks::hash;
    return ::ndk::ScopedAStatus(AStatus_newOk());
}
const char* IVppCallbacks::descriptor = "vendor.zux.hardware.vpp.IVppCallbacks";
IVppCallbacks::IVppCallbacks() {}
IVppCallbacks::~IVppCallbacks() {}

std::shared_ptr<IVppCallbacks> IVppCallbacks::fromBinder(const ::ndk::SpAIBinder& binder) {
    if (!AIBinder_associateClass(binder.get(),
                                 _g_aidl_vendor_zux_hardware_vpp_IVppCallbacks_clazz)) {
#if __ANDROID_API__ >= 31
        const AIBinder_Class* originalClass = AIBinder_getClass(binder.get());
        if (originalClass == nullptr) return nullptr;
        if (0 == strcmp(AIBinder_Class_getDescriptor(originalClass), descriptor)) {
            return ::ndk::SharedRefBase::make<BpVppCallbacks>(binder);
        }
#endif
        return nullptr;
    }
    std::shared_ptr<::ndk::ICInterface> interface = ::ndk::ICInterface::asInterface(binder.get());
    if (interface) {
        return std::static_pointer_cast<IVppCallbacks>(interface);
    }
    return ::ndk::SharedRefBase::make<BpVppCallbacks>(binder);
}

binder_status_t IVppCallbacks::writeToParcel(AParcel* /*parcel*/,
                                             const std::shared_ptr<IVppCallbacks>& /*instance*/) {
    return STATUS_INVALID_OPERATION;
}
binder_status_t IVppCallbacks::readFromParcel(const AParcel* /*parcel*/,
                                              std::shared_ptr<IVppCallbacks>* /*instance*/) {
    return STATUS_INVALID_OPERATION;
}
bool IVppCallbacks::setDefaultImpl(const std::shared_ptr<IVppCallbacks>& impl) {
    // One default per process: a second caller would silently replace the first one's.
    assert(!IVppCallbacks::default_impl);
    if (impl) {
        IVppCallbacks::default_impl = impl;
        return true;
    }
    return false;
}
const std::shared_ptr<IVppCallbacks>& IVppCallbacks::getDefaultImpl() {
    return IVppCallbacks::default_impl;
}
std::shared_ptr<IVppCallbacks> IVppCallbacks::default_impl = nullptr;
::ndk::ScopedAStatus IVppCallbacksDefault::eventDrainDone(
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppCallbacksDefault::eventError(
    ::aidl::vendor::zux::hardware::vpp::VppError /*in_error*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppCallbacksDefault::eventFlushDone(
    const ::aidl::vendor::zux::hardware::vpp::FlushDone& /*in_flushDone*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppCallbacksDefault::eventReconfigDone(
    const ::aidl::vendor::zux::hardware::vpp::ReconfigDone& /*in_reconfigDone*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppCallbacksDefault::inputBufferDone(
    const ::aidl::vendor::zux::hardware::vpp::VppBuffer& /*in_buffer*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppCallbacksDefault::outputBufferDone(
    const ::aidl::vendor::zux::hardware::vpp::VppBuffer& /*in_buffer*/,
    ::aidl::vendor::zux::hardware::vpp::VppError* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppCallbacksDefault::getInterfaceVersion(int32_t* _aidl_return) {
    *_aidl_return = 0;
    return ::ndk::ScopedAStatus(AStatus_newOk());
}
::ndk::ScopedAStatus IVppCallbacksDefault::getInterfaceHash(std::string* _aidl_return) {
    *_aidl_return = "";
    return ::ndk::ScopedAStatus(AStatus_newOk());
}
::ndk::SpAIBinder IVppCallbacksDefault::asBinder() {
    return ::ndk::SpAIBinder();
}
bool IVppCallbacksDefault::isRemote() {
    return false;
}
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
