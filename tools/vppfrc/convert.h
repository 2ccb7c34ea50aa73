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

// Observation points for tests and benchmarks; all optional.
struct RunHooks {
    // After each input frame is queued (on the converting thread), with the count so far.
    std::function<void(int64_t framesQueued)> onFrameQueued;
};

// What one conversion did.
struct ConversionReport {
    int64_t framesIn = 0;
    int64_t framesOut = 0;
    double wallSeconds = 0;
    NodeStats node;
    int descriptorsAtStart = -1;
    int descriptorsAtEnd = -1;
};

struct ConversionJob {
    std::string input;
    std::string output;
    std::string preview;  // empty: none
    FrcMode mode = FrcMode::kBlend;
    int factor = 2;
    bool showProgress = true;
    ServiceMode service = ServiceMode::kEmbedded;
};

// Converts job.input into job.output through a FrcNode and the service job.service says, made
// reachable for the time of the call. On failure returns false with *error set to one sentence, and
// leaves neither the output nor the preview file (nor a temporary file) behind.
bool ConvertFile(const ConversionJob& job, FILE* progress, const RunHooks& hooks,
                 ConversionReport* report, std::string* error);

// Runs the tool for parsed options: messages go to out (summary) and err (progress, errors).
int RunTool(const Options& options, FILE* out, FILE* err, const RunHooks& hooks = RunHooks());

// main(): parses the arguments after the program name and runs.
int ToolMain(const std::vector<std::string>& args, FILE* out, FILE* err);

}  // namespace vppfrc
