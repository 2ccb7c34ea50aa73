// NativeHandle's release order and the conversions to and from native_handle_t.
#include <aidl/android/hardware/common/NativeHandle.h>
#include <aidlcommonsupport/NativeHandle.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <type_traits>
#include <vector>

#include "descriptors.h"
#include "temp_dir.h"

namespace vpp_aidl_test {
namespace {

using ::aidl::android::hardware::common::NativeHandle;

static_assert(!std::is_copy_constructible_v<NativeHandle>);
static_assert(std::is_nothrow_move_assignable_v<NativeHandle>);

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

bool closeOnExec(int fd) {
    return (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0;
}

// A descriptor number that is not open.
int notOpenNumber() {
    const int fd = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 900);
    close(fd);
    return fd;
}

class NativeHandleTest : public ::testing::Test {
  protected:
    void SetUp() override {
        notify_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        ASSERT_GE(notify_, 0);
        ASSERT_FALSE(dir_.path().empty());
        inotify_add_watch(notify_, dir_.path().c_str(), IN_CLOSE_WRITE);
    }
    void TearDown() override {
        close(notify_);
        closelog();  // a failed close logs to syslog, whose socket stays open until closelog
        EXPECT_EQ(testsupport::OpenDescriptorCount(), descriptorsBefore_) << "descriptors leaked";
    }

    // Opens file number `index` for writing; its close is recorded by closed().
    int open(int index) {
        return ::open(dir_.File(std::to_string(index)).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC,
                      0600);
    }
    // Indexes of the files closed since the last call, in close order.
    std::vector<int> closed() {
        std::vector<int> order;
        alignas(inotify_event) char buffer[4096];
        ssize_t length;
        while ((length = read(notify_, buffer, sizeof(buffer))) > 0) {
            for (char* at = buffer; at < buffer + length;) {
                auto* event = reinterpret_cast<inotify_event*>(at);
                if (event->len > 0) order.push_back(std::atoi(event->name));
                at += sizeof(inotify_event) + event->len;
            }
        }
        return order;
    }

  private:
    const int descriptorsBefore_ = testsupport::OpenDescriptorCount();
    testsupport::TempDir dir_{"vpp_aidl_test"};
    int notify_ = -1;
};

// Destruction and move assignment close last to first, skip empty slots, and go on past a
// descriptor that fails to close (logged).
TEST_F(NativeHandleTest, ReleaseClosesLastToFirst) {
    {
        NativeHandle handle;
        handle.fds.emplace_back(open(0));
        handle.fds.emplace_back(-1);
        handle.fds.emplace_back(open(1));
        handle.fds.emplace_back(notOpenNumber());
        handle.fds.emplace_back(open(2));
        handle.ints = {5, 6};
        ASSERT_TRUE(closed().empty());
    }
    EXPECT_EQ(closed(), (std::vector<int>{2, 1, 0}));

    NativeHandle target;
    target.fds.emplace_back(open(3));
    target.fds.emplace_back(open(4));
    target.ints = {1};
    NativeHandle source;
    source.fds.emplace_back(open(5));
    source.ints = {2, 3};
    const int sourceFd = source.fds[0].get();
    target = std::move(source);
    EXPECT_EQ(closed(), (std::vector<int>{4, 3}));
    ASSERT_EQ(target.fds.size(), 1u);
    EXPECT_EQ(target.fds[0].get(), sourceFd);
    EXPECT_EQ(target.ints, (std::vector<int32_t>{2, 3}));
    EXPECT_TRUE(source.fds.empty() && source.ints.empty());
    NativeHandle moved(std::move(target));
    EXPECT_TRUE(closed().empty());
    EXPECT_EQ(moved.fds[0].get(), sourceFd);
}

// Two descriptors refer to the same open file description: same file, and a shared offset.
void expectSameOpenFile(int original, int copy) {
    struct stat a {};
    struct stat b {};
    ASSERT_EQ(fstat(original, &a), 0);
    ASSERT_EQ(fstat(copy, &b), 0);
    EXPECT_EQ(a.st_ino, b.st_ino);
    ASSERT_EQ(lseek(copy, 3, SEEK_SET), 3);
    EXPECT_EQ(lseek(original, 0, SEEK_CUR), 3);
    lseek(original, 0, SEEK_SET);
}

// Without close-on-exec, so that the duplicates' flag is seen to be set by the dup.
int openTempFile() {
    char path[] = "/tmp/vpp_aidl_test_file.XXXXXX";
    int fd = mkstemp(path);
    unlink(path);
    fcntl(fd, F_SETFD, 0);
    return fd;
}

TEST_F(NativeHandleTest, ToAidlDuplicatesOrAdopts) {
    const int first = openTempFile();
    const int second = openTempFile();
    const int notOpen = notOpenNumber();
    native_handle_t* source = native_handle_create(3, 2);
    ASSERT_NE(source, nullptr);
    const std::vector<int> data = {first, notOpen, second, 42, -7};
    std::copy(data.begin(), data.end(), source->data);
    {
        NativeHandle copy = android::dupToAidl(source);
        ASSERT_EQ(copy.fds.size(), 3u);
        for (int i : {0, 2}) {
            EXPECT_NE(copy.fds[i].get(), data[i]);
            expectSameOpenFile(data[i], copy.fds[i].get());
            EXPECT_TRUE(closeOnExec(copy.fds[i].get()));
        }
        EXPECT_EQ(copy.fds[1].get(), -1);  // cannot be duplicated: -1, and the call goes on
        EXPECT_EQ(copy.ints, (std::vector<int32_t>{42, -7}));
    }
    // The source still holds its own descriptors and values.
    EXPECT_EQ(std::vector<int>(source->data, source->data + 5), data);
    EXPECT_TRUE(isOpen(first) && isOpen(second));
    EXPECT_FALSE(closeOnExec(first));
    {
        source->data[1] = dup(first);
        NativeHandle owner = android::makeToAidl(source);
        EXPECT_EQ(owner.fds[0].get(), first);
        EXPECT_EQ(owner.ints, (std::vector<int32_t>{42, -7}));
        native_handle_delete(source);
    }
    EXPECT_FALSE(isOpen(first) || isOpen(second));
}

TEST_F(NativeHandleTest, FromAidlAliasesOrDuplicates) {
    NativeHandle handle;
    handle.fds.emplace_back(openTempFile());
    handle.fds.emplace_back(-1);
    handle.ints = {1, 2, 3};
    const int fd = handle.fds[0].get();
    for (bool duplicate : {false, true}) {
        native_handle_t* to =
            duplicate ? android::dupFromAidl(handle) : android::makeFromAidl(handle);
        ASSERT_NE(to, nullptr);
        EXPECT_EQ(to->numFds, 2);
        EXPECT_EQ(to->numInts, 3);
        EXPECT_EQ(std::vector<int>(to->data + 1, to->data + 5), (std::vector<int>{-1, 1, 2, 3}));
        EXPECT_EQ(to->data[0] == fd, !duplicate);
        if (duplicate) {
            expectSameOpenFile(fd, to->data[0]);
            EXPECT_TRUE(closeOnExec(to->data[0]));
            native_handle_close(to);
        }
        native_handle_delete(to);
        EXPECT_TRUE(isOpen(fd));
    }
    // Empty handles convert; more descriptors than a native_handle_t may carry give none.
    native_handle_t* empty = android::dupFromAidl(NativeHandle());
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty->numFds + empty->numInts, 0);
    EXPECT_TRUE(android::dupToAidl(empty).fds.empty());
    native_handle_delete(empty);
    NativeHandle tooMany;
    tooMany.fds.resize(NATIVE_HANDLE_MAX_FDS + 1);
    EXPECT_EQ(android::dupFromAidl(tooMany), nullptr);
    EXPECT_EQ(android::makeFromAidl(tooMany), nullptr);
}

}  // namespace
}  // namespace vpp_aidl_test
