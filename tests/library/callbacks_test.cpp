// Callback bridge: each of the six service callbacks reaches its node handler with the very
// argument the service passed, answers VPP_OK with an OK status, and does nothing without a node.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <memory>
#include <string>
#include <vector>

#include "base_fixture.h"
#include "scripted_vpp.h"
#include "test_node.h"

namespace vpptest {
namespace {

// Records where each handler's argument lives, and whether it ran on a binder pool thread.
class AddressNode : public TestNode {
  public:
    explicit AddressNode(const char* pName) : TestNode(pName) { m_skipWaitForClose = 1; }

    void OnVppInputBufferDone(const VppBuffer& buffer) override {
        Note(&buffer);
        TestNode::OnVppInputBufferDone(buffer);
    }
    void OnVppOutputBufferDone(const VppBuffer& buffer) override {
        Note(&buffer);
        TestNode::OnVppOutputBufferDone(buffer);
    }
    void OnVppFlushDone(const FlushDone& flushDone) override {
        Note(&flushDone);
        TestNode::OnVppFlushDone(flushDone);
    }
    void OnVppDrainDone() override {
        Note(nullptr);
        TestNode::OnVppDrainDone();
    }
    void OnVppReconfigDone(const ReconfigDone& reconfigDone) override {
        Note(&reconfigDone);
        TestNode::OnVppReconfigDone(reconfigDone);
    }

    std::atomic<const void*> lastArgument{nullptr};
    std::atomic<int> poolThreadCalls{0};

  private:
    void Note(const void* pArgument) {
        lastArgument = pArgument;
        if (ABinderHost_isPoolThread()) {
            poolThreadCalls++;
        }
    }
};

// Asserts the bridge's fixed answer: an OK status and VPP_OK written over the preset.
// The answer is taken by reference: it is read only after the call that writes it.
void ExpectOkAnswer(const ndk::ScopedAStatus& status, const VppError& answer) {
    ASSERT_NE(status.get(), nullptr);
    EXPECT_TRUE(status.isOk());
    EXPECT_EQ(status.getStatus(), STATUS_OK);
    EXPECT_EQ(answer, VppError::VPP_OK);
}

using CallbacksTest = BaseTest;

TEST_F(CallbacksTest, EachMethodForwardsItsOwnArgumentToItsHandler) {
    AddressNode node("Bridge");
    auto callbacks = ndk::SharedRefBase::make<IxoVppCallbacks>(&node);
    camera_host::LogCapture capture;

    VppBuffer input;
    input.cookie = 0x1234;
    VppBuffer output;
    output.cookie = 0x5678;
    FlushDone flushDone;
    flushDone.port = 1;
    ReconfigDone reconfigDone;
    reconfigDone.status = VppError::VPP_ERR_PARAM;

    VppError answer = VppError::VPP_ERR_FATAL;
    ExpectOkAnswer(callbacks->inputBufferDone(input, &answer), answer);
    EXPECT_EQ(node.lastArgument.load(), &input);

    answer = VppError::VPP_ERR_FATAL;
    ExpectOkAnswer(callbacks->outputBufferDone(output, &answer), answer);
    EXPECT_EQ(node.lastArgument.load(), &output);

    answer = VppError::VPP_ERR_FATAL;
    ExpectOkAnswer(callbacks->eventFlushDone(flushDone, &answer), answer);
    EXPECT_EQ(node.lastArgument.load(), &flushDone);

    answer = VppError::VPP_ERR_FATAL;
    node.lastArgument = &answer;
    ExpectOkAnswer(callbacks->eventDrainDone(&answer), answer);
    EXPECT_EQ(node.lastArgument.load(), nullptr);

    answer = VppError::VPP_ERR_FATAL;
    ExpectOkAnswer(callbacks->eventReconfigDone(reconfigDone, &answer), answer);
    EXPECT_EQ(node.lastArgument.load(), &reconfigDone);

    answer = VppError::VPP_ERR_FATAL;
    ExpectOkAnswer(callbacks->eventError(VppError::VPP_ERR_HW, &answer), answer);

    // One handler call per callback, each the matching one, in order.
    EXPECT_EQ(node.Events(), (std::vector<std::string>{"input:4660", "output:22136", "flush:1",
                                                       "drain", "reconfig", "error:8"}));
    // The bridge neither logs nor touches what it forwards.
    EXPECT_TRUE(capture.Lines().empty());
    EXPECT_EQ(input.cookie, 0x1234);
    EXPECT_EQ(reconfigDone.status, VppError::VPP_ERR_PARAM);
}

TEST_F(CallbacksTest, WithoutANodeEveryMethodStillAnswersOk) {
    auto callbacks = ndk::SharedRefBase::make<IxoVppCallbacks>(nullptr);
    camera_host::LogCapture capture;
    VppBuffer buffer;
    FlushDone flushDone;
    ReconfigDone reconfigDone;

    VppError answer = VppError::VPP_ERR;
    ExpectOkAnswer(callbacks->inputBufferDone(buffer, &answer), answer);
    answer = VppError::VPP_ERR;
    ExpectOkAnswer(callbacks->outputBufferDone(buffer, &answer), answer);
    answer = VppError::VPP_ERR;
    ExpectOkAnswer(callbacks->eventFlushDone(flushDone, &answer), answer);
    answer = VppError::VPP_ERR;
    ExpectOkAnswer(callbacks->eventDrainDone(&answer), answer);
    answer = VppError::VPP_ERR;
    ExpectOkAnswer(callbacks->eventReconfigDone(reconfigDone, &answer), answer);
    answer = VppError::VPP_ERR;
    ExpectOkAnswer(callbacks->eventError(VppError::VPP_ERR_FATAL, &answer), answer);
    EXPECT_TRUE(capture.Lines().empty());
}

TEST_F(CallbacksTest, CallbacksRegisteredWithTheSessionReachTheNodeOnPoolThreads) {
    auto service = ndk::SharedRefBase::make<ScriptedService>();
    ServiceRegistration registration(service);
    AddressNode node("Registered");
    ASSERT_EQ(node.InitVppSession(), LumResultSuccess);

    // The session received this node's callbacks object, as its callbacks interface.
    const std::shared_ptr<IVppCallbacks> registered = service->LastSession()->Callbacks();
    ASSERT_NE(registered, nullptr);
    EXPECT_EQ(registered.get(), static_cast<IVppCallbacks*>(node.m_pVppCallbacks.get()));

    std::atomic<int> okAnswers{0};
    ndk_host::postToPool([&] {
        VppBuffer buffer;
        buffer.cookie = 77;
        VppError answer = VppError::VPP_ERR;
        if (registered->outputBufferDone(buffer, &answer).isOk() && answer == VppError::VPP_OK) {
            okAnswers++;
        }
    });
    ndk_host::postToPool([&] {
        VppError answer = VppError::VPP_ERR;
        if (registered->eventDrainDone(&answer).isOk() && answer == VppError::VPP_OK) {
            okAnswers++;
        }
    });
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);

    std::vector<std::string> events = node.Events();
    std::sort(events.begin(), events.end());
    EXPECT_EQ(events, (std::vector<std::string>{"drain", "output:77"}));
    EXPECT_EQ(node.poolThreadCalls.load(), 2);
    EXPECT_EQ(okAnswers.load(), 2);
}

}  // namespace
}  // namespace vpptest
