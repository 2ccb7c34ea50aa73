// Motion-compensated interpolation: hierarchical symmetric block matching on luma, sub-pixel
// refinement, vector smoothing, per-block and per-frame fallback to blend, and overlapped-block
// compensation with bilinear sampling from both neighbouring frames.
#include "frc/motion.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "plane.h"

namespace frc {
namespace {

using detail::PaddedPlane;
using detail::sad8x8;

constexpr int kBlock = 8;      // luma block size of the motion field at every pyramid level
constexpr int kMaxLevels = 5;  // full resolution plus up to four halvings
constexpr int kMaxRange = 256;

// A block's best match counts as bad when its SAD exceeds kBadShare/8 of the block's texture
// activity plus a noise allowance of kNoise per pixel: a true match leaves only sub-pixel and
// noise residue, far below the activity, while a chance match in unrelated content does not.
constexpr int kBadShare = 3;
constexpr int kNoise = 4;
// Neighbouring vectors closer than this (L1, 1/16 pixel) agree with each other.
constexpr int kAgree = 32;
// A pair is a scene cut when more than this share (in 1/256) of the blocks match badly.
constexpr int kCutShare = 128;
// Cost per pixel of displacement away from the block's predicted vector, in SAD units.
constexpr int kLambda = 4;

struct Vec {
    int x = 0;
    int y = 0;
    bool operator==(const Vec& o) const { return x == o.x && y == o.y; }
    bool operator!=(const Vec& o) const { return !(*this == o); }
};

int floorDiv(int a, int b) {
    return a >= 0 ? a / b : -((-a + b - 1) / b);
}
// a / b rounded to nearest, halves away from minus infinity (b > 0).
int roundDiv(int a, int b) {
    return floorDiv(2 * a + b, 2 * b);
}
int clampInt(int v, int lo, int hi) {
    return std::min(std::max(v, lo), hi);
}

struct FrameData {
    PaddedPlane planes[3];            // full-resolution copies: luma and chroma
    PaddedPlane pyramid[kMaxLevels];  // luma at 1/2^l for l >= 1 (entry 0 unused)
    const PaddedPlane& level(int l) const { return l == 0 ? planes[0] : pyramid[l]; }
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

// Horizontal and vertical weights of a bilinear tap set, fractions in 1/16 pixel.
struct Taps {
    int fx = 0;
    int fy = 0;
};

// Bilinear sample of 8 consecutive elements (element size `step` bytes, so 8 bytes) scaled by
// 256, from the 16-bit lanes of the loads.
inline __m128i bilinear8(const uint8_t* p, ptrdiff_t stride, int step, Taps t) {
    const __m128i zero = _mm_setzero_si128();
    auto load = [&](const uint8_t* q) {
        return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(q)), zero);
    };
    if (t.fx == 0 && t.fy == 0) return _mm_slli_epi16(load(p), 8);
    if (t.fy == 0) {
        const __m128i w0 = _mm_set1_epi16(static_cast<short>((16 - t.fx) * 16));
        const __m128i w1 = _mm_set1_epi16(static_cast<short>(t.fx * 16));
        return _mm_add_epi16(_mm_mullo_epi16(load(p), w0), _mm_mullo_epi16(load(p + step), w1));
    }
    if (t.fx == 0) {
        const __m128i w0 = _mm_set1_epi16(static_cast<short>((16 - t.fy) * 16));
        const __m128i w1 = _mm_set1_epi16(static_cast<short>(t.fy * 16));
        return _mm_add_epi16(_mm_mullo_epi16(load(p), w0), _mm_mullo_epi16(load(p + stride), w1));
    }
    const __m128i w00 = _mm_set1_epi16(static_cast<short>((16 - t.fx) * (16 - t.fy)));
    const __m128i w01 = _mm_set1_epi16(static_cast<short>(t.fx * (16 - t.fy)));
    const __m128i w10 = _mm_set1_epi16(static_cast<short>((16 - t.fx) * t.fy));
    const __m128i w11 = _mm_set1_epi16(static_cast<short>(t.fx * t.fy));
    const __m128i top =
        _mm_add_epi16(_mm_mullo_epi16(load(p), w00), _mm_mullo_epi16(load(p + step), w01));
    const __m128i bottom = _mm_add_epi16(_mm_mullo_epi16(load(p + stride), w10),
                                         _mm_mullo_epi16(load(p + stride + step), w11));
    return _mm_add_epi16(top, bottom);
}

}  // namespace

struct MotionInterpolator::Impl {
    MotionParams params;
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
    std::vector<uint8_t> badMatch;   // per level-0 block: 1 poor best match, 2 isolated vector
    bool sceneCut = false;

    std::vector<uint16_t> acc;  // overlapped-block accumulation of one plane

    const FrameData& prev() const { return frames[latest ^ 1]; }
    const FrameData& cur() const { return frames[latest]; }

    void configure(const ConstFrameView& f);
    void load(FrameData& fd, const ConstFrameView& f);
    void estimate();
    int cost(int level, int bx, int by, Vec v) const;
    void searchLevel(int level);
    void smoothLevel(int level);
    void refineSubpixel();
    void classify();
    void compensate(int plane, int k, int n, uint8_t* dst, ptrdiff_t dstStride);
};

void MotionInterpolator::Impl::configure(const ConstFrameView& f) {
    format = f.format;
    width = f.width;
    height = f.height;
    range = params.searchRange > 0 ? std::min(params.searchRange, kMaxRange)
                                   : clampInt(std::max(width, height) / 4, 32, 128);
    levels = 1;
    while (levels < kMaxLevels && (width >> levels) >= 96 && (height >> levels) >= 48) ++levels;
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
    mv16.assign(static_cast<size_t>(nbx) * nby, Vec());
    previousMv16 = mv16;
    useMotion.assign(mv16.size(), 0);
    badMatch.assign(mv16.size(), 0);
    havePreviousField = false;
    frameCount = 0;
}

void MotionInterpolator::Impl::load(FrameData& fd, const ConstFrameView& f) {
    fd.planes[0].load(f.planes[0], f.strides[0]);
    fd.planes[1].load(f.planes[1], f.strides[1]);
    if (format == PixelFormat::kI420) fd.planes[2].load(f.planes[2], f.strides[2]);
    for (int l = 1; l < levels; ++l) fd.level(l - 1).downsampleInto(fd.pyramid[l]);
}

// Symmetric matching cost: the block of the in-between frame at (bx, by) seen through vector v
// (from the previous frame to the latest, in pixels of this level) in both frames. For odd
// components the previous frame takes the larger half.
int MotionInterpolator::Impl::cost(int level, int bx, int by, Vec v) const {
    const PaddedPlane& a = prev().level(level);
    const PaddedPlane& b = cur().level(level);
    const int ax = -floorDiv(v.x + 1, 2);
    const int ay = -floorDiv(v.y + 1, 2);
    const int x0 = bx * kBlock;
    const int y0 = by * kBlock;
    return sad8x8(a.at(x0 + ax, y0 + ay), b.at(x0 + ax + v.x, y0 + ay + v.y), a.stride());
}

void MotionInterpolator::Impl::searchLevel(int level) {
    Field& f = fields[level];
    const Field* parent = level + 1 < levels ? &fields[level + 1] : nullptr;
    const int r = (range + (1 << level) - 1) >> level;
    auto clampVec = [r](Vec v) { return Vec{clampInt(v.x, -r, r), clampInt(v.y, -r, r)}; };

    for (int by = 0; by < f.nby; ++by) {
        for (int bx = 0; bx < f.nbx; ++bx) {
            Vec cands[12];
            int nc = 0;
            auto add = [&](Vec v) {
                v = clampVec(v);
                for (int i = 0; i < nc; ++i) {
                    if (cands[i] == v) return;
                }
                cands[nc++] = v;
            };
            Vec pred;
            if (parent != nullptr) {
                const int px = std::min(bx >> 1, parent->nbx - 1);
                const int py = std::min(by >> 1, parent->nby - 1);
                auto up = [&](int x, int y) {
                    x = clampInt(x, 0, parent->nbx - 1);
                    y = clampInt(y, 0, parent->nby - 1);
                    const Vec& pv = parent->v[static_cast<size_t>(y) * parent->nbx + x];
                    return Vec{pv.x * 2, pv.y * 2};
                };
                pred = up(px, py);
                add(pred);
                const int sx = (bx & 1) ? 1 : -1;
                const int sy = (by & 1) ? 1 : -1;
                add(up(px + sx, py));
                add(up(px, py + sy));
                add(up(px + sx, py + sy));
            }
            if (havePreviousField) {
                const int x0 = std::min((bx << level) + ((1 << level) >> 1), nbx - 1);
                const int y0 = std::min((by << level) + ((1 << level) >> 1), nby - 1);
                const Vec& tv = previousMv16[static_cast<size_t>(y0) * nbx + x0];
                const int scale = 16 << level;
                const Vec temporal{roundDiv(tv.x, scale), roundDiv(tv.y, scale)};
                if (parent == nullptr) pred = temporal;
                add(temporal);
            }
            add(Vec());
            const size_t idx = static_cast<size_t>(by) * f.nbx + bx;
            if (bx > 0) add(f.v[idx - 1]);
            if (by > 0) {
                add(f.v[idx - f.nbx]);
                if (bx + 1 < f.nbx) add(f.v[idx - f.nbx + 1]);
            }

            auto penalised = [&](Vec v, int sad) {
                return sad + kLambda * (std::abs(v.x - pred.x) + std::abs(v.y - pred.y));
            };
            Vec best;
            int bestSad = 0;
            int bestCost = -1;
            auto consider = [&](Vec v) {
                const int sad = cost(level, bx, by, v);
                const int c = penalised(v, sad);
                if (bestCost < 0 || c < bestCost) {
                    bestCost = c;
                    bestSad = sad;
                    best = v;
                }
            };
            for (int i = 0; i < nc; ++i) consider(cands[i]);
            if (parent == nullptr) {
                // Coarsest level: exhaustive search of the whole (scaled) range.
                for (int y = -r; y <= r; ++y) {
                    for (int x = -r; x <= r; ++x) consider(Vec{x, y});
                }
            }
            // Descend a small diamond until no neighbour improves.
            for (int iter = 0; iter < 16; ++iter) {
                const Vec centre = best;
                static constexpr int kDx[4] = {1, -1, 0, 0};
                static constexpr int kDy[4] = {0, 0, 1, -1};
                for (int d = 0; d < 4; ++d) {
                    const Vec v{centre.x + kDx[d], centre.y + kDy[d]};
                    if (std::abs(v.x) > r || std::abs(v.y) > r) continue;
                    consider(v);
                }
                if (best == centre) break;
            }
            f.v[idx] = best;
            f.cost[idx] = bestSad;
        }
    }
}

// Replaces each vector by the component-wise median of its 3x3 neighbourhood when that matches
// nearly as well: removes isolated outliers without smearing real motion boundaries.
void MotionInterpolator::Impl::smoothLevel(int level) {
    Field& f = fields[level];
    std::vector<Vec> out = f.v;
    for (int by = 0; by < f.nby; ++by) {
        for (int bx = 0; bx < f.nbx; ++bx) {
            int xs[9];
            int ys[9];
            int n = 0;
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    const int x = clampInt(bx + dx, 0, f.nbx - 1);
                    const int y = clampInt(by + dy, 0, f.nby - 1);
                    const Vec& v = f.v[static_cast<size_t>(y) * f.nbx + x];
                    xs[n] = v.x;
                    ys[n] = v.y;
                    ++n;
                }
            }
            std::nth_element(xs, xs + 4, xs + 9);
            std::nth_element(ys, ys + 4, ys + 9);
            const Vec med{xs[4], ys[4]};
            const size_t idx = static_cast<size_t>(by) * f.nbx + bx;
            if (med == f.v[idx]) continue;
            const int c = cost(level, bx, by, med);
            if (c <= f.cost[idx] + kBlock * kBlock) {
                out[idx] = med;
                f.cost[idx] = c;
            }
        }
    }
    f.v.swap(out);
}

// Sub-pixel position of each level-0 vector from the costs of its four integer neighbours,
// fitting a symmetric V to each axis (the shape block-matching costs have near a minimum).
void MotionInterpolator::Impl::refineSubpixel() {
    const Field& f = fields[0];
    auto fit = [](int cm, int c0, int cp) {
        // Offset in 1/16 pixel of the V's apex from the centre sample.
        if (cm <= c0 && cm <= cp) return -8;
        if (cp <= c0 && cp <= cm) return 8;
        const int denom = 2 * (std::max(cm, cp) - c0);
        if (denom <= 0) return 0;
        return clampInt(roundDiv(16 * (cm - cp), denom), -8, 8);
    };
    for (int by = 0; by < f.nby; ++by) {
        for (int bx = 0; bx < f.nbx; ++bx) {
            const size_t idx = static_cast<size_t>(by) * f.nbx + bx;
            const Vec v = f.v[idx];
            const int c0 = f.cost[idx];
            const int cxm = cost(0, bx, by, Vec{v.x - 1, v.y});
            const int cxp = cost(0, bx, by, Vec{v.x + 1, v.y});
            const int cym = cost(0, bx, by, Vec{v.x, v.y - 1});
            const int cyp = cost(0, bx, by, Vec{v.x, v.y + 1});
            mv16[idx] = Vec{v.x * 16 + fit(cxm, c0, cxp), v.y * 16 + fit(cym, c0, cyp)};
        }
    }
}

// Chooses per block between compensation and blend, and detects scene cuts.
void MotionInterpolator::Impl::classify() {
    const Field& f = fields[0];
    const PaddedPlane& a = prev().planes[0];
    const PaddedPlane& b = cur().planes[0];
    size_t badBlocks = 0;
    for (int by = 0; by < f.nby; ++by) {
        for (int bx = 0; bx < f.nbx; ++bx) {
            const size_t idx = static_cast<size_t>(by) * f.nbx + bx;
            const int x = bx * kBlock;
            const int y = by * kBlock;
            const int act = (detail::activity8x8(a.at(x, y), a.stride()) +
                             detail::activity8x8(b.at(x, y), b.stride())) /
                            2;
            bool isBad = f.cost[idx] * 8 > act * kBadShare + 8 * kNoise * kBlock * kBlock;
            // A vector that hardly any neighbour shares is a chance match (typical of
            // occlusions and unrelated pictures), however low its cost.
            const Vec v = mv16[idx];
            int neighbours = 0;
            int agree = 0;
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    const int nx = bx + dx;
                    const int ny = by + dy;
                    if ((dx == 0 && dy == 0) || nx < 0 || ny < 0 || nx >= f.nbx || ny >= f.nby) {
                        continue;
                    }
                    const Vec& w = mv16[static_cast<size_t>(ny) * f.nbx + nx];
                    ++neighbours;
                    agree += std::abs(w.x - v.x) + std::abs(w.y - v.y) <= kAgree ? 1 : 0;
                }
            }
            const bool isolated = agree * 4 < neighbours;
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
            if (motion && badMatch[idx] == 2) {
                motion = false;
            } else if (motion && badMatch[idx] == 1) {
                // A poor match still wins when it clearly beats standing still.
                const int still = cost(0, bx, by, Vec());
                motion = f.cost[idx] * 4 < still * 3;
            }
            useMotion[idx] = motion ? 1 : 0;
            if (!motion) ++fallbacks;
        }
    }
    stats.pairs += 1;
    stats.sceneCuts += sceneCut ? 1 : 0;
    stats.blocks += f.cost.size();
    stats.fallbackBlocks += fallbacks;
}

void MotionInterpolator::Impl::estimate() {
    for (int l = levels - 1; l >= 0; --l) {
        searchLevel(l);
        smoothLevel(l);
    }
    refineSubpixel();
    classify();
}

// Overlapped-block compensation of one plane at phase k/n: every block predicts a window twice
// its size (half a block of overlap on each side) from both frames along its vector; windows
// are weighted by separable triangular ramps that sum to one wherever they overlap.
void MotionInterpolator::Impl::compensate(int plane, int k, int n, uint8_t* dst,
                                          ptrdiff_t dstStride) {
    const PaddedPlane& a = prev().planes[plane];
    const PaddedPlane& b = cur().planes[plane];
    const bool chroma = plane > 0;
    const int bs = chroma ? kBlock / 2 : kBlock;  // block size in elements of this plane
    const int step = a.step();
    const int win = 2 * bs;           // window size in elements
    const int winBytes = win * step;  // 16, or 8 for planar chroma
    const int half = bs / 2;
    // The accumulator spans the windows of a ring of virtual blocks around the grid (they take
    // the vectors of the nearest real block) so that edge pixels get full weight too.
    const int accOrigin = bs + half;  // accumulator element of plane element 0
    const int accWidth = (nbx + 3) * bs * step;
    const int accRows = (nby + 3) * bs;
    acc.assign(static_cast<size_t>(accWidth) * accRows + 16, 0);

    // Window weights: ramp sums to 16 across overlapping windows, the product to 256.
    uint16_t ramp[16];
    for (int i = 0; i < win; ++i) {
        const int r = i < bs ? 2 * i + 1 : 2 * (win - i) - 1;
        ramp[i] = static_cast<uint16_t>(r * 8 / bs);
    }
    alignas(16) uint16_t colWeights[16];
    for (int c = 0; c < winBytes; ++c) colWeights[c] = ramp[c / step];
    for (int c = winBytes; c < 16; ++c) colWeights[c] = 0;
    const __m128i colLo = _mm_load_si128(reinterpret_cast<const __m128i*>(colWeights));
    const __m128i colHi = _mm_load_si128(reinterpret_cast<const __m128i*>(colWeights + 8));

    const int wB = (65536 * k + n / 2) / n;  // 1 .. 65535 for 0 < k < n
    const __m128i vwA = _mm_set1_epi16(static_cast<short>(65536 - wB));
    const __m128i vwB = _mm_set1_epi16(static_cast<short>(wB));
    const __m128i round8 = _mm_set1_epi16(128);
    const int div = chroma ? 2 * n : n;  // chroma vectors are half the luma ones

    for (int by = -1; by <= nby; ++by) {
        const int cby = clampInt(by, 0, nby - 1);
        for (int bx = -1; bx <= nbx; ++bx) {
            const int cbx = clampInt(bx, 0, nbx - 1);
            const size_t idx = static_cast<size_t>(cby) * nbx + cbx;
            const Vec v = useMotion[idx] ? mv16[idx] : Vec();
            // Offsets in 1/16 element: the previous frame is sampled at -k/n of the vector,
            // the latest at +(n-k)/n.
            const int oax = roundDiv(-k * v.x, div);
            const int oay = roundDiv(-k * v.y, div);
            const int obx = roundDiv((n - k) * v.x, div);
            const int oby = roundDiv((n - k) * v.y, div);
            const int x0 = bx * bs - half;
            const int y0 = by * bs - half;
            const uint8_t* pa = a.at(x0 + (oax >> 4), y0 + (oay >> 4));
            const uint8_t* pb = b.at(x0 + (obx >> 4), y0 + (oby >> 4));
            const Taps ta{oax & 15, oay & 15};
            const Taps tb{obx & 15, oby & 15};
            uint16_t* accRow = acc.data() + static_cast<size_t>(y0 + accOrigin) * accWidth +
                               (x0 + accOrigin) * step;
            for (int r = 0; r < win; ++r) {
                const __m128i rowWeight = _mm_set1_epi16(static_cast<short>(ramp[r]));
                const uint8_t* ra = pa + r * a.stride();
                const uint8_t* rb = pb + r * b.stride();
                for (int part = 0; part < winBytes; part += 8) {
                    const __m128i sa = bilinear8(ra + part, a.stride(), step, ta);
                    const __m128i sb = bilinear8(rb + part, b.stride(), step, tb);
                    __m128i pred =
                        _mm_add_epi16(_mm_mulhi_epu16(sa, vwA), _mm_mulhi_epu16(sb, vwB));
                    pred = _mm_srli_epi16(_mm_add_epi16(pred, round8), 8);
                    const __m128i w = _mm_mullo_epi16(rowWeight, part == 0 ? colLo : colHi);
                    __m128i* out = reinterpret_cast<__m128i*>(accRow + part);
                    _mm_storeu_si128(out,
                                     _mm_add_epi16(_mm_loadu_si128(out), _mm_mullo_epi16(pred, w)));
                }
                accRow += accWidth;
            }
        }
    }

    const int rows = chroma ? chromaHeight(height) : height;
    const int rowBytes = (chroma ? chromaWidth(width) : width) * step;
    for (int y = 0; y < rows; ++y) {
        const uint16_t* in =
            acc.data() + static_cast<size_t>(y + accOrigin) * accWidth + accOrigin * step;
        uint8_t* out = dst + y * dstStride;
        int x = 0;
        for (; x + 16 <= rowBytes; x += 16) {
            const __m128i lo = _mm_srli_epi16(
                _mm_add_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in + x)), round8),
                8);
            const __m128i hi = _mm_srli_epi16(
                _mm_add_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in + x + 8)),
                              round8),
                8);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_packus_epi16(lo, hi));
        }
        for (; x < rowBytes; ++x) out[x] = static_cast<uint8_t>((in[x] + 128) >> 8);
    }
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
    if (!hasPair() || n < 2 || n > 16 || k <= 0 || k >= n || !dst.valid() ||
        dst.format != s.format || dst.width != s.width || dst.height != s.height) {
        return false;
    }
    s.compensate(0, k, n, dst.planes[0], dst.strides[0]);
    s.compensate(1, k, n, dst.planes[1], dst.strides[1]);
    if (s.format == PixelFormat::kI420) s.compensate(2, k, n, dst.planes[2], dst.strides[2]);
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

int MotionInterpolator::blocksPerRow() const {
    return hasPair() ? impl_->nbx : 0;
}
int MotionInterpolator::blockRows() const {
    return hasPair() ? impl_->nby : 0;
}

MotionInterpolator::BlockInfo MotionInterpolator::block(int bx, int by) const {
    BlockInfo info;
    if (!hasPair() || bx < 0 || by < 0 || bx >= impl_->nbx || by >= impl_->nby) return info;
    const size_t idx = static_cast<size_t>(by) * impl_->nbx + bx;
    info.dx = static_cast<float>(impl_->mv16[idx].x) / 16.0f;
    info.dy = static_cast<float>(impl_->mv16[idx].y) / 16.0f;
    info.cost = impl_->fields[0].cost[idx];
    info.compensated = impl_->useMotion[idx] != 0;
    return info;
}

}  // namespace frc
