#include <QVRoot/BasicEnvironment/QVTime.hpp>
#include <QVRoot/Channel/Conversion/ConversionKernelsImpl.hpp>
#include <QVRoot/Channel/PlatformConversion.hpp>
#include <QVRoot/String/CharCodeImpl.hpp>
#include <QVRoot/String/MacMapsImpl.hpp>

#include <cstring>
#include <limits>

namespace QV {

namespace {

constexpr USize mostBytes = static_cast<USize>(std::numeric_limits<int>::max());

bool HasMacText(PlatformSign sign)
{
    return sign == MacPlatformSign || sign == MacIntelPlatformSign;
}

/// The map for the way from one platform to another; null for none. It is not the same both ways: what comes
/// from a Mac is not translated for a platform that is only like Windows.
const UInt8* FindMap(PlatformSign from, QVCharCode code, PlatformSign to)
{
    if (HasMacText(from) && to == WinPlatformSign) {
        return Impl::FindMacMaps(Impl::ResolveCharCode(code)).macToWin;
    }
    if ((from == WinPlatformSign || from == WinLikePlatformSign) && HasMacText(to)) {
        return Impl::FindMacMaps(Impl::ResolveCharCode(code)).winToMac;
    }
    return nullptr;
}

void Translate(const UInt8* map, char* text, USize length)
{
    Impl::GetConversionKernels().translate(map, reinterpret_cast<UInt8*>(text), length);
}

/// The bytes that the copy of a text takes; more than an int can say for a size that is not allowed.
USize GetSizeOfCopy(const UInt8* text, USize length, USize lineEndLength)
{
    const Impl::LineEnds ends = Impl::GetConversionKernels().countLineEnds(text, length);
    return lineEndLength == 2 ? length + ends.singles : length - ends.pairs;
}

} // namespace

void IVChars(PlatformSign from, char* text, int length, QVCharCode code, PlatformSign to) noexcept
{
    const UInt8* const map = FindMap(from, code, to);
    if (map == nullptr) {
        return;
    }
    if (length == -1) {
        Translate(map, text, std::strlen(text));
    } else if (length > 0) {
        Translate(map, text, static_cast<USize>(length));
    }
}

void IVCString(PlatformSign from, char* text, QVCharCode code, PlatformSign to) noexcept
{
    IVChars(from, text, -1, code, to);
}

void IVPString(PlatformSign from, unsigned char* text, QVCharCode code, PlatformSign to) noexcept
{
    IVChars(from, reinterpret_cast<char*>(text + 1), text[0], code, to);
}

void IVPlatformTime(PlatformSign sign, int* time) noexcept
{
    if (*time == 0) {
        return;
    }
    UInt32 macTime = static_cast<UInt32>(*time);
    IVULong(sign, &macTime);
    int libraryTime = 0;
    if (TIMac2QVTime(macTime, &libraryTime) != NoError || TIQV2WinTime(libraryTime, time) != NoError) {
        *time = 0;
    }
}

int IVEndofLine(const char* source, int sourceLength, char* target, int room, EOLType eol) noexcept
{
    if (source == nullptr || source == target || (room != 0 && target == nullptr) || sourceLength < -1 ||
        eol < EOLCR || eol > EOLCRLF) {
        return 0;
    }
    const USize length = sourceLength == -1 ? std::strlen(source) + 1 : static_cast<USize>(sourceLength);
    const auto* const text = reinterpret_cast<const UInt8*>(source);
    const USize lineEndLength = eol == EOLCRLF ? 2 : 1;
    const USize size = GetSizeOfCopy(text, length, lineEndLength);
    if (size > mostBytes || (room != 0 && room < static_cast<int>(size))) {
        return 0;
    }
    if (room != 0) {
        auto* const copy = reinterpret_cast<UInt8*>(target);
        const UInt8 first = eol == EOLLF ? '\n' : '\r';
        Impl::LineRewriting rewriting = {text,        text + length, copy,
                                         copy + size, {first, '\n'}, lineEndLength};
        Impl::GetConversionKernels().rewriteLineEnds(rewriting);
        Impl::ReferenceRewriteLineEnds(rewriting);
    }
    return static_cast<int>(size);
}

} // namespace QV
