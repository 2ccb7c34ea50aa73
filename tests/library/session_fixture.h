// Fixture of the session tests: a scripted service on top of the base fixture, and gates.
#pragma once

#include <binder_host/binder_host.h>

#include <chrono>
#include <future>
#include <memory>
#include <optional>

#include "base_fixture.h"
#include "scripted_vpp.h"

namespace vpptest {

// A one-shot gate: threads wait until the test opens it (bounded, so that a fault fails the test
// instead of hanging it).
struct Gate {
    std::promise<void> opener;
    std::shared_future<void> opened = opener.get_future().share();
    void Open() { opener.set_value(); }
    bool Wait() const {
        return opened.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    }
};

// Fixture: the base's clean state and leak checks, a scripted service registered under the
// default name, every node log level on (Android log included).
class SessionTest : public BaseTest {
  protected:
    void SetUp() override {
        BaseTest::SetUp();
        ASSERT_TRUE(camera_host::ApplyLogLevel("verbose"));
        g_enableSystemLog = 1;
        __android_log_set_logger(DiscardAndroidLog);
        m_service = ndk::SharedRefBase::make<ScriptedService>();
        m_registration.emplace(m_service);
    }

    void TearDown() override {
        m_registration.reset();
        m_service.reset();
        BaseTest::TearDown();
        __android_log_set_logger(__android_log_stderr_logger);
    }

    // A constructed and initialised node (the service, if registered, is acquired).
    std::unique_ptr<TestNode> MakeNode(const char* pName = "SessionNode", uint32_t width = 640,
                                       uint32_t height = 480) {
        auto node = std::make_unique<TestNode>(pName, width, height);
        EXPECT_EQ(node->Initialize(&m_interface), LumResultSuccess);
        return node;
    }

    // A node whose InitVppSession succeeded.
    std::unique_ptr<TestNode> MakeSessionNode(const char* pName = "SessionNode",
                                              uint32_t width = 640, uint32_t height = 480) {
        auto node = MakeNode(pName, width, height);
        EXPECT_EQ(node->InitVppSession(), LumResultSuccess);
        return node;
    }

    // The scripted session that the node holds (behind its proxy when reached through loopback).
    static std::shared_ptr<ScriptedSession> SessionOf(const TestNode& node) {
        std::shared_ptr<IVppSession> session = node.m_pVppSession;
        if (session != nullptr && session->isRemote()) {
            ndk::SpAIBinder local(ABinderHost_getLoopbackLocal(session->asBinder().get()));
            session = IVppSession::fromBinder(local);
        }
        return std::dynamic_pointer_cast<ScriptedSession>(session);
    }

    IxoNodeInterface m_interface{};
    std::shared_ptr<ScriptedService> m_service;
    std::optional<ServiceRegistration> m_registration;
};

}  // namespace vpptest
