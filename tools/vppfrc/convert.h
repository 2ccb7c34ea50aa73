// The vppfrc tool's work: a file's conversion through the node and the embedded service, the
// demo, and the entry point main() calls.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "cli.h"
#include "frc_node.h"

namespace vppfrc {

// Exit statuses.
constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;
constexpr int kExitDamagedInput = 3;  // the frames before the damage were converted and kept
constexpr int kExitNoPreview = 4;     // the video was written, the preview was not

// Observation points for tests and benchmarks; all optional.
struct RunHooks {
    // After each input frame is queued (on the converting thread), with the count so far.
    std::function<void(int64_t framesQueued)> onFrameQueued;
    // After each output frame is written (on the service's callback thread): its index from 0
    // and the service's timestamp (input i is stamped i * ratio numerator, so output j is at
    // j * ratio denominator).
    std::function<void(int64_t index, int64_t timestamp)> onFrameWritten;
};

// What one conversion did.
struct ConversionReport {
    int64_t framesIn = 0;
    int64_t framesOut = 0;
    double wallSeconds = 0;
    NodeStats node;
    int descriptorsAtStart = -1;
    int descriptorsAtEnd = -1;
    // Rates: input and output frames per second as fractions, and the output/input ratio in
    // lowest terms.
    int64_t inFpsNum = 0, inFpsDen = 1, outFpsNum = 0, outFpsDen = 1;
    int64_t ratioNum = 1, ratioDen = 1;
    double readSeconds = 0;    // reading and parsing input frames
    double writeSeconds = 0;   // writing output frames
    std::string damage;        // set when the input was damaged: what and where
    std::string previewError;  // set when the video was kept but the preview failed
};

struct ConversionJob {
    std::string input;
    std::string output;
    std::string preview;  // empty: none
    FrcMode mode = FrcMode::kBlend;
    int factor = 2;
    int fpsNum = 0;  // > 0: output rate fpsNum / fpsDen instead of the factor
    int fpsDen = 1;
    std::string previewAt;  // first input frame of the preview ("120" or "5s"); empty: 0
    bool overwrite = false;
    bool neverOverwrite = false;
    bool showProgress = true;
    ServiceMode service = ServiceMode::kEmbedded;
};

// Converts job.input into job.output through a FrcNode and the service job.service says, made
// reachable for the time of the call. On failure returns false with *error set to one sentence,
// and leaves neither the output nor the preview file (nor a temporary file) behind. Damaged input
// is not a failure: the frames before the damage are converted and kept, and report->damage says
// what was found; neither is a preview that could not be written (report->previewError).
bool ConvertFile(const ConversionJob& job, FILE* progress, const RunHooks& hooks,
                 ConversionReport* report, std::string* error);

// Runs the tool for parsed options: messages go to out (summary) and err (progress, errors).
int RunTool(const Options& options, FILE* out, FILE* err, const RunHooks& hooks = RunHooks());

// main(): parses the arguments after the program name and runs.
int ToolMain(const std::vector<std::string>& args, FILE* out, FILE* err);

}  // namespace vppfrc
