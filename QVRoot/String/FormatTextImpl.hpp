/// Text of either unit into formatted output of either unit.
#pragma once

#include <QVRoot/String/FormatOutputImpl.hpp>
#include <QVRoot/String/UniString.hpp>

#include <algorithm>

namespace QV::Impl {

/// The length of a text, of which no more than `most` units of the output's size are wanted.
template <class Unit, class Source>
USize MeasureText(const Source* text, USize length, USize most) noexcept
{
    if (length != FormatArgument::Terminated) {
        return length;
    }
    if constexpr (sizeof(Source) == 1) {
        // How many bytes give so many units is not known yet.
        if (most == ~USize{0} || sizeof(Unit) != 1) {
            return std::strlen(text);
        }
    }
    length = 0;
    while (length < most && text[length] != 0) {
        ++length;
    }
    if constexpr (sizeof(Source) > sizeof(Unit)) {
        // Half a pair would be no character, and the whole one takes more bytes than are left.
        if (length == most && length != 0 && (text[length - 1] & 0xFC00) == 0xD800) {
            --length;
        }
    }
    return length;
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
            WritePadded(output, reinterpret_cast<const UInt16*>(view.data()),
                        std::min<USize>(view.size(), most), width, leftAlign);
        }
    } else {
        WriteEncoded(output, text, length, most, width, leftAlign);
    }
}

} // namespace QV::Impl
