// Session state machine and argument checks: which call is refused when, and with which error.
#include "service_test_util.h"

namespace svctest {
namespace {

using E = VppError;

class StateTest : public ServiceTest {};

TEST_P(StateTest, LifecycleStatesAndOutOfOrderCalls) {
    SharedFrame frame(64 * 32 * 3 / 2);
    EXPECT_EQ(State(), 0);
    // Before init: no parameters, no open, no buffers.
    EXPECT_EQ(Call([&](E* e) { return session_->setParameter(0, Param(64, 32), e); }),
              E::VPP_ERR_STATE);
    EXPECT_EQ(Open(), E::VPP_ERR_STATE);
    EXPECT_EQ(Queue(0, frame.Buffer(1)), E::VPP_ERR_STATE);

    ASSERT_EQ(Init(), E::VPP_OK);
    EXPECT_EQ(State(), 1);
    EXPECT_EQ(Init(), E::VPP_ERR_STATE) << "init twice";
    EXPECT_EQ(Queue(0, frame.Buffer(1)), E::VPP_ERR_STATE) << "queueBuf before open";
    EXPECT_EQ(Call([&](E* e) { return session_->flush(0, e); }), E::VPP_ERR_STATE);
    EXPECT_EQ(Call([&](E* e) { return session_->close(e); }), E::VPP_ERR_STATE);

    ASSERT_EQ(Call([&](E* e) { return session_->setParameter(0, Param(64, 32), e); }), E::VPP_OK);
    EXPECT_EQ(Open(), E::VPP_ERR_STATE) << "open with only the input port set";
    ASSERT_EQ(Call([&](E* e) { return session_->setParameter(1, Param(64, 32), e); }), E::VPP_OK);
    ASSERT_EQ(Open(), E::VPP_OK);
    EXPECT_EQ(State(), 2);
    EXPECT_EQ(Open(), E::VPP_ERR_STATE);
    EXPECT_EQ(Call([&](E* e) { return session_->setParameter(0, Param(64, 32), e); }),
              E::VPP_ERR_STATE)
        << "setParameter after open";
    // Controls and reconfiguration are what an open session accepts instead.
    EXPECT_EQ(SetCtrl(Ctrl(2, 2)), E::VPP_OK);
    EXPECT_EQ(Call([&](E* e) { return session_->reconfigure(Param(32, 16), Param(32, 16), e); }),
              E::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitFor([](const Event& e) { return e.kind == Event::kReconfig; }));
    VppPortParam current;
    EXPECT_EQ(Call([&](E* e) { return session_->getParameter(1, &current, e); }), E::VPP_OK);
    EXPECT_EQ(current.width, 32);

    ASSERT_EQ(Call([&](E* e) { return session_->close(e); }), E::VPP_OK);
    EXPECT_EQ(State(), 3);
    EXPECT_EQ(Queue(0, frame.Buffer(1)), E::VPP_ERR_STATE);
    EXPECT_EQ(Call([&](E* e) { return session_->close(e); }), E::VPP_ERR_STATE);

    ASSERT_TRUE(session_->term().isOk());
    EXPECT_EQ(State(), 4);
    // Anything after term.
    EXPECT_EQ(Call([&](E* e) { return session_->ping(e); }), E::VPP_ERR_STATE);
    EXPECT_EQ(Init(), E::VPP_ERR_STATE);
    EXPECT_EQ(SetCtrl(Ctrl(1, 2)), E::VPP_ERR_STATE);
    VppStats stats;
    EXPECT_EQ(Call([&](E* e) { return session_->getStats(&stats, e); }), E::VPP_ERR_STATE);
    EXPECT_TRUE(session_->term().isOk()) << "a second term is harmless";
    if (Embedded()) {
        EXPECT_EQ(LiveSessions(), 0);
    }
}

TEST_P(StateTest, PortParametersAreChecked) {
    ASSERT_EQ(Init(), E::VPP_OK);
    auto set = [&](int32_t port, const VppPortParam& p) {
        return Call([&](E* e) { return session_->setParameter(port, p, e); });
    };
    EXPECT_EQ(set(2, Param(64, 32)), E::VPP_ERR_PARAM);
    EXPECT_EQ(set(-1, Param(64, 32)), E::VPP_ERR_PARAM);
    EXPECT_EQ(set(0, Param(63, 32)), E::VPP_ERR_PARAM) << "odd width";
    EXPECT_EQ(set(0, Param(64, 31)), E::VPP_ERR_PARAM) << "odd height";
    EXPECT_EQ(set(0, Param(0, 32)), E::VPP_ERR_PARAM);
    EXPECT_EQ(set(0, Param(-64, 32)), E::VPP_ERR_PARAM);
    EXPECT_EQ(set(0, Param(64, 32, 3, 62)), E::VPP_ERR_PARAM) << "stride below width";
    EXPECT_EQ(set(0, Param(64, 32, 3, 64, 30)), E::VPP_ERR_PARAM) << "scanlines below height";
    EXPECT_EQ(set(0, Param(65536, 65536)), E::VPP_ERR_PARAM) << "frame beyond 32-bit lengths";
    EXPECT_EQ(set(0, Param(64, 32, 1)), E::VPP_ERR_INVALID_CFG);
    EXPECT_EQ(set(0, Param(64, 32, 5)), E::VPP_ERR_INVALID_CFG);
    for (int32_t format : {2, 3, 4}) {
        EXPECT_EQ(set(0, Param(64, 32, format, 96, 40)), E::VPP_OK) << format;
    }

    // Ports that disagree are refused when the session opens.
    ASSERT_EQ(SetPorts(Param(64, 32), Param(64, 34)), E::VPP_OK);
    EXPECT_EQ(Open(), E::VPP_ERR_INVALID_CFG);
    ASSERT_EQ(SetPorts(Param(64, 32, 3), Param(64, 32, 4)), E::VPP_OK);
    EXPECT_EQ(Open(), E::VPP_ERR_INVALID_CFG);
    // Only the strides differ: accepted.
    ASSERT_EQ(SetPorts(Param(64, 32), Param(64, 32, 3, 128, 48)), E::VPP_OK);
    EXPECT_EQ(Open(), E::VPP_OK);
    EXPECT_EQ(Call([&](E* e) { return session_->reconfigure(Param(64, 32), Param(32, 32), e); }),
              E::VPP_ERR_INVALID_CFG);
    EXPECT_EQ(Call([&](E* e) { return session_->reconfigure(Param(63, 32), Param(63, 32), e); }),
              E::VPP_ERR_PARAM);
}

TEST_P(StateTest, ControlsAndSettingsAreChecked) {
    ASSERT_EQ(Init(), E::VPP_OK);
    EXPECT_EQ(SetCtrl(Ctrl(4, 2)), E::VPP_ERR_PARAM);
    EXPECT_EQ(SetCtrl(Ctrl(-1, 2)), E::VPP_ERR_PARAM);
    EXPECT_EQ(SetCtrl(Ctrl(2, 1)), E::VPP_ERR_PARAM);
    EXPECT_EQ(SetCtrl(Ctrl(1, 9)), E::VPP_ERR_PARAM);
    EXPECT_EQ(SetCtrl(Ctrl(3, 4, -1)), E::VPP_ERR_PARAM);
    EXPECT_EQ(SetCtrl(Ctrl(0, 0)), E::VPP_OK) << "the factor is ignored when off";
    EXPECT_EQ(SetCtrl(Ctrl(3, 8, 16)), E::VPP_OK);
    VppCtrlFrc ctrl;
    ASSERT_EQ(Call([&](E* e) { return session_->getCtrlFrc(&ctrl, e); }), E::VPP_OK);
    EXPECT_EQ(ctrl.mode, 3);
    EXPECT_EQ(ctrl.factor, 8);
    EXPECT_EQ(ctrl.searchRange, 16);

    // A rate ratio replaces the factor: checked in lowest terms, kept as sent.
    auto ratio = [](int32_t mode, int32_t num, int32_t den) {
        VppCtrlFrc c = Ctrl(mode, 0);
        c.rateNum = num;
        c.rateDen = den;
        return c;
    };
    EXPECT_EQ(SetCtrl(ratio(2, 5, 0)), E::VPP_ERR_PARAM);
    EXPECT_EQ(SetCtrl(ratio(2, 1, 2)), E::VPP_ERR_PARAM) << "a lower rate";
    EXPECT_EQ(SetCtrl(ratio(2, 90, 10)), E::VPP_ERR_PARAM) << "above 8";
    EXPECT_EQ(SetCtrl(ratio(0, 70000, 69999)), E::VPP_ERR_PARAM) << "checked when off too";
    EXPECT_EQ(SetCtrl(ratio(3, 60000, 24024)), E::VPP_OK);
    ASSERT_EQ(Call([&](E* e) { return session_->getCtrlFrc(&ctrl, e); }), E::VPP_OK);
    EXPECT_EQ(ctrl.rateNum, 60000);
    EXPECT_EQ(ctrl.rateDen, 24024);

    EXPECT_EQ(Call([&](E* e) { return session_->setMode(3, e); }), E::VPP_ERR_PARAM);
    EXPECT_EQ(Call([&](E* e) { return session_->setMode(1, e); }), E::VPP_OK);
    int32_t mode = -1;
    ASSERT_EQ(Call([&](E* e) { return session_->getMode(&mode, e); }), E::VPP_OK);
    EXPECT_EQ(mode, 1);

    ::aidl::vendor::zux::hardware::vpp::VppBufferRequirements req;
    EXPECT_EQ(Call([&](E* e) { return session_->getBufferRequirements(0, &req, e); }),
              E::VPP_ERR_STATE)
        << "no parameters yet";
    ASSERT_EQ(SetPorts(Param(64, 32, 3, 80, 40), Param(64, 32, 3, 80, 40)), E::VPP_OK);
    ASSERT_EQ(Call([&](E* e) { return session_->getBufferRequirements(0, &req, e); }), E::VPP_OK);
    EXPECT_EQ(req.bufferSize, 80 * 40 + 80 * 16);
    EXPECT_EQ(req.minBufferCount, 2) << "conversion needs a pair of inputs";
}

TEST_P(StateTest, QueuedBuffersAreChecked) {
    const size_t frameSize = 64 * 32 * 3 / 2;
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(64, 32), Ctrl(0, 0)));
    SharedFrame small(frameSize - 1);
    SharedFrame exact(frameSize);
    EXPECT_EQ(Queue(2, exact.Buffer(1)), E::VPP_ERR_PARAM);
    EXPECT_EQ(Queue(0, small.Buffer(1)), E::VPP_ERR_PARAM) << "memory below the frame size";
    // Without a declared length only the mapping's bound stands between a buffer one byte short
    // and the converter.
    VppBuffer undeclaredShort = small.Buffer(1);
    undeclaredShort.allocLen = 0;
    undeclaredShort.bufferLen = 0;
    EXPECT_EQ(Queue(0, undeclaredShort), E::VPP_ERR_PARAM) << "one byte short, undeclared";
    VppBuffer declaredTooShort = exact.Buffer(1);
    declaredTooShort.allocLen = static_cast<int32_t>(frameSize) - 2;
    EXPECT_EQ(Queue(0, declaredTooShort), E::VPP_ERR_PARAM);
    VppBuffer pastTheEnd = exact.Buffer(1);
    pastTheEnd.offset = 8;
    pastTheEnd.allocLen = 0;
    pastTheEnd.bufferLen = 0;
    EXPECT_EQ(Queue(1, pastTheEnd), E::VPP_ERR_PARAM) << "offset leaves too little memory";
    VppBuffer noMemory;
    noMemory.cookie = 7;
    EXPECT_EQ(Queue(0, noMemory), E::VPP_ERR_PARAM) << "no descriptor, no end of stream";
    EXPECT_EQ(Queue(1, EndMarker(7)), E::VPP_ERR_PARAM) << "outputs always need memory";

    // Per-port limit on held buffers.
    ASSERT_EQ(Call([&](E* e) { return session_->setMaxQueuedBuffers(1, 1, e); }), E::VPP_OK);
    EXPECT_EQ(Queue(1, exact.Buffer(10)), E::VPP_OK);
    EXPECT_EQ(Queue(1, exact.Buffer(11)), E::VPP_ERR_RESOURCES);

    // Nothing refused was kept: only the accepted buffer comes back at close.
    ASSERT_EQ(Call([&](E* e) { return session_->close(e); }), E::VPP_OK);
    const auto events = callbacks_->Events();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].kind, Event::kOutput);
    EXPECT_EQ(events[0].cookie, 10);
}

// A buffer the session gave back no longer counts against its port's limit: with room for one
// buffer a port, frame after frame goes through.
TEST_P(StateTest, ReturnedBuffersFreeTheirPlace) {
    const size_t frameSize = 64 * 32 * 3 / 2;
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(64, 32), Ctrl(0, 0)));
    ASSERT_EQ(Call([&](E* e) { return session_->setMaxQueuedBuffers(0, 1, e); }), E::VPP_OK);
    ASSERT_EQ(Call([&](E* e) { return session_->setMaxQueuedBuffers(1, 1, e); }), E::VPP_OK);
    SharedFrame input(frameSize);
    SharedFrame output(frameSize);
    for (size_t round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        ASSERT_EQ(Queue(1, output.Buffer(100)), E::VPP_OK);
        ASSERT_EQ(Queue(0, input.Buffer(1, static_cast<int64_t>(round) * 1000)), E::VPP_OK);
        ASSERT_TRUE(callbacks_->WaitForCount(Event::kInput, round + 1));
        ASSERT_TRUE(callbacks_->WaitForCount(Event::kOutput, round + 1));
    }
}

TEST_P(StateTest, LoggingIsQuietUntilAsked) {
    if (!Embedded()) GTEST_SKIP() << "vppd logs to its own stderr";
    ASSERT_EQ(Init(), E::VPP_OK);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(Call([&](E* e) { return session_->setParameter(0, Param(63, 32), e); }),
              E::VPP_ERR_PARAM);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");

    ASSERT_EQ(Call([&](E* e) { return session_->setName("cam0", e); }), E::VPP_OK);
    ASSERT_EQ(Call([&](E* e) { return session_->setDebugFlags(1, e); }), E::VPP_OK);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(Call([&](E* e) { return session_->setParameter(0, Param(63, 32), e); }),
              E::VPP_ERR_PARAM);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "vppservice[cam0]: port 0: parameters 63x32 stride 63 scanlines 32 format 3 "
              "refused\n");
}

INSTANTIATE_TEST_SUITE_P(Transports, StateTest,
                         ::testing::Values(Transport::kEmbedded, Transport::kProcess),
                         TransportName);

}  // namespace
}  // namespace svctest
