// The kernels written down element by element: for processors that lack the rest, and what everything else is
// tested against.
#include <QVRoot/Channel/Conversion/ConversionKernelsImpl.hpp>

#include <algorithm>
#include <cstring>

namespace QV::Impl {

namespace {

constexpr UInt8 cr = '\r';
constexpr UInt8 lf = '\n';

UInt16 Reverse(UInt16 value)
{
    return static_cast<UInt16>(value >> 8 | value << 8);
}

UInt32 Reverse(UInt32 value)
{
    return value >> 24 | (value >> 8 & 0xFF00) | (value << 8 & 0xFF0000) | value << 24;
}

UInt64 Reverse(UInt64 value)
{
    return UInt64{Reverse(static_cast<UInt32>(value))} << 32 | Reverse(static_cast<UInt32>(value >> 32));
}

/// Compilers know these loops and make good code of them, but data at odd addresses must be copied.
template <class Element>
void Swap(UInt8* data, USize count)
{
    for (const UInt8* const end = data + count * sizeof(Element); data != end; data += sizeof(Element)) {
        Element element;
        std::memcpy(&element, data, sizeof(element));
        element = Reverse(element);
        std::memcpy(data, &element, sizeof(element));
    }
}

/// Leaves out what is ASCII, eight bytes at a time.
void Translate(const UInt8* map, UInt8* text, USize length)
{
    constexpr UInt64 upperBits = 0x8080808080808080;
    UInt64 eight;
    USize i = 0;
    for (; length - i >= sizeof(eight); i += sizeof(eight)) {
        std::memcpy(&eight, text + i, sizeof(eight));
        if ((eight & upperBits) != 0) {
            ReferenceTranslate(map, text + i, sizeof(eight));
        }
    }
    ReferenceTranslate(map, text + i, length - i);
}

bool IsPair(const UInt8* text, const UInt8* end)
{
    return *text == cr && end - text > 1 && text[1] == lf;
}

} // namespace

void ReferenceSwap2(UInt8* data, USize count)
{
    Swap<UInt16>(data, count);
}

void ReferenceSwap4(UInt8* data, USize count)
{
    Swap<UInt32>(data, count);
}

void ReferenceSwap8(UInt8* data, USize count)
{
    Swap<UInt64>(data, count);
}

void ReferenceTranslate(const UInt8* map, UInt8* text, USize length)
{
    std::transform(text, text + length, text, [map](UInt8 byte) { return map[byte]; });
}

LineEnds ReferenceCountLineEnds(const UInt8* text, USize length)
{
    LineEnds ends = {0, 0};
    const UInt8* const textEnd = text + length;
    while (text != textEnd) {
        const bool isPair = IsPair(text, textEnd);
        ends.pairs += isPair;
        ends.singles += !isPair && (*text == cr || *text == lf);
        text += isPair ? 2 : 1;
    }
    return ends;
}

void ReferenceRewriteLineEnds(LineRewriting& rewriting)
{
    const UInt8* source = rewriting.source;
    UInt8* target = rewriting.target;
    while (source != rewriting.sourceEnd) {
        if (*source == cr || *source == lf) {
            source += IsPair(source, rewriting.sourceEnd) ? 2 : 1;
            target = std::copy_n(rewriting.lineEnd, rewriting.lineEndLength, target);
        } else {
            *target++ = *source++;
        }
    }
    rewriting.source = source;
    rewriting.target = target;
}

constinit const ConversionKernels conversionPortable = {
    "Portable", ReferenceSwap2,         ReferenceSwap4,          ReferenceSwap8,
    Translate,  ReferenceCountLineEnds, ReferenceRewriteLineEnds};

} // namespace QV::Impl
