// A piece of side data attached to a buffer.
package vendor.zux.hardware.vpp;

import android.hardware.common.NativeHandle;

@VintfStability
parcelable VppBufferMetadata {
    // What the data is.
    String key;
    // Memory that holds the data, if any.
    NativeHandle handle;
    long offset;
    long length;
    long value;
}
