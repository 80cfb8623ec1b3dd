/// The Gregorian calendar, also before its introduction. Days are counted from 1970-01-01.
#pragma once

#include <QVRoot/BasicEnvironment/QVTime.hpp>

namespace QV::Impl {

inline constexpr Int64 secondsPerDay = 86400;

constexpr bool IsLeapYear(UInt32 year) noexcept
{
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr UInt32 GetDaysInMonth(UInt32 year, UInt32 month) noexcept
{
    return month == 2 ? 28 + IsLeapYear(year) : 30 + ((month + (month >> 3)) & 1);
}

struct CalendarDate {
    UInt32 year;
    UInt32 month; ///< from 1
    UInt32 day;   ///< from 1
};

// Inside, years begin in March, so that the leap day is a year's last day. Day 0 is the first of March of
// year 0; 146097 days are 400 years.
inline constexpr Int32 daysTo1970 = 719468;

constexpr Int32 GetDays(const CalendarDate& date) noexcept
{
    const UInt32 early = date.month < 3;
    const UInt32 year = date.year - early;
    const UInt32 month = date.month + 12 * early;
    // The months from March on begin behind 0, 31, 61, 92 … days: 979/32 a month, rounded down.
    const UInt32 dayOfYear = (979 * month - 2919) / 32 + date.day - 1;
    return static_cast<Int32>(year * 365 + year / 4 - year / 100 + year / 400 + dayOfYear) - daysTo1970;
}

/// From 0000-03-01 on, for 1.4 million years. Each division is by a constant or a multiplication.
constexpr CalendarDate GetDate(Int32 days) noexcept
{
    const UInt32 quarters = 4 * static_cast<UInt32>(days + daysTo1970) + 3;
    const UInt32 century = quarters / 146097;
    const UInt32 quartersOfCentury = quarters % 146097 | 3;
    // A division by 1461, days in four years, as fixed-point multiplication: above the point the year of the
    // century, below it the part of the year that is over.
    const UInt64 years = UInt64{2939745} * quartersOfCentury;
    const UInt32 dayOfYear = static_cast<UInt32>(years) / 2939745 / 4;
    // The same with months of 979/32 days, which is 65536 / 2141 here.
    const UInt32 months = 2141 * dayOfYear + 197913;
    const bool early = dayOfYear >= 306;
    return {100 * century + static_cast<UInt32>(years >> 32) + early, (months >> 16) - 12 * early,
            (months & 0xFFFF) / 2141 + 1};
}

/// 0 is Sunday.
constexpr UInt32 GetDayOfWeek(Int32 days) noexcept
{
    return static_cast<UInt32>(days + daysTo1970 + 3) % 7;
}

/// The record of a count of seconds since 1970; from 0000-03-01 on.
constexpr QVTimeRecord MakeRecord(Int64 seconds) noexcept
{
    constexpr Int64 shift = Int64{daysTo1970} * secondsPerDay;
    const UInt64 positive = static_cast<UInt64>(seconds + shift);
    const Int32 days = static_cast<Int32>(positive / secondsPerDay) - daysTo1970;
    const UInt32 time = static_cast<UInt32>(positive % secondsPerDay);
    const CalendarDate date = GetDate(days);
    return {static_cast<UInt16>(date.year),          static_cast<UInt16>(date.month),
            static_cast<UInt16>(GetDayOfWeek(days)), static_cast<UInt16>(date.day),
            static_cast<UInt16>(time / 3600),        static_cast<UInt16>(time / 60 % 60),
            static_cast<UInt16>(time % 60),          0};
}

/// Whether the record is a date and time of the calendar, in the years that the operating system knows.
constexpr bool IsSound(const QVTimeRecord& record) noexcept
{
    return record.year >= 1601 && record.year <= 30827 && record.month >= 1 && record.month <= 12 &&
           record.day >= 1 && record.day <= GetDaysInMonth(record.year, record.month) && record.hour < 24 &&
           record.minute < 60 && record.second < 60 && record.millisecond < 1000;
}

/// Whole seconds since 1970 of a sound record.
constexpr Int64 GetSeconds(const QVTimeRecord& record) noexcept
{
    return GetDays({record.year, record.month, record.day}) * secondsPerDay + record.hour * 3600 +
           record.minute * 60 + record.second;
}

} // namespace QV::Impl
