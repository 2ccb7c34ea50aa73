// What a port needs of the buffers queued on it.
package vendor.zux.hardware.vpp;

@VintfStability
parcelable VppBufferRequirements {
    // Buffers the client should keep queued for the session to make progress.
    int minBufferCount;
    // Bytes one buffer must hold for the port's current parameters.
    int bufferSize;
}
