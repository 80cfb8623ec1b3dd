// Stepping, searching for a character, and lines.
#include <QVRoot/String/CharPageImpl.hpp>
#include <QVRoot/String/CharText.hpp>

#include <cstring>

namespace QV {

using Impl::CharPage;

int CHCharBytes(const char* text, QVCharCode code) noexcept
{
    return text == nullptr || *text == 0 ? 0 : CharPage(code).GetBytes(text);
}

const char* CHGetNextCharPtr(const char* text, QVCharCode code) noexcept
{
    return text == nullptr ? nullptr : text + CHCharBytes(text, code);
}

char* CHGetNextCharPtr(char* text, QVCharCode code) noexcept
{
    return text == nullptr ? nullptr : text + CHCharBytes(text, code);
}

const char* CHGetLastCharPtr(const char* text, QVCharCode code) noexcept
{
    return text == nullptr ? nullptr : CharPage(code).GetLast(text, text + std::strlen(text));
}

char* CHGetLastCharPtr(char* text, QVCharCode code) noexcept
{
    return const_cast<char*>(CHGetLastCharPtr(static_cast<const char*>(text), code));
}

const char* CHGetLastCharPtr(const char* text, const char* end, QVCharCode code) noexcept
{
    return text == nullptr || end == nullptr ? nullptr : CharPage(code).GetLast(text, end);
}

char* CHGetLastCharPtr(char* text, const char* end, QVCharCode code) noexcept
{
    return const_cast<char*>(CHGetLastCharPtr(static_cast<const char*>(text), end, code));
}

// Searching for a character.

namespace {

/// Whether a character of one byte can be looked for without regard to the characters around it.
bool IsPlainByte(const CharPage& page, char character)
{
    return page.IsSingleByte() || (page.IsAsciiAlone() && static_cast<UInt8>(character) < 0x80);
}

/// Calls `visit(position)` at every occurrence until it answers true.
template <class Visit>
void VisitOccurrences(const CharPage& page, const char* text, const char* character, int bytes, Visit visit)
{
    while (*text != 0) {
        const int length = page.GetBytes(text);
        if (length == bytes && std::memcmp(text, character, static_cast<USize>(bytes)) == 0 && visit(text)) {
            return;
        }
        text += length;
    }
}

const char* SearchLeft(const CharPage& page, const char* text, const char* character, int bytes)
{
    if (text == nullptr || *character == 0) {
        return nullptr;
    }
    if (bytes == 1 && IsPlainByte(page, *character)) {
        return std::strchr(text, *character);
    }
    const char* found = nullptr;
    VisitOccurrences(page, text, character, bytes, [&found](const char* position) {
        found = position;
        return true;
    });
    return found;
}

const char* SearchRight(const CharPage& page, const char* text, const char* character, int bytes)
{
    if (text == nullptr || *character == 0) {
        return nullptr;
    }
    if (bytes == 1 && IsPlainByte(page, *character)) {
        return std::strrchr(text, *character);
    }
    const char* found = nullptr;
    VisitOccurrences(page, text, character, bytes, [&found](const char* position) {
        found = position;
        return false;
    });
    return found;
}

} // namespace

const char* CHSearchCharLeft(const char* text, char character, QVCharCode code) noexcept
{
    return SearchLeft(CharPage(code), text, &character, 1);
}

char* CHSearchCharLeft(char* text, char character, QVCharCode code) noexcept
{
    return const_cast<char*>(CHSearchCharLeft(static_cast<const char*>(text), character, code));
}

const char* CHSearchCharLeft(const char* text, const char* character, QVCharCode code) noexcept
{
    const CharPage page(code);
    return character == nullptr ? nullptr : SearchLeft(page, text, character, page.GetBytes(character));
}

char* CHSearchCharLeft(char* text, const char* character, QVCharCode code) noexcept
{
    return const_cast<char*>(CHSearchCharLeft(static_cast<const char*>(text), character, code));
}

const char* CHSearchCharRight(const char* text, char character, QVCharCode code) noexcept
{
    return SearchRight(CharPage(code), text, &character, 1);
}

char* CHSearchCharRight(char* text, char character, QVCharCode code) noexcept
{
    return const_cast<char*>(CHSearchCharRight(static_cast<const char*>(text), character, code));
}

const char* CHSearchCharRight(const char* text, const char* character, QVCharCode code) noexcept
{
    const CharPage page(code);
    return character == nullptr ? nullptr : SearchRight(page, text, character, page.GetBytes(character));
}

char* CHSearchCharRight(char* text, const char* character, QVCharCode code) noexcept
{
    return const_cast<char*>(CHSearchCharRight(static_cast<const char*>(text), character, code));
}

// Lines.

namespace {

/// The first CR or LF that is a character, or the terminator.
const char* FindLineEnd(const CharPage& page, const char* text)
{
    if (page.IsAsciiAlone()) {
        return text + std::strcspn(text, "\r\n");
    }
    while (*text != 0 && *text != '\r' && *text != '\n') {
        text += page.GetBytes(text);
    }
    return text;
}

EOLType GetLineEndType(const char* lineEnd)
{
    return *lineEnd == '\n' ? EOLLF : lineEnd[1] == '\n' ? EOLCRLF : EOLCR;
}

} // namespace

const char* CHGetNextLine(const char* text, const char** lineEnd, EOLType* eol, QVCharCode code) noexcept
{
    const char* const end = text == nullptr ? nullptr : FindLineEnd(CharPage(code), text);
    if (lineEnd != nullptr) {
        *lineEnd = end;
    }
    if (end == nullptr || *end == 0) {
        return nullptr;
    }
    const EOLType type = GetLineEndType(end);
    if (eol != nullptr) {
        *eol = type;
    }
    return end + (type == EOLCRLF ? 2 : 1);
}

const char* CHGetNextLine(const char* text, EOLType eol, const char** lineEnd, QVCharCode code) noexcept
{
    const char* next = text;
    const char* end = nullptr;
    EOLType found = eol;
    do {
        next = CHGetNextLine(next, &end, &found, code);
    } while (next != nullptr && found != eol);
    if (lineEnd != nullptr) {
        *lineEnd = end;
    }
    return next;
}

} // namespace QV
