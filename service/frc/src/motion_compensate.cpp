// Rendering of an in-between frame: overlapped-block compensation from both frames, in bands
// of block rows on several threads.
#include <algorithm>
#include <cstring>

#include "motion_impl.h"

namespace frc {

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
    // Threads only for pictures with enough rows to be worth starting them.
    const int bands = std::max(1, std::min(threadCount(), nby / kSearchBandRows));
    bandScratch.resize(static_cast<size_t>(bands));
    parallelFor(bands, [&](int b) {
        compensateBand(k, n, dst, nby * b / bands, nby * (b + 1) / bands, bandScratch[b]);
    });
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
            const int fromA = cb.count;
            addTaps(cb, fb.planes[1], cx, cy, cobx, coby, wB);
            normalise(cb);
            const size_t cOff = gc.windowOffset(bx);
            if (planar) {
                // Cr's taps are Cb's at the same places of the other plane (the two planes
                // share their geometry), with the same weights.
                detail::WindowTaps cr = cb;
                for (int t = 0; t < cb.count; ++t) {
                    const FrameData& side = t < fromA ? fa : fb;
                    cr.base[t] = side.planes[2].row(0) + (cb.base[t] - side.planes[1].row(0));
                }
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

}  // namespace frc
