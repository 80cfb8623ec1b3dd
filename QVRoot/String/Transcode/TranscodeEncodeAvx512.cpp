// To UTF-8, with AVX-512: the steps, and loops of their own for the texts that take one kind of step only.
#include <QVRoot/String/Transcode/EncodeSinksAvx512Impl.hpp>

namespace QV::Impl {

namespace {

/// What a step in bulk may write: two registers, and one byte more for each of `fewWide`.
constexpr USize bulkRoom = 2 * vectorBytes;

/// Up to so many wide units are put between the bytes of the others one by one.
constexpr USize fewWide = 3;

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

/// What a step converted: text that another kind of step converts faster, or not.
enum class Step { Stopped, Narrow, Mixed, Wide, Pairs };

/// Converts the units in the lanes `own`, and moves `source` along. At least `after` units follow.
template <class Sink>
[[gnu::always_inline]] inline Step EncodeStep(const UInt16*& source, Vector units, UInt32 own, USize after,
                                              Sink& sink)
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
        return Step::Narrow;
    }
    if (lanes.wide != 0) {
        const Vector upper = _mm512_and_si512(units, Words(xF800));
        const UInt32 surrogates = _mm512_cmpeq_epi16_mask(upper, Words(xD800));
        if (surrogates != 0) {
            if (!SortSurrogates(units, surrogates, lanes)) {
                return Step::Stopped;
            }
            if (lanes.lows == everyUnit / 3 * 2) {
                if (!sink.HasRoom(vectorBytes)) {
                    return Step::Stopped;
                }
                sink.PutPairs(units);
                source += vectorUnits;
                return Step::Wide;
            }
            count = CountLanes(lanes.own);
        } else if (lanes.wide == own) {
            if (!sink.HasRoom(3 * count)) {
                return Step::Stopped;
            }
            sink.PutWide(units, 3 * count, after);
            source += count;
            return Step::Wide;
        }
    }
    const USize bytes = count + CountLanes(lanes.nonAscii) + CountLanes(lanes.wide);
    if (!sink.HasRoom(bytes)) {
        return Step::Stopped;
    }
    sink.Put(source, units, lanes, bytes, after);
    source += count;
    return lanes.highs != 0 ? Step::Pairs : lanes.wide != 0 ? Step::Mixed : Step::Narrow;
}

/// Converts ASCII by pairs of vectors.
template <class Sink>
[[gnu::always_inline]] inline void EncodeAscii(const UInt16*& source, const UInt16* end, Sink& sink)
{
    while (static_cast<USize>(end - source) >= vectorBytes && sink.HasRoom(vectorBytes)) {
        const Vector first = Load(source);
        const Vector second = Load(source + vectorUnits);
        if (FindNonAscii(_mm512_or_si512(first, second)) != 0) {
            break;
        }
        sink.PutAscii(first, second);
        source += vectorBytes;
    }
}

/// Loads up to 32 units, no wider than it must.
[[gnu::always_inline]] inline Vector LoadUnits(const UInt16* source, USize length, UInt32 own)
{
    if (length <= vectorUnits / 2) {
        return _mm512_zextsi256_si512(_mm256_maskz_loadu_epi16(static_cast<UInt16>(own), source));
    }
    return _mm512_maskz_loadu_epi16(own, source);
}

/// Converts text whose units bring one or two bytes, to the end or the next unit of three.
template <class Sink>
[[gnu::always_inline]] inline void EncodeNarrowEnd(const UInt16*& source, const UInt16* end, Sink& sink)
{
    while (source != end) {
        const USize left = static_cast<USize>(end - source);
        const UInt32 own = left < vectorUnits ? static_cast<UInt32>(FirstLanes(left)) : everyUnit;
        const Vector units = LoadUnits(source, left, own);
        const UInt32 nonAscii = static_cast<UInt32>(FindNonAscii(units));
        const USize count = (left < vectorUnits ? left : vectorUnits) + CountLanes(nonAscii);
        if (_mm512_test_epi16_mask(units, Words(xF800)) != 0 || !sink.HasRoom(count)) {
            return;
        }
        sink.PutNarrowEnd(units, own, nonAscii, count);
        source += left < vectorUnits ? left : vectorUnits;
    }
}

/// Converts text whose units bring one or two bytes, with few of three among them, by full vectors. Answers
/// whether it stopped behind ASCII, otherwise anything else follows.
template <class Sink>
[[gnu::always_inline]] inline bool EncodeNarrow(const UInt16*& source, const UInt16* end, Sink& sink)
{
    // What follows the vector in hand brings a byte for each unit at least, so full stores do not reach
    // behind the result.
    while (static_cast<USize>(end - source) >= 2 * vectorUnits && sink.HasRoom(bulkRoom)) {
        const Vector units = Load(source);
        const UInt32 nonAscii = static_cast<UInt32>(FindNonAscii(units));
        const UInt32 wide = _mm512_test_epi16_mask(units, Words(xF800));
        if (wide == 0) {
            sink.PutNarrow(units, nonAscii);
            source += vectorUnits;
            if (nonAscii == 0) {
                return true;
            }
        } else {
            const Vector upper = _mm512_and_si512(units, Words(xF800));
            if (CountLanes(wide) > fewWide || _mm512_cmpeq_epi16_mask(upper, Words(xD800)) != 0) {
                return false;
            }
            sink.PutFewWide(source, units, nonAscii, wide);
            source += vectorUnits;
        }
    }
    EncodeNarrowEnd(source, end, sink);
    return false;
}

/// Converts text whose units all bring three bytes.
template <class Sink>
[[gnu::always_inline]] inline void EncodeWide(const UInt16*& source, const UInt16* end, Sink& sink)
{
    while (source != end) {
        const USize left = static_cast<USize>(end - source);
        const USize count = left < vectorUnits ? left : vectorUnits;
        const UInt32 own = static_cast<UInt32>(FirstLanes(count));
        const Vector units = LoadUnits(source, count, own);
        const Vector upper = _mm512_and_si512(units, Words(xF800));
        if (_mm512_test_epi16_mask(units, Words(xF800)) != own ||
            _mm512_cmpeq_epi16_mask(upper, Words(xD800)) != 0 || !sink.HasRoom(3 * count)) {
            return;
        }
        sink.PutWide(units, 3 * count, left - count);
        source += count;
    }
}

/// Converts what takes one kind of step only.
template <class Sink>
[[gnu::always_inline]] inline void EncodeSimple(const UInt16*& source, const UInt16* end, Sink& sink)
{
    while (EncodeNarrow(source, end, sink)) {
        EncodeAscii(source, end, sink);
    }
}

/// Converts text that mixes units of one, two and three bytes, whatever the share of each, by full vectors.
/// Stops at surrogates, and at the second vector in a row that is made for one of the other loops.
template <class Sink>
[[gnu::always_inline]] inline void EncodeMixture(const UInt16*& source, const UInt16* end, Sink& sink)
{
    bool wasSimple = false;
    while (static_cast<USize>(end - source) >= vectorUnits + vectorBytes && sink.HasRoom(bulkRoom)) {
        const Vector units = Load(source);
        const UInt32 nonAscii = static_cast<UInt32>(FindNonAscii(units));
        const UInt32 wide = _mm512_test_epi16_mask(units, Words(xF800));
        const Vector upper = _mm512_and_si512(units, Words(xF800));
        const bool isSimple = CountLanes(wide) <= 1 || wide == everyUnit;
        if (_mm512_cmpeq_epi16_mask(upper, Words(xD800)) != 0 || (isSimple && wasSimple)) {
            return;
        }
        sink.PutMixed(source, units, nonAscii, wide);
        source += vectorUnits;
        wasSimple = isSimple;
    }
}

/// Converts as far as full vectors go, and answers whether it makes sense to go on.
template <class Sink>
[[gnu::always_inline]] inline bool EncodeLong(const UInt16*& source, const UInt16* end, Sink& sink)
{
    Step before = Step::Wide;
    Step step = Step::Wide;
    while (step != Step::Stopped) {
        if (step == Step::Narrow && before != Step::Pairs) {
            EncodeSimple(source, end, sink);
        } else if (step == Step::Mixed && before != Step::Pairs) {
            EncodeMixture(source, end, sink);
        }
        before = step;
        const USize left = static_cast<USize>(end - source);
        if (left < vectorUnits) {
            return true;
        }
        step = EncodeStep(source, Load(source), everyUnit, left - vectorUnits, sink);
    }
    return false;
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
    EncodeStep(source, LoadUnits(source, length, own), own, 0, sink);
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

[[gnu::noinline]] TranscodeProgress EncodeMixed(const UInt16* source, USize length, UInt8* target, USize room)
{
    ByteWriter writer = {target, target + room};
    const USize read = EncodeAll(source, length, writer);
    return {read, static_cast<USize>(writer.target - target)};
}

/// Converts a text longer than a vector.
[[gnu::noinline]] TranscodeProgress EncodeText(const UInt16* source, USize length, UInt8* target, USize room)
{
    const UInt16* position = source;
    ByteWriter writer = {target, target + room};
    EncodeSimple(position, source + length, writer);
    EncodeWide(position, source + length, writer);
    const USize read = static_cast<USize>(position - source);
    const USize produced = static_cast<USize>(writer.target - target);
    if (read == length) {
        return {read, produced};
    }
    const TranscodeProgress rest = EncodeMixed(position, length - read, target + produced, room - produced);
    return {read + rest.read, produced + rest.produced};
}

/// Packs 128 units of ASCII. False when they are not.
[[gnu::always_inline]] inline bool PackTwo(const UInt16* source, UInt8* target)
{
    const Vector first = Load(source);
    const Vector second = Load(source + vectorUnits);
    const Vector third = Load(source + 2 * vectorUnits);
    const Vector fourth = Load(source + 3 * vectorUnits);
    const Vector all = _mm512_or_si512(_mm512_or_si512(first, second), _mm512_or_si512(third, fourth));
    if (FindNonAscii(all) != 0) {
        return false;
    }
    _mm512_storeu_si512(target, Pack(first, second));
    _mm512_storeu_si512(target + vectorBytes, Pack(third, fourth));
    return true;
}

/// Converts ASCII at the beginning of a text of 64 units or more, into room for all of it. Answers how far
/// that went: to the end, or anywhere in front of the first unit that is different.
[[gnu::always_inline]] inline USize EncodeAsciiPrefix(const UInt16* source, USize length, UInt8* target)
{
    USize i = 0;
    while (i + 2 * vectorBytes <= length && PackTwo(source + i, target + i)) {
        i += 2 * vectorBytes;
    }
    // The last step may convert some units again.
    for (; i < length; i += vectorBytes) {
        const USize position = i + vectorBytes <= length ? i : length - vectorBytes;
        const Vector first = Load(source + position);
        const Vector second = Load(source + position + vectorUnits);
        if (FindNonAscii(_mm512_or_si512(first, second)) != 0) {
            return i;
        }
        _mm512_storeu_si512(target + position, Pack(first, second));
    }
    return length;
}

} // namespace

TranscodeProgress EncodeAvx512(const UInt16* source, USize length, UInt8* target, USize room)
{
    if (length <= vectorUnits) {
        return EncodeShortly(source, length, target, room);
    }
    if (length < vectorBytes || room < length || FindNonAscii(Load(source)) != 0) {
        return EncodeText(source, length, target, room);
    }
    const USize ascii = EncodeAsciiPrefix(source, length, target);
    if (ascii == length) {
        return {length, length};
    }
    const TranscodeProgress rest = EncodeText(source + ascii, length - ascii, target + ascii, room - ascii);
    return {ascii + rest.read, ascii + rest.produced};
}

TranscodeProgress MeasureAvx512(const UInt16* source, USize length)
{
    if (length <= vectorUnits) {
        return MeasureShortly(source, length);
    }
    ByteCounter counter = {0};
    const UInt16* position = source;
    EncodeSimple(position, source + length, counter);
    const USize simple = static_cast<USize>(position - source);
    return {simple + EncodeAll(position, length - simple, counter), counter.bytes};
}

} // namespace QV::Impl
