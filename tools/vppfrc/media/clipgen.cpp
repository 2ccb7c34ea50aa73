// Procedural demo clip: a textured background panning smoothly and a shaded ball crossing it.
#include "media/clipgen.h"

#include <algorithm>
#include <cmath>

namespace media {
namespace {

constexpr double kPi = 3.14159265358979323846;

// Integer hash (a few rounds of multiply-xorshift): the clip's only source of randomness, so
// output is identical on every platform and compiler.
uint32_t Hash(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    uint32_t h = a * 0x9e3779b1u ^ b * 0x85ebca77u ^ c * 0xc2b2ae3du ^ d * 0x27d4eb2fu;
    h ^= h >> 15;
    h *= 0x2c1b3c6du;
    h ^= h >> 12;
    h *= 0x297a2d39u;
    h ^= h >> 15;
    return h;
}

double Unit(uint32_t h) {
    return (h & 0xffffff) / double(0xffffff);
}  // [0, 1]

// Value noise on a lattice of the given cell size that repeats every periodX x periodY pixels.
// Values lie in [0, 1]; interpolation is smoothstep so the field has no visible lattice edges.
class TilingNoise {
  public:
    TilingNoise(uint32_t seed, uint32_t layer, int cell, int periodX, int periodY)
        : seed_(seed),
          layer_(layer),
          cell_(cell),
          // At least one cell each way, so that the wrap below never divides by zero.
          cellsX_(std::max(1, periodX / cell)),
          cellsY_(std::max(1, periodY / cell)) {}

    double At(double x, double y) const {
        const double fx = x / cell_, fy = y / cell_;
        const int ix = static_cast<int>(std::floor(fx)), iy = static_cast<int>(std::floor(fy));
        const double tx = Smooth(fx - ix), ty = Smooth(fy - iy);
        const double a = Lattice(ix, iy), b = Lattice(ix + 1, iy);
        const double c = Lattice(ix, iy + 1), d = Lattice(ix + 1, iy + 1);
        return (a + (b - a) * tx) * (1 - ty) + (c + (d - c) * tx) * ty;
    }

  private:
    static double Smooth(double t) { return t * t * (3 - 2 * t); }
    double Lattice(int ix, int iy) const {
        const uint32_t wx = static_cast<uint32_t>(((ix % cellsX_) + cellsX_) % cellsX_);
        const uint32_t wy = static_cast<uint32_t>(((iy % cellsY_) + cellsY_) % cellsY_);
        return Unit(Hash(seed_, layer_, wx, wy));
    }

    uint32_t seed_, layer_;
    int cell_, cellsX_, cellsY_;
};

int NextPowerOfTwo(int value, int minimum) {
    int p = minimum;
    while (p < value) p *= 2;
    return p;
}

uint8_t Clamp8(double v) {
    return static_cast<uint8_t>(std::clamp(std::lround(v), 0L, 255L));
}

// Folds an unbounded coordinate into [0, length] as if bouncing between two walls.
double Bounce(double x, double length) {
    if (length <= 0) return 0;
    double m = std::fmod(x, 2 * length);
    if (m < 0) m += 2 * length;
    return m <= length ? m : 2 * length - m;
}

// Samples a wrapping texture at (x + fx, y + fy) for all pixels of a plane. The fraction is the
// same for every pixel, so the bilinear weights are computed once; whole-pixel offsets copy
// texels exactly.
void SamplePlane(const std::vector<uint8_t>& tex, int texW, int texH, double offsetX,
                 double offsetY, uint8_t* out, int width, int height) {
    const double floorX = std::floor(offsetX), floorY = std::floor(offsetY);
    const int ox = static_cast<int>(std::lround(floorX)) & (texW - 1);
    const int oy = static_cast<int>(std::lround(floorY)) & (texH - 1);
    const int wx = static_cast<int>(std::lround((offsetX - floorX) * 256));
    const int wy = static_cast<int>(std::lround((offsetY - floorY) * 256));
    const int w00 = (256 - wx) * (256 - wy), w01 = wx * (256 - wy);
    const int w10 = (256 - wx) * wy, w11 = wx * wy;
    for (int y = 0; y < height; ++y) {
        const uint8_t* row0 = tex.data() + static_cast<size_t>((y + oy) & (texH - 1)) * texW;
        const uint8_t* row1 = tex.data() + static_cast<size_t>((y + oy + 1) & (texH - 1)) * texW;
        uint8_t* dst = out + static_cast<size_t>(y) * width;
        for (int x = 0; x < width; ++x) {
            const int x0 = (x + ox) & (texW - 1), x1 = (x + ox + 1) & (texW - 1);
            const int sum = w00 * row0[x0] + w01 * row0[x1] + w10 * row1[x0] + w11 * row1[x1];
            dst[x] = static_cast<uint8_t>((sum + 32768) >> 16);
        }
    }
}

}  // namespace

bool ClipGenerator::Init(const ClipOptions& options, std::string* error) {
    if (options.width < 2 || options.height < 2 || options.width > kMaxDimension ||
        options.height > kMaxDimension || options.width % 2 != 0 || options.height % 2 != 0) {
        SetError(error, "invalid clip size " + std::to_string(options.width) + "x" +
                            std::to_string(options.height) +
                            ": width and height must be even, 2 to " +
                            std::to_string(kMaxDimension));
        return false;
    }
    if (options.frames < 1 || options.fpsNum < 1 || options.fpsDen < 1) {
        SetError(error, "invalid clip length or rate: " + std::to_string(options.frames) +
                            " frames at " + std::to_string(options.fpsNum) + "/" +
                            std::to_string(options.fpsDen) + " fps");
        return false;
    }
    const double motion[] = {options.panX, options.panY, options.ballX, options.ballY};
    for (double v : motion) {
        if (!std::isfinite(v) || std::fabs(v) > 1e6) {
            SetError(error, "invalid clip motion: speeds must be finite pixels per frame");
            return false;
        }
    }
    options_ = options;
    BuildTexture();

    const int shortSide = std::min(options.width, options.height);
    ballRadius_ = std::max(1.0, shortSide * 0.12);
    const uint32_t seed = options.seed;
    ballStartX_ = options.width * (0.25 + 0.5 * Unit(Hash(seed, 100, 0, 0)));
    ballStartY_ = options.height * (0.25 + 0.5 * Unit(Hash(seed, 100, 1, 0)));
    // A saturated colour that stands out against the muted background.
    const double hue = 2 * kPi * Unit(Hash(seed, 100, 2, 0));
    ballU_ = Clamp8(128 + 90 * std::cos(hue));
    ballV_ = Clamp8(128 + 90 * std::sin(hue));
    return true;
}

VideoFormat ClipGenerator::format() const {
    VideoFormat format;
    format.width = options_.width;
    format.height = options_.height;
    format.fpsNum = options_.fpsNum;
    format.fpsDen = options_.fpsDen;
    return format;
}

void ClipGenerator::BuildTexture() {
    // The tile is at least as large as the frame, so no repetition shows within one picture.
    texWidth_ = NextPowerOfTwo(options_.width, 256);
    texHeight_ = NextPowerOfTwo(options_.height, 256);
    const int tw = texWidth_, th = texHeight_, cw = tw / 2, ch = th / 2;
    const uint32_t seed = options_.seed;

    // Luma: six octaves of noise, from 128-pixel blobs down to 4-pixel grain.
    struct Octave {
        int cell;
        double amplitude;
    };
    const Octave octaves[] = {{128, 1.0}, {64, 0.6}, {32, 0.45}, {16, 0.35}, {8, 0.28}, {4, 0.2}};
    std::vector<TilingNoise> noise;
    double totalAmplitude = 0;
    for (uint32_t i = 0; i < 6; ++i) {
        noise.emplace_back(seed, i, octaves[i].cell, tw, th);
        totalAmplitude += octaves[i].amplitude;
    }
    texY_.assign(static_cast<size_t>(tw) * th, 0);
    for (int y = 0; y < th; ++y) {
        for (int x = 0; x < tw; ++x) {
            double v = 0;
            for (size_t i = 0; i < noise.size(); ++i) v += octaves[i].amplitude * noise[i].At(x, y);
            v /= totalAmplitude;  // about [0.2, 0.8]; stretch to a wide but legal range
            texY_[static_cast<size_t>(y) * tw + x] =
                Clamp8(16 + 219 * std::clamp((v - 0.5) * 1.8 + 0.5, 0.0, 1.0));
        }
    }
    // Chroma: slow colour drifts.
    TilingNoise noiseU(seed, 10, 64, cw, ch), noiseV(seed, 11, 64, cw, ch);
    texU_.assign(static_cast<size_t>(cw) * ch, 128);
    texV_.assign(static_cast<size_t>(cw) * ch, 128);
    for (int y = 0; y < ch; ++y) {
        for (int x = 0; x < cw; ++x) {
            texU_[static_cast<size_t>(y) * cw + x] = Clamp8(128 + 70 * (noiseU.At(x, y) - 0.5));
            texV_[static_cast<size_t>(y) * cw + x] = Clamp8(128 + 70 * (noiseV.At(x, y) - 0.5));
        }
    }

    // Sharp-edged tiles of several sizes scattered over the texture (wrapping at its edges):
    // hard edges and corners at all scales, which is what motion search locks onto.
    const int count = tw * th / 1500;
    for (int i = 0; i < count; ++i) {
        const uint32_t h = Hash(seed, 200, static_cast<uint32_t>(i), 0);
        const int size = 2 + static_cast<int>(Unit(Hash(seed, 201, i, 0)) * Unit(h) * 28);
        const int x0 = static_cast<int>(Hash(seed, 202, i, 0) % static_cast<uint32_t>(tw)) & ~1;
        const int y0 = static_cast<int>(Hash(seed, 203, i, 0) % static_cast<uint32_t>(th)) & ~1;
        const uint8_t luma = Clamp8(20 + 215 * Unit(Hash(seed, 204, i, 0)));
        const uint8_t u = Clamp8(128 + 60 * (Unit(Hash(seed, 205, i, 0)) - 0.5));
        const uint8_t v = Clamp8(128 + 60 * (Unit(Hash(seed, 206, i, 0)) - 0.5));
        for (int dy = 0; dy < size; ++dy) {
            for (int dx = 0; dx < size; ++dx) {
                const int x = (x0 + dx) & (tw - 1), y = (y0 + dy) & (th - 1);
                texY_[static_cast<size_t>(y) * tw + x] = luma;
                texU_[static_cast<size_t>(y / 2) * cw + x / 2] = u;
                texV_[static_cast<size_t>(y / 2) * cw + x / 2] = v;
            }
        }
    }
}

void ClipGenerator::BackgroundOffset(double time, double* offsetX, double* offsetY) const {
    *offsetX = options_.panX * time;
    *offsetY = options_.panY * time;
}

void ClipGenerator::BallCentre(double time, double* centreX, double* centreY) const {
    const double r = ballRadius_;
    *centreX = r + Bounce(ballStartX_ - r + options_.ballX * time, options_.width - 2 * r);
    *centreY = r + Bounce(ballStartY_ - r + options_.ballY * time, options_.height - 2 * r);
}

void ClipGenerator::Render(double time, uint8_t* i420) const {
    const int w = options_.width, h = options_.height;
    double ox, oy;
    BackgroundOffset(time, &ox, &oy);
    uint8_t* planeY = i420;
    uint8_t* planeU = planeY + static_cast<size_t>(w) * h;
    uint8_t* planeV = planeU + static_cast<size_t>(w / 2) * (h / 2);
    SamplePlane(texY_, texWidth_, texHeight_, ox, oy, planeY, w, h);
    SamplePlane(texU_, texWidth_ / 2, texHeight_ / 2, ox / 2, oy / 2, planeU, w / 2, h / 2);
    SamplePlane(texV_, texWidth_ / 2, texHeight_ / 2, ox / 2, oy / 2, planeV, w / 2, h / 2);
    RenderBall(time, i420);
}

void ClipGenerator::RenderBall(double time, uint8_t* i420) const {
    const int w = options_.width, h = options_.height;
    double cx, cy;
    BallCentre(time, &cx, &cy);
    const double r = ballRadius_;
    uint8_t* planeY = i420;
    uint8_t* planeU = planeY + static_cast<size_t>(w) * h;
    uint8_t* planeV = planeU + static_cast<size_t>(w / 2) * (h / 2);

    // Luma: a lit sphere (light from the upper left) with diagonal stripes that travel with it,
    // edges anti-aliased by pixel coverage.
    const double lx = -0.5, ly = -0.6, lz = 0.62;
    const int x0 = std::max(0, static_cast<int>(std::floor(cx - r - 1)));
    const int x1 = std::min(w - 1, static_cast<int>(std::ceil(cx + r + 1)));
    const int y0 = std::max(0, static_cast<int>(std::floor(cy - r - 1)));
    const int y1 = std::min(h - 1, static_cast<int>(std::ceil(cy + r + 1)));
    const double stripePeriod = std::max(4.0, r / 2.5);
    for (int y = y0; y <= y1; ++y) {
        for (int x = x0; x <= x1; ++x) {
            const double dx = x + 0.5 - cx, dy = y + 0.5 - cy;
            const double d = std::sqrt(dx * dx + dy * dy);
            const double coverage = std::clamp(r + 0.5 - d, 0.0, 1.0);
            if (coverage <= 0) continue;
            const double nx = dx / r, ny = dy / r;
            const double nz = std::sqrt(std::max(0.0, 1 - nx * nx - ny * ny));
            const double light = 0.25 + 0.75 * std::max(0.0, nx * lx + ny * ly + nz * lz);
            const double phase = (dx + dy) / stripePeriod;
            const double stripe = (phase - std::floor(phase)) < 0.5 ? 1.0 : 0.78;
            const double luma = 16 + 219 * std::min(1.0, light * stripe);
            uint8_t& p = planeY[static_cast<size_t>(y) * w + x];
            p = Clamp8(p + (luma - p) * coverage);
        }
    }
    // Chroma: the ball's colour, with coverage measured at chroma resolution.
    for (int y = y0 / 2; y <= y1 / 2; ++y) {
        for (int x = x0 / 2; x <= x1 / 2; ++x) {
            const double dx = 2 * x + 1 - cx, dy = 2 * y + 1 - cy;
            const double coverage =
                std::clamp((r - std::sqrt(dx * dx + dy * dy)) / 2 + 0.5, 0.0, 1.0);
            if (coverage <= 0) continue;
            uint8_t& u = planeU[static_cast<size_t>(y) * (w / 2) + x];
            uint8_t& v = planeV[static_cast<size_t>(y) * (w / 2) + x];
            u = Clamp8(u + (ballU_ - u) * coverage);
            v = Clamp8(v + (ballV_ - v) * coverage);
        }
    }
}

bool WriteClip(const std::string& path, const ClipOptions& options, std::string* error) {
    ClipGenerator generator;
    if (!generator.Init(options, error)) return false;
    Y4mWriter writer;
    if (!writer.Open(path, generator.format(), error)) return false;
    std::vector<uint8_t> frame(generator.frameSize());
    for (int i = 0; i < generator.frameCount(); ++i) {
        generator.Render(i, frame.data());
        if (!writer.Write(frame.data(), error)) return false;
    }
    return writer.Commit(error);
}

}  // namespace media
