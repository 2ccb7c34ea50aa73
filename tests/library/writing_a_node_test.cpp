// The README's example node, built from the README itself, through the reference service: deleted
// right after Stop() and deleted with buffers still queued, without a handler reaching a
// half-destroyed node and without leaking descriptors, threads or sessions.
#include <camera_host/camera_buffers.h>

#include <memory>
#include <vector>

#include "base_fixture.h"
#include "readme_node.h"
#include "vppservice/vpp_service.h"

namespace vpptest {
namespace {

class WritingANode : public BaseTest {
  protected:
    void SetUp() override {
        BaseTest::SetUp();
        m_service = vppservice::RegisterService();
        ASSERT_NE(m_service, nullptr);
    }

    void TearDown() override {
        EXPECT_EQ(m_service->liveSessionCount(), 0u) << "a node left its session behind";
        m_service.reset();
        BaseTest::TearDown();
    }

    // A request with camera buffers of the README node's geometry.
    static std::unique_ptr<camera_host::RequestBuffers> MakeRequest(uint64_t requestId) {
        camera_host::CameraBufferConfig config;
        config.geometry.width = 1920;
        config.geometry.height = 1080;
        config.geometry.format = IxoFormatNV12;
        auto request =
            camera_host::RequestBuffers::Create(requestId, requestId * 33333, config, config);
        EXPECT_NE(request, nullptr);
        return request;
    }

    static VppCtrlFrc Repeat() {
        VppCtrlFrc frc;
        frc.mode = 1;
        frc.factor = 2;
        return frc;
    }

    IxoNodeInterface m_interface{};
    std::unique_ptr<vppservice::ServiceHandle> m_service;
};

// Stop() only starts the close; the flush it runs calls OnVppFlushDone and returns the held
// buffers while the node is being deleted. Several rounds give the race its chances.
TEST_F(WritingANode, DeletedRightAfterStop) {
    for (uint64_t round = 0; round < 4; round++) {
        std::vector<std::unique_ptr<camera_host::RequestBuffers>> requests;
        auto node = std::make_unique<FrcNode>();
        ASSERT_EQ(node->Start(&m_interface, Repeat()), LumResultSuccess);
        for (uint64_t id = 1; id <= 2; id++) {
            requests.push_back(MakeRequest(id));
            ASSERT_EQ(node->Process(&requests.back()->info, id), LumResultSuccess);
        }
        node->Stop();
        node.reset();
        EXPECT_EQ(m_service->liveSessionCount(), 0u);
    }
}

// No Stop(): the destructor closes on the spot while the service still holds an output buffer
// (queued without an input to fill it) and the output of a queued frame.
TEST_F(WritingANode, DeletedWithBuffersStillQueued) {
    auto first = MakeRequest(1);
    auto second = MakeRequest(2);
    auto node = std::make_unique<FrcNode>();
    ASSERT_EQ(node->Start(&m_interface, Repeat()), LumResultSuccess);
    ASSERT_EQ(node->Process(&first->info, 1), LumResultSuccess);
    ASSERT_EQ(node->QueueOutput(&second->info, 2, 0, 0), LumResultSuccess);
    node.reset();
}

// Without the service the node still builds, fails to start, and is deleted cleanly.
TEST_F(WritingANode, DeletedAfterAFailedStart) {
    m_service.reset();
    m_service = nullptr;
    auto node = std::make_unique<FrcNode>();
    EXPECT_EQ(node->Start(&m_interface, Repeat()), LumResultEFailed);
    node.reset();
    m_service = vppservice::RegisterService();
}

}  // namespace
}  // namespace vpptest
