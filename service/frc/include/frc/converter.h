// Stateful frame-rate converter: turns a stream of input frames into the ordered list of output
// frames (input frames and in-between frames with their phases and timestamps).
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "frc/frame.h"
#include "frc/motion.h"

namespace frc {

// Conversion modes, numbered as the service's control record.
enum class FrcMode : int {
    kOff = 0,     // every input frame is output once, nothing is added
    kRepeat = 1,  // in-between frames repeat the earlier input frame
    kBlend = 2,   // in-between frames are rounded weighted averages (see blendFrames)
    kMotion = 3,  // motion-compensated in-between frames, blending where motion search fails
};

// What the converter does at the end of the stream with the last input frame.
enum class StreamEnd {
    kLastFrameAlone,  // output it once
    kFullGroup,       // also output the frames due within one more input interval after it
                      // (repeats of it, timestamps continuing the last input interval); a
                      // single-frame stream yields the frame alone
};

// Largest numerator or denominator of a rate ratio, once reduced: it is the denominator of the
// in-between frames' phases, which the blend and motion kernels take as 16-bit weights.
constexpr int kMaxRatioTerm = 65535;
// Largest output/input rate ratio, as for the integer factor.
constexpr int kMaxRatio = 8;

struct ConverterConfig {
    FrcMode mode = FrcMode::kOff;
    int factor = 2;  // output frames per input frame, 2..8; ignored in kOff or with a ratio
    // Output/input frame-rate ratio rateNum/rateDen, used instead of factor when rateNum > 0:
    // from 1 to 8 (rateNum <= 8 * rateDen), each term at most kMaxRatioTerm once reduced. 0/0:
    // the integer factor applies.
    int rateNum = 0;
    int rateDen = 0;
    int searchRange = 0;  // motion search range in luma pixels, 0 = automatic
    int threads = 0;      // threads of motion mode per frame, 0 = one per core
    StreamEnd streamEnd = StreamEnd::kLastFrameAlone;
};

// True when mode is one of the four, searchRange and threads are >= 0, and (unless the mode is
// off) the ratio is valid when given, or else factor is 2..8.
bool isValidConfig(const ConverterConfig& config);

// The conversion's output/input rate ratio in lowest terms (*num / *den): the ratio when given,
// else factor / 1; 1 / 1 in mode off. False (outputs untouched) when the config is invalid.
bool reducedRatio(const ConverterConfig& config, int* num, int* den);

// One output frame, in output order.
struct OutputFrame {
    enum class Kind {
        kInput,         // the input frame `tag` itself, unchanged
        kInterpolated,  // phase / factor of the way from input `tag` to input `nextTag`
        kRepeat,        // a repeat of input `tag` (stream end with kFullGroup)
    };
    Kind kind = Kind::kInput;
    uint64_t tag = 0;      // caller's tag of the input frame shown (or of the earlier frame)
    uint64_t nextTag = 0;  // kInterpolated: tag of the later input frame
    int phase = 0;         // k of k / factor; 0 for kInput
    int factor = 1;        // phase denominator: the reduced ratio's numerator (the factor N for
                           // an integer ratio; 1 in mode off)
    int64_t timestamp = 0;
    bool last = false;  // the final output of the stream (only set by finish())
};

enum class ConvertStatus {
    kOk,
    kInvalidFrame,   // invalid view, or format/size differ from the stream's first frame
    kInvalidOutput,  // render(): no such pending output, or bad destination
};

// Counters over the converter's lifetime.
struct ConverterStats {
    uint64_t inputs = 0;
    uint64_t outputs = 0;
    uint64_t interpolated = 0;  // in-between frames rendered by blend or motion
    MotionStats motion;         // motion mode's search and fallback counts
};

// Drives one session's conversion; not thread-safe, but instances share nothing, so each
// session may use its own on its own thread.
//
// The caller pushes input frames in stream order. push() appends the outputs that became due:
// in mode off the new frame itself; otherwise those of the interval from the previous frame A
// (input i of the stream, from 0) to the new one B. With the ratio p/q in lowest terms, output
// j of the stream lies at input position j * q / p: the outputs of the interval are those with
// i <= j * q / p < i + 1, each at phase k / p with k = j * q - i * p. Phase 0 is A itself
// (kInput); any other is an in-between frame with timestamp tA + k * (tB - tA) / p (integer
// arithmetic, truncating, without overflow). An integer factor N is the ratio N / 1: A then
// N - 1 in-between frames. finish() appends the outputs due at the last frame: the frame itself
// when it lies on the output grid, so that M inputs give floor((M - 1) * p / q) + 1 outputs.
// For each output the caller either forwards the input buffer it names (kInput) or calls
// render() with a destination buffer.
//
// Buffer lifetime: an input frame's pixels must stay readable and unchanged until the outputs
// returned by the push() or finish() that follows it have been rendered (in mode off, until
// its own output is rendered). The converter keeps views, not copies, except in motion mode,
// which copies each frame once for its search.
class Converter {
  public:
    explicit Converter(const ConverterConfig& config);
    ~Converter();
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    const ConverterConfig& config() const;

    // Changes mode, factor and ratio for the intervals emitted from now on (a new ratio's grid
    // starts at the next input frame). Returns false (keeping the old configuration) when the
    // new one is invalid.
    bool reconfigure(const ConverterConfig& config);

    // Accepts the next input frame, tagged by the caller, and appends due outputs to `out`.
    ConvertStatus push(const ConstFrameView& frame, int64_t timestamp, uint64_t tag,
                       std::vector<OutputFrame>* out);

    // Ends the stream: appends the remaining outputs (possibly none) with the final one marked
    // `last`, and forgets the stream so that the next push() starts a new one.
    void finish(std::vector<OutputFrame>* out);

    // Forgets held frames without output (a flush); the next push() starts a new stream.
    void flush();

    // Writes the pixels of an output returned by the latest push() or finish() into `dst`,
    // which must match the stream's format and size (strides are free).
    ConvertStatus render(const OutputFrame& output, const FrameView& dst);

    const ConverterStats& stats() const;

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace frc
