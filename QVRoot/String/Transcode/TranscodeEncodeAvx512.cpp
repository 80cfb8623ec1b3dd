// To UTF-8, with AVX-512.
//
// Each of 32 units becomes two bytes, or in lanes of double width up to three, and the bytes in use are
// compressed together. Either half of a surrogate pair brings two of the four bytes, so that pairs need no
// lanes of their own.
#include <QVRoot/String/Transcode/VectorsAvx512Impl.hpp>

namespace QV::Impl {

namespace {

/// While this much of a source is left, full stores cannot reach behind the result.
constexpr USize bulkUnits = vectorUnits + vectorBytes;

/// From here on it pays to align stores first.
constexpr USize longText = 512;

constexpr UInt32 everyUnit = ~UInt32(0);

/// A step's lanes.
struct Lanes {
    UInt32 own;      ///< take part
    UInt32 nonAscii; ///< bring 2 bytes or more
    UInt32 wide;     ///< bring 3 bytes
    UInt32 highs;    ///< hold the first half of a pair, 2 bytes
    UInt32 lows;     ///< hold the second half, 2 bytes
};

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
    for (int byte = 0; byte < 48; ++byte) {
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

/// Two bytes for each unit, the first below the second: the unit itself for ASCII, the last two of three for
/// wide ones, half of the four for a surrogate.
[[gnu::always_inline]] inline Vector MakeTwoBytes(const UInt16* source, Vector units, const Lanes& lanes)
{
    const Vector last = _mm512_slli_epi16(units, 8);
    const Vector both = Select(last, _mm512_srli_epi16(units, 6), Words(x3F00));
    Vector result = _mm512_or_si512(both, Words(x80C0));
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

/// The kernels for texts not longer than a vector, and for the ends of longer ones.
[[gnu::noinline]] TranscodeProgress EncodeShortly(const UInt16* source, USize length, UInt8* target,
                                                  USize room);
[[gnu::noinline]] TranscodeProgress MeasureShortly(const UInt16* source, USize length);

/// Writes bytes.
struct ByteWriter {
    UInt8* target;
    UInt8* end;

    bool HasRoom(USize count) const { return static_cast<USize>(end - target) >= count; }

    USize GetMisfit() const { return Impl::GetMisfit(target); }

    /// Writes 64 bytes, of which `count` stay.
    void PutAscii(Vector first, Vector second, USize count)
    {
        const Vector order = _mm512_set_epi64(7, 5, 3, 1, 6, 4, 2, 0);
        const Vector bytes = _mm512_permutexvar_epi64(order, _mm512_packus_epi16(first, second));
        _mm512_storeu_si512(target, bytes);
        target += count;
    }

    /// Writes up to 32 bytes and no more.
    void PutShortAscii(Vector units, USize count)
    {
        const __m256i bytes = _mm512_cvtepi16_epi8(units);
        _mm256_mask_storeu_epi8(target, static_cast<UInt32>(FirstLanes(count)), bytes);
        target += count;
    }

    [[gnu::always_inline]] void Put(const UInt16* source, Vector units, const Lanes& lanes, USize count,
                                    bool isBulk)
    {
        if (lanes.wide == 0) {
            const UInt64 used =
                _pdep_u64(lanes.own, everyLane / 3) | _pdep_u64(lanes.nonAscii, everyLane / 3 * 2);
            Store(_mm512_maskz_compress_epi8(used, MakeTwoBytes(source, units, lanes)), count, isBulk);
        } else if (lanes.wide == everyUnit) {
            PutWide(units, isBulk);
        } else {
            const Vector twoBytes = MakeTwoBytes(source, units, lanes);
            const Vector tail = MaskAndMark(twoBytes, Words(x3F3F), Words(x8080));
            PutMixed(units, _mm512_mask_mov_epi16(twoBytes, lanes.wide, tail), lanes, isBulk);
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
    [[gnu::always_inline]] void Store(Vector bytes, USize count, bool isBulk)
    {
        if (isBulk && HasRoom(vectorBytes)) {
            _mm512_storeu_si512(target, bytes);
        } else {
            _mm512_mask_storeu_epi8(target, FirstLanes(count), bytes);
        }
        target += count;
    }

    [[gnu::always_inline]] void StoreUsed(Vector bytes, UInt64 used, bool isBulk)
    {
        Store(_mm512_maskz_compress_epi8(used, bytes), CountLanes(used), isBulk);
    }

    /// All lanes are wide.
    [[gnu::always_inline]] void PutWide(Vector units, bool isBulk)
    {
        const Vector firstUnits = Load(wideLayout.units);
        const Vector lastUnits = Load(wideLayout.units + 32);
        Store(Spread(_mm512_permutexvar_epi16(firstUnits, units)), 48, isBulk);
        Store(Spread(_mm512_permutexvar_epi16(lastUnits, units)), 48, isBulk);
    }

    [[gnu::always_inline]] static Vector Spread(Vector groups)
    {
        const Vector bits = _mm512_multishift_epi64_epi8(Load(wideLayout.shifts), groups);
        return MaskAndMark(bits, Load(wideLayout.masks), Load(wideLayout.marks));
    }

    [[gnu::always_inline]] void PutMixed(Vector units, Vector twoBytes, const Lanes& lanes, bool isBulk)
    {
        PutSixteen(_mm512_castsi512_si256(units), _mm512_castsi512_si256(twoBytes), lanes, 0, isBulk);
        if (lanes.own > 0xFFFF) {
            PutSixteen(_mm512_extracti64x4_epi64(units, 1), _mm512_extracti64x4_epi64(twoBytes, 1), lanes, 16,
                       isBulk);
        }
    }

    /// Half of a step: four bytes for each unit, the first of them for wide ones alone, the last for none.
    [[gnu::always_inline]] void PutSixteen(__m256i units, __m256i twoBytes, const Lanes& lanes, int from,
                                           bool isBulk)
    {
        const Vector lead =
            _mm512_or_si512(_mm512_srli_epi32(_mm512_cvtepu16_epi32(units), 12), _mm512_set1_epi32(0xE0));
        const Vector tail = _mm512_slli_epi32(_mm512_cvtepu16_epi32(twoBytes), 8);
        const Vector bytes =
            _mm512_mask_or_epi32(tail, static_cast<__mmask16>(lanes.wide >> from), tail, lead);
        const UInt64 used = _pdep_u64(lanes.wide >> from, everyLane / 15) |
                            _pdep_u64(lanes.own >> from, everyLane / 15 * 2) |
                            _pdep_u64(lanes.nonAscii >> from, everyLane / 15 * 4);
        StoreUsed(bytes, used, isBulk);
    }
};

/// Counts bytes.
struct ByteCounter {
    USize bytes;

    bool HasRoom(USize) const { return true; }
    USize GetMisfit() const { return vectorBytes; }
    void PutAscii(Vector, Vector, USize count) { bytes += count; }
    void PutShortAscii(Vector, USize count) { bytes += count; }

    USize GoOn(const UInt16* source, USize length)
    {
        const TranscodeProgress progress = MeasureShortly(source, length);
        bytes += progress.produced;
        return progress.read;
    }

    void Put(const UInt16*, Vector, const Lanes&, USize count, bool) { bytes += count; }
};

/// Pairs the surrogates. False when one has no partner; a high one in the last lane is put off.
[[gnu::always_inline]] inline bool SortSurrogates(Vector units, UInt32 surrogates, Lanes& lanes)
{
    lanes.lows = _mm512_mask_test_epi16_mask(surrogates, units, Words(x0400));
    lanes.highs = surrogates ^ lanes.lows;
    const UInt32 last = lanes.own ^ lanes.own >> 1;
    if ((lanes.highs & last) != 0) {
        lanes.own ^= last;
        lanes.highs ^= last;
        lanes.nonAscii ^= last;
    }
    lanes.wide &= ~surrogates;
    return lanes.highs << 1 == lanes.lows && lanes.own != 0;
}

enum class Step { Stopped, Done, Ascii };

/// Converts the units in the lanes `own`, and moves `source` along.
template <class Sink>
[[gnu::always_inline]] inline Step EncodeStep(const UInt16*& source, Vector units, UInt32 own, Sink& sink,
                                              bool isBulk)
{
    Lanes lanes = {own, static_cast<UInt32>(FindNonAscii(units)), _mm512_test_epi16_mask(units, Words(xF800)),
                   0, 0};
    USize count = CountLanes(own);
    if (lanes.nonAscii == 0) {
        if (!sink.HasRoom(count)) {
            return Step::Stopped;
        }
        sink.PutShortAscii(units, count);
        source += count;
        return Step::Ascii;
    }
    if (lanes.wide != 0) {
        const Vector upper = _mm512_and_si512(units, Words(xF800));
        const UInt32 surrogates = _mm512_cmpeq_epi16_mask(upper, Words(xD800));
        if (surrogates != 0) {
            if (!SortSurrogates(units, surrogates, lanes)) {
                return Step::Stopped;
            }
            count = CountLanes(lanes.own);
        }
    }
    const USize bytes = count + CountLanes(lanes.nonAscii) + CountLanes(lanes.wide);
    if (!sink.HasRoom(bytes)) {
        return Step::Stopped;
    }
    sink.Put(source, units, lanes, bytes, isBulk);
    source += count;
    return Step::Done;
}

/// Converts ASCII by pairs of vectors.
template <class Sink>
[[gnu::always_inline]] inline void EncodeAscii(const UInt16*& source, const UInt16* end, Sink& sink)
{
    USize left = static_cast<USize>(end - source);
    USize step = left >= longText ? sink.GetMisfit() : vectorBytes;
    while (left >= vectorBytes && sink.HasRoom(vectorBytes)) {
        const Vector first = Load(source);
        const Vector second = Load(source + vectorUnits);
        if (FindNonAscii(_mm512_or_si512(first, second)) != 0) {
            break;
        }
        sink.PutAscii(first, second, step);
        source += step;
        left -= step;
        step = vectorBytes;
    }
}

/// Converts as far as full vectors go, and answers whether it makes sense to go on.
template <class Sink>
[[gnu::always_inline]] inline bool EncodeLong(const UInt16*& source, const UInt16* end, Sink& sink)
{
    for (;;) {
        EncodeAscii(source, end, sink);
        Step step = Step::Done;
        while (step == Step::Done) {
            const USize left = static_cast<USize>(end - source);
            if (left < vectorUnits) {
                return true;
            }
            step = EncodeStep(source, Load(source), everyUnit, sink, left >= bulkUnits);
        }
        if (step == Step::Stopped) {
            return false;
        }
    }
}

template <class Sink>
[[gnu::always_inline]] inline USize EncodeAll(const UInt16* start, USize length, Sink& sink)
{
    const UInt16* source = start;
    const UInt16* const end = start + length;
    bool isGoingOn = EncodeLong(source, end, sink);
    while (isGoingOn && source != end) {
        const USize read = sink.GoOn(source, static_cast<USize>(end - source));
        source += read;
        isGoingOn = read != 0;
    }
    return static_cast<USize>(source - start);
}

/// Converts up to 32 units. Answers how many.
template <class Sink>
[[gnu::always_inline]] inline USize EncodeShort(const UInt16* start, USize length, Sink& sink)
{
    const UInt32 own = static_cast<UInt32>(FirstLanes(length));
    const UInt16* source = start;
    EncodeStep(source, _mm512_maskz_loadu_epi16(own, source), own, sink, false);
    return static_cast<USize>(source - start);
}

TranscodeProgress EncodeShortly(const UInt16* source, USize length, UInt8* target, USize room)
{
    ByteWriter writer = {target, target + room};
    const USize read = EncodeShort(source, length, writer);
    return {read, static_cast<USize>(writer.target - target)};
}

TranscodeProgress MeasureShortly(const UInt16* source, USize length)
{
    ByteCounter counter = {0};
    const USize read = EncodeShort(source, length, counter);
    return {read, counter.bytes};
}

} // namespace

TranscodeProgress EncodeAvx512(const UInt16* source, USize length, UInt8* target, USize room)
{
    if (length <= vectorUnits) {
        return EncodeShortly(source, length, target, room);
    }
    ByteWriter writer = {target, target + room};
    const USize read = EncodeAll(source, length, writer);
    return {read, static_cast<USize>(writer.target - target)};
}

TranscodeProgress MeasureAvx512(const UInt16* source, USize length)
{
    if (length <= vectorUnits) {
        return MeasureShortly(source, length);
    }
    ByteCounter counter = {0};
    const USize read = EncodeAll(source, length, counter);
    return {read, counter.bytes};
}

} // namespace QV::Impl
