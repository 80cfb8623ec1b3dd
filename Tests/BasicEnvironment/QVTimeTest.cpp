#include <QVRoot/BasicEnvironment/QVTime.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/String/UniString.hpp>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <string>

namespace QV {
namespace {

constexpr int lastTime = std::numeric_limits<int>::max();

/// The result and the time of a record in UTC; -1 stays where none is given.
std::pair<short, int> Convert(const QVTimeRecord& record)
{
    int time = -1;
    const short result = TIGetQVTime(&record, &time, TITimeInUTC);
    return {result, time};
}

constexpr std::pair<short, int> refused(ErrTimeConversion, -1);

} // namespace

TEST(QVTime, IsTheSystemsClock)
{
    const std::time_t before = std::time(nullptr);
    const int now = TIGetTime();
    EXPECT_GE(now, before - 1);
    EXPECT_LE(now, before + 2);
    EXPECT_LE(TIGetWinTime() - now, 1);
    int time = 0;
    EXPECT_EQ(TIGetQVTime(nullptr, &time, TIUseCurrentTime), NoError);
    EXPECT_LE(time - now, 1);
    QVTimeRecord record = {};
    EXPECT_EQ(TIGetTimeRecord(0, &record, TIUseCurrentTime | TITimeInUTC), NoError);
    EXPECT_EQ(TIGetQVTime(&record, &time, TITimeInUTC), NoError);
    EXPECT_LE(time - now, 2);
    EXPECT_GE(time - now, 0);
}

TEST(QVTime, ConvertsRecordsOfTheWholeRangeInUtc)
{
    EXPECT_EQ(Convert({1970, 1, 0, 1, 0, 0, 0, 0}), std::pair(short{0}, 0));
    EXPECT_EQ(Convert({1970, 1, 9, 1, 1, 0, 0, 999}),
              std::pair(short{0}, 3600)); // the weekday is not looked at
    EXPECT_EQ(Convert({2000, 2, 0, 29, 23, 59, 59, 0}), std::pair(short{0}, 951868799));
    EXPECT_EQ(Convert({2038, 1, 0, 19, 3, 14, 7, 999}), std::pair(short{0}, lastTime));
    for (const QVTimeRecord& record :
         {QVTimeRecord{2038, 1, 0, 19, 3, 14, 8, 0}, QVTimeRecord{2040, 1, 0, 1, 0, 0, 0, 0},
          QVTimeRecord{1969, 12, 0, 31, 23, 59, 59, 999}, QVTimeRecord{1601, 1, 0, 1, 0, 0, 0, 0},
          QVTimeRecord{30827, 12, 0, 31, 0, 0, 0, 0}, QVTimeRecord{65535, 1, 0, 1, 0, 0, 0, 0}}) {
        EXPECT_EQ(Convert(record), refused) << record.year;
    }
    for (const QVTimeRecord& record :
         {QVTimeRecord{2000, 0, 0, 1, 0, 0, 0, 0}, QVTimeRecord{2000, 13, 0, 1, 0, 0, 0, 0},
          QVTimeRecord{2000, 1, 0, 0, 0, 0, 0, 0}, QVTimeRecord{2000, 1, 0, 32, 0, 0, 0, 0},
          QVTimeRecord{2001, 2, 0, 29, 0, 0, 0, 0}, QVTimeRecord{2000, 4, 0, 31, 0, 0, 0, 0},
          QVTimeRecord{2000, 1, 0, 1, 24, 0, 0, 0}, QVTimeRecord{2000, 1, 0, 1, 0, 60, 0, 0},
          QVTimeRecord{2000, 1, 0, 1, 0, 0, 60, 0}, QVTimeRecord{2000, 1, 0, 1, 0, 0, 0, 1000}}) {
        EXPECT_EQ(Convert(record), refused) << record.month << ' ' << record.day;
    }
}

TEST(QVTime, MakesRecordsOfEveryTime)
{
    const std::pair<int, QVTimeRecord> cases[] = {
        {0, {1970, 1, 4, 1, 0, 0, 0, 0}},
        {-1, {1969, 12, 3, 31, 23, 59, 59, 0}},
        {951868799, {2000, 2, 2, 29, 23, 59, 59, 0}},
        {lastTime, {2038, 1, 2, 19, 3, 14, 7, 0}},
        {std::numeric_limits<int>::min(), {1901, 12, 5, 13, 20, 45, 52, 0}}};
    for (const auto& [time, expected] : cases) {
        QVTimeRecord record;
        EXPECT_EQ(TIGetTimeRecord(time, &record, TITimeInUTC), NoError);
        EXPECT_EQ(std::memcmp(&record, &expected, sizeof(record)), 0) << time;
    }
}

TEST(QVTime, GoesToLocalTimeAndBack)
{
    // Whatever the zone: of two equal local times the first is meant, and offsets are less than a day or so.
    for (Int64 time = 86400; time < lastTime - 2 * 86400; time += 86400 * 5 + 3607) {
        QVTimeRecord record;
        ASSERT_EQ(TIGetTimeRecord(static_cast<int>(time), &record, 0), NoError);
        int back = 0;
        ASSERT_EQ(TIGetQVTime(&record, &back, 0), NoError);
        ASSERT_TRUE(back == time || (back < time && time - back <= 7200)) << time << ' ' << back;
        ASSERT_EQ(TIGetQVTime(&record, &back, TITimeInUTC), NoError);
        ASSERT_LE(std::abs(back - time), 26 * 3600);
    }
}

TEST(QVTime, KeepsTheFormOf1904)
{
    unsigned int mac = 0;
    ASSERT_EQ(TIQV2MacTime(0, &mac), NoError);
    const Int64 offset = mac;
    EXPECT_LE(std::abs(offset - 2082844799), 27 * 3600);
    EXPECT_EQ((offset - 2082844799) % 60, 0);
    int time = -1;
    for (const int value : {0, 1, -1, 1000000000, -1000000000, lastTime - 1, lastTime}) {
        ASSERT_EQ(TIQV2MacTime(value, &mac), NoError);
        EXPECT_EQ(mac, value + offset);
        ASSERT_EQ(TIMac2QVTime(mac, &time), NoError);
        EXPECT_EQ(time, value);
    }
    EXPECT_EQ(TIMac2QVTime(0xFFFFFFFF, &time), ErrTimeConversion);
    EXPECT_EQ(TIQV2MacTime(std::numeric_limits<int>::min(), &mac), ErrTimeConversion);
    EXPECT_EQ(time, lastTime);
    EXPECT_EQ(mac, lastTime + offset);
    EXPECT_LE(TIGetMacTime() - (TIGetTime() + offset), 1);
}

TEST(QVTime, AnswersNullPointers)
{
    int time = 5;
    const QVTimeRecord record = {2000, 1, 0, 1, 0, 0, 0, 0};
    EXPECT_EQ(TIQV2WinTime(7, nullptr), ErrParam);
    EXPECT_EQ(TIWin2QVTime(7, nullptr), ErrParam);
    EXPECT_EQ(TIQV2MacTime(7, nullptr), ErrParam);
    EXPECT_EQ(TIMac2QVTime(7, nullptr), ErrParam);
    EXPECT_EQ(TIGetQVTime(&record, nullptr, TITimeInUTC), ErrParam);
    EXPECT_EQ(TIGetQVTime(nullptr, &time, TITimeInUTC), ErrParam);
    EXPECT_EQ(TIGetTimeRecord(7, nullptr, 0), ErrParam);
    EXPECT_EQ(time, 5);
    EXPECT_EQ(TIQV2WinTime(-7, &time), NoError);
    EXPECT_EQ(time, -7);
    EXPECT_EQ(TIWin2QVTime(8, &time), NoError);
    EXPECT_EQ(time, 8);
}

TEST(QVTime, WritesIsoText)
{
    EXPECT_EQ(TIGetISO8601TimeString(0, true), UniString("1970-01-01T00:00:00"));
    EXPECT_EQ(TIGetISO8601TimeString(lastTime, true), UniString("2038-01-19T03:14:07"));
    EXPECT_EQ(TIGetISO8601TimeString(-1, true), UniString("1969-12-31T23:59:59"));
    char text[TITimeTextSize];
    EXPECT_EQ(TIGetISO8601TimeString(951868799, text, true), 19);
    EXPECT_STREQ(text, "2000-02-29T23:59:59");
    EXPECT_EQ(TIGetISO8601TimeString(0, text, sizeof(text), true), 19);
    EXPECT_STREQ(text, "1970-01-01T00:00:00");
    EXPECT_EQ(TIGetISO8601TimeString(0, text, sizeof(text) - 1, true), 0);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(TIGetISO8601TimeString(0, nullptr, true), 0);
    EXPECT_EQ(TIGetISO8601TimeString(86399, text, 0, true), 0);
}

TEST(QVTime, WritesTheUsersFormats)
{
    const auto write = [](int time, unsigned int flags) {
        char text[500];
        const int length = TIGetTimeString(time, text, flags | TITextInUTC);
        EXPECT_EQ(static_cast<std::size_t>(length), std::strlen(text));
        EXPECT_EQ(TIGetTimeString(time, flags | TITextInUTC), UniString(text));
        return std::string(text);
    };
    constexpr int afternoon = 951868799; // 2000-02-29 23:59:59
    const std::string date = write(afternoon, TITextOmitTime);
    const std::string time = write(afternoon, TITextOmitDate);
    EXPECT_NE(date.find("29"), std::string::npos) << date;
    EXPECT_NE(time.find("59"), std::string::npos) << time;
    EXPECT_EQ(write(afternoon, 0), date + " " + time);
    EXPECT_EQ(write(afternoon, TITextShortDate | TITextOmitTime), date);
    EXPECT_GT(write(afternoon, TITextLongDate | TITextOmitTime).size(), date.size());
    EXPECT_EQ(write(afternoon, TITextOmitDate | TITextNoSeconds).size() + 3, time.size());
    EXPECT_EQ(write(afternoon, TITextOmitDate | TITextForce24Hours | TITextNoSeconds).substr(0, 2), "23");
    EXPECT_EQ(write(afternoon, TITextOmitDate | TITextOmitTime), "");
    char text[8];
    EXPECT_EQ(TIGetTimeString(0, text, sizeof(text), TITextInUTC | TITextLongDate), 0);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(TIGetTimeString(0, nullptr, 0), 0);
}

} // namespace QV
