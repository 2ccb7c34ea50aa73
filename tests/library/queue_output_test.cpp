// Tests of QueueOutput: the VppBuffer sent on port 1 field by field (no timestamp, nothing
// filled), the 8-bit output counter including end-of-stream buffers, the printed placeholder 1
// without an FRC record, failures answering LumResultETimeout, and every log line.
#include "buffer_path_fixture.h"

namespace vpptest {
namespace {

using camera_host::CameraBufferConfig;
using camera_host::HandleMode;
using camera_host::RequestBuffers;

using QueueOutputTest = BufferPathTest;

std::string Entry(const std::string& requestId, unsigned index) {
    return "[BufNode] queueOutput of requestId: " + requestId + ", index: " + std::to_string(index);
}

std::string Duplicated(const std::string& requestId, const native_handle_t* pHandle,
                       const std::string& size) {
    return "[BufNode] requestId: " + requestId + " FD: " + std::to_string(pHandle->data[0]) +
           ", pImageBuffer size: " + size + " phNativeHandle: " + Ptr(pHandle);
}

// A request whose output image (128x64 NV12, 12288 bytes) differs from its input image.
std::unique_ptr<RequestBuffers> MakeOutputRequest(uint64_t requestId,
                                                  HandleMode mode = HandleMode::Normal) {
    CameraBufferConfig output = SmallNv12();
    output.geometry.width = 128;
    output.geometry.height = 64;
    output.handleMode = mode;
    auto request = RequestBuffers::Create(requestId, 33333, SmallNv12(), output);
    EXPECT_NE(request, nullptr);
    return request;
}

constexpr uint32_t kOutputSize = 12288;

TEST_F(QueueOutputTest, OutputBufferIsSentFieldByFieldAndCounted) {
    auto request = MakeOutputRequest(21);
    const native_handle_t* pHandle = request->output->Camera()->Handle();

    StartCapture();
    EXPECT_EQ(node->QueueOutput(&request->info, 21, 2, 0), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 1u);
    EXPECT_EQ(queued[0].port, 1);
    const BufferSeen& seen = *queued[0].buffer;
    ASSERT_EQ(seen.fds.size(), 1u);
    ExpectDuplicateOf(seen.fds[0], pHandle->data[0]);
    EXPECT_EQ(seen.offset, 0);
    EXPECT_EQ(seen.bufferLen, static_cast<int32_t>(kOutputSize));
    EXPECT_EQ(seen.filledLen, 0);
    EXPECT_EQ(seen.allocLen, static_cast<int32_t>(kOutputSize));
    EXPECT_EQ(seen.extraFds + seen.extraInts + seen.metadataCount, 0u);
    EXPECT_EQ(seen.extraOffset, 0);
    EXPECT_EQ(seen.extraLen, 0);
    EXPECT_EQ(seen.flags, 0);
    EXPECT_EQ(seen.timestamp, 0);
    EXPECT_EQ(seen.portType, 0);
    EXPECT_EQ(seen.cookie, CookieOf(&request->info.outputCookie));
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 1);
    EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 0);
    ExpectReleased(seen.fds[0]);

    ExpectLog({
        Node('I', "QueueOutput", Entry("21", 2)),
        Node('V', "GetNativeHandle", "[BufNode] get phNativeHandle: " + Ptr(pHandle)),
        Node('I', "QueueOutput", Duplicated("21", pHandle, "12288")),
        Node('I', "QueueOutput",
             OutputOutcome("success!", 1, "21", 2, kOutputSize, pHandle,
                           &request->info.outputCookie)),
    });
}

// End-of-stream output buffers carry the flag and their image, and are counted like any other.
TEST_F(QueueOutputTest, EndOfStreamOutputIsCounted) {
    auto request = MakeOutputRequest(22);
    request->frcRatioInfo.outputQueuedNum = 3;

    EXPECT_EQ(node->QueueOutput(&request->info, 22, 0, 1), LumResultSuccess);
    EXPECT_EQ(node->QueueOutput(&request->info, 22, 1, 2), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 2u);
    EXPECT_EQ(queued[0].buffer->flags, 1);
    EXPECT_EQ(queued[0].buffer->fds.size(), 1u);
    EXPECT_EQ(queued[1].buffer->flags, 0);
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 5);
}

// Without an FRC record nothing is counted and both outcome lines print the count as 1.
TEST_F(QueueOutputTest, WithoutFrcRecordBothOutcomesPrintOne) {
    auto request = MakeOutputRequest(24);
    request->info.pFrcRatioInfo = nullptr;
    const native_handle_t* pHandle = request->output->Camera()->Handle();
    session->Script("queueBuf", {Answer(VppError::VPP_OK), Answer(VppError::VPP_ERR_STATE)});

    StartCapture();
    EXPECT_EQ(node->QueueOutput(&request->info, 24, 0, 0), LumResultSuccess);
    EXPECT_EQ(SinkLines().back().message, OutputOutcome("success!", 1, "24", 0, kOutputSize,
                                                        pHandle, &request->info.outputCookie));
    EXPECT_EQ(node->QueueOutput(&request->info, 24, 1, 0), LumResultETimeout);
    EXPECT_EQ(SinkLines().back().message, OutputOutcome("failed!", 1, "24", 1, kOutputSize, pHandle,
                                                        &request->info.outputCookie));
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 0);
}

// Every refusal, known code or not, is a timeout that leaves the counter and releases the
// duplicate; the transcript of one refusal of an end-of-stream buffer is pinned.
TEST_F(QueueOutputTest, RefusalIsATimeoutAndLeavesTheCounter) {
    auto request = MakeOutputRequest(25);
    request->frcRatioInfo.outputQueuedNum = 7;
    const native_handle_t* pHandle = request->output->Camera()->Handle();

    for (VppError error : {VppError::VPP_ERR, VppError::VPP_ERR_NO_MEM, VppError::VPP_PENDING,
                           static_cast<VppError>(1000)}) {
        SCOPED_TRACE(static_cast<int32_t>(error));
        session->Script("queueBuf", {Answer(error)});
        StartCapture();
        EXPECT_EQ(node->QueueOutput(&request->info, 25, 3, 1), LumResultETimeout);
        EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 7);
        ExpectReleased(Queued().back().buffer->fds.at(0));
    }
    ExpectLog({
        Node('I', "QueueOutput", Entry("25", 3)),
        Node('I', "QueueOutput", "[BufNode] >> queue EOS buffer of requestId: 25"),
        Node('V', "GetNativeHandle", "[BufNode] get phNativeHandle: " + Ptr(pHandle)),
        Node('I', "QueueOutput", Duplicated("25", pHandle, "12288")),
        Node('E', "QueueOutput",
             OutputOutcome("failed!", 7, "25", 3, kOutputSize, pHandle,
                           &request->info.outputCookie)),
    });
}

TEST_F(QueueOutputTest, MissingCameraHandleFailsBeforeTheService) {
    for (HandleMode mode : {HandleMode::NullAddress, HandleMode::NullHandle}) {
        auto request = MakeOutputRequest(26, mode);

        StartCapture();
        EXPECT_EQ(node->QueueOutput(&request->info, 26, 4, 0), LumResultETimeout);

        EXPECT_TRUE(Queued().empty());
        EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 0);
        ExpectLog({
            Node('I', "QueueOutput", Entry("26", 4)),
            Node('V', "GetNativeHandle", "[BufNode] get phNativeHandle: (nil)"),
            Node('E', "QueueOutput",
                 "[BufNode] VPP get phNativeHandle: (nil), requestId: 26, index: 4"),
        });
    }

    auto request = MakeOutputRequest(26);
    request->output->pImageList = nullptr;
    StartCapture();
    EXPECT_EQ(node->QueueOutput(&request->info, 26, 4, 0), LumResultETimeout);
    EXPECT_TRUE(Queued().empty());
    ExpectLog({
        Node('I', "QueueOutput", Entry("26", 4)),
        Node('E', "GetNativeHandle", "[BufNode] Failed to get camera buffer!"),
        Node('E', "QueueOutput",
             "[BufNode] VPP get phNativeHandle: (nil), requestId: 26, index: 4"),
    });
}

TEST_F(QueueOutputTest, ImageWithoutPlanesIsQueuedWithLengthZero) {
    auto request = MakeOutputRequest(27);
    request->output->numberOfPlanes = 0;

    EXPECT_EQ(node->QueueOutput(&request->info, 27, 0, 0), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 1u);
    EXPECT_EQ(queued[0].buffer->bufferLen, 0);
    EXPECT_EQ(queued[0].buffer->allocLen, 0);
    EXPECT_EQ(queued[0].buffer->fds.size(), 1u);
}

}  // namespace
}  // namespace vpptest
