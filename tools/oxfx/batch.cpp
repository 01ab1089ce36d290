#include "batch.hpp"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <new>
#include <set>
#include <system_error>
#include <thread>

namespace fs = std::filesystem;

namespace oxfx {
namespace {

bool isPicturePath(const fs::path& path) { return oxio::formatFromPath(path.string()) != oxio::Format::Unknown; }

// The same file for two names, even when it does not exist yet.
std::string identity(const fs::path& path) {
    std::error_code ec;
    const fs::path full = fs::weakly_canonical(path, ec);
    return (ec ? path : full).string();
}

}  // namespace

bool samePath(const std::string& a, const std::string& b) {
    std::error_code ec;
    if (fs::equivalent(a, b, ec)) return true;  // hard links too
    return identity(a) == identity(b);
}

namespace {

// What the user sees while jobs run. On a terminal one progress line is
// rewritten in place; otherwise every file gets a plain line, which keeps
// logs readable.
class Report {
public:
    explicit Report(size_t total) : total_(total), terminal_(isatty(STDERR_FILENO) != 0) {}

    void finished(const Job& job, bool ok, const std::string& error, const std::string& note) {
        std::lock_guard<std::mutex> lock(mutex_);
        ++(ok ? done_ : failed_);
        if (terminal_) std::fputs("\r\033[K", stderr);
        if (!note.empty()) std::fprintf(stderr, "oxfx: note: %s\n", note.c_str());
        if (!ok) std::fprintf(stderr, "oxfx: %s\n", error.c_str());
        if (terminal_) {
            std::fprintf(stderr, "[%zu/%zu] %zu done, %zu failed  %s", done_ + failed_, total_, done_, failed_,
                         fs::path(job.input).filename().c_str());
        } else if (ok) {
            std::fprintf(stdout, "[%zu/%zu] %s -> %s\n", done_ + failed_, total_, job.input.c_str(),
                         job.output.c_str());
        }
        std::fflush(stdout);
        std::fflush(stderr);
    }

    void summary(double seconds) {
        if (terminal_) std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
        std::printf("%zu done, %zu failed, %.1f s\n", done_, failed_, seconds);
        std::fflush(stdout);
    }

    size_t failed() const { return failed_; }

private:
    std::mutex mutex_;
    size_t total_;
    size_t done_ = 0;
    size_t failed_ = 0;
    bool terminal_;
};

bool processOrThrow(const Settings& settings, const Job& job, std::string& error, std::string& note) {
    if (!job.refusal.empty()) {
        error = job.refusal;
        return false;
    }
    // Checked first so that no effect runs for an output that cannot be written.
    if (oxio::formatFromPath(job.output) == oxio::Format::Unknown) {
        error = job.output + ": unsupported output extension (use .png, .jpg or .jpeg)";
        return false;
    }
    oxio::Picture picture;
    if (!oxio::readPicture(job.input, picture, error, {settings.maxPixels, "--max-pixels raises it"})) return false;
    std::vector<std::string> notes;
    if (picture.droppedAlpha) notes.push_back("alpha channel dropped");
    oxio::Picture result;
    std::string remark;
    const bool ok = applyEffect(*settings.effect, settings.values, picture, result, error, remark);
    if (!remark.empty()) notes.push_back(remark);
    for (const std::string& text : notes) note += (note.empty() ? job.input + ": " : "; ") + text;
    if (!ok) {
        error = job.input + ": " + error;
        return false;
    }
    return oxio::writePicture(job.output, result, settings.quality, error);
}

}  // namespace

bool processFile(const Settings& settings, const Job& job, std::string& error, std::string& note) {
    note.clear();
    try {
        return processOrThrow(settings, job, error, note);
    } catch (const std::bad_alloc&) {
        error = job.input + ": out of memory";
        return false;
    }
}

bool planJobs(const std::vector<std::string>& inputs, const std::string& folder, std::vector<Job>& jobs,
              std::string& error) {
    jobs.clear();
    std::vector<std::string> files;
    for (const std::string& input : inputs) {
        std::error_code ec;
        if (!fs::is_directory(input, ec)) {
            files.push_back(input);
            continue;
        }
        std::vector<std::string> found;
        for (fs::directory_iterator it(input, ec), end; !ec && it != end; it.increment(ec))
            if (it->is_regular_file(ec) && isPicturePath(it->path())) found.push_back(it->path().string());
        if (ec) {
            error = input + ": cannot list the folder (" + ec.message() + ")";
            return false;
        }
        std::sort(found.begin(), found.end());
        files.insert(files.end(), found.begin(), found.end());
    }
    if (files.empty()) {
        error = "no PNG or JPEG files to process";
        return false;
    }
    std::set<std::string> inputIds;
    for (const std::string& file : files) inputIds.insert(identity(file));
    std::set<std::string> outputIds;
    for (const std::string& file : files) {
        Job job{file, (fs::path(folder) / fs::path(file).filename()).string(), {}};
        const std::string id = identity(job.output);
        job.overwritesInput = inputIds.count(id) != 0;
        if (!outputIds.insert(id).second) job.refusal = file + ": another input already writes " + job.output;
        jobs.push_back(std::move(job));
    }
    return true;
}

size_t runJobs(const Settings& settings, const std::vector<Job>& jobs, unsigned workers) {
    const auto start = std::chrono::steady_clock::now();
    if (workers == 0) workers = std::max(1u, std::thread::hardware_concurrency());
    workers = static_cast<unsigned>(std::min<size_t>(workers, jobs.size()));
    Report report(jobs.size());
    std::atomic<size_t> next{0};
    auto work = [&] {
        for (size_t i = next++; i < jobs.size(); i = next++) {
            std::string error, note;
            const bool ok = processFile(settings, jobs[i], error, note);
            report.finished(jobs[i], ok, error, note);
        }
    };
    std::vector<std::jthread> pool;
    try {
        for (unsigned i = 1; i < workers; ++i) pool.emplace_back(work);
    } catch (const std::system_error&) {
        // Fewer threads than asked for: the ones that started share the work.
    }
    work();
    pool.clear();  // joins
    report.summary(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    return report.failed();
}

}  // namespace oxfx
