// ox_compare: times the library against OpenCV, single-threaded, on the
// same inputs in one run. Each row alternates rounds (ours, OpenCV, ours,
// OpenCV, ...); a round times enough calls of one side to last --min-ms,
// and the row reports the median time of each side and the median of the
// per-round ratios ours / OpenCV (above 1: the library is slower), with the
// quartiles of those ratios as the noise. --memory instead measures the
// peak memory of one call of each side in a child process.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <string>
#include <vector>

#include "inputs.hpp"
#include "options.hpp"
#include "peak_memory.hpp"
#include "rows.hpp"
#include "stats.hpp"

namespace {

using Clock = std::chrono::steady_clock;

using oxcmp::Format;
using oxcmp::Options;

std::string cpuModel() {
    std::ifstream in("/proc/cpuinfo");
    for (std::string line; std::getline(in, line);) {
        const size_t colon = line.find(':');
        if (line.rfind("model name", 0) == 0 && colon != std::string::npos) return line.substr(colon + 1);
    }
    return " unknown";
}

std::string loadAverage() {
    std::ifstream in("/proc/loadavg");
    std::string one, five;
    in >> one >> five;
    return one + " " + five;
}

template <class F>
double secondsOf(F&& f, int reps) {
    const auto start = Clock::now();
    for (int i = 0; i < reps; ++i) f();
    return std::chrono::duration<double>(Clock::now() - start).count() / reps;
}

struct Result {
    const oxcmp::Row* row = nullptr;
    bool failed = false;
    std::string error;
    oxcmp::Summary ms{};  // times in milliseconds
    double difference = 0;
    bool over() const { return failed || ms.ratio > row->goal; }
};

Result timeRow(const oxcmp::Row& row, const cv::Mat& photo, const Options& o) {
    Result r;
    r.row = &row;
    oxcmp::Case c = row.make(photo, 1.0);
    // Two untimed calls each: the first touches the outputs and fills the
    // caches, the second calibrates how often a round repeats the call.
    for (int i = 0; i < 2; ++i) {
        if (const int32_t status = c.ours(); status != 0) {
            r.failed = true;
            r.error = "the library returned " + std::to_string(status);
            return r;
        }
        c.theirs();
    }
    r.difference = oxcmp::meanAbsDifference(c.oursOut, c.theirsOut);
    const int repsOurs = oxcmp::repsFor(secondsOf(c.ours, 1), o.minMs);
    const int repsTheirs = oxcmp::repsFor(secondsOf(c.theirs, 1), o.minMs);
    std::vector<double> ours, theirs;
    for (int round = 0; round < o.rounds; ++round) {
        ours.push_back(secondsOf(c.ours, repsOurs) * 1e3);
        theirs.push_back(secondsOf(c.theirs, repsTheirs) * 1e3);
    }
    r.ms = oxcmp::summarise(ours, theirs);
    return r;
}

void printTimes(const std::vector<Result>& results, Format format) {
    switch (format) {
        case Format::Csv:
            std::printf("id,pair,ours_ms,opencv_ms,ratio,ratio_q1,ratio_q3,goal,over,mean_abs_diff\n");
            for (const Result& r : results) {
                if (r.failed) {
                    std::printf("%s,\"%s\",,,,,,%.2f,failed,\n", r.row->id.c_str(), r.row->title.c_str(), r.row->goal);
                    continue;
                }
                std::printf("%s,\"%s\",%.3f,%.3f,%.3f,%.3f,%.3f,%.2f,%d,%.4g\n", r.row->id.c_str(),
                            r.row->title.c_str(), r.ms.ours, r.ms.theirs, r.ms.ratio, r.ms.ratioQ1, r.ms.ratioQ3, r.row->goal,
                            r.over() ? 1 : 0, r.difference);
            }
            break;
        case Format::Markdown:
            std::printf("| pair | ours ms | OpenCV ms | ratio | quartiles | goal | |\n");
            std::printf("|---|---:|---:|---:|---|---:|---|\n");
            for (const Result& r : results) {
                if (r.failed) {
                    std::printf("| %s | | | | | <= %.2f | failed: %s |\n", r.row->title.c_str(), r.row->goal,
                                r.error.c_str());
                    continue;
                }
                std::printf("| %s | %.2f | %.2f | %.2f | %.2f-%.2f | <= %.2f | %s |\n", r.row->title.c_str(), r.ms.ours,
                            r.ms.theirs, r.ms.ratio, r.ms.ratioQ1, r.ms.ratioQ3, r.row->goal, r.over() ? "**over**" : "ok");
            }
            break;
        case Format::Text:
            std::printf("%-15s %10s %10s %7s %13s %6s %9s  %s\n", "row", "ours ms", "OpenCV ms", "ratio", "quartiles",
                        "goal", "diff", "");
            for (const Result& r : results) {
                if (r.failed) {
                    std::printf("%-15s %s  FAILED\n", r.row->id.c_str(), r.error.c_str());
                    continue;
                }
                char quartiles[32];
                std::snprintf(quartiles, sizeof quartiles, "%.2f-%.2f", r.ms.ratioQ1, r.ms.ratioQ3);
                std::printf("%-15s %10.2f %10.2f %7.2f %13s %6.2f %9.3g  %s\n", r.row->id.c_str(), r.ms.ours,
                            r.ms.theirs, r.ms.ratio, quartiles, r.row->goal, r.difference, r.over() ? "OVER" : "ok");
            }
            break;
    }
}

void printMemory(const std::vector<const oxcmp::Row*>& rows, const cv::Mat& photo, Format format) {
    const auto mib = [](long long bytes) { return bytes < 0 ? std::nan("") : static_cast<double>(bytes) / (1 << 20); };
    if (format == Format::Csv) std::printf("id,pair,ours_peak_mib,opencv_peak_mib\n");
    if (format == Format::Markdown) std::printf("| pair | ours peak MiB | OpenCV peak MiB |\n|---|---:|---:|\n");
    if (format == Format::Text) std::printf("%-15s %14s %16s\n", "row", "ours peak MiB", "OpenCV peak MiB");
    for (const oxcmp::Row* row : rows) {
        std::fprintf(stderr, "%s: measuring\n", row->id.c_str());
        oxcmp::Case c = row->make(photo, 1.0);
        // Outputs touched here are shared with the child and do not count.
        c.oursOut.setTo(cv::Scalar::all(0));
        c.theirsOut.setTo(cv::Scalar::all(0));
        const double ours = mib(oxcmp::peakMemoryOf([&] { c.ours(); }));
        const double theirs = mib(oxcmp::peakMemoryOf([&] { c.theirs(); }));
        if (format == Format::Csv) std::printf("%s,\"%s\",%.1f,%.1f\n", row->id.c_str(), row->title.c_str(), ours, theirs);
        if (format == Format::Markdown) std::printf("| %s | %.1f | %.1f |\n", row->title.c_str(), ours, theirs);
        if (format == Format::Text) std::printf("%-15s %14.1f %16.1f\n", row->id.c_str(), ours, theirs);
        std::fflush(stdout);
    }
}

}  // namespace

int main(int argc, char** argv) {
    Options o;
    switch (oxcmp::parseOptions(std::vector<std::string>(argv + 1, argv + argc), o)) {
        case oxcmp::Parsed::Help:
            std::fputs(oxcmp::kUsage, stdout);
            return 0;
        case oxcmp::Parsed::Bad:
            std::fputs(oxcmp::kUsage, stderr);
            return 2;
        case oxcmp::Parsed::Run:
            break;
    }
    const auto& rows = oxcmp::allRows();
    if (o.list) {
        for (const oxcmp::Row& row : rows) std::printf("%-15s %s (goal %.2f)\n", row.id.c_str(), row.title.c_str(), row.goal);
        return 0;
    }
    std::vector<const oxcmp::Row*> selected;
    if (std::string error; !oxcmp::selectRows(o.filter, selected, error)) {
        std::fprintf(stderr, "ox_compare: %s\n", error.c_str());
        return 2;
    }

    cv::setNumThreads(1);
    const std::vector<std::string> candidates =
        o.photo.empty() ? oxcmp::photoCandidates(OX_COMPARE_PHOTO_DIR) : std::vector<std::string>{o.photo};
    std::string used;
    cv::Mat photo = oxcmp::loadPhoto(candidates, used);
    if (photo.empty()) {
        if (!o.photo.empty()) {
            std::fprintf(stderr, "ox_compare: cannot read %s\n", o.photo.c_str());
            return 2;
        }
        used = "none found (scripts/fetch-photos.sh); a synthetic picture";
        photo = oxcmp::syntheticPhoto({1200, 900});
    }
    std::fprintf(stderr, "# OpenCV %s, %d thread(s); CPU%s, %ld cores; %s\n", CV_VERSION, cv::getNumThreads(),
                 cpuModel().c_str(), sysconf(_SC_NPROCESSORS_ONLN),
                 cv::getCPUFeaturesLine().c_str());
    std::fprintf(stderr, "# photo: %s (%dx%d); load average %s at start\n", used.c_str(), photo.cols, photo.rows,
                 loadAverage().c_str());

    if (o.memory) {
        printMemory(selected, photo, o.format);
        return 0;
    }
    std::fprintf(stderr, "# %d rounds per row, samples of at least %.0f ms\n", o.rounds, o.minMs);
    std::vector<Result> results;
    for (const oxcmp::Row* row : selected) {
        std::fprintf(stderr, "%s: timing\n", row->id.c_str());
        results.push_back(timeRow(*row, photo, o));
    }
    std::fprintf(stderr, "# load average %s at end\n", loadAverage().c_str());
    printTimes(results, o.format);
    const bool anyOver = std::any_of(results.begin(), results.end(), [](const Result& r) { return r.over(); });
    return o.check && anyOver ? 1 : 0;
}
