// Tests of the scoped owners: ScopedFileDescriptor closing and its syslog record, and the
// ScopedAResource move and release rules.
#include <android/binder_auto_utils.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <syslog.h>
#include <unistd.h>

#include <string>

#include "test_support.h"

namespace {

using binder_test::openFdCount;

// A descriptor number that is not open, high enough that the lowest-free-number rule will not
// hand it to anything the test opens meanwhile.
int closedFdNumber() {
    int low = open("/dev/null", O_RDONLY | O_CLOEXEC);
    int high = fcntl(low, F_DUPFD_CLOEXEC, 500);
    close(low);
    close(high);
    return high;
}

// Mirrors syslog records to stderr for the duration of a test, so they can be captured.
class SyslogToStderr {
  public:
    SyslogToStderr() {
        openlog("host_binder_test", LOG_PERROR, LOG_USER);
        syslog(LOG_DEBUG, "warm-up");  // any descriptor syslog keeps is opened before counting
    }
    ~SyslogToStderr() { openlog(nullptr, 0, LOG_USER); }
};

TEST(ScopedFileDescriptor, ClosesOnSetAndDestruction) {
    const int before = openFdCount();
    {
        ndk::ScopedFileDescriptor fd(open("/dev/null", O_RDONLY | O_CLOEXEC));
        ASSERT_GE(fd.get(), 0);
        EXPECT_EQ(openFdCount(), before + 1);
        ndk::ScopedFileDescriptor copy = fd.dup();
        EXPECT_NE(copy.get(), fd.get());
        EXPECT_EQ(openFdCount(), before + 2);
        fd.set(open("/dev/null", O_RDONLY | O_CLOEXEC));  // the old one is closed
        EXPECT_EQ(openFdCount(), before + 2);
        ndk::ScopedFileDescriptor moved = std::move(fd);
        EXPECT_EQ(fd.get(), -1);
        copy = std::move(moved);  // closes copy's old descriptor first
        EXPECT_EQ(openFdCount(), before + 1);
    }
    EXPECT_EQ(openFdCount(), before);
    EXPECT_EQ(ndk::ScopedFileDescriptor().dup().get(), -1);
}

TEST(ScopedFileDescriptor, ReleaseHandsOverWithoutClosing) {
    const int before = openFdCount();
    int raw = -1;
    {
        ndk::ScopedFileDescriptor fd(open("/dev/null", O_RDONLY | O_CLOEXEC));
        raw = fd.release();
        EXPECT_EQ(fd.get(), -1);
    }
    EXPECT_EQ(openFdCount(), before + 1);
    EXPECT_EQ(close(raw), 0);
}

TEST(ScopedFileDescriptor, FailedCloseIsLoggedAndSlotBecomesEmpty) {
    SyslogToStderr mirror;
    const int before = openFdCount();
    const int stale = closedFdNumber();
    ndk::ScopedFileDescriptor fd(stale);
    ::testing::internal::CaptureStderr();
    fd.set(-1);
    std::string logged = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(fd.get(), -1);
    EXPECT_NE(logged.find("Could not close FD " + std::to_string(stale) + ": Bad file descriptor"),
              std::string::npos)
        << logged;

    // -1 is never closed, so nothing is logged for it.
    ::testing::internal::CaptureStderr();
    { ndk::ScopedFileDescriptor empty; }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(openFdCount(), before);
}

}  // namespace
