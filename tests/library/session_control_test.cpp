// Tests of SetVppParameter and SetVppControl: calls per port, presets, setMode, error lines.
#include "session_fixture.h"

namespace vpptest {
namespace {

using SetVppParameterTest = SessionTest;
using SetVppControlTest = SessionTest;

// A record whose five fields all differ, so that a swapped or re-derived field shows.
VppPortParam Param() {
    VppPortParam param;
    param.height = 1088;
    param.width = 1920;
    param.stride = 2048;
    param.scanlines = 1104;
    param.colorFormat = 7;
    return param;
}

VppCtrlFrc Ctrl() {
    VppCtrlFrc ctrl;
    ctrl.mode = 3;
    ctrl.factor = -2;
    ctrl.searchRange = 48;
    return ctrl;
}

ExpectedLine ParametersSet(const TestNode& node) {
    return {Level::kInfo, "SetVppParameter",
            Printf("[%s] set parameters for vpp session: %p finish", node.m_pNodeName,
                   static_cast<void*>(node.m_pVppSession.get()))};
}

ExpectedLine ParametersFailed(const TestNode& node, const char* pError) {
    return {Level::kError, "SetVppParameter",
            Printf("[%s] VPP set parameters failed, vppError: %s", node.m_pNodeName, pError)};
}

ExpectedLine ControlSet(const TestNode& node) {
    return {Level::kInfo, "SetVppControl",
            Printf("[%s] set frc control for vpp session: %p finish", node.m_pNodeName,
                   static_cast<void*>(node.m_pVppSession.get()))};
}

ExpectedLine ControlFailed(const TestNode& node, const char* pError) {
    return {Level::kError, "SetVppControl",
            Printf("[%s] VPP set contrl FRC failed, vppError: %s", node.m_pNodeName, pError)};
}

TEST_F(SetVppParameterTest, SameRecordGoesToPortZeroThenPortOne) {
    auto node = MakeSessionNode("Params");
    auto session = SessionOf(*node);

    LogRecorder log;
    EXPECT_EQ(node->SetVppParameter(Param()), LumResultSuccess);
    EXPECT_TRUE(LogIs(log, {ParametersSet(*node)}));
    ASSERT_EQ(session->Methods(),
              (std::vector<std::string>{"init", "setParameter", "setParameter"}));
    const auto calls = session->CallsOf("setParameter");
    EXPECT_EQ(calls[0].port, 0);
    EXPECT_EQ(calls[1].port, 1);
    EXPECT_EQ(calls[0].param, Param()) << calls[0].param.toString();
    EXPECT_EQ(calls[1].param, Param()) << calls[1].param.toString();
}

// A port-0 refusal stops before port 1; a port-1 refusal comes after port 0 accepted. One error
// line either way, with the service code by name or, unnamed, in decimal.
TEST_F(SetVppParameterTest, RefusalOfEitherPortFailsWithOneLine) {
    struct Case {
        std::vector<Reply> replies;
        size_t expectedCalls;
        const char* pPrinted;
    };
    const Case cases[] = {
        {{Answer(VppError::VPP_ERR_INVALID_CFG)}, 1, "VPP_ERR_INVALID_CFG"},
        {{Answer(VppError::VPP_OK), Answer(VppError::VPP_ERR_PARAM)}, 2, "VPP_ERR_PARAM"},
        {{Answer(static_cast<VppError>(42))}, 1, "42"},
        {{Answer(VppError::VPP_OK), Answer(static_cast<VppError>(-1))}, 2, "-1"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pPrinted);
        auto node = MakeSessionNode("BadParams");
        auto session = SessionOf(*node);
        session->Script("setParameter", c.replies);

        LogRecorder log;
        EXPECT_EQ(node->SetVppParameter(Param()), LumResultEFailed);
        EXPECT_TRUE(LogIs(log, {ParametersFailed(*node, c.pPrinted)}));
        const auto calls = session->CallsOf("setParameter");
        ASSERT_EQ(calls.size(), c.expectedCalls);
        for (size_t i = 0; i < calls.size(); i++) {
            EXPECT_EQ(calls[i].port, static_cast<int32_t>(i));
        }
    }
}

// The preset VPP_OK: transactions that break without writing the out-value count as accepted.
TEST_F(SetVppParameterTest, BrokenTransactionsCountAsAccepted) {
    auto node = MakeSessionNode("BrokenParams");
    auto session = SessionOf(*node);
    session->Script("setParameter", {BrokenTransaction()});

    LogRecorder log;
    EXPECT_EQ(node->SetVppParameter(Param()), LumResultSuccess);
    EXPECT_TRUE(LogIs(log, {ParametersSet(*node)}));
    EXPECT_EQ(session->CallsOf("setParameter").size(), 2u);
}

TEST_F(SetVppControlTest, BeforeTheDeferredOpenSetModeTwoPrecedesTheUnchangedRecord) {
    auto node = MakeSessionNode("Control");
    auto session = SessionOf(*node);

    LogRecorder log;
    EXPECT_EQ(node->SetVppControl(Ctrl()), LumResultSuccess);
    EXPECT_TRUE(LogIs(log, {ControlSet(*node)}));
    const auto calls = session->Calls();
    ASSERT_EQ(session->Methods(), (std::vector<std::string>{"init", "setMode", "setCtrlFrc"}));
    EXPECT_EQ(calls[1].value, 2);
    EXPECT_EQ(calls[2].ctrl, Ctrl()) << calls[2].ctrl.toString();
}

// A session opened directly (not by the deferred open) still gets setMode before every control;
// once the deferred open succeeded, only the control record goes out.
TEST_F(SetVppControlTest, SetModeIsSentOnlyUntilTheDeferredOpenSucceeded) {
    auto node = MakeSessionNode("Opened");
    auto session = SessionOf(*node);
    ASSERT_EQ(node->OpenVppSession(), LumResultSuccess);
    ASSERT_EQ(node->SetVppControl(Ctrl()), LumResultSuccess);
    EXPECT_EQ(session->Methods(),
              (std::vector<std::string>{"init", "open", "setMode", "setCtrlFrc"}));

    ASSERT_EQ(node->NotifyOpenVppSession(), LumResultSuccess);
    ASSERT_EQ(node->WaitForOnOpenVppSession(), 1u);
    const size_t before = session->Calls().size();
    LogRecorder log;
    EXPECT_EQ(node->SetVppControl(Ctrl()), LumResultSuccess);
    EXPECT_TRUE(LogIs(log, {ControlSet(*node)}));
    const auto calls = session->Calls();
    ASSERT_EQ(calls.size(), before + 1);
    EXPECT_EQ(calls.back().method, "setCtrlFrc");
    EXPECT_EQ(calls.back().ctrl, Ctrl());
}

// Whatever setMode answers (refusal or broken transaction) is dropped and never logged; in
// particular its code does not leak into a setCtrlFrc that breaks without answering.
TEST_F(SetVppControlTest, SetModeOutcomeNeverCounts) {
    const Reply modeReplies[] = {Answer(VppError::VPP_ERR_HW), BrokenTransaction()};
    const Reply ctrlReplies[] = {Answer(VppError::VPP_OK), BrokenTransaction()};
    for (const Reply& modeReply : modeReplies) {
        for (const Reply& ctrlReply : ctrlReplies) {
            SCOPED_TRACE(testing::Message() << "setMode broken " << modeReply.broken
                                            << ", setCtrlFrc broken " << ctrlReply.broken);
            auto node = MakeSessionNode("ModeFails");
            auto session = SessionOf(*node);
            session->Script("setMode", {modeReply});
            session->Script("setCtrlFrc", {ctrlReply});

            LogRecorder log;
            EXPECT_EQ(node->SetVppControl(Ctrl()), LumResultSuccess);
            EXPECT_TRUE(LogIs(log, {ControlSet(*node)}));
            EXPECT_EQ(session->Methods(),
                      (std::vector<std::string>{"init", "setMode", "setCtrlFrc"}));
        }
    }
}

TEST_F(SetVppControlTest, RefusedControlFailsWithItsCode) {
    struct Case {
        VppError error;
        const char* pPrinted;
    };
    const Case cases[] = {
        {VppError::VPP_ERR_INVALID_CFG, "VPP_ERR_INVALID_CFG"},
        {VppError::VPP_ERR_FATAL, "VPP_ERR_FATAL"},
        {static_cast<VppError>(42), "42"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pPrinted);
        auto node = MakeSessionNode("BadControl");
        auto session = SessionOf(*node);
        session->Script("setCtrlFrc", {Answer(c.error)});

        LogRecorder log;
        EXPECT_EQ(node->SetVppControl(Ctrl()), LumResultEFailed);
        EXPECT_TRUE(LogIs(log, {ControlFailed(*node, c.pPrinted)}));
        EXPECT_EQ(session->CallsOf("setCtrlFrc").size(), 1u);
    }
}

}  // namespace
}  // namespace vpptest
