// Command line of the vppfrc tool: option parsing with one-sentence errors, and the help text.
#include "cli.h"

#include <cerrno>
#include <cstdlib>

namespace vppfrc {
namespace {

std::string Quote(const std::string& text) {
    return "'" + text + "'";
}

bool ParseFactor(const std::string& text, int* factor, std::string* error) {
    errno = 0;
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    const bool whole = !text.empty() && end != nullptr && *end == '\0' && errno == 0;
    const std::string range = std::to_string(kMinFactor) + " to " + std::to_string(kMaxFactor);
    if (!whole) {
        *error = "invalid factor " + Quote(text) + ": it must be a whole number from " + range;
        return false;
    }
    if (value < kMinFactor || value > kMaxFactor) {
        *error = "factor " + Quote(text) + " is out of range: it must be from " + range;
        return false;
    }
    *factor = static_cast<int>(value);
    return true;
}

}  // namespace

bool ParseMode(const std::string& text, FrcMode* mode) {
    for (FrcMode candidate : {FrcMode::kOff, FrcMode::kRepeat, FrcMode::kBlend, FrcMode::kMotion}) {
        if (text == FrcModeName(candidate)) {
            *mode = candidate;
            return true;
        }
    }
    return false;
}

bool ParseOptions(const std::vector<std::string>& args, Options* options, std::string* error) {
    Options parsed;
    std::vector<std::string> inputs;
    bool outDirGiven = false;
    bool onlyFiles = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (onlyFiles || arg == "-" || arg.empty() || arg[0] != '-') {
            inputs.push_back(arg);
            continue;
        }
        if (arg == "--") {
            onlyFiles = true;
            continue;
        }
        // "--name=value" and "--name value" are the same; short options take the next word.
        std::string name = arg;
        std::string value;
        bool inlineValue = false;
        const size_t equals = arg.find('=');
        if (arg.compare(0, 2, "--") == 0 && equals != std::string::npos) {
            name = arg.substr(0, equals);
            value = arg.substr(equals + 1);
            inlineValue = true;
        }
        auto takeValue = [&](std::string* out) {
            if (inlineValue) {
                *out = value;
            } else if (i + 1 < args.size()) {
                *out = args[++i];
            } else {
                *error = "option " + name + " needs a value";
                return false;
            }
            if (out->empty()) {
                *error = "option " + name + " needs a non-empty value";
                return false;
            }
            return true;
        };
        auto noValue = [&]() {
            if (inlineValue) {
                *error = "option " + name + " takes no value";
                return false;
            }
            return true;
        };

        if (name == "-h" || name == "--help") {
            if (!noValue()) return false;
            parsed.help = true;
        } else if (name == "-q" || name == "--quiet") {
            if (!noValue()) return false;
            parsed.quiet = true;
        } else if (name == "--demo") {
            if (!noValue()) return false;
            parsed.demo = true;
        } else if (name == "-o" || name == "--output") {
            if (!takeValue(&parsed.output)) return false;
        } else if (name == "--preview") {
            if (!takeValue(&parsed.preview)) return false;
        } else if (name == "--out-dir") {
            if (!takeValue(&parsed.outDir)) return false;
            outDirGiven = true;
        } else if (name == "--factor") {
            std::string text;
            if (!takeValue(&text) || !ParseFactor(text, &parsed.factor, error)) return false;
        } else if (name == "--mode") {
            std::string text;
            if (!takeValue(&text)) return false;
            if (!ParseMode(text, &parsed.mode)) {
                *error = "unknown mode " + Quote(text) + ": use off, repeat, blend or motion";
                return false;
            }
            parsed.modeGiven = true;
        } else if (name == "--service") {
            std::string text;
            if (!takeValue(&text)) return false;
            if (!ParseServiceMode(text, &parsed.service)) {
                *error = "unknown service " + Quote(text) + ": use embedded, process or connect";
                return false;
            }
        } else {
            *error = "unknown option " + Quote(arg) + " (vppfrc --help lists the options)";
            return false;
        }
    }

    if (parsed.help) {
        *options = parsed;
        return true;
    }
    if (parsed.demo) {
        if (!inputs.empty() || !parsed.output.empty()) {
            *error = "--demo takes no input or output file (choose its folder with --out-dir)";
            return false;
        }
        if (!parsed.preview.empty()) {
            *error = "--demo always writes its preview into the --out-dir folder";
            return false;
        }
        if (!outDirGiven) {
            parsed.outDir = kDemoOutDir;
        }
        if (parsed.factor == 0) parsed.factor = kDemoFactor;
        if (!parsed.modeGiven) parsed.mode = kDemoMode;
    } else {
        if (outDirGiven) {
            *error = "--out-dir is only used with --demo";
            return false;
        }
        if (inputs.empty()) {
            *error = "no input file given (vppfrc --help shows the usage)";
            return false;
        }
        if (inputs.size() > 1) {
            *error = "more than one input file given (" + Quote(inputs[0]) + " and " +
                     Quote(inputs[1]) + ")";
            return false;
        }
        parsed.input = inputs[0];
        if (parsed.output.empty()) {
            *error = "no output file given: add -o OUT.y4m";
            return false;
        }
        if (parsed.factor == 0) parsed.factor = kDefaultFactor;
    }
    *options = parsed;
    return true;
}

std::string UsageText() {
    return R"(Usage: vppfrc IN.y4m -o OUT.y4m [--factor N] [--mode MODE] [--preview FILE.png]
                     [--service WHERE] [--quiet]
       vppfrc --demo [--out-dir DIR] [--factor N] [--mode MODE] [--service WHERE] [--quiet]
       vppfrc --help

Raises the frame rate of a YUV4MPEG2 video (4:2:0, 8-bit, progressive, even width and height)
by passing its frames through a camera node and the VPP service's frame-rate conversion. The
reference VPP service runs embedded in this process unless --service says otherwise; if it
dies during the run, the run ends at once with exit status 1 and leaves no output file.

Options:
  -o, --output OUT.y4m  where the converted video goes; it is written under a temporary name
                        and renamed at the end, so a failed run leaves no file behind
  --factor N            output frames per input frame, 2 to 8 (default 2; with --demo, 4)
  --mode MODE           how the frames in between are made (default blend; with --demo, motion):
                          off     no conversion: each input frame passes through once
                          repeat  each input frame is repeated
                          blend   weighted averages of the two neighbouring input frames
                          motion  motion-compensated interpolation, blending where the
                                  motion search fails
  --preview FILE.png    also write a picture of the first input frames, each followed by the
                        frames made after it
  --service WHERE       where the VPP service runs (default embedded):
                          embedded  in this process
                          process   in a vppd child process this run starts and stops
                          connect   in a vppd running already (started by hand)
  --quiet               no progress display and no summary; errors are still reported
  --demo                make a short clip with moving content, convert it, write the output
                        clip and a preview picture, and print where they went
  --out-dir DIR         folder of the demo's files (default vppfrc-demo), made if missing
  -h, --help            show this help

M input frames become (M-1)*N+1 output frames at N times the frame rate (M frames in mode off).
The summary gives frames in and out, wall time, output frames per second, the per-frame latency
(from queueing the input that completes a frame to the frame's return; 50th and 99th
percentiles) and the descriptors open at start and end.

Exit status: 0 on success, 1 when the conversion fails, 2 for a usage error.
Environment: IXO_LOG_LEVEL=info (or verbose) shows the node's log lines; VPPSERVICE_DEBUG=1
(or 2) the service's. BINDER_HOST_DIR is the socket folder --service connect looks in;
VPPSERVICE_VPPD the vppd program --service process starts.
)";
}

}  // namespace vppfrc
