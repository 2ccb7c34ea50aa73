// Snapshot of the interface vendor.zux.hardware.vpp made by scripts/device_build.py from the .aidl
// sources: declarations only. A frozen version never changes once shipped.
package vendor.zux.hardware.vpp;
import android.hardware.common.NativeHandle;
import vendor.zux.hardware.vpp.VppBufferMetadata;
@VintfStability
parcelable VppBuffer {
    NativeHandle bufferHandle;
    int offset;
    int bufferLen;
    int filledLen;
    int allocLen;
    NativeHandle extraHandle;
    long extraOffset;
    long extraLen;
    VppBufferMetadata[] metadata;
    int flags;
    long timestamp;
    long portType;
    long cookie;
}
