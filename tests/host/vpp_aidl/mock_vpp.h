// GoogleMock implementations of the session and callbacks stubs.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/BnVppCallbacks.h>
#include <aidl/vendor/zux/hardware/vpp/BnVppSession.h>
#include <gmock/gmock.h>

namespace vpp_aidl_test {

using ::aidl::vendor::zux::hardware::vpp::BnVppCallbacks;
using ::aidl::vendor::zux::hardware::vpp::BnVppSession;
using ::aidl::vendor::zux::hardware::vpp::FlushDone;
using ::aidl::vendor::zux::hardware::vpp::IVppCallbacks;
using ::aidl::vendor::zux::hardware::vpp::ReconfigDone;
using ::aidl::vendor::zux::hardware::vpp::VppBuffer;
using ::aidl::vendor::zux::hardware::vpp::VppBufferRequirements;
using ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc;
using ::aidl::vendor::zux::hardware::vpp::VppError;
using ::aidl::vendor::zux::hardware::vpp::VppPortParam;
using ::aidl::vendor::zux::hardware::vpp::VppStats;
using Status = ::ndk::ScopedAStatus;

class MockCallbacks : public BnVppCallbacks {
  public:
    MOCK_METHOD(Status, eventDrainDone, (VppError*), (override));
    MOCK_METHOD(Status, eventError, (VppError, VppError*), (override));
    MOCK_METHOD(Status, eventFlushDone, (const FlushDone&, VppError*), (override));
    MOCK_METHOD(Status, eventReconfigDone, (const ReconfigDone&, VppError*), (override));
    MOCK_METHOD(Status, inputBufferDone, (const VppBuffer&, VppError*), (override));
    MOCK_METHOD(Status, outputBufferDone, (const VppBuffer&, VppError*), (override));
};

class MockSession : public BnVppSession {
  public:
    MOCK_METHOD(Status, close, (VppError*), (override));
    MOCK_METHOD(Status, drain, (VppError*), (override));
    MOCK_METHOD(Status, flush, (int32_t, VppError*), (override));
    MOCK_METHOD(Status, getBufferRequirements, (int32_t, VppBufferRequirements*, VppError*),
                (override));
    MOCK_METHOD(Status, init, (int32_t, const std::shared_ptr<IVppCallbacks>&, VppError*),
                (override));
    MOCK_METHOD(Status, open, (VppError*), (override));
    MOCK_METHOD(Status, queueBuf, (int32_t, const VppBuffer&, VppError*), (override));
    MOCK_METHOD(Status, getCtrlFrc, (VppCtrlFrc*, VppError*), (override));
    MOCK_METHOD(Status, getMode, (int32_t*, VppError*), (override));
    MOCK_METHOD(Status, getParameter, (int32_t, VppPortParam*, VppError*), (override));
    MOCK_METHOD(Status, getState, (int32_t*, VppError*), (override));
    MOCK_METHOD(Status, getStats, (VppStats*, VppError*), (override));
    MOCK_METHOD(Status, reconfigure, (const VppPortParam&, const VppPortParam&, VppError*),
                (override));
    MOCK_METHOD(Status, resetStats, (VppError*), (override));
    MOCK_METHOD(Status, setCtrlFrc, (const VppCtrlFrc&, VppError*), (override));
    MOCK_METHOD(Status, setDebugFlags, (int32_t, VppError*), (override));
    MOCK_METHOD(Status, setFrameRate, (int32_t, int32_t, VppError*), (override));
    MOCK_METHOD(Status, setMaxQueuedBuffers, (int32_t, int32_t, VppError*), (override));
    MOCK_METHOD(Status, setName, (const std::string&, VppError*), (override));
    MOCK_METHOD(Status, setMode, (int32_t, VppError*), (override));
    MOCK_METHOD(Status, setParameter, (int32_t, const VppPortParam&, VppError*), (override));
    MOCK_METHOD(Status, setPriority, (int32_t, VppError*), (override));
    MOCK_METHOD(Status, setTimestampMode, (int32_t, VppError*), (override));
    MOCK_METHOD(Status, setPassThrough, (int32_t, VppError*), (override));
    MOCK_METHOD(Status, ping, (VppError*), (override));
    MOCK_METHOD(Status, term, (), (override));
};

}  // namespace vpp_aidl_test
