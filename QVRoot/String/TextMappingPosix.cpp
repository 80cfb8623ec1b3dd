#include <QVRoot/String/PlatformTextImpl.hpp>
#include <QVRoot/String/Search/SearchImpl.hpp>
#include <QVRoot/String/TextMappingTablesImpl.hpp>

#include <algorithm>
#include <iterator>

namespace QV::Impl {

namespace {

constexpr UInt32 blockBits = 7;
constexpr UInt32 blockSize = 1 << blockBits;

/// A mapping of single units: per block of 128 units an index of the distances by which they move. Block 0
/// moves nothing.
template <UInt32 BlockCount>
struct UnitMap {
    UInt8 indexOfBlock[0x10000 / blockSize] = {};
    UInt16 distances[BlockCount][blockSize] = {};

    constexpr UInt16 Map(UInt16 unit) const
    {
        return static_cast<UInt16>(unit + distances[indexOfBlock[unit >> blockBits]][unit & (blockSize - 1)]);
    }

    constexpr void Set(UInt32 unit, UInt32 mapped, UInt32& used)
    {
        UInt8& index = indexOfBlock[unit >> blockBits];
        if (index == 0) {
            index = static_cast<UInt8>(++used);
        }
        distances[index][unit & (blockSize - 1)] = static_cast<UInt16>(mapped - unit);
    }
};

/// With `inverse` the way from the targets back.
template <UInt32 BlockCount, UInt32 RangeCount>
constexpr UnitMap<BlockCount> MakeUnitMap(const MappedRange (&ranges)[RangeCount], bool inverse)
{
    UnitMap<BlockCount> map;
    UInt32 used = 0;
    for (const MappedRange& range : ranges) {
        for (UInt32 unit = range.first; unit <= range.last; unit += range.stride) {
            const UInt32 mapped = unit + range.target - range.first;
            if (inverse) {
                map.Set(mapped, unit, used);
            } else {
                map.Set(unit, mapped, used);
            }
        }
    }
    return map;
}

constexpr auto lowerCaseMap = MakeUnitMap<28>(LowerCaseRanges, false);
constexpr auto upperCaseMap = MakeUnitMap<34>(LowerCaseRanges, true);
constexpr auto halfWidthMap = MakeUnitMap<10>(HalfWidthRanges, false);
constexpr auto fullWidthMap = MakeUnitMap<8>(FullWidthRanges, false);

bool IsHighSurrogate(UInt16 unit)
{
    return (unit & 0xFC00) == 0xD800;
}

bool IsLowSurrogate(UInt16 unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

UInt32 MapPairToLower(UInt32 character)
{
    for (const MappedRange& range : LowerCasePairRanges) {
        if (character >= range.first && character <= range.last) {
            return character + range.target - range.first;
        }
    }
    return character;
}

UInt32 MapPairToUpper(UInt32 character)
{
    for (const MappedRange& range : LowerCasePairRanges) {
        if (character >= range.target && character - range.target <= range.last - range.first) {
            return character - range.target + range.first;
        }
    }
    return character;
}

static_assert([] {
    for (const MappedRange& range : LowerCasePairRanges) {
        if (range.stride != 1) {
            return false;
        }
    }
    return true;
}());

/// Maps one character and answers its units.
template <class Map, class MapPair>
int MapCharacter(const Map& map, MapPair mapPair, const UInt16* text, int length, UInt16* result)
{
    const UInt16 unit = text[0];
    if (IsHighSurrogate(unit) && length > 1 && IsLowSurrogate(text[1])) [[unlikely]] {
        const UInt32 mapped = mapPair(((unit - 0xD7C0U) << 10) + (text[1] - 0xDC00U));
        result[0] = static_cast<UInt16>((mapped >> 10) + 0xD7C0);
        result[1] = static_cast<UInt16>((mapped & 0x3FF) + 0xDC00);
        return 2;
    }
    result[0] = map.Map(unit);
    return 1;
}

/// One to one, so the lengths agree; works in place. Runs of ASCII go by the vector, other text by the table
/// for a while before the next try.
template <class Map, class MapPair>
int MapCase(const Map& map, MapPair mapPair, UInt16 firstLetter, const UInt16* text, int length,
            UInt16* result)
{
    constexpr int patience = 64;
    const SearchKernels& kernels = GetSearchKernels();
    for (int i = 0; i < length;) {
        const UnitRange rest = {text + i, static_cast<UInt32>(length - i)};
        i += static_cast<int>(kernels.mapAsciiCase(rest, result + i, firstLetter));
        for (const int end = std::min(length, i + patience); i < end;) {
            i += MapCharacter(map, mapPair, text + i, length - i, result + i);
        }
    }
    return length;
}

/// Receives units, or only counts them when there is no buffer.
class UnitSink {
public:
    UnitSink(UInt16* result, int capacity) : result_(result), capacity_(capacity) {}

    bool Put(UInt16 unit)
    {
        if (count_ == capacity_ && result_ != nullptr) {
            return false;
        }
        if (result_ != nullptr) {
            result_[count_] = unit;
        }
        ++count_;
        return true;
    }

    /// 0 when the count does not fit an int.
    int GetCount() const { return count_ > 0x7FFFFFFF ? 0 : static_cast<int>(count_); }

private:
    UInt16* result_;
    Int64 capacity_;
    Int64 count_ = 0;
};

const VoicedKana* FindVoicedKana(UInt16 whole)
{
    if (whole < std::begin(VoicedKanas)->whole || whole > (std::end(VoicedKanas) - 1)->whole) {
        return nullptr;
    }
    for (const VoicedKana& kana : VoicedKanas) {
        if (kana.whole == whole) {
            return &kana;
        }
    }
    return nullptr;
}

const VoicedKana* FindVoicedKana(UInt16 base, UInt16 mark)
{
    for (const VoicedKana& kana : VoicedKanas) {
        if (kana.base == base && kana.mark == mark) {
            return &kana;
        }
    }
    return nullptr;
}

constexpr UInt16 voicedMark = 0xFF9E;
constexpr UInt16 semiVoicedMark = 0xFF9F;

int MapToHalfWidth(const UInt16* text, int length, UnitSink sink)
{
    for (int i = 0; i < length; ++i) {
        const VoicedKana* const kana = FindVoicedKana(text[i]);
        const bool stored = kana != nullptr ? sink.Put(kana->base) && sink.Put(kana->mark)
                                            : sink.Put(halfWidthMap.Map(text[i]));
        if (!stored) {
            return 0;
        }
    }
    return sink.GetCount();
}

int MapToFullWidth(const UInt16* text, int length, UnitSink sink)
{
    for (int i = 0; i < length; ++i) {
        const UInt16 next = i + 1 < length ? text[i + 1] : 0;
        const bool marked = next == voicedMark || next == semiVoicedMark;
        const VoicedKana* const kana = marked ? FindVoicedKana(text[i], next) : nullptr;
        if (!sink.Put(kana != nullptr ? kana->whole : fullWidthMap.Map(text[i]))) {
            return 0;
        }
        i += kana != nullptr;
    }
    return sink.GetCount();
}

} // namespace

int MapText(TextMapping mapping, const UInt16* text, int length, UInt16* result, int resultLength) noexcept
{
    if (text == nullptr || length <= 0 || resultLength < 0 || (result == nullptr && resultLength != 0)) {
        return 0;
    }
    const UnitSink sink(resultLength == 0 ? nullptr : result, resultLength);
    switch (mapping) {
    case TextMapping::HalfWidth:
        return MapToHalfWidth(text, length, sink);
    case TextMapping::FullWidth:
        return MapToFullWidth(text, length, sink);
    default:
        break;
    }
    if (resultLength == 0) {
        return length;
    }
    if (resultLength < length) {
        return 0;
    }
    return mapping == TextMapping::UpperCase
               ? MapCase(upperCaseMap, MapPairToUpper, 'a', text, length, result)
               : MapCase(lowerCaseMap, MapPairToLower, 'A', text, length, result);
}

} // namespace QV::Impl
