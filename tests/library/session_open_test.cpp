// Tests of OpenVppSession and the deferred open: session count, port parameters, join.
#include <algorithm>
#include <thread>

#include "session_fixture.h"

namespace vpptest {
namespace {

using OpenVppSessionTest = SessionTest;
using DeferredOpenTest = SessionTest;

ExpectedLine CountRaised(const TestNode& node, uint32_t count) {
    return {Level::kInfo, "OpenVppSession",
            Printf("[%s] s_sessionCount increase to: %u, vppSession: %p", node.m_pNodeName, count,
                   static_cast<void*>(node.m_pVppSession.get()))};
}

ExpectedLine ParametersSet(const TestNode& node) {
    return {Level::kInfo, "SetVppParameter",
            Printf("[%s] set parameters for vpp session: %p finish", node.m_pNodeName,
                   static_cast<void*>(node.m_pVppSession.get()))};
}

ExpectedLine WorkerCreated(const TestNode& node, Pavo::OSThreadHandle id) {
    return {Level::kVerbose, "NotifyOpenVppSession",
            Printf("[%s] Create DeferOpenVppSession Thread: %ld successfully", node.m_pNodeName,
                   static_cast<long>(id))};
}

ExpectedLine Joined(const TestNode& node) {
    return {Level::kVerbose, "WaitForOnOpenVppSession",
            Printf("[%s] wait for OnOpenVppSession finish", node.m_pNodeName)};
}

ExpectedLine WorkerFailed(const TestNode& node) {
    return {Level::kError, "DeferOpenVppSession",
            Printf("[%s] Failed to OpenVppSession with error: LumResultEFailed", node.m_pNodeName)};
}

TEST_F(OpenVppSessionTest, EachSuccessfulOpenRaisesTheCountUnderItsLock) {
    auto node = MakeSessionNode("Open");
    auto session = SessionOf(*node);

    LogRecorder log;
    EXPECT_EQ(node->OpenVppSession(), LumResultSuccess);
    EXPECT_EQ(node->OpenVppSession(), LumResultSuccess);
    EXPECT_EQ(TestNode::s_sessionCount, 2u);
    EXPECT_TRUE(LogIs(log, {CountRaised(*node, 1), CountRaised(*node, 2)}));
    EXPECT_EQ(session->Methods(), (std::vector<std::string>{"init", "open", "open"}));
    // Only the deferred open marks the session opened.
    EXPECT_EQ(node->m_sessionOpened, 0u);
    EXPECT_EQ(node->m_openResult, 0u);
}

// A refusal is named (or printed in decimal) and leaves the count; the preset VPP_OK makes a
// broken transaction count as opened.
TEST_F(OpenVppSessionTest, OpenOutcomes) {
    auto node = MakeSessionNode("Refused");
    SessionOf(*node)->Script("open", {Answer(VppError::VPP_ERR_STATE),
                                      Answer(static_cast<VppError>(42)), BrokenTransaction()});

    LogRecorder log;
    EXPECT_EQ(node->OpenVppSession(), LumResultEFailed);
    EXPECT_EQ(node->OpenVppSession(), LumResultEFailed);
    EXPECT_EQ(TestNode::s_sessionCount, 0u);
    EXPECT_EQ(node->OpenVppSession(), LumResultSuccess);
    EXPECT_EQ(TestNode::s_sessionCount, 1u);
    EXPECT_TRUE(LogIs(
        log, {{Level::kError, "OpenVppSession",
               "[Refused] VPP open session failed, vppError: VPP_ERR_STATE"},
              {Level::kError, "OpenVppSession", "[Refused] VPP open session failed, vppError: 42"},
              CountRaised(*node, 1)}));
}

// Two nodes open on their own workers while both are inside the service's open at the same
// time: the count rises by two and each line reports the value its own increment produced.
TEST_F(DeferredOpenTest, TwoNodesOpeningAtOnceCountTwoDistinctValues) {
    auto first = MakeSessionNode("First");
    auto second = MakeSessionNode("Second");

    std::mutex mutex;
    std::condition_variable arrived;
    int inside = 0;
    bool overlapped = true;
    auto rendezvous = [&](const Call&) {
        std::unique_lock<std::mutex> lock(mutex);
        inside++;
        arrived.notify_all();
        if (!arrived.wait_for(lock, std::chrono::seconds(10), [&] { return inside == 2; })) {
            overlapped = false;
        }
    };
    SessionOf(*first)->OnCall("open", rendezvous);
    SessionOf(*second)->OnCall("open", rendezvous);

    LogRecorder log;
    ASSERT_EQ(first->NotifyOpenVppSession(), LumResultSuccess);
    const Pavo::OSThreadHandle firstId = first->m_openThreadId;
    ASSERT_EQ(second->NotifyOpenVppSession(), LumResultSuccess);
    const Pavo::OSThreadHandle secondId = second->m_openThreadId;
    EXPECT_EQ(first->WaitForOnOpenVppSession(), 1u);
    EXPECT_EQ(second->WaitForOnOpenVppSession(), 1u);
    EXPECT_TRUE(overlapped) << "the two opens did not overlap";
    EXPECT_EQ(TestNode::s_sessionCount, 2u);

    // Whichever node counted first logged 1, the other 2.
    const auto messages = log.Messages();
    const bool firstCountedFirst = std::find(messages.begin(), messages.end(),
                                             CountRaised(*first, 1).message) != messages.end();
    const uint32_t firstCount = firstCountedFirst ? 1 : 2;
    const uint32_t secondCount = 3 - firstCount;
    EXPECT_TRUE(LogHasExactly(
        log, {WorkerCreated(*first, firstId),
              WorkerCreated(*second, secondId),
              ParametersSet(*first),
              ParametersSet(*second),
              CountRaised(*first, firstCount),
              CountRaised(*second, secondCount),
              {Level::kInfo, "DeferOpenVppSession", "[First] open vppSession successfully"},
              {Level::kInfo, "DeferOpenVppSession", "[Second] open vppSession successfully"},
              Joined(*first),
              Joined(*second)}));
}

TEST_F(DeferredOpenTest, WaitWithoutWorkerReturnsTheKeptOutcomeSilently) {
    auto node = MakeSessionNode("NoWorker");
    LogRecorder log;
    EXPECT_EQ(node->WaitForOnOpenVppSession(), 0u);
    EXPECT_TRUE(LogIs(log, {}));
    EXPECT_EQ(SessionOf(*node)->Methods(), std::vector<std::string>{"init"});
}

// The worker sends the node's geometry to port 0 then port 1 (stride = width, scanlines =
// height, colour format = m_sessionMode), opens, and the join publishes the outcome. The worker
// is held in its first call until the creation line is written, so the order is fixed.
TEST_F(DeferredOpenTest, WorkerSetsBothPortsThenOpens) {
    auto node = MakeSessionNode("Deferred", 1920, 1080);
    node->m_sessionMode = 4;
    auto session = SessionOf(*node);
    Gate started;
    std::thread::id workerThread;
    session->OnCall("setParameter", [&](const Call& call) {
        if (call.port == 0) {
            workerThread = std::this_thread::get_id();
            EXPECT_TRUE(started.Wait());
        }
    });

    LogRecorder log;
    ASSERT_EQ(node->NotifyOpenVppSession(), LumResultSuccess);
    const Pavo::OSThreadHandle id = node->m_openThreadId;
    EXPECT_NE(id, 0);
    started.Open();
    EXPECT_EQ(node->WaitForOnOpenVppSession(), 1u);
    EXPECT_EQ(node->m_openThreadId, 0);
    EXPECT_EQ(camera_host::LiveThreadCount(), 0);
    EXPECT_NE(workerThread, std::this_thread::get_id());

    EXPECT_TRUE(LogIs(
        log, {WorkerCreated(*node, id),
              ParametersSet(*node),
              CountRaised(*node, 1),
              {Level::kInfo, "DeferOpenVppSession", "[Deferred] open vppSession successfully"},
              Joined(*node)}));
    const auto calls = session->Calls();
    ASSERT_EQ(session->Methods(),
              (std::vector<std::string>{"init", "setParameter", "setParameter", "open"}));
    VppPortParam expected;
    expected.height = 1080;
    expected.width = 1920;
    expected.stride = 1920;
    expected.scanlines = 1080;
    expected.colorFormat = 4;
    EXPECT_EQ(calls[1].port, 0);
    EXPECT_EQ(calls[2].port, 1);
    EXPECT_EQ(calls[1].param, expected) << calls[1].param.toString();
    EXPECT_EQ(calls[2].param, expected) << calls[2].param.toString();
    EXPECT_EQ(node->m_sessionOpened, 1u);
    EXPECT_EQ(TestNode::s_sessionCount, 1u);

    // Joined already: the second wait returns the kept outcome, without a line.
    log.Restart();
    EXPECT_EQ(node->WaitForOnOpenVppSession(), 1u);
    EXPECT_TRUE(LogIs(log, {}));
}

TEST_F(DeferredOpenTest, RefusedParametersMeanNoOpen) {
    auto node = MakeSessionNode("BadParam");
    auto session = SessionOf(*node);
    session->Script("setParameter", {Answer(VppError::VPP_ERR_PARAM)});
    Gate started;
    session->OnCall("setParameter", [&](const Call&) { EXPECT_TRUE(started.Wait()); });

    LogRecorder log;
    ASSERT_EQ(node->NotifyOpenVppSession(), LumResultSuccess);
    const Pavo::OSThreadHandle id = node->m_openThreadId;
    started.Open();
    EXPECT_EQ(node->WaitForOnOpenVppSession(), 0u);
    EXPECT_TRUE(LogIs(log, {WorkerCreated(*node, id),
                            {Level::kError, "SetVppParameter",
                             "[BadParam] VPP set parameters failed, vppError: VPP_ERR_PARAM"},
                            {Level::kError, "OnOpenVppSession",
                             "[BadParam] SetVppParameter() failed: LumResultEFailed"},
                            WorkerFailed(*node),
                            Joined(*node)}));
    EXPECT_EQ(session->Methods(), (std::vector<std::string>{"init", "setParameter"}));
    EXPECT_EQ(TestNode::s_sessionCount, 0u);
    EXPECT_EQ(node->m_sessionOpened, 0u);
}

TEST_F(DeferredOpenTest, RefusedOpenReportsFailureThroughTheWait) {
    auto node = MakeSessionNode("BadOpen");
    auto session = SessionOf(*node);
    session->Script("open", {Answer(VppError::VPP_ERR_RESOURCES)});
    Gate started;
    session->OnCall("setParameter", [&](const Call& call) {
        if (call.port == 0) {
            EXPECT_TRUE(started.Wait());
        }
    });

    LogRecorder log;
    ASSERT_EQ(node->NotifyOpenVppSession(), LumResultSuccess);
    const Pavo::OSThreadHandle id = node->m_openThreadId;
    started.Open();
    EXPECT_EQ(node->WaitForOnOpenVppSession(), 0u);
    EXPECT_TRUE(LogIs(log, {WorkerCreated(*node, id),
                            ParametersSet(*node),
                            {Level::kError, "OpenVppSession",
                             "[BadOpen] VPP open session failed, vppError: VPP_ERR_RESOURCES"},
                            {Level::kError, "OnOpenVppSession",
                             "[BadOpen] OpenVppSession() failed: LumResultEFailed"},
                            WorkerFailed(*node),
                            Joined(*node)}));
    EXPECT_EQ(session->Methods(),
              (std::vector<std::string>{"init", "setParameter", "setParameter", "open"}));
    EXPECT_EQ(TestNode::s_sessionCount, 0u);
    EXPECT_EQ(node->m_sessionOpened, 0u);
}

// A failed thread creation returns its code, names it by value, sends nothing, and the wait then
// returns whatever the last worker left: 0 on a fresh node, 1 after a successful open.
TEST_F(DeferredOpenTest, ThreadCreationFailureKeepsThePreviousOutcome) {
    auto node = MakeSessionNode("NoThread");
    auto session = SessionOf(*node);

    camera_host::SetThreadCreateFailure([] { return LumResultETooManyUsers; });
    LogRecorder log;
    EXPECT_EQ(node->NotifyOpenVppSession(), LumResultETooManyUsers);
    EXPECT_EQ(node->m_openThreadId, 0);
    EXPECT_EQ(node->WaitForOnOpenVppSession(), 0u);
    EXPECT_TRUE(LogIs(log, {{Level::kError, "NotifyOpenVppSession",
                             "[NoThread] Failed to Create DeferOpenVppSession Thread with error: "
                             "LumResultETooManyUsers"}}));

    camera_host::ResetFailureInjection();
    ASSERT_EQ(node->NotifyOpenVppSession(), LumResultSuccess);
    ASSERT_EQ(node->WaitForOnOpenVppSession(), 1u);

    camera_host::SetThreadCreateFailure([] { return LumResultENoMemory; });
    log.Restart();
    EXPECT_EQ(node->NotifyOpenVppSession(), LumResultENoMemory);
    EXPECT_EQ(node->WaitForOnOpenVppSession(), 1u);
    EXPECT_TRUE(LogIs(log, {{Level::kError, "NotifyOpenVppSession",
                             "[NoThread] Failed to Create DeferOpenVppSession Thread with error: "
                             "LumResultENoMemory"}}));
    EXPECT_EQ(session->Methods(),
              (std::vector<std::string>{"init", "setParameter", "setParameter", "open"}));
    EXPECT_EQ(TestNode::s_sessionCount, 1u);
}

// The work itself may run on the caller's thread: it marks the session opened but leaves the
// worker outcome alone.
TEST_F(DeferredOpenTest, DirectOnOpenMarksTheSessionOpened) {
    auto node = MakeSessionNode("Direct", 320, 240);
    LogRecorder log;
    EXPECT_EQ(node->OnOpenVppSession(), LumResultSuccess);
    EXPECT_TRUE(LogIs(log, {ParametersSet(*node), CountRaised(*node, 1)}));
    EXPECT_EQ(node->m_sessionOpened, 1u);
    EXPECT_EQ(node->m_openResult, 0u);
    EXPECT_EQ(node->WaitForOnOpenVppSession(), 0u);
}

}  // namespace
}  // namespace vpptest
