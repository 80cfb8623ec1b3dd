// From one code page to UTF-8 and back, in pieces, so that no memory is needed.
#include <QVRoot/String/CharPageImpl.hpp>
#include <QVRoot/String/CharText.hpp>
#include <QVRoot/String/Transcode/TranscodeImpl.hpp>
#include <QVRoot/String/Unicode.hpp>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace QV {

using Impl::CharPage;

namespace {

constexpr USize maxLength = 0x7FFFFFFF;

/// The bytes for a piece of text, or their number when there is no destination; 0 when they do not fit.
int EncodePiece(const CharPage& page, const UInt16* units, int count, char* destination, USize room)
{
    const int capacity = destination == nullptr ? 0 : static_cast<int>(room);
    if (page.IsUtf8()) {
        return std::max(Unicode::UTF16ToUTF8(units, count, destination, capacity, false), 0);
    }
    return Impl::EncodeCodePage(page.GetPage(), units, count, destination, capacity, true);
}

int ConvertPieces(const CharPage& from, const CharPage& to, const char* text, const char* end,
                  char* destination, USize room)
{
    UInt16 units[512];
    USize written = 0;
    while (text != end) {
        const USize count = from.DecodeRun(text, end, units, std::size(units));
        if (destination != nullptr && written == room) {
            return 0;
        }
        char* const rest = destination == nullptr ? nullptr : destination + written;
        const int bytes = EncodePiece(to, units, static_cast<int>(count), rest, room - written);
        written += static_cast<USize>(bytes);
        if (bytes == 0 || written > maxLength) {
            return 0;
        }
    }
    return static_cast<int>(written);
}

int Convert(const CharPage& from, const CharPage& to, const char* source, int sourceLength, char* destination,
            int capacity)
{
    if (source == nullptr || sourceLength < -1 || sourceLength == 0 || capacity < 0 ||
        (capacity == 0) != (destination == nullptr)) {
        return 0;
    }
    const USize length = sourceLength < 0 ? std::strlen(source) + 1 : static_cast<USize>(sourceLength);
    if (length <= maxLength && Impl::IsAscii(source, length)) {
        if (destination != nullptr && length > static_cast<USize>(capacity)) {
            return 0;
        }
        if (destination != nullptr) {
            std::memcpy(destination, source, length);
        }
        return static_cast<int>(length);
    }
    return ConvertPieces(from, to, source, source + length, destination, static_cast<USize>(capacity));
}

} // namespace

int CHANSItoUTF8(const char* source, int sourceLength, char* destination, int capacity,
                 QVCharCode code) noexcept
{
    return Convert(CharPage(code), CharPage(UTF8CharCode), source, sourceLength, destination, capacity);
}

int CHUTF8toANSI(const char* source, int sourceLength, char* destination, int capacity,
                 QVCharCode code) noexcept
{
    return Convert(CharPage(UTF8CharCode), CharPage(code), source, sourceLength, destination, capacity);
}

} // namespace QV
