// IVppService: class object, stub transactions, proxy, statics and default implementation.
#include <aidl/vendor/zux/hardware/vpp/BnVppService.h>
#include <aidl/vendor/zux/hardware/vpp/BpVppService.h>
#include <aidl/vendor/zux/hardware/vpp/IVppService.h>
#include <android/binder_ibinder.h>

#include <cassert>
#include <cstring>

namespace aidl {
namespace vendor {
namespace zux {
namespace hardware {
namespace vpp {
static binder_status_t _aidl_vendor_zux_hardware_vpp_IVppService_onTransact(
    AIBinder* _aidl_binder, transaction_code_t _aidl_code, const AParcel* _aidl_in,
    AParcel* _aidl_out) {
    (void)_aidl_in;
    (void)_aidl_out;
    binder_status_t _aidl_ret_status = STATUS_UNKNOWN_TRANSACTION;
    std::shared_ptr<BnVppService> _aidl_impl =
        std::static_pointer_cast<BnVppService>(::ndk::ICInterface::asInterface(_aidl_binder));
    switch (_aidl_code) {
        case (FIRST_CALL_TRANSACTION + 0 /*getNewVppSession*/): {
            int32_t in_flags{};
            std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppSession> _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_flags);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status =
                _aidl_impl->getNewVppSession(in_flags, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 16777214 /*getInterfaceVersion*/): {
            int32_t _aidl_return{};

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->getInterfaceVersion(&_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 16777213 /*getInterfaceHash*/): {
            std::string _aidl_return{};

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->getInterfaceHash(&_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
    }
    return _aidl_ret_status;
}

static AIBinder_Class* _g_aidl_vendor_zux_hardware_vpp_IVppService_clazz =
    ::ndk::ICInterface::defineClass(IVppService::descriptor,
                                    _aidl_vendor_zux_hardware_vpp_IVppService_onTransact);

BpVppService::BpVppService(const ::ndk::SpAIBinder& binder) : BpCInterface(binder) {}
BpVppService::~BpVppService() {}

::ndk::ScopedAStatus BpVppService::getNewVppSession(
    int32_t in_flags,
    std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppSession>* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_flags);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 0 /*getNewVppSession*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppService::getDefaultImpl()) {
        _aidl_status = IVppService::getDefaultImpl()->getNewVppSession(in_flags, _aidl_return);
        goto _aidl_status_return;
    }
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AParcel_readStatusHeader(_aidl_out.get(), _aidl_status.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    if (!AStatus_isOk(_aidl_status.get())) goto _aidl_status_return;
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), _aidl_return);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

_aidl_error:
    _aidl_status.set(AStatus_fromStatus(_aidl_ret_status));
_aidl_status_return:
    return _aidl_status;
}
::ndk::ScopedAStatus BpVppService::getInterfaceVersion(int32_t* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    if (_aidl_cached_version != -1) {
        *_aidl_return = _aidl_cached_version;
        _aidl_status.set(AStatus_fromStatus(_aidl_ret_status));
        return _aidl_status;
    }
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AIBinder_transact(
        asBinder().get(), (FIRST_CALL_TRANSACTION + 16777214 /*getInterfaceVersion*/),
        _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppService::getDefaultImpl()) {
        _aidl_status = IVppService::getDefaultImpl()->getInterfaceVersion(_aidl_return);
        goto _aidl_status_return;
    }
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AParcel_readStatusHeader(_aidl_out.get(), _aidl_status.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    if (!AStatus_isOk(_aidl_status.get())) goto _aidl_status_return;
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), _aidl_return);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_cached_version = *_aidl_return;
_aidl_error:
    _aidl_status.set(AStatus_fromStatus(_aidl_ret_status));
_aidl_status_return:
    return _aidl_status;
}
::ndk::ScopedAStatus BpVppService::getInterfaceHash(std::string* _aidl_return) {
    std::lock_guard<std::mutex> lockGuard(_aidl_cached_hash_mutex);
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    if (_aidl_cached_hash != "-1") {
        *_aidl_return = _aidl_cached_hash;
        _aidl_status.set(AStatus_fromStatus(_aidl_ret_status));
        return _aidl_status;
    }
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AIBinder_transact(asBinder().get(),
                                         (FIRST_CALL_TRANSACTION + 16777213 /*getInterfaceHash*/),
                                         _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppService::getDefaultImpl()) {
        _aidl_status = IVppService::getDefaultImpl()->getInterfaceHash(_aidl_return);
        goto _aidl_status_return;
    }
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AParcel_readStatusHeader(_aidl_out.get(), _aidl_status.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    if (!AStatus_isOk(_aidl_status.get())) goto _aidl_status_return;
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), _aidl_return);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_cached_hash = *_aidl_return;
_aidl_error:
    _aidl_status.set(AStatus_fromStatus(_aidl_ret_status));
_aidl_status_return:
    return _aidl_status;
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
// Defined out of line so that callers may take its address (or bind a reference to it).
const int32_t IVppService::version;
IVppService::IVppService() {}
IVppService::~IVppService() {}

std::shared_ptr<IVppService> IVppService::fromBinder(const ::ndk::SpAIBinder& binder) {
    if (!AIBinder_associateClass(binder.get(), _g_aidl_vendor_zux_hardware_vpp_IVppService_clazz)) {
#if __ANDROID_API__ >= 31
        // Another class object with this interface's descriptor (e.g. from a second copy of this
        // code in the process): talk to it through a proxy.
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

binder_status_t IVppService::writeToParcel(AParcel* parcel,
                                           const std::shared_ptr<IVppService>& instance) {
    return AParcel_writeStrongBinder(parcel, instance ? instance->asBinder().get() : nullptr);
}
binder_status_t IVppService::readFromParcel(const AParcel* parcel,
                                            std::shared_ptr<IVppService>* instance) {
    ::ndk::SpAIBinder binder;
    binder_status_t status = AParcel_readStrongBinder(parcel, binder.getR());
    if (status != STATUS_OK) return status;
    *instance = IVppService::fromBinder(binder);
    return STATUS_OK;
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
