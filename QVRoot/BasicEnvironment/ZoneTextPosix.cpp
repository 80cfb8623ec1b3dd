#include <QVRoot/BasicEnvironment/ZoneDataPosixImpl.hpp>

#include <string_view>

namespace QV::Impl {

namespace {

bool IsLetter(char c) noexcept
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool IsDigit(char c) noexcept
{
    return c >= '0' && c <= '9';
}

class ZoneTextReader {
public:
    explicit ZoneTextReader(std::string_view text) noexcept : text_(text) {}

    bool IsAtEnd() const noexcept { return text_.empty(); }

    bool Take(char c) noexcept
    {
        if (text_.empty() || text_.front() != c) {
            return false;
        }
        text_.remove_prefix(1);
        return true;
    }

    /// Three letters or more, or anything in angle brackets.
    bool TakeName() noexcept
    {
        USize length = 0;
        if (Take('<')) {
            length = text_.find('>');
            if (length == std::string_view::npos) {
                return false;
            }
            text_.remove_prefix(length + 1);
            return length >= 3;
        }
        while (length < text_.size() && IsLetter(text_[length])) {
            ++length;
        }
        text_.remove_prefix(length);
        return length >= 3;
    }

    bool TakeNumber(Int32 least, Int32 most, Int32& value) noexcept
    {
        USize digits = 0;
        value = 0;
        while (digits < text_.size() && digits < 4 && IsDigit(text_[digits])) {
            value = value * 10 + (text_[digits++] - '0');
        }
        text_.remove_prefix(digits);
        return digits > 0 && value >= least && value <= most;
    }

    /// [+-]h[:m[:s]] in seconds.
    bool TakeTime(Int32 mostHours, Int32& seconds) noexcept
    {
        const Int32 sign = Take('-') ? -1 : 1;
        if (sign > 0) {
            Take('+');
        }
        Int32 hours = 0;
        Int32 minutes = 0;
        Int32 rest = 0;
        if (!TakeNumber(0, mostHours, hours) || (Take(':') && !TakeNumber(0, 59, minutes)) ||
            (Take(':') && !TakeNumber(0, 59, rest))) {
            return false;
        }
        seconds = sign * (hours * 3600 + minutes * 60 + rest);
        return true;
    }

    bool TakeChange(YearlyChange& change) noexcept
    {
        change = {};
        change.time = 2 * 3600;
        return TakeDay(change) && (!Take('/') || TakeTime(167, change.time));
    }

private:
    bool TakeDay(YearlyChange& change) noexcept
    {
        if (Take('J')) {
            change.kind = YearlyChange::DayButLeapDay;
            return TakeNumber(1, 365, change.day);
        }
        if (!Take('M')) {
            change.kind = YearlyChange::DayOfYear;
            return TakeNumber(0, 365, change.day);
        }
        Int32 month = 0;
        Int32 nth = 0;
        Int32 weekday = 0;
        if (!TakeNumber(1, 12, month) || !Take('.') || !TakeNumber(1, 5, nth) || !Take('.') ||
            !TakeNumber(0, 6, weekday)) {
            return false;
        }
        change.kind = YearlyChange::Weekday;
        change.month = static_cast<UInt8>(month);
        change.nth = static_cast<UInt8>(nth);
        change.weekday = static_cast<UInt8>(weekday);
        return true;
    }

    std::string_view text_;
};

/// What the C library takes for daylight time without rules.
constexpr YearlyChange secondSundayOfMarch = {YearlyChange::Weekday, 3, 2, 0, 0, 2 * 3600};
constexpr YearlyChange firstSundayOfNovember = {YearlyChange::Weekday, 11, 1, 0, 0, 2 * 3600};

} // namespace

bool ParseZoneText(const char* text, const char* end, YearlyRules& rules) noexcept
{
    ZoneTextReader reader(std::string_view(text, static_cast<USize>(end - text)));
    rules = {};
    Int32 west = 0;
    if (!reader.TakeName() || !reader.TakeTime(24, west)) {
        return false;
    }
    rules.standardOffset = -west;
    if (reader.IsAtEnd()) {
        return true;
    }
    west -= 3600;
    rules.hasDaylight = true;
    rules.toDaylight = secondSundayOfMarch;
    rules.toStandard = firstSundayOfNovember;
    if (!reader.TakeName()) {
        return false;
    }
    ZoneTextReader ahead = reader;
    if (!reader.IsAtEnd() && !ahead.Take(',') && !reader.TakeTime(24, west)) {
        return false;
    }
    rules.daylightOffset = -west;
    return reader.IsAtEnd() || (reader.Take(',') && reader.TakeChange(rules.toDaylight) && reader.Take(',') &&
                                reader.TakeChange(rules.toStandard) && reader.IsAtEnd());
}

} // namespace QV::Impl
