// The vppfrc binary as a user runs it: help, usage errors, bad input and output files (one clear
// message, non-zero exit, nothing left behind), a conversion with summary and preview, the demo.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "vppfrc_test_util.h"

namespace {

using vppfrc_test::Frame;
using vppfrc_test::ProcessResult;
using vppfrc_test::TempDir;

constexpr int kWidth = 32;
constexpr int kHeight = 24;

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        const size_t end = text.find('\n', start);
        lines.push_back(text.substr(start, end == std::string::npos ? end : end - start));
        if (end == std::string::npos) break;
        start = end + 1;
    }
    return lines;
}

class VppfrcCli : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(dir_.path().empty());
        ASSERT_FALSE(captures_.path().empty());
        ASSERT_TRUE(vppfrc_test::WriteY4m(dir_.File("in.y4m"), kWidth, kHeight,
                                          vppfrc_test::NoiseFrames(kWidth, kHeight, 6)));
    }

    ProcessResult Run(const std::vector<std::string>& args) {
        return vppfrc_test::RunProcess(VPPFRC_BINARY, args, dir_.path(), captures_.File("run"));
    }

    // A failed run: the given exit code, one line on stderr naming the problem, nothing on
    // stdout, and the working folder exactly as before (no output, preview or temporary file).
    void ExpectFailure(const std::vector<std::string>& args, int exitCode,
                       const std::string& problem) {
        SCOPED_TRACE(::testing::PrintToString(args));
        const std::vector<std::string> before = dir_.Entries();
        const ProcessResult result = Run(args);
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_EQ(result.out, "");
        // Progress lines may come first when some frames were converted; the error is last.
        std::vector<std::string> lines = Lines(result.err);
        ASSERT_FALSE(lines.empty());
        const std::string& message = lines.back();
        EXPECT_EQ(message.rfind("vppfrc: ", 0), 0u) << message;
        EXPECT_NE(message.find(problem), std::string::npos) << message;
        for (size_t i = 0; i + 1 < lines.size(); ++i) {
            EXPECT_EQ(lines[i].rfind("converting: ", 0), 0u) << "unexpected line: " << lines[i];
        }
        EXPECT_EQ(dir_.Entries(), before);
    }

    TempDir dir_;
    TempDir captures_;
};

TEST_F(VppfrcCli, HelpDocumentsEveryOption) {
    const ProcessResult result = Run({"--help"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    for (const char* word : {"Usage: vppfrc IN.y4m -o OUT.y4m",
                             "-o, --output",
                             "--factor N",
                             "2 to 8",
                             "--mode MODE",
                             "off ",
                             "repeat ",
                             "blend ",
                             "motion ",
                             "--preview FILE.png",
                             "--preview-at",
                             "--fps RATE",
                             "-q, --quiet",
                             "-v, --verbose",
                             "-y ",
                             "-n ",
                             "--json FILE",
                             "--demo",
                             "--out-dir DIR",
                             "-h, --help",
                             "-V, --version",
                             "Exit status",
                             "128+N"}) {
        EXPECT_NE(result.out.find(word), std::string::npos) << "help lacks " << word;
    }
    EXPECT_EQ(Run({"-h"}).out, result.out);
}

TEST_F(VppfrcCli, UsageErrorsExitWithTwoAndNameTheProblem) {
    struct Case {
        std::vector<std::string> args;
        std::string problem;
    };
    const std::vector<Case> cases = {
        {{}, "no input file given"},
        {{"in.y4m"}, "no output file given"},
        {{"in.y4m", "-o", "out.y4m", "--fast"}, "unknown option '--fast'"},
        {{"in.y4m", "-o", "out.y4m", "--factor", "1"}, "factor '1' is out of range"},
        {{"in.y4m", "-o", "out.y4m", "--factor=9"}, "factor '9' is out of range"},
        {{"in.y4m", "-o", "out.y4m", "--factor", "2.5"}, "invalid factor '2.5'"},
        {{"in.y4m", "-o", "out.y4m", "--mode", "fast"}, "unknown mode 'fast'"},
        {{"in.y4m", "-o", "out.y4m", "--mode"}, "option --mode needs a value"},
        {{"in.y4m", "other.y4m", "-o", "out.y4m"}, "more than one input file"},
        {{"in.y4m", "-o", "out.y4m", "--out-dir", "d"}, "--out-dir is only used with --demo"},
        {{"--demo", "in.y4m"}, "--demo takes no input or output file"},
        {{"in.y4m", "-o", "out.y4m", "--fps", "60/0"}, "invalid frame rate '60/0'"},
        {{"in.y4m", "-o", "out.y4m", "--fps", "60", "--factor", "2"}, "give one of them"},
        {{"in.y4m", "-o", "out.y4m", "-y", "-n"}, "-y and -n contradict"},
        {{"in.y4m", "-o", "-", "--json", "-"}, "give --json a file name"},
    };
    for (const Case& c : cases) {
        ExpectFailure(c.args, 2, c.problem);
    }
}

TEST_F(VppfrcCli, BadInputFilesAreNamedAndLeaveNoOutput) {
    const std::string frame(static_cast<size_t>(kWidth * kHeight * 3 / 2), '\x50');
    const std::string header = "YUV4MPEG2 W32 H24 F30:1 C420jpeg Ip\n";
    struct Case {
        std::string name;
        std::string content;
        std::string problem;
    };
    const std::vector<Case> cases = {
        {"text.y4m", "hello, world\n", "'text.y4m' is not a YUV4MPEG2 file"},
        {"c444.y4m", "YUV4MPEG2 W32 H24 F30:1 C444\n", "chroma format 'C444'"},
        {"interlaced.y4m", "YUV4MPEG2 W32 H24 F30:1 It\n", "'interlaced.y4m' is interlaced"},
        {"odd.y4m", "YUV4MPEG2 W31 H24 F30:1\n", "odd frame size (31x24)"},
        {"empty.y4m", header, "'empty.y4m' holds no frames"},
        {"short.y4m", header + "FRAME\n" + frame.substr(0, 100),
         "frame 1 (at byte 36) is truncated"},
    };
    for (const Case& c : cases) {
        vppfrc_test::WriteFile(dir_.File(c.name), c.content);
        ExpectFailure({c.name, "-o", "out.y4m", "--preview", "p.png"}, 1, c.problem);
    }
    ExpectFailure({"missing.y4m", "-o", "out.y4m"}, 1,
                  "cannot open 'missing.y4m': No such file or directory");
    ASSERT_EQ(mkdir(dir_.File("folder").c_str(), 0755), 0);
    ExpectFailure({"folder", "-o", "out.y4m"}, 1, "cannot open 'folder': it is a folder");
}

TEST_F(VppfrcCli, RatesTheServiceCannotMakeAreRefused) {
    // in.y4m runs at 30 frames/s.
    ExpectFailure({"in.y4m", "-o", "out.y4m", "--fps", "24"}, 1, "1 to 8 times the input's");
    ExpectFailure({"in.y4m", "-o", "out.y4m", "--fps", "241"}, 1, "1 to 8 times the input's");
    ExpectFailure({"in.y4m", "-o", "out.y4m", "--fps", "65537/1000"}, 1, "terms above 65535");
}

TEST_F(VppfrcCli, UnwritableOutputsAreNamedAndLeaveNothing) {
    ExpectFailure({"in.y4m", "-o", "no/such/folder/out.y4m"}, 1,
                  "cannot write 'no/such/folder/out.y4m'");
    ASSERT_EQ(mkdir(dir_.File("taken").c_str(), 0755), 0);
    ExpectFailure({"in.y4m", "-o", "taken"}, 1, "cannot write 'taken': it is a folder");
    ExpectFailure({"in.y4m", "-o", "out.y4m", "--preview", "no/such/p.png"}, 1,
                  "cannot write 'no/such/p.png'");
}

TEST_F(VppfrcCli, ConvertsAClipAndPrintsItsSummary) {
    const ProcessResult result =
        Run({"in.y4m", "-o", "out.y4m", "--factor", "3", "--mode", "blend", "--preview", "p.png"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(dir_.Entries(),
              (std::vector<std::string>{"in.y4m", "out.y4m", "p-crop.png", "p.png"}));

    media::VideoFormat format;
    std::vector<Frame> frames;
    ASSERT_TRUE(vppfrc_test::ReadY4m(dir_.File("out.y4m"), &format, &frames));
    EXPECT_EQ(frames.size(), 16u);  // (6 - 1) * 3 + 1
    EXPECT_EQ(format.width, kWidth);
    EXPECT_EQ(format.fpsNum, 90);

    for (const char* line : {"frames in:        6\n", "frames out:       16\n", "wall time:",
                             "output rate:", "latency p50/p99:", "vppfrc: preview:     p.png"}) {
        EXPECT_NE(result.out.find(line), std::string::npos) << "summary lacks " << line;
    }
    // The same number of descriptors open at the end as at the start.
    const size_t at = result.out.find("descriptors open: ");
    ASSERT_NE(at, std::string::npos);
    int start = -1;
    int end = -2;
    ASSERT_EQ(
        sscanf(result.out.c_str() + at, "descriptors open: %d at start, %d at end", &start, &end),
        2);
    EXPECT_GT(start, 0);
    EXPECT_EQ(start, end);
    // Not a terminal: plain progress lines on stderr, ending with the total.
    EXPECT_NE(result.err.find("converting: 6/6 frames (100%)"), std::string::npos) << result.err;
}

TEST_F(VppfrcCli, DemoWritesItsClipOutputAndPreview) {
    // Blend keeps the run short in sanitizer builds; the demo's default mode is motion.
    const ProcessResult result = Run({"--demo", "--out-dir", "demo", "--mode", "blend"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    for (const char* name : {"input.y4m", "output.y4m", "preview.png"}) {
        EXPECT_EQ(access(dir_.File(std::string("demo/") + name).c_str(), R_OK), 0) << name;
        EXPECT_NE(result.out.find(std::string("demo/") + name), std::string::npos) << name;
    }
    media::VideoFormat format;
    std::vector<Frame> frames;
    ASSERT_TRUE(vppfrc_test::ReadY4m(dir_.File("demo/output.y4m"), &format, &frames));
    EXPECT_EQ(frames.size(), 189u);  // 48 frames at the demo's factor 4
    EXPECT_EQ(format.fpsNum, 96);
    EXPECT_NE(result.out.find("mode blend, factor 4: 24/1 to 96/1"), std::string::npos)
        << result.out;
}

}  // namespace
