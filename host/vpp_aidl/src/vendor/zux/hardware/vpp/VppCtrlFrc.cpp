// VppCtrlFrc: descriptor and parcel encoding.
#include <aidl/vendor/zux/hardware/vpp/VppCtrlFrc.h>
#include <android/binder_parcel_utils.h>

#include <cstdint>

namespace aidl {
namespace vendor {
namespace zux {
namespace hardware {
namespace vpp {
const char* VppCtrlFrc::descriptor = "vendor.zux.hardware.vpp.VppCtrlFrc";
// Defined out of line so that callers may take its address (or bind a reference to it).
const ::ndk::parcelable_stability_t VppCtrlFrc::_aidl_stability;

binder_status_t VppCtrlFrc::readFromParcel(const AParcel* _aidl_parcel) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    int32_t _aidl_start_pos = AParcel_getDataPosition(_aidl_parcel);
    int32_t _aidl_parcelable_size = 0;
    _aidl_ret_status = AParcel_readInt32(_aidl_parcel, &_aidl_parcelable_size);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;

    if (_aidl_parcelable_size < 4) return STATUS_BAD_VALUE;
    if (_aidl_start_pos > INT32_MAX - _aidl_parcelable_size) return STATUS_BAD_VALUE;
    // A parcelable written by an older peer ends early: the remaining fields keep their
    // defaults.
    if (AParcel_getDataPosition(_aidl_parcel) - _aidl_start_pos >= _aidl_parcelable_size) {
        (void)AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos + _aidl_parcelable_size);
        return _aidl_ret_status;
    }
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_parcel, &mode);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;

    if (AParcel_getDataPosition(_aidl_parcel) - _aidl_start_pos >= _aidl_parcelable_size) {
        (void)AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos + _aidl_parcelable_size);
        return _aidl_ret_status;
    }
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_parcel, &factor);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;

    if (AParcel_getDataPosition(_aidl_parcel) - _aidl_start_pos >= _aidl_parcelable_size) {
        (void)AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos + _aidl_parcelable_size);
        return _aidl_ret_status;
    }
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_parcel, &searchRange);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;

    if (AParcel_getDataPosition(_aidl_parcel) - _aidl_start_pos >= _aidl_parcelable_size) {
        (void)AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos + _aidl_parcelable_size);
        return _aidl_ret_status;
    }
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_parcel, &rateNum);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;

    if (AParcel_getDataPosition(_aidl_parcel) - _aidl_start_pos >= _aidl_parcelable_size) {
        (void)AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos + _aidl_parcelable_size);
        return _aidl_ret_status;
    }
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_parcel, &rateDen);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;

    // Skips fields added by a newer peer.
    (void)AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos + _aidl_parcelable_size);
    return _aidl_ret_status;
}

binder_status_t VppCtrlFrc::writeToParcel(AParcel* _aidl_parcel) const {
    binder_status_t _aidl_ret_status;
    int32_t _aidl_start_pos = AParcel_getDataPosition(_aidl_parcel);
    _aidl_ret_status = AParcel_writeInt32(_aidl_parcel, 0);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_parcel, mode);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_parcel, factor);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_parcel, searchRange);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_parcel, rateNum);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;

    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_parcel, rateDen);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;

    // The size prefix counts itself and every field.
    int32_t _aidl_end_pos = AParcel_getDataPosition(_aidl_parcel);
    (void)AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos);
    (void)AParcel_writeInt32(_aidl_parcel, _aidl_end_pos - _aidl_start_pos);
    (void)AParcel_setDataPosition(_aidl_parcel, _aidl_end_pos);
    return _aidl_ret_status;
}
}  // namespace vpp
}  // namespace hardware
}  // namespace zux
}  // namespace vendor
}  // namespace aidl
