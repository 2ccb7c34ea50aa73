// The interface layer on the VPP stubs: fromBinder/asBinder identity and lifetime, versions,
// the default implementation and SharedRefBase ownership.
#include <aidl/vendor/zux/hardware/vpp/BnVppCallbacks.h>
#include <aidl/vendor/zux/hardware/vpp/BnVppService.h>
#include <aidl/vendor/zux/hardware/vpp/BnVppSession.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <syslog.h>

#include <memory>
#include <string>
#include <tuple>

#include "mock_vpp.h"

namespace vpp_aidl_test {
namespace {

using namespace ::aidl::vendor::zux::hardware::vpp;
using ::testing::_;
using ::testing::DoAll;
using ::testing::Field;
using ::testing::Return;
using ::testing::SetArgPointee;

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

}  // namespace
}  // namespace vpp_aidl_test
