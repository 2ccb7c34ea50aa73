// Node base object: construction defaults, Initialize's failure matrix and the destructor's
// session-count, service-release and count-lock handling.
#include <android/binder_manager.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "base_fixture.h"
#include "scripted_vpp.h"
#include "test_node.h"

namespace vpptest {
namespace {

using camera_host::LiveConditionCount;
using camera_host::LiveMutexCount;

IxoNodeInterface g_nodeInterface{};

std::string InitializeVerboseLine(const char* pName) {
    return Printf(
        "[%s] initialize IxoNodeVppBase, &s_sessionCount: %p, s_sessionCount: %u, "
        "&s_pSessionCountLock: %p, s_pSessionCountLock: %p",
        pName, static_cast<void*>(&TestNode::s_sessionCount), TestNode::s_sessionCount,
        static_cast<void*>(&TestNode::s_pSessionCountLock),
        static_cast<void*>(TestNode::s_pSessionCountLock));
}

// The INFO line after the count lock step; printed with the lock as it is then.
std::string InitializeInfoLine(const char* pName, const void* pLock) {
    return Printf(
        "[%s] &s_sessionCount: %p, s_sessionCount: %u, &s_pSessionCountLock: %p, "
        "s_pSessionCountLock: %p",
        pName, static_cast<void*>(&TestNode::s_sessionCount), TestNode::s_sessionCount,
        static_cast<void*>(&TestNode::s_pSessionCountLock), pLock);
}

std::string ReleasedLine() {
    return Printf("&s_vppService: %p, s_vppService is already released, s_vppService: %p",
                  static_cast<void*>(&TestNode::s_vppService),
                  static_cast<void*>(TestNode::s_vppService.get()));
}

using NodeBaseTest = BaseTest;

TEST_F(NodeBaseTest, InitializeWithNullInterfaceFailsBeforeCreatingAnything) {
    std::vector<std::string> mutexNames;
    camera_host::SetMutexCreateFailure([&](const char* pName) {
        mutexNames.push_back(pName);
        return false;
    });
    TestNode node("NullIf");
    node.m_skipWaitForClose = 1;
    BothSinks capture;

    EXPECT_EQ(node.Initialize(nullptr), LumResultEInvalidPointer);

    const auto lines = capture.Lines();
    ExpectLines(
        capture,
        {Error("Initialize", "[NullIf] pIxoNodeInterface is NULL"),
         Error("Initialize", "[NullIf] VPP base initialization failed: LumResultEInvalidPointer")});
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_LT(lines[0].line, lines[1].line);
    EXPECT_EQ(node.m_pFlushSessionLock, nullptr);
    EXPECT_EQ(node.m_pWaitFlushSessionDone, nullptr);
    EXPECT_EQ(TestNode::s_pSessionCountLock, nullptr);
    EXPECT_TRUE(mutexNames.empty());
    EXPECT_EQ(LiveConditionCount(), m_conditions);
}

TEST_F(NodeBaseTest, FailedSecondInitializeDestroysTheNodesHandles) {
    TestNode node("Again");
    node.m_skipWaitForClose = 1;
    ASSERT_EQ(node.Initialize(&g_nodeInterface), LumResultSuccess);
    ASSERT_NE(node.m_pFlushSessionLock, nullptr);
    ASSERT_NE(node.m_pWaitFlushSessionDone, nullptr);

    EXPECT_EQ(node.Initialize(nullptr), LumResultEInvalidPointer);
    EXPECT_EQ(node.m_pFlushSessionLock, nullptr);
    EXPECT_EQ(node.m_pWaitFlushSessionDone, nullptr);
    // Only the process-wide count lock is left.
    EXPECT_NE(TestNode::s_pSessionCountLock, nullptr);
    EXPECT_EQ(LiveMutexCount(), m_mutexes + 1);
    EXPECT_EQ(LiveConditionCount(), m_conditions);
}

// Which of the three creations fail: count lock, flush mutex, flush condition.
class InitializeFailureTest : public BaseTest,
                              public ::testing::WithParamInterface<std::tuple<bool, bool, bool>> {};

TEST_P(InitializeFailureTest, AttemptsEverythingAndCleansUpOnAnyFailure) {
    const bool lockFails = std::get<0>(GetParam());
    const bool mutexFails = std::get<1>(GetParam());
    const bool conditionFails = std::get<2>(GetParam());
    const bool anyFails = lockFails || mutexFails || conditionFails;

    std::vector<std::string> mutexNames;
    std::vector<std::string> conditionNames;
    camera_host::SetMutexCreateFailure([&](const char* pName) {
        mutexNames.push_back(pName);
        const std::string name = pName;
        return (lockFails && name == "VppSessionCountLock") ||
               (mutexFails && name == "VPPFlushSessionLock");
    });
    camera_host::SetConditionCreateFailure([&](const char* pName) {
        conditionNames.push_back(pName);
        return conditionFails;
    });

    TestNode node("Matrix");
    node.m_skipWaitForClose = 1;
    // A count other than 0 shows that the lines print the live value.
    TestNode::s_sessionCount = 2;
    BothSinks capture;

    std::vector<ExpectedLine> expected = {Verbose("Initialize", InitializeVerboseLine("Matrix"))};
    const LumResult result = node.Initialize(&g_nodeInterface);

    if (lockFails) {
        expected.push_back(
            Error("Initialize", "[Matrix] Falied to allocate memory s_pSessionCountLock (nil)"));
    }
    expected.push_back(
        Info("Initialize", InitializeInfoLine("Matrix", TestNode::s_pSessionCountLock)));
    if (mutexFails) {
        expected.push_back(
            Error("Initialize", "[Matrix] Falied to allocate memory for VPPFlushSessionLock"));
    }
    if (conditionFails) {
        expected.push_back(
            Error("Initialize", "[Matrix] Falied to allocate memory for VPPWaitFlushSessionDone"));
    }
    if (anyFails) {
        expected.push_back(
            Error("Initialize", "[Matrix] VPP base initialization failed: LumResultENoMemory"));
    }
    ExpectLines(capture, expected);

    EXPECT_EQ(result, anyFails ? LumResultENoMemory : LumResultSuccess);
    // Every creation is attempted, whatever failed before it.
    EXPECT_EQ(mutexNames, (std::vector<std::string>{"VppSessionCountLock", "VPPFlushSessionLock"}));
    EXPECT_EQ(conditionNames, std::vector<std::string>{"VPPWaitFlushSessionDone"});
    EXPECT_EQ(TestNode::s_pSessionCountLock == nullptr, lockFails);
    EXPECT_EQ(node.m_pFlushSessionLock == nullptr, anyFails);
    EXPECT_EQ(node.m_pWaitFlushSessionDone == nullptr, anyFails);
    EXPECT_EQ(LiveMutexCount(), m_mutexes + (lockFails ? 0 : 1) + (anyFails ? 0 : 1));
    EXPECT_EQ(LiveConditionCount(), m_conditions + (anyFails ? 0 : 1));
    EXPECT_EQ(TestNode::s_sessionCount, 2u);
}

std::string FailureName(const ::testing::TestParamInfo<std::tuple<bool, bool, bool>>& info) {
    std::string name;
    name += std::get<0>(info.param) ? "LockFails" : "LockOk";
    name += std::get<1>(info.param) ? "MutexFails" : "MutexOk";
    name += std::get<2>(info.param) ? "ConditionFails" : "ConditionOk";
    return name;
}

INSTANTIATE_TEST_SUITE_P(AllCombinations, InitializeFailureTest,
                         ::testing::Combine(::testing::Bool(), ::testing::Bool(),
                                            ::testing::Bool()),
                         FailureName);

TEST_F(NodeBaseTest, SecondNodeReusesTheExistingCountLock) {
    TestNode first("First");
    first.m_skipWaitForClose = 1;
    ASSERT_EQ(first.Initialize(&g_nodeInterface), LumResultSuccess);
    Pavo::Mutex* const pLock = TestNode::s_pSessionCountLock;
    ASSERT_NE(pLock, nullptr);

    std::vector<std::string> mutexNames;
    camera_host::SetMutexCreateFailure([&](const char* pName) {
        mutexNames.push_back(pName);
        return false;
    });
    TestNode second("Second");
    second.m_skipWaitForClose = 1;
    BothSinks capture;
    EXPECT_EQ(second.Initialize(&g_nodeInterface), LumResultSuccess);

    ExpectLines(capture, {Verbose("Initialize", InitializeVerboseLine("Second")),
                          Info("Initialize", "[Second] vpp SessionCount lock already exists"),
                          Info("Initialize", InitializeInfoLine("Second", pLock))});
    EXPECT_EQ(TestNode::s_pSessionCountLock, pLock);
    EXPECT_EQ(mutexNames, std::vector<std::string>{"VPPFlushSessionLock"});
    EXPECT_NE(second.m_pFlushSessionLock, first.m_pFlushSessionLock);
    EXPECT_NE(second.m_pWaitFlushSessionDone, first.m_pWaitFlushSessionDone);
}

TEST_F(NodeBaseTest, FailureWithAnExistingLockLeavesTheLockAlone) {
    TestNode first("First");
    first.m_skipWaitForClose = 1;
    ASSERT_EQ(first.Initialize(&g_nodeInterface), LumResultSuccess);
    Pavo::Mutex* const pLock = TestNode::s_pSessionCountLock;

    camera_host::SetMutexCreateFailure([](const char*) { return true; });
    TestNode second("Second");
    second.m_skipWaitForClose = 1;
    BothSinks capture;
    EXPECT_EQ(second.Initialize(&g_nodeInterface), LumResultENoMemory);

    ExpectLines(
        capture,
        {Verbose("Initialize", InitializeVerboseLine("Second")),
         Info("Initialize", "[Second] vpp SessionCount lock already exists"),
         Info("Initialize", InitializeInfoLine("Second", pLock)),
         Error("Initialize", "[Second] Falied to allocate memory for VPPFlushSessionLock"),
         Error("Initialize", "[Second] VPP base initialization failed: LumResultENoMemory")});
    EXPECT_EQ(TestNode::s_pSessionCountLock, pLock);
    EXPECT_EQ(second.m_pFlushSessionLock, nullptr);
    EXPECT_EQ(second.m_pWaitFlushSessionDone, nullptr);
    EXPECT_NE(first.m_pFlushSessionLock, nullptr);
}

// Destruction with the service registered: nodes that open sessions raise the count the way a
// real open does.
class NodeDestructionTest : public BaseTest {
  protected:
    void SetUp() override {
        BaseTest::SetUp();
        m_service = ndk::SharedRefBase::make<ScriptedService>();
        m_registration = std::make_unique<ServiceRegistration>(m_service);
    }

    void TearDown() override {
        m_registration.reset();
        m_service.reset();
        BaseTest::TearDown();
    }

    // An initialised node; with a session it is also linked to the service's death and opened.
    std::unique_ptr<TestNode> MakeNode(const char* pName, bool withSession) {
        auto node = std::make_unique<TestNode>(pName);
        node->m_skipWaitForClose = 1;
        EXPECT_EQ(node->Initialize(&g_nodeInterface), LumResultSuccess);
        if (withSession) {
            EXPECT_EQ(node->InitVppSession(), LumResultSuccess);
            EXPECT_EQ(node->OpenVppSession(), LumResultSuccess);
        }
        return node;
    }

    std::shared_ptr<ScriptedService> m_service;
    std::unique_ptr<ServiceRegistration> m_registration;
};

// The destructor's session closing (with and without a close worker, or skipped) is tested with
// the other closes.
TEST_F(NodeDestructionTest, ThreeNodesReleaseOnlyWithTheLastAndTheNextNodeStartsOver) {
    std::vector<std::unique_ptr<TestNode>> nodes;
    nodes.push_back(MakeNode("A", true));
    nodes.push_back(MakeNode("B", true));
    nodes.push_back(MakeNode("C", true));
    ASSERT_EQ(TestNode::s_sessionCount, 3u);
    Pavo::Mutex* const pLock = TestNode::s_pSessionCountLock;
    EXPECT_EQ(ABinderHost_getCheckServiceCount(), 1u);

    BothSinks capture;
    const char* const names[] = {"A", "B", "C"};
    for (int i = 0; i < 3; ++i) {
        capture.Clear();
        nodes[i].reset();
        const unsigned left = 2 - i;
        std::vector<ExpectedLine> expected = {
            Verbose("~IxoNodeVppBase", Printf("[%s] destructor of IxoNodeVppBase", names[i])),
            Info("~IxoNodeVppBase", Printf("[%s] s_sessionCount decrease to: %u", names[i], left))};
        if (left == 0) {
            expected.push_back(
                Info("~IxoNodeVppBase", Printf("[%s] Need release vpp service now", names[i])));
            expected.push_back(Verbose("ReleaseVppService", ReleasedLine()));
        }
        ExpectLines(capture, expected);
        EXPECT_EQ(TestNode::s_sessionCount, left);
        EXPECT_EQ(TestNode::s_vppService == nullptr, left == 0);
        EXPECT_EQ(TestNode::s_pSessionCountLock, left == 0 ? nullptr : pLock);
    }
    EXPECT_EQ(LiveMutexCount(), m_mutexes);

    // The next node acquires the service anew, and its Initialize makes a new lock.
    capture.Clear();
    auto next = MakeNode("Next", false);
    EXPECT_EQ(ABinderHost_getCheckServiceCount(), 2u);
    EXPECT_NE(TestNode::s_vppService, nullptr);
    EXPECT_NE(TestNode::s_pSessionCountLock, nullptr);
    for (const auto& message : capture.Messages()) {
        EXPECT_EQ(message.find("already exists"), std::string::npos) << message;
    }
}

TEST_F(NodeDestructionTest, CountZeroAtEntryReleasesAndTheNextNodeFindsNoLock) {
    // Two nodes that never opened a session: the first one out releases the service.
    auto first = MakeNode("First", false);
    auto second = MakeNode("Second", false);
    ASSERT_EQ(TestNode::s_sessionCount, 0u);

    BothSinks capture;
    first.reset();
    ExpectLines(capture, {Verbose("~IxoNodeVppBase", "[First] destructor of IxoNodeVppBase"),
                          Info("~IxoNodeVppBase", "[First] Need release vpp service now"),
                          Error("ReleaseVppService", "Unlinking from death recipient failed"),
                          Verbose("ReleaseVppService", ReleasedLine())});
    EXPECT_EQ(TestNode::s_vppService, nullptr);
    EXPECT_EQ(TestNode::s_pSessionCountLock, nullptr);

    capture.Clear();
    second.reset();
    ExpectLines(capture, {Verbose("~IxoNodeVppBase", "[Second] destructor of IxoNodeVppBase"),
                          Info("~IxoNodeVppBase",
                               "[Second] s_pSessionCountLock is NULL, s_vppService: (nil)")});
    EXPECT_EQ(TestNode::s_sessionCount, 0u);
}

TEST_F(NodeDestructionTest, NodeWithoutCountLockKeepsTheService) {
    // Never initialised: there is no lock, so the destructor neither counts nor releases.
    auto node = std::make_unique<TestNode>("NoLock");
    node->m_skipWaitForClose = 1;
    const auto service = TestNode::s_vppService;
    ASSERT_NE(service, nullptr);

    BothSinks capture;
    node.reset();
    ExpectLines(capture,
                {Verbose("~IxoNodeVppBase", "[NoLock] destructor of IxoNodeVppBase"),
                 Info("~IxoNodeVppBase", "[NoLock] s_pSessionCountLock is NULL, s_vppService: " +
                                             Ptr(service.get()))});
    EXPECT_EQ(TestNode::s_vppService, service);
}

TEST_F(NodeDestructionTest, DestroyedNodeNoLongerHearsOfTheServiceDeath) {
    // The first node's recipient stays linked through its release-free destruction, until the
    // destructor deletes it; a death afterwards must reach only the node still alive.
    auto gone = MakeNode("Gone", true);
    auto alive = MakeNode("Alive", true);
    TestNode* const pAlive = alive.get();
    gone.reset();
    EXPECT_EQ(LiveMutexCount(), m_mutexes + 2);  // the count lock and Alive's flush mutex
    EXPECT_EQ(LiveConditionCount(), m_conditions + 1);

    BothSinks capture;
    ASSERT_EQ(ABinderHost_declareDead(DefaultInstanceName().c_str()), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    EXPECT_EQ(alive->Events(), std::vector<std::string>{"died"});
    ExpectLines(capture, {Info("VppServiceDied", "vpp service died: cookie=" + Ptr(pAlive))});
}

}  // namespace
}  // namespace vpptest
