// One session of the reference service: state machine, checks, queues, and the worker thread that
// converts frames and makes the callbacks.
#include "session.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <system_error>
#include <utility>

#include "service_log.h"

namespace vppservice {
namespace {

constexpr int32_t kEndOfStreamFlag = 1;
// Nice value of a worker at priority 1; raising priority needs privileges and may be refused.
constexpr int kHighPriorityNice = -10;

// The client's fields of a buffer, without its descriptors: what comes back with the buffer.
VppBuffer RecordOf(const VppBuffer& buffer) {
    VppBuffer record;
    record.offset = buffer.offset;
    record.bufferLen = buffer.bufferLen;
    record.filledLen = buffer.filledLen;
    record.allocLen = buffer.allocLen;
    record.extraOffset = buffer.extraOffset;
    record.extraLen = buffer.extraLen;
    record.flags = buffer.flags;
    record.timestamp = buffer.timestamp;
    record.portType = buffer.portType;
    record.cookie = buffer.cookie;
    return record;
}

int64_t NanosecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() -
                                                                start)
        .count();
}

bool IsSettable(SessionState state) {
    return state == SessionState::kInitialised || state == SessionState::kOpened;
}

}  // namespace

SessionCore::SessionCore(std::shared_ptr<ServiceCore> service, uint64_t id)
    : service_(std::move(service)),
      debugFlags_(service_->debugFlags()),
      name_("session-" + std::to_string(id)) {
    settings_.ctrl.mode = 0;
    settings_.ctrl.factor = 2;
    settings_.ctrl.searchRange = 0;
}

SessionCore::~SessionCore() {
    // Only the worker can hold the last reference while it runs; it cannot wait for itself.
    if (worker_.joinable()) {
        if (worker_.get_id() == std::this_thread::get_id()) {
            worker_.detach();
        } else {
            worker_.join();
        }
    }
}

// ------------------------------------------------------------------------------------------------
// Entry points
// ------------------------------------------------------------------------------------------------

bool SessionCore::CheckDead() {
    return service_->IsDead();
}

ndk::ScopedAStatus SessionCore::DeadStatus() {
    return ndk::ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT);
}

ndk::ScopedAStatus SessionCore::Answer(VppError* result, VppError error) {
    if (result != nullptr) {
        *result = error;
    }
    return ndk::ScopedAStatus::ok();
}

void SessionCore::Log(int32_t bits, const char* format, ...) const {
    if ((debugFlags_.load() & bits) == 0) {
        return;
    }
    char message[400];
    va_list args;
    va_start(args, format);
    vsnprintf(message, sizeof(message), format, args);
    va_end(args);
    std::string name;
    {
        std::lock_guard<std::mutex> lock(nameMutex_);
        name = name_;
    }
    LogLine(name.c_str(), "%s", message);
}

ndk::ScopedAStatus SessionCore::init(int32_t flags, const std::shared_ptr<IVppCallbacks>& callbacks,
                                     VppError* result) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ != SessionState::kCreated) {
        Log(kDebugLifecycle, "init refused: not in the created state");
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    if (flags != 0 || callbacks == nullptr) {
        return Answer(result, VppError::VPP_ERR_PARAM);
    }
    callbacks_ = callbacks;
    state_ = SessionState::kInitialised;
    Log(kDebugLifecycle, "initialised");
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::setParameter(int32_t port, const VppPortParam& param,
                                             VppError* result) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ != SessionState::kInitialised) {
        Log(kDebugLifecycle, "setParameter refused in state %d", static_cast<int>(state_));
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    if (!IsValidPort(port)) {
        return Answer(result, VppError::VPP_ERR_PARAM);
    }
    const VppError error = CheckPortParam(param);
    if (error != VppError::VPP_OK) {
        Log(kDebugLifecycle, "port %d: parameters %dx%d stride %d scanlines %d format %d refused",
            port, param.width, param.height, param.stride, param.scanlines, param.colorFormat);
        return Answer(result, error);
    }
    ports_[port] = param;
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::open(VppError* result) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ != SessionState::kInitialised || !ports_[kInputPort] || !ports_[kOutputPort]) {
        Log(kDebugLifecycle, "open refused: state %d, ports set %d/%d", static_cast<int>(state_),
            ports_[kInputPort].has_value(), ports_[kOutputPort].has_value());
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    const VppError error = CheckPortPair(*ports_[kInputPort], *ports_[kOutputPort]);
    if (error != VppError::VPP_OK) {
        Log(kDebugLifecycle, "open refused: the ports' frames differ");
        return Answer(result, error);
    }
    stats_ = VppStats();
    stop_ = Stop::kNone;
    try {
        worker_ = std::thread([self = shared_from_this()]() { self->Run(); });
    } catch (const std::system_error&) {
        Log(kDebugLifecycle, "open failed: no worker thread");
        return Answer(result, VppError::VPP_ERR_RESOURCES);
    }
    workerId_ = worker_.get_id();
    state_ = SessionState::kOpened;
    Log(kDebugLifecycle, "opened: %dx%d format %d, frc mode %d factor %d",
        ports_[kInputPort]->width, ports_[kInputPort]->height, ports_[kInputPort]->colorFormat,
        settings_.ctrl.mode, settings_.ctrl.factor);
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::queueBuf(int32_t port, const VppBuffer& buffer, VppError* result) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ != SessionState::kOpened) {
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    if (!IsValidPort(port)) {
        return Answer(result, VppError::VPP_ERR_PARAM);
    }
    const bool hasMemory = !buffer.bufferHandle.fds.empty();
    const bool endOfStream = (buffer.flags & kEndOfStreamFlag) != 0;
    if (!hasMemory && !(port == kInputPort && endOfStream)) {
        Log(kDebugLifecycle, "port %d: buffer without memory refused", port);
        return Answer(result, VppError::VPP_ERR_PARAM);
    }
    if (maxQueued_[port] > 0 && held_[port] >= maxQueued_[port]) {
        return Answer(result, VppError::VPP_ERR_RESOURCES);
    }
    const VppPortParam& param = *ports_[port];
    std::unique_ptr<MappedFrame> frame;
    if (hasMemory) {
        const VppError error = MappedFrame::Map(buffer, param, port == kOutputPort, &frame);
        if (error != VppError::VPP_OK) {
            Log(kDebugLifecycle, "port %d: buffer refused (%s), offset %d length %d", port,
                toString(error).c_str(), buffer.offset, buffer.bufferLen);
            return Answer(result, error);
        }
    }

    if (port == kInputPort) {
        auto item = std::make_unique<InputItem>();
        item->kind = hasMemory ? InputItem::Kind::kFrame : InputItem::Kind::kEndMarker;
        item->record = RecordOf(buffer);
        item->frame = std::move(frame);
        item->generation = generation_;
        item->timestamp = buffer.timestamp;
        // Inputs without a timestamp are spaced by the nominal frame rate, when there is one.
        if (hasMemory && buffer.timestamp == 0 && anyQueued_ && settings_.frameRateNum > 0) {
            item->timestamp = lastQueuedTimestamp_ + static_cast<int64_t>(settings_.frameRateDen) *
                                                         1000000000LL / settings_.frameRateNum;
        }
        if (hasMemory) {
            lastQueuedTimestamp_ = item->timestamp;
            anyQueued_ = true;
        }
        if (endOfStream) {
            anyQueued_ = false;
        }
        inputs_.push_back(std::move(item));
        stats_.inputBuffersQueued++;
    } else {
        auto item = std::make_unique<OutputItem>();
        item->record = RecordOf(buffer);
        item->frame = std::move(frame);
        item->generation = generation_;
        item->frameSize = static_cast<int32_t>(FrameSize(param));
        outputs_.push_back(std::move(item));
        stats_.outputBuffersQueued++;
    }
    held_[port]++;
    Log(kDebugBuffers, "port %d: queued cookie %#llx timestamp %lld flags %d", port,
        static_cast<unsigned long long>(buffer.cookie), static_cast<long long>(buffer.timestamp),
        buffer.flags);
    workChanged_.notify_all();
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::flush(int32_t port, VppError* result) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ != SessionState::kOpened) {
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    if (!IsValidPort(port)) {
        return Answer(result, VppError::VPP_ERR_PARAM);
    }
    flushes_.push_back(port);
    if (port == kInputPort) {
        anyQueued_ = false;
    }
    workChanged_.notify_all();
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::drain(VppError* result) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ != SessionState::kOpened) {
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    auto item = std::make_unique<InputItem>();
    item->kind = InputItem::Kind::kDrain;
    item->generation = generation_;
    inputs_.push_back(std::move(item));
    anyQueued_ = false;
    workChanged_.notify_all();
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::reconfigure(const VppPortParam& input, const VppPortParam& output,
                                            VppError* result) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ != SessionState::kOpened) {
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    VppError error = CheckPortParam(input);
    if (error == VppError::VPP_OK) error = CheckPortParam(output);
    if (error == VppError::VPP_OK) error = CheckPortPair(input, output);
    if (error != VppError::VPP_OK) {
        Log(kDebugLifecycle, "reconfigure refused (%s)", toString(error).c_str());
        return Answer(result, error);
    }
    // Buffers queued from now on are checked against the new parameters; the worker switches
    // when it reaches the marker.
    generation_++;
    ports_[kInputPort] = input;
    ports_[kOutputPort] = output;
    auto item = std::make_unique<InputItem>();
    item->kind = InputItem::Kind::kReconfigure;
    item->generation = generation_;
    item->newInput = input;
    item->newOutput = output;
    inputs_.push_back(std::move(item));
    anyQueued_ = false;
    workChanged_.notify_all();
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::close(VppError* result) {
    if (CheckDead()) return DeadStatus();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (state_ != SessionState::kOpened) {
            Log(kDebugLifecycle, "close refused in state %d", static_cast<int>(state_));
            return Answer(result, VppError::VPP_ERR_STATE);
        }
        state_ = SessionState::kClosed;
        if (stop_ == Stop::kNone) {
            stop_ = Stop::kReturnAll;
        }
        workChanged_.notify_all();
    }
    // Once joined, every buffer has been returned. Called from a callback, the worker finishes
    // the return itself right after that callback.
    JoinWorker();
    Log(kDebugLifecycle, "closed");
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::term() {
    const bool dead = CheckDead();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (state_ == SessionState::kTerminated) {
            return dead ? DeadStatus() : ndk::ScopedAStatus::ok();
        }
        // An open session returns what it holds first, as close would.
        const bool returnAll = !dead && state_ == SessionState::kOpened;
        state_ = SessionState::kTerminated;
        if (stop_ == Stop::kNone) {
            stop_ = returnAll ? Stop::kReturnAll : Stop::kSilent;
        }
        workChanged_.notify_all();
    }
    JoinWorker();
    ClearQueues();
    service_->RemoveSession(weak_from_this());
    Log(kDebugLifecycle, "terminated");
    return dead ? DeadStatus() : ndk::ScopedAStatus::ok();
}

void SessionCore::Terminate() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        state_ = SessionState::kTerminated;
        stop_ = Stop::kSilent;
        workChanged_.notify_all();
    }
    JoinWorker();
    ClearQueues();
}

void SessionCore::StopSilently() {
    std::lock_guard<std::mutex> lock(mutex_);
    stop_ = Stop::kSilent;
    workChanged_.notify_all();
}

bool SessionCore::IsTerminated() {
    std::lock_guard<std::mutex> lock(mutex_);
    return state_ == SessionState::kTerminated;
}

void SessionCore::JoinWorker() {
    std::lock_guard<std::mutex> lock(joinMutex_);
    if (worker_.joinable() && worker_.get_id() != std::this_thread::get_id()) {
        worker_.join();
    }
}

void SessionCore::ClearQueues() {
    std::deque<std::unique_ptr<InputItem>> inputs;
    std::deque<std::unique_ptr<OutputItem>> outputs;
    std::shared_ptr<IVppCallbacks> callbacks;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        // While the worker runs (term from inside a callback) it clears up after itself.
        if (std::this_thread::get_id() == workerId_) {
            return;
        }
        inputs.swap(inputs_);
        outputs.swap(outputs_);
        flushes_.clear();
        held_[kInputPort] = 0;
        held_[kOutputPort] = 0;
        callbacks.swap(callbacks_);
    }
    // The mappings go here, outside the lock.
}

ndk::ScopedAStatus SessionCore::getBufferRequirements(int32_t port,
                                                      VppBufferRequirements* requirements,
                                                      VppError* result) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ == SessionState::kTerminated) {
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    if (!IsValidPort(port)) {
        return Answer(result, VppError::VPP_ERR_PARAM);
    }
    if (!ports_[port]) {
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    // Conversion needs the next input before it can finish the frames of the current one.
    const bool converting = settings_.mode != 0 && settings_.ctrl.mode != 0;
    requirements->minBufferCount = (port == kInputPort && converting) ? 2 : 1;
    requirements->bufferSize = static_cast<int32_t>(FrameSize(*ports_[port]));
    return Answer(result, VppError::VPP_OK);
}

template <typename Action>
ndk::ScopedAStatus SessionCore::UnlessTerminated(VppError* result, Action action) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ == SessionState::kTerminated) {
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    action();
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::getCtrlFrc(VppCtrlFrc* ctrl, VppError* result) {
    return UnlessTerminated(result, [&] { *ctrl = settings_.ctrl; });
}

ndk::ScopedAStatus SessionCore::getMode(int32_t* mode, VppError* result) {
    return UnlessTerminated(result, [&] { *mode = settings_.mode; });
}

ndk::ScopedAStatus SessionCore::getParameter(int32_t port, VppPortParam* param, VppError* result) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ == SessionState::kTerminated) {
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    if (!IsValidPort(port)) {
        return Answer(result, VppError::VPP_ERR_PARAM);
    }
    if (!ports_[port]) {
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    *param = *ports_[port];
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::getState(int32_t* state, VppError* result) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    // The one call a terminated session still answers: with its state.
    *state = static_cast<int32_t>(state_);
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::getStats(VppStats* stats, VppError* result) {
    return UnlessTerminated(result, [&] { *stats = stats_; });
}

ndk::ScopedAStatus SessionCore::resetStats(VppError* result) {
    return UnlessTerminated(result, [&] { stats_ = VppStats(); });
}

ndk::ScopedAStatus SessionCore::setCtrlFrc(const VppCtrlFrc& ctrl, VppError* result) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (!IsSettable(state_)) {
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    const VppError error = CheckCtrlFrc(ctrl);
    if (error != VppError::VPP_OK) {
        Log(kDebugLifecycle, "frc control mode %d factor %d search %d refused", ctrl.mode,
            ctrl.factor, ctrl.searchRange);
        return Answer(result, error);
    }
    settings_.ctrl = ctrl;
    settingsVersion_++;
    workChanged_.notify_all();
    Log(kDebugLifecycle, "frc control: mode %d factor %d", ctrl.mode, ctrl.factor);
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::setDebugFlags(int32_t flags, VppError* result) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ == SessionState::kTerminated) {
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    debugFlags_.store(flags);
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::setFrameRate(int32_t numerator, int32_t denominator,
                                             VppError* result) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (!IsSettable(state_)) {
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    if (numerator <= 0 || denominator <= 0) {
        return Answer(result, VppError::VPP_ERR_PARAM);
    }
    settings_.frameRateNum = numerator;
    settings_.frameRateDen = denominator;
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::setMaxQueuedBuffers(int32_t port, int32_t count, VppError* result) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (!IsSettable(state_)) {
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    if (!IsValidPort(port) || count < 0) {
        return Answer(result, VppError::VPP_ERR_PARAM);
    }
    maxQueued_[port] = count;
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::setName(const std::string& name, VppError* result) {
    if (CheckDead()) return DeadStatus();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (state_ == SessionState::kTerminated) {
            return Answer(result, VppError::VPP_ERR_STATE);
        }
    }
    std::lock_guard<std::mutex> lock(nameMutex_);
    name_ = name;
    return Answer(result, VppError::VPP_OK);
}

template <typename Apply>
ndk::ScopedAStatus SessionCore::ChangeSetting(bool valid, VppError* result, Apply apply) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (!IsSettable(state_)) {
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    if (!valid) {
        return Answer(result, VppError::VPP_ERR_PARAM);
    }
    apply();
    settingsVersion_++;
    workChanged_.notify_all();
    return Answer(result, VppError::VPP_OK);
}

ndk::ScopedAStatus SessionCore::setMode(int32_t mode, VppError* result) {
    return ChangeSetting(mode >= 0 && mode <= 2, result, [&] { settings_.mode = mode; });
}

ndk::ScopedAStatus SessionCore::setPriority(int32_t priority, VppError* result) {
    return ChangeSetting(priority == 0 || priority == 1, result,
                         [&] { settings_.priority = priority; });
}

ndk::ScopedAStatus SessionCore::setTimestampMode(int32_t mode, VppError* result) {
    return ChangeSetting(mode == 0 || mode == 1, result, [&] { settings_.timestampMode = mode; });
}

ndk::ScopedAStatus SessionCore::setPassThrough(int32_t enable, VppError* result) {
    return ChangeSetting(enable == 0 || enable == 1, result,
                         [&] { settings_.passThrough = enable == 1; });
}

ndk::ScopedAStatus SessionCore::ping(VppError* result) {
    if (CheckDead()) return DeadStatus();
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ == SessionState::kTerminated) {
        return Answer(result, VppError::VPP_ERR_STATE);
    }
    return Answer(result, VppError::VPP_OK);
}

// ------------------------------------------------------------------------------------------------
// Worker
// ------------------------------------------------------------------------------------------------

void SessionCore::Run() {
    Stop stop = Stop::kSilent;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        workerCallbacks_ = callbacks_;
        appliedVersion_ = settingsVersion_;
        converter_ = std::make_unique<frc::Converter>(
            ConverterConfigOf(settings_.ctrl, settings_.mode == 0));
        ApplySettings(settings_, true);
    }
    for (;;) {
        Work work = NextWork();
        if (work.kind == Work::Kind::kStop) {
            stop = work.stop;
            break;
        }
        switch (work.kind) {
            case Work::Kind::kFlush:
                Flush(work.port);
                break;
            case Work::Kind::kEmit:
                EmitOutput(std::move(work.output));
                break;
            case Work::Kind::kDrop:
                Log(kDebugBuffers, "frame at %lld dropped: no buffer of its parameters left",
                    static_cast<long long>(batch_->emissions.front().frame.timestamp));
                batch_->emissions.pop_front();
                break;
            case Work::Kind::kInput:
                ProcessInput(std::move(work.input));
                break;
            case Work::Kind::kStop:
                break;
        }
        AdvanceBatch();
    }
    if (stop == Stop::kReturnAll) {
        ReturnEverything();
    }
    // Whatever is left goes without callbacks.
    batch_.reset();
    heldInputs_.clear();
    converter_.reset();
    {
        std::deque<std::unique_ptr<InputItem>> inputs;
        std::deque<std::unique_ptr<OutputItem>> outputs;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            inputs.swap(inputs_);
            outputs.swap(outputs_);
            flushes_.clear();
            held_[kInputPort] = 0;
            held_[kOutputPort] = 0;
        }
    }
    workerCallbacks_.reset();
}

SessionCore::Work SessionCore::NextWork() {
    std::unique_lock<std::mutex> lock(mutex_);
    Work work;
    for (;;) {
        if (stop_ != Stop::kNone) {
            work.kind = Work::Kind::kStop;
            work.stop = stop_;
            return work;
        }
        if (settingsVersion_ != appliedVersion_) {
            appliedVersion_ = settingsVersion_;
            ApplySettings(settings_, false);
        }
        if (!flushes_.empty()) {
            work.kind = Work::Kind::kFlush;
            work.port = flushes_.front();
            flushes_.pop_front();
            return work;
        }
        if (batch_ && !batch_->emissions.empty()) {
            const Emission& next = batch_->emissions.front();
            if (!outputs_.empty()) {
                // A frame goes into a buffer queued under the same port parameters; frames whose
                // buffers were all returned by a reconfiguration are dropped.
                if (next.empty || outputs_.front()->generation <= next.generation) {
                    work.kind = Work::Kind::kEmit;
                    work.output = std::move(outputs_.front());
                    outputs_.pop_front();
                } else {
                    work.kind = Work::Kind::kDrop;
                }
                return work;
            }
            if (!next.empty && next.generation < generation_) {
                work.kind = Work::Kind::kDrop;
                return work;
            }
        } else if (!batch_ && !inputs_.empty()) {
            work.kind = Work::Kind::kInput;
            work.input = std::move(inputs_.front());
            inputs_.pop_front();
            return work;
        }
        workChanged_.wait(lock);
    }
}

void SessionCore::ApplySettings(const Settings& settings, bool first) {
    const bool priorityChanged =
        first ? settings.priority != 0 : settings.priority != applied_.priority;
    applied_ = settings;
    converter_->reconfigure(ConverterConfigOf(settings.ctrl, settings.mode == 0));
    if (priorityChanged) {
        const int nice = settings.priority == 1 ? kHighPriorityNice : 0;
        const pid_t tid = static_cast<pid_t>(syscall(SYS_gettid));
        if (setpriority(PRIO_PROCESS, static_cast<id_t>(tid), nice) != 0) {
            Log(kDebugLifecycle, "worker priority %d not applied", settings.priority);
        }
    }
}

void SessionCore::ProcessInput(std::unique_ptr<InputItem> item) {
    std::vector<frc::OutputFrame> outputs;
    Batch batch;
    bool endOfStream = false;
    bool sceneCut = false;
    const uint64_t generation = item->generation;
    switch (item->kind) {
        case InputItem::Kind::kFrame: {
            endOfStream = (item->record.flags & kEndOfStreamFlag) != 0;
            item->tag = nextTag_++;
            const uint64_t cutsBefore = converter_->stats().motion.sceneCuts;
            const auto start = std::chrono::steady_clock::now();
            const frc::ConvertStatus status =
                converter_->push(item->frame->view(), item->timestamp, item->tag, &outputs);
            const int64_t elapsed = NanosecondsSince(start);
            sceneCut = converter_->stats().motion.sceneCuts != cutsBefore;
            {
                std::lock_guard<std::mutex> lock(mutex_);
                stats_.processingTimeNs += elapsed;
            }
            if (status == frc::ConvertStatus::kOk) {
                heldInputs_.push_back(std::move(item));
            } else {
                Log(kDebugLifecycle, "input frame refused by the converter");
                batch.marker = std::move(item);
            }
            // Without conversion nothing waits for the next frame.
            batch.releaseAll = converter_->config().mode == frc::FrcMode::kOff;
            break;
        }
        case InputItem::Kind::kEndMarker:
            endOfStream = true;
            batch.marker = std::move(item);
            break;
        case InputItem::Kind::kDrain:
            endOfStream = true;
            break;
        case InputItem::Kind::kReconfigure:
            batch.reconfig = ReconfigDone();
            batch.reconfig->status = VppError::VPP_OK;
            batch.reconfig->inputParam = item->newInput;
            batch.reconfig->outputParam = item->newOutput;
            batch.reconfigGeneration = item->generation;
            batch.releaseAll = true;
            break;
    }
    // What is due at the end of the stream, or before the ports change, follows. finish()
    // replaces the frames that the outputs of a push are rendered from, so after a push with
    // outputs it waits until they are written.
    const bool streamEnds = endOfStream || batch.reconfig.has_value();
    bool deferFinish = false;
    if (streamEnds) {
        batch.releaseAll = true;
        batch.drainDone = endOfStream;
        deferFinish = !outputs.empty() && converter_->config().mode != frc::FrcMode::kOff;
        if (!deferFinish) {
            converter_->finish(&outputs);
        }
    }
    batch.finishPending = deferFinish;
    batch.endOfStream = endOfStream;
    // A reconfiguration marker carries the new generation; what it finishes is of the old one.
    batch.generation = batch.reconfig ? generation - 1 : generation;
    batch_ = std::move(batch);
    AddEmissions(outputs, batch_->generation, sceneCut);
    if (!deferFinish) {
        MarkEndOfStream();
    }
}

void SessionCore::AdvanceBatch() {
    while (batch_ && batch_->emissions.empty()) {
        if (!batch_->finishPending) {
            FinishBatch();
            return;
        }
        batch_->finishPending = false;
        std::vector<frc::OutputFrame> outputs;
        converter_->finish(&outputs);
        AddEmissions(outputs, batch_->generation, false);
        MarkEndOfStream();
    }
}

void SessionCore::MarkEndOfStream() {
    if (!batch_->endOfStream) {
        return;
    }
    // With no frame left to carry the flag, an empty output does.
    if (batch_->emissions.empty()) {
        Emission empty;
        empty.empty = true;
        empty.generation = batch_->generation;
        batch_->emissions.push_back(empty);
    }
    batch_->emissions.back().endOfStream = true;
    Log(kDebugLifecycle, "end of stream reached");
}

void SessionCore::AddEmissions(const std::vector<frc::OutputFrame>& outputs, uint64_t generation,
                               bool sceneCut) {
    const bool converting = converter_->config().mode != frc::FrcMode::kOff;
    for (const frc::OutputFrame& output : outputs) {
        if (output.kind == frc::OutputFrame::Kind::kInput && converting && !applied_.passThrough) {
            continue;
        }
        Emission emission;
        emission.frame = output;
        emission.generation = generation;
        if (output.kind == frc::OutputFrame::Kind::kInterpolated) {
            emission.fallback = sceneCut && converter_->config().mode == frc::FrcMode::kMotion;
            if (applied_.timestampMode == 1) {
                emission.frame.timestamp = HeldTimestamp(output.tag);
            }
        }
        batch_->emissions.push_back(emission);
    }
}

int64_t SessionCore::HeldTimestamp(uint64_t tag) const {
    for (const auto& item : heldInputs_) {
        if (item->tag == tag) {
            return item->timestamp;
        }
    }
    return 0;
}

void SessionCore::EmitOutput(std::unique_ptr<OutputItem> output) {
    const Emission emission = batch_->emissions.front();
    batch_->emissions.pop_front();

    VppBuffer record = RecordOf(output->record);
    record.flags = 0;
    record.filledLen = 0;
    bool rendered = false;
    int64_t elapsed = 0;
    if (emission.empty) {
        record.timestamp = lastOutputTimestamp_;
    } else {
        const auto start = std::chrono::steady_clock::now();
        rendered =
            converter_->render(emission.frame, output->frame->view()) == frc::ConvertStatus::kOk;
        elapsed = NanosecondsSince(start);
        record.timestamp = emission.frame.timestamp;
        lastOutputTimestamp_ = emission.frame.timestamp;
        if (rendered) {
            record.filledLen = output->frameSize;
        } else {
            Log(kDebugLifecycle, "frame at %lld could not be written to its buffer",
                static_cast<long long>(record.timestamp));
        }
    }
    if (emission.endOfStream) {
        record.flags |= kEndOfStreamFlag;
    }
    output.reset();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        held_[kOutputPort]--;
        stats_.outputBuffersDone++;
        stats_.processingTimeNs += elapsed;
        if (rendered && emission.frame.kind == frc::OutputFrame::Kind::kInterpolated) {
            stats_.interpolatedFrames++;
            if (emission.fallback) {
                stats_.fallbackFrames++;
            }
        }
    }
    Log(kDebugBuffers, "output cookie %#llx: %d bytes, timestamp %lld, flags %d",
        static_cast<unsigned long long>(record.cookie), record.filledLen,
        static_cast<long long>(record.timestamp), record.flags);
    if (MayCallBack()) {
        VppError answer = VppError::VPP_OK;
        CheckCallback(workerCallbacks_->outputBufferDone(record, &answer));
    }
}

void SessionCore::FinishBatch() {
    Batch batch = std::move(*batch_);
    batch_.reset();
    // Without a stream end the converter still reads the latest frame for the next group.
    const size_t keep = (batch.releaseAll || heldInputs_.empty()) ? 0 : 1;
    while (heldInputs_.size() > keep) {
        std::unique_ptr<InputItem> item = std::move(heldInputs_.front());
        heldInputs_.pop_front();
        ReturnInput(std::move(item));
    }
    if (batch.marker) {
        ReturnInput(std::move(batch.marker));
    }
    if (batch.reconfig) {
        CompleteReconfigure(*batch.reconfig, batch.reconfigGeneration);
    }
    if (batch.drainDone) {
        Log(kDebugLifecycle, "drain done");
        if (MayCallBack()) {
            VppError answer = VppError::VPP_OK;
            CheckCallback(workerCallbacks_->eventDrainDone(&answer));
        }
    }
}

void SessionCore::CompleteReconfigure(const ReconfigDone& done, uint64_t generation) {
    std::deque<std::unique_ptr<OutputItem>> stale;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        while (!outputs_.empty() && outputs_.front()->generation < generation) {
            stale.push_back(std::move(outputs_.front()));
            outputs_.pop_front();
        }
    }
    for (auto& item : stale) {
        ReturnOutputUnfilled(std::move(item));
    }
    Log(kDebugLifecycle, "reconfigured: %dx%d format %d", done.inputParam.width,
        done.inputParam.height, done.inputParam.colorFormat);
    if (MayCallBack()) {
        VppError answer = VppError::VPP_OK;
        CheckCallback(workerCallbacks_->eventReconfigDone(done, &answer));
    }
}

void SessionCore::Flush(int32_t port) {
    Log(kDebugLifecycle, "flush of port %d", port);
    if (port == kInputPort) {
        std::optional<ReconfigDone> reconfig;
        uint64_t reconfigGeneration = 0;
        std::unique_ptr<InputItem> marker;
        if (batch_) {
            reconfig = std::move(batch_->reconfig);
            reconfigGeneration = batch_->reconfigGeneration;
            marker = std::move(batch_->marker);
            batch_.reset();
        }
        converter_->flush();
        std::deque<std::unique_ptr<InputItem>> queued;
        {
            // Buffers leave; drain and reconfiguration requests stay in their place.
            std::lock_guard<std::mutex> lock(mutex_);
            std::deque<std::unique_ptr<InputItem>> kept;
            for (auto& item : inputs_) {
                const bool clientBuffer = item->kind == InputItem::Kind::kFrame ||
                                          item->kind == InputItem::Kind::kEndMarker;
                (clientBuffer ? queued : kept).push_back(std::move(item));
            }
            inputs_.swap(kept);
        }
        while (!heldInputs_.empty()) {
            std::unique_ptr<InputItem> item = std::move(heldInputs_.front());
            heldInputs_.pop_front();
            ReturnInput(std::move(item));
        }
        if (marker) {
            ReturnInput(std::move(marker));
        }
        for (auto& item : queued) {
            ReturnInput(std::move(item));
        }
        if (MayCallBack()) {
            FlushDone done;
            done.port = kInputPort;
            VppError answer = VppError::VPP_OK;
            CheckCallback(workerCallbacks_->eventFlushDone(done, &answer));
        }
        if (reconfig) {
            CompleteReconfigure(*reconfig, reconfigGeneration);
        }
        return;
    }
    std::deque<std::unique_ptr<OutputItem>> queued;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        queued.swap(outputs_);
    }
    for (auto& item : queued) {
        ReturnOutputUnfilled(std::move(item));
    }
    if (MayCallBack()) {
        FlushDone done;
        done.port = kOutputPort;
        VppError answer = VppError::VPP_OK;
        CheckCallback(workerCallbacks_->eventFlushDone(done, &answer));
    }
}

void SessionCore::ReturnEverything() {
    std::unique_ptr<InputItem> marker;
    if (batch_) {
        marker = std::move(batch_->marker);
        batch_.reset();
    }
    std::deque<std::unique_ptr<InputItem>> inputs;
    std::deque<std::unique_ptr<OutputItem>> outputs;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        inputs.swap(inputs_);
        outputs.swap(outputs_);
        flushes_.clear();
    }
    while (!heldInputs_.empty()) {
        std::unique_ptr<InputItem> item = std::move(heldInputs_.front());
        heldInputs_.pop_front();
        ReturnInput(std::move(item));
    }
    if (marker) {
        ReturnInput(std::move(marker));
    }
    for (auto& item : inputs) {
        if (item->kind == InputItem::Kind::kFrame || item->kind == InputItem::Kind::kEndMarker) {
            ReturnInput(std::move(item));
        }
    }
    for (auto& item : outputs) {
        ReturnOutputUnfilled(std::move(item));
    }
}

void SessionCore::ReturnInput(std::unique_ptr<InputItem> item) {
    VppBuffer record = RecordOf(item->record);
    item.reset();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        held_[kInputPort]--;
        stats_.inputBuffersDone++;
    }
    Log(kDebugBuffers, "input cookie %#llx returned",
        static_cast<unsigned long long>(record.cookie));
    if (MayCallBack()) {
        VppError answer = VppError::VPP_OK;
        CheckCallback(workerCallbacks_->inputBufferDone(record, &answer));
    }
}

void SessionCore::ReturnOutputUnfilled(std::unique_ptr<OutputItem> item) {
    VppBuffer record = RecordOf(item->record);
    record.filledLen = 0;
    record.flags = 0;
    item.reset();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        held_[kOutputPort]--;
        stats_.outputBuffersDone++;
    }
    Log(kDebugBuffers, "output cookie %#llx returned unfilled",
        static_cast<unsigned long long>(record.cookie));
    if (MayCallBack()) {
        VppError answer = VppError::VPP_OK;
        CheckCallback(workerCallbacks_->outputBufferDone(record, &answer));
    }
}

bool SessionCore::MayCallBack() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stop_ == Stop::kSilent) {
            return false;
        }
    }
    // Death is checked before every callback: a dead service makes none.
    return workerCallbacks_ != nullptr && !service_->IsDead();
}

void SessionCore::CheckCallback(const ndk::ScopedAStatus& status) {
    // A client that is gone gets nothing more.
    if (!status.isOk() && status.getStatus() == STATUS_DEAD_OBJECT) {
        Log(kDebugLifecycle, "client gone: processing stops");
        StopSilently();
    }
}

// ------------------------------------------------------------------------------------------------
// Binder object
// ------------------------------------------------------------------------------------------------

VppSession::~VppSession() {
    core_->Terminate();
    // Already terminated sessions were removed by term().
}

}  // namespace vppservice
