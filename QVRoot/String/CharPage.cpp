#include <QVRoot/String/CharCodeImpl.hpp>
#include <QVRoot/String/CharPageImpl.hpp>
#include <QVRoot/String/Transcode/TranscodeChoiceImpl.hpp>
#include <QVRoot/String/Unicode.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

#include <algorithm>
#include <atomic>
#include <cstring>

namespace QV::Impl {

namespace {

constexpr UInt16 replacement = 0xFFFD;

bool IsContinuation(char c)
{
    return (static_cast<UInt8>(c) & 0xC0) == 0x80;
}

/// The continuation bytes that a lead byte takes along; none for a byte that cannot lead.
int GetContinuations(char lead)
{
    const int trailing = GetTrailingBytes(static_cast<UInt8>(lead));
    return trailing > 3 ? 0 : trailing;
}

/// One or two units; 0 for no character.
int ToUnits(UInt32 codePoint, UInt16 (&units)[2])
{
    if (codePoint > 0x10FFFF || (codePoint & 0xFFFFF800) == 0xD800) {
        return 0;
    }
    if (codePoint < 0x10000) {
        units[0] = static_cast<UInt16>(codePoint);
        return 1;
    }
    units[0] = static_cast<UInt16>(0xD7C0 + (codePoint >> 10));
    units[1] = static_cast<UInt16>(0xDC00 + (codePoint & 0x3FF));
    return 2;
}

/// The counterpart of a code point; the code point itself when there is none.
UInt32 MapCodePoint(TextMapping mapping, UInt32 codePoint)
{
    if (codePoint < 0x80) {
        return static_cast<UInt8>(MapAsciiCase(mapping, static_cast<char>(codePoint)));
    }
    UInt16 units[2];
    UInt16 mapped[2];
    const int count = ToUnits(codePoint, units);
    if (count == 0 || MapText(mapping, units, count, mapped, 2) != count) {
        return codePoint;
    }
    return count == 1 ? mapped[0] : ((mapped[0] - 0xD7C0U) << 10) + (mapped[1] - 0xDC00U);
}

/// The case of a single-byte page, byte by byte.
struct CaseTable {
    UInt8 bytes[0x100];
};

constinit CriticalSection caseSection;
constinit std::atomic<bool> isCaseBuilt[2][9] = {};
constinit CaseTable caseTables[2][9] = {};

/// The table, made when it is first asked for by `map(byte)`.
template <class Map>
const CaseTable& GetCaseTable(TextMapping mapping, UInt32 page, Map map)
{
    const UInt32 column = page == 874 ? 8 : page - 1250;
    const UInt32 row = mapping == TextMapping::UpperCase;
    CaseTable& table = caseTables[row][column];
    std::atomic<bool>& isBuilt = isCaseBuilt[row][column];
    if (!isBuilt.load(std::memory_order_acquire)) [[unlikely]] {
        const CriticalSectionGuard guard(caseSection);
        for (UInt32 byte = 0; byte < 0x100 && !isBuilt.load(std::memory_order_relaxed); ++byte) {
            table.bytes[byte] = map(static_cast<char>(byte));
        }
        isBuilt.store(true, std::memory_order_release);
    }
    return table;
}

} // namespace

CharPage::CharPage(QVCharCode code) noexcept
    : code_(ResolveCharCode(code == UTF16CharCode ? DefaultCharCode : code))
{
    const bool isDouble = code_ >= JapaneseCharCode && code_ <= KoreanCharCode;
    form_ = code_ == UTF8CharCode ? Form::Utf8 : isDouble ? Form::DoubleByte : Form::SingleByte;
}

bool CharPage::IsLead(UInt8 byte) const noexcept
{
    if (code_ == JapaneseCharCode) {
        return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
    }
    return byte >= 0x81 && byte <= 0xFE;
}

bool CharPage::IsAlone(char byte) const noexcept
{
    const UInt8 number = static_cast<UInt8>(byte);
    return number < 0x80 || form_ == Form::SingleByte || (form_ == Form::DoubleByte && !IsLead(number));
}

int CharPage::GetBytes(const char* text, USize left) const noexcept
{
    if (form_ == Form::SingleByte || static_cast<UInt8>(*text) < 0x80) {
        return 1;
    }
    if (form_ == Form::DoubleByte) {
        return left > 1 && IsLead(static_cast<UInt8>(text[0])) && text[1] != 0 ? 2 : 1;
    }
    const int continuations = GetContinuations(*text);
    int bytes = 1;
    while (bytes <= continuations && static_cast<USize>(bytes) < left && IsContinuation(text[bytes])) {
        ++bytes;
    }
    return bytes;
}

const char* CharPage::GetLastOfUtf8(const char* text, const char* end) const noexcept
{
    for (int back = 1; back <= maxCharBytes && end - text >= back; ++back) {
        const char lead = end[-back];
        if (!IsContinuation(lead)) {
            return GetContinuations(lead) >= back - 1 ? end - back : end - 1;
        }
    }
    return end - 1;
}

const char* CharPage::GetLast(const char* text, const char* end) const noexcept
{
    if (end <= text) {
        return text;
    }
    if (form_ == Form::SingleByte) {
        return end - 1;
    }
    if (form_ == Form::Utf8) {
        return GetLastOfUtf8(text, end);
    }
    for (;;) {
        const char* const next = text + GetBytes(text, static_cast<USize>(end - text));
        if (next >= end) {
            return text;
        }
        text = next;
    }
}

USize CharPage::Fit(const char* text, USize left, USize room) const noexcept
{
    if (left <= room) {
        return left;
    }
    if (room == 0 || form_ == Form::SingleByte) {
        return room;
    }
    // The character that holds the last byte of the room may reach beyond it.
    const USize start = static_cast<USize>(GetLast(text, text + room) - text);
    return start + static_cast<USize>(GetBytes(text + start, left - start)) <= room ? room : start;
}

UInt32 CharPage::Decode(const char* text, int bytes) const noexcept
{
    const UInt8 first = static_cast<UInt8>(*text);
    if (first < 0x80) {
        return first;
    }
    if (form_ != Form::Utf8) {
        UInt16 units[2];
        return DecodeCodePage(GetPage(), text, bytes, units, 2) == 1 ? units[0] : noCharacter;
    }
    if (GetContinuations(*text) != bytes - 1 || !Unicode::IsLegalUTF8(text, bytes)) {
        return noCharacter;
    }
    constexpr UInt32 payloads[] = {0x7F, 0x1F, 0x0F, 0x07};
    UInt32 codePoint = first & payloads[bytes - 1];
    for (int i = 1; i < bytes; ++i) {
        codePoint = codePoint << 6 | (static_cast<UInt8>(text[i]) & 0x3F);
    }
    return (codePoint & 0xFFFFF800) == 0xD800 ? noCharacter : codePoint;
}

int CharPage::Encode(UInt32 codePoint, char* result) const noexcept
{
    UInt16 units[2];
    const int count = ToUnits(codePoint, units);
    if (count == 0) {
        return 0;
    }
    if (form_ == Form::Utf8) {
        return std::max(Unicode::UTF16ToUTF8(units, count, result, maxCharBytes, true), 0);
    }
    return EncodeCodePage(GetPage(), units, count, result, maxCharBytes, false);
}

int CharPage::MapAnyCase(TextMapping mapping, const char* text, int bytes, char* result) const noexcept
{
    const UInt32 codePoint = Decode(text, bytes);
    const UInt32 counterpart = MapCodePoint(mapping, codePoint);
    if (counterpart != codePoint) {
        // A code that only stands in for a character is not the character.
        char same[maxCharBytes];
        const bool isProper = Encode(codePoint, same) == bytes && std::equal(same, same + bytes, text);
        const int size = isProper ? Encode(counterpart, result) : 0;
        if (size > 0) {
            return size;
        }
    }
    std::memcpy(result, text, static_cast<USize>(bytes));
    return bytes;
}

int CharPage::MapCase(TextMapping mapping, const char* text, int bytes, char* result) const noexcept
{
    if (static_cast<UInt8>(*text) < 0x80) {
        *result = MapAsciiCase(mapping, *text);
        return 1;
    }
    const UInt32 page = form_ == Form::SingleByte ? GetPage() : 0;
    if (FindSingleByteTable(page) != nullptr) {
        const CaseTable& table = GetCaseTable(mapping, page, [this, mapping](char byte) {
            char mapped[maxCharBytes];
            const bool one = MapAnyCase(mapping, &byte, 1, mapped) == 1;
            return static_cast<UInt8>(one ? mapped[0] : byte);
        });
        *result = static_cast<char>(table.bytes[static_cast<UInt8>(*text)]);
        return 1;
    }
    return MapAnyCase(mapping, text, bytes, result);
}

UInt32 CharPage::Fold(TextMapping mapping, const char* text, int bytes) const noexcept
{
    if (form_ == Form::Utf8) {
        const UInt32 codePoint = Decode(text, bytes);
        if (codePoint != noCharacter) {
            return MapCodePoint(mapping, codePoint);
        }
    }
    char folded[maxCharBytes] = {};
    MapCase(mapping, text, bytes, folded);
    UInt32 number = 0;
    for (const char byte : folded) {
        number = number << 8 | static_cast<UInt8>(byte);
    }
    return number;
}

USize CharPage::DecodeUtf8Run(const char*& text, const char* end, UInt16* units, USize room) const noexcept
{
    const TranscodeKernels& kernels = GetTranscodeKernels();
    USize count = 0;
    while (text != end && room - count >= 2) {
        const TranscodeProgress progress =
            kernels.decode(reinterpret_cast<const UInt8*>(text), static_cast<USize>(end - text),
                           units + count, room - count);
        text += progress.read;
        count += progress.produced;
        // The kernel stopped for want of room, in front of something illegal, or near the end.
        if (text != end && room - count >= 2) {
            const int bytes = GetBytes(text, static_cast<USize>(end - text));
            UInt16 pair[2] = {replacement, 0};
            const int produced = std::max(ToUnits(Decode(text, bytes), pair), 1);
            std::copy(pair, pair + produced, units + count);
            count += static_cast<USize>(produced);
            text += bytes;
        }
    }
    return count;
}

USize CharPage::DecodeRun(const char*& text, const char* end, UInt16* units, USize room) const noexcept
{
    if (form_ == Form::Utf8) {
        return DecodeUtf8Run(text, end, units, room);
    }
    // No page makes more units than bytes.
    const USize bytes = Fit(text, static_cast<USize>(end - text), std::min<USize>(room, 0x40000000));
    const int length = static_cast<int>(bytes);
    const int decoded = length == 0 ? 0 : DecodeCodePage(GetPage(), text, length, units, length);
    text += bytes;
    if (decoded > 0 || length == 0) {
        return static_cast<USize>(decoded);
    }
    // A page of the operating system's that finds something illegal.
    for (USize i = 0; i < bytes; ++i) {
        const UInt8 byte = static_cast<UInt8>(text[i - bytes]);
        units[i] = byte < 0x80 ? byte : replacement;
    }
    return bytes;
}

char MapAsciiCase(TextMapping mapping, char character) noexcept
{
    const char first = mapping == TextMapping::UpperCase ? 'a' : 'A';
    const bool isLetter = character >= first && character < first + 26;
    return static_cast<char>(isLetter ? character ^ 0x20 : character);
}

} // namespace QV::Impl
