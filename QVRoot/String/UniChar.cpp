#include <QVRoot/String/PlatformTextImpl.hpp>
#include <QVRoot/String/Transcode/TranscodeImpl.hpp>
#include <QVRoot/String/UniChar.hpp>

#include <cwctype>

namespace QV {

namespace {

/// A unit as the standard library sees it. Half a surrogate pair is no character and belongs to no class.
template <class Classify>
bool IsInClass(unsigned short unit, Classify classify)
{
    const bool surrogate = (unit & 0xF800) == 0xD800;
    return !surrogate && classify(static_cast<std::wint_t>(unit)) != 0;
}

} // namespace

bool UniChar::IsAlpha() const
{
    return IsInClass(unit_, std::iswalpha);
}

bool UniChar::IsAlphaNumeric() const
{
    return IsInClass(unit_, std::iswalnum);
}

bool UniChar::IsControl() const
{
    return IsInClass(unit_, std::iswcntrl);
}

bool UniChar::IsDigit() const
{
    return IsInClass(unit_, std::iswdigit);
}

bool UniChar::IsLower() const
{
    return IsInClass(unit_, std::iswlower);
}

bool UniChar::IsPunctuation() const
{
    return IsInClass(unit_, std::iswpunct);
}

bool UniChar::IsUpper() const
{
    return IsInClass(unit_, std::iswupper);
}

bool UniChar::IsWhiteSpace() const
{
    return IsInClass(unit_, std::iswspace);
}

unsigned short UniChar::CharToUnicode(char c)
{
    if (IsUnicodeCompatible(c)) {
        return static_cast<unsigned short>(c);
    }
    unsigned short unit = 0;
    return CHANSI2Unicode(&c, 1, &unit, 1, DefaultCharCode) == 1 ? unit : 0;
}

char UniChar::UnicodeToChar(unsigned short unit)
{
    if (IsANSICompatible(unit)) {
        return static_cast<char>(unit);
    }
    char c = 0;
    return CHUnicode2ANSI(&unit, 1, &c, 1, DefaultCharCode, true) == 1 ? c : 0;
}

// The conversions of 8-bit text.

namespace {

constexpr unsigned int maxLength = 0x7FFFFFFF;

/// Whether the conversion is a plain copy. The symbol page is asked about every character.
template <class Char>
bool IsPlainCopy(const Char* source, unsigned int length, QVCharCode code)
{
    return code != SymbolCharCode && source != nullptr && Impl::IsAscii(source, length);
}

} // namespace

unsigned int UniChar::ANSIToUnicode(const char* source, unsigned int sourceLength,
                                    unsigned short* destination, unsigned int destinationLength,
                                    QVCharCode code)
{
    if (sourceLength > maxLength || destinationLength > maxLength) {
        return 0;
    }
    if (destination != nullptr && IsPlainCopy(source, sourceLength, code)) {
        if (destinationLength < sourceLength) {
            return 0;
        }
        Impl::WidenAscii(source, sourceLength, destination);
        return sourceLength;
    }
    return static_cast<unsigned int>(CHANSI2Unicode(source, static_cast<int>(sourceLength), destination,
                                                    static_cast<int>(destinationLength), code));
}

unsigned int UniChar::UnicodeToANSI(const unsigned short* source, unsigned int sourceLength,
                                    char* destination, unsigned int destinationLength, QVCharCode code,
                                    OnConversionError rule)
{
    if (sourceLength > maxLength || destinationLength > maxLength) {
        return 0;
    }
    if (destination != nullptr && IsPlainCopy(source, sourceLength, code)) {
        if (destinationLength < sourceLength) {
            return 0;
        }
        Impl::NarrowAscii(source, sourceLength, destination);
        return sourceLength;
    }
    return static_cast<unsigned int>(CHUnicode2ANSI(source, static_cast<int>(sourceLength), destination,
                                                    static_cast<int>(destinationLength), code,
                                                    rule == ConvertLossy));
}

unsigned int UniChar::GetUnicodeLength(const char* source, unsigned int sourceLength, QVCharCode code)
{
    if (sourceLength > maxLength) {
        return 0;
    }
    if (IsPlainCopy(source, sourceLength, code)) {
        return sourceLength;
    }
    return static_cast<unsigned int>(
        CHANSI2Unicode(source, static_cast<int>(sourceLength), nullptr, 0, code));
}

unsigned int UniChar::GetANSILength(const unsigned short* source, unsigned int sourceLength, QVCharCode code,
                                    OnConversionError rule)
{
    if (sourceLength > maxLength) {
        return 0;
    }
    if (IsPlainCopy(source, sourceLength, code)) {
        return sourceLength;
    }
    return static_cast<unsigned int>(
        CHUnicode2ANSI(source, static_cast<int>(sourceLength), nullptr, 0, code, rule == ConvertLossy));
}

} // namespace QV
