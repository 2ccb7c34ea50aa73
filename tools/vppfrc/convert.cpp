// The vppfrc tool's work: reading a YUV4MPEG2 file into a FrcNode, writing what comes back,
// progress and summary, the demo, and the entry point.
#include "convert.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <mutex>

#include "media/clipgen.h"
#include "media/output_file.h"
#include "media/preview.h"
#include "media/progress.h"
#include "media/y4m.h"

namespace vppfrc {
namespace {

// Longest the service may go without returning a buffer before the run is given up.
constexpr int kStallMilliseconds = 30000;

// The demo clip: moving texture and a ball, long enough to see, short enough to convert fast.
constexpr int kDemoWidth = 640;
constexpr int kDemoHeight = 360;
constexpr int kDemoFrames = 48;
constexpr int kDemoFps = 24;

std::string Quote(const std::string& text) {
    return "'" + text + "'";
}

int64_t Gcd(int64_t a, int64_t b) {
    while (b != 0) {
        const int64_t t = a % b;
        a = b;
        b = t;
    }
    return a;
}

// Frames in a regular file of plain "FRAME" lines, from its size: enough for a progress bar.
// Pipes and devices give 0 (unknown).
int64_t EstimateFrames(const media::Y4mReader& reader) {
    struct stat info;
    if (fstat(reader.fd(), &info) != 0 || !S_ISREG(info.st_mode) || reader.frameSize() == 0) {
        return 0;
    }
    int64_t header = 10;
    for (const std::string& tag : reader.format().tags)
        header += static_cast<int64_t>(tag.size()) + 1;
    const int64_t body = static_cast<int64_t>(info.st_size) - header;
    return body > 0 ? body / static_cast<int64_t>(reader.frameSize() + 6) : 0;
}

// The first input frame of the preview from "120" (a frame) or "5s" / "2.5s" (a time).
bool ParsePreviewAt(const std::string& text, const media::VideoFormat& format, int64_t* frame,
                    std::string* error) {
    if (text.empty()) {
        *frame = 0;
        return true;
    }
    char* end = nullptr;
    errno = 0;
    const double value = std::strtod(text.c_str(), &end);
    const bool seconds = end != nullptr && std::string(end) == "s";
    const bool whole =
        end != nullptr && *end == '\0' && text.find_first_not_of("0123456789") == std::string::npos;
    if (errno != 0 || !(value >= 0) || value > 1e12 || (!seconds && !whole)) {
        *error = "invalid --preview-at " + Quote(text) +
                 ": give an input frame number (120) or a time in seconds (5s)";
        return false;
    }
    *frame = seconds ? static_cast<int64_t>(std::floor(value * format.fpsNum / format.fpsDen))
                     : static_cast<int64_t>(value);
    return true;
}

std::string FormatMs(double seconds) {
    char text[32];
    snprintf(text, sizeof(text), "%.2f ms", seconds * 1e3);
    return text;
}

void PrintSummary(FILE* out, const ConversionJob& job, const ConversionReport& report) {
    const media::LatencySummary latency = media::SummarizeLatencies(report.node.latencies);
    const double rate =
        report.wallSeconds > 0 ? static_cast<double>(report.framesOut) / report.wallSeconds : 0;
    const std::string ratio = report.ratioDen == 1 ? "factor " + std::to_string(report.ratioNum)
                                                   : "ratio " + std::to_string(report.ratioNum) +
                                                         "/" + std::to_string(report.ratioDen);
    fprintf(out, "vppfrc: %s -> %s (mode %s, %s: %lld/%lld to %lld/%lld frames/s)\n",
            job.input.c_str(), job.output.c_str(), FrcModeName(job.mode), ratio.c_str(),
            static_cast<long long>(report.inFpsNum), static_cast<long long>(report.inFpsDen),
            static_cast<long long>(report.outFpsNum), static_cast<long long>(report.outFpsDen));
    fprintf(out, "  frames in:        %lld\n", static_cast<long long>(report.framesIn));
    fprintf(out, "  frames out:       %lld\n", static_cast<long long>(report.framesOut));
    fprintf(out, "  wall time:        %.3f s\n", report.wallSeconds);
    fprintf(out, "  output rate:      %.1f frames/s\n", rate);
    fprintf(out, "  latency p50/p99:  %s / %s (input queued to frame returned)\n",
            FormatMs(latency.p50).c_str(), FormatMs(latency.p99).c_str());
    fprintf(out, "  descriptors open: %d at start, %d at end\n", report.descriptorsAtStart,
            report.descriptorsAtEnd);
    fflush(out);
}

// Makes the folder (one level) unless it exists.
bool MakeFolder(const std::string& path, std::string* error) {
    struct stat info;
    if (stat(path.c_str(), &info) == 0) {
        if (S_ISDIR(info.st_mode)) {
            return true;
        }
        *error = "cannot use " + Quote(path) + " as the demo's folder: it is not a folder";
        return false;
    }
    if (mkdir(path.c_str(), 0777) != 0) {
        *error = "cannot create the folder " + Quote(path) + ": " + strerror(errno);
        return false;
    }
    return true;
}

std::string JoinPath(const std::string& folder, const std::string& name) {
    if (folder.empty() || folder.back() == '/') {
        return folder + name;
    }
    return folder + "/" + name;
}

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The conversion proper, once the files are open. Returns false with *error on failure; damaged
// input ends the reading early but is not a failure (report->damage).
bool Pump(const ConversionJob& job, media::Y4mReader* reader, media::Y4mWriter* writer,
          media::PreviewBuilder* preview, media::PreviewBuilder* crops, int64_t previewFrom,
          FILE* progressStream, const RunHooks& hooks, ConversionReport* report,
          std::string* error) {
    const media::VideoFormat& format = reader->format();
    const int64_t p = report->ratioNum;
    const int64_t q = report->ratioDen;
    std::string writeError;
    std::atomic<int64_t> framesOut{0};
    double writeSeconds = 0;
    // Frame parameters of input frames (only those that have any), by input index: an output
    // frame carries those of the input frame it shows or follows.
    std::mutex paramsMutex;
    std::map<int64_t, std::string> params;
    auto consumer = [&](const OutputFrame& frame) {
        if (frame.i420 == nullptr) {
            return true;  // an end of stream without a frame
        }
        const int64_t input = frame.timestamp / p;
        std::string frameParams;
        {
            std::lock_guard<std::mutex> lock(paramsMutex);
            params.erase(params.begin(), params.lower_bound(input));
            const auto found = params.find(input);
            if (found != params.end()) frameParams = found->second;
        }
        const auto start = std::chrono::steady_clock::now();
        if (!writer->Write(frame.i420, &writeError, frameParams)) {
            return false;
        }
        writeSeconds += SecondsSince(start);
        if (preview != nullptr && !preview->full() && input >= previewFrom) {
            preview->Add(frame.i420, frame.isInputFrame);
            crops->Add(frame.i420, frame.isInputFrame);
        }
        if (hooks.onFrameWritten) hooks.onFrameWritten(framesOut.load(), frame.timestamp);
        framesOut++;
        return true;
    };

    FrcNodeConfig config;
    config.width = static_cast<uint32_t>(format.width);
    config.height = static_cast<uint32_t>(format.height);
    config.mode = job.mode;
    config.factor = job.factor;
    if (job.fpsNum > 0 && job.mode != FrcMode::kOff) {
        config.rateNum = static_cast<int32_t>(p);
        config.rateDen = static_cast<int32_t>(q);
    }

    const int64_t expected = EstimateFrames(*reader);
    std::unique_ptr<media::ProgressReporter> progress;
    if (progressStream != nullptr) {
        media::ProgressReporter::Options options;
        options.label = "converting";
        options.unit = "frames";
        progress = std::make_unique<media::ProgressReporter>(progressStream, expected, options);
    }

    std::string failure;
    const auto start = std::chrono::steady_clock::now();
    {
        FrcNode node(config, consumer);
        if (LumResultSuccess != node.Start()) {
            failure = node.failure();
        }
        std::vector<uint8_t> frame(reader->frameSize());
        int64_t framesIn = 0;
        while (failure.empty()) {
            std::string readError;
            const auto readStart = std::chrono::steady_clock::now();
            const media::Y4mReader::Result read = reader->Read(frame.data(), &readError);
            report->readSeconds += SecondsSince(readStart);
            if (read == media::Y4mReader::Result::kEnd) {
                break;
            }
            if (read == media::Y4mReader::Result::kError) {
                // Damage ends the input; what came before it is converted as a whole stream.
                (reader->damaged() ? report->damage : failure) = readError;
                break;
            }
            if (!reader->frameParams().empty()) {
                std::lock_guard<std::mutex> lock(paramsMutex);
                params[framesIn] = reader->frameParams();
            }
            if (LumResultSuccess != node.QueueFrame(frame.data(), framesIn * p)) {
                failure = node.failure();
                break;
            }
            framesIn++;
            // Progress counts input frames whose outputs are all written: an honest rate from
            // the start, as queueing alone runs ahead into the free buffers.
            if (progress) progress->Update(framesOut.load() * q / p);
            if (hooks.onFrameQueued) hooks.onFrameQueued(framesIn);
        }
        report->framesIn = framesIn;
        if (failure.empty() && framesIn == 0) {
            failure =
                report->damage.empty() ? Quote(job.input) + " holds no frames" : report->damage;
            report->damage.clear();
        }
        if (failure.empty() &&
            (LumResultSuccess != node.EndStream() || !node.WaitForEnd(kStallMilliseconds))) {
            failure = node.failure();
        }
        if (!failure.empty() && node.serviceDied()) {
            failure = "the VPP service died after " + std::to_string(framesIn) +
                      " input frames; the conversion was abandoned";
        }
        node.Stop();
        // The node's destructor waits for the close; no callback runs after it.
        report->node = node.stats();
    }
    report->wallSeconds = SecondsSince(start);
    report->framesOut = framesOut.load();
    report->writeSeconds = writeSeconds;
    // A write error is the cause of the node's "could not take frame" failure: it names the
    // file and the system's reason.
    if (!writeError.empty()) {
        failure = writeError;
    }
    if (!failure.empty()) {
        *error = failure;
        return false;
    }
    if (progress) {
        progress->Update(report->framesIn);
        progress->Finish();
    }
    return true;
}

// Output and input rates and their ratio for the job; false with *error when the service cannot
// make the requested rate.
bool ChooseRates(const ConversionJob& job, const media::VideoFormat& in, ConversionReport* report,
                 std::string* error) {
    report->inFpsNum = in.fpsNum;
    report->inFpsDen = in.fpsDen;
    report->outFpsNum = in.fpsNum;
    report->outFpsDen = in.fpsDen;
    report->ratioNum = report->ratioDen = 1;
    if (job.mode == FrcMode::kOff) return true;
    if (job.fpsNum <= 0) {
        const int64_t num = static_cast<int64_t>(in.fpsNum) * job.factor;
        const int64_t g = Gcd(num, in.fpsDen);
        if (num / g > INT_MAX) {
            *error = Quote(job.input) + " has a frame rate too high to multiply by " +
                     std::to_string(job.factor);
            return false;
        }
        report->outFpsNum = num / g;
        report->outFpsDen = in.fpsDen / g;
        report->ratioNum = job.factor;
        return true;
    }
    // out / in = (fpsNum * inDen) / (fpsDen * inNum): both products fit in 64 bits.
    int64_t p = static_cast<int64_t>(job.fpsNum) * in.fpsDen;
    int64_t q = static_cast<int64_t>(job.fpsDen) * in.fpsNum;
    const int64_t g = Gcd(p, q);
    p /= g;
    q /= g;
    const std::string rates = std::to_string(job.fpsNum) + "/" + std::to_string(job.fpsDen) +
                              " frames/s from the input's " + std::to_string(in.fpsNum) + "/" +
                              std::to_string(in.fpsDen);
    if (p < q || p > 8 * q) {
        *error =
            "cannot convert to " + rates + ": the output rate must be 1 to 8 times the input's";
        return false;
    }
    if (p > 65535) {
        *error = "cannot convert to " + rates + ": their ratio " + std::to_string(p) + "/" +
                 std::to_string(q) + " has terms above 65535";
        return false;
    }
    report->outFpsNum = job.fpsNum;
    report->outFpsDen = job.fpsDen;
    report->ratioNum = p;
    report->ratioDen = q;
    return true;
}

// The full-size crops beside a preview: "p.png" gives "p-crop.png".
std::string CropPath(const std::string& preview) {
    const size_t slash = preview.find_last_of('/');
    const size_t dot = preview.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) {
        return preview + "-crop.png";
    }
    return preview.substr(0, dot) + "-crop" + preview.substr(dot);
}

// Refuses outputs that would destroy the input or each other, and existing files unless -y.
bool CheckDestinations(const ConversionJob& job, const media::Y4mReader& reader,
                       std::string* error) {
    media::FileIdentity input;
    struct stat info;
    if (fstat(reader.fd(), &info) == 0) {
        input.exists = true;
        input.device = info.st_dev;
        input.inode = info.st_ino;
    }
    const media::FileIdentity output = media::IdentityOf(job.output, STDOUT_FILENO);
    // Streams (a terminal, /dev/null, a pipe) may well be shared with the input; a regular
    // file never, even as standard output ("vppfrc in.y4m -o - >> in.y4m").
    struct stat target;
    const bool outputIsRegular = (job.output == "-" ? fstat(STDOUT_FILENO, &target)
                                                    : stat(job.output.c_str(), &target)) == 0 &&
                                 S_ISREG(target.st_mode);
    if ((outputIsRegular || !output.exists) && media::SameFile(input, output)) {
        *error = "refusing to write " + Quote(job.output) + ": it is the input file";
        return false;
    }
    if (!job.preview.empty()) {
        const media::FileIdentity preview = media::IdentityOf(job.preview, STDOUT_FILENO);
        if (media::SameFile(input, preview)) {
            *error =
                "refusing to write the preview " + Quote(job.preview) + ": it is the input file";
            return false;
        }
        if (media::SameFile(output, preview)) {
            *error =
                "refusing to write the preview " + Quote(job.preview) + ": it is the output file";
            return false;
        }
    }
    const std::string crop = job.preview.empty() ? std::string() : CropPath(job.preview);
    if (!crop.empty() && media::SameFile(input, media::IdentityOf(crop, STDOUT_FILENO))) {
        *error = "refusing to write the preview crops " + Quote(crop) + ": it is the input file";
        return false;
    }
    for (const std::string& path : {job.output, job.preview, crop}) {
        struct stat st;
        if (path.empty() || path == "-" || stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) {
            continue;
        }
        if (job.neverOverwrite) {
            *error = Quote(path) + " already exists; not overwriting it (-n)";
            return false;
        }
        if (!job.overwrite) {
            *error = Quote(path) + " already exists (add -y to overwrite it)";
            return false;
        }
    }
    return true;
}

}  // namespace

bool ConvertFile(const ConversionJob& job, FILE* progress, const RunHooks& hooks,
                 ConversionReport* report, std::string* error) {
    ConversionReport result;
    result.descriptorsAtStart = media::OpenDescriptorCount();
    bool ok = false;
    {
        media::Y4mReader reader;
        media::Y4mWriter writer;
        int64_t previewFrom = 0;
        if (reader.Open(job.input, error) && CheckDestinations(job, reader, error) &&
            ChooseRates(job, reader.format(), &result, error) &&
            ParsePreviewAt(job.previewAt, reader.format(), &previewFrom, error)) {
            media::VideoFormat outFormat = reader.format();
            outFormat.fpsNum = static_cast<int>(result.outFpsNum);
            outFormat.fpsDen = static_cast<int>(result.outFpsDen);
            media::AtomicFile previewCheck;
            // An unwritable preview is found before the work, not after it.
            const bool previewWritable =
                job.preview.empty() || previewCheck.Open(job.preview, error);
            previewCheck.Discard();
            if (previewWritable && writer.Open(job.output, outFormat, error, true)) {
                // Reachable for the time of the conversion only: the process ends clean.
                std::unique_ptr<ServiceLink> service = OpenServiceLink(job.service, error);
                if (service != nullptr) {
                    std::unique_ptr<media::PreviewBuilder> preview, crops;
                    if (!job.preview.empty()) {
                        media::PreviewOptions options;
                        options.firstInputIndex = static_cast<int>(
                            std::min<int64_t>(previewFrom, std::numeric_limits<int>::max()));
                        preview = std::make_unique<media::PreviewBuilder>(
                            reader.format().width, reader.format().height, options);
                        // Full-size pieces of the same frames, where the made frames' detail
                        // shows.
                        options.thumbnailWidth = 256;
                        options.cropHeight = 144;
                        options.maxColumns = 6;
                        crops = std::make_unique<media::PreviewBuilder>(
                            reader.format().width, reader.format().height, options);
                    }
                    ok = Pump(job, &reader, &writer, preview.get(), crops.get(), previewFrom,
                              job.showProgress ? progress : nullptr, hooks, &result, error);
                    service.reset();
                    if (ok) {
                        ok = writer.Commit(error);
                    }
                    // A preview that fails is reported; the video is kept.
                    if (ok && preview != nullptr && !preview->empty() &&
                        preview->WritePng(job.preview, &result.previewError)) {
                        crops->WritePng(CropPath(job.preview), &result.previewError);
                    }
                    if (ok && preview != nullptr && preview->empty()) {
                        result.previewError = "no frame at or after --preview-at " + job.previewAt;
                    }
                }
            }
        }
        if (!ok) {
            writer.Discard();
        }
    }
    result.descriptorsAtEnd = media::OpenDescriptorCount();
    *report = result;
    return ok;
}

namespace {

std::string JsonString(const std::string& text) {
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20) {
            char escaped[8];
            snprintf(escaped, sizeof(escaped), "\\u%04x", c);
            out += escaped;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

std::string JsonSummary(const ConversionJob& job, const ConversionReport& report) {
    const media::LatencySummary latency = media::SummarizeLatencies(report.node.latencies);
    char text[2048];
    snprintf(
        text, sizeof(text),
        "{\"input\": %s, \"output\": %s, \"mode\": \"%s\", "
        "\"frames_in\": %lld, \"frames_out\": %lld, "
        "\"input_fps\": {\"num\": %lld, \"den\": %lld}, "
        "\"output_fps\": {\"num\": %lld, \"den\": %lld}, "
        "\"ratio\": {\"num\": %lld, \"den\": %lld}, "
        "\"wall_seconds\": %.6f, \"output_frames_per_second\": %.3f, "
        "\"latency_seconds\": {\"count\": %zu, \"min\": %.6f, \"mean\": %.6f, "
        "\"p50\": %.6f, \"p99\": %.6f, \"max\": %.6f}, "
        "\"stages_seconds\": {\"read\": %.6f, \"queue\": %.6f, \"callbacks\": %.6f, "
        "\"write\": %.6f}, "
        "\"input_damaged\": %s, \"preview_written\": %s, "
        "\"descriptors\": {\"start\": %d, \"end\": %d}}\n",
        JsonString(job.input).c_str(), JsonString(job.output).c_str(), FrcModeName(job.mode),
        static_cast<long long>(report.framesIn), static_cast<long long>(report.framesOut),
        static_cast<long long>(report.inFpsNum), static_cast<long long>(report.inFpsDen),
        static_cast<long long>(report.outFpsNum), static_cast<long long>(report.outFpsDen),
        static_cast<long long>(report.ratioNum), static_cast<long long>(report.ratioDen),
        report.wallSeconds,
        report.wallSeconds > 0 ? static_cast<double>(report.framesOut) / report.wallSeconds : 0.0,
        latency.count, latency.min, latency.mean, latency.p50, latency.p99, latency.max,
        report.readSeconds, report.node.queueSeconds, report.node.handlerSeconds,
        report.writeSeconds, report.damage.empty() ? "false" : "true",
        !job.preview.empty() && report.previewError.empty() ? "true" : "false",
        report.descriptorsAtStart, report.descriptorsAtEnd);
    return text;
}

bool WriteJson(const std::string& path, const std::string& text, FILE* out, std::string* error) {
    if (path == "-") {
        fputs(text.c_str(), out);
        fflush(out);
        return true;
    }
    media::AtomicFile file;
    return file.Open(path, error) && file.Write(text.data(), text.size(), error) &&
           file.Commit(error);
}

}  // namespace

int RunTool(const Options& options, FILE* out, FILE* err, const RunHooks& hooks) {
    if (options.help) {
        fputs(UsageText().c_str(), out);
        return kExitOk;
    }
    if (options.version) {
        fprintf(out, "vppfrc %s\n", kVersion);
        return kExitOk;
    }
    if (options.verbose) {
        setenv("IXO_LOG_LEVEL", "info", 0);
    }

    ConversionJob job;
    job.mode = options.mode;
    job.factor = options.factor;
    job.fpsNum = options.fpsNum;
    job.fpsDen = options.fpsDen;
    job.previewAt = options.previewAt;
    job.overwrite = options.overwrite || options.demo;
    job.neverOverwrite = options.neverOverwrite;
    job.showProgress = !options.quiet;
    job.service = options.service;
    std::string error;

    if (options.demo) {
        job.input = JoinPath(options.outDir, "input.y4m");
        job.output = JoinPath(options.outDir, "output.y4m");
        job.preview = JoinPath(options.outDir, "preview.png");
        media::ClipOptions clip;
        clip.width = kDemoWidth;
        clip.height = kDemoHeight;
        clip.frames = kDemoFrames;
        clip.fpsNum = kDemoFps;
        // Fast enough that the ball visibly travels between the preview's thumbnails.
        clip.panX = 4.0;
        clip.panY = 2.0;
        clip.ballX = -14.0;
        clip.ballY = 8.0;
        if (!MakeFolder(options.outDir, &error) || !media::WriteClip(job.input, clip, &error)) {
            fprintf(err, "vppfrc: %s\n", error.c_str());
            return kExitFailed;
        }
        if (!options.quiet) {
            fprintf(out, "vppfrc: demo clip %s: %dx%d, %d frames at %d frames/s, moving content\n",
                    job.input.c_str(), kDemoWidth, kDemoHeight, kDemoFrames, kDemoFps);
            fflush(out);
        }
    } else {
        job.input = options.input;
        job.output = options.output;
        job.preview = options.preview;
    }
    if (job.mode == FrcMode::kOff && (options.fpsNum != 0 || options.factor != 0) &&
        !options.quiet) {
        fprintf(err,
                "vppfrc: mode off passes every frame through once at the input's rate; the "
                "requested %s is not applied\n",
                options.fpsNum != 0 ? "--fps" : "--factor");
    }
    // The summary goes where the video does not.
    FILE* summary = job.output == "-" ? err : out;

    ConversionReport report;
    if (!ConvertFile(job, err, hooks, &report, &error)) {
        fprintf(err, "vppfrc: %s\n", error.c_str());
        return kExitFailed;
    }
    if (!options.quiet) {
        PrintSummary(summary, job, report);
        if (options.verbose) {
            fprintf(summary,
                    "  stages:           read %.3f s, queue %.3f s, callbacks %.3f s, "
                    "write %.3f s\n",
                    report.readSeconds, report.node.queueSeconds, report.node.handlerSeconds,
                    report.writeSeconds);
        }
    }
    int status = kExitOk;
    if (!options.json.empty() && !WriteJson(options.json, JsonSummary(job, report), out, &error)) {
        fprintf(err, "vppfrc: %s\n", error.c_str());
        status = kExitFailed;
    }
    if (options.demo) {
        fprintf(out, "vppfrc: output clip: %s (%lld frames at %lld/%lld frames/s)\n",
                job.output.c_str(), static_cast<long long>(report.framesOut),
                static_cast<long long>(report.outFpsNum), static_cast<long long>(report.outFpsDen));
        fprintf(out,
                "vppfrc: preview:     %s (input frames in green, made frames in orange; "
                "full-size crops: %s)\n",
                job.preview.c_str(), CropPath(job.preview).c_str());
    } else if (!options.quiet && !job.preview.empty() && report.previewError.empty()) {
        fprintf(summary, "vppfrc: preview:     %s (full-size crops: %s)\n", job.preview.c_str(),
                CropPath(job.preview).c_str());
    }
    if (!report.previewError.empty()) {
        fprintf(err, "vppfrc: the video was written, but not the preview: %s\n",
                report.previewError.c_str());
        status = kExitNoPreview;
    }
    if (!report.damage.empty()) {
        fprintf(err, "vppfrc: %s; the %lld complete frames before it were converted and kept\n",
                report.damage.c_str(), static_cast<long long>(report.framesIn));
        status = kExitDamagedInput;
    }
    return status;
}

int ToolMain(const std::vector<std::string>& args, FILE* out, FILE* err) {
    Options options;
    std::string error;
    if (!ParseOptions(args, &options, &error)) {
        fprintf(err, "vppfrc: %s\n", error.c_str());
        return kExitUsage;
    }
    return RunTool(options, out, err);
}

}  // namespace vppfrc
