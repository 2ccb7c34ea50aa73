// Calls through proxies into local stubs across parcels, and the parcelables' wire encoding.
#include <aidl/vendor/zux/hardware/vpp/BnVppService.h>
#include <aidl/vendor/zux/hardware/vpp/BpVppService.h>
#include <aidl/vendor/zux/hardware/vpp/BpVppSession.h>
#include <aidl/vendor/zux/hardware/vpp/FlushDone.h>
#include <aidl/vendor/zux/hardware/vpp/VppPortParam.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "descriptors.h"
#include "mock_vpp.h"

namespace vpp_aidl_test {
namespace {

using ::aidl::vendor::zux::hardware::vpp::BnVppService;
using ::aidl::vendor::zux::hardware::vpp::BpVppService;
using ::aidl::vendor::zux::hardware::vpp::BpVppSession;
using ::aidl::vendor::zux::hardware::vpp::IVppService;
using ::aidl::vendor::zux::hardware::vpp::IVppSession;
using ::aidl::vendor::zux::hardware::vpp::VppBufferMetadata;
using ::testing::_;
using ::testing::ByMove;
using ::testing::DoAll;
using ::testing::Invoke;
using ::testing::Return;
using ::testing::SetArgPointee;

Status ok() {
    return Status::ok();
}

ino_t inodeOf(int fd) {
    struct stat st {};
    return fstat(fd, &st) == 0 ? st.st_ino : 0;
}

class ProxyTest : public ::testing::Test {
  protected:
    void SetUp() override {
        descriptorsBefore_ = testsupport::OpenDescriptorCount();
        session_ = ::ndk::SharedRefBase::make<MockSession>();
        proxy_ = ::ndk::SharedRefBase::make<BpVppSession>(session_->asBinder());
    }
    void TearDown() override {
        closelog();  // refused descriptors are logged; syslog keeps its socket open until closelog
        proxy_.reset();
        session_.reset();
        EXPECT_EQ(testsupport::OpenDescriptorCount(), descriptorsBefore_) << "descriptors leaked";
    }

    std::shared_ptr<MockSession> session_;
    std::shared_ptr<BpVppSession> proxy_;

  private:
    int descriptorsBefore_ = 0;
};

TEST_F(ProxyTest, ArgumentsAndResultsCrossTheParcel) {
    VppPortParam param;
    param.height = 1080;
    param.width = 1920;
    param.stride = 2048;
    param.scanlines = 1088;
    param.colorFormat = 3;
    EXPECT_CALL(*session_, setParameter(1, param, _))
        .WillOnce(DoAll(SetArgPointee<2>(VppError::VPP_OK), Return(ByMove(ok()))));
    EXPECT_CALL(*session_, getParameter(0, _, _))
        .WillOnce(DoAll(SetArgPointee<1>(param), SetArgPointee<2>(VppError::VPP_ERR_STATE),
                        Return(ByMove(ok()))));
    EXPECT_CALL(*session_, setName("frc session", _)).WillOnce(Return(ByMove(ok())));
    EXPECT_CALL(*session_, setFrameRate(30000, 1001, _)).WillOnce(Return(ByMove(ok())));
    EXPECT_CALL(*session_, getMode(_, _))
        .WillOnce(DoAll(SetArgPointee<0>(2), SetArgPointee<1>(VppError::VPP_PENDING),
                        Return(ByMove(ok()))));
    EXPECT_CALL(*session_, term()).WillOnce(Return(ByMove(ok())));

    VppError result = VppError::VPP_ERR;
    ASSERT_TRUE(proxy_->setParameter(1, param, &result).isOk());
    EXPECT_EQ(result, VppError::VPP_OK);
    VppPortParam read;
    ASSERT_TRUE(proxy_->getParameter(0, &read, &result).isOk());
    EXPECT_EQ(read, param);
    EXPECT_EQ(result, VppError::VPP_ERR_STATE);
    EXPECT_TRUE(proxy_->setName("frc session", &result).isOk());
    EXPECT_TRUE(proxy_->setFrameRate(30000, 1001, &result).isOk());
    int32_t mode = -1;
    EXPECT_TRUE(proxy_->getMode(&mode, &result).isOk());
    EXPECT_EQ(mode, 2);
    EXPECT_EQ(result, VppError::VPP_PENDING);
    EXPECT_TRUE(proxy_->term().isOk());
}

// A failed call brings its status back, and neither the result nor the out parameters change.
TEST_F(ProxyTest, ErrorsComeBackWithoutResults) {
    EXPECT_CALL(*session_, getStats(_, _))
        .WillOnce(Return(ByMove(Status::fromServiceSpecificErrorWithMessage(7, "busy"))));
    EXPECT_CALL(*session_, ping(_))
        .WillOnce(Return(ByMove(Status::fromExceptionCode(EX_ILLEGAL_STATE))));
    VppStats stats;
    stats.fallbackFrames = 99;
    VppError result = VppError::VPP_ERR_HW;
    Status status = proxy_->getStats(&stats, &result);
    EXPECT_EQ(status.getServiceSpecificError(), 7);
    EXPECT_STREQ(status.getMessage(), "busy");
    EXPECT_EQ(stats.fallbackFrames, 99);
    EXPECT_EQ(result, VppError::VPP_ERR_HW);
    EXPECT_EQ(proxy_->ping(&result).getExceptionCode(), EX_ILLEGAL_STATE);
}

TEST_F(ProxyTest, BufferDescriptorsArriveAsDuplicates) {
    int pipeFds[2];
    ASSERT_EQ(pipe2(pipeFds, O_CLOEXEC), 0);
    VppBuffer buffer;
    buffer.bufferHandle.fds.emplace_back(pipeFds[0]);
    buffer.bufferHandle.ints = {4096, 1};
    buffer.extraHandle.fds.emplace_back(pipeFds[1]);
    buffer.extraHandle.ints = {0};
    VppBufferMetadata metadata;
    metadata.key = "crop";
    metadata.handle.ints = {8};
    metadata.value = 12;
    buffer.metadata.push_back(std::move(metadata));
    buffer.filledLen = 3110400;
    buffer.flags = 1;
    buffer.timestamp = -5;
    buffer.cookie = 0x1234567890LL;

    EXPECT_CALL(*session_, queueBuf(0, _, _))
        .WillOnce(Invoke([&](int32_t, const VppBuffer& received, VppError* result) {
            EXPECT_NE(received.bufferHandle.fds[0].get(), pipeFds[0]);
            EXPECT_EQ(inodeOf(received.bufferHandle.fds[0].get()), inodeOf(pipeFds[0]));
            EXPECT_EQ(inodeOf(received.extraHandle.fds[0].get()), inodeOf(pipeFds[1]));
            EXPECT_EQ(received.bufferHandle.ints, buffer.bufferHandle.ints);
            EXPECT_EQ(received.metadata.size(), 1u);
            EXPECT_EQ(received.metadata[0].key, "crop");
            EXPECT_EQ(received.cookie, buffer.cookie);
            EXPECT_EQ(received.timestamp, -5);
            *result = VppError::VPP_OK;
            return ok();
        }));
    VppError result = VppError::VPP_ERR;
    EXPECT_TRUE(proxy_->queueBuf(0, buffer, &result).isOk());
    EXPECT_EQ(result, VppError::VPP_OK);
    // The caller's descriptors are still its own.
    EXPECT_EQ(buffer.bufferHandle.fds[0].get(), pipeFds[0]);
    EXPECT_NE(fcntl(pipeFds[0], F_GETFD), -1);
}

// A default buffer has empty handles and arrays everywhere; they must arrive empty, not as nulls.
TEST_F(ProxyTest, EmptyBufferRoundTrips) {
    EXPECT_CALL(*session_, queueBuf(1, _, _))
        .WillOnce(Invoke([](int32_t, const VppBuffer& received, VppError*) {
            EXPECT_EQ(received, VppBuffer());
            return ok();
        }));
    VppError result;
    EXPECT_TRUE(proxy_->queueBuf(1, VppBuffer(), &result).isOk());
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

// An interface passed as an argument comes home as the very same local object.
TEST_F(ProxyTest, CallbacksArriveAsTheSameObject) {
    auto callbacks = ::ndk::SharedRefBase::make<MockCallbacks>();
    std::shared_ptr<IVppCallbacks> received;
    EXPECT_CALL(*session_, init(0, _, _))
        .WillOnce(DoAll(::testing::SaveArg<1>(&received), Return(ByMove(ok()))));
    VppError result;
    EXPECT_TRUE(proxy_->init(0, callbacks, &result).isOk());
    EXPECT_EQ(received.get(), callbacks.get());
}

TEST_F(ProxyTest, ServiceReturnsItsSessionThroughTheProxy) {
    class OneSessionService : public BnVppService {
      public:
        explicit OneSessionService(std::shared_ptr<IVppSession> session)
            : session_(std::move(session)) {}
        Status getNewVppSession(int32_t flags, std::shared_ptr<IVppSession>* out) override {
            if (flags != 0) return Status::fromServiceSpecificError(flags);
            *out = session_;
            return ok();
        }

      private:
        std::shared_ptr<IVppSession> session_;
    };
    auto service = ::ndk::SharedRefBase::make<OneSessionService>(session_);
    auto proxy = ::ndk::SharedRefBase::make<BpVppService>(service->asBinder());
    std::shared_ptr<IVppSession> session;
    ASSERT_TRUE(proxy->getNewVppSession(0, &session).isOk());
    EXPECT_EQ(session.get(), session_.get());
    EXPECT_EQ(proxy->getNewVppSession(3, &session).getServiceSpecificError(), 3);
}

TEST_F(ProxyTest, VersionAndHashAreQueriedOnceThenCached) {
    int32_t version = 0;
    std::string hash;
    ASSERT_TRUE(proxy_->getInterfaceVersion(&version).isOk());
    ASSERT_TRUE(proxy_->getInterfaceHash(&hash).isOk());
    EXPECT_EQ(version, IVppSession::version);
    EXPECT_EQ(hash, IVppSession::hash);
    EXPECT_EQ(proxy_->_aidl_cached_version, IVppSession::version);
    EXPECT_EQ(proxy_->_aidl_cached_hash, IVppSession::hash);
    version = 0;
    EXPECT_TRUE(proxy_->getInterfaceVersion(&version).isOk());
    EXPECT_EQ(version, IVppSession::version);
}

// Parcelable encoding: an int32 size prefix that counts itself, then the fields in order.
class ParcelableEncodingTest : public ::testing::Test {
  protected:
    void SetUp() override { parcel_ = AParcel_create(); }
    void TearDown() override { AParcel_delete(parcel_); }
    int32_t readInt() {
        int32_t value = 0;
        EXPECT_EQ(AParcel_readInt32(parcel_, &value), STATUS_OK);
        return value;
    }
    AParcel* parcel_ = nullptr;
};

TEST_F(ParcelableEncodingTest, SizePrefixThenFields) {
    FlushDone done;
    done.port = 1;
    ASSERT_EQ(done.writeToParcel(parcel_), STATUS_OK);
    ASSERT_EQ(AParcel_setDataPosition(parcel_, 0), STATUS_OK);
    EXPECT_EQ(readInt(), 8);
    EXPECT_EQ(readInt(), 1);

    ReconfigDone reconfig;
    reconfig.status = VppError::VPP_ERR_PARAM;
    reconfig.outputParam.width = 640;
    ASSERT_EQ(AParcel_setDataPosition(parcel_, 0), STATUS_OK);
    ASSERT_EQ(reconfig.writeToParcel(parcel_), STATUS_OK);
    ASSERT_EQ(AParcel_setDataPosition(parcel_, 0), STATUS_OK);
    ReconfigDone back;
    ASSERT_EQ(back.readFromParcel(parcel_), STATUS_OK);
    EXPECT_EQ(back, reconfig);
}

// What an older peer sends (fewer fields) leaves defaults; what a newer one sends (more fields)
// is skipped, and reading continues after it.
TEST_F(ParcelableEncodingTest, OlderAndNewerPeers) {
    AParcel_writeInt32(parcel_, 12);  // size: itself, height, width
    AParcel_writeInt32(parcel_, 720);
    AParcel_writeInt32(parcel_, 1280);
    AParcel_writeInt32(parcel_, 16);  // FlushDone with two fields it does not know
    AParcel_writeInt32(parcel_, 1);
    AParcel_writeInt32(parcel_, 111);
    AParcel_writeInt32(parcel_, 222);
    AParcel_writeInt32(parcel_, 0x7e57);  // what follows in the parcel
    ASSERT_EQ(AParcel_setDataPosition(parcel_, 0), STATUS_OK);

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
}

TEST_F(ParcelableEncodingTest, MalformedSizesAreRejected) {
    AParcel_writeInt32(parcel_, 3);
    ASSERT_EQ(AParcel_setDataPosition(parcel_, 0), STATUS_OK);
    FlushDone done;
    EXPECT_EQ(done.readFromParcel(parcel_), STATUS_BAD_VALUE);

    // A size that would run past the largest position.
    AParcel_writeInt32(parcel_, INT32_MAX);
    ASSERT_EQ(AParcel_setDataPosition(parcel_, 4), STATUS_OK);
    EXPECT_EQ(done.readFromParcel(parcel_), STATUS_BAD_VALUE);
}

}  // namespace
}  // namespace vpp_aidl_test
