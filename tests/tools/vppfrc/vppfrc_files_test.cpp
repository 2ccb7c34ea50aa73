// The vppfrc binary with the files and streams of real workflows: pipes and '-', FIFOs and
// devices written in place, outputs that would destroy the input refused, signals that leave
// nothing behind, damaged input, header tags, fractional rates, a full disk, absurd sizes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "vppfrc_test_util.h"

namespace {

using vppfrc_test::Frame;
using vppfrc_test::TempDir;

constexpr int kWidth = 32;
constexpr int kHeight = 24;
constexpr size_t kFrameBytes = kWidth * kHeight * 3 / 2;

// A clip at 24 frames/s as raw YUV4MPEG2 text, with the header tags and frame parameters given.
std::string Clip(int frames, const std::string& tags = "F24:1 Ip C420jpeg",
                 const std::string& frameParams = "") {
    const std::vector<Frame> pictures = vppfrc_test::NoiseFrames(kWidth, kHeight, frames);
    std::string text = "YUV4MPEG2 W32 H24 " + tags + "\n";
    for (const Frame& frame : pictures) {
        text += frameParams.empty() ? "FRAME\n" : "FRAME " + frameParams + "\n";
        text.append(frame.begin(), frame.end());
    }
    return text;
}

// A running vppfrc with the standard streams and limits a test chooses.
struct Child {
    pid_t pid = -1;

    // stdinFd / stdoutFd: -1 for /dev/null and a capture file respectively. fsizeLimit: the
    // RLIMIT_FSIZE in bytes, 0 for none.
    static Child Start(const std::vector<std::string>& args, const std::string& cwd, int stdinFd,
                       int stdoutFd, const std::string& errPath, rlim_t fsizeLimit = 0) {
        Child child;
        child.pid = fork();
        if (child.pid == 0) {
            const int in = stdinFd >= 0 ? stdinFd : open("/dev/null", O_RDONLY);
            const int out = stdoutFd >= 0 ? stdoutFd : open("/dev/null", O_WRONLY | O_CLOEXEC);
            const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            if (in < 0 || out < 0 || err < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 ||
                dup2(err, 2) < 0 || chdir(cwd.c_str()) != 0) {
                _exit(127);
            }
            if (fsizeLimit != 0) {
                const struct rlimit limit = {fsizeLimit, fsizeLimit};
                setrlimit(RLIMIT_FSIZE, &limit);
            }
            // The test process may ignore SIGPIPE; the tool must see the default first.
            signal(SIGPIPE, SIG_DFL);
            std::vector<char*> argv{const_cast<char*>(VPPFRC_BINARY)};
            for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
            argv.push_back(nullptr);
            execv(VPPFRC_BINARY, argv.data());
            _exit(127);
        }
        return child;
    }

    // The exit code, or -signal when a signal ended it.
    int Wait() const {
        int status = 0;
        while (waitpid(pid, &status, 0) < 0) {
            if (errno != EINTR) return -1000;
        }
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
};

// Writes all of data to fd, then closes it; a reader that went away ends the writing.
void Feed(int fd, std::string data) {
    size_t done = 0;
    while (done < data.size()) {
        const ssize_t n = write(fd, data.data() + done, data.size() - done);
        if (n <= 0 && errno != EINTR) break;
        if (n > 0) done += static_cast<size_t>(n);
    }
    close(fd);
}

std::string Drain(int fd) {
    std::string text;
    char buffer[65536];
    for (;;) {
        const ssize_t n = read(fd, buffer, sizeof(buffer));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        text.append(buffer, static_cast<size_t>(n));
    }
    close(fd);
    return text;
}

// Frames of a YUV4MPEG2 text: the header line, then each FRAME line (without data).
struct Parsed {
    std::string header;
    std::vector<std::string> frameLines;
    bool complete = true;
};
Parsed Parse(const std::string& text) {
    Parsed parsed;
    size_t at = text.find('\n');
    if (at == std::string::npos) return Parsed{"", {}, false};
    parsed.header = text.substr(0, at);
    ++at;
    while (at < text.size()) {
        const size_t end = text.find('\n', at);
        if (end == std::string::npos || end + 1 + kFrameBytes > text.size()) {
            parsed.complete = false;
            break;
        }
        parsed.frameLines.push_back(text.substr(at, end - at));
        at = end + 1 + kFrameBytes;
    }
    return parsed;
}

class VppfrcFiles : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(dir_.path().empty());
        // A child that exits early must not take the test down through a write to its pipe.
        signal(SIGPIPE, SIG_IGN);
        fdsBefore_ = OpenFds();
    }
    void TearDown() override { EXPECT_EQ(OpenFds(), fdsBefore_) << "the test leaked descriptors"; }

    static int OpenFds() {
        int count = 0;
        for (int fd = 0; fd < 1024; ++fd) count += fcntl(fd, F_GETFD) != -1;
        return count;
    }

    // Runs the tool with a file as stdin (or none) and stdout captured.
    int Run(const std::vector<std::string>& args, std::string* out = nullptr, rlim_t fsizeLimit = 0,
            const std::string& stdinPath = "") {
        const std::string outPath = captures_.File("out");
        const int outFd = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        const int inFd = stdinPath.empty() ? -1 : open(stdinPath.c_str(), O_RDONLY | O_CLOEXEC);
        const Child child =
            Child::Start(args, dir_.path(), inFd, outFd, captures_.File("err"), fsizeLimit);
        close(outFd);
        if (inFd >= 0) close(inFd);
        const int code = child.Wait();
        if (out != nullptr) *out = vppfrc_test::ReadFile(outPath);
        err_ = vppfrc_test::ReadFile(captures_.File("err"));
        return code;
    }

    TempDir dir_;
    TempDir captures_;
    std::string err_;
    int fdsBefore_ = 0;
};

TEST_F(VppfrcFiles, PipesInAndOutWithDashAndFractionalRate) {
    const std::string clip = Clip(9);
    int in[2], out[2];
    ASSERT_EQ(pipe2(in, O_CLOEXEC), 0);
    ASSERT_EQ(pipe2(out, O_CLOEXEC), 0);
    const Child child = Child::Start({"-", "-o", "-", "--fps", "60"}, dir_.path(), in[0], out[1],
                                     captures_.File("err"));
    close(in[0]);
    close(out[1]);
    // Small writes in a thread: the reader must cope with short reads of a pipe.
    std::thread feeder([fd = in[1], clip] { Feed(fd, clip); });
    const std::string video = Drain(out[0]);
    feeder.join();
    ASSERT_EQ(child.Wait(), 0) << vppfrc_test::ReadFile(captures_.File("err"));

    const Parsed parsed = Parse(video);
    EXPECT_TRUE(parsed.complete);
    EXPECT_EQ(parsed.header, "YUV4MPEG2 W32 H24 F60:1 Ip C420jpeg");
    // 24 -> 60 frames/s: every output time up to the last input, floor(8 * 5 / 2) + 1.
    EXPECT_EQ(parsed.frameLines.size(), 21u);
    // The summary goes to stderr when the video takes stdout.
    EXPECT_NE(vppfrc_test::ReadFile(captures_.File("err")).find("frames out:       21"),
              std::string::npos);
    EXPECT_EQ(dir_.Entries(), std::vector<std::string>{});
}

TEST_F(VppfrcFiles, FifosAndDevicesAreWrittenInPlace) {
    ASSERT_EQ(mkfifo(dir_.File("in.fifo").c_str(), 0644), 0);
    ASSERT_EQ(mkfifo(dir_.File("out.fifo").c_str(), 0644), 0);
    const std::string clip = Clip(4);
    const Child child = Child::Start({"in.fifo", "-o", "out.fifo", "-q"}, dir_.path(), -1, -1,
                                     captures_.File("err"));
    std::thread feeder([&] { Feed(open(dir_.File("in.fifo").c_str(), O_WRONLY), clip); });
    const std::string video = Drain(open(dir_.File("out.fifo").c_str(), O_RDONLY));
    feeder.join();
    ASSERT_EQ(child.Wait(), 0) << vppfrc_test::ReadFile(captures_.File("err"));
    EXPECT_EQ(Parse(video).frameLines.size(), 7u);
    struct stat st;
    ASSERT_EQ(stat(dir_.File("out.fifo").c_str(), &st), 0);
    EXPECT_TRUE(S_ISFIFO(st.st_mode)) << "the FIFO was replaced";
    EXPECT_EQ(dir_.Entries(), (std::vector<std::string>{"in.fifo", "out.fifo"}));

    // A character device is opened and written, not replaced by a file beside it.
    vppfrc_test::WriteFile(dir_.File("in.y4m"), clip);
    EXPECT_EQ(Run({"in.y4m", "-o", "/dev/null", "-q"}), 0) << err_;
    ASSERT_EQ(stat("/dev/null", &st), 0);
    EXPECT_TRUE(S_ISCHR(st.st_mode));
}

TEST_F(VppfrcFiles, NeverWritesOverTheInputOrAnExistingFileUnasked) {
    const std::string clip = Clip(3);
    vppfrc_test::WriteFile(dir_.File("in.y4m"), clip);
    ASSERT_EQ(symlink("in.y4m", dir_.File("link.y4m").c_str()), 0);
    ASSERT_EQ(link(dir_.File("in.y4m").c_str(), dir_.File("hard.y4m").c_str()), 0);
    const struct {
        std::vector<std::string> args;
        const char* problem;
    } refused[] = {
        {{"in.y4m", "-o", "link.y4m", "-y"}, "it is the input file"},
        {{"in.y4m", "-o", "hard.y4m", "-y"}, "it is the input file"},
        {{"in.y4m", "-o", "./in.y4m", "-y"}, "it is the input file"},
        {{"in.y4m", "-o", "out.y4m", "--preview", "link.y4m", "-y"}, "it is the input file"},
        {{"in.y4m", "-o", "new.y4m", "--preview", "./new.y4m"}, "it is the output file"},
        {{"in.y4m", "-o", "hard.y4m"}, "it is the input file"},
    };
    for (const auto& c : refused) {
        SCOPED_TRACE(testing::PrintToString(c.args));
        EXPECT_EQ(Run(c.args), 1);
        EXPECT_NE(err_.find(c.problem), std::string::npos) << err_;
    }
    // Stdin that is the output file, through '-'.
    EXPECT_EQ(Run({"-", "-o", "hard.y4m", "-y"}, nullptr, 0, dir_.File("in.y4m")), 1);
    EXPECT_NE(err_.find("it is the input file"), std::string::npos) << err_;
    // Standard output appending to the input.
    const int append = open(dir_.File("in.y4m").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    const Child child =
        Child::Start({"in.y4m", "-o", "-"}, dir_.path(), -1, append, captures_.File("err"));
    close(append);
    EXPECT_EQ(child.Wait(), 1);
    EXPECT_NE(vppfrc_test::ReadFile(captures_.File("err")).find("it is the input file"),
              std::string::npos);
    EXPECT_EQ(vppfrc_test::ReadFile(dir_.File("in.y4m")), clip);

    // An existing output: kept without -y, kept with -n, replaced with -y.
    vppfrc_test::WriteFile(dir_.File("out.y4m"), "precious");
    EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m"}), 1);
    EXPECT_NE(err_.find("'out.y4m' already exists (add -y"), std::string::npos) << err_;
    EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m", "-n"}), 1);
    EXPECT_NE(err_.find("not overwriting"), std::string::npos) << err_;
    EXPECT_EQ(vppfrc_test::ReadFile(dir_.File("out.y4m")), "precious");
    EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m", "-y", "-q"}), 0) << err_;
    EXPECT_EQ(Parse(vppfrc_test::ReadFile(dir_.File("out.y4m"))).frameLines.size(), 5u);
    EXPECT_EQ(dir_.Entries(),
              (std::vector<std::string>{"hard.y4m", "in.y4m", "link.y4m", "out.y4m"}));
}

TEST_F(VppfrcFiles, SignalsRemoveTheTemporaryFileAndExitWith128PlusTheSignal) {
    const std::string clip = Clip(3);
    for (int sig : {SIGINT, SIGTERM, SIGHUP}) {
        SCOPED_TRACE(strsignal(sig));
        int in[2];
        ASSERT_EQ(pipe2(in, O_CLOEXEC), 0);
        const Child child =
            Child::Start({"-", "-o", "out.y4m"}, dir_.path(), in[0], -1, captures_.File("err"));
        close(in[0]);
        // The header and some frames, then the stream stays open: the run is in mid-file.
        ASSERT_EQ(write(in[1], clip.data(), clip.size()), static_cast<ssize_t>(clip.size()));
        bool temporary = false;
        for (int i = 0; i < 500 && !temporary; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            temporary = dir_.Entries().size() == 1;
        }
        EXPECT_TRUE(temporary) << "no temporary output appeared";
        kill(child.pid, sig);
        EXPECT_EQ(child.Wait(), 128 + sig);
        close(in[1]);
        EXPECT_EQ(dir_.Entries(), std::vector<std::string>{}) << "a file was left behind";
    }
    // A closed output pipe: SIGPIPE, no temporary preview left either.
    int out[2];
    ASSERT_EQ(pipe2(out, O_CLOEXEC), 0);
    close(out[0]);
    vppfrc_test::WriteFile(captures_.File("in.y4m"), Clip(6));
    const Child child = Child::Start({captures_.File("in.y4m"), "-o", "-", "--preview", "p.png"},
                                     dir_.path(), -1, out[1], captures_.File("err"));
    close(out[1]);
    EXPECT_EQ(child.Wait(), 128 + SIGPIPE);
    EXPECT_EQ(dir_.Entries(), std::vector<std::string>{});
}

TEST_F(VppfrcFiles, DamagedInputKeepsTheCompleteFramesAndSaysWhere) {
    const std::string clip = Clip(5);
    const size_t header = clip.find('\n') + 1;
    const size_t frame = 6 + kFrameBytes;
    const struct {
        size_t cut;
        int exitCode;
        size_t framesOut;  // at factor 2
        std::string message;
    } cases[] = {
        {header + 2 * frame + 3, 3, 3,
         "frame 3 (at byte " + std::to_string(header + 2 * frame) +
             ") is truncated inside its FRAME header"},
        {header + 3 * frame + 6 + 100, 3, 5,
         "frame 4 (at byte " + std::to_string(header + 3 * frame) + ") is truncated"},
        {header + 4 * frame - 1, 3, 5, "1 of 1152 bytes are missing"},
        {header + 4 * frame, 0, 7, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.cut);
        vppfrc_test::WriteFile(dir_.File("in.y4m"), clip.substr(0, c.cut));
        EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m", "-y", "-q"}), c.exitCode) << err_;
        EXPECT_NE(err_.find(c.message), std::string::npos) << err_;
        if (c.exitCode != 0) {
            EXPECT_NE(err_.find("complete frames before it were converted and kept"),
                      std::string::npos)
                << err_;
        }
        EXPECT_EQ(Parse(vppfrc_test::ReadFile(dir_.File("out.y4m"))).frameLines.size(),
                  c.framesOut);
    }
    // Garbage instead of a frame header is damage too.
    vppfrc_test::WriteFile(dir_.File("in.y4m"), clip.substr(0, header + frame) + "GARBAGE\n");
    EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m", "-y", "-q"}), 3);
    EXPECT_NE(err_.find("frame 2 (at byte"), std::string::npos) << err_;
}

TEST_F(VppfrcFiles, HeaderTagsAndFrameParametersPassThrough) {
    for (const std::string tags : {"F24:1 Ip A1:1 C420mpeg2 XYSCSS=420MPEG2 XCOLORRANGE=FULL",
                                   "C420paldv A128:117 F24:1 XCOLORRANGE=LIMITED", "F24:1"}) {
        SCOPED_TRACE(tags);
        vppfrc_test::WriteFile(dir_.File("in.y4m"), Clip(3, tags, "Ip XTAG=1"));
        ASSERT_EQ(Run({"in.y4m", "-o", "out.y4m", "-y", "-q", "--fps", "48"}), 0) << err_;
        std::string expected = tags;
        expected.replace(expected.find("F24:1"), 5, "F48:1");
        const Parsed parsed = Parse(vppfrc_test::ReadFile(dir_.File("out.y4m")));
        EXPECT_EQ(parsed.header, "YUV4MPEG2 W32 H24 " + expected);
        ASSERT_EQ(parsed.frameLines.size(), 5u);
        for (const std::string& line : parsed.frameLines) EXPECT_EQ(line, "FRAME Ip XTAG=1");
    }
    // NTSC rates are written exactly.
    vppfrc_test::WriteFile(dir_.File("in.y4m"), Clip(4, "F24000:1001"));
    ASSERT_EQ(Run({"in.y4m", "-o", "out.y4m", "-y", "-q", "--fps", "60000/1001"}), 0) << err_;
    const Parsed parsed = Parse(vppfrc_test::ReadFile(dir_.File("out.y4m")));
    EXPECT_EQ(parsed.header, "YUV4MPEG2 W32 H24 F60000:1001");
    EXPECT_EQ(parsed.frameLines.size(), 8u);  // floor(3 * 5 / 2) + 1
}

TEST_F(VppfrcFiles, AFullDiskIsNamedWithTheSystemsReasonAndLeavesNothing) {
    vppfrc_test::WriteFile(dir_.File("in.y4m"), Clip(6));
    EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m", "-q"}, nullptr, 3 * kFrameBytes), 1);
    EXPECT_NE(err_.find("cannot write 'out.y4m': File too large"), std::string::npos) << err_;
    EXPECT_EQ(dir_.Entries(), std::vector<std::string>{"in.y4m"});
}

TEST_F(VppfrcFiles, AbsurdSizesAreRefusedAtTheHeader) {
    for (const char* size : {"W16384 H16384", "W8192 H8192", "W100000 H2"}) {
        SCOPED_TRACE(size);
        vppfrc_test::WriteFile(dir_.File("big.y4m"),
                               std::string("YUV4MPEG2 ") + size + " F25:1\nFRAME\nxx");
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Run({"big.y4m", "-o", "out.y4m"}), 1);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
        EXPECT_TRUE(err_.find("7680x4320") != std::string::npos ||
                    err_.find("expected W1 to W8192") != std::string::npos)
            << err_;
        EXPECT_EQ(dir_.Entries(), std::vector<std::string>{"big.y4m"});
    }
}

TEST_F(VppfrcFiles, VersionAndJsonSummary) {
    std::string out;
    EXPECT_EQ(Run({"--version"}, &out), 0);
    EXPECT_EQ(out.rfind("vppfrc ", 0), 0u) << out;
    vppfrc_test::WriteFile(dir_.File("in.y4m"), Clip(5));
    ASSERT_EQ(Run({"in.y4m", "-o", "out.y4m", "--fps", "60", "--json", "-", "-q"}, &out), 0)
        << err_;
    for (const char* field :
         {"\"frames_in\": 5,", "\"frames_out\": 11,", "\"output_fps\": {\"num\": 60, \"den\": 1}",
          "\"ratio\": {\"num\": 5, \"den\": 2}", "\"mode\": \"blend\"",
          "\"p99\": ", "\"stages_seconds\": {\"read\": "}) {
        EXPECT_NE(out.find(field), std::string::npos) << "summary lacks " << field << ": " << out;
    }
    EXPECT_EQ(out.back(), '\n');
    // Mode off says what it does with a requested rate.
    EXPECT_EQ(Run({"in.y4m", "-o", "off.y4m", "--mode", "off", "--fps", "60"}), 0);
    EXPECT_NE(err_.find("mode off passes every frame through once"), std::string::npos) << err_;
}

TEST_F(VppfrcFiles, PreviewChoosesItsFramesAndAFailedPreviewKeepsTheVideo) {
    vppfrc_test::WriteFile(dir_.File("in.y4m"), Clip(6));
    EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m", "--preview", "p.png", "--preview-at", "2", "-q"}), 0)
        << err_;
    EXPECT_EQ(dir_.Entries(),
              (std::vector<std::string>{"in.y4m", "out.y4m", "p-crop.png", "p.png"}));
    // 1 s at 24 frames/s is past the end: no preview, the video is kept.
    EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m", "-y", "--preview", "q.png", "--preview-at", "1s"}),
              4);
    EXPECT_NE(err_.find("no frame at or after --preview-at 1s"), std::string::npos) << err_;
    EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m", "-y", "--preview", "q.png", "--preview-at", "x"}), 1);
    EXPECT_NE(err_.find("invalid --preview-at 'x'"), std::string::npos) << err_;

    // The sheet of noise is larger than the video (11 frames of 1158 bytes): a file size limit
    // between the two lets the video through and stops the preview.
    ASSERT_EQ(unlink(dir_.File("out.y4m").c_str()), 0);
    ASSERT_EQ(unlink(dir_.File("p.png").c_str()), 0);
    ASSERT_EQ(unlink(dir_.File("p-crop.png").c_str()), 0);
    EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m", "--preview", "p.png", "-q"}, nullptr, 14000), 4);
    EXPECT_NE(err_.find("the video was written, but not the preview: cannot write 'p.png': File "
                        "too large"),
              std::string::npos)
        << err_;
    EXPECT_EQ(Parse(vppfrc_test::ReadFile(dir_.File("out.y4m"))).frameLines.size(), 11u);
    EXPECT_EQ(dir_.Entries(), (std::vector<std::string>{"in.y4m", "out.y4m"}));
}

}  // namespace
