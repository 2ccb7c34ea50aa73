// One session of the reference service, client side: the IVppSession calls, which run on the
// callers' threads and only check, queue and signal (the worker is in session_worker.cpp).
#include "session.h"

#include <chrono>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <system_error>
#include <utility>

#include "service_log.h"

namespace vppservice {
namespace {

bool IsSettable(SessionState state) {
    return state == SessionState::kInitialised || state == SessionState::kOpened;
}

// The timestamp one frame period (denominator / numerator seconds, in nanoseconds) after
// `previous`; it stops at int64's maximum instead of wrapping, for any rate a client may set.
int64_t NextNominalTimestamp(int64_t previous, int32_t numerator, int32_t denominator) {
    const __int128 next = static_cast<__int128>(previous) +
                          static_cast<__int128>(denominator) * 1000000000 / numerator;
    return next > INT64_MAX ? INT64_MAX : static_cast<int64_t>(next);
}

}  // namespace

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

SessionCore::SessionCore(std::shared_ptr<ServiceCore> service, uint64_t id)
    : service_(std::move(service)),
      debugFlags_(service_->debugFlags()),
      name_("session-" + std::to_string(id)) {
    settings_.ctrl.mode = 0;
    settings_.ctrl.factor = 2;
    settings_.ctrl.searchRange = 0;
}

SessionCore::~SessionCore() {
    // The last reference may go inside the death notification itself, which deleting its own
    // recipient does not wait for.
    UnlinkClientDeath();
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
    if (!LinkToClientDeath(callbacks)) {
        Log(kDebugLifecycle, "init refused: the callbacks object is dead");
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
        const VppError error =
            MappedFrame::Map(buffer, param, port == kOutputPort, &mappings_, &frame);
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
            item->timestamp = NextNominalTimestamp(lastQueuedTimestamp_, settings_.frameRateNum,
                                                   settings_.frameRateDen);
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

void SessionCore::OnClientDied() {
    Log(kDebugLifecycle, "client died: the session ends");
    Terminate();
    service_->RemoveSession(weak_from_this());
}

bool SessionCore::LinkToClientDeath(const std::shared_ptr<IVppCallbacks>& callbacks) {
    ndk::SpAIBinder binder = callbacks->asBinder();
    AIBinder_DeathRecipient* recipient = AIBinder_DeathRecipient_new(ClientDied);
    AIBinder_DeathRecipient_setOnUnlinked(recipient, ClientUnlinked);
    // The cookie lives until the link ends, which runs ClientUnlinked exactly once.
    auto* cookie = new std::weak_ptr<SessionCore>(weak_from_this());
    if (AIBinder_linkToDeath(binder.get(), recipient, cookie) != STATUS_OK) {
        AIBinder_DeathRecipient_delete(recipient);
        return false;
    }
    clientDeath_ = recipient;
    clientBinder_ = binder;
    return true;
}

void SessionCore::UnlinkClientDeath() {
    AIBinder_DeathRecipient* recipient = nullptr;
    ndk::SpAIBinder binder;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        std::swap(recipient, clientDeath_);
        std::swap(binder, clientBinder_);
    }
    // Deleting the recipient ends its link; the binder goes after it, outside the lock.
    AIBinder_DeathRecipient_delete(recipient);
}

void SessionCore::ClientDied(void* cookie) {
    std::shared_ptr<SessionCore> session = static_cast<std::weak_ptr<SessionCore>*>(cookie)->lock();
    if (session != nullptr) {
        session->OnClientDied();
    }
}

void SessionCore::ClientUnlinked(void* cookie) {
    delete static_cast<std::weak_ptr<SessionCore>*>(cookie);
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
    UnlinkClientDeath();
    // The mappings go here, outside the lock: the cache's now, the queued frames' on return.
    mappings_.Clear();
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
    Log(kDebugLifecycle, "frc control: mode %d factor %d ratio %d/%d", ctrl.mode, ctrl.factor,
        ctrl.rateNum, ctrl.rateDen);
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
// Binder object
// ------------------------------------------------------------------------------------------------

VppSession::~VppSession() {
    core_->Terminate();
    // Already terminated sessions were removed by term().
}

}  // namespace vppservice
