#include <QVRoot/BasicEnvironment/ZoneRulesWinImpl.hpp>

#include <algorithm>
#include <cstring>

namespace QV::Impl {

namespace {

static_assert(sizeof(DYNAMIC_TIME_ZONE_INFORMATION) <= sizeof(ZoneSource));

/// A change as a date of one year or as a weekday of a month. Its time may be the last millisecond of a day.
YearlyChange MakeChange(const SYSTEMTIME& date) noexcept
{
    YearlyChange change = {};
    change.kind = date.wYear != 0 ? YearlyChange::DayOfMonth : YearlyChange::Weekday;
    change.month = static_cast<UInt8>(date.wMonth);
    change.nth = static_cast<UInt8>(date.wDay);
    change.weekday = static_cast<UInt8>(date.wDayOfWeek);
    change.day = date.wDay;
    change.time = date.wHour * 3600 + date.wMinute * 60 + date.wSecond + (date.wMilliseconds > 0);
    return change;
}

bool IsSound(const SYSTEMTIME& date) noexcept
{
    return date.wMonth >= 1 && date.wMonth <= 12 && date.wDay >= 1 && date.wDay <= 31 && date.wDayOfWeek < 7;
}

/// So that equal names are equal bytes.
template <size_t N>
void ClearBehindTerminator(WCHAR (&text)[N]) noexcept
{
    const size_t length = wcsnlen(text, N);
    std::memset(text + length, 0, (N - length) * sizeof(WCHAR));
}

/// The rules of a zone year by year.
class History {
public:
    explicit History(DYNAMIC_TIME_ZONE_INFORMATION& zone) noexcept : zone_(zone)
    {
        // Its first fields are those of the plain form.
        std::memcpy(&current_, &zone, sizeof(current_));
        isKnown_ = !zone.DynamicDaylightTimeDisabled &&
                   GetDynamicTimeZoneInformationEffectiveYears(&zone, &first_, &last_) == ERROR_SUCCESS;
    }

    TIME_ZONE_INFORMATION GetRules(UInt32 year) const noexcept
    {
        const auto known = static_cast<USHORT>(std::clamp<DWORD>(year, first_, std::max(first_, last_)));
        TIME_ZONE_INFORMATION rules;
        return isKnown_ && GetTimeZoneInformationForYear(known, &zone_, &rules) ? rules : current_;
    }

private:
    DYNAMIC_TIME_ZONE_INFORMATION& zone_;
    TIME_ZONE_INFORMATION current_;
    bool isKnown_;
    DWORD first_ = 0;
    DWORD last_ = 0;
};

} // namespace

YearlyRules MakeYearlyRules(const TIME_ZONE_INFORMATION& zone) noexcept
{
    YearlyRules rules = {};
    rules.hasDaylight = IsSound(zone.StandardDate) && IsSound(zone.DaylightDate);
    rules.standardOffset = -60 * static_cast<Int32>(zone.Bias + zone.StandardBias);
    rules.daylightOffset = -60 * static_cast<Int32>(zone.Bias + zone.DaylightBias);
    if (rules.hasDaylight) {
        rules.toDaylight = MakeChange(zone.DaylightDate);
        rules.toStandard = MakeChange(zone.StandardDate);
    }
    return rules;
}

void GetZoneSource(ZoneSource& source) noexcept
{
    DYNAMIC_TIME_ZONE_INFORMATION zone;
    std::memset(&zone, 0, sizeof(zone));
    std::memset(&source, 0, sizeof(source));
    if (GetDynamicTimeZoneInformation(&zone) == TIME_ZONE_ID_INVALID) {
        return;
    }
    ClearBehindTerminator(zone.StandardName);
    ClearBehindTerminator(zone.DaylightName);
    ClearBehindTerminator(zone.TimeZoneKeyName);
    std::memcpy(source.identity, &zone, sizeof(zone));
    source.identity[sizeof(zone)] = 1;
}

bool LoadZone(const ZoneSource& source, ZoneTable& table) noexcept
{
    DYNAMIC_TIME_ZONE_INFORMATION zone;
    if (source.identity[sizeof(zone)] == 0) {
        return false;
    }
    std::memcpy(&zone, source.identity, sizeof(zone));
    const History history(zone);
    bool sound = true;
    for (UInt32 year = firstZoneYear; year <= lastZoneYear && sound; ++year) {
        const YearlyRules rules = MakeYearlyRules(history.GetRules(year));
        if (year == firstZoneYear) {
            table = ZoneTable(rules.standardOffset);
        }
        sound = rules.AppendYear(year, true, table);
    }
    return sound;
}

bool GetZoneBias(const ZoneTable*, ZoneBias& bias) noexcept
{
    TIME_ZONE_INFORMATION zone;
    if (GetTimeZoneInformation(&zone) == TIME_ZONE_ID_INVALID) {
        return false;
    }
    bias = {static_cast<Int32>(zone.Bias), static_cast<Int32>(zone.StandardBias),
            static_cast<Int32>(zone.DaylightBias)};
    return true;
}

} // namespace QV::Impl
