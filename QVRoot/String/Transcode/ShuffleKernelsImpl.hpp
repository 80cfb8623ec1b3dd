/// The kernels for instruction sets that can shuffle the bytes of a register, but not compress them: tables
/// give the shuffles. Included by the file of each such set, with a class `Ascii` for what its widest
/// registers do best. Everything here is private to the including file, so that no code for one set can stand
/// in for code of another.
///
/// The methods are those of the AVX-512 kernels with registers of 16 bytes: what ends at each byte is
/// computed as a low and a high byte, and the positions where a unit does end are shuffled together. The ends
/// of texts take the way through a padded copy, since full registers read and write too much.
#pragma once

#include <QVRoot/String/Transcode/TranscodeImpl.hpp>

#include <immintrin.h>

namespace QV::Impl {

namespace {

using Vector = __m128i;

constexpr USize vectorBytes = 16;
constexpr USize vectorUnits = 8;

inline Vector Load(const void* address)
{
    return _mm_loadu_si128(static_cast<const Vector*>(address));
}

inline void Store(void* address, Vector value)
{
    _mm_storeu_si128(static_cast<Vector*>(address), value);
}

inline Vector Bytes(int value)
{
    return _mm_set1_epi8(static_cast<char>(value));
}

inline Vector Words(int value)
{
    return _mm_set1_epi16(static_cast<short>(value));
}

inline UInt32 GetMask(Vector bytes)
{
    return static_cast<UInt32>(_mm_movemask_epi8(bytes));
}

inline UInt32 GetWordMask(Vector words)
{
    return GetMask(_mm_packs_epi16(words, _mm_setzero_si128()));
}

inline USize CountBits(UInt32 bits)
{
    return static_cast<USize>(_mm_popcnt_u32(bits));
}

/// Unsigned comparison of bytes.
inline Vector IsAtLeast(Vector bytes, int least)
{
    return _mm_cmpeq_epi8(_mm_max_epu8(bytes, Bytes(least)), bytes);
}

/// Bits of `taken` where the mask is set, of `other` elsewhere.
inline Vector Select(Vector taken, Vector other, Vector mask)
{
    return _mm_or_si128(_mm_and_si128(mask, taken), _mm_andnot_si128(mask, other));
}

inline Vector MaskAndMark(Vector bits, Vector mask, Vector marks)
{
    return _mm_or_si128(_mm_and_si128(bits, mask), marks);
}

inline Vector LoadShuffle(const UInt8 (&shuffle)[16])
{
    return _mm_load_si128(reinterpret_cast<const Vector*>(shuffle));
}

/// Copies where calling the library's function would cost more than the copy.
template <class Unit>
inline void CopyShort(const Unit* source, USize count, Unit* target)
{
    for (USize i = 0; i < count; ++i) {
        target[i] = source[i];
    }
}

// ---- From UTF-8

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

// ---- To UTF-8

/// A step's lanes, a bit for each.
struct Lanes {
    UInt32 own;      ///< take part
    UInt32 nonAscii; ///< bring 2 bytes or more
    UInt32 wide;     ///< bring 3 bytes
    UInt32 highs;    ///< hold the first half of a pair, 2 bytes
    UInt32 lows;     ///< hold the second half, 2 bytes

    USize GetBytes() const { return CountBits(own) + CountBits(nonAscii) + CountBits(wide); }
};

/// Sorts the lanes that are `own`. False when a surrogate has no partner; a high one in the last lane is put
/// off to the next step.
[[gnu::always_inline]] inline bool SortLanes(Vector units, UInt32 own, Lanes& lanes)
{
    const Vector zero = _mm_setzero_si128();
    const Vector upper = _mm_and_si128(units, Words(0xF800));
    lanes = {own, own, own, 0, 0};
    lanes.nonAscii &= ~GetWordMask(_mm_cmpeq_epi16(_mm_and_si128(units, Words(0xFF80)), zero));
    lanes.wide &= ~GetWordMask(_mm_cmpeq_epi16(upper, zero));
    const UInt32 surrogates = lanes.wide & GetWordMask(_mm_cmpeq_epi16(upper, Words(0xD800)));
    if (surrogates == 0) {
        return true;
    }
    const UInt32 last = own ^ own >> 1;
    lanes.highs =
        surrogates & GetWordMask(_mm_cmpeq_epi16(_mm_and_si128(units, Words(0xFC00)), Words(0xD800)));
    lanes.lows = surrogates ^ lanes.highs;
    if ((lanes.highs & last) != 0) {
        lanes.own ^= last;
        lanes.nonAscii ^= last;
        lanes.highs ^= last;
    }
    lanes.wide &= ~surrogates;
    return lanes.highs << 1 == lanes.lows && lanes.own != 0;
}

/// Two bytes for each unit, the first below the second: the unit itself for ASCII, the last two of three for
/// wide ones, half of the four for a surrogate.
[[gnu::always_inline]] inline Vector MakeTwoBytes(Vector units, const Lanes& lanes)
{
    const Vector middle = _mm_srli_epi16(units, 6);
    const Vector last = _mm_slli_epi16(units, 8);
    const Vector isAscii = _mm_cmpeq_epi16(_mm_and_si128(units, Words(0xFF80)), _mm_setzero_si128());
    Vector result = _mm_or_si128(Select(last, middle, Words(0x3F00)), Words(0x80C0));
    if ((lanes.wide | lanes.highs) != 0) {
        const Vector upper = _mm_and_si128(units, Words(0xF800));
        const Vector isNarrow = _mm_cmpeq_epi16(upper, _mm_setzero_si128());
        result = Select(result, MaskAndMark(result, Words(0x3F3F), Words(0x8080)), isNarrow);
    }
    if (lanes.highs != 0) {
        const Vector kind = _mm_and_si128(units, Words(0xFC00));
        // Adding 0x40 to the upper ten bits of a code point accounts for the 0x10000 that pairs leave out.
        const Vector bits = _mm_add_epi16(_mm_and_si128(units, Words(0x03FF)), Words(0x0040));
        const Vector high = Select(_mm_slli_epi16(bits, 6), _mm_srli_epi16(bits, 8), Words(0x3F00));
        const Vector isHigh = _mm_cmpeq_epi16(kind, Words(0xD800));
        result = Select(_mm_or_si128(high, Words(0x80F0)), result, isHigh);
        const Vector before = _mm_slli_epi16(_mm_slli_si128(units, 2), 4);
        const Vector lower = _mm_and_si128(Select(before, middle, Words(0x0030)), Words(0x003F));
        const Vector low = Select(last, lower, Words(0x3F00));
        const Vector isLow = _mm_cmpeq_epi16(kind, Words(0xDC00));
        result = Select(_mm_or_si128(low, Words(0x8080)), result, isLow);
    }
    return Select(units, result, isAscii);
}

/// Writes bytes.
struct ByteWriter {
    UInt8* target;
    UInt8* end;

    bool HasRoom(USize count) const { return static_cast<USize>(end - target) >= count; }

    template <class Ascii>
    void PutAscii(const UInt16* source)
    {
        Ascii::Narrow(source, target);
        target += Ascii::length;
    }

    /// Writes up to 32 bytes, of which those that the lanes bring stay.
    void Put(Vector units, const Lanes& lanes)
    {
        const Vector twoBytes = MakeTwoBytes(units, lanes);
        if (lanes.wide == 0) {
            Store(target,
                  _mm_shuffle_epi8(twoBytes, LoadShuffle(transcodeShuffles.twoBytes[lanes.nonAscii])));
            target += lanes.GetBytes();
            return;
        }
        const Vector leads = _mm_or_si128(_mm_srli_epi16(units, 12), Words(0x00E0));
        const UInt32 first = (lanes.wide & 0xF) | (lanes.nonAscii & 0xF) << 4;
        const UInt32 second = lanes.wide >> 4 | (lanes.nonAscii & 0xF0);
        const Vector firstBytes = _mm_unpacklo_epi16(leads, twoBytes);
        const Vector secondBytes = _mm_unpackhi_epi16(leads, twoBytes);
        Store(target, _mm_shuffle_epi8(firstBytes, LoadShuffle(transcodeShuffles.threeBytes[first])));
        Store(target + 4 + CountBits(first),
              _mm_shuffle_epi8(secondBytes, LoadShuffle(transcodeShuffles.threeBytes[second])));
        target += lanes.GetBytes();
    }

    void PutCopy(const UInt8* bytes, USize count)
    {
        CopyShort(bytes, count, target);
        target += count;
    }
};

/// Counts bytes.
struct ByteCounter {
    USize bytes;

    bool HasRoom(USize) const { return true; }
    template <class Ascii>
    void PutAscii(const UInt16*)
    {
        bytes += Ascii::length;
    }
    void Put(Vector, const Lanes& lanes) { bytes += lanes.GetBytes(); }
    void PutCopy(const UInt8*, USize count) { bytes += count; }
};

constexpr UInt32 everyUnit = 0xFF;
constexpr USize encodeRoom = 2 * vectorBytes;

/// While this much is left of a text, full stores cannot reach behind the result.
constexpr USize encodeReserve = vectorUnits + vectorBytes;

/// Converts the end of a text, not longer than the reserve, through copies. Answers how many units.
template <class Sink>
USize EncodeEnd(const UInt16* source, USize length, Sink& sink)
{
    UInt16 copy[encodeReserve + vectorUnits] = {};
    UInt8 bytes[encodeReserve * 3 + encodeRoom];
    CopyShort(source, length, copy);
    ByteWriter writer = {bytes, bytes + sizeof(bytes)};
    USize read = 0;
    while (read < length) {
        const USize count = length - read < vectorUnits ? length - read : vectorUnits;
        const Vector units = Load(copy + read);
        Lanes lanes;
        if (!SortLanes(units, (1U << count) - 1, lanes)) {
            break;
        }
        writer.Put(units, lanes);
        read += CountBits(lanes.own);
    }
    const USize produced = static_cast<USize>(writer.target - bytes);
    if (!sink.HasRoom(produced)) {
        return 0;
    }
    sink.PutCopy(bytes, produced);
    return read;
}

template <class Ascii, class Sink>
USize EncodeAll(const UInt16* start, USize length, Sink& sink)
{
    const UInt16* source = start;
    const UInt16* const end = source + length;
    while (source != end) {
        const USize left = static_cast<USize>(end - source);
        if (left >= Ascii::length && sink.HasRoom(Ascii::length) && Ascii::IsAscii(source)) {
            sink.template PutAscii<Ascii>(source);
            source += Ascii::length;
        } else if (left >= encodeReserve && sink.HasRoom(encodeRoom)) {
            const Vector units = Load(source);
            Lanes lanes;
            if (!SortLanes(units, everyUnit, lanes)) {
                break;
            }
            sink.Put(units, lanes);
            source += CountBits(lanes.own);
        } else {
            const USize read = EncodeEnd(source, left < encodeReserve ? left : encodeReserve, sink);
            source += read;
            if (read == 0) {
                break;
            }
        }
    }
    return static_cast<USize>(source - start);
}

template <class Ascii>
TranscodeProgress Encode(const UInt16* source, USize length, UInt8* target, USize room)
{
    ByteWriter writer = {target, target + room};
    const USize read = EncodeAll<Ascii>(source, length, writer);
    return {read, static_cast<USize>(writer.target - target)};
}

template <class Ascii>
TranscodeProgress Measure(const UInt16* source, USize length)
{
    ByteCounter counter = {0};
    const USize read = EncodeAll<Ascii>(source, length, counter);
    return {read, counter.bytes};
}

// ---- ASCII alone

template <class Ascii>
bool IsAscii8(const char* text, USize length)
{
    const UInt8* source = reinterpret_cast<const UInt8*>(text);
    for (; length >= Ascii::length; source += Ascii::length, length -= Ascii::length) {
        if (!Ascii::IsAscii(source)) {
            return false;
        }
    }
    UInt32 bits = 0;
    for (; length != 0; --length) {
        bits |= *source++;
    }
    return bits < 0x80;
}

template <class Ascii>
bool IsAscii16(const unsigned short* source, USize length)
{
    for (; length >= Ascii::length; source += Ascii::length, length -= Ascii::length) {
        if (!Ascii::IsAscii(source)) {
            return false;
        }
    }
    UInt32 bits = 0;
    for (; length != 0; --length) {
        bits |= *source++;
    }
    return bits < 0x80;
}

template <class Ascii>
void Widen(const char* text, USize length, unsigned short* target)
{
    const UInt8* source = reinterpret_cast<const UInt8*>(text);
    for (; length >= Ascii::length; length -= Ascii::length) {
        Ascii::Widen(source, target);
        source += Ascii::length;
        target += Ascii::length;
    }
    for (; length != 0; --length) {
        *target++ = *source++;
    }
}

template <class Ascii>
void Narrow(const unsigned short* source, USize length, char* text)
{
    UInt8* target = reinterpret_cast<UInt8*>(text);
    for (; length >= Ascii::length; length -= Ascii::length) {
        Ascii::Narrow(source, target);
        source += Ascii::length;
        target += Ascii::length;
    }
    for (; length != 0; --length) {
        *target++ = static_cast<UInt8>(*source++);
    }
}

/// Reads whole aligned registers, which end where a page ends or before, hence not checked by the sanitizer.
[[gnu::no_sanitize_address]] inline USize Length16(const unsigned short* text)
{
    const USize address = reinterpret_cast<USize>(text);
    const USize misfit = address % vectorBytes;
    const Vector* position = reinterpret_cast<const Vector*>(address - misfit);
    const Vector zero = _mm_setzero_si128();
    UInt32 zeros = GetMask(_mm_cmpeq_epi16(*position, zero)) >> misfit << misfit;
    while (zeros == 0) {
        ++position;
        zeros = GetMask(_mm_cmpeq_epi16(*position, zero));
    }
    const unsigned short* const block = reinterpret_cast<const unsigned short*>(position);
    return static_cast<USize>(block - text) + static_cast<USize>(__builtin_ctz(zeros)) / 2;
}

template <class Ascii>
constexpr TranscodeKernels MakeKernels(const char* name)
{
    return {name,           Decode<Ascii>,   Count<Ascii>,     Encode<Ascii>,
            Measure<Ascii>, IsAscii8<Ascii>, IsAscii16<Ascii>, Widen<Ascii>,
            Narrow<Ascii>,  Length16};
}

} // namespace

} // namespace QV::Impl
