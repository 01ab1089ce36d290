// oxfx: the library's three photographic effects on PNG and JPEG files.
//
// Exit status: 0 success, 1 a file could not be read, processed or written,
// 2 the command line was wrong.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "batch.hpp"
#include "demo.hpp"
#include "effects.hpp"
#include "options.hpp"

namespace fs = std::filesystem;

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

// Options every effect command takes besides its own.
const std::vector<oxfx::Option> kCommonOptions = {
    {"quality", "N", "JPEG quality of the output", oxfx::Kind::Whole, 90, 1, 100},
    {"jobs", "N", "files processed at once in batch mode; 0 is one per core", oxfx::Kind::Whole, 0, 0, 1024},
};

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
        "Inputs are PNG or JPEG files (8-bit grey, RGB or RGBA; alpha is dropped).\n"
        "The output's extension chooses its format: .png, .jpg or .jpeg.\n"
        "With several inputs, or a folder of them, the last argument is the output\n"
        "folder; files keep their names and run in parallel, one per core.\n"
        "\n"
        "'oxfx COMMAND --help' lists the options of a command and their defaults.\n"
        "Exit status: 0 success, 1 a file failed, 2 a wrong command line.\n",
        "demo", "the three effects of a sample photograph, into FOLDER (default demo-out)");
}

void printEffectHelp(const oxfx::Effect& effect) {
    std::printf(
        "usage: oxfx %s INPUT OUTPUT [options]\n"
        "       oxfx %s INPUT... FOLDER [options]\n"
        "%s.\n\noptions:\n%s%s  -h, --help          this text\n",
        effect.name, effect.name, effect.summary, oxfx::describeOptions(effect.options).c_str(),
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

int runEffect(const oxfx::Effect& effect, const std::vector<std::string>& args) {
    oxfx::Syntax syntax{effect.options, {}, {}};
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

    oxfx::Settings settings{&effect, line.values, static_cast<int>(line.values["quality"])};
    const std::string& last = line.paths.back();
    std::vector<std::string> inputs(line.paths.begin(), line.paths.end() - 1);
    if (inputs.size() == 1 && !isFolder(inputs[0]) && !isFolder(last)) {
        std::string note;
        const bool ok = oxfx::processFile(settings, {inputs[0], last, {}}, error, note);
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
    fs::create_directories(last, ec);
    if (ec) {
        std::fprintf(stderr, "oxfx: %s: cannot create the folder (%s)\n", last.c_str(), ec.message().c_str());
        return kFailed;
    }
    std::vector<oxfx::Job> jobs;
    if (!oxfx::planJobs(inputs, last, jobs, error)) {
        std::fprintf(stderr, "oxfx: %s\n", error.c_str());
        return kFailed;
    }
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
