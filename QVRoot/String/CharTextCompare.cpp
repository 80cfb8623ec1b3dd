// Order and equality of texts, and the search for one text in another.
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/String/CharPageImpl.hpp>
#include <QVRoot/String/CharText.hpp>
#include <QVRoot/String/UniChar.hpp>

#include <algorithm>
#include <cstring>

namespace QV {

using Impl::CharPage;

namespace {

/// A text in UTF-16 for the time of a comparison.
class DecodedText {
public:
    DecodedText(const CharPage& page, const char* text, USize length) noexcept
    {
        const USize room = length + 1; // a character of two units has four bytes
        if (room > inlineUnits) {
            units_ = static_cast<UInt16*>(
                MemoryManager::Allocate(room * sizeof(UInt16), MemoryManager::ReturnNullOnFailure, true));
        }
        if (units_ != nullptr) {
            const char* const end = text + length;
            length_ = page.DecodeRun(text, end, units_, room);
        }
    }
    ~DecodedText()
    {
        if (units_ != inline_) {
            MemoryManager::Free(units_);
        }
    }
    DecodedText(const DecodedText&) = delete;
    DecodedText& operator=(const DecodedText&) = delete;

    /// Null when there was no memory.
    const UInt16* GetUnits() const noexcept { return units_; }
    UInt32 GetLength() const noexcept { return static_cast<UInt32>(length_); }

private:
    static constexpr USize inlineUnits = 257;

    UInt16 inline_[inlineUnits];
    UInt16* units_ = inline_;
    USize length_ = 0;
};

int CompareBytes(const char* text1, USize length1, const char* text2, USize length2)
{
    const int order = std::memcmp(text1, text2, std::min(length1, length2));
    return order != 0 ? order : (length1 > length2) - (length1 < length2);
}

/// A null text before all others.
int CompareNull(const void* text1, const void* text2)
{
    return (text1 != nullptr) - (text2 != nullptr);
}

constexpr USize maxLength = 0x7FFFFFFE;

int CompareInLocale(const CharPage& page, const char* text1, USize length1, const char* text2, USize length2,
                    CaseType caseType)
{
    if (length1 == length2 && std::memcmp(text1, text2, length1) == 0) {
        return 0;
    }
    if (length1 > maxLength || length2 > maxLength) {
        return CompareBytes(text1, length1, text2, length2);
    }
    const DecodedText units1(page, text1, length1);
    const DecodedText units2(page, text2, length2);
    if (units1.GetUnits() == nullptr || units2.GetUnits() == nullptr) {
        return CompareBytes(text1, length1, text2, length2);
    }
    const auto rule = caseType == CaseInsensitiveType ? UniChar::IgnoreCase : UniChar::CaseSensitive;
    const auto order =
        UniChar::Compare(units1.GetUnits(), units1.GetLength(), units2.GetUnits(), units2.GetLength(), rule);
    return static_cast<int>(order) - static_cast<int>(UniChar::Equal);
}

USize GetLength(const char* text, int length)
{
    return length < 0 ? std::strlen(text) : static_cast<USize>(length);
}

} // namespace

int CHCompareTexts(const char* text1, const char* text2, CaseType caseType, QVCharCode code) noexcept
{
    return CHCompareTexts(text1, -1, text2, -1, caseType, code);
}

int CHCompareTexts(const char* text1, int length1, const char* text2, int length2, CaseType caseType,
                   QVCharCode code) noexcept
{
    if (text1 == nullptr || text2 == nullptr) {
        return CompareNull(text1, text2);
    }
    return CompareInLocale(CharPage(code), text1, GetLength(text1, length1), text2, GetLength(text2, length2),
                           caseType);
}

int CHCompareASCII(const char* text1, const char* text2, CaseType caseType) noexcept
{
    if (text1 == nullptr || text2 == nullptr) {
        return CompareNull(text1, text2);
    }
    if (caseType != CaseInsensitiveType) {
        return std::strcmp(text1, text2);
    }
    for (;; ++text1, ++text2) {
        const int byte1 = static_cast<UInt8>(Impl::MapAsciiCase(Impl::TextMapping::LowerCase, *text1));
        const int byte2 = static_cast<UInt8>(Impl::MapAsciiCase(Impl::TextMapping::LowerCase, *text2));
        if (byte1 != byte2 || byte1 == 0) {
            return byte1 - byte2;
        }
    }
}

namespace {

int CompareNames(const CharPage& page, const char* name1, const char* end1, const char* name2,
                 const char* end2)
{
    while (name1 != end1 && name2 != end2) {
        const int bytes1 = page.GetBytes(name1, static_cast<USize>(end1 - name1));
        const int bytes2 = page.GetBytes(name2, static_cast<USize>(end2 - name2));
        const UInt32 number1 = page.Fold(Impl::TextMapping::UpperCase, name1, bytes1);
        const UInt32 number2 = page.Fold(Impl::TextMapping::UpperCase, name2, bytes2);
        if (number1 != number2) {
            return number1 < number2 ? -1 : 1;
        }
        name1 += bytes1;
        name2 += bytes2;
    }
    return (name1 != end1) - (name2 != end2);
}

} // namespace

int CHCompareFileNames(const char* name1, const char* name2, QVCharCode code) noexcept
{
    if (name1 == nullptr || name2 == nullptr) {
        return CompareNull(name1, name2);
    }
    return CompareNames(CharPage(code), name1, name1 + std::strlen(name1), name2, name2 + std::strlen(name2));
}

bool CHEqualCStrings(const char* text1, const char* text2) noexcept
{
    return text1 == nullptr || text2 == nullptr ? text1 == text2 : std::strcmp(text1, text2) == 0;
}

bool CHEqualCStringsInsensitive(const char* text1, const char* text2, QVCharCode code) noexcept
{
    return CHCompareTexts(text1, text2, CaseInsensitiveType, code) == 0;
}

bool CHEqualFileNames(const char* name1, const char* name2, QVCharCode code) noexcept
{
    return CHCompareFileNames(name1, name2, code) == 0;
}

bool CHEqualPFileNames(const unsigned char* name1, const unsigned char* name2, QVCharCode code) noexcept
{
    if (name1 == nullptr || name2 == nullptr) {
        return name1 == name2;
    }
    const char* const text1 = reinterpret_cast<const char*>(name1 + 1);
    const char* const text2 = reinterpret_cast<const char*>(name2 + 1);
    return CompareNames(CharPage(code), text1, text1 + *name1, text2, text2 + *name2) == 0;
}

// The search for a text.

namespace {

/// Whether an occurrence of `part` as bytes is one of characters: in UTF-8, unless it begins or ends inside.
bool IsWhole(const CharPage& page, const char* text, const char* found, USize length)
{
    const char* const last = page.GetLast(text, found + length);
    const USize left = static_cast<USize>(found + length - last);
    const bool endsWhole = static_cast<USize>(page.GetBytes(last)) == left;
    if (!endsWhole || found == text) {
        return endsWhole;
    }
    const char* const before = page.GetLast(text, found);
    return before + page.GetBytes(before) == found;
}

const char* SearchBytes(const CharPage& page, const char* text, const char* part)
{
    const USize length = std::strlen(part);
    const char* found = std::strstr(text, part);
    while (found != nullptr && !page.IsSingleByte() && !IsWhole(page, text, found, length)) {
        found = std::strstr(found + 1, part);
    }
    return found;
}

/// Whether the text goes on with the characters of the part; `key` gives a number for each.
template <class Key>
bool BeginsWith(const CharPage& page, const char* text, const char* part, Key key)
{
    while (*part != 0) {
        const int partBytes = page.GetBytes(part);
        const int textBytes = page.GetBytes(text);
        if (key(text, textBytes) != key(part, partBytes)) {
            return false; // also at the end of the text
        }
        text += textBytes;
        part += partBytes;
    }
    return true;
}

template <class Key>
const char* SearchCharacters(const CharPage& page, const char* text, const char* part, Key key)
{
    const int partBytes = page.GetBytes(part);
    const UInt32 first = key(part, partBytes);
    while (*text != 0) {
        const int bytes = page.GetBytes(text);
        if (key(text, bytes) == first && BeginsWith(page, text + bytes, part + partBytes, key)) {
            return text;
        }
        text += bytes;
    }
    return nullptr;
}

} // namespace

const char* CHSearchSubstring(const char* text, const char* part, CaseType caseType, QVCharCode code) noexcept
{
    if (text == nullptr || part == nullptr || *part == 0) {
        return part == nullptr ? nullptr : text;
    }
    const CharPage page(code);
    if (caseType != CaseInsensitiveType && page.IsAsciiAlone()) {
        return SearchBytes(page, text, part);
    }
    if (caseType != CaseInsensitiveType) {
        return SearchCharacters(page, text, part, [](const char* character, int bytes) {
            const UInt32 first = static_cast<UInt8>(*character);
            return bytes == 1 ? first : first << 8 | static_cast<UInt8>(character[1]); // no page has more
        });
    }
    return SearchCharacters(page, text, part, [&page](const char* character, int bytes) {
        return page.Fold(Impl::TextMapping::LowerCase, character, bytes);
    });
}

char* CHSearchSubstring(char* text, const char* part, CaseType caseType, QVCharCode code) noexcept
{
    return const_cast<char*>(CHSearchSubstring(static_cast<const char*>(text), part, caseType, code));
}

} // namespace QV
