// Tests of AStatus construction, pruning, queries and description text, and of the scoped owners
// ScopedAStatus and ScopedFileDescriptor.
#include <android/binder_auto_utils.h>
#include <android/binder_status.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <syslog.h>
#include <unistd.h>

#include <string>

#include "test_support.h"

namespace {

using binder_test::openFdCount;

TEST(Status, PruningQueriesAndDescriptions) {
    struct Case {
        AStatus* status;
        binder_exception_t exception;
        binder_status_t transport;
        int32_t serviceSpecific;
        const char* description;
    } cases[] = {
        {AStatus_fromStatus(STATUS_OK), EX_NONE, STATUS_OK, 0, "No error"},
        {AStatus_fromStatus(STATUS_DEAD_OBJECT), EX_TRANSACTION_FAILED, STATUS_DEAD_OBJECT, 0,
         "Status(-129, EX_TRANSACTION_FAILED): 'DEAD_OBJECT: '"},
        // Values outside the status table become STATUS_UNKNOWN_ERROR.
        {AStatus_fromStatus(-EBUSY), EX_TRANSACTION_FAILED, STATUS_UNKNOWN_ERROR, 0, nullptr},
        // Unknown exception codes become EX_TRANSACTION_FAILED carrying FAILED_TRANSACTION.
        {AStatus_fromExceptionCode(42), EX_TRANSACTION_FAILED, STATUS_FAILED_TRANSACTION, 0,
         nullptr},
        {AStatus_fromExceptionCode(EX_TRANSACTION_FAILED), EX_TRANSACTION_FAILED,
         STATUS_FAILED_TRANSACTION, 0,
         "Status(-129, EX_TRANSACTION_FAILED): 'FAILED_TRANSACTION: '"},
        // Only transaction failures carry a status.
        {AStatus_fromExceptionCodeWithMessage(EX_ILLEGAL_ARGUMENT, "width"), EX_ILLEGAL_ARGUMENT,
         STATUS_OK, 0, "Status(-3, EX_ILLEGAL_ARGUMENT): 'width'"},
        {AStatus_fromServiceSpecificError(0), EX_SERVICE_SPECIFIC, STATUS_OK, 0, nullptr},
        {AStatus_fromServiceSpecificErrorWithMessage(42, "boom"), EX_SERVICE_SPECIFIC, STATUS_OK,
         42, "Status(-8, EX_SERVICE_SPECIFIC): '42: boom'"},
    };
    for (const Case& c : cases) {
        ndk::ScopedAStatus status(c.status);
        SCOPED_TRACE(status.getDescription());
        EXPECT_EQ(status.isOk(), c.exception == EX_NONE);
        EXPECT_EQ(status.getExceptionCode(), c.exception);
        EXPECT_EQ(status.getStatus(), c.transport);
        EXPECT_EQ(status.getServiceSpecificError(), c.serviceSpecific);
        if (c.description != nullptr) {
            EXPECT_EQ(status.getDescription(), c.description);
        }
    }
    // The OK singleton is never freed; NULL is not OK.
    AStatus_delete(AStatus_newOk());
    EXPECT_TRUE(AStatus_isOk(AStatus_newOk()));
    EXPECT_FALSE(ndk::ScopedAStatus().isOk());
    EXPECT_STREQ(ndk::ScopedAStatus::fromServiceSpecificErrorWithMessage(-7, "x").getMessage(),
                 "x");
}

TEST(ScopedFileDescriptor, ClosesOnSetMoveAndDestructionButNotOnRelease) {
    const int before = openFdCount();
    int released = -1;
    {
        ndk::ScopedFileDescriptor fd(open("/dev/null", O_RDONLY | O_CLOEXEC));
        ndk::ScopedFileDescriptor copy = fd.dup();
        EXPECT_NE(copy.get(), fd.get());
        EXPECT_EQ(openFdCount(), before + 2);
        fd.set(open("/dev/null", O_RDONLY | O_CLOEXEC));  // the old one is closed
        EXPECT_EQ(openFdCount(), before + 2);
        ndk::ScopedFileDescriptor moved = std::move(fd);
        EXPECT_EQ(fd.get(), -1);
        copy = std::move(moved);  // closes copy's old descriptor first
        EXPECT_EQ(openFdCount(), before + 1);
        released = copy.release();
    }
    EXPECT_EQ(openFdCount(), before + 1);
    EXPECT_EQ(close(released), 0);
    EXPECT_EQ(ndk::ScopedFileDescriptor().dup().get(), -1);
}

TEST(ScopedFileDescriptor, FailedCloseIsLoggedAndSlotBecomesEmpty) {
    // syslog records mirrored to stderr; any descriptor syslog keeps is opened before counting.
    openlog("host_binder_test", LOG_PERROR, LOG_USER);
    syslog(LOG_DEBUG, "warm-up");
    const int before = openFdCount();
    // A number that is not open, high enough that nothing opened meanwhile gets it.
    const int stale = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 500);
    close(stale);
    ndk::ScopedFileDescriptor fd(stale);
    ::testing::internal::CaptureStderr();
    fd.set(-1);
    { ndk::ScopedFileDescriptor empty; }  // -1 is never closed, so nothing is logged for it
    const std::string logged = ::testing::internal::GetCapturedStderr();
    openlog(nullptr, 0, LOG_USER);
    EXPECT_EQ(fd.get(), -1);
    EXPECT_EQ(logged, "host_binder_test: Could not close FD " + std::to_string(stale) +
                          ": Bad file descriptor\n");
    EXPECT_EQ(openFdCount(), before);
}

}  // namespace
