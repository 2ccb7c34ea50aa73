// One session of the reference service, worker side: the thread that converts frames, returns
// buffers and makes every callback, in order and with no lock held.
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <utility>

#include "service_log.h"
#include "session.h"

namespace vppservice {
namespace {

// Nice value of a worker at priority 1; raising priority needs privileges and may be refused.
constexpr int kHighPriorityNice = -10;

int64_t NanosecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() -
                                                                start)
        .count();
}

}  // namespace

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
    // The session ends (close or term): no buffer mapping outlives it.
    mappings_.Clear();
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
            reconfig = batch_->reconfig;
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
        // The client may free what it got back: no idle mapping stays.
        mappings_.DropIdle();
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
    mappings_.DropIdle();
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

}  // namespace vppservice
