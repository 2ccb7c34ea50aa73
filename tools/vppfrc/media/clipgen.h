// Procedural demo clip: a textured background panning smoothly and a shaded ball crossing it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "media/y4m.h"

namespace media {

struct ClipOptions {
    int width = 640;  // even, 2 to kMaxDimension
    int height = 360;
    int frames = 60;
    int fpsNum = 30;
    int fpsDen = 1;
    uint32_t seed = 1;
    // Motion in pixels per frame. The background pans (its content moves by -pan); the ball
    // moves at its own velocity and bounces off the frame's edges.
    double panX = 2.0;
    double panY = 1.0;
    double ballX = -5.0;
    double ballY = 3.0;
};

// Renders the clip frame by frame. Output depends only on the options (the same seed always
// gives the same bytes) and any frame can be rendered on its own, also at a fractional time,
// which gives the true in-between picture to compare interpolated frames with.
class ClipGenerator {
  public:
    // Checks the options and builds the background texture.
    bool Init(const ClipOptions& options, std::string* error);

    VideoFormat format() const;
    int frameCount() const { return options_.frames; }
    size_t frameSize() const { return I420FrameSize(options_.width, options_.height); }

    // Renders frame 'time' (0 is the first frame; fractions lie between frames) as I420.
    void Render(double time, uint8_t* i420) const;

    // Where the background's content and the ball are at a time: pixel (x, y) of the frame shows
    // background texel (x + offsetX, y + offsetY); the ball is a disc around (centreX, centreY).
    void BackgroundOffset(double time, double* offsetX, double* offsetY) const;
    void BallCentre(double time, double* centreX, double* centreY) const;
    double ballRadius() const { return ballRadius_; }

  private:
    void BuildTexture();
    void RenderBall(double time, uint8_t* i420) const;

    ClipOptions options_;
    // The background is a seamlessly tiling texture (power-of-two sides) so that a pan of any
    // length never runs out of picture: Y at full resolution, U and V at half.
    int texWidth_ = 0;
    int texHeight_ = 0;
    std::vector<uint8_t> texY_;
    std::vector<uint8_t> texU_;
    std::vector<uint8_t> texV_;
    double ballRadius_ = 0;
    double ballStartX_ = 0;
    double ballStartY_ = 0;
    uint8_t ballU_ = 128;
    uint8_t ballV_ = 128;
};

// Renders every frame of the clip into a YUV4MPEG2 file (written through a temporary file).
bool WriteClip(const std::string& path, const ClipOptions& options, std::string* error);

}  // namespace media
