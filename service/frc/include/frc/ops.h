// Per-frame operations of frame-rate conversion that need no state: copy and weighted blend.
#pragma once

#include "frc/frame.h"

namespace frc {

// Copies every plane of `src` into `dst` (same format and size; strides may differ).
// Returns false, touching nothing, when the views are invalid or differ in geometry.
bool copyFrame(const ConstFrameView& src, const FrameView& dst);

// Writes the in-between frame at phase k/n between `a` (phase 0) and `b` (phase 1):
//     dst = (a * (n - k) + b * k + n / 2) / n     per sample, integer division,
// i.e. the weighted average rounded to nearest with ties rounded up (for n = 2 this is the
// usual (a + b + 1) >> 1). k = 0 yields `a` and k = n yields `b` bit-exactly. Requires
// 1 <= n <= kMaxBlendDenominator and 0 <= k <= n; returns false, touching nothing, otherwise or
// when the views are invalid or differ in geometry. `dst` may alias `a` or `b` plane by plane.
bool blendFrames(const ConstFrameView& a, const ConstFrameView& b, int k, int n,
                 const FrameView& dst);
constexpr int kMaxBlendDenominator = 65535;

}  // namespace frc
