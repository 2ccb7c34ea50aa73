// NativeHandle's release order and the conversions to and from native_handle_t.
#include <aidl/android/hardware/common/NativeHandle.h>
#include <aidlcommonsupport/NativeHandle.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
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
static_assert(!std::is_copy_assignable_v<NativeHandle>);
static_assert(std::is_nothrow_move_assignable_v<NativeHandle>);

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

// Files in a private directory whose closes are reported, in order, through inotify: each file is
// named after its index, so the close order reads as a list of indexes.
class CloseRecorder {
  public:
    CloseRecorder() : dir_("vpp_aidl_test") {
        notify_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        if (notify_ >= 0 && !dir_.path().empty()) {
            inotify_add_watch(notify_, dir_.path().c_str(), IN_CLOSE_WRITE);
        }
    }
    ~CloseRecorder() {
        if (notify_ >= 0) close(notify_);
    }
    bool ready() const { return notify_ >= 0 && !dir_.path().empty(); }

    // Opens file number `index` for writing; its close will be recorded.
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
                if (event->len > 0 && (event->mask & IN_CLOSE_WRITE)) {
                    order.push_back(std::atoi(event->name));
                }
                at += sizeof(inotify_event) + event->len;
            }
        }
        return order;
    }

  private:
    testsupport::TempDir dir_;
    int notify_ = -1;
};

class NativeHandleTest : public ::testing::Test {
  protected:
    void SetUp() override { descriptorsBefore_ = testsupport::OpenDescriptorCount(); }
    void TearDown() override {
        closelog();  // a failed close logs to syslog, whose socket stays open until closelog
        EXPECT_EQ(testsupport::OpenDescriptorCount(), descriptorsBefore_) << "descriptors leaked";
    }

  private:
    int descriptorsBefore_ = 0;
};

TEST_F(NativeHandleTest, DestructionClosesLastToFirstSkippingEmptySlots) {
    CloseRecorder recorder;
    ASSERT_TRUE(recorder.ready());
    {
        NativeHandle handle;
        handle.fds.emplace_back(recorder.open(0));
        handle.fds.emplace_back(-1);
        handle.fds.emplace_back(recorder.open(1));
        handle.fds.emplace_back(recorder.open(2));
        handle.fds.emplace_back(-1);
        handle.ints = {5, 6};
        ASSERT_TRUE(recorder.closed().empty());
    }
    EXPECT_EQ(recorder.closed(), (std::vector<int>{2, 1, 0}));
}

// A descriptor that fails to close (here, a number that is not open) is logged and the release
// goes on with the slots before it.
TEST_F(NativeHandleTest, FailedCloseDoesNotStopTheRelease) {
    CloseRecorder recorder;
    ASSERT_TRUE(recorder.ready());
    const int notOpen = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 900);
    ASSERT_GE(notOpen, 900);
    close(notOpen);
    {
        NativeHandle handle;
        handle.fds.emplace_back(recorder.open(0));
        handle.fds.emplace_back(notOpen);
        handle.fds.emplace_back(recorder.open(1));
    }
    EXPECT_EQ(recorder.closed(), (std::vector<int>{1, 0}));
}

TEST_F(NativeHandleTest, MoveAssignmentReleasesTargetFirst) {
    CloseRecorder recorder;
    ASSERT_TRUE(recorder.ready());
    NativeHandle target;
    target.fds.emplace_back(recorder.open(0));
    target.fds.emplace_back(recorder.open(1));
    target.ints = {1};
    NativeHandle source;
    source.fds.emplace_back(recorder.open(2));
    source.ints = {2, 3};
    const int sourceFd = source.fds[0].get();

    target = std::move(source);
    EXPECT_EQ(recorder.closed(), (std::vector<int>{1, 0}));
    ASSERT_EQ(target.fds.size(), 1u);
    EXPECT_EQ(target.fds[0].get(), sourceFd);
    EXPECT_TRUE(isOpen(sourceFd));
    EXPECT_EQ(target.ints, (std::vector<int32_t>{2, 3}));
    EXPECT_TRUE(source.fds.empty());
    EXPECT_TRUE(source.ints.empty());

    NativeHandle moved(std::move(target));
    EXPECT_TRUE(recorder.closed().empty());
    EXPECT_TRUE(target.fds.empty());
    EXPECT_EQ(moved.fds[0].get(), sourceFd);
}

// Two descriptors refer to the same open file description: same file, and a shared offset.
void expectSameOpenFile(int original, int copy) {
    struct stat a {};
    struct stat b {};
    ASSERT_EQ(fstat(original, &a), 0);
    ASSERT_EQ(fstat(copy, &b), 0);
    EXPECT_EQ(a.st_dev, b.st_dev);
    EXPECT_EQ(a.st_ino, b.st_ino);
    const off_t before = lseek(original, 0, SEEK_CUR);
    ASSERT_EQ(lseek(copy, 3, SEEK_SET), 3);
    EXPECT_EQ(lseek(original, 0, SEEK_CUR), 3);
    lseek(original, before, SEEK_SET);
}

bool closeOnExec(int fd) {
    return (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0;
}

int openTempFile() {
    char path[] = "/tmp/vpp_aidl_test_file.XXXXXX";
    int fd = mkstemp(path);
    if (fd >= 0) {
        unlink(path);
        // Without close-on-exec, so that the duplicates' flag is seen to be set by the dup.
        fcntl(fd, F_SETFD, 0);
        (void)!write(fd, "0123456789", 10);
    }
    return fd;
}

TEST_F(NativeHandleTest, DupToAidlDuplicatesAndLeavesSourceAlone) {
    const int first = openTempFile();
    const int second = openTempFile();
    ASSERT_GE(first, 0);
    ASSERT_GE(second, 0);
    const int notOpen = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 900);
    close(notOpen);

    native_handle_t* source = native_handle_create(3, 2);
    ASSERT_NE(source, nullptr);
    source->data[0] = first;
    source->data[1] = notOpen;  // cannot be duplicated: -1, and the call goes on
    source->data[2] = second;
    source->data[3] = 42;
    source->data[4] = -7;
    {
        NativeHandle copy = android::dupToAidl(source);
        ASSERT_EQ(copy.fds.size(), 3u);
        EXPECT_NE(copy.fds[0].get(), first);
        EXPECT_NE(copy.fds[0].get(), second);
        expectSameOpenFile(first, copy.fds[0].get());
        EXPECT_TRUE(closeOnExec(copy.fds[0].get()));
        EXPECT_EQ(copy.fds[1].get(), -1);
        EXPECT_NE(copy.fds[2].get(), second);
        expectSameOpenFile(second, copy.fds[2].get());
        EXPECT_TRUE(closeOnExec(copy.fds[2].get()));
        EXPECT_EQ(copy.ints, (std::vector<int32_t>{42, -7}));
    }
    // The source still holds its own descriptors and values.
    EXPECT_EQ(source->numFds, 3);
    EXPECT_EQ(source->numInts, 2);
    EXPECT_EQ(source->data[0], first);
    EXPECT_EQ(source->data[1], notOpen);
    EXPECT_EQ(source->data[2], second);
    EXPECT_EQ(source->data[3], 42);
    EXPECT_EQ(source->data[4], -7);
    EXPECT_TRUE(isOpen(first));
    EXPECT_TRUE(isOpen(second));
    EXPECT_FALSE(closeOnExec(first));
    native_handle_delete(source);
    close(first);
    close(second);
}

TEST_F(NativeHandleTest, MakeToAidlTakesOwnership) {
    const int fd = openTempFile();
    ASSERT_GE(fd, 0);
    native_handle_t* source = native_handle_create(1, 1);
    ASSERT_NE(source, nullptr);
    source->data[0] = fd;
    source->data[1] = 9;
    {
        NativeHandle owner = android::makeToAidl(source);
        ASSERT_EQ(owner.fds.size(), 1u);
        EXPECT_EQ(owner.fds[0].get(), fd);
        EXPECT_EQ(owner.ints, std::vector<int32_t>{9});
        native_handle_delete(source);
    }
    EXPECT_FALSE(isOpen(fd));
}

TEST_F(NativeHandleTest, FromAidlAliasesOrDuplicates) {
    NativeHandle handle;
    handle.fds.emplace_back(openTempFile());
    handle.fds.emplace_back(-1);
    handle.ints = {1, 2, 3};
    ASSERT_GE(handle.fds[0].get(), 0);

    native_handle_t* alias = android::makeFromAidl(handle);
    ASSERT_NE(alias, nullptr);
    EXPECT_EQ(alias->numFds, 2);
    EXPECT_EQ(alias->numInts, 3);
    EXPECT_EQ(alias->data[0], handle.fds[0].get());
    EXPECT_EQ(alias->data[1], -1);
    EXPECT_EQ(alias->data[2], 1);
    EXPECT_EQ(alias->data[4], 3);
    native_handle_delete(alias);
    EXPECT_TRUE(isOpen(handle.fds[0].get()));

    native_handle_t* copy = android::dupFromAidl(handle);
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy->data[0], handle.fds[0].get());
    expectSameOpenFile(handle.fds[0].get(), copy->data[0]);
    EXPECT_TRUE(closeOnExec(copy->data[0]));
    EXPECT_EQ(copy->data[1], -1);
    EXPECT_EQ(copy->data[3], 2);
    native_handle_close(copy);
    native_handle_delete(copy);
    EXPECT_TRUE(isOpen(handle.fds[0].get()));
}

TEST_F(NativeHandleTest, EmptyHandlesConvert) {
    native_handle_t* empty = android::dupFromAidl(NativeHandle());
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty->numFds, 0);
    EXPECT_EQ(empty->numInts, 0);
    NativeHandle back = android::dupToAidl(empty);
    EXPECT_TRUE(back.fds.empty());
    EXPECT_TRUE(back.ints.empty());
    native_handle_delete(empty);
}

// More descriptors than a native_handle_t may carry: no handle is made, nothing is duplicated.
TEST_F(NativeHandleTest, TooManyDescriptorsGiveNull) {
    NativeHandle handle;
    handle.fds.resize(NATIVE_HANDLE_MAX_FDS + 1);
    EXPECT_EQ(android::dupFromAidl(handle), nullptr);
    EXPECT_EQ(android::makeFromAidl(handle), nullptr);
}

}  // namespace
}  // namespace vpp_aidl_test
