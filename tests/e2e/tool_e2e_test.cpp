// The vppfrc tool's run in this process, with its embedded service: a service that dies in
// mid-stream ends the run non-zero within a second, and whole runs leak no descriptor. Through
// vppd: the same output as embedded, for two tools converting at once.
#include <binder_host/binder_host.h>
#include <camera_host/camera_host.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "convert.h"
#include "e2e_service.h"
#include "media/progress.h"
#include "vppfrc_test_util.h"

namespace {

using vppfrc_test::TempDir;

constexpr int kWidth = 64;
constexpr int kHeight = 48;
constexpr const char* kServiceName = "vendor.zux.hardware.vpp.IVppService/default";

// Everything written to a stdio stream, read back after the run.
class Capture {
  public:
    Capture() : file_(tmpfile()) {}
    ~Capture() {
        if (file_ != nullptr) fclose(file_);
    }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;
    FILE* get() const { return file_; }
    std::string Text() const {
        fflush(file_);
        rewind(file_);
        std::string text;
        char buffer[4096];
        size_t got = 0;
        while ((got = fread(buffer, 1, sizeof(buffer), file_)) > 0) text.append(buffer, got);
        return text;
    }

  private:
    FILE* file_;
};

class ToolE2e : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(dir_.path().empty());
        input_ = dir_.File("in.y4m");
        ASSERT_TRUE(vppfrc_test::WriteY4m(input_, kWidth, kHeight,
                                          vppfrc_test::NoiseFrames(kWidth, kHeight, 40)));
    }
    vppfrc::Options Convert(const std::string& output) const {
        vppfrc::Options options;
        options.input = input_;
        options.output = output;
        options.factor = 3;
        options.mode = vppfrc::FrcMode::kBlend;
        options.quiet = true;
        return options;
    }

    TempDir dir_;
    std::string input_;
};

TEST_F(ToolE2e, ServiceDeathInMidStreamEndsTheRunNonZeroWithinASecond) {
    camera_host::SetStderrLogging(false);
    Capture out;
    Capture err;
    std::chrono::steady_clock::time_point declared;
    vppfrc::RunHooks hooks;
    hooks.onFrameQueued = [&](int64_t frames) {
        if (frames == 5) {
            declared = std::chrono::steady_clock::now();
            EXPECT_EQ(ABinderHost_declareDead(kServiceName), STATUS_OK);
        }
    };
    const int exitCode =
        vppfrc::RunTool(Convert(dir_.File("out.y4m")), out.get(), err.get(), hooks);
    const double after =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - declared).count();
    camera_host::SetStderrLogging(true);

    EXPECT_EQ(exitCode, vppfrc::kExitFailed);
    EXPECT_LT(after, 1.0);
    EXPECT_EQ(err.Text().rfind("vppfrc: the VPP service died after ", 0), 0u) << err.Text();
    EXPECT_EQ(out.Text(), "");
    EXPECT_EQ(dir_.Entries(), std::vector<std::string>{"in.y4m"}) << "no output may be left";
}

TEST_F(ToolE2e, WholeRunsLeakNoDescriptor) {
    // Once first: whatever the process sets up for good on first use is not a leak.
    Capture out;
    Capture err;
    ASSERT_EQ(vppfrc::RunTool(Convert(dir_.File("warm.y4m")), out.get(), err.get()), 0)
        << err.Text();
    const int before = testsupport::OpenDescriptorCount();

    vppfrc::Options options = Convert(dir_.File("out.y4m"));
    options.preview = dir_.File("p.png");
    options.quiet = false;
    EXPECT_EQ(vppfrc::RunTool(options, out.get(), err.get()), 0) << err.Text();
    EXPECT_EQ(testsupport::OpenDescriptorCount(), before);

    // A failing run too: the output exists and -y was not given.
    EXPECT_EQ(vppfrc::RunTool(Convert(dir_.File("out.y4m")), out.get(), err.get()),
              vppfrc::kExitFailed);
    EXPECT_EQ(testsupport::OpenDescriptorCount(), before);
    EXPECT_NE(err.Text().find("already exists (add -y"), std::string::npos) << err.Text();

    // Damaged input: the input ends in a truncated frame; the 40 frames before it are kept.
    vppfrc_test::WriteFile(input_, vppfrc_test::ReadFile(input_) + "FRAME\nshort");
    EXPECT_EQ(vppfrc::RunTool(Convert(dir_.File("bad.y4m")), out.get(), err.get()),
              vppfrc::kExitDamagedInput);
    EXPECT_EQ(testsupport::OpenDescriptorCount(), before);
    EXPECT_NE(err.Text().find("frame 41 (at byte "), std::string::npos) << err.Text();
    media::VideoFormat format;
    std::vector<vppfrc_test::Frame> frames;
    ASSERT_TRUE(vppfrc_test::ReadY4m(dir_.File("bad.y4m"), &format, &frames));
    EXPECT_EQ(frames.size(), 118u);  // (40 - 1) * 3 + 1
    EXPECT_NE(out.Text().find("vppfrc: preview:"), std::string::npos) << out.Text();
}

TEST_F(ToolE2e, ThroughVppdTheOutputIsTheSameAsEmbedded) {
    std::string why;
    // Also tells whether this process reaches a vppd at all.
    auto daemon = e2e::TestService::Start(e2e::Transport::kProcess, &why);
    if (daemon == nullptr) GTEST_SKIP() << "no service in a separate process: " << why;
    Capture out;
    Capture err;
    ASSERT_EQ(vppfrc::RunTool(Convert(dir_.File("embedded.y4m")), out.get(), err.get()), 0)
        << err.Text();
    const std::string expected = vppfrc_test::ReadFile(dir_.File("embedded.y4m"));

    // A vppd of the tool's own.
    vppfrc::Options options = Convert(dir_.File("process.y4m"));
    options.service = vppfrc::ServiceMode::kProcess;
    ASSERT_EQ(vppfrc::RunTool(options, out.get(), err.get()), 0) << err.Text();
    EXPECT_EQ(vppfrc_test::ReadFile(dir_.File("process.y4m")), expected);

    // Two tool processes at once through the running one.
    std::vector<pid_t> tools;
    for (const char* name : {"a.y4m", "b.y4m"}) {
        const pid_t child = fork();
        if (child == 0) {
            execl(VPPFRC_PROGRAM, VPPFRC_PROGRAM, input_.c_str(), "-o", dir_.File(name).c_str(),
                  "--factor", "3", "--mode", "blend", "--service", "connect", "--quiet",
                  static_cast<char*>(nullptr));
            _exit(127);
        }
        ASSERT_GT(child, 0);
        tools.push_back(child);
    }
    for (pid_t child : tools) {
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
    }
    EXPECT_EQ(vppfrc_test::ReadFile(dir_.File("a.y4m")), expected);
    EXPECT_EQ(vppfrc_test::ReadFile(dir_.File("b.y4m")), expected);
}

TEST_F(ToolE2e, FractionalRatesPlaceEveryFrameAtItsExactPositionAndTime) {
    media::VideoFormat inFormat;
    std::vector<vppfrc_test::Frame> inputs;
    ASSERT_TRUE(vppfrc_test::ReadY4m(input_, &inFormat, &inputs));
    ASSERT_EQ(inFormat.fpsNum, 30);
    // 30 -> 75 frames/s is 5/2 (phases 0, .4, .8, .2, .6); 30 -> 60000/1001 is 2000/1001.
    const struct {
        int fpsNum, fpsDen;
        int64_t p, q;
    } rates[] = {{75, 1, 5, 2}, {60000, 1001, 2000, 1001}};
    for (const auto& rate : rates) {
        SCOPED_TRACE(rate.fpsNum);
        std::vector<int64_t> timestamps;
        vppfrc::RunHooks hooks;
        hooks.onFrameWritten = [&](int64_t index, int64_t timestamp) {
            EXPECT_EQ(index, static_cast<int64_t>(timestamps.size()));
            timestamps.push_back(timestamp);
        };
        vppfrc::Options options = Convert(dir_.File("out.y4m"));
        options.factor = 0;
        options.fpsNum = rate.fpsNum;
        options.fpsDen = rate.fpsDen;
        options.overwrite = true;
        Capture out;
        Capture err;
        ASSERT_EQ(vppfrc::RunTool(options, out.get(), err.get(), hooks), 0) << err.Text();

        media::VideoFormat format;
        std::vector<vppfrc_test::Frame> frames;
        ASSERT_TRUE(vppfrc_test::ReadY4m(dir_.File("out.y4m"), &format, &frames));
        EXPECT_EQ(format.fpsNum, rate.fpsNum);
        EXPECT_EQ(format.fpsDen, rate.fpsDen);
        const size_t expected = static_cast<size_t>(39 * rate.p / rate.q + 1);
        ASSERT_EQ(frames.size(), expected);
        ASSERT_EQ(timestamps.size(), expected);
        for (size_t j = 0; j < frames.size(); ++j) {
            // Input i at time i * p: output j is exactly at j * q, k / p past input i.
            EXPECT_EQ(timestamps[j], static_cast<int64_t>(j) * rate.q) << j;
            const int64_t i = static_cast<int64_t>(j) * rate.q / rate.p;
            const int64_t k = static_cast<int64_t>(j) * rate.q % rate.p;
            const vppfrc_test::Frame& a = inputs[static_cast<size_t>(i)];
            const vppfrc_test::Frame& b = inputs[static_cast<size_t>(k == 0 ? i : i + 1)];
            size_t wrong = 0;
            for (size_t x = 0; x < a.size(); ++x) {
                const int64_t want = (a[x] * (rate.p - k) + b[x] * k + rate.p / 2) / rate.p;
                wrong += frames[j][x] != want;
            }
            EXPECT_EQ(wrong, 0u) << "output " << j << " is not input " << i << " + " << k << "/"
                                 << rate.p;
        }
    }
}

}  // namespace
