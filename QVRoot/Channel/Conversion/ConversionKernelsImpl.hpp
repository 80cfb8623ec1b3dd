/// The loops that turn data of one platform into those of another: one set per instruction set, chosen once
/// per process, and beside them the plain loops that say what they do.
///
/// Data may lie at any address. Kernels read nothing outside the source and write nothing outside the
/// destination. The kernel files are compiled for newer instruction sets, so they share no inline code with
/// others: this header must not define any function that they use.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

/// The ends of lines in a text: bytes CR and LF alone, and pairs CR LF.
struct LineEnds {
    USize singles;
    USize pairs;
};

/// A rewriting of line ends. The destination has room for all of it; the two do not overlap.
struct LineRewriting {
    const UInt8* source;
    const UInt8* sourceEnd;
    UInt8* target;
    const UInt8* targetEnd;
    UInt8 lineEnd[2];
    USize lineEndLength; ///< 1 or 2
};

struct ConversionKernels {
    const char* name;

    /// Reverse the bytes of each element of 2, 4 or 8 bytes.
    void (*swap2)(UInt8* data, USize count);
    void (*swap4)(UInt8* data, USize count);
    void (*swap8)(UInt8* data, USize count);

    /// Replaces each byte by that of a map of 256, whose first half is ASCII.
    void (*translate)(const UInt8* map, UInt8* text, USize length);

    LineEnds (*countLineEnds)(const UInt8* text, USize length);

    /// Does most of the work, up to a place that is not inside a pair, and moves source and target there.
    void (*rewriteLineEnds)(LineRewriting& rewriting);
};

/// What the kernels do, written down one element at a time. The rewriting is done to its end.
void ReferenceSwap2(UInt8* data, USize count);
void ReferenceSwap4(UInt8* data, USize count);
void ReferenceSwap8(UInt8* data, USize count);
void ReferenceTranslate(const UInt8* map, UInt8* text, USize length);
LineEnds ReferenceCountLineEnds(const UInt8* text, USize length);
void ReferenceRewriteLineEnds(LineRewriting& rewriting);

/// The kernels of each set; what the processor lacks must not be called.
extern const ConversionKernels conversionPortable;
extern const ConversionKernels conversionSse42;
extern const ConversionKernels conversionAvx2;
extern const ConversionKernels conversionAvx512;

/// The best set that this processor and system support.
const ConversionKernels& GetConversionKernels() noexcept;

/// Every set that can run here, the best first. Answers how many were stored.
constexpr UInt32 maxConversionKernels = 4;
UInt32 ListConversionKernels(const ConversionKernels* (&list)[maxConversionKernels]) noexcept;

} // namespace QV::Impl
