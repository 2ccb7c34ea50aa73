// libFuzzer target: parcel decoding. The input's first byte counts the selector bytes that follow
// it; the rest becomes a parcel's data (as AParcel_unmarshal takes it). Each selector runs one
// reader from the parcel's current position: the NDK's typed readers, vectors, nullable values,
// objects (which data alone never holds) and every parcelable of the VPP interface, so a
// hostile peer's parcel meets the same code a real call's does.
#include <aidl/vendor/zux/hardware/vpp/FlushDone.h>
#include <aidl/vendor/zux/hardware/vpp/ReconfigDone.h>
#include <aidl/vendor/zux/hardware/vpp/VppBuffer.h>
#include <aidl/vendor/zux/hardware/vpp/VppBufferMetadata.h>
#include <aidl/vendor/zux/hardware/vpp/VppBufferRequirements.h>
#include <aidl/vendor/zux/hardware/vpp/VppCtrlFrc.h>
#include <aidl/vendor/zux/hardware/vpp/VppPortParam.h>
#include <aidl/vendor/zux/hardware/vpp/VppStats.h>
#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>
#include <android/binder_parcel_utils.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace {

namespace vpp = ::aidl::vendor::zux::hardware::vpp;

template <typename T>
void ReadNullableData(const AParcel* parcel) {
    T value{};
    (void)ndk::AParcel_readNullableData(parcel, &value);
}

template <typename P>
void ReadParcelable(const AParcel* parcel) {
    P value;
    (void)value.readFromParcel(parcel);
}

template <typename T>
void ReadData(const AParcel* parcel) {
    T value{};
    (void)ndk::AParcel_readData(parcel, &value);
}

void RunReader(uint8_t selector, const AParcel* parcel) {
    switch (selector % 24) {
        case 0:
            ReadData<int32_t>(parcel);
            break;
        case 1:
            ReadData<int64_t>(parcel);
            break;
        case 2:
            ReadData<bool>(parcel);
            break;
        case 3:
            ReadData<std::string>(parcel);
            break;
        case 4:
            ReadNullableData<std::optional<std::string>>(parcel);
            break;
        case 5:
            ReadData<std::vector<int32_t>>(parcel);
            break;
        case 6:
            ReadData<std::vector<int64_t>>(parcel);
            break;
        case 7:
            ReadData<std::vector<uint8_t>>(parcel);
            break;
        case 8:
            ReadData<std::vector<std::string>>(parcel);
            break;
        case 9:
            ReadNullableData<ndk::ScopedFileDescriptor>(parcel);
            break;
        case 10:
            ReadNullableData<ndk::SpAIBinder>(parcel);
            break;
        case 11:
            ReadData<vpp::VppError>(parcel);
            break;
        case 12:
            ReadParcelable<vpp::VppBuffer>(parcel);
            break;
        case 13:
            ReadParcelable<vpp::VppBufferMetadata>(parcel);
            break;
        case 14:
            ReadParcelable<vpp::VppBufferRequirements>(parcel);
            break;
        case 15:
            ReadParcelable<vpp::VppCtrlFrc>(parcel);
            break;
        case 16:
            ReadParcelable<vpp::VppPortParam>(parcel);
            break;
        case 17:
            ReadParcelable<vpp::VppStats>(parcel);
            break;
        case 18:
            ReadParcelable<vpp::FlushDone>(parcel);
            break;
        case 19:
            ReadParcelable<vpp::ReconfigDone>(parcel);
            break;
        case 20:
            ReadNullableData<std::optional<vpp::VppBuffer>>(parcel);
            break;
        case 21:
            ReadData<std::vector<vpp::VppBuffer>>(parcel);
            break;
        case 22: {
            AStatus* status = nullptr;
            if (AParcel_readStatusHeader(parcel, &status) == STATUS_OK) AStatus_delete(status);
            break;
        }
        default:
            // Back to a position the data chose, in or out of range.
            (void)AParcel_setDataPosition(parcel, static_cast<int32_t>(selector) * 4 - 64);
            break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const size_t selectors = std::min<size_t>(data[0] % 32, size - 1);
    const uint8_t* payload = data + 1 + selectors;
    const size_t payloadSize = size - 1 - selectors;
    ndk::ScopedAParcel parcel(AParcel_create());
    if (AParcel_unmarshal(parcel.get(), payload, payloadSize) != STATUS_OK) return 0;
    (void)AParcel_setDataPosition(parcel.get(), 0);
    for (size_t i = 0; i < selectors; ++i) RunReader(data[1 + i], parcel.get());
    // Every parcelable once more from the start, whatever the selectors were.
    for (uint8_t selector = 12; selector <= 21; ++selector) {
        (void)AParcel_setDataPosition(parcel.get(), 0);
        RunReader(selector, parcel.get());
    }
    return 0;
}
