// Tests of flush and drain, close and terminate, the deferred close and the destructor's wait.
#include <algorithm>
#include <chrono>
#include <thread>

#include "session_fixture.h"

namespace vpptest {
namespace {

using FlushSessionTest = SessionTest;
using CloseVppSessionTest = SessionTest;
using DeferredCloseTest = SessionTest;

using Clock = std::chrono::steady_clock;

// The flush-done event for a port, delivered to the node by another thread, as a binder thread
// of the service would; returns once the handler has run.
void ConfirmFromAnotherThread(TestNode& node, int32_t port) {
    std::thread([&node, port] {
        FlushDone done;
        done.port = port;
        node.OnVppFlushDone(done);
    }).join();
}

// Makes the session confirm the given ports while their flush call is in progress. The flush
// lock must be free during the call (it is never held across a service call); if it is not,
// the test fails instead of deadlocking in the handler.
void ConfirmDuringFlush(ScriptedSession& session, TestNode& node, bool input, bool output) {
    session.OnCall("flush", [&node, input, output](const Call& call) {
        if (node.m_pFlushSessionLock->TryLock() != LumResultSuccess) {
            ADD_FAILURE() << "flush lock held across the flush call of port " << call.port;
            return;
        }
        node.m_pFlushSessionLock->Unlock();
        if ((call.port == 0 && input) || (call.port == 1 && output)) {
            ConfirmFromAnotherThread(node, call.port);
        }
    });
}

ExpectedLine Flushed(const TestNode& node, int32_t vppErr) {
    return {Level::kInfo, "FlushSession",
            Printf("[%s] flush vpp session: %p finish, vppErr: %d", node.m_pNodeName,
                   static_cast<void*>(node.m_pVppSession.get()), vppErr)};
}

ExpectedLine Closed(const TestNode& node) {
    return {Level::kInfo, "CloseVppSession",
            Printf("[%s] close VPP session: %p finish", node.m_pNodeName,
                   static_cast<void*>(node.m_pVppSession.get()))};
}

ExpectedLine CloseRefused(const TestNode& node, const char* pError) {
    return {Level::kError, "CloseVppSession",
            Printf("[%s] VPP close session failed, vppError: %s", node.m_pNodeName, pError)};
}

ExpectedLine Terminated(const TestNode& node) {
    return {Level::kInfo, "TermVppSession",
            Printf("[%s] term vpp session: %p finish", node.m_pNodeName,
                   static_cast<void*>(node.m_pVppSession.get()))};
}

ExpectedLine CloseWorkerCreated(const TestNode& node, Pavo::OSThreadHandle id) {
    return {Level::kVerbose, "NotifyCloseVppSession",
            Printf("[%s] Create DeferCloseVppSession Thread: %ld successfully", node.m_pNodeName,
                   static_cast<long>(id))};
}

ExpectedLine CloseWorkerDone(const TestNode& node) {
    return {Level::kVerbose, "DeferCloseVppSession",
            Printf("[%s] close vppSession successfully", node.m_pNodeName)};
}

ExpectedLine CloseJoined(const TestNode& node) {
    return {Level::kVerbose, "WaitForCloseVppSession",
            Printf("[%s] VPP session closing finished", node.m_pNodeName)};
}

// The destructor's own lines and those of the service release it triggers, for the last node.
std::vector<ExpectedLine> LastNodeGone(const char* pName, bool counted) {
    std::vector<ExpectedLine> lines;
    if (counted) {
        lines.push_back(
            {Level::kInfo, "~IxoNodeVppBase", Printf("[%s] s_sessionCount decrease to: 0", pName)});
    }
    lines.push_back(
        {Level::kInfo, "~IxoNodeVppBase", Printf("[%s] Need release vpp service now", pName)});
    lines.push_back({Level::kVerbose, "ReleaseVppService",
                     Printf("&s_vppService: %p, s_vppService is already released, "
                            "s_vppService: %p",
                            static_cast<void*>(&TestNode::s_vppService), nullptr)});
    return lines;
}

ExpectedLine DestructorStarts(const char* pName) {
    return {Level::kVerbose, "~IxoNodeVppBase", Printf("[%s] destructor of IxoNodeVppBase", pName)};
}

std::vector<std::string> FlushCloseTerm() {
    return {"flush", "flush", "close", "term"};
}

// Methods called on the session after its init (and after the open, if any).
std::vector<std::string> MethodsAfter(const ScriptedSession& session, size_t skip) {
    const auto methods = session.Methods();
    return std::vector<std::string>(methods.begin() + static_cast<long>(skip), methods.end());
}

double MillisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Each port's confirmation may already be there (consumed without waiting, for instance after an
// earlier flush timed out), arrive during its flush (ends the wait) or never come (one 30 ms wait).
// The result is the last wait's; the flush goes on to port 1 whatever port 0 gave, both flags end
// at 0, and the line is the same in every case.
TEST_F(FlushSessionTest, EachPortWaitsOnlyForAMissingConfirmation) {
    enum Confirm { kBefore, kDuring, kNever };
    const struct {
        Confirm input, output;
        LumResult result;
        double atLeastMs;
    } cases[] = {
        {kBefore, kBefore, LumResultSuccess, 0},  {kDuring, kDuring, LumResultSuccess, 0},
        {kNever, kNever, LumResultETimeout, 60},  {kDuring, kNever, LumResultETimeout, 30},
        {kNever, kBefore, LumResultETimeout, 30},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "input " << c.input << ", output " << c.output);
        auto node = MakeSessionNode("Flush");
        auto session = SessionOf(*node);
        if (c.input == kBefore) ConfirmFromAnotherThread(*node, 0);
        if (c.output == kBefore) ConfirmFromAnotherThread(*node, 1);
        ConfirmDuringFlush(*session, *node, c.input == kDuring, c.output == kDuring);

        LogRecorder log;
        const auto start = Clock::now();
        EXPECT_EQ(node->FlushSession(), c.result);
        EXPECT_GE(MillisecondsSince(start), c.atLeastMs);
        EXPECT_TRUE(LogIs(log, {Flushed(*node, 0)}));
        EXPECT_EQ(node->m_inputFlushDone, 0u);
        EXPECT_EQ(node->m_outputFlushDone, 0u);
        const auto calls = session->CallsOf("flush");
        ASSERT_EQ(calls.size(), 2u);
        EXPECT_EQ(calls[0].port, 0);
        EXPECT_EQ(calls[1].port, 1);
        if (c.input == kDuring && c.output == kDuring) {
            EXPECT_EQ(node->Events(), (std::vector<std::string>{"flush:0", "flush:1"}));
        }
        if (c.input == kNever && c.output == kNever) {
            // A confirmation that comes after its wait is kept for the next flush.
            ConfirmFromAnotherThread(*node, 0);
            ConfirmFromAnotherThread(*node, 1);
            EXPECT_EQ(node->FlushSession(), LumResultSuccess);
        }
    }
}

// Both flush calls share one out-value: the line shows the output call's code, or the input
// call's when the output transaction broke without writing it; errors never stop the flush.
TEST_F(FlushSessionTest, LoggedCodeIsTheOutputCallsOutValue) {
    struct Case {
        std::vector<Reply> replies;
        int32_t logged;
    };
    const Case cases[] = {
        {{Answer(VppError::VPP_ERR_STATE), Answer(VppError::VPP_ERR_HW)}, 8},
        {{Answer(VppError::VPP_ERR_STATE), Answer(VppError::VPP_OK)}, 0},
        {{Answer(VppError::VPP_ERR_STATE), BrokenTransaction()}, 3},
        {{Answer(VppError::VPP_OK), Answer(static_cast<VppError>(42))}, 42},
        {{BrokenTransaction()}, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.logged);
        auto node = MakeSessionNode("FlushCodes");
        auto session = SessionOf(*node);
        session->Script("flush", c.replies);
        ConfirmDuringFlush(*session, *node, true, true);

        LogRecorder log;
        EXPECT_EQ(node->FlushSession(), LumResultSuccess);
        EXPECT_TRUE(LogIs(log, {Flushed(*node, c.logged)}));
        EXPECT_EQ(session->CallsOf("flush").size(), 2u);
    }
}

TEST_F(FlushSessionTest, DrainOnlyWritesItsLine) {
    auto node = MakeSessionNode("Drain");
    auto session = SessionOf(*node);
    LogRecorder log;
    EXPECT_EQ(node->DrainSession(), LumResultSuccess);
    EXPECT_TRUE(
        LogIs(log, {{Level::kInfo, "DrainSession",
                     Printf("[Drain] drain vpp session: %s finish", SessionPtr(*node).c_str())}}));
    EXPECT_EQ(session->Methods(), std::vector<std::string>{"init"});
}

TEST_F(CloseVppSessionTest, AcceptedCloseThenTermKeepTheSessionHandle) {
    auto node = MakeSessionNode("Close");
    auto session = SessionOf(*node);

    LogRecorder log;
    EXPECT_EQ(node->CloseVppSession(), LumResultSuccess);
    EXPECT_EQ(node->TermVppSession(), LumResultSuccess);
    EXPECT_TRUE(LogIs(log, {Closed(*node), Terminated(*node)}));
    EXPECT_EQ(session->Methods(), (std::vector<std::string>{"init", "close", "term"}));
    EXPECT_EQ(node->m_pVppSession, session);
}

// A refusal is named (or printed in decimal) and fails; a broken transaction leaves the preset
// VPP_OK and counts as closed.
TEST_F(CloseVppSessionTest, CloseOutcomes) {
    auto node = MakeSessionNode("CloseCodes");
    auto session = SessionOf(*node);
    session->Script("close", {Answer(VppError::VPP_ERR_STATE), Answer(static_cast<VppError>(42)),
                              BrokenTransaction()});

    LogRecorder log;
    EXPECT_EQ(node->CloseVppSession(), LumResultEFailed);
    EXPECT_EQ(node->CloseVppSession(), LumResultEFailed);
    EXPECT_EQ(node->CloseVppSession(), LumResultSuccess);
    EXPECT_TRUE(LogIs(
        log, {CloseRefused(*node, "VPP_ERR_STATE"), CloseRefused(*node, "42"), Closed(*node)}));
}

TEST_F(CloseVppSessionTest, TermSucceedsAfterTheServiceDied) {
    auto node = MakeSessionNode("Orphan");
    ASSERT_EQ(ABinderHost_declareDead(DefaultInstanceName().c_str()), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    ASSERT_EQ(node->Events(), std::vector<std::string>{"died"});

    LogRecorder log;
    EXPECT_EQ(node->TermVppSession(), LumResultSuccess);
    EXPECT_TRUE(LogIs(log, {Terminated(*node)}));
}

// No worker: close and terminate on the caller's thread, no flush, no line of its own; the open
// outcome is cleared and m_closeResult, which only the worker clears, is returned as it is.
TEST_F(DeferredCloseTest, WaitWithoutWorkerClosesOnTheSpot) {
    auto node = MakeSessionNode("SyncClose");
    auto session = SessionOf(*node);
    ASSERT_EQ(node->NotifyOpenVppSession(), LumResultSuccess);
    ASSERT_EQ(node->WaitForOnOpenVppSession(), 1u);
    const size_t opened = session->Calls().size();
    node->m_closeResult = 5;

    LogRecorder log;
    EXPECT_EQ(node->WaitForCloseVppSession(), 5);
    EXPECT_TRUE(LogIs(log, {Closed(*node), Terminated(*node)}));
    EXPECT_EQ(MethodsAfter(*session, opened), (std::vector<std::string>{"close", "term"}));
    EXPECT_EQ(node->m_openResult, 0u);
    EXPECT_EQ(node->WaitForOnOpenVppSession(), 0u);

    node->m_closeResult = 0;
    EXPECT_EQ(node->WaitForCloseVppSession(), LumResultSuccess);
}

// The worker runs flush, close and term in that order; the wait joins it, logs after the
// worker's last line, and returns the cleared outcome. The worker is held in its first call
// until the creation line is written, so every line has a fixed place.
TEST_F(DeferredCloseTest, WorkerFlushesClosesTerminatesAndIsJoined) {
    auto node = MakeSessionNode("AsyncClose");
    auto session = SessionOf(*node);
    ASSERT_EQ(node->NotifyOpenVppSession(), LumResultSuccess);
    ASSERT_EQ(node->WaitForOnOpenVppSession(), 1u);
    const size_t opened = session->Calls().size();
    node->m_closeResult = 5;

    Gate started;
    std::thread::id workerThread;
    session->OnCall("flush", [&](const Call& call) {
        if (call.port == 0) {
            workerThread = std::this_thread::get_id();
            EXPECT_TRUE(started.Wait());
        }
        ConfirmFromAnotherThread(*node, call.port);
    });

    LogRecorder log;
    ASSERT_EQ(node->NotifyCloseVppSession(), LumResultSuccess);
    const Pavo::OSThreadHandle id = node->m_closeThreadId;
    EXPECT_NE(id, 0);
    started.Open();
    EXPECT_EQ(node->WaitForCloseVppSession(), LumResultSuccess);
    EXPECT_EQ(node->m_closeThreadId, 0);
    EXPECT_EQ(camera_host::LiveThreadCount(), 0);
    EXPECT_NE(workerThread, std::this_thread::get_id());
    EXPECT_TRUE(LogIs(log, {CloseWorkerCreated(*node, id), Flushed(*node, 0), Closed(*node),
                            Terminated(*node), CloseWorkerDone(*node), CloseJoined(*node)}));
    EXPECT_EQ(MethodsAfter(*session, opened), FlushCloseTerm());
    const auto flushes = session->CallsOf("flush");
    EXPECT_EQ(flushes[0].port, 0);
    EXPECT_EQ(flushes[1].port, 1);
    EXPECT_EQ(node->m_openResult, 0u);
    EXPECT_EQ(node->m_closeResult, 0u);
    EXPECT_EQ(node->WaitForOnOpenVppSession(), 0u);

    // The worker is joined already: a second wait closes and terminates once more, on the spot.
    log.Restart();
    EXPECT_EQ(node->WaitForCloseVppSession(), LumResultSuccess);
    EXPECT_TRUE(LogIs(log, {Closed(*node), Terminated(*node)}));
}

// A flush that times out and a refused close do not stop the worker: it terminates and reports
// the close as done anyway.
TEST_F(DeferredCloseTest, WorkerGoesOnWhateverEachStepAnswered) {
    auto node = MakeSessionNode("Stubborn");
    auto session = SessionOf(*node);
    session->Script("close", {Answer(VppError::VPP_ERR_STATE)});
    Gate started;
    session->OnCall("flush", [&](const Call& call) {
        if (call.port == 0) {
            EXPECT_TRUE(started.Wait());
        }
    });

    LogRecorder log;
    ASSERT_EQ(node->NotifyCloseVppSession(), LumResultSuccess);
    const Pavo::OSThreadHandle id = node->m_closeThreadId;
    started.Open();
    EXPECT_EQ(node->WaitForCloseVppSession(), LumResultSuccess);
    EXPECT_TRUE(LogIs(log, {CloseWorkerCreated(*node, id), Flushed(*node, 0),
                            CloseRefused(*node, "VPP_ERR_STATE"), Terminated(*node),
                            CloseWorkerDone(*node), CloseJoined(*node)}));
    EXPECT_EQ(MethodsAfter(*session, 1), FlushCloseTerm());
}

// A failed thread creation returns its code by name, leaves no worker to join and sends
// nothing; the wait then closes on the spot, without a flush.
TEST_F(DeferredCloseTest, ThreadCreationFailureLeavesTheCloseToTheWait) {
    auto node = MakeSessionNode("NoCloser");
    auto session = SessionOf(*node);
    ASSERT_EQ(node->NotifyOpenVppSession(), LumResultSuccess);
    ASSERT_EQ(node->WaitForOnOpenVppSession(), 1u);
    const size_t opened = session->Calls().size();

    camera_host::SetThreadCreateFailure([] { return LumResultEBusy; });
    LogRecorder log;
    EXPECT_EQ(node->NotifyCloseVppSession(), LumResultEBusy);
    EXPECT_TRUE(LogIs(log, {{Level::kError, "NotifyCloseVppSession",
                             "[NoCloser] Failed to Create DeferCloseVppSession Thread with error: "
                             "LumResultEBusy"}}));
    EXPECT_EQ(node->m_closeThreadId, 0);
    EXPECT_EQ(session->Calls().size(), opened);
    EXPECT_EQ(node->m_openResult, 1u);

    log.Restart();
    EXPECT_EQ(node->WaitForCloseVppSession(), LumResultSuccess);
    EXPECT_TRUE(LogIs(log, {Closed(*node), Terminated(*node)}));
    EXPECT_EQ(MethodsAfter(*session, opened), (std::vector<std::string>{"close", "term"}));
    EXPECT_EQ(node->m_openResult, 0u);
}

// The destructor joins a close worker that is still pending: its "closing finished" line comes
// after the worker's last line, the session is closed once, and no thread is left. No flush is
// confirmed: while the base destructor waits, the derived node's handlers are already gone.
TEST_F(DeferredCloseTest, DestructorJoinsThePendingWorker) {
    auto node = MakeSessionNode("Leaving");
    auto session = SessionOf(*node);
    ASSERT_EQ(node->NotifyOpenVppSession(), LumResultSuccess);
    ASSERT_EQ(node->WaitForOnOpenVppSession(), 1u);
    const size_t opened = session->Calls().size();

    // Lines of the node to be destroyed, built while it is alive.
    const auto flushed = Flushed(*node, 0);
    const auto closed = Closed(*node);
    const auto terminated = Terminated(*node);
    const auto workerDone = CloseWorkerDone(*node);
    const auto joined = CloseJoined(*node);
    LogRecorder log;
    ASSERT_EQ(node->NotifyCloseVppSession(), LumResultSuccess);
    const auto created = CloseWorkerCreated(*node, node->m_closeThreadId);
    node.reset();
    EXPECT_EQ(camera_host::LiveThreadCount(), 0);

    std::vector<ExpectedLine> expected = {
        created, DestructorStarts("Leaving"), flushed, closed, terminated, workerDone, joined};
    for (const auto& line : LastNodeGone("Leaving", true)) {
        expected.push_back(line);
    }
    EXPECT_TRUE(LogHasExactly(log, expected));
    // The worker's lines are in order, the join line follows them, the count comes last.
    const auto messages = log.Messages();
    auto at = [&](const std::string& message) {
        return std::find(messages.begin(), messages.end(), message) - messages.begin();
    };
    EXPECT_LT(at(flushed.message), at(closed.message));
    EXPECT_LT(at(closed.message), at(terminated.message));
    EXPECT_LT(at(terminated.message), at(workerDone.message));
    EXPECT_LT(at(workerDone.message), at(joined.message));
    EXPECT_LT(at(DestructorStarts("Leaving").message), at(joined.message));
    EXPECT_EQ(messages.size() - 3, static_cast<size_t>(at(joined.message)) + 1);
    EXPECT_EQ(MethodsAfter(*session, opened), FlushCloseTerm());
}

// Without a worker the destructor closes and terminates on the spot, without a flush.
TEST_F(DeferredCloseTest, DestructorWithoutWorkerClosesOnTheSpot) {
    auto node = MakeSessionNode("Closing");
    auto session = SessionOf(*node);
    ASSERT_EQ(node->OpenVppSession(), LumResultSuccess);
    std::vector<ExpectedLine> expected = {DestructorStarts("Closing"), Closed(*node),
                                          Terminated(*node)};
    for (const auto& line : LastNodeGone("Closing", true)) {
        expected.push_back(line);
    }

    LogRecorder log;
    node.reset();
    EXPECT_TRUE(LogIs(log, expected));
    EXPECT_EQ(MethodsAfter(*session, 2), (std::vector<std::string>{"close", "term"}));
}

TEST_F(DeferredCloseTest, SkipFlagLeavesTheSessionAlone) {
    auto node = MakeSessionNode("Skipping");
    auto session = SessionOf(*node);
    node->m_skipWaitForClose = 1;
    std::vector<ExpectedLine> expected = {DestructorStarts("Skipping")};
    for (const auto& line : LastNodeGone("Skipping", false)) {
        expected.push_back(line);
    }

    LogRecorder log;
    node.reset();
    EXPECT_TRUE(LogIs(log, expected));
    EXPECT_EQ(session->Methods(), std::vector<std::string>{"init"});
}

}  // namespace
}  // namespace vpptest
