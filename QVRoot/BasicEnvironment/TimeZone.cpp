#include <QVRoot/BasicEnvironment/CalendarImpl.hpp>
#include <QVRoot/BasicEnvironment/TimeZoneImpl.hpp>

#include <algorithm>
#include <limits>

namespace QV::Impl {

namespace {

constexpr Int64 firstTime = std::numeric_limits<Int32>::min();
constexpr Int64 lastTime = std::numeric_limits<Int32>::max();

Int64 GetNewYear(UInt32 year) noexcept
{
    return GetDays({year, 1, 1}) * secondsPerDay;
}

} // namespace

ZoneTable::ZoneTable(Int32 offset, bool isDaylight) noexcept
    : count_(1), spans_{{std::numeric_limits<Int64>::min(), std::numeric_limits<Int64>::min(), offset,
                         isDaylight}}
{
}

bool ZoneTable::Append(Int64 start, Int32 offset, bool isDaylight) noexcept
{
    if (start < GetLastStart() || offset <= -OffsetLimit || offset >= OffsetLimit) {
        return false;
    }
    if (start <= firstTime) {
        spans_[0].offset = offset;
        spans_[0].isDaylight = isDaylight;
        return true;
    }
    if (start > lastTime) {
        return true;
    }
    if (start == GetLastStart()) {
        --count_;
    }
    const Span& last = spans_[count_ - 1];
    if (last.offset == offset && last.isDaylight == isDaylight) {
        return true;
    }
    if (count_ == maxSpans) {
        return false;
    }
    spans_[count_++] = {start, start + last.offset, offset, isDaylight};
    return true;
}

void ZoneTable::MakeIndex() noexcept
{
    for (UInt32 i = 0; i < indexSize; ++i) {
        const Int64 time = firstTime + (Int64{i} << indexShift);
        UInt32 span = 0;
        while (span + 1 < count_ && spans_[span + 1].start <= time) {
            ++span;
        }
        index_[i] = static_cast<UInt16>(span);
    }
}

/// A span that begins at that time or before, not far from it.
UInt32 ZoneTable::LookUp(Int64 utc) const noexcept
{
    const Int64 inRange = std::clamp(utc, firstTime, lastTime);
    return index_[(inRange - firstTime) >> indexShift];
}

UInt32 ZoneTable::FindSpan(Int64 utc) const noexcept
{
    UInt32 span = LookUp(utc);
    while (span + 1 < count_ && spans_[span + 1].start <= utc) {
        ++span;
    }
    return span;
}

Int32 ZoneTable::GetOffsetOfLocal(Int64 local) const noexcept
{
    // By the offset before a change, its local time is where a gap begins or a repeated hour ends.
    UInt32 span = LookUp(local - OffsetLimit);
    while (span + 1 < count_ && spans_[span + 1].localStart <= local) {
        ++span;
    }
    return spans_[span].offset;
}

ZoneBias ZoneTable::GetBias(Int64 now) const noexcept
{
    const UInt32 current = FindSpan(now);
    const UInt32 year = MakeRecord(now).year;
    const UInt32 first = FindSpan(GetNewYear(year));
    const UInt32 last = FindSpan(GetNewYear(year + 1) - 1);
    // Standard time is the current one or, in summer, the one before; daylight time the current or next one.
    const Span* standard = nullptr;
    const Span* daylight = nullptr;
    for (UInt32 i = 0; i <= last; ++i) {
        const Span& span = spans_[i];
        if (!span.isDaylight && (i <= current || standard == nullptr)) {
            standard = &span;
        } else if (span.isDaylight && i >= first && (i <= current || daylight == nullptr)) {
            daylight = &span;
        }
    }
    const Int32 offset = standard != nullptr ? standard->offset : spans_[current].offset;
    return {-offset / 60, 0, daylight != nullptr ? -(daylight->offset - offset) / 60 : 0};
}

Int64 YearlyChange::GetTime(UInt32 year) const noexcept
{
    Int32 days = 0;
    switch (kind) {
    case Weekday: {
        const Int32 first = GetDays({year, month, 1});
        const UInt32 ahead = (weekday + 7u - GetDayOfWeek(first)) % 7;
        const UInt32 inMonth = ahead + 7u * (nth - 1u);
        const UInt32 length = GetDaysInMonth(year, month);
        days = first + static_cast<Int32>(inMonth < length      ? inMonth
                                          : ahead + 28 < length ? ahead + 28
                                                                : ahead + 21);
        break;
    }
    case DayOfMonth:
        days = GetDays({year, month, static_cast<UInt32>(day)});
        break;
    case DayOfYear:
        days = GetDays({year, 1, 1}) + day;
        break;
    case DayButLeapDay:
        days = GetDays({year, 1, 1}) + day - 1 + (IsLeapYear(year) && day >= 60);
        break;
    }
    return days * secondsPerDay + time;
}

bool YearlyRules::AppendYear(UInt32 year, bool fromNewYear, ZoneTable& table) const noexcept
{
    const auto append = [&](Int64 start, bool isDaylight) {
        const bool isNews = fromNewYear || start > table.GetLastStart();
        return !isNews || table.Append(start, isDaylight ? daylightOffset : standardOffset, isDaylight);
    };
    if (!hasDaylight) {
        return !fromNewYear || append(GetNewYear(year) - table.GetLastOffset(), false);
    }
    const Int64 summer = toDaylight.GetTime(year) - standardOffset;
    const Int64 winter = toStandard.GetTime(year) - daylightOffset;
    const bool northern = summer < winter;
    return (!fromNewYear || append(GetNewYear(year) - table.GetLastOffset(), !northern)) &&
           append(northern ? summer : winter, northern) && append(northern ? winter : summer, !northern);
}

} // namespace QV::Impl
