#include <QVRoot/String/CharCode.hpp>
#include <QVRoot/String/CharCodeImpl.hpp>
#include <QVRoot/String/PlatformTextImpl.hpp>
#include <QVRoot/String/Unicode.hpp>

#include <algorithm>

namespace QV {

namespace {

/// Whether source and destination make sense; a null destination of length 0 asks for the length.
bool AreLegal(const void* source, int sourceLength, const void* destination, int destinationLength)
{
    return source != nullptr && sourceLength >= -1 && sourceLength != 0 && destinationLength >= 0 &&
           (destinationLength == 0) == (destination == nullptr);
}

QVCharCode ResolveArgument(QVCharCode code)
{
    return Impl::ResolveCharCode(code == UTF16CharCode ? DefaultCharCode : code);
}

} // namespace

int CHANSI2Unicode(const char* source, int sourceLength, unsigned short* destination, int destinationLength,
                   QVCharCode code, const CHANSI2UnicodeCache**)
{
    if (!AreLegal(source, sourceLength, destination, destinationLength)) {
        return 0;
    }
    code = ResolveArgument(code);
    if (code == UTF8CharCode) {
        return std::max(Unicode::UTF8ToUTF16(source, sourceLength, destination, destinationLength, true), 0);
    }
    return Impl::DecodeCodePage(CHGetCodePage(code), source, sourceLength, destination, destinationLength);
}

int CHUnicode2ANSI(const unsigned short* source, int sourceLength, char* destination, int destinationLength,
                   QVCharCode code, bool lossy, const CHUnicode2ANSICache**)
{
    if (!AreLegal(source, sourceLength, destination, destinationLength)) {
        return 0;
    }
    code = ResolveArgument(code);
    if (code == UTF8CharCode) {
        return std::max(Unicode::UTF16ToUTF8(source, sourceLength, destination, destinationLength, true), 0);
    }
    return Impl::EncodeCodePage(CHGetCodePage(code), source, sourceLength, destination, destinationLength,
                                lossy);
}

} // namespace QV
