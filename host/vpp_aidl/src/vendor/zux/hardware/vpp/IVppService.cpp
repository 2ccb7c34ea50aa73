// IVppService: class object, stub, proxy, statics and default implementation.
#include <aidl/vendor/zux/hardware/vpp/BnVppService.h>
#include <aidl/vendor/zux/hardware/vpp/BpVppService.h>
#include <aidl/vendor/zux/hardware/vpp/IVppService.h>
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
static binder_status_t _aidl_vendor_zux_hardware_vpp_IVppService_onTransact(
    AIBinder* /*_aidl_binder*/, transaction_code_t /*_aidl_code*/, const AParcel* /*_aidl_in*/,
    AParcel* /*_aidl_out*/) {
    return STATUS_UNKNOWN_TRANSACTION;
}

static AIBinder_Class* _g_aidl_vendor_zux_hardware_vpp_IVppService_clazz =
    ::ndk::ICInterface::defineClass(IVppService::descriptor,
                                    _aidl_vendor_zux_hardware_vpp_IVppService_onTransact);

BpVppService::BpVppService(const ::ndk::SpAIBinder& binder) : BpCInterface(binder) {}
BpVppService::~BpVppService() {}

::ndk::ScopedAStatus BpVppService::getNewVppSession(
    int32_t in_flags,
    std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppSession>* _aidl_return) {
    binder_status_t _aidl_ret_status = internal::transactWithoutParcels(
        asBinder().get(), IVppService::TRANSACTION_getNewVppSession);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppService::getDefaultImpl()) {
        return IVppService::getDefaultImpl()->getNewVppSession(in_flags, _aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppService::getInterfaceVersion(int32_t* _aidl_return) {
    if (_aidl_cached_version != -1) {
        *_aidl_return = _aidl_cached_version;
        return ::ndk::ScopedAStatus::ok();
    }
    binder_status_t _aidl_ret_status = internal::transactWithoutParcels(
        asBinder().get(), IVppService::TRANSACTION_getInterfaceVersion);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppService::getDefaultImpl()) {
        return IVppService::getDefaultImpl()->getInterfaceVersion(_aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
::ndk::ScopedAStatus BpVppService::getInterfaceHash(std::string* _aidl_return) {
    std::lock_guard<std::mutex> lockGuard(_aidl_cached_hash_mutex);
    if (_aidl_cached_hash != "-1") {
        *_aidl_return = _aidl_cached_hash;
        return ::ndk::ScopedAStatus::ok();
    }
    binder_status_t _aidl_ret_status = internal::transactWithoutParcels(
        asBinder().get(), IVppService::TRANSACTION_getInterfaceHash);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppService::getDefaultImpl()) {
        return IVppService::getDefaultImpl()->getInterfaceHash(_aidl_return);
    }
    return ::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);
}
BnVppService::BnVppService() {}
BnVppService::~BnVppService() {}
::ndk::SpAIBinder BnVppService::createBinder() {
    AIBinder* binder =
        AIBinder_new(_g_aidl_vendor_zux_hardware_vpp_IVppService_clazz, static_cast<void*>(this));
    return ::ndk::SpAIBinder(binder);
}
::ndk::ScopedAStatus BnVppService::getInterfaceVersion(int32_t* _aidl_return) {
    *_aidl_return = IVppService::version;
    return ::ndk::ScopedAStatus(AStatus_newOk());
}
::ndk::ScopedAStatus BnVppService::getInterfaceHash(std::string* _aidl_return) {
    *_aidl_return = IVppService::hash;
    return ::ndk::ScopedAStatus(AStatus_newOk());
}
const char* IVppService::descriptor = "vendor.zux.hardware.vpp.IVppService";
IVppService::IVppService() {}
IVppService::~IVppService() {}

std::shared_ptr<IVppService> IVppService::fromBinder(const ::ndk::SpAIBinder& binder) {
    if (!AIBinder_associateClass(binder.get(), _g_aidl_vendor_zux_hardware_vpp_IVppService_clazz)) {
#if __ANDROID_API__ >= 31
        const AIBinder_Class* originalClass = AIBinder_getClass(binder.get());
        if (originalClass == nullptr) return nullptr;
        if (0 == strcmp(AIBinder_Class_getDescriptor(originalClass), descriptor)) {
            return ::ndk::SharedRefBase::make<BpVppService>(binder);
        }
#endif
        return nullptr;
    }
    std::shared_ptr<::ndk::ICInterface> interface = ::ndk::ICInterface::asInterface(binder.get());
    if (interface) {
        return std::static_pointer_cast<IVppService>(interface);
    }
    return ::ndk::SharedRefBase::make<BpVppService>(binder);
}

binder_status_t IVppService::writeToParcel(AParcel* /*parcel*/,
                                           const std::shared_ptr<IVppService>& /*instance*/) {
    return STATUS_INVALID_OPERATION;
}
binder_status_t IVppService::readFromParcel(const AParcel* /*parcel*/,
                                            std::shared_ptr<IVppService>* /*instance*/) {
    return STATUS_INVALID_OPERATION;
}
bool IVppService::setDefaultImpl(const std::shared_ptr<IVppService>& impl) {
    // One default per process: a second caller would silently replace the first one's.
    assert(!IVppService::default_impl);
    if (impl) {
        IVppService::default_impl = impl;
        return true;
    }
    return false;
}
const std::shared_ptr<IVppService>& IVppService::getDefaultImpl() {
    return IVppService::default_impl;
}
std::shared_ptr<IVppService> IVppService::default_impl = nullptr;
::ndk::ScopedAStatus IVppServiceDefault::getNewVppSession(
    int32_t /*in_flags*/,
    std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppSession>* /*_aidl_return*/) {
    ::ndk::ScopedAStatus _aidl_status;
    _aidl_status.set(AStatus_fromStatus(STATUS_UNKNOWN_TRANSACTION));
    return _aidl_status;
}
::ndk::ScopedAStatus IVppServiceDefault::getInterfaceVersion(int32_t* _aidl_return) {
    *_aidl_return = 0;
    return ::ndk::ScopedAStatus(AStatus_newOk());
}
::ndk::ScopedAStatus IVppServiceDefault::getInterfaceHash(std::string* _aidl_return) {
    *_aidl_return = "";
    return ::ndk::ScopedAStatus(AStatus_newOk());
}
::ndk::SpAIBinder IVppServiceDefault::asBinder() {
    return ::ndk::SpAIBinder();
}
bool IVppServiceDefault::isRemote() {
    return false;
}
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
