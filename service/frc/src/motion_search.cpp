// Motion search: hierarchical symmetric block matching over the pyramid, noise measurement,
// dominant motions and the sub-pixel fit of the finest field.
#include <algorithm>
#include <cstdlib>

#include "motion_impl.h"

namespace frc {

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
    const int levelNoise = fine ? noise : measureNoise(level, false);
    // One pass over the block rows [rowBegin, rowEnd), taking neighbours from those rows only.
    auto searchRows = [&](int pass, int rowBegin, int rowEnd) {
        const bool forward = pass == 0;
        for (int row = rowBegin; row < rowEnd; ++row) {
            const int by = forward ? row : rowEnd - 1 - (row - rowBegin);
            for (int col = 0; col < f.nbx; ++col) {
                const int bx = forward ? col : f.nbx - 1 - col;
                const size_t idx = static_cast<size_t>(by) * f.nbx + bx;
                if (!forward && parent != nullptr && level < kBackwardLevel) {
                    // Banded levels look again only where the block right of or below this
                    // one moves clearly differently.
                    const Vec own = at(bx, by);
                    auto far = [&own](const Vec& w) {
                        return std::abs(w.x - own.x) + std::abs(w.y - own.y) > 2;
                    };
                    if (!(bx + 1 < f.nbx && far(at(bx + 1, by))) &&
                        !(by + 1 < rowEnd && far(at(bx, by + 1)))) {
                        continue;
                    }
                }
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
                    // (Rows of this pass's band only: other bands are searched meanwhile.)
                    for (int dy = -1; dy <= 1; ++dy) {
                        for (int dx = -1; dx <= 1; ++dx) {
                            const Vec& w = at(clampInt(bx + dx, 0, f.nbx - 1),
                                              clampInt(by + dy, rowBegin, rowEnd - 1));
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
                    if (havePreviousField) {
                        // The previous pair's motion here (in half pixels at level 0).
                        const int x0 = std::min((bx << level) + ((1 << level) >> 1), nbx - 1);
                        const int y0 = std::min((by << level) + ((1 << level) >> 1), nby - 1);
                        const Vec& tv = previousMv16[static_cast<size_t>(y0) * nbx + x0];
                        const int scale = fine ? 8 : 16 << level;
                        add(Vec{roundDiv(tv.x, scale), roundDiv(tv.y, scale)});
                    }
                    if (!fine) add(Vec());
                    if (hasH) add(at(bx + sx, by));
                    if (hasV) add(at(bx, by + sy));
                    if (hasD) add(at(bx - sx, by + sy));
                    add(pred);
                } else if (parent == nullptr || level >= kBackwardLevel) {
                    add(at(bx, by));
                    add(pred);
                    if (hasH) add(at(bx + sx, by));
                    if (hasV) add(at(bx, by + sy));
                    if (!fine && hasD) add(at(bx - sx, by + sy));
                } else {
                    // Banded levels: only clearly different motions are worth a second look
                    // (the forward pass's descent already tried the vectors next to this one).
                    const Vec own = at(bx, by);
                    auto addFar = [&](Vec v) {
                        if (std::abs(v.x - own.x) + std::abs(v.y - own.y) > 2) add(v);
                    };
                    add(own);
                    addFar(pred);
                    if (hasH) addFar(at(bx + sx, by));
                    if (hasV) addFar(at(bx, by + sy));
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
                    // Without a pyramid (level 0 is the coarsest) whole pixels are searched;
                    // the diamond below refines to half pixels.
                    for (int y = -ry; y <= ry; y += scale) {
                        for (int x = -rx; x <= rx; x += scale) {
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
                // (At level 0 a block's activity is measured only when its match is in doubt:
                // a match that would fit a block with no texture at all needs none.)
                const bool doubt = parent != nullptr && forward && bestSad > levelNoise;
                const int blockActivity =
                    !doubt ? 0
                    : fine ? dsp.activity8x8(prev().planes[0].at(bx * kBlock, by * kBlock),
                                             prev().planes[0].stride())
                           : activity[idx];
                if (doubt && bestSad * 8 > blockActivity * kBadShare + 8 * levelNoise) {
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
                    // (In the order -x, +x, -y, +y; -1 where not tried.)
                    int* around = &aroundCost[idx * 4];
                    for (int d = 0; d < 4; ++d) around[d] = -1;
                    for (int i = 0; i < nt; ++i) {
                        const int dx = tried[i].x - best.x;
                        const int dy = tried[i].y - best.y;
                        if (dy == 0 && (dx == -1 || dx == 1)) around[(dx + 1) / 2] = triedSad[i];
                        if (dx == 0 && (dy == -1 || dy == 1))
                            around[2 + (dy + 1) / 2] = triedSad[i];
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
        // many threads as configured; the field does not depend on the thread count). The
        // backward pass carries vectors found right of and below a block back to it: a small
        // object's motion is often found first in its lower right part.
        const int bands = (f.nby + kSearchBandRows - 1) / kSearchBandRows;
        parallelFor(bands, [&](int b) {
            const int end = std::min(f.nby, (b + 1) * kSearchBandRows);
            searchRows(0, b * kSearchBandRows, end);
            searchRows(1, b * kSearchBandRows, end);
        });
    }
    if (!fine) {
        distrustBadMatches(level);
        findDominant(level);
    } else {
        competeAtBorders();
    }
}

// Where the finest field is not smooth, a block tries the vectors of the blocks around it: a
// motion found in one part of an object reaches the rest of it, across blocks that took a
// chance match. A neighbour's vector replaces the block's own only when it matches clearly
// better (in flat areas every vector matches about as well, and nothing changes). Two passes,
// forward and backward, each using what it has already changed, so a vector travels across
// several blocks.
void MotionInterpolator::Impl::competeAtBorders() {
    Field& f = fields[0];
    const int margin = noise / 4;
    // Blocks within two of a clearly different neighbour (a separable dilation of the map of
    // differences to the right and below), found once: the field is smooth almost everywhere.
    const size_t count = f.v.size();
    auto differs = [](const Vec& a, const Vec& b) {
        return std::abs(a.x - b.x) + std::abs(a.y - b.y) > 2;
    };
    nearBorder.assign(count, 0);
    for (int by = 0; by < f.nby; ++by) {
        for (int bx = 0; bx < f.nbx; ++bx) {
            const size_t idx = static_cast<size_t>(by) * f.nbx + bx;
            const bool right = bx + 1 < f.nbx && differs(f.v[idx], f.v[idx + 1]);
            const bool below = by + 1 < f.nby && differs(f.v[idx], f.v[idx + f.nbx]);
            if (right || below) {
                nearBorder[idx] = 1;
                if (right) nearBorder[idx + 1] = 1;
                if (below) nearBorder[idx + f.nbx] = 1;
            }
        }
    }
    dilated.assign(count, 0);
    for (int by = 0; by < f.nby; ++by) {
        const size_t row = static_cast<size_t>(by) * f.nbx;
        for (int bx = 0; bx < f.nbx; ++bx) {
            if (!nearBorder[row + bx]) continue;
            for (int x = std::max(0, bx - 2); x <= std::min(f.nbx - 1, bx + 2); ++x) {
                dilated[row + x] = 1;
            }
        }
    }
    nearBorder.assign(count, 0);
    for (int by = 0; by < f.nby; ++by) {
        for (int bx = 0; bx < f.nbx; ++bx) {
            if (!dilated[static_cast<size_t>(by) * f.nbx + bx]) continue;
            for (int y = std::max(0, by - 2); y <= std::min(f.nby - 1, by + 2); ++y) {
                nearBorder[static_cast<size_t>(y) * f.nbx + bx] = 1;
            }
        }
    }
    for (int pass = 0; pass < 2; ++pass) {
        for (int i = 0; i < f.nbx * f.nby; ++i) {
            const int j = pass == 0 ? i : f.nbx * f.nby - 1 - i;
            // (A block whose match leaves less than the margin cannot do clearly better.)
            if (!nearBorder[static_cast<size_t>(j)] || f.cost[static_cast<size_t>(j)] <= margin) {
                continue;
            }
            const int bx = j % f.nbx;
            const int by = j / f.nbx;
            const size_t idx = static_cast<size_t>(j);
            const Vec own = f.v[idx];
            Vec cands[8];
            int nc = 0;
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    const int x = bx + dx;
                    const int y = by + dy;
                    if (x < 0 || y < 0 || x >= f.nbx || y >= f.nby || (dx == 0 && dy == 0)) {
                        continue;
                    }
                    const Vec w = f.v[static_cast<size_t>(y) * f.nbx + x];
                    if (std::abs(w.x - own.x) + std::abs(w.y - own.y) <= 2) continue;
                    bool seen = false;
                    for (int c = 0; c < nc && !seen; ++c) {
                        seen = std::abs(w.x - cands[c].x) + std::abs(w.y - cands[c].y) <= 2;
                    }
                    if (!seen) cands[nc++] = w;
                }
            }
            if (nc == 0) continue;
            int bestSad = f.cost[idx];
            Vec best = own;
            for (int c = 0; c < nc; ++c) {
                const int sad = cost(0, bx, by, cands[c]);
                if (sad + margin < bestSad && 4 * sad < 3 * f.cost[idx]) {
                    bestSad = sad;
                    best = cands[c];
                }
            }
            if (best != own) {
                f.v[idx] = best;
                f.cost[idx] = bestSad;
                int* around = &aroundCost[idx * 4];
                for (int d = 0; d < 4; ++d) around[d] = -1;
            }
        }
    }
}

// Fills `activity` for the blocks of a level and returns the SAD that noise alone leaves on a
// true 8x8 match there. Grain is spatially white: the flattest blocks of the picture (the
// tenth percentile of activity) show it as activity, which sums about twice as many sample
// differences as a match's SAD. Texture everywhere inflates that estimate, so when the
// level's best-match costs are known (`withCosts`), their tenth percentile (the residue of
// the best true matches) bounds it. Never below the fixed allowance for clean pictures.
int MotionInterpolator::Impl::measureNoise(int level, bool withCosts) {
    const Field& f = fields[level];
    const PaddedPlane& a = prev().level(level);
    activity.resize(f.v.size());
    const int bands = (f.nby + kSearchBandRows - 1) / kSearchBandRows;
    parallelFor(bands, [&](int band) {
        for (int by = band * kSearchBandRows; by < std::min(f.nby, (band + 1) * kSearchBandRows);
             ++by) {
            for (int bx = 0; bx < f.nbx; ++bx) {
                activity[static_cast<size_t>(by) * f.nbx + bx] =
                    dsp.activity8x8(a.at(bx * kBlock, by * kBlock), a.stride());
            }
        }
    });
    activityRank = activity;
    const auto tenth = activityRank.begin() + static_cast<std::ptrdiff_t>(activityRank.size() / 10);
    std::nth_element(activityRank.begin(), tenth, activityRank.end());
    // Half the flattest activity is the noise's typical residue; a true match may leave half
    // as much again.
    int estimate = *tenth * 3 / 4;
    if (withCosts) {
        activityRank.assign(f.cost.begin(), f.cost.end());
        const auto best =
            activityRank.begin() + static_cast<std::ptrdiff_t>(activityRank.size() / 10);
        std::nth_element(activityRank.begin(), best, activityRank.end());
        estimate = std::min(estimate, *best * 3 / 2);
    }
    return std::max(kNoise * kBlock * kBlock, estimate);
}

// At a coarse level, a block whose best match is poor usually straddles differently moving
// content, and its vector is a chance match that finer levels would only refine. Such a block
// hands down the median vector of its well-matched neighbours instead (zero if there are none).
void MotionInterpolator::Impl::distrustBadMatches(int level) {
    Field& f = fields[level];
    const int levelNoise = measureNoise(level, true);
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

}  // namespace frc
