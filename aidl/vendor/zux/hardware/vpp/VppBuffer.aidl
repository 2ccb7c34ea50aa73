// A buffer exchanged between a client and a session: its memory, sizes, flags, timestamp and the
// client's cookie, which comes back unchanged when the session returns the buffer. A returned
// buffer carries no descriptors: the client knows it by its cookie. An input end-of-stream marker
// without memory is returned through inputBufferDone like any other input.
package vendor.zux.hardware.vpp;

import android.hardware.common.NativeHandle;
import vendor.zux.hardware.vpp.VppBufferMetadata;

@VintfStability
parcelable VppBuffer {
    // The frame's memory.
    NativeHandle bufferHandle;
    // Offset of the data in the buffer.
    int offset;
    // Size of the image in bytes.
    int bufferLen;
    // Bytes of valid data: the image size for input, set by the session for output.
    int filledLen;
    // Allocated bytes.
    int allocLen;
    // A second memory region, unused by the frame-rate converter.
    NativeHandle extraHandle;
    long extraOffset;
    long extraLen;
    VppBufferMetadata[] metadata;
    // Bit 0 (value 1): end of stream.
    int flags;
    // Presentation time of the frame.
    long timestamp;
    long portType;
    // The client's own value, returned with the buffer.
    long cookie;
}
