// FrcNode: camera requests over memfd buffers, the session's lifecycle through the library, the
// seven handlers.
#include "frc_node.h"

#include <camera_host/camera_buffers.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

#include "media/pixel_format.h"

namespace vppfrc {
namespace {

constexpr int32_t kEndOfStreamFlag = 1;
constexpr uint32_t kInputPort = 0;

uint64_t NowNs() {
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                     std::chrono::steady_clock::now().time_since_epoch())
                                     .count());
}

double Seconds(uint64_t ns) {
    return static_cast<double>(ns) * 1e-9;
}

std::string Describe(const char* what, LumResult result) {
    return std::string(what) + " (" + LumResultToString(result) + ")";
}

}  // namespace

const char* FrcModeName(FrcMode mode) {
    switch (mode) {
        case FrcMode::kOff:
            return "off";
        case FrcMode::kRepeat:
            return "repeat";
        case FrcMode::kBlend:
            return "blend";
        case FrcMode::kMotion:
            return "motion";
    }
    return "unknown";
}

FrcNode::FrcNode(const FrcNodeConfig& config, FrameConsumer consumer)
    : config_(config), consumer_(std::move(consumer)) {
    m_pNodeName = config_.name;
    m_width = config_.width;
    m_height = config_.height;
    // m_sessionMode keeps the base's default: NV12, the camera buffers' format.
}

FrcNode::~FrcNode() {
    Stop();
    // The close worker calls the handlers, which use this object's members: it must end before
    // they are destroyed, so the wait happens here and the base destructor skips its own.
    WaitForCloseVppSession();
    m_skipWaitForClose = 1;
    if (deliverer_.joinable()) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            deliveryExit_ = true;
        }
        deliveryReady_.notify_one();
        deliverer_.join();
    }
}

int FrcNode::OutputsPerInput() const {
    if (config_.rateNum > 0 && config_.rateDen > 0) {
        return (config_.rateNum + config_.rateDen - 1) / config_.rateDen;
    }
    return config_.factor;
}

bool FrcNode::AllocateRequests(std::string* error) {
    camera_host::CameraBufferConfig buffer;
    buffer.geometry.width = config_.width;
    buffer.geometry.height = config_.height;
    buffer.geometry.format = IxoFormatNV12;
    // Unpadded rows: the library gives both ports stride = width and scanlines = height.
    buffer.geometry.stride = config_.width;
    buffer.geometry.scanline = config_.height;

    const size_t outputCount = config_.outputRequests != 0
                                   ? config_.outputRequests
                                   : static_cast<size_t>(2 * std::max(OutputsPerInput(), 2));
    const size_t inputCount = std::max<size_t>(config_.inputRequests, 2);
    // Pool positions travel as uint8_t request indexes.
    if (inputCount > 256 || outputCount > 256) {
        *error = "too many camera buffers asked for";
        return false;
    }
    auto make = [&](bool output, size_t index) -> std::unique_ptr<Request> {
        auto request = std::make_unique<Request>();
        request->image = camera_host::ImageBuffer::Create(buffer);
        if (request->image == nullptr) {
            return nullptr;
        }
        request->index = static_cast<uint8_t>(index);
        request->frc.frcRatio = static_cast<uint32_t>(OutputsPerInput());
        request->info.pFrcRatioInfo = &request->frc;
        request->info.pPrivate = request.get();
        if (output) {
            request->info.pOutputImageBuffer = request->image.get();
        } else {
            request->info.pImageBuffer = request->image.get();
        }
        return request;
    };
    for (size_t i = 0; i < inputCount; ++i) {
        auto request = make(false, i);
        if (request == nullptr) {
            *error = "cannot allocate the camera buffers";
            return false;
        }
        inputCookies_[static_cast<int64_t>(
            reinterpret_cast<uintptr_t>(&request->info.inputCookie))] = request.get();
        inputs_.push_back(std::move(request));
    }
    for (size_t i = 0; i < outputCount; ++i) {
        auto request = make(true, i);
        if (request == nullptr) {
            *error = "cannot allocate the camera buffers";
            return false;
        }
        outputCookies_[static_cast<int64_t>(
            reinterpret_cast<uintptr_t>(&request->info.outputCookie))] = request.get();
        outputs_.push_back(std::move(request));
    }
    frameSize_ = static_cast<size_t>(config_.width) * config_.height * 3 / 2;
    staging_.resize(frameSize_);
    return true;
}

LumResult FrcNode::Start() {
    std::string error;
    if (!inputs_.empty()) {
        return LumResultEInvalidState;  // started before
    }
    if (config_.width == 0 || config_.height == 0 || (config_.width % 2) != 0 ||
        (config_.height % 2) != 0) {
        std::lock_guard<std::mutex> lock(mutex_);
        FailLocked("the frame size must be even and positive");
        return LumResultEInvalidArg;
    }
    if (!AllocateRequests(&error)) {
        std::lock_guard<std::mutex> lock(mutex_);
        FailLocked(error);
        return LumResultENoMemory;
    }
    deliverer_ = std::thread([this] { DeliverFrames(); });

    LumResult result = Initialize(&nodeInterface_);
    const char* step = "initialising the node failed";
    if (LumResultSuccess == result) {
        result = InitVppSession();
        step = "the VPP service gave no session";
    }
    if (LumResultSuccess == result) {
        result = NotifyOpenVppSession();
        step = "the session's open worker could not start";
    }
    if (LumResultSuccess == result && 1 != WaitForOnOpenVppSession()) {
        result = LumResultEFailed;
        step = "the VPP service refused to open the session";
    }
    if (LumResultSuccess == result) {
        VppCtrlFrc ctrl;
        ctrl.mode = static_cast<int32_t>(config_.mode);
        ctrl.factor = config_.factor;
        ctrl.rateNum = config_.rateNum;
        ctrl.rateDen = config_.rateDen;
        ctrl.searchRange = config_.searchRange;
        result = SetVppControl(ctrl);
        step = "the VPP service refused the conversion settings";
    }
    if (LumResultSuccess != result) {
        std::lock_guard<std::mutex> lock(mutex_);
        FailLocked(Describe(step, result));
        return result;
    }

    {
        std::lock_guard<std::mutex> lock(mutex_);
        started_ = true;
        accepting_ = true;
        for (auto& request : inputs_) {
            freeInputs_.push_back(request.get());
        }
        outputCallsInFlight_ += outputs_.size();
    }
    // Each call accounts for itself; after a failure the rest are only uncounted.
    for (size_t i = 0; i < outputs_.size(); ++i) {
        if (LumResultSuccess == result) {
            result = QueueOutputRequest(outputs_[i].get());
        } else {
            std::lock_guard<std::mutex> lock(mutex_);
            outputs_[i]->queued = false;
            idleOutputs_.push_back(outputs_[i].get());
            outputCallsInFlight_--;
        }
    }
    if (LumResultSuccess != result) {
        std::lock_guard<std::mutex> lock(mutex_);
        changed_.notify_all();
    }
    return result;
}

void FrcNode::AddQueueTime(uint64_t startNs) {
    const uint64_t elapsed = NowNs() - startNs;
    std::lock_guard<std::mutex> lock(mutex_);
    stats_.queueCalls++;
    stats_.queueSeconds += Seconds(elapsed);
}

LumResult FrcNode::QueueOutputRequest(Request* request) {
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            // Marked before the call: the service may return the buffer before the call returns.
            request->queued = true;
            request->inCall = true;
            request->info.requestId = nextOutputRequestId_++;
            request->frc.outputQueuedNum = 0;
            request->frc.outputDoneNum = 0;
        }
        const uint64_t start = NowNs();
        const LumResult result =
            QueueOutput(&request->info, request->info.requestId, request->index, 0);
        AddQueueTime(start);

        std::lock_guard<std::mutex> lock(mutex_);
        request->inCall = false;
        const bool again = request->returnedInCall;
        request->returnedInCall = false;
        if (LumResultSuccess != result) {
            request->queued = false;
            idleOutputs_.push_back(request);
            outputCallsInFlight_--;
            FailLocked(Describe("queueing an output buffer failed", result));
            return result;
        }
        if (!again) {
            outputCallsInFlight_--;
            changed_.notify_all();
            return LumResultSuccess;
        }
        // The buffer came back while the call was still running: its handler left it to this
        // thread, because the library updates the record after its service call.
        if (!accepting_ || stopping_ || !failure_.empty()) {
            request->queued = false;
            idleOutputs_.push_back(request);
            outputCallsInFlight_--;
            changed_.notify_all();
            return LumResultSuccess;
        }
    }
}

LumResult FrcNode::QueueFrame(const uint8_t* i420, int64_t timestamp) {
    Request* request = nullptr;
    uint64_t frame = 0;
    {
        std::unique_lock<std::mutex> lock(mutex_);
        inputFreed_.wait(lock, [&] {
            return !failure_.empty() || stopping_ || !started_ || endQueued_ ||
                   !freeInputs_.empty();
        });
        if (!failure_.empty()) {
            return LumResultEFailed;
        }
        if (stopping_ || !started_ || endQueued_) {
            return LumResultEInvalidState;
        }
        request = freeInputs_.front();
        freeInputs_.pop_front();
        request->queued = true;
        request->inCall = true;
        frame = framesQueued_++;
    }

    camera_host::CameraBuffer* camera = request->image->Camera();
    media::I420ToNv12(i420, config_.width, config_.height, camera->PlaneAddress(0),
                      camera->formatBlock.planeLayout[0].stride, camera->PlaneAddress(1),
                      camera->formatBlock.planeLayout[1].stride);
    // A recycled record describes a new request each time.
    request->info.requestId = frame;
    request->info.frameTimestamp = static_cast<uint64_t>(timestamp);
    request->frc.inputQueuedNum = 0;
    request->frc.inputDoneNum = 0;

    const uint64_t start = NowNs();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        pendingInputs_.push_back({timestamp, start});
    }
    // newTimestamp 0: the request's frameTimestamp travels.
    const LumResult result = QueueInput(&request->info, frame, request->index, 0, 0, 0);
    AddQueueTime(start);

    std::lock_guard<std::mutex> lock(mutex_);
    request->inCall = false;
    // A buffer the service returned before the call was over is freed only now that the library
    // is done with its record; a refused one was never taken.
    if (request->returnedInCall || LumResultSuccess != result) {
        request->returnedInCall = false;
        request->queued = false;
        freeInputs_.push_back(request);
        changed_.notify_all();
        inputFreed_.notify_one();
    }
    if (LumResultSuccess != result) {
        FailLocked(Describe(
            ("queueing input frame " + std::to_string(frame + 1) + " failed").c_str(), result));
        return result;
    }
    stats_.framesQueued++;
    return LumResultSuccess;
}

LumResult FrcNode::EndStream() {
    uint64_t frames = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!failure_.empty()) {
            return LumResultEFailed;
        }
        if (!started_ || stopping_ || endQueued_) {
            return LumResultEInvalidState;
        }
        endQueued_ = true;
        frames = framesQueued_;
    }
    const uint64_t start = NowNs();
    const LumResult result = QueueInputEmpty(frames, 0);
    AddQueueTime(start);
    if (LumResultSuccess != result) {
        std::lock_guard<std::mutex> lock(mutex_);
        FailLocked(Describe("queueing the end of the stream failed", result));
    }
    return result;
}

bool FrcNode::EndDeliveredLocked() const {
    // The end is in once the frames before it are delivered too.
    return drained_ && deliveries_.empty() && !delivering_;
}

bool FrcNode::WaitForEnd(int timeoutMs) {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        const uint64_t seen = returns_;
        const bool changed = changed_.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
            return EndDeliveredLocked() || !failure_.empty() || returns_ != seen;
        });
        if (!failure_.empty()) {
            return false;
        }
        if (EndDeliveredLocked()) {
            return true;
        }
        if (!changed) {
            FailLocked("the VPP service returned nothing for " + std::to_string(timeoutMs) + " ms");
            return false;
        }
    }
}

LumResult FrcNode::Flush(int timeoutMs) {
    {
        std::unique_lock<std::mutex> lock(mutex_);
        accepting_ = false;
        // A handler that decided to queue its buffer again finishes that first, so the flush
        // below sees it.
        changed_.wait(lock, [&] { return outputCallsInFlight_ == 0; });
    }
    FlushSession();

    std::unique_lock<std::mutex> lock(mutex_);
    const bool allBack = changed_.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
        return !failure_.empty() ||
               (freeInputs_.size() == inputs_.size() && idleOutputs_.size() == outputs_.size());
    });
    // The flush ends the stream: the next frame starts a new one.
    pendingInputs_.clear();
    streamOutputIndex_ = 0;
    if (!failure_.empty()) {
        return LumResultEFailed;
    }
    return allBack ? LumResultSuccess : LumResultETimeout;
}

LumResult FrcNode::Resume() {
    std::deque<Request*> idle;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!failure_.empty()) {
            return LumResultEFailed;
        }
        if (!started_ || stopping_) {
            return LumResultEInvalidState;
        }
        accepting_ = true;
        endQueued_ = false;
        drained_ = false;
        idle.swap(idleOutputs_);
        outputCallsInFlight_ += idle.size();
    }
    LumResult result = LumResultSuccess;
    for (Request* request : idle) {
        if (LumResultSuccess == result) {
            result = QueueOutputRequest(request);
        } else {
            std::lock_guard<std::mutex> lock(mutex_);
            idleOutputs_.push_back(request);
            outputCallsInFlight_--;
            changed_.notify_all();
        }
    }
    return result;
}

void FrcNode::Stop() {
    {
        std::unique_lock<std::mutex> lock(mutex_);
        if (stopping_) {
            return;
        }
        stopping_ = true;
        accepting_ = false;
        changed_.wait(lock, [&] { return outputCallsInFlight_ == 0; });
        changed_.notify_all();
        inputFreed_.notify_all();
    }
    // On failure to start the worker the session stays open; the destructor closes it.
    NotifyCloseVppSession();
}

bool FrcNode::failed() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return !failure_.empty();
}

bool FrcNode::serviceDied() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return died_;
}

std::string FrcNode::failure() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return failure_;
}

size_t FrcNode::freeInputCount() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return freeInputs_.size();
}

size_t FrcNode::idleOutputCount() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return idleOutputs_.size();
}

NodeStats FrcNode::stats() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return stats_;
}

void FrcNode::FailLocked(const std::string& reason) {
    if (failure_.empty()) {
        failure_ = reason;
    }
    changed_.notify_all();
    inputFreed_.notify_all();
}

FrcNode::Request* FrcNode::RequestOfCookie(int64_t cookie, bool output) {
    const auto& cookies = output ? outputCookies_ : inputCookies_;
    const auto found = cookies.find(cookie);
    return found != cookies.end() ? found->second : nullptr;
}

double FrcNode::LatencyOf(int64_t timestamp, uint64_t doneNs) {
    if (pendingInputs_.empty()) {
        return 0;
    }
    // Inputs before this frame's own are no longer needed by any later frame.
    while (pendingInputs_.size() > 1 && pendingInputs_.front().timestamp < timestamp) {
        pendingInputs_.pop_front();
    }
    // A made frame is complete once the input after it is in; a frame that passes through
    // unconverted (mode off, or the last of the stream) needs only its own input.
    const QueuedInput* completing = &pendingInputs_.front();
    if (config_.mode != FrcMode::kOff) {
        for (const QueuedInput& input : pendingInputs_) {
            if (input.timestamp > timestamp) {
                completing = &input;
                break;
            }
        }
    }
    return doneNs > completing->queuedNs ? Seconds(doneNs - completing->queuedNs) : 0;
}

void FrcNode::OnVppServiceDied() {
    std::lock_guard<std::mutex> lock(mutex_);
    died_ = true;
    FailLocked("the VPP service died");
}

void FrcNode::OnVppInputBufferDone(const VppBuffer& buffer) {
    std::lock_guard<std::mutex> lock(mutex_);
    returns_++;
    // The end-of-stream marker of QueueInputEmpty carries no cookie.
    if (0 == buffer.cookie) {
        changed_.notify_all();
        return;
    }
    Request* request = RequestOfCookie(buffer.cookie, false);
    if (nullptr == request || !request->queued) {
        FailLocked("the VPP service returned an input buffer that was not queued");
        return;
    }
    request->frc.inputDoneNum++;
    if (request->inCall) {
        request->returnedInCall = true;
        return;
    }
    request->queued = false;
    freeInputs_.push_back(request);
    changed_.notify_all();
    inputFreed_.notify_one();
}

void FrcNode::OnVppOutputBufferDone(const VppBuffer& buffer) {
    const uint64_t start = NowNs();
    Request* request = RequestOfCookie(buffer.cookie, true);
    const bool endOfStream = (buffer.flags & kEndOfStreamFlag) != 0;
    // A buffer returned by a flush or a close is unfilled; an end of stream may come without a
    // frame when nothing was left to output.
    const bool filled = buffer.filledLen > 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (nullptr == request || !request->queued) {
            returns_++;
            FailLocked("the VPP service returned an output buffer that was not queued");
            return;
        }
        request->frc.outputDoneNum++;
        if (endOfStream) {
            // The stream is over: buffers stay with the node until the next one.
            accepting_ = false;
        }
        if ((filled || endOfStream) && !stopping_ && failure_.empty()) {
            Delivery delivery;
            delivery.request = request;
            delivery.frame.timestamp = buffer.timestamp;
            delivery.frame.endOfStream = endOfStream;
            delivery.filled = filled;
            if (filled) {
                delivery.frame.index = nextOutputIndex_++;
                // Output j shows an input frame when j * q / p is whole.
                const uint64_t p =
                    static_cast<uint64_t>(config_.rateNum > 0 ? config_.rateNum : config_.factor);
                const uint64_t q = static_cast<uint64_t>(config_.rateNum > 0 ? config_.rateDen : 1);
                delivery.frame.isInputFrame =
                    config_.mode == FrcMode::kOff || ((streamOutputIndex_ % p) * q) % p == 0;
                streamOutputIndex_++;
                delivery.frame.latencySeconds = LatencyOf(buffer.timestamp, start);
                stats_.latencies.push_back(delivery.frame.latencySeconds);
            }
            // The conversion and the consumer run on the delivery thread, so that the service
            // goes on with the next frame meanwhile; the buffer comes back to the pool there.
            deliveries_.push_back(delivery);
            deliveryReady_.notify_one();
            stats_.handlerCalls++;
            stats_.handlerSeconds += Seconds(NowNs() - start);
            return;
        }
    }
    FinishOutput(request, false, true, 0);
    std::lock_guard<std::mutex> lock(mutex_);
    stats_.handlerCalls++;
    stats_.handlerSeconds += Seconds(NowNs() - start);
}

void FrcNode::DeliverFrames() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        deliveryReady_.wait(lock, [&] { return deliveryExit_ || !deliveries_.empty(); });
        if (deliveries_.empty()) {
            return;
        }
        const Delivery delivery = deliveries_.front();
        deliveries_.pop_front();
        delivering_ = true;
        // Frames decided before a stop or a failure are not handed out after it.
        const bool deliver = !stopping_ && failure_.empty();
        lock.unlock();

        const uint64_t start = NowNs();
        OutputFrame frame = delivery.frame;
        bool consumed = true;
        double consumerSeconds = 0;
        if (deliver) {
            if (delivery.filled) {
                const camera_host::CameraBuffer* camera = delivery.request->image->Camera();
                media::Nv12ToI420(
                    camera->PlaneAddress(0), camera->formatBlock.planeLayout[0].stride,
                    camera->PlaneAddress(1), camera->formatBlock.planeLayout[1].stride,
                    config_.width, config_.height, staging_.data());
                frame.i420 = staging_.data();
                frame.size = frameSize_;
            }
            if (consumer_) {
                const uint64_t consumerStart = NowNs();
                consumed = consumer_(frame);
                consumerSeconds = Seconds(NowNs() - consumerStart);
            }
        }
        FinishOutput(delivery.request, deliver && delivery.filled, consumed, frame.index);

        lock.lock();
        delivering_ = false;
        stats_.handlerSeconds += Seconds(NowNs() - start);
        stats_.consumerSeconds += consumerSeconds;
        changed_.notify_all();
    }
}

void FrcNode::FinishOutput(Request* request, bool delivered, bool consumed, uint64_t index) {
    bool requeue = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        returns_++;
        if (delivered) {
            stats_.framesDelivered++;
        }
        if (!consumed) {
            FailLocked("the output could not take frame " + std::to_string(index + 1));
        }
        requeue = accepting_ && !stopping_ && failure_.empty();
        if (request->inCall) {
            // The thread still inside the queue call for this buffer decides what follows.
            request->returnedInCall = true;
            requeue = false;
        } else if (requeue) {
            outputCallsInFlight_++;
        } else {
            request->queued = false;
            idleOutputs_.push_back(request);
        }
        changed_.notify_all();
    }
    if (requeue) {
        QueueOutputRequest(request);
    }
}

void FrcNode::OnVppFlushDone(const FlushDone& flushDone) {
    // The handshake FlushSession waits for: flag by port and signal, under the flush lock.
    if (nullptr == m_pFlushSessionLock || nullptr == m_pWaitFlushSessionDone) {
        return;  // no session can exist without them
    }
    m_pFlushSessionLock->Lock();
    if (static_cast<int32_t>(kInputPort) == flushDone.port) {
        m_inputFlushDone = 1;
    } else {
        m_outputFlushDone = 1;
    }
    m_pWaitFlushSessionDone->Signal();
    m_pFlushSessionLock->Unlock();
}

void FrcNode::OnVppDrainDone() {
    std::lock_guard<std::mutex> lock(mutex_);
    drained_ = true;
    returns_++;
    changed_.notify_all();
}

void FrcNode::OnVppReconfigDone(const ReconfigDone& reconfigDone) {
    // The node never reconfigures; an unasked-for event means the session is not in the state
    // the node believes.
    std::lock_guard<std::mutex> lock(mutex_);
    FailLocked("the VPP service reported an unexpected reconfiguration (" +
               ::aidl::vendor::zux::hardware::vpp::toString(reconfigDone.status) + ")");
}

void FrcNode::OnVppError(VppError error) {
    std::lock_guard<std::mutex> lock(mutex_);
    FailLocked("the VPP service reported an error: " +
               ::aidl::vendor::zux::hardware::vpp::toString(error));
}

}  // namespace vppfrc
