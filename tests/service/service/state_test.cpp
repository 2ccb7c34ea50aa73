// Session state machine and argument checks: which call is refused when, and with which error.
#include "service_test_util.h"

namespace svctest {
namespace {

constexpr size_t kFrameSize = 64 * 32 * 3 / 2;

class StateTest : public ServiceTest {};

TEST_P(StateTest, LifecycleStatesAndOutOfOrderCalls) {
    SharedFrame frame(kFrameSize);
    const VppPortParam param = Param(64, 32);
    EXPECT_EQ(State(), 0);
    // Before init.
    for (E e : {Call(&S::setParameter, 0, param), Call(&S::open), Queue(0, frame.Buffer(1))}) {
        EXPECT_EQ(e, E::VPP_ERR_STATE);
    }
    ASSERT_EQ(Call(&S::init, 0, callbacks_), E::VPP_OK);
    EXPECT_EQ(State(), 1);
    // Initialised, not open.
    for (E e : {Call(&S::init, 0, callbacks_), Queue(0, frame.Buffer(1)), Call(&S::flush, 0),
                Call(&S::close)}) {
        EXPECT_EQ(e, E::VPP_ERR_STATE);
    }
    ASSERT_EQ(Call(&S::setParameter, 0, param), E::VPP_OK);
    EXPECT_EQ(Call(&S::open), E::VPP_ERR_STATE) << "only the input port set";
    ASSERT_EQ(Call(&S::setParameter, 1, param), E::VPP_OK);
    ASSERT_EQ(Call(&S::open), E::VPP_OK);
    EXPECT_EQ(State(), 2);
    for (E e : {Call(&S::open), Call(&S::setParameter, 0, param)}) EXPECT_EQ(e, E::VPP_ERR_STATE);
    // Controls (and reconfiguration, see the conversion tests) are what an open session accepts.
    EXPECT_EQ(Call(&S::setCtrlFrc, Ctrl(2, 2)), E::VPP_OK);

    ASSERT_EQ(Call(&S::close), E::VPP_OK);
    EXPECT_EQ(State(), 3);
    for (E e : {Queue(0, frame.Buffer(1)), Call(&S::close)}) EXPECT_EQ(e, E::VPP_ERR_STATE);

    ASSERT_TRUE(session_->term().isOk());
    EXPECT_EQ(State(), 4);
    VppStats stats;
    for (E e : {Call(&S::ping), Call(&S::init, 0, callbacks_), Call(&S::setCtrlFrc, Ctrl(1, 2)),
                Call(&S::getStats, &stats)}) {
        EXPECT_EQ(e, E::VPP_ERR_STATE) << "after term";
    }
    EXPECT_TRUE(session_->term().isOk()) << "a second term is harmless";
    EXPECT_TRUE(!Embedded() || handle_->liveSessionCount() == 0u);
}

TEST_P(StateTest, PortParametersAreChecked) {
    ASSERT_EQ(Call(&S::init, 0, callbacks_), E::VPP_OK);
    const struct {
        int32_t port;
        VppPortParam param;
        E expected;
    } cases[] = {
        {2, Param(64, 32), E::VPP_ERR_PARAM},
        {-1, Param(64, 32), E::VPP_ERR_PARAM},
        {0, Param(63, 32), E::VPP_ERR_PARAM},
        {0, Param(64, 31), E::VPP_ERR_PARAM},
        {0, Param(0, 32), E::VPP_ERR_PARAM},
        {0, Param(-64, 32), E::VPP_ERR_PARAM},
        {0, Param(64, 32, 3, 62), E::VPP_ERR_PARAM},      // stride below width
        {0, Param(64, 32, 3, 64, 30), E::VPP_ERR_PARAM},  // scanlines below height
        {0, Param(65536, 65536), E::VPP_ERR_PARAM},       // beyond 32-bit lengths
        {0, Param(64, 32, 1), E::VPP_ERR_INVALID_CFG},
        {0, Param(64, 32, 5), E::VPP_ERR_INVALID_CFG},
        {0, Param(64, 32, 2, 96, 40), E::VPP_OK},
        {0, Param(64, 32, 4, 96, 40), E::VPP_OK},
        {0, Param(64, 32, 3, 64, 32), E::VPP_OK},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Call(&S::setParameter, c.port, c.param), c.expected)
            << c.port << ": " << c.param.width << "x" << c.param.height << " stride "
            << c.param.stride << " scanlines " << c.param.scanlines << " format "
            << c.param.colorFormat;
    }
    // Ports that disagree are refused when the session opens; only the strides may differ.
    const VppPortParam outputs[] = {Param(64, 34), Param(34, 32), Param(64, 32, 4),
                                    Param(64, 32, 3, 128, 48)};
    for (const VppPortParam& out : outputs) {
        ASSERT_EQ(Call(&S::setParameter, 0, Param(64, 32)), E::VPP_OK);
        ASSERT_EQ(Call(&S::setParameter, 1, out), E::VPP_OK);
        EXPECT_EQ(Call(&S::open), out.stride == 128 ? E::VPP_OK : E::VPP_ERR_INVALID_CFG)
            << out.width << "x" << out.height;
    }
    EXPECT_EQ(Call(&S::reconfigure, Param(64, 32), Param(32, 32)), E::VPP_ERR_INVALID_CFG);
    EXPECT_EQ(Call(&S::reconfigure, Param(63, 32), Param(63, 32)), E::VPP_ERR_PARAM);
}

TEST_P(StateTest, ControlsAndSettingsAreChecked) {
    ASSERT_EQ(Call(&S::init, 0, callbacks_), E::VPP_OK);
    auto ratio = [](int32_t mode, int32_t num, int32_t den) {
        VppCtrlFrc c = Ctrl(mode, 0);
        c.rateNum = num;
        c.rateDen = den;
        return c;
    };
    // A rate ratio replaces the factor: checked in lowest terms (even when off), kept as sent.
    const struct {
        VppCtrlFrc ctrl;
        E expected;
    } cases[] = {
        {Ctrl(4, 2), E::VPP_ERR_PARAM},       {Ctrl(-1, 2), E::VPP_ERR_PARAM},
        {Ctrl(2, 1), E::VPP_ERR_PARAM},       {Ctrl(1, 9), E::VPP_ERR_PARAM},
        {Ctrl(3, 4, -1), E::VPP_ERR_PARAM},   {Ctrl(0, 0), E::VPP_OK},
        {ratio(2, 5, 0), E::VPP_ERR_PARAM},   {ratio(2, 1, 2), E::VPP_ERR_PARAM},
        {ratio(2, 90, 10), E::VPP_ERR_PARAM}, {ratio(0, 70000, 69999), E::VPP_ERR_PARAM},
        {Ctrl(3, 8, 16), E::VPP_OK},          {ratio(3, 60000, 24024), E::VPP_OK},
    };
    VppCtrlFrc ctrl;
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.ctrl.mode << " " << c.ctrl.factor << " "
                                        << c.ctrl.rateNum << "/" << c.ctrl.rateDen);
        EXPECT_EQ(Call(&S::setCtrlFrc, c.ctrl), c.expected);
        if (c.expected != E::VPP_OK) continue;
        ASSERT_EQ(Call(&S::getCtrlFrc, &ctrl), E::VPP_OK);
        EXPECT_EQ(ctrl, c.ctrl);
    }

    EXPECT_EQ(Call(&S::setMode, 3), E::VPP_ERR_PARAM);
    EXPECT_EQ(Call(&S::setMode, 1), E::VPP_OK);
    int32_t mode = -1;
    EXPECT_TRUE(Call(&S::getMode, &mode) == E::VPP_OK && mode == 1);

    VppBufferRequirements req;
    EXPECT_EQ(Call(&S::getBufferRequirements, 0, &req), E::VPP_ERR_STATE) << "no parameters yet";
    ASSERT_EQ(Call(&S::setParameter, 0, Param(64, 32, 3, 80, 40)), E::VPP_OK);
    ASSERT_EQ(Call(&S::getBufferRequirements, 0, &req), E::VPP_OK);
    EXPECT_EQ(req.bufferSize, 80 * 40 + 80 * 16);
    EXPECT_EQ(req.minBufferCount, 2) << "conversion needs a pair of inputs";
}

TEST_P(StateTest, QueuedBuffersAreChecked) {
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(64, 32), Ctrl(0, 0)));
    SharedFrame small(kFrameSize - 1), exact(kFrameSize), input(kFrameSize);
    auto with = [](VppBuffer b, int32_t offset, int32_t allocLen) {
        b.offset = offset;
        b.allocLen = allocLen;
        b.bufferLen = 0;
        return b;
    };
    // Without a declared length only the mapping's bound stands between a buffer one byte short
    // and the converter.
    const struct {
        int32_t port;
        VppBuffer buffer;
        const char* what;
    } refused[] = {
        {2, exact.Buffer(1), "no such port"},
        {0, small.Buffer(1), "memory below the frame size"},
        {0, with(small.Buffer(1), 0, 0), "one byte short, undeclared"},
        {0, with(exact.Buffer(1), 0, kFrameSize - 2), "declared too short"},
        {1, with(exact.Buffer(1), 8, 0), "offset leaves too little memory"},
        {0, VppBuffer(), "no descriptor, no end of stream"},
        {1, EndMarker(7), "outputs always need memory"},
    };
    for (const auto& c : refused) EXPECT_EQ(Queue(c.port, c.buffer), E::VPP_ERR_PARAM) << c.what;

    // A limit of one held buffer a port: a buffer the session gave back frees its place, so
    // frame after frame goes through; a second one held at once is refused.
    ASSERT_EQ(Call(&S::setMaxQueuedBuffers, 0, 1), E::VPP_OK);
    ASSERT_EQ(Call(&S::setMaxQueuedBuffers, 1, 1), E::VPP_OK);
    for (size_t round = 1; round <= 3; ++round) {
        ASSERT_EQ(Queue(1, exact.Buffer(100)), E::VPP_OK) << round;
        ASSERT_EQ(Queue(0, input.Buffer(1, static_cast<int64_t>(round) * 1000)), E::VPP_OK);
        ASSERT_TRUE(callbacks_->WaitFor(Event::kInput, round));
        ASSERT_TRUE(callbacks_->WaitFor(Event::kOutput, round));
    }
    EXPECT_EQ(Queue(1, exact.Buffer(10)), E::VPP_OK);
    EXPECT_EQ(Queue(1, exact.Buffer(11)), E::VPP_ERR_RESOURCES);

    // Nothing refused was kept: only the accepted buffers came back, and the last at close.
    ASSERT_EQ(Call(&S::close), E::VPP_OK);
    const auto events = callbacks_->Events();
    ASSERT_EQ(events.size(), 7u);
    EXPECT_TRUE(events[6].kind == Event::kOutput && events[6].cookie == 10);
}

TEST_P(StateTest, LoggingIsQuietUntilAsked) {
    if (!Embedded()) GTEST_SKIP() << "vppd logs to its own stderr";
    ASSERT_EQ(Call(&S::init, 0, callbacks_), E::VPP_OK);
    for (bool debug : {false, true}) {
        if (debug) {
            ASSERT_EQ(Call(&S::setName, "cam0"), E::VPP_OK);
            ASSERT_EQ(Call(&S::setDebugFlags, 1), E::VPP_OK);
        }
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(Call(&S::setParameter, 0, Param(63, 32)), E::VPP_ERR_PARAM);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(),
                  debug ? "vppservice[cam0]: port 0: parameters 63x32 stride 63 scanlines 32 "
                          "format 3 refused\n"
                        : "");
    }
}

ON_BOTH_TRANSPORTS(StateTest);

}  // namespace
}  // namespace svctest
