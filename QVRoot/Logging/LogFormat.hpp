/// The formats of log lines: text with one placeholder for each parameter, `{}`, `{name}`, `{:style}` or
/// `{name:style}`; `{{` and `}}` are braces. Whoever reads the log makes the text.
///
///     style = ["0"] [width] ["." digits] ["x" | "X" | "f" | "e" | "g" | "bool"]
///
/// A width goes with everything, digits and `f`, `e`, `g` go with real numbers, `x`, `X` and `bool` with
/// integers, and a `0` with numbers.
#pragma once

#include <QVRoot/Logging/EventLogLine.hpp>

namespace QV::LogFormat {

enum class Problem : UInt8 {
    None,
    LoneBrace,          ///< a '}' without '{', or a '{' without '}'
    BadName,            ///< not a letter or '_', then letters, digits and '_'
    RepeatedName,       ///< two placeholders have it
    BadStyle,           ///< not of the form above
    StyleDoesNotFit,    ///< the parameter is of another type
    TooFewParameters,   ///< a placeholder without a parameter
    ParametersLeftOver, ///< a parameter without a placeholder
};

constexpr bool IsDigit(char c) noexcept
{
    return c >= '0' && c <= '9';
}

constexpr bool IsNameCharacter(char c) noexcept
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || IsDigit(c);
}

constexpr bool IsInteger(UInt32 type) noexcept
{
    return type <= LogType::UInt64;
}

constexpr bool IsReal(UInt32 type) noexcept
{
    return type == LogType::Float || type == LogType::Double;
}

/// Reads a number of at most two digits; -1 for one that is longer or above the limit.
constexpr int ParseNumber(const char*& at, int limit) noexcept
{
    int number = 0;
    int digits = 0;
    for (; IsDigit(*at); ++at, ++digits) {
        number = digits < 2 ? number * 10 + (*at - '0') : limit + 1;
    }
    return digits != 0 && number <= limit ? number : -1;
}

constexpr bool SkipWord(const char*& at, const char* word) noexcept
{
    const char* a = at;
    for (; *word != '\0'; ++word, ++a) {
        if (*a != *word) {
            return false;
        }
    }
    at = a;
    return true;
}

/// Checks what stands between ':' and '}' and moves to the latter.
constexpr Problem CheckStyle(const char*& at, UInt32 type) noexcept
{
    const bool isNumber = IsInteger(type) || IsReal(type);
    if (*at == '0') {
        if (!isNumber) {
            return Problem::StyleDoesNotFit;
        }
        if (!IsDigit(*++at)) {
            return Problem::BadStyle;
        }
    }
    if (IsDigit(*at) && (*at == '0' || ParseNumber(at, 99) < 1)) {
        return Problem::BadStyle;
    }
    bool isForReal = *at == '.';
    if (isForReal && ParseNumber(++at, 17) < 0) {
        return Problem::BadStyle;
    }
    bool isForInteger = false;
    if (*at == 'f' || *at == 'e' || *at == 'g') {
        isForReal = true;
        ++at;
    } else {
        isForInteger = SkipWord(at, "x") || SkipWord(at, "X") || SkipWord(at, "bool");
    }
    if (*at != '}') {
        return Problem::BadStyle;
    }
    const bool fits = (!isForReal || IsReal(type)) && (!isForInteger || IsInteger(type));
    return fits ? Problem::None : Problem::StyleDoesNotFit;
}

/// Whether the name that begins at `name` is that of an earlier placeholder.
constexpr bool IsRepeated(const char* format, const char* name) noexcept
{
    for (const char* at = format; at < name - 1; ++at) {
        if (*at != '{') {
            continue;
        }
        if (*++at == '{') {
            continue;
        }
        const char* a = at;
        const char* b = name;
        while (IsNameCharacter(*a) && *a == *b) {
            ++a;
            ++b;
        }
        if (!IsNameCharacter(*a) && !IsNameCharacter(*b)) {
            return true;
        }
    }
    return false;
}

/// Checks a format against the types of its parameters.
constexpr Problem Check(const char* format, const LogParameter* parameters, UInt32 count) noexcept
{
    UInt32 used = 0;
    for (const char* at = format; *at != '\0'; ++at) {
        if (*at != '{' && *at != '}') {
            continue;
        }
        const char brace = *at++;
        if (*at == brace) {
            continue;
        }
        if (brace == '}') {
            return Problem::LoneBrace;
        }
        const char* const name = at;
        while (IsNameCharacter(*at)) {
            ++at;
        }
        if (at != name && (IsDigit(*name) || IsRepeated(format, name))) {
            return IsDigit(*name) ? Problem::BadName : Problem::RepeatedName;
        }
        if (used >= count) {
            return Problem::TooFewParameters;
        }
        if (*at == ':') {
            if (const Problem problem = CheckStyle(++at, parameters[used].type); problem != Problem::None) {
                return problem;
            }
        } else if (*at != '}') {
            return *at == '\0' ? Problem::LoneBrace : Problem::BadName;
        }
        ++used;
    }
    return used < count ? Problem::ParametersLeftOver : Problem::None;
}

} // namespace QV::LogFormat
