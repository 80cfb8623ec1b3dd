/// Text of either unit into formatted output of either unit.
#pragma once

#include <QVRoot/String/FormatOutputImpl.hpp>
#include <QVRoot/String/UniString.hpp>

#include <algorithm>

namespace QV::Impl {

/// The length of a text of bytes up to its zero, at most `most`.
inline USize MeasureBytes(const char* text, USize most) noexcept
{
    if (most == FormatArgument::UnknownLength) {
        return std::strlen(text);
    }
    const void* const zero = std::memchr(text, 0, most);
    return zero == nullptr ? most : static_cast<USize>(static_cast<const char*>(zero) - text);
}

/// The same, but no longer than what gives `units` UTF-16 units, where the default code page tells that byte
/// by byte.
USize MeasureEncoded(const char* text, USize most, USize units) noexcept;

/// The length of an argument's text, of which no more than `most` units of the output's size are wanted. What
/// lies behind those need not be text.
template <class Unit, class Source>
USize MeasureText(const Source* text, const FormatArgument& argument, USize most) noexcept
{
    USize length = argument.GetLength();
    if (!argument.IsTerminated()) {
        return length;
    }
    if constexpr (sizeof(Source) == 1) {
        return sizeof(Unit) == 1 ? MeasureBytes(text, std::min(length, most))
                                 : MeasureEncoded(text, length, most);
    } else {
        most = std::min(most, length);
        length = 0;
        while (length < most && text[length] != 0) {
            ++length;
        }
        // Half a pair would be no character, and the whole one takes more bytes than are left.
        if (sizeof(Unit) == 1 && length == most && length != 0 && (text[length - 1] & 0xFC00) == 0xD800) {
            --length;
        }
        return length;
    }
}

template <class Unit>
bool IsAsciiText(const Unit* text, USize length) noexcept
{
    UInt32 seen = 0;
    for (USize i = 0; i < length; ++i) {
        seen |= static_cast<std::make_unsigned_t<Unit>>(text[i]);
    }
    return seen < 0x80;
}

template <class Unit, class Source>
void WritePadded(FormatOutput<Unit>& output, const Source* text, USize length, USize width, bool leftAlign)
{
    const USize padding = width > length ? width - length : 0;
    if (!leftAlign) {
        output.Fill(' ', padding);
    }
    output.Write(text, length);
    if (leftAlign) {
        output.Fill(' ', padding);
    }
}

/// Converts UTF-16 to the default code page: as many whole characters as fit `most` bytes. What does not
/// convert as a whole gives nothing.
void WriteEncoded(FormatOutput<char>& output, const UInt16* text, USize length, USize most, USize width,
                  bool leftAlign);

/// At most `most` units of a text, padded to `width`. Text is converted by the default code page where the
/// units differ.
template <class Unit, class Source>
void WriteText(FormatOutput<Unit>& output, const Source* text, USize length, USize most, USize width,
               bool leftAlign)
{
    if constexpr (sizeof(Source) == sizeof(Unit)) {
        WritePadded(output, text, std::min(length, most), width, leftAlign);
    } else if constexpr (sizeof(Source) == 1) {
        if (IsAsciiText(text, length)) {
            WritePadded(output, text, std::min(length, most), width, leftAlign);
        } else {
            const UniString decoded(text, static_cast<UInt32>(std::min<USize>(length, 0xFFFFFFFE)));
            const auto view = decoded.GetView();
            const bool cutsPair = most != 0 && most < view.size() && (view[most - 1] & 0xFC00) == 0xD800;
            WritePadded(output, reinterpret_cast<const UInt16*>(view.data()),
                        std::min<USize>(view.size(), most - cutsPair), width, leftAlign);
        }
    } else {
        WriteEncoded(output, text, length, most, width, leftAlign);
    }
}

} // namespace QV::Impl
