// Motion-compensated interpolation: hierarchical symmetric block matching on luma, sub-pixel
// refinement, vector smoothing, per-block and per-frame fallback to blend, and overlapped-block
// compensation with bilinear sampling from both neighbouring frames.
#include "frc/motion.h"

#ifdef __linux__
#include <sched.h>
#endif

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "frc/ops.h"
#include "plane.h"

namespace frc {
namespace {

using detail::PaddedPlane;

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
// Levels from which on the search also runs a backward pass over the grid.
constexpr int kBackwardLevel = 2;
// Best matches of other motions kept per block of the coarsest level, offered to finer levels.
constexpr int kAlternates = 2;
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
    bool operator==(const Vec& o) const { return x == o.x && y == o.y; }
    bool operator!=(const Vec& o) const { return !(*this == o); }
};

// Floor of a / 2 (the shift is arithmetic for negative values).
inline int halfFloor(int a) {
    return a >> 1;
}
int64_t floorDiv(int64_t a, int64_t b) {
    return a >= 0 ? a / b : -((-a + b - 1) / b);
}
// a / b rounded to nearest, halves away from minus infinity (b > 0).
// Wide arguments: phase products k * v stay exact for any phase denominator.
int roundDiv(int64_t a, int64_t b) {
    return static_cast<int>(floorDiv(2 * a + b, 2 * b));
}
int clampInt(int v, int lo, int hi) {
    return std::min(std::max(v, lo), hi);
}

struct FrameData {
    PaddedPlane planes[3];            // full-resolution copies: luma and chroma
    PaddedPlane halfPel[4];           // luma shifted by half a pixel: [1] x, [2] y, [3] both
    PaddedPlane pyramid[kMaxLevels];  // luma at 1/2^l for l >= 1 (entry 0 unused)
    const PaddedPlane& level(int l) const { return l == 0 ? planes[0] : pyramid[l]; }
    // Picture origins and strides for the matching cost: pyramid levels, and the four
    // half-pixel phases of level 0 (which share one stride).
    const uint8_t* levelOrigin[kMaxLevels] = {};
    ptrdiff_t levelStride[kMaxLevels] = {};
    const uint8_t* halfOrigin[4] = {};
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

}  // namespace

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
    void distrustBadMatches(int level);
    void refineSubpixel();
    void classify();
    int measureNoise(int level);
    void findPeriods();
    void repairOcclusion(size_t idx, bool boundary);
    void finishRepairs(int k, int n, const FrameView& dst) const;
    int supportOf(Vec v) const;
    void buildSupport();
    int periodAt(int bx, int by, int axis) const;
    void compensate(int k, int n, const FrameView& dst);
    void compensateBand(int k, int n, const FrameView& dst, int firstRow, int endRow,
                        BandScratch& scratch) const;
    int threadCount() const;
    // Runs fn(0) .. fn(count - 1) on up to threadCount() threads.
    template <typename Fn>
    void parallelFor(int count, const Fn& fn) const {
        const int workers = std::min(count, threadCount());
        if (workers <= 1) {
            for (int i = 0; i < count; ++i) fn(i);
            return;
        }
        std::atomic<int> next{0};
        auto run = [&] {
            for (int i = next++; i < count; i = next++) fn(i);
        };
        std::vector<std::thread> threads;
        for (int t = 1; t < workers; ++t) threads.emplace_back(run);
        run();
        for (std::thread& t : threads) t.join();
    }
};

void MotionInterpolator::Impl::configure(const ConstFrameView& f) {
    format = f.format;
    width = f.width;
    height = f.height;
    range = params.searchRange > 0 ? std::min(params.searchRange, kMaxRange)
                                   : clampInt(std::max(width, height) / 4, 32, 128);
    // Halve while the coarser level keeps at least 96 columns and two rows of blocks: short
    // pictures keep a (shallower) pyramid, so the exhaustive search at the coarsest level
    // stays small.
    levels = 1;
    while (levels < kMaxLevels && (width >> levels) >= 96 && (height >> levels) >= 2 * kBlock) {
        ++levels;
    }
    nbx = (width + kBlock - 1) / kBlock;
    nby = (height + kBlock - 1) / kBlock;

    const int cw = chromaWidth(width);
    const int ch = chromaHeight(height);
    const int chromaPad = range / 2 + 24;
    for (FrameData& fd : frames) {
        fd.planes[0].allocate(width, height, range + 32, 1);
        for (int i = 1; i < 4; ++i) fd.halfPel[i].allocate(width, height, range + 32, 1);
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
    fd.planes[0].load(f.planes[0], f.strides[0]);
    fd.planes[1].load(f.planes[1], f.strides[1]);
    if (format == PixelFormat::kI420) fd.planes[2].load(f.planes[2], f.strides[2]);
    for (int l = 1; l < levels; ++l) fd.level(l - 1).downsampleInto(fd.pyramid[l]);
    for (int i = 1; i < 4; ++i) fd.halfPel[i].halfPelFrom(fd.planes[0], i);
    for (int l = 0; l < levels; ++l) {
        fd.levelOrigin[l] = fd.level(l).row(0);
        fd.levelStride[l] = fd.level(l).stride();
    }
    fd.halfOrigin[0] = fd.planes[0].row(0);
    for (int i = 1; i < 4; ++i) fd.halfOrigin[i] = fd.halfPel[i].row(0);
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
        // Level 0 works in half pixels: each side is read from the matching half-pel plane.
        const uint8_t* a = fa.halfOrigin[(ax & 1) | ((ay & 1) << 1)] + origin +
                           halfFloor(ay) * stride + halfFloor(ax);
        const uint8_t* b = fb.halfOrigin[(bxv & 1) | ((byv & 1) << 1)] + origin +
                           halfFloor(byv) * stride + halfFloor(bxv);
        return dsp.sad8x8(a, b, stride);
    }
    return dsp.sad8x8(fa.levelOrigin[level] + origin + ay * stride + ax,
                      fb.levelOrigin[level] + origin + byv * stride + bxv, stride);
}

namespace {

int median3(int a, int b, int c) {
    return std::max(std::min(a, b), std::min(std::max(a, b), c));
}

// Median of nine values (partial sorting network).
int median9(int* p) {
    auto sort2 = [](int& a, int& b) {
        if (a > b) std::swap(a, b);
    };
    sort2(p[1], p[2]);
    sort2(p[4], p[5]);
    sort2(p[7], p[8]);
    sort2(p[0], p[1]);
    sort2(p[3], p[4]);
    sort2(p[6], p[7]);
    sort2(p[1], p[2]);
    sort2(p[4], p[5]);
    sort2(p[7], p[8]);
    sort2(p[0], p[3]);
    sort2(p[5], p[8]);
    sort2(p[4], p[7]);
    sort2(p[3], p[6]);
    sort2(p[1], p[4]);
    sort2(p[2], p[5]);
    sort2(p[4], p[7]);
    sort2(p[4], p[2]);
    sort2(p[6], p[4]);
    sort2(p[4], p[2]);
    return p[4];
}

}  // namespace

// Block search at one pyramid level, in two passes over the grid (forward, then backward
// raster order) so that good vectors propagate in every direction. Candidates: the coarser
// level's vectors around the block, the dominant vectors of the coarser level, the previous
// pair's vector, zero, and neighbours already searched; the best is refined by descending a
// small diamond. Costs are penalised by the distance to a predictor (the median of the
// neighbourhood), which keeps the field smooth where the picture has little texture and
// suppresses chance matches in repetitive texture.
void MotionInterpolator::Impl::searchLevel(int level) {
    Field& f = fields[level];
    const Field* parent = level + 1 < levels ? &fields[level + 1] : nullptr;
    const bool fine = level == 0;
    // Vectors are in pixels of the level, except at level 0 where they are in half pixels.
    const int r = fine ? 2 * range : (range + (1 << level) - 1) >> level;
    const int up = fine ? 4 : 2;  // coarser level's units to this level's
    auto clampVec = [r](Vec v) { return Vec{clampInt(v.x, -r, r), clampInt(v.y, -r, r)}; };
    const int lambda = fine ? kLambda / 2 : kLambda;
    auto at = [&f](int x, int y) -> Vec& { return f.v[static_cast<size_t>(y) * f.nbx + x]; };
    auto parentAt = [&](int x, int y) {
        x = clampInt(x, 0, parent->nbx - 1);
        y = clampInt(y, 0, parent->nby - 1);
        const Vec& pv = parent->v[static_cast<size_t>(y) * parent->nbx + x];
        return Vec{pv.x * up, pv.y * up};
    };

    // Texture activity of this level's blocks (in `activity`) and its noise allowance.
    const int levelNoise = fine ? noise : measureNoise(level);
    // One pass over the block rows [rowBegin, rowEnd), taking neighbours from those rows only.
    auto searchRows = [&](int pass, int rowBegin, int rowEnd) {
        const bool forward = pass == 0;
        for (int row = rowBegin; row < rowEnd; ++row) {
            const int by = forward ? row : rowEnd - 1 - (row - rowBegin);
            for (int col = 0; col < f.nbx; ++col) {
                const int bx = forward ? col : f.nbx - 1 - col;
                const size_t idx = static_cast<size_t>(by) * f.nbx + bx;
                Vec cands[16];
                int nc = 0;
                auto add = [&](Vec v) {
                    v = clampVec(v);
                    for (int i = 0; i < nc; ++i) {
                        if (cands[i] == v) return;
                    }
                    if (nc < 16) cands[nc++] = v;
                };
                // Neighbours searched before this block in this pass (and, in the backward
                // pass, the others from the forward pass).
                const int sx = forward ? -1 : 1;
                const int sy = forward ? -1 : 1;
                const bool hasH = bx + sx >= 0 && bx + sx < f.nbx;
                const bool hasV = by + sy >= rowBegin && by + sy < rowEnd;
                const bool hasD = hasV && bx - sx >= 0 && bx - sx < f.nbx;
                Vec pred{};
                Vec parentVec{};
                if (parent != nullptr) parentVec = parentAt(bx >> 1, by >> 1);
                if (forward) {
                    const Vec h = hasH ? at(bx + sx, by) : parentVec;
                    const Vec v = hasV ? at(bx, by + sy) : parentVec;
                    const Vec d = hasD ? at(bx - sx, by + sy) : parentVec;
                    pred = parent != nullptr
                               ? Vec{median3(h.x, v.x, parentVec.x), median3(h.y, v.y, parentVec.y)}
                               : Vec{median3(h.x, v.x, d.x), median3(h.y, v.y, d.y)};
                    if (parent == nullptr && !hasH && !hasV) pred = Vec();
                } else {
                    int xs[9];
                    int ys[9];
                    int n = 0;
                    for (int dy = -1; dy <= 1; ++dy) {
                        for (int dx = -1; dx <= 1; ++dx) {
                            const Vec& w = at(clampInt(bx + dx, 0, f.nbx - 1),
                                              clampInt(by + dy, 0, f.nby - 1));
                            xs[n] = w.x;
                            ys[n] = w.y;
                            ++n;
                        }
                    }
                    pred = Vec{median9(xs), median9(ys)};
                }

                if (forward) {
                    if (parent != nullptr) {
                        add(parentVec);
                        const int qx = (bx & 1) ? 1 : -1;
                        const int qy = (by & 1) ? 1 : -1;
                        add(parentAt((bx >> 1) + qx, by >> 1));
                        add(parentAt(bx >> 1, (by >> 1) + qy));
                        if (!fine) add(parentAt((bx >> 1) + qx, (by >> 1) + qy));
                        for (int i = 0; i < numDominant; ++i) {
                            add(Vec{dominant[i].x * up, dominant[i].y * up});
                        }
                        // The coarsest level's other motions around this block.
                        const int shift = levels - 1 - level;
                        const Field& top = fields[levels - 1];
                        const int tx = std::min(bx >> shift, top.nbx - 1);
                        const int ty = std::min(by >> shift, top.nby - 1);
                        const int scale = (fine ? 2 : 1) << shift;
                        for (int i = 0; i < kAlternates; ++i) {
                            const Vec& w =
                                alternates[(static_cast<size_t>(ty) * top.nbx + tx) * kAlternates +
                                           i];
                            add(Vec{w.x * scale, w.y * scale});
                        }
                    }
                    if (havePreviousField && !fine) {
                        const int x0 = std::min((bx << level) + ((1 << level) >> 1), nbx - 1);
                        const int y0 = std::min((by << level) + ((1 << level) >> 1), nby - 1);
                        const Vec& tv = previousMv16[static_cast<size_t>(y0) * nbx + x0];
                        const int scale = 16 << level;
                        add(Vec{roundDiv(tv.x, scale), roundDiv(tv.y, scale)});
                    }
                    if (!fine) add(Vec());
                    if (hasH) add(at(bx + sx, by));
                    if (hasV) add(at(bx, by + sy));
                    if (hasD) add(at(bx - sx, by + sy));
                    add(pred);
                } else {
                    add(at(bx, by));
                    add(pred);
                    if (hasH) add(at(bx + sx, by));
                    if (hasV) add(at(bx, by + sy));
                    if (!fine && hasD) add(at(bx - sx, by + sy));
                }

                auto penalised = [&](Vec v, int sad) {
                    return sad + lambda * (std::abs(v.x - pred.x) + std::abs(v.y - pred.y));
                };
                Vec best{};
                int bestSad = 0;
                int bestCost = -1;
                Vec tried[32];
                int triedSad[32];
                int nt = 0;
                auto consider = [&](Vec v) {
                    for (int i = 0; i < nt; ++i) {
                        if (tried[i] == v) return;
                    }
                    const int sad = cost(level, bx, by, v);
                    if (nt < 32) {
                        tried[nt] = v;
                        triedSad[nt++] = sad;
                    }
                    const int c = penalised(v, sad);
                    if (bestCost < 0 || c < bestCost) {
                        bestCost = c;
                        bestSad = sad;
                        best = v;
                    }
                };
                if (!forward) {
                    // The vector from the forward pass, whose cost is known.
                    best = at(bx, by);
                    bestSad = f.cost[idx];
                    bestCost = penalised(best, bestSad);
                    tried[nt] = best;
                    triedSad[nt++] = bestSad;
                }
                for (int i = 0; i < nc; ++i) consider(cands[i]);
                if (parent == nullptr && forward) {
                    // Coarsest level: exhaustive search of the whole (scaled) range, but no
                    // farther than the level's picture extends (nothing moves farther and
                    // stays visible).
                    const int scale = fine ? 2 : 1;
                    const int rx = std::min(r, scale * ((width + (1 << level) - 1) >> level));
                    const int ry = std::min(r, scale * ((height + (1 << level) - 1) >> level));
                    // The best matches of clearly different motions are kept as well: a
                    // small or thin object inside the block may move with one of them.
                    Vec alt[kAlternates + 1];
                    int altSad[kAlternates + 1];
                    int na = 0;
                    for (int y = -ry; y <= ry; ++y) {
                        for (int x = -rx; x <= rx; ++x) {
                            const Vec v{x, y};
                            const int sad = cost(level, bx, by, v);
                            const int c = penalised(v, sad);
                            if (c < bestCost) {
                                bestCost = c;
                                bestSad = sad;
                                best = v;
                            }
                            if (na == kAlternates + 1 && sad >= altSad[na - 1]) continue;
                            int near = -1;
                            for (int i = 0; i < na && near < 0; ++i) {
                                if (std::abs(alt[i].x - x) <= 2 && std::abs(alt[i].y - y) <= 2) {
                                    near = i;
                                }
                            }
                            if (near >= 0 && altSad[near] <= sad) continue;
                            // Drop the close worse match (or the worst one), insert in order.
                            int drop = near >= 0 ? near : (na == kAlternates + 1 ? na - 1 : na);
                            for (; drop + 1 < na; ++drop) {
                                alt[drop] = alt[drop + 1];
                                altSad[drop] = altSad[drop + 1];
                            }
                            na = drop;
                            int slot = na;
                            for (; slot > 0 && altSad[slot - 1] > sad; --slot) {
                                alt[slot] = alt[slot - 1];
                                altSad[slot] = altSad[slot - 1];
                            }
                            alt[slot] = v;
                            altSad[slot] = sad;
                            ++na;
                        }
                    }
                    for (int i = 0; i < kAlternates; ++i) {
                        alternates[idx * kAlternates + i] = i + 1 < na ? alt[i + 1] : best;
                    }
                }
                const int blockActivity =
                    fine ? dsp.activity8x8(prev().planes[0].at(bx * kBlock, by * kBlock),
                                           prev().planes[0].stride())
                         : activity[idx];
                if (parent != nullptr && forward &&
                    bestSad * 8 > blockActivity * kBadShare + 8 * levelNoise) {
                    // No candidate fits: the motion may be one the coarser level could not
                    // see (content that is uniform along an axis once downsampled, such as a
                    // line of text, or too small to survive). Search both axes through the
                    // best vector and through zero over the whole range, then a small square
                    // around the result. The result is taken only when it fits: in
                    // repetitive texture a wide search finds chance matches that merely
                    // match less badly.
                    const Vec before = best;
                    const int beforeSad = bestSad;
                    const int beforeCost = bestCost;
                    auto tryVec = [&](Vec v) {
                        const int sad = cost(level, bx, by, v);
                        const int c = penalised(v, sad);
                        if (c < bestCost) {
                            bestCost = c;
                            bestSad = sad;
                            best = v;
                        }
                    };
                    // Level 0 steps by whole pixels along the axes.
                    const int stride = fine ? 2 : 1;
                    for (const Vec axis : {best, Vec()}) {
                        for (int t = -r; t <= r; t += stride) {
                            tryVec(Vec{t, axis.y});
                            tryVec(Vec{axis.x, t});
                        }
                    }
                    const Vec centre = best;
                    for (int dy = -2; dy <= 2; ++dy) {
                        for (int dx = -2; dx <= 2; ++dx) {
                            tryVec(clampVec(Vec{centre.x + dx, centre.y + dy}));
                        }
                    }
                    if (bestSad * 8 > blockActivity * kBadShare + 8 * levelNoise) {
                        best = before;
                        bestSad = beforeSad;
                        bestCost = beforeCost;
                    }
                }
                // Descend a small diamond until no neighbour improves.
                // At level 0 whole-pixel steps come first, then half-pixel ones.
                const bool again = forward || !(best == at(bx, by));
                for (int size = 1; size >= 1; --size) {
                    const int maxSteps = fine ? (again ? 2 : 0) : (parent == nullptr ? 1 : 8);
                    for (int step = 0; step < maxSteps; ++step) {
                        const Vec centre = best;
                        static constexpr int kDx[4] = {1, -1, 0, 0};
                        static constexpr int kDy[4] = {0, 0, 1, -1};
                        for (int d = 0; d < 4; ++d) {
                            const Vec v{centre.x + size * kDx[d], centre.y + size * kDy[d]};
                            if (std::abs(v.x) > r || std::abs(v.y) > r) continue;
                            consider(v);
                        }
                        if (best == centre) break;
                    }
                }
                f.v[idx] = best;
                f.cost[idx] = bestSad;
                if (fine) {
                    // Keep the costs around the final vector for the sub-pixel fit.
                    int* around = &aroundCost[idx * 4];
                    const Vec offsets[4] = {{-1, 0}, {1, 0}, {0, -1}, {0, 1}};
                    for (int d = 0; d < 4; ++d) {
                        around[d] = -1;
                        const Vec w{best.x + offsets[d].x, best.y + offsets[d].y};
                        for (int i = 0; i < nt; ++i) {
                            if (tried[i] == w) around[d] = triedSad[i];
                        }
                    }
                }
            }
        }
    };
    if (level >= kBackwardLevel) {
        // Coarse levels are small: whole-grid passes, forward then backward.
        searchRows(0, 0, f.nby);
        searchRows(1, 0, f.nby);
    } else {
        // Fine levels: bands of a fixed number of block rows, searched independently (on as
        // many threads as configured; the field does not depend on the thread count).
        const int bands = (f.nby + kSearchBandRows - 1) / kSearchBandRows;
        parallelFor(bands, [&](int b) {
            searchRows(0, b * kSearchBandRows, std::min(f.nby, (b + 1) * kSearchBandRows));
        });
    }
    if (!fine) {
        distrustBadMatches(level);
        findDominant(level);
    }
}

// Fills `activity` for the blocks of a level and returns the SAD that noise alone leaves on a
// true 8x8 match there. Grain is spatially white: the flattest blocks of the picture (the
// tenth percentile of activity) show it as activity, which sums about twice as many sample
// differences as a match's SAD. Never below the fixed allowance for clean pictures.
int MotionInterpolator::Impl::measureNoise(int level) {
    const Field& f = fields[level];
    const PaddedPlane& a = prev().level(level);
    activity.resize(f.v.size());
    for (int by = 0; by < f.nby; ++by) {
        for (int bx = 0; bx < f.nbx; ++bx) {
            activity[static_cast<size_t>(by) * f.nbx + bx] =
                dsp.activity8x8(a.at(bx * kBlock, by * kBlock), a.stride());
        }
    }
    activityRank = activity;
    const auto tenth = activityRank.begin() + activityRank.size() / 10;
    std::nth_element(activityRank.begin(), tenth, activityRank.end());
    // Half the flattest activity is the noise's typical residue; a true match may leave half
    // as much again.
    return std::max(kNoise * kBlock * kBlock, *tenth * 3 / 4);
}

// At a coarse level, a block whose best match is poor usually straddles differently moving
// content, and its vector is a chance match that finer levels would only refine. Such a block
// hands down the median vector of its well-matched neighbours instead (zero if there are none).
void MotionInterpolator::Impl::distrustBadMatches(int level) {
    Field& f = fields[level];
    const int levelNoise = measureNoise(level);
    trust.assign(f.v.size(), 1);
    for (size_t idx = 0; idx < f.v.size(); ++idx) {
        trust[idx] = f.cost[idx] * 8 > activity[idx] * kBadShare + 8 * levelNoise ? 0 : 1;
    }
    for (int by = 0; by < f.nby; ++by) {
        for (int bx = 0; bx < f.nbx; ++bx) {
            const size_t idx = static_cast<size_t>(by) * f.nbx + bx;
            if (trust[idx]) continue;
            int xs[9];
            int ys[9];
            int n = 0;
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    const int x = bx + dx;
                    const int y = by + dy;
                    if (x < 0 || y < 0 || x >= f.nbx || y >= f.nby) continue;
                    const size_t n2 = static_cast<size_t>(y) * f.nbx + x;
                    if (!trust[n2]) continue;
                    xs[n] = f.v[n2].x;
                    ys[n] = f.v[n2].y;
                    ++n;
                }
            }
            Vec v{};
            if (n > 0) {
                std::nth_element(xs, xs + n / 2, xs + n);
                std::nth_element(ys, ys + n / 2, ys + n);
                v = Vec{xs[n / 2], ys[n / 2]};
            }
            f.v[idx] = v;
            f.cost[idx] = cost(level, bx, by, v);
        }
    }
}

// The most frequent vectors of a level (at least 1/16 of the blocks each), offered to every
// block of the next finer level: global motion reaches blocks whose own search went astray.
void MotionInterpolator::Impl::findDominant(int level) {
    const Field& f = fields[level];
    sortBuffer.assign(f.v.begin(), f.v.end());
    std::sort(sortBuffer.begin(), sortBuffer.end(),
              [](const Vec& a, const Vec& b) { return a.x != b.x ? a.x < b.x : a.y < b.y; });
    numDominant = 0;
    size_t counts[2] = {0, 0};
    const size_t minimum = std::max<size_t>(2, sortBuffer.size() / 16);
    for (size_t i = 0; i < sortBuffer.size();) {
        size_t j = i;
        while (j < sortBuffer.size() && sortBuffer[j] == sortBuffer[i]) ++j;
        const size_t count = j - i;
        if (count >= minimum) {
            if (count > counts[0]) {
                counts[1] = counts[0];
                dominant[1] = dominant[0];
                counts[0] = count;
                dominant[0] = sortBuffer[i];
            } else if (count > counts[1]) {
                counts[1] = count;
                dominant[1] = sortBuffer[i];
            }
        }
        i = j;
    }
    numDominant = counts[1] > 0 ? 2 : (counts[0] > 0 ? 1 : 0);
}

// Sub-pixel position of each level-0 vector from the costs of its four integer neighbours,
// fitting a symmetric V to each axis (the shape block-matching costs have near a minimum).
void MotionInterpolator::Impl::refineSubpixel() {
    const Field& f = fields[0];
    auto fit = [](int cm, int c0, int cp) {
        // Offset in 1/16 pixel of the V's apex from the centre sample.
        if (cm < c0 && cm <= cp) return -8;
        if (cp < c0 && cp < cm) return 8;
        const int denom = 2 * (std::max(cm, cp) - c0);
        if (denom <= 0) return 0;
        return clampInt(roundDiv(16 * (cm - cp), denom), -8, 8);
    };
    const int bands = (f.nby + kSearchBandRows - 1) / kSearchBandRows;
    parallelFor(bands, [&](int band) {
        for (int by = band * kSearchBandRows; by < std::min(f.nby, (band + 1) * kSearchBandRows);
             ++by) {
            for (int bx = 0; bx < f.nbx; ++bx) {
                const size_t idx = static_cast<size_t>(by) * f.nbx + bx;
                const Vec v = f.v[idx];
                const int c0 = f.cost[idx];
                const int* around = &aroundCost[idx * 4];
                auto known = [&](int d, Vec w) {
                    return around[d] >= 0 ? around[d] : cost(0, bx, by, w);
                };
                const int cxm = known(0, Vec{v.x - 1, v.y});
                const int cxp = known(1, Vec{v.x + 1, v.y});
                const int cym = known(2, Vec{v.x, v.y - 1});
                const int cyp = known(3, Vec{v.x, v.y + 1});
                // Vectors of level 0 are in half pixels; the fit is in 1/16 of that step.
                mv16[idx] = Vec{v.x * 8 + roundDiv(fit(cxm, c0, cxp), 2),
                                v.y * 8 + roundDiv(fit(cym, c0, cyp), 2)};
            }
        }
    });
}

// Chooses per block between compensation and blend, and detects scene cuts.
void MotionInterpolator::Impl::classify() {
    const Field& f = fields[0];
    noise = measureNoise(0);
    size_t badBlocks = 0;
    for (int by = 0; by < f.nby; ++by) {
        for (int bx = 0; bx < f.nbx; ++bx) {
            const size_t idx = static_cast<size_t>(by) * f.nbx + bx;
            bool isBad = f.cost[idx] * 8 > activity[idx] * kBadShare + 8 * noise;
            // A vector that hardly any neighbour shares is a chance match (typical of
            // occlusions and unrelated pictures), however low its cost.
            // So is a small group of vectors far from the motion all around it (a chance
            // match in repetitive texture, handed down from a coarse block that straddled
            // differently moving content).
            const Vec v = mv16[idx];
            int neighbours = 0;
            int agree = 0;
            int wideAgree = 0;
            bool border = false;
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    const int nx = bx + dx;
                    const int ny = by + dy;
                    if ((dx == 0 && dy == 0) || nx < 0 || ny < 0 || nx >= f.nbx || ny >= f.nby) {
                        continue;
                    }
                    const Vec& w = mv16[static_cast<size_t>(ny) * f.nbx + nx];
                    const int distance = std::abs(w.x - v.x) + std::abs(w.y - v.y);
                    ++neighbours;
                    agree += distance <= kAgree ? 1 : 0;
                    border = border || distance > kBorder;
                }
            }
            bool outlandish = false;
            if (agree < neighbours) {
                int xs[25];
                int ys[25];
                int n = 0;
                for (int dy = -2; dy <= 2; ++dy) {
                    for (int dx = -2; dx <= 2; ++dx) {
                        const int nx = bx + dx;
                        const int ny = by + dy;
                        if (nx < 0 || ny < 0 || nx >= f.nbx || ny >= f.nby) continue;
                        const Vec& w = mv16[static_cast<size_t>(ny) * f.nbx + nx];
                        xs[n] = w.x;
                        ys[n] = w.y;
                        ++n;
                        if (dx == 0 && dy == 0) continue;
                        wideAgree += std::abs(w.x - v.x) + std::abs(w.y - v.y) <= kAgree ? 1 : 0;
                    }
                }
                if (wideAgree * 4 < n) {
                    std::nth_element(xs, xs + n / 2, xs + n);
                    std::nth_element(ys, ys + n / 2, ys + n);
                    outlandish = std::abs(xs[n / 2] - v.x) + std::abs(ys[n / 2] - v.y) > kFar;
                }
            }
            onBorder[idx] = border ? 1 : 0;
            const bool isolated = agree * 4 < neighbours || outlandish;
            badMatch[idx] = isolated ? 2 : (isBad ? 1 : 0);
            isBad = isBad || isolated;
            badBlocks += isBad ? 1 : 0;
        }
    }
    sceneCut = badBlocks * 256 > f.cost.size() * kCutShare;
    size_t fallbacks = 0;
    for (int by = 0; by < f.nby; ++by) {
        for (int bx = 0; bx < f.nbx; ++bx) {
            const size_t idx = static_cast<size_t>(by) * f.nbx + bx;
            bool motion = !sceneCut;
            // In repetitive texture a displacement of a quarter period or more may as well be
            // another one a period away: the in-between frames would differ, so blend.
            const int periodX = periodAt(bx, by, 0);
            const int periodY = periodAt(bx, by, 1);
            const bool ambiguous = (periodX > 0 && 4 * std::abs(mv16[idx].x) >= 16 * periodX) ||
                                   (periodY > 0 && 4 * std::abs(mv16[idx].y) >= 16 * periodY);
            if (motion && (badMatch[idx] == 2 || ambiguous)) {
                motion = false;
            } else if (motion && badMatch[idx] == 1) {
                // A poor match still wins when it clearly beats standing still.
                const int still = cost(0, bx, by, Vec());
                motion = f.cost[idx] * 4 < still * 3;
            }
            useMotion[idx] = motion ? 1 : 0;
            if (!sceneCut && !ambiguous && badMatch[idx] != 0) repairQueue.push_back(idx);
        }
    }
    repairs.clear();
    buildSupport();
    for (size_t idx : repairQueue) repairOcclusion(idx, false);
    if (!sceneCut) {
        for (size_t idx = 0; idx < useMotion.size(); ++idx) {
            if (useMotion[idx] && badMatch[idx] == 0 && onBorder[idx]) repairOcclusion(idx, true);
        }
    }
    repairQueue.clear();
    for (uint8_t m : useMotion) fallbacks += m ? 0 : 1;
    stats.pairs += 1;
    stats.sceneCuts += sceneCut ? 1 : 0;
    stats.blocks += f.cost.size();
    stats.fallbackBlocks += fallbacks;
}

// Marks blocks of repetitive texture: along an axis, a shift by the period matches the block
// with itself much better than smaller shifts do. There, vectors that differ by the period fit
// the two frames equally well, so the motion is ambiguous.
void MotionInterpolator::Impl::findPeriods() {
    periodLevel = std::min(kPeriodLevel, levels - 1);
    const PaddedPlane& p = prev().level(periodLevel);
    const Field& f = fields[periodLevel];
    periods.assign(f.v.size() * 2, 0);
    const int noise = kNoise * kBlock * kBlock;
    const int shifts = kLongestPeriod >> periodLevel;
    for (int by = 0; by < f.nby; ++by) {
        for (int bx = 0; bx < f.nbx; ++bx) {
            const uint8_t* block = p.at(bx * kBlock, by * kBlock);
            for (int axis = 0; axis < 2; ++axis) {
                const ptrdiff_t unit = axis == 0 ? 1 : p.stride();
                int peak = 0;
                int first = 0;
                for (int d = 1; d <= shifts; ++d) {
                    const int c = dsp.sad8x8(block, block + d * unit, p.stride());
                    if (d == 1) first = c;
                    // A period: the block matches itself shifted by it nearly exactly, better
                    // than shifted by one pixel and far better than by smaller shifts.
                    if (d >= 2 && peak > noise && 4 * c < peak && c < first) {
                        periods[(static_cast<size_t>(by) * f.nbx + bx) * 2 + axis] =
                            static_cast<uint8_t>(d);
                        break;
                    }
                    peak = std::max(peak, c);
                }
            }
        }
    }
}

namespace {

// Key of a vector rounded to whole pixels, for the histogram of the field.
int64_t pixelKey(Vec v16) {
    return static_cast<int64_t>((v16.x + 8) >> 4) * (int64_t{1} << 32) + ((v16.y + 8) >> 4);
}

}  // namespace

// Histogram of the well-matched vectors of the field, in whole pixels (sorted keys).
void MotionInterpolator::Impl::buildSupport() {
    supportKeys.clear();
    for (size_t i = 0; i < mv16.size(); ++i) {
        if (badMatch[i] == 0) supportKeys.push_back(pixelKey(mv16[i]));
    }
    std::sort(supportKeys.begin(), supportKeys.end());
}

// Number of well-matched blocks whose vector lies within about a pixel of v.
int MotionInterpolator::Impl::supportOf(Vec v) const {
    int count = 0;
    for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
            const int64_t key = pixelKey(Vec{v.x + 16 * dx, v.y + 16 * dy});
            const auto range = std::equal_range(supportKeys.begin(), supportKeys.end(), key);
            count += static_cast<int>(range.second - range.first);
        }
    }
    return count;
}

// A block without a trustworthy match typically lies where a moving object uncovers or covers
// the background: there the background is visible in only one of the two frames. The block
// takes the background's vector (of the two motions around it, the one more common in the
// frame) and is compensated from the frame in which the background is not hidden: the other
// frame shows, at the background's position, content that moves with the foreground's vector.
// With a single motion around it, the block simply takes that motion when it matches well.
//
// A well-matched block on the border between two motions (boundary) keeps its vector for the
// overlapped compensation but is finished pixel by pixel in the same way.
void MotionInterpolator::Impl::repairOcclusion(size_t idx, bool boundary) {
    const int bx = static_cast<int>(idx % nbx);
    const int by = static_cast<int>(idx / nbx);
    const int radius = boundary ? 1 : 2;
    Vec cluster[4];
    int members[4] = {0, 0, 0, 0};
    int clusters = 0;
    for (int dy = -radius; dy <= radius; ++dy) {
        for (int dx = -radius; dx <= radius; ++dx) {
            const int x = bx + dx;
            const int y = by + dy;
            if (x < 0 || y < 0 || x >= nbx || y >= nby) continue;
            const size_t n = static_cast<size_t>(y) * nbx + x;
            if (badMatch[n] != 0 || useMotion[n] == 0) continue;
            const Vec& w = mv16[n];
            int c = 0;
            while (c < clusters &&
                   std::abs(cluster[c].x - w.x) + std::abs(cluster[c].y - w.y) > 16) {
                ++c;
            }
            if (c == clusters) {
                if (clusters == 4) continue;
                cluster[clusters++] = w;
            }
            ++members[c];
        }
    }
    if (clusters == 0) return;
    if (boundary) {
        // A border between motions: another motion with some support, clearly different.
        const Vec own = mv16[idx];
        bool other = false;
        for (int c = 0; c < clusters; ++c) {
            other = other ||
                    (members[c] >= 2 &&
                     std::abs(cluster[c].x - own.x) + std::abs(cluster[c].y - own.y) > kBorder);
        }
        if (!other) return;
    }
    int first = 0;
    for (int c = 1; c < clusters; ++c) {
        if (members[c] > members[first]) first = c;
    }
    int second = -1;
    for (int c = 0; c < clusters; ++c) {
        if (c != first && (second < 0 || members[c] > members[second])) second = c;
    }
    const PaddedPlane& a = prev().planes[0];
    const int act = activity[idx];
    auto matches = [&](int sad) { return sad * 8 <= act * kBadShare + 8 * noise; };
    auto symmetric = [&](Vec v16) {
        return cost(0, bx, by, Vec{roundDiv(v16.x, 8), roundDiv(v16.y, 8)});
    };
    Vec background = cluster[first];
    if (second >= 0 && supportOf(cluster[second]) > supportOf(background)) {
        background = cluster[second];
    }
    if (!boundary) {
        mv16[idx] = background;
        useMotion[idx] = 1;
        if (second < 0 || matches(symmetric(background))) return;
    }
    const Vec foreground = background == cluster[first] ? cluster[second] : cluster[first];
    // Which frame hides the background here: the one whose content at the background's
    // position follows the foreground's motion to the other frame.
    const PaddedPlane& b = cur().planes[0];
    const int x0 = bx * kBlock;
    const int y0 = by * kBlock;
    const int ax = x0 - roundDiv(background.x, 32);
    const int ay = y0 - roundDiv(background.y, 32);
    const int bxp = x0 + roundDiv(background.x, 32);
    const int byp = y0 + roundDiv(background.y, 32);
    const int fx = roundDiv(foreground.x, 16);
    const int fy = roundDiv(foreground.y, 16);
    const int earlierIsForeground = dsp.sad8x8(a.at(ax, ay), b.at(ax + fx, ay + fy), a.stride());
    const int laterIsForeground = dsp.sad8x8(b.at(bxp, byp), a.at(bxp - fx, byp - fy), a.stride());
    Repair repair{idx,
                  {background, foreground, foreground},
                  2,
                  earlierIsForeground < laterIsForeground ? kLaterOnly : kEarlierOnly};
    for (int c = 0; c < clusters; ++c) {
        if (repair.count < 3 && !(cluster[c] == background) && !(cluster[c] == foreground)) {
            repair.vecs[repair.count++] = cluster[c];
        }
    }
    repairs.push_back(repair);
}

namespace {

// Bilinear sample of byte `e` of element (x, y) + offset in 1/16 element of a padded plane.
int sampleComponent(const PaddedPlane& p, int x, int y, int e, int ox, int oy) {
    const uint8_t* q = p.at(x + (ox >> 4), y + (oy >> 4)) + e;
    const int fx = ox & 15;
    const int fy = oy & 15;
    const int s = p.step();
    const ptrdiff_t st = p.stride();
    const int top = q[0] * (16 - fx) + q[s] * fx;
    const int bottom = q[st] * (16 - fx) + q[st + s] * fx;
    return (top * (16 - fy) + bottom * fy + 128) >> 8;
}

// Bilinear sample of a padded plane at (x, y) + offset in 1/16 element.
int sampleAt(const PaddedPlane& p, int x, int y, int ox, int oy) {
    const uint8_t* q = p.at(x + (ox >> 4), y + (oy >> 4));
    const int fx = ox & 15;
    const int fy = oy & 15;
    const int s = p.step();
    const ptrdiff_t st = p.stride();
    const int top = q[0] * (16 - fx) + q[s] * fx;
    const int bottom = q[st] * (16 - fx) + q[st + s] * fx;
    return (top * (16 - fy) + bottom * fy + 128) >> 8;
}

}  // namespace

// Pixels of a block between two motions: each takes the motion (foreground or background)
// under which both frames agree best around it, and where neither agrees (the background is
// hidden in one frame) the background from the frame chosen for the block.
void MotionInterpolator::Impl::finishRepairs(int k, int n, const FrameView& dst) const {
    const PaddedPlane& a = prev().planes[0];
    const PaddedPlane& b = cur().planes[0];
    constexpr int kSpan = kBlock + 2;  // the block and a ring for the 3x3 agreement sums
    for (const Repair& r : repairs) {
        const int bx = static_cast<int>(r.idx % nbx);
        const int by = static_cast<int>(r.idx / nbx);
        const Vec* vecs = r.vecs;
        int pa[3][kSpan][kSpan];
        int pb[3][kSpan][kSpan];
        int diff[3][kSpan][kSpan];
        for (int c = 0; c < r.count; ++c) {
            const int oax = roundDiv(-int64_t{k} * vecs[c].x, n);
            const int oay = roundDiv(-int64_t{k} * vecs[c].y, n);
            const int obx = roundDiv(int64_t{n - k} * vecs[c].x, n);
            const int oby = roundDiv(int64_t{n - k} * vecs[c].y, n);
            for (int y = 0; y < kSpan; ++y) {
                for (int x = 0; x < kSpan; ++x) {
                    const int px = bx * kBlock + x - 1;
                    const int py = by * kBlock + y - 1;
                    pa[c][y][x] = sampleAt(a, px, py, oax, oay);
                    pb[c][y][x] = sampleAt(b, px, py, obx, oby);
                    diff[c][y][x] = std::abs(pa[c][y][x] - pb[c][y][x]);
                }
            }
        }
        // Per pixel, how well each frame's content at the background's position follows the
        // foreground's motion into the other frame: the frame where it does hides the
        // background there.
        int hiddenA[kSpan][kSpan];
        int hiddenB[kSpan][kSpan];
        {
            const Vec& bg = vecs[0];
            const Vec& fg = vecs[1];
            const int oax = roundDiv(-int64_t{k} * bg.x, n);
            const int oay = roundDiv(-int64_t{k} * bg.y, n);
            const int obx = roundDiv(int64_t{n - k} * bg.x, n);
            const int oby = roundDiv(int64_t{n - k} * bg.y, n);
            for (int y = 0; y < kSpan; ++y) {
                for (int x = 0; x < kSpan; ++x) {
                    const int px = bx * kBlock + x - 1;
                    const int py = by * kBlock + y - 1;
                    hiddenA[y][x] =
                        std::abs(pa[0][y][x] - sampleAt(b, px, py, oax + fg.x, oay + fg.y));
                    hiddenB[y][x] =
                        std::abs(pb[0][y][x] - sampleAt(a, px, py, obx - fg.x, oby - fg.y));
                }
            }
        }
        const int wB = static_cast<int>((int64_t{256} * k + n / 2) / n);
        uint8_t choice[kBlock][kBlock];    // candidate index, or 3: the background, soft mix
        uint16_t weightA[kBlock][kBlock];  // choice 3: weight of the earlier frame, of 256
        for (int y = 0; y < kBlock; ++y) {
            const int py = by * kBlock + y;
            if (py >= height) break;
            for (int x = 0; x < kBlock; ++x) {
                const int px = bx * kBlock + x;
                if (px >= width) break;
                int c = 0;
                int best = -1;
                for (int i = 0; i < r.count; ++i) {
                    int sum = 0;
                    for (int dy = 0; dy < 3; ++dy) {
                        for (int dx = 0; dx < 3; ++dx) sum += diff[i][y + dy][x + dx];
                    }
                    if (best < 0 || sum < best) {
                        best = sum;
                        c = i;
                    }
                }
                // Where no motion makes the frames agree (the background is hidden in one of
                // them), the background's motion gives the least objectionable mix.
                int value;
                if (best > 9 * kAgreeNoise) {
                    int sa = 0;
                    int sb = 0;
                    for (int dy = 0; dy < 3; ++dy) {
                        for (int dx = 0; dx < 3; ++dx) {
                            sa += hiddenA[y + dy][x + dx];
                            sb += hiddenB[y + dy][x + dx];
                        }
                    }
                    // A soft choice: the more a frame's content there follows the
                    // foreground, the less it counts (no hard seam where the evidence is
                    // weak either way).
                    const int64_t qa = int64_t{sa} * sa;
                    const int64_t qb = int64_t{sb} * sb;
                    const int w = qa + qb > 0
                                      ? static_cast<int>((256 * qa + (qa + qb) / 2) / (qa + qb))
                                      : 128;
                    choice[y][x] = 3;
                    weightA[y][x] = static_cast<uint16_t>(w);
                    value = (pa[0][y + 1][x + 1] * w + pb[0][y + 1][x + 1] * (256 - w) + 128) >> 8;
                } else {
                    choice[y][x] = static_cast<uint8_t>(c);
                    value =
                        (pa[c][y + 1][x + 1] * (256 - wB) + pb[c][y + 1][x + 1] * wB + 128) >> 8;
                }
                dst.planes[0][py * dst.strides[0] + px] = static_cast<uint8_t>(value);
            }
        }
        // Chroma follows the choice of the top-left luma sample of each 2x2 group.
        const int planes = format == PixelFormat::kI420 ? 2 : 1;
        for (int y = 0; y < kBlock / 2; ++y) {
            const int cy = by * kBlock / 2 + y;
            if (cy >= chromaHeight(height)) break;
            for (int x = 0; x < kBlock / 2; ++x) {
                const int cx = bx * kBlock / 2 + x;
                if (cx >= chromaWidth(width)) break;
                const int ch = choice[2 * y][2 * x];
                const Vec& v = vecs[ch == 3 ? 0 : ch];
                const int oax = roundDiv(-int64_t{k} * v.x, 2 * n);
                const int oay = roundDiv(-int64_t{k} * v.y, 2 * n);
                const int obx = roundDiv(int64_t{n - k} * v.x, 2 * n);
                const int oby = roundDiv(int64_t{n - k} * v.y, 2 * n);
                for (int p = 0; p < planes; ++p) {
                    const PaddedPlane& ca = prev().planes[1 + p];
                    const PaddedPlane& cb = cur().planes[1 + p];
                    const int step = ca.step();
                    uint8_t* out = dst.planes[1 + p] + cy * dst.strides[1 + p] + cx * step;
                    for (int e = 0; e < step; ++e) {
                        const int sa = sampleComponent(ca, cx, cy, e, oax, oay);
                        const int sb = sampleComponent(cb, cx, cy, e, obx, oby);
                        const int mix = (sa * (256 - wB) + sb * wB + 128) >> 8;
                        const int wa = weightA[2 * y][2 * x];
                        const int soft = (sa * wa + sb * (256 - wa) + 128) >> 8;
                        out[e] = static_cast<uint8_t>(ch < 3 ? mix : soft);
                    }
                }
            }
        }
    }
}

// Period in full-resolution pixels of the repetitive texture around level-0 block (bx, by)
// along an axis, 0 when there is none.
int MotionInterpolator::Impl::periodAt(int bx, int by, int axis) const {
    const Field& f = fields[periodLevel];
    const int px = std::min(bx >> periodLevel, f.nbx - 1);
    const int py = std::min(by >> periodLevel, f.nby - 1);
    return periods[(static_cast<size_t>(py) * f.nbx + px) * 2 + axis] << periodLevel;
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

namespace {

// Writes (acc + 128) >> 8 of `rows` rows of a plane, starting at accumulator row `accRow`.
void storeRows(const detail::Dsp& dsp, const uint16_t* acc, const AccPlane& g, int accRow, int rows,
               int rowBytes, uint8_t* dst, ptrdiff_t dstStride) {
    for (int y = 0; y < rows; ++y) {
        dsp.storeRow(acc + static_cast<size_t>(y + accRow) * g.width + g.origin * g.step,
                     dst + y * dstStride, rowBytes);
    }
}

// Pads a tap list to an even count with zero-weight taps (the kernels take even counts).
void padTaps(detail::WindowTaps& taps) {
    for (; taps.count & 1; ++taps.count) {
        taps.base[taps.count] = taps.base[0];
        taps.weight[taps.count] = 0;
    }
}

// Bilinear taps of one side of a window, the phase weight of the side folded in.
void addTaps(detail::WindowTaps& taps, const PaddedPlane& p, int x0, int y0, int ox, int oy,
             int sideWeight) {
    const uint8_t* base = p.at(x0 + (ox >> 4), y0 + (oy >> 4));
    const int fx = ox & 15;
    const int fy = oy & 15;
    const int w[4] = {(16 - fx) * (16 - fy), fx * (16 - fy), (16 - fx) * fy, fx * fy};
    const ptrdiff_t off[4] = {0, p.step(), p.stride(), p.stride() + p.step()};
    for (int i = 0; i < 4; ++i) {
        const int scaled = (w[i] * sideWeight + 128) >> 8;
        if (scaled == 0) continue;
        taps.base[taps.count] = base + off[i];
        taps.weight[taps.count] = static_cast<int16_t>(scaled);
        ++taps.count;
    }
}

// Rounding of the folded weights may leave their total off 256 by a unit or two; the largest
// weight absorbs the difference so that flat areas stay exact.
void normalise(detail::WindowTaps& taps) {
    int total = 0;
    int largest = 0;
    for (int i = 0; i < taps.count; ++i) {
        total += taps.weight[i];
        if (taps.weight[i] > taps.weight[largest]) largest = i;
    }
    taps.weight[largest] = static_cast<int16_t>(taps.weight[largest] + 256 - total);
}

}  // namespace

// Overlapped-block compensation at phase k/n: every block predicts a window twice its size
// (half a block of overlap on each side) from both frames along its vector; windows are
// weighted by separable triangular ramps that sum to one wherever they overlap. A window
// sample is one weighted sum of up to eight samples (the bilinear taps in both frames, with
// the phase weights folded in; weights total 256), its window weight applied by a high
// multiply, so the accumulators hold 256 times the result. Chroma uses the luma vectors halved.
//
// The picture is cut into bands of block rows, one per thread; each band accumulates in a
// small sliding buffer (it stays in cache) and also adds the windows of the block rows just
// above and below it, so bands need nothing from each other.
void MotionInterpolator::Impl::compensate(int k, int n, const FrameView& dst) {
    accGeometry[0].setup(kBlock, 1, nbx);
    accGeometry[1].setup(kBlock / 2, format == PixelFormat::kI420 ? 1 : 2, nbx);
    const int bands = std::max(1, std::min(threadCount(), nby / 4));
    bandScratch.resize(static_cast<size_t>(bands));
    if (bands == 1) {
        compensateBand(k, n, dst, 0, nby, bandScratch[0]);
        return;
    }
    std::vector<std::thread> workers;
    for (int b = 1; b < bands; ++b) {
        workers.emplace_back([this, k, n, &dst, b, bands] {
            compensateBand(k, n, dst, nby * b / bands, nby * (b + 1) / bands, bandScratch[b]);
        });
    }
    compensateBand(k, n, dst, 0, nby / bands, bandScratch[0]);
    for (std::thread& t : workers) t.join();
}

void MotionInterpolator::Impl::compensateBand(int k, int n, const FrameView& dst, int firstRow,
                                              int endRow, BandScratch& scratch) const {
    const bool planar = format == PixelFormat::kI420;
    const AccPlane& gy = accGeometry[0];
    const AccPlane& gc = accGeometry[1];
    scratch.acc[0].assign(gy.size(), 0);
    scratch.acc[1].assign(gc.size(), 0);
    if (planar) scratch.acc[2].assign(gc.size(), 0);
    uint16_t* accY = scratch.acc[0].data();
    uint16_t* accU = scratch.acc[1].data();
    uint16_t* accV = planar ? scratch.acc[2].data() : nullptr;
    const int ch = chromaHeight(height);
    const int cw = chromaWidth(width) * gc.step;

    const FrameData& fa = prev();
    const FrameData& fb = cur();
    const int phaseB = static_cast<int>((int64_t{256} * k + n / 2) / n);  // later frame, of 256
    const int wA = 256 - phaseB;
    const int wB = phaseB;
    for (int by = std::max(-1, firstRow - 1); by <= std::min(nby, endRow); ++by) {
        const int cby = clampInt(by, 0, nby - 1);
        for (int bx = -1; bx <= nbx; ++bx) {
            const int cbx = clampInt(bx, 0, nbx - 1);
            const size_t idx = static_cast<size_t>(cby) * nbx + cbx;
            const Vec v = useMotion[idx] ? mv16[idx] : Vec();
            // Offsets in 1/16 sample: the previous frame is read at -k/n of the vector, the
            // latest at +(n-k)/n; chroma offsets are half as large.
            const int oax = roundDiv(-int64_t{k} * v.x, n);
            const int oay = roundDiv(-int64_t{k} * v.y, n);
            const int obx = roundDiv(int64_t{n - k} * v.x, n);
            const int oby = roundDiv(int64_t{n - k} * v.y, n);

            detail::WindowTaps taps;
            const int lx = bx * kBlock - kBlock / 2;
            const int ly = by * kBlock - kBlock / 2;
            addTaps(taps, fa.planes[0], lx, ly, oax, oay, wA);
            addTaps(taps, fb.planes[0], lx, ly, obx, oby, wB);
            normalise(taps);
            padTaps(taps);
            dsp.accumulate(taps, fa.planes[0].stride(), gy.weights, accY + gy.windowOffset(bx),
                           gy.width, 2 * kBlock);

            const int cx = lx / 2;
            const int cy = ly / 2;
            const int coax = roundDiv(oax, 2);
            const int coay = roundDiv(oay, 2);
            const int cobx = roundDiv(obx, 2);
            const int coby = roundDiv(oby, 2);
            detail::WindowTaps cb;
            addTaps(cb, fa.planes[1], cx, cy, coax, coay, wA);
            addTaps(cb, fb.planes[1], cx, cy, cobx, coby, wB);
            normalise(cb);
            const size_t cOff = gc.windowOffset(bx);
            if (planar) {
                detail::WindowTaps cr;
                addTaps(cr, fa.planes[2], cx, cy, coax, coay, wA);
                addTaps(cr, fb.planes[2], cx, cy, cobx, coby, wB);
                normalise(cr);
                padTaps(cb);
                padTaps(cr);
                dsp.accumulatePair(cb, cr, fa.planes[1].stride(), gc.weights, accU + cOff,
                                   accV + cOff, gc.width, kBlock);
            } else {
                padTaps(cb);
                dsp.accumulate(cb, fa.planes[1].stride(), gc.weights, accU + cOff, gc.width,
                               kBlock);
            }
        }
        // The accumulator's top block row (picture rows from by * bs - bs / 2) is complete:
        // store what lies in the band and the picture, then slide down by a block row.
        auto finish = [&](const AccPlane& g, uint16_t* acc, int planeRows, int rowBytes,
                          uint8_t* out, ptrdiff_t outStride) {
            const int top = by * g.bs - g.bs / 2;
            const int from = std::max({top, firstRow * g.bs, 0});
            const int to = std::min({top + g.bs, endRow * g.bs, planeRows});
            if (from < to) {
                storeRows(dsp, acc, g, from - top, to - from, rowBytes, out + from * outStride,
                          outStride);
            }
            const size_t half = static_cast<size_t>(g.width) * g.bs;
            std::memcpy(acc, acc + half, half * sizeof(uint16_t));
            std::memset(acc + half, 0, half * sizeof(uint16_t));
        };
        finish(gy, accY, height, width, dst.planes[0], dst.strides[0]);
        finish(gc, accU, ch, cw, dst.planes[1], dst.strides[1]);
        if (planar) finish(gc, accV, ch, cw, dst.planes[2], dst.strides[2]);
    }
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
