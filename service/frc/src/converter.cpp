// Frame-rate converter: output scheduling (phases, timestamps, stream end) and rendering.
#include "frc/converter.h"

#include <cstdint>

#include "frc/ops.h"

namespace frc {
namespace {

struct Held {
    ConstFrameView view;
    int64_t timestamp = 0;
    uint64_t tag = 0;
    uint64_t seq = 0;  // position in the converter's input sequence
    bool present = false;
};

// Differences of two timestamps span up to 2^64 and need more than 64 bits.
using Wide = __int128;

// tA + k * d / n (rounded towards tA), held to int64's range: a made frame's timestamp for any
// client timestamps, extremes included.
int64_t phaseTimestamp(int64_t ta, Wide d, int k, int n) {
    const Wide t = static_cast<Wide>(ta) + d * k / n;
    if (t > INT64_MAX) return INT64_MAX;
    if (t < INT64_MIN) return INT64_MIN;
    return static_cast<int64_t>(t);
}

}  // namespace

bool isValidConfig(const ConverterConfig& c) {
    const int mode = static_cast<int>(c.mode);
    if (mode < 0 || mode > 3 || c.searchRange < 0 || c.threads < 0) return false;
    return c.mode == FrcMode::kOff || (c.factor >= 2 && c.factor <= 8);
}

struct Converter::Impl {
    ConverterConfig config;
    ConverterStats stats;
    MotionInterpolator motion;

    bool haveGeometry = false;
    PixelFormat format = PixelFormat::kNv12;
    int width = 0;
    int height = 0;

    uint64_t seq = 0;
    Held pending;  // latest input whose group is not out yet (modes other than off)
    Held groupA;   // frames of the group returned last
    Held groupB;
    FrcMode groupMode = FrcMode::kOff;
    Wide lastInterval = 0;
    bool haveInterval = false;

    uint64_t motionPrevSeq = 0;  // frames the motion interpolator holds, by sequence number
    uint64_t motionLatestSeq = 0;
    bool motionHasTwo = false;

    explicit Impl(const ConverterConfig& c)
        : config(c), motion(MotionParams{c.searchRange, c.threads}) {}

    void emitGroup(const Held& a, const Held& b, std::vector<OutputFrame>* out);
    void forgetStream();
};

void Converter::Impl::emitGroup(const Held& a, const Held& b, std::vector<OutputFrame>* out) {
    const int n = config.factor;
    OutputFrame first;
    first.kind = OutputFrame::Kind::kInput;
    first.tag = a.tag;
    first.factor = n;
    first.timestamp = a.timestamp;
    out->push_back(first);
    for (int k = 1; k < n; ++k) {
        OutputFrame o;
        o.kind = OutputFrame::Kind::kInterpolated;
        o.tag = a.tag;
        o.nextTag = b.tag;
        o.phase = k;
        o.factor = n;
        o.timestamp =
            phaseTimestamp(a.timestamp, static_cast<Wide>(b.timestamp) - a.timestamp, k, n);
        out->push_back(o);
    }
    stats.outputs += static_cast<uint64_t>(n);
    groupA = a;
    groupB = b;
    groupMode = config.mode;
    lastInterval = static_cast<Wide>(b.timestamp) - a.timestamp;
    haveInterval = true;
}

void Converter::Impl::forgetStream() {
    pending = Held();
    haveGeometry = false;
    haveInterval = false;
    motion.reset();
    motionHasTwo = false;
    // A gap in the sequence keeps frames of different streams from ever forming a pair.
    seq += 2;
}

Converter::Converter(const ConverterConfig& config) : impl_(new Impl(config)) {
    if (!isValidConfig(config)) impl_->config = ConverterConfig();
}

Converter::~Converter() = default;

const ConverterConfig& Converter::config() const {
    return impl_->config;
}

bool Converter::reconfigure(const ConverterConfig& config) {
    if (!isValidConfig(config)) return false;
    impl_->config.mode = config.mode;
    impl_->config.factor = config.factor;
    impl_->config.streamEnd = config.streamEnd;
    // The search range is fixed when the interpolator is built; it only bounds the search.
    return true;
}

ConvertStatus Converter::push(const ConstFrameView& frame, int64_t timestamp, uint64_t tag,
                              std::vector<OutputFrame>* out) {
    Impl& s = *impl_;
    if (!frame.valid()) return ConvertStatus::kInvalidFrame;
    if (s.haveGeometry &&
        (frame.format != s.format || frame.width != s.width || frame.height != s.height)) {
        return ConvertStatus::kInvalidFrame;
    }
    s.haveGeometry = true;
    s.format = frame.format;
    s.width = frame.width;
    s.height = frame.height;

    Held b;
    b.view = frame;
    b.timestamp = timestamp;
    b.tag = tag;
    b.seq = ++s.seq;
    b.present = true;
    ++s.stats.inputs;

    if (s.config.mode == FrcMode::kMotion) {
        s.motion.push(frame);
        s.motionHasTwo = s.motion.hasPair() && s.motionLatestSeq + 1 == b.seq;
        s.motionPrevSeq = s.motionLatestSeq;
        s.motionLatestSeq = b.seq;
    }

    if (s.config.mode == FrcMode::kOff) {
        if (s.pending.present) {
            // Switched off while a frame waited for its successor: it goes out alone.
            OutputFrame o;
            o.tag = s.pending.tag;
            o.timestamp = s.pending.timestamp;
            out->push_back(o);
            ++s.stats.outputs;
            s.groupB = s.pending;
        } else {
            s.groupB = Held();
        }
        OutputFrame o;
        o.tag = tag;
        o.timestamp = timestamp;
        out->push_back(o);
        ++s.stats.outputs;
        s.groupA = b;
        s.groupMode = FrcMode::kOff;
        s.pending = Held();
        return ConvertStatus::kOk;
    }

    if (s.pending.present) s.emitGroup(s.pending, b, out);
    s.pending = b;
    return ConvertStatus::kOk;
}

void Converter::finish(std::vector<OutputFrame>* out) {
    Impl& s = *impl_;
    if (s.pending.present) {
        const Held a = s.pending;
        const int n = s.config.mode == FrcMode::kOff ? 1 : s.config.factor;
        const bool full = s.config.streamEnd == StreamEnd::kFullGroup && s.haveInterval && n > 1;
        OutputFrame o;
        o.tag = a.tag;
        o.timestamp = a.timestamp;
        o.factor = full ? n : 1;
        o.last = !full;
        out->push_back(o);
        ++s.stats.outputs;
        if (full) {
            for (int k = 1; k < n; ++k) {
                OutputFrame r;
                r.kind = OutputFrame::Kind::kRepeat;
                r.tag = a.tag;
                r.phase = k;
                r.factor = n;
                r.timestamp = phaseTimestamp(a.timestamp, s.lastInterval, k, n);
                r.last = k == n - 1;
                out->push_back(r);
                ++s.stats.outputs;
            }
        }
        s.groupA = a;
        s.groupB = Held();
        s.groupMode = FrcMode::kRepeat;
    }
    s.forgetStream();
}

void Converter::flush() {
    Impl& s = *impl_;
    s.groupA = Held();
    s.groupB = Held();
    s.forgetStream();
}

ConvertStatus Converter::render(const OutputFrame& o, const FrameView& dst) {
    Impl& s = *impl_;
    if (!dst.valid()) return ConvertStatus::kInvalidOutput;
    const Held* a = nullptr;
    if (s.groupA.present && s.groupA.tag == o.tag) {
        a = &s.groupA;
    } else if (s.groupB.present && s.groupB.tag == o.tag && o.kind == OutputFrame::Kind::kInput) {
        a = &s.groupB;
    }
    if (a == nullptr || !a->view.sameGeometry(dst)) return ConvertStatus::kInvalidOutput;

    switch (o.kind) {
        case OutputFrame::Kind::kInput:
        case OutputFrame::Kind::kRepeat:
            return copyFrame(a->view, dst) ? ConvertStatus::kOk : ConvertStatus::kInvalidOutput;
        case OutputFrame::Kind::kInterpolated:
            break;
    }
    const Held& b = s.groupB;
    if (!b.present || b.tag != o.nextTag || a != &s.groupA || o.factor < 2 || o.phase <= 0 ||
        o.phase >= o.factor) {
        return ConvertStatus::kInvalidOutput;
    }
    bool done = false;
    switch (s.groupMode) {
        case FrcMode::kRepeat:
            done = copyFrame(a->view, dst);
            break;
        case FrcMode::kMotion:
            if (s.motionHasTwo && s.motionPrevSeq == a->seq && s.motionLatestSeq == b.seq) {
                done = s.motion.interpolate(o.phase, o.factor, dst);
                break;
            }
            // The interpolator missed one of the frames (mode switched mid-stream): blend.
            done = blendFrames(a->view, b.view, o.phase, o.factor, dst);
            break;
        case FrcMode::kBlend:
        case FrcMode::kOff:
            done = blendFrames(a->view, b.view, o.phase, o.factor, dst);
            break;
    }
    if (!done) return ConvertStatus::kInvalidOutput;
    ++s.stats.interpolated;
    return ConvertStatus::kOk;
}

const ConverterStats& Converter::stats() const {
    impl_->stats.motion = impl_->motion.stats();
    return impl_->stats;
}

}  // namespace frc
