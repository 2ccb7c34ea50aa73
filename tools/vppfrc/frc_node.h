// FrcNode: a camera node that converts a stream's frame rate through the VPP service, driving the
// library the way a camera pipeline node does.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "pavovppservicebase.h"

namespace camera_host {
class ImageBuffer;
}

namespace vppfrc {

// Frame-rate conversion modes, numbered as the service's control record.
enum class FrcMode : int32_t { kOff = 0, kRepeat = 1, kBlend = 2, kMotion = 3 };

struct FrcNodeConfig {
    const char* name = "FrcNode";  // must outlive the node
    uint32_t width = 0;            // even, positive
    uint32_t height = 0;
    FrcMode mode = FrcMode::kBlend;
    int32_t factor = 2;  // output frames per input frame, 2..8 (ignored in mode off)
    // Output/input rate ratio in lowest terms, used instead of factor when rateNum > 0 (see
    // VppCtrlFrc.aidl): output j is input j * rateDen / rateNum when that is whole.
    int32_t rateNum = 0;
    int32_t rateDen = 0;
    int32_t searchRange = 0;    // motion search range in luma pixels; 0: the service chooses
    size_t inputRequests = 4;   // camera buffers for input frames
    size_t outputRequests = 0;  // camera buffers for output frames; 0: twice the factor
};

// One converted frame as handed to the consumer, in output order.
struct OutputFrame {
    const uint8_t* i420 = nullptr;  // valid only during the consumer call; null for an empty
                                    // end-of-stream buffer
    size_t size = 0;
    // The service's timestamp: with input i at i * rateNum, output j comes at j * rateDen.
    int64_t timestamp = 0;
    bool endOfStream = false;
    uint64_t index = 0;         // position in the output stream, from 0
    bool isInputFrame = false;  // a copy of an input frame rather than a made one
    double latencySeconds = 0;  // from queueing the input that completed it to its return
};

// Counters of a node's run, for summaries and benchmarks.
struct NodeStats {
    uint64_t framesQueued = 0;     // input frames queued
    uint64_t framesDelivered = 0;  // output frames handed to the consumer
    // Time spent inside the library's queue calls (QueueInput, QueueOutput, QueueInputEmpty),
    // which include the service's side of each call.
    uint64_t queueCalls = 0;
    double queueSeconds = 0;
    // Time spent on returned output buffers (the buffer-done handlers and the delivery
    // thread's conversion to I420), and in the consumer.
    uint64_t handlerCalls = 0;
    double handlerSeconds = 0;
    double consumerSeconds = 0;
    // Per output frame: input queued to output returned, in seconds.
    std::vector<double> latencies;
};

class FrcNode : public IxoNodeVppBase {
  public:
    // Called on the node's delivery thread, in output order, with each filled frame (and an
    // empty end-of-stream one when nothing was left to output), while the service goes on
    // with the next frames. Returns false to stop the run (the node then reports a failure).
    using FrameConsumer = std::function<bool(const OutputFrame&)>;

    // The service must be registered before construction: the base acquires it here.
    FrcNode(const FrcNodeConfig& config, FrameConsumer consumer);
    // Closes the session if Stop() was not called, and waits for the close to end.
    ~FrcNode() override;
    FrcNode(const FrcNode&) = delete;
    FrcNode& operator=(const FrcNode&) = delete;

    // Allocates the camera buffers, initialises the node, creates the session, opens it on the
    // deferred-open worker, sets the conversion control and queues every output buffer. On
    // failure the reason is in failure().
    LumResult Start();

    // Waits for a free input buffer, converts the I420 frame into it and queues it with the
    // timestamp (any unit; output timestamps are spaced within the same unit).
    LumResult QueueFrame(const uint8_t* i420, int64_t timestamp);

    // Queues the end of the stream.
    LumResult EndStream();

    // Waits until the end of the stream has come back (drain done), the node failed, or
    // timeoutMs passed without any buffer coming back. True only for the first.
    bool WaitForEnd(int timeoutMs);

    // Flushes both ports and waits until every queued buffer is back, up to timeoutMs; output
    // buffers returned meanwhile are kept rather than queued again. Resume() queues them again.
    LumResult Flush(int timeoutMs);
    LumResult Resume();

    // Starts the deferred close (flush, close, terminate on a worker). Buffers returned during
    // the close are kept. The destructor waits for the worker.
    void Stop();

    // Whether the node failed (service died, service error, a queue call failed, the consumer
    // stopped), and why.
    bool failed() const;
    bool serviceDied() const;
    std::string failure() const;

    // Buffers currently free (not held by the service).
    size_t freeInputCount() const;
    size_t idleOutputCount() const;
    size_t inputRequestCount() const { return inputs_.size(); }
    size_t outputRequestCount() const { return outputs_.size(); }

    NodeStats stats() const;
    const FrcNodeConfig& config() const { return config_; }

    // Handlers, called by the library on the service's threads.
    void OnVppServiceDied() override;
    void OnVppInputBufferDone(const VppBuffer& buffer) override;
    void OnVppOutputBufferDone(const VppBuffer& buffer) override;
    void OnVppFlushDone(const FlushDone& flushDone) override;
    void OnVppDrainDone() override;
    void OnVppReconfigDone(const ReconfigDone& reconfigDone) override;
    void OnVppError(VppError error) override;

  private:
    // One camera request record and the buffer behind it. The record's address never changes:
    // the service's cookies are addresses of its inputCookie or outputCookie.
    struct Request {
        IxoRequestBufferInfo info = {};
        IxoFrcRatioInfo frc = {};
        std::unique_ptr<camera_host::ImageBuffer> image;
        uint8_t index = 0;            // position in its pool
        bool queued = false;          // held by the service (or being queued)
        bool inCall = false;          // a library queue call for it is running
        bool returnedInCall = false;  // the service returned it during that call
    };

    // A returned output frame waiting for the delivery thread.
    struct Delivery {
        Request* request = nullptr;
        OutputFrame frame;  // everything but the pixels, decided when the buffer came back
        bool filled = false;
    };

    struct QueuedInput {
        int64_t timestamp;
        uint64_t queuedNs;
    };

    bool AllocateRequests(std::string* error);
    // Most output frames one input frame can yield (the factor, or the ratio rounded up).
    int OutputsPerInput() const;
    // Queues one output request; with the lock not held.
    LumResult QueueOutputRequest(Request* request);
    Request* RequestOfCookie(int64_t cookie, bool output);
    // The delivery thread: converts each returned frame, hands it to the consumer and puts its
    // buffer back to work, in output order.
    void DeliverFrames();
    // Counts a returned output buffer and queues it again, or keeps it when the node no longer
    // accepts output. With the lock not held.
    void FinishOutput(Request* request, bool delivered, bool consumed, uint64_t index);
    // The stream's end came back and every frame before it is delivered. Lock held.
    bool EndDeliveredLocked() const;
    // Records a failure (the first reason wins) and wakes every waiter. Lock held.
    void FailLocked(const std::string& reason);
    double LatencyOf(int64_t timestamp, uint64_t doneNs);
    void AddQueueTime(uint64_t startNs);

    const FrcNodeConfig config_;
    const FrameConsumer consumer_;
    IxoNodeInterface nodeInterface_ = {};
    std::vector<std::unique_ptr<Request>> inputs_;
    std::vector<std::unique_ptr<Request>> outputs_;
    // Cookie value to request; built once by Start(), read-only afterwards.
    std::unordered_map<int64_t, Request*> inputCookies_;
    std::unordered_map<int64_t, Request*> outputCookies_;
    std::vector<uint8_t> staging_;  // output frame converted to I420; delivery thread only
    size_t frameSize_ = 0;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    // Only the thread waiting for a free input buffer waits here: output returns, which come
    // twice as often or more, do not wake it for nothing.
    std::condition_variable inputFreed_;
    std::deque<Request*> freeInputs_;
    std::deque<Request*> idleOutputs_;  // returned and not queued again
    size_t outputCallsInFlight_ = 0;    // output queue calls decided or running
    bool started_ = false;
    bool accepting_ = false;  // output buffers returned are queued again
    bool stopping_ = false;
    bool endQueued_ = false;
    bool drained_ = false;
    bool died_ = false;
    std::string failure_;
    uint64_t returns_ = 0;  // buffers returned so far, to tell progress from a stall
    uint64_t framesQueued_ = 0;
    uint64_t nextOutputIndex_ = 0;
    uint64_t streamOutputIndex_ = 0;  // outputs since the stream (re)started
    uint64_t nextOutputRequestId_ = 0;
    std::deque<QueuedInput> pendingInputs_;  // queued inputs whose outputs are not all out
    NodeStats stats_;
    std::condition_variable deliveryReady_;
    std::deque<Delivery> deliveries_;
    bool delivering_ = false;    // the delivery thread is on a frame taken from deliveries_
    bool deliveryExit_ = false;  // set by the destructor; the thread ends once none are left
    std::thread deliverer_;      // last: it starts after, and ends before, everything above
};

// Name of a mode as the command line spells it ("off", "repeat", "blend", "motion").
const char* FrcModeName(FrcMode mode);

}  // namespace vppfrc
