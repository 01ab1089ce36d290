#include "options.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace oxfx {
namespace {

std::string quoted(std::string_view text) { return "'" + std::string(text) + "'"; }

const Option* findOption(const std::vector<Option>& options, std::string_view name) {
    for (const Option& opt : options)
        if (name == opt.name) return &opt;
    return nullptr;
}

bool contains(const std::vector<std::string>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

std::string formatNumber(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.15g", value);
    return text;
}

bool parseValue(const Option& opt, std::string_view text, double& value, std::string& error) {
    const std::string option = std::string("--") + opt.name;
    std::string_view digits = text;
    if (!digits.empty() && digits.front() == '+') digits.remove_prefix(1);
    const char* first = digits.data();
    const char* last = first + digits.size();
    std::from_chars_result result{};
    if (opt.kind == Kind::Whole) {
        long long whole = 0;
        result = std::from_chars(first, last, whole);
        value = static_cast<double>(whole);
    } else {
        float real = 0;
        result = std::from_chars(first, last, real);
        value = real;
    }
    if (digits.empty() || result.ptr != last || result.ec == std::errc::invalid_argument) {
        float probe = 0;
        const bool isReal = opt.kind == Kind::Whole && !digits.empty() &&
                            std::from_chars(first, last, probe).ptr == last;
        error = option + ": " + quoted(text) + (isReal ? " is not a whole number" : " is not a number");
        return false;
    }
    if (!std::isfinite(value) && result.ec != std::errc::result_out_of_range) {
        error = option + ": " + quoted(text) + " is not a finite number";
        return false;
    }
    if (result.ec == std::errc::result_out_of_range || value < opt.min || value > opt.max) {
        error = option + ": " + std::string(text) + " is out of range (" + formatNumber(opt.min) + " to " +
                formatNumber(opt.max) + ")";
        return false;
    }
    return true;
}

bool parseCommandLine(const std::vector<std::string>& args, const Syntax& syntax, CommandLine& out, std::string& error) {
    out = CommandLine{};
    for (const Option& opt : syntax.numbers) out.values[opt.name] = opt.defaultValue;
    bool optionsEnded = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            out.paths.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        if (arg == "-h" || arg == "--help") {
            out.help = true;
            continue;
        }
        if (arg.compare(0, 2, "--") != 0) {
            error = "unknown option " + arg;
            return false;
        }
        const size_t equals = arg.find('=');
        const std::string name = arg.substr(2, equals == std::string::npos ? std::string::npos : equals - 2);
        if (contains(syntax.switches, name)) {
            if (equals != std::string::npos) {
                error = "--" + name + " takes no value";
                return false;
            }
            out.switches.push_back(name);
            continue;
        }
        const Option* opt = findOption(syntax.numbers, name);
        if (!opt && !contains(syntax.texts, name)) {
            error = "unknown option --" + name;
            return false;
        }
        std::string text;
        if (equals != std::string::npos) {
            text = arg.substr(equals + 1);
        } else if (i + 1 < args.size()) {
            text = args[++i];
        } else {
            error = "--" + name + " needs a value";
            return false;
        }
        if (!opt) {
            out.texts[name] = text;
            continue;
        }
        if (!parseValue(*opt, text, out.values[name], error)) return false;
    }
    return true;
}

bool hasSwitch(const CommandLine& line, std::string_view name) { return contains(line.switches, name); }

std::string describeOptions(const std::vector<Option>& options) {
    std::string text;
    for (const Option& opt : options) {
        std::string head = std::string("  --") + opt.name + " " + opt.meta;
        head.resize(std::max<size_t>(head.size() + 2, 22), ' ');
        text += head + opt.help + " (" + formatNumber(opt.min) + " to " + formatNumber(opt.max) +
                "; default " + formatNumber(opt.defaultValue) + ")\n";
    }
    return text;
}

}  // namespace oxfx
