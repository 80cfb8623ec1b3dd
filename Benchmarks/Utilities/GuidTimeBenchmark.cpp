// Identifiers and times against those that a program would take instead.
#include <QVRoot/BasicEnvironment/QVTime.hpp>
#include <QVRoot/Utilities/Guid.hpp>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <functional>
#include <random>
#include <string>
#include <vector>

#ifdef QV_PEER_LIBUUID
#include <uuid/uuid.h>
#endif
#ifdef QV_PEER_BOOST_UUID
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_hash.hpp>
#include <boost/uuid/uuid_io.hpp>
#endif
#ifdef QV_PEER_QT
#include <QDateTime>
#include <QHash>
#include <QUuid>
#endif
#ifdef QV_PEER_ABSL_TIME
#include <absl/time/civil_time.h>
#include <absl/time/clock.h>
#include <absl/time/time.h>
#endif

namespace {

// What a workload needs of an identifier. A text is 36 characters in a buffer.
struct QVTraits {
    using Value = QV::Guid;
    static void Generate(Value& value) { value.Generate(); }
    static bool Parse(const char* text, Value& value) { return value.ConvertFromString(text) == QV::NoError; }
    static void Print(const Value& value, char* text) { value.ConvertToString(text); }
    static std::size_t Hash(const Value& value) { return value.GetHashValue(); }
    static bool IsLess(const Value& a, const Value& b) { return a < b; }
};

#ifdef QV_PEER_LIBUUID
struct LibuuidTraits {
    struct Value {
        uuid_t bytes;
    };
    static void Generate(Value& value) { uuid_generate_random(value.bytes); }
    static bool Parse(const char* text, Value& value) { return uuid_parse(text, value.bytes) == 0; }
    static void Print(const Value& value, char* text) { uuid_unparse_upper(value.bytes, text); }
    static bool IsLess(const Value& a, const Value& b) { return uuid_compare(a.bytes, b.bytes) < 0; }
};
#endif

#ifdef QV_PEER_BOOST_UUID
struct BoostTraits {
    using Value = boost::uuids::uuid;
    static void Generate(Value& value)
    {
        static boost::uuids::random_generator generator;
        value = generator();
    }
    static bool Parse(const char* text, Value& value)
    {
        value = boost::uuids::string_generator()(text);
        return true;
    }
    static void Print(const Value& value, char* text) { std::memcpy(text, to_string(value).data(), 36); }
    static std::size_t Hash(const Value& value) { return hash_value(value); }
    static bool IsLess(const Value& a, const Value& b) { return a < b; }
};
#endif

#ifdef QV_PEER_QT
struct QtTraits {
    using Value = QUuid;
    static void Generate(Value& value) { value = QUuid::createUuid(); }
    static bool Parse(const char* text, Value& value)
    {
        value = QUuid::fromString(QLatin1StringView(text, 36));
        return !value.isNull();
    }
    static void Print(const Value& value, char* text)
    {
        const QByteArray bytes = value.toByteArray(QUuid::WithoutBraces);
        std::memcpy(text, bytes.constData(), 36);
    }
    static std::size_t Hash(const Value& value) { return qHash(value); }
    static bool IsLess(const Value& a, const Value& b) { return a < b; }
};
#endif

constexpr std::size_t count = 1024;

/// Different identifiers, so that no branch is learned.
template <class Traits>
const std::vector<typename Traits::Value>& GetValues()
{
    static const std::vector<typename Traits::Value> values = [] {
        std::vector<typename Traits::Value> made(count);
        for (auto& value : made) {
            Traits::Generate(value);
        }
        return made;
    }();
    return values;
}

template <class Traits>
void Generate(benchmark::State& state)
{
    typename Traits::Value value{};
    for (auto _ : state) {
        Traits::Generate(value);
        benchmark::DoNotOptimize(value);
    }
}

template <class Traits>
void Parse(benchmark::State& state)
{
    std::vector<std::array<char, 40>> texts(count);
    for (std::size_t i = 0; i < count; ++i) {
        Traits::Print(GetValues<Traits>()[i], texts[i].data());
    }
    typename Traits::Value value{};
    std::size_t i = 0;
    for (auto _ : state) {
        if (!Traits::Parse(texts[i++ % count].data(), value)) {
            state.SkipWithError("the text is refused");
        }
        benchmark::DoNotOptimize(value);
    }
}

template <class Traits>
void Print(benchmark::State& state)
{
    const auto& values = GetValues<Traits>();
    char text[40];
    std::size_t i = 0;
    for (auto _ : state) {
        Traits::Print(values[i++ % count], text);
        benchmark::DoNotOptimize(text);
    }
}

template <class Traits>
void Hash(benchmark::State& state)
{
    const auto& values = GetValues<Traits>();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Traits::Hash(values[i++ % count]));
    }
}

template <class Traits>
void Compare(benchmark::State& state)
{
    const auto& values = GetValues<Traits>();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Traits::IsLess(values[i % count], values[(i + 1) % count]));
        ++i;
    }
}

template <class Traits>
void RegisterGuid(const std::string& name)
{
    benchmark::RegisterBenchmark(("GuidGenerate/" + name).c_str(), Generate<Traits>);
    benchmark::RegisterBenchmark(("GuidParse/" + name).c_str(), Parse<Traits>);
    benchmark::RegisterBenchmark(("GuidPrint/" + name).c_str(), Print<Traits>);
    benchmark::RegisterBenchmark(("GuidCompare/" + name).c_str(), Compare<Traits>);
    if constexpr (requires(typename Traits::Value value) { Traits::Hash(value); }) {
        benchmark::RegisterBenchmark(("GuidHash/" + name).c_str(), Hash<Traits>);
    }
}

/// Calls a function with times all over the range.
template <class Function>
void RegisterTime(const std::string& name, Function function)
{
    benchmark::RegisterBenchmark(name.c_str(), [function](benchmark::State& state) {
        std::uint32_t time = 1000000000;
        for (auto _ : state) {
            time = (time + 86399 * 7) & 0x7FFFFFFF;
            function(static_cast<int>(time));
        }
    });
}

/// Texts, records and back, in UTC and, by the peers' own current zone, in local time.
void RegisterTimes()
{
    for (const bool utc : {true, false}) {
        const std::string where = utc ? "Utc" : "Local";
        RegisterTime("IsoText" + where + "/QV", [utc](int time) {
            char text[40];
            benchmark::DoNotOptimize(QV::TIGetISO8601TimeString(time, text, sizeof(text), utc));
            benchmark::DoNotOptimize(text);
        });
        RegisterTime("IsoText" + where + "/strftime", [utc](int seconds) {
            const std::time_t time = seconds;
            std::tm record;
            char text[40];
            utc ? gmtime_r(&time, &record) : localtime_r(&time, &record);
            benchmark::DoNotOptimize(std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &record));
            benchmark::DoNotOptimize(text);
        });
        RegisterTime("TimeToRecord" + where + "/QV", [utc](int time) {
            QV::QVTimeRecord record;
            QV::TIGetTimeRecord(time, &record, utc * QV::TITimeInUTC);
            benchmark::DoNotOptimize(record);
        });
        RegisterTime("TimeToRecord" + where + "/libc", [utc](int seconds) {
            const std::time_t time = seconds;
            std::tm record;
            utc ? gmtime_r(&time, &record) : localtime_r(&time, &record);
            benchmark::DoNotOptimize(record);
        });
#ifdef QV_PEER_ABSL_TIME
        RegisterTime("IsoText" + where + "/absl", [utc](int time) {
            const absl::TimeZone zone = utc ? absl::UTCTimeZone() : absl::LocalTimeZone();
            benchmark::DoNotOptimize(
                absl::FormatTime("%Y-%m-%dT%H:%M:%S", absl::FromUnixSeconds(time), zone));
        });
        RegisterTime("TimeToRecord" + where + "/absl", [utc](int time) {
            const absl::TimeZone zone = utc ? absl::UTCTimeZone() : absl::LocalTimeZone();
            benchmark::DoNotOptimize(absl::ToCivilSecond(absl::FromUnixSeconds(time), zone));
        });
#endif
#ifdef QV_PEER_QT
        RegisterTime("IsoText" + where + "/Qt", [utc](int time) {
            benchmark::DoNotOptimize(
                QDateTime::fromSecsSinceEpoch(time, utc ? Qt::UTC : Qt::LocalTime).toString(Qt::ISODate));
        });
#endif
    }
}

void RegisterRecords()
{
    RegisterTime("RecordToTimeLocal/QV", [](int seed) {
        const QV::QVTimeRecord record = {static_cast<QV::UInt16>(1971 + seed % 60),
                                         static_cast<QV::UInt16>(1 + seed % 12),
                                         0,
                                         5,
                                         12,
                                         1,
                                         2,
                                         0};
        int time = 0;
        QV::TIGetQVTime(&record, &time, 0);
        benchmark::DoNotOptimize(time);
    });
    RegisterTime("RecordToTimeLocal/libc", [](int seed) {
        std::tm record = {};
        record.tm_year = 71 + seed % 60;
        record.tm_mon = seed % 12;
        record.tm_mday = 5;
        record.tm_hour = 12;
        record.tm_isdst = -1;
        benchmark::DoNotOptimize(std::mktime(&record));
    });
    RegisterTime("CurrentTime/QV", [](int) { benchmark::DoNotOptimize(QV::TIGetTime()); });
    RegisterTime("CurrentTime/time", [](int) { benchmark::DoNotOptimize(std::time(nullptr)); });
#ifdef QV_PEER_ABSL_TIME
    RegisterTime("RecordToTimeLocal/absl", [](int seed) {
        const absl::CivilSecond record(1971 + seed % 60, 1 + seed % 12, 5, 12, 1, 2);
        benchmark::DoNotOptimize(absl::FromCivil(record, absl::LocalTimeZone()));
    });
    RegisterTime("CurrentTime/absl", [](int) { benchmark::DoNotOptimize(absl::Now()); });
#endif
}

const bool registered = [] {
    RegisterGuid<QVTraits>("QV");
#ifdef QV_PEER_LIBUUID
    RegisterGuid<LibuuidTraits>("libuuid");
#endif
#ifdef QV_PEER_BOOST_UUID
    RegisterGuid<BoostTraits>("Boost");
#endif
#ifdef QV_PEER_QT
    RegisterGuid<QtTraits>("Qt");
#endif
    RegisterTimes();
    RegisterRecords();
    return true;
}();

} // namespace
