// Strings against those that a program would take instead. The argument is the length in units.
#include <QVRoot/String/UniString.hpp>

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

#ifdef QV_PEER_ICU
#include <unicode/unistr.h>
#endif
#ifdef QV_PEER_QT
#include <QHash>
#include <QString>
#endif

namespace {

// What a workload needs of a string class.
struct QVTraits {
    using String = QV::UniString;
    static String Make(const std::u16string& text)
    {
        return String(text.data(), static_cast<unsigned int>(text.size()));
    }
    static void AppendUnit(String& text, char16_t unit) { text.Append(QV::UniChar(unit)); }
    static std::size_t Hash(const String& text) { return text.GenerateHashValue(); }
};

struct StdTraits {
    using String = std::u16string;
    static String Make(const std::u16string& text) { return text; }
    static void AppendUnit(String& text, char16_t unit) { text.push_back(unit); }
    static std::size_t Hash(const String& text) { return std::hash<String>()(text); }
};

#ifdef QV_PEER_ICU
struct IcuTraits {
    using String = icu::UnicodeString;
    static String Make(const std::u16string& text)
    {
        return String(text.data(), static_cast<int32_t>(text.size()));
    }
    static void AppendUnit(String& text, char16_t unit) { text.append(unit); }
    static std::size_t Hash(const String& text) { return static_cast<std::size_t>(text.hashCode()); }
};
#endif

#ifdef QV_PEER_QT
struct QtTraits {
    using String = QString;
    static String Make(const std::u16string& text)
    {
        return String(reinterpret_cast<const QChar*>(text.data()), static_cast<qsizetype>(text.size()));
    }
    static void AppendUnit(String& text, char16_t unit) { text.append(QChar(unit)); }
    static std::size_t Hash(const String& text) { return qHash(text); }
};
#endif

std::u16string Sample(const benchmark::State& state)
{
    return std::u16string(static_cast<std::size_t>(state.range(0)), u'x');
}

template <class Traits>
void MakeAndDestroy(benchmark::State& state)
{
    const std::u16string text = Sample(state);
    for (auto _ : state) {
        const auto string = Traits::Make(text);
        benchmark::DoNotOptimize(&string);
    }
}

template <class Traits>
void CopyAndDestroy(benchmark::State& state)
{
    const auto original = Traits::Make(Sample(state));
    for (auto _ : state) {
        const auto copy = original;
        benchmark::DoNotOptimize(&copy);
    }
}

template <class Traits>
void AppendUnits(benchmark::State& state)
{
    const auto count = state.range(0);
    typename Traits::String string;
    for (auto _ : state) {
        string = typename Traits::String();
        for (std::int64_t i = 0; i < count; ++i) {
            Traits::AppendUnit(string, static_cast<char16_t>(i));
        }
        benchmark::DoNotOptimize(&string);
    }
    state.SetItemsProcessed(state.iterations() * count);
}

template <class Traits>
void Hash(benchmark::State& state)
{
    auto string = Traits::Make(Sample(state));
    for (auto _ : state) {
        benchmark::DoNotOptimize(&string);
        benchmark::DoNotOptimize(Traits::Hash(string));
    }
}

template <class Traits>
void Register(const std::string& subject)
{
    const auto add = [&](const char* workload, void (*run)(benchmark::State&), std::int64_t length) {
        benchmark::RegisterBenchmark((std::string(workload) + "/" + subject).c_str(), run)->Arg(length);
    };
    for (const std::int64_t length : {8, 16, 1000}) {
        add("MakeAndDestroy", MakeAndDestroy<Traits>, length);
    }
    for (const std::int64_t length : {8, 16, 65536}) {
        add("CopyAndDestroy", CopyAndDestroy<Traits>, length);
    }
    for (const std::int64_t length : {1000, 65536}) {
        add("AppendUnits", AppendUnits<Traits>, length);
    }
    for (const std::int64_t length : {16, 65536}) {
        add("Hash", Hash<Traits>, length);
    }
}

const bool registered = [] {
    Register<QVTraits>("QVUniString");
    Register<StdTraits>("std::u16string");
#ifdef QV_PEER_ICU
    Register<IcuTraits>("icu::UnicodeString");
#endif
#ifdef QV_PEER_QT
    Register<QtTraits>("QString");
#endif
    return true;
}();

} // namespace
