// The vppfrc tool's work: reading a YUV4MPEG2 file into a FrcNode, writing what comes back,
// progress and summary, the demo, and the entry point.
#include "convert.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <fstream>
#include <memory>

#include "media/clipgen.h"
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

// Timestamp of input frame `index` in nanoseconds.
int64_t FrameTimestamp(int64_t index, const media::VideoFormat& format) {
    const __int128 ns = static_cast<__int128>(index) * format.fpsDen * 1000000000LL;
    return static_cast<int64_t>(ns / format.fpsNum);
}

// Frames in a stream of plain "FRAME" lines, from the file's size: enough for a progress bar.
int64_t EstimateFrames(const std::string& path, size_t frameSize) {
    struct stat info;
    if (stat(path.c_str(), &info) != 0 || frameSize == 0) {
        return 0;
    }
    std::ifstream file(path, std::ios::binary);
    std::string header;
    if (!std::getline(file, header)) {
        return 0;
    }
    const int64_t body =
        static_cast<int64_t>(info.st_size) - static_cast<int64_t>(header.size()) - 1;
    return body > 0 ? body / static_cast<int64_t>(frameSize + 6) : 0;
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
    fprintf(out, "vppfrc: %s -> %s (mode %s, factor %d)\n", job.input.c_str(), job.output.c_str(),
            FrcModeName(job.mode), job.mode == FrcMode::kOff ? 1 : job.factor);
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

// The conversion proper, once the files are open. Returns false with *error on failure.
bool Pump(const ConversionJob& job, media::Y4mReader* reader, media::Y4mWriter* writer,
          media::PreviewBuilder* preview, FILE* progressStream, const RunHooks& hooks,
          ConversionReport* report, std::string* error) {
    const media::VideoFormat& format = reader->format();
    std::string writeError;
    int64_t framesOut = 0;
    auto consumer = [&](const OutputFrame& frame) {
        if (frame.i420 == nullptr) {
            return true;  // an end of stream without a frame
        }
        if (!writer->Write(frame.i420, &writeError)) {
            return false;
        }
        if (preview != nullptr && !preview->full()) {
            preview->Add(frame.i420, frame.isInputFrame);
        }
        framesOut++;
        return true;
    };

    FrcNodeConfig config;
    config.width = static_cast<uint32_t>(format.width);
    config.height = static_cast<uint32_t>(format.height);
    config.mode = job.mode;
    config.factor = job.factor;

    const int64_t expected = EstimateFrames(job.input, reader->frameSize());
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
            const media::Y4mReader::Result read = reader->Read(frame.data(), &readError);
            if (read == media::Y4mReader::Result::kEnd) {
                break;
            }
            if (read == media::Y4mReader::Result::kError) {
                failure = readError;
                break;
            }
            if (LumResultSuccess !=
                node.QueueFrame(frame.data(), FrameTimestamp(framesIn, format))) {
                failure = node.failure();
                break;
            }
            framesIn++;
            if (progress) progress->Update(framesIn);
            if (hooks.onFrameQueued) hooks.onFrameQueued(framesIn);
        }
        report->framesIn = framesIn;
        if (failure.empty() && framesIn == 0) {
            failure = Quote(job.input) + " holds no frames";
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
    report->wallSeconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    report->framesOut = framesOut;
    if (failure.empty() && !writeError.empty()) {
        failure = writeError;
    }
    if (!failure.empty()) {
        *error = failure;
        return false;
    }
    if (progress) progress->Finish();
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
        if (reader.Open(job.input, error)) {
            media::VideoFormat outFormat = reader.format();
            const int64_t factor = job.mode == FrcMode::kOff ? 1 : job.factor;
            const int64_t fpsNum = static_cast<int64_t>(outFormat.fpsNum) * factor;
            if (fpsNum > INT_MAX) {
                *error = Quote(job.input) + " has a frame rate too high to multiply by " +
                         std::to_string(factor);
            } else {
                outFormat.fpsNum = static_cast<int>(fpsNum);
                media::AtomicFile previewCheck;
                // An unwritable preview is found before the work, not after it.
                const bool previewWritable =
                    job.preview.empty() || previewCheck.Open(job.preview, error);
                previewCheck.Discard();
                if (previewWritable && writer.Open(job.output, outFormat, error)) {
                    // Reachable for the time of the conversion only: the process ends clean.
                    std::unique_ptr<ServiceLink> service = OpenServiceLink(job.service, error);
                    if (service != nullptr) {
                        std::unique_ptr<media::PreviewBuilder> preview;
                        if (!job.preview.empty()) {
                            preview = std::make_unique<media::PreviewBuilder>(
                                reader.format().width, reader.format().height);
                        }
                        ok = Pump(job, &reader, &writer, preview.get(),
                                  job.showProgress ? progress : nullptr, hooks, &result, error);
                        service.reset();
                        if (ok && preview != nullptr && !preview->empty()) {
                            ok = preview->WritePng(job.preview, error);
                        }
                        if (ok) {
                            ok = writer.Commit(error);
                            if (!ok && !job.preview.empty()) {
                                // A preview without its video would be misleading.
                                unlink(job.preview.c_str());
                            }
                        }
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

int RunTool(const Options& options, FILE* out, FILE* err, const RunHooks& hooks) {
    if (options.help) {
        fputs(UsageText().c_str(), out);
        return kExitOk;
    }

    ConversionJob job;
    job.mode = options.mode;
    job.factor = options.factor;
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

    ConversionReport report;
    if (!ConvertFile(job, err, hooks, &report, &error)) {
        fprintf(err, "vppfrc: %s\n", error.c_str());
        return kExitFailed;
    }
    if (!options.quiet) {
        PrintSummary(out, job, report);
    }
    if (options.demo) {
        const int factor = job.mode == FrcMode::kOff ? 1 : job.factor;
        fprintf(out, "vppfrc: output clip: %s (%lld frames at %d frames/s)\n", job.output.c_str(),
                static_cast<long long>(report.framesOut), kDemoFps * factor);
        fprintf(out, "vppfrc: preview:     %s (input frames in green, made frames in orange)\n",
                job.preview.c_str());
    } else if (!options.quiet && !job.preview.empty()) {
        fprintf(out, "vppfrc: preview:     %s\n", job.preview.c_str());
    }
    return kExitOk;
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
