// Helpers of the vppfrc tool and end-to-end tests: test clips, reading outputs back, and running
// the tool's binary as a child process (scratch folders come from the shared test support).
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "media/y4m.h"
#include "temp_dir.h"

namespace vppfrc_test {

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

// Reads every frame of a YUV4MPEG2 file; false on any error.
inline bool ReadY4m(const std::string& path, media::VideoFormat* format,
                    std::vector<Frame>* frames) {
    media::Y4mReader reader;
    if (!reader.Open(path, nullptr)) return false;
    *format = reader.format();
    frames->clear();
    for (;;) {
        Frame frame(reader.frameSize());
        const media::Y4mReader::Result result = reader.Read(frame.data(), nullptr);
        if (result == media::Y4mReader::Result::kEnd) return true;
        if (result == media::Y4mReader::Result::kError) return false;
        frames->push_back(std::move(frame));
    }
}

// What a child process printed and how it ended.
struct ProcessResult {
    int exitCode = -1;  // -1: killed by a signal or never started
    std::string out;
    std::string err;
};

// Runs program with args in folder cwd, stdin closed, capturing stdout and stderr.
inline ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& args,
                                const std::string& cwd, const std::string& capture) {
    ProcessResult result;
    const std::string outPath = capture + ".out";
    const std::string errPath = capture + ".err";
    const pid_t child = fork();
    if (child == 0) {
        const int in = open("/dev/null", O_RDONLY | O_CLOEXEC);
        const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (in < 0 || out < 0 || err < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 ||
            dup2(err, 2) < 0 || chdir(cwd.c_str()) != 0) {
            _exit(127);
        }
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(program.c_str()));
        for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    if (child < 0) return result;
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return result;
    }
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    result.out = ReadFile(outPath);
    result.err = ReadFile(errPath);
    unlink(outPath.c_str());
    unlink(errPath.c_str());
    return result;
}

}  // namespace vppfrc_test
