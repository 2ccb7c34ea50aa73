// Test clips of the end-to-end tests: I420 noise frames and YUV4MPEG2 files written from them.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "media/y4m.h"
#include "temp_dir.h"

namespace e2e {

using testsupport::ReadFile;
using testsupport::TempDir;
using testsupport::WriteFile;

using Frame = std::vector<uint8_t>;

// I420 frames of noise: every sample differs from its neighbours, so any misplaced or mixed-up
// byte shows.
inline std::vector<Frame> NoiseFrames(int width, int height, int count, uint32_t seed = 7) {
    std::mt19937 random(seed);
    std::vector<Frame> frames(static_cast<size_t>(count),
                              Frame(media::I420FrameSize(width, height)));
    for (Frame& frame : frames) {
        for (uint8_t& sample : frame) sample = static_cast<uint8_t>(random());
    }
    return frames;
}

// Writes frames as a YUV4MPEG2 file at 30 frames/s; false on failure.
inline bool WriteY4m(const std::string& path, int width, int height,
                     const std::vector<Frame>& frames) {
    media::Y4mWriter writer;
    media::VideoFormat format;
    format.width = width;
    format.height = height;
    format.fpsNum = 30;
    format.fpsDen = 1;
    if (!writer.Open(path, format, nullptr)) return false;
    for (const Frame& frame : frames) {
        if (!writer.Write(frame.data(), nullptr)) return false;
    }
    return writer.Commit(nullptr);
}

}  // namespace e2e
