#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/BasicEnvironment/ErrorStatus.hpp>
#include <QVRoot/Logging/Log.hpp>
#include <QVRoot/Logging/LogBlockControl.hpp>
#include <QVRoot/String/String.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Threading/Thread.hpp>
#include <Tests/Logging/LogTestTools.hpp>

#include <gtest/gtest.h>

namespace {

struct Layer {
    int number;
};

} // namespace

template <>
struct QV::LogArgument<Layer> : QV::LogArgumentAs<QV::Int32> {
    static QV::Int32 Get(const Layer& layer) { return layer.number; }
};

namespace QV {

using namespace Test;

namespace {

constinit LogCategory editing("test.editing");
constinit LogCategory drawing("test.drawing", LogLevel::Off);

/// The process-wide logger, started.
struct GlobalLog {
    GlobalLog() { logger.Start(control, channel); }
    ~GlobalLog() { logger.Stop(); }

    LogLineRead GetLast() const { return channel.Read().lines.back(); }

    LogChannel channel;
    LogTestControl control;
};

enum class Color : UInt8 { Red = 7 };

using LogFormat::Problem;

template <class... Types>
constexpr Problem CheckFormat(const char* format, Types... types)
{
    const LogParameter parameters[] = {{types, 0}..., {}};
    return LogFormat::Check(format, parameters, sizeof...(Types));
}

static_assert(CheckFormat("") == Problem::None);
static_assert(CheckFormat("{{{}}} {name:08x}", LogType::String, LogType::UInt32) == Problem::None);
static_assert(CheckFormat("{a:10.3e} {b:.0} {c:bool} {d:5}", LogType::Double, LogType::Float, LogType::Int16,
                          LogType::String) == Problem::None);
static_assert(CheckFormat("{a", LogType::Int32) == Problem::LoneBrace);
static_assert(CheckFormat("a}", LogType::Int32) == Problem::LoneBrace);
static_assert(CheckFormat("{2a}", LogType::Int32) == Problem::BadName);
static_assert(CheckFormat("{a b}", LogType::Int32) == Problem::BadName);
static_assert(CheckFormat("{{a}} {a} {ab} {a}", LogType::Int32, LogType::Int32, LogType::Int32) ==
              Problem::RepeatedName);
static_assert(CheckFormat("{a:100}", LogType::Int32) == Problem::BadStyle);
static_assert(CheckFormat("{a:.18}", LogType::Double) == Problem::BadStyle);
static_assert(CheckFormat("{a:q}", LogType::Int32) == Problem::BadStyle);
static_assert(CheckFormat("{a:.2}", LogType::Int32) == Problem::StyleDoesNotFit);
static_assert(CheckFormat("{a:x}", LogType::Double) == Problem::StyleDoesNotFit);
static_assert(CheckFormat("{a:05}", LogType::String) == Problem::StyleDoesNotFit);
static_assert(CheckFormat("{} {}", LogType::Int32) == Problem::TooFewParameters);
static_assert(CheckFormat("{}", LogType::Int32, LogType::Int32) == Problem::ParametersLeftOver);

} // namespace

TEST(Log, ALineHasItsPlaceLevelAndCategory)
{
    GlobalLog log;
    const int first = __LINE__ + 1;
    QV_LOG(Warning, editing, "no parameters");
    const LogLineRead line = log.GetLast();
    EXPECT_EQ(line.format, "no parameters");
    EXPECT_EQ(line.site1, "Tests/Logging/LogTest.cpp");
    EXPECT_EQ(line.number, first);
    EXPECT_EQ(line.site2, "warning|test.editing|TestBody");
}

TEST(Log, EveryKindOfArgumentArrives)
{
    GlobalLog log;
    const char* const null = nullptr;
    const std::string text = "standard";
    const UniString uni(u"\u00E9\U0001F600\xD800");
    QV_LOG(Info, editing, "{} {} {} {} {} {} {} {} {}", true, Int8{-1}, UInt8{200}, 'c', -5L, 6ULL,
           Color::Red, 1.5f, 2.5L);
    EXPECT_EQ(log.GetLast().values,
              (std::vector<std::string>{"1", "-1", "200", "c", "-5", "6", "7", "1.500000", "2.500000"}));
    QV_LOG(Info, editing, "{} {} {} {} {} {}", "literal", null, text, std::string_view("view"), String("own"),
           uni);
    EXPECT_EQ(log.GetLast().values, (std::vector<std::string>{"literal", "", "standard", "view", "own",
                                                              "\xC3\xA9\xF0\x9F\x98\x80\xEF\xBF\xBD"}));
    QV_LOG(Info, editing, "{} {} {} {:x}", LogDate{3}, LogTime{4}, Layer{9}, &text);
    EXPECT_EQ(log.GetLast().values,
              (std::vector<std::string>{"3", "4", "9", std::to_string(reinterpret_cast<UInt64>(&text))}));
    const Guid id("00112233-4455-6677-8899-AABBCCDDEEFF");
    for (int i = 0; i < 2; ++i) {
        QV_LOG(Info, editing, "{} {} {} {}", LogRepeated("literal"), LogRepeated(uni), LogRepeated(id), id);
    }
    const LogLineRead repeated = log.GetLast();
    EXPECT_EQ(repeated.size, 1u + 3 + 16);
    EXPECT_EQ(repeated.values[0], "literal");
    EXPECT_EQ(repeated.values[1], "\xC3\xA9\xF0\x9F\x98\x80\xEF\xBF\xBD");
    EXPECT_EQ(repeated.values[2], repeated.values[3]);
}

TEST(Log, LevelsDecideWhatIsLogged)
{
    GlobalLog log;
    int evaluated = 0;
    const auto logAll = [&] {
        QV_LOG(Debug, editing, "debug {}", ++evaluated);
        QV_LOG(Fatal, drawing, "fatal {}", ++evaluated);
    };
    logAll(); // the first time shows what the levels are; nothing has been asked before
    EXPECT_TRUE(log.channel.Read().lines.empty());
    evaluated = 0;
    logAll();
    EXPECT_EQ(evaluated, 0);
    editing.SetLevel(LogLevel::Debug);
    logAll();
    EXPECT_EQ(evaluated, 1);
    EXPECT_GE(LogCategory::SetLevels("test.", LogLevel::Fatal), 2u);
    logAll();
    EXPECT_EQ(evaluated, 2);
    EXPECT_EQ(editing.GetLevel(), LogLevel::Fatal);
    EXPECT_EQ(log.channel.Read().lines.size(), 2u);
    LogCategory::SetLevels("test.", LogLevel::Info);
    drawing.SetLevel(LogLevel::Off);
    EXPECT_EQ(ParseLogLevel("warning"), LogLevel::Warning);
    EXPECT_EQ(ParseLogLevel("Warning"), LogLevel::None);
    char word[8];
    DBGetText("QVRoot\\Logging\\Levels", "test.chosen", word, sizeof(word), "info");
    EXPECT_EQ(LogCategory("test.chosen").GetLevel(), ParseLogLevel(word));
}

TEST(Log, AnEntryIsOneWithItsData)
{
    GlobalLog log;
    int writes = 0;
    log.channel.onWrite = [&] { ++writes; };
    {
        QV_LOG_ENTRY(entry, Info, editing, "saving {count} layers", 100);
        for (int i = 0; i < 100; ++i) {
            QV_LOG_DATA(entry, "layer {name}: {bytes} bytes", "the name of layer " + std::to_string(i), i);
        }
        EXPECT_EQ(writes, 0);
        QV_LOG_ENTRY(none, Trace, editing, "not logged {}", 1);
        EXPECT_FALSE(none);
        QV_LOG_DATA(none, "nor this");
    }
    EXPECT_EQ(writes, 1);
    const LogRead read = log.channel.Read();
    ASSERT_EQ(read.lines.size(), 101u);
    EXPECT_FALSE(read.lines[0].IsData());
    EXPECT_EQ(read.lines[100].site2, "data|test.editing|TestBody");
    EXPECT_EQ(read.lines[100].values, (std::vector<std::string>{"the name of layer 99", "99"}));
    EXPECT_EQ(logger.GetCounts().lines, 1u);
}

TEST(Log, TheLibrarysErrorLinesCanBeLogged)
{
    GlobalLog log;
    LogErrorLines(true);
    ErrorLog::WriteLine("% of % failed", "Memory", "Heap", 3u, 7u);
    LogErrorLines(false);
    EXPECT_EQ(log.GetLast().values, (std::vector<std::string>{"Memory", "Heap", "3 of 7 failed"}));
    EXPECT_TRUE(log.GetLast().site2.starts_with("error|error|"));
}

TEST(Log, AStatusIsCodeAndMessage)
{
    GlobalLog log;
    constexpr LogParameter parameters[] = {{LogType::Int32, 0}, {LogType::String, 0}};
    EventLogLine line = {1, 0, parameters, 2, "{code} {message}", nullptr, nullptr};
    for (const ErrorStatus& status : {ErrorStatus(ErrParam, UniString(u"n\u00FCl")), ErrorStatus(-1)}) {
        FastLogger::LogComposer composer(line);
        LogAssertSubject(composer, status);
        logger.Append(line, &composer);
    }
    const LogRead read = log.channel.Read();
    EXPECT_EQ(read.lines[0].values, (std::vector<std::string>{std::to_string(ErrParam), "n\xC3\xBCl"}));
    EXPECT_EQ(read.lines[1].values, (std::vector<std::string>{"-1", ""}));
}

TEST(Log, BlocksEndBySizeAndAge)
{
    LogChannel channel;
    LogBlockControl bySize({.bytes = 1000});
    logger.Start(bySize, channel);
    for (int i = 0; i < 100; ++i) {
        QV_LOG(Info, editing, "thirty-five bytes {}", "of text that is not compressed");
    }
    logger.Stop();
    EXPECT_EQ(channel.Read().blocks, 4u);
    EXPECT_EQ(channel.Read().lines.size(), 100u);
    LogChannel second;
    LogBlockControl byAge({.seconds = 1});
    logger.Start(byAge, second);
    QV_LOG(Info, editing, "now");
    EXPECT_EQ(second.Read().blocks, 1u);
    Thread::Sleep(1100);
    QV_LOG(Info, editing, "later");
    EXPECT_EQ(second.Read().blocks, 2u);
    logger.Stop();
}

} // namespace QV
