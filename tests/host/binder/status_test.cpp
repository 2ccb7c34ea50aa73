// Tests of AStatus construction, pruning, queries and description text, and of ScopedAStatus.
#include <android/binder_auto_utils.h>
#include <android/binder_status.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

std::string describe(AStatus* status) {
    ndk::ScopedAStatus owned(status);
    return owned.getDescription();
}

TEST(Status, FromStatusOkIsOkAndSeparateFromSingleton) {
    AStatus* ok = AStatus_fromStatus(STATUS_OK);
    AStatus* singleton = AStatus_newOk();
    EXPECT_NE(ok, singleton);
    EXPECT_TRUE(AStatus_isOk(ok));
    EXPECT_EQ(AStatus_getStatus(ok), STATUS_OK);
    EXPECT_EQ(AStatus_getExceptionCode(ok), EX_NONE);
    EXPECT_STREQ(AStatus_getMessage(ok), "");
    AStatus_delete(ok);
    // Deleting the singleton any number of times is harmless.
    AStatus_delete(singleton);
    AStatus_delete(AStatus_newOk());
    EXPECT_TRUE(AStatus_isOk(AStatus_newOk()));
}

TEST(Status, TransportStatusesAndPruning) {
    ndk::ScopedAStatus dead = ndk::ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT);
    EXPECT_FALSE(dead.isOk());
    EXPECT_EQ(dead.getExceptionCode(), EX_TRANSACTION_FAILED);
    EXPECT_EQ(dead.getStatus(), STATUS_DEAD_OBJECT);
    EXPECT_EQ(dead.getServiceSpecificError(), 0);

    // Values outside the status table become STATUS_UNKNOWN_ERROR.
    ndk::ScopedAStatus odd = ndk::ScopedAStatus::fromStatus(-12345);
    EXPECT_EQ(odd.getStatus(), STATUS_UNKNOWN_ERROR);
    ndk::ScopedAStatus errnoLike = ndk::ScopedAStatus::fromStatus(-EBUSY);
    EXPECT_EQ(errnoLike.getStatus(), STATUS_UNKNOWN_ERROR);

    // Unknown exception codes become EX_TRANSACTION_FAILED carrying FAILED_TRANSACTION.
    ndk::ScopedAStatus weird = ndk::ScopedAStatus::fromExceptionCode(42);
    EXPECT_EQ(weird.getExceptionCode(), EX_TRANSACTION_FAILED);
    EXPECT_EQ(weird.getStatus(), STATUS_FAILED_TRANSACTION);
    ndk::ScopedAStatus failed = ndk::ScopedAStatus::fromExceptionCode(EX_TRANSACTION_FAILED);
    EXPECT_EQ(failed.getStatus(), STATUS_FAILED_TRANSACTION);
    EXPECT_TRUE(ndk::ScopedAStatus::fromExceptionCode(EX_NONE).isOk());
}

TEST(Status, ExceptionsAndServiceSpecificErrors) {
    ndk::ScopedAStatus illegal =
        ndk::ScopedAStatus::fromExceptionCodeWithMessage(EX_ILLEGAL_STATE, "not now");
    EXPECT_EQ(illegal.getExceptionCode(), EX_ILLEGAL_STATE);
    EXPECT_EQ(illegal.getStatus(), STATUS_OK);  // only transaction failures carry a status
    EXPECT_STREQ(illegal.getMessage(), "not now");

    ndk::ScopedAStatus zero = ndk::ScopedAStatus::fromServiceSpecificError(0);
    EXPECT_FALSE(zero.isOk());
    EXPECT_EQ(zero.getExceptionCode(), EX_SERVICE_SPECIFIC);
    ndk::ScopedAStatus code = ndk::ScopedAStatus::fromServiceSpecificErrorWithMessage(-7, "bad");
    EXPECT_EQ(code.getServiceSpecificError(), -7);
    EXPECT_EQ(code.getStatus(), STATUS_OK);
    EXPECT_STREQ(code.getMessage(), "bad");
}

TEST(Status, Descriptions) {
    EXPECT_EQ(describe(AStatus_newOk()), "No error");
    EXPECT_EQ(describe(AStatus_fromStatus(STATUS_OK)), "No error");
    EXPECT_EQ(describe(AStatus_fromStatus(STATUS_DEAD_OBJECT)),
              "Status(-129, EX_TRANSACTION_FAILED): 'DEAD_OBJECT: '");
    EXPECT_EQ(describe(AStatus_fromStatus(STATUS_UNEXPECTED_NULL)),
              "Status(-129, EX_TRANSACTION_FAILED): 'UNEXPECTED_NULL: '");
    EXPECT_EQ(describe(AStatus_fromExceptionCode(EX_TRANSACTION_FAILED)),
              "Status(-129, EX_TRANSACTION_FAILED): 'FAILED_TRANSACTION: '");
    EXPECT_EQ(describe(AStatus_fromServiceSpecificErrorWithMessage(42, "boom")),
              "Status(-8, EX_SERVICE_SPECIFIC): '42: boom'");
    EXPECT_EQ(describe(AStatus_fromExceptionCodeWithMessage(EX_ILLEGAL_ARGUMENT, "width")),
              "Status(-3, EX_ILLEGAL_ARGUMENT): 'width'");
    EXPECT_EQ(describe(AStatus_fromExceptionCode(EX_SECURITY)), "Status(-1, EX_SECURITY): ''");

    std::ostringstream out;
    out << ndk::ScopedAStatus::fromServiceSpecificError(3);
    EXPECT_EQ(out.str(), "Status(-8, EX_SERVICE_SPECIFIC): '3: '");
}

TEST(Status, ScopedStatusOwnership) {
    ndk::ScopedAStatus empty;
    EXPECT_FALSE(empty.isOk());  // NULL is not OK
    ndk::ScopedAStatus moved(AStatus_fromStatus(STATUS_TIMED_OUT));
    ndk::ScopedAStatus target = std::move(moved);
    EXPECT_EQ(moved.get(), nullptr);
    EXPECT_EQ(target.getStatus(), STATUS_TIMED_OUT);
    target = ndk::ScopedAStatus::ok();
    EXPECT_TRUE(target.isOk());
    AStatus* raw = target.release();
    EXPECT_EQ(target.get(), nullptr);
    AStatus_delete(raw);
}

}  // namespace
