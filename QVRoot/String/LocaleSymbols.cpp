#include <QVRoot/String/LocaleSymbols.hpp>
#include <QVRoot/String/LocaleSymbolsImpl.hpp>
#include <QVRoot/String/NumberScanImpl.hpp>

#include <climits>

namespace QV {

namespace Impl {

namespace {

/// The first character of a text, where it can serve as a symbol.
UInt16 TakeSymbol(const UInt16* text, char substitute)
{
    const bool isUsable = *text != 0 && !(*text >= '0' && *text <= '9');
    return isUsable ? *text : static_cast<UInt16>(substitute);
}

} // namespace

NumberSymbols ResolveNumberSymbols(const LocaleNumberTexts& texts) noexcept
{
    NumberSymbols symbols = {TakeSymbol(texts.decimal, '.'), TakeSymbol(texts.thousands, ' '),
                             TakeSymbol(texts.list, ',')};
    if (symbols.decimal == symbols.grouping) {
        if (symbols.decimal != '.') {
            symbols.decimal = '.';
        } else {
            symbols.grouping = ' ';
        }
    }
    if (symbols.decimal == symbols.list) {
        symbols.list = symbols.decimal == ',' ? ';' : ',';
    }
    return symbols;
}

GroupingPattern ParseGrouping(const UInt16* text) noexcept
{
    GroupingPattern pattern;
    while (pattern.count < sizeof(pattern.sizes)) {
        text = SkipSpace(text, ZeroTerminated{});
        ScannedInteger size;
        if (!ScanInteger(text, ZeroTerminated{}, 10, size) || (*text != ';' && *text != 0)) {
            break;
        }
        pattern.sizes[pattern.count++] = static_cast<UInt8>(Saturate<UInt32>(size));
        text += *text == ';'; // one behind the last number goes without saying
    }
    const auto isZero = [&pattern](UInt32 fromEnd) { return pattern.sizes[pattern.count - fromEnd] == 0; };
    if (pattern.count == 1 && isZero(1)) {
        pattern.count = 0;
    } else if (pattern.count >= 3 && isZero(1) && isZero(2)) {
        pattern.count -= 2;
    }
    if (pattern.count != 0 && isZero(1)) {
        --pattern.count;
        pattern.repeatsLast = true;
    }
    return pattern;
}

void MakeGroupingText(const char* grouping, UInt16 (&text)[17]) noexcept
{
    UInt32 length = 0;
    const auto append = [&](UInt16 c) {
        if (length < 16) {
            text[length++] = c;
        }
    };
    const auto appendSize = [&](UInt32 size) {
        for (UInt32 unit = size >= 100 ? 100 : size >= 10 ? 10 : 1; unit != 0; unit /= 10) {
            append(static_cast<UInt16>('0' + size / unit % 10));
        }
    };
    if (*grouping == 0 || *grouping == CHAR_MAX) {
        append('0');
    } else {
        for (; *grouping != 0 && *grouping != CHAR_MAX; ++grouping) {
            if (length != 0) {
                append(';');
            }
            appendSize(static_cast<unsigned char>(*grouping));
        }
        if (*grouping == 0) {
            append(';');
            append('0');
        }
    }
    text[length] = 0;
}

namespace {

const NumberSymbols& GetSymbols()
{
    static const NumberSymbols symbols = ResolveNumberSymbols(GetLocaleNumberTexts());
    return symbols;
}

} // namespace

} // namespace Impl

unsigned short GetDecimalSymbol()
{
    return Impl::GetSymbols().decimal;
}

unsigned short GetDigitGroupingSymbol()
{
    return Impl::GetSymbols().grouping;
}

unsigned short GetListSeparatorSymbol()
{
    return Impl::GetSymbols().list;
}

DigitGroupingSpecification::DigitGroupingSpecification(const Array<unsigned char>& sizes, RepeatOption repeat)
    : sizes_(sizes), repeat_(repeat)
{
}

void DigitGroupingSpecification::Set(const Array<unsigned char>& sizes, RepeatOption repeat)
{
    sizes_ = sizes;
    repeat_ = repeat;
}

DigitGroupingSpecification GetDigitGroupingSpecification()
{
    static const Impl::GroupingPattern pattern = Impl::ParseGrouping(Impl::GetLocaleNumberTexts().grouping);
    Array<unsigned char> sizes;
    sizes.Reserve(pattern.count);
    for (UInt32 i = 0; i < pattern.count; ++i) {
        sizes.Append(pattern.sizes[i]);
    }
    return DigitGroupingSpecification(sizes, pattern.repeatsLast ? DigitGroupingSpecification::RepeatLast
                                                                 : DigitGroupingSpecification::NoRepeat);
}

} // namespace QV
