// Frame-rate conversion control of a session.
package vendor.zux.hardware.vpp;

@VintfStability
parcelable VppCtrlFrc {
    // 0: off (every input frame passes through, one output per input), 1: repeat (each input
    // frame is repeated), 2: blend (in-between frames are weighted averages of the two
    // neighbouring inputs), 3: motion (motion-compensated interpolation, falling back to blend
    // where the motion search fails).
    int mode;
    // Output frames per input frame, 2 to 8; ignored when mode is 0.
    int factor;
    // Largest motion vector searched, in luma pixels; 0 lets the service choose. Fixed when the
    // session opens.
    int searchRange;
}
