/// To UTF-8, by shuffling. Each unit becomes two bytes, or up to three in lanes of double width, and the
/// bytes in use are shuffled together.
#pragma once

#include <QVRoot/String/Transcode/ShuffleVectorsImpl.hpp>

namespace QV::Impl {

namespace {

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

} // namespace

} // namespace QV::Impl
