/// The language of printf and scanf formats: directives, the types that fit them, and the check of a whole
/// format against its arguments. Everything is constant-evaluated, so that one and the same check serves the
/// compiler and the run time. See CheckedFormat.hpp for the functions to call.
///
/// Threads: any. Errors: results only. Allocation: none.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::FormatSyntax {

enum class Length : UInt8 { None, Char, Short, Long, LongLong, IntMax, Size, PtrDiff, LongDouble };

/// What an argument is. For scanning, the type that the argument points to.
enum class Kind : UInt8 {
    None, ///< no argument of formats
    Char, ///< an 8-bit integer of any sign
    Short,
    Unit, ///< a 16-bit unsigned integer or UTF-16 unit
    Int,
    UInt,
    Long,
    ULong,
    LongLong,
    ULongLong,
    Float, ///< for printing, floats are doubles
    Double,
    LongDouble,
    Pointer,
    Text8,  ///< text of bytes; for scanning an array
    Text16, ///< text of UTF-16 units; for scanning an array
    UniString,
    String,
};

/// An argument's type. `extent` is the number of units of an array to scan into.
struct Type {
    static constexpr UInt32 UnknownExtent = 0xFFFFFFFF; ///< before the call

    Kind kind = Kind::None;
    UInt32 extent = UnknownExtent;
};

enum class Problem : UInt8 {
    None,
    BadDirective,      ///< not a directive of this language
    Refused,           ///< "%n", and unbounded text
    WrongType,         ///< the argument does not fit the directive
    TooFewArguments,   ///< a directive without an argument
    ArgumentsLeftOver, ///< an argument without a directive
    BufferTooSmall,    ///< an array that has no room for the width, or for anything
};

struct Directive {
    char conversion = 0; ///< the letter, in lower case; 0 for none that is known
    bool isUpper = false;
    Length length = Length::None;
    bool leftAlign = false;
    bool plus = false;
    bool space = false;
    bool alternative = false;
    bool zero = false;
    bool isSuppressed = false;   ///< scanning: '*'
    bool takesWidth = false;     ///< printing: the width is an argument
    bool takesPrecision = false; ///< printing: so is the precision
    int width = -1;              ///< -1: not given
    int precision = -1;          ///< -1: not given
    bool isInverted = false;     ///< a set that begins with '^'
    UInt32 setLength = 0;        ///< units of the set between its brackets, which end the directive
};

constexpr bool IsDigit(UInt32 c) noexcept
{
    return c - '0' <= 9;
}

/// The unit as a number, without the sign of a char.
template <class Unit>
constexpr UInt32 GetCode(Unit c) noexcept
{
    return sizeof(Unit) == 1 ? static_cast<unsigned char>(c) : static_cast<UInt32>(c);
}

/// A number that fits an int, or -1 where it does not; no digits give 0.
template <class Unit>
constexpr int ParseNumber(const Unit*& at) noexcept
{
    UInt32 number = 0;
    bool fits = true;
    for (; IsDigit(GetCode(*at)); ++at) {
        const UInt32 digit = GetCode(*at) - '0';
        fits = fits && number <= (0x7FFFFFFFu - digit) / 10;
        number = fits ? number * 10 + digit : 0;
    }
    return fits ? static_cast<int>(number) : -1;
}

template <class Unit>
constexpr Length ParseLength(const Unit*& at) noexcept
{
    const UInt32 c = GetCode(*at);
    const bool isDouble = (c == 'h' || c == 'l') && GetCode(at[1]) == c;
    Length length = Length::None;
    switch (c) {
    case 'h':
        length = isDouble ? Length::Char : Length::Short;
        break;
    case 'l':
        length = isDouble ? Length::LongLong : Length::Long;
        break;
    case 'j':
        length = Length::IntMax;
        break;
    case 'z':
        length = Length::Size;
        break;
    case 't':
        length = Length::PtrDiff;
        break;
    case 'L':
        length = Length::LongDouble;
        break;
    default:
        return length;
    }
    at += isDouble ? 2 : 1;
    return length;
}

template <class Unit>
constexpr void ParseConversion(const Unit*& at, Directive& directive) noexcept
{
    const UInt32 c = GetCode(*at);
    if (c == 0) {
        return;
    }
    ++at;
    directive.isUpper = c == 'X' || c == 'E' || c == 'F' || c == 'G' || c == 'A';
    directive.conversion = c < 0x80 ? static_cast<char>(directive.isUpper ? c + 0x20 : c) : char{0};
}

/// Reads the directive behind a '%' of a printing format and moves behind it.
template <class Unit>
constexpr Directive ParsePrintDirective(const Unit*& at) noexcept
{
    Directive directive;
    for (bool isFlag = true; isFlag; at += isFlag) {
        const UInt32 c = GetCode(*at);
        directive.leftAlign = directive.leftAlign || c == '-';
        directive.plus = directive.plus || c == '+';
        directive.space = directive.space || c == ' ';
        directive.alternative = directive.alternative || c == '#';
        directive.zero = directive.zero || c == '0';
        isFlag = c == '-' || c == '+' || c == ' ' || c == '#' || c == '0';
    }
    bool fits = true;
    if (GetCode(*at) == '*') {
        directive.takesWidth = true;
        ++at;
    } else if (IsDigit(GetCode(*at))) {
        directive.width = ParseNumber(at);
        fits = directive.width >= 0;
    }
    if (GetCode(*at) == '.') {
        ++at;
        if (GetCode(*at) == '*') {
            directive.takesPrecision = true;
            ++at;
        } else {
            directive.precision = ParseNumber(at);
            fits = fits && directive.precision >= 0;
        }
    }
    directive.length = ParseLength(at);
    ParseConversion(at, directive);
    if (!fits) {
        directive.conversion = 0;
    }
    return directive;
}

/// Reads the directive behind a '%' of a scanning format and moves behind it. A set ends one unit before.
template <class Unit>
constexpr Directive ParseScanDirective(const Unit*& at) noexcept
{
    Directive directive;
    if (GetCode(*at) == '*') {
        directive.isSuppressed = true;
        ++at;
    }
    bool fits = true;
    if (IsDigit(GetCode(*at))) {
        directive.width = ParseNumber(at);
        fits = directive.width > 0;
    }
    directive.length = ParseLength(at);
    ParseConversion(at, directive);
    if (directive.conversion == '[') {
        directive.isInverted = GetCode(*at) == '^';
        at += directive.isInverted;
        // A bracket in the first place is a member.
        while (GetCode(at[directive.setLength]) != 0 &&
               (directive.setLength == 0 || GetCode(at[directive.setLength]) != ']')) {
            ++directive.setLength;
        }
        at += directive.setLength;
        fits = fits && GetCode(*at) == ']';
        at += fits;
    }
    if (!fits) {
        directive.conversion = 0;
    }
    return directive;
}

constexpr bool IsIntegerConversion(char conversion) noexcept
{
    return conversion == 'd' || conversion == 'i' || conversion == 'u' || conversion == 'o' ||
           conversion == 'x';
}

constexpr bool IsRealConversion(char conversion) noexcept
{
    return conversion == 'e' || conversion == 'f' || conversion == 'g' || conversion == 'a';
}

constexpr bool IsLong(Kind kind) noexcept
{
    return kind == Kind::Long || kind == Kind::ULong;
}

constexpr bool IsLongLong(Kind kind) noexcept
{
    return kind == Kind::LongLong || kind == Kind::ULongLong;
}

/// The type that 'j', 'z' and 't' ask for is a long on one target and a long long on the other.
constexpr bool IsWordSized(Kind kind) noexcept
{
    return IsLongLong(kind) || (sizeof(long) == sizeof(void*) && IsLong(kind));
}

/// Whether a directive's length goes with its conversion at all.
constexpr bool HasFittingLength(const Directive& directive) noexcept
{
    switch (directive.length) {
    case Length::None:
        return true;
    case Length::LongDouble:
        return IsRealConversion(directive.conversion);
    case Length::Short:
    case Length::Long:
        return directive.conversion != 'p' && directive.conversion != '%' &&
               (directive.length == Length::Long || !IsRealConversion(directive.conversion));
    default:
        return IsIntegerConversion(directive.conversion);
    }
}

constexpr bool IsPromotedToInt(Kind kind) noexcept
{
    return kind == Kind::Char || kind == Kind::Short || kind == Kind::Unit || kind == Kind::Int ||
           kind == Kind::UInt;
}

constexpr bool FitsInteger(Length length, Kind kind) noexcept
{
    switch (length) {
    case Length::None:
    case Length::Char:
    case Length::Short:
        return IsPromotedToInt(kind);
    case Length::Long:
        return IsLong(kind);
    case Length::LongLong:
        return IsLongLong(kind);
    default:
        return IsWordSized(kind);
    }
}

/// Whether an argument may be printed by a directive. Types are compared as C's promotions leave them; the
/// sign does not matter.
constexpr bool FitsPrintDirective(const Directive& directive, Kind kind) noexcept
{
    switch (directive.conversion) {
    case 'c':
        return directive.length == Length::Long
                   ? kind == Kind::Unit || kind == Kind::Int || kind == Kind::UInt
                   : IsPromotedToInt(kind);
    case 's':
        return (kind == Kind::Text8 && directive.length != Length::Long) ||
               (kind == Kind::Text16 && directive.length != Length::Short);
    case 'p':
        return kind == Kind::Pointer || kind == Kind::Text8 || kind == Kind::Text16;
    case 'e':
    case 'f':
    case 'g':
    case 'a':
        return kind == (directive.length == Length::LongDouble ? Kind::LongDouble : Kind::Double);
    default:
        return FitsInteger(directive.length, kind);
    }
}

constexpr bool FitsScannedInteger(Length length, Kind kind) noexcept
{
    switch (length) {
    case Length::None:
        return kind == Kind::Int || kind == Kind::UInt;
    case Length::Char:
        return kind == Kind::Char;
    case Length::Short:
        return kind == Kind::Short || kind == Kind::Unit;
    default:
        return FitsInteger(length, kind);
    }
}

/// Whether text may be stored: single units, arrays of the units that are scanned, and strings. 'h' and 'l'
/// insist on one of the units.
constexpr bool FitsScannedText(const Directive& directive, Kind kind, Kind input) noexcept
{
    const bool isUnit = kind == Kind::Char || kind == Kind::Unit;
    const bool isWide = kind == Kind::Unit || kind == Kind::Text16 || kind == Kind::UniString;
    if (directive.length != Length::None && (directive.length == Length::Long) != isWide) {
        return false;
    }
    return isUnit ? directive.conversion == 'c' && directive.width <= 1
                  : kind == input || kind == Kind::UniString || kind == Kind::String;
}

/// Whether a scanned value may be stored. `input` is the kind of the text that is scanned.
constexpr bool FitsScanDirective(const Directive& directive, Kind kind, Kind input) noexcept
{
    switch (directive.conversion) {
    case 'c':
    case 's':
    case '[':
        return FitsScannedText(directive, kind, input);
    case 'p':
        return kind == Kind::Pointer;
    case 'e':
    case 'f':
    case 'g':
    case 'a':
        return kind == (directive.length == Length::LongDouble ? Kind::LongDouble
                        : directive.length == Length::Long     ? Kind::Double
                                                               : Kind::Float);
    default:
        return FitsScannedInteger(directive.length, kind);
    }
}

/// What is wrong with a format, and where: the number of the directive and of the argument, from 1.
struct Verdict {
    Problem problem = Problem::None;
    UInt32 directive = 0;
    UInt32 argument = 0;
};

/// What is wrong with a directive, whatever its arguments are.
constexpr Problem CheckDirective(const Directive& directive, bool isScan) noexcept
{
    const char c = directive.conversion;
    if (c == 'n') {
        return Problem::Refused;
    }
    const bool isKnown = IsIntegerConversion(c) || IsRealConversion(c) || c == 'c' || c == 's' || c == 'p' ||
                         c == '%' || (isScan && c == '[');
    return isKnown && HasFittingLength(directive) ? Problem::None : Problem::BadDirective;
}

/// Whether the argument of a directive fits it, behind those for width and precision. `input` is the kind of
/// the text that is scanned, `None` for printing.
constexpr Problem CheckArgument(const Directive& directive, const Type& type, Kind input) noexcept
{
    if (input == Kind::None) {
        return FitsPrintDirective(directive, type.kind) ? Problem::None : Problem::WrongType;
    }
    if (!FitsScanDirective(directive, type.kind, input)) {
        return Problem::WrongType;
    }
    // Text in an array has a terminator as well; single characters have not.
    const UInt32 width = directive.width < 1 ? 1 : static_cast<UInt32>(directive.width);
    const UInt32 needed = width + (directive.conversion != 'c');
    return type.kind == input && needed > type.extent ? Problem::BufferTooSmall : Problem::None;
}

/// Checks a whole format. `getType` answers the type of an argument, given its index; `input` is as above.
template <class Unit, class GetType>
constexpr Verdict CheckFormat(const Unit* format, GetType getType, UInt32 count, Kind input) noexcept
{
    Verdict verdict;
    const auto fails = [&verdict](Problem problem) {
        verdict.problem = problem;
        return problem != Problem::None;
    };
    const bool isScan = input != Kind::None;
    while (*format != 0) {
        if (GetCode(*format++) != '%') {
            continue;
        }
        ++verdict.directive;
        const Directive directive = isScan ? ParseScanDirective(format) : ParsePrintDirective(format);
        if (fails(CheckDirective(directive, isScan))) {
            return verdict;
        }
        const UInt32 measures = UInt32{directive.takesWidth} + directive.takesPrecision;
        const UInt32 needed = measures + (directive.conversion != '%' && !directive.isSuppressed);
        for (UInt32 i = 0; i < needed; ++i) {
            if (verdict.argument++ >= count) {
                fails(Problem::TooFewArguments);
                return verdict;
            }
            const Type type = getType(verdict.argument - 1);
            const bool isMeasure = i < measures;
            if (isMeasure ? fails(type.kind == Kind::Int ? Problem::None : Problem::WrongType)
                          : fails(CheckArgument(directive, type, input))) {
                return verdict;
            }
        }
    }
    fails(verdict.argument < count ? Problem::ArgumentsLeftOver : Problem::None);
    return verdict;
}

} // namespace QV::FormatSyntax
