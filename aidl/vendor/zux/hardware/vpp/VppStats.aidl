// Counters of a session since it was opened (or since resetStats).
package vendor.zux.hardware.vpp;

@VintfStability
parcelable VppStats {
    long inputBuffersQueued;
    long inputBuffersDone;
    long outputBuffersQueued;
    long outputBuffersDone;
    // Output frames produced by interpolation (not copies of an input frame).
    long interpolatedFrames;
    // Interpolated frames for which the motion search failed and a blend was produced instead.
    long fallbackFrames;
    // Total time spent processing, in nanoseconds.
    long processingTimeNs;
}
