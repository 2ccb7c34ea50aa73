// Command line of the vppfrc tool: option parsing with one-sentence errors, and the help text.
#include "cli.h"

#include <cerrno>
#include <climits>
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

const char* const kVersion = "1.1.0";

bool ParseRate(const std::string& text, int* num, int* den) {
    const size_t split = text.find_first_of("/:");
    auto whole = [](const std::string& digits, int* value) {
        if (digits.empty() || digits.size() > 10) return false;
        long long v = 0;
        for (char c : digits) {
            if (c < '0' || c > '9') return false;
            v = v * 10 + (c - '0');
        }
        if (v < 1 || v > INT_MAX) return false;
        *value = static_cast<int>(v);
        return true;
    };
    int n = 0, d = 1;
    if (!whole(text.substr(0, split), &n)) return false;
    if (split != std::string::npos && !whole(text.substr(split + 1), &d)) return false;
    *num = n;
    *den = d;
    return true;
}

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
        } else if (name == "-V" || name == "--version") {
            if (!noValue()) return false;
            parsed.version = true;
        } else if (name == "-q" || name == "--quiet") {
            if (!noValue()) return false;
            parsed.quiet = true;
        } else if (name == "-v" || name == "--verbose") {
            if (!noValue()) return false;
            parsed.verbose = true;
        } else if (name == "-y") {
            parsed.overwrite = true;
        } else if (name == "-n") {
            parsed.neverOverwrite = true;
        } else if (name == "--json") {
            if (!takeValue(&parsed.json)) return false;
        } else if (name == "--preview-at") {
            if (!takeValue(&parsed.previewAt)) return false;
        } else if (name == "--fps") {
            std::string text;
            if (!takeValue(&text)) return false;
            if (!ParseRate(text, &parsed.fpsNum, &parsed.fpsDen)) {
                *error = "invalid frame rate " + Quote(text) +
                         ": use a whole number or a fraction such as 60000/1001";
                return false;
            }
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

    if (parsed.help || parsed.version) {
        *options = parsed;
        return true;
    }
    if (parsed.overwrite && parsed.neverOverwrite) {
        *error = "-y and -n contradict each other";
        return false;
    }
    if (parsed.factor != 0 && parsed.fpsNum != 0) {
        *error = "--factor and --fps both set the output rate: give one of them";
        return false;
    }
    if (!parsed.previewAt.empty() && parsed.preview.empty() && !parsed.demo) {
        *error = "--preview-at needs --preview FILE.png";
        return false;
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
        if (parsed.factor == 0 && parsed.fpsNum == 0) parsed.factor = kDemoFactor;
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
        if (parsed.factor == 0 && parsed.fpsNum == 0) parsed.factor = kDefaultFactor;
        if (parsed.output == "-" && parsed.json == "-") {
            *error = "the video already goes to standard output: give --json a file name";
            return false;
        }
    }
    *options = parsed;
    return true;
}

std::string UsageText() {
    return R"(Usage: vppfrc IN.y4m -o OUT.y4m [--factor N | --fps RATE] [--mode MODE] [options]
       vppfrc --demo [--out-dir DIR] [--factor N | --fps RATE] [--mode MODE] [--service WHERE]
                     [--quiet]
       vppfrc --help | --version

Raises the frame rate of a YUV4MPEG2 video (4:2:0, 8-bit, progressive, even width and height,
at most 8192 pixels a side and 7680x4320 in all) by passing its frames through a camera node and
the VPP service's frame-rate conversion. The reference VPP service runs embedded in this process
unless --service says otherwise; if it dies during the run, the run ends at once with exit
status 1 and leaves no output file.
IN.y4m may be - (standard input) or any pipe; OUT.y4m may be - (standard output).

Options:
  -o, --output OUT.y4m  where the converted video goes. A regular file is written under a
                        temporary name beside it and renamed at the end, so a failed or
                        interrupted run leaves no file behind. -, pipes, FIFOs and devices are
                        written in place as streams. The input is never taken as the output.
  -y                    overwrite an existing output (and preview) file
  -n                    never overwrite: exit at once if the output exists
  --factor N            output frames per input frame, 2 to 8 (default 2; with --demo, 4)
  --fps RATE            output frame rate instead of a factor: N, N/D or N:D (e.g. 60,
                        60000/1001), from 1 to 8 times the input's; in-between frames are
                        made at their exact positions between the two nearest input frames
  --mode MODE           how the frames in between are made (default blend; with --demo, motion):
                          off     no conversion: each input frame passes through once, at the
                                  input's rate (--factor and --fps do not apply)
                          repeat  each in-between frame repeats the input frame before it
                          blend   weighted averages of the two neighbouring input frames
                          motion  motion-compensated interpolation, blending where the
                                  motion search fails
  --preview FILE.png    also write a contact sheet of input frames, each followed by the frames
                        made after it, and FILE-crop.png, the same frames at full size cropped
                        to their centre
  --preview-at WHERE    first input frame of the preview: a frame number from 0 (120) or a
                        time in seconds (5s); default 0
  --json FILE           write a JSON summary (frames, rates, times, latencies, stages) to FILE
                        (- for standard output)
  --service WHERE       where the VPP service runs (default embedded):
                          embedded  in this process
                          process   in a vppd child process this run starts and stops
                          connect   in a vppd running already (started by hand)
  -q, --quiet           no progress display and no summary; errors are still reported
  -v, --verbose         per-stage timings in the summary and the node's log lines
  --demo                make a short clip with moving content, convert it, write the output
                        clip and a preview picture, and print where they went
  --out-dir DIR         folder of the demo's files (default vppfrc-demo), made if missing
  -h, --help            show this help
  -V, --version         show the version

M input frames become (M-1)*N+1 output frames at N times the frame rate (with --fps, every
output time up to the last input frame's: floor((M-1)*out/in)+1; M frames in mode off). The
summary gives frames in and out, wall time, output frames per second, the per-frame latency
(from queueing the input that completes a frame to the frame's return; 50th and 99th
percentiles) and the descriptors open at start and end.

Exit status:
  0    success
  1    the conversion failed (nothing is left behind)
  2    usage error
  3    the input is damaged (truncated or corrupt frame): the complete frames before it were
       converted and kept
  4    the video was written but the preview could not be
  128+N  ended by signal N (SIGINT 130, SIGTERM 143, SIGHUP 129, SIGPIPE 141); temporary files
       are removed
Environment: IXO_LOG_LEVEL=info (or verbose) shows the node's log lines; VPPSERVICE_DEBUG=1
(or 2) the service's. BINDER_HOST_DIR is the socket folder --service connect looks in;
VPPSERVICE_VPPD the vppd program --service process starts.
)";
}

}  // namespace vppfrc
