// Quality comparison helper: renders test clips (raw I420), rebuilds the frames between every
// factor-th one with the engine, scores any rebuild by PSNR-Y and SSIM-Y, and converts files.
//
//   frc_quality gen pan|zoom PHOTO.yuv PW PH W H FRAMES OUT.yuv   (PHOTO: raw yuv444p)
//   frc_quality gen KIND W H FRAMES OUT.yuv     KIND: texture objects grain ticker lines ball
//                                               fade zoomin rotate shake parallax short
//   frc_quality decimate IN.yuv W H FACTOR OUT.yuv      keep every FACTOR-th frame
//   frc_quality ours IN.yuv W H blend|motion FACTOR [WORST.yuv]   rebuild and score the rest
//   frc_quality score IN.yuv REBUILT.yuv W H FACTOR [WORST.yuv]   score a rebuild of the kept
//   frc_quality convert IN.yuv W H blend|motion FACTOR OUT.yuv    file-to-file conversion
// Scores print as "psnr P ssim S frames N worst W worst_frame I ..."; WORST.yuv receives the
// rebuilt frame with the lowest PSNR-Y.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "frc/converter.h"

namespace {

struct Frame {
    int w = 0;
    int h = 0;
    std::vector<uint8_t> data;  // I420, tightly packed
    Frame(int width, int height) : w(width), h(height), data(size(width, height)) {}
    static size_t size(int w, int h) {
        return static_cast<size_t>(w) * h + 2 * static_cast<size_t>((w + 1) / 2) * ((h + 1) / 2);
    }
    uint8_t* y() { return data.data(); }
    uint8_t* u() { return data.data() + static_cast<size_t>(w) * h; }
    uint8_t* v() { return u() + static_cast<size_t>((w + 1) / 2) * ((h + 1) / 2); }
    frc::FrameView view() {
        frc::FrameView f;
        f.format = frc::PixelFormat::kI420;
        f.width = w;
        f.height = h;
        f.planes[0] = y();
        f.planes[1] = u();
        f.planes[2] = v();
        f.strides[0] = w;
        f.strides[1] = f.strides[2] = (w + 1) / 2;
        return f;
    }
};

bool readFrame(FILE* f, Frame& fr) {
    return fread(fr.data.data(), 1, fr.data.size(), f) == fr.data.size();
}
bool writeFrame(FILE* f, const Frame& fr) {
    return fwrite(fr.data.data(), 1, fr.data.size(), f) == fr.data.size();
}

double psnrY(const Frame& a, const Frame& b) {
    uint64_t se = 0;
    const size_t n = static_cast<size_t>(a.w) * a.h;
    for (size_t i = 0; i < n; ++i) {
        const int d = a.data[i] - b.data[i];
        se += static_cast<uint64_t>(d * d);
    }
    if (se == 0) return 100.0;
    return 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(n) / static_cast<double>(se));
}

uint8_t clamp8(double v) {
    return static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : std::lround(v)));
}

// A planar 4:4:4 picture sampled with Catmull-Rom bicubic interpolation.
struct Photo {
    int w = 0;
    int h = 0;
    std::vector<uint8_t> planes[3];
    double at(int p, int x, int y) const {
        x = x < 0 ? 0 : (x >= w ? w - 1 : x);
        y = y < 0 ? 0 : (y >= h ? h - 1 : y);
        return planes[p][static_cast<size_t>(y) * w + x];
    }
    double sample(int p, double x, double y) const {
        const int ix = static_cast<int>(std::floor(x));
        const int iy = static_cast<int>(std::floor(y));
        const double fx = x - ix;
        const double fy = y - iy;
        auto weights = [](double t, double* wt) {
            const double t2 = t * t;
            const double t3 = t2 * t;
            wt[0] = 0.5 * (-t3 + 2 * t2 - t);
            wt[1] = 0.5 * (3 * t3 - 5 * t2 + 2);
            wt[2] = 0.5 * (-3 * t3 + 4 * t2 + t);
            wt[3] = 0.5 * (t3 - t2);
        };
        double wx[4];
        double wy[4];
        weights(fx, wx);
        weights(fy, wy);
        double s = 0;
        for (int j = 0; j < 4; ++j) {
            double r = 0;
            for (int i = 0; i < 4; ++i) r += wx[i] * at(p, ix - 1 + i, iy - 1 + j);
            s += wy[j] * r;
        }
        return s;
    }
};

// Renders a frame from a mapping of output luma coordinates to a source sampler.
void render(Frame& f, const std::function<double(int, double, double)>& src) {
    for (int y = 0; y < f.h; ++y) {
        for (int x = 0; x < f.w; ++x)
            f.y()[static_cast<size_t>(y) * f.w + x] = clamp8(src(0, x, y));
    }
    const int cw = (f.w + 1) / 2;
    const int ch = (f.h + 1) / 2;
    for (int y = 0; y < ch; ++y) {
        for (int x = 0; x < cw; ++x) {
            // 4:2:0 chroma sits between its two luma rows and columns.
            const double lx = 2 * x + 0.5;
            const double ly = 2 * y + 0.5;
            f.u()[static_cast<size_t>(y) * cw + x] = clamp8(src(1, lx, ly));
            f.v()[static_cast<size_t>(y) * cw + x] = clamp8(src(2, lx, ly));
        }
    }
}

// A smooth non-periodic background.
double smooth(double x, double y, int seed) {
    const double s = seed * 1.3;
    return 128 + 45 * std::sin(0.031 * x + 0.017 * y + s) +
           30 * std::sin(0.023 * y - 0.041 * x + 2 * s) +
           22 * std::sin(0.11 * x + 0.07 * y + s) * std::sin(0.05 * y - 0.09 * x) +
           14 * std::sin(0.29 * x - 0.23 * y + 3 * s);
}

// Hash of a lattice point to [0, 1).
double hash01(int x, int y, int seed) {
    uint32_t v = static_cast<uint32_t>(x) * 374761393u + static_cast<uint32_t>(y) * 668265263u +
                 static_cast<uint32_t>(seed) * 2246822519u;
    v = (v ^ (v >> 13)) * 1274126177u;
    return ((v ^ (v >> 16)) & 0xffffff) / 16777216.0;
}

// Smoothly interpolated lattice noise in [0, 1) with features of about `scale` pixels.
double valueNoise(double x, double y, double scale, int seed) {
    x /= scale;
    y /= scale;
    const int ix = static_cast<int>(std::floor(x));
    const int iy = static_cast<int>(std::floor(y));
    double fx = x - ix;
    double fy = y - iy;
    fx = fx * fx * (3 - 2 * fx);
    fy = fy * fy * (3 - 2 * fy);
    const double top = hash01(ix, iy, seed) * (1 - fx) + hash01(ix + 1, iy, seed) * fx;
    const double bottom = hash01(ix, iy + 1, seed) * (1 - fx) + hash01(ix + 1, iy + 1, seed) * fx;
    return top * (1 - fy) + bottom * fy;
}

// A natural-looking picture: noise octaves from 48 down to 3 pixels (fine detail included).
double detail(double x, double y, int seed) {
    static const double scales[] = {48, 20, 9, 5, 3};
    static const double amps[] = {110, 70, 45, 30, 22};
    double v = 128;
    for (int i = 0; i < 5; ++i) v += amps[i] * (valueNoise(x, y, scales[i], seed + i) - 0.5);
    return v;
}

// Chroma of the natural-looking picture: smooth only.
double detailChroma(int p, double x, double y, int seed) {
    return 128 + 60 * (valueNoise(x, y, 40, seed * 7 + p) - 0.5);
}

// Coverage (0..1) of a sample by a shape at signed distance d (negative inside), with a
// one-pixel anti-aliased edge.
double coverage(double d) {
    return d <= -0.5 ? 1.0 : (d >= 0.5 ? 0.0 : 0.5 - d);
}

// Glyph-like strokes of a 5x7 cell bitmap per character, 12 pixels a character: 1 inside a
// stroke of the text line whose top-left corner is at the origin (u, v in pixels).
double textAt(double u, double v) {
    if (v < 0 || v >= 21 || u < 0) return 0;
    const int ch = static_cast<int>(u / 12);
    const double cu = u - ch * 12;
    if (cu >= 10 || hash01(ch, 0, 99) < 0.15) return 0;  // letter gap, word gap
    const int col = static_cast<int>(cu / 2);
    const int row = static_cast<int>(v / 3);
    return hash01(ch * 8 + col, row, 98) < 0.45 ? 1 : 0;
}

// Gaussian-distributed grain from a hash (two uniforms, Box-Muller).
double grain(int x, int y, int frame) {
    const double u1 = std::max(1e-9, hash01(x, y, 1000 + 2 * frame));
    const double u2 = hash01(x, y, 1001 + 2 * frame);
    return std::sqrt(-2 * std::log(u1)) * std::cos(2 * M_PI * u2);
}

int generate(int argc, char** argv) {
    const std::string kind = argv[2];
    Photo photo;
    int arg = 3;
    if (kind == "pan" || kind == "zoom") {
        if (argc != 10) return 2;
        FILE* pf = fopen(argv[3], "rb");
        if (pf == nullptr) return 1;
        photo.w = atoi(argv[4]);
        photo.h = atoi(argv[5]);
        bool ok = true;
        for (auto& p : photo.planes) {
            p.resize(static_cast<size_t>(photo.w) * photo.h);
            ok = ok && fread(p.data(), 1, p.size(), pf) == p.size();
        }
        fclose(pf);
        if (!ok) return 1;
        arg = 6;
    } else if (argc != 7) {
        return 2;
    }
    const int w = atoi(argv[arg]);
    const int h = atoi(argv[arg + 1]);
    const int frames = atoi(argv[arg + 2]);
    FILE* out = fopen(argv[arg + 3], "wb");
    if (out == nullptr) return 1;
    Frame f(w, h);
    for (int i = 0; i < frames; ++i) {
        const double t = static_cast<double>(i) / frames;
        if (kind == "pan") {
            // A hand-held-like pan: steady horizontal travel with a slow vertical sway.
            const double ox = 60 + 5.3 * i;
            const double oy = (photo.h - h) / 2.0 + 40 * std::sin(2 * M_PI * t);
            render(f, [&](int p, double x, double y) { return photo.sample(p, x + ox, y + oy); });
        } else if (kind == "zoom") {
            // Exponential zoom in towards the centre, from 1.3 to 1.0 source pixels per pixel.
            const double s = 1.3 * std::pow(1.0 / 1.3, t);
            const double cx = photo.w / 2.0;
            const double cy = photo.h / 2.0;
            render(f, [&](int p, double x, double y) {
                return photo.sample(p, cx + (x - w / 2.0) * s, cy + (y - h / 2.0) * s);
            });
        } else if (kind == "texture") {
            // A periodic pattern (periods of 20, 14 and 10 pixels) panning diagonally.
            const double ox = 6.7 * i;
            const double oy = 1.3 * i;
            render(f, [&](int p, double x, double y) {
                const double u = x + ox;
                const double v = y + oy;
                if (p > 0) return 128 + 40 * std::sin(2 * M_PI * (p == 1 ? u : v) / 20);
                return 128 + 45 * std::sin(2 * M_PI * u / 20) + 35 * std::sin(2 * M_PI * v / 14) +
                       20 * std::sin(2 * M_PI * (u + v) / 10);
            });
        } else if (kind == "objects") {
            // Textured discs and boxes crossing a still background at different speeds;
            // edges are anti-aliased by 4x4 supersampling.
            struct Obj {
                double x, y, vx, vy, r;
                bool disc;
                int seed;
            };
            const Obj objs[] = {{200, 200, 7.5, 2.0, 90, true, 2},
                                {900, 500, -6.0, -2.5, 120, false, 3},
                                {400, 560, 4.0, -3.0, 70, true, 4},
                                {1000, 150, -9.0, 1.5, 60, false, 5}};
            const double sx = static_cast<double>(w) / 1280.0;
            render(f, [&](int p, double x, double y) {
                double total = 0;
                for (int sy = 0; sy < 4; ++sy) {
                    for (int sxs = 0; sxs < 4; ++sxs) {
                        const double px = x - 0.375 + 0.25 * sxs;
                        const double py = y - 0.375 + 0.25 * sy;
                        double v = p == 0 ? smooth(px, py, 1)
                                          : 128 + 30 * std::sin(0.01 * (p == 1 ? px : py));
                        for (const Obj& o : objs) {
                            const double ox = (o.x + o.vx * i) * sx;
                            const double oy = (o.y + o.vy * i) * sx;
                            const double dx = px - ox;
                            const double dy = py - oy;
                            const double r = o.r * sx;
                            const bool inside = o.disc ? dx * dx + dy * dy < r * r
                                                       : std::abs(dx) < r && std::abs(dy) < 0.7 * r;
                            if (inside) {
                                v = p == 0 ? smooth(dx * 3, dy * 3, o.seed)
                                           : 128 + 50 * std::sin(o.seed + (p == 1 ? 1.0 : -1.0));
                            }
                        }
                        total += v;
                    }
                }
                return total / 16;
            });
        } else if (kind == "grain") {
            // A diagonal pan over detail under strong film grain, new in every frame.
            render(f, [&](int p, double x, double y) {
                const double u = x + 3.2 * i;
                const double v = y + 1.1 * i;
                if (p > 0) return detailChroma(p, u, v, 1);
                return detail(u, v, 1) + 12 * grain(static_cast<int>(x), static_cast<int>(y), i);
            });
        } else if (kind == "ticker") {
            // Rolling text crossing the picture from edge to edge over a slow vertical pan,
            // and a caption scrolling up through the top edge.
            render(f, [&](int p, double x, double y) {
                if (p > 0) return detailChroma(p, x, y - 1.5 * i, 2);
                double v = 40 + 0.6 * detail(x, y - 1.5 * i, 2);
                const double band = h * 0.72;
                if (y >= band - 4 && y < band + 25) {
                    double s = 0;
                    for (int j = 0; j < 4; ++j) {  // 2x2 supersampled strokes
                        s += textAt(x + 9.0 * i + 0.25 + 0.5 * (j & 1),
                                    y - band + 0.25 + 0.5 * (j >> 1));
                    }
                    v = 30 + 200 * s / 4;
                }
                double c = 0;
                for (int j = 0; j < 4; ++j) {
                    c += textAt(x - w * 0.3 + 0.25 + 0.5 * (j & 1),
                                y + 4.0 * i - h * 0.3 + 0.25 + 0.5 * (j >> 1));
                }
                return c > 0 ? v * (1 - c / 4) + 235 * c / 4 : v;
            });
        } else if (kind == "lines") {
            // One-pixel lines moving over a smooth background: vertical, horizontal, diagonal.
            render(f, [&](int p, double x, double y) {
                if (p > 0) return 128.0;
                double v = 150 + 0.3 * (smooth(x, y, 3) - 128);
                const double d1 = std::abs(x - (60 + 6.5 * i));
                const double d2 = std::abs(y - (40 + 3.5 * i));
                const double d3 = std::abs((x - 3 * i) + 0.6 * y - 0.8 * w) / std::sqrt(1.36);
                for (double d : {d1, d2, d3})
                    v = v * (1 - coverage(d - 0.5)) + 30 * coverage(d - 0.5);
                return v;
            });
        } else if (kind == "ball") {
            // A small ball moving ~22 pixels a frame (45 per pair at factor 2) over still detail.
            const double period = 2.0 * (w - 60);
            double bx = std::fmod(22.5 * i, period);
            bx = 30 + (bx < period / 2 ? bx : period - bx);
            const double by = h / 2.0 + 0.3 * h * std::sin(0.21 * i);
            render(f, [&](int p, double x, double y) {
                const double d = std::hypot(x - bx, y - by) - 11;
                const double a = coverage(d);
                const double bg = p == 0 ? detail(x, y, 3) : detailChroma(p, x, y, 3);
                const double ball = p == 0 ? 230 - 4 * std::abs(y - by) : (p == 1 ? 90 : 190);
                return bg * (1 - a) + ball * a;
            });
        } else if (kind == "fade") {
            // A cross-fade between two pictures moving differently, then a cut to a third.
            const int cut = frames * 2 / 3;
            const double alpha = std::min(1.0, static_cast<double>(i) / std::max(1, cut - 1));
            render(f, [&](int p, double x, double y) {
                if (i >= cut) {
                    const double u = 1.2 * x - 2.5 * (i - cut);
                    return p == 0 ? detail(u, y, 6) : detailChroma(p, u, y, 6);
                }
                const double a =
                    p == 0 ? detail(x + 4 * i, y, 4) : detailChroma(p, x + 4 * i, y, 4);
                const double b =
                    p == 0 ? detail(x, y - 3 * i, 5) : detailChroma(p, x, y - 3 * i, 5);
                return a * (1 - alpha) + b * alpha;
            });
        } else if (kind == "zoomin") {
            // A zoom into fine detail, 1.5 % a frame, about a point off the centre.
            const double s = std::pow(1 / 1.015, i);
            render(f, [&](int p, double x, double y) {
                const double u = w * 0.45 + (x - w * 0.45) * s;
                const double v = h * 0.55 + (y - h * 0.55) * s;
                return p == 0 ? detail(u, v, 7) : detailChroma(p, u, v, 7);
            });
        } else if (kind == "rotate") {
            // Rotation about the centre, 0.6 degrees a frame.
            const double a = 0.6 * M_PI / 180 * i;
            const double ca = std::cos(a);
            const double sa = std::sin(a);
            render(f, [&](int p, double x, double y) {
                const double dx = x - w / 2.0;
                const double dy = y - h / 2.0;
                const double u = ca * dx - sa * dy;
                const double v = sa * dx + ca * dy;
                return p == 0 ? detail(u, v, 8) : detailChroma(p, u, v, 8);
            });
        } else if (kind == "shake") {
            // Hand-held shake: jittering translation with a little rotation, and a slow drift.
            // (a few hertz at the clip's rate, which is four times the input's).
            const double ox = 2.0 * i + 8 * std::sin(0.11 * i) + 3 * std::sin(0.37 * i + 1);
            const double oy = 6 * std::sin(0.13 * i + 2) + 2 * std::sin(0.41 * i);
            const double a = 0.01 * std::sin(0.17 * i);
            render(f, [&](int p, double x, double y) {
                const double dx = x - w / 2.0;
                const double dy = y - h / 2.0;
                const double u = dx - a * dy + ox;
                const double v = a * dx + dy + oy;
                return p == 0 ? detail(u, v, 9) : detailChroma(p, u, v, 9);
            });
        } else if (kind == "parallax") {
            // Three layers at three depths: a far picture, mid posts and near posts passing
            // faster, each hiding and uncovering what is behind.
            render(f, [&](int p, double x, double y) {
                double v = p == 0 ? detail(x + 1.0 * i, y, 10) : detailChroma(p, x + i, y, 10);
                const double layers[2][3] = {{3.5, 37, 9}, {8.0, 71, 22}};  // speed, spacing, width
                for (int l = 0; l < 2; ++l) {
                    const double u = x + layers[l][0] * i;
                    const double cell = std::floor(u / layers[l][1]);
                    if (hash01(static_cast<int>(cell), l, 11) < 0.35) continue;
                    const double local = u - cell * layers[l][1];
                    const double d = std::max(-local, local - layers[l][2]);
                    const double a = coverage(d);
                    const double post = p == 0 ? 0.8 * detail(u * 2, y * 0.2, 12 + l) + (l ? 40 : 0)
                                               : (p == 1 ? 110.0 + 20 * l : 150.0);
                    v = v * (1 - a) + post * a;
                }
                return v;
            });
        } else if (kind == "short") {
            // A short picture: a pan with a box crossing it.
            render(f, [&](int p, double x, double y) {
                const double u = x + 5.0 * i;
                const double v = y + 0.5 * i;
                double s = p == 0 ? detail(u, v, 13) : detailChroma(p, u, v, 13);
                const double bx = x - (20 + 7.0 * i);
                const double d = std::max(std::abs(bx - 20) - 20, std::abs(y - h / 2.0) - 15);
                const double a = coverage(d);
                return s * (1 - a) + (p == 0 ? 60.0 + bx : 100.0) * a;
            });
        } else {
            fclose(out);
            return 2;
        }
        if (!writeFrame(out, f)) {
            fclose(out);
            return 1;
        }
    }
    return fclose(out) == 0 ? 0 : 1;
}

// Keeps every `factor`-th frame (the input of a conversion by that factor).
int decimate(const char* in, int w, int h, int factor, const char* outPath) {
    FILE* f = fopen(in, "rb");
    FILE* out = fopen(outPath, "wb");
    if (f == nullptr || out == nullptr) return 1;
    Frame fr(w, h);
    for (int i = 0; readFrame(f, fr); ++i) {
        if (i % factor == 0) writeFrame(out, fr);
    }
    fclose(f);
    return fclose(out) == 0 ? 0 : 1;
}

// Mean SSIM of the luma planes over 8x8 windows spaced 4 pixels apart.
double ssimY(const Frame& a, const Frame& b) {
    constexpr double c1 = (0.01 * 255) * (0.01 * 255);
    constexpr double c2 = (0.03 * 255) * (0.03 * 255);
    double sum = 0;
    int n = 0;
    for (int y0 = 0; y0 + 8 <= a.h; y0 += 4) {
        for (int x0 = 0; x0 + 8 <= a.w; x0 += 4) {
            double sa = 0, sb = 0, saa = 0, sbb = 0, sab = 0;
            for (int y = y0; y < y0 + 8; ++y) {
                for (int x = x0; x < x0 + 8; ++x) {
                    const double va = a.data[static_cast<size_t>(y) * a.w + x];
                    const double vb = b.data[static_cast<size_t>(y) * b.w + x];
                    sa += va;
                    sb += vb;
                    saa += va * va;
                    sbb += vb * vb;
                    sab += va * vb;
                }
            }
            const double ma = sa / 64, mb = sb / 64;
            const double va = saa / 64 - ma * ma, vb = sbb / 64 - mb * mb;
            const double cov = sab / 64 - ma * mb;
            sum +=
                (2 * ma * mb + c1) * (2 * cov + c2) / ((ma * ma + mb * mb + c1) * (va + vb + c2));
            ++n;
        }
    }
    return n ? sum / n : 1.0;
}

// Running scores of the rebuilt frames, and the worst one (by PSNR-Y).
struct Scores {
    double psnr = 0;
    double ssim = 0;
    int count = 0;
    double worst = 1e9;
    int worstIndex = -1;
    Frame worstFrame{1, 1};
    void add(const Frame& rebuilt, const Frame& original, int index) {
        const double p = psnrY(rebuilt, original);
        psnr += p;
        ssim += ssimY(rebuilt, original);
        ++count;
        if (p < worst) {
            worst = p;
            worstIndex = index;
            worstFrame = rebuilt;
        }
    }
    // Prints the means and writes the worst frame (raw I420) when a path is given.
    int report(const char* worstPath, const char* extra) const {
        if (worstPath != nullptr && count > 0) {
            FILE* f = fopen(worstPath, "wb");
            if (f == nullptr || !writeFrame(f, worstFrame)) return 1;
            fclose(f);
        }
        printf("psnr %.3f ssim %.4f frames %d worst %.2f worst_frame %d%s\n",
               count ? psnr / count : 0.0, count ? ssim / count : 0.0, count, worst, worstIndex,
               extra);
        return count > 0 ? 0 : 1;
    }
};

// Rebuilds the frames between every factor-th one with our converter and scores them against
// the dropped originals (PSNR-Y and SSIM-Y means, worst frame).
int ours(const char* in, int w, int h, const std::string& mode, int factor, const char* worstPath) {
    FILE* f = fopen(in, "rb");
    if (f == nullptr) return 1;
    std::vector<Frame> orig;
    for (;;) {
        Frame fr(w, h);
        if (!readFrame(f, fr)) break;
        orig.push_back(std::move(fr));
    }
    fclose(f);
    frc::ConverterConfig cfg;
    cfg.mode = mode == "motion" ? frc::FrcMode::kMotion : frc::FrcMode::kBlend;
    cfg.factor = factor;
    frc::Converter conv(cfg);
    Frame result(w, h);
    Scores scores;
    double seconds = 0;
    std::vector<frc::OutputFrame> outputs;
    for (size_t i = 0; i < orig.size(); i += factor) {
        outputs.clear();
        const auto t0 = std::chrono::steady_clock::now();
        conv.push(orig[i].view(), static_cast<int64_t>(i), i, &outputs);
        for (const auto& o : outputs) {
            if (o.kind != frc::OutputFrame::Kind::kInterpolated) continue;
            conv.render(o, result.view());
            seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
            const size_t index = o.tag + o.phase;
            scores.add(result, orig[index], static_cast<int>(index));
        }
    }
    const auto& st = conv.stats().motion;
    char extra[160];
    snprintf(extra, sizeof extra, " fallback %.1f cuts %llu ms_per_frame %.2f",
             st.blocks > 0 ? 100.0 * st.fallbackBlocks / st.blocks : 0.0,
             static_cast<unsigned long long>(st.sceneCuts),
             scores.count ? 1000.0 * seconds / scores.count : 0.0);
    return scores.report(worstPath, extra);
}

// Converts a clip file to file (factor times its frame rate) and prints the frames made.
int convert(const char* in, int w, int h, const std::string& mode, int factor,
            const char* outPath) {
    FILE* f = fopen(in, "rb");
    FILE* out = fopen(outPath, "wb");
    if (f == nullptr || out == nullptr) return 1;
    frc::ConverterConfig cfg;
    cfg.mode = mode == "motion" ? frc::FrcMode::kMotion : frc::FrcMode::kBlend;
    cfg.factor = factor;
    frc::Converter conv(cfg);
    std::vector<Frame> held(2, Frame(w, h));  // the converter reads the previous input too
    Frame result(w, h);
    std::vector<frc::OutputFrame> outputs;
    int made = 0;
    bool ok = true;
    for (int i = 0;; ++i) {
        Frame& frame = held[i % 2];
        if (!readFrame(f, frame)) break;
        outputs.clear();
        conv.push(frame.view(), i, static_cast<uint64_t>(i), &outputs);
        for (const auto& o : outputs) {
            if (o.kind == frc::OutputFrame::Kind::kInput) {
                ok = ok && writeFrame(out, held[o.tag % 2]);
            } else {
                conv.render(o, result.view());
                ok = ok && writeFrame(out, result);
                ++made;
            }
        }
    }
    outputs.clear();
    conv.finish(&outputs);
    for (const auto& o : outputs) {
        conv.render(o, result.view());
        ok = ok && writeFrame(out, result);
    }
    fclose(f);
    ok = fclose(out) == 0 && ok;
    printf("made %d\n", made);
    return ok ? 0 : 1;
}

// Scores a rebuild (e.g. from ffmpeg) of every factor-th frame of the clip at the clip's rate.
// The rebuild's frame numbering may be shifted: the shift is found as the one under which its
// frames best match the kept originals (which a correct rebuild reproduces), and reported.
int score(const char* inPath, const char* rebuiltPath, int w, int h, int factor,
          const char* worstPath) {
    auto readAll = [&](const char* path) {
        std::vector<Frame> frames;
        FILE* f = fopen(path, "rb");
        if (f == nullptr) return frames;
        for (;;) {
            Frame fr(w, h);
            if (!readFrame(f, fr)) break;
            frames.push_back(std::move(fr));
        }
        fclose(f);
        return frames;
    };
    const std::vector<Frame> orig = readAll(inPath);
    const std::vector<Frame> rebuilt = readAll(rebuiltPath);
    if (orig.size() <= static_cast<size_t>(factor) || rebuilt.empty()) return 1;
    const int kept = static_cast<int>((orig.size() - 1) / factor + 1);
    const int lastMade = factor * (kept - 1) - 1;  // made frames lie between two kept frames
    int bestShift = 0;
    double bestKept = -1;
    for (int d = -factor; d <= factor; ++d) {
        double s = 0;
        int n = 0;
        for (int k = 0; k <= lastMade + 1; k += factor) {
            const int j = k - d;
            if (j < 0 || j >= static_cast<int>(rebuilt.size())) continue;
            s += psnrY(rebuilt[j], orig[k]);
            ++n;
        }
        if (n > 0 && s / n > bestKept) {
            bestKept = s / n;
            bestShift = d;
        }
    }
    Scores scores;
    for (int k = 1; k <= lastMade; ++k) {
        const int j = k - bestShift;
        if (k % factor == 0 || j < 0 || j >= static_cast<int>(rebuilt.size())) continue;
        scores.add(rebuilt[j], orig[k], k);
    }
    char extra[80];
    snprintf(extra, sizeof extra, " shift %d kept_psnr %.2f", bestShift, bestKept);
    return scores.report(worstPath, extra);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string cmd = argc > 1 ? argv[1] : "";
    int rc = 2;
    if (cmd == "gen" && argc >= 3) {
        rc = generate(argc, argv);
    } else if (cmd == "decimate" && argc == 7) {
        rc = decimate(argv[2], atoi(argv[3]), atoi(argv[4]), atoi(argv[5]), argv[6]);
    } else if (cmd == "ours" && (argc == 7 || argc == 8)) {
        rc = ours(argv[2], atoi(argv[3]), atoi(argv[4]), argv[5], atoi(argv[6]),
                  argc == 8 ? argv[7] : nullptr);
    } else if (cmd == "convert" && argc == 8) {
        rc = convert(argv[2], atoi(argv[3]), atoi(argv[4]), argv[5], atoi(argv[6]), argv[7]);
    } else if (cmd == "score" && (argc == 7 || argc == 8)) {
        rc = score(argv[2], argv[3], atoi(argv[4]), atoi(argv[5]), atoi(argv[6]),
                   argc == 8 ? argv[7] : nullptr);
    }
    if (rc == 2) fprintf(stderr, "usage: see the comment at the top of frc_quality.cpp\n");
    return rc;
}
