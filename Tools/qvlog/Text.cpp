#include "Text.hpp"

#include "Bytes.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace QVLog {

namespace {

constexpr char hexDigits[] = "0123456789ABCDEF";

constexpr std::uint64_t ones = 0x0101010101010101;

/// The high bit of each byte that is zero; false ones only above a true one.
constexpr std::uint64_t FindZero(std::uint64_t bytes)
{
    return (bytes - ones) & ~bytes;
}

/// How many characters from the start need no second look: those of ASCII without control characters and,
/// for JSON, without the two that it escapes. Eight at once.
template <bool isJson>
std::size_t CountPlainOf(std::string_view text)
{
    std::size_t count = 0;
    for (; count + 8 <= text.size(); count += 8) {
        const std::uint64_t bytes = GetUInt64(text.data() + count);
        std::uint64_t special = bytes | ((bytes - ones * 0x20) & ~bytes) | FindZero(bytes ^ (ones * 0x7F));
        if constexpr (isJson) {
            special |= FindZero(bytes ^ (ones * '"')) | FindZero(bytes ^ (ones * '\\'));
        }
        if ((special & (ones * 0x80)) != 0) {
            break;
        }
    }
    const auto isPlain = [](char c) { return c >= 0x20 && c < 0x7F && !(isJson && (c == '"' || c == '\\')); };
    while (count < text.size() && isPlain(text[count])) {
        ++count;
    }
    return count;
}

void AppendEscape(std::string& to, char32_t c)
{
    switch (c) {
    case '\n':
        to += "\\n";
        return;
    case '\r':
        to += "\\r";
        return;
    case '\t':
        to += "\\t";
        return;
    default:
        to += c < 0x80 ? "\\x" : "\\u";
        AppendHex(to, c, c < 0x80 ? 2 : 4);
    }
}

struct CivilTime {
    int year;
    std::uint32_t month, day, hour, minute, second;
};

CivilTime GetCivil(std::int64_t seconds)
{
    using namespace std::chrono;
    const sys_seconds time{std::chrono::seconds(seconds)};
    const auto days = floor<std::chrono::days>(time);
    const year_month_day date(days);
    const auto rest = static_cast<std::uint32_t>((time - days).count());
    return {static_cast<int>(date.year()),
            static_cast<unsigned>(date.month()),
            static_cast<unsigned>(date.day()),
            rest / 3600,
            rest / 60 % 60,
            rest % 60};
}

std::int64_t FloorSeconds(std::int64_t microseconds)
{
    return microseconds / 1000000 - (microseconds % 1000000 < 0);
}

bool TakeDigits(std::string_view& text, std::size_t count, int& number)
{
    if (text.size() < count || !std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(count),
                                            [](char c) { return c >= '0' && c <= '9'; })) {
        return false;
    }
    std::from_chars(text.data(), text.data() + count, number);
    text.remove_prefix(count);
    return true;
}

bool Take(std::string_view& text, char c)
{
    const bool isThere = text.starts_with(c);
    text.remove_prefix(isThere);
    return isThere;
}

bool TakeFraction(std::string_view& text, std::int64_t& microseconds)
{
    std::int64_t unit = 100000;
    bool hasDigit = false;
    for (int digit = 0; TakeDigits(text, 1, digit); unit /= 10) {
        microseconds += digit * unit;
        hasDigit = true;
    }
    return hasDigit;
}

bool TakeZone(std::string_view& text, std::int32_t& zone)
{
    if (Take(text, 'Z')) {
        zone = 0;
        return true;
    }
    const bool isNegative = text.starts_with('-');
    if (!Take(text, '+') && !Take(text, '-')) {
        return true;
    }
    int hours = 0;
    int minutes = 0;
    if (!TakeDigits(text, 2, hours) || (Take(text, ':'), !TakeDigits(text, 2, minutes)) || hours > 24) {
        return false;
    }
    zone = (hours * 60 + minutes) * (isNegative ? -60 : 60);
    return true;
}

std::uint32_t GetHexDigits(Type type)
{
    return static_cast<std::uint32_t>(GetFixedSize(type) * 2);
}

void AppendInteger(std::string& to, const Value& value, const Style& style)
{
    const bool isSigned = value.type == Type::I16 || value.type == Type::I32 || value.type == Type::I64;
    if (style.kind == 'b') {
        to += value.cardinal == 0 ? "false" : "true";
    } else if (style.kind == 'x' || style.kind == 'X') {
        const std::uint32_t bits = 4 * GetHexDigits(value.type);
        const std::uint64_t number = bits == 64 ? value.cardinal : value.cardinal & ((1ull << bits) - 1);
        char digits[16];
        char* const end = std::to_chars(digits, digits + 16, number, 16).ptr;
        if (style.kind == 'X') {
            std::transform(digits, end, digits,
                           [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
        }
        to.append(digits, end);
    } else if (isSigned) {
        AppendNumber(to, value.integer);
    } else {
        AppendNumber(to, value.cardinal);
    }
}

void AppendReal(std::string& to, const Value& value, const Style& style)
{
    char text[400];
    const auto write = [&](auto... form) {
        to.append(text, std::to_chars(text, text + sizeof(text), value.real, form...).ptr);
    };
    const bool hasKind = style.kind == 'f' || style.kind == 'e' || style.kind == 'g';
    const char kind = hasKind ? style.kind : style.digits >= 0 ? 'f' : '\0';
    const int digits = style.digits >= 0 ? style.digits : 6;
    if (kind == 'f') {
        write(std::chars_format::fixed, digits);
    } else if (kind == 'e') {
        write(std::chars_format::scientific, digits);
    } else if (kind == 'g') {
        write(std::chars_format::general, digits);
    } else if (value.type == Type::F) {
        to.append(text, std::to_chars(text, text + sizeof(text), static_cast<float>(value.real)).ptr);
    } else {
        write();
    }
}

/// Widens what was appended behind `from`.
void Pad(std::string& to, std::size_t from, const Style& style, bool isNumber)
{
    const std::size_t length = CountCharacters(std::string_view(to).substr(from));
    if (length >= static_cast<std::size_t>(style.width)) {
        return;
    }
    const std::size_t missing = static_cast<std::size_t>(style.width) - length;
    if (!isNumber) {
        to.append(missing, ' ');
        return;
    }
    if (style.hasZeros) {
        to.insert(from + (to[from] == '-'), missing, '0');
    } else {
        to.insert(from, missing, ' ');
    }
}

} // namespace

std::size_t CountPlain(std::string_view text)
{
    return CountPlainOf<false>(text);
}

std::size_t CountPlainJson(std::string_view text)
{
    return CountPlainOf<true>(text);
}

bool IsUnsafe(char32_t c)
{
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069) || c == 0x061C || c == 0x200E || c == 0x200F || c == 0x2028 ||
           c == 0x2029 || c == 0xFEFF;
}

std::size_t CountCharacters(std::string_view text)
{
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::size_t MeasureCodePoint(std::string_view text, char32_t& codePoint)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const auto isTrail = [&](std::size_t i) { return i < text.size() && (byte(i) & 0xC0) == 0x80; };
    if (byte(0) < 0x80) {
        codePoint = byte(0);
        return 1;
    }
    if (byte(0) >= 0xC2 && byte(0) < 0xE0 && isTrail(1)) {
        codePoint = (byte(0) & 0x1Fu) << 6 | (byte(1) & 0x3Fu);
        return 2;
    }
    if (byte(0) >= 0xE0 && byte(0) < 0xF0 && isTrail(1) && isTrail(2)) {
        codePoint = (byte(0) & 0x0Fu) << 12 | (byte(1) & 0x3Fu) << 6 | (byte(2) & 0x3Fu);
        return codePoint >= 0x800 && (codePoint < 0xD800 || codePoint > 0xDFFF) ? 3 : 0;
    }
    if (byte(0) >= 0xF0 && byte(0) < 0xF5 && isTrail(1) && isTrail(2) && isTrail(3)) {
        codePoint =
            (byte(0) & 0x07u) << 18 | (byte(1) & 0x3Fu) << 12 | (byte(2) & 0x3Fu) << 6 | (byte(3) & 0x3Fu);
        return codePoint >= 0x10000 && codePoint <= 0x10FFFF ? 4 : 0;
    }
    return 0;
}

void AppendVisible(std::string& to, std::string_view bytes)
{
    while (!bytes.empty()) {
        const std::size_t plain = CountPlain(bytes);
        to.append(bytes.substr(0, plain));
        bytes.remove_prefix(plain);
        if (bytes.empty()) {
            return;
        }
        char32_t codePoint = 0;
        const std::size_t size = MeasureCodePoint(bytes, codePoint);
        if (size == 0) {
            to += "\\x";
            AppendHex(to, static_cast<unsigned char>(bytes[0]), 2);
        } else if (IsUnsafe(codePoint)) {
            AppendEscape(to, codePoint);
        } else {
            to.append(bytes.substr(0, size));
        }
        bytes.remove_prefix(std::max<std::size_t>(size, 1));
    }
}

void AppendDigits(std::string& to, std::uint32_t number, std::uint32_t count)
{
    const std::size_t from = to.size();
    to.resize(from + count);
    for (std::uint32_t i = count; i-- != 0; number /= 10) {
        to[from + i] = static_cast<char>('0' + number % 10);
    }
}

void AppendHex(std::string& to, std::uint64_t number, std::uint32_t digits)
{
    for (std::uint32_t i = digits; i-- != 0;) {
        to += hexDigits[number >> (4 * i) & 0xF];
    }
}

void AppendGuid(std::string& to, const unsigned char* bytes)
{
    AppendHex(to, GetUInt32(bytes), 8);
    to += '-';
    AppendHex(to, GetUInt16(bytes + 4), 4);
    to += '-';
    AppendHex(to, GetUInt16(bytes + 6), 4);
    for (std::uint32_t i = 8; i < 16; ++i) {
        if (i == 8 || i == 10) {
            to += '-';
        }
        AppendHex(to, bytes[i], 2);
    }
}

/// 19 characters.
const char* Clock::GetSecond(std::int64_t seconds)
{
    if (seconds != second_) {
        second_ = seconds;
        const CivilTime time = GetCivil(seconds);
        std::string text;
        AppendDigits(text, static_cast<std::uint32_t>(std::clamp(time.year, 0, 9999)), 4);
        for (const auto& [mark, number] : {std::pair{'-', time.month},
                                           {'-', time.day},
                                           {' ', time.hour},
                                           {':', time.minute},
                                           {':', time.second}}) {
            text += mark;
            AppendDigits(text, number, 2);
        }
        std::copy(text.begin(), text.end(), text_);
    }
    return text_;
}

void Clock::AppendTime(std::string& to, std::int64_t microseconds, std::int32_t zone, bool hasFraction)
{
    const std::int64_t seconds = FloorSeconds(microseconds);
    to.append(GetSecond(seconds + zone), 19);
    if (hasFraction) {
        to += '.';
        AppendDigits(to, static_cast<std::uint32_t>(microseconds - seconds * 1000000), 6);
    }
}

void Clock::AppendIsoTime(std::string& to, std::int64_t microseconds, std::int32_t zone)
{
    const std::size_t from = to.size();
    zone = zone / 60 * 60; // seconds cannot be said
    AppendTime(to, microseconds, zone);
    to[from + 10] = 'T';
    if (zone == 0) {
        to += 'Z';
        return;
    }
    const std::uint32_t minutes = static_cast<std::uint32_t>(std::abs(zone)) / 60;
    to += zone < 0 ? '-' : '+';
    AppendDigits(to, minutes / 60, 2);
    to += ':';
    AppendDigits(to, minutes % 60, 2);
}

void Clock::AppendDate(std::string& to, std::int64_t seconds)
{
    to.append(GetSecond(seconds), 10);
}

bool ParseTime(std::string_view text, std::int32_t zone, std::int64_t& microseconds)
{
    using namespace std::chrono;
    int year = 0;
    int month = 0;
    int day = 0;
    if (!TakeDigits(text, 4, year) || !Take(text, '-') || !TakeDigits(text, 2, month) || !Take(text, '-') ||
        !TakeDigits(text, 2, day)) {
        return false;
    }
    const year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                              std::chrono::day(static_cast<unsigned>(day))};
    int hour = 0;
    int minute = 0;
    int second = 0;
    std::int64_t fraction = 0;
    if (Take(text, ' ') || Take(text, 'T')) {
        if (!TakeDigits(text, 2, hour) || !Take(text, ':') || !TakeDigits(text, 2, minute)) {
            return false;
        }
        if (Take(text, ':') &&
            (!TakeDigits(text, 2, second) || (Take(text, '.') && !TakeFraction(text, fraction)))) {
            return false;
        }
    }
    if (!TakeZone(text, zone) || !text.empty() || !date.ok() || hour > 23 || minute > 59 || second > 60) {
        return false;
    }
    const std::int64_t seconds =
        sys_seconds(sys_days(date)).time_since_epoch().count() + hour * 3600 + minute * 60 + second - zone;
    microseconds = seconds * 1000000 + fraction;
    return true;
}

void AppendValue(std::string& to, const Value& value, const Style& style, Clock& clock, std::int32_t zone)
{
    const std::size_t from = to.size();
    bool isNumber = true;
    switch (value.type) {
    case Type::F:
    case Type::D:
        AppendReal(to, value, style);
        break;
    case Type::C:
    case Type::S:
        to += value.text;
        isNumber = false;
        break;
    case Type::Id:
        AppendGuid(to, reinterpret_cast<const unsigned char*>(value.text.data()));
        isNumber = false;
        break;
    case Type::Dt:
        clock.AppendDate(to, value.integer + zone);
        isNumber = false;
        break;
    case Type::T:
        clock.AppendTime(to, value.integer * 1000000, zone, false);
        isNumber = false;
        break;
    case Type::None:
        isNumber = false;
        break;
    default:
        AppendInteger(to, value, style);
        isNumber = style.kind != 'b';
    }
    if (style.width != 0) {
        Style padding = style;
        const bool isReal = value.type == Type::F || value.type == Type::D;
        padding.hasZeros &= !isReal || std::isfinite(value.real);
        Pad(to, from, padding, isNumber);
    }
}

void AppendMessage(std::string& to, const Descriptor& descriptor, const std::vector<Value>& values,
                   Clock& clock, std::int32_t zone)
{
    for (const Piece& piece : descriptor.pieces) {
        to += piece.text;
        if (piece.parameter >= 0) {
            AppendValue(to, values[static_cast<std::size_t>(piece.parameter)], piece.style, clock, zone);
        }
    }
}

} // namespace QVLog
