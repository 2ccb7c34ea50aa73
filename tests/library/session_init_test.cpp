// Tests of InitVppSession: death link, session, callbacks, presets and every outcome's lines.
#include <android/binder_status.h>

#include "session_fixture.h"

namespace vpptest {
namespace {

using InitVppSessionTest = SessionTest;

ExpectedLine Linked(const char* pName) {
    return {Level::kVerbose, "InitVppSession", Printf("[%s] VPP service linked to death", pName)};
}

ExpectedLine Finish(const TestNode& node) {
    return {Level::kInfo, "InitVppSession",
            Printf("[%s] init vpp session: %p finish", node.m_pNodeName,
                   static_cast<void*>(node.m_pVppSession.get()))};
}

ExpectedLine InitFailed(const char* pName, const char* pError) {
    return {Level::kError, "InitVppSession",
            Printf("[%s] init VPP session failed, vppErr: %s", pName, pError)};
}

// A session whose init answers as scripted, handed out by the next getNewVppSession.
std::shared_ptr<ScriptedSession> NextSessionAnswering(ScriptedService& service, Reply reply) {
    auto session = ndk::SharedRefBase::make<ScriptedSession>();
    session->Script("init", {reply});
    service.SetSession(session);
    return session;
}

TEST_F(InitVppSessionTest, WithoutServiceOnlyReportsIt) {
    m_registration.reset();
    auto node = MakeNode("NoService");
    ASSERT_EQ(node->s_vppService, nullptr);

    LogRecorder log;
    EXPECT_EQ(node->InitVppSession(), LumResultEFailed);
    EXPECT_TRUE(
        LogIs(log, {{Level::kError, "InitVppSession", "[NoService] VPP service is NULL pointer"}}));
    EXPECT_EQ(node->m_pDeathRecipient.get(), nullptr);
    EXPECT_EQ(node->m_pVppSession, nullptr);
    EXPECT_EQ(node->m_pVppCallbacks, nullptr);
    EXPECT_EQ(m_service->GetNewVppSessionCalls(), 0);
}

TEST_F(InitVppSessionTest, SuccessRegistersCallbacksAndLinksTheNodeToDeath) {
    auto node = MakeNode("Init");

    LogRecorder log;
    ASSERT_EQ(node->InitVppSession(), LumResultSuccess);
    EXPECT_TRUE(LogIs(log, {Linked("Init"), Finish(*node)}));

    EXPECT_EQ(m_service->GetNewVppSessionCalls(), 1);
    auto session = SessionOf(*node);
    ASSERT_NE(session, nullptr);
    EXPECT_EQ(session, m_service->LastSession());
    ASSERT_EQ(session->Methods(), std::vector<std::string>{"init"});
    const Call init = session->Calls()[0];
    EXPECT_EQ(init.value, 0);
    EXPECT_TRUE(init.withCallbacks);

    // The object registered with the session is the node's own, and it reaches this node.
    ASSERT_NE(node->m_pVppCallbacks, nullptr);
    EXPECT_EQ(session->Callbacks().get(), static_cast<IVppCallbacks*>(node->m_pVppCallbacks.get()));
    VppError answer = VppError::VPP_ERR;
    EXPECT_TRUE(session->Callbacks()->eventDrainDone(&answer).isOk());
    EXPECT_EQ(answer, VppError::VPP_OK);
    EXPECT_EQ(node->Events(), std::vector<std::string>{"drain"});

    // The death link carries the node as its cookie.
    ASSERT_NE(node->m_pDeathRecipient.get(), nullptr);
    log.Restart();
    ASSERT_EQ(ABinderHost_declareDead(DefaultInstanceName().c_str()), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    EXPECT_EQ(node->Events(), (std::vector<std::string>{"drain", "died"}));
    EXPECT_TRUE(
        LogIs(log, {{Level::kInfo, "VppServiceDied",
                     Printf("vpp service died: cookie=%p", static_cast<void*>(node.get()))}}));
}

// The preset "VPP_ERR" stands when the init transaction breaks; a named and an unnamed service
// code are printed by name and in decimal. The "finish" line follows the error line every time,
// and the session and callbacks stay with the node.
TEST_F(InitVppSessionTest, FailedInitLogsTheErrorThenFinish) {
    struct Case {
        Reply reply;
        const char* pPrinted;
    };
    const Case cases[] = {
        {BrokenTransaction(), "VPP_ERR"},
        {Answer(VppError::VPP_ERR_STATE), "VPP_ERR_STATE"},
        {Answer(static_cast<VppError>(42)), "42"},
        {Answer(static_cast<VppError>(-7)), "-7"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pPrinted);
        auto session = NextSessionAnswering(*m_service, c.reply);
        auto node = MakeNode("InitFails");

        LogRecorder log;
        EXPECT_EQ(node->InitVppSession(), LumResultEFailed);
        EXPECT_TRUE(
            LogIs(log, {Linked("InitFails"), InitFailed("InitFails", c.pPrinted), Finish(*node)}));
        EXPECT_EQ(node->m_pVppSession, session);
        EXPECT_NE(node->m_pVppCallbacks, nullptr);
        EXPECT_EQ(session->Methods(), std::vector<std::string>{"init"});
        node.reset();
        TestNode::ResetStatics();
        // The next node acquires the service again.
    }
}

// Only the handle decides: a filled handle with an error status works, an empty one with an OK
// status does not, and then no callbacks object is made.
TEST_F(InitVppSessionTest, SessionHandleAloneDecidesWhetherASessionWasGiven) {
    m_service->SetMode(ScriptedService::Mode::kFillButFail);
    {
        auto node = MakeNode("FillButFail");
        LogRecorder log;
        EXPECT_EQ(node->InitVppSession(), LumResultSuccess);
        EXPECT_TRUE(LogIs(log, {Linked("FillButFail"), Finish(*node)}));
        EXPECT_EQ(SessionOf(*node)->Methods(), std::vector<std::string>{"init"});
    }

    TestNode::ResetStatics();
    m_service->SetMode(ScriptedService::Mode::kOkButEmpty);
    auto node = MakeNode("OkButEmpty");
    LogRecorder log;
    EXPECT_EQ(node->InitVppSession(), LumResultEFailed);
    EXPECT_TRUE(
        LogIs(log, {Linked("OkButEmpty"),
                    {Level::kError, "InitVppSession", "[OkButEmpty] Cannot get new vpp session"}}));
    EXPECT_EQ(node->m_pVppSession, nullptr);
    EXPECT_EQ(node->m_pVppCallbacks, nullptr);
    EXPECT_NE(node->m_pDeathRecipient.get(), nullptr);
}

TEST_F(InitVppSessionTest, LinkFailureKeepsTheNewRecipientAndAsksForNoSession) {
    auto node = MakeNode("DeadService");
    // Held as a client's proxy would be: the dead binder stays the service's binder.
    const ndk::SpAIBinder binder = m_service->asBinder();
    ASSERT_EQ(ABinderHost_declareDead(DefaultInstanceName().c_str()), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);

    // The line carries the binder status code and its message.
    const ndk::ScopedAStatus expectedStatus(AStatus_fromStatus(STATUS_DEAD_OBJECT));
    LogRecorder log;
    EXPECT_EQ(node->InitVppSession(), LumResultEFailed);
    EXPECT_TRUE(LogIs(log, {{Level::kError, "InitVppSession",
                             Printf("[DeadService] linking VPP service to death failed: %d: %s",
                                    expectedStatus.getStatus(), expectedStatus.getMessage())}}));
    EXPECT_NE(node->m_pDeathRecipient.get(), nullptr);
    EXPECT_EQ(m_service->GetNewVppSessionCalls(), 0);
    EXPECT_EQ(node->m_pVppSession, nullptr);
    EXPECT_EQ(node->m_pVppCallbacks, nullptr);
    EXPECT_TRUE(node->Events().empty());
}

// A second InitVppSession replaces recipient, session and callbacks; the old session is left to
// its references (no close, no term), and the old recipient's link is gone with it.
TEST_F(InitVppSessionTest, SecondInitReplacesEverythingWithoutClosingTheOldSession) {
    auto node = MakeSessionNode("Reinit");
    auto firstSession = SessionOf(*node);
    const auto firstCallbacks = node->m_pVppCallbacks;
    AIBinder_DeathRecipient* pFirstRecipient = node->m_pDeathRecipient.get();

    LogRecorder log;
    ASSERT_EQ(node->InitVppSession(), LumResultSuccess);
    EXPECT_TRUE(LogIs(log, {Linked("Reinit"), Finish(*node)}));

    auto secondSession = SessionOf(*node);
    EXPECT_NE(secondSession, firstSession);
    EXPECT_NE(node->m_pVppCallbacks, firstCallbacks);
    // The new recipient is made before the old one is deleted, so the two cannot share an address.
    EXPECT_NE(node->m_pDeathRecipient.get(), pFirstRecipient);
    EXPECT_EQ(firstSession->Methods(), std::vector<std::string>{"init"});
    EXPECT_EQ(secondSession->Callbacks().get(),
              static_cast<IVppCallbacks*>(node->m_pVppCallbacks.get()));

    ASSERT_EQ(ABinderHost_declareDead(DefaultInstanceName().c_str()), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    EXPECT_EQ(node->Events(), std::vector<std::string>{"died"});
}

}  // namespace
}  // namespace vpptest
