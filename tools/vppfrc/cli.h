// Command line of the vppfrc tool: its options, their parsing and the help text.
#pragma once

#include <string>
#include <vector>

#include "frc_node.h"
#include "service_link.h"

namespace vppfrc {

struct Options {
    bool help = false;
    bool demo = false;
    bool quiet = false;
    std::string input;
    std::string output;
    std::string preview;  // empty: no preview picture
    std::string outDir;   // demo only
    int factor = 0;       // 0: not given (the mode's default applies)
    FrcMode mode = FrcMode::kBlend;
    bool modeGiven = false;
    ServiceMode service = ServiceMode::kEmbedded;
};

// Lowest and highest conversion factor the service accepts.
constexpr int kMinFactor = 2;
constexpr int kMaxFactor = 8;

// Defaults when the command line does not choose.
constexpr int kDefaultFactor = 2;
constexpr int kDemoFactor = 4;
constexpr FrcMode kDemoMode = FrcMode::kMotion;
constexpr const char* kDemoOutDir = "vppfrc-demo";

// Parses the arguments after the program name. On failure returns false and sets *error to one
// sentence naming the problem (without the "vppfrc: " prefix).
bool ParseOptions(const std::vector<std::string>& args, Options* options, std::string* error);

// Parses a mode name ("off", "repeat", "blend", "motion").
bool ParseMode(const std::string& text, FrcMode* mode);

// The --help text.
std::string UsageText();

}  // namespace vppfrc
