// Service link: acquisition (once per process, non-blocking, by descriptor and instance suffix),
// release with and without a linked death recipient, and the death notification.
#include <android/binder_manager.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "base_fixture.h"
#include "scripted_vpp.h"
#include "test_node.h"

namespace vpptest {
namespace {

IxoNodeInterface g_nodeInterface{};

std::string Address(const void* p) {
    return Printf("%p", p);
}

std::string AcquireEntryLine() {
    return Printf("&s_vppService: %p, s_vppService: %p",
                  static_cast<void*>(&TestNode::s_vppService),
                  static_cast<void*>(TestNode::s_vppService.get()));
}

std::string ReleasedLine() {
    return Printf("&s_vppService: %p, s_vppService is already released, s_vppService: (nil)",
                  static_cast<void*>(&TestNode::s_vppService));
}

// The three lines of an acquisition that finds nothing registered.
std::vector<ExpectedLine> FailedAcquisition() {
    const std::string empty = AcquireEntryLine();
    return {Verbose("AcquireVppService", empty),
            Error("AcquireVppService", "Cannot get VPP service binder"),
            Info("AcquireVppService", empty)};
}

using ServiceLinkTest = BaseTest;

TEST_F(ServiceLinkTest, AcquisitionWithoutServiceFailsAtOnce) {
    BothSinks capture;
    EXPECT_EQ(TestNode::AcquireVppService("/default"), LumResultEUnableToLoad);
    ExpectLines(capture, FailedAcquisition());
    EXPECT_EQ(TestNode::s_vppService, nullptr);
    EXPECT_EQ(ABinderHost_getCheckServiceCount(), 1u);
    EXPECT_EQ(ABinderHost_getStartThreadPoolCallCount(), 0u);
}

TEST_F(ServiceLinkTest, NodeBuiltWithoutServiceIsUsableAndTheNextOneTriesAgain) {
    BothSinks capture;
    TestNode node("Lonely");
    node.m_skipWaitForClose = 1;
    ExpectLines(capture, FailedAcquisition());
    EXPECT_EQ(TestNode::s_vppService, nullptr);

    EXPECT_EQ(node.Initialize(&g_nodeInterface), LumResultSuccess);
    capture.Clear();
    EXPECT_EQ(node.InitVppSession(), LumResultEFailed);
    ExpectLines(capture, {Error("InitVppSession", "[Lonely] VPP service is NULL pointer")});

    // Once the service is there, the next node's constructor finds it.
    auto service = ndk::SharedRefBase::make<ScriptedService>();
    ServiceRegistration registration(service);
    TestNode later("Later");
    later.m_skipWaitForClose = 1;
    EXPECT_EQ(ABinderHost_getCheckServiceCount(), 2u);
    EXPECT_EQ(TestNode::s_vppService.get(), static_cast<IVppService*>(service.get()));
}

TEST_F(ServiceLinkTest, FirstAcquisitionLooksUpAndStartsThePoolLaterOnesDoNot) {
    auto service = ndk::SharedRefBase::make<ScriptedService>();
    ServiceRegistration registration(service);
    const std::string held = Address(static_cast<IVppService*>(service.get()));

    BothSinks capture;
    TestNode first("First");
    first.m_skipWaitForClose = 1;
    ExpectLines(capture,
                {Verbose("AcquireVppService", Printf("&s_vppService: %p, s_vppService: (nil)",
                                                     static_cast<void*>(&TestNode::s_vppService))),
                 Info("AcquireVppService", AcquireEntryLine())});
    EXPECT_EQ(TestNode::s_vppService.get(), static_cast<IVppService*>(service.get()));
    EXPECT_EQ(ABinderHost_getCheckServiceCount(), 1u);
    EXPECT_EQ(ABinderHost_getStartThreadPoolCallCount(), 1u);

    capture.Clear();
    TestNode second("Second");
    second.m_skipWaitForClose = 1;
    EXPECT_EQ(TestNode::AcquireVppService("/default"), LumResultSuccess);
    const ExpectedLine entry = Verbose("AcquireVppService", AcquireEntryLine());
    const ExpectedLine already =
        Verbose("AcquireVppService", "s_vppService is already acquired: " + held);
    const ExpectedLine exit = Info("AcquireVppService", AcquireEntryLine());
    ExpectLines(capture, {entry, already, exit, entry, already, exit});
    EXPECT_EQ(ABinderHost_getCheckServiceCount(), 1u);
    EXPECT_EQ(ABinderHost_getStartThreadPoolCallCount(), 1u);
    EXPECT_EQ(TestNode::s_vppService.get(), static_cast<IVppService*>(service.get()));
}

TEST_F(ServiceLinkTest, InstanceNameIsTheDescriptorFollowedByTheSuffix) {
    auto service = ndk::SharedRefBase::make<ScriptedService>();
    ndk::SpAIBinder binder = service->asBinder();
    const char* const kOther = "vendor.zux.hardware.vpp.IVppService/other";
    ASSERT_EQ(AServiceManager_addService(binder.get(), kOther), EX_NONE);

    EXPECT_EQ(TestNode::AcquireVppService("/default"), LumResultEUnableToLoad);
    EXPECT_EQ(TestNode::AcquireVppService("other"), LumResultEUnableToLoad);
    EXPECT_EQ(TestNode::s_vppService, nullptr);
    EXPECT_EQ(TestNode::AcquireVppService("/other"), LumResultSuccess);
    EXPECT_EQ(TestNode::s_vppService.get(), static_cast<IVppService*>(service.get()));
    EXPECT_EQ(ABinderHost_getCheckServiceCount(), 3u);
    EXPECT_EQ(ABinderHost_removeService(kOther), STATUS_OK);
}

TEST_F(ServiceLinkTest, ReleaseWithNothingHeldOnlyWritesItsVerboseLine) {
    TestNode node("Empty");
    node.m_skipWaitForClose = 1;
    BothSinks capture;
    EXPECT_EQ(TestNode::ReleaseVppService(&node), LumResultSuccess);
    ExpectLines(capture, {Verbose("ReleaseVppService", ReleasedLine())});
    EXPECT_EQ(TestNode::s_vppService, nullptr);
}

TEST_F(ServiceLinkTest, ReleaseOfANeverLinkedNodeStillEmptiesTheStatic) {
    auto service = ndk::SharedRefBase::make<ScriptedService>();
    ServiceRegistration registration(service);
    TestNode node("Unlinked");
    node.m_skipWaitForClose = 1;
    ASSERT_NE(TestNode::s_vppService, nullptr);
    ASSERT_EQ(node.m_pDeathRecipient.get(), nullptr);

    BothSinks capture;
    EXPECT_EQ(TestNode::ReleaseVppService(&node), LumResultSuccess);
    ExpectLines(capture, {Error("ReleaseVppService", "Unlinking from death recipient failed"),
                          Verbose("ReleaseVppService", ReleasedLine())});
    EXPECT_EQ(TestNode::s_vppService, nullptr);
}

TEST_F(ServiceLinkTest, ReleaseUnlinksOnlyTheReleasingNode) {
    auto service = ndk::SharedRefBase::make<ScriptedService>();
    ServiceRegistration registration(service);
    TestNode released("Released");
    TestNode other("Other");
    released.m_skipWaitForClose = 1;
    other.m_skipWaitForClose = 1;
    ASSERT_EQ(released.InitVppSession(), LumResultSuccess);
    ASSERT_EQ(other.InitVppSession(), LumResultSuccess);

    BothSinks capture;
    EXPECT_EQ(TestNode::ReleaseVppService(&released), LumResultSuccess);
    ExpectLines(capture, {Verbose("ReleaseVppService", ReleasedLine())});
    EXPECT_EQ(TestNode::s_vppService, nullptr);
    // The proxy is gone from the static, but the registry still holds the service.
    EXPECT_GT(service.use_count(), 1);

    // The other node's recipient stays linked to the dropped binder and still hears its death.
    capture.Clear();
    ASSERT_EQ(ABinderHost_declareDead(DefaultInstanceName().c_str()), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    EXPECT_TRUE(released.Events().empty());
    EXPECT_EQ(other.Events(), std::vector<std::string>{"died"});
    ExpectLines(capture, {Info("VppServiceDied", "vpp service died: cookie=" + Address(&other))});
}

TEST_F(ServiceLinkTest, DeathCallsTheNodeFirstThenLogsOnAPoolThread) {
    auto service = ndk::SharedRefBase::make<ScriptedService>();
    ServiceRegistration registration(service);
    TestNode node("Mortal");
    node.m_skipWaitForClose = 1;
    ASSERT_EQ(node.Initialize(&g_nodeInterface), LumResultSuccess);
    ASSERT_EQ(node.InitVppSession(), LumResultSuccess);
    const auto session = node.m_pVppSession;

    BothSinks capture;
    std::atomic<bool> onPoolThread{false};
    std::atomic<bool> loggedBeforeHandler{true};
    node.onServiceDied = [&] {
        onPoolThread = ABinderHost_isPoolThread();
        loggedBeforeHandler = !capture.Lines().empty();
    };
    ASSERT_EQ(ABinderHost_declareDead(DefaultInstanceName().c_str()), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);

    EXPECT_EQ(node.Events(), std::vector<std::string>{"died"});
    EXPECT_TRUE(onPoolThread);
    EXPECT_FALSE(loggedBeforeHandler);
    ExpectLines(capture, {Info("VppServiceDied", "vpp service died: cookie=" + Address(&node))});
    // Nothing else changes: the static and the node's session stay as they were.
    EXPECT_EQ(TestNode::s_vppService.get(), static_cast<IVppService*>(service.get()));
    EXPECT_EQ(node.m_pVppSession, session);
    node.onServiceDied = nullptr;
}

TEST_F(ServiceLinkTest, EveryLinkedNodeHearsTheDeathWithItsOwnCookie) {
    auto service = ndk::SharedRefBase::make<ScriptedService>();
    ServiceRegistration registration(service);
    TestNode first("First");
    TestNode second("Second");
    first.m_skipWaitForClose = 1;
    second.m_skipWaitForClose = 1;
    ASSERT_EQ(first.InitVppSession(), LumResultSuccess);
    ASSERT_EQ(second.InitVppSession(), LumResultSuccess);

    BothSinks capture;
    ASSERT_EQ(ABinderHost_declareDead(DefaultInstanceName().c_str()), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    EXPECT_EQ(first.Events(), std::vector<std::string>{"died"});
    EXPECT_EQ(second.Events(), std::vector<std::string>{"died"});
    std::vector<std::string> messages = capture.Messages();
    std::sort(messages.begin(), messages.end());
    std::vector<std::string> expected = {"vpp service died: cookie=" + Address(&first),
                                         "vpp service died: cookie=" + Address(&second)};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(messages, expected);
}

}  // namespace
}  // namespace vpptest
