// The vppfrc tool's run in this process, with its embedded service: a service that dies in
// mid-stream ends the run non-zero within a second, and runs leak no descriptor. Through vppd:
// the same output as embedded, for two tools at once.
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
#include "e2e_clips.h"
#include "e2e_service.h"

namespace {

using e2e::ReadFile;

class ToolE2e : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(e2e::WriteY4m(input_, 64, 48, e2e::NoiseFrames(64, 48, 40)));
    }
    void TearDown() override {
        fclose(out_);
        fclose(err_);
    }
    // Blend x3 of the 40-frame input.
    vppfrc::Options Convert(const std::string& output) const {
        vppfrc::Options options;
        options.input = input_;
        options.output = dir_.File(output);
        options.factor = 3;
        options.mode = vppfrc::FrcMode::kBlend;
        options.quiet = true;
        return options;
    }
    int Run(const vppfrc::Options& options, const vppfrc::RunHooks& hooks = {}) {
        return vppfrc::RunTool(options, out_, err_, hooks);
    }
    static std::string Text(FILE* file) {
        fflush(file);
        return ReadFile("/proc/self/fd/" + std::to_string(fileno(file)));
    }

    e2e::TempDir dir_;
    const std::string input_ = dir_.File("in.y4m");
    FILE* out_ = tmpfile();
    FILE* err_ = tmpfile();
};

TEST_F(ToolE2e, ServiceDeathInMidStreamEndsTheRunNonZeroWithinASecond) {
    camera_host::SetStderrLogging(false);
    std::chrono::steady_clock::time_point declared;
    vppfrc::RunHooks hooks;
    hooks.onFrameQueued = [&](int64_t frames) {
        if (frames != 5) return;
        declared = std::chrono::steady_clock::now();
        EXPECT_EQ(ABinderHost_declareDead("vendor.zux.hardware.vpp.IVppService/default"),
                  STATUS_OK);
    };
    EXPECT_EQ(Run(Convert("out.y4m"), hooks), vppfrc::kExitFailed);
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - declared).count(),
              1.0);
    camera_host::SetStderrLogging(true);
    EXPECT_EQ(Text(err_).rfind("vppfrc: the VPP service died after ", 0), 0u) << Text(err_);
    EXPECT_EQ(Text(out_), "");
    EXPECT_EQ(dir_.Entries(), std::vector<std::string>{"in.y4m"}) << "no output may be left";
}

TEST_F(ToolE2e, RunsLeakNoDescriptorWhetherTheySucceedOrFail) {
    // Once first: whatever the process sets up for good on first use is not a leak.
    ASSERT_EQ(Run(Convert("warm.y4m")), 0) << Text(err_);
    const int before = testsupport::OpenDescriptorCount();
    vppfrc::Options options = Convert("out.y4m");
    options.preview = dir_.File("p.png");
    EXPECT_EQ(Run(options), 0) << Text(err_);
    EXPECT_EQ(testsupport::OpenDescriptorCount(), before);
    // The output exists and -y was not given.
    EXPECT_EQ(Run(Convert("out.y4m")), vppfrc::kExitFailed);
    EXPECT_EQ(testsupport::OpenDescriptorCount(), before);
    // The input ends in a truncated frame.
    e2e::WriteFile(input_, ReadFile(input_) + "FRAME\nshort");
    EXPECT_EQ(Run(Convert("bad.y4m")), vppfrc::kExitDamagedInput);
    EXPECT_EQ(testsupport::OpenDescriptorCount(), before);
}

TEST_F(ToolE2e, ThroughVppdTheOutputIsTheSameAsEmbedded) {
    std::string why;
    // Also tells whether this process reaches a vppd at all.
    auto daemon = e2e::TestService::Start(e2e::Transport::kProcess, &why);
    if (daemon == nullptr) GTEST_SKIP() << "no service in a separate process: " << why;
    ASSERT_EQ(Run(Convert("embedded.y4m")), 0) << Text(err_);
    const std::string expected = ReadFile(dir_.File("embedded.y4m"));

    // A vppd of the tool's own.
    vppfrc::Options options = Convert("process.y4m");
    options.service = vppfrc::ServiceMode::kProcess;
    ASSERT_EQ(Run(options), 0) << Text(err_);
    EXPECT_EQ(ReadFile(dir_.File("process.y4m")), expected);

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
    EXPECT_EQ(ReadFile(dir_.File("a.y4m")), expected);
    EXPECT_EQ(ReadFile(dir_.File("b.y4m")), expected);
}

}  // namespace
