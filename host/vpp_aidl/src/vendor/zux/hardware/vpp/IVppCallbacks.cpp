// IVppCallbacks: class object, stub transactions, proxy, statics and default implementation.
#include <aidl/vendor/zux/hardware/vpp/BnVppCallbacks.h>
#include <aidl/vendor/zux/hardware/vpp/BpVppCallbacks.h>
#include <aidl/vendor/zux/hardware/vpp/IVppCallbacks.h>
#include <android/binder_ibinder.h>

#include <cassert>
#include <cstring>

namespace aidl {
namespace vendor {
namespace zux {
namespace hardware {
namespace vpp {
static binder_status_t _aidl_vendor_zux_hardware_vpp_IVppCallbacks_onTransact(
    AIBinder* _aidl_binder, transaction_code_t _aidl_code, const AParcel* _aidl_in,
    AParcel* _aidl_out) {
    (void)_aidl_in;
    (void)_aidl_out;
    binder_status_t _aidl_ret_status = STATUS_UNKNOWN_TRANSACTION;
    std::shared_ptr<BnVppCallbacks> _aidl_impl =
        std::static_pointer_cast<BnVppCallbacks>(::ndk::ICInterface::asInterface(_aidl_binder));
    switch (_aidl_code) {
        case (FIRST_CALL_TRANSACTION + 0 /*eventDrainDone*/): {
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->eventDrainDone(&_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 1 /*eventError*/): {
            ::aidl::vendor::zux::hardware::vpp::VppError in_error{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_error);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->eventError(in_error, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 2 /*eventFlushDone*/): {
            ::aidl::vendor::zux::hardware::vpp::FlushDone in_flushDone{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_flushDone);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status =
                _aidl_impl->eventFlushDone(in_flushDone, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 3 /*eventReconfigDone*/): {
            ::aidl::vendor::zux::hardware::vpp::ReconfigDone in_reconfigDone{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_reconfigDone);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status =
                _aidl_impl->eventReconfigDone(in_reconfigDone, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 4 /*inputBufferDone*/): {
            ::aidl::vendor::zux::hardware::vpp::VppBuffer in_buffer{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_buffer);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status =
                _aidl_impl->inputBufferDone(in_buffer, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 5 /*outputBufferDone*/): {
            ::aidl::vendor::zux::hardware::vpp::VppBuffer in_buffer{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_buffer);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status =
                _aidl_impl->outputBufferDone(in_buffer, &_aidl_return);
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

static AIBinder_Class* _g_aidl_vendor_zux_hardware_vpp_IVppCallbacks_clazz =
    ::ndk::ICInterface::defineClass(IVppCallbacks::descriptor,
                                    _aidl_vendor_zux_hardware_vpp_IVppCallbacks_onTransact);

BpVppCallbacks::BpVppCallbacks(const ::ndk::SpAIBinder& binder) : BpCInterface(binder) {}
BpVppCallbacks::~BpVppCallbacks() {}

::ndk::ScopedAStatus BpVppCallbacks::eventDrainDone(
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 0 /*eventDrainDone*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        _aidl_status = IVppCallbacks::getDefaultImpl()->eventDrainDone(_aidl_return);
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
::ndk::ScopedAStatus BpVppCallbacks::eventError(
    ::aidl::vendor::zux::hardware::vpp::VppError in_error,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_error);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 1 /*eventError*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        _aidl_status = IVppCallbacks::getDefaultImpl()->eventError(in_error, _aidl_return);
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
::ndk::ScopedAStatus BpVppCallbacks::eventFlushDone(
    const ::aidl::vendor::zux::hardware::vpp::FlushDone& in_flushDone,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_flushDone);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 2 /*eventFlushDone*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        _aidl_status = IVppCallbacks::getDefaultImpl()->eventFlushDone(in_flushDone, _aidl_return);
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
::ndk::ScopedAStatus BpVppCallbacks::eventReconfigDone(
    const ::aidl::vendor::zux::hardware::vpp::ReconfigDone& in_reconfigDone,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_reconfigDone);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 3 /*eventReconfigDone*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        _aidl_status =
            IVppCallbacks::getDefaultImpl()->eventReconfigDone(in_reconfigDone, _aidl_return);
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
::ndk::ScopedAStatus BpVppCallbacks::inputBufferDone(
    const ::aidl::vendor::zux::hardware::vpp::VppBuffer& in_buffer,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_buffer);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 4 /*inputBufferDone*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        _aidl_status = IVppCallbacks::getDefaultImpl()->inputBufferDone(in_buffer, _aidl_return);
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
::ndk::ScopedAStatus BpVppCallbacks::outputBufferDone(
    const ::aidl::vendor::zux::hardware::vpp::VppBuffer& in_buffer,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_buffer);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 5 /*outputBufferDone*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        _aidl_status = IVppCallbacks::getDefaultImpl()->outputBufferDone(in_buffer, _aidl_return);
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
::ndk::ScopedAStatus BpVppCallbacks::getInterfaceVersion(int32_t* _aidl_return) {
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
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        _aidl_status = IVppCallbacks::getDefaultImpl()->getInterfaceVersion(_aidl_return);
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
::ndk::ScopedAStatus BpVppCallbacks::getInterfaceHash(std::string* _aidl_return) {
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
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppCallbacks::getDefaultImpl()) {
        _aidl_status = IVppCallbacks::getDefaultImpl()->getInterfaceHash(_aidl_return);
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
// Defined out of line so that callers may take its address (or bind a reference to it).
const int32_t IVppCallbacks::version;
IVppCallbacks::IVppCallbacks() {}
IVppCallbacks::~IVppCallbacks() {}

std::shared_ptr<IVppCallbacks> IVppCallbacks::fromBinder(const ::ndk::SpAIBinder& binder) {
    if (!AIBinder_associateClass(binder.get(),
                                 _g_aidl_vendor_zux_hardware_vpp_IVppCallbacks_clazz)) {
#if __ANDROID_API__ >= 31
        // Another class object with this interface's descriptor (e.g. from a second copy of this
        // code in the process): talk to it through a proxy.
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

binder_status_t IVppCallbacks::writeToParcel(AParcel* parcel,
                                             const std::shared_ptr<IVppCallbacks>& instance) {
    return AParcel_writeStrongBinder(parcel, instance ? instance->asBinder().get() : nullptr);
}
binder_status_t IVppCallbacks::readFromParcel(const AParcel* parcel,
                                              std::shared_ptr<IVppCallbacks>* instance) {
    ::ndk::SpAIBinder binder;
    binder_status_t status = AParcel_readStrongBinder(parcel, binder.getR());
    if (status != STATUS_OK) return status;
    *instance = IVppCallbacks::fromBinder(binder);
    return STATUS_OK;
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
