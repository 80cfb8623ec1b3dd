// UTF-8 to UTF-16 and back, against ICU, iconv and Qt. Bytes per second are bytes of UTF-8 in either
// direction, so that the libraries and the directions compare.
#include <QVRoot/String/Unicode.hpp>

#include <benchmark/benchmark.h>

#include <unicode/ustring.h>

#if __has_include(<iconv.h>)
#include <iconv.h>
#define QV_BENCHMARK_ICONV
#endif
#if __has_include(<QString>)
#include <QString>
#define QV_BENCHMARK_QT
#endif

#include <string>
#include <string_view>
#include <vector>

namespace {

using QV::Unicode::UTF16ToUTF8;
using QV::Unicode::UTF8ToUTF16;

struct Language {
    const char* name;
    std::string_view sample;
};

const Language languages[] = {
    {"Ascii",
     "The quick brown fox jumps over the lazy dog; then it sleeps until the evening, and so does the dog. "},
    {"Latin",
     "Voix ambigu\u00EB d\u2019un c\u0153ur qui pr\u00E9f\u00E8re les jattes de kiwis. Zw\u00F6lf "
     "Boxk\u00E4mpfer jagen "
     "Viktor quer \u00FCber den gro\u00DFen Sylter Deich. El ping\u00FCino Wenceslao hizo kil\u00F3metros. "},
    {"Cyrillic",
     "\u0421\u044A\u0435\u0448\u044C \u0436\u0435 \u0435\u0449\u0451 \u044D\u0442\u0438\u0445 "
     "\u043C\u044F\u0433\u043A\u0438\u0445 "
     "\u0444\u0440\u0430\u043D\u0446\u0443\u0437\u0441\u043A\u0438\u0445 "
     "\u0431\u0443\u043B\u043E\u043A, \u0434\u0430 \u0432\u044B\u043F\u0435\u0439 \u0447\u0430\u044E. "},
    {"Cjk",
     "\u8272\u306F\u5302\u3078\u3069\u6563\u308A\u306C\u308B\u3092\u6211\u304C\u4E16\u8AB0\u305E\u5E38\u306A"
     "\u3089\u3080\u3002\u6709\u4E3A\u306E\u5965\u5C71\u4ECA\u65E5\u8D8A\u3048\u3066\u6D45\u304D\u5922\u898B"
     "\u3058\u9154\u3072\u3082\u305B\u305A\u3002"},
    {"Emoji",
     "\U0001F600\U0001F603\U0001F604\U0001F601\U0001F606\U0001F605\U0001F923\U0001F602\U0001F642\U0001F643"
     "\U0001F680\U0001F6F8\U0001F9ED\U0001F3D4\U0001F30B\U0001F5FB\U0001F3D5\U0001F3D6"},
};

/// Text of about `bytes` bytes that ends between characters.
std::string MakeText(const Language& language, size_t bytes)
{
    std::string text;
    while (text.size() < bytes) {
        text += language.sample;
    }
    while ((text[bytes] & 0xC0) == 0x80) {
        --bytes;
    }
    text.resize(bytes);
    return text;
}

std::u16string ToUnits(const std::string& text)
{
    std::u16string units(text.size(), 0);
    const int count =
        UTF8ToUTF16(text.data(), static_cast<int>(text.size()),
                    reinterpret_cast<unsigned short*>(units.data()), static_cast<int>(units.size()), true);
    units.resize(static_cast<size_t>(count));
    return units;
}

/// Measures one conversion from UTF-8: `convert(source, length, target, room)`.
template <class Convert>
void MeasureDecoding(benchmark::State& state, const Language& language, Convert convert)
{
    const std::string text = MakeText(language, static_cast<size_t>(state.range(0)));
    std::u16string target(text.size() + 1, 0);
    for (auto _ : state) {
        convert(text.data(), static_cast<int>(text.size()), target.data(), static_cast<int>(target.size()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

/// Measures one conversion to UTF-8, likewise.
template <class Convert>
void MeasureEncoding(benchmark::State& state, const Language& language, Convert convert)
{
    const std::string text = MakeText(language, static_cast<size_t>(state.range(0)));
    const std::u16string units = ToUnits(text);
    std::string target(units.size() * 3 + 1, 0);
    for (auto _ : state) {
        convert(units.data(), static_cast<int>(units.size()), target.data(), static_cast<int>(target.size()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

template <class Convert>
void RegisterDecoding(const char* library, Convert convert)
{
    for (const Language& language : languages) {
        for (const int64_t size : {16, 256, 65536, 1048576}) {
            const std::string name = std::string("Utf8ToUtf16/") + library + '/' + language.name;
            benchmark::RegisterBenchmark(name.c_str(), [&language, convert](benchmark::State& state) {
                MeasureDecoding(state, language, convert);
            })->Arg(size);
        }
    }
}

template <class Convert>
void RegisterEncoding(const char* library, Convert convert)
{
    for (const Language& language : languages) {
        for (const int64_t size : {16, 256, 65536, 1048576}) {
            const std::string name = std::string("Utf16ToUtf8/") + library + '/' + language.name;
            benchmark::RegisterBenchmark(name.c_str(), [&language, convert](benchmark::State& state) {
                MeasureEncoding(state, language, convert);
            })->Arg(size);
        }
    }
}

unsigned short* AsUnits(char16_t* units)
{
    return reinterpret_cast<unsigned short*>(units);
}

const unsigned short* AsUnits(const char16_t* units)
{
    return reinterpret_cast<const unsigned short*>(units);
}

#if defined(QV_BENCHMARK_ICONV)
iconv_t OpenConverter(const char* to, const char* from)
{
    return iconv_open(to, from);
}

template <class Source, class Target>
void ConvertWithIconv(iconv_t converter, const Source* source, int length, Target* target, int room)
{
    char* input = const_cast<char*>(reinterpret_cast<const char*>(source));
    char* output = reinterpret_cast<char*>(target);
    size_t inputLeft = static_cast<size_t>(length) * sizeof(Source);
    size_t outputLeft = static_cast<size_t>(room) * sizeof(Target);
    benchmark::DoNotOptimize(iconv(converter, &input, &inputLeft, &output, &outputLeft));
}
#endif

void RegisterAll()
{
    RegisterDecoding("QV", [](const char* source, int length, char16_t* target, int room) {
        benchmark::DoNotOptimize(UTF8ToUTF16(source, length, AsUnits(target), room, true));
    });
    RegisterDecoding("QVCount", [](const char* source, int length, char16_t*, int) {
        benchmark::DoNotOptimize(UTF8ToUTF16(source, length, nullptr, 0, true));
    });
    RegisterDecoding("ICU", [](const char* source, int length, char16_t* target, int room) {
        UErrorCode error = U_ZERO_ERROR;
        int32_t produced = 0;
        u_strFromUTF8(target, room, &produced, source, length, &error);
        benchmark::DoNotOptimize(produced);
    });
    RegisterEncoding("QV", [](const char16_t* source, int length, char* target, int room) {
        benchmark::DoNotOptimize(UTF16ToUTF8(AsUnits(source), length, target, room, true));
    });
    RegisterEncoding("QVCount", [](const char16_t* source, int length, char*, int) {
        benchmark::DoNotOptimize(UTF16ToUTF8(AsUnits(source), length, nullptr, 0, true));
    });
    RegisterEncoding("ICU", [](const char16_t* source, int length, char* target, int room) {
        UErrorCode error = U_ZERO_ERROR;
        int32_t produced = 0;
        u_strToUTF8(target, room, &produced, source, length, &error);
        benchmark::DoNotOptimize(produced);
    });
#if defined(QV_BENCHMARK_QT)
    RegisterDecoding("Qt", [](const char* source, int length, char16_t*, int) {
        benchmark::DoNotOptimize(QString::fromUtf8(source, length));
    });
    RegisterEncoding("Qt", [](const char16_t* source, int length, char*, int) {
        benchmark::DoNotOptimize(QStringView(source, length).toUtf8());
    });
#endif
#if defined(QV_BENCHMARK_ICONV)
    static const iconv_t decoder = OpenConverter("UTF-16LE", "UTF-8");
    static const iconv_t encoder = OpenConverter("UTF-8", "UTF-16LE");
    RegisterDecoding("iconv", [](const char* source, int length, char16_t* target, int room) {
        ConvertWithIconv(decoder, source, length, target, room);
    });
    RegisterEncoding("iconv", [](const char16_t* source, int length, char* target, int room) {
        ConvertWithIconv(encoder, source, length, target, room);
    });
#endif
}

[[maybe_unused]] const bool registered = (RegisterAll(), true);

} // namespace
