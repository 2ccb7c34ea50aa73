// Progress display for terminals and logs, latency percentiles and the process's descriptor count.
#pragma once

#include <cstdint>
#include <cstdio>
#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace media {

// Number of descriptors the process has open (entries of /proc/self/fd, not counting the one
// used to list them), or -1 if the listing is unavailable.
int OpenDescriptorCount();

// The p-th percentile (p in [0, 100], clamped) with linear interpolation between the closest
// ranks, so Percentile({1, 2}, 50) is 1.5. Returns 0 for no values. Takes the values by copy
// because it reorders them; runs in linear time.
double Percentile(std::vector<double> values, double p);

struct LatencySummary {
    size_t count = 0;
    double min = 0;
    double mean = 0;
    double p50 = 0;
    double p99 = 0;
    double max = 0;
};
LatencySummary SummarizeLatencies(const std::vector<double>& values);

// "m:ss" below an hour, "h:mm:ss" from there on; negative or non-finite values give "--:--".
std::string FormatDuration(double seconds);

// Shows how far a long job is. On a terminal it keeps one line up to date: a bar, percentage,
// counts, rate and remaining time, redrawn in place at most ten times a second. Elsewhere (a log,
// a pipe) it prints a plain line at every 10% step, or every 5 s when the total is unknown or
// progress is slow. Nothing is printed until the first Update().
class ProgressReporter {
  public:
    enum class Style { kAuto, kBar, kLines };
    struct Options {
        Style style = Style::kAuto;  // kAuto: a bar if the stream is a terminal
        std::string label;           // printed first, e.g. "converting"
        std::string unit = "frames";
        int columns = 0;  // terminal width; 0 asks the terminal (80 if it cannot tell)
        // Monotonic time in seconds; tests supply their own. Defaults to the steady clock.
        std::function<double()> clock;
    };

    // total is the expected count, or 0 if unknown.
    ProgressReporter(FILE* stream, int64_t total, Options options);
    ProgressReporter(FILE* stream, int64_t total) : ProgressReporter(stream, total, Options()) {}
    ProgressReporter(const ProgressReporter&) = delete;
    ProgressReporter& operator=(const ProgressReporter&) = delete;
    // Ends the bar's line if Finish() was not called, so later output starts on a fresh line.
    ~ProgressReporter();

    void Update(int64_t done);
    // Shows the final state and ends the line. Later calls do nothing.
    void Finish();

    bool usesBar() const { return bar_; }
    double elapsedSeconds() const;

  private:
    double Now() const;
    std::string Status(bool forLine) const;
    int BarFill() const;
    void DrawBar();
    void PrintLine();

    FILE* stream_;
    int64_t total_;
    Options options_;
    bool bar_ = false;
    int columns_ = 80;
    int barWidth_ = 10;
    double start_ = 0;
    int64_t done_ = 0;
    bool started_ = false;
    bool finished_ = false;
    double lastDraw_ = -1;
    int lastStep_ = -1;  // last 10% step printed as a line
    size_t lastBarLength_ = 0;
    // (time, count) of recent updates: the rate shown while running is over the last few
    // seconds, so a fast start or a slow patch does not colour it for the rest of the run.
    std::deque<std::pair<double, int64_t>> samples_;
};

}  // namespace media
