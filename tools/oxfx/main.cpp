// oxfx: the library's three photographic effects on PNG and JPEG files.
//
// Exit status: 0 success, 1 a file could not be read, processed or written,
// 2 the command line was wrong, 128 + the signal when stopped by SIGINT or
// SIGTERM.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "batch.hpp"
#include "demo.hpp"
#include "effects.hpp"
#include "options.hpp"
#include "signals.hpp"

namespace fs = std::filesystem;

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

// Options every effect command takes besides its own.
const std::vector<oxfx::Option> kCommonOptions = {
    {"quality", "N", "JPEG quality of the output", oxfx::Kind::Whole, 90, 1, 100},
    {"jobs", "N", "files processed at once in batch mode; 0 is one per core", oxfx::Kind::Whole, 0, 0, 1024},
    {"max-pixels", "N", "refuse larger pictures before reading their pixels", oxfx::Kind::Whole,
     static_cast<double>(oxio::kDefaultMaxPixels), 1, 1e12},
};

// `text` with every line indented by `by` spaces.
std::string indented(const std::string& text, size_t by) {
    std::string out(by, ' ');
    for (char c : text) {
        out += c;
        if (c == '\n') out.append(by, ' ');
    }
    return out;
}

void printUsage() {
    std::printf(
        "usage: oxfx COMMAND INPUT OUTPUT [options]\n"
        "       oxfx COMMAND INPUT... FOLDER [options]\n"
        "       oxfx demo [FOLDER] [--photo FILE] [--synthetic]\n"
        "\n"
        "commands:\n");
    for (const oxfx::Effect& effect : oxfx::effects()) std::printf("  %-11s%s\n", effect.name, effect.summary);
    std::printf(
        "  %-11s%s\n"
        "\n"
        "Inputs are PNG or JPEG files (8-bit grey, RGB or RGBA; alpha is dropped) of at\n"
        "most 100 megapixels (--max-pixels N changes that). The output's extension\n"
        "chooses its format: .png, .jpg or .jpeg. An output never replaces its input\n"
        "unless --overwrite is given. With several inputs, or a folder of them, the\n"
        "last argument is the output folder; files keep their names and run in\n"
        "parallel, one per core.\n"
        "\n"
        "Picture sizes, with the default options:\n",
        "demo", "the three effects of a sample photograph, into FOLDER (default demo-out)");
    for (const oxfx::Effect& effect : oxfx::effects())
        std::printf("  %-11s%s\n", effect.name, indented(effect.sizes, 13).c_str() + 13);
    std::printf(
        "\n"
        "'oxfx COMMAND --help' lists the options of a command and their defaults.\n"
        "Exit status: 0 success, 1 a file failed, 2 a wrong command line,\n"
        "130 or 143 stopped by SIGINT or SIGTERM (unfinished outputs are removed).\n");
}

void printEffectHelp(const oxfx::Effect& effect) {
    std::printf(
        "usage: oxfx %s INPUT OUTPUT [options]\n"
        "       oxfx %s INPUT... FOLDER [options]\n"
        "%s.\n\npicture sizes:\n%s\n\noptions:\n%s%s"
        "  --overwrite         let an output replace its input\n"
        "  -h, --help          this text\n",
        effect.name, effect.name, effect.summary, indented(effect.sizes, 2).c_str(), oxfx::describeOptions(effect.options).c_str(),
        oxfx::describeOptions(kCommonOptions).c_str());
}

void printDemoHelp() {
    std::printf(
        "usage: oxfx demo [FOLDER] [--photo FILE] [--synthetic]\n"
        "Writes the three effects, with their default options, of a sample photograph\n"
        "into FOLDER (default demo-out) and prints the paths. The sample is the first of\n"
        "coffee.png, chelsea.png, astronaut.png, rocket.jpg found in build/photos\n"
        "(scripts/fetch-photos.sh); without one a generated scene is used.\n"
        "\noptions:\n"
        "  --photo FILE        use this picture as the sample\n"
        "  --synthetic         use the generated scene even when a photograph is there\n"
        "  -h, --help          this text\n");
}

int usageError(const std::string& message, const char* command) {
    std::fprintf(stderr, "oxfx: %s; see 'oxfx %s--help'\n", message.c_str(), command);
    return kUsage;
}

bool isFolder(const std::string& path) {
    std::error_code ec;
    return fs::is_directory(path, ec);
}

// A single OUTPUT must be writable as a picture before any work is done.
std::string outputProblem(const std::string& output) {
    fs::path folder = fs::path(output).parent_path();
    if (folder.empty()) folder = ".";
    std::error_code ec;
    if (!fs::exists(folder, ec)) return output + ": the folder " + folder.string() + " does not exist";
    if (!isFolder(folder.string())) return output + ": " + folder.string() + " is not a folder";
    if (oxio::formatFromPath(output) != oxio::Format::Unknown) return {};
    if (fs::path(output).extension().empty())
        return output + ": the output needs an extension (.png, .jpg or .jpeg), or to be an existing folder";
    return output + ": unsupported output extension (use .png, .jpg or .jpeg)";
}

int runEffect(const oxfx::Effect& effect, const std::vector<std::string>& args) {
    oxfx::Syntax syntax{effect.options, {}, {"overwrite"}};
    syntax.numbers.insert(syntax.numbers.end(), kCommonOptions.begin(), kCommonOptions.end());
    oxfx::CommandLine line;
    std::string error;
    const std::string command = std::string(effect.name) + " ";
    if (!oxfx::parseCommandLine(args, syntax, line, error)) return usageError(error, command.c_str());
    if (line.help) {
        printEffectHelp(effect);
        return 0;
    }
    if (line.paths.size() < 2) return usageError("needs an INPUT and an OUTPUT", command.c_str());

    oxfx::Settings settings{&effect, line.values, static_cast<int>(line.values["quality"]),
                            static_cast<uint64_t>(line.values["max-pixels"])};
    const bool overwrite = oxfx::hasSwitch(line, "overwrite");
    const std::string& last = line.paths.back();
    std::vector<std::string> inputs(line.paths.begin(), line.paths.end() - 1);
    if (inputs.size() == 1 && !isFolder(inputs[0]) && !isFolder(last)) {
        const std::string problem = outputProblem(last);
        if (!problem.empty()) return usageError(problem, command.c_str());
        if (!overwrite && oxfx::samePath(inputs[0], last))
            return usageError(last + ": the output is the input; --overwrite lets it be replaced", command.c_str());
        oxfx::removePartialOutputsOnSignal();
        std::string note;
        const bool ok = oxfx::processFile(settings, {inputs[0], last, {}, false}, error, note);
        if (!note.empty()) std::fprintf(stderr, "oxfx: note: %s\n", note.c_str());
        if (ok) return 0;
        std::fprintf(stderr, "oxfx: %s\n", error.c_str());
        return kFailed;
    }

    std::error_code ec;
    const bool exists = fs::exists(last, ec);
    // A new folder named like a picture is almost always a forgotten OUTPUT.
    if ((exists && !isFolder(last)) || (!exists && oxio::formatFromPath(last) != oxio::Format::Unknown))
        return usageError(last + ": with several inputs or a folder the output must be a folder", command.c_str());
    std::vector<oxfx::Job> jobs;
    if (!oxfx::planJobs(inputs, last, jobs, error)) {
        std::fprintf(stderr, "oxfx: %s\n", error.c_str());
        return kFailed;
    }
    if (!overwrite) {
        for (const oxfx::Job& job : jobs)
            if (job.overwritesInput)
                return usageError(job.output + ": the output is an input; --overwrite lets it be replaced",
                                  command.c_str());
    }
    fs::create_directories(last, ec);
    if (ec) {
        std::fprintf(stderr, "oxfx: %s: cannot create the folder (%s)\n", last.c_str(), ec.message().c_str());
        return kFailed;
    }
    oxfx::removePartialOutputsOnSignal();
    const auto workers = static_cast<unsigned>(line.values["jobs"]);
    return oxfx::runJobs(settings, jobs, workers) == 0 ? 0 : kFailed;
}

int runDemo(const std::vector<std::string>& args, const char* program) {
    oxfx::CommandLine line;
    std::string error;
    if (!oxfx::parseCommandLine(args, oxfx::demoSyntax(), line, error)) return usageError(error, "demo ");
    if (line.help) {
        printDemoHelp();
        return 0;
    }
    if (line.paths.size() > 1) return usageError("demo takes one FOLDER", "demo ");
    oxfx::removePartialOutputsOnSignal();
    return oxfx::runDemo(line, program);
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + std::min(argc, 1), argv + argc);
    if (args.empty()) {
        printUsage();
        return kUsage;
    }
    const std::string& command = args[0];
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    if (command == "-h" || command == "--help" || command == "help") {
        printUsage();
        return 0;
    }
    if (command == "--version") {
        std::printf("oxfx %s\n", OXFX_VERSION);
        return 0;
    }
    if (command == "demo") return runDemo(rest, argc > 0 ? argv[0] : "oxfx");
    if (const oxfx::Effect* effect = oxfx::findEffect(command)) return runEffect(*effect, rest);
    return usageError("unknown command " + command, "");
}
