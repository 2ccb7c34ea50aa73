// Motion-compensated interpolation: the public interface, frame loading and the matching cost.
// The stages live in their own files: motion_search.cpp (block matching), motion_repair.cpp
// (classification, scene cuts, occlusion repair) and motion_compensate.cpp (rendering).
#include "frc/motion.h"

#ifdef __linux__
#include <sched.h>
#endif

#include <algorithm>
#include <cstdlib>
#include <thread>

#include "frc/ops.h"
#include "motion_impl.h"

namespace frc {

void MotionInterpolator::Impl::configure(const ConstFrameView& f) {
    format = f.format;
    width = f.width;
    height = f.height;
    range = params.searchRange > 0 ? std::min(params.searchRange, kMaxRange)
                                   : clampInt(std::max(width, height) / 4, 32, 128);
    // Halve while the coarser level keeps at least 96 columns and a row of blocks: short
    // pictures keep a (shallower) pyramid, so the exhaustive search at the coarsest level
    // stays small.
    levels = 1;
    while (levels < kMaxLevels && (width >> levels) >= 96 && (height >> levels) >= kBlock) {
        ++levels;
    }
    nbx = (width + kBlock - 1) / kBlock;
    nby = (height + kBlock - 1) / kBlock;

    const int cw = chromaWidth(width);
    const int ch = chromaHeight(height);
    const int chromaPad = range / 2 + 24;
    for (FrameData& fd : frames) {
        fd.planes[0].allocate(width, height, range + 32, 1);
        if (format == PixelFormat::kI420) {
            fd.planes[1].allocate(cw, ch, chromaPad, 1);
            fd.planes[2].allocate(cw, ch, chromaPad, 1);
        } else {
            fd.planes[1].allocate(cw, ch, chromaPad, 2);
        }
        int w = width;
        int h = height;
        for (int l = 1; l < levels; ++l) {
            w = (w + 1) / 2;
            h = (h + 1) / 2;
            fd.pyramid[l].allocate(w, h, ((range + (1 << l) - 1) >> l) + 32, 1);
        }
    }
    for (int l = 0; l < levels; ++l) {
        const int w = (width + (1 << l) - 1) >> l;
        const int h = (height + (1 << l) - 1) >> l;
        fields[l].resize((w + kBlock - 1) / kBlock, (h + kBlock - 1) / kBlock);
    }
    alternates.assign(fields[levels - 1].v.size() * kAlternates, Vec());
    mv16.assign(static_cast<size_t>(nbx) * nby, Vec());
    previousMv16 = mv16;
    useMotion.assign(mv16.size(), 0);
    aroundCost.assign(mv16.size() * 4, -1);
    onBorder.assign(mv16.size(), 0);
    badMatch.assign(mv16.size(), 0);
    havePreviousField = false;
    frameCount = 0;
}

void MotionInterpolator::Impl::load(FrameData& fd, const ConstFrameView& f) {
    // The planes are copied side by side; then the pyramid is built from the luma copy.
    const int chroma = format == PixelFormat::kI420 ? 2 : 1;
    parallelFor(1 + chroma, [&](int p) { fd.planes[p].load(f.planes[p], f.strides[p]); });
    for (int l = 1; l < levels; ++l) fd.level(l - 1).downsampleInto(fd.pyramid[l]);
    for (int l = 0; l < levels; ++l) {
        fd.levelOrigin[l] = fd.level(l).row(0);
        fd.levelStride[l] = fd.level(l).stride();
    }
}

// Symmetric matching cost: the block of the in-between frame at (bx, by) seen through vector v
// (from the previous frame to the latest, in pixels of this level) in both frames. For odd
// components the previous frame takes the larger half.
int MotionInterpolator::Impl::cost(int level, int bx, int by, Vec v) const {
    const FrameData& fa = prev();
    const FrameData& fb = cur();
    const ptrdiff_t stride = fa.levelStride[level];
    const int ax = -halfFloor(v.x + 1);
    const int ay = -halfFloor(v.y + 1);
    const int bxv = ax + v.x;
    const int byv = ay + v.y;
    const ptrdiff_t origin = static_cast<ptrdiff_t>(by) * kBlock * stride + bx * kBlock;
    if (level == 0) {
        // Level 0 works in half pixels: each side is sampled at its half-pixel phase as it is
        // read (precomputed half-pel planes would quadruple what the search reads from memory).
        return dsp.sad8x8Half(fa.levelOrigin[0] + origin + halfFloor(ay) * stride + halfFloor(ax),
                              (ax & 1) | ((ay & 1) << 1),
                              fb.levelOrigin[0] + origin + halfFloor(byv) * stride + halfFloor(bxv),
                              (bxv & 1) | ((byv & 1) << 1), stride);
    }
    return dsp.sad8x8(fa.levelOrigin[level] + origin + ay * stride + ax,
                      fb.levelOrigin[level] + origin + byv * stride + bxv, stride);
}

void MotionInterpolator::Impl::estimate() {
    numDominant = 0;
    findPeriods();
    for (int l = levels - 1; l >= 0; --l) {
        searchLevel(l);
    }
    refineSubpixel();
    classify();
}

int MotionInterpolator::Impl::threadCount() const {
    if (params.threads > 0) return params.threads;
#ifdef __linux__
    // The cores this process may run on (fewer than the machine's when pinned).
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) == 0) return std::max(1, CPU_COUNT(&set));
#endif
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

MotionInterpolator::MotionInterpolator(const MotionParams& params) : impl_(new Impl) {
    impl_->params = params;
}

MotionInterpolator::~MotionInterpolator() = default;

bool MotionInterpolator::push(const ConstFrameView& frame) {
    Impl& s = *impl_;
    if (!frame.valid()) return false;
    if (s.frameCount == 0 || frame.format != s.format || frame.width != s.width ||
        frame.height != s.height) {
        s.configure(frame);
    }
    s.latest ^= 1;
    s.load(s.frames[s.latest], frame);
    ++s.frameCount;
    if (s.frameCount >= 2) {
        s.estimate();
        s.previousMv16 = s.mv16;
        s.havePreviousField = true;
    }
    return true;
}

bool MotionInterpolator::hasPair() const {
    return impl_->frameCount >= 2;
}

bool MotionInterpolator::interpolate(int k, int n, const FrameView& dst) {
    Impl& s = *impl_;
    if (!hasPair() || n < 2 || k <= 0 || k >= n || !dst.valid() || dst.format != s.format ||
        dst.width != s.width || dst.height != s.height) {
        return false;
    }
    if (s.sceneCut) {
        // Nothing to compensate: the exact blend of the two frames.
        ConstFrameView views[2];
        for (int i = 0; i < 2; ++i) {
            const FrameData& fd = s.frames[s.latest ^ (i == 0 ? 1 : 0)];
            views[i].format = s.format;
            views[i].width = s.width;
            views[i].height = s.height;
            for (int p = 0; p < planeCount(s.format); ++p) {
                views[i].planes[p] = fd.planes[p].row(0);
                views[i].strides[p] = fd.planes[p].stride();
            }
        }
        // The blend takes phases in sixteenths at the finest; a finer phase is rounded.
        if (n > 16) {
            k = static_cast<int>((int64_t{k} * 16 + n / 2) / n);
            n = 16;
        }
        return blendFrames(views[0], views[1], k, n, dst);
    }
    s.compensate(k, n, dst);
    s.finishRepairs(k, n, dst);
    return true;
}

bool MotionInterpolator::lastPairWasSceneCut() const {
    return hasPair() && impl_->sceneCut;
}

void MotionInterpolator::reset() {
    impl_->frameCount = 0;
    impl_->havePreviousField = false;
}

const MotionStats& MotionInterpolator::stats() const {
    return impl_->stats;
}

}  // namespace frc
