// Private parts of the motion interpolator shared by its stage files: tuning constants, the
// working data of a frame pair, and the interpolator's state (MotionInterpolator::Impl).
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

#include "dsp.h"
#include "frc/motion.h"
#include "plane.h"
#include "work_pool.h"

namespace frc {
namespace detail {

constexpr int kBlock = 8;      // luma block size of the motion field at every pyramid level
constexpr int kMaxLevels = 5;  // full resolution plus up to four halvings
constexpr int kMaxRange = 256;

// A block's best match counts as bad when its SAD exceeds kBadShare/8 of the block's texture
// activity plus a noise allowance (measured per picture, at least kNoise per pixel): a true match
// leaves only sub-pixel and noise residue, far below the activity, while a chance match in
// unrelated content does not.
constexpr int kBadShare = 1;
constexpr int kNoise = 4;
// Neighbouring vectors closer than this (L1, 1/16 pixel) agree with each other.
constexpr int kAgree = 32;
// Mean absolute difference per pixel below which two frames agree on a pixel's motion.
constexpr int kAgreeNoise = 12;
// A vector this far (L1, 1/16 pixel) from the median around it needs wide support.
constexpr int kFar = 32 * 16;
// Motions around a block that differ by more than this (L1, 1/16 pixel) make it a border.
constexpr int kBorder = 32;
// A pair is a scene cut when more than this share (in 1/256) of the blocks match badly.
constexpr int kCutShare = 128;
// Cost per pixel of displacement away from the block's predicted vector, in SAD units.
constexpr int kLambda = 4;
// Repetitive texture is looked for at this pyramid level (or the coarsest one below it), with
// periods up to kLongestPeriod full-resolution pixels along each axis.
constexpr int kPeriodLevel = 2;
constexpr int kLongestPeriod = 32;
// Levels from which on the search passes over the whole grid (finer ones: in bands of rows).
constexpr int kBackwardLevel = 2;
// Best matches of other motions kept per block of the coarsest level, offered to finer levels.
constexpr int kAlternates = 2;
// At most this many badly matched blocks are paired up in the search for small fast objects.
constexpr int kFastObjectBlocks = 64;
// No foreground hint for a block.
constexpr int kNoHint = 1 << 30;

// Finer levels are searched in independent bands of this many block rows.
constexpr int kSearchBandRows = 24;

// Frame from which pixels hidden in the other frame are taken.
constexpr uint8_t kEarlierOnly = 1;
constexpr uint8_t kLaterOnly = 2;

// A displacement; trivially constructible so that scratch arrays cost nothing (Vec() and
// Vec{} are zero).
struct Vec {
    int x;
    int y;
    // (Both components at once: the search compares vectors in its innermost loops.)
    bool operator==(const Vec& o) const {
        uint64_t a;
        uint64_t b;
        std::memcpy(&a, this, sizeof a);
        std::memcpy(&b, &o, sizeof b);
        return a == b;
    }
    bool operator!=(const Vec& o) const { return !(*this == o); }
};

// Floor of a / 2 (the shift is arithmetic for negative values).
inline int halfFloor(int a) {
    return a >> 1;
}
inline int64_t floorDiv(int64_t a, int64_t b) {
    return a >= 0 ? a / b : -((-a + b - 1) / b);
}
// a / b rounded to nearest, halves away from minus infinity (b > 0).
// Wide arguments: phase products k * v stay exact for any phase denominator.
inline int roundDiv(int64_t a, int64_t b) {
    return static_cast<int>(floorDiv(2 * a + b, 2 * b));
}
inline int clampInt(int v, int lo, int hi) {
    return std::min(std::max(v, lo), hi);
}

struct FrameData {
    PaddedPlane planes[3];            // full-resolution copies: luma and chroma
    PaddedPlane pyramid[kMaxLevels];  // luma at 1/2^l for l >= 1 (entry 0 unused)
    const PaddedPlane& level(int l) const { return l == 0 ? planes[0] : pyramid[l]; }
    // Picture origins and strides for the matching cost, per pyramid level.
    const uint8_t* levelOrigin[kMaxLevels] = {};
    ptrdiff_t levelStride[kMaxLevels] = {};
};

struct Field {
    int nbx = 0;
    int nby = 0;
    std::vector<Vec> v;
    std::vector<int> cost;
    void resize(int bx, int by) {
        nbx = bx;
        nby = by;
        v.assign(static_cast<size_t>(bx) * by, Vec());
        cost.assign(static_cast<size_t>(bx) * by, 0);
    }
};

// Geometry of one plane's overlapped-block accumulation. The accumulator holds two block rows
// of windows (a window is two blocks tall) and slides down the picture one block row at a time.
struct AccPlane {
    int bs = 0;                             // block size in elements
    int step = 1;                           // bytes per element
    int origin = 0;                         // accumulator element of plane element 0 of a row
    ptrdiff_t width = 0;                    // accumulator row, in entries
    alignas(32) uint16_t weights[16 * 16];  // window weights (scaled by 256), 16 per row

    void setup(int blockSize, int elementBytes, int nbx) {
        bs = blockSize;
        step = elementBytes;
        // The accumulator spans the windows of a ring of virtual blocks around the grid (they
        // take the vectors of the nearest real block) so that edge pixels get full weight.
        origin = bs + bs / 2;
        width = static_cast<ptrdiff_t>(nbx + 3) * bs * step;
        // Ramps sum to 16 across overlapping windows; their products to 256.
        const int win = 2 * bs;
        int ramp[16];
        for (int i = 0; i < win; ++i) ramp[i] = (i < bs ? 2 * i + 1 : 2 * (win - i) - 1) * 8 / bs;
        for (int r = 0; r < 16; ++r) {
            for (int c = 0; c < 16; ++c) {
                const bool inside = r < win && c < win * step;
                weights[r * 16 + c] =
                    inside ? static_cast<uint16_t>(ramp[r] * ramp[c / step] * 256) : 0;
            }
        }
    }
    // Entries of the sliding accumulator: two block rows, and slack for the widest kernel row.
    size_t size() const { return static_cast<size_t>(width) * 2 * bs + 16; }
    // Entry of the window of the block at column bx (-1 .. nbx) in the accumulator's top row.
    size_t windowOffset(int bx) const {
        return static_cast<size_t>(bx * bs - bs / 2 + origin) * step;
    }
};

}  // namespace detail

// The engine's private names are the interpolator files' own vocabulary.
using namespace detail;  // NOLINT(google-build-using-namespace)

struct MotionInterpolator::Impl {
    MotionParams params;
    const detail::Dsp& dsp = detail::dsp();
    MotionStats stats;

    PixelFormat format = PixelFormat::kNv12;
    int width = 0;
    int height = 0;
    int frameCount = 0;  // frames of the current stream pushed so far
    int range = 0;       // search range at full resolution
    int levels = 1;      // pyramid levels in use (1 = full resolution only)
    int nbx = 0;         // level-0 block grid
    int nby = 0;

    FrameData frames[2];
    int latest = 0;  // index in frames of the most recent frame

    Field fields[kMaxLevels];
    std::vector<Vec> mv16;          // level-0 vectors in 1/16 pixel, from previous to latest
    std::vector<Vec> previousMv16;  // the same for the pair before, a temporal predictor
    bool havePreviousField = false;
    std::vector<uint8_t> useMotion;  // per level-0 block: 1 compensate, 0 blend
    std::vector<uint8_t> periods;    // per block of the period level: x and y period (0: none)
    int periodLevel = 0;
    std::vector<size_t> repairQueue;
    std::vector<int64_t> supportKeys;
    std::vector<uint8_t> trust;
    std::vector<uint8_t> nearBorder;  // per level-0 block: a different motion within two blocks
    std::vector<uint8_t> dilated;
    std::vector<uint8_t> onBorder;  // per level-0 block: a neighbour moves differently  // per
                                    // block of the level being searched
    // Blocks between two motions, finished pixel by pixel after block compensation.
    struct Repair {
        size_t idx;
        Vec vecs[3];  // the background's vector first, then others seen around the block
        int count;
        uint8_t side;  // frame that shows the background where the frames disagree
    };
    std::vector<Repair> repairs;
    std::vector<uint8_t> badMatch;  // per level-0 block: 1 poor best match, 2 isolated vector
    bool sceneCut = false;
    std::vector<int> badList;         // level-0 blocks with a bad match, for the fast-object search
    std::vector<uint8_t> fastObject;  // per level-0 block: takes a fast object's motion
    std::vector<Vec> fastHint;  // per level-0 block: a fast object's motion (1/16 px) or kNoHint

    AccPlane accGeometry[2];  // overlapped-block accumulation: luma, chroma
    // Sliding accumulators of one band of the picture: luma and up to two chroma planes.
    struct BandScratch {
        std::vector<uint16_t> acc[3];
    };
    std::vector<BandScratch> bandScratch;  // one per thread
    std::vector<Vec> sortBuffer;
    std::vector<Vec> alternates;  // kAlternates per block of the coarsest level
    std::vector<int> activity;    // per block of the level being classified: texture activity
    std::vector<int> activityRank;
    int noise = kNoise * kBlock * kBlock;  // level 0: SAD a true 8x8 match may leave
    std::vector<int> aroundCost;  // per level-0 block: SAD at the final vector -x, +x, -y, +y
    Vec dominant[2] = {};
    int numDominant = 0;

    const FrameData& prev() const { return frames[latest ^ 1]; }
    const FrameData& cur() const { return frames[latest]; }

    void configure(const ConstFrameView& f);
    void load(FrameData& fd, const ConstFrameView& f);
    void estimate();
    int cost(int level, int bx, int by, Vec v) const;
    void searchLevel(int level);
    void findDominant(int level);
    void competeAtBorders();
    void distrustBadMatches(int level);
    void refineSubpixel();
    void classify();
    int measureNoise(int level, bool withCosts);
    void findPeriods();
    void findFastObjects();
    void repairOcclusion(size_t idx, bool boundary);
    void finishRepairs(int k, int n, const FrameView& dst) const;
    int supportOf(Vec v) const;
    void buildSupport();
    int periodAt(int bx, int by, int axis) const;
    void compensate(int k, int n, const FrameView& dst);
    void compensateBand(int k, int n, const FrameView& dst, int firstRow, int endRow,
                        BandScratch& scratch) const;
    int threadCount() const;
    // Runs fn(0) .. fn(count - 1) on up to threadCount() threads (the caller and the pool's).
    template <typename Fn>
    void parallelFor(int count, const Fn& fn) const {
        const int threads = std::min(count, threadCount());
        if (threads <= 1) {
            for (int i = 0; i < count; ++i) fn(i);
            return;
        }
        pool.run(count, threads, std::function<void(int)>(std::cref(fn)));
    }
    // Workers for parallelFor, kept between frames (destroyed first: they touch everything).
    mutable WorkPool pool;
};

}  // namespace frc
