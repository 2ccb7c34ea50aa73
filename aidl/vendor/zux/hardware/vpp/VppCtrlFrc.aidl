// Frame-rate conversion control of a session.
package vendor.zux.hardware.vpp;

@VintfStability
parcelable VppCtrlFrc {
    // 0: off (every input frame passes through, one output per input), 1: repeat (each input
    // frame is repeated), 2: blend (in-between frames are weighted averages of the two
    // neighbouring inputs), 3: motion (motion-compensated interpolation, falling back to blend
    // where the motion search fails).
    int mode;
    // Output frames per input frame, 2 to 8; ignored when mode is 0 or when rateNum is set.
    int factor;
    // Largest motion vector searched, in luma pixels; 0 lets the service choose. Fixed when the
    // session opens.
    int searchRange;
    // Output/input frame-rate ratio rateNum / rateDen, for rates that are not a whole multiple
    // of the input's (24 to 60 frames/s is 5 / 2; 24 to 60000/1001 is 60000 / 24024). Both 0 (the
    // default, and what a client that predates these fields sends): factor applies. Otherwise
    // both must be positive, the ratio from 1 to 8, and each term at most 65535 once reduced to
    // lowest terms p / q; anything else is refused with VPP_ERR_PARAM. Ignored when mode is 0.
    //
    // With a ratio, output j of a stream lies at input position j * q / p: it is input i =
    // floor(j * q / p) itself when j * q / p is whole, else the frame at phase
    // (j * q - i * p) / p of the way from input i to input i + 1, made as the mode says, with the
    // timestamp tI + (j * q - i * p) * (tI+1 - tI) / p (integer arithmetic, truncating). The end
    // of the stream adds the last input when it lies on that grid, so M inputs give
    // floor((M - 1) * p / q) + 1 outputs, as M inputs give (M - 1) * factor + 1 with a factor.
    int rateNum;
    int rateDen;
}
