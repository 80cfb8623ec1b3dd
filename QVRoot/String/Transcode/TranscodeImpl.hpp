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

/// How far a conversion from UTF-8 came; both sides stand between sequences.
struct Utf8Decoding {
    const UInt8* source;
    const UInt8* sourceEnd;
    UInt16* target;
    UInt16* targetEnd;
};

/// How far the counting of a conversion from UTF-8 came.
struct Utf8Counting {
    const UInt8* source;
    const UInt8* sourceEnd;
    USize units;
};

/// How far a conversion to UTF-8 came.
struct Utf8Encoding {
    const UInt16* source;
    const UInt16* sourceEnd;
    UInt8* target;
    UInt8* targetEnd;
};

/// How far the counting of a conversion to UTF-8 came.
struct Utf8Measuring {
    const UInt16* source;
    const UInt16* sourceEnd;
    USize bytes;
};

/// What one instruction set offers.
struct TranscodeKernels {
    const char* name;

    void (*decode)(Utf8Decoding& job);
    void (*count)(Utf8Counting& job);
    void (*encode)(Utf8Encoding& job);
    void (*measure)(Utf8Measuring& job);

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

/// The kernels of each set; what the processor lacks must not be called.
extern const TranscodeKernels transcodePortable;
extern const TranscodeKernels transcodeSse42;
extern const TranscodeKernels transcodeAvx2;
extern const TranscodeKernels transcodeAvx512;

/// The best set that this processor and system support.
const TranscodeKernels& GetTranscodeKernels() noexcept;

/// Every set that can run here, the best first. Answers how many were stored.
constexpr UInt32 maxTranscodeKernels = 4;
UInt32 ListTranscodeKernels(const TranscodeKernels* (&list)[maxTranscodeKernels]) noexcept;

/// The plain code that goes on where a kernel stopped: it converts sequences until the source stands at or
/// behind `stop`. Answers 1 then, otherwise the `ConversionError` with the source at the offending sequence.
int DecodePlainly(Utf8Decoding& job, const UInt8* stop, bool strict) noexcept;
int CountPlainly(Utf8Counting& job, const UInt8* stop, bool strict) noexcept;

/// The same towards UTF-8. `zeroEnds` tells that the source is zero-terminated, where an unpaired high
/// surrogate at the end is judged differently.
int EncodePlainly(Utf8Encoding& job, const UInt16* stop, bool strict, bool zeroEnds) noexcept;
int MeasurePlainly(Utf8Measuring& job, const UInt16* stop, bool strict, bool zeroEnds) noexcept;

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
