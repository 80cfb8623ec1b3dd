/// Text for terminals, spreadsheets and programs out of whatever bytes a log holds.
#pragma once

#include "LogReader.hpp"

#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>

namespace QVLog {

/// The bytes of the code point that the text begins with; 0 for bytes that are no UTF-8.
std::size_t MeasureCodePoint(std::string_view text, char32_t& codePoint);

/// Whether a character could steer a terminal: control characters and those that turn the direction.
bool IsUnsafe(char32_t c);
/// How many bytes from the start are ASCII without control characters; `Json`: without quote and backslash.
std::size_t CountPlain(std::string_view text);
std::size_t CountPlainJson(std::string_view text);
/// Of UTF-8.
std::size_t CountCharacters(std::string_view text);

/// As one line that cannot steer a terminal: control characters and those that turn the direction of writing
/// become `\n`, `\x1B` or `\u202E`, bytes that are no UTF-8 `\xFF`.
void AppendVisible(std::string& to, std::string_view bytes);

template <class Number>
void AppendNumber(std::string& to, Number number)
{
    char digits[32];
    to.append(digits, std::to_chars(digits, digits + sizeof(digits), number).ptr);
}

/// With zeros before it.
void AppendDigits(std::string& to, std::uint32_t number, std::uint32_t count);
/// 36 characters.
void AppendGuid(std::string& to, const unsigned char* bytes);
void AppendHex(std::string& to, std::uint64_t number, std::uint32_t digits);

/// Dates and times of a zone that is a number of seconds ahead of UTC. Remembers the last second, since most
/// lines share theirs with the line before.
class Clock {
public:
    /// "2025-11-21 22:00:00.123456"; without the fraction when `hasFraction` is false.
    void AppendTime(std::string& to, std::int64_t microseconds, std::int32_t zone, bool hasFraction = true);
    /// "2025-11-21T22:00:00.123456+01:00", "Z" for a zone of 0.
    void AppendIsoTime(std::string& to, std::int64_t microseconds, std::int32_t zone);
    void AppendDate(std::string& to, std::int64_t seconds);

private:
    const char* GetSecond(std::int64_t seconds);

    std::int64_t second_ = INT64_MIN;
    char text_[32] = {};
};

/// Reads "2025-11-21", "2025-11-21 22:00", "2025-11-21T22:00:00.5", with "Z" or "+01:00" behind it or
/// without, then in the given zone. False for anything else.
bool ParseTime(std::string_view text, std::int32_t zone, std::int64_t& microseconds);

/// A value by a style, its bytes as they are.
void AppendValue(std::string& to, const Value& value, const Style& style, Clock& clock, std::int32_t zone);
/// A line's message, bytes as they are.
void AppendMessage(std::string& to, const Descriptor& descriptor, const std::vector<Value>& values,
                   Clock& clock, std::int32_t zone);

} // namespace QVLog
