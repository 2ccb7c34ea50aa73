// Progress display for terminals and logs, latency percentiles and the process's descriptor count.
#include "media/progress.h"

#include <dirent.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace media {
namespace {

// Seconds over which the running rate is averaged.
constexpr double kRateWindow = 5.0;

constexpr double kBarInterval = 0.1;   // seconds between redraws of the bar
constexpr double kLineInterval = 5.0;  // seconds between plain lines without a 10% step

std::string Fixed(double value, int decimals) {
    char text[64];
    snprintf(text, sizeof(text), "%.*f", decimals, value);
    return text;
}

std::string FormatRate(double perSecond) {
    return Fixed(perSecond, perSecond >= 100 ? 0 : 1);
}

}  // namespace

int OpenDescriptorCount() {
    DIR* dir = opendir("/proc/self/fd");
    if (dir == nullptr) return -1;
    int count = 0;
    while (dirent* entry = readdir(dir)) {
        if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0) ++count;
    }
    closedir(dir);
    return count - 1;
}

double Percentile(std::vector<double> values, double p) {
    if (values.empty()) return 0;
    if (!(p > 0)) p = 0;  // also catches NaN
    if (p > 100) p = 100;
    const double rank = p / 100.0 * static_cast<double>(values.size() - 1);
    const size_t lower = static_cast<size_t>(std::floor(rank));
    const double fraction = rank - static_cast<double>(lower);
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(lower);
    std::nth_element(values.begin(), at, values.end());
    const double low = values[lower];
    if (fraction == 0 || lower + 1 >= values.size()) return low;
    // After nth_element everything past 'lower' is at least as large: the next rank is their
    // minimum.
    const double high = *std::min_element(at + 1, values.end());
    return low + (high - low) * fraction;
}

LatencySummary SummarizeLatencies(const std::vector<double>& values) {
    LatencySummary summary;
    if (values.empty()) return summary;
    summary.count = values.size();
    auto [minIt, maxIt] = std::minmax_element(values.begin(), values.end());
    summary.min = *minIt;
    summary.max = *maxIt;
    double sum = 0;
    for (double v : values) sum += v;
    summary.mean = sum / static_cast<double>(values.size());
    summary.p50 = Percentile(values, 50);
    summary.p99 = Percentile(values, 99);
    return summary;
}

std::string FormatDuration(double seconds) {
    if (!std::isfinite(seconds) || seconds < 0) return "--:--";
    const int64_t total = static_cast<int64_t>(std::llround(seconds));
    char text[48];
    if (total >= 3600) {
        snprintf(text, sizeof(text), "%lld:%02d:%02d", static_cast<long long>(total / 3600),
                 static_cast<int>(total / 60 % 60), static_cast<int>(total % 60));
    } else {
        snprintf(text, sizeof(text), "%d:%02d", static_cast<int>(total / 60),
                 static_cast<int>(total % 60));
    }
    return text;
}

ProgressReporter::ProgressReporter(FILE* stream, int64_t total, Options options)
    : stream_(stream), total_(total > 0 ? total : 0), options_(std::move(options)) {
    if (!options_.clock) {
        options_.clock = [] {
            return std::chrono::duration<double>(
                       std::chrono::steady_clock::now().time_since_epoch())
                .count();
        };
    }
    if (options_.style == Style::kAuto) {
        const char* term = getenv("TERM");
        bar_ = isatty(fileno(stream_)) && !(term != nullptr && strcmp(term, "dumb") == 0);
    } else {
        bar_ = options_.style == Style::kBar;
    }
    columns_ = options_.columns;
    if (columns_ <= 0) {
        winsize size{};
        columns_ =
            (ioctl(fileno(stream_), TIOCGWINSZ, &size) == 0 && size.ws_col > 0) ? size.ws_col : 80;
    }
    // The bar gets what is left of the terminal's width after the longest status text, so it
    // keeps its width while the numbers change.
    const int digits = static_cast<int>(std::to_string(total_).size());
    const int unit = static_cast<int>(options_.unit.size());
    const int longestStatus = 5 + (2 * digits + 2 + unit) + 2 + 6 + (unit + 3) + 6 + 7;
    const int label = options_.label.empty() ? 0 : static_cast<int>(options_.label.size()) + 1;
    barWidth_ = std::clamp(columns_ - 1 - label - 3 - longestStatus, 10, 40);
    start_ = Now();
}

int ProgressReporter::BarFill() const {
    return total_ > 0 ? static_cast<int>(std::min(done_, total_) * barWidth_ / total_) : 0;
}

ProgressReporter::~ProgressReporter() {
    // Only the bar leaves an unfinished line; a plain log needs no closing line from here.
    if (bar_ && started_ && !finished_) {
        fputc('\n', stream_);
        fflush(stream_);
    }
}

double ProgressReporter::Now() const {
    return options_.clock();
}

double ProgressReporter::elapsedSeconds() const {
    return Now() - start_;
}

std::string ProgressReporter::Status(bool forLine) const {
    const double elapsed = std::max(elapsedSeconds(), 0.0);
    double rate = elapsed > 0 ? static_cast<double>(done_) / elapsed : 0;
    // While running: the moving average over the recent window (from the start until the
    // window is full, which is the plain average).
    if (!finished_ && !samples_.empty() && samples_.front().first > start_) {
        const double span = Now() - samples_.front().first;
        if (span > 0) rate = static_cast<double>(done_ - samples_.front().second) / span;
    }
    std::string text;
    if (total_ > 0) {
        const int64_t shown = std::min(done_, total_);
        const int percent = static_cast<int>(shown * 100 / total_);
        std::string count =
            std::to_string(done_) + "/" + std::to_string(total_) + " " + options_.unit;
        text = forLine ? count + " (" + std::to_string(percent) + "%)"
                       : std::to_string(percent) + "% " + count;
    } else {
        text = std::to_string(done_) + " " + options_.unit;
    }
    if (finished_) text += " in " + FormatDuration(elapsed);
    text += ", " + FormatRate(rate) + " " + options_.unit + "/s";
    if (!finished_ && total_ > 0) {
        const int64_t left = std::max<int64_t>(total_ - done_, 0);
        text += ", ETA " + FormatDuration(rate > 0 ? static_cast<double>(left) / rate : -1);
    }
    return text;
}

void ProgressReporter::DrawBar() {
    std::string prefix = options_.label.empty() ? "" : options_.label + " ";
    std::string status = Status(false);
    std::string line = prefix;
    if (total_ > 0)
        line += "[" + std::string(BarFill(), '#') + std::string(barWidth_ - BarFill(), '.') + "] ";
    line += status;
    // A line longer than the terminal would wrap, and '\r' would then only redraw its tail.
    if (static_cast<int>(line.size()) > columns_ - 1) line.resize(std::max(columns_ - 1, 0));
    // Pad over the rest of a longer previous line rather than relying on terminal escapes.
    std::string padding(lastBarLength_ > line.size() ? lastBarLength_ - line.size() : 0, ' ');
    lastBarLength_ = std::max(lastBarLength_, line.size());
    fprintf(stream_, "\r%s%s", line.c_str(), padding.c_str());
    fflush(stream_);
}

void ProgressReporter::PrintLine() {
    std::string prefix = options_.label.empty() ? "" : options_.label + ": ";
    fprintf(stream_, "%s%s\n", prefix.c_str(), Status(true).c_str());
    fflush(stream_);
}

void ProgressReporter::Update(int64_t done) {
    if (finished_) return;
    done_ = done;
    started_ = true;
    const double now = Now();
    samples_.emplace_back(now, done);
    // The oldest sample kept is the last one at least a window ago: the rate spans the window.
    while (samples_.size() > 1 && now - samples_[1].first >= kRateWindow) samples_.pop_front();
    if (bar_) {
        if (lastDraw_ < 0 || now - lastDraw_ >= kBarInterval) {
            lastDraw_ = now;
            DrawBar();
        }
        return;
    }
    const int step = total_ > 0 ? static_cast<int>(std::min(done_, total_) * 10 / total_) : -1;
    const bool newStep = step > lastStep_ && step > 0;
    const bool due =
        lastDraw_ < 0 ? now - start_ >= kLineInterval : now - lastDraw_ >= kLineInterval;
    if (newStep || due) {
        if (step > lastStep_) lastStep_ = step;
        lastDraw_ = now;
        // The last step is printed by Finish(), with the total time.
        if (!(total_ > 0 && done_ >= total_)) PrintLine();
    }
}

void ProgressReporter::Finish() {
    if (finished_) return;
    finished_ = true;
    if (bar_) {
        DrawBar();
        fputc('\n', stream_);
        fflush(stream_);
    } else {
        PrintLine();
    }
}

}  // namespace media
