/// From UTF-8, by shuffling. What ends at each byte is computed as a low and a high byte, and the positions
/// where a unit does end are shuffled together.
#pragma once

#include <QVRoot/String/Transcode/ShuffleVectorsImpl.hpp>

namespace QV::Impl {

namespace {

/// The text so far, as the next 16 bytes need to know it. Masks hold three positions before them in the low
/// bits, and their own from bit 3 on.
struct DecodeState {
    Vector last = _mm_setzero_si128();
    UInt32 leads = 0;
    UInt32 leads3 = 0;
    UInt32 leads4 = 0;
};

constexpr USize context = 3;
constexpr UInt32 everyOwn = 0xFFFF << context;

/// What ends where, bit 0 being the first of the 16 positions.
struct Units {
    UInt32 ends;
    Vector low;
    Vector high;
};

/// Computes the surrogates of code points above 0xFFFF. False when a code point is too large, or nearly so.
inline bool AddPairs(const DecodeState& before, Vector bytes, Vector before1, Vector before2, UInt32 own,
                     Units& units)
{
    const Vector highs = IsAtLeast(before2, 0xF0);
    const Vector lows = IsAtLeast(_mm_alignr_epi8(bytes, before.last, 13), 0xF0);
    const Vector upper = _mm_sub_epi8(units.high, Bytes(4));
    if ((GetMask(_mm_and_si128(IsAtLeast(upper, 0x3F), highs)) << context & own) != 0) {
        return false;
    }
    const Vector lowest = Select(_mm_slli_epi16(before1, 2), _mm_srli_epi16(bytes, 4), Bytes(0x0C));
    const Vector low = Select(_mm_slli_epi16(upper, 4), _mm_and_si128(lowest, Bytes(0x0F)), Bytes(0xF0));
    units.low = _mm_blendv_epi8(units.low, low, highs);
    const Vector high = MaskAndMark(_mm_srli_epi16(upper, 4), Bytes(0x03), Bytes(0xD8));
    const Vector highOfLow = MaskAndMark(units.high, Bytes(0x03), Bytes(0xDC));
    units.high = _mm_blendv_epi8(_mm_blendv_epi8(units.high, high, highs), highOfLow, lows);
    return true;
}

/// Finds the units that end among 16 bytes, as far as they are `own`, and moves the state along. False when
/// something there is not in order; the state is of no more use then.
[[gnu::always_inline]] inline bool FindUnits(DecodeState& state, Vector bytes, UInt32 own, Units& units)
{
    const Vector isTrailing = _mm_cmplt_epi8(bytes, Bytes(0xC0));
    const UInt32 nonAscii = GetMask(bytes) << context;
    const UInt32 trailing = GetMask(isTrailing) << context;
    const UInt32 newLeads = GetMask(IsAtLeast(bytes, 0xC2)) << context;
    const UInt32 leads = newLeads | state.leads;
    const UInt32 leads3 = GetMask(IsAtLeast(bytes, 0xE0)) << context | state.leads3;
    const UInt32 leads4 = GetMask(IsAtLeast(bytes, 0xF0)) << context | state.leads4;
    const UInt32 expected = leads << 1 | leads3 << 2 | leads4 << 3;
    if ((((expected ^ trailing) | (nonAscii ^ trailing ^ newLeads)) & own) != 0) {
        return false;
    }
    const Vector before1 = _mm_and_si128(_mm_alignr_epi8(bytes, state.last, 15), isTrailing);
    units.ends = (own & ~(leads | leads3 << 1)) >> context;
    units.low = _mm_or_si128(_mm_and_si128(bytes, Bytes(0x7F)),
                             _mm_and_si128(_mm_slli_epi16(before1, 6), Bytes(0xC0)));
    units.high = _mm_and_si128(_mm_srli_epi16(before1, 2), Bytes(0x0F));
    if (leads3 != 0) {
        const Vector behind2 = _mm_alignr_epi8(bytes, state.last, 14);
        const Vector before2 = _mm_and_si128(behind2, IsAtLeast(behind2, 0xE0));
        units.high = _mm_or_si128(units.high, _mm_and_si128(_mm_slli_epi16(before2, 4), Bytes(0xF0)));
        // Three bytes must not stand for less than 0x800, nor for a surrogate.
        const Vector nearest = _mm_min_epu8(units.high, _mm_sub_epi8(units.high, Bytes(0xD8)));
        const UInt32 refused = GetMask(_mm_cmpeq_epi8(_mm_min_epu8(nearest, Bytes(7)), nearest)) << context;
        if ((refused & leads3 << 2 & ~(leads4 << 2) & own) != 0) {
            return false;
        }
        if (leads4 != 0 && !AddPairs(state, bytes, before1, before2, own, units)) {
            return false;
        }
    }
    state = {bytes, leads >> vectorBytes, leads3 >> vectorBytes, leads4 >> vectorBytes};
    return true;
}

/// Writes units.
struct UnitWriter {
    UInt16* target;
    UInt16* end;

    bool HasRoom(USize count) const { return static_cast<USize>(end - target) >= count; }

    template <class Ascii>
    void PutAscii(const UInt8* source)
    {
        Ascii::Widen(source, target);
        target += Ascii::length;
    }

    /// Writes 16 units, of which those at the ends stay.
    void Put(const Units& units)
    {
        const UInt32 first = units.ends & 0xFF;
        const UInt32 second = units.ends >> 8;
        const Vector firstUnits = _mm_unpacklo_epi8(units.low, units.high);
        const Vector secondUnits = _mm_unpackhi_epi8(units.low, units.high);
        Store(target, _mm_shuffle_epi8(firstUnits, LoadShuffle(transcodeShuffles.units[first])));
        target += CountBits(first);
        Store(target, _mm_shuffle_epi8(secondUnits, LoadShuffle(transcodeShuffles.units[second])));
        target += CountBits(second);
    }

    void PutCopy(const UInt16* units, USize count)
    {
        CopyShort(units, count, target);
        target += count;
    }

    void TakeBack() { --target; }
};

/// Counts units.
struct UnitCounter {
    USize units;

    bool HasRoom(USize) const { return true; }
    template <class Ascii>
    void PutAscii(const UInt8*)
    {
        units += Ascii::length;
    }
    void Put(const Units& found) { units += CountBits(found.ends); }
    void PutCopy(const UInt16*, USize count) { units += count; }
    void TakeBack() { --units; }
};

/// How many bytes in front of `position`, but not of `start`, begin a sequence that is not finished there.
inline USize GetUnfinished(const UInt8* start, const UInt8* position)
{
    const USize known = static_cast<USize>(position - start);
    if (known >= 1 && position[-1] >= 0xC0) {
        return 1;
    }
    if (known >= 2 && position[-2] >= 0xE0) {
        return 2;
    }
    return known >= 3 && position[-3] >= 0xF0 ? 3 : 0;
}

/// While this much is left of a text, full stores cannot reach behind the result.
constexpr USize decodeReserve = vectorBytes + 3 * vectorUnits;

/// Converts the end of a text, not longer than the reserve, through copies. Answers how many bytes.
template <class Sink>
USize DecodeEnd(const UInt8* source, USize length, Sink& sink)
{
    UInt8 copy[decodeReserve + vectorBytes] = {};
    UInt16 units[decodeReserve + vectorBytes];
    CopyShort(source, length, copy);
    UnitWriter writer = {units, units + decodeReserve + vectorBytes};
    DecodeState state;
    for (USize i = 0; i < length; i += vectorBytes) {
        const USize count = length - i < vectorBytes ? length - i : vectorBytes;
        Units found;
        if (!FindUnits(state, Load(copy + i), ((1U << count) - 1) << context, found)) {
            return 0;
        }
        writer.Put(found);
    }
    const USize unfinished = GetUnfinished(source, source + length);
    const USize produced = static_cast<USize>(writer.target - units) - (unfinished == 3 ? 1 : 0);
    if (!sink.HasRoom(produced)) {
        return 0;
    }
    sink.PutCopy(units, produced);
    return length - unfinished;
}

/// Converts text that is not all ASCII, as far as full registers go, and moves `source` along to a border.
/// False when something is not in order.
template <class Ascii, class Sink>
bool DecodeBlocks(const UInt8*& source, const UInt8* end, Sink& sink)
{
    const UInt8* const start = source;
    DecodeState state;
    bool isInOrder = true;
    while (end - source >= static_cast<Int64>(decodeReserve) && sink.HasRoom(vectorBytes)) {
        const UInt32 pending = (state.leads << 1 | state.leads3 << 2 | state.leads4 << 3) & everyOwn;
        if (pending == 0 && sink.HasRoom(Ascii::length) && Ascii::IsAscii(source)) {
            break;
        }
        Units units;
        isInOrder = FindUnits(state, Load(source), everyOwn, units);
        if (!isInOrder) {
            break;
        }
        sink.Put(units);
        source += vectorBytes;
    }
    const USize unfinished = GetUnfinished(start, source);
    source -= unfinished;
    if (unfinished == 3) {
        sink.TakeBack();
    }
    return isInOrder;
}

template <class Ascii, class Sink>
USize DecodeAll(const UInt8* start, USize length, Sink& sink)
{
    static_assert(Ascii::length <= decodeReserve);
    const UInt8* source = start;
    const UInt8* const end = source + length;
    do {
        while (end - source >= static_cast<Int64>(Ascii::length) && sink.HasRoom(Ascii::length) &&
               Ascii::IsAscii(source)) {
            sink.template PutAscii<Ascii>(source);
            source += Ascii::length;
        }
        if (!DecodeBlocks<Ascii>(source, end, sink)) {
            return static_cast<USize>(source - start);
        }
    } while (end - source >= static_cast<Int64>(decodeReserve) && sink.HasRoom(Ascii::length));
    while (source != end) {
        const USize left = static_cast<USize>(end - source);
        const USize read = DecodeEnd(source, left < decodeReserve ? left : decodeReserve, sink);
        source += read;
        if (read == 0) {
            break;
        }
    }
    return static_cast<USize>(source - start);
}

template <class Ascii>
TranscodeProgress Decode(const UInt8* source, USize length, UInt16* target, USize room)
{
    UnitWriter writer = {target, target + room};
    const USize read = DecodeAll<Ascii>(source, length, writer);
    return {read, static_cast<USize>(writer.target - target)};
}

template <class Ascii>
TranscodeProgress Count(const UInt8* source, USize length)
{
    UnitCounter counter = {0};
    const USize read = DecodeAll<Ascii>(source, length, counter);
    return {read, counter.units};
}

} // namespace

} // namespace QV::Impl
