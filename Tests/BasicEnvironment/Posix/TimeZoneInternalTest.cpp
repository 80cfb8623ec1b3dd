#include <QVRoot/BasicEnvironment/CalendarImpl.hpp>
#include <QVRoot/BasicEnvironment/ZoneDataPosixImpl.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/String/UniString.hpp>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace QV::Impl {
namespace {

/// A zone by its value of TZ, the current one while it lives.
class CurrentZone {
public:
    explicit CurrentZone(const char* name) : table_(new ZoneTable)
    {
        ZoneSource source;
        DescribeZoneSource(name, source);
        isLoaded_ = LoadZone(source, *table_);
        table_->MakeIndex();
        OverrideCurrentZone(table_.get());
    }
    ~CurrentZone() { OverrideCurrentZone(nullptr); }

    bool IsLoaded() const { return isLoaded_; }
    const ZoneTable& GetTable() const { return *table_; }

private:
    std::unique_ptr<ZoneTable> table_;
    bool isLoaded_;
};

std::string ToLocal(int time)
{
    char text[TITimeTextSize];
    EXPECT_EQ(TIGetISO8601TimeString(time, text, false), 19);
    return text;
}

/// "yyyy-MM-ddTHH:mm:ss" as a local time, in UTC.
std::string ToUtc(const std::string& text)
{
    QVTimeRecord record = {};
    std::sscanf(text.c_str(), "%hu-%hu-%huT%hu:%hu:%hu", &record.year, &record.month, &record.day,
                &record.hour, &record.minute, &record.second);
    int time = -1;
    EXPECT_EQ(TIGetQVTime(&record, &time, 0), NoError) << text;
    char utc[TITimeTextSize];
    TIGetISO8601TimeString(time, utc, true);
    return utc;
}

int At(const QVTimeRecord& utc)
{
    return static_cast<int>(GetSeconds(utc));
}

bool HasZoneFiles()
{
    return std::filesystem::exists("/usr/share/zoneinfo/Europe/Berlin");
}

} // namespace

TEST(TimeZone, FollowsRulesAcrossTheirEdges)
{
    const CurrentZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    ASSERT_TRUE(zone.IsLoaded());
    EXPECT_EQ(ToLocal(At({2024, 3, 0, 31, 0, 59, 59, 0})), "2024-03-31T01:59:59");
    EXPECT_EQ(ToLocal(At({2024, 3, 0, 31, 1, 0, 0, 0})), "2024-03-31T03:00:00");
    EXPECT_EQ(ToLocal(At({2024, 10, 0, 27, 0, 59, 59, 0})), "2024-10-27T02:59:59");
    EXPECT_EQ(ToLocal(At({2024, 10, 0, 27, 1, 0, 0, 0})), "2024-10-27T02:00:00");
    EXPECT_EQ(ToLocal(0), "1970-01-01T01:00:00");
    // The gap, the hour that there is twice, and the seconds around them.
    EXPECT_EQ(ToUtc("2024-03-31T01:59:59"), "2024-03-31T00:59:59");
    EXPECT_EQ(ToUtc("2024-03-31T02:30:00"), "2024-03-31T00:30:00");
    EXPECT_EQ(ToUtc("2024-03-31T03:00:00"), "2024-03-31T01:00:00");
    EXPECT_EQ(ToUtc("2024-10-27T02:00:00"), "2024-10-27T00:00:00");
    EXPECT_EQ(ToUtc("2024-10-27T02:59:59"), "2024-10-27T00:59:59");
    EXPECT_EQ(ToUtc("2024-10-27T03:00:00"), "2024-10-27T02:00:00");
    // A local time in the range whose UTC is not, and the other way round.
    const QVTimeRecord early = {1970, 1, 0, 1, 0, 30, 0, 0};
    const QVTimeRecord late = {2038, 1, 0, 19, 4, 14, 7, 0};
    int time = -1;
    EXPECT_EQ(TIGetQVTime(&early, &time, 0), ErrTimeConversion);
    EXPECT_EQ(TIGetQVTime(&late, &time, 0), NoError);
    EXPECT_EQ(time, std::numeric_limits<int>::max());
}

TEST(TimeZone, HasTheSameRulesOnAllThreads)
{
    // Threads that meet at the first look may each make a table.
    const ZoneTable* found[4] = {};
    std::vector<std::thread> threads;
    for (const ZoneTable*& zone : found) {
        threads.emplace_back([&zone] { zone = GetCurrentZone(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const ZoneTable* const zone : found) {
        ASSERT_NE(zone, nullptr);
        EXPECT_EQ(zone->GetOffset(0), GetCurrentZone()->GetOffset(0));
    }
}

TEST(TimeZone, GivesTheBiasesOfTheYear)
{
    const auto expect = [](const char* name, const QVTimeRecord& now, Int32 bias, Int32 daylightBias) {
        const CurrentZone zone(name);
        ASSERT_TRUE(zone.IsLoaded()) << name;
        const ZoneBias found = zone.GetTable().GetBias(GetSeconds(now));
        EXPECT_EQ(found.bias, bias) << name;
        EXPECT_EQ(found.standardBias, 0) << name;
        EXPECT_EQ(found.daylightBias, daylightBias) << name;
    };
    const QVTimeRecord summer = {2024, 7, 0, 1, 0, 0, 0, 0};
    const QVTimeRecord winter = {2024, 12, 0, 31, 0, 0, 0, 0};
    for (const QVTimeRecord& now : {summer, winter}) {
        expect("CET-1CEST,M3.5.0,M10.5.0/3", now, -60, -60);
        expect("<-03>3<-02>,M10.3.0/0,M2.3.0/0", now, 180, -60);
        expect("<+1030>-10:30<+11>-11,M10.1.0,M4.1.0", now, -630, -30);
        expect("<+0545>-5:45", now, -345, 0);
    }
    const CurrentZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    unsigned int mac = 0;
    ASSERT_EQ(TIQV2MacTime(0, &mac), NoError);
    EXPECT_EQ(mac, 2082844799u + 7200);
}

TEST(TimeZone, ReadsRulesInEveryForm)
{
    const auto getOffset = [](const char* text, const QVTimeRecord& utc) {
        const CurrentZone zone(text);
        EXPECT_TRUE(zone.IsLoaded()) << text;
        return zone.GetTable().GetOffset(GetSeconds(utc));
    };
    // Days by number with and without the leap day, 29 February in a leap year.
    EXPECT_EQ(getOffset("AAA0BBB,59/0,60/0", {2024, 2, 0, 29, 12, 0, 0, 0}), 3600);
    EXPECT_EQ(getOffset("AAA0BBB,J60/0,J61/0", {2024, 2, 0, 29, 12, 0, 0, 0}), 0);
    EXPECT_EQ(getOffset("AAA0BBB,J60/0,J61/0", {2024, 3, 0, 1, 12, 0, 0, 0}), 3600);
    EXPECT_EQ(getOffset("AAA0BBB,J60/0,J61/0", {2023, 3, 0, 1, 12, 0, 0, 0}), 3600);
    // Times before midnight and days later; an offset of their own; the rules of the C library.
    EXPECT_EQ(getOffset("<-02>2<-01>,M3.5.0/-1,M10.5.0/0", {2024, 3, 0, 31, 0, 59, 59, 0}), -7200);
    EXPECT_EQ(getOffset("<-02>2<-01>,M3.5.0/-1,M10.5.0/0", {2024, 3, 0, 31, 1, 0, 0, 0}), -3600);
    EXPECT_EQ(getOffset("IST-2IDT,M3.4.4/26,M10.5.0", {2024, 3, 0, 29, 0, 0, 0, 0}), 3 * 3600);
    EXPECT_EQ(getOffset("AAA-1:02:03", {2024, 1, 0, 1, 0, 0, 0, 0}), 3723);
    EXPECT_EQ(getOffset("XXX5YYY", {2024, 7, 0, 1, 0, 0, 0, 0}), -4 * 3600);
    // Summer time all the year, and winter time that counts as the daylight one.
    EXPECT_EQ(getOffset("XXX3EDT4,0/0,J365/23", {2024, 1, 0, 1, 12, 0, 0, 0}), -4 * 3600);
    EXPECT_EQ(getOffset("IST-1GMT0,M10.5.0,M3.5.0/1", {2024, 7, 0, 1, 0, 0, 0, 0}), 3600);
    EXPECT_EQ(getOffset("IST-1GMT0,M10.5.0,M3.5.0/1", {2024, 12, 0, 1, 0, 0, 0, 0}), 0);
    EXPECT_EQ(getOffset("", {2024, 7, 0, 1, 0, 0, 0, 0}), 0);
    EXPECT_EQ(getOffset(":UTC", {2024, 7, 0, 1, 0, 0, 0, 0}), 0);
}

TEST(TimeZone, HasNoInformationFromBrokenSources)
{
    const std::string tooLong(600, 'A');
    for (const char* text :
         {"Nowhere/Atlantis", "AB1", "ABC", "ABC-25", "ABC1DEF,M13.1.0,M10.1.0", "ABC1DEF,M3.6.0,M10.1.0",
          "ABC1DEF,M3.1.0", "ABC1DEF,M3.1.0,M10.1.0x", "ABC1DEF,J0,J365", "<ABC1", "<AB>1", "ABC1:60",
          "ABC1DEF,M3.1.0/168,M10.1.0", "/", "/proc", "/proc/version", tooLong.c_str()}) {
        EXPECT_FALSE(CurrentZone(text).IsLoaded()) << text;
    }
}

TEST(TimeZone, SurvivesDamagedFiles)
{
    if (!HasZoneFiles()) {
        GTEST_SKIP() << "no zone files on this computer";
    }
    std::ifstream file("/usr/share/zoneinfo/Europe/Berlin", std::ios::binary);
    const std::string sound((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const auto table = std::make_unique<ZoneTable>();
    ASSERT_TRUE(ParseZoneFile(sound.data(), sound.size(), *table));
    for (std::size_t size = 0; size < sound.size(); ++size) {
        const std::unique_ptr<char[]> cut(new char[size]);
        std::copy_n(sound.data(), size, cut.get());
        EXPECT_FALSE(ParseZoneFile(cut.get(), size, *table)) << size;
    }
    std::mt19937 random(4);
    for (int i = 0; i < 20000; ++i) {
        const std::unique_ptr<char[]> damaged(new char[sound.size()]);
        std::copy(sound.begin(), sound.end(), damaged.get());
        for (int j = 0; j < 3; ++j) {
            damaged[random() % (j == 0 ? 60 : sound.size())] = static_cast<char>(random());
        }
        if (ParseZoneFile(damaged.get(), sound.size(), *table)) {
            table->MakeIndex();
            const Int64 time = static_cast<Int32>(random());
            EXPECT_LT(std::abs(table->GetOffset(time)), ZoneTable::OffsetLimit);
            EXPECT_LT(std::abs(table->GetOffsetOfLocal(time)), ZoneTable::OffsetLimit);
        }
    }
}

namespace {

/// The first time at which the C library has another offset, 0 when it agrees. To be called in a process of
/// its own, for the environment is changed.
Int64 FindDifference(const char* name)
{
    setenv("TZ", name, 1);
    tzset();
    const CurrentZone zone(name);
    // Before 1970 the C library does not follow rules in a text.
    const UInt32 mask = std::strchr(name, '/') != nullptr ? 0xFFFFFFFF : 0x7FFFFFFF;
    std::mt19937 random(5);
    for (int i = 0; i < 20000 && zone.IsLoaded(); ++i) {
        const std::time_t time = static_cast<Int32>(random() & mask);
        std::tm local = {};
        localtime_r(&time, &local);
        if (zone.GetTable().GetOffset(time) != local.tm_gmtoff ||
            zone.GetTable().IsDaylight(time) != local.tm_isdst) {
            return time;
        }
    }
    return zone.IsLoaded() ? 0 : 1;
}

} // namespace

TEST(TimeZone, AgreesWithTheCLibrary)
{
    if (!HasZoneFiles()) {
        GTEST_SKIP() << "no zone files on this computer";
    }
    for (const char* name :
         {"Europe/Berlin", "Europe/Dublin", "America/New_York", "America/St_Johns", "Australia/Lord_Howe",
          "Asia/Kathmandu", "Africa/Casablanca", "Pacific/Apia", "Asia/Kolkata", "America/Sao_Paulo",
          "Europe/Moscow", "EST5EDT4,M3.2.0,M11.1.0"}) {
        const pid_t child = fork();
        if (child == 0) {
            const Int64 difference = FindDifference(name);
            if (difference != 0) {
                std::fprintf(stderr, "%s at %lld\n", name, difference);
            }
            _exit(difference == 0 ? 0 : 1);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0) << name;
    }
}

namespace {

/// In a process of its own: nothing local can be said.
[[noreturn]] void LoseTheZone()
{
    setenv("TZ", "Nowhere/Atlantis", 1);
    QVTimeRecord record = {2000, 1, 0, 1, 0, 0, 0, 0};
    int time = 7;
    unsigned int mac = 7;
    char text[TITimeTextSize];
    bool good = TIGetQVTime(&record, &time, 0) == ErrTimeConversion && time == 7 &&
                TIQV2MacTime(0, &mac) == ErrTimeConversion && mac == 7 && TIGetMacTime() == 0 &&
                TIGetTimeRecord(0, &record, 0) == ErrTimeConversion && record.year == 0 &&
                TIGetISO8601TimeString(0, text, false) == 14 && std::string(text) == "**** ???? ****" &&
                TIGetTimeRecord(0, &record, TITimeInUTC) == NoError;
    try {
        TIGetISO8601TimeString(0, false);
        good = false;
    } catch (const PreconditionException& e) {
        good = good && std::string(e.GetFileName()) == "BasicEnvironment/QVTimeImpWin";
    }
    std::exit(good ? 0 : 1);
}

} // namespace

TEST(TimeZoneDeathTest, SaysNothingWithoutInformation)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe"; // where no zone is known yet
    EXPECT_EXIT(LoseTheZone(), testing::ExitedWithCode(0), "");
}

} // namespace QV::Impl
