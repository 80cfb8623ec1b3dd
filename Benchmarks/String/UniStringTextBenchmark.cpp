// Searching, editing, comparing and joining strings, against those that a program would take instead. Where
// the other library has no such operation, it is written as its user would write it.
#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/String/UniString.hpp>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#ifdef QV_PEER_ICU
#include <unicode/coll.h>
#include <unicode/unistr.h>
#endif
#ifdef QV_PEER_QT
#include <QCollator>
#include <QString>
#include <QStringBuilder>
#include <QStringList>
#endif
#ifdef QV_PEER_ABSL
#include <absl/strings/str_cat.h>
#include <absl/strings/str_split.h>
#endif

namespace {

using std::u16string;

u16string MakeWords(std::size_t length)
{
    static const char16_t* const words[] = {u"the",   u"string", u"of",    u"every", u"library", u"holds",
                                            u"text",  u"that",   u"users", u"read",  u"and",     u"enter",
                                            u"while", u"others", u"only",  u"pass",  u"it",      u"on"};
    std::mt19937 random(1);
    u16string text;
    while (text.size() < length) {
        text += words[random() % std::size(words)];
        text += u' ';
    }
    text.resize(length);
    return text;
}

u16string MakeLetters(std::size_t length, char16_t first, unsigned count)
{
    std::mt19937 random(2);
    u16string text(length, u' ');
    for (char16_t& unit : text) {
        unit = random() % 7 == 0 ? u' ' : static_cast<char16_t>(first + random() % count);
    }
    return text;
}

u16string MakeCsv(std::size_t fields)
{
    std::mt19937 random(3);
    u16string text;
    for (std::size_t i = 0; i < fields; ++i) {
        text += u16string(3 + random() % 9, static_cast<char16_t>(u'a' + random() % 26));
        text += u',';
    }
    text.pop_back();
    return text;
}

std::vector<u16string> MakeNames(std::size_t count)
{
    std::mt19937 random(4);
    static const char16_t* const starts[] = {u"report ", u"Report ", u"invoice-", u"IMG_", u"holiday photo "};
    std::vector<u16string> names;
    for (std::size_t i = 0; i < count; ++i) {
        u16string name = starts[random() % std::size(starts)];
        for (const char digit : std::to_string(random() % 10000)) {
            name += static_cast<char16_t>(digit);
        }
        names.push_back(name + (random() % 2 == 0 ? u".txt" : u" draft.pdf"));
    }
    return names;
}

struct QVTraits {
    using String = QV::UniString;
    static String Make(const u16string& text) { return String(std::u16string_view(text)); }
    static auto FindUnit(const String& text, char16_t unit) { return text.FindFirst(QV::UniChar(unit)); }
    static auto FindWord(const String& text, const String& word) { return text.FindFirst(word); }
    static void Replace(String& text, const String& from, const String& to) { text.ReplaceAll(from, to); }
    static String Upper(const String& text) { return text.ToUpperCase(); }
    static String Lower(const String& text) { return text.ToLowerCase(); }
    static String Join(const String& a, const String& b, const String& c)
    {
        return a + QV::UniChar('/') + b + u"." + c;
    }
    using Parts = QV::Array<String>;
    static std::size_t Split(const String& text, const String& separator, Parts& parts)
    {
        return text.Split(separator, &parts);
    }
};

struct StdTraits {
    using String = u16string;
    static String Make(const u16string& text) { return text; }
    static auto FindUnit(const String& text, char16_t unit) { return text.find(unit); }
    static auto FindWord(const String& text, const String& word) { return text.find(word); }
    static void Replace(String& text, const String& from, const String& to)
    {
        String result;
        result.reserve(text.size());
        std::size_t start = 0;
        for (std::size_t at; (at = text.find(from, start)) != String::npos; start = at + from.size()) {
            result.append(text, start, at - start).append(to);
        }
        text = result.append(text, start);
    }
    static String Join(const String& a, const String& b, const String& c) { return a + u'/' + b + u"." + c; }
    using Parts = std::vector<String>;
    static std::size_t Split(const String& text, const String& separator, Parts& parts)
    {
        parts.clear();
        std::size_t start = 0;
        for (std::size_t at; (at = text.find(separator, start)) != String::npos;
             start = at + separator.size()) {
            parts.push_back(text.substr(start, at - start));
        }
        parts.push_back(text.substr(start));
        return parts.size();
    }
};

#ifdef QV_PEER_ICU
struct IcuTraits {
    using String = icu::UnicodeString;
    static String Make(const u16string& text) { return String(text.data(), static_cast<int>(text.size())); }
    static auto FindUnit(const String& text, char16_t unit) { return text.indexOf(unit); }
    static auto FindWord(const String& text, const String& word) { return text.indexOf(word); }
    static void Replace(String& text, const String& from, const String& to) { text.findAndReplace(from, to); }
    static String Upper(const String& text) { return String(text).toUpper(icu::Locale::getRoot()); }
    static String Lower(const String& text) { return String(text).toLower(icu::Locale::getRoot()); }
    static String Join(const String& a, const String& b, const String& c)
    {
        return String(a).append(u'/').append(b).append(u".").append(c);
    }
    using Parts = std::vector<String>;
    static std::size_t Split(const String& text, const String& separator, Parts& parts)
    {
        parts.clear();
        int start = 0;
        for (int at; (at = text.indexOf(separator, start)) >= 0; start = at + separator.length()) {
            parts.push_back(text.tempSubStringBetween(start, at));
        }
        parts.push_back(text.tempSubString(start));
        for (String& part : parts) {
            part.getTerminatedBuffer(); // own text, as the others have
        }
        return parts.size();
    }
};
#endif

#ifdef QV_PEER_QT
struct QtTraits {
    using String = QString;
    static String Make(const u16string& text) { return QString::fromStdU16String(text); }
    static auto FindUnit(const String& text, char16_t unit) { return text.indexOf(QChar(unit)); }
    static auto FindWord(const String& text, const String& word) { return text.indexOf(word); }
    static void Replace(String& text, const String& from, const String& to) { text.replace(from, to); }
    static String Upper(const String& text) { return text.toUpper(); }
    static String Lower(const String& text) { return text.toLower(); }
    static String Join(const String& a, const String& b, const String& c)
    {
        return a % QChar(u'/') % b % QStringView(u".") % c;
    }
    using Parts = QStringList;
    static std::size_t Split(const String& text, const String& separator, Parts& parts)
    {
        parts = text.split(separator);
        return static_cast<std::size_t>(parts.size());
    }
};
#endif

template <class Traits>
void FindUnit(benchmark::State& state, const u16string& text, char16_t unit)
{
    const auto string = Traits::Make(text);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Traits::FindUnit(string, unit));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

template <class Traits>
void FindWord(benchmark::State& state, const u16string& text, const u16string& word)
{
    const auto string = Traits::Make(text);
    const auto pattern = Traits::Make(word);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Traits::FindWord(string, pattern));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

template <class Traits>
void IsEqual(benchmark::State& state, const u16string& text)
{
    auto a = Traits::Make(text);
    auto b = Traits::Make(text);
    for (auto _ : state) {
        benchmark::DoNotOptimize(&a);
        benchmark::DoNotOptimize(a == b);
    }
}

template <class Traits>
void ReplaceAll(benchmark::State& state, const u16string& text, const u16string& from, const u16string& to)
{
    const auto original = Traits::Make(text);
    const auto pattern = Traits::Make(from);
    const auto replacement = Traits::Make(to);
    for (auto _ : state) {
        auto string = original;
        Traits::Replace(string, pattern, replacement);
        benchmark::DoNotOptimize(&string);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

template <class Traits>
void Join(benchmark::State& state)
{
    const auto a = Traits::Make(u"folder");
    const auto b = Traits::Make(u"name");
    const auto c = Traits::Make(u"text");
    for (auto _ : state) {
        const typename Traits::String joined = Traits::Join(a, b, c);
        benchmark::DoNotOptimize(&joined);
    }
}

template <class Traits>
void Split(benchmark::State& state)
{
    const auto text = Traits::Make(MakeCsv(1000));
    const auto separator = Traits::Make(u",");
    typename Traits::Parts parts;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Traits::Split(text, separator, parts));
    }
}

template <class Traits>
void Upper(benchmark::State& state, const u16string& text)
{
    const auto string = Traits::Make(text);
    for (auto _ : state) {
        const auto mapped = Traits::Upper(string);
        benchmark::DoNotOptimize(&mapped);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

template <class Traits>
void Lower(benchmark::State& state, const u16string& text)
{
    const auto string = Traits::Make(text);
    for (auto _ : state) {
        const auto mapped = Traits::Lower(string);
        benchmark::DoNotOptimize(&mapped);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

template <class Traits, class IsLess>
void Sort(benchmark::State& state, IsLess isLess)
{
    std::vector<typename Traits::String> names;
    for (const u16string& name : MakeNames(100000)) {
        names.push_back(Traits::Make(name));
    }
    for (auto _ : state) {
        state.PauseTiming();
        auto sorted = names;
        state.ResumeTiming();
        std::sort(sorted.begin(), sorted.end(), isLess);
        benchmark::DoNotOptimize(sorted.data());
    }
}

/// One comparison of two names, as a look-up or a list makes them.
template <class Traits, class IsLess>
void Compare(benchmark::State& state, IsLess isLess)
{
    std::vector<typename Traits::String> names;
    for (const u16string& name : MakeNames(1024)) {
        names.push_back(Traits::Make(name));
    }
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(isLess(names[i], names[i + 1]));
        i = i + 2 < names.size() ? i + 1 : 0;
    }
}

template <class Run>
void Add(const std::string& workload, const std::string& subject, const std::string& variant, Run run)
{
    benchmark::RegisterBenchmark((workload + '/' + subject + (variant.empty() ? "" : '/' + variant)).c_str(),
                                 run);
}

template <class Traits>
void RegisterCase(const std::string& subject)
{
    const std::pair<const char*, u16string> alphabets[] = {
        {"ascii", MakeLetters(4096, u'A', 58)},
        {"greek", MakeLetters(4096, 0x391, 56)},
        {"cyrillic", MakeLetters(4096, 0x410, 64)},
    };
    for (const auto& [alphabet, text] : alphabets) {
        Add("Upper", subject, alphabet, [text](benchmark::State& s) { Upper<Traits>(s, text); });
        Add("Lower", subject, alphabet, [text](benchmark::State& s) { Lower<Traits>(s, text); });
    }
}

template <class Traits>
void Register(const std::string& subject)
{
    const u16string text = MakeWords(65536);
    Add("FindUnit", subject, "64K", [text](benchmark::State& s) { FindUnit<Traits>(s, text, u'Z'); });
    Add("FindUnit", subject, "20", [](benchmark::State& s) { FindUnit<Traits>(s, MakeWords(20), u'Z'); });
    for (const auto& [kind, word] :
         {std::pair{"rare", u"Zebra"}, {"common", u"theatre"}, {"space", u" of x "}}) {
        Add("FindWord", subject, kind,
            [text, word = u16string(word)](benchmark::State& s) { FindWord<Traits>(s, text, word); });
    }
    Add("FindWord", subject, "repetitive", [](benchmark::State& s) {
        FindWord<Traits>(s, u16string(65536, u'a'), u16string(31, u'a') + u'b' + u16string(31, u'a'));
    });
    for (const std::size_t length : {8, 100, 65536}) {
        Add("IsEqual", subject, std::to_string(length),
            [length](benchmark::State& s) { IsEqual<Traits>(s, MakeWords(length)); });
    }
    const std::pair<const char*, u16string> replacements[] = {
        {"same", u"SEQUEL"}, {"growing", u"character string"}, {"shrinking", u"s"}};
    for (const auto& [kind, to] : replacements) {
        Add("ReplaceAll", subject, kind,
            [text, to = to](benchmark::State& s) { ReplaceAll<Traits>(s, text, u"string", to); });
    }
    Add("Join", subject, "5", [](benchmark::State& s) { Join<Traits>(s); });
    Add("SplitCsv", subject, "1000", [](benchmark::State& s) { Split<Traits>(s); });
}

void RegisterOrder()
{
    using QV::UniString;
    const auto isLess = [](const UniString& a, const UniString& b) { return a < b; };
    const auto isNaturallyLess = [](const UniString& a, const UniString& b) {
        return QV::NaturalCompare(a, b) == QV::UniChar::Less;
    };
    Add("Compare", "QVUniString", "locale", [=](benchmark::State& s) { Compare<QVTraits>(s, isLess); });
    Add("Compare", "QVUniString", "natural",
        [=](benchmark::State& s) { Compare<QVTraits>(s, isNaturallyLess); });
    Add("Sort", "QVUniString", "locale", [=](benchmark::State& s) { Sort<QVTraits>(s, isLess); });
    Add("Sort", "QVUniString", "natural", [=](benchmark::State& s) { Sort<QVTraits>(s, isNaturallyLess); });
#ifdef QV_PEER_ICU
    for (const bool natural : {false, true}) {
        const auto add = [natural](const char* workload, auto run) {
            Add(workload, "icu::UnicodeString", natural ? "natural" : "locale", [=](benchmark::State& s) {
                UErrorCode error = U_ZERO_ERROR;
                const std::unique_ptr<icu::Collator> collator(
                    icu::Collator::createInstance(icu::Locale::getRoot(), error));
                collator->setAttribute(UCOL_NUMERIC_COLLATION, natural ? UCOL_ON : UCOL_OFF, error);
                run(s, [&](const icu::UnicodeString& a, const icu::UnicodeString& b) {
                    return collator->compare(a, b, error) == UCOL_LESS;
                });
            });
        };
        add("Compare", [](benchmark::State& s, auto order) { Compare<IcuTraits>(s, order); });
        add("Sort", [](benchmark::State& s, auto order) { Sort<IcuTraits>(s, order); });
    }
#endif
}

#ifdef QV_PEER_ABSL
void RegisterAbsl()
{
    Add("Join", "absl (8-bit)", "5", [](benchmark::State& s) {
        const std::string a = "folder";
        const std::string b = "name";
        const std::string c = "text";
        for (auto _ : s) {
            const std::string joined = absl::StrCat(a, "/", b, ".", c);
            benchmark::DoNotOptimize(&joined);
        }
    });
    Add("SplitCsv", "absl (8-bit)", "1000", [](benchmark::State& s) {
        const u16string units = MakeCsv(1000);
        const std::string text(units.begin(), units.end());
        for (auto _ : s) {
            const std::vector<std::string> parts = absl::StrSplit(text, ',');
            benchmark::DoNotOptimize(parts.data());
        }
    });
}
#endif

const bool registered = [] {
    Register<QVTraits>("QVUniString");
    RegisterCase<QVTraits>("QVUniString");
    Register<StdTraits>("std::u16string");
#ifdef QV_PEER_ICU
    Register<IcuTraits>("icu::UnicodeString");
    RegisterCase<IcuTraits>("icu::UnicodeString");
#endif
#ifdef QV_PEER_QT
    Register<QtTraits>("QString");
    RegisterCase<QtTraits>("QString");
#endif
    RegisterOrder();
#ifdef QV_PEER_ABSL
    RegisterAbsl();
#endif
    return true;
}();

} // namespace
