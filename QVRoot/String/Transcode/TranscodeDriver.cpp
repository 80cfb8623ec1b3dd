// The converters. They drive a set of kernels over a whole text: kernel, plain code where it stopped, kernel
// again. For short texts the way to the kernel counts as much as the kernel, hence the inlining.
#include <QVRoot/String/Transcode/TranscodeChoiceImpl.hpp>
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

/// What a conversion from UTF-8 needs besides its texts.
struct DecodeRules {
    const TranscodeKernels& kernels;
    bool strict;

    TranscodeProgress RunKernel(const Decoding& job) const noexcept
    {
        const USize left = static_cast<USize>(job.sourceEnd - job.source);
        return job.target == nullptr
                   ? kernels.count(job.source, left)
                   : kernels.decode(job.source, left, job.target + job.produced, job.room - job.produced);
    }
    int RunPlainly(Decoding& job, const UInt8* stop) const noexcept
    {
        return DecodePlainly(job, stop, strict);
    }
};

/// The same towards UTF-8.
struct EncodeRules {
    const TranscodeKernels& kernels;
    bool strict;
    bool zeroEnds;

    TranscodeProgress RunKernel(const Encoding& job) const noexcept
    {
        const USize left = static_cast<USize>(job.sourceEnd - job.source);
        return job.target == nullptr
                   ? kernels.measure(job.source, left)
                   : kernels.encode(job.source, left, job.target + job.produced, job.room - job.produced);
    }
    int RunPlainly(Encoding& job, const UInt16* stop) const noexcept
    {
        return EncodePlainly(job, stop, strict, zeroEnds);
    }
};

/// Goes on where the kernel stopped, to the end of the source. Answers 1 or the error.
template <class Job, class Rules>
[[gnu::noinline, gnu::cold]] int GoOn(Job& job, const Rules& rules) noexcept
{
    for (;;) {
        const int result = rules.RunPlainly(job, GetPlainStop(job.source, job.sourceEnd));
        if (result < 1 || job.source == job.sourceEnd) {
            return result;
        }
        const TranscodeProgress progress = rules.RunKernel(job);
        job.source += progress.read;
        job.produced += progress.produced;
        if (job.source == job.sourceEnd) {
            return 1;
        }
    }
}

/// Runs a conversion to the end, the terminator included where there is one. Answers the units produced or
/// the error; then `trouble` is the offset of the offending sequence.
template <class SourceUnit, class TargetUnit, class Rules>
[[gnu::always_inline]] inline int Convert(const SourceUnit* source, USize length, TargetUnit* target,
                                          USize room, bool zeroEnds, const Rules& rules,
                                          USize& trouble) noexcept
{
    Transcoding<SourceUnit, TargetUnit> job = {source, source + length, target, room, 0};
    const TranscodeProgress progress = rules.RunKernel(job);
    USize produced = progress.produced;
    if (progress.read != length) [[unlikely]] {
        job.source += progress.read;
        job.produced = produced;
        const int result = GoOn(job, rules);
        if (result < 1) {
            trouble = static_cast<USize>(job.source - source);
            return result;
        }
        produced = job.produced;
    }
    if (zeroEnds) {
        if (target != nullptr) {
            if (produced == room) {
                return ConversionError::DestinationTooSmall;
            }
            target[produced] = 0;
        }
        ++produced;
    }
    return produced > INT_MAX ? static_cast<int>(ConversionError::DestinationTooSmall)
                              : static_cast<int>(produced);
}

[[gnu::always_inline]] inline int Decode(const TranscodeKernels& kernels, const char* text, int sourceLength,
                                         unsigned short* target, int targetLength, bool strict,
                                         USize& trouble) noexcept
{
    if (text == nullptr || sourceLength == 0 || sourceLength < -1) {
        return 0;
    }
    if (targetLength < 0 || (targetLength > 0 && target == nullptr)) {
        return ConversionError::DestinationTooSmall;
    }
    const bool zeroEnds = sourceLength < 0;
    const USize length = zeroEnds ? std::strlen(text) : static_cast<USize>(sourceLength);
    return Convert(reinterpret_cast<const UInt8*>(text), length, targetLength == 0 ? nullptr : target,
                   static_cast<USize>(targetLength), zeroEnds, DecodeRules{kernels, strict}, trouble);
}

[[gnu::always_inline]] inline int Encode(const TranscodeKernels& kernels, const unsigned short* source,
                                         int sourceLength, char* text, int targetLength, bool strict) noexcept
{
    if (source == nullptr || sourceLength == 0 || sourceLength < -1) {
        return 0;
    }
    if (targetLength < 0 || (targetLength > 0 && text == nullptr)) {
        return ConversionError::DestinationTooSmall;
    }
    const bool zeroEnds = sourceLength < 0;
    const USize length = zeroEnds ? kernels.length16(source) : static_cast<USize>(sourceLength);
    USize trouble;
    return Convert(source, length, targetLength == 0 ? nullptr : reinterpret_cast<UInt8*>(text),
                   static_cast<USize>(targetLength), zeroEnds, EncodeRules{kernels, strict, zeroEnds},
                   trouble);
}

} // namespace

int ConvertToUtf16(const TranscodeKernels& kernels, const char* source, int sourceLength,
                   unsigned short* target, int targetLength, bool strict, USize& trouble) noexcept
{
    return Decode(kernels, source, sourceLength, target, targetLength, strict, trouble);
}

int ConvertToUtf8(const TranscodeKernels& kernels, const unsigned short* source, int sourceLength,
                  char* target, int targetLength, bool strict) noexcept
{
    return Encode(kernels, source, sourceLength, target, targetLength, strict);
}

} // namespace QV::Impl

namespace QV::Unicode {

int UTF8ToUTF16(const char* source, int sourceLength, unsigned short* destination, int destinationLength,
                bool strict) noexcept
{
    USize trouble;
    const int result = Impl::Decode(Impl::GetTranscodeKernels(), source, sourceLength, destination,
                                    destinationLength, strict, trouble);
    if (result == ConversionError::IllegalSequence) [[unlikely]] {
        Impl::ReportIfMalformed(source, trouble);
    }
    return result;
}

int UTF16ToUTF8(const unsigned short* source, int sourceLength, char* destination, int destinationLength,
                bool strict) noexcept
{
    return Impl::Encode(Impl::GetTranscodeKernels(), source, sourceLength, destination, destinationLength,
                        strict);
}

} // namespace QV::Unicode
