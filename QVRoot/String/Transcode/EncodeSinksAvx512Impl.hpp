/// What the AVX-512 kernels towards UTF-8 do with a vector of units: write its bytes, or count them.
///
/// Each of 32 units becomes two bytes, or in lanes of double width up to three, and the bytes in use are
/// compressed together. Either half of a surrogate pair brings two of the four bytes, so that pairs among
/// other units need no lanes of their own. Vectors that hold nothing but units of three bytes, or nothing but
/// pairs, are spread without compression.
#pragma once

#include <QVRoot/String/Transcode/VectorsAvx512Impl.hpp>

namespace QV::Impl {

namespace {

constexpr UInt32 everyUnit = ~UInt32(0);

/// A step's lanes.
struct Lanes {
    UInt32 own;      ///< take part
    UInt32 nonAscii; ///< bring 2 bytes or more
    UInt32 wide;     ///< bring 3 bytes
    UInt32 highs;    ///< hold the first half of a pair, 2 bytes
    UInt32 lows;     ///< hold the second half, 2 bytes
};

/// The bytes of sixteen units of three bytes.
constexpr USize wideBytes = 48;

/// How sixteen units of three bytes are spread: the units that each group of eight bytes draws from, and the
/// bit of them where each byte starts.
struct WideLayout {
    alignas(64) UInt16 units[64];
    alignas(64) UInt8 shifts[64];
    alignas(64) UInt8 masks[64];
    alignas(64) UInt8 marks[64];
};

constexpr WideLayout MakeWideLayout()
{
    WideLayout layout = {};
    for (int byte = 0; byte < static_cast<int>(wideBytes); ++byte) {
        const int group = byte / 8;
        const int inGroup = byte / 3 - group * 8 / 3;
        const int part = byte % 3;
        layout.units[group * 4 + inGroup] = static_cast<UInt16>(byte / 3);
        layout.units[32 + group * 4 + inGroup] = static_cast<UInt16>(16 + byte / 3);
        layout.shifts[byte] = static_cast<UInt8>(inGroup * 16 + 12 - part * 6);
        layout.masks[byte] = part == 0 ? 0x0F : 0x3F;
        layout.marks[byte] = part == 0 ? 0xE0 : 0x80;
    }
    return layout;
}

constexpr WideLayout wideLayout = MakeWideLayout();

/// The bits of units that their last two bytes draw from: from bit 6 and from bit 0.
struct NarrowLayout {
    alignas(64) UInt8 shifts[64];
};

constexpr NarrowLayout MakeNarrowLayout()
{
    NarrowLayout layout = {};
    for (int byte = 0; byte < 64; ++byte) {
        layout.shifts[byte] = static_cast<UInt8>(byte / 2 % 4 * 16 + (byte % 2 == 0 ? 6 : 0));
    }
    return layout;
}

constexpr NarrowLayout narrowLayout = MakeNarrowLayout();

/// The two bytes of each unit from 0x80 to 0x7FF, the first below the second.
[[gnu::always_inline]] inline Vector MakeNarrow(Vector units)
{
    const Vector bits = _mm512_multishift_epi64_epi8(Load(narrowLayout.shifts), units);
    return MaskAndMark(bits, Words(x3F3F), Words(x80C0));
}

/// Two bytes for each unit, the first below the second: the unit itself for ASCII, the last two of three for
/// wide ones, half of the four for a surrogate.
[[gnu::always_inline]] inline Vector MakeTwoBytes(const UInt16* source, Vector units, const Lanes& lanes)
{
    const Vector last = _mm512_slli_epi16(units, 8);
    Vector result = MakeNarrow(units);
    if (lanes.highs != 0) {
        // Adding 0x40 to the upper ten bits of a code point accounts for the 0x10000 that pairs leave out.
        const Vector upper = _mm512_add_epi16(_mm512_and_si512(units, Words(x03FF)), Words(x0040));
        const Vector high = Select(_mm512_slli_epi16(upper, 6), _mm512_srli_epi16(upper, 8), Words(x3F00));
        result = _mm512_mask_mov_epi16(result, lanes.highs, _mm512_or_si512(high, Words(x80F0)));
        const Vector before = _mm512_maskz_loadu_epi16(lanes.lows, source - 1);
        const Vector middle = Select(_mm512_slli_epi16(before, 4), _mm512_srli_epi16(units, 6), Words(x0030));
        const Vector low = Select(last, _mm512_and_si512(middle, Words(x003F)), Words(x3F00));
        result = _mm512_mask_mov_epi16(result, lanes.lows, _mm512_or_si512(low, Words(x8080)));
    }
    return _mm512_mask_mov_epi16(units, lanes.nonAscii, result);
}

/// The last two bytes where there are three, else the same.
[[gnu::always_inline]] inline Vector MakeLastTwoBytes(const UInt16* source, Vector units, const Lanes& lanes)
{
    const Vector twoBytes = MakeTwoBytes(source, units, lanes);
    return _mm512_mask_mov_epi16(twoBytes, lanes.wide, MaskAndMark(twoBytes, Words(x3F3F), Words(x8080)));
}

/// Four bytes for each of sixteen units: the first of three, their last two or two in all, none.
[[gnu::always_inline]] inline Vector MakeThree(__m256i units, __m256i twoBytes, __mmask16 wide)
{
    const Vector leads =
        _mm512_or_si512(_mm512_srli_epi32(_mm512_cvtepu16_epi32(units), 12), _mm512_set1_epi32(0xE0));
    const Vector bytes = _mm512_slli_epi32(_mm512_cvtepu16_epi32(twoBytes), 8);
    return _mm512_mask_or_epi32(bytes, wide, bytes, leads);
}

[[gnu::always_inline]] inline Vector MakeFirstThree(Vector units, Vector twoBytes, const Lanes& lanes)
{
    return MakeThree(_mm512_castsi512_si256(units), _mm512_castsi512_si256(twoBytes),
                     static_cast<__mmask16>(lanes.wide));
}

[[gnu::always_inline]] inline Vector MakeLastThree(Vector units, Vector twoBytes, const Lanes& lanes)
{
    return MakeThree(_mm512_extracti64x4_epi64(units, 1), _mm512_extracti64x4_epi64(twoBytes, 1),
                     static_cast<__mmask16>(lanes.wide >> 16));
}

/// Which of those bytes are in use, for the sixteen units from `from` on.
[[gnu::always_inline]] inline UInt64 FindUsed(const Lanes& lanes, int from)
{
    return _pdep_u64(lanes.wide >> from, everyLane / 15) | _pdep_u64(lanes.own >> from, everyLane / 15 * 2) |
           _pdep_u64(lanes.nonAscii >> from, everyLane / 15 * 4);
}

/// The kernels for texts not longer than a vector, and for the ends of longer ones.
[[gnu::noinline]] TranscodeProgress EncodeShortly(const UInt16* source, USize length, UInt8* target,
                                                  USize room);
[[gnu::noinline]] TranscodeProgress MeasureShortly(const UInt16* source, USize length);

/// The bytes of 64 units of ASCII.
inline Vector Pack(Vector first, Vector second)
{
    const Vector order = _mm512_set_epi64(7, 5, 3, 1, 6, 4, 2, 0);
    return _mm512_permutexvar_epi64(order, _mm512_packus_epi16(first, second));
}

/// Writes bytes.
struct ByteWriter {
    UInt8* target;
    UInt8* end;

    bool HasRoom(USize count) const { return static_cast<USize>(end - target) >= count; }

    void PutAscii(Vector first, Vector second)
    {
        _mm512_storeu_si512(target, Pack(first, second));
        target += vectorBytes;
    }

    /// Writes up to 32 bytes and no more.
    void PutShortAscii(Vector units, USize count)
    {
        const __m256i bytes = _mm512_cvtepi16_epi8(units);
        _mm256_mask_storeu_epi8(target, static_cast<UInt32>(FirstLanes(count)), bytes);
        target += count;
    }

    /// Writes a full vector that holds no unit of three bytes and no surrogate.
    [[gnu::always_inline]] void PutNarrow(Vector units, UInt32 nonAscii)
    {
        const UInt64 used = everyLane / 3 | _pdep_u64(nonAscii, everyLane / 3 * 2);
        const Vector bytes = _mm512_mask_mov_epi16(units, nonAscii, MakeNarrow(units));
        _mm512_storeu_si512(target, _mm512_maskz_compress_epi8(used, bytes));
        target += vectorUnits + CountLanes(nonAscii);
    }

    /// The same for the lanes `own`: `count` bytes, and nothing behind them.
    [[gnu::always_inline]] void PutNarrowEnd(Vector units, UInt32 own, UInt32 nonAscii, USize count)
    {
        const UInt64 used = _pdep_u64(own, everyLane / 3) | _pdep_u64(nonAscii, everyLane / 3 * 2);
        const Vector bytes = _mm512_mask_mov_epi16(units, nonAscii, MakeNarrow(units));
        Store(_mm512_maskz_compress_epi8(used, bytes), count, 0);
    }

    /// Writes a full vector that holds some units of three bytes. The bytes behind the first of them are
    /// written once more.
    [[gnu::always_inline]] void PutFewWide(const UInt16* source, Vector units, UInt32 nonAscii, UInt32 wide)
    {
        const UInt64 used = everyLane / 3 | _pdep_u64(nonAscii, everyLane / 3 * 2);
        Vector bytes = MakeNarrow(units);
        bytes = _mm512_mask_mov_epi16(bytes, wide, MaskAndMark(bytes, Words(x3F3F), Words(x8080)));
        bytes = _mm512_maskz_compress_epi8(used, _mm512_mask_mov_epi16(units, nonAscii, bytes));
        _mm512_storeu_si512(target, bytes);
        for (UInt32 left = wide; left != 0; left &= left - 1) {
            const UInt32 lane = _tzcnt_u32(left);
            const USize before = CountLanes(_bzhi_u64(used, 2 * lane));
            target[before] = static_cast<UInt8>(0xE0 | source[lane] >> 12);
            ++target;
            _mm512_mask_storeu_epi8(target, everyLane << before, bytes);
        }
        target += vectorUnits + CountLanes(nonAscii);
    }

    /// Writes `count` bytes of units of three. `after` bytes or more will follow.
    [[gnu::always_inline]] void PutWide(Vector units, USize count, USize after)
    {
        const USize first = count < wideBytes ? count : wideBytes;
        Store(Spread(_mm512_permutexvar_epi16(Load(wideLayout.units), units)), first, count - first + after);
        if (count > wideBytes) {
            const Vector others = _mm512_permutexvar_epi16(Load(wideLayout.units + 32), units);
            Store(Spread(others), count - wideBytes, after);
        }
    }

    /// Writes 16 surrogate pairs.
    [[gnu::always_inline]] void PutPairs(Vector units)
    {
        // What pairs leave out, 0x10000, is added to the upper ten bits of a code point.
        const Vector tens = _mm512_add_epi16(units, _mm512_set1_epi32(0x24002840));
        const Vector codePoints = _mm512_madd_epi16(tens, _mm512_set1_epi32(0x00010400));
        const Vector shifts = _mm512_set1_epi64(0x20262C3200060C12);
        const Vector bits = _mm512_multishift_epi64_epi8(shifts, codePoints);
        const Vector bytes = MaskAndMark(bits, _mm512_set1_epi32(0x3F3F3F07),
                                         _mm512_set1_epi32(static_cast<Int32>(0x808080F0)));
        _mm512_storeu_si512(target, bytes);
        target += vectorBytes;
    }

    /// Writes a full vector that holds no surrogate. 64 bytes or more will follow.
    [[gnu::always_inline]] void PutMixed(const UInt16* source, Vector units, UInt32 nonAscii, UInt32 wide)
    {
        const Lanes lanes = {everyUnit, nonAscii, wide, 0, 0};
        const Vector twoBytes = MakeLastTwoBytes(source, units, lanes);
        const UInt64 first = FindUsed(lanes, 0);
        const UInt64 second = FindUsed(lanes, 16);
        _mm512_storeu_si512(target,
                            _mm512_maskz_compress_epi8(first, MakeFirstThree(units, twoBytes, lanes)));
        target += CountLanes(first);
        _mm512_storeu_si512(target,
                            _mm512_maskz_compress_epi8(second, MakeLastThree(units, twoBytes, lanes)));
        target += CountLanes(second);
    }

    /// Writes `count` bytes of any units, likewise.
    [[gnu::always_inline]] void Put(const UInt16* source, Vector units, const Lanes& lanes, USize count,
                                    USize after)
    {
        if (lanes.wide == 0) {
            const UInt64 used =
                _pdep_u64(lanes.own, everyLane / 3) | _pdep_u64(lanes.nonAscii, everyLane / 3 * 2);
            Store(_mm512_maskz_compress_epi8(used, MakeTwoBytes(source, units, lanes)), count, after);
        } else {
            const Vector twoBytes = MakeLastTwoBytes(source, units, lanes);
            const UInt64 first = FindUsed(lanes, 0);
            const UInt64 second = FindUsed(lanes, 16);
            Store(_mm512_maskz_compress_epi8(first, MakeFirstThree(units, twoBytes, lanes)),
                  CountLanes(first), CountLanes(second) + after);
            if (second != 0) {
                Store(_mm512_maskz_compress_epi8(second, MakeLastThree(units, twoBytes, lanes)),
                      CountLanes(second), after);
            }
        }
    }

    USize GoOn(const UInt16* source, USize length)
    {
        const TranscodeProgress progress =
            EncodeShortly(source, length, target, static_cast<USize>(end - target));
        target += progress.produced;
        return progress.read;
    }

private:
    /// Stores `count` bytes, and some behind them as far as others will follow there.
    [[gnu::always_inline]] void Store(Vector bytes, USize count, USize after)
    {
        if (count + after >= vectorBytes && HasRoom(vectorBytes)) {
            _mm512_storeu_si512(target, bytes);
        } else if (count > vectorBytes / 2) {
            _mm512_mask_storeu_epi8(target, FirstLanes(count), bytes);
        } else {
            const UInt32 lanes = static_cast<UInt32>(FirstLanes(count));
            _mm256_mask_storeu_epi8(target, lanes, _mm512_castsi512_si256(bytes));
        }
        target += count;
    }

    [[gnu::always_inline]] static Vector Spread(Vector groups)
    {
        const Vector bits = _mm512_multishift_epi64_epi8(Load(wideLayout.shifts), groups);
        return MaskAndMark(bits, Load(wideLayout.masks), Load(wideLayout.marks));
    }
};

/// Counts bytes.
struct ByteCounter {
    USize bytes;

    bool HasRoom(USize) const { return true; }
    void PutAscii(Vector, Vector) { bytes += vectorBytes; }
    void PutShortAscii(Vector, USize count) { bytes += count; }

    USize GoOn(const UInt16* source, USize length)
    {
        const TranscodeProgress progress = MeasureShortly(source, length);
        bytes += progress.produced;
        return progress.read;
    }

    void PutNarrow(Vector, UInt32 nonAscii) { bytes += vectorUnits + CountLanes(nonAscii); }
    void PutNarrowEnd(Vector, UInt32, UInt32, USize count) { bytes += count; }
    void PutFewWide(const UInt16*, Vector, UInt32 nonAscii, UInt32 wide)
    {
        bytes += vectorUnits + CountLanes(nonAscii) + CountLanes(wide);
    }
    void PutMixed(const UInt16* source, Vector units, UInt32 nonAscii, UInt32 wide)
    {
        PutFewWide(source, units, nonAscii, wide);
    }
    void PutWide(Vector, USize count, USize) { bytes += count; }
    void PutPairs(Vector) { bytes += vectorBytes; }
    void Put(const UInt16*, Vector, const Lanes&, USize count, USize) { bytes += count; }
};

} // namespace

} // namespace QV::Impl
