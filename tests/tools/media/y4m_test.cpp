// Tests of the YUV4MPEG2 reader and writer: round trips, every rejected input, no partial output.
#include "media/y4m.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <random>
#include <tuple>

#include "descriptors.h"
#include "has_text.h"
#include "temp_dir.h"

namespace {

using media::Y4mReader;
using media::Y4mWriter;
using testsupport::Has;
using testsupport::ReadFile;
using testsupport::WriteFile;
using Result = Y4mReader::Result;
using Bytes = std::vector<uint8_t>;

media::VideoFormat Fmt(int width, int height, int fpsNum = 25, int fpsDen = 1) {
    media::VideoFormat format;
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
    void SetUp() override { fds_ = testsupport::OpenDescriptorCount(); }
    void TearDown() override { EXPECT_EQ(testsupport::OpenDescriptorCount(), fds_); }

    // Opens `content` as a file; the reader's error for it, which must name the file, or "".
    std::string Open(Y4mReader* reader, const std::string& content) {
        WriteFile(dir_.File("in.y4m"), content);
        std::string error;
        if (reader->Open(dir_.File("in.y4m"), &error)) return "";
        EXPECT_TRUE(Has(error, dir_.File("in.y4m")));
        return error;
    }

    testsupport::TempDir dir_;
    int fds_ = 0;
};

TEST_F(Y4mTest, RoundTripIsBitExact) {
    // 320x240 frames are larger than the reader's buffer, 6x4 frames far smaller: both the
    // direct and the buffered read paths are covered.
    for (auto [w, h] : {std::pair{320, 240}, std::pair{6, 4}}) {
        const size_t size = media::I420FrameSize(w, h);
        ASSERT_EQ(size, static_cast<size_t>(w * h * 3 / 2));
        std::mt19937 random(w);
        std::vector<Bytes> frames(5, Bytes(size));
        for (Bytes& frame : frames) {
            for (uint8_t& b : frame) b = static_cast<uint8_t>(random());
        }
        const std::string path = dir_.File("out.y4m");
        std::string error;
        {
            Y4mWriter writer;
            ASSERT_TRUE(writer.Open(path, Fmt(w, h, 30000, 1001), &error)) << error;
            for (const Bytes& frame : frames) ASSERT_TRUE(writer.Write(frame.data(), &error));
            EXPECT_EQ(writer.framesWritten(), 5);
            ASSERT_TRUE(writer.Commit(&error)) << error;
        }
        const std::string header = "YUV4MPEG2 W" + std::to_string(w) + " H" + std::to_string(h) +
                                   " F30000:1001 Ip C420jpeg\n";
        EXPECT_EQ(ReadFile(path).substr(0, header.size()), header);
        EXPECT_EQ(ReadFile(path).size(), header.size() + 5 * (6 + size));

        Y4mReader reader;
        ASSERT_TRUE(reader.Open(path, &error)) << error;
        const media::VideoFormat& format = reader.format();
        EXPECT_EQ(std::make_tuple(format.width, format.height, format.fpsNum, format.fpsDen),
                  std::make_tuple(w, h, 30000, 1001));
        EXPECT_EQ(reader.chromaTag(), "420jpeg");
        Bytes frame(size);
        for (const Bytes& expected : frames) {
            ASSERT_EQ(reader.Read(frame.data(), &error), Result::kFrame) << error;
            EXPECT_EQ(frame, expected);
        }
        EXPECT_EQ(reader.Read(frame.data(), &error), Result::kEnd);
        EXPECT_EQ(reader.Read(frame.data(), &error), Result::kEnd);
        EXPECT_EQ(reader.framesRead(), 5);
        EXPECT_EQ(dir_.Entries(), std::vector<std::string>{"out.y4m"});
    }
}

TEST_F(Y4mTest, AcceptsEveryFourTwoZeroVariantAndKeepsTagsAndFrameParameters) {
    const std::string frames = "FRAME Ixyz XFOO=1\n" + std::string(12, 'a') + Frame(12, 'b');
    for (const char* header : {"YUV4MPEG2 W4 H2 F25:1\n", "YUV4MPEG2 W4 H2 F25:1 C420\n",
                               "YUV4MPEG2 W4 H2 F25:1 C420jpeg Ip A1:1\n",
                               "YUV4MPEG2 W4 H2 F25:1 C420paldv XYSCSS=420PALDV\n",
                               "YUV4MPEG2  C420mpeg2 A0:0 F25:1  W4 H2 Zfuture\r\n"}) {
        SCOPED_TRACE(header);
        Y4mReader reader;
        ASSERT_EQ(Open(&reader, header + frames), "");
        EXPECT_EQ(
            std::make_tuple(reader.format().width, reader.format().height, reader.format().fpsNum),
            std::make_tuple(4, 2, 25));
        std::string error;
        Bytes frame(12);
        ASSERT_EQ(reader.Read(frame.data(), &error), Result::kFrame) << error;
        EXPECT_EQ(frame, Bytes(12, 'a'));
        EXPECT_EQ(reader.frameParams(), "Ixyz XFOO=1");
        ASSERT_EQ(reader.Read(frame.data(), &error), Result::kFrame) << error;
        EXPECT_EQ(frame, Bytes(12, 'b'));
        EXPECT_EQ(reader.frameParams(), "");
        EXPECT_EQ(reader.Read(frame.data(), &error), Result::kEnd);
    }
}

TEST_F(Y4mTest, RejectsBadStreamHeadersAndPathsWithAClearMessage) {
    const struct {
        std::string content;
        std::string expected;  // '|'-separated parts of the message
    } cases[] = {
        {"", "empty"},
        {"RIFF\x01\x02\x03 some binary", "not a YUV4MPEG2 file|RIFF"},
        {"YUV4MPEG2X W4 H2 F25:1\n", "not a YUV4MPEG2 file"},
        {"YUV4MPEG", "not a YUV4MPEG2 file"},
        {"YUV4MPEG2 H2 F25:1\n", "no width"},
        {"YUV4MPEG2 W4 F25:1\n", "no height"},
        {"YUV4MPEG2 W4 H2\n", "no frame rate"},
        {"YUV4MPEG2 Wabc H2 F25:1\n", "invalid width|Wabc"},
        {"YUV4MPEG2 W0 H2 F25:1\n", "invalid width|W0"},
        {"YUV4MPEG2 W4 H99999 F25:1\n", "invalid height|H99999"},
        {"YUV4MPEG2 W4 H2 F25\n", "invalid frame rate|F25"},
        {"YUV4MPEG2 W4 H2 F25:0\n", "invalid frame rate"},
        {"YUV4MPEG2 W4 H2 F0:0\n", "invalid frame rate"},
        {"YUV4MPEG2 W4 W6 H2 F25:1\n", "more than one W"},
        {"YUV4MPEG2 W4 H2 F25:1 C422\n", "chroma format|'C422'"},
        {"YUV4MPEG2 W4 H2 F25:1 C420p10\n", "'C420p10'"},
        {"YUV4MPEG2 W4 H2 F25:1 It\n", "interlaced|'It'|top field"},
        {"YUV4MPEG2 W4 H2 F25:1 Ib\n", "interlaced|'Ib'|bottom field"},
        {"YUV4MPEG2 W4 H2 F25:1 Im\n", "interlaced|'Im'|mixed"},
        {"YUV4MPEG2 W5 H2 F25:1\n", "odd frame size|5x2"},
        {"YUV4MPEG2 W4 H3 F25:1\n", "odd frame size|4x3"},
        {"YUV4MPEG2 W4 H2 F25:1", "ends inside its stream header"},
        {"YUV4MPEG2 " + std::string(20000, 'X'), "malformed stream header"},
    };
    Y4mReader reader;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.content.substr(0, 40));
        EXPECT_TRUE(Has(Open(&reader, c.content), c.expected));
    }
    std::string error;
    EXPECT_FALSE(reader.Open(dir_.File("missing.y4m"), &error));
    EXPECT_TRUE(Has(error, "'" + dir_.File("missing.y4m") + "'|No such file"));
    EXPECT_FALSE(reader.Open(dir_.path(), &error));
    EXPECT_TRUE(Has(error, "folder"));
    Bytes frame(12);
    EXPECT_EQ(reader.Read(frame.data(), &error), Result::kError);
}

TEST_F(Y4mTest, ReportsDamagedFramesByNumberAndOffsetAndStaysFailed) {
    const std::string header = "YUV4MPEG2 W4 H2 F25:1\n";
    const struct {
        std::string frames;
        std::string expected;  // '|'-separated parts of the message
    } cases[] = {
        {Frame(12, 'a') + "FRAMX\n" + std::string(12, 'b'), "frame 2 (at byte 40)|malformed|FRAMX"},
        {Frame(12, 'a') + "FRAMES\n" + std::string(12, 'b'), "frame 2|malformed"},
        {Frame(12, 'a') + Frame(12, 'b') + std::string(12, 'c'), "frame 3 (at byte 58)|malformed"},
        {Frame(12, 'a') + "FRAME" + std::string(5000, ' '), "frame 2|malformed"},
        {Frame(12, 'a') + Frame(2, 'b'),
         "frame 2 (at byte 40) is truncated|10 of 12 bytes are missing"},
        {Frame(12, 'a') + "FRAME\n", "frame 2 (at byte 40) is truncated|12 of 12 bytes"},
        {Frame(12, 'a') + "FRA", "frame 2|truncated"},
        {Frame(12, 'a') + "FRAME", "frame 2|truncated inside its FRAME header"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        Y4mReader reader;
        ASSERT_EQ(Open(&reader, header + c.frames), "");
        std::string error;
        Bytes frame(12);
        Result result;
        while ((result = reader.Read(frame.data(), &error)) == Result::kFrame) {
        }
        ASSERT_EQ(result, Result::kError);
        // Damage, not a failed read: the frames before it are good.
        EXPECT_TRUE(reader.damaged());
        EXPECT_TRUE(Has(error, dir_.File("in.y4m") + "|" + c.expected));
        std::string again;
        EXPECT_EQ(reader.Read(frame.data(), &again), Result::kError);
        EXPECT_EQ(again, error);
    }
}

TEST_F(Y4mTest, DiscardedOrFailedOutputLeavesNothingAndAnExistingFileAlone) {
    std::string error;
    Bytes frame(12, 7);
    {
        Y4mWriter writer;
        ASSERT_TRUE(writer.Open(dir_.File("a.y4m"), Fmt(4, 2), &error)) << error;
        ASSERT_TRUE(writer.Write(frame.data(), &error));
        ASSERT_EQ(dir_.Entries().size(), 1u);  // the temporary file, under another name
        EXPECT_NE(dir_.Entries()[0], "a.y4m");
    }
    EXPECT_TRUE(dir_.Entries().empty());

    WriteFile(dir_.File("b.y4m"), "previous");
    Y4mWriter writer;
    ASSERT_TRUE(writer.Open(dir_.File("b.y4m"), Fmt(4, 2), &error)) << error;
    ASSERT_TRUE(writer.Write(frame.data(), &error));
    writer.Discard();
    EXPECT_FALSE(writer.Commit(&error));
    EXPECT_EQ(ReadFile(dir_.File("b.y4m")), "previous");

    // A file size limit makes writes fail part-way, as a full disk does.
    struct sigaction ignore = {}, previous = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGXFSZ, &ignore, &previous);
    rlimit old, limited;
    getrlimit(RLIMIT_FSIZE, &old);
    limited = old;
    limited.rlim_cur = 1000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    Bytes big(media::I420FrameSize(16, 16), 1);
    bool failed = false;
    ASSERT_TRUE(writer.Open(dir_.File("big.y4m"), Fmt(16, 16), &error)) << error;
    for (int i = 0; i < 10 && !failed; ++i) failed = !writer.Write(big.data(), &error);
    EXPECT_FALSE(writer.Commit(&error));
    setrlimit(RLIMIT_FSIZE, &old);
    sigaction(SIGXFSZ, &previous, nullptr);
    EXPECT_TRUE(failed);
    EXPECT_TRUE(Has(error, "cannot write '" + dir_.File("big.y4m") + "': File too large"));
    EXPECT_EQ(dir_.Entries(), std::vector<std::string>{"b.y4m"});
}

TEST_F(Y4mTest, RejectsUnwritableDestinationsAndBadFormats) {
    Y4mWriter writer;
    std::string error;
    WriteFile(dir_.File("plain"), "x");
    const struct {
        std::string path;
        media::VideoFormat format;
        std::string expected;
    } cases[] = {
        {"no/such/folder/out.y4m", Fmt(4, 2), "No such file"},
        {"plain/out.y4m", Fmt(4, 2), "Not a directory"},
        {"", Fmt(4, 2), "folder"},
        {"bad.y4m", Fmt(5, 2), "invalid video format 5x2 at 25/1"},
        {"bad.y4m", Fmt(0, 2), "invalid video format"},
        {"bad.y4m", Fmt(4, 2, 0, 1), "invalid video format"},
        {"bad.y4m", Fmt(4, 2, 25, 0), "invalid video format"},
    };
    for (const auto& c : cases) {
        const std::string path = c.path.empty() ? dir_.path() : dir_.File(c.path);
        EXPECT_FALSE(writer.Open(path, c.format, &error)) << c.path;
        EXPECT_TRUE(Has(error, "'" + path + "'|" + c.expected));
    }
    Bytes frame(12);
    EXPECT_FALSE(writer.Write(frame.data(), &error));
    EXPECT_EQ(dir_.Entries(), std::vector<std::string>{"plain"});
    if (geteuid() != 0) {  // permissions do not stop root
        ASSERT_EQ(mkdir(dir_.File("ro").c_str(), 0555), 0);
        EXPECT_FALSE(writer.Open(dir_.File("ro/out.y4m"), Fmt(4, 2), &error));
        EXPECT_TRUE(Has(error, "Permission denied"));
    }
}

}  // namespace
