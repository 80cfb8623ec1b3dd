// Copying and cutting, texts with a length byte, XML.
#include <QVRoot/String/CharPageImpl.hpp>
#include <QVRoot/String/CharText.hpp>
#include <QVRoot/String/CharTextSinkImpl.hpp>

#include <algorithm>
#include <cstring>

namespace QV {

using Impl::CharPage;

namespace {

constexpr USize maxPascalLength = 255;

/// The length of a text; anything above `room` when it is longer than that.
USize GetLength(const char* text, USize room)
{
    const void* const end = room == 0 ? nullptr : std::memchr(text, 0, room);
    if (end != nullptr) {
        return static_cast<USize>(static_cast<const char*>(end) - text);
    }
    return text[room] == 0 ? room : room + 1;
}

/// How much of a zero-terminated text goes into so many bytes.
USize FitText(const CharPage& page, const char* text, USize room)
{
    const USize length = GetLength(text, room);
    return length <= room ? length : page.Fit(text, Impl::unlimited, room);
}

/// Copies so many bytes behind a length byte.
int CopyToPascal(const char* source, USize length, unsigned char* destination)
{
    if (length != 0) {
        std::memmove(destination + 1, source, length);
    }
    destination[0] = static_cast<unsigned char>(length);
    return static_cast<int>(length);
}

} // namespace

int CHTruncate(char* text, int maxBytes, QVCharCode code) noexcept
{
    if (text == nullptr) {
        return 0;
    }
    const USize length = FitText(CharPage(code), text, static_cast<USize>(std::max(maxBytes, 0)));
    text[length] = 0;
    return static_cast<int>(length);
}

int CHCopyC(const char* source, char* destination, int capacity, QVCharCode code) noexcept
{
    if (Impl::IsLengthQuestion(source, destination, capacity)) {
        return Impl::ToLength(std::strlen(source));
    }
    if (destination == nullptr || capacity <= 0) {
        return 0;
    }
    const USize room = static_cast<USize>(capacity) - 1;
    const USize length = source == nullptr ? 0 : FitText(CharPage(code), source, room);
    if (length != 0) {
        std::memmove(destination, source, length);
    }
    destination[length] = 0;
    return static_cast<int>(length);
}

int CHCopyPascal(const unsigned char* source, unsigned char* destination, int capacity,
                 QVCharCode code) noexcept
{
    if (destination == nullptr || capacity <= 0) {
        return 0;
    }
    if (source == nullptr) {
        return CopyToPascal(nullptr, 0, destination);
    }
    const char* const text = reinterpret_cast<const char*>(source + 1);
    const USize room = std::min(static_cast<USize>(capacity) - 1, maxPascalLength);
    return CopyToPascal(text, CharPage(code).Fit(text, *source, room), destination);
}

int CHc2pascal(const char* source, unsigned char* destination, int capacity, QVCharCode code) noexcept
{
    if (destination == nullptr || capacity <= 0) {
        return 0;
    }
    const USize room = std::min(static_cast<USize>(capacity) - 1, maxPascalLength);
    const USize length = source == nullptr ? 0 : FitText(CharPage(code), source, room);
    return CopyToPascal(source, length, destination);
}

int CHpascal2c(const unsigned char* source, char* destination, int capacity, QVCharCode code) noexcept
{
    if (source == nullptr) {
        return CHCopyC(nullptr, destination, capacity, code);
    }
    const char* const text = reinterpret_cast<const char*>(source + 1);
    const void* const zero = std::memchr(text, 0, *source);
    USize length = zero == nullptr ? *source : static_cast<USize>(static_cast<const char*>(zero) - text);
    if (Impl::IsLengthQuestion(source, destination, capacity)) {
        return static_cast<int>(length);
    }
    if (destination == nullptr || capacity <= 0) {
        return 0;
    }
    length = CharPage(code).Fit(text, length, static_cast<USize>(capacity) - 1);
    std::memmove(destination, text, length);
    destination[length] = 0;
    return static_cast<int>(length);
}

unsigned char* CHc2pascal(char* text, QVCharCode code) noexcept
{
    unsigned char* const result = reinterpret_cast<unsigned char*>(text);
    if (text != nullptr) {
        CopyToPascal(text, FitText(CharPage(code), text, maxPascalLength), result);
    }
    return result;
}

char* CHpascal2c(unsigned char* text) noexcept
{
    char* const result = reinterpret_cast<char*>(text);
    if (text != nullptr) {
        const USize length = *text;
        std::memmove(result, result + 1, length);
        result[length] = 0;
    }
    return result;
}

// XML.

namespace {

/// What stands for an ASCII character; null for itself.
const char* GetXmlText(char c)
{
    switch (c) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\'':
        return "&apos;";
    case '\r':
        return "&#13;";
    case '\t':
    case '\n':
        return nullptr;
    default:
        return static_cast<UInt8>(c) < 0x20 ? "?" : nullptr;
    }
}

} // namespace

int CHGetXMLString(const char* source, char* destination, int capacity, QVCharCode code) noexcept
{
    return Impl::RewriteText(source, destination, capacity, CharPage(code),
                             [](const char* character, int bytes, Impl::CharTextSink& sink) {
                                 const char* const text = GetXmlText(*character);
                                 return text == nullptr ? sink.Put(character, bytes)
                                                        : sink.Put(text, static_cast<int>(std::strlen(text)));
                             });
}

} // namespace QV
