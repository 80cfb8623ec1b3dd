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
        UInt32 time = 0;
        for (UInt16 hour = 0; hour < 24; ++hour) {
            for (UInt16 minute = 0; minute < 60; ++minute) {
                for (UInt16 second = 0; second < 60; ++second, ++time) {
                    const QVTimeRecord record = MakeRecord(day * secondsPerDay + time);
                    ASSERT_TRUE(record.hour == hour && record.minute == minute && record.second == second);
                    ASSERT_TRUE(IsSound(record));
                    ASSERT_EQ(GetSeconds(record), day * secondsPerDay + time);
                }
            }
        }
    }
}

} // namespace QV::Impl
