#include <QVRoot/BasicEnvironment/CalendarImpl.hpp>
#include <QVRoot/BasicEnvironment/ZoneRulesWinImpl.hpp>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>

namespace QV::Impl {
namespace {

constexpr WORD lastOfMonth = 5;

TIME_ZONE_INFORMATION MakeZone(LONG bias, LONG daylightBias, SYSTEMTIME toDaylight, SYSTEMTIME toStandard)
{
    TIME_ZONE_INFORMATION zone = {};
    zone.Bias = bias;
    zone.DaylightBias = daylightBias;
    zone.DaylightDate = toDaylight;
    zone.StandardDate = toStandard;
    return zone;
}

const TIME_ZONE_INFORMATION zones[] = {
    MakeZone(0, 0, {}, {}),
    MakeZone(-345, -60, {}, {}),
    MakeZone(-60, -60, {0, 3, 0, lastOfMonth, 2, 0, 0, 0}, {0, 10, 0, lastOfMonth, 3, 0, 0, 0}),
    MakeZone(300, -60, {0, 3, 0, 2, 2, 0, 0, 0}, {0, 11, 0, 1, 2, 0, 0, 0}),
    MakeZone(-630, -30, {0, 10, 0, 1, 2, 0, 0, 0}, {0, 4, 0, 1, 2, 0, 0, 0}),
};

/// The table of a zone whose rules are the same every year.
std::unique_ptr<ZoneTable> MakeTable(const TIME_ZONE_INFORMATION& zone)
{
    const YearlyRules rules = MakeYearlyRules(zone);
    auto table = std::make_unique<ZoneTable>(rules.standardOffset);
    for (UInt32 year = firstZoneYear; year <= lastZoneYear; ++year) {
        EXPECT_TRUE(rules.AppendYear(year, true, *table));
    }
    table->MakeIndex();
    return table;
}

Int64 GetSeconds(const SYSTEMTIME& time)
{
    QVTimeRecord record;
    std::memcpy(&record, &time, sizeof(record));
    return Impl::GetSeconds(record);
}

SYSTEMTIME ToSystemTime(Int64 time)
{
    const QVTimeRecord record = MakeRecord(time);
    SYSTEMTIME result;
    std::memcpy(&result, &record, sizeof(result));
    return result;
}

} // namespace

TEST(ZoneRules, AgreeWithTheSystem)
{
    std::mt19937 random(6);
    for (const TIME_ZONE_INFORMATION& zone : zones) {
        const std::unique_ptr<ZoneTable> table = MakeTable(zone);
        for (int i = 0; i < 20000; ++i) {
            // Half of the times within the hours around a change.
            Int64 time = 86400 * 3 + random() % 0x7FF00000u;
            if (i % 2 == 0) {
                const YearlyRules rules = MakeYearlyRules(zone);
                const YearlyChange& change = i % 4 == 0 ? rules.toDaylight : rules.toStandard;
                time =
                    rules.hasDaylight ? change.GetTime(1971 + random() % 66) + random() % 14400 - 7200 : time;
            }
            const SYSTEMTIME given = ToSystemTime(time);
            SYSTEMTIME local;
            SYSTEMTIME utc;
            ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(&zone, &given, &local));
            ASSERT_EQ(time + table->GetOffset(time), GetSeconds(local)) << zone.Bias << ' ' << time;
            ASSERT_TRUE(TzSpecificLocalTimeToSystemTime(&zone, &given, &utc));
            ASSERT_EQ(time - table->GetOffsetOfLocal(time), GetSeconds(utc)) << zone.Bias << ' ' << time;
        }
    }
}

TEST(ZoneRules, ChangeOnADateOfOneYearAndInTheLastMillisecond)
{
    const TIME_ZONE_INFORMATION zone =
        MakeZone(-60, -60, {2011, 3, 0, 27, 2, 0, 0, 0}, {2011, 12, 0, 31, 23, 59, 59, 999});
    const YearlyRules rules = MakeYearlyRules(zone);
    ZoneTable table(rules.standardOffset);
    EXPECT_TRUE(rules.AppendYear(2011, true, table));
    table.MakeIndex();
    const Int64 spring = GetSeconds(SYSTEMTIME{2011, 3, 0, 27, 1, 0, 0, 0});
    const Int64 newYear = GetSeconds(SYSTEMTIME{2011, 12, 0, 31, 22, 0, 0, 0});
    EXPECT_EQ(table.GetOffset(spring - 1), 3600);
    EXPECT_EQ(table.GetOffset(spring), 7200);
    EXPECT_EQ(table.GetOffset(newYear - 1), 7200);
    EXPECT_EQ(table.GetOffset(newYear), 3600);
}

TEST(ZoneRules, TheCurrentZoneIsLoadedWithItsHistory)
{
    ZoneSource source;
    GetZoneSource(source);
    const auto table = std::make_unique<ZoneTable>();
    EXPECT_TRUE(LoadZone(source, *table));
    ZoneSource again;
    GetZoneSource(again);
    EXPECT_EQ(std::memcmp(&source, &again, sizeof(source)), 0);
    EXPECT_NE(GetCurrentZone(), nullptr);
}

} // namespace QV::Impl
