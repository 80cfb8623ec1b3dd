// Numbers, formats and 8-bit strings against what a program would take instead. Each workload goes round a
// table of random values, so that no branch can be learned by heart.
#include <QVRoot/String/NumberText.hpp>
#include <QVRoot/String/StringFormat.hpp>
#include <QVRoot/String/UniStringFormat.hpp>

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#ifdef QV_PEER_FMT
#include <fmt/format.h>
#endif
#ifdef QV_PEER_QT
#include <QString>
#endif

namespace {

constexpr std::size_t tableSize = 256;
constexpr std::size_t bufferSize = 400;

/// Values of an application: small and large integers, measures with a few decimals, and doubles with all
/// their digits.
std::vector<int> MakeIntegers()
{
    std::mt19937_64 random(1);
    std::vector<int> values(tableSize);
    for (int& value : values) {
        value = static_cast<int>(random()) >> random() % 31;
    }
    return values;
}

std::vector<double> MakeMeasures()
{
    std::mt19937_64 random(2);
    std::vector<double> values(tableSize);
    for (double& value : values) {
        value = static_cast<double>(static_cast<int>(random())) / 1000;
    }
    return values;
}

std::vector<double> MakeAnyDoubles()
{
    std::mt19937_64 random(3);
    std::vector<double> values(tableSize);
    for (double& value : values) {
        value = std::ldexp(static_cast<double>(random()), static_cast<int>(random() % 200) - 100);
    }
    return values;
}

template <class Value>
std::vector<std::string> MakeTexts(const std::vector<Value>& values)
{
    std::vector<std::string> texts;
    for (const Value value : values) {
        char text[64];
        texts.emplace_back(text, std::to_chars(text, text + sizeof(text), value).ptr);
    }
    return texts;
}

/// Runs `work` with one value of the table after the other.
template <class Value, class Work>
void GoRound(benchmark::State& state, const std::vector<Value>& values, Work work)
{
    std::size_t i = 0;
    for (auto _ : state) {
        work(values[i++ % tableSize]);
    }
}

struct QVNumbers {
    template <class Value>
    static void Print(Value value)
    {
        char text[bufferSize];
        benchmark::DoNotOptimize(QV::valuetostr(value, text, sizeof(text)));
        benchmark::DoNotOptimize(text);
    }
    template <class Value>
    static void Parse(const std::string& text)
    {
        Value value = 0;
        benchmark::DoNotOptimize(QV::strtovalue(text.c_str(), value));
        benchmark::DoNotOptimize(value);
    }
};

struct CharConv {
    static void Print(int value)
    {
        char text[bufferSize];
        *std::to_chars(text, text + sizeof(text) - 1, value).ptr = '\0';
        benchmark::DoNotOptimize(text);
    }
    static void Print(double value)
    {
        char text[bufferSize];
        *std::to_chars(text, text + sizeof(text) - 1, value, std::chars_format::fixed, 6).ptr = '\0';
        benchmark::DoNotOptimize(text);
    }
    template <class Value>
    static void Parse(const std::string& text)
    {
        Value value = 0;
        benchmark::DoNotOptimize(std::from_chars(text.data(), text.data() + text.size(), value));
        benchmark::DoNotOptimize(value);
    }
};

struct CLibrary {
    static void Print(int value)
    {
        char text[bufferSize];
        benchmark::DoNotOptimize(std::snprintf(text, sizeof(text), "%d", value));
    }
    static void Print(double value)
    {
        char text[bufferSize];
        benchmark::DoNotOptimize(std::snprintf(text, sizeof(text), "%f", value));
    }
    template <class Value>
    static void Parse(const std::string& text)
    {
        Value value = 0;
        benchmark::DoNotOptimize(std::sscanf(text.c_str(), sizeof(Value) == 4 ? "%d" : "%lf", &value));
    }
};

#ifdef QV_PEER_FMT
struct Fmt {
    static void Print(int value)
    {
        char text[bufferSize];
        const fmt::format_int formatted(value);
        std::memcpy(text, formatted.c_str(), formatted.size() + 1);
        benchmark::DoNotOptimize(text);
    }
    static void Print(double value)
    {
        char text[bufferSize];
        *fmt::format_to(text, FMT_STRING("{:.6f}"), value) = '\0';
        benchmark::DoNotOptimize(text);
    }
};
#endif

#ifdef QV_PEER_QT
struct Qt {
    static void Print(int value) { benchmark::DoNotOptimize(QString::number(value)); }
    static void Print(double value) { benchmark::DoNotOptimize(QString::number(value, 'f', 6)); }
    template <class Value>
    static void Parse(const std::string& text)
    {
        const QByteArray bytes = QByteArray::fromRawData(text.data(), static_cast<qsizetype>(text.size()));
        if constexpr (sizeof(Value) == 4) {
            benchmark::DoNotOptimize(bytes.toInt());
        } else {
            benchmark::DoNotOptimize(bytes.toDouble());
        }
    }
};
#endif

template <class Library>
void PrintInt(benchmark::State& state)
{
    GoRound(state, MakeIntegers(), [](int value) { Library::Print(value); });
}

template <class Library>
void PrintMeasure(benchmark::State& state)
{
    GoRound(state, MakeMeasures(), [](double value) { Library::Print(value); });
}

template <class Library>
void PrintDouble(benchmark::State& state)
{
    GoRound(state, MakeAnyDoubles(), [](double value) { Library::Print(value); });
}

template <class Library>
void ParseInt(benchmark::State& state)
{
    GoRound(state, MakeTexts(MakeIntegers()),
            [](const std::string& text) { Library::template Parse<int>(text); });
}

template <class Library>
void ParseMeasure(benchmark::State& state)
{
    GoRound(state, MakeTexts(MakeMeasures()),
            [](const std::string& text) { Library::template Parse<double>(text); });
}

template <class Library>
void ParseDouble(benchmark::State& state)
{
    GoRound(state, MakeTexts(MakeAnyDoubles()),
            [](const std::string& text) { Library::template Parse<double>(text); });
}

// A line as a program writes it.
void FormatLine_QV(benchmark::State& state)
{
    GoRound(state, MakeMeasures(), [](double value) {
        char text[bufferSize];
        benchmark::DoNotOptimize(QV::checkedsnprintf(text, sizeof(text), "%-10s %8.3f %5d|", "height", value,
                                                     static_cast<int>(value)));
        benchmark::DoNotOptimize(text);
    });
}
void FormatLine_snprintf(benchmark::State& state)
{
    GoRound(state, MakeMeasures(), [](double value) {
        char text[bufferSize];
        benchmark::DoNotOptimize(
            std::snprintf(text, sizeof(text), "%-10s %8.3f %5d|", "height", value, static_cast<int>(value)));
        benchmark::DoNotOptimize(text);
    });
}

void FormatString_QV(benchmark::State& state)
{
    GoRound(state, MakeIntegers(), [](int value) {
        QV::String text;
        text.Format("%s: %d", "count", value);
        benchmark::DoNotOptimize(&text);
    });
}
void FormatString_QVUniString(benchmark::State& state)
{
    GoRound(state, MakeIntegers(), [](int value) {
        const QV::UniString text = QV::UniString::Printf("%s: %d", "count", value);
        benchmark::DoNotOptimize(&text);
    });
}

void ScanLine_QV(benchmark::State& state)
{
    for (auto _ : state) {
        int a = 0, b = 0;
        benchmark::DoNotOptimize(QV::checkedsscanf("1024 x 768", "%d x %d", &a, &b));
        benchmark::DoNotOptimize(a + b);
    }
}
void ScanLine_sscanf(benchmark::State& state)
{
    for (auto _ : state) {
        int a = 0, b = 0;
        benchmark::DoNotOptimize(std::sscanf("1024 x 768", "%d x %d", &a, &b));
        benchmark::DoNotOptimize(a + b);
    }
}

template <class Text>
void AppendBytes(benchmark::State& state)
{
    for (auto _ : state) {
        Text text;
        for (int i = 0; i < 1000; ++i) {
            text += 'x';
        }
        text += "and more";
        benchmark::DoNotOptimize(&text);
    }
}

#ifdef QV_PEER_FMT
void FormatLine_fmt(benchmark::State& state)
{
    GoRound(state, MakeMeasures(), [](double value) {
        char text[bufferSize];
        *fmt::format_to(text, FMT_STRING("{:<10} {:8.3f} {:5}|"), "height", value, static_cast<int>(value)) =
            '\0';
        benchmark::DoNotOptimize(text);
    });
}
void FormatString_fmt(benchmark::State& state)
{
    GoRound(state, MakeIntegers(), [](int value) {
        const std::string text = fmt::format(FMT_STRING("{}: {}"), "count", value);
        benchmark::DoNotOptimize(&text);
    });
}
#endif
#ifdef QV_PEER_QT
void FormatString_Qt(benchmark::State& state)
{
    GoRound(state, MakeIntegers(), [](int value) {
        const QString text = QString::asprintf("%s: %d", "count", value);
        benchmark::DoNotOptimize(&text);
    });
}
#endif

template <class Library>
void RegisterPrinting(const std::string& name)
{
    benchmark::RegisterBenchmark(("PrintInt/" + name).c_str(), PrintInt<Library>);
    benchmark::RegisterBenchmark(("PrintMeasure/" + name).c_str(), PrintMeasure<Library>);
    benchmark::RegisterBenchmark(("PrintDouble/" + name).c_str(), PrintDouble<Library>);
}

template <class Library>
void RegisterParsing(const std::string& name)
{
    benchmark::RegisterBenchmark(("ParseInt/" + name).c_str(), ParseInt<Library>);
    benchmark::RegisterBenchmark(("ParseMeasure/" + name).c_str(), ParseMeasure<Library>);
    benchmark::RegisterBenchmark(("ParseDouble/" + name).c_str(), ParseDouble<Library>);
}

const bool registered = [] {
    RegisterPrinting<QVNumbers>("QV");
    RegisterParsing<QVNumbers>("QV");
    RegisterPrinting<CharConv>("charconv");
    RegisterParsing<CharConv>("charconv");
#ifdef QV_PEER_FMT
    RegisterPrinting<Fmt>("fmt");
#endif
#ifdef QV_PEER_QT
    RegisterPrinting<Qt>("Qt");
    RegisterParsing<Qt>("Qt");
#endif
    RegisterPrinting<CLibrary>("C");
    RegisterParsing<CLibrary>("C");
    benchmark::RegisterBenchmark("FormatLine/QV", FormatLine_QV);
    benchmark::RegisterBenchmark("FormatLine/C", FormatLine_snprintf);
    benchmark::RegisterBenchmark("FormatString/QV", FormatString_QV);
    benchmark::RegisterBenchmark("FormatString/QVUniString", FormatString_QVUniString);
#ifdef QV_PEER_FMT
    benchmark::RegisterBenchmark("FormatLine/fmt", FormatLine_fmt);
    benchmark::RegisterBenchmark("FormatString/fmt", FormatString_fmt);
#endif
#ifdef QV_PEER_QT
    benchmark::RegisterBenchmark("FormatString/Qt", FormatString_Qt);
#endif
    benchmark::RegisterBenchmark("ScanLine/QV", ScanLine_QV);
    benchmark::RegisterBenchmark("ScanLine/C", ScanLine_sscanf);
    benchmark::RegisterBenchmark("AppendBytes/QVString", AppendBytes<QV::String>);
    benchmark::RegisterBenchmark("AppendBytes/std::string", AppendBytes<std::string>);
    return true;
}();

} // namespace
