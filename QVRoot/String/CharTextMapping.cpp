// Case, classes, and the way down to ASCII.
#include <QVRoot/String/CharPageImpl.hpp>
#include <QVRoot/String/CharText.hpp>
#include <QVRoot/String/CharTextSinkImpl.hpp>
#include <QVRoot/String/UniChar.hpp>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace QV {

using Impl::CharPage;
using Impl::TextMapping;

namespace {

char MapByte(TextMapping mapping, char byte, QVCharCode code)
{
    const CharPage page(code);
    char mapped[Impl::maxCharBytes];
    return page.IsAlone(byte) && page.MapCase(mapping, &byte, 1, mapped) == 1 ? mapped[0] : byte;
}

int MapInPlace(TextMapping mapping, char* text, QVCharCode code)
{
    if (text == nullptr) {
        return 0;
    }
    const CharPage page(code);
    char* position = text;
    while (*position != 0) {
        const int bytes = page.GetBytes(position);
        char mapped[Impl::maxCharBytes];
        if (page.MapCase(mapping, position, bytes, mapped) == bytes) {
            std::memcpy(position, mapped, static_cast<USize>(bytes));
        }
        position += bytes;
    }
    return Impl::ToLength(static_cast<USize>(position - text));
}

int MapInto(TextMapping mapping, const char* source, char* destination, int capacity, QVCharCode code)
{
    const CharPage page(code);
    return Impl::RewriteText(source, destination, capacity, page,
                             [&page, mapping](const char* text, int bytes, Impl::CharTextSink& sink) {
                                 char mapped[Impl::maxCharBytes];
                                 const int size = page.MapCase(mapping, text, bytes, mapped);
                                 return sink.Put(mapped, size);
                             });
}

} // namespace

char CHtoLower(char character, QVCharCode code) noexcept
{
    return MapByte(TextMapping::LowerCase, character, code);
}

char CHtoUpper(char character, QVCharCode code) noexcept
{
    return MapByte(TextMapping::UpperCase, character, code);
}

int CHtoLower(char* text, QVCharCode code) noexcept
{
    return MapInPlace(TextMapping::LowerCase, text, code);
}

int CHtoUpper(char* text, QVCharCode code) noexcept
{
    return MapInPlace(TextMapping::UpperCase, text, code);
}

int CHtoLower(const char* source, char* destination, int capacity, QVCharCode code) noexcept
{
    return MapInto(TextMapping::LowerCase, source, destination, capacity, code);
}

int CHtoUpper(const char* source, char* destination, int capacity, QVCharCode code) noexcept
{
    return MapInto(TextMapping::UpperCase, source, destination, capacity, code);
}

char CHtoUpperASCII(char character) noexcept
{
    return Impl::MapAsciiCase(TextMapping::UpperCase, character);
}

int CHtoUpperASCII(char* text, QVCharCode code) noexcept
{
    if (text == nullptr) {
        return 0;
    }
    const CharPage page(code);
    char* position = text;
    while (*position != 0) {
        *position = CHtoUpperASCII(*position);
        position += page.GetBytes(position);
    }
    return Impl::ToLength(static_cast<USize>(position - text));
}

// To ASCII.

namespace {

/// Letters and signs without a decomposition, ascending, and the similar ASCII character.
struct SimilarCharacter {
    UInt16 unit;
    char ascii;
};

constexpr SimilarCharacter similarCharacters[] = {
    {0x00A1, '!'},  {0x00A2, 'c'},  {0x00A5, 'Y'},  {0x00A6, '|'},  {0x00A9, 'C'},  {0x00AB, '<'},
    {0x00AD, '-'},  {0x00AE, 'R'},  {0x00B4, '\''}, {0x00B7, '.'},  {0x00B8, ','},  {0x00BB, '>'},
    {0x00C6, 'A'},  {0x00D0, 'D'},  {0x00D7, 'x'},  {0x00D8, 'O'},  {0x00DE, 'T'},  {0x00DF, 's'},
    {0x00E6, 'a'},  {0x00F0, 'd'},  {0x00F7, '/'},  {0x00F8, 'o'},  {0x00FE, 't'},  {0x0110, 'D'},
    {0x0111, 'd'},  {0x0126, 'H'},  {0x0127, 'h'},  {0x0131, 'i'},  {0x0138, 'k'},  {0x0141, 'L'},
    {0x0142, 'l'},  {0x014A, 'N'},  {0x014B, 'n'},  {0x0152, 'O'},  {0x0153, 'o'},  {0x0166, 'T'},
    {0x0167, 't'},  {0x0192, 'f'},  {0x02C6, '^'},  {0x02DC, '~'},  {0x2010, '-'},  {0x2011, '-'},
    {0x2012, '-'},  {0x2013, '-'},  {0x2014, '-'},  {0x2015, '-'},  {0x2018, '\''}, {0x2019, '\''},
    {0x201A, '\''}, {0x201B, '\''}, {0x201C, '"'},  {0x201D, '"'},  {0x201E, '"'},  {0x201F, '"'},
    {0x2020, '+'},  {0x2022, '*'},  {0x2026, '.'},  {0x2032, '\''}, {0x2033, '"'},  {0x2039, '<'},
    {0x203A, '>'},  {0x2044, '/'},  {0x20AC, 'E'},  {0x2122, 'T'},  {0x2212, '-'},  {0x3001, ','},
    {0x3002, '.'},
};

char FindSimilar(UInt32 codePoint)
{
    const auto* const found =
        std::lower_bound(std::begin(similarCharacters), std::end(similarCharacters), codePoint,
                         [](const SimilarCharacter& entry, UInt32 value) { return entry.unit < value; });
    const bool exists = found != std::end(similarCharacters) && found->unit == codePoint;
    return exists ? found->ascii : '\0';
}

bool IsMark(UInt16 unit)
{
    return unit >= 0x300 && unit < 0x370;
}

/// The ASCII character that bears nothing but marks; 0 for anything else.
char FindBase(UInt16 unit)
{
    constexpr int room = 32; // the longest decomposition has 18 units
    UInt16 parts[room];
    auto status = Impl::NormalizationStatus::Failed;
    const int count = Impl::NormalizeText(Impl::NormalizationForm::KD, &unit, 1, parts, room, status);
    const bool isBase = count > 0 && parts[0] < 0x80 && std::all_of(parts + 1, parts + count, IsMark);
    return isBase ? static_cast<char>(parts[0]) : '\0';
}

char ToAscii(const CharPage& page, const char* text, int bytes)
{
    const UInt32 codePoint = page.Decode(text, bytes);
    if (codePoint < 0x80) {
        return static_cast<char>(codePoint);
    }
    char ascii = FindSimilar(codePoint);
    if (ascii == 0 && codePoint < 0x10000) {
        ascii = FindBase(static_cast<UInt16>(codePoint));
    }
    return ascii == 0 ? '?' : ascii;
}

} // namespace

char CHtoASCII(char character, QVCharCode code) noexcept
{
    const CharPage page(code);
    return page.IsAlone(character) ? ToAscii(page, &character, 1) : '?';
}

int CHtoASCII(char* text, QVCharCode code) noexcept
{
    return CHtoASCII(text, text, 0x7FFFFFFF, code);
}

int CHtoASCII(const char* source, char* destination, int capacity, QVCharCode code) noexcept
{
    const CharPage page(code);
    return Impl::RewriteText(source, destination, capacity, page,
                             [&page](const char* text, int bytes, Impl::CharTextSink& sink) {
                                 const char ascii = ToAscii(page, text, bytes);
                                 return sink.Put(&ascii, 1);
                             });
}

// Classes.

namespace {

/// The unit of a character; 0, which is in no class, when there is none or two.
UniChar GetUnit(const CharPage& page, const char* text, int bytes)
{
    const UInt32 codePoint = page.Decode(text, bytes);
    return codePoint > 0xFFFF ? UniChar() : UniChar(static_cast<unsigned short>(codePoint));
}

UniChar GetUnit(const char* text, QVCharCode code)
{
    const CharPage page(code);
    return text == nullptr ? UniChar() : GetUnit(page, text, page.GetBytes(text));
}

UniChar GetUnit(char character, QVCharCode code)
{
    const CharPage page(code);
    return page.IsAlone(character) ? GetUnit(page, &character, 1) : UniChar();
}

bool IsAlpha(UniChar unit)
{
    return unit.IsASCII() ? unit.IsASCIILower() || unit.IsASCIIUpper() : Impl::IsLetter(unit);
}

} // namespace

bool CHisAlnum(const char* text, QVCharCode code) noexcept
{
    const UniChar unit = GetUnit(text, code);
    return IsAlpha(unit) || unit.IsASCIIDigit();
}

bool CHisAlnum(char character, QVCharCode code) noexcept
{
    const UniChar unit = GetUnit(character, code);
    return IsAlpha(unit) || unit.IsASCIIDigit();
}

bool CHisAlpha(const char* text, QVCharCode code) noexcept
{
    return IsAlpha(GetUnit(text, code));
}

bool CHisAlpha(char character, QVCharCode code) noexcept
{
    return IsAlpha(GetUnit(character, code));
}

bool CHisDigit(const char* text, QVCharCode code) noexcept
{
    return GetUnit(text, code).IsASCIIDigit();
}

bool CHisDigit(char character, QVCharCode code) noexcept
{
    return GetUnit(character, code).IsASCIIDigit();
}

bool CHisHexaDigit(const char* text, QVCharCode code) noexcept
{
    return GetUnit(text, code).IsASCIIHexaDigit();
}

bool CHisHexaDigit(char character, QVCharCode code) noexcept
{
    return GetUnit(character, code).IsASCIIHexaDigit();
}

} // namespace QV
