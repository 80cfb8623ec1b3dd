/// The loops behind code pages: one set per instruction set, chosen once per process, and beside them the
/// plain loops that say what they do.
///
/// Kernels read nothing outside the source and write nothing outside the destination; the two do not overlap.
/// The kernel files are compiled for newer instruction sets, so they share no inline code with others: this
/// header must not define any function that they use.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

struct CodePageKernels {
    const char* name;

    /// The units of bytes by a table of 256, whose first half is ASCII.
    void (*decode)(const UInt16* table, const UInt8* source, USize length, UInt16* target);

    /// The bytes of units by a table of 65,536, which leaves ASCII as it is. False when a unit other than 0
    /// has the byte 0; what has been written then does not matter.
    bool (*encode)(const UInt8* table, const UInt16* source, USize length, UInt8* target);

    /// Copy ASCII from the beginning of a text, block by block, and answer how much that was.
    USize (*widenRun)(const UInt8* source, USize length, UInt16* target);
    USize (*narrowRun)(const UInt16* source, USize length, UInt8* target);
};

/// What the kernels do, written down one character at a time.
void ReferenceDecodeSingles(const UInt16* table, const UInt8* source, USize length, UInt16* target);
bool ReferenceEncodeSingles(const UInt8* table, const UInt16* source, USize length, UInt8* target);

/// The kernels of each set; what the processor lacks must not be called.
extern const CodePageKernels codePagePortable;
extern const CodePageKernels codePageAvx2;
extern const CodePageKernels codePageAvx512;

/// The best set that this processor and system support.
const CodePageKernels& GetCodePageKernels() noexcept;

/// Every set that can run here, the best first. Answers how many were stored.
constexpr UInt32 maxCodePageKernels = 3;
UInt32 ListCodePageKernels(const CodePageKernels* (&list)[maxCodePageKernels]) noexcept;

} // namespace QV::Impl
