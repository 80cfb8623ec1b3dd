// The converters in plain C++: what finishes and judges where kernels stop, and the kernels for processors
// without any vector set that we use.
#include <QVRoot/String/Transcode/TranscodeImpl.hpp>
#include <QVRoot/String/Unicode.hpp>

#include <cstring>

namespace QV::Impl {

int GetTrailingBytes(UInt8 lead) noexcept
{
    return lead < 0xC0 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : lead < 0xF8 ? 3 : 4;
}

namespace {

using Unicode::ConversionError;

constexpr UInt64 highBits8 = 0x8080808080808080;
constexpr UInt64 nonAscii16 = 0xFF80FF80FF80FF80;
constexpr UInt32 firstSurrogate = 0xD800;
constexpr UInt32 endOfHighSurrogates = 0xDC00;
constexpr UInt32 endOfSurrogates = 0xE000;
constexpr UInt32 firstTooLarge = 0x10FFFF;

UInt64 Load64(const void* address) noexcept
{
    UInt64 value;
    std::memcpy(&value, address, sizeof(value));
    return value;
}

bool IsContinuation(UInt8 byte) noexcept
{
    return (byte & 0xC0) == 0x80;
}

bool IsSurrogate(UInt32 codePoint) noexcept
{
    return codePoint - firstSurrogate < endOfSurrogates - firstSurrogate;
}

bool IsHighSurrogate(UInt32 unit) noexcept
{
    return unit - firstSurrogate < endOfHighSurrogates - firstSurrogate;
}

bool IsLowSurrogate(UInt32 unit) noexcept
{
    return unit - endOfHighSurrogates < endOfSurrogates - endOfHighSurrogates;
}

// Two sinks for either direction: one writes, the other counts.

struct UnitWriter {
    UInt16* target;
    UInt16* end;

    bool HasRoom(USize units) const noexcept { return static_cast<USize>(end - target) >= units; }
    void Put(UInt32 unit) noexcept { *target++ = static_cast<UInt16>(unit); }
    void PutAscii8(const UInt8* source) noexcept
    {
        for (int i = 0; i < 8; ++i) {
            target[i] = source[i];
        }
        target += 8;
    }
};

struct UnitCounter {
    USize units;

    bool HasRoom(USize) const noexcept { return true; }
    void Put(UInt32) noexcept { ++units; }
    void PutAscii8(const UInt8*) noexcept { units += 8; }
};

struct ByteWriter {
    UInt8* target;
    UInt8* end;

    bool HasRoom(USize bytes) const noexcept { return static_cast<USize>(end - target) >= bytes; }
    void Put(UInt32 byte) noexcept { *target++ = static_cast<UInt8>(byte); }
};

struct ByteCounter {
    USize bytes;

    bool HasRoom(USize) const noexcept { return true; }
    void Put(UInt32) noexcept { ++bytes; }
};

template <class Sink>
void PutPair(Sink& sink, UInt32 codePoint) noexcept
{
    sink.Put(((codePoint - 0x10000) >> 10) + firstSurrogate);
    sink.Put(((codePoint - 0x10000) & 0x3FF) + endOfHighSurrogates);
}

/// Puts a code point or a surrogate as UTF-8, if there is room.
template <class Sink>
bool PutBytes(Sink& sink, UInt32 codePoint) noexcept
{
    if (codePoint < 0x80) {
        if (!sink.HasRoom(1)) {
            return false;
        }
        sink.Put(codePoint);
        return true;
    }
    if (codePoint < 0x800) {
        if (!sink.HasRoom(2)) {
            return false;
        }
        sink.Put(0xC0 | codePoint >> 6);
    } else if (codePoint < 0x10000) {
        if (!sink.HasRoom(3)) {
            return false;
        }
        sink.Put(0xE0 | codePoint >> 12);
        sink.Put(0x80 | (codePoint >> 6 & 0x3F));
    } else {
        if (!sink.HasRoom(4)) {
            return false;
        }
        sink.Put(0xF0 | codePoint >> 18);
        sink.Put(0x80 | (codePoint >> 12 & 0x3F));
        sink.Put(0x80 | (codePoint >> 6 & 0x3F));
    }
    sink.Put(0x80 | (codePoint & 0x3F));
    return true;
}

UInt32 Combine(const UInt8* source, int trailing) noexcept
{
    constexpr UInt32 offsets[] = {0, 0x3080, 0xE2080, 0x3C82080};
    UInt32 codePoint = source[0];
    for (int i = 1; i <= trailing; ++i) {
        codePoint = (codePoint << 6) + source[i];
    }
    return codePoint - offsets[trailing];
}

/// Puts what a legal sequence stands for. Answers 1 or the error.
template <class Sink>
int PutCodePoint(Sink& sink, UInt32 codePoint, bool strict) noexcept
{
    if (!sink.HasRoom(codePoint > 0xFFFF && codePoint < firstTooLarge ? 2 : 1)) {
        return ConversionError::DestinationTooSmall;
    }
    if (codePoint > 0xFFFF && codePoint < firstTooLarge) {
        PutPair(sink, codePoint);
        return 1;
    }
    if (strict && (codePoint >= firstTooLarge || IsSurrogate(codePoint))) {
        return ConversionError::IllegalSequence;
    }
    sink.Put(codePoint >= firstTooLarge ? 0xFFFD : codePoint);
    return 1;
}

template <class Sink>
int DecodeSequences(const UInt8*& position, const UInt8* end, const UInt8* stop, Sink& sink,
                    bool strict) noexcept
{
    while (position < stop) {
        const int trailing = GetTrailingBytes(*position);
        if (trailing > 3) {
            return ConversionError::IllegalSequence;
        }
        if (end - position <= trailing) {
            return ConversionError::SourceExhausted;
        }
        if (!Unicode::IsLegalUTF8(reinterpret_cast<const char*>(position), trailing + 1)) {
            return ConversionError::IllegalSequence;
        }
        const int result = PutCodePoint(sink, Combine(position, trailing), strict);
        if (result < 1) {
            return result;
        }
        position += trailing + 1;
    }
    return 1;
}

/// Takes the code point at `position`, or a surrogate that stands alone. Answers 1 or the error.
int TakeCodePoint(const UInt16*& position, const UInt16* end, UInt32& codePoint, bool strict,
                  bool zeroEnds) noexcept
{
    codePoint = *position++;
    if (!IsHighSurrogate(codePoint)) [[likely]] {
        return 1;
    }
    if (position == end) {
        const int error = zeroEnds ? ConversionError::IllegalSequence : ConversionError::SourceExhausted;
        return strict ? error : 1;
    }
    const UInt32 low = *position;
    if (IsLowSurrogate(low)) {
        codePoint = (codePoint - firstSurrogate) * 0x400 + (low - endOfHighSurrogates) + 0x10000;
    } else if (strict) {
        return ConversionError::IllegalSequence;
    }
    ++position;
    return 1;
}

template <class Sink>
int EncodeSequences(const UInt16*& position, const UInt16* end, const UInt16* stop, Sink& sink, bool strict,
                    bool zeroEnds) noexcept
{
    while (position < stop) {
        const UInt16* const start = position;
        UInt32 codePoint;
        int result = TakeCodePoint(position, end, codePoint, strict, zeroEnds);
        if (result > 0 && !PutBytes(sink, codePoint)) {
            result = ConversionError::DestinationTooSmall;
        }
        if (result < 1) {
            position = start;
            return result;
        }
    }
    return 1;
}

/// Converts what is plainly in order; stops in front of anything else.
template <class Sink>
const UInt8* DecodeInOrder(const UInt8* position, const UInt8* end, Sink& sink) noexcept
{
    while (position < end) {
        while (end - position >= 8 && (Load64(position) & highBits8) == 0 && sink.HasRoom(8)) {
            sink.PutAscii8(position);
            position += 8;
        }
        if (position == end || !sink.HasRoom(1)) {
            break;
        }
        const UInt8 lead = *position;
        const USize left = static_cast<USize>(end - position);
        if (lead < 0x80) {
            sink.Put(lead);
            position += 1;
        } else if (lead >= 0xC2 && lead < 0xE0 && left >= 2 && IsContinuation(position[1])) {
            sink.Put(Combine(position, 1));
            position += 2;
        } else if (lead >= 0xE0 && lead < 0xF0 && left >= 3 && IsContinuation(position[1]) &&
                   IsContinuation(position[2])) {
            const UInt32 unit = Combine(position, 2);
            if (unit < 0x800 || IsSurrogate(unit)) {
                break;
            }
            sink.Put(unit);
            position += 3;
        } else if (lead >= 0xF0 && left >= 4 && IsContinuation(position[1]) && IsContinuation(position[2]) &&
                   IsContinuation(position[3])) {
            const UInt32 codePoint = Combine(position, 3);
            if (codePoint - 0x10000 >= firstTooLarge - 0x10000 || !sink.HasRoom(2)) {
                break;
            }
            PutPair(sink, codePoint);
            position += 4;
        } else {
            break;
        }
    }
    return position;
}

TranscodeProgress PortableDecode(const UInt8* source, USize length, UInt16* target, USize room)
{
    UnitWriter writer = {target, target + room};
    const UInt8* const position = DecodeInOrder(source, source + length, writer);
    return {static_cast<USize>(position - source), static_cast<USize>(writer.target - target)};
}

TranscodeProgress PortableCount(const UInt8* source, USize length)
{
    UnitCounter counter = {0};
    const UInt8* const position = DecodeInOrder(source, source + length, counter);
    return {static_cast<USize>(position - source), counter.units};
}

/// Converts strictly as far as that goes.
template <class Sink>
const UInt16* EncodeInOrder(const UInt16* position, const UInt16* end, Sink& sink) noexcept
{
    while (position < end) {
        while (end - position >= 4 && (Load64(position) & nonAscii16) == 0 && sink.HasRoom(4)) {
            for (int i = 0; i < 4; ++i) {
                sink.Put(position[i]);
            }
            position += 4;
        }
        const UInt16* const stop = end - position < 4 ? end : position + 4;
        if (EncodeSequences(position, end, stop, sink, true, false) < 1) {
            break;
        }
    }
    return position;
}

TranscodeProgress PortableEncode(const UInt16* source, USize length, UInt8* target, USize room)
{
    ByteWriter writer = {target, target + room};
    const UInt16* const position = EncodeInOrder(source, source + length, writer);
    return {static_cast<USize>(position - source), static_cast<USize>(writer.target - target)};
}

TranscodeProgress PortableMeasure(const UInt16* source, USize length)
{
    ByteCounter counter = {0};
    const UInt16* const position = EncodeInOrder(source, source + length, counter);
    return {static_cast<USize>(position - source), counter.bytes};
}

bool PortableIsAscii8(const char* text, USize length)
{
    USize i = 0;
    for (; i + 8 <= length; i += 8) {
        if ((Load64(text + i) & highBits8) != 0) {
            return false;
        }
    }
    UInt8 rest = 0;
    for (; i < length; ++i) {
        rest |= static_cast<UInt8>(text[i]);
    }
    return rest < 0x80;
}

bool PortableIsAscii16(const unsigned short* text, USize length)
{
    USize i = 0;
    for (; i + 4 <= length; i += 4) {
        if ((Load64(text + i) & nonAscii16) != 0) {
            return false;
        }
    }
    UInt32 rest = 0;
    for (; i < length; ++i) {
        rest |= text[i];
    }
    return rest < 0x80;
}

void PortableWiden(const char* source, USize length, unsigned short* target)
{
    for (USize i = 0; i < length; ++i) {
        target[i] = static_cast<UInt8>(source[i]);
    }
}

void PortableNarrow(const unsigned short* source, USize length, char* target)
{
    for (USize i = 0; i < length; ++i) {
        target[i] = static_cast<char>(source[i]);
    }
}

USize PortableLength16(const unsigned short* text)
{
    const unsigned short* end = text;
    while (*end != 0) {
        ++end;
    }
    return static_cast<USize>(end - text);
}

} // namespace

int DecodePlainly(Decoding& job, const UInt8* stop, bool strict) noexcept
{
    if (job.target == nullptr) {
        UnitCounter counter = {job.produced};
        const int result = DecodeSequences(job.source, job.sourceEnd, stop, counter, strict);
        job.produced = counter.units;
        return result;
    }
    UnitWriter writer = {job.target + job.produced, job.target + job.room};
    const int result = DecodeSequences(job.source, job.sourceEnd, stop, writer, strict);
    job.produced = static_cast<USize>(writer.target - job.target);
    return result;
}

int EncodePlainly(Encoding& job, const UInt16* stop, bool strict, bool zeroEnds) noexcept
{
    if (job.target == nullptr) {
        ByteCounter counter = {job.produced};
        const int result = EncodeSequences(job.source, job.sourceEnd, stop, counter, strict, zeroEnds);
        job.produced = counter.bytes;
        return result;
    }
    ByteWriter writer = {job.target + job.produced, job.target + job.room};
    const int result = EncodeSequences(job.source, job.sourceEnd, stop, writer, strict, zeroEnds);
    job.produced = static_cast<USize>(writer.target - job.target);
    return result;
}

constinit const TranscodeKernels transcodePortable = {
    "Portable",       PortableDecode,    PortableCount, PortableEncode, PortableMeasure,
    PortableIsAscii8, PortableIsAscii16, PortableWiden, PortableNarrow, PortableLength16,
};

} // namespace QV::Impl
