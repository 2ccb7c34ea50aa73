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

VppPortParam Param(int32_t width, int32_t format = 3) {
    VppPortParam p;
    p.width = p.stride = width;
    p.height = p.scanlines = 32;
    p.colorFormat = format;
    return p;
}

class LibraryTest : public ::testing::Test {
  protected:
    void SetUp() override {
        camera_host::SetStderrLogging(false);
        TestNode::ResetStatics();
        fds_ = testsupport::OpenDescriptorCount();
        handle_ = vppservice::RegisterService();
        ASSERT_NE(handle_, nullptr);
        node_ = std::make_unique<TestNode>("SvcNode", 64, 32);
        ASSERT_EQ(node_->Initialize(&interface_), LumResultSuccess);
        ASSERT_EQ(node_->InitVppSession(), LumResultSuccess);
    }
    void TearDown() override {
        node_.reset();
        EXPECT_EQ(handle_->liveSessionCount(), 0u) << "the node's destructor ended its session";
        ABinderHost_flushPool();
        TestNode::ResetStatics();
        handle_.reset();
        ABinderHost_flushPool();
        EXPECT_EQ(testsupport::OpenDescriptorCount(), fds_);
        camera_host::SetStderrLogging(true);
    }

    std::unique_ptr<vppservice::ServiceHandle> handle_;
    IxoNodeInterface interface_ = {};
    std::unique_ptr<TestNode> node_;
    int fds_ = 0;
};

TEST_F(LibraryTest, RefusalsReachResultCodesAndLogLines) {
    camera_host::LogCapture capture;
    VppCtrlFrc ctrl;
    ctrl.mode = 2;
    ctrl.factor = 9;
    const std::pair<std::function<LumResult()>, const char*> refused[] = {
        {[&] { return node_->QueueInputEmpty(7, 2); },
         "[SvcNode] Queue EOS buffer failed: 3, reqId: 7, queueIndex: 2"},
        {[&] { return node_->OpenVppSession(); },
         "[SvcNode] VPP open session failed, vppError: VPP_ERR_STATE"},
        {[&] { return node_->SetVppParameter(Param(63)); },
         "[SvcNode] VPP set parameters failed, vppError: VPP_ERR_PARAM"},
        {[&] { return node_->SetVppParameter(Param(64, 9)); },
         "[SvcNode] VPP set parameters failed, vppError: VPP_ERR_INVALID_CFG"},
        {[&] { return node_->SetVppControl(ctrl); },
         "[SvcNode] VPP set contrl FRC failed, vppError: VPP_ERR_PARAM"},
        {[&] {
             EXPECT_EQ(node_->SetVppParameter(Param(64)), LumResultSuccess);
             EXPECT_EQ(node_->OpenVppSession(), LumResultSuccess);
             return node_->SetVppParameter(Param(64));
         },
         "[SvcNode] VPP set parameters failed, vppError: VPP_ERR_STATE"},
    };
    for (const auto& [call, line] : refused) {
        EXPECT_EQ(call(), LumResultEFailed) << line;
        const auto messages = capture.Messages();
        EXPECT_NE(std::find(messages.begin(), messages.end(), line), messages.end()) << line;
    }
}

TEST_F(LibraryTest, CameraBuffersFlushHandshakeAndDeferredClose) {
    camera_host::CameraBufferConfig config;
    config.geometry.width = 64;
    config.geometry.height = 32;
    auto request = camera_host::RequestBuffers::Create(1, 5000, config, config);
    ASSERT_NE(request, nullptr);
    camera_host::CameraBuffer* in = request->input->Camera();
    camera_host::CameraBuffer* out = request->output->Camera();
    for (uint32_t plane = 0; plane < 2; ++plane) {
        for (size_t b = 0; b < request->input->planeSize[plane]; ++b) {
            in->PlaneAddress(plane)[b] = static_cast<uint8_t>(b * 7 + plane);
        }
    }
    ASSERT_EQ(node_->NotifyOpenVppSession(), LumResultSuccess);
    ASSERT_EQ(node_->WaitForOnOpenVppSession(), 1u);

    // The end-of-stream input carries the frame: it comes out unchanged (conversion is off).
    ASSERT_EQ(node_->QueueOutput(&request->info, 1, 0, 0), LumResultSuccess);
    ASSERT_EQ(node_->QueueInput(&request->info, 1, 0, 1, 0, 0), LumResultSuccess);
    ASSERT_TRUE(node_->WaitForEvents(3));
    const std::string output =
        "output:" + std::to_string(reinterpret_cast<uintptr_t>(&request->info.outputCookie));
    EXPECT_EQ(
        node_->Events(),
        (std::vector<std::string>{
            output,
            "input:" + std::to_string(reinterpret_cast<uintptr_t>(&request->info.inputCookie)),
            "drain"}));
    for (uint32_t plane = 0; plane < 2; ++plane) {
        EXPECT_EQ(std::memcmp(in->PlaneAddress(plane), out->PlaneAddress(plane),
                              request->input->planeSize[plane]),
                  0)
            << "plane " << plane;
    }
    // A buffer left queued comes back with the flush, which the node's handshake sees in time
    // (the node records an event after its handshake flag, so the last may lag a little).
    ASSERT_EQ(node_->QueueOutput(&request->info, 2, 0, 0), LumResultSuccess);
    EXPECT_EQ(node_->FlushSession(), LumResultSuccess);
    ASSERT_TRUE(node_->WaitForEvents(6));
    const auto events = node_->Events();
    EXPECT_EQ(std::vector<std::string>(events.begin() + 3, events.end()),
              (std::vector<std::string>{"flush:0", output, "flush:1"}));
    ASSERT_EQ(node_->NotifyCloseVppSession(), LumResultSuccess);
    EXPECT_EQ(node_->WaitForCloseVppSession(), LumResultSuccess);
    EXPECT_EQ(handle_->liveSessionCount(), 0u);
}

}  // namespace
