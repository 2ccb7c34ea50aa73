// One session of the reference service: state machine, checks, queues, and the worker thread that
// converts frames and makes the callbacks.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/BnVppSession.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "frc/converter.h"
#include "mapped_frame.h"
#include "port_config.h"
#include "service_core.h"

namespace vppservice {

using ::aidl::vendor::zux::hardware::vpp::BnVppSession;
using ::aidl::vendor::zux::hardware::vpp::FlushDone;
using ::aidl::vendor::zux::hardware::vpp::IVppCallbacks;
using ::aidl::vendor::zux::hardware::vpp::ReconfigDone;
using ::aidl::vendor::zux::hardware::vpp::VppBufferRequirements;
using ::aidl::vendor::zux::hardware::vpp::VppStats;

// The end-of-stream bit of VppBuffer.flags.
constexpr int32_t kEndOfStreamFlag = 1;

// The client's fields of a buffer, without its descriptors: what comes back with the buffer.
VppBuffer RecordOf(const VppBuffer& buffer);

// Session states as getState reports them.
enum class SessionState : int32_t {
    kCreated = 0,
    kInitialised = 1,
    kOpened = 2,
    kClosed = 3,
    kTerminated = 4,
};

// Everything a session is, apart from its binder object: the binder object (VppSession) forwards
// to it, and its worker thread keeps it alive while it runs, so that the last reference to the
// binder object may be dropped anywhere, even inside a callback.
//
// Threads: the methods run on the callers' threads and only check, queue and signal; every frame
// is processed and every callback made on the worker, in order, with no lock held. The worker
// exists from open to close (or term).
class SessionCore : public std::enable_shared_from_this<SessionCore> {
  public:
    SessionCore(std::shared_ptr<ServiceCore> service, uint64_t id);
    ~SessionCore();
    SessionCore(const SessionCore&) = delete;
    SessionCore& operator=(const SessionCore&) = delete;

    // The IVppSession methods, with their semantics.
    ndk::ScopedAStatus close(VppError* result);
    ndk::ScopedAStatus drain(VppError* result);
    ndk::ScopedAStatus flush(int32_t port, VppError* result);
    ndk::ScopedAStatus getBufferRequirements(int32_t port, VppBufferRequirements* requirements,
                                             VppError* result);
    ndk::ScopedAStatus init(int32_t flags, const std::shared_ptr<IVppCallbacks>& callbacks,
                            VppError* result);
    ndk::ScopedAStatus open(VppError* result);
    ndk::ScopedAStatus queueBuf(int32_t port, const VppBuffer& buffer, VppError* result);
    ndk::ScopedAStatus getCtrlFrc(VppCtrlFrc* ctrl, VppError* result);
    ndk::ScopedAStatus getMode(int32_t* mode, VppError* result);
    ndk::ScopedAStatus getParameter(int32_t port, VppPortParam* param, VppError* result);
    ndk::ScopedAStatus getState(int32_t* state, VppError* result);
    ndk::ScopedAStatus getStats(VppStats* stats, VppError* result);
    ndk::ScopedAStatus reconfigure(const VppPortParam& input, const VppPortParam& output,
                                   VppError* result);
    ndk::ScopedAStatus resetStats(VppError* result);
    ndk::ScopedAStatus setCtrlFrc(const VppCtrlFrc& ctrl, VppError* result);
    ndk::ScopedAStatus setDebugFlags(int32_t flags, VppError* result);
    ndk::ScopedAStatus setFrameRate(int32_t numerator, int32_t denominator, VppError* result);
    ndk::ScopedAStatus setMaxQueuedBuffers(int32_t port, int32_t count, VppError* result);
    ndk::ScopedAStatus setName(const std::string& name, VppError* result);
    ndk::ScopedAStatus setMode(int32_t mode, VppError* result);
    ndk::ScopedAStatus setParameter(int32_t port, const VppPortParam& param, VppError* result);
    ndk::ScopedAStatus setPriority(int32_t priority, VppError* result);
    ndk::ScopedAStatus setTimestampMode(int32_t mode, VppError* result);
    ndk::ScopedAStatus setPassThrough(int32_t enable, VppError* result);
    ndk::ScopedAStatus ping(VppError* result);
    ndk::ScopedAStatus term();

    // Ends the session without callbacks: the worker stops and is joined (unless this runs on
    // it), queued buffers are unmapped and dropped. Used when the service goes away.
    void Terminate();
    // Stops the worker at its next step without further callbacks (the service died).
    void StopSilently();
    bool IsTerminated();
    // The client's callbacks object died (its process went away): the session ends as
    // Terminate() ends it and leaves the service.
    void OnClientDied();

  private:
    // How the worker is asked to end.
    enum class Stop { kNone, kReturnAll, kSilent };

    // Settings the worker applies between frames.
    struct Settings {
        VppCtrlFrc ctrl;
        int32_t mode = 2;
        int32_t timestampMode = 0;
        bool passThrough = true;
        int32_t frameRateNum = 0;
        int32_t frameRateDen = 0;
        int32_t priority = 0;
    };

    struct InputItem {
        enum class Kind {
            kFrame,       // a client buffer with memory (may carry the end-of-stream flag)
            kEndMarker,   // a client end-of-stream buffer without memory
            kDrain,       // drain(): ends the stream, returns nothing itself
            kReconfigure  // reconfigure(): switches the ports once earlier buffers are out
        };
        Kind kind = Kind::kFrame;
        VppBuffer record;  // the client's fields, returned with the buffer
        std::unique_ptr<MappedFrame> frame;
        uint64_t generation = 0;
        int64_t timestamp = 0;  // as used for conversion
        uint64_t tag = 0;       // the converter's name for the frame
        VppPortParam newInput;
        VppPortParam newOutput;
    };

    struct OutputItem {
        VppBuffer record;
        std::unique_ptr<MappedFrame> frame;
        uint64_t generation = 0;
        int32_t frameSize = 0;
    };

    // One output the worker still has to write.
    struct Emission {
        frc::OutputFrame frame;
        bool empty = false;  // an end-of-stream output without a frame
        bool endOfStream = false;
        bool fallback = false;  // motion search gave up on this frame's pair
        uint64_t generation = 0;
    };

    // The outputs due after one input item, and what follows once they are written.
    struct Batch {
        std::deque<Emission> emissions;
        bool releaseAll = false;            // return every held input, the latest too
        bool drainDone = false;             // then send eventDrainDone
        std::unique_ptr<InputItem> marker;  // a client end marker returned after the inputs
        std::optional<ReconfigDone> reconfig;
        uint64_t reconfigGeneration = 0;  // outputs queued before it are returned unfilled
        uint64_t generation = 0;          // of the frames it emits
        bool finishPending = false;       // the stream ends once the emissions are written
        bool endOfStream = false;         // the last emission carries the end-of-stream flag
    };

    // The worker's next step, chosen under the lock.
    struct Work {
        enum class Kind { kStop, kFlush, kEmit, kDrop, kInput } kind = Kind::kStop;
        Stop stop = Stop::kNone;  // kStop: how
        int32_t port = 0;         // kFlush
        std::unique_ptr<OutputItem> output;
        std::unique_ptr<InputItem> input;
    };

    // Entry checks: a dead service answers DEAD_OBJECT without writing anything.
    bool CheckDead();
    static ndk::ScopedAStatus DeadStatus();
    static ndk::ScopedAStatus Answer(VppError* result, VppError error);
    // Applies a setting while the session takes settings (VPP_ERR_STATE otherwise; VPP_ERR_PARAM
    // when !valid) and tells the worker, which picks it up at its next settings check.
    template <typename Apply>
    ndk::ScopedAStatus ChangeSetting(bool valid, VppError* result, Apply apply);
    // Runs a plain read or reset under the lock unless the session is terminated
    // (VPP_ERR_STATE then).
    template <typename Action>
    ndk::ScopedAStatus UnlessTerminated(VppError* result, Action action);
    // A diagnostic line when the session's debug flags include `bits`.
    void Log(int32_t bits, const char* format, ...) const __attribute__((format(printf, 3, 4)));

    // Worker.
    void Run();
    Work NextWork();
    void ApplySettings(const Settings& settings, bool first);
    void ProcessInput(std::unique_ptr<InputItem> item);
    void AddEmissions(const std::vector<frc::OutputFrame>& outputs, uint64_t generation,
                      bool sceneCut);
    void EmitOutput(std::unique_ptr<OutputItem> output);
    // Ends the stream when due and finishes the batch once its emissions are all written.
    void AdvanceBatch();
    void MarkEndOfStream();
    void FinishBatch();
    void Flush(int32_t port);
    void CompleteReconfigure(const ReconfigDone& done, uint64_t generation);
    void ReturnEverything();
    void ReturnInput(std::unique_ptr<InputItem> item);
    void ReturnOutputUnfilled(std::unique_ptr<OutputItem> item);
    // Callbacks: skipped once the service is dead or the worker is told to stop silently.
    bool MayCallBack();
    void CheckCallback(const ndk::ScopedAStatus& status);
    int64_t HeldTimestamp(uint64_t tag) const;

    void JoinWorker();
    void ClearQueues();
    // Links to the death of the callbacks' binder; false when it is dead already.
    bool LinkToClientDeath(const std::shared_ptr<IVppCallbacks>& callbacks);
    // Ends the death link; waits for a notification in progress on another thread. Never on the
    // worker, which that notification may be joining.
    void UnlinkClientDeath();
    static void ClientDied(void* cookie);
    static void ClientUnlinked(void* cookie);

    const std::shared_ptr<ServiceCore> service_;

    // Read by every thread that logs; the name has its own lock, never held with mutex_.
    std::atomic<int32_t> debugFlags_{0};
    mutable std::mutex nameMutex_;
    std::string name_;

    // Guarded by mutex_.
    mutable std::mutex mutex_;
    std::condition_variable workChanged_;
    SessionState state_ = SessionState::kCreated;
    std::shared_ptr<IVppCallbacks> callbacks_;
    // While linked to the callbacks' death: the recipient, and the binder it watches, held so
    // that a local callbacks object keeps the binder the link is on.
    AIBinder_DeathRecipient* clientDeath_ = nullptr;
    ndk::SpAIBinder clientBinder_;
    std::optional<VppPortParam> ports_[2];
    uint64_t generation_ = 0;  // bumped by reconfigure
    Settings settings_;
    uint64_t settingsVersion_ = 0;
    int32_t maxQueued_[2] = {0, 0};
    int32_t held_[2] = {0, 0};  // buffers of each port queued and not yet returned
    std::deque<std::unique_ptr<InputItem>> inputs_;
    std::deque<std::unique_ptr<OutputItem>> outputs_;
    std::deque<int32_t> flushes_;
    Stop stop_ = Stop::kNone;
    VppStats stats_;
    int64_t lastQueuedTimestamp_ = 0;
    bool anyQueued_ = false;

    // Mappings of the buffers queued so far, kept for their next use (its own lock).
    MappingCache mappings_;

    // The worker thread; written by open under mutex_, joined under joinMutex_.
    std::thread worker_;
    std::thread::id workerId_;
    std::mutex joinMutex_;

    // Worker-only state.
    std::shared_ptr<IVppCallbacks> workerCallbacks_;
    std::unique_ptr<frc::Converter> converter_;
    Settings applied_;
    uint64_t appliedVersion_ = 0;
    std::deque<std::unique_ptr<InputItem>> heldInputs_;  // inputs the converter may still read
    std::optional<Batch> batch_;
    uint64_t nextTag_ = 1;
    int64_t lastOutputTimestamp_ = 0;
};

// The binder object of a session; every call goes to its SessionCore, and dropping the last
// reference terminates the session.
class VppSession : public BnVppSession {
  public:
    explicit VppSession(std::shared_ptr<SessionCore> core) : core_(std::move(core)) {}
    ~VppSession() override;

    ndk::ScopedAStatus close(VppError* r) override { return core_->close(r); }
    ndk::ScopedAStatus drain(VppError* r) override { return core_->drain(r); }
    ndk::ScopedAStatus flush(int32_t port, VppError* r) override { return core_->flush(port, r); }
    ndk::ScopedAStatus getBufferRequirements(int32_t port, VppBufferRequirements* q,
                                             VppError* r) override {
        return core_->getBufferRequirements(port, q, r);
    }
    ndk::ScopedAStatus init(int32_t flags, const std::shared_ptr<IVppCallbacks>& callbacks,
                            VppError* r) override {
        return core_->init(flags, callbacks, r);
    }
    ndk::ScopedAStatus open(VppError* r) override { return core_->open(r); }
    ndk::ScopedAStatus queueBuf(int32_t port, const VppBuffer& buffer, VppError* r) override {
        return core_->queueBuf(port, buffer, r);
    }
    ndk::ScopedAStatus getCtrlFrc(VppCtrlFrc* ctrl, VppError* r) override {
        return core_->getCtrlFrc(ctrl, r);
    }
    ndk::ScopedAStatus getMode(int32_t* mode, VppError* r) override {
        return core_->getMode(mode, r);
    }
    ndk::ScopedAStatus getParameter(int32_t port, VppPortParam* param, VppError* r) override {
        return core_->getParameter(port, param, r);
    }
    ndk::ScopedAStatus getState(int32_t* state, VppError* r) override {
        return core_->getState(state, r);
    }
    ndk::ScopedAStatus getStats(VppStats* stats, VppError* r) override {
        return core_->getStats(stats, r);
    }
    ndk::ScopedAStatus reconfigure(const VppPortParam& input, const VppPortParam& output,
                                   VppError* r) override {
        return core_->reconfigure(input, output, r);
    }
    ndk::ScopedAStatus resetStats(VppError* r) override { return core_->resetStats(r); }
    ndk::ScopedAStatus setCtrlFrc(const VppCtrlFrc& ctrl, VppError* r) override {
        return core_->setCtrlFrc(ctrl, r);
    }
    ndk::ScopedAStatus setDebugFlags(int32_t flags, VppError* r) override {
        return core_->setDebugFlags(flags, r);
    }
    ndk::ScopedAStatus setFrameRate(int32_t numerator, int32_t denominator, VppError* r) override {
        return core_->setFrameRate(numerator, denominator, r);
    }
    ndk::ScopedAStatus setMaxQueuedBuffers(int32_t port, int32_t count, VppError* r) override {
        return core_->setMaxQueuedBuffers(port, count, r);
    }
    ndk::ScopedAStatus setName(const std::string& name, VppError* r) override {
        return core_->setName(name, r);
    }
    ndk::ScopedAStatus setMode(int32_t mode, VppError* r) override {
        return core_->setMode(mode, r);
    }
    ndk::ScopedAStatus setParameter(int32_t port, const VppPortParam& param, VppError* r) override {
        return core_->setParameter(port, param, r);
    }
    ndk::ScopedAStatus setPriority(int32_t priority, VppError* r) override {
        return core_->setPriority(priority, r);
    }
    ndk::ScopedAStatus setTimestampMode(int32_t mode, VppError* r) override {
        return core_->setTimestampMode(mode, r);
    }
    ndk::ScopedAStatus setPassThrough(int32_t enable, VppError* r) override {
        return core_->setPassThrough(enable, r);
    }
    ndk::ScopedAStatus ping(VppError* r) override { return core_->ping(r); }
    ndk::ScopedAStatus term() override { return core_->term(); }

  private:
    const std::shared_ptr<SessionCore> core_;
};

}  // namespace vppservice
