// The vppfrc binary as a user runs it: help, every refused command line, input and output (one
// clear message, its exit code, nothing left behind), a conversion with its summaries, the demo.
#include <sys/stat.h>

#include "vppfrc_test_util.h"

namespace vppfrc_test {
namespace {

TEST_F(VppfrcTest, HelpDocumentsEveryOptionAndTheExitCodes) {
    ASSERT_EQ(Run({"--help"}), 0);
    EXPECT_EQ(err_, "");
    const std::string help = out_;
    EXPECT_TRUE(Has(
        out_,
        "Usage: vppfrc IN.y4m -o OUT.y4m|-o, --output|--factor N|2 to 8|--mode MODE|off |repeat |"
        "blend |motion |--preview FILE.png|--preview-at|--fps RATE|-q, --quiet|-v, --verbose|-y |"
        "-n |--json FILE|--demo|--out-dir DIR|-h, --help|-V, --version|Exit status|128+N"));
    EXPECT_EQ(Run({"-h"}), 0);
    EXPECT_EQ(out_, help);
    EXPECT_EQ(Run({"--version"}), 0);
    EXPECT_EQ(out_.rfind("vppfrc ", 0), 0u) << out_;
}

// Each refusal: its exit code, nothing on stdout, one line on stderr naming the problem (after
// progress lines at most), and the folder exactly as before (no output, preview or temporary).
TEST_F(VppfrcTest, RefusalsNameTheProblemAndLeaveNothing) {
    const std::string header = "YUV4MPEG2 W32 H24 F24:1 C420jpeg Ip\n";
    WriteFile(File("in.y4m"), Clip(6));
    for (const auto& [name, content] : std::vector<std::pair<std::string, std::string>>{
             {"text.y4m", "hello, world\n"},
             {"c444.y4m", "YUV4MPEG2 W32 H24 F30:1 C444\n"},
             {"interlaced.y4m", "YUV4MPEG2 W32 H24 F30:1 It\n"},
             {"odd.y4m", "YUV4MPEG2 W31 H24 F30:1\n"},
             {"empty.y4m", header},
             {"short.y4m", header + "FRAME\n" + std::string(100, 'x')},
             {"huge.y4m", "YUV4MPEG2 W8192 H8192 F25:1\nFRAME\nxx"},
             {"wide.y4m", "YUV4MPEG2 W100000 H2 F25:1\nFRAME\nxx"}}) {
        WriteFile(File(name), content);
    }
    ASSERT_EQ(mkdir(File("folder").c_str(), 0755), 0);
    ASSERT_EQ(symlink("in.y4m", File("link.y4m").c_str()), 0);
    ASSERT_EQ(link(File("in.y4m").c_str(), File("hard.y4m").c_str()), 0);
    auto in = [&](const Names& more) {
        Names args{"in.y4m", "-o", "out.y4m"};
        args.insert(args.end(), more.begin(), more.end());
        return args;
    };
    const struct {
        Names args;
        int exitCode;
        std::string problem;
    } cases[] = {
        {{}, 2, "no input file given"},
        {{"in.y4m"}, 2, "no output file given"},
        {in({"--fast"}), 2, "unknown option '--fast'"},
        {in({"--factor", "1"}), 2, "factor '1' is out of range"},
        {in({"--factor=9"}), 2, "factor '9' is out of range"},
        {in({"--factor", "2.5"}), 2, "invalid factor '2.5'"},
        {in({"--mode", "fast"}), 2, "unknown mode 'fast'"},
        {in({"--mode"}), 2, "option --mode needs a value"},
        {in({"other.y4m"}), 2, "more than one input file"},
        {in({"--out-dir", "d"}), 2, "--out-dir is only used with --demo"},
        {{"--demo", "in.y4m"}, 2, "--demo takes no input or output file"},
        {in({"--fps", "60/0"}), 2, "invalid frame rate '60/0'"},
        {in({"--fps", "60", "--factor", "2"}), 2, "give one of them"},
        {in({"-y", "-n"}), 2, "-y and -n contradict"},
        {{"in.y4m", "-o", "-", "--json", "-"}, 2, "give --json a file name"},
        {{"text.y4m", "-o", "o.y4m", "--preview", "p.png"},
         1,
         "'text.y4m' is not a YUV4MPEG2 file"},
        {{"c444.y4m", "-o", "o.y4m"}, 1, "chroma format 'C444'"},
        {{"interlaced.y4m", "-o", "o.y4m"}, 1, "'interlaced.y4m' is interlaced"},
        {{"odd.y4m", "-o", "o.y4m"}, 1, "odd frame size (31x24)"},
        {{"empty.y4m", "-o", "o.y4m"}, 1, "'empty.y4m' holds no frames"},
        {{"short.y4m", "-o", "o.y4m"}, 1, "frame 1 (at byte 36) is truncated"},
        {{"huge.y4m", "-o", "o.y4m"}, 1, "7680x4320"},
        {{"wide.y4m", "-o", "o.y4m"}, 1, "expected W1 to W8192"},
        {{"missing.y4m", "-o", "o.y4m"}, 1, "cannot open 'missing.y4m': No such file or directory"},
        {{"folder", "-o", "o.y4m"}, 1, "cannot open 'folder': it is a folder"},
        {in({"--fps", "23"}), 1, "1 to 8 times the input's"},
        {in({"--fps", "193"}), 1, "1 to 8 times the input's"},
        {in({"--fps", "65537/1000"}), 1, "terms above 65535"},
        {{"in.y4m", "-o", "no/such/folder/out.y4m"}, 1, "cannot write 'no/such/folder/out.y4m'"},
        {{"in.y4m", "-o", "folder"}, 1, "cannot write 'folder': it is a folder"},
        {in({"--preview", "no/such/p.png"}), 1, "cannot write 'no/such/p.png'"},
        {in({"--preview-at", "x", "--preview", "p.png"}), 1, "invalid --preview-at 'x'"},
        {{"in.y4m", "-o", "link.y4m", "-y"}, 1, "refusing to write 'link.y4m': it is the input"},
        {{"in.y4m", "-o", "hard.y4m"}, 1, "refusing to write 'hard.y4m': it is the input file"},
        {{"in.y4m", "-o", "./in.y4m", "-y"}, 1, "it is the input file"},
        {in({"--preview", "link.y4m", "-y"}), 1, "preview 'link.y4m': it is the input file"},
        {in({"--preview", "./out.y4m"}), 1, "preview './out.y4m': it is the output file"},
        {{"in.y4m", "-o", "in.y4m"}, 1, "it is the input file"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.args));
        const Names before = dir_.Entries();
        EXPECT_EQ(Run(c.args), c.exitCode);
        EXPECT_EQ(out_, "");
        const size_t last = err_.rfind('\n', err_.size() - 2) + 1;  // 0 when a single line
        const std::string message = err_.substr(last);
        EXPECT_EQ(message.rfind("vppfrc: ", 0), 0u) << message;
        EXPECT_TRUE(Has(message, c.problem));
        EXPECT_EQ(message.back(), '\n');
        for (size_t at = 0; at < last; at = err_.find('\n', at) + 1) {
            EXPECT_EQ(err_.compare(at, 12, "converting: "), 0) << "unexpected line in " << err_;
        }
        EXPECT_EQ(dir_.Entries(), before);
    }
}

// A conversion with its summaries and preview; a preview that cannot be made keeps the video.
TEST_F(VppfrcTest, ConvertsAClipAndPrintsItsSummaries) {
    WriteFile(File("in.y4m"), Clip(6));
    ASSERT_EQ(Run({"in.y4m", "-o", "out.y4m", "--factor", "3", "--mode", "blend", "--preview",
                   "p.png", "--preview-at", "2"}),
              0)
        << err_;
    EXPECT_EQ(dir_.Entries(), (Names{"in.y4m", "out.y4m", "p-crop.png", "p.png"}));
    const Parsed parsed = Parse(ReadFile(File("out.y4m")));
    EXPECT_TRUE(parsed.complete);
    EXPECT_EQ(parsed.header, "YUV4MPEG2 W32 H24 F72:1 Ip C420jpeg");
    EXPECT_EQ(parsed.frameLines.size(), 16u);  // (6 - 1) * 3 + 1
    EXPECT_TRUE(Has(out_,
                    "frames in:        6\n|frames out:       16\n|wall time:|output rate:|"
                    "latency p50/p99:|vppfrc: preview:     p.png"));
    // The same number of descriptors open at the end as at the start.
    int start = -1, end = -2;
    const size_t at = out_.find("descriptors open: ");
    ASSERT_NE(at, std::string::npos);
    ASSERT_EQ(sscanf(out_.c_str() + at, "descriptors open: %d at start, %d at end", &start, &end),
              2);
    EXPECT_GT(start, 0);
    EXPECT_EQ(start, end);
    // Not a terminal: plain progress lines on stderr, ending with the total.
    EXPECT_TRUE(Has(err_, "converting: 6/6 frames (100%)"));

    // 1 s at 24 frames/s is past the end: no preview, the video is kept.
    EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m", "-y", "--preview", "q.png", "--preview-at", "1s"}),
              4);
    EXPECT_TRUE(Has(err_, "no frame at or after --preview-at 1s"));
    // The sheet of noise is larger than the video (11 frames of 1158 bytes): a file size limit
    // between the two lets the video through and stops the preview.
    for (const char* name : {"out.y4m", "p.png", "p-crop.png"}) unlink(File(name).c_str());
    EXPECT_EQ(Run({"in.y4m", "-o", "out.y4m", "--preview", "p.png", "-q"}, 14000), 4);
    EXPECT_TRUE(Has(err_,
                    "the video was written, but not the preview: cannot write 'p.png': File "
                    "too large"));
    EXPECT_EQ(Parse(ReadFile(File("out.y4m"))).frameLines.size(), 11u);
    EXPECT_EQ(dir_.Entries(), (Names{"in.y4m", "out.y4m"}));

    // The JSON summary, here on stdout; mode off says what it does with a requested rate.
    WriteFile(File("in.y4m"), Clip(5));
    ASSERT_EQ(Run({"in.y4m", "-o", "out.y4m", "-y", "--fps", "60", "--json", "-", "-q"}), 0)
        << err_;
    EXPECT_TRUE(Has(out_,
                    "\"frames_in\": 5,|\"frames_out\": 11,|"
                    "\"output_fps\": {\"num\": 60, \"den\": 1}|\"ratio\": {\"num\": 5, "
                    "\"den\": 2}|\"mode\": \"blend\"|\"p99\": |\"stages_seconds\": {\"read\": "));
    EXPECT_EQ(out_.back(), '\n');
    EXPECT_EQ(Run({"in.y4m", "-o", "off.y4m", "--mode", "off", "--fps", "60"}), 0);
    EXPECT_TRUE(Has(err_, "mode off passes every frame through once"));
}

TEST_F(VppfrcTest, DemoWritesItsClipOutputAndPreview) {
    // Blend keeps the run short in sanitizer builds; the demo's default mode is motion.
    ASSERT_EQ(Run({"--demo", "--out-dir", "demo", "--mode", "blend"}), 0) << err_;
    for (const char* name : {"input.y4m", "output.y4m", "preview.png"}) {
        EXPECT_EQ(access(File(std::string("demo/") + name).c_str(), R_OK), 0) << name;
        EXPECT_TRUE(Has(out_, std::string("demo/") + name));
    }
    EXPECT_TRUE(Has(out_, "mode blend, factor 4: 24/1 to 96/1"));
    EXPECT_TRUE(Has(out_, "output clip: demo/output.y4m (189 frames at 96/1"));
    // 48 frames at the demo's factor 4, each a FRAME line and 640x360 samples.
    const std::string video = ReadFile(File("demo/output.y4m"));
    EXPECT_EQ(video.size(), video.find('\n') + 1 + 189 * (6 + 640 * 360 * 3 / 2));
}

}  // namespace
}  // namespace vppfrc_test
