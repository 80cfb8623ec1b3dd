// Code pages to UTF-16 and back, against ICU, iconv and the loop over a table that one would write.
#include <QVRoot/String/CharCode.hpp>

#include <benchmark/benchmark.h>

#include <unicode/ucnv.h>

#if __has_include(<iconv.h>)
#include <iconv.h>
#define QV_BENCHMARK_ICONV
#endif

#include <string>
#include <string_view>

namespace {

using QV::QVCharCode;

struct Sample {
    const char* name;
    QVCharCode code;
    const char* converter; ///< as ICU and iconv call the code page
    std::u16string_view text;
};

const Sample samples[] = {
    {"Ascii", QV::WesternCharCode, "windows-1252",
     u"The quick brown fox jumps over the lazy dog; then it sleeps until the evening, and so does the dog. "},
    {"Latin", QV::WesternCharCode, "windows-1252",
     u"Voix ambigu\u00EB d\u2019un c\u0153ur qui pr\u00E9f\u00E8re les jattes de kiwis. Zw\u00F6lf "
     u"Boxk\u00E4mpfer "
     u"jagen Viktor quer \u00FCber den gro\u00DFen Sylter Deich. El ping\u00FCino Wenceslao hizo "
     u"kil\u00F3metros. "},
    {"Cyrillic", QV::CyrillicCharCode, "windows-1251",
     u"\u0421\u044A\u0435\u0448\u044C \u0436\u0435 \u0435\u0449\u0451 \u044D\u0442\u0438\u0445 "
     u"\u043C\u044F\u0433\u043A\u0438\u0445 "
     u"\u0444\u0440\u0430\u043D\u0446\u0443\u0437\u0441\u043A\u0438\u0445 "
     u"\u0431\u0443\u043B\u043E\u043A, \u0434\u0430 \u0432\u044B\u043F\u0435\u0439 \u0447\u0430\u044E. "},
    {"Japanese", QV::JapaneseCharCode, "windows-932",
     u"\u8272\u306F\u5302\u3078\u3069\u6563\u308A\u306C\u308B\u3092\u3001\u6211\u304C\u4E16\u8AB0\u305E\u5E38"
     u"\u306A"
     u"\u3089\u3080\u3002\u30AB\u30CA\u3082 ASCII "
     u"\u3082\u6DF7\u3056\u308B\uFF71\uFF72\uFF73\u6587\u7AE0\u3002"},
};

const unsigned short* AsUnits(const char16_t* units)
{
    return reinterpret_cast<const unsigned short*>(units);
}

unsigned short* AsUnits(char16_t* units)
{
    return reinterpret_cast<unsigned short*>(units);
}

/// About `bytes` bytes in the code page.
std::u16string MakeUnits(const Sample& sample, size_t bytes)
{
    std::u16string units;
    while (units.size() < bytes) {
        units += sample.text;
    }
    const int inBytes = QV::CHUnicode2ANSI(AsUnits(units.data()), static_cast<int>(units.size()), nullptr, 0,
                                           sample.code, false);
    units.resize(units.size() * bytes / static_cast<size_t>(inBytes));
    return units;
}

std::string MakeBytes(const Sample& sample, size_t bytes)
{
    const std::u16string units = MakeUnits(sample, bytes);
    std::string text(units.size() * 2, 0);
    const int length = static_cast<int>(units.size());
    text.resize(static_cast<size_t>(QV::CHUnicode2ANSI(AsUnits(units.data()), length, text.data(),
                                                       static_cast<int>(text.size()), sample.code, false)));
    return text;
}

/// `convert(source, length, target, room)`.
template <class Convert>
void MeasureDecoding(benchmark::State& state, const Sample& sample, Convert convert)
{
    const std::string text = MakeBytes(sample, static_cast<size_t>(state.range(0)));
    std::u16string target(text.size(), 0);
    for (auto _ : state) {
        convert(text.data(), static_cast<int>(text.size()), target.data(), static_cast<int>(target.size()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

template <class Convert>
void MeasureEncoding(benchmark::State& state, const Sample& sample, Convert convert)
{
    const std::u16string units = MakeUnits(sample, static_cast<size_t>(state.range(0)));
    std::string target(units.size() * 2, 0);
    for (auto _ : state) {
        convert(units.data(), static_cast<int>(units.size()), target.data(), static_cast<int>(target.size()));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(units.size()));
}

template <class Measure>
void Register(const char* direction, const Sample& sample, const char* subject, Measure measure)
{
    const std::string name = std::string(direction) + sample.name + '/' + subject;
    benchmark::RegisterBenchmark(name.c_str(), measure)->Arg(256)->Arg(65536);
}

template <class Convert>
void RegisterDecoding(const Sample& sample, const char* subject, Convert convert)
{
    Register("Decode", sample, subject,
             [&sample, convert](benchmark::State& state) { MeasureDecoding(state, sample, convert); });
}

template <class Convert>
void RegisterEncoding(const Sample& sample, const char* subject, Convert convert)
{
    Register("Encode", sample, subject,
             [&sample, convert](benchmark::State& state) { MeasureEncoding(state, sample, convert); });
}

void RegisterOwn(const Sample& sample)
{
    const QVCharCode code = sample.code;
    RegisterDecoding(sample, "QV", [code](const char* source, int length, char16_t* target, int room) {
        benchmark::DoNotOptimize(QV::CHANSI2Unicode(source, length, AsUnits(target), room, code));
    });
    RegisterEncoding(sample, "QV", [code](const char16_t* source, int length, char* target, int room) {
        benchmark::DoNotOptimize(QV::CHUnicode2ANSI(AsUnits(source), length, target, room, code, false));
    });
    RegisterEncoding(sample, "QVLossy", [code](const char16_t* source, int length, char* target, int room) {
        benchmark::DoNotOptimize(QV::CHUnicode2ANSI(AsUnits(source), length, target, room, code, true));
    });
}

/// The units of all bytes; all the loop needs where no character has two.
void RegisterTableLoop(const Sample& sample)
{
    std::u16string table(256, 0);
    std::string bytes(256, 0);
    for (size_t byte = 0; byte < 256; ++byte) {
        bytes[byte] = static_cast<char>(byte);
    }
    if (QV::CHANSI2Unicode(bytes.data(), 256, AsUnits(table.data()), 256, sample.code) != 256) {
        return;
    }
    RegisterDecoding(sample, "TableLoop", [table](const char* source, int length, char16_t* target, int) {
        const char16_t* const units = table.data();
        for (int i = 0; i < length; ++i) {
            target[i] = units[static_cast<unsigned char>(source[i])];
        }
    });
}

void RegisterIcu(const Sample& sample)
{
    UErrorCode error = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open(sample.converter, &error);
    RegisterDecoding(sample, "ICU", [converter](const char* source, int length, char16_t* target, int room) {
        UErrorCode result = U_ZERO_ERROR;
        benchmark::DoNotOptimize(ucnv_toUChars(converter, target, room, source, length, &result));
    });
    RegisterEncoding(sample, "ICU", [converter](const char16_t* source, int length, char* target, int room) {
        UErrorCode result = U_ZERO_ERROR;
        benchmark::DoNotOptimize(ucnv_fromUChars(converter, target, room, source, length, &result));
    });
}

#if defined(QV_BENCHMARK_ICONV)
template <class Source, class Target>
void ConvertWithIconv(iconv_t converter, const Source* source, int length, Target* target, int room)
{
    char* input = const_cast<char*>(reinterpret_cast<const char*>(source));
    char* output = reinterpret_cast<char*>(target);
    size_t inputLeft = static_cast<size_t>(length) * sizeof(Source);
    size_t outputLeft = static_cast<size_t>(room) * sizeof(Target);
    benchmark::DoNotOptimize(iconv(converter, &input, &inputLeft, &output, &outputLeft));
}

void RegisterIconv(const Sample& sample)
{
    const std::string page = "CP" + std::string(sample.converter).substr(8);
    const iconv_t decoder = iconv_open("UTF-16LE", page.c_str());
    const iconv_t encoder = iconv_open(page.c_str(), "UTF-16LE");
    RegisterDecoding(sample, "iconv", [decoder](const char* source, int length, char16_t* target, int room) {
        ConvertWithIconv(decoder, source, length, target, room);
    });
    RegisterEncoding(sample, "iconv", [encoder](const char16_t* source, int length, char* target, int room) {
        ConvertWithIconv(encoder, source, length, target, room);
    });
}
#endif

void RegisterAll()
{
    for (const Sample& sample : samples) {
        RegisterOwn(sample);
        RegisterTableLoop(sample);
        RegisterIcu(sample);
#if defined(QV_BENCHMARK_ICONV)
        RegisterIconv(sample);
#endif
    }
}

[[maybe_unused]] const bool registered = (RegisterAll(), true);

} // namespace
