// Proxies into local stubs within one process (statuses, refused arguments, identity, cached
// version), and the parcelables' size-prefixed encoding.
#include <aidl/vendor/zux/hardware/vpp/BpVppSession.h>
#include <aidl/vendor/zux/hardware/vpp/FlushDone.h>
#include <aidl/vendor/zux/hardware/vpp/ReconfigDone.h>
#include <aidl/vendor/zux/hardware/vpp/VppPortParam.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <syslog.h>

#include <climits>
#include <memory>
#include <string>
#include <tuple>

#include "descriptors.h"
#include "mock_vpp.h"

namespace vpp_aidl_test {
namespace {

using ::aidl::vendor::zux::hardware::vpp::BpVppSession;
using ::aidl::vendor::zux::hardware::vpp::IVppSession;
using ::testing::_;
using ::testing::ByMove;
using ::testing::DoAll;
using ::testing::Return;
using ::testing::SaveArg;

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
