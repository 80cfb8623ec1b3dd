#include <QVRoot/BasicEnvironment/CalendarImpl.hpp>

#include <gtest/gtest.h>

namespace QV::Impl {

TEST(Calendar, CountsEveryDayAsAHandDoes)
{
    constexpr UInt32 lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    // 1601-01-01 was a Monday.
    Int32 days = -134774;
    UInt32 weekday = 1;
    for (UInt32 year = 1601; year <= 30827; ++year) {
        const bool isLeapYear = year % 400 == 0 || (year % 4 == 0 && year % 100 != 0);
        for (UInt32 month = 1; month <= 12; ++month) {
            const UInt32 length = lengths[month - 1] + (month == 2 && isLeapYear);
            ASSERT_EQ(GetDaysInMonth(year, month), length);
            for (UInt32 day = 1; day <= length; ++day, ++days, weekday = (weekday + 1) % 7) {
                const CalendarDate date = GetDate(days);
                ASSERT_TRUE(date.year == year && date.month == month && date.day == day)
                    << year << '-' << month << '-' << day;
                ASSERT_EQ(GetDays({year, month, day}), days);
                ASSERT_EQ(GetDayOfWeek(days), weekday);
            }
        }
    }
}

TEST(Calendar, SplitsADayIntoItsSeconds)
{
    for (const Int64 day : {-24856, -1, 0, 1, 24855}) {
        for (Int64 time = 0; time < secondsPerDay; ++time) {
            const QVTimeRecord record = MakeRecord(day * secondsPerDay + time);
            ASSERT_TRUE(IsSound(record)) << time;
            ASSERT_EQ(record.hour * 3600 + record.minute * 60 + record.second, time);
            ASSERT_EQ(GetSeconds(record), day * secondsPerDay + time);
        }
    }
}

} // namespace QV::Impl
