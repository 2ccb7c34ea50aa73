// Command line of the vppfrc tool: its options, their parsing and the help text.
#pragma once

#include <string>
#include <vector>

#include "frc_node.h"
#include "service_link.h"

namespace vppfrc {

struct Options {
    bool help = false;
    bool version = false;
    bool demo = false;
    bool quiet = false;
    bool verbose = false;
    bool overwrite = false;       // -y
    bool neverOverwrite = false;  // -n
    std::string input;            // "-": standard input
    std::string output;           // "-": standard output
    std::string preview;          // empty: no preview picture
    std::string previewAt;        // first input frame of the preview: "120" or a time "5s"
    std::string json;             // empty: no JSON summary; "-": standard output
    std::string outDir;           // demo only
    int factor = 0;               // 0: not given (the mode's default applies)
    int fpsNum = 0;               // --fps: output rate fpsNum / fpsDen; 0: not given
    int fpsDen = 1;
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

// Parses a frame rate "N", "N/D" or "N:D" (positive whole numbers).
bool ParseRate(const std::string& text, int* num, int* den);

// The tool's version, as --version prints it.
extern const char* const kVersion;

// The --help text.
std::string UsageText();

}  // namespace vppfrc
