// Event sent when a flush of a port has returned every buffer held on that port.
package vendor.zux.hardware.vpp;

@VintfStability
parcelable FlushDone {
    // The port that was flushed: 0 input, 1 output.
    int port;
}
