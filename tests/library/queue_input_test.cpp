// Tests of QueueInput: the VppBuffer sent on port 0 field by field, timestamp choice, end of
// stream, the internal-buffer path, the 8-bit input counter, every failure answering
// LumResultETimeout, and every log line to the character.
#include "buffer_path_fixture.h"

namespace vpptest {
namespace {

using camera_host::HandleMode;

using QueueInputTest = BufferPathTest;

std::string Entry(const std::string& requestId, unsigned index, const std::string& newTimestamp) {
    return "[BufNode] queueInput of requestId: " + requestId + ", index: " + std::to_string(index) +
           ", newTimestamp: " + newTimestamp;
}

// The final line of a queue call: verb is "success!" or "failed!".
std::string Outcome(const char* verb, const std::string& requestId, unsigned index, uint32_t length,
                    const std::string& timestamp, const void* pHandle, const void* pCookie) {
    return std::string("[BufNode] queueInput ") + verb + " portType: 0, requestId: " + requestId +
           ", index: " + std::to_string(index) + ", buffer len: " + std::to_string(length) +
           ", timestamp: " + timestamp + ", nativeHandle: " + Ptr(pHandle) +
           ", cookie: " + Ptr(pCookie);
}

TEST_F(QueueInputTest, CameraFrameIsSentFieldByFieldAndCounted) {
    auto request = MakeRequest(7, 33333);
    const native_handle_t* pHandle = request->input->Camera()->Handle();
    const int cameraFd = pHandle->data[0];

    StartCapture();
    EXPECT_EQ(node->QueueInput(&request->info, 7, 3, 0, 0, 0), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 1u);
    EXPECT_EQ(queued[0].port, 0);
    const BufferSeen& seen = *queued[0].buffer;
    ASSERT_EQ(seen.fds.size(), 1u);
    ExpectDuplicateOf(seen.fds[0], cameraFd);
    EXPECT_TRUE(seen.ints.empty());
    EXPECT_EQ(seen.offset, 0);
    EXPECT_EQ(seen.bufferLen, kSmallNv12Size);
    EXPECT_EQ(seen.filledLen, kSmallNv12Size);
    EXPECT_EQ(seen.allocLen, kSmallNv12Size);
    EXPECT_EQ(seen.extraFds, 0u);
    EXPECT_EQ(seen.extraInts, 0u);
    EXPECT_EQ(seen.extraOffset, 0);
    EXPECT_EQ(seen.extraLen, 0);
    EXPECT_EQ(seen.metadataCount, 0u);
    EXPECT_EQ(seen.flags, 0);
    EXPECT_EQ(seen.timestamp, 33333);
    EXPECT_EQ(seen.portType, 0);
    EXPECT_EQ(seen.cookie, CookieOf(&request->info.inputCookie));
    EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 1);
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 0);

    ExpectLog({
        Node('I', "QueueInput", Entry("7", 3, "0")),
        Node('V', "GetNativeHandle", "[BufNode] get phNativeHandle: " + Ptr(pHandle)),
        Node('I', "QueueInput",
             "[BufNode] requestId: 7 FD: " + std::to_string(cameraFd) + " pImageBuffer size: 3072"),
        Node('I', "QueueInput", "[BufNode] requestId: 7, inputQueuedNum increase to: 1"),
        Node('I', "QueueInput",
             Outcome("success!", "7", 3, 3072, "33333", pHandle, &request->info.inputCookie)),
    });
}

TEST_F(QueueInputTest, NewTimestampOverridesTheFrameTimestamp) {
    auto request = MakeRequest(7, 33333);
    const native_handle_t* pHandle = request->input->Camera()->Handle();
    // Above INT64_MAX: printed unsigned, sent as the same 64 bits.
    const uint64_t newTimestamp = 0xFFFFFFFFFFFFFFF0ULL;

    StartCapture();
    EXPECT_EQ(node->QueueInput(&request->info, UINT64_MAX, 255, 0, 0, newTimestamp),
              LumResultSuccess);
    const std::string fd = std::to_string(pHandle->data[0]);
    ExpectLog({
        Node('I', "QueueInput", Entry("18446744073709551615", 255, "18446744073709551600")),
        Node('V', "GetNativeHandle", "[BufNode] get phNativeHandle: " + Ptr(pHandle)),
        Node('I', "QueueInput",
             "[BufNode] requestId: 18446744073709551615 FD: " + fd + " pImageBuffer size: 3072"),
        Node('I', "QueueInput",
             "[BufNode] requestId: 18446744073709551615, inputQueuedNum increase to: 1"),
        Node('I', "QueueInput",
             Outcome("success!", "18446744073709551615", 255, 3072, "18446744073709551600", pHandle,
                     &request->info.inputCookie)),
    });
    EXPECT_EQ(node->QueueInput(&request->info, 7, 0, 0, 0, 44444), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 2u);
    EXPECT_EQ(static_cast<uint64_t>(queued[0].buffer->timestamp), newTimestamp);
    EXPECT_EQ(queued[1].buffer->timestamp, 44444);
}

TEST_F(QueueInputTest, EndOfStreamCarriesTheImageButIsNotCounted) {
    auto request = MakeRequest(9, 500);
    request->frcRatioInfo.inputQueuedNum = 5;

    EXPECT_EQ(node->QueueInput(&request->info, 9, 1, 1, 0, 0), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 1u);
    EXPECT_EQ(queued[0].buffer->flags, 1);
    EXPECT_EQ(queued[0].buffer->fds.size(), 1u);
    EXPECT_EQ(queued[0].buffer->bufferLen, kSmallNv12Size);
    EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 5);
}

TEST_F(QueueInputTest, OnlyOneMarksEndOfStream) {
    auto request = MakeRequest();
    for (int32_t isEOS : {2, -1, 0x101}) {
        EXPECT_EQ(node->QueueInput(&request->info, 7, 0, isEOS, 0, 0), LumResultSuccess);
    }
    for (const Call& call : Queued()) {
        EXPECT_EQ(call.buffer->flags, 0);
    }
    EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 3);
}

TEST_F(QueueInputTest, AnyNonZeroGenerateFlagWrapsTheInternalBuffer) {
    auto request = MakeRequest(11, 700);
    // The camera object would yield no handle: the internal path must not ask it.
    request->input->pImageList = nullptr;
    const int internal = request->input->InternalDescriptor();

    for (int32_t needGenerateFd : {1, 2, -1}) {
        SCOPED_TRACE(needGenerateFd);
        StartCapture();
        EXPECT_EQ(node->QueueInput(&request->info, 11, 4, 0, needGenerateFd, 0), LumResultSuccess);
        const std::vector<Call> queued = Queued();
        ASSERT_FALSE(queued.empty());
        const BufferSeen& seen = *queued.back().buffer;
        ASSERT_EQ(seen.fds.size(), 1u);
        ExpectDuplicateOf(seen.fds[0], internal);
        EXPECT_EQ(seen.bufferLen, kSmallNv12Size);
        EXPECT_EQ(seen.filledLen, kSmallNv12Size);
        EXPECT_EQ(seen.allocLen, kSmallNv12Size);
        EXPECT_EQ(seen.timestamp, 700);
        EXPECT_EQ(seen.cookie, CookieOf(&request->info.inputCookie));

        const std::string count = std::to_string(request->frcRatioInfo.inputQueuedNum);
        ExpectLog({
            Node('I', "QueueInput", Entry("11", 4, "0")),
            Node('I', "QueueInput",
                 "[BufNode] need generate FD from internal buffer, requestId: 11"),
            Node('I', "QueueInput",
                 "[BufNode] requestId: 11, FD: " + std::to_string(internal) +
                     ", pImageBuffer size: 3072"),
            Node('I', "QueueInput",
                 "[BufNode] requestId: 11, inputQueuedNum increase to: " + count),
            Node('I', "QueueInput",
                 Outcome("success!", "11", 4, 3072, "700", nullptr, &request->info.inputCookie)),
        });
    }
    EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 3);
}

TEST_F(QueueInputTest, WithoutFrcRecordTheFrameIsQueuedUncounted) {
    auto request = MakeRequest(7, 100);
    request->info.pFrcRatioInfo = nullptr;

    StartCapture();
    EXPECT_EQ(node->QueueInput(&request->info, 7, 0, 0, 0, 0), LumResultSuccess);

    EXPECT_EQ(Queued().size(), 1u);
    EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 0);
    // No count line: the entry, the handle, the descriptor and the outcome.
    EXPECT_EQ(SinkLines().size(), 4u);
}

TEST_F(QueueInputTest, EveryServiceRefusalIsATimeout) {
    auto request = MakeRequest(7, 100);
    request->frcRatioInfo.inputQueuedNum = 9;
    const native_handle_t* pHandle = request->input->Camera()->Handle();

    for (VppError error : {VppError::VPP_ERR, VppError::VPP_ERR_PARAM, VppError::VPP_ERR_FATAL,
                           static_cast<VppError>(42), static_cast<VppError>(-1)}) {
        SCOPED_TRACE(static_cast<int32_t>(error));
        session->Script("queueBuf", {Answer(error)});
        StartCapture();
        EXPECT_EQ(node->QueueInput(&request->info, 7, 2, 0, 0, 0), LumResultETimeout);
        EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 9);
        ExpectReleased(Queued().back().buffer->fds.at(0));
    }
    // The refusal's transcript, once: the service's code is not printed.
    ExpectLog({
        Node('I', "QueueInput", Entry("7", 2, "0")),
        Node('V', "GetNativeHandle", "[BufNode] get phNativeHandle: " + Ptr(pHandle)),
        Node('I', "QueueInput",
             "[BufNode] requestId: 7 FD: " + std::to_string(pHandle->data[0]) +
                 " pImageBuffer size: 3072"),
        Node('E', "QueueInput",
             Outcome("failed!", "7", 2, 3072, "100", pHandle, &request->info.inputCookie)),
    });
}

TEST_F(QueueInputTest, MissingCameraHandleFailsBeforeTheService) {
    for (HandleMode mode : {HandleMode::NullAddress, HandleMode::NullHandle}) {
        camera_host::CameraBufferConfig config = SmallNv12();
        config.handleMode = mode;
        auto request = MakeRequest(7, 100, config);
        const int fdsBefore = testsupport::OpenDescriptorCount();

        StartCapture();
        EXPECT_EQ(node->QueueInput(&request->info, 7, 6, 1, 0, 0), LumResultETimeout);

        EXPECT_TRUE(Queued().empty());
        EXPECT_EQ(testsupport::OpenDescriptorCount(), fdsBefore);
        ExpectLog({
            Node('I', "QueueInput", Entry("7", 6, "0")),
            Node('I', "QueueInput", "[BufNode] >> queue EOS buffer of requestId: 7"),
            Node('V', "GetNativeHandle", "[BufNode] get phNativeHandle: (nil)"),
            Node('E', "QueueInput",
                 "[BufNode] VPP get phNativeHandle: (nil), requestId: 7, index: 6"),
        });
    }
}

TEST_F(QueueInputTest, MissingCameraObjectFailsBeforeTheService) {
    auto request = MakeRequest(7, 100);
    request->input->pImageList = nullptr;

    StartCapture();
    EXPECT_EQ(node->QueueInput(&request->info, 7, 6, 0, 0, 0), LumResultETimeout);

    EXPECT_TRUE(Queued().empty());
    EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 0);
    ExpectLog({
        Node('I', "QueueInput", Entry("7", 6, "0")),
        Node('E', "GetNativeHandle", "[BufNode] Failed to get camera buffer!"),
        Node('E', "QueueInput", "[BufNode] VPP get phNativeHandle: (nil), requestId: 7, index: 6"),
    });
}

}  // namespace
}  // namespace vpptest
