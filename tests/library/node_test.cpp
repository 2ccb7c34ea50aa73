// The node base object: Initialize's failure matrix, the destructor's session count and service
// release, the service link (acquisition, release, death) and the callback bridge.
#include <android/binder_manager.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "session_fixture.h"

namespace vpptest {
namespace {

using camera_host::LiveConditionCount;
using camera_host::LiveMutexCount;

IxoNodeInterface g_nodeInterface{};

// The count and its lock as the Initialize lines print them, with the lock given.
std::string CountState(const void* pLock) {
    return Printf(
        "&s_sessionCount: %p, s_sessionCount: %u, &s_pSessionCountLock: %p, "
        "s_pSessionCountLock: %p",
        static_cast<void*>(&TestNode::s_sessionCount), TestNode::s_sessionCount,
        static_cast<void*>(&TestNode::s_pSessionCountLock), pLock);
}
ExpectedLine InitializeVerbose(const char* pName) {
    return Node('V', "Initialize",
                Printf("[%s] initialize IxoNodeVppBase, ", pName) +
                    CountState(TestNode::s_pSessionCountLock));
}
// The service pointer as AcquireVppService and ReleaseVppService print it.
std::string AcquireLine() {
    return Printf("&s_vppService: %p, s_vppService: %p",
                  static_cast<void*>(&TestNode::s_vppService),
                  static_cast<void*>(TestNode::s_vppService.get()));
}
ExpectedLine Released() {
    return Node('V', "ReleaseVppService",
                Printf("&s_vppService: %p, s_vppService is already released, s_vppService: %p",
                       static_cast<void*>(&TestNode::s_vppService),
                       static_cast<void*>(TestNode::s_vppService.get())));
}
// A line of the destructor of the named node.
ExpectedLine Dtor(char level, const std::string& name, const std::string& text) {
    return Node(level, "~IxoNodeVppBase", "[" + name + "] " + text);
}
ExpectedLine Died(const TestNode& node) {
    return Node('I', "VppServiceDied", "vpp service died: cookie=" + Ptr(&node));
}

// A node whose destructor leaves the session alone.
struct QuietNode : TestNode {
    explicit QuietNode(const char* pName) : TestNode(pName) { m_skipWaitForClose = 1; }
};

using NodeBaseTest = BaseTest;

TEST_F(NodeBaseTest, InitializeWithNullInterfaceFailsBeforeCreatingAnything) {
    std::vector<std::string> mutexNames;
    camera_host::SetMutexCreateFailure([&](const char* pName) {
        mutexNames.push_back(pName);
        return false;
    });
    QuietNode node("NullIf");
    BothSinks capture;
    EXPECT_EQ(node.Initialize(nullptr), LumResultEInvalidPointer);
    EXPECT_TRUE(LogIs(capture,
                      {Node('E', "Initialize", "[NullIf] pIxoNodeInterface is NULL"),
                       Node('E', "Initialize",
                            "[NullIf] VPP base initialization failed: LumResultEInvalidPointer")}));
    EXPECT_EQ(TestNode::s_pSessionCountLock, nullptr);
    EXPECT_TRUE(mutexNames.empty());
    EXPECT_EQ(LiveConditionCount(), m_conditions);
}

// Every creation (count lock, flush mutex, flush condition) is attempted whatever failed before
// it, and any failure leaves the node without handles.
TEST_F(NodeBaseTest, InitializeAttemptsEverythingAndCleansUpOnAnyFailure) {
    for (int failures = 0; failures < 8; failures++) {
        const bool lockFails = failures & 1, mutexFails = failures & 2,
                   conditionFails = failures & 4;
        const bool anyFails = failures != 0;
        SCOPED_TRACE(failures);
        std::vector<std::string> mutexNames, conditionNames;
        camera_host::SetMutexCreateFailure([&](const char* pName) {
            mutexNames.push_back(pName);
            return (lockFails && std::string(pName) == "VppSessionCountLock") ||
                   (mutexFails && std::string(pName) == "VPPFlushSessionLock");
        });
        camera_host::SetConditionCreateFailure([&](const char* pName) {
            conditionNames.push_back(pName);
            return conditionFails;
        });
        TestNode::ResetStatics();
        const int mutexes = LiveMutexCount();
        QuietNode node("Matrix");
        // A count other than 0 shows that the lines print the live value.
        TestNode::s_sessionCount = 2;
        BothSinks capture;
        std::vector<ExpectedLine> expected = {InitializeVerbose("Matrix")};
        const LumResult result = node.Initialize(&g_nodeInterface);
        const auto error = [&](bool when, const char* pText) {
            if (when) expected.push_back(Node('E', "Initialize", std::string("[Matrix] ") + pText));
        };
        error(lockFails, "Falied to allocate memory s_pSessionCountLock (nil)");
        expected.push_back(
            Node('I', "Initialize", "[Matrix] " + CountState(TestNode::s_pSessionCountLock)));
        error(mutexFails, "Falied to allocate memory for VPPFlushSessionLock");
        error(conditionFails, "Falied to allocate memory for VPPWaitFlushSessionDone");
        error(anyFails, "VPP base initialization failed: LumResultENoMemory");
        EXPECT_TRUE(LogIs(capture, expected));
        EXPECT_EQ(result, anyFails ? LumResultENoMemory : LumResultSuccess);
        EXPECT_EQ(mutexNames,
                  (std::vector<std::string>{"VppSessionCountLock", "VPPFlushSessionLock"}));
        EXPECT_EQ(conditionNames, std::vector<std::string>{"VPPWaitFlushSessionDone"});
        EXPECT_EQ(TestNode::s_pSessionCountLock == nullptr, lockFails);
        EXPECT_EQ(node.m_pFlushSessionLock == nullptr, anyFails);
        EXPECT_EQ(node.m_pWaitFlushSessionDone == nullptr, anyFails);
        EXPECT_EQ(LiveMutexCount(), mutexes + (lockFails ? 0 : 1) + (anyFails ? 0 : 1));
        EXPECT_EQ(LiveConditionCount(), m_conditions + (anyFails ? 0 : 1));
        TestNode::s_sessionCount = 0;
    }
    camera_host::ResetFailureInjection();
}

// A second node reuses the count lock; its own failure leaves the lock and the first node alone.
TEST_F(NodeBaseTest, SecondNodeReusesTheCountLockAndFailsAlone) {
    QuietNode first("First");
    ASSERT_EQ(first.Initialize(&g_nodeInterface), LumResultSuccess);
    Pavo::Mutex* const pLock = TestNode::s_pSessionCountLock;
    ASSERT_NE(pLock, nullptr);

    camera_host::SetMutexCreateFailure([](const char*) { return true; });
    QuietNode second("Second");
    BothSinks capture;
    EXPECT_EQ(second.Initialize(&g_nodeInterface), LumResultENoMemory);
    EXPECT_TRUE(LogIs(
        capture,
        {InitializeVerbose("Second"),
         Node('I', "Initialize", "[Second] vpp SessionCount lock already exists"),
         Node('I', "Initialize", "[Second] " + CountState(pLock)),
         Node('E', "Initialize", "[Second] Falied to allocate memory for VPPFlushSessionLock"),
         Node('E', "Initialize", "[Second] VPP base initialization failed: LumResultENoMemory")}));
    EXPECT_EQ(TestNode::s_pSessionCountLock, pLock);
    EXPECT_EQ(second.m_pFlushSessionLock, nullptr);
    EXPECT_NE(first.m_pFlushSessionLock, nullptr);
}

// With the service registered; nodes that open sessions raise the count as a real open does.
class NodeDestructionTest : public SessionTest {
  protected:
    std::unique_ptr<TestNode> MakeQuietNode(const char* pName, bool withSession) {
        auto node = std::make_unique<QuietNode>(pName);
        EXPECT_EQ(node->Initialize(&g_nodeInterface), LumResultSuccess);
        if (withSession) {
            EXPECT_EQ(node->InitVppSession(), LumResultSuccess);
            EXPECT_EQ(node->OpenVppSession(), LumResultSuccess);
        }
        return node;
    }
};

TEST_F(NodeDestructionTest, OnlyTheLastNodeReleasesAndTheNextOneStartsOver) {
    std::vector<std::unique_ptr<TestNode>> nodes;
    for (const char* pName : {"A", "B", "C"}) {
        nodes.push_back(MakeQuietNode(pName, true));
    }
    Pavo::Mutex* const pLock = TestNode::s_pSessionCountLock;
    BothSinks capture;
    for (unsigned i = 0; i < 3; ++i) {
        capture.Clear();
        const std::string name = nodes[i]->m_pNodeName;
        nodes[i].reset();
        const unsigned left = 2 - i;
        std::vector<ExpectedLine> expected = {
            Dtor('V', name, "destructor of IxoNodeVppBase"),
            Dtor('I', name, "s_sessionCount decrease to: " + std::to_string(left))};
        if (left == 0) {
            expected.push_back(Dtor('I', name, "Need release vpp service now"));
            expected.push_back(Released());
        }
        EXPECT_TRUE(LogIs(capture, expected));
        EXPECT_EQ(TestNode::s_sessionCount, left);
        EXPECT_EQ(TestNode::s_pSessionCountLock, left == 0 ? nullptr : pLock);
    }
    EXPECT_EQ(LiveMutexCount(), m_mutexes);

    // The next node acquires the service anew, and its Initialize makes a new lock.
    auto next = MakeQuietNode("Next", false);
    EXPECT_EQ(ABinderHost_getCheckServiceCount(), 2u);
    EXPECT_NE(TestNode::s_vppService, nullptr);
    EXPECT_NE(TestNode::s_pSessionCountLock, nullptr);
}

// A count of 0 on entry releases too (and the unlink of a never-linked node fails); the next node
// then finds no lock, as does a node never initialised, and neither counts nor releases.
TEST_F(NodeDestructionTest, CountZeroAtEntryReleasesAndLaterNodesFindNoLock) {
    auto first = MakeQuietNode("First", false);
    auto second = MakeQuietNode("Second", false);
    auto never = std::make_unique<QuietNode>("NoLock");
    BothSinks capture;
    first.reset();
    EXPECT_TRUE(LogIs(
        capture,
        {Dtor('V', "First", "destructor of IxoNodeVppBase"),
         Dtor('I', "First", "Need release vpp service now"),
         Node('E', "ReleaseVppService", "Unlinking from death recipient failed"), Released()}));
    EXPECT_EQ(TestNode::s_vppService, nullptr);

    capture.Clear();
    second.reset();
    EXPECT_TRUE(
        LogIs(capture, {Dtor('V', "Second", "destructor of IxoNodeVppBase"),
                        Dtor('I', "Second", "s_pSessionCountLock is NULL, s_vppService: (nil)")}));

    // A service held without a lock stays held.
    ASSERT_EQ(TestNode::AcquireVppService("/default"), LumResultSuccess);
    const auto service = TestNode::s_vppService;
    capture.Clear();
    never.reset();
    EXPECT_TRUE(LogIs(capture, {Dtor('V', "NoLock", "destructor of IxoNodeVppBase"),
                                Dtor('I', "NoLock",
                                     "s_pSessionCountLock is NULL, "
                                     "s_vppService: " +
                                         Ptr(service.get()))}));
    EXPECT_EQ(TestNode::s_vppService, service);
}

// A destroyed node's recipient is deleted with it: a later death reaches only the node alive.
TEST_F(NodeDestructionTest, DestroyedNodeNoLongerHearsOfTheServiceDeath) {
    auto gone = MakeQuietNode("Gone", true);
    auto alive = MakeQuietNode("Alive", true);
    gone.reset();
    EXPECT_EQ(LiveMutexCount(), m_mutexes + 2);  // the count lock and Alive's flush mutex
    BothSinks capture;
    DeclareServiceDead();
    EXPECT_EQ(alive->Events(), std::vector<std::string>{"died"});
    EXPECT_TRUE(LogIs(capture, {Died(*alive)}));
}

// The default registration of the session fixture, dropped where a test needs no service.
using ServiceLinkTest = SessionTest;

// Without a service the constructor's acquisition fails at once (no pool started), the node is
// still usable, and the next node tries again.
TEST_F(ServiceLinkTest, AcquisitionWithoutServiceFailsAtOnceAndIsRetried) {
    m_registration.reset();
    BothSinks capture;
    QuietNode node("Lonely");
    const std::string empty = AcquireLine();
    EXPECT_TRUE(LogIs(capture, {Node('V', "AcquireVppService", empty),
                                Node('E', "AcquireVppService", "Cannot get VPP service binder"),
                                Node('I', "AcquireVppService", empty)}));
    EXPECT_EQ(TestNode::AcquireVppService("/default"), LumResultEUnableToLoad);
    EXPECT_EQ(ABinderHost_getStartThreadPoolCallCount(), 0u);
    EXPECT_EQ(node.Initialize(&g_nodeInterface), LumResultSuccess);

    m_registration.emplace(m_service);
    QuietNode later("Later");
    EXPECT_EQ(ABinderHost_getCheckServiceCount(), 3u);
    EXPECT_EQ(TestNode::s_vppService.get(), static_cast<IVppService*>(m_service.get()));
}

TEST_F(ServiceLinkTest, FirstAcquisitionLooksUpAndStartsThePoolLaterOnesDoNot) {
    const auto& service = m_service;
    BothSinks capture;
    QuietNode first("First");
    EXPECT_TRUE(LogIs(capture, {Node('V', "AcquireVppService",
                                     Printf("&s_vppService: %p, s_vppService: (nil)",
                                            static_cast<void*>(&TestNode::s_vppService))),
                                Node('I', "AcquireVppService", AcquireLine())}));
    EXPECT_EQ(TestNode::s_vppService.get(), static_cast<IVppService*>(service.get()));

    capture.Clear();
    EXPECT_EQ(TestNode::AcquireVppService("/default"), LumResultSuccess);
    EXPECT_TRUE(LogIs(capture, {Node('V', "AcquireVppService", AcquireLine()),
                                Node('V', "AcquireVppService",
                                     "s_vppService is already acquired: " +
                                         Ptr(static_cast<IVppService*>(service.get()))),
                                Node('I', "AcquireVppService", AcquireLine())}));
    EXPECT_EQ(ABinderHost_getCheckServiceCount(), 1u);
    EXPECT_EQ(ABinderHost_getStartThreadPoolCallCount(), 1u);
}

TEST_F(ServiceLinkTest, InstanceNameIsTheDescriptorFollowedByTheSuffix) {
    m_registration.reset();
    auto service = ndk::SharedRefBase::make<ScriptedService>();
    ndk::SpAIBinder binder = service->asBinder();
    const char* const kOther = "vendor.zux.hardware.vpp.IVppService/other";
    ASSERT_EQ(AServiceManager_addService(binder.get(), kOther), EX_NONE);
    EXPECT_EQ(TestNode::AcquireVppService("other"), LumResultEUnableToLoad);
    EXPECT_EQ(TestNode::AcquireVppService("/other"), LumResultSuccess);
    EXPECT_EQ(TestNode::s_vppService.get(), static_cast<IVppService*>(service.get()));
    EXPECT_EQ(ABinderHost_removeService(kOther), STATUS_OK);
}

// Release with nothing held writes only its line; release unlinks only the releasing node, whose
// peer still hears the death of the dropped binder.
TEST_F(ServiceLinkTest, ReleaseUnlinksOnlyTheReleasingNode) {
    m_registration.reset();
    QuietNode empty("Empty");
    BothSinks capture;
    EXPECT_EQ(TestNode::ReleaseVppService(&empty), LumResultSuccess);
    EXPECT_TRUE(LogIs(capture, {Released()}));

    m_registration.emplace(m_service);
    QuietNode released("Released");
    QuietNode other("Other");
    ASSERT_EQ(released.InitVppSession(), LumResultSuccess);
    ASSERT_EQ(other.InitVppSession(), LumResultSuccess);
    capture.Clear();
    EXPECT_EQ(TestNode::ReleaseVppService(&released), LumResultSuccess);
    EXPECT_TRUE(LogIs(capture, {Released()}));
    EXPECT_EQ(TestNode::s_vppService, nullptr);

    capture.Clear();
    DeclareServiceDead();
    EXPECT_TRUE(released.Events().empty());
    EXPECT_EQ(other.Events(), std::vector<std::string>{"died"});
    EXPECT_TRUE(LogIs(capture, {Died(other)}));
}

// The node's handler runs first, on a pool thread; the line follows; nothing else changes.
TEST_F(ServiceLinkTest, DeathCallsTheNodeFirstThenLogsOnAPoolThread) {
    QuietNode node("Mortal");
    ASSERT_EQ(node.InitVppSession(), LumResultSuccess);
    const auto session = node.m_pVppSession;
    BothSinks capture;
    std::atomic<bool> onPoolThread{false};
    std::atomic<bool> loggedBeforeHandler{true};
    node.onServiceDied = [&] {
        onPoolThread = ABinderHost_isPoolThread();
        loggedBeforeHandler = !capture.Lines().empty();
    };
    DeclareServiceDead();
    EXPECT_EQ(node.Events(), std::vector<std::string>{"died"});
    EXPECT_TRUE(onPoolThread);
    EXPECT_FALSE(loggedBeforeHandler);
    EXPECT_TRUE(LogIs(capture, {Died(node)}));
    EXPECT_EQ(TestNode::s_vppService.get(), static_cast<IVppService*>(m_service.get()));
    EXPECT_EQ(node.m_pVppSession, session);
    node.onServiceDied = nullptr;
}

using CallbacksTest = BaseTest;

// Each callback reaches its own handler with the service's argument and answers VPP_OK with an
// OK status, without a line; without a node it answers the same.
TEST_F(CallbacksTest, EachMethodReachesItsHandlerAndAnswersOk) {
    QuietNode node("Bridge");
    for (QuietNode* pNode : {&node, static_cast<QuietNode*>(nullptr)}) {
        auto callbacks = ndk::SharedRefBase::make<IxoVppCallbacks>(pNode);
        camera_host::LogCapture capture;
        VppBuffer input, output;
        input.cookie = 0x1234;
        output.cookie = 0x5678;
        FlushDone flushDone;
        flushDone.port = 1;
        VppError answers[6];
        std::fill(std::begin(answers), std::end(answers), VppError::VPP_ERR_FATAL);
        const bool ok[] = {callbacks->inputBufferDone(input, &answers[0]).isOk(),
                           callbacks->outputBufferDone(output, &answers[1]).isOk(),
                           callbacks->eventFlushDone(flushDone, &answers[2]).isOk(),
                           callbacks->eventDrainDone(&answers[3]).isOk(),
                           callbacks->eventReconfigDone(ReconfigDone(), &answers[4]).isOk(),
                           callbacks->eventError(VppError::VPP_ERR_HW, &answers[5]).isOk()};
        for (int i = 0; i < 6; i++) {
            EXPECT_TRUE(ok[i] && answers[i] == VppError::VPP_OK) << i;
        }
        EXPECT_TRUE(capture.Lines().empty());
    }
    EXPECT_EQ(node.Events(), (std::vector<std::string>{"input:4660", "output:22136", "flush:1",
                                                       "drain", "reconfig", "error:8"}));
}

}  // namespace
}  // namespace vpptest
