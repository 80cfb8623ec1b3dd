#include "TextDecoder.hpp"

#include <QVRoot/String/Unicode.hpp>

#include <algorithm>
#include <string>

namespace Tour {

using namespace QV;

namespace {

constexpr UInt64 mostBytes = 0x40000000;

bool StartsWith(const char* bytes, UInt64 size, std::string_view mark)
{
    return std::string_view(bytes, size).starts_with(mark);
}

bool IsHighSurrogate(char16_t unit)
{
    return (unit & 0xFC00) == 0xD800;
}

bool IsLowSurrogate(char16_t unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

/// The first surrogate without its partner, or the length.
std::size_t FindUnpaired(std::u16string_view units)
{
    for (std::size_t i = 0; i < units.size(); ++i) {
        if (IsHighSurrogate(units[i]) && i + 1 < units.size() && IsLowSurrogate(units[i + 1])) {
            ++i;
        } else if (IsHighSurrogate(units[i]) || IsLowSurrogate(units[i])) {
            return i;
        }
    }
    return units.size();
}

DecodeFault DecodeUTF16(const char* bytes, UInt64 size, bool bigEndian, UniString* text)
{
    constexpr UInt64 markSize = 2;
    const auto low = bigEndian ? 1 : 0;
    std::u16string units((size - markSize) / 2, u'\0');
    for (std::size_t i = 0; i < units.size(); ++i) {
        const char* const unit = bytes + markSize + 2 * i;
        units[i] = static_cast<char16_t>(static_cast<unsigned char>(unit[low]) |
                                         static_cast<unsigned char>(unit[1 - low]) << 8);
    }
    const std::size_t unpaired = FindUnpaired(units);
    if (unpaired != units.size()) {
        return {"half of a surrogate pair", markSize + 2 * unpaired};
    }
    if (size % 2 != 0) {
        return {"the last UTF-16 unit is cut", size - 1};
    }
    *text = UniString(std::u16string_view(units));
    return {};
}

/// The length that a sequence's first byte announces.
int GetSequenceLength(char first)
{
    const auto byte = static_cast<unsigned char>(first);
    return byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

/// Goes through a text that is known to have a fault, one sequence at a time.
UInt64 FindFaultInUTF8(const char* bytes, UInt64 size)
{
    UInt64 offset = 0;
    while (offset < size) {
        const int length = GetSequenceLength(bytes[offset]);
        unsigned short units[2];
        if (size - offset < static_cast<UInt64>(length) ||
            Unicode::ConversionError::HasError(
                Unicode::UTF8ToUTF16(bytes + offset, length, units, 2, true))) {
            break;
        }
        offset += static_cast<UInt64>(length);
    }
    return offset;
}

/// A text in a code page is at fault from some length on; that length is found by halving.
UInt64 FindFaultInCodePage(const char* bytes, UInt64 size, QVCharCode code)
{
    UInt64 good = 0;
    UInt64 bad = size;
    while (bad - good > 1) {
        const UInt64 middle = good + (bad - good) / 2;
        const bool converts = CHANSI2Unicode(bytes, static_cast<int>(middle), nullptr, 0, code) != 0;
        (converts ? good : bad) = middle;
    }
    return good;
}

} // namespace

DecodeFault DecodeText(const char* bytes, UInt64 size, QVCharCode code, UniString* text)
{
    text->Clear();
    if (size > mostBytes) {
        return {"the text is too long", mostBytes};
    }
    if (StartsWith(bytes, size, "\xFF\xFE")) {
        return DecodeUTF16(bytes, size, false, text);
    }
    if (StartsWith(bytes, size, "\xFE\xFF")) {
        return DecodeUTF16(bytes, size, true, text);
    }
    const UInt64 markSize = StartsWith(bytes, size, "\xEF\xBB\xBF") ? 3 : 0;
    if (markSize != 0) {
        code = UTF8CharCode;
    }
    if (size == markSize) {
        return {};
    }
    *text = UniString(bytes + markSize, static_cast<unsigned int>(size - markSize), code);
    if (!text->IsEmpty()) {
        return {};
    }
    if (code == UTF8CharCode) {
        return {"not valid UTF-8", FindFaultInUTF8(bytes, size)};
    }
    return {"a byte that the code page does not have", FindFaultInCodePage(bytes, size, code)};
}

} // namespace Tour
