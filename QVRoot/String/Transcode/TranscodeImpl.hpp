/// The machinery behind the UTF-8 and UTF-16 converters: one set of kernels per instruction set, chosen once
/// per process, and the plain code that finishes what they leave.
///
/// A kernel converts the longest run of whole sequences that it can prove to be in order under the strict
/// rules and that fits the room given, and answers how far it came. It reports nothing and never fails: where
/// it stops, the plain code converts a little further or names the error. Kernels read nothing outside the
/// source, and write nothing outside the destination nor behind what they converted.
///
/// The kernel files are compiled for newer instruction sets, so they share no inline code with others: this
/// header must not define any function that they use.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

/// How far a kernel came, from and to a border between sequences.
struct TranscodeProgress {
    USize read;
    USize produced;
};

/// What one instruction set offers.
struct TranscodeKernels {
    const char* name;

    /// From UTF-8, and the same without writing.
    TranscodeProgress (*decode)(const UInt8* source, USize length, UInt16* target, USize room);
    TranscodeProgress (*count)(const UInt8* source, USize length);

    /// To UTF-8, and the same without writing.
    TranscodeProgress (*encode)(const UInt16* source, USize length, UInt8* target, USize room);
    TranscodeProgress (*measure)(const UInt16* source, USize length);

    bool (*isAscii8)(const char* text, USize length);
    bool (*isAscii16)(const unsigned short* text, USize length);
    void (*widen)(const char* source, USize length, unsigned short* target);
    void (*narrow)(const unsigned short* source, USize length, char* target);

    /// Units before the terminating zero.
    USize (*length16)(const unsigned short* text);
};

/// Operands of the vector code, to be spread from memory over a register. Compilers that knew the values
/// would build them in general registers, again and again, at the cost of the busiest execution port.
struct TranscodeOperands {
    UInt32 bytes[256]; ///< each byte four times
    UInt32 words[13];  ///< each word twice, in the order of `TranscodeWord`
};

enum class TranscodeWord {
    x0030,
    x003F,
    x0040,
    x03FF,
    x0400,
    x3F00,
    x3F3F,
    x8080,
    x80C0,
    x80F0,
    xD800,
    xF800,
    xFF80,
};

extern const TranscodeOperands transcodeOperands;

/// Shuffles of 16 bytes that put the bytes in use together, by the mask of what is in use.
struct TranscodeShuffles {
    alignas(16) UInt8 units[256][16];      ///< of 8 units, those in the mask
    alignas(16) UInt8 twoBytes[256][16];   ///< of 8 pairs of bytes the first, and in the mask the second
    alignas(16) UInt8 threeBytes[256][16]; ///< of 4 groups of bytes: 0 by the low bits, 2, 3 by the high bits
};

extern const TranscodeShuffles transcodeShuffles;

/// The kernels of each set; what the processor lacks must not be called.
extern const TranscodeKernels transcodePortable;
extern const TranscodeKernels transcodeSse42;
extern const TranscodeKernels transcodeAvx2;
extern const TranscodeKernels transcodeAvx512;

/// Every set that can run here, the best first. Answers how many were stored.
constexpr UInt32 maxTranscodeKernels = 4;
UInt32 ListTranscodeKernels(const TranscodeKernels* (&list)[maxTranscodeKernels]) noexcept;

/// A conversion between kernels and plain code. Only `produced` moves when nothing is written.
template <class SourceUnit, class TargetUnit>
struct Transcoding {
    const SourceUnit* source;
    const SourceUnit* sourceEnd;
    TargetUnit* target; ///< null to count only
    USize room;
    USize produced;
};
using Decoding = Transcoding<UInt8, UInt16>;
using Encoding = Transcoding<UInt16, UInt8>;

/// The plain code that goes on where a kernel stopped: it converts sequences until the source stands at or
/// behind `stop`. Answers 1 then, otherwise the `ConversionError` with the source at the offending sequence.
int DecodePlainly(Decoding& job, const UInt8* stop, bool strict) noexcept;

/// The same towards UTF-8. `zeroEnds` tells that the source is zero-terminated, where an unpaired high
/// surrogate at the end is judged differently.
int EncodePlainly(Encoding& job, const UInt16* stop, bool strict, bool zeroEnds) noexcept;

/// The converters with a given set of kernels, without reports. On an error of `UTF8ToUTF16`, `trouble`
/// receives the offset of the offending sequence.
int ConvertToUtf16(const TranscodeKernels& kernels, const char* source, int sourceLength,
                   unsigned short* target, int targetLength, bool strict, USize& trouble) noexcept;
int ConvertToUtf8(const TranscodeKernels& kernels, const unsigned short* source, int sourceLength,
                  char* target, int targetLength, bool strict) noexcept;

/// The converters written down rule by rule, one sequence at a time: what everything else is tested against.
int ReferenceUTF8ToUTF16(const char* source, int sourceLength, unsigned short* target, int targetLength,
                         bool strict) noexcept;
int ReferenceUTF16ToUTF8(const unsigned short* source, int sourceLength, char* target, int targetLength,
                         bool strict) noexcept;

/// Reports the sequence at `offset`, where a conversion from UTF-8 failed, if its form was the reason.
void ReportIfMalformed(const char* source, USize offset) noexcept;

/// The trailing bytes that a lead byte announces; bytes that cannot lead count as single. 4 stands for 0xF8
/// and above, which announce more than UTF-8 has.
int GetTrailingBytes(UInt8 lead) noexcept;

/// Whether every byte or unit is below 0x80. True for length 0.
bool IsAscii(const char* text, USize length) noexcept;
bool IsAscii(const unsigned short* text, USize length) noexcept;

/// Copies ASCII text, byte to unit and back. The source is known to be ASCII; the two do not overlap.
void WidenAscii(const char* source, USize length, unsigned short* target) noexcept;
void NarrowAscii(const unsigned short* source, USize length, char* target) noexcept;

} // namespace QV::Impl
