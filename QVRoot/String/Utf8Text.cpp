#include <QVRoot/String/CharPageImpl.hpp>
#include <QVRoot/String/CharText.hpp>
#include <QVRoot/String/Utf8Text.hpp>

#include <cstring>

namespace QV::Unicode::UTF8 {

namespace {

int Count(const char* text, USize length)
{
    const Impl::CharPage page(UTF8CharCode);
    USize count = 0;
    for (USize i = 0; i < length; ++count) {
        i += static_cast<USize>(page.GetBytes(text + i, length - i));
    }
    return count > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(count);
}

} // namespace

int CountOfCharacters(const char* text) noexcept
{
    return text == nullptr ? 0 : Count(text, std::strlen(text));
}

int CountOfCharacters(const char* text, int length) noexcept
{
    return text == nullptr || length <= 0 ? 0 : Count(text, static_cast<USize>(length));
}

const char* GetNextCharPtr(const char* text) noexcept
{
    return CHGetNextCharPtr(text, UTF8CharCode);
}

char* GetNextCharPtr(char* text) noexcept
{
    return CHGetNextCharPtr(text, UTF8CharCode);
}

const char* GetLastCharPtr(const char* text) noexcept
{
    return CHGetLastCharPtr(text, UTF8CharCode);
}

char* GetLastCharPtr(char* text) noexcept
{
    return CHGetLastCharPtr(text, UTF8CharCode);
}

const char* GetLastCharPtr(const char* text, const char* end) noexcept
{
    return CHGetLastCharPtr(text, end, UTF8CharCode);
}

char* GetLastCharPtr(char* text, const char* end) noexcept
{
    return CHGetLastCharPtr(text, end, UTF8CharCode);
}

const char* SearchCharLeftPtr(const char* text, char character) noexcept
{
    return CHSearchCharLeft(text, character, UTF8CharCode);
}

char* SearchCharLeftPtr(char* text, char character) noexcept
{
    return CHSearchCharLeft(text, character, UTF8CharCode);
}

const char* SearchCharLeftPtr(const char* text, const char* character) noexcept
{
    return CHSearchCharLeft(text, character, UTF8CharCode);
}

char* SearchCharLeftPtr(char* text, const char* character) noexcept
{
    return CHSearchCharLeft(text, character, UTF8CharCode);
}

const char* SearchCharRightPtr(const char* text, char character) noexcept
{
    return CHSearchCharRight(text, character, UTF8CharCode);
}

char* SearchCharRightPtr(char* text, char character) noexcept
{
    return CHSearchCharRight(text, character, UTF8CharCode);
}

const char* SearchCharRightPtr(const char* text, const char* character) noexcept
{
    return CHSearchCharRight(text, character, UTF8CharCode);
}

char* SearchCharRightPtr(char* text, const char* character) noexcept
{
    return CHSearchCharRight(text, character, UTF8CharCode);
}

const char* SearchSubstring(const char* text, const char* part, CaseType caseType) noexcept
{
    return CHSearchSubstring(text, part, caseType, UTF8CharCode);
}

char* SearchSubstring(char* text, const char* part, CaseType caseType) noexcept
{
    return CHSearchSubstring(text, part, caseType, UTF8CharCode);
}

int CompareStrings(const char* text1, int length1, const char* text2, int length2, CaseType caseType) noexcept
{
    return CHCompareTexts(text1, length1, text2, length2, caseType, UTF8CharCode);
}

int CompareCStrings(const char* text1, const char* text2, CaseType caseType) noexcept
{
    return CHCompareTexts(text1, text2, caseType, UTF8CharCode);
}

bool IsEqualCStrings(const char* text1, const char* text2, CaseType caseType) noexcept
{
    return caseType == CaseInsensitiveType ? CHEqualCStringsInsensitive(text1, text2, UTF8CharCode)
                                           : CHEqualCStrings(text1, text2);
}

int Copy(const char* source, char* destination, int capacity) noexcept
{
    return CHCopyC(source, destination, capacity, UTF8CharCode);
}

int Truncate(char* text, int maxBytes) noexcept
{
    return CHTruncate(text, maxBytes, UTF8CharCode);
}

int ToLower(char* text) noexcept
{
    return CHtoLower(text, UTF8CharCode);
}

int ToLower(const char* source, char* destination, int capacity) noexcept
{
    return CHtoLower(source, destination, capacity, UTF8CharCode);
}

int ToUpper(char* text) noexcept
{
    return CHtoUpper(text, UTF8CharCode);
}

int ToUpper(const char* source, char* destination, int capacity) noexcept
{
    return CHtoUpper(source, destination, capacity, UTF8CharCode);
}

bool IsAlnum(const char* text) noexcept
{
    return CHisAlnum(text, UTF8CharCode);
}

bool IsAlpha(const char* text) noexcept
{
    return CHisAlpha(text, UTF8CharCode);
}

bool IsDigit(const char* text) noexcept
{
    return CHisDigit(text, UTF8CharCode);
}

bool IsHexaDigit(const char* text) noexcept
{
    return CHisHexaDigit(text, UTF8CharCode);
}

} // namespace QV::Unicode::UTF8
