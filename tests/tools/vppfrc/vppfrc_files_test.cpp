// The vppfrc binary with the files and streams of real workflows: pipes and '-', FIFOs and
// devices written in place, existing outputs, signals that leave nothing behind, damaged input,
// header tags and frame parameters, fractional rates, a full disk.
#include <sys/stat.h>

#include <chrono>
#include <cstring>
#include <thread>

#include "vppfrc_test_util.h"

namespace vppfrc_test {
namespace {

// Writes all of data to fd, then closes it; a reader that went away ends the writing.
void Feed(int fd, const std::string& data) {
    for (size_t done = 0; done < data.size();) {
        const ssize_t n = write(fd, data.data() + done, data.size() - done);
        if (n <= 0 && errno != EINTR) break;
        done += n > 0 ? static_cast<size_t>(n) : 0;
    }
    close(fd);
}

std::string Drain(int fd) {
    std::string text;
    char buffer[65536];
    for (ssize_t n; (n = read(fd, buffer, sizeof(buffer))) != 0;) {
        if (n < 0 && errno != EINTR) break;
        if (n > 0) text.append(buffer, static_cast<size_t>(n));
    }
    close(fd);
    return text;
}

using VppfrcFiles = VppfrcTest;

TEST_F(VppfrcFiles, PipesFifosAndDevicesAreStreamedInPlace) {
    // '-' both ways, at a fractional rate; the summary goes to stderr when the video takes stdout.
    const std::string clip = Clip(9);
    int in[2], out[2];
    ASSERT_EQ(pipe2(in, O_CLOEXEC), 0);
    ASSERT_EQ(pipe2(out, O_CLOEXEC), 0);
    const pid_t pid = Start({"-", "-o", "-", "--fps", "60"}, dir_.path(), in[0], out[1], ErrPath());
    close(in[0]);
    close(out[1]);
    // Written from a thread: the reader must cope with short reads of a pipe.
    std::thread feeder(Feed, in[1], clip);
    Parsed parsed = Parse(Drain(out[0]));
    feeder.join();
    ASSERT_EQ(Wait(pid), 0) << ReadFile(ErrPath());
    EXPECT_TRUE(parsed.complete);
    EXPECT_EQ(parsed.header, "YUV4MPEG2 W32 H24 F60:1 Ip C420jpeg");
    // 24 -> 60 frames/s: every output time up to the last input, floor(8 * 5 / 2) + 1.
    EXPECT_EQ(parsed.frameLines.size(), 21u);
    EXPECT_TRUE(Has(ReadFile(ErrPath()), "frames out:       21"));
    EXPECT_EQ(dir_.Entries(), Names{});

    // FIFOs are opened and written, not replaced by a file beside them.
    ASSERT_EQ(mkfifo(File("in.fifo").c_str(), 0644), 0);
    ASSERT_EQ(mkfifo(File("out.fifo").c_str(), 0644), 0);
    const pid_t fifo = Start({"in.fifo", "-o", "out.fifo", "-q"}, dir_.path(), -1, -1, ErrPath());
    std::thread writer([&] { Feed(open(File("in.fifo").c_str(), O_WRONLY), Clip(4)); });
    parsed = Parse(Drain(open(File("out.fifo").c_str(), O_RDONLY)));
    writer.join();
    ASSERT_EQ(Wait(fifo), 0) << ReadFile(ErrPath());
    EXPECT_EQ(parsed.frameLines.size(), 7u);
    struct stat st;
    ASSERT_EQ(stat(File("out.fifo").c_str(), &st), 0);
    EXPECT_TRUE(S_ISFIFO(st.st_mode)) << "the FIFO was replaced";
    EXPECT_EQ(dir_.Entries(), (Names{"in.fifo", "out.fifo"}));
    // So is a character device.
    WriteFile(File("in.y4m"), clip);
    EXPECT_EQ(Run({"in.y4m", "-o", "/dev/null", "-q"}), 0) << err_;
    ASSERT_EQ(stat("/dev/null", &st), 0);
    EXPECT_TRUE(S_ISCHR(st.st_mode));
}

TEST_F(VppfrcFiles, ExistingFilesAreReplacedOnlyWhenAskedAndNeverTheInputNorByAFailedRun) {
    const std::string clip = Clip(3);
    WriteFile(File("in.y4m"), clip);
    ASSERT_EQ(link(File("in.y4m").c_str(), File("hard.y4m").c_str()), 0);
    // Stdin that is the output file, through '-'; standard output appending to the input.
    EXPECT_EQ(Run({"-", "-o", "hard.y4m", "-y"}, 0, File("in.y4m")), 1);
    EXPECT_TRUE(Has(err_, "it is the input file"));
    const int append = open(File("in.y4m").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    const pid_t pid = Start({"in.y4m", "-o", "-"}, dir_.path(), -1, append, ErrPath());
    close(append);
    EXPECT_EQ(Wait(pid), 1);
    EXPECT_TRUE(Has(ReadFile(ErrPath()), "it is the input file"));
    EXPECT_EQ(ReadFile(File("in.y4m")), clip);

    // An existing output: kept without -y, kept with -n, replaced with -y.
    WriteFile(File("out.y4m"), "precious");
    EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m"}), 1);
    EXPECT_TRUE(Has(err_, "'out.y4m' already exists (add -y"));
    EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m", "-n"}), 1);
    EXPECT_TRUE(Has(err_, "not overwriting"));
    EXPECT_EQ(ReadFile(File("out.y4m")), "precious");
    EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m", "-y", "-q"}), 0) << err_;
    EXPECT_EQ(Parse(ReadFile(File("out.y4m"))).frameLines.size(), 5u);
    // A full disk is named with the system's reason, and the old output stays.
    EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m", "-y", "-q"}, 3 * kFrameBytes), 1);
    EXPECT_TRUE(Has(err_, "cannot write 'out.y4m': File too large"));
    EXPECT_EQ(Parse(ReadFile(File("out.y4m"))).frameLines.size(), 5u);
    EXPECT_EQ(dir_.Entries(), (Names{"hard.y4m", "in.y4m", "out.y4m"}));
}

TEST_F(VppfrcFiles, SignalsRemoveTheTemporaryFileAndExitWith128PlusTheSignal) {
    const std::string clip = Clip(3);
    for (int sig : {SIGINT, SIGTERM, SIGHUP}) {
        SCOPED_TRACE(strsignal(sig));
        int in[2];
        ASSERT_EQ(pipe2(in, O_CLOEXEC), 0);
        const pid_t pid = Start({"-", "-o", "out.y4m"}, dir_.path(), in[0], -1, ErrPath());
        close(in[0]);
        // The header and some frames, then the stream stays open: the run is in mid-file.
        ASSERT_EQ(write(in[1], clip.data(), clip.size()), static_cast<ssize_t>(clip.size()));
        for (int i = 0; i < 500 && dir_.Entries().empty(); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        EXPECT_EQ(dir_.Entries().size(), 1u) << "no temporary output appeared";
        kill(pid, sig);
        EXPECT_EQ(Wait(pid), 128 + sig);
        close(in[1]);
        EXPECT_EQ(dir_.Entries(), Names{}) << "a file was left behind";
    }
    // A closed output pipe: SIGPIPE, no temporary preview left either.
    int out[2];
    ASSERT_EQ(pipe2(out, O_CLOEXEC), 0);
    close(out[0]);
    WriteFile(captures_.File("in.y4m"), Clip(6));
    const pid_t pid = Start({captures_.File("in.y4m"), "-o", "-", "--preview", "p.png"},
                            dir_.path(), -1, out[1], ErrPath());
    close(out[1]);
    EXPECT_EQ(Wait(pid), 128 + SIGPIPE);
    EXPECT_EQ(dir_.Entries(), Names{});
}

TEST_F(VppfrcFiles, DamagedInputKeepsTheCompleteFramesAndSaysWhere) {
    const std::string clip = Clip(5);
    const size_t header = clip.find('\n') + 1;
    const size_t frame = 6 + kFrameBytes;
    const struct {
        std::string input;
        int exitCode;
        size_t framesOut;  // at factor 2
        std::string message;
    } cases[] = {
        {clip.substr(0, header + 2 * frame + 3), 3, 3,
         "frame 3 (at byte " + std::to_string(header + 2 * frame) +
             ") is truncated inside its FRAME header"},
        {clip.substr(0, header + 3 * frame + 106), 3, 5,
         "frame 4 (at byte " + std::to_string(header + 3 * frame) + ") is truncated"},
        {clip.substr(0, header + 4 * frame - 1), 3, 5, "1 of 1152 bytes are missing"},
        {clip.substr(0, header + frame) + "GARBAGE\n", 3, 1,
         "frame 2 (at byte " + std::to_string(header + frame) + ")"},
        {clip.substr(0, header + 4 * frame), 0, 7, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        WriteFile(File("in.y4m"), c.input);
        EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m", "-y", "-q"}), c.exitCode) << err_;
        EXPECT_TRUE(Has(err_, c.message));
        EXPECT_EQ(
            err_.find("complete frames before it were converted and kept") != std::string::npos,
            c.exitCode != 0)
            << err_;
        EXPECT_EQ(Parse(ReadFile(File("out.y4m"))).frameLines.size(), c.framesOut);
    }
}

TEST_F(VppfrcFiles, HeaderTagsFrameParametersAndExactRatesPassThrough) {
    const struct {
        std::string tags, frameParams, fps, header;
        size_t frames;  // of 3 inputs
    } cases[] = {
        {"F24:1 Ip A1:1 C420mpeg2 XYSCSS=420MPEG2 XCOLORRANGE=FULL", "Ip XTAG=1", "48",
         "F48:1 Ip A1:1 C420mpeg2 XYSCSS=420MPEG2 XCOLORRANGE=FULL", 5},
        {"C420paldv A128:117 F24:1 XCOLORRANGE=LIMITED", "Ip XTAG=1", "48",
         "C420paldv A128:117 F48:1 XCOLORRANGE=LIMITED", 5},
        {"F24:1", "Ip XTAG=1", "48", "F48:1", 5},
        // 24000/1001 to 60000/1001: the ratio 5/2, floor(2 * 5 / 2) + 1 outputs.
        {"F24000:1001", "", "60000/1001", "F60000:1001", 6},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.tags);
        WriteFile(File("in.y4m"), Clip(3, c.tags, c.frameParams));
        ASSERT_EQ(Run({"in.y4m", "-o", "out.y4m", "-y", "-q", "--fps", c.fps}), 0) << err_;
        const Parsed parsed = Parse(ReadFile(File("out.y4m")));
        EXPECT_EQ(parsed.header, "YUV4MPEG2 W32 H24 " + c.header);
        EXPECT_EQ(parsed.frameLines,
                  Names(c.frames, c.frameParams.empty() ? "FRAME" : "FRAME " + c.frameParams));
    }
}

}  // namespace
}  // namespace vppfrc_test
