#include <QVRoot/String/FormatTextImpl.hpp>

namespace QV::Impl {

namespace {

bool IsPair(const UInt16* text, USize left)
{
    return left > 1 && (text[0] & 0xFC00) == 0xD800 && (text[1] & 0xFC00) == 0xDC00;
}

/// How much of a text gives at most `most` bytes.
USize FindFittingLength(const UInt16* text, USize length, USize most)
{
    USize fitting = 0;
    while (fitting < length) {
        const UInt32 units = IsPair(text + fitting, length - fitting) ? 2 : 1;
        const USize bytes = UniChar::GetANSILength(text + fitting, units, DefaultCharCode, ConvertLossy);
        if (bytes > most) {
            break;
        }
        most -= bytes;
        fitting += units;
    }
    return fitting;
}

} // namespace

USize MeasureEncoded(const char* text, USize most, USize units) noexcept
{
    const QVCharCode code = units < most ? CHGetDefaultCharCode() : DefaultCharCode;
    if (code != UTF8CharCode) {
        return MeasureBytes(text, CHSingleByteCharacters(code) ? std::min(most, units) : most);
    }
    USize length = 0;
    while (units != 0 && length < most && text[length] != 0) {
        // The first byte of a character tells its length; the longest ones give two units.
        const auto first = static_cast<unsigned char>(text[length]);
        const USize bytes = first < 0xC0 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
        length += MeasureBytes(text + length, std::min(bytes, most - length));
        units -= std::min<USize>(units, bytes == 4 ? 2 : 1);
    }
    return length;
}

void WriteEncoded(FormatOutput<char>& output, const UInt16* text, USize length, USize most, USize width,
                  bool leftAlign)
{
    length = std::min<USize>(length, 0x7FFFFFFF);
    UInt32 bytes = UniChar::GetANSILength(text, static_cast<UInt32>(length), DefaultCharCode, ConvertLossy);
    if (bytes > most) {
        length = FindFittingLength(text, length, most);
        bytes = UniChar::GetANSILength(text, static_cast<UInt32>(length), DefaultCharCode, ConvertLossy);
    }
    UniString::CStr encoded(bytes);
    if (bytes != 0) {
        bytes = UniChar::UnicodeToANSI(text, static_cast<UInt32>(length), encoded.GetText(), bytes,
                                       DefaultCharCode, ConvertLossy);
    }
    WritePadded(output, encoded.GetText(), bytes, width, leftAlign);
}

} // namespace QV::Impl
