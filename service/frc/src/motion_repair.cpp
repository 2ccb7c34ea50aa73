// Classification of the motion field (compensate or blend, scene cuts, repetitive texture) and
// the repair of blocks where a moving object covers or uncovers the background.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "motion_impl.h"

namespace frc {

// Chooses per block between compensation and blend, and detects scene cuts.
void MotionInterpolator::Impl::classify() {
    const Field& f = fields[0];
    noise = measureNoise(0, true);
    // Blocks are judged independently: bands of rows on the worker threads.
    const int bands = (f.nby + kSearchBandRows - 1) / kSearchBandRows;
    std::vector<size_t> badInBand(static_cast<size_t>(bands), 0);
    parallelFor(bands, [&](int band) {
        size_t& badBlocks = badInBand[static_cast<size_t>(band)];
        for (int by = band * kSearchBandRows; by < std::min(f.nby, (band + 1) * kSearchBandRows);
             ++by) {
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
                        if ((dx == 0 && dy == 0) || nx < 0 || ny < 0 || nx >= f.nbx ||
                            ny >= f.nby) {
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
                            wideAgree +=
                                std::abs(w.x - v.x) + std::abs(w.y - v.y) <= kAgree ? 1 : 0;
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
    });
    size_t badBlocks = 0;
    for (size_t b : badInBand) badBlocks += b;
    sceneCut = badBlocks * 256 > f.cost.size() * kCutShare;
    fastHint.assign(mv16.size(), Vec{kNoHint, kNoHint});
    fastObject.assign(mv16.size(), 0);
    if (!sceneCut) findFastObjects();
    size_t fallbacks = 0;
    for (int by = 0; by < f.nby; ++by) {
        for (int bx = 0; bx < f.nbx; ++bx) {
            const size_t idx = static_cast<size_t>(by) * f.nbx + bx;
            bool motion = !sceneCut;
            // In repetitive texture a displacement of a quarter period or more may as well be
            // another one a period away: the in-between frames would differ, so blend.
            const int periodX = periodAt(bx, by, 0);
            const int periodY = periodAt(bx, by, 1);
            // (A fast object's motion was confirmed from both frames, not by this block.)
            const bool ambiguous =
                !fastObject[idx] && ((periodX > 0 && 4 * std::abs(mv16[idx].x) >= 16 * periodX) ||
                                     (periodY > 0 && 4 * std::abs(mv16[idx].y) >= 16 * periodY));
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
            // (Around a fast object's path both frames agree on the background standing
            // still; a pixel-wise choice would erase the object.)
            if (useMotion[idx] && badMatch[idx] == 0 && onBorder[idx] && !fastObject[idx]) {
                repairOcclusion(idx, true);
            }
        }
    }
    repairQueue.clear();
    for (uint8_t m : useMotion) fallbacks += m ? 0 : 1;
    stats.pairs += 1;
    stats.sceneCuts += sceneCut ? 1 : 0;
    stats.blocks += f.cost.size();
    stats.fallbackBlocks += fallbacks;
}

// A small object moving fast is invisible to the symmetric search: halfway between its two
// positions both frames show the background, which matches perfectly standing still. What it
// leaves behind are two groups of badly matched blocks, where it was and where it is. Each such
// block looks for its content in the other frame one-sidedly, at the offsets to the other badly
// matched blocks (refined to the pixel); a clear match is the object's motion, and the blocks
// halfway along it take that motion where it fits both frames. The badly matched blocks keep
// it as the foreground of their occlusion repair.
void MotionInterpolator::Impl::findFastObjects() {
    const Field& f = fields[0];
    badList.clear();
    for (size_t idx = 0; idx < badMatch.size(); ++idx) {
        // (Blocks on the picture's edge match badly wherever content enters or leaves.)
        const int bx = static_cast<int>(idx % nbx);
        const int by = static_cast<int>(idx / nbx);
        const bool edge = bx == 0 || by == 0 || bx == nbx - 1 || by == nby - 1;
        if (badMatch[idx] != 0 && !edge) badList.push_back(static_cast<int>(idx));
    }
    // Many bad blocks are not a few small objects (and the pairing below is quadratic).
    if (badList.empty() || badList.size() > static_cast<size_t>(kFastObjectBlocks)) return;
    const PaddedPlane& a = prev().planes[0];
    const PaddedPlane& b = cur().planes[0];
    const ptrdiff_t stride = a.stride();
    const int minMove = kBlock;  // slower motions are the search's
    struct Found {
        int idx;
        Vec d;  // pixels, from the previous frame to the latest
        int dir;
    };
    std::vector<Found> found;
    for (const int i : badList) {
        const int x = (i % nbx) * kBlock;
        const int y = (i / nbx) * kBlock;
        for (int dir = 0; dir < 2; ++dir) {
            // dir 0: the earlier frame's block sought in the later one; 1: the reverse.
            const PaddedPlane& from = dir == 0 ? a : b;
            const PaddedPlane& to = dir == 0 ? b : a;
            auto sadAt = [&](Vec d) {
                return dsp.sad8x8(from.at(x, y), to.at(x + d.x, y + d.y), stride);
            };
            // The best one-sided fit of the motions around the block (and of standing still).
            int still = sadAt(Vec());
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    const int nx = i % nbx + dx;
                    const int ny = i / nbx + dy;
                    if (nx < 0 || ny < 0 || nx >= nbx || ny >= nby) continue;
                    const Vec w = mv16[static_cast<size_t>(ny) * nbx + nx];
                    const int sign = dir == 0 ? 1 : -1;
                    still = std::min(
                        still, sadAt(Vec{sign * roundDiv(w.x, 16), sign * roundDiv(w.y, 16)}));
                }
            }
            Vec best{};
            int bestSad = still;
            for (const int j : badList) {
                if (j == i) continue;
                const Vec d{(j % nbx) * kBlock - x, (j / nbx) * kBlock - y};
                if (std::abs(d.x) + std::abs(d.y) < minMove || std::abs(d.x) > range ||
                    std::abs(d.y) > range) {
                    continue;
                }
                const int sad = sadAt(d);
                if (sad < bestSad) {
                    bestSad = sad;
                    best = d;
                }
            }
            if (best == Vec()) continue;
            // Descend to the pixel: the blocks' offsets are a grid of 8.
            for (int step = 0; step < 16; ++step) {
                const Vec centre = best;
                for (const Vec o : {Vec{1, 0}, Vec{-1, 0}, Vec{0, 1}, Vec{0, -1}}) {
                    const Vec d{centre.x + o.x, centre.y + o.y};
                    if (std::abs(d.x) > range || std::abs(d.y) > range) continue;
                    const int sad = sadAt(d);
                    if (sad < bestSad) {
                        bestSad = sad;
                        best = d;
                    }
                }
                if (best == centre) break;
            }
            const int act = dsp.activity8x8(from.at(x, y), stride);
            if (bestSad * 8 > act * kBadShare + 8 * noise || 4 * bestSad > still) continue;
            const Vec d = dir == 0 ? best : Vec{-best.x, -best.y};
            found.push_back({i, d, dir});
        }
    }
    // A motion counts when the object was found from both sides: from where it was, forward,
    // and from where it is, backward (chance matches rarely agree so).
    size_t kept = 0;
    for (const Found& m : found) {
        bool confirmed = false;
        for (const Found& o : found) {
            confirmed = confirmed || (o.dir != m.dir && std::abs(o.d.x - m.d.x) <= kBlock / 2 + 2 &&
                                      std::abs(o.d.y - m.d.y) <= kBlock / 2 + 2);
        }
        if (!confirmed) continue;
        fastHint[static_cast<size_t>(m.idx)] = Vec{16 * m.d.x, 16 * m.d.y};
        found[kept++] = m;
    }
    found.resize(kept);
    // Halfway along each motion found, the blocks the object's block overlaps.
    for (const Found& m : found) {
        const int x = (m.idx % nbx) * kBlock;
        const int y = (m.idx / nbx) * kBlock;
        // Halfway, the earlier frame's block has moved by d/2, the later frame's one is d/2
        // short of where it is.
        const int s = m.dir == 0 ? 1 : -1;
        const int cx = x + s * roundDiv(m.d.x, 2);
        const int cy = y + s * roundDiv(m.d.y, 2);
        for (int oy = 0; oy < 2; ++oy) {
            for (int ox = 0; ox < 2; ++ox) {
                const int px = static_cast<int>(floorDiv(cx, kBlock)) + ox;
                const int py = static_cast<int>(floorDiv(cy, kBlock)) + oy;
                if (px < 0 || py < 0 || px >= nbx || py >= nby) continue;
                const size_t p = static_cast<size_t>(py) * nbx + px;
                if (badMatch[p] != 0) continue;
                // The one-sided fit is to the pixel at best (and loose where the object is
                // uniform along an axis): descend on the symmetric cost, in half pixels.
                Vec half{2 * m.d.x, 2 * m.d.y};
                int c = cost(0, px, py, half);
                for (int size = 2; size >= 1; --size) {
                    for (int step = 0; step < 8; ++step) {
                        const Vec centre = half;
                        for (const Vec o : {Vec{1, 0}, Vec{-1, 0}, Vec{0, 1}, Vec{0, -1}}) {
                            const Vec v{centre.x + size * o.x, centre.y + size * o.y};
                            if (std::abs(v.x) > 2 * range || std::abs(v.y) > 2 * range) continue;
                            const int cv = cost(0, px, py, v);
                            if (cv < c) {
                                c = cv;
                                half = v;
                            }
                        }
                        if (half == centre) break;
                    }
                }
                if (c * 8 > activity[p] * kBadShare + 8 * noise || c > std::max(f.cost[p], noise)) {
                    continue;
                }
                fields[0].v[p] = half;
                fields[0].cost[p] = c;
                mv16[p] = Vec{8 * half.x, 8 * half.y};
                fastObject[p] = 1;
            }
        }
    }
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
    // A block that a fast object left or reached has that object's motion as its foreground.
    const bool hinted = !boundary && second < 0 && fastHint[idx].x != kNoHint;
    if (!boundary) {
        mv16[idx] = background;
        useMotion[idx] = 1;
        if ((second < 0 && !hinted) || matches(symmetric(background))) return;
    }
    const Vec foreground =
        hinted ? fastHint[idx] : (background == cluster[first] ? cluster[second] : cluster[first]);
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
    return sampleComponent(p, x, y, 0, ox, oy);
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
        // Every repair holds the background's and the foreground's vectors (and maybe a third).
        if (r.count < 2) continue;
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
        // Bilinear samples at a fractional offset soften fine texture: a true match under such
        // a vector leaves a disagreement that grows with the texture's gradient and with the
        // offsets' distance from whole samples (in 1/16, both frames and axes: 0..32).
        int blur[3] = {0, 0, 0};
        for (int c = 0; c < r.count; ++c) {
            const int offsets[4] = {
                roundDiv(-int64_t{k} * vecs[c].x, n), roundDiv(-int64_t{k} * vecs[c].y, n),
                roundDiv(int64_t{n - k} * vecs[c].x, n), roundDiv(int64_t{n - k} * vecs[c].y, n)};
            for (int o : offsets) blur[c] += std::min(o & 15, 16 - (o & 15));
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
                int allowance = 9 * kAgreeNoise;
                if (blur[c] > 0) {
                    int gradient = 0;
                    for (int i = 0; i < 3; ++i) {
                        for (int j = 0; j < 2; ++j) {
                            gradient += std::abs(pa[c][y + i][x + j + 1] - pa[c][y + i][x + j]) +
                                        std::abs(pb[c][y + i][x + j + 1] - pb[c][y + i][x + j]) +
                                        std::abs(pa[c][y + j + 1][x + i] - pa[c][y + j][x + i]) +
                                        std::abs(pb[c][y + j + 1][x + i] - pb[c][y + j][x + i]);
                        }
                    }
                    allowance += gradient * blur[c] / 16;
                }
                // Where no motion makes the frames agree (the background is hidden in one of
                // them), the background's motion gives the least objectionable mix.
                int value;
                if (best > allowance) {
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

}  // namespace frc
