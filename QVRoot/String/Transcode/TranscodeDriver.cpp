// Drives a set of kernels over a whole text: kernel, plain code where it stopped, kernel again.
#include <QVRoot/String/Transcode/TranscodeImpl.hpp>
#include <QVRoot/String/Unicode.hpp>

#include <climits>
#include <cstring>

namespace QV::Impl {

namespace {

using Unicode::ConversionError;

/// How far plain code goes before the kernel gets its next chance.
constexpr int plainUnits = 32;

template <class Unit>
const Unit* GetPlainStop(const Unit* position, const Unit* end) noexcept
{
    return end - position < plainUnits ? end : position + plainUnits;
}

/// Runs a conversion to the end of the source. Answers 1 or the error.
template <class Job>
int Run(Job& job, void (*kernel)(Job&), auto plainly) noexcept
{
    for (;;) {
        kernel(job);
        if (job.source == job.sourceEnd) [[likely]] {
            return 1;
        }
        const int result = plainly(job, GetPlainStop(job.source, job.sourceEnd));
        if (result < 1 || job.source == job.sourceEnd) {
            return result;
        }
    }
}

/// The result for a count, the terminator included.
int GetResult(USize count, bool zeroEnds) noexcept
{
    count += zeroEnds ? 1 : 0;
    return count > INT_MAX ? static_cast<int>(ConversionError::DestinationTooSmall) : static_cast<int>(count);
}

/// Ends a conversion that has reached the end of its source.
template <class Unit>
int Finish(Unit* begin, Unit* position, const Unit* end, bool zeroEnds) noexcept
{
    if (zeroEnds) {
        if (position == end) {
            return ConversionError::DestinationTooSmall;
        }
        *position++ = 0;
    }
    return static_cast<int>(position - begin);
}

} // namespace

int ConvertToUtf16(const TranscodeKernels& kernels, const char* text, int sourceLength,
                   unsigned short* target, int targetLength, bool strict, USize& trouble) noexcept
{
    if (text == nullptr || sourceLength == 0 || sourceLength < -1) {
        return 0;
    }
    if (targetLength < 0 || (targetLength > 0 && target == nullptr)) {
        return ConversionError::DestinationTooSmall;
    }
    const bool zeroEnds = sourceLength < 0;
    const USize length = zeroEnds ? std::strlen(text) : static_cast<USize>(sourceLength);
    const UInt8* const source = reinterpret_cast<const UInt8*>(text);
    if (targetLength > 0) {
        Utf8Decoding job = {source, source + length, target, target + targetLength};
        const int result = Run(job, kernels.decode, [strict](Utf8Decoding& rest, const UInt8* stop) {
            return DecodePlainly(rest, stop, strict);
        });
        trouble = static_cast<USize>(job.source - source);
        return result < 1 ? result : Finish(target, job.target, job.targetEnd, zeroEnds);
    }
    Utf8Counting job = {source, source + length, 0};
    const int result = Run(job, kernels.count, [strict](Utf8Counting& rest, const UInt8* stop) {
        return CountPlainly(rest, stop, strict);
    });
    trouble = static_cast<USize>(job.source - source);
    return result < 1 ? result : GetResult(job.units, zeroEnds);
}

int ConvertToUtf8(const TranscodeKernels& kernels, const unsigned short* source, int sourceLength,
                  char* target, int targetLength, bool strict) noexcept
{
    if (source == nullptr || sourceLength == 0 || sourceLength < -1) {
        return 0;
    }
    if (targetLength < 0 || (targetLength > 0 && target == nullptr)) {
        return ConversionError::DestinationTooSmall;
    }
    const bool zeroEnds = sourceLength < 0;
    const USize length = zeroEnds ? kernels.length16(source) : static_cast<USize>(sourceLength);
    if (targetLength > 0) {
        UInt8* const begin = reinterpret_cast<UInt8*>(target);
        Utf8Encoding job = {source, source + length, begin, begin + targetLength};
        const int result = Run(job, kernels.encode, [=](Utf8Encoding& rest, const UInt16* stop) {
            return EncodePlainly(rest, stop, strict, zeroEnds);
        });
        return result < 1 ? result : Finish(begin, job.target, job.targetEnd, zeroEnds);
    }
    Utf8Measuring job = {source, source + length, 0};
    const int result = Run(job, kernels.measure, [=](Utf8Measuring& rest, const UInt16* stop) {
        return MeasurePlainly(rest, stop, strict, zeroEnds);
    });
    return result < 1 ? result : GetResult(job.bytes, zeroEnds);
}

} // namespace QV::Impl
