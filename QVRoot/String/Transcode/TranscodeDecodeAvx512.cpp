// From UTF-8, with AVX-512.
//
// 61 new bytes at a time stand in a register behind the 3 bytes before them, so that every byte sees all that
// may belong to it and nothing is carried from step to step. Masks of the byte classes prove the structure;
// then each position computes the unit that would end there, as a low and a high byte, and the positions
// where a unit does end are compressed together.
#include <QVRoot/String/Transcode/VectorsAvx512Impl.hpp>

namespace QV::Impl {

namespace {

constexpr USize context = 3;
constexpr USize windowBytes = vectorBytes - context;
constexpr USize halfWindowBytes = vectorBytes / 2 - context;
constexpr UInt64 contextLanes = 7;

/// While this much of a source is left, full stores cannot reach behind the result.
constexpr USize bulkBytes = windowBytes + 3 * vectorBytes;

/// From here on it pays to care for the cache: to align stores, or to ask for lines in time.
constexpr USize longText = 512;

/// How far ahead of the stores long texts of ASCII ask for the lines to store to.
constexpr USize ahead = 512;

/// What ends where: at each lane of `ends` a unit with these two bytes.
struct Units {
    UInt64 ends;
    Vector low;
    Vector high;
};

/// The kernels for texts not longer than a window's new bytes, and for the ends of longer ones.
[[gnu::noinline]] TranscodeProgress DecodeShortly(const UInt8* source, USize length, UInt16* target,
                                                  USize room);
[[gnu::noinline]] TranscodeProgress CountShortly(const UInt8* source, USize length);

/// Widens 64 bytes.
inline void WidenVector(const UInt8* source, UInt16* target)
{
    const __m256i* const halves = reinterpret_cast<const __m256i*>(source);
    _mm512_storeu_si512(target, Widen32(_mm256_loadu_si256(halves)));
    _mm512_storeu_si512(target + vectorUnits, Widen32(_mm256_loadu_si256(halves + 1)));
}

/// Writes units.
struct UnitWriter {
    UInt16* target;
    UInt16* end;

    bool HasRoom(USize count) const { return static_cast<USize>(end - target) >= count; }
    USize GetMisfit() const { return Impl::GetMisfit(target) / sizeof(UInt16); }

    /// Writes 64 units, of which `count` stay.
    void PutAscii(const UInt8* source, USize count)
    {
        WidenVector(source, target);
        target += count;
    }

    /// Writes `count` units and no more.
    void PutShortAscii(Vector bytes, USize count)
    {
        const Vector first = Widen32(_mm512_castsi512_si256(bytes));
        StoreUnits(target, first, Widen32(_mm512_extracti64x4_epi64(bytes, 1)), count);
        target += count;
    }

    USize GoOn(const UInt8* source, USize length)
    {
        const TranscodeProgress progress =
            DecodeShortly(source, length, target, static_cast<USize>(end - target));
        target += progress.produced;
        return progress.read;
    }

    void Put(const Units& units, USize count, bool isBulk)
    {
        const Vector order = _mm512_set_epi64(7, 3, 6, 2, 5, 1, 4, 0);
        const Vector low = _mm512_permutexvar_epi64(order, _mm512_maskz_compress_epi8(units.ends, units.low));
        const Vector high =
            _mm512_permutexvar_epi64(order, _mm512_maskz_compress_epi8(units.ends, units.high));
        const Vector first = _mm512_unpacklo_epi8(low, high);
        const Vector second = _mm512_unpackhi_epi8(low, high);
        if (isBulk && HasRoom(vectorBytes)) {
            _mm512_storeu_si512(target, first);
            _mm512_storeu_si512(target + vectorUnits, second);
        } else {
            StoreUnits(target, first, second, count);
        }
        target += count;
    }

    void TakeBack() { --target; }
};

/// Counts units.
struct UnitCounter {
    USize units;

    bool HasRoom(USize) const { return true; }
    USize GetMisfit() const { return vectorBytes; }
    void PutAscii(const UInt8*, USize count) { units += count; }
    void PutShortAscii(Vector, USize count) { units += count; }

    USize GoOn(const UInt8* source, USize length)
    {
        const TranscodeProgress progress = CountShortly(source, length);
        units += progress.produced;
        return progress.read;
    }

    void Put(const Units&, USize count, bool) { units += count; }
    void TakeBack() { --units; }
};

/// Computes the surrogates of code points above 0xFFFF: the high one ends with the third byte, the low one
/// with the fourth. False when a code point is too large, or nearly so.
[[gnu::always_inline]] inline bool AddPairs(Units& units, Vector bytes, Vector before1, UInt64 highs,
                                            UInt64 lows)
{
    // What `high` holds where a high surrogate ends are the bits 4 to 11 of it, before 0x10000 is subtracted.
    const Vector upper = _mm512_sub_epi8(units.high, Bytes(4));
    if (_mm512_mask_cmpge_epu8_mask(highs, upper, Bytes(0x3F)) != 0) {
        return false;
    }
    const Vector lowest = Select(_mm512_slli_epi16(before1, 2), _mm512_srli_epi16(bytes, 4), Bytes(0x0C));
    const Vector low =
        Select(_mm512_slli_epi16(upper, 4), _mm512_and_si512(lowest, Bytes(0x0F)), Bytes(0xF0));
    units.low = _mm512_mask_mov_epi8(units.low, highs, low);
    const Vector high = MaskAndMark(_mm512_srli_epi16(upper, 4), Bytes(0x03), Bytes(0xD8));
    const Vector highOfLow = MaskAndMark(units.high, Bytes(0x03), Bytes(0xDC));
    units.high = _mm512_mask_mov_epi8(units.high, highs, high);
    units.high = _mm512_mask_mov_epi8(units.high, lows, highOfLow);
    return true;
}

/// Loads the lanes of a window or, for short texts, of its first half.
template <bool isHalf>
inline Vector LoadWindow(UInt64 lanes, const UInt8* window)
{
    return isHalf ? LoadHalfLanes(lanes, window) : LoadLanes(lanes, window);
}

/// Finds the units that end in the lanes `own` of a window. False when something there is not in order.
template <bool isHalf>
[[gnu::always_inline]] inline bool FindUnits(const UInt8* window, Vector bytes, UInt64 own, UInt64 nonAscii,
                                             Units& units)
{
    const UInt64 trailing = _mm512_cmplt_epi8_mask(bytes, Bytes(0xC0));
    const UInt64 leads = _mm512_cmpge_epu8_mask(bytes, Bytes(0xC2));
    const UInt64 leads3 = _mm512_cmpge_epu8_mask(bytes, Bytes(0xE0));
    const UInt64 neither = nonAscii ^ trailing ^ leads;
    // What stands before a trailing byte is in the window or, when the window starts with one, refused
    // anyway.
    if (leads3 == 0) {
        if (((((leads << 1) ^ trailing) | neither) & own) != 0) {
            return false;
        }
        const Vector before1 = LoadWindow<isHalf>(trailing, window - 1);
        units.ends = own & ~leads;
        units.low =
            OrMasked(_mm512_and_si512(bytes, Bytes(0x7F)), _mm512_slli_epi16(before1, 6), Bytes(0xC0));
        units.high = _mm512_and_si512(_mm512_srli_epi16(before1, 2), Bytes(0x07));
        return true;
    }
    const UInt64 leads4 = _mm512_cmpge_epu8_mask(bytes, Bytes(0xF0));
    const UInt64 thirds = leads3 << 2;
    const UInt64 fourths = leads4 << 3;
    if (((((leads << 1 | thirds | fourths) ^ trailing) | neither) & own) != 0) {
        return false;
    }
    const Vector before1 = LoadWindow<isHalf>(trailing, window - 1);
    const Vector before2 = LoadWindow<isHalf>(thirds, window - 2);
    units.ends = own & ~(leads | leads3 << 1);
    units.low = OrMasked(_mm512_and_si512(bytes, Bytes(0x7F)), _mm512_slli_epi16(before1, 6), Bytes(0xC0));
    units.high = Select(_mm512_slli_epi16(before2, 4), _mm512_srli_epi16(before1, 2), Bytes(0xF0));
    // Three bytes must not stand for less than 0x800, nor for a surrogate.
    const Vector fromSurrogates = _mm512_sub_epi8(units.high, Bytes(0xD8));
    const UInt64 refused = _mm512_cmplt_epu8_mask(_mm512_min_epu8(units.high, fromSurrogates), Bytes(8));
    if (leads4 == 0) {
        return (refused & thirds & own) == 0;
    }
    const UInt64 highs = leads4 << 2;
    return (refused & thirds & ~highs & own) == 0 &&
           AddPairs(units, bytes, before1, highs & own, fourths & own);
}

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

/// Takes back what was read, and written, of a sequence that is not finished at `position`.
template <class Sink>
[[gnu::always_inline]] inline void StepBack(const UInt8* start, const UInt8*& position, Sink& sink)
{
    const USize unfinished = GetUnfinished(start, position);
    position -= unfinished;
    if (unfinished == 3) {
        sink.TakeBack();
    }
}

/// Converts up to a window's new bytes, from the beginning of a sequence on. Answers how many.
template <bool isHalf, class Sink>
[[gnu::always_inline]] inline USize DecodeShort(const UInt8* source, USize length, Sink& sink)
{
    const UInt64 own = FirstLanes(length) << context;
    const UInt8* const window = source - context;
    const Vector bytes = LoadWindow<isHalf>(own, window);
    const UInt64 nonAscii = _mm512_movepi8_mask(bytes);
    if (nonAscii == 0) {
        if (!sink.HasRoom(length)) {
            return 0;
        }
        sink.PutShortAscii(LoadWindow<isHalf>(FirstLanes(length), source), length);
        return length;
    }
    Units units;
    if (!FindUnits<isHalf>(window, bytes, own, nonAscii, units)) {
        return 0;
    }
    const USize count = CountLanes(units.ends);
    if (!sink.HasRoom(count)) {
        return 0;
    }
    sink.Put(units, count, false);
    const UInt8* position = source + length;
    StepBack(source, position, sink);
    return static_cast<USize>(position - source);
}

/// Converts ASCII by full vectors. True when the text goes on differently.
template <class Sink>
[[gnu::always_inline]] inline bool DecodeAscii(const UInt8*& source, const UInt8* end, Sink& sink)
{
    USize left = static_cast<USize>(end - source);
    USize step = left >= longText ? sink.GetMisfit() : vectorBytes;
    while (left >= vectorBytes && sink.HasRoom(vectorBytes)) {
        if (_mm512_movepi8_mask(Load(source)) != 0) {
            return true;
        }
        sink.PutAscii(source, step);
        source += step;
        left -= step;
        step = vectorBytes;
    }
    return false;
}

enum class Turn { Stopped, Ended, Ascii };

/// Converts text that is not all ASCII by full windows, from the beginning of a sequence to anywhere.
template <class Sink>
[[gnu::always_inline]] inline Turn DecodeWindows(const UInt8*& source, const UInt8* end, Sink& sink)
{
    constexpr UInt64 own = ~contextLanes;
    Vector bytes = LoadLanes(own, source - context);
    for (;;) {
        const USize left = static_cast<USize>(end - source);
        const UInt64 nonAscii = _mm512_movepi8_mask(bytes);
        if (nonAscii == 0) {
            return Turn::Ascii;
        }
        Units units;
        if (!FindUnits<false>(source - context, bytes, own, nonAscii, units)) {
            return Turn::Stopped;
        }
        const USize count = CountLanes(units.ends);
        if (!sink.HasRoom(count)) {
            return Turn::Stopped;
        }
        sink.Put(units, count, left >= bulkBytes);
        source += windowBytes;
        if (left < 2 * windowBytes) {
            return Turn::Ended;
        }
        bytes = Load(source - context);
    }
}

/// Converts as far as full vectors go, and answers whether it makes sense to go on.
template <class Sink>
[[gnu::always_inline]] inline bool DecodeLong(const UInt8*& source, const UInt8* end, Sink& sink)
{
    const UInt8* const start = source;
    while (DecodeAscii(source, end, sink)) {
        const Turn turn = DecodeWindows(source, end, sink);
        if (turn != Turn::Ascii) {
            StepBack(start, source, sink);
            return turn == Turn::Ended;
        }
        if (end - source < static_cast<Int64>(2 * vectorBytes) || !sink.HasRoom(vectorBytes)) {
            return true;
        }
        // Only the window is known to be ASCII; the three units behind it will be overwritten.
        sink.PutAscii(source, windowBytes);
        source += windowBytes;
    }
    return true;
}

template <class Sink>
[[gnu::always_inline]] inline USize DecodeAll(const UInt8* start, USize length, Sink& sink)
{
    const UInt8* source = start;
    const UInt8* const end = start + length;
    bool isGoingOn = DecodeLong(source, end, sink);
    while (isGoingOn && source != end) {
        const USize left = static_cast<USize>(end - source);
        const USize read = sink.GoOn(source, left < windowBytes ? left : windowBytes);
        source += read;
        isGoingOn = read != 0;
    }
    return static_cast<USize>(source - start);
}

TranscodeProgress DecodeShortly(const UInt8* source, USize length, UInt16* target, USize room)
{
    UnitWriter writer = {target, target + room};
    const USize read = length <= halfWindowBytes ? DecodeShort<true>(source, length, writer)
                                                 : DecodeShort<false>(source, length, writer);
    return {read, static_cast<USize>(writer.target - target)};
}

TranscodeProgress CountShortly(const UInt8* source, USize length)
{
    UnitCounter counter = {0};
    const USize read = length <= halfWindowBytes ? DecodeShort<true>(source, length, counter)
                                                 : DecodeShort<false>(source, length, counter);
    return {read, counter.units};
}

[[gnu::noinline]] TranscodeProgress DecodeMixed(const UInt8* source, USize length, UInt16* target, USize room)
{
    if (length <= windowBytes) {
        return DecodeShortly(source, length, target, room);
    }
    UnitWriter writer = {target, target + room};
    const USize read = DecodeAll(source, length, writer);
    return {read, static_cast<USize>(writer.target - target)};
}

/// Widens 256 bytes of ASCII. False when they are not.
[[gnu::always_inline]] inline bool WidenFour(const UInt8* source, UInt16* target)
{
    const Vector first = _mm512_or_si512(Load(source), Load(source + vectorBytes));
    const Vector second = _mm512_or_si512(Load(source + 2 * vectorBytes), Load(source + 3 * vectorBytes));
    if (_mm512_movepi8_mask(_mm512_or_si512(first, second)) != 0) {
        return false;
    }
    WidenVector(source, target);
    WidenVector(source + vectorBytes, target + vectorBytes);
    WidenVector(source + 2 * vectorBytes, target + 2 * vectorBytes);
    WidenVector(source + 3 * vectorBytes, target + 3 * vectorBytes);
    return true;
}

/// Converts ASCII at the beginning of a text of 64 bytes or more, into room for all of it. Answers how far
/// that went: to the end, or anywhere in front of the first byte that is different.
[[gnu::always_inline]] inline USize DecodeAsciiPrefix(const UInt8* source, USize length, UInt16* target)
{
    constexpr USize four = 4 * vectorBytes;
    USize i = 0;
    if (length >= longText) {
        // Out of the first cache, stores wait for their lines unless these are asked for in time.
        for (; i + ahead + four <= length; i += four) {
            for (USize k = 0; k < four; k += vectorUnits) {
                __builtin_prefetch(target + i + ahead + k, 1);
            }
            if (!WidenFour(source + i, target + i)) {
                return i;
            }
        }
    }
    for (; i + four <= length; i += four) {
        if (!WidenFour(source + i, target + i)) {
            break;
        }
    }
    // The last step may convert some bytes again.
    for (; i < length; i += vectorBytes) {
        const USize position = i + vectorBytes <= length ? i : length - vectorBytes;
        if (_mm512_movepi8_mask(Load(source + position)) != 0) {
            return i;
        }
        WidenVector(source + position, target + position);
    }
    return length;
}

} // namespace

TranscodeProgress DecodeAvx512(const UInt8* source, USize length, UInt16* target, USize room)
{
    if (length < vectorBytes || room < length || _mm512_movepi8_mask(Load(source)) != 0) {
        return DecodeMixed(source, length, target, room);
    }
    const USize ascii = DecodeAsciiPrefix(source, length, target);
    if (ascii == length) {
        return {length, length};
    }
    const TranscodeProgress rest = DecodeMixed(source + ascii, length - ascii, target + ascii, room - ascii);
    return {ascii + rest.read, ascii + rest.produced};
}

TranscodeProgress CountAvx512(const UInt8* source, USize length)
{
    if (length <= windowBytes) {
        return CountShortly(source, length);
    }
    UnitCounter counter = {0};
    const USize read = DecodeAll(source, length, counter);
    return {read, counter.units};
}

} // namespace QV::Impl
