// Motion-compensated interpolation between consecutive frames, with per-block fallback to blend.
#pragma once

#include <cstdint>
#include <memory>

#include "frc/frame.h"

namespace frc {

// Tuning of the motion search.
struct MotionParams {
    // Largest motion searched between two input frames, in luma pixels per axis; 0 picks a
    // value from the frame size (at most 128). Larger ranges cost memory, not search time.
    int searchRange = 0;
    // Threads that share the work on a frame (bands of rows); 0: one per core of the machine.
    int threads = 0;
};

// What the interpolator did, accumulated over its lifetime.
struct MotionStats {
    uint64_t pairs = 0;           // frame pairs analysed
    uint64_t sceneCuts = 0;       // pairs treated as a scene cut (whole frame blended)
    uint64_t blocks = 0;          // 8x8 luma blocks analysed
    uint64_t fallbackBlocks = 0;  // blocks blended instead of motion-compensated (cuts included)
};

// Holds the two most recent input frames of one stream (in its own padded copies, so callers
// may reuse their buffers after push()) and the motion field between them.
//
// Use: push(frame0); push(frame1); interpolate(k, n, dst) for each phase; push(frame2); ...
// The motion field is estimated once per pair in push() and serves every phase of the pair.
// Objects are independent of each other (no shared state): one per session and thread.
class MotionInterpolator {
  public:
    explicit MotionInterpolator(const MotionParams& params = MotionParams());
    ~MotionInterpolator();
    MotionInterpolator(const MotionInterpolator&) = delete;
    MotionInterpolator& operator=(const MotionInterpolator&) = delete;

    // Takes the next frame of the stream. A frame whose format or size differs from the
    // previous one starts a new stream. Returns false for an invalid view.
    bool push(const ConstFrameView& frame);

    // True once two frames of the same stream were pushed.
    bool hasPair() const;

    // Writes the frame at phase k/n between the two latest frames (0 < k < n) into `dst`,
    // which must have their format and size. Returns false when there is no pair or the
    // arguments are invalid.
    bool interpolate(int k, int n, const FrameView& dst);

    // True when the latest pair was judged a scene cut (interpolate() then blends).
    bool lastPairWasSceneCut() const;

    // Forgets the frames (the next push starts a new stream); statistics are kept.
    void reset();

    const MotionStats& stats() const;

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace frc
