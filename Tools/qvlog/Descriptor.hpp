/// What a log says once about each place that logs: the types of the parameters, the text, the place.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace QVLog {

enum class Type : std::uint8_t { I16, UI16, I32, UI32, I64, UI64, F, D, C, S, Id, Dt, T, None };

struct Parameter {
    Type type;
    bool isCompressed; ///< only strings and identifiers
};

/// How a value is to be shown.
struct Style {
    int width = 0;
    int digits = -1; ///< behind the point; -1: not said
    bool hasZeros = false;
    char kind = 0; ///< one of x X f e g, 'b' for bool, 0 for the usual form
};

/// A stretch of text, and the parameter behind it.
struct Piece {
    std::string text;
    int parameter = -1; ///< -1: none
    Style style;
};

enum class Level : std::uint8_t { Unknown, Data, Trace, Debug, Info, Warning, Error, Fatal };
/// "unknown" has no name: empty.
std::string_view GetLevelName(Level level);
/// `Unknown` for other words.
Level FindLevel(std::string_view name);

/// The lines that the logger writes on its own behalf.
enum class OwnLine : std::uint8_t { None, Time, Thread, Started, Stopped };

struct Descriptor {
    std::uint16_t id = 0;
    std::uint16_t number = 0;
    std::vector<Parameter> parameters;
    std::vector<std::string> names; ///< of the parameters
    std::string format;
    std::vector<Piece> pieces;
    std::string file; ///< site 1
    std::string site; ///< site 2
    Level level = Level::Unknown;
    std::string category; ///< empty: none
    std::string function; ///< site 2 as it is when it has no level
    OwnLine own = OwnLine::None;
    std::uint32_t size = 0;      ///< in the log
    std::uint32_t fixedSize = 0; ///< of the values; meaningless when it depends on them
    bool isFixed = true;
    /// For whoever looks at the lines; 0 for a new descriptor.
    mutable std::uint32_t verdict = 0;
    mutable std::uint32_t tag = 0;

    /// The memory that it takes, about.
    std::size_t GetFootprint() const;
};

/// The logger's own lines count to the category "log".
std::string_view GetCategory(const Descriptor& descriptor);

/// Why it is none: null for a sound one. The bytes are those behind the code of the event line.
const char* ParseDescriptor(std::string_view bytes, Descriptor& descriptor);
/// The size of the descriptor that the bytes begin with; 0 when they do not hold all of it.
std::size_t MeasureDescriptor(std::string_view bytes);

/// The bytes of a value; 0 when it says itself.
std::size_t GetFixedSize(Type type);

} // namespace QVLog
