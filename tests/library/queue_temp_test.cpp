// Tests of QueueTempBuffertoVPPOutput: which request supplies size, memory, cookie and counter;
// the internal path taken only for a flag of exactly 1; the empty buffer queued for a null camera
// object; the placeholder count 1; and its lines in the extension-layer form (tag "Ixo", "FRC").
#include "buffer_path_fixture.h"

namespace vpptest {
namespace {

using camera_host::CameraBuffer;
using camera_host::CameraBufferConfig;
using camera_host::HandleMode;
using camera_host::RequestBuffers;

class QueueTempTest : public BufferPathTest {
  protected:
    void SetUp() override {
        BufferPathTest::SetUp();
        // The asking request's output image is 128x64 NV12 (12288 bytes); the temporary
        // request's images are the small ones (3072 bytes), so the two sizes cannot be confused.
        CameraBufferConfig large = SmallNv12();
        large.geometry.width = 128;
        large.geometry.height = 64;
        request = RequestBuffers::Create(31, 1000, SmallNv12(), large);
        temp = RequestBuffers::Create(32, 2000, SmallNv12(), SmallNv12());
        ASSERT_NE(request, nullptr);
        ASSERT_NE(temp, nullptr);
    }

    void TearDown() override {
        request.reset();
        temp.reset();
        BufferPathTest::TearDown();
    }

    LumResult Queue(int32_t needGenerateFd, void* pCameraBuffer, int32_t isEOS = 0,
                    uint8_t index = 5) {
        return node->QueueTempBuffertoVPPOutput(&request->info, &temp->info, 31, index,
                                                needGenerateFd, pCameraBuffer, isEOS);
    }

    std::string Outcome(const char* verb, unsigned count, uint32_t length, const void* pHandle,
                        unsigned index = 5) const {
        return OutputOutcome(verb, count, "31", index, length, pHandle, &temp->info.outputCookie);
    }

    std::unique_ptr<RequestBuffers> request;
    std::unique_ptr<RequestBuffers> temp;
};

constexpr uint32_t kLargeSize = 12288;
const char* const kFunction = "QueueTempBuffertoVPPOutput";
const char* const kEntry = "[BufNode] QueueTempBuffertoVPPOutput of requestId: 31, index: 5";

TEST_F(QueueTempTest, InternalBufferOfTheTemporaryRequestIsChargedToTheAskingOne) {
    const int internal = temp->output->InternalDescriptor();

    StartCapture();
    EXPECT_EQ(Queue(1, nullptr), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 1u);
    EXPECT_EQ(queued[0].port, 1);
    const BufferSeen& seen = *queued[0].buffer;
    ASSERT_EQ(seen.fds.size(), 1u);
    EXPECT_TRUE(seen.ints.empty());
    ExpectDuplicateOf(seen.fds[0], internal);
    EXPECT_EQ(seen.offset, 0);
    EXPECT_EQ(seen.bufferLen, static_cast<int32_t>(kLargeSize));
    EXPECT_EQ(seen.filledLen, 0);
    EXPECT_EQ(seen.allocLen, static_cast<int32_t>(kLargeSize));
    EXPECT_EQ(seen.extraFds + seen.extraInts + seen.metadataCount, 0u);
    EXPECT_EQ(seen.flags, 0);
    EXPECT_EQ(seen.timestamp, 0);
    EXPECT_EQ(seen.portType, 0);
    EXPECT_EQ(seen.cookie, CookieOf(&temp->info.outputCookie));
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 1);
    EXPECT_EQ(temp->frcRatioInfo.outputQueuedNum, 0);
    ExpectReleased(seen.fds[0]);
    EXPECT_TRUE(IsOpen(internal));

    ExpectLog({
        Ixe('I', kFunction, kEntry),
        Ixe('I', kFunction, "[BufNode] need generate FD from internal buffer, requestId: 31"),
        Ixe('I', kFunction,
            "[BufNode] requestId: 31, FD: " + std::to_string(internal) +
                ", pImageBuffer size: 12288"),
        Ixe('I', kFunction, Outcome("success!", 1, kLargeSize, nullptr)),
    });
}

TEST_F(QueueTempTest, AnyOtherGenerateFlagTakesTheCameraObject) {
    CameraBuffer* pCamera = temp->output->Camera();
    const native_handle_t* pHandle = pCamera->Handle();

    for (int32_t needGenerateFd : {0, 2, -1}) {
        SCOPED_TRACE(needGenerateFd);
        StartCapture();
        EXPECT_EQ(Queue(needGenerateFd, pCamera), LumResultSuccess);

        const std::vector<Call> queued = Queued();
        ASSERT_FALSE(queued.empty());
        const BufferSeen& seen = *queued.back().buffer;
        ASSERT_EQ(seen.fds.size(), 1u);
        ExpectDuplicateOf(seen.fds[0], pHandle->data[0]);
        EXPECT_EQ(seen.bufferLen, static_cast<int32_t>(kLargeSize));
        EXPECT_EQ(seen.cookie, CookieOf(&temp->info.outputCookie));
    }
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 3);
    EXPECT_TRUE(IsOpen(pHandle->data[0]));
}

// Its lines are pinned by the log-form tests below.
TEST_F(QueueTempTest, NullCameraObjectQueuesAnEmptyBuffer) {
    EXPECT_EQ(Queue(0, nullptr), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 1u);
    const BufferSeen& seen = *queued[0].buffer;
    EXPECT_TRUE(seen.fds.empty());
    EXPECT_TRUE(seen.ints.empty());
    EXPECT_EQ(seen.bufferLen, 0);
    EXPECT_EQ(seen.allocLen, 0);
    EXPECT_EQ(seen.filledLen, 0);
    EXPECT_EQ(seen.cookie, CookieOf(&temp->info.outputCookie));
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 1);
}

TEST_F(QueueTempTest, CameraObjectWithoutHandleFailsBeforeTheService) {
    for (HandleMode mode : {HandleMode::NullAddress, HandleMode::NullHandle}) {
        CameraBufferConfig config = SmallNv12();
        config.handleMode = mode;
        std::unique_ptr<CameraBuffer> camera = CameraBuffer::Create(config);
        ASSERT_NE(camera, nullptr);

        StartCapture();
        EXPECT_EQ(Queue(0, camera.get()), LumResultETimeout);

        EXPECT_TRUE(Queued().empty());
        EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 0);
        ExpectLog({
            Ixe('I', kFunction, kEntry),
            Ixe('I', kFunction, "[BufNode] get phNativeHandle: (nil)"),
            Ixe('E', kFunction, "[BufNode] VPP get phNativeHandle: (nil), requestId: 31, index: 5"),
        });
    }
}

TEST_F(QueueTempTest, WithoutFrcRecordSuccessIsReportedWithCountOne) {
    request->info.pFrcRatioInfo = nullptr;
    session->Script("queueBuf", {Answer(VppError::VPP_OK), Answer(VppError::VPP_ERR_HW)});
    const int internal = temp->output->InternalDescriptor();
    const std::string duplicated =
        "[BufNode] requestId: 31, FD: " + std::to_string(internal) + ", pImageBuffer size: 12288";

    StartCapture();
    EXPECT_EQ(Queue(1, nullptr), LumResultSuccess);
    EXPECT_EQ(Queue(1, nullptr), LumResultETimeout);

    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 0);
    EXPECT_EQ(temp->frcRatioInfo.outputQueuedNum, 0);
    ExpectLog({
        Ixe('I', kFunction, kEntry),
        Ixe('I', kFunction, "[BufNode] need generate FD from internal buffer, requestId: 31"),
        Ixe('I', kFunction, duplicated),
        Ixe('E', kFunction, "[BufNode] requestId: 31, pFrcRatioInfo is NULL!"),
        Ixe('I', kFunction, Outcome("success!", 1, kLargeSize, nullptr)),
        Ixe('I', kFunction, kEntry),
        Ixe('I', kFunction, "[BufNode] need generate FD from internal buffer, requestId: 31"),
        Ixe('I', kFunction, duplicated),
        Ixe('E', kFunction, Outcome("failed!", 1, kLargeSize, nullptr)),
    });
}

TEST_F(QueueTempTest, EndOfStreamOutputIsCountedAndTheCounterWraps) {
    request->frcRatioInfo.outputQueuedNum = 255;

    StartCapture();
    EXPECT_EQ(Queue(3, nullptr, 1), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 1u);
    EXPECT_EQ(queued[0].buffer->flags, 1);
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 0);
    ExpectLog({
        Ixe('I', kFunction, kEntry),
        Ixe('I', kFunction, "[BufNode] >> queue EOS buffer of requestId: 31"),
        Ixe('E', kFunction, "[BufNode] Failed to get camera buffer!"),
        Ixe('I', kFunction, Outcome("success!", 0, 0, nullptr)),
    });

    EXPECT_EQ(Queue(3, nullptr, 2), LumResultSuccess);
    EXPECT_EQ(Queued().back().buffer->flags, 0);
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 1);
}

TEST_F(QueueTempTest, RefusalIsATimeoutAndLeavesTheCounter) {
    request->frcRatioInfo.outputQueuedNum = 12;
    CameraBuffer* pCamera = temp->output->Camera();
    const native_handle_t* pHandle = pCamera->Handle();
    session->Script("queueBuf", {Answer(VppError::VPP_ERR_INVALID_CFG)});

    StartCapture();
    EXPECT_EQ(Queue(0, pCamera, 0, 200), LumResultETimeout);

    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 12);
    ExpectReleased(Queued().at(0).buffer->fds.at(0));
    ExpectLog({
        Ixe('I', kFunction, "[BufNode] QueueTempBuffertoVPPOutput of requestId: 31, index: 200"),
        Ixe('I', kFunction, "[BufNode] get phNativeHandle: " + Ptr(pHandle)),
        Ixe('I', kFunction,
            "[BufNode] requestId: 31 FD: " + std::to_string(pHandle->data[0]) +
                ", pImageBuffer size: 12288 phNativeHandle: " + Ptr(pHandle)),
        Ixe('E', kFunction, Outcome("failed!", 12, kLargeSize, pHandle, 200)),
    });
}

TEST_F(QueueTempTest, LinesFollowTheExtensionLayerMasksOnly) {
    // Node masks off, only the FRC group on at error and info: every line is still written.
    DisableAllLogs();
    g_enableIxeLogs[0] = 0x800;
    g_enableIxeLogs[4] = 0x800;
    StartCapture();
    EXPECT_EQ(Queue(0, nullptr), LumResultSuccess);
    ExpectLog({
        Ixe('I', kFunction, kEntry),
        Ixe('E', kFunction, "[BufNode] Failed to get camera buffer!"),
        Ixe('I', kFunction, Outcome("success!", 1, 0, nullptr)),
    });

    // Every group but FRC, in both mask arrays: nothing is written.
    for (int index = 0; index < IXO_LOG_LEVEL_COUNT; index++) {
        g_enableIxoNodeLogs[index] = ~0ULL;
        g_enableIxeLogs[index] = ~0x800ULL;
    }
    StartCapture();
    EXPECT_EQ(Queue(0, nullptr), LumResultSuccess);
    ExpectLog({});
}

TEST_F(QueueTempTest, EncryptedLinesGoToTheEncryptingSinkAlone) {
    g_logIxeEncryption = 1;

    StartCapture();
    EXPECT_EQ(Queue(0, nullptr), LumResultSuccess);

    std::vector<std::string> got;
    for (const camera_host::LogLine& line : SinkLines()) {
        got.push_back(
            std::string(line.sink == camera_host::LogSink::Encrypt ? "encrypt" : "normal") + "|" +
            line.levelTag + "|" + line.levelLetter + "|" + line.group + "|" + line.file + "|" +
            line.function + "|" + line.message);
    }
    const std::string prefix = "encrypt|";
    EXPECT_EQ(got, (std::vector<std::string>{
                       prefix + "[ INFO]|I|FRC|pavovppservicebase|" + kFunction + "|" + kEntry,
                       prefix + "[ERROR]|E|FRC|pavovppservicebase|" + kFunction +
                           "|[BufNode] Failed to get camera buffer!",
                       prefix + "[ INFO]|I|FRC|pavovppservicebase|" + kFunction + "|" +
                           Outcome("success!", 1, 0, nullptr),
                   }));
    EXPECT_TRUE(AndroidLines().empty());
}

}  // namespace
}  // namespace vpptest
