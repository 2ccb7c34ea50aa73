// Tests of the YUV4MPEG2 reader and writer: round trips, every rejected input, no partial output.
#include "media/y4m.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include "test_util.h"

namespace {

using media::VideoFormat;
using media::Y4mReader;
using media::Y4mWriter;
using media_test::Pattern;
using testsupport::ReadFile;
using testsupport::TempDir;
using testsupport::WriteFile;
using Result = Y4mReader::Result;

VideoFormat Fmt(int width, int height, int fpsNum, int fpsDen) {
    VideoFormat format;
    format.width = width;
    format.height = height;
    format.fpsNum = fpsNum;
    format.fpsDen = fpsDen;
    return format;
}

std::string Frame(size_t size, char fill) {
    return "FRAME\n" + std::string(size, fill);
}

class Y4mTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(dir_.path().empty());
        fds_ = testsupport::OpenDescriptorCount();
    }
    void TearDown() override {
        EXPECT_EQ(testsupport::OpenDescriptorCount(), fds_) << "descriptor leaked";
    }

    // Writes content to a file and returns the reader's error for it ("" if it opened).
    std::string OpenError(const std::string& content) {
        std::string path = dir_.File("in.y4m");
        WriteFile(path, content);
        Y4mReader reader;
        std::string error;
        if (reader.Open(path, &error)) return "";
        EXPECT_NE(error.find(path), std::string::npos)
            << "message does not name the file: " << error;
        return error;
    }

    TempDir dir_;
    int fds_ = 0;
};

TEST_F(Y4mTest, RoundTripIsBitExact) {
    // 320x240 frames are larger than the reader's buffer, 6x4 frames far smaller: both the
    // direct and the buffered read paths are covered.
    for (auto [w, h] : {std::pair{320, 240}, std::pair{6, 4}}) {
        const VideoFormat format = Fmt(w, h, 30000, 1001);
        const size_t size = media::I420FrameSize(w, h);
        ASSERT_EQ(size, static_cast<size_t>(w * h * 3 / 2));
        std::string path = dir_.File("out.y4m");
        {
            Y4mWriter writer;
            std::string error;
            ASSERT_TRUE(writer.Open(path, format, &error)) << error;
            for (uint32_t i = 0; i < 5; ++i)
                ASSERT_TRUE(writer.Write(Pattern(size, i).data(), &error));
            EXPECT_EQ(writer.framesWritten(), 5);
            ASSERT_TRUE(writer.Commit(&error)) << error;
        }
        std::string header = "YUV4MPEG2 W" + std::to_string(w) + " H" + std::to_string(h) +
                             " F30000:1001 Ip C420jpeg\n";
        EXPECT_EQ(ReadFile(path).substr(0, header.size()), header);
        EXPECT_EQ(ReadFile(path).size(), header.size() + 5 * (6 + size));

        Y4mReader reader;
        std::string error;
        ASSERT_TRUE(reader.Open(path, &error)) << error;
        EXPECT_EQ(reader.format().width, w);
        EXPECT_EQ(reader.format().height, h);
        EXPECT_EQ(reader.format().fpsNum, 30000);
        EXPECT_EQ(reader.format().fpsDen, 1001);
        EXPECT_EQ(reader.chromaTag(), "420jpeg");
        std::vector<uint8_t> frame(size);
        for (uint32_t i = 0; i < 5; ++i) {
            ASSERT_EQ(reader.Read(frame.data(), &error), Result::kFrame) << error;
            EXPECT_EQ(frame, Pattern(size, i)) << "frame " << i;
        }
        EXPECT_EQ(reader.Read(frame.data(), &error), Result::kEnd);
        EXPECT_EQ(reader.Read(frame.data(), &error), Result::kEnd);
        EXPECT_EQ(reader.framesRead(), 5);
        EXPECT_EQ(dir_.Entries(), std::vector<std::string>{"out.y4m"});
    }
}

TEST_F(Y4mTest, AcceptsEveryFourTwoZeroVariantAndIgnoresExtras) {
    const std::string frames = "FRAME Ixyz XFOO=1\n" + std::string(12, 'a') + Frame(12, 'b');
    for (const char* header : {
             "YUV4MPEG2 W4 H2 F25:1\n",
             "YUV4MPEG2 W4 H2 F25:1 C420\n",
             "YUV4MPEG2 W4 H2 F25:1 C420jpeg Ip A1:1\n",
             "YUV4MPEG2 W4 H2 F25:1 C420paldv XYSCSS=420PALDV\n",
             "YUV4MPEG2  C420mpeg2 A0:0 F25:1  W4 H2 Zfuture\r\n",
         }) {
        SCOPED_TRACE(header);
        std::string path = dir_.File("ok.y4m");
        WriteFile(path, header + frames);
        Y4mReader reader;
        std::string error;
        ASSERT_TRUE(reader.Open(path, &error)) << error;
        EXPECT_EQ(reader.format().width, 4);
        EXPECT_EQ(reader.format().height, 2);
        EXPECT_EQ(reader.format().fpsNum, 25);
        std::vector<uint8_t> frame(12);
        ASSERT_EQ(reader.Read(frame.data(), &error), Result::kFrame) << error;
        EXPECT_EQ(frame, std::vector<uint8_t>(12, 'a'));
        ASSERT_EQ(reader.Read(frame.data(), &error), Result::kFrame) << error;
        EXPECT_EQ(frame, std::vector<uint8_t>(12, 'b'));
        EXPECT_EQ(reader.Read(frame.data(), &error), Result::kEnd);
    }
}

TEST_F(Y4mTest, RejectsBadStreamHeadersWithAClearMessage) {
    const struct {
        std::string content;
        std::vector<std::string> expected;  // all must appear in the message
    } cases[] = {
        {"", {"empty"}},
        {"RIFF\x01\x02\x03 some binary", {"not a YUV4MPEG2 file", "RIFF"}},
        {"YUV4MPEG2X W4 H2 F25:1\n", {"not a YUV4MPEG2 file"}},
        {"YUV4MPEG", {"not a YUV4MPEG2 file"}},
        {"YUV4MPEG2 H2 F25:1\n", {"no width"}},
        {"YUV4MPEG2 W4 F25:1\n", {"no height"}},
        {"YUV4MPEG2 W4 H2\n", {"no frame rate"}},
        {"YUV4MPEG2 Wabc H2 F25:1\n", {"invalid width", "Wabc"}},
        {"YUV4MPEG2 W0 H2 F25:1\n", {"invalid width", "W0"}},
        {"YUV4MPEG2 W-4 H2 F25:1\n", {"invalid width"}},
        {"YUV4MPEG2 W4 H99999 F25:1\n", {"invalid height", "H99999"}},
        {"YUV4MPEG2 W4 H2 F25\n", {"invalid frame rate", "F25"}},
        {"YUV4MPEG2 W4 H2 F25:0\n", {"invalid frame rate"}},
        {"YUV4MPEG2 W4 H2 F0:0\n", {"invalid frame rate"}},
        {"YUV4MPEG2 W4 W6 H2 F25:1\n", {"more than one W"}},
        {"YUV4MPEG2 W4 H2 F25:1 C422\n", {"chroma format", "'C422'"}},
        {"YUV4MPEG2 W4 H2 F25:1 C444\n", {"'C444'"}},
        {"YUV4MPEG2 W4 H2 F25:1 Cmono\n", {"'Cmono'"}},
        {"YUV4MPEG2 W4 H2 F25:1 C420p10\n", {"'C420p10'"}},
        {"YUV4MPEG2 W4 H2 F25:1 It\n", {"interlaced", "'It'", "top field"}},
        {"YUV4MPEG2 W4 H2 F25:1 Ib\n", {"interlaced", "'Ib'", "bottom field"}},
        {"YUV4MPEG2 W4 H2 F25:1 Im\n", {"interlaced", "'Im'", "mixed"}},
        {"YUV4MPEG2 W5 H2 F25:1\n", {"odd frame size", "5x2"}},
        {"YUV4MPEG2 W4 H3 F25:1\n", {"odd frame size", "4x3"}},
        {"YUV4MPEG2 W4 H2 F25:1", {"ends inside its stream header"}},
        {"YUV4MPEG2 " + std::string(20000, 'X'), {"malformed stream header"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.content.substr(0, 40));
        std::string error = OpenError(c.content);
        ASSERT_FALSE(error.empty()) << "accepted";
        for (const auto& text : c.expected) EXPECT_NE(error.find(text), std::string::npos) << error;
    }
}

TEST_F(Y4mTest, RejectsMissingAndUnreadablePaths) {
    Y4mReader reader;
    std::string error;
    EXPECT_FALSE(reader.Open(dir_.File("missing.y4m"), &error));
    EXPECT_NE(error.find("missing.y4m"), std::string::npos) << error;
    EXPECT_NE(error.find("No such file"), std::string::npos) << error;
    EXPECT_FALSE(reader.Open(dir_.path(), &error));
    EXPECT_NE(error.find("folder"), std::string::npos) << error;
    std::vector<uint8_t> frame(12);
    EXPECT_EQ(reader.Read(frame.data(), &error), Result::kError);
}

TEST_F(Y4mTest, ReportsBadFramesByNumberAndStaysFailed) {
    const std::string header = "YUV4MPEG2 W4 H2 F25:1\n";
    const struct {
        std::string frames;
        std::vector<std::string> expected;
    } cases[] = {
        {Frame(12, 'a') + "FRAMX\n" + std::string(12, 'b'),
         {"frame 2 (at byte 40)", "malformed", "FRAMX"}},
        {Frame(12, 'a') + "FRAMES\n" + std::string(12, 'b'), {"frame 2", "malformed"}},
        {Frame(12, 'a') + Frame(12, 'b') + std::string(12, 'c'),
         {"frame 3 (at byte 58)", "malformed"}},
        {Frame(12, 'a') + "FRAME" + std::string(5000, ' '), {"frame 2", "malformed"}},
        {Frame(12, 'a') + Frame(2, 'b'),
         {"frame 2 (at byte 40) is truncated", "10 of 12 bytes are missing"}},
        {Frame(12, 'a') + "FRAME\n", {"frame 2 (at byte 40) is truncated", "12 of 12 bytes"}},
        {Frame(12, 'a') + "FRA", {"frame 2", "truncated"}},
        {Frame(12, 'a') + "FRAME", {"frame 2", "truncated"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected[0]);
        std::string path = dir_.File("frames.y4m");
        WriteFile(path, header + c.frames);
        Y4mReader reader;
        std::string error;
        ASSERT_TRUE(reader.Open(path, &error)) << error;
        std::vector<uint8_t> frame(12);
        Result result;
        while ((result = reader.Read(frame.data(), &error)) == Result::kFrame) {
        }
        ASSERT_EQ(result, Result::kError);
        // Damage, not a failed read: the frames before it are good.
        EXPECT_TRUE(reader.damaged());
        EXPECT_NE(error.find(path), std::string::npos) << error;
        for (const auto& text : c.expected) EXPECT_NE(error.find(text), std::string::npos) << error;
        std::string again;
        EXPECT_EQ(reader.Read(frame.data(), &again), Result::kError);
        EXPECT_EQ(again, error);
    }
}

TEST_F(Y4mTest, UncommittedOrDiscardedOutputLeavesNothing) {
    const VideoFormat format = Fmt(4, 2, 25, 1);
    std::vector<uint8_t> frame(12, 7);
    std::string error;
    {
        Y4mWriter writer;
        ASSERT_TRUE(writer.Open(dir_.File("a.y4m"), format, &error)) << error;
        ASSERT_TRUE(writer.Write(frame.data(), &error));
        EXPECT_EQ(dir_.Entries().size(), 1u);  // the temporary file, under another name
        EXPECT_TRUE(dir_.Entries()[0] != "a.y4m");
    }
    EXPECT_TRUE(dir_.Entries().empty());

    // A failed conversion does not touch an existing output.
    WriteFile(dir_.File("b.y4m"), "previous");
    Y4mWriter writer;
    ASSERT_TRUE(writer.Open(dir_.File("b.y4m"), format, &error)) << error;
    ASSERT_TRUE(writer.Write(frame.data(), &error));
    writer.Discard();
    EXPECT_FALSE(writer.Commit(&error));
    EXPECT_EQ(ReadFile(dir_.File("b.y4m")), "previous");
    EXPECT_EQ(dir_.Entries(), std::vector<std::string>{"b.y4m"});
}

TEST_F(Y4mTest, WriteFailureIsReportedAndLeavesNoOutput) {
    // A file size limit makes writes fail part-way, as a full disk does.
    struct sigaction ignore = {}, previous = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGXFSZ, &ignore, &previous);
    rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    rlimit limited = old;
    limited.rlim_cur = 1000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);

    const VideoFormat format = Fmt(16, 16, 25, 1);
    std::vector<uint8_t> frame(media::I420FrameSize(16, 16), 1);
    std::string error;
    bool failed = false;
    {
        Y4mWriter writer;
        ASSERT_TRUE(writer.Open(dir_.File("big.y4m"), format, &error)) << error;
        for (int i = 0; i < 10 && !failed; ++i) failed = !writer.Write(frame.data(), &error);
        EXPECT_FALSE(writer.Commit(&error));
    }
    setrlimit(RLIMIT_FSIZE, &old);
    sigaction(SIGXFSZ, &previous, nullptr);
    EXPECT_TRUE(failed);
    EXPECT_NE(error.find("big.y4m"), std::string::npos) << error;
    EXPECT_NE(error.find("File too large"), std::string::npos) << error;
    EXPECT_TRUE(dir_.Entries().empty());
}

TEST_F(Y4mTest, RejectsUnwritableDestinationsAndBadFormats) {
    Y4mWriter writer;
    std::string error;
    const VideoFormat format = Fmt(4, 2, 25, 1);
    EXPECT_FALSE(writer.Open(dir_.File("no/such/folder/out.y4m"), format, &error));
    EXPECT_NE(error.find("no/such/folder"), std::string::npos) << error;
    EXPECT_NE(error.find("No such file"), std::string::npos) << error;

    WriteFile(dir_.File("plain"), "x");
    EXPECT_FALSE(writer.Open(dir_.File("plain/out.y4m"), format, &error));
    EXPECT_NE(error.find("Not a directory"), std::string::npos) << error;

    EXPECT_FALSE(writer.Open(dir_.path(), format, &error));
    EXPECT_NE(error.find("folder"), std::string::npos) << error;

    for (VideoFormat bad :
         {Fmt(5, 2, 25, 1), Fmt(0, 2, 25, 1), Fmt(4, 2, 0, 1), Fmt(4, 2, 25, 0)}) {
        EXPECT_FALSE(writer.Open(dir_.File("bad.y4m"), bad, &error));
        EXPECT_NE(error.find("invalid video format"), std::string::npos) << error;
    }
    std::vector<uint8_t> frame(12);
    EXPECT_FALSE(writer.Write(frame.data(), &error));
    EXPECT_EQ(dir_.Entries(), std::vector<std::string>{"plain"});

    if (geteuid() != 0) {  // permissions do not stop root
        ASSERT_EQ(mkdir(dir_.File("ro").c_str(), 0555), 0);
        EXPECT_FALSE(writer.Open(dir_.File("ro/out.y4m"), format, &error));
        EXPECT_NE(error.find("Permission denied"), std::string::npos) << error;
    }
}

}  // namespace
