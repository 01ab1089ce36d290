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
#include <regex>
#include <string>
#include <vector>

#include "inputs.hpp"
#include "peak_memory.hpp"
#include "rows.hpp"
#include "stats.hpp"

namespace {

using Clock = std::chrono::steady_clock;

enum class Format { Text, Markdown, Csv };

struct Options {
    std::string filter = ".*";
    bool filterGiven = false;
    int rounds = 11;
    double minMs = 20.0;
    Format format = Format::Text;
    std::string photo;
    bool memory = false;
    bool list = false;
    bool check = false;
};

const char* kUsage =
    "usage: ox_compare [options]\n"
    "  --filter REGEX    rows whose id matches (default: all; --list shows the ids)\n"
    "  --rounds N        alternating rounds per row (default 11)\n"
    "  --min-ms MS       shortest timed sample; fast calls repeat to reach it (default 20)\n"
    "  --format F        text, markdown or csv (default text)\n"
    "  --photo PATH      photograph to crop and resize (default: the first of build/photos)\n"
    "  --memory          peak memory of one call of each side instead of times\n"
    "                    (default filter: the 4000x3000 effects)\n"
    "  --check           exit 1 when a row is over its goal\n"
    "  --list            list the rows and exit\n"
    "Times go to standard output, the machine and progress to standard error.\n";

bool parse(int argc, char** argv, Options& o) {
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        const auto value = [&]() -> const char* { return i + 1 < argc ? argv[++i] : nullptr; };
        const char* v = nullptr;
        if (a == "--filter" && (v = value())) {
            o.filter = v;
            o.filterGiven = true;
        } else if (a == "--rounds" && (v = value())) {
            o.rounds = std::atoi(v);
            if (o.rounds < 1) return false;
        } else if (a == "--min-ms" && (v = value())) {
            o.minMs = std::atof(v);
            if (!(o.minMs >= 0)) return false;
        } else if (a == "--format" && (v = value())) {
            const std::string f = v;
            if (f == "text") o.format = Format::Text;
            else if (f == "markdown" || f == "md") o.format = Format::Markdown;
            else if (f == "csv") o.format = Format::Csv;
            else return false;
        } else if (a == "--photo" && (v = value())) {
            o.photo = v;
        } else if (a == "--memory") {
            o.memory = true;
        } else if (a == "--check") {
            o.check = true;
        } else if (a == "--list") {
            o.list = true;
        } else if (a == "--help" || a == "-h") {
            std::fputs(kUsage, stdout);
            std::exit(0);
        } else {
            return false;
        }
    }
    if (o.memory && !o.filterGiven) o.filter = "-4000$";
    return true;
}

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

int repsFor(double seconds, double minMs) {
    if (seconds <= 0) return 1000;
    return static_cast<int>(std::clamp(std::ceil(minMs / 1000.0 / seconds), 1.0, 1000.0));
}

struct Result {
    const oxcmp::Row* row = nullptr;
    bool failed = false;
    std::string error;
    double oursMs = 0, theirsMs = 0, ratio = 0, ratioLow = 0, ratioHigh = 0, difference = 0;
    int repsOurs = 1, repsTheirs = 1;
    bool over() const { return failed || ratio > row->goal; }
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
    r.repsOurs = repsFor(secondsOf(c.ours, 1), o.minMs);
    r.repsTheirs = repsFor(secondsOf(c.theirs, 1), o.minMs);
    std::vector<double> ours, theirs, ratios;
    for (int round = 0; round < o.rounds; ++round) {
        const double a = secondsOf(c.ours, r.repsOurs);
        const double b = secondsOf(c.theirs, r.repsTheirs);
        ours.push_back(a * 1e3);
        theirs.push_back(b * 1e3);
        ratios.push_back(a / b);
    }
    r.oursMs = oxcmp::median(ours);
    r.theirsMs = oxcmp::median(theirs);
    r.ratio = oxcmp::median(ratios);
    r.ratioLow = oxcmp::quantile(ratios, 0.25);
    r.ratioHigh = oxcmp::quantile(ratios, 0.75);
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
                            r.row->title.c_str(), r.oursMs, r.theirsMs, r.ratio, r.ratioLow, r.ratioHigh, r.row->goal,
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
                std::printf("| %s | %.2f | %.2f | %.2f | %.2f-%.2f | <= %.2f | %s |\n", r.row->title.c_str(), r.oursMs,
                            r.theirsMs, r.ratio, r.ratioLow, r.ratioHigh, r.row->goal, r.over() ? "**over**" : "ok");
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
                std::snprintf(quartiles, sizeof quartiles, "%.2f-%.2f", r.ratioLow, r.ratioHigh);
                std::printf("%-15s %10.2f %10.2f %7.2f %13s %6.2f %9.3g  %s\n", r.row->id.c_str(), r.oursMs,
                            r.theirsMs, r.ratio, quartiles, r.row->goal, r.difference, r.over() ? "OVER" : "ok");
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
    if (!parse(argc, argv, o)) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const auto& rows = oxcmp::allRows();
    if (o.list) {
        for (const oxcmp::Row& row : rows) std::printf("%-15s %s (goal %.2f)\n", row.id.c_str(), row.title.c_str(), row.goal);
        return 0;
    }
    std::vector<const oxcmp::Row*> selected;
    try {
        const std::regex filter(o.filter);
        for (const oxcmp::Row& row : rows)
            if (std::regex_search(row.id, filter)) selected.push_back(&row);
    } catch (const std::regex_error&) {
        std::fprintf(stderr, "ox_compare: --filter is not a regular expression: %s\n", o.filter.c_str());
        return 2;
    }
    if (selected.empty()) {
        std::fprintf(stderr, "ox_compare: no row matches %s (--list shows them)\n", o.filter.c_str());
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
