// The service behind the library: its refusals reach a node's result codes and log lines, and a
// node's camera buffers, flush handshake and close work against it.
#include <android/binder_process.h>
#include <binder_host/binder_host.h>
#include <camera_host/camera_buffers.h>
#include <camera_host/camera_host.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "test_node.h"
#include "vppservice/vpp_service.h"

namespace {

using ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc;
using ::aidl::vendor::zux::hardware::vpp::VppPortParam;
using vpptest::TestNode;

constexpr uint32_t kWidth = 64;
constexpr uint32_t kHeight = 32;

class LibraryTest : public ::testing::Test {
  protected:
    void SetUp() override {
        camera_host::SetStderrLogging(false);
        TestNode::ResetStatics();
        fds_ = testsupport::OpenDescriptorCount();
        handle_ = vppservice::RegisterService();
        ASSERT_NE(handle_, nullptr);
    }
    void TearDown() override {
        ABinderHost_flushPool();
        TestNode::ResetStatics();
        handle_.reset();
        ABinderHost_flushPool();
        EXPECT_EQ(testsupport::OpenDescriptorCount(), fds_);
        camera_host::SetStderrLogging(true);
    }
    static bool Logged(const camera_host::LogCapture& capture, const std::string& message) {
        const auto messages = capture.Messages();
        return std::find(messages.begin(), messages.end(), message) != messages.end();
    }
    static VppPortParam Param(int32_t width, int32_t height, int32_t format = 3) {
        VppPortParam p;
        p.width = width;
        p.height = height;
        p.stride = width;
        p.scanlines = height;
        p.colorFormat = format;
        return p;
    }

    std::unique_ptr<vppservice::ServiceHandle> handle_;
    IxoNodeInterface interface_ = {};
    int fds_ = 0;
};

TEST_F(LibraryTest, RefusalsReachResultCodesAndLogLines) {
    camera_host::LogCapture capture;
    {
        TestNode node("SvcNode", kWidth, kHeight);
        ASSERT_EQ(node.Initialize(&interface_), LumResultSuccess);
        ASSERT_EQ(node.InitVppSession(), LumResultSuccess);

        EXPECT_EQ(node.QueueInputEmpty(7, 2), LumResultEFailed);
        EXPECT_EQ(node.OpenVppSession(), LumResultEFailed);
        EXPECT_EQ(node.SetVppParameter(Param(63, 32)), LumResultEFailed);
        EXPECT_EQ(node.SetVppParameter(Param(64, 32, 9)), LumResultEFailed);
        VppCtrlFrc ctrl;
        ctrl.mode = 2;
        ctrl.factor = 9;
        EXPECT_EQ(node.SetVppControl(ctrl), LumResultEFailed);

        ASSERT_EQ(node.SetVppParameter(Param(64, 32)), LumResultSuccess);
        ASSERT_EQ(node.OpenVppSession(), LumResultSuccess);
        EXPECT_EQ(node.SetVppParameter(Param(64, 32)), LumResultEFailed);
    }
    EXPECT_TRUE(Logged(capture, "[SvcNode] Queue EOS buffer failed: 3, reqId: 7, queueIndex: 2"));
    EXPECT_TRUE(Logged(capture, "[SvcNode] VPP open session failed, vppError: VPP_ERR_STATE"));
    EXPECT_TRUE(Logged(capture, "[SvcNode] VPP set parameters failed, vppError: VPP_ERR_PARAM"));
    EXPECT_TRUE(
        Logged(capture, "[SvcNode] VPP set parameters failed, vppError: VPP_ERR_INVALID_CFG"));
    EXPECT_TRUE(Logged(capture, "[SvcNode] VPP set contrl FRC failed, vppError: VPP_ERR_PARAM"));
    EXPECT_TRUE(Logged(capture, "[SvcNode] VPP set parameters failed, vppError: VPP_ERR_STATE"));
    EXPECT_EQ(handle_->liveSessionCount(), 0u) << "the node's destructor terminated its session";
}

TEST_F(LibraryTest, CameraBuffersFlushHandshakeAndDeferredClose) {
    camera_host::CameraBufferConfig config;
    config.geometry.width = kWidth;
    config.geometry.height = kHeight;
    auto request = camera_host::RequestBuffers::Create(1, 5000, config, config);
    ASSERT_NE(request, nullptr);
    camera_host::CameraBuffer* in = request->input->Camera();
    camera_host::CameraBuffer* out = request->output->Camera();
    for (uint32_t plane = 0; plane < 2; ++plane) {
        for (size_t b = 0; b < request->input->planeSize[plane]; ++b) {
            in->PlaneAddress(plane)[b] = static_cast<uint8_t>(b * 7 + plane);
        }
    }

    TestNode node("SvcNode", kWidth, kHeight);
    ASSERT_EQ(node.Initialize(&interface_), LumResultSuccess);
    ASSERT_EQ(node.InitVppSession(), LumResultSuccess);
    ASSERT_EQ(node.NotifyOpenVppSession(), LumResultSuccess);
    ASSERT_EQ(node.WaitForOnOpenVppSession(), 1u);

    // The end-of-stream input carries the frame: it comes out unchanged (conversion is off).
    ASSERT_EQ(node.QueueOutput(&request->info, 1, 0, 0), LumResultSuccess);
    ASSERT_EQ(node.QueueInput(&request->info, 1, 0, 1, 0, 0), LumResultSuccess);
    ASSERT_TRUE(node.WaitForEvents(3));
    const std::string inputCookie =
        std::to_string(reinterpret_cast<uintptr_t>(&request->info.inputCookie));
    const std::string outputCookie =
        std::to_string(reinterpret_cast<uintptr_t>(&request->info.outputCookie));
    EXPECT_EQ(node.Events(), (std::vector<std::string>{"output:" + outputCookie,
                                                       "input:" + inputCookie, "drain"}));
    for (uint32_t plane = 0; plane < 2; ++plane) {
        EXPECT_EQ(std::memcmp(in->PlaneAddress(plane), out->PlaneAddress(plane),
                              request->input->planeSize[plane]),
                  0)
            << "plane " << plane;
    }

    // A buffer left queued comes back with the flush, which the node's handshake sees in time.
    ASSERT_EQ(node.QueueOutput(&request->info, 2, 0, 0), LumResultSuccess);
    EXPECT_EQ(node.FlushSession(), LumResultSuccess);
    // The node records an event after its handshake flag, so the last may lag a little.
    ASSERT_TRUE(node.WaitForEvents(6));
    const auto events = node.Events();
    ASSERT_EQ(events.size(), 6u);
    EXPECT_EQ(events[3], "flush:0");
    EXPECT_EQ(events[4], "output:" + outputCookie);
    EXPECT_EQ(events[5], "flush:1");

    ASSERT_EQ(node.NotifyCloseVppSession(), LumResultSuccess);
    EXPECT_EQ(node.WaitForCloseVppSession(), LumResultSuccess);
    EXPECT_EQ(handle_->liveSessionCount(), 0u);
}

}  // namespace
