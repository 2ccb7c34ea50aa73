// The interface layer on the VPP stubs: fromBinder/asBinder identity and lifetime, versions, the
// default implementation, proxies into local stubs within one process (statuses, refused
// arguments, cached version), and the parcelables' size-prefixed encoding.
#include <aidl/vendor/zux/hardware/vpp/BnVppCallbacks.h>
#include <aidl/vendor/zux/hardware/vpp/BnVppService.h>
#include <aidl/vendor/zux/hardware/vpp/BnVppSession.h>
#include <aidl/vendor/zux/hardware/vpp/BpVppSession.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <syslog.h>

#include <climits>
#include <memory>
#include <string>
#include <tuple>

#include "descriptors.h"

namespace vpp_aidl_test {
namespace {

using namespace ::aidl::vendor::zux::hardware::vpp;
using ::testing::_;
using ::testing::ByMove;
using ::testing::DoAll;
using ::testing::Field;
using ::testing::Return;
using ::testing::SaveArg;
using ::testing::SetArgPointee;
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

// A service whose sessions are default implementations; enough to hand out an interface.
class FakeService : public BnVppService {
  public:
    Status getNewVppSession(int32_t, std::shared_ptr<IVppSession>* _aidl_return) override {
        *_aidl_return = ::ndk::SharedRefBase::make<IVppSessionDefault>();
        return Status::ok();
    }
};

TEST(BinderIdentity, FromBinderOnALocalStubIsTheImplementation) {
    auto callbacks = ::ndk::SharedRefBase::make<MockCallbacks>();
    ::ndk::SpAIBinder binder = callbacks->asBinder();
    EXPECT_EQ(callbacks->asBinder().get(), binder.get()) << "one binder per live object";
    EXPECT_FALSE(callbacks->isRemote());
    std::shared_ptr<IVppCallbacks> found = IVppCallbacks::fromBinder(binder);
    EXPECT_EQ(found.get(), callbacks.get());

    // Calls through the interface reach the implementation directly.
    EXPECT_CALL(*callbacks, eventFlushDone(Field(&FlushDone::port, 1), _))
        .WillOnce(DoAll(SetArgPointee<1>(VppError::VPP_OK), Return(Status::ok())));
    FlushDone done;
    done.port = 1;
    VppError result = VppError::VPP_ERR;
    EXPECT_TRUE(found->eventFlushDone(done, &result).isOk() && result == VppError::VPP_OK);

    auto service = ::ndk::SharedRefBase::make<FakeService>();
    EXPECT_EQ(IVppService::fromBinder(service->asBinder()).get(), service.get());
    EXPECT_EQ(IVppCallbacks::fromBinder(service->asBinder()), nullptr);
    EXPECT_EQ(IVppSession::fromBinder(service->asBinder()), nullptr);
    EXPECT_EQ(IVppService::fromBinder(::ndk::SpAIBinder()), nullptr);
    EXPECT_EQ(BnVppService::makeServiceName("default"),
              "vendor.zux.hardware.vpp.IVppService/default");
}

// The binder keeps its implementation alive and lets go of it with the last reference; a later
// asBinder makes a binder of a new identity.
TEST(BinderIdentity, BinderOwnsItsImplementationAndIsRemadeAfterItsLastHolder) {
    auto service = ::ndk::SharedRefBase::make<FakeService>();
    std::weak_ptr<FakeService> watch = service;
    ::ndk::SpAIBinder binder = service->asBinder();
    ::ndk::ScopedAIBinder_Weak weak(AIBinder_Weak_new(binder.get()));
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), 1);
    binder = ::ndk::SpAIBinder();
    EXPECT_EQ(weak.promote().get(), nullptr);
    binder = service->asBinder();
    ::ndk::ScopedAIBinder_Weak fresh(AIBinder_Weak_new(binder.get()));
    EXPECT_TRUE(AIBinder_Weak_lt(weak.get(), fresh.get()));

    service.reset();
    ASSERT_FALSE(watch.expired());
    std::shared_ptr<IVppSession> session;
    EXPECT_TRUE(IVppService::fromBinder(binder)->getNewVppSession(0, &session).isOk());
    ASSERT_NE(session, nullptr);
    binder = ::ndk::SpAIBinder();
    EXPECT_TRUE(watch.expired());
}

TEST(BinderIdentity, DestroyingADoubleOwnedObjectAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            openlog("vpp_aidl_tests", LOG_PERROR, LOG_USER);
            auto service = ::ndk::SharedRefBase::make<FakeService>();
            delete service.get();
        },
        "double-owned");
}

TEST(BinderIdentity, VersionsHashesAndDefaultImplementation) {
    auto callbacks = ::ndk::SharedRefBase::make<MockCallbacks>();
    int32_t version = 0;
    std::string hash;
    EXPECT_TRUE(callbacks->getInterfaceVersion(&version).isOk() &&
                callbacks->getInterfaceHash(&hash).isOk());
    EXPECT_EQ(std::tie(version, hash), std::tie(IVppCallbacks::version, IVppCallbacks::hash));

    // The default implementation answers every method STATUS_UNKNOWN_TRANSACTION.
    auto session = ::ndk::SharedRefBase::make<IVppSessionDefault>();
    VppError result = VppError::VPP_OK;
    EXPECT_EQ(session->queueBuf(0, VppBuffer(), &result).getStatus(), STATUS_UNKNOWN_TRANSACTION);
    EXPECT_EQ(session->term().getStatus(), STATUS_UNKNOWN_TRANSACTION);
    EXPECT_TRUE(session->getInterfaceVersion(&version).isOk() &&
                session->getInterfaceHash(&hash).isOk());
    EXPECT_EQ(std::make_tuple(version, hash), std::make_tuple(0, std::string()));
    EXPECT_EQ(session->asBinder().get(), nullptr);
}

class ProxyTest : public ::testing::Test {
  protected:
    void TearDown() override {
        closelog();  // refused descriptors are logged; syslog keeps its socket open until closelog
        proxy_.reset();
        session_.reset();
        EXPECT_EQ(testsupport::OpenDescriptorCount(), descriptorsBefore_) << "descriptors leaked";
    }

    const int descriptorsBefore_ = testsupport::OpenDescriptorCount();
    std::shared_ptr<MockSession> session_ = ::ndk::SharedRefBase::make<MockSession>();
    std::shared_ptr<BpVppSession> proxy_ =
        ::ndk::SharedRefBase::make<BpVppSession>(session_->asBinder());
};

// A failed call brings its status back, and neither the result nor the out parameters change.
TEST_F(ProxyTest, ErrorsComeBackWithoutResults) {
    EXPECT_CALL(*session_, getStats(_, _))
        .WillOnce(Return(ByMove(Status::fromServiceSpecificErrorWithMessage(7, "busy"))));
    EXPECT_CALL(*session_, ping(_))
        .WillOnce(Return(ByMove(Status::fromExceptionCodeWithMessage(EX_ILLEGAL_STATE, "why"))));
    // A transport status travels as the stub's return value.
    EXPECT_CALL(*session_, getMode(_, _))
        .WillOnce(Return(ByMove(Status::fromStatus(STATUS_NO_INIT))));
    VppStats stats;
    stats.fallbackFrames = 99;
    VppError result = VppError::VPP_ERR_HW;
    EXPECT_EQ(proxy_->getStats(&stats, &result).getDescription(),
              "Status(-8, EX_SERVICE_SPECIFIC): '7: busy'");
    EXPECT_EQ(proxy_->ping(&result).getDescription(), "Status(-5, EX_ILLEGAL_STATE): 'why'");
    int32_t mode = 5;
    EXPECT_EQ(proxy_->getMode(&mode, &result).getStatus(), STATUS_NO_INIT);
    EXPECT_EQ(std::make_tuple(stats.fallbackFrames, result, mode),
              std::make_tuple(int64_t{99}, VppError::VPP_ERR_HW, 5));
}

// An empty descriptor slot cannot be sent: the call fails before reaching the session.
TEST_F(ProxyTest, EmptyDescriptorSlotIsRefused) {
    EXPECT_CALL(*session_, queueBuf(_, _, _)).Times(0);
    VppBuffer buffer;
    buffer.bufferHandle.fds.emplace_back(-1);
    VppError result = VppError::VPP_ERR;
    EXPECT_EQ(proxy_->queueBuf(1, buffer, &result).getStatus(), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(result, VppError::VPP_ERR);
}

// An interface passed as an argument comes home as the very same local object; the version and
// hash are asked once, then cached.
TEST_F(ProxyTest, CallbacksArriveAsTheSameObjectAndTheVersionIsCached) {
    auto callbacks = ::ndk::SharedRefBase::make<MockCallbacks>();
    std::shared_ptr<IVppCallbacks> received;
    EXPECT_CALL(*session_, init(0, _, _))
        .WillOnce(DoAll(SaveArg<1>(&received), Return(ByMove(Status::ok()))));
    VppError result;
    EXPECT_TRUE(proxy_->init(0, callbacks, &result).isOk());
    EXPECT_EQ(received.get(), callbacks.get());

    int32_t version = 0;
    std::string hash;
    ASSERT_TRUE(proxy_->getInterfaceVersion(&version).isOk());
    ASSERT_TRUE(proxy_->getInterfaceHash(&hash).isOk());
    EXPECT_EQ(
        std::tie(version, hash, proxy_->_aidl_cached_version, proxy_->_aidl_cached_hash),
        std::tie(IVppSession::version, IVppSession::hash, IVppSession::version, IVppSession::hash));
}

// Parcelable encoding: an int32 size prefix that counts itself, then the fields in order.
class ParcelableEncodingTest : public ::testing::Test {
  protected:
    void TearDown() override { AParcel_delete(parcel_); }
    int32_t readInt() {
        int32_t value = 0;
        EXPECT_EQ(AParcel_readInt32(parcel_, &value), STATUS_OK);
        return value;
    }
    void rewind(int32_t position = 0) {
        ASSERT_EQ(AParcel_setDataPosition(parcel_, position), STATUS_OK);
    }
    AParcel* parcel_ = AParcel_create();
};

TEST_F(ParcelableEncodingTest, SizePrefixThenFieldsInOrder) {
    FlushDone done;
    done.port = 1;
    ASSERT_EQ(done.writeToParcel(parcel_), STATUS_OK);
    rewind();
    EXPECT_EQ(readInt(), 8);
    EXPECT_EQ(readInt(), 1);

    ReconfigDone reconfig;
    reconfig.status = VppError::VPP_ERR_PARAM;
    reconfig.outputParam.height = 720;
    reconfig.outputParam.width = 1280;
    rewind();
    ReconfigDone back;
    ASSERT_EQ(reconfig.writeToParcel(parcel_), STATUS_OK);
    rewind();
    ASSERT_EQ(back.readFromParcel(parcel_), STATUS_OK);
    EXPECT_EQ(back, reconfig) << back.toString();
}

// What an older peer sends (fewer fields) leaves defaults; what a newer one sends (more fields)
// is skipped, and reading continues after it. Sizes too small or too large are refused.
TEST_F(ParcelableEncodingTest, OlderNewerAndMalformedPeers) {
    for (int32_t value : {12, 720, 1280,            // size: itself, height, width
                          16, 1, 111, 222,          // FlushDone with two unknown fields
                          0x7e57, 3, INT32_MAX}) {  // what follows; two bad sizes
        AParcel_writeInt32(parcel_, value);
    }
    rewind();
    VppPortParam param;
    param.stride = 5;  // not sent: keeps the value it had
    ASSERT_EQ(param.readFromParcel(parcel_), STATUS_OK);
    EXPECT_EQ(param.height, 720);
    EXPECT_EQ(param.width, 1280);
    EXPECT_EQ(param.stride, 5);
    EXPECT_EQ(AParcel_getDataPosition(parcel_), 12);
    FlushDone done;
    ASSERT_EQ(done.readFromParcel(parcel_), STATUS_OK);
    EXPECT_EQ(done.port, 1);
    EXPECT_EQ(readInt(), 0x7e57);
    EXPECT_EQ(done.readFromParcel(parcel_), STATUS_BAD_VALUE);
    rewind(36);  // a size that would run past the largest position
    EXPECT_EQ(done.readFromParcel(parcel_), STATUS_BAD_VALUE);
}

}  // namespace
}  // namespace vpp_aidl_test
