// IVppSession: class object, stub transactions, proxy, statics and default implementation.
#include <aidl/vendor/zux/hardware/vpp/BnVppSession.h>
#include <aidl/vendor/zux/hardware/vpp/BpVppSession.h>
#include <aidl/vendor/zux/hardware/vpp/IVppSession.h>
#include <android/binder_ibinder.h>

#include <cassert>
#include <cstring>

namespace aidl {
namespace vendor {
namespace zux {
namespace hardware {
namespace vpp {
static binder_status_t _aidl_vendor_zux_hardware_vpp_IVppSession_onTransact(
    AIBinder* _aidl_binder, transaction_code_t _aidl_code, const AParcel* _aidl_in,
    AParcel* _aidl_out) {
    (void)_aidl_in;
    (void)_aidl_out;
    binder_status_t _aidl_ret_status = STATUS_UNKNOWN_TRANSACTION;
    std::shared_ptr<BnVppSession> _aidl_impl =
        std::static_pointer_cast<BnVppSession>(::ndk::ICInterface::asInterface(_aidl_binder));
    switch (_aidl_code) {
        case (FIRST_CALL_TRANSACTION + 0 /*close*/): {
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->close(&_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 1 /*drain*/): {
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->drain(&_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 2 /*flush*/): {
            int32_t in_port{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_port);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->flush(in_port, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 3 /*getBufferRequirements*/): {
            int32_t in_port{};
            ::aidl::vendor::zux::hardware::vpp::VppBufferRequirements out_requirements{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_port);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status =
                _aidl_impl->getBufferRequirements(in_port, &out_requirements, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, out_requirements);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 4 /*init*/): {
            int32_t in_flags{};
            std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppCallbacks> in_callbacks{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_flags);
            if (_aidl_ret_status != STATUS_OK) break;

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_callbacks);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status =
                _aidl_impl->init(in_flags, in_callbacks, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 5 /*open*/): {
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->open(&_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 6 /*queueBuf*/): {
            int32_t in_port{};
            ::aidl::vendor::zux::hardware::vpp::VppBuffer in_buffer{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_port);
            if (_aidl_ret_status != STATUS_OK) break;

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_buffer);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status =
                _aidl_impl->queueBuf(in_port, in_buffer, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 7 /*getCtrlFrc*/): {
            ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc out_ctrl{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->getCtrlFrc(&out_ctrl, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, out_ctrl);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 8 /*getMode*/): {
            int32_t out_mode{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->getMode(&out_mode, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, out_mode);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 9 /*getParameter*/): {
            int32_t in_port{};
            ::aidl::vendor::zux::hardware::vpp::VppPortParam out_param{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_port);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status =
                _aidl_impl->getParameter(in_port, &out_param, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, out_param);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 10 /*getState*/): {
            int32_t out_state{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->getState(&out_state, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, out_state);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 11 /*getStats*/): {
            ::aidl::vendor::zux::hardware::vpp::VppStats out_stats{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->getStats(&out_stats, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, out_stats);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 12 /*reconfigure*/): {
            ::aidl::vendor::zux::hardware::vpp::VppPortParam in_inputParam{};
            ::aidl::vendor::zux::hardware::vpp::VppPortParam in_outputParam{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_inputParam);
            if (_aidl_ret_status != STATUS_OK) break;

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_outputParam);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status =
                _aidl_impl->reconfigure(in_inputParam, in_outputParam, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 13 /*resetStats*/): {
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->resetStats(&_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 14 /*setCtrlFrc*/): {
            ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc in_ctrl{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_ctrl);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->setCtrlFrc(in_ctrl, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 15 /*setDebugFlags*/): {
            int32_t in_flags{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_flags);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->setDebugFlags(in_flags, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 16 /*setFrameRate*/): {
            int32_t in_numerator{};
            int32_t in_denominator{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_numerator);
            if (_aidl_ret_status != STATUS_OK) break;

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_denominator);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status =
                _aidl_impl->setFrameRate(in_numerator, in_denominator, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 17 /*setMaxQueuedBuffers*/): {
            int32_t in_port{};
            int32_t in_count{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_port);
            if (_aidl_ret_status != STATUS_OK) break;

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_count);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status =
                _aidl_impl->setMaxQueuedBuffers(in_port, in_count, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 18 /*setName*/): {
            std::string in_name{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_name);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->setName(in_name, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 19 /*setMode*/): {
            int32_t in_mode{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_mode);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->setMode(in_mode, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 20 /*setParameter*/): {
            int32_t in_port{};
            ::aidl::vendor::zux::hardware::vpp::VppPortParam in_param{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_port);
            if (_aidl_ret_status != STATUS_OK) break;

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_param);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status =
                _aidl_impl->setParameter(in_port, in_param, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 21 /*setPriority*/): {
            int32_t in_priority{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_priority);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->setPriority(in_priority, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 22 /*setTimestampMode*/): {
            int32_t in_mode{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_mode);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status =
                _aidl_impl->setTimestampMode(in_mode, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 23 /*setPassThrough*/): {
            int32_t in_enable{};
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_enable);
            if (_aidl_ret_status != STATUS_OK) break;

            ::ndk::ScopedAStatus _aidl_status =
                _aidl_impl->setPassThrough(in_enable, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 24 /*ping*/): {
            ::aidl::vendor::zux::hardware::vpp::VppError _aidl_return{};

            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->ping(&_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

            _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;

            break;
        }
        case (FIRST_CALL_TRANSACTION + 25 /*term*/): {
            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->term();
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;

            if (!AStatus_isOk(_aidl_status.get())) break;

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

static AIBinder_Class* _g_aidl_vendor_zux_hardware_vpp_IVppSession_clazz =
    ::ndk::ICInterface::defineClass(IVppSession::descriptor,
                                    _aidl_vendor_zux_hardware_vpp_IVppSession_onTransact);

BpVppSession::BpVppSession(const ::ndk::SpAIBinder& binder) : BpCInterface(binder) {}
BpVppSession::~BpVppSession() {}

::ndk::ScopedAStatus BpVppSession::close(
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 0 /*close*/),
                                         _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->close(_aidl_return);
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
::ndk::ScopedAStatus BpVppSession::drain(
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 1 /*drain*/),
                                         _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->drain(_aidl_return);
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
::ndk::ScopedAStatus BpVppSession::flush(
    int32_t in_port, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_port);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 2 /*flush*/),
                                         _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->flush(in_port, _aidl_return);
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
::ndk::ScopedAStatus BpVppSession::getBufferRequirements(
    int32_t in_port, ::aidl::vendor::zux::hardware::vpp::VppBufferRequirements* out_requirements,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_port);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 3 /*getBufferRequirements*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->getBufferRequirements(
            in_port, out_requirements, _aidl_return);
        goto _aidl_status_return;
    }
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AParcel_readStatusHeader(_aidl_out.get(), _aidl_status.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    if (!AStatus_isOk(_aidl_status.get())) goto _aidl_status_return;
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), _aidl_return);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), out_requirements);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

_aidl_error:
    _aidl_status.set(AStatus_fromStatus(_aidl_ret_status));
_aidl_status_return:
    return _aidl_status;
}
::ndk::ScopedAStatus BpVppSession::init(
    int32_t in_flags,
    const std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppCallbacks>& in_callbacks,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_flags);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_callbacks);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 4 /*init*/),
                                         _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->init(in_flags, in_callbacks, _aidl_return);
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
::ndk::ScopedAStatus BpVppSession::open(
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 5 /*open*/),
                                         _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->open(_aidl_return);
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
::ndk::ScopedAStatus BpVppSession::queueBuf(
    int32_t in_port, const ::aidl::vendor::zux::hardware::vpp::VppBuffer& in_buffer,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_port);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_buffer);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 6 /*queueBuf*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->queueBuf(in_port, in_buffer, _aidl_return);
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
::ndk::ScopedAStatus BpVppSession::getCtrlFrc(
    ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc* out_ctrl,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 7 /*getCtrlFrc*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->getCtrlFrc(out_ctrl, _aidl_return);
        goto _aidl_status_return;
    }
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AParcel_readStatusHeader(_aidl_out.get(), _aidl_status.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    if (!AStatus_isOk(_aidl_status.get())) goto _aidl_status_return;
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), _aidl_return);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), out_ctrl);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

_aidl_error:
    _aidl_status.set(AStatus_fromStatus(_aidl_ret_status));
_aidl_status_return:
    return _aidl_status;
}
::ndk::ScopedAStatus BpVppSession::getMode(
    int32_t* out_mode, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 8 /*getMode*/),
                                         _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->getMode(out_mode, _aidl_return);
        goto _aidl_status_return;
    }
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AParcel_readStatusHeader(_aidl_out.get(), _aidl_status.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    if (!AStatus_isOk(_aidl_status.get())) goto _aidl_status_return;
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), _aidl_return);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), out_mode);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

_aidl_error:
    _aidl_status.set(AStatus_fromStatus(_aidl_ret_status));
_aidl_status_return:
    return _aidl_status;
}
::ndk::ScopedAStatus BpVppSession::getParameter(
    int32_t in_port, ::aidl::vendor::zux::hardware::vpp::VppPortParam* out_param,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_port);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 9 /*getParameter*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status =
            IVppSession::getDefaultImpl()->getParameter(in_port, out_param, _aidl_return);
        goto _aidl_status_return;
    }
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AParcel_readStatusHeader(_aidl_out.get(), _aidl_status.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    if (!AStatus_isOk(_aidl_status.get())) goto _aidl_status_return;
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), _aidl_return);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), out_param);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

_aidl_error:
    _aidl_status.set(AStatus_fromStatus(_aidl_ret_status));
_aidl_status_return:
    return _aidl_status;
}
::ndk::ScopedAStatus BpVppSession::getState(
    int32_t* out_state, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 10 /*getState*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->getState(out_state, _aidl_return);
        goto _aidl_status_return;
    }
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AParcel_readStatusHeader(_aidl_out.get(), _aidl_status.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    if (!AStatus_isOk(_aidl_status.get())) goto _aidl_status_return;
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), _aidl_return);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), out_state);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

_aidl_error:
    _aidl_status.set(AStatus_fromStatus(_aidl_ret_status));
_aidl_status_return:
    return _aidl_status;
}
::ndk::ScopedAStatus BpVppSession::getStats(
    ::aidl::vendor::zux::hardware::vpp::VppStats* out_stats,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 11 /*getStats*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->getStats(out_stats, _aidl_return);
        goto _aidl_status_return;
    }
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AParcel_readStatusHeader(_aidl_out.get(), _aidl_status.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    if (!AStatus_isOk(_aidl_status.get())) goto _aidl_status_return;
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), _aidl_return);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), out_stats);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

_aidl_error:
    _aidl_status.set(AStatus_fromStatus(_aidl_ret_status));
_aidl_status_return:
    return _aidl_status;
}
::ndk::ScopedAStatus BpVppSession::reconfigure(
    const ::aidl::vendor::zux::hardware::vpp::VppPortParam& in_inputParam,
    const ::aidl::vendor::zux::hardware::vpp::VppPortParam& in_outputParam,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_inputParam);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_outputParam);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 12 /*reconfigure*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status =
            IVppSession::getDefaultImpl()->reconfigure(in_inputParam, in_outputParam, _aidl_return);
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
::ndk::ScopedAStatus BpVppSession::resetStats(
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 13 /*resetStats*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->resetStats(_aidl_return);
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
::ndk::ScopedAStatus BpVppSession::setCtrlFrc(
    const ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc& in_ctrl,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_ctrl);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 14 /*setCtrlFrc*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->setCtrlFrc(in_ctrl, _aidl_return);
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
::ndk::ScopedAStatus BpVppSession::setDebugFlags(
    int32_t in_flags, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_flags);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 15 /*setDebugFlags*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->setDebugFlags(in_flags, _aidl_return);
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
::ndk::ScopedAStatus BpVppSession::setFrameRate(
    int32_t in_numerator, int32_t in_denominator,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_numerator);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_denominator);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 16 /*setFrameRate*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status =
            IVppSession::getDefaultImpl()->setFrameRate(in_numerator, in_denominator, _aidl_return);
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
::ndk::ScopedAStatus BpVppSession::setMaxQueuedBuffers(
    int32_t in_port, int32_t in_count, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_port);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_count);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 17 /*setMaxQueuedBuffers*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status =
            IVppSession::getDefaultImpl()->setMaxQueuedBuffers(in_port, in_count, _aidl_return);
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
::ndk::ScopedAStatus BpVppSession::setName(
    const std::string& in_name, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_name);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 18 /*setName*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->setName(in_name, _aidl_return);
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
::ndk::ScopedAStatus BpVppSession::setMode(
    int32_t in_mode, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_mode);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 19 /*setMode*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->setMode(in_mode, _aidl_return);
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
::ndk::ScopedAStatus BpVppSession::setParameter(
    int32_t in_port, const ::aidl::vendor::zux::hardware::vpp::VppPortParam& in_param,
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_port);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_param);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 20 /*setParameter*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->setParameter(in_port, in_param, _aidl_return);
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
::ndk::ScopedAStatus BpVppSession::setPriority(
    int32_t in_priority, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_priority);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 21 /*setPriority*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->setPriority(in_priority, _aidl_return);
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
::ndk::ScopedAStatus BpVppSession::setTimestampMode(
    int32_t in_mode, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_mode);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 22 /*setTimestampMode*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->setTimestampMode(in_mode, _aidl_return);
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
::ndk::ScopedAStatus BpVppSession::setPassThrough(
    int32_t in_enable, ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_enable);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status =
        AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 23 /*setPassThrough*/),
                          _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->setPassThrough(in_enable, _aidl_return);
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
::ndk::ScopedAStatus BpVppSession::ping(
    ::aidl::vendor::zux::hardware::vpp::VppError* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 24 /*ping*/),
                                         _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->ping(_aidl_return);
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
::ndk::ScopedAStatus BpVppSession::term() {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;

    _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AIBinder_transact(asBinder().get(), (FIRST_CALL_TRANSACTION + 25 /*term*/),
                                         _aidl_in.getR(), _aidl_out.getR(), 0);
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->term();
        goto _aidl_status_return;
    }
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    _aidl_ret_status = AParcel_readStatusHeader(_aidl_out.get(), _aidl_status.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

    if (!AStatus_isOk(_aidl_status.get())) goto _aidl_status_return;

_aidl_error:
    _aidl_status.set(AStatus_fromStatus(_aidl_ret_status));
_aidl_status_return:
    return _aidl_status;
}
::ndk::ScopedAStatus BpVppSession::getInterfaceVersion(int32_t* _aidl_return) {
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
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->getInterfaceVersion(_aidl_return);
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
::ndk::ScopedAStatus BpVppSession::getInterfaceHash(std::string* _aidl_return) {
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
    if (_aidl_ret_status == STATUS_UNKNOWN_TRANSACTION && IVppSession::getDefaultImpl()) {
        _aidl_status = IVppSession::getDefaultImpl()->getInterfaceHash(_aidl_return);
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
// Defined out of line so that callers may take its address (or bind a reference to it).
const int32_t IVppSession::version;
IVppSession::IVppSession() {}
IVppSession::~IVppSession() {}

std::shared_ptr<IVppSession> IVppSession::fromBinder(const ::ndk::SpAIBinder& binder) {
    if (!AIBinder_associateClass(binder.get(), _g_aidl_vendor_zux_hardware_vpp_IVppSession_clazz)) {
#if __ANDROID_API__ >= 31
        // Another class object with this interface's descriptor (e.g. from a second copy of this
        // code in the process): talk to it through a proxy.
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

binder_status_t IVppSession::writeToParcel(AParcel* parcel,
                                           const std::shared_ptr<IVppSession>& instance) {
    return AParcel_writeStrongBinder(parcel, instance ? instance->asBinder().get() : nullptr);
}
binder_status_t IVppSession::readFromParcel(const AParcel* parcel,
                                            std::shared_ptr<IVppSession>* instance) {
    ::ndk::SpAIBinder binder;
    binder_status_t status = AParcel_readStrongBinder(parcel, binder.getR());
    if (status != STATUS_OK) return status;
    *instance = IVppSession::fromBinder(binder);
    return STATUS_OK;
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
