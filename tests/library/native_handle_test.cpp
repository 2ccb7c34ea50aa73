// Tests of GetNativeHandle and of the descriptors a VppBuffer carries: duplication, release after
// the call, undupable slots, failed closes reaching syslog, the image size rule, and a long run of
// queue calls that must leave the descriptor count unchanged.
#include <sys/mman.h>
#include <syslog.h>

#include "buffer_path_fixture.h"

namespace vpptest {
namespace {

using camera_host::CameraBuffer;
using camera_host::CameraBufferConfig;

using NativeHandleTest = BufferPathTest;

TEST_F(NativeHandleTest, GetNativeHandleLendsTheCameraHandle) {
    std::unique_ptr<CameraBuffer> camera = CameraBuffer::Create(SmallNv12(true, {5}));
    ASSERT_NE(camera, nullptr);
    const native_handle_t* pOwned = camera->Handle();
    const int fd0 = pOwned->data[0];
    const int fd1 = pOwned->data[1];

    StartCapture();
    native_handle_t* pHandle = node->GetNativeHandle(camera.get());

    EXPECT_EQ(pHandle, pOwned);
    ExpectLog({Node('V', "GetNativeHandle", "[BufNode] get phNativeHandle: " + Ptr(pOwned))});
    // Borrowed, not duplicated: the camera handle and its descriptors are as they were.
    EXPECT_EQ(pOwned->numFds, 2);
    EXPECT_EQ(pOwned->numInts, 1);
    EXPECT_EQ(pOwned->data[0], fd0);
    EXPECT_EQ(pOwned->data[1], fd1);
    EXPECT_TRUE(IsOpen(fd0));
    EXPECT_TRUE(IsOpen(fd1));
}

// Without an image list or a handle it returns null; those lines are pinned by the queue tests.

TEST_F(NativeHandleTest, QueuedDescriptorsAreFreshDuplicatesClosedAfterTheCall) {
    auto request = MakeRequest(7, 100, SmallNv12(true, {7, -3}));
    const CameraBuffer& camera = *request->input->Camera();
    const int plane0 = camera.Handle()->data[0];
    const int plane1 = camera.Handle()->data[1];
    const FileIdentity identity0 = IdentityOf(plane0);
    const FileIdentity identity1 = IdentityOf(plane1);
    const int fdsBefore = testsupport::OpenDescriptorCount();

    StartCapture();
    ASSERT_EQ(node->QueueInput(&request->info, 7, 0, 0, 0, 0), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 1u);
    const BufferSeen& seen = *queued[0].buffer;
    ASSERT_EQ(seen.fds.size(), 2u);
    ExpectDuplicateOf(seen.fds[0], plane0);
    ExpectDuplicateOf(seen.fds[1], plane1);
    EXPECT_NE(seen.fds[0].fd, seen.fds[1].fd);
    EXPECT_EQ(seen.ints, (std::vector<int32_t>{7, -3}));
    EXPECT_EQ(seen.extraFds, 0u);
    EXPECT_EQ(seen.extraInts, 0u);
    EXPECT_EQ(seen.metadataCount, 0u);

    // The duplicates are gone, each closed once (a second close would have reached syslog); the
    // camera buffer keeps its own descriptors.
    ExpectReleased(seen.fds[0]);
    ExpectReleased(seen.fds[1]);
    EXPECT_TRUE(SyslogLines().empty());
    EXPECT_EQ(testsupport::OpenDescriptorCount(), fdsBefore);
    EXPECT_EQ(camera.Handle()->data[0], plane0);
    EXPECT_EQ(camera.Handle()->data[1], plane1);
    EXPECT_EQ(IdentityOf(plane0), identity0);
    EXPECT_EQ(IdentityOf(plane1), identity1);
}

TEST_F(NativeHandleTest, InternalBufferDescriptorStaysWithItsOwner) {
    auto request = MakeRequest();
    const int internal = request->input->InternalDescriptor();
    const FileIdentity identity = IdentityOf(internal);
    const int fdsBefore = testsupport::OpenDescriptorCount();

    StartCapture();
    ASSERT_EQ(node->QueueInput(&request->info, 7, 0, 0, 1, 0), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 1u);
    ASSERT_EQ(queued[0].buffer->fds.size(), 1u);
    EXPECT_TRUE(queued[0].buffer->ints.empty());
    ExpectDuplicateOf(queued[0].buffer->fds[0], internal);
    ExpectReleased(queued[0].buffer->fds[0]);
    EXPECT_EQ(request->input->bufferFd, internal);
    EXPECT_EQ(IdentityOf(internal), identity);
    EXPECT_EQ(testsupport::OpenDescriptorCount(), fdsBefore);
    EXPECT_TRUE(SyslogLines().empty());
}

TEST_F(NativeHandleTest, UndupableSlotArrivesAsMinusOneAndTheCallGoesOn) {
    auto request = MakeRequest();
    const int first = memfd_create("first", MFD_CLOEXEC);
    const int last = memfd_create("last", MFD_CLOEXEC);
    ASSERT_GE(first, 0);
    ASSERT_GE(last, 0);
    FakeCameraBuffer fake(3, 1);
    fake.Handle()->data[0] = first;
    fake.Handle()->data[1] = UnusedDescriptorNumber();
    fake.Handle()->data[2] = last;
    fake.Handle()->data[3] = 99;
    request->input->pImageList = &fake;

    StartCapture();
    EXPECT_EQ(node->QueueInput(&request->info, 7, 0, 0, 0, 0), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 1u);
    const BufferSeen& seen = *queued[0].buffer;
    ASSERT_EQ(seen.fds.size(), 3u);
    ExpectDuplicateOf(seen.fds[0], first);
    EXPECT_EQ(seen.fds[1].fd, -1);
    ExpectDuplicateOf(seen.fds[2], last);
    EXPECT_EQ(seen.ints, std::vector<int32_t>{99});
    EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 1);
    ExpectReleased(seen.fds[0]);
    ExpectReleased(seen.fds[2]);
    // The -1 slot is skipped on release, silently.
    EXPECT_TRUE(SyslogLines().empty());
    close(first);
    close(last);
}

TEST_F(NativeHandleTest, UndupableInternalDescriptorArrivesAsMinusOne) {
    auto request = MakeRequest();
    request->input->bufferFd = UnusedDescriptorNumber();

    StartCapture();
    EXPECT_EQ(node->QueueInput(&request->info, 7, 0, 0, 1, 0), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 1u);
    ASSERT_EQ(queued[0].buffer->fds.size(), 1u);
    EXPECT_EQ(queued[0].buffer->fds[0].fd, -1);
    EXPECT_EQ(queued[0].buffer->bufferLen, kSmallNv12Size);
    EXPECT_TRUE(SyslogLines().empty());
}

// Closes, during the queue call, the duplicates in the given slots behind the buffer's back.
void CloseBehindTheBuffersBack(ScriptedSession& session, std::vector<size_t> slots) {
    session.OnCall("queueBuf", [slots](const Call& call) {
        for (size_t slot : slots) {
            close(call.buffer->fds.at(slot).fd);
        }
    });
}

TEST_F(NativeHandleTest, FailedCloseReachesSyslogAndReleaseGoesOn) {
    auto request = MakeRequest(7, 100, SmallNv12(true));
    CloseBehindTheBuffersBack(*session, {1});
    const int fdsBefore = testsupport::OpenDescriptorCount();

    StartCapture();
    EXPECT_EQ(node->QueueOutput(&request->info, 7, 0, 0), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 1u);
    const BufferSeen& seen = *queued[0].buffer;
    ASSERT_EQ(seen.fds.size(), 2u);
    const std::vector<SyslogLine> lines = SyslogLines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].priority, LOG_ERR);
    EXPECT_EQ(lines[0].message,
              "Could not close FD " + std::to_string(seen.fds[1].fd) + ": Bad file descriptor");
    // The slot before it was still closed.
    ExpectReleased(seen.fds[0]);
    EXPECT_EQ(testsupport::OpenDescriptorCount(), fdsBefore);
}

TEST_F(NativeHandleTest, DescriptorsAreReleasedFromTheLastToTheFirst) {
    auto request = MakeRequest(7, 100, SmallNv12(true));
    CloseBehindTheBuffersBack(*session, {0, 1});

    StartCapture();
    EXPECT_EQ(node->QueueInput(&request->info, 7, 0, 0, 0, 0), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 1u);
    const BufferSeen& seen = *queued[0].buffer;
    ASSERT_EQ(seen.fds.size(), 2u);
    const std::vector<SyslogLine> lines = SyslogLines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].message,
              "Could not close FD " + std::to_string(seen.fds[1].fd) + ": Bad file descriptor");
    EXPECT_EQ(lines[1].message,
              "Could not close FD " + std::to_string(seen.fds[0].fd) + ": Bad file descriptor");
}

TEST_F(NativeHandleTest, ImageSizeSumsLowHalvesOfThePlaneSizesWithWrapAround) {
    auto request = MakeRequest(7, 100);
    IxoImageList& image = *request->input;

    struct Case {
        uint32_t planes;
        std::vector<uint64_t> sizes;
        uint32_t expected;
    };
    const Case cases[] = {
        {0, {500}, 0},                                   // no planes, nothing counted
        {2, {0x100000010ULL, 0x200000020ULL, 7}, 0x30},  // high halves dropped, plane 3 unread
        {2, {0xFFFFFFF0ULL, 0x20}, 0x10},                // 32-bit wrap
        {3, {0x80000000ULL, 0x10, 0x300000000ULL}, 0x80000010},  // above INT32_MAX
    };
    for (const Case& c : cases) {
        image.numberOfPlanes = c.planes;
        for (uint32_t p = 0; p < IXO_MAX_PLANES; p++) {
            image.planeSize[p] = p < c.sizes.size() ? c.sizes[p] : 0;
        }
        ASSERT_EQ(node->QueueInput(&request->info, 7, 0, 0, 0, 0), LumResultSuccess);
        ASSERT_EQ(node->QueueOutput(&request->info, 7, 0, 0), LumResultSuccess);
    }

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 2 * std::size(cases));
    for (size_t i = 0; i < std::size(cases); i++) {
        SCOPED_TRACE(i);
        const BufferSeen& input = *queued[2 * i].buffer;
        EXPECT_EQ(static_cast<uint32_t>(input.bufferLen), cases[i].expected);
        EXPECT_EQ(input.filledLen, input.bufferLen);
        EXPECT_EQ(input.allocLen, input.bufferLen);
        // The output image was not changed: its size is its own.
        EXPECT_EQ(queued[2 * i + 1].buffer->bufferLen, kSmallNv12Size);
    }
}

TEST_F(NativeHandleTest, ImageSizeAboveInt32MaxIsPrintedSignedAndUnsigned) {
    auto request = MakeRequest(7, 100);
    request->input->numberOfPlanes = 2;
    request->input->planeSize[0] = 0x80000000ULL;
    request->input->planeSize[1] = 0x10;

    StartCapture();
    ASSERT_EQ(node->QueueInput(&request->info, 7, 1, 0, 1, 0), LumResultSuccess);

    const std::string fd = std::to_string(request->input->bufferFd);
    const std::string cookie = Ptr(&request->info.inputCookie);
    ExpectLog({
        Node('I', "QueueInput", "[BufNode] queueInput of requestId: 7, index: 1, newTimestamp: 0"),
        Node('I', "QueueInput", "[BufNode] need generate FD from internal buffer, requestId: 7"),
        Node('I', "QueueInput",
             "[BufNode] requestId: 7, FD: " + fd + ", pImageBuffer size: -2147483632"),
        Node('I', "QueueInput", "[BufNode] requestId: 7, inputQueuedNum increase to: 1"),
        Node('I', "QueueInput",
             "[BufNode] queueInput success! portType: 0, requestId: 7, index: 1, buffer len: "
             "2147483664, timestamp: 100, nativeHandle: (nil), cookie: " +
                 cookie),
    });
}

}  // namespace
}  // namespace vpptest
