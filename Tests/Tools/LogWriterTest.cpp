#include <Tests/Tools/LogBytes.hpp>
#include <Tools/qvlog/JsonText.hpp>
#include <Tools/qvlog/LineFilter.hpp>
#include <Tools/qvlog/LineWriter.hpp>
#include <Tools/qvlog/Merger.hpp>

#include <gtest/gtest.h>

namespace QVLog {
namespace {

std::unique_ptr<LineSource> Open(const std::string& bytes)
{
    return std::make_unique<LineSource>("log", std::make_unique<MemoryFile>(bytes), false);
}

/// All lines of the logs in one form.
std::string Write(const std::vector<std::string>& logs, const Options& options)
{
    std::vector<std::unique_ptr<LineSource>> sources;
    for (const std::string& log : logs) {
        sources.push_back(Open(log));
    }
    Merger merger(std::move(sources));
    LineFilter filter(options.filter);
    const auto writer = MakeLineWriter(options);
    Clock clock;
    std::string text;
    writer->Begin(text);
    while (const LineSource* const source = merger.Next()) {
        const LogReader& reader = source->GetReader();
        std::string message;
        AppendMessage(message, reader.GetDescriptor(), reader.GetValues(), clock, 0);
        if (filter.Wants(*source, [&] { return std::string_view(message); })) {
            writer->Write(text, *source, message);
        }
    }
    writer->End(text);
    return text;
}

std::string Write(const std::string& log, Form form)
{
    Options options;
    options.form = form;
    return Write(std::vector{log}, options);
}

Options TextOnly()
{
    Options options;
    options.format = "{text}";
    return options;
}

std::string MakeLog(char run, std::initializer_list<std::pair<std::uint32_t, const char*>> lines)
{
    LogBytes log;
    log.Block(run);
    std::uint16_t id = 300;
    for (const auto& [second, text] : lines) {
        log.Time(1763762400 + second);
        log.Line(id++, "", text, std::string(text[0] == 'd' ? "data" : "info") + "|test.a|Run");
    }
    return log.bytes;
}

TEST(LogWriter, WritesEachForm)
{
    LogBytes log;
    log.Block();
    log.Line(300, "I32,S,D,", "{n:4} {s} {} {}", "error|net|Send", "Net/Send.cpp");
    log.bytes += LogBytes::Number(7, 4) + LogBytes::Text("a\"b,\n") + LogBytes::Number(0x7FF8000000000000, 8);
    EXPECT_EQ(Write(log.bytes, Form::Text),
              "2025-11-21 23:00:00.000000 error   [1000] net:    7 a\"b,\\n nan   (Net/Send.cpp:7)\n");
    EXPECT_EQ(Write(log.bytes, Form::Json),
              R"({"time":"2025-11-21T23:00:00.000000+01:00","level":"error","category":"net","thread":1000,)"
              R"("file":"Net/Send.cpp","line":7,"function":"Send",)"
              R"("run":"01010101-0101-0101-0101-010101010101","text":"   7 a\"b,\n nan ",)"
              R"("parameters":{"n":7,"s":"a\"b,\n","p3":"nan","p4":null}})"
              "\n");
    EXPECT_EQ(
        Write(log.bytes, Form::Csv),
        "time,level,category,thread,thread name,file,line,function,text\r\n"
        "2025-11-21T23:00:00.000000+01:00,error,net,1000,,Net/Send.cpp,7,Send,\"   7 a\"\"b,\\n nan \"\r\n");
    EXPECT_NE(Write(log.bytes, Form::Trace).find(R"("ph":"i","s":"t","ts":1763762400000000,"pid":)"),
              std::string::npos);
}

TEST(LogWriter, EscapesForJsonWhatItsRulesAndATerminalAskFor)
{
    std::string json;
    AppendJson(json, "long enough text\"\\\n\x01\x7F\xC2\x9B\xE2\x80\xAE\xFF\xC3\xA9");
    EXPECT_EQ(json, "\"long enough text\\\"\\\\\\n\\u0001\\u007F\\u009B\\u202E\xEF\xBF\xBD\xC3\xA9\"");
}

TEST(LogWriter, GivesEveryParameterANameOfItsOwn)
{
    LogBytes log;
    log.Block();
    log.Line(300, "C,C,C,C", "{p2} {} {a} {a}");
    log.bytes += "wxyz";
    EXPECT_NE(Write(log.bytes, Form::Json).find(R"({"p2":"w","p2_2":"x","a":"y","a_4":"z"})"),
              std::string::npos);
}

TEST(LogMerger, KeepsDataLinesBehindTheirLine)
{
    const std::string one = MakeLog(1, {{0, "a0"}, {0, "d0"}, {4, "a4"}, {4, "d4"}});
    const std::string two = MakeLog(2, {{0, "b0"}, {0, "d0"}, {2, "b2"}, {5, "b5"}});
    EXPECT_EQ(Write({one, two}, TextOnly()), "a0\nd0\nb0\nd0\nb2\na4\nd4\nb5\n");
    Options options = TextOnly();
    options.filter.text = "4";
    EXPECT_EQ(Write({one, two}, options), "a4\nd4\n");
}

TEST(LogSource, KnowsTheProcessOfARunInAllItsFiles)
{
    LogBytes first;
    first.Block(9);
    first.Line(300, "S,UI32", "", "LogStarted", "QVRoot");
    first.bytes += LogBytes::Text("tour") + LogBytes::Number(4711, 4);
    LogBytes second;
    second.Block(9, 1763762500);
    second.Line(300, "", "later");
    Options options;
    options.format = "{category}{process}";
    EXPECT_EQ(Write({second.bytes, first.bytes}, options), "log4711\ntest4711\n");
    options.filter.categories = {"log"};
    EXPECT_EQ(Write({first.bytes, second.bytes}, options), "log4711\n");
}

} // namespace
} // namespace QVLog
