// Command-line options of oxfx: numeric options described by a table, so
// that parsing, range checks and the --help text come from one place.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace oxfx {

enum class Kind { Whole, Real };

// One numeric option. Real values are parsed straight into a float, the
// type the entry points take, so "0.3" means exactly the float 0.3f.
struct Option {
    const char* name;  // without the leading dashes
    const char* meta;  // placeholder shown in --help: N, X
    const char* help;
    Kind kind;
    double defaultValue;
    double min;  // inclusive bounds
    double max;
};

using Values = std::map<std::string, double, std::less<>>;

// Parses the text given for `opt`. On failure returns false and a one-line
// message that names the option.
bool parseValue(const Option& opt, std::string_view text, double& value, std::string& error);

struct CommandLine {
    std::vector<std::string> paths;
    Values values;                   // every option of the table, defaults filled in
    std::map<std::string, std::string, std::less<>> texts;  // text-valued options that were given
    std::vector<std::string> switches;  // switches that were given
    bool help = false;
};

struct Syntax {
    std::vector<Option> numbers;
    std::vector<std::string> texts;     // options that take a text, such as a path
    std::vector<std::string> switches;  // options without a value
};

// Splits arguments into paths and options: "--name value", "--name=value",
// "-h"/"--help", and "--" ending the options.
bool parseCommandLine(const std::vector<std::string>& args, const Syntax& syntax, CommandLine& out, std::string& error);

bool hasSwitch(const CommandLine& line, std::string_view name);

// A value in at most 15 significant digits, for messages and help.
std::string formatNumber(double value);

// The help lines of the options: "  --name X   help (min to max; default d)".
std::string describeOptions(const std::vector<Option>& options);

}  // namespace oxfx
