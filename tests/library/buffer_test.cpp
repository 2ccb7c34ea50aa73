// The buffer path: QueueInput, QueueOutput, QueueTempBuffertoVPPOutput and QueueInputEmpty, as the
// VppBuffer the session receives, the request counters, the results and every log line; and the
// descriptors a queued buffer carries (fresh duplicates, released after the call).
#include <sys/mman.h>

#include "buffer_path_fixture.h"

namespace vpptest {
namespace {

using camera_host::CameraBuffer;
using camera_host::CameraBufferConfig;
using camera_host::HandleMode;
using camera_host::RequestBuffers;

std::string InputEntry(const std::string& requestId, unsigned index, const std::string& newTs) {
    return "[BufNode] queueInput of requestId: " + requestId + ", index: " + std::to_string(index) +
           ", newTimestamp: " + newTs;
}

// The final line of QueueInput: verb is "success!" or "failed!".
std::string InputOutcome(const char* verb, const std::string& requestId, unsigned index,
                         uint32_t length, const std::string& timestamp, const void* pHandle,
                         const void* pCookie) {
    return std::string("[BufNode] queueInput ") + verb + " portType: 0, requestId: " + requestId +
           ", index: " + std::to_string(index) + ", buffer len: " + std::to_string(length) +
           ", timestamp: " + timestamp + ", nativeHandle: " + Ptr(pHandle) +
           ", cookie: " + Ptr(pCookie);
}

std::string HandleLine(const void* pHandle) {
    return "[BufNode] get phNativeHandle: " + Ptr(pHandle);
}

std::string NoHandle(const std::string& requestId, unsigned index) {
    return "[BufNode] VPP get phNativeHandle: (nil), requestId: " + requestId +
           ", index: " + std::to_string(index);
}

// The duplication line of the output paths.
std::string OutputDuplicated(const std::string& requestId, const native_handle_t* pHandle,
                             const std::string& size) {
    return "[BufNode] requestId: " + requestId + " FD: " + std::to_string(pHandle->data[0]) +
           ", pImageBuffer size: " + size + " phNativeHandle: " + Ptr(pHandle);
}

using QueueInputTest = BufferPathTest;

// Each descriptor of the camera handle goes out as a fresh close-on-exec duplicate beside the
// handle's numbers, closed once after the call (a second close would reach syslog); a new
// timestamp replaces the frame's; numbers above INT64_MAX print unsigned.
TEST_F(QueueInputTest, CameraFrameIsSentFieldByFieldAndCounted) {
    auto request = MakeRequest(UINT64_MAX, 33333, SmallNv12(true, {7, -3}));
    const native_handle_t* pHandle = request->input->Camera()->Handle();
    const int cameraFd = pHandle->data[0];
    const uint64_t newTimestamp = 0xFFFFFFFFFFFFFFF0ULL;
    StartCapture();
    EXPECT_EQ(node->QueueInput(&request->info, UINT64_MAX, 255, 0, 0, newTimestamp),
              LumResultSuccess);
    EXPECT_EQ(Queued().size(), 1u);
    const BufferSeen seen = ExpectLastQueued(0, {cameraFd, pHandle->data[1]}, kSmallNv12Size,
                                             kSmallNv12Size, static_cast<int64_t>(newTimestamp), 0,
                                             CookieOf(&request->info.inputCookie));
    EXPECT_EQ(seen.ints, (std::vector<int32_t>{7, -3}));
    EXPECT_TRUE(SyslogLines().empty());
    EXPECT_TRUE(IsOpen(cameraFd) && IsOpen(pHandle->data[1]));
    EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 1);
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 0);
    const std::string id = "18446744073709551615";
    ExpectLog({
        Node('I', "QueueInput", InputEntry(id, 255, "18446744073709551600")),
        Node('V', "GetNativeHandle", HandleLine(pHandle)),
        Node('I', "QueueInput",
             "[BufNode] requestId: " + id + " FD: " + std::to_string(cameraFd) +
                 " pImageBuffer size: 3072"),
        Node('I', "QueueInput", "[BufNode] requestId: " + id + ", inputQueuedNum increase to: 1"),
        Node('I', "QueueInput",
             InputOutcome("success!", id, 255, 3072, "18446744073709551600", pHandle,
                          &request->info.inputCookie)),
    });
}

// Only 1 marks end of stream: the buffer keeps its image and is not counted. Without an FRC
// record nothing is counted and the count line is left out.
TEST_F(QueueInputTest, EndOfStreamAndMissingRecordAreNotCounted) {
    auto request = MakeRequest(9, 500);
    const int cameraFd = request->input->Camera()->Handle()->data[0];
    for (int32_t isEOS : {1, 2, -1, 0x101}) {
        EXPECT_EQ(node->QueueInput(&request->info, 9, 1, isEOS, 0, 0), LumResultSuccess);
        ExpectLastQueued(0, {cameraFd}, kSmallNv12Size, kSmallNv12Size, 500, isEOS == 1 ? 1 : 0,
                         CookieOf(&request->info.inputCookie));
    }
    EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 3);

    request->info.pFrcRatioInfo = nullptr;
    StartCapture();
    EXPECT_EQ(node->QueueInput(&request->info, 9, 1, 0, 0, 0), LumResultSuccess);
    EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 3);
    EXPECT_EQ(SinkLines().size(), 4u);
}

// Any non-zero flag sends the internal buffer (the camera object is not asked for a handle).
TEST_F(QueueInputTest, AnyNonZeroGenerateFlagWrapsTheInternalBuffer) {
    auto request = MakeRequest(11, 700);
    request->input->pImageList = nullptr;
    const int internal = request->input->InternalDescriptor();
    for (int32_t needGenerateFd : {2, -1, 1}) {
        SCOPED_TRACE(needGenerateFd);
        StartCapture();
        EXPECT_EQ(node->QueueInput(&request->info, 11, 4, 0, needGenerateFd, 0), LumResultSuccess);
        EXPECT_TRUE(ExpectLastQueued(0, {internal}, kSmallNv12Size, kSmallNv12Size, 700, 0,
                                     CookieOf(&request->info.inputCookie))
                        .ints.empty());
    }
    // The internal buffer keeps its own descriptor.
    EXPECT_EQ(request->input->bufferFd, internal);
    EXPECT_TRUE(IsOpen(internal));
    EXPECT_TRUE(SyslogLines().empty());
    ExpectLog({
        Node('I', "QueueInput", InputEntry("11", 4, "0")),
        Node('I', "QueueInput", "[BufNode] need generate FD from internal buffer, requestId: 11"),
        Node('I', "QueueInput",
             "[BufNode] requestId: 11, FD: " + std::to_string(internal) +
                 ", pImageBuffer size: 3072"),
        Node('I', "QueueInput", "[BufNode] requestId: 11, inputQueuedNum increase to: 3"),
        Node('I', "QueueInput",
             InputOutcome("success!", "11", 4, 3072, "700", nullptr, &request->info.inputCookie)),
    });
}

// Every refusal is a timeout that leaves the counter and releases the duplicate; the service's
// code is not printed.
TEST_F(QueueInputTest, EveryServiceRefusalIsATimeout) {
    auto request = MakeRequest(7, 100);
    request->frcRatioInfo.inputQueuedNum = 9;
    const native_handle_t* pHandle = request->input->Camera()->Handle();
    for (VppError error : {VppError::VPP_ERR_FATAL, static_cast<VppError>(-1), VppError::VPP_ERR}) {
        SCOPED_TRACE(static_cast<int32_t>(error));
        session->Script("queueBuf", {Answer(error)});
        StartCapture();
        EXPECT_EQ(node->QueueInput(&request->info, 7, 2, 0, 0, 0), LumResultETimeout);
        EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 9);
        ExpectLastQueued(0, {pHandle->data[0]}, kSmallNv12Size, kSmallNv12Size, 100, 0,
                         CookieOf(&request->info.inputCookie));
    }
    ExpectLog({
        Node('I', "QueueInput", InputEntry("7", 2, "0")),
        Node('V', "GetNativeHandle", HandleLine(pHandle)),
        Node('I', "QueueInput",
             "[BufNode] requestId: 7 FD: " + std::to_string(pHandle->data[0]) +
                 " pImageBuffer size: 3072"),
        Node('E', "QueueInput",
             InputOutcome("failed!", "7", 2, 3072, "100", pHandle, &request->info.inputCookie)),
    });
}

// A camera object without an address, a handle or at all fails before the service is called, on
// the input and the output path.
TEST_F(QueueInputTest, MissingCameraHandleFailsBeforeTheService) {
    for (HandleMode mode : {HandleMode::NullAddress, HandleMode::NullHandle, HandleMode::Normal}) {
        CameraBufferConfig config = SmallNv12();
        config.handleMode = mode;
        auto request = MakeRequest(7, 100, config);
        const bool noObject = mode == HandleMode::Normal;
        if (noObject) {
            request->input->pImageList = nullptr;
        }
        StartCapture();
        EXPECT_EQ(node->QueueInput(&request->info, 7, 6, noObject ? 0 : 1, 0, 0),
                  LumResultETimeout);
        EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 0);
        std::vector<ExpectedLine> expected = {Node('I', "QueueInput", InputEntry("7", 6, "0"))};
        if (noObject) {
            expected.push_back(
                Node('E', "GetNativeHandle", "[BufNode] Failed to get camera buffer!"));
        } else {
            expected.push_back(
                Node('I', "QueueInput", "[BufNode] >> queue EOS buffer of requestId: 7"));
            expected.push_back(Node('V', "GetNativeHandle", "[BufNode] get phNativeHandle: (nil)"));
        }
        expected.push_back(Node('E', "QueueInput", NoHandle("7", 6)));
        ExpectLog(expected);
        if (mode == HandleMode::NullHandle) {
            StartCapture();
            EXPECT_EQ(node->QueueOutput(&request->info, 7, 4, 0), LumResultETimeout);
            EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 0);
            ExpectLog({Node('I', "QueueOutput", "[BufNode] queueOutput of requestId: 7, index: 4"),
                       Node('V', "GetNativeHandle", "[BufNode] get phNativeHandle: (nil)"),
                       Node('E', "QueueOutput", NoHandle("7", 4))});
        }
        EXPECT_TRUE(Queued().empty());
    }
}

constexpr uint32_t kLargeSize = 12288;  // 128x64 NV12

// Port 1, no timestamp, nothing filled, the output image's size (128x64, not the input's);
// end-of-stream buffers are counted too. A refusal is a timeout that leaves the counter and
// releases the duplicate; without an FRC record both outcome lines print the count as 1.
TEST_F(BufferPathTest, OutputBufferIsSentAndCountedUnlessRefused) {
    auto request = RequestBuffers::Create(21, 33333, SmallNv12(), SmallNv12(false, {}, 128, 64));
    const native_handle_t* pHandle = request->output->Camera()->Handle();
    const void* pCookie = &request->info.outputCookie;
    StartCapture();
    EXPECT_EQ(node->QueueOutput(&request->info, 21, 2, 0), LumResultSuccess);
    EXPECT_EQ(Queued().size(), 1u);
    ExpectLastQueued(1, {pHandle->data[0]}, kLargeSize, 0, 0, 0, CookieOf(pCookie));
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 1);
    EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 0);
    ExpectLog({
        Node('I', "QueueOutput", "[BufNode] queueOutput of requestId: 21, index: 2"),
        Node('V', "GetNativeHandle", HandleLine(pHandle)),
        Node('I', "QueueOutput", OutputDuplicated("21", pHandle, "12288")),
        Node('I', "QueueOutput",
             OutputOutcome("success!", 1, "21", 2, kLargeSize, pHandle, pCookie)),
    });
    EXPECT_EQ(node->QueueOutput(&request->info, 21, 0, 1), LumResultSuccess);
    EXPECT_EQ(Queued().back().buffer->flags, 1);
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 2);

    session->Script("queueBuf", {Answer(VppError::VPP_PENDING), Answer(VppError::VPP_OK),
                                 Answer(static_cast<VppError>(1000))});
    StartCapture();
    EXPECT_EQ(node->QueueOutput(&request->info, 21, 3, 1), LumResultETimeout);
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 2);
    ExpectLastQueued(1, {pHandle->data[0]}, kLargeSize, 0, 0, 1, CookieOf(pCookie));
    ExpectLog({
        Node('I', "QueueOutput", "[BufNode] queueOutput of requestId: 21, index: 3"),
        Node('I', "QueueOutput", "[BufNode] >> queue EOS buffer of requestId: 21"),
        Node('V', "GetNativeHandle", HandleLine(pHandle)),
        Node('I', "QueueOutput", OutputDuplicated("21", pHandle, "12288")),
        Node('E', "QueueOutput",
             OutputOutcome("failed!", 2, "21", 3, kLargeSize, pHandle, pCookie)),
    });

    request->info.pFrcRatioInfo = nullptr;
    StartCapture();
    EXPECT_EQ(node->QueueOutput(&request->info, 21, 0, 0), LumResultSuccess);
    EXPECT_EQ(SinkLines().back().message,
              OutputOutcome("success!", 1, "21", 0, kLargeSize, pHandle, pCookie));
    EXPECT_EQ(node->QueueOutput(&request->info, 21, 1, 0), LumResultETimeout);
    EXPECT_EQ(SinkLines().back().message,
              OutputOutcome("failed!", 1, "21", 1, kLargeSize, pHandle, pCookie));
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 2);
}

// The memory-less end-of-stream buffer on port 0: only the flag, one line; a refusal is a failure
// (not a timeout) with the service's code printed signed, and only the out-value decides.
TEST_F(BufferPathTest, EmptyEndOfStreamBufferCarriesOnlyTheFlag) {
    StartCapture();
    EXPECT_EQ(node->QueueInputEmpty(UINT64_MAX, 4000000000u), LumResultSuccess);
    EXPECT_EQ(Queued().size(), 1u);
    EXPECT_TRUE(ExpectLastQueued(0, {}, 0, 0, 0, 1, 0).ints.empty());
    ExpectLog({Node('I', "QueueInputEmpty",
                    "[BufNode] QueueInputEmpty of requestId: 18446744073709551615, index: "
                    "4000000000")});

    const std::pair<VppError, const char*> cases[] = {{VppError::VPP_ERR_PARAM, "5"},
                                                      {static_cast<VppError>(-1), "-1"}};
    for (const auto& [error, pPrinted] : cases) {
        session->Script("queueBuf", {Answer(error)});
        StartCapture();
        EXPECT_EQ(node->QueueInputEmpty(12, 3), LumResultEFailed);
        ExpectLog({
            Node('I', "QueueInputEmpty", "[BufNode] QueueInputEmpty of requestId: 12, index: 3"),
            Node('E', "QueueInputEmpty",
                 std::string("[BufNode] Queue EOS buffer failed: ") + pPrinted +
                     ", reqId: 12, queueIndex: 3"),
        });
    }
    session->Script("queueBuf", {BrokenTransaction()});
    EXPECT_EQ(node->QueueInputEmpty(12, 3), LumResultSuccess);
}

// The temporary output: the asking request's output image is 128x64 (12288 bytes), the
// temporary request's images 64x32 (3072 bytes), so the two sizes cannot be confused. Its lines
// are in the extension-layer form.
class QueueTempTest : public BufferPathTest {
  protected:
    void SetUp() override {
        BufferPathTest::SetUp();
        request = RequestBuffers::Create(31, 1000, SmallNv12(), SmallNv12(false, {}, 128, 64));
        temp = RequestBuffers::Create(32, 2000, SmallNv12(), SmallNv12());
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

const char* const kTemp = "QueueTempBuffertoVPPOutput";
const char* const kTempEntry = "[BufNode] QueueTempBuffertoVPPOutput of requestId: 31, index: 5";

// Only a flag of exactly 1 takes the temporary request's internal buffer; size and counter are
// the asking request's, the cookie the temporary one's. Without an FRC record nothing is counted
// and both outcomes print 1.
TEST_F(QueueTempTest, InternalBufferOfTheTemporaryRequestIsChargedToTheAskingOne) {
    const int internal = temp->output->InternalDescriptor();
    StartCapture();
    EXPECT_EQ(Queue(1, nullptr), LumResultSuccess);
    EXPECT_EQ(Queued().size(), 1u);
    EXPECT_TRUE(
        ExpectLastQueued(1, {internal}, kLargeSize, 0, 0, 0, CookieOf(&temp->info.outputCookie))
            .ints.empty());
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 1);
    EXPECT_EQ(temp->frcRatioInfo.outputQueuedNum, 0);
    EXPECT_TRUE(IsOpen(internal));
    // The lines up to the outcome of a generated internal buffer.
    const std::vector<ExpectedLine> generated = {
        Ixe('I', kTemp, kTempEntry),
        Ixe('I', kTemp, "[BufNode] need generate FD from internal buffer, requestId: 31"),
        Ixe('I', kTemp,
            "[BufNode] requestId: 31, FD: " + std::to_string(internal) +
                ", pImageBuffer size: 12288")};
    std::vector<ExpectedLine> expected = generated;
    expected.push_back(Ixe('I', kTemp, Outcome("success!", 1, kLargeSize, nullptr)));
    ExpectLog(expected);

    request->info.pFrcRatioInfo = nullptr;
    session->Script("queueBuf", {Answer(VppError::VPP_OK), Answer(VppError::VPP_ERR_HW)});
    StartCapture();
    EXPECT_EQ(Queue(1, nullptr), LumResultSuccess);
    EXPECT_EQ(Queue(1, nullptr), LumResultETimeout);
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 1);
    EXPECT_EQ(temp->frcRatioInfo.outputQueuedNum, 0);
    expected = generated;
    expected.push_back(Ixe('E', kTemp, "[BufNode] requestId: 31, pFrcRatioInfo is NULL!"));
    expected.push_back(Ixe('I', kTemp, Outcome("success!", 1, kLargeSize, nullptr)));
    expected.insert(expected.end(), generated.begin(), generated.end());
    expected.push_back(Ixe('E', kTemp, Outcome("failed!", 1, kLargeSize, nullptr)));
    ExpectLog(expected);
}

// Any other flag takes the camera object; a refusal is a timeout that leaves the counter.
TEST_F(QueueTempTest, AnyOtherGenerateFlagTakesTheCameraObject) {
    CameraBuffer* pCamera = temp->output->Camera();
    const native_handle_t* pHandle = pCamera->Handle();
    for (int32_t needGenerateFd : {0, 2, -1}) {
        SCOPED_TRACE(needGenerateFd);
        EXPECT_EQ(Queue(needGenerateFd, pCamera), LumResultSuccess);
        ExpectLastQueued(1, {pHandle->data[0]}, kLargeSize, 0, 0, 0,
                         CookieOf(&temp->info.outputCookie));
    }
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 3);
    EXPECT_TRUE(IsOpen(pHandle->data[0]));

    session->Script("queueBuf", {Answer(VppError::VPP_ERR_INVALID_CFG)});
    StartCapture();
    EXPECT_EQ(Queue(0, pCamera, 0, 200), LumResultETimeout);
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 3);
    ExpectLastQueued(1, {pHandle->data[0]}, kLargeSize, 0, 0, 0,
                     CookieOf(&temp->info.outputCookie));
    ExpectLog({
        Ixe('I', kTemp, "[BufNode] QueueTempBuffertoVPPOutput of requestId: 31, index: 200"),
        Ixe('I', kTemp, HandleLine(pHandle)),
        Ixe('I', kTemp, OutputDuplicated("31", pHandle, "12288")),
        Ixe('E', kTemp, Outcome("failed!", 3, kLargeSize, pHandle, 200)),
    });
}

// A camera object without a handle fails before the service; a null camera object queues an
// empty buffer (counted; end of stream flagged; the 8-bit counter wraps).
TEST_F(QueueTempTest, NullOrEmptyCameraObject) {
    std::unique_ptr<CameraBuffer> camera = CameraBuffer::Create([] {
        CameraBufferConfig config = SmallNv12();
        config.handleMode = HandleMode::NullHandle;
        return config;
    }());
    ASSERT_NE(camera, nullptr);
    StartCapture();
    EXPECT_EQ(Queue(0, camera.get()), LumResultETimeout);
    EXPECT_TRUE(Queued().empty());
    ExpectLog({
        Ixe('I', kTemp, kTempEntry),
        Ixe('I', kTemp, "[BufNode] get phNativeHandle: (nil)"),
        Ixe('E', kTemp, "[BufNode] VPP get phNativeHandle: (nil), requestId: 31, index: 5"),
    });

    request->frcRatioInfo.outputQueuedNum = 255;
    StartCapture();
    EXPECT_EQ(Queue(3, nullptr, 1), LumResultSuccess);
    EXPECT_EQ(Queued().size(), 1u);
    EXPECT_TRUE(
        ExpectLastQueued(1, {}, 0, 0, 0, 1, CookieOf(&temp->info.outputCookie)).ints.empty());
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 0);
    ExpectLog({
        Ixe('I', kTemp, kTempEntry),
        Ixe('I', kTemp, "[BufNode] >> queue EOS buffer of requestId: 31"),
        Ixe('E', kTemp, "[BufNode] Failed to get camera buffer!"),
        Ixe('I', kTemp, Outcome("success!", 0, 0, nullptr)),
    });
    EXPECT_EQ(Queue(3, nullptr, 2), LumResultSuccess);
    EXPECT_EQ(Queued().back().buffer->flags, 0);
    EXPECT_EQ(request->frcRatioInfo.outputQueuedNum, 1);
}

using NativeHandleTest = BufferPathTest;

// A slot that cannot be duplicated arrives as -1, is skipped on release, and the call goes on.
TEST_F(NativeHandleTest, UndupableSlotArrivesAsMinusOne) {
    auto request = MakeRequest();
    const int first = memfd_create("first", MFD_CLOEXEC);
    const int last = memfd_create("last", MFD_CLOEXEC);
    ASSERT_GE(first, 0);
    ASSERT_GE(last, 0);
    FakeCameraBuffer fake(native_handle_create(3, 1));
    fake.pHandle->data[0] = first;
    fake.pHandle->data[1] = UnusedDescriptorNumber();
    fake.pHandle->data[2] = last;
    fake.pHandle->data[3] = 99;
    request->input->pImageList = &fake;

    StartCapture();
    const int64_t cookie = CookieOf(&request->info.inputCookie);
    EXPECT_EQ(node->QueueInput(&request->info, 7, 0, 0, 0, 0), LumResultSuccess);
    EXPECT_EQ(
        ExpectLastQueued(0, {first, -1, last}, kSmallNv12Size, kSmallNv12Size, 33333, 0, cookie)
            .ints,
        std::vector<int32_t>{99});
    request->input->bufferFd = UnusedDescriptorNumber();
    EXPECT_EQ(node->QueueInput(&request->info, 7, 0, 0, 1, 0), LumResultSuccess);
    ExpectLastQueued(0, {-1}, kSmallNv12Size, kSmallNv12Size, 33333, 0, cookie);
    EXPECT_EQ(request->frcRatioInfo.inputQueuedNum, 2);
    EXPECT_TRUE(SyslogLines().empty());
    native_handle_delete(fake.pHandle);
    close(first);
    close(last);
}

// The length is the sum of the low halves of the first numberOfPlanes plane sizes, in 32 bits;
// the output image keeps its own.
TEST_F(NativeHandleTest, ImageSizeSumsLowHalvesOfThePlaneSizesWithWrapAround) {
    auto request = MakeRequest(7, 100);
    IxoImageList& image = *request->input;
    const struct {
        uint32_t planes;
        std::vector<uint64_t> sizes;
        uint32_t expected;
    } cases[] = {
        {0, {500}, 0},
        {2, {0x100000010ULL, 0x200000020ULL, 7}, 0x30},
        {2, {0xFFFFFFF0ULL, 0x20}, 0x10},
        {3, {0x80000000ULL, 0x10, 0x300000000ULL}, 0x80000010},
    };
    for (const auto& c : cases) {
        image.numberOfPlanes = c.planes;
        for (uint32_t p = 0; p < IXO_MAX_PLANES; p++) {
            image.planeSize[p] = p < c.sizes.size() ? c.sizes[p] : 0;
        }
        StartCapture();
        ASSERT_EQ(node->QueueInput(&request->info, 7, 0, 0, 1, 0), LumResultSuccess);
        ASSERT_EQ(node->QueueOutput(&request->info, 7, 0, 0), LumResultSuccess);
        const std::vector<Call> queued = Queued();
        const BufferSeen& input = *queued[queued.size() - 2].buffer;
        EXPECT_EQ(static_cast<uint32_t>(input.bufferLen), c.expected);
        EXPECT_EQ(input.filledLen, input.bufferLen);
        EXPECT_EQ(input.allocLen, input.bufferLen);
        EXPECT_EQ(queued.back().buffer->bufferLen, kSmallNv12Size);
        // The size prints signed in the descriptor line and unsigned in the outcome.
        const auto lines = SinkLines();
        EXPECT_EQ(lines.at(2).message,
                  "[BufNode] requestId: 7, FD: " + std::to_string(request->input->bufferFd) +
                      ", pImageBuffer size: " + std::to_string(static_cast<int32_t>(c.expected)));
        EXPECT_NE(lines.at(4).message.find(", buffer len: " + std::to_string(c.expected) + ","),
                  std::string::npos);
    }
}

}  // namespace
}  // namespace vpptest
