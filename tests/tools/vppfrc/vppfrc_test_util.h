// Runs the vppfrc binary as a child with the streams and limits a test chooses, in a scratch
// folder, and reads YUV4MPEG2 text back; the fixture checks that no descriptor leaked.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <random>
#include <string>
#include <vector>

#include "descriptors.h"
#include "has_text.h"
#include "temp_dir.h"

namespace vppfrc_test {

using testsupport::Has;
using testsupport::ReadFile;
using testsupport::WriteFile;
using Names = std::vector<std::string>;

constexpr size_t kFrameBytes = 32 * 24 * 3 / 2;

// A 32x24 clip of noise (any misplaced byte shows) as YUV4MPEG2 text with the header tags and
// frame parameters given.
inline std::string Clip(int frames, const std::string& tags = "F24:1 Ip C420jpeg",
                        const std::string& frameParams = "") {
    std::mt19937 random(7);
    std::string text = "YUV4MPEG2 W32 H24 " + tags + "\n";
    for (int i = 0; i < frames; ++i) {
        text += frameParams.empty() ? "FRAME\n" : "FRAME " + frameParams + "\n";
        for (size_t b = 0; b < kFrameBytes; ++b) text += static_cast<char>(random());
    }
    return text;
}

// The header line and each FRAME line (without data) of YUV4MPEG2 text of 32x24 frames.
struct Parsed {
    std::string header;
    Names frameLines;
    bool complete = true;
};
inline Parsed Parse(const std::string& text) {
    Parsed parsed;
    size_t at = text.find('\n');
    parsed.header = text.substr(0, at);
    while (at != std::string::npos && ++at < text.size()) {
        const size_t end = text.find('\n', at);
        if (end == std::string::npos || end + 1 + kFrameBytes > text.size()) {
            parsed.complete = false;
            break;
        }
        parsed.frameLines.push_back(text.substr(at, end - at));
        at = end + kFrameBytes;
    }
    return parsed;
}

// Starts vppfrc in cwd with the given stdin and stdout (-1: /dev/null), stderr to errPath and
// an optional file size limit.
inline pid_t Start(const Names& args, const std::string& cwd, int in, int out,
                   const std::string& errPath, rlim_t fsizeLimit = 0) {
    const pid_t pid = fork();
    if (pid != 0) return pid;
    in = in >= 0 ? in : open("/dev/null", O_RDONLY);
    out = out >= 0 ? out : open("/dev/null", O_WRONLY);
    const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in < 0 || out < 0 || err < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0 ||
        chdir(cwd.c_str()) != 0) {
        _exit(127);
    }
    const struct rlimit limit = {fsizeLimit, fsizeLimit};
    if (fsizeLimit != 0) setrlimit(RLIMIT_FSIZE, &limit);
    // The test process ignores SIGPIPE; the tool must see the default first.
    signal(SIGPIPE, SIG_DFL);
    std::vector<char*> argv{const_cast<char*>(VPPFRC_BINARY)};
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    execv(VPPFRC_BINARY, argv.data());
    _exit(127);
}

// The exit code, or -signal when a signal ended the child.
inline int Wait(pid_t pid) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) return -1000;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

class VppfrcTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(dir_.path().empty());
        // A child that exits early must not take the test down through a write to its pipe.
        signal(SIGPIPE, SIG_IGN);
        fds_ = testsupport::OpenDescriptorCount();
    }
    void TearDown() override {
        EXPECT_EQ(testsupport::OpenDescriptorCount(), fds_) << "the test leaked descriptors";
    }

    // Runs the tool to its end with stdin from a file (or none) and stdout captured in out_,
    // stderr in err_.
    int Run(const Names& args, rlim_t fsizeLimit = 0, const std::string& stdinPath = "") {
        const std::string outPath = captures_.File("out");
        const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        const int in = stdinPath.empty() ? -1 : open(stdinPath.c_str(), O_RDONLY | O_CLOEXEC);
        const pid_t pid = Start(args, dir_.path(), in, out, ErrPath(), fsizeLimit);
        close(out);
        if (in >= 0) close(in);
        const int code = Wait(pid);
        out_ = ReadFile(outPath);
        err_ = ReadFile(ErrPath());
        return code;
    }
    std::string ErrPath() const { return captures_.File("err"); }
    std::string File(const std::string& name) const { return dir_.File(name); }

    testsupport::TempDir dir_;
    testsupport::TempDir captures_;
    std::string out_, err_;
    int fds_ = 0;
};

}  // namespace vppfrc_test
