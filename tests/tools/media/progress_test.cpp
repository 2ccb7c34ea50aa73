// Tests of the progress reporter, latency percentiles, duration text and the descriptor count.
#include "media/progress.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "descriptors.h"

namespace {

using media::ProgressReporter;

TEST(PercentileTest, MatchesTheSortedReferenceAndHandlesEdges) {
    EXPECT_EQ(media::Percentile({}, 50), 0);
    EXPECT_EQ(media::Percentile({7}, 99), 7);
    EXPECT_DOUBLE_EQ(media::Percentile({2, 1}, 50), 1.5);
    EXPECT_EQ(media::Percentile({3, 1, 2}, -5), 1);
    EXPECT_EQ(media::Percentile({3, 1, 2}, 250), 3);
    std::mt19937 rng(5);
    for (size_t n : {2u, 3u, 10u, 101u, 1000u}) {
        // Heavy duplicates, like latencies measured in whole microseconds.
        std::vector<double> values(n);
        for (auto& v : values) v = static_cast<double>(rng() % 50);
        std::vector<double> sorted = values;
        std::sort(sorted.begin(), sorted.end());
        for (double p : {0.0, 1.0, 50.0, 90.0, 99.0, 99.9, 100.0}) {
            // Interpolated between the closest ranks.
            const double rank = p / 100 * (n - 1);
            const size_t lo = static_cast<size_t>(rank), hi = std::min(lo + 1, n - 1);
            EXPECT_DOUBLE_EQ(media::Percentile(values, p),
                             sorted[lo] + (sorted[hi] - sorted[lo]) * (rank - lo))
                << "n=" << n << " p=" << p;
        }
    }
    std::vector<double> ramp;
    for (int i = 1; i <= 100; ++i) ramp.push_back(101 - i);
    const auto summary = media::SummarizeLatencies(ramp);
    EXPECT_EQ(summary.count, 100u);
    EXPECT_EQ(summary.min, 1);
    EXPECT_EQ(summary.max, 100);
    EXPECT_DOUBLE_EQ(summary.mean, 50.5);
    EXPECT_DOUBLE_EQ(summary.p50, 50.5);
    EXPECT_DOUBLE_EQ(summary.p99, 99.01);
}

TEST(FormatDurationTest, MinutesThenHours) {
    const std::pair<double, const char*> cases[] = {
        {0, "0:00"},       {59.4, "0:59"}, {59.6, "1:00"},      {754, "12:34"},
        {3725, "1:02:05"}, {-1, "--:--"},  {INFINITY, "--:--"}, {NAN, "--:--"}};
    for (const auto& [seconds, text] : cases) EXPECT_EQ(media::FormatDuration(seconds), text);
}

// Captures what a reporter prints, with a clock the test moves by hand.
class ProgressTest : public ::testing::Test {
  protected:
    void SetUp() override { stream_ = open_memstream(&data_, &size_); }
    void TearDown() override {
        fclose(stream_);
        free(data_);
    }
    ProgressReporter::Options Options(ProgressReporter::Style style) {
        ProgressReporter::Options options;
        options.style = style;
        options.label = "converting";
        options.columns = 80;
        options.clock = [this] { return now_; };
        return options;
    }
    std::string Output() {
        fflush(stream_);
        return std::string(data_, size_);
    }

    FILE* stream_ = nullptr;
    char* data_ = nullptr;
    size_t size_ = 0;
    double now_ = 100;
};

TEST_F(ProgressTest, PlainLinesAtEveryTenPercentAndAFinalSummary) {
    {
        ProgressReporter progress(stream_, 200, Options(ProgressReporter::Style::kLines));
        EXPECT_FALSE(progress.usesBar());
        for (int i = 1; i <= 200; ++i) {
            now_ += 0.05;
            progress.Update(i);
        }
        progress.Finish();
        progress.Finish();
    }
    // 10% .. 90%, then the summary.
    EXPECT_EQ(Output(),
              "converting: 20/200 frames (10%), 20.0 frames/s, ETA 0:09\n"
              "converting: 40/200 frames (20%), 20.0 frames/s, ETA 0:08\n"
              "converting: 60/200 frames (30%), 20.0 frames/s, ETA 0:07\n"
              "converting: 80/200 frames (40%), 20.0 frames/s, ETA 0:06\n"
              "converting: 100/200 frames (50%), 20.0 frames/s, ETA 0:05\n"
              "converting: 120/200 frames (60%), 20.0 frames/s, ETA 0:04\n"
              "converting: 140/200 frames (70%), 20.0 frames/s, ETA 0:03\n"
              "converting: 160/200 frames (80%), 20.0 frames/s, ETA 0:02\n"
              "converting: 180/200 frames (90%), 20.0 frames/s, ETA 0:01\n"
              "converting: 200/200 frames (100%) in 0:10, 20.0 frames/s\n");
}

// Without a total, a line every 5 s; its rate follows the recent pace, not the start.
TEST_F(ProgressTest, UnknownTotalGivesALineEveryFiveSecondsAtTheRecentRate) {
    ProgressReporter progress(stream_, 0, Options(ProgressReporter::Style::kLines));
    // 100 frames in the first second (a burst into free buffers), then 2 frames a second.
    now_ += 1.0;
    progress.Update(100);
    for (int i = 1; i <= 20; ++i) {
        now_ += 0.5;
        progress.Update(100 + i);
    }
    progress.Finish();
    // At 5 s and 10 s (the average from the start would be 21.6 and 11.8 frames/s), then the
    // whole run's average.
    EXPECT_EQ(Output(),
              "converting: 108 frames, 2.0 frames/s\n"
              "converting: 118 frames, 2.0 frames/s\n"
              "converting: 120 frames in 0:11, 10.9 frames/s\n");
}

TEST_F(ProgressTest, BarRedrawsInPlaceAtMostTenTimesASecond) {
    {
        ProgressReporter progress(stream_, 1000, Options(ProgressReporter::Style::kBar));
        EXPECT_TRUE(progress.usesBar());
        for (int i = 1; i <= 1000; ++i) {
            now_ += 0.002;  // 2 s in all
            progress.Update(i);
        }
        progress.Finish();
    }
    const std::string out = Output();
    const auto redraws = std::count(out.begin(), out.end(), '\r');
    EXPECT_GE(redraws, 15);
    EXPECT_LE(redraws, 22);
    ASSERT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << out;
    EXPECT_EQ(out.back(), '\n');
    const std::string last = out.substr(out.rfind('\r') + 1);
    const size_t close = last.find(']');
    ASSERT_EQ(last.rfind("converting [", 0), 0u) << last;
    ASSERT_NE(close, std::string::npos);
    EXPECT_EQ(last.substr(12, close - 12), std::string(close - 12, '#')) << last;
    EXPECT_EQ(last.substr(close, 38), "] 100% 1000/1000 frames in 0:02, 500 f") << last;
    // Every drawn line fits the terminal and is padded over the previous one.
    size_t previous = 0;
    for (size_t start = 0; (start = out.find('\r', start)) != std::string::npos;) {
        const size_t end = out.find_first_of("\r\n", start + 1);
        EXPECT_LT(end - start - 1, 80u);
        EXPECT_GE(end - start - 1, previous);
        previous = end - start - 1;
        start = end;
    }
}

TEST_F(ProgressTest, BarLineIsEndedWhenTheJobStopsEarly) {
    ProgressReporter(stream_, 10, Options(ProgressReporter::Style::kBar)).Update(3);
    EXPECT_NE(Output().find("30% 3/10 frames"), std::string::npos) << Output();
    EXPECT_EQ(Output().back(), '\n');
}

// The tool's own descriptor count is checked beside the tests' one.
TEST(ProgressAutoTest, ChoosesTheBarOnlyForATerminal) {
    const int fds = testsupport::OpenDescriptorCount();
    EXPECT_EQ(media::OpenDescriptorCount(), fds);
    const char* term = getenv("TERM");
    const std::string savedTerm = term != nullptr ? term : "";
    setenv("TERM", "xterm", 1);
    const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(master, 0);
    EXPECT_EQ(media::OpenDescriptorCount(), fds + 1);
    ASSERT_EQ(grantpt(master), 0);
    ASSERT_EQ(unlockpt(master), 0);
    FILE* terminal = fopen(ptsname(master), "w");
    ASSERT_NE(terminal, nullptr);
    EXPECT_TRUE(ProgressReporter(terminal, 10).usesBar());
    fclose(terminal);
    close(master);
    FILE* file = tmpfile();
    ASSERT_NE(file, nullptr);
    EXPECT_FALSE(ProgressReporter(file, 10).usesBar());
    fclose(file);
    if (savedTerm.empty()) {
        unsetenv("TERM");
    } else {
        setenv("TERM", savedTerm.c_str(), 1);
    }
    EXPECT_EQ(testsupport::OpenDescriptorCount(), fds);
}

}  // namespace
