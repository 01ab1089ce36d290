// Running an effect over files: one file, or many in parallel with a
// progress report. A failing file never stops the others, and leaves no
// output behind.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "effects.hpp"

namespace oxfx {

struct Settings {
    const Effect* effect = nullptr;
    Values values;
    int quality = 90;
    uint64_t maxPixels = oxio::kDefaultMaxPixels;
};

struct Job {
    std::string input;
    std::string output;
    std::string refusal;           // set when the job must not run, with the reason
    bool overwritesInput = false;  // the output is one of the inputs
};

// Whether two paths name the same file, even when it does not exist yet.
bool samePath(const std::string& a, const std::string& b);

// Reads, runs and writes one file. On failure returns false and a one-line
// message naming the file; `note` receives remarks such as a dropped alpha.
bool processFile(const Settings& settings, const Job& job, std::string& error, std::string& note);

// Turns inputs (files, or folders of .png/.jpg/.jpeg files) into jobs that
// write into `folder` under the input's file name. A job whose output is
// one of the inputs is marked; one that would write another job's output is
// refused. Returns false and a message when an input folder cannot be
// listed or nothing is found.
bool planJobs(const std::vector<std::string>& inputs, const std::string& folder, std::vector<Job>& jobs,
              std::string& error);

// Runs the jobs on `workers` threads (0: one per core) and prints progress
// and a summary. Returns the number of failed jobs.
size_t runJobs(const Settings& settings, const std::vector<Job>& jobs, unsigned workers);

}  // namespace oxfx
