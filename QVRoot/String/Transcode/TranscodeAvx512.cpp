// Kernels for AVX-512 with byte permutation and compression (VBMI, VBMI2).
//
// From UTF-8, 61 new bytes at a time stand in a register behind the 3 bytes before them, so that every byte
// sees all that may belong to it and nothing is carried from step to step. Masks of the byte classes prove
// the structure; then each position computes the unit that would end there, as a low and a high byte, and the
// positions where a unit does end are compressed together.
//
// To UTF-8, each unit becomes up to 2 or, in wider lanes, up to 3 bytes, and the bytes in use are compressed
// together. Either half of a surrogate pair brings 2 of the 4 bytes.
#include <QVRoot/String/Transcode/TranscodeImpl.hpp>

// Some of the compiler's own definitions start from a register whose contents do not matter.
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

namespace QV::Impl {

namespace {

using Vector = __m512i;

constexpr USize vectorBytes = 64;
constexpr USize vectorUnits = 32;
constexpr USize context = 3;
constexpr USize windowBytes = vectorBytes - context;
constexpr UInt64 contextLanes = 7;
constexpr UInt64 everyLane = ~UInt64(0);

/// While this much of a source is left, full stores cannot reach behind the result.
constexpr USize bulkBytes = windowBytes + 3 * vectorBytes;
constexpr USize bulkUnits = vectorUnits + vectorBytes;

using enum TranscodeWord;

Vector Bytes(UInt8 value)
{
    return _mm512_set1_epi32(static_cast<Int32>(transcodeOperands.bytes[value]));
}

Vector Words(TranscodeWord word)
{
    return _mm512_set1_epi32(static_cast<Int32>(transcodeOperands.words[static_cast<int>(word)]));
}

Vector Load(const void* address)
{
    return _mm512_loadu_si512(address);
}

Vector LoadLanes(UInt64 lanes, const void* address)
{
    return _mm512_maskz_loadu_epi8(lanes, address);
}

UInt64 FirstLanes(USize count)
{
    return _bzhi_u64(everyLane, static_cast<unsigned>(count));
}

USize CountLanes(UInt64 lanes)
{
    return static_cast<USize>(_mm_popcnt_u64(lanes));
}

/// Bits of `taken` where the mask is set, of `other` elsewhere.
Vector Select(Vector taken, Vector other, Vector mask)
{
    return _mm512_ternarylogic_epi64(taken, other, mask, 0xE4);
}

/// `base | (bits & mask)`.
Vector OrMasked(Vector base, Vector bits, Vector mask)
{
    return _mm512_ternarylogic_epi64(base, bits, mask, 0xF8);
}

/// `(bits & mask) | marks`.
Vector MaskAndMark(Vector bits, Vector mask, Vector marks)
{
    return _mm512_ternarylogic_epi64(bits, mask, marks, 0xEA);
}

/// 32 bytes as units.
Vector Widen32(__m256i bytes)
{
    return _mm512_cvtepu8_epi16(bytes);
}

/// Writes the first `count` units of two vectors, and nothing behind them.
void StoreUnits(UInt16* target, Vector first, Vector second, USize count)
{
    const UInt64 lanes = FirstLanes(count);
    _mm512_mask_storeu_epi16(target, static_cast<UInt32>(lanes), first);
    if (count > vectorUnits) {
        _mm512_mask_storeu_epi16(target + vectorUnits, static_cast<UInt32>(lanes >> vectorUnits), second);
    }
}

// ---- From UTF-8

/// What ends where: at each lane of `ends` a unit with these two bytes.
struct Units {
    UInt64 ends;
    Vector low;
    Vector high;
};

/// Writes units.
struct UnitWriter {
    UInt16* target;
    UInt16* end;

    bool HasRoom(USize count) const { return static_cast<USize>(end - target) >= count; }

    void PutAscii(const UInt8* source)
    {
        const __m256i* const halves = reinterpret_cast<const __m256i*>(source);
        _mm512_storeu_si512(target, Widen32(_mm256_loadu_si256(halves)));
        _mm512_storeu_si512(target + vectorUnits, Widen32(_mm256_loadu_si256(halves + 1)));
        target += vectorBytes;
    }

    void PutAscii(Vector bytes, USize count)
    {
        const Vector first = Widen32(_mm512_castsi512_si256(bytes));
        StoreUnits(target, first, Widen32(_mm512_extracti64x4_epi64(bytes, 1)), count);
        target += count;
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
    void PutAscii(const UInt8*) { units += vectorBytes; }
    void PutAscii(Vector, USize count) { units += count; }
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

/// Finds the units that end in the lanes `own` of a window. False when something there is not in order.
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
        const Vector before1 = LoadLanes(trailing, window - 1);
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
    const Vector before1 = LoadLanes(trailing, window - 1);
    const Vector before2 = LoadLanes(thirds, window - 2);
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

/// Converts ASCII, and moves `begin` along. False when the source ends, or the room.
template <class Sink>
[[gnu::always_inline]] inline bool DecodeAscii(const UInt8*& begin, const UInt8* end, Sink& sink)
{
    const UInt8* source = begin;
    Sink output = sink;
    bool isAscii = true;
    USize left = static_cast<USize>(end - source);
    for (; left >= vectorBytes && output.HasRoom(vectorBytes); left -= vectorBytes) {
        isAscii = _mm512_movepi8_mask(Load(source)) == 0;
        if (!isAscii) {
            break;
        }
        output.PutAscii(source);
        source += vectorBytes;
    }
    if (left < vectorBytes) {
        const Vector bytes = LoadLanes(FirstLanes(left), source);
        isAscii = _mm512_movepi8_mask(bytes) == 0;
        if (isAscii && output.HasRoom(left)) {
            output.PutAscii(bytes, left);
            source = end;
        }
    }
    begin = source;
    sink = output;
    return !isAscii;
}

/// How many bytes in front of `position`, but not of `start`, begin a sequence that is not finished there.
USize GetUnfinished(const UInt8* start, const UInt8* position)
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

/// Converts text that is not all ASCII, and moves `begin` along. True when the text turned to ASCII.
template <class Sink>
[[gnu::noinline]] bool DecodeWindows(const UInt8*& begin, const UInt8* end, Sink& sink)
{
    const UInt8* const start = begin;
    const UInt8* position = start;
    Sink output = sink;
    UInt64 known = 0;
    bool isAscii = false;
    while (position != end && !isAscii) {
        const USize left = static_cast<USize>(end - position);
        const USize count = left < windowBytes ? left : windowBytes;
        const UInt64 own = FirstLanes(count + context) & ~contextLanes;
        const UInt8* const window = position - context;
        const Vector bytes = (own | known) == everyLane ? Load(window) : LoadLanes(own | known, window);
        const UInt64 nonAscii = _mm512_movepi8_mask(bytes);
        if (nonAscii == 0) {
            if (!output.HasRoom(count)) {
                break;
            }
            output.PutAscii(LoadLanes(FirstLanes(count), position), count);
            isAscii = true;
        } else {
            Units units;
            if (!FindUnits(window, bytes, own, nonAscii, units)) {
                break;
            }
            const USize ends = CountLanes(units.ends);
            if (!output.HasRoom(ends)) {
                break;
            }
            output.Put(units, ends, left >= bulkBytes);
        }
        position += count;
        known = contextLanes;
    }
    const USize unfinished = GetUnfinished(start, position);
    if (unfinished == 3) {
        output.TakeBack();
    }
    begin = position - unfinished;
    sink = output;
    return isAscii;
}

void Decode(Utf8Decoding& job)
{
    UnitWriter writer = {job.target, job.targetEnd};
    const UInt8* source = job.source;
    while (DecodeAscii(source, job.sourceEnd, writer) && DecodeWindows(source, job.sourceEnd, writer)) {
    }
    job.source = source;
    job.target = writer.target;
}

void Count(Utf8Counting& job)
{
    UnitCounter counter = {job.units};
    const UInt8* source = job.source;
    while (DecodeAscii(source, job.sourceEnd, counter) && DecodeWindows(source, job.sourceEnd, counter)) {
    }
    job.source = source;
    job.units = counter.units;
}

// ---- To UTF-8

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

/// Writes bytes.
struct ByteWriter {
    UInt8* target;
    UInt8* end;

    bool HasRoom(USize count) const { return static_cast<USize>(end - target) >= count; }

    void PutAscii(Vector first, Vector second, USize count)
    {
        const Vector order = _mm512_set_epi64(7, 5, 3, 1, 6, 4, 2, 0);
        const Vector bytes = _mm512_permutexvar_epi64(order, _mm512_packus_epi16(first, second));
        if (count == vectorBytes) {
            _mm512_storeu_si512(target, bytes);
            target += vectorBytes;
        } else {
            Store(bytes, count, false);
        }
    }

    void Put(const UInt16* source, Vector units, const Lanes& lanes, bool isBulk)
    {
        if (lanes.wide == 0) {
            const UInt64 used =
                _pdep_u64(lanes.own, everyLane / 3) | _pdep_u64(lanes.nonAscii, everyLane / 3 * 2);
            StoreUsed(MakeTwoBytes(source, units, lanes), used, isBulk);
        } else if (lanes.wide == ~UInt32(0)) {
            PutWide(units, isBulk);
        } else {
            const Vector twoBytes = MakeTwoBytes(source, units, lanes);
            const Vector tail = MaskAndMark(twoBytes, Words(x3F3F), Words(x8080));
            PutMixed(units, _mm512_mask_mov_epi16(twoBytes, lanes.wide, tail), lanes, isBulk);
        }
    }

private:
    void Store(Vector bytes, USize count, bool isBulk)
    {
        if (isBulk && HasRoom(vectorBytes)) {
            _mm512_storeu_si512(target, bytes);
        } else {
            _mm512_mask_storeu_epi8(target, FirstLanes(count), bytes);
        }
        target += count;
    }

    void StoreUsed(Vector bytes, UInt64 used, bool isBulk)
    {
        Store(_mm512_maskz_compress_epi8(used, bytes), CountLanes(used), isBulk);
    }

    /// All lanes are wide.
    void PutWide(Vector units, bool isBulk)
    {
        const Vector firstUnits = Load(wideLayout.units);
        const Vector lastUnits = Load(wideLayout.units + 32);
        Store(Spread(_mm512_permutexvar_epi16(firstUnits, units)), 48, isBulk);
        Store(Spread(_mm512_permutexvar_epi16(lastUnits, units)), 48, isBulk);
    }

    static Vector Spread(Vector groups)
    {
        const Vector bits = _mm512_multishift_epi64_epi8(Load(wideLayout.shifts), groups);
        return MaskAndMark(bits, Load(wideLayout.masks), Load(wideLayout.marks));
    }

    void PutMixed(Vector units, Vector twoBytes, const Lanes& lanes, bool isBulk)
    {
        PutSixteen(_mm512_castsi512_si256(units), _mm512_castsi512_si256(twoBytes), lanes, 0, isBulk);
        PutSixteen(_mm512_extracti64x4_epi64(units, 1), _mm512_extracti64x4_epi64(twoBytes, 1), lanes, 16,
                   isBulk);
    }

    /// Half of a step: four bytes for each unit, the first of them for wide ones alone, the last for none.
    void PutSixteen(__m256i units, __m256i twoBytes, const Lanes& lanes, int from, bool isBulk)
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

    bool HasRoom(USize count)
    {
        bytes += count;
        return true;
    }
    void PutAscii(Vector, Vector, USize) {}
    void Put(const UInt16*, Vector, const Lanes&, bool) {}
};

/// Sorts the lanes. False when a surrogate has no partner; a high surrogate in the last lane is put off.
[[gnu::always_inline]] inline bool SortLanes(Vector units, UInt32 own, Lanes& lanes)
{
    lanes = {own, _mm512_test_epi16_mask(units, Words(xFF80)), _mm512_test_epi16_mask(units, Words(xF800)), 0,
             0};
    if (lanes.wide == 0) {
        return true;
    }
    const Vector upper = _mm512_and_si512(units, Words(xF800));
    const UInt32 surrogates = _mm512_mask_cmpeq_epi16_mask(lanes.wide, upper, Words(xD800));
    if (surrogates == 0) {
        return true;
    }
    lanes.lows = _mm512_mask_test_epi16_mask(surrogates, units, Words(x0400));
    lanes.highs = surrogates ^ lanes.lows;
    const UInt32 last = own ^ own >> 1;
    if ((lanes.highs & last) != 0) {
        lanes.own ^= last;
        lanes.highs ^= last;
        lanes.nonAscii ^= last;
    }
    lanes.wide &= ~surrogates;
    return lanes.highs << 1 == lanes.lows && lanes.own != 0;
}

UInt64 FindNonAscii(Vector units)
{
    return _mm512_test_epi16_mask(units, Words(xFF80));
}

/// Converts ASCII. False when the source ends, or the room.
template <class Sink>
bool EncodeAscii(const UInt16*& source, const UInt16* end, Sink& sink)
{
    for (;;) {
        const USize left = static_cast<USize>(end - source);
        const USize count = left < vectorBytes ? left : vectorBytes;
        Vector first;
        Vector second;
        if (count == vectorBytes) {
            first = Load(source);
            second = Load(source + vectorUnits);
        } else {
            const UInt64 lanes = FirstLanes(count);
            first = _mm512_maskz_loadu_epi16(static_cast<UInt32>(lanes), source);
            second =
                _mm512_maskz_loadu_epi16(static_cast<UInt32>(lanes >> vectorUnits), source + vectorUnits);
        }
        if (FindNonAscii(_mm512_or_si512(first, second)) != 0) {
            return true;
        }
        if (!sink.HasRoom(count)) {
            return false;
        }
        sink.PutAscii(first, second, count);
        source += count;
        if (count < vectorBytes) {
            return false;
        }
    }
}

/// Converts text that is not all ASCII. True when it turned to ASCII.
template <class Sink>
bool EncodeMixed(const UInt16*& source, const UInt16* end, Sink& sink)
{
    for (bool isAscii = false; !isAscii;) {
        const USize left = static_cast<USize>(end - source);
        const UInt32 own = static_cast<UInt32>(FirstLanes(left < vectorUnits ? left : vectorUnits));
        const Vector units = left >= vectorUnits ? Load(source) : _mm512_maskz_loadu_epi16(own, source);
        Lanes lanes;
        if (own == 0 || !SortLanes(units, own, lanes)) {
            return false;
        }
        const USize count = CountLanes(lanes.own);
        if (!sink.HasRoom(count + CountLanes(lanes.nonAscii) + CountLanes(lanes.wide))) {
            return false;
        }
        isAscii = lanes.nonAscii == 0;
        if (isAscii) {
            sink.PutAscii(units, units, count);
        } else {
            sink.Put(source, units, lanes, left >= bulkUnits);
        }
        source += count;
    }
    return true;
}

template <class Sink>
void EncodeAll(const UInt16*& source, const UInt16* end, Sink& sink)
{
    while (EncodeAscii(source, end, sink) && EncodeMixed(source, end, sink)) {
    }
}

void Encode(Utf8Encoding& job)
{
    ByteWriter writer = {job.target, job.targetEnd};
    EncodeAll(job.source, job.sourceEnd, writer);
    job.target = writer.target;
}

void Measure(Utf8Measuring& job)
{
    ByteCounter counter = {job.bytes};
    EncodeAll(job.source, job.sourceEnd, counter);
    job.bytes = counter.bytes;
}

// ---- ASCII alone

bool IsAscii8(const char* text, USize length)
{
    for (; length >= vectorBytes; text += vectorBytes, length -= vectorBytes) {
        if (_mm512_movepi8_mask(Load(text)) != 0) {
            return false;
        }
    }
    return _mm512_movepi8_mask(LoadLanes(FirstLanes(length), text)) == 0;
}

bool IsAscii16(const unsigned short* text, USize length)
{
    for (; length >= vectorUnits; text += vectorUnits, length -= vectorUnits) {
        if (FindNonAscii(Load(text)) != 0) {
            return false;
        }
    }
    return FindNonAscii(_mm512_maskz_loadu_epi16(static_cast<UInt32>(FirstLanes(length)), text)) == 0;
}

void Widen(const char* source, USize length, unsigned short* target)
{
    UnitWriter writer = {target, target + length};
    for (; length >= vectorBytes; source += vectorBytes, length -= vectorBytes) {
        writer.PutAscii(reinterpret_cast<const UInt8*>(source));
    }
    writer.PutAscii(LoadLanes(FirstLanes(length), source), length);
}

void Narrow(const unsigned short* source, USize length, char* target)
{
    for (; length >= vectorUnits; source += vectorUnits, target += vectorUnits, length -= vectorUnits) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), _mm512_cvtepi16_epi8(Load(source)));
    }
    const UInt32 lanes = static_cast<UInt32>(FirstLanes(length));
    _mm512_mask_cvtepi16_storeu_epi8(target, lanes, _mm512_maskz_loadu_epi16(lanes, source));
}

/// Reads whole aligned vectors, which end where a page ends or before, hence not checked by the sanitizer.
[[gnu::no_sanitize_address]] USize Length16(const unsigned short* text)
{
    const USize address = reinterpret_cast<USize>(text);
    const USize misfit = address % vectorBytes;
    const Vector* position = reinterpret_cast<const Vector*>(address - misfit);
    UInt64 zeros = _mm512_testn_epi16_mask(*position, *position);
    zeros = zeros >> misfit / 2 << misfit / 2;
    while (zeros == 0) {
        ++position;
        zeros = _mm512_testn_epi16_mask(*position, *position);
    }
    const unsigned short* const block = reinterpret_cast<const unsigned short*>(position);
    return static_cast<USize>(block - text) + _tzcnt_u64(zeros);
}

} // namespace

constinit const TranscodeKernels transcodeAvx512 = {
    "Avx512", Decode, Count, Encode, Measure, IsAscii8, IsAscii16, Widen, Narrow, Length16,
};

} // namespace QV::Impl
