// Data of another platform made one's own, against copying them and against what a program would write
// itself.
#include <QVRoot/Channel/PlatformConversion.hpp>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#if __has_include(<boost/endian/conversion.hpp>)
#include <boost/endian/conversion.hpp>
#define QV_PEER_BOOST_ENDIAN
#endif
#ifdef QV_PEER_QT
#include <QtEndian>
#endif

namespace {

using namespace QV;

template <class Element>
using IVArray = void(PlatformSign, Element*, int) noexcept;

/// Random letters, of which so many in 1000 are no ASCII.
std::string MakeText(USize size, unsigned beyondAscii)
{
    std::minstd_rand random(3);
    std::string text(size, '\0');
    for (char& c : text) {
        const unsigned value = static_cast<unsigned>(random());
        c = static_cast<char>((value >> 4 & 0x3F) + (value % 1000 < beyondAscii ? 0xC0 : 0x40));
    }
    return text;
}

/// Text in lines of 1 to 79 characters.
std::string MakeLines(USize size, const char* lineEnd)
{
    std::minstd_rand random(5);
    std::string text;
    while (text.size() < size) {
        text.append(random() % 79 + 1, 'x').append(lineEnd);
    }
    text.resize(size, 'x');
    return text;
}

/// Calls a function over bytes again and again, in place.
template <class Convert>
void Run(benchmark::State& state, std::string bytes, Convert convert)
{
    for (auto _ : state) {
        convert(bytes.data(), static_cast<int>(bytes.size()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<Int64>(bytes.size()));
}

void Copy(benchmark::State& state)
{
    std::string copy(static_cast<USize>(state.range(0)), '\0');
    Run(state, MakeText(copy.size(), 100), [&](char* bytes, int size) {
        std::memcpy(copy.data(), bytes, static_cast<USize>(size));
        benchmark::DoNotOptimize(copy.data());
    });
}

template <class Element, IVArray<Element>* Swap>
void SwapQV(benchmark::State& state)
{
    Run(state, MakeText(static_cast<USize>(state.range(0)), 100), [](char* bytes, int size) {
        Swap(MacPlatformSign, reinterpret_cast<Element*>(bytes), size / static_cast<int>(sizeof(Element)));
    });
}

/// The usual loop, which compilers make vectors of as far as the plainest processor has them.
template <class Element>
Element Reverse(Element value)
{
    Element result = 0;
    for (USize i = 0; i < sizeof(Element); ++i) {
        result = static_cast<Element>(result << 8 | (value >> 8 * i & 0xFF));
    }
    return result;
}

template <class Element>
void SwapLoop(benchmark::State& state)
{
    Run(state, MakeText(static_cast<USize>(state.range(0)), 100), [](char* bytes, int size) {
        auto* const first = reinterpret_cast<Element*>(bytes);
        std::transform(first, first + static_cast<USize>(size) / sizeof(Element), first, Reverse<Element>);
    });
}

#ifdef QV_PEER_BOOST_ENDIAN
template <class Element>
void SwapBoost(benchmark::State& state)
{
    Run(state, MakeText(static_cast<USize>(state.range(0)), 100), [](char* bytes, int size) {
        auto* const first = reinterpret_cast<Element*>(bytes);
        for (USize i = 0; i < static_cast<USize>(size) / sizeof(Element); ++i) {
            boost::endian::endian_reverse_inplace(first[i]);
        }
    });
}
#define QV_BOOST_SWAP(Element, workload)                                                                     \
    BENCHMARK(SwapBoost<Element>)->Name(workload "/boost.endian")->Arg(16384)->Arg(1 << 20);
#else
#define QV_BOOST_SWAP(Element, workload)
#endif

#ifdef QV_PEER_QT
template <class Element>
void SwapQt(benchmark::State& state)
{
    Run(state, MakeText(static_cast<USize>(state.range(0)), 100), [](char* bytes, int size) {
        qbswap<sizeof(Element)>(bytes, size / static_cast<int>(sizeof(Element)), bytes);
    });
}
#define QV_QT_SWAP(Element, workload)                                                                        \
    BENCHMARK(SwapQt<Element>)->Name(workload "/qbswap")->Arg(16384)->Arg(1 << 20);
#else
#define QV_QT_SWAP(Element, workload)
#endif

#define QV_SWAP(Element, function, workload)                                                                 \
    BENCHMARK(SwapQV<Element, function>)->Name(workload "/QV")->Arg(16384)->Arg(1 << 20);                    \
    BENCHMARK(Copy)->Name(workload "/memcpy")->Arg(16384)->Arg(1 << 20);                                     \
    BENCHMARK(SwapLoop<Element>)->Name(workload "/std::transform")->Arg(16384)->Arg(1 << 20);                \
    QV_BOOST_SWAP(Element, workload)                                                                         \
    QV_QT_SWAP(Element, workload)
QV_SWAP(UInt16, IVUShorts, "Swap16")
QV_SWAP(UInt32, IVULongs, "Swap32")
QV_SWAP(UInt64, IVUInt64s, "Swap64")

void TranslateQV(benchmark::State& state, unsigned beyondAscii)
{
    Run(state, MakeText(static_cast<USize>(state.range(0)), beyondAscii),
        [](char* text, int size) { IVChars(MacPlatformSign, text, size, WesternCharCode, WinPlatformSign); });
}

void TranslateLoop(benchmark::State& state, unsigned beyondAscii)
{
    std::string map(256, '\0');
    for (USize i = 0; i < map.size(); ++i) {
        map[i] = static_cast<char>(i);
    }
    IVChars(MacPlatformSign, map.data(), 256, WesternCharCode, WinPlatformSign);
    Run(state, MakeText(static_cast<USize>(state.range(0)), beyondAscii), [&map](char* text, int size) {
        std::transform(text, text + size, text,
                       [&map](char c) { return map[static_cast<unsigned char>(c)]; });
    });
}

#define QV_TRANSLATE(workload, beyondAscii)                                                                  \
    BENCHMARK_CAPTURE(TranslateQV, workload, beyondAscii)->Name(workload "/QV")->Arg(16384)->Arg(1 << 20);   \
    BENCHMARK(Copy)->Name(workload "/memcpy")->Arg(16384)->Arg(1 << 20);                                     \
    BENCHMARK_CAPTURE(TranslateLoop, workload, beyondAscii)                                                  \
        ->Name(workload "/std::transform")                                                                   \
        ->Arg(16384)                                                                                         \
        ->Arg(1 << 20);
QV_TRANSLATE("TranslateSomeLetters", 100)
QV_TRANSLATE("TranslateAllLetters", 1000)

void RewriteQV(benchmark::State& state, const char* from, EOLType eol)
{
    const std::string text = MakeLines(static_cast<USize>(state.range(0)), from);
    std::string copy(text.size() * 2, '\0');
    for (auto _ : state) {
        IVEndofLine(text.data(), static_cast<int>(text.size()), copy.data(), static_cast<int>(copy.size()),
                    eol);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<Int64>(text.size()));
}

/// A loop over the bytes.
void RewriteLoop(benchmark::State& state, const char* from, const char* to)
{
    const std::string text = MakeLines(static_cast<USize>(state.range(0)), from);
    std::string copy;
    for (auto _ : state) {
        copy.clear();
        for (USize i = 0; i < text.size(); ++i) {
            if (text[i] == '\r' || text[i] == '\n') {
                i += text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
                copy += to;
            } else {
                copy += text[i];
            }
        }
        benchmark::DoNotOptimize(copy.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<Int64>(text.size()));
}

#define QV_REWRITE(workload, from, to, eol)                                                                  \
    BENCHMARK_CAPTURE(RewriteQV, workload, from, eol)->Name(workload "/QV")->Arg(16384)->Arg(1 << 20);       \
    BENCHMARK(Copy)->Name(workload "/memcpy")->Arg(16384)->Arg(1 << 20);                                     \
    BENCHMARK_CAPTURE(RewriteLoop, workload, from, to)->Name(workload "/loop")->Arg(16384)->Arg(1 << 20);
QV_REWRITE("LinesToCR", "\r\n", "\r", EOLCR)
QV_REWRITE("LinesToCRLF", "\n", "\r\n", EOLCRLF)

} // namespace
