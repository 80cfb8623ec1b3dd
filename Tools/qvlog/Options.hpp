/// What the command line asks for.
#pragma once

#include "Descriptor.hpp"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace QVLog {

enum class Form { Text, Json, Csv, Trace };

/// Which lines are wanted. Data lines go with the line that they belong to.
struct Filter {
    std::string since; ///< as given; where no zone is said, the log's counts
    std::string until;
    std::vector<std::string> threads; ///< ids or names
    std::vector<std::string> sites;   ///< FILE, FILE:LINE, or a function; parts of a path count from its end
    std::vector<std::string> categories; ///< with those within them
    Level level = Level::Unknown;        ///< and above
    std::string text;
    bool ignoresCase = false;
    bool isUtc = false; ///< times without a zone are UTC
};

struct Options {
    std::vector<std::string> files; ///< none: the standard input
    Form form = Form::Text;
    std::string format;
    bool hasColor = false;
    bool isUtc = false;
    bool follows = false;
    std::string output; ///< of the report
    std::string title;
    Filter filter;
};

} // namespace QVLog
