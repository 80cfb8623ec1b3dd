// Text in a code page: counting, converting and going round agree, kernels do what the plain loops do, and
// the text functions stay inside. The first byte of the input chooses the code page, the second the room.
#include <QVRoot/String/CharText.hpp>
#include <QVRoot/String/CodePages/CodePageKernelsImpl.hpp>
#include <QVRoot/String/PlatformTextImpl.hpp>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <vector>

using namespace QV;
using namespace QV::Impl;

namespace {

const QVCharCode codes[] = {WesternCharCode,
                            CentralEuropeanCharCode,
                            BalticCharCode,
                            CyrillicCharCode,
                            GreekCharCode,
                            TurkishCharCode,
                            HebrewCharCode,
                            ArabicCharCode,
                            ThaiCharCode,
                            JapaneseCharCode,
                            TraditionalChineseCharCode,
                            KoreanCharCode,
                            SymbolCharCode,
                            SimplifiedChineseCharCode,
                            UTF8CharCode};

void Require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

/// Blocks of exactly the size needed, so that the address sanitizer sees every step outside.
using Units = std::unique_ptr<unsigned short[]>;
using Bytes = std::unique_ptr<char[]>;

Bytes CopyOf(const char* text, int length, bool terminated)
{
    Bytes bytes(new char[static_cast<USize>(length) + terminated]);
    std::memcpy(bytes.get(), text, static_cast<USize>(length));
    if (terminated) {
        bytes[static_cast<USize>(length)] = 0;
    }
    return bytes;
}

void GoRound(const unsigned short* units, int count, QVCharCode code)
{
    for (const bool lossy : {true, false}) {
        const int size = CHUnicode2ANSI(units, count, nullptr, 0, code, lossy);
        Require(size > 0 || !lossy || code == UTF8CharCode);
        if (size == 0) {
            continue;
        }
        const Bytes bytes(new char[static_cast<USize>(size)]);
        Require(CHUnicode2ANSI(units, count, bytes.get(), size, code, lossy) == size);
        const Units back(new unsigned short[static_cast<USize>(size)]);
        const int again = CHANSI2Unicode(bytes.get(), size, back.get(), size, code);
        Require(again == count);
        Require(lossy || std::memcmp(back.get(), units, static_cast<USize>(count) * 2) == 0);
    }
}

void Convert(const char* text, int length, int room, QVCharCode code)
{
    const Bytes bytes = CopyOf(text, length, false);
    const int count = CHANSI2Unicode(bytes.get(), length, nullptr, 0, code);
    Require(count > 0 || code == UTF8CharCode);
    if (count == 0) {
        return;
    }
    const Units units(new unsigned short[static_cast<USize>(count)]);
    Require(CHANSI2Unicode(bytes.get(), length, units.get(), count, code) == count);
    GoRound(units.get(), count, code);
    if (room > 0 && room < count) {
        const Units less(new unsigned short[static_cast<USize>(room)]);
        Require(CHANSI2Unicode(bytes.get(), length, less.get(), room, code) == 0);
    }
}

void CompareKernels(const char* text, USize length, QVCharCode code)
{
    const UInt16* const table = FindSingleByteTable(CHGetCodePage(code));
    const CodePageKernels* list[maxCodePageKernels];
    const UInt32 count = table == nullptr ? 0 : ListCodePageKernels(list);
    std::vector<UInt16> expected(length);
    std::vector<UInt16> actual(length);
    for (UInt32 i = 0; i < count; ++i) {
        ReferenceDecodeSingles(table, reinterpret_cast<const UInt8*>(text), length, expected.data());
        list[i]->decode(table, reinterpret_cast<const UInt8*>(text), length, actual.data());
        Require(actual == expected);
    }
}

void Walk(const char* input, int length, int room, QVCharCode code)
{
    const Bytes text = CopyOf(input, length, true);
    const char* last = text.get();
    for (const char* p = text.get(); *p != 0; p = CHGetNextCharPtr(p, code)) {
        last = p;
        if (p - text.get() < 16) { // these look at everything in front or behind
            Require(CHGetLastCharPtr(text.get(), p + 1, code) == p);
            Require(CHSearchSubstring(text.get(), p, CaseInsensitiveType, code) != nullptr);
        }
    }
    Require(CHGetLastCharPtr(text.get(), code) == last);
    const Bytes copy(new char[static_cast<USize>(room) + 1]);
    Require(CHCopyC(text.get(), copy.get(), room + 1, code) <= room);
    Require(CHtoUpper(text.get(), copy.get(), room + 1, code) <= room);
    Require(CHGetXMLString(text.get(), copy.get(), room + 1, code) <= room);
    Require(CHANSItoUTF8(text.get(), -1, nullptr, 0, code) > 0);
    Require(CHUTF8toANSI(text.get(), -1, nullptr, 0, code) > 0);
    CHtoLower(text.get(), code);
    CHtoASCII(text.get(), code);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 3 || size > 4096) {
        return 0;
    }
    const QVCharCode code = codes[data[0] % std::size(codes)];
    const char* const text = reinterpret_cast<const char*>(data + 2);
    const int length = static_cast<int>(size) - 2;
    Convert(text, length, data[1], code);
    CompareKernels(text, static_cast<USize>(length), code);
    Walk(text, length, data[1], code);
    return 0;
}
