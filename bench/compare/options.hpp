// The comparison program's command line and the rows it selects.
#pragma once

#include <string>
#include <vector>

#include "rows.hpp"

namespace oxcmp {

enum class Format { Text, Markdown, Csv };

struct Options {
    std::string filter = ".*";
    int rounds = 11;
    double minMs = 20.0;
    Format format = Format::Text;
    std::string photo;
    bool memory = false;
    bool list = false;
    bool check = false;
};

enum class Parsed { Run, Help, Bad };

extern const char* const kUsage;

// Reads the arguments after the program name. Without --filter, --memory
// selects the 4000 x 3000 effects.
Parsed parseOptions(const std::vector<std::string>& args, Options& o);

// The rows of allRows() whose id the filter matches, in table order; false
// (with the message in `error`) for a filter that is not a regular
// expression or matches nothing.
bool selectRows(const std::string& filter, std::vector<const Row*>& out, std::string& error);

}  // namespace oxcmp
