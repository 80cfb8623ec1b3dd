// Logs of any bytes through the reader, once as a file and once as a pipe, and through every form of output.
#include <Tests/Tools/LogBytes.hpp>
#include <Tools/qvlog/LineFilter.hpp>
#include <Tools/qvlog/LineWriter.hpp>

#include <cstdint>
#include <cstdlib>
#include <string>

using namespace QVLog;

namespace {

void Require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

void Ignore(const std::string&, const std::string&) {}

/// Every byte belongs to one event.
void ReadAll(const std::string& bytes, bool isSeekable, bool isLive)
{
    LogReader reader(std::make_unique<MemoryFile>(bytes, isSeekable), isLive);
    std::uint64_t sum = 0;
    for (Event event; (event = reader.Next()) != Event::End && event != Event::TornTail;) {
        Require(reader.GetOffset() == sum && reader.GetSize() != 0 && reader.GetSize() <= bytes.size() - sum);
        sum += reader.GetSize();
    }
    Require(sum + reader.GetInput().GetWindow().size() == bytes.size());
}

/// A line is one line of text without control characters.
void CheckLine(const std::string& text, Form form)
{
    std::size_t ends = 0;
    for (std::size_t i = 0; i < text.size();) {
        char32_t c = 0;
        const std::size_t size = MeasureCodePoint(std::string_view(text).substr(i), c);
        Require(size != 0);
        ends += c == '\n';
        Require(!IsUnsafe(c) || c == '\n' || (form == Form::Csv && c == '\r'));
        i += size;
    }
    Require(form == Form::Trace || ends == 1);
}

void WriteAll(const std::string& bytes, Form form, const Filter& filter)
{
    Options options;
    options.form = form;
    if (form == Form::Text) {
        options.format =
            "{time:30}{date}{clock}{level}{category}{thread:9}{text}{site}{function}{process}{run}";
    }
    const auto writer = MakeLineWriter(options);
    LineFilter wanted(filter);
    LineSource source("log", std::make_unique<MemoryFile>(bytes), false, Ignore);
    Clock clock;
    std::string message;
    std::string text;
    while (source.Next()) {
        const LogReader& reader = source.GetReader();
        message.clear();
        AppendMessage(message, reader.GetDescriptor(), reader.GetValues(), clock, reader.GetUtcOffset());
        if (wanted.Wants(source, [&] { return std::string_view(message); })) {
            text.clear();
            writer->Write(text, source, message);
            CheckLine(text, form);
        }
    }
    source.ReportEnd();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    ReadAll(bytes, true, false);
    ReadAll(bytes, false, false);
    ReadAll(bytes, true, true);
    Filter some;
    some.text = "e";
    some.ignoresCase = true;
    some.threads = {"1000", "worker"};
    some.since = "1999-01-01";
    WriteAll(bytes, Form::Text, {});
    WriteAll(bytes, Form::Text, some);
    for (const Form form : {Form::Json, Form::Csv, Form::Trace}) {
        WriteAll(bytes, form, {});
    }
    return 0;
}
