// The conversion rules one by one, in the order in which they decide. Slow on purpose.
#include <QVRoot/String/Transcode/TranscodeImpl.hpp>
#include <QVRoot/String/Unicode.hpp>

#include <climits>

namespace QV::Impl {

namespace {

using Unicode::ConversionError;

constexpr UInt32 codePointOffsets[] = {0, 0x3080, 0xE2080, 0x3C82080};

/// Takes what a conversion produces; without room asked for, it only counts.
template <class Unit>
class Output {
public:
    Output(Unit* target, int length) noexcept : target_(target), length_(length) {}

    bool HasRoom(Int64 units) const noexcept { return length_ == 0 || count_ + units <= length_; }

    void Put(UInt32 unit) noexcept
    {
        if (length_ > 0) {
            target_[count_] = static_cast<Unit>(unit);
        }
        ++count_;
    }

    int GetCount() const noexcept
    {
        return count_ > INT_MAX ? static_cast<int>(ConversionError::DestinationTooSmall)
                                : static_cast<int>(count_);
    }

private:
    Unit* target_;
    Int64 length_;
    Int64 count_ = 0;
};

/// Whether a conversion has anything to do, and where to put it; `result` is the answer if not.
template <class Source, class Target>
bool AreArgumentsUsable(const Source* source, int sourceLength, const Target* target, int targetLength,
                        int& result) noexcept
{
    if (source == nullptr || sourceLength == 0 || sourceLength < -1) {
        result = 0;
        return false;
    }
    result = ConversionError::DestinationTooSmall;
    return targetLength >= 0 && (targetLength == 0 || target != nullptr);
}

/// Whether the trailing bytes of the sequence at `position` are there.
bool IsComplete(const UInt8* source, int sourceLength, Int64 position, int trailing) noexcept
{
    if (sourceLength >= 0) {
        return position + trailing < sourceLength;
    }
    for (int i = 1; i <= trailing; ++i) {
        if (source[position + i] == 0) {
            return false;
        }
    }
    return true;
}

/// Puts one code point as UTF-16; answers 1 or the error.
int PutCodePoint(Output<unsigned short>& output, UInt32 codePoint, bool strict) noexcept
{
    if (!output.HasRoom(1)) {
        return ConversionError::DestinationTooSmall;
    }
    if (codePoint > 0xFFFF && codePoint < 0x10FFFF) {
        if (!output.HasRoom(2)) {
            return ConversionError::DestinationTooSmall;
        }
        output.Put(((codePoint - 0x10000) >> 10) + 0xD800);
        output.Put(((codePoint - 0x10000) & 0x3FF) + 0xDC00);
        return 1;
    }
    const bool isTooLarge = codePoint >= 0x10FFFF;
    const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (strict && (isTooLarge || isSurrogate)) {
        return ConversionError::IllegalSequence;
    }
    output.Put(isTooLarge ? 0xFFFD : codePoint);
    return 1;
}

/// Puts one code point, or a surrogate as if it were one, as UTF-8.
bool PutBytes(Output<char>& output, UInt32 codePoint) noexcept
{
    const int count = codePoint < 0x80 ? 1 : codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
    constexpr UInt32 leadMarks[] = {0, 0, 0xC0, 0xE0, 0xF0};
    if (!output.HasRoom(count)) {
        return false;
    }
    output.Put(leadMarks[count] | codePoint >> (6 * (count - 1)));
    for (int i = count - 2; i >= 0; --i) {
        output.Put(0x80 | (codePoint >> (6 * i) & 0x3F));
    }
    return true;
}

bool IsHighSurrogate(UInt32 unit) noexcept
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(UInt32 unit) noexcept
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Takes a high surrogate and the unit behind it; answers 1 or the error.
int TakePair(const unsigned short* source, int sourceLength, Int64& position, UInt32& codePoint,
             bool strict) noexcept
{
    const UInt32 high = source[position++];
    codePoint = high;
    if (sourceLength >= 0 && position >= sourceLength) {
        return strict ? static_cast<int>(ConversionError::SourceExhausted) : 1;
    }
    const UInt32 low = source[position];
    if (IsLowSurrogate(low)) {
        ++position;
        codePoint = (high - 0xD800) * 0x400 + (low - 0xDC00) + 0x10000;
        return 1;
    }
    if (strict) {
        return ConversionError::IllegalSequence;
    }
    const bool isTerminator = sourceLength < 0 && low == 0;
    position += isTerminator ? 0 : 1;
    return 1;
}

} // namespace

int ReferenceUTF8ToUTF16(const char* text, int sourceLength, unsigned short* target, int targetLength,
                         bool strict) noexcept
{
    int result;
    if (!AreArgumentsUsable(text, sourceLength, target, targetLength, result)) {
        return result;
    }
    const UInt8* const source = reinterpret_cast<const UInt8*>(text);
    Output<unsigned short> output(target, targetLength);
    Int64 position = 0;
    while (sourceLength >= 0 ? position < sourceLength : source[position] != 0) {
        const UInt8 lead = source[position];
        if (lead >= 0xF8) {
            return ConversionError::IllegalSequence;
        }
        const int trailing = lead < 0xC0 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        if (!IsComplete(source, sourceLength, position, trailing)) {
            return ConversionError::SourceExhausted;
        }
        if (!Unicode::IsLegalUTF8(text + position, trailing + 1)) {
            return ConversionError::IllegalSequence;
        }
        UInt32 codePoint = 0;
        for (int i = 0; i <= trailing; ++i) {
            codePoint = (codePoint << 6) + source[position++];
        }
        codePoint -= codePointOffsets[trailing];
        result = PutCodePoint(output, codePoint, strict);
        if (result < 1) {
            return result;
        }
    }
    if (sourceLength < 0) {
        if (!output.HasRoom(1)) {
            return ConversionError::DestinationTooSmall;
        }
        output.Put(0);
    }
    return output.GetCount();
}

int ReferenceUTF16ToUTF8(const unsigned short* source, int sourceLength, char* target, int targetLength,
                         bool strict) noexcept
{
    int result;
    if (!AreArgumentsUsable(source, sourceLength, target, targetLength, result)) {
        return result;
    }
    Output<char> output(target, targetLength);
    Int64 position = 0;
    while (sourceLength >= 0 ? position < sourceLength : source[position] != 0) {
        UInt32 codePoint = source[position];
        if (IsHighSurrogate(codePoint)) {
            result = TakePair(source, sourceLength, position, codePoint, strict);
            if (result < 1) {
                return result;
            }
        } else {
            ++position;
        }
        if (!PutBytes(output, codePoint)) {
            return ConversionError::DestinationTooSmall;
        }
    }
    if (sourceLength < 0) {
        if (!output.HasRoom(1)) {
            return ConversionError::DestinationTooSmall;
        }
        output.Put(0);
    }
    return output.GetCount();
}

} // namespace QV::Impl
