// Quality comparison helper: renders test clips (raw I420, 60 fps), rebuilds the odd frames of
// a clip from its even ones with the engine, and scores any rebuilt clip by PSNR-Y.
//
//   frc_quality gen pan|zoom PHOTO.yuv PW PH W H FRAMES OUT.yuv   (PHOTO: raw yuv444p)
//   frc_quality gen texture|objects W H FRAMES OUT.yuv
//   frc_quality decimate IN.yuv W H OUT.yuv        keep the even frames (60 -> 30 fps)
//   frc_quality ours IN.yuv W H blend|motion [OUT.yuv]
//   frc_quality score IN.yuv REBUILT.yuv W H       PSNR-Y of a 60 fps rebuild of the even frames
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

int decimate(const char* in, int w, int h, const char* outPath) {
    FILE* f = fopen(in, "rb");
    FILE* out = fopen(outPath, "wb");
    if (f == nullptr || out == nullptr) return 1;
    Frame fr(w, h);
    for (int i = 0; readFrame(f, fr); ++i) {
        if (i % 2 == 0) writeFrame(out, fr);
    }
    fclose(f);
    return fclose(out) == 0 ? 0 : 1;
}

// Rebuilds the odd frames from the even ones with our converter (factor 2) and prints the mean
// PSNR-Y of the rebuilt frames against the dropped originals.
int ours(const char* in, int w, int h, const std::string& mode, const char* outPath) {
    FILE* f = fopen(in, "rb");
    if (f == nullptr) return 1;
    FILE* out = outPath != nullptr ? fopen(outPath, "wb") : nullptr;
    frc::ConverterConfig cfg;
    cfg.mode = mode == "motion" ? frc::FrcMode::kMotion : frc::FrcMode::kBlend;
    cfg.factor = 2;
    frc::Converter conv(cfg);
    std::vector<Frame> held(2, Frame(w, h));  // even frames, alternating
    Frame odd(w, h);
    Frame pendingOdd(w, h);
    Frame result(w, h);
    double sum = 0;
    int count = 0;
    double seconds = 0;
    std::vector<frc::OutputFrame> outputs;
    for (int i = 0;; ++i) {
        Frame& even = held[i % 2];
        if (!readFrame(f, even)) break;
        outputs.clear();
        const auto t0 = std::chrono::steady_clock::now();
        conv.push(even.view(), i * 2, static_cast<uint64_t>(i), &outputs);
        for (const auto& o : outputs) {
            conv.render(o, result.view());
            if (o.kind == frc::OutputFrame::Kind::kInterpolated) {
                seconds +=
                    std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
                sum += psnrY(result, pendingOdd);
                ++count;
            }
            if (out != nullptr) writeFrame(out, result);
        }
        const bool haveOdd = readFrame(f, odd);
        std::swap(pendingOdd.data, odd.data);
        if (!haveOdd) break;
    }
    outputs.clear();
    conv.finish(&outputs);
    for (const auto& o : outputs) {
        conv.render(o, result.view());
        if (out != nullptr) writeFrame(out, result);
    }
    fclose(f);
    if (out != nullptr) fclose(out);
    const auto& st = conv.stats().motion;
    const double fallback = st.blocks > 0 ? 100.0 * st.fallbackBlocks / st.blocks : 0.0;
    printf("psnr %.3f frames %d fallback %.1f cuts %llu ms_per_frame %.2f\n",
           count ? sum / count : 0.0, count, fallback,
           static_cast<unsigned long long>(st.sceneCuts), count ? 1000.0 * seconds / count : 0.0);
    return count > 0 ? 0 : 1;
}

// Scores a 60 fps rebuild (e.g. from ffmpeg) of the clip's even frames. The rebuild's frame
// numbering may be shifted: the shift is found as the one under which its frames best match
// the originals at the even positions (which a correct rebuild reproduces), and reported.
int score(const char* inPath, const char* rebuiltPath, int w, int h) {
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
    if (orig.size() < 3 || rebuilt.empty()) return 1;
    const int evens = static_cast<int>((orig.size() + 1) / 2);
    const int lastOdd = 2 * (evens - 1) - 1;  // odd frames that lie between two even frames
    int bestShift = 0;
    double bestEven = -1;
    for (int d = -2; d <= 2; ++d) {
        double s = 0;
        int n = 0;
        for (int k = 0; k <= lastOdd + 1; k += 2) {
            const int j = k - d;
            if (j < 0 || j >= static_cast<int>(rebuilt.size())) continue;
            s += psnrY(rebuilt[j], orig[k]);
            ++n;
        }
        if (n > 0 && s / n > bestEven) {
            bestEven = s / n;
            bestShift = d;
        }
    }
    double sum = 0;
    int n = 0;
    for (int k = 1; k <= lastOdd; k += 2) {
        const int j = k - bestShift;
        if (j < 0 || j >= static_cast<int>(rebuilt.size())) continue;
        sum += psnrY(rebuilt[j], orig[k]);
        ++n;
    }
    printf("psnr %.3f frames %d shift %d even_psnr %.2f\n", n ? sum / n : 0.0, n, bestShift,
           bestEven);
    return n > 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string cmd = argc > 1 ? argv[1] : "";
    int rc = 2;
    if (cmd == "gen" && argc >= 3) {
        rc = generate(argc, argv);
    } else if (cmd == "decimate" && argc == 6) {
        rc = decimate(argv[2], atoi(argv[3]), atoi(argv[4]), argv[5]);
    } else if (cmd == "ours" && (argc == 6 || argc == 7)) {
        rc = ours(argv[2], atoi(argv[3]), atoi(argv[4]), argv[5], argc == 7 ? argv[6] : nullptr);
    } else if (cmd == "score" && argc == 6) {
        rc = score(argv[2], argv[3], atoi(argv[4]), atoi(argv[5]));
    }
    if (rc == 2) fprintf(stderr, "usage: see the comment at the top of frc_quality.cpp\n");
    return rc;
}
