// Session lifecycle against a scripted service: init, parameters and control, open (direct and
// deferred), flush and drain, close and terminate (direct, deferred and from the destructor).
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

#include "session_fixture.h"

namespace vpptest {
namespace {

// Expected lines of the lifecycle, the "[name] " prefix included.
class LifecycleTest : public SessionTest {
  protected:
    static ExpectedLine Line(char level, const char* pFunction, const TestNode& n,
                             const std::string& text) {
        return Node(level, pFunction, Printf("[%s] ", n.m_pNodeName) + text);
    }
    // "[name] <what>: <session> finish<tail>", the line most operations end with.
    static ExpectedLine Finish(const TestNode& n, const char* pFunction,
                               const std::string& tail = "") {
        static const std::map<std::string, std::string> kWhat = {
            {"InitVppSession", "init vpp session"},
            {"SetVppParameter", "set parameters for vpp session"},
            {"SetVppControl", "set frc control for vpp session"},
            {"FlushSession", "flush vpp session"},
            {"DrainSession", "drain vpp session"},
            {"CloseVppSession", "close VPP session"},
            {"TermVppSession", "term vpp session"}};
        return Line('I', pFunction, n,
                    kWhat.at(pFunction) +
                        Printf(": %p finish", static_cast<void*>(n.m_pVppSession.get())) + tail);
    }
    static ExpectedLine Flushed(const TestNode& n, int32_t vppErr) {
        return Finish(n, "FlushSession", ", vppErr: " + std::to_string(vppErr));
    }
    // "[name] VPP <what> failed, vppError: <code>", the line of a refused call.
    static ExpectedLine Refused(const TestNode& n, const char* pFunction, const char* pWhat,
                                const std::string& code) {
        return Line('E', pFunction, n, Printf("VPP %s failed, vppError: ", pWhat) + code);
    }
    static ExpectedLine Linked(const TestNode& n) {
        return Line('V', "InitVppSession", n, "VPP service linked to death");
    }
    static ExpectedLine CountRaised(const TestNode& n, uint32_t count) {
        return Line('I', "OpenVppSession", n,
                    Printf("s_sessionCount increase to: %u, vppSession: %p", count,
                           static_cast<void*>(n.m_pVppSession.get())));
    }
    static ExpectedLine WorkerCreated(const TestNode& n, const char* pWhat,
                                      Pavo::OSThreadHandle id) {
        return Line('V', Printf("Notify%sVppSession", pWhat).c_str(), n,
                    Printf("Create Defer%sVppSession Thread: %ld successfully", pWhat,
                           static_cast<long>(id)));
    }
    // The close worker's last line and the join's.
    static std::vector<ExpectedLine> CloseWorkerEnd(const TestNode& n) {
        return {Line('V', "DeferCloseVppSession", n, "close vppSession successfully"),
                Line('V', "WaitForCloseVppSession", n, "VPP session closing finished")};
    }
};

// Methods called on the session after the first skip ones.
std::vector<std::string> MethodsAfter(const ScriptedSession& session, size_t skip) {
    const auto methods = session.Methods();
    return std::vector<std::string>(methods.begin() + static_cast<long>(skip), methods.end());
}

// A port's flush-done event delivered by another thread, as a binder thread would.
void ConfirmFromAnotherThread(TestNode& node, int32_t port) {
    std::thread([&node, port] {
        FlushDone done;
        done.port = port;
        node.OnVppFlushDone(done);
    }).join();
}

using InitVppSessionTest = LifecycleTest;
using ParameterAndControlTest = LifecycleTest;
using OpenVppSessionTest = LifecycleTest;
using FlushSessionTest = LifecycleTest;
using CloseVppSessionTest = LifecycleTest;

TEST_F(InitVppSessionTest, SuccessLinksTheNodeToDeathAndRegistersItsCallbacks) {
    auto node = MakeNode("Init");
    LogRecorder log;
    ASSERT_EQ(node->InitVppSession(), LumResultSuccess);
    EXPECT_TRUE(LogIs(log, {Linked(*node), Finish(*node, "InitVppSession")}));
    auto session = SessionOf(*node);
    ASSERT_EQ(session->Methods(), std::vector<std::string>{"init"});
    EXPECT_EQ(session->Calls()[0].value, 0);
    EXPECT_EQ(session->Callbacks().get(), static_cast<IVppCallbacks*>(node->m_pVppCallbacks.get()));

    // The death link carries the node as its cookie.
    log.Clear();
    DeclareServiceDead();
    EXPECT_EQ(node->Events(), std::vector<std::string>{"died"});
    EXPECT_TRUE(
        LogIs(log, {Node('I', "VppServiceDied", "vpp service died: cookie=" + Ptr(node.get()))}));
}

// A second init replaces the session and the callbacks; the old session is not closed.
TEST_F(InitVppSessionTest, SecondInitReplacesTheSessionWithoutClosingTheOldOne) {
    auto node = MakeSessionNode("Reinit");
    auto first = SessionOf(*node);
    const auto firstCallbacks = node->m_pVppCallbacks;
    LogRecorder log;
    ASSERT_EQ(node->InitVppSession(), LumResultSuccess);
    EXPECT_TRUE(LogIs(log, {Linked(*node), Finish(*node, "InitVppSession")}));
    EXPECT_NE(SessionOf(*node), first);
    EXPECT_NE(node->m_pVppCallbacks, firstCallbacks);
    EXPECT_EQ(first->Methods(), std::vector<std::string>{"init"});
}

// The preset "VPP_ERR" stands when the transaction breaks; codes are printed by name or in
// decimal; "finish" follows the error line and the session stays with the node.
TEST_F(InitVppSessionTest, FailedInitLogsTheErrorThenFinish) {
    const std::pair<Reply, const char*> cases[] = {
        {BrokenTransaction(), "VPP_ERR"},
        {Answer(VppError::VPP_ERR_STATE), "VPP_ERR_STATE"},
        {Answer(static_cast<VppError>(-7)), "-7"}};
    for (const auto& [reply, pPrinted] : cases) {
        SCOPED_TRACE(pPrinted);
        auto session = ndk::SharedRefBase::make<ScriptedSession>();
        session->Script("init", {reply});
        m_service->SetSession(session);
        auto node = MakeNode("InitFails");
        LogRecorder log;
        EXPECT_EQ(node->InitVppSession(), LumResultEFailed);
        EXPECT_TRUE(LogIs(log, {Linked(*node),
                                Line('E', "InitVppSession", *node,
                                     std::string("init VPP session failed, vppErr: ") + pPrinted),
                                Finish(*node, "InitVppSession")}));
        EXPECT_EQ(node->m_pVppSession, session);
        node.reset();
        TestNode::ResetStatics();
    }
}

// Only the handle decides: filled with an error status works, empty with an OK status does not.
TEST_F(InitVppSessionTest, SessionHandleAloneDecidesWhetherASessionWasGiven) {
    m_service->SetMode(ScriptedService::Mode::kFillButFail);
    EXPECT_EQ(MakeNode("FillButFail")->InitVppSession(), LumResultSuccess);
    TestNode::ResetStatics();

    m_service->SetMode(ScriptedService::Mode::kOkButEmpty);
    auto node = MakeNode("OkButEmpty");
    LogRecorder log;
    EXPECT_EQ(node->InitVppSession(), LumResultEFailed);
    EXPECT_TRUE(LogIs(
        log, {Linked(*node), Line('E', "InitVppSession", *node, "Cannot get new vpp session")}));
    EXPECT_EQ(node->m_pVppSession, nullptr);
    EXPECT_EQ(node->m_pVppCallbacks, nullptr);
}

TEST_F(InitVppSessionTest, WithoutServiceOrLinkNoSessionIsAskedFor) {
    m_registration.reset();
    auto lonely = MakeNode("NoService");
    LogRecorder log;
    EXPECT_EQ(lonely->InitVppSession(), LumResultEFailed);
    EXPECT_TRUE(LogIs(log, {Line('E', "InitVppSession", *lonely, "VPP service is NULL pointer")}));
    lonely.reset();
    TestNode::ResetStatics();

    // A dead service: the link fails with the binder status code and message.
    m_registration.emplace(m_service);
    auto node = MakeNode("DeadService");
    const ndk::SpAIBinder binder = m_service->asBinder();
    DeclareServiceDead();
    const ndk::ScopedAStatus status(AStatus_fromStatus(STATUS_DEAD_OBJECT));
    log.Clear();
    EXPECT_EQ(node->InitVppSession(), LumResultEFailed);
    EXPECT_TRUE(LogIs(log, {Line('E', "InitVppSession", *node,
                                 Printf("linking VPP service to death failed: %d: %s",
                                        status.getStatus(), status.getMessage()))}));
    EXPECT_EQ(m_service->GetNewVppSessionCalls(), 0);
    EXPECT_EQ(node->m_pVppSession, nullptr);
}

// Parameters go to port 0 then port 1 as given; a refusal of either port fails with one line
// (port 0 stops before port 1); a broken transaction leaves the preset VPP_OK.
TEST_F(ParameterAndControlTest, ParametersGoToBothPortsUntilOneRefuses) {
    const VppPortParam param{1088, 1920, 2048, 1104, 7};
    const struct {
        std::vector<Reply> replies;
        size_t calls;
        const char* pPrinted;  // null: accepted
    } cases[] = {{{}, 2, nullptr},
                 {{BrokenTransaction()}, 2, nullptr},
                 {{Answer(VppError::VPP_ERR_INVALID_CFG)}, 1, "VPP_ERR_INVALID_CFG"},
                 {{Answer(VppError::VPP_OK), Answer(static_cast<VppError>(42))}, 2, "42"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.calls);
        auto node = MakeSessionNode("Params");
        auto session = SessionOf(*node);
        session->Script("setParameter", c.replies);
        LogRecorder log;
        EXPECT_EQ(node->SetVppParameter(param), c.pPrinted ? LumResultEFailed : LumResultSuccess);
        EXPECT_TRUE(
            LogIs(log, {c.pPrinted ? Refused(*node, "SetVppParameter", "set parameters", c.pPrinted)
                                   : Finish(*node, "SetVppParameter")}));
        const auto calls = session->CallsOf("setParameter");
        ASSERT_EQ(calls.size(), c.calls);
        for (size_t i = 0; i < calls.size(); i++) {
            EXPECT_EQ(calls[i].port, static_cast<int32_t>(i));
            EXPECT_EQ(calls[i].param, param) << calls[i].param.toString();
        }
    }
}

// setMode(2) precedes the control until the deferred open succeeded; its outcome never counts,
// not even through a control transaction that breaks without answering.
TEST_F(ParameterAndControlTest, ControlIsPrecededBySetModeUntilTheDeferredOpen) {
    const VppCtrlFrc ctrl{3, -2, 48};
    auto node = MakeSessionNode("Control");
    auto session = SessionOf(*node);
    session->Script("setMode", {Answer(VppError::VPP_ERR_HW)});
    session->Script("setCtrlFrc", {BrokenTransaction(), Answer(VppError::VPP_ERR_INVALID_CFG),
                                   Answer(VppError::VPP_OK)});
    LogRecorder log;
    EXPECT_EQ(node->SetVppControl(ctrl), LumResultSuccess);
    EXPECT_EQ(node->SetVppControl(ctrl), LumResultEFailed);
    EXPECT_TRUE(
        LogIs(log, {Finish(*node, "SetVppControl"),
                    Refused(*node, "SetVppControl", "set contrl FRC", "VPP_ERR_INVALID_CFG")}));
    const auto calls = session->Calls();
    ASSERT_EQ(session->Methods(),
              (std::vector<std::string>{"init", "setMode", "setCtrlFrc", "setMode", "setCtrlFrc"}));
    EXPECT_EQ(calls[1].value, 2);
    EXPECT_EQ(calls[2].ctrl, ctrl) << calls[2].ctrl.toString();

    ASSERT_EQ(node->NotifyOpenVppSession(), LumResultSuccess);
    ASSERT_EQ(node->WaitForOnOpenVppSession(), 1u);
    const size_t opened = session->Calls().size();
    EXPECT_EQ(node->SetVppControl(ctrl), LumResultSuccess);
    EXPECT_EQ(MethodsAfter(*session, opened), std::vector<std::string>{"setCtrlFrc"});
}

// Direct open and close: a refusal is named or printed in decimal and fails; a broken
// transaction counts as done. Each open raises the count (the deferred open alone marks the
// session opened); term is called whatever close answered, and the session handle stays.
TEST_F(OpenVppSessionTest, DirectOpenAndCloseOutcomes) {
    auto node = MakeSessionNode("Direct");
    auto session = SessionOf(*node);
    for (const char* pMethod : {"open", "close"}) {
        session->Script(pMethod, {Answer(VppError::VPP_OK), Answer(VppError::VPP_ERR_STATE),
                                  Answer(static_cast<VppError>(42)), BrokenTransaction()});
    }
    LogRecorder log;
    for (LumResult result :
         {LumResultSuccess, LumResultEFailed, LumResultEFailed, LumResultSuccess}) {
        EXPECT_EQ(node->OpenVppSession(), result);
        EXPECT_EQ(node->CloseVppSession(), result);
    }
    EXPECT_EQ(node->TermVppSession(), LumResultSuccess);
    EXPECT_EQ(TestNode::s_sessionCount, 2u);
    std::vector<ExpectedLine> expected = {CountRaised(*node, 1), Finish(*node, "CloseVppSession")};
    for (const char* pCode : {"VPP_ERR_STATE", "42"}) {
        expected.push_back(Refused(*node, "OpenVppSession", "open session", pCode));
        expected.push_back(Refused(*node, "CloseVppSession", "close session", pCode));
    }
    for (const ExpectedLine& line : {CountRaised(*node, 2), Finish(*node, "CloseVppSession"),
                                     Finish(*node, "TermVppSession")}) {
        expected.push_back(line);
    }
    EXPECT_TRUE(LogIs(log, expected));
    std::vector<std::string> methods = {"init"};
    for (int i = 0; i < 4; i++) {
        methods.insert(methods.end(), {"open", "close"});
    }
    methods.push_back("term");
    EXPECT_EQ(session->Methods(), methods);
    EXPECT_EQ(SessionOf(*node), session);
    EXPECT_EQ(node->m_sessionOpened, 0u);

    // OnOpenVppSession on the caller's thread marks the session opened but leaves the worker
    // outcome, which a wait without a worker returns silently.
    log.Clear();
    EXPECT_EQ(node->OnOpenVppSession(), LumResultSuccess);
    EXPECT_EQ(node->m_sessionOpened, 1u);
    EXPECT_EQ(node->WaitForOnOpenVppSession(), 0u);
    EXPECT_TRUE(LogIs(log, {Finish(*node, "SetVppParameter"), CountRaised(*node, 3)}));
}

// The worker sends the node's geometry to port 0 then port 1 (colour format = m_sessionMode),
// opens, and the join publishes the outcome; a second wait returns it silently. A refused
// parameter or open makes the worker fail: the wait reports 0 and nothing is counted.
TEST_F(OpenVppSessionTest, DeferredOpenSetsBothPortsThenOpensOrFails) {
    for (const std::string refused : {"", "setParameter", "open"}) {
        SCOPED_TRACE(refused);
        auto node = MakeSessionNode("Deferred", 1920, 1080);
        node->m_sessionMode = 4;
        auto session = SessionOf(*node);
        if (!refused.empty()) {
            session->Script(refused, {Answer(VppError::VPP_ERR_RESOURCES)});
        }
        // The worker waits in its first call until the creation line was logged.
        Gate started;
        session->OnCall("setParameter", [&started](const Call& call) {
            EXPECT_TRUE(call.port != 0 || started.Wait());
        });
        LogRecorder log;
        ASSERT_EQ(node->NotifyOpenVppSession(), LumResultSuccess);
        std::vector<ExpectedLine> expected = {WorkerCreated(*node, "Open", node->m_openThreadId)};
        started.Open();
        const uint32_t opened = refused.empty() ? 1 : 0;
        EXPECT_EQ(node->WaitForOnOpenVppSession(), opened);
        EXPECT_EQ(node->m_openThreadId, 0);
        if (refused == "setParameter") {
            expected.push_back(
                Refused(*node, "SetVppParameter", "set parameters", "VPP_ERR_RESOURCES"));
            expected.push_back(
                Line('E', "OnOpenVppSession", *node, "SetVppParameter() failed: LumResultEFailed"));
        } else {
            expected.push_back(Finish(*node, "SetVppParameter"));
        }
        if (refused == "open") {
            expected.push_back(
                Refused(*node, "OpenVppSession", "open session", "VPP_ERR_RESOURCES"));
            expected.push_back(
                Line('E', "OnOpenVppSession", *node, "OpenVppSession() failed: LumResultEFailed"));
        }
        if (refused.empty()) {
            expected.push_back(CountRaised(*node, 1));
            expected.push_back(
                Line('I', "DeferOpenVppSession", *node, "open vppSession successfully"));
        } else {
            expected.push_back(Line('E', "DeferOpenVppSession", *node,
                                    "Failed to OpenVppSession with error: LumResultEFailed"));
        }
        expected.push_back(
            Line('V', "WaitForOnOpenVppSession", *node, "wait for OnOpenVppSession finish"));
        EXPECT_TRUE(LogIs(log, expected));
        EXPECT_EQ(session->CallsOf("open").size(), refused == "setParameter" ? 0u : 1u);
        EXPECT_EQ(TestNode::s_sessionCount, opened);
        EXPECT_EQ(node->m_sessionOpened, opened);
        if (refused.empty()) {
            const VppPortParam param{1080, 1920, 1920, 1080, 4};
            ASSERT_EQ(session->Methods(),
                      (std::vector<std::string>{"init", "setParameter", "setParameter", "open"}));
            const auto calls = session->Calls();
            for (int32_t port : {0, 1}) {
                EXPECT_EQ(calls[port + 1].port, port);
                EXPECT_EQ(calls[port + 1].param, param) << calls[port + 1].param.toString();
            }
            log.Clear();
            EXPECT_EQ(node->WaitForOnOpenVppSession(), 1u);
            EXPECT_TRUE(LogIs(log, {}));
        }
    }
}

// Two nodes inside the service's open at once: the count rises by two under its lock, and each
// line reports the value its own increment produced.
TEST_F(OpenVppSessionTest, TwoDeferredOpensAtOnceCountTwoDistinctValues) {
    auto first = MakeSessionNode("First");
    auto second = MakeSessionNode("Second");
    std::mutex mutex;
    std::condition_variable arrived;
    int inside = 0;
    auto rendezvous = [&](const Call&) {
        std::unique_lock<std::mutex> lock(mutex);
        inside++;
        arrived.notify_all();
        EXPECT_TRUE(arrived.wait_for(lock, std::chrono::seconds(10), [&] { return inside == 2; }));
    };
    SessionOf(*first)->OnCall("open", rendezvous);
    SessionOf(*second)->OnCall("open", rendezvous);
    LogRecorder log;
    ASSERT_EQ(first->NotifyOpenVppSession(), LumResultSuccess);
    ASSERT_EQ(second->NotifyOpenVppSession(), LumResultSuccess);
    EXPECT_EQ(first->WaitForOnOpenVppSession(), 1u);
    EXPECT_EQ(second->WaitForOnOpenVppSession(), 1u);
    EXPECT_EQ(TestNode::s_sessionCount, 2u);
    const auto messages = log.Messages();
    auto logged = [&](const ExpectedLine& line) {
        return std::count(messages.begin(), messages.end(), line.message) == 1;
    };
    EXPECT_TRUE((logged(CountRaised(*first, 1)) && logged(CountRaised(*second, 2))) ||
                (logged(CountRaised(*first, 2)) && logged(CountRaised(*second, 1))));
}

// Each port's confirmation may already be there, arrive during its flush (ends the wait) or never
// come (one 30 ms wait). The result is the last wait's; port 1 is flushed whatever port 0 gave;
// both flags end at 0; a confirmation that comes late is kept for the next flush.
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
        // The flush lock is never held across a service call: the handler must be able to run.
        session->OnCall("flush", [&node, c](const Call& call) {
            ASSERT_EQ(node->m_pFlushSessionLock->TryLock(), LumResultSuccess)
                << "port " << call.port;
            node->m_pFlushSessionLock->Unlock();
            if ((call.port == 0 ? c.input : c.output) == kDuring) {
                ConfirmFromAnotherThread(*node, call.port);
            }
        });
        LogRecorder log;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(node->FlushSession(), c.result);
        const std::chrono::duration<double, std::milli> waited =
            std::chrono::steady_clock::now() - start;
        EXPECT_GE(waited.count(), c.atLeastMs);
        EXPECT_TRUE(LogIs(log, {Flushed(*node, 0)}));
        EXPECT_EQ(node->m_inputFlushDone + node->m_outputFlushDone, 0u);
        const auto calls = session->CallsOf("flush");
        ASSERT_EQ(calls.size(), 2u);
        EXPECT_EQ(calls[0].port, 0);
        EXPECT_EQ(calls[1].port, 1);
        if (c.input == kNever && c.output == kNever) {
            ConfirmFromAnotherThread(*node, 0);
            ConfirmFromAnotherThread(*node, 1);
            EXPECT_EQ(node->FlushSession(), LumResultSuccess);
        }
    }
}

// Both flush calls share one out-value: the line shows the output call's code, or the input
// call's when the output transaction broke; errors never stop the flush. Drain calls nothing.
TEST_F(FlushSessionTest, LoggedCodeIsTheOutputCallsOutValue) {
    const std::pair<std::vector<Reply>, int32_t> cases[] = {
        {{Answer(VppError::VPP_ERR_STATE), Answer(VppError::VPP_ERR_HW)}, 8},
        {{Answer(VppError::VPP_ERR_STATE), BrokenTransaction()}, 3},
        {{BrokenTransaction()}, 0}};
    for (const auto& [replies, logged] : cases) {
        SCOPED_TRACE(logged);
        auto node = MakeSessionNode("FlushCodes");
        auto session = SessionOf(*node);
        session->Script("flush", replies);
        session->OnCall("flush",
                        [&node](const Call& call) { ConfirmFromAnotherThread(*node, call.port); });
        LogRecorder log;
        EXPECT_EQ(node->FlushSession(), LumResultSuccess);
        EXPECT_EQ(node->DrainSession(), LumResultSuccess);
        EXPECT_TRUE(LogIs(log, {Flushed(*node, logged), Finish(*node, "DrainSession")}));
        EXPECT_EQ(MethodsAfter(*session, 1), (std::vector<std::string>{"flush", "flush"}));
    }
}

// The worker runs flush, close and term whatever each answered (here a refused close); the wait
// joins it, logs after the worker's last line and returns the outcome the worker cleared.
TEST_F(CloseVppSessionTest, DeferredCloseFlushesClosesTerminatesAndIsJoined) {
    auto node = MakeSessionNode("AsyncClose");
    auto session = SessionOf(*node);
    ASSERT_EQ(node->NotifyOpenVppSession(), LumResultSuccess);
    ASSERT_EQ(node->WaitForOnOpenVppSession(), 1u);
    const size_t opened = session->Calls().size();
    node->m_closeResult = 5;
    session->Script("close", {Answer(VppError::VPP_ERR_STATE), Answer(VppError::VPP_OK)});
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
    std::vector<ExpectedLine> expected = {
        WorkerCreated(*node, "Close", node->m_closeThreadId), Flushed(*node, 0),
        Refused(*node, "CloseVppSession", "close session", "VPP_ERR_STATE"),
        Finish(*node, "TermVppSession")};
    started.Open();
    EXPECT_EQ(node->WaitForCloseVppSession(), LumResultSuccess);
    EXPECT_EQ(node->m_closeThreadId, 0);
    EXPECT_EQ(camera_host::LiveThreadCount(), 0);
    EXPECT_NE(workerThread, std::this_thread::get_id());
    for (const auto& line : CloseWorkerEnd(*node)) expected.push_back(line);
    EXPECT_TRUE(LogIs(log, expected));
    EXPECT_EQ(MethodsAfter(*session, opened),
              (std::vector<std::string>{"flush", "flush", "close", "term"}));
    EXPECT_EQ(node->m_closeResult, 0u);
    EXPECT_EQ(node->WaitForOnOpenVppSession(), 0u);
}

// A failed thread creation returns its code and sends nothing: the open wait returns what the
// last worker left; the close wait, without a worker, closes and terminates on the spot without a
// flush or a line of its own, clears the open outcome and returns m_closeResult (only the worker
// clears that).
TEST_F(CloseVppSessionTest, ThreadCreationFailureLeavesTheWorkToTheWaits) {
    auto node = MakeSessionNode("NoThread");
    auto session = SessionOf(*node);
    ASSERT_EQ(node->NotifyOpenVppSession(), LumResultSuccess);
    ASSERT_EQ(node->WaitForOnOpenVppSession(), 1u);
    const size_t opened = session->Calls().size();
    node->m_closeResult = 5;
    camera_host::SetThreadCreateFailure([] { return LumResultETooManyUsers; });
    LogRecorder log;
    EXPECT_EQ(node->NotifyOpenVppSession(), LumResultETooManyUsers);
    EXPECT_EQ(node->m_openThreadId, 0);
    EXPECT_EQ(node->WaitForOnOpenVppSession(), 1u);
    camera_host::SetThreadCreateFailure([] { return LumResultEBusy; });
    EXPECT_EQ(node->NotifyCloseVppSession(), LumResultEBusy);
    EXPECT_EQ(node->m_closeThreadId, 0);
    EXPECT_EQ(session->Calls().size(), opened);
    EXPECT_EQ(node->WaitForCloseVppSession(), 5);
    EXPECT_EQ(node->WaitForOnOpenVppSession(), 0u);
    const auto failed = [&](const char* pWhat, const char* pCode) {
        return Line(
            'E', Printf("Notify%sVppSession", pWhat).c_str(), *node,
            Printf("Failed to Create Defer%sVppSession Thread with error: %s", pWhat, pCode));
    };
    EXPECT_TRUE(
        LogIs(log, {failed("Open", "LumResultETooManyUsers"), failed("Close", "LumResultEBusy"),
                    Finish(*node, "CloseVppSession"), Finish(*node, "TermVppSession")}));
    EXPECT_EQ(MethodsAfter(*session, opened), (std::vector<std::string>{"close", "term"}));
}

// The destructor's own lines and those of the service release, for the last node.
std::vector<ExpectedLine> DestructorLines(const char* pName) {
    return {Node('V', "~IxoNodeVppBase", Printf("[%s] destructor of IxoNodeVppBase", pName)),
            Node('I', "~IxoNodeVppBase", Printf("[%s] s_sessionCount decrease to: 0", pName)),
            Node('I', "~IxoNodeVppBase", Printf("[%s] Need release vpp service now", pName)),
            Node('V', "ReleaseVppService",
                 Printf("&s_vppService: %p, s_vppService is already released, s_vppService: (nil)",
                        static_cast<void*>(&TestNode::s_vppService)))};
}

// Without a worker the destructor closes and terminates on the spot; with the skip flag it
// leaves the session alone.
TEST_F(CloseVppSessionTest, DestructorClosesUnlessTold) {
    for (bool skip : {false, true}) {
        SCOPED_TRACE(skip);
        auto node = MakeSessionNode("Closing");
        auto session = SessionOf(*node);
        ASSERT_EQ(node->OpenVppSession(), LumResultSuccess);
        node->m_skipWaitForClose = skip ? 1 : 0;
        std::vector<ExpectedLine> expected = DestructorLines("Closing");
        if (!skip) {
            expected.insert(expected.begin() + 1,
                            {Finish(*node, "CloseVppSession"), Finish(*node, "TermVppSession")});
        }
        LogRecorder log;
        node.reset();
        EXPECT_TRUE(LogIs(log, expected));
        const std::vector<std::string> closed = {"close", "term"};
        EXPECT_EQ(MethodsAfter(*session, 2), skip ? std::vector<std::string>() : closed);
        TestNode::ResetStatics();
        m_registration.reset();
        m_registration.emplace(m_service);
    }
}

// The destructor joins a pending close worker: the join line follows the worker's last line, the
// session is closed once, no thread is left. No flush is confirmed: the derived node is gone.
TEST_F(CloseVppSessionTest, DestructorJoinsThePendingWorker) {
    auto node = MakeSessionNode("Leaving");
    auto session = SessionOf(*node);
    ASSERT_EQ(node->OpenVppSession(), LumResultSuccess);
    std::vector<ExpectedLine> worker = {Flushed(*node, 0), Finish(*node, "CloseVppSession"),
                                        Finish(*node, "TermVppSession")};
    for (const auto& line : CloseWorkerEnd(*node)) worker.push_back(line);
    LogRecorder log;
    ASSERT_EQ(node->NotifyCloseVppSession(), LumResultSuccess);
    std::vector<ExpectedLine> expected = DestructorLines("Leaving");
    expected.insert(expected.begin() + 1, worker.begin(), worker.end());
    expected.push_back(WorkerCreated(*node, "Close", node->m_closeThreadId));
    node.reset();
    EXPECT_EQ(camera_host::LiveThreadCount(), 0);
    EXPECT_TRUE(LogHasExactly(log, expected));
    // The worker's lines in order, then the join, then the count and the release.
    const auto messages = log.Messages();
    auto at = [&](const ExpectedLine& line) {
        return std::find(messages.begin(), messages.end(), line.message) - messages.begin();
    };
    for (size_t i = 1; i < worker.size(); i++) {
        EXPECT_LT(at(worker[i - 1]), at(worker[i]));
    }
    EXPECT_LT(at(expected[0]), at(worker.back()));
    EXPECT_EQ(at(worker.back()), static_cast<long>(messages.size()) - 4);
    EXPECT_EQ(MethodsAfter(*session, 2),
              (std::vector<std::string>{"flush", "flush", "close", "term"}));
}

}  // namespace
}  // namespace vpptest
