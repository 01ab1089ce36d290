#include "options.hpp"

#include <cstdlib>
#include <regex>

namespace oxcmp {

const char* const kUsage =
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

Parsed parseOptions(const std::vector<std::string>& args, Options& o) {
    bool filterGiven = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        const std::string* v = i + 1 < args.size() ? &args[i + 1] : nullptr;
        const bool takesValue = a == "--filter" || a == "--rounds" || a == "--min-ms" || a == "--format" || a == "--photo";
        if (takesValue) {
            if (!v) return Parsed::Bad;
            ++i;
        }
        char* end = nullptr;
        if (a == "--filter") {
            o.filter = *v;
            filterGiven = true;
        } else if (a == "--rounds") {
            const long n = std::strtol(v->c_str(), &end, 10);
            if (*end != '\0' || n < 1 || n > 100000) return Parsed::Bad;
            o.rounds = static_cast<int>(n);
        } else if (a == "--min-ms") {
            o.minMs = std::strtod(v->c_str(), &end);
            if (*end != '\0' || !(o.minMs >= 0)) return Parsed::Bad;
        } else if (a == "--format") {
            if (*v == "text") o.format = Format::Text;
            else if (*v == "markdown" || *v == "md") o.format = Format::Markdown;
            else if (*v == "csv") o.format = Format::Csv;
            else return Parsed::Bad;
        } else if (a == "--photo") {
            o.photo = *v;
        } else if (a == "--memory") {
            o.memory = true;
        } else if (a == "--check") {
            o.check = true;
        } else if (a == "--list") {
            o.list = true;
        } else if (a == "--help" || a == "-h") {
            return Parsed::Help;
        } else {
            return Parsed::Bad;
        }
    }
    if (o.memory && !filterGiven) o.filter = "-4000$";
    return Parsed::Run;
}

bool selectRows(const std::string& filter, std::vector<const Row*>& out, std::string& error) {
    out.clear();
    try {
        const std::regex re(filter);
        for (const Row& row : allRows())
            if (std::regex_search(row.id, re)) out.push_back(&row);
    } catch (const std::regex_error&) {
        error = "--filter is not a regular expression: " + filter;
        return false;
    }
    if (out.empty()) error = "no row matches " + filter + " (--list shows them)";
    return !out.empty();
}

}  // namespace oxcmp
