/// Search in UTF-16 text: one set of kernels per instruction set, chosen once per process, and the plain code
/// that finishes what they leave. Everything that searches a string goes through here.
///
/// Positions and lengths are units, 32-bit as in strings; `searchFailed` stands for no position. Nothing
/// throws or allocates. Kernels read nothing outside the text.
///
/// The kernel files are compiled for newer instruction sets, so they share no inline code with others: this
/// header must not define any function that they use.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

constexpr UInt32 searchFailed = 0xFFFFFFFF;

struct UnitRange {
    const UInt16* units;
    UInt32 length;
};

/// The members of a set of units that kernels can compare one by one.
struct FewUnits {
    static constexpr UInt32 most = 8;

    UInt32 count;
    UInt16 units[most];
};

/// A search that answers many positions. It stops where the room is full, at the end of the text, or, in a
/// search for a pattern, when candidates that come to nothing have cost more than `effort` allows.
struct SearchBatch {
    UInt32 next;       ///< where to go on: in, and out
    UInt32* positions; ///< ascending, not overlapping
    UInt32 room;
    UInt32 count; ///< out
    Int64 effort; ///< what failed comparisons may cost yet, in units; below 0 it is used up
};

struct SearchKernels {
    const char* name;

    UInt32 (*findUnit)(UnitRange text, UInt16 unit);
    UInt32 (*findLastUnit)(UnitRange text, UInt16 unit);
    UInt32 (*countUnit)(UnitRange text, UInt16 unit);
    /// Puts one unit in place of another and answers how often.
    UInt32 (*replaceUnit)(UInt16* text, UInt32 length, UInt16 unit, UInt16 replacement);

    /// The first and the last unit that is in the set, or with `member` false, that is not.
    UInt32 (*findIn)(UnitRange text, const FewUnits& set, bool member);
    UInt32 (*findLastIn)(UnitRange text, const FewUnits& set, bool member);

    /// Every unit that is in the set.
    void (*collectIn)(UnitRange text, const FewUnits& set, SearchBatch& batch);
    /// Every occurrence of a pattern of two units or more that begins at or behind `next`.
    void (*collect)(UnitRange text, UnitRange pattern, SearchBatch& batch);
    /// The last occurrence of such a pattern that begins before `end`, in `next`; also uses up the effort.
    void (*findLast)(UnitRange text, UnitRange pattern, SearchBatch& batch);

    /// Maps the case of the ASCII letters from `first` ('a' or 'A') on and copies other ASCII, up to the
    /// first unit that is not ASCII or a few units before. Answers how far it came. In place is allowed.
    UInt32 (*mapAsciiCase)(UnitRange text, UInt16* result, UInt16 first);
};

/// The kernels of each set; what the processor lacks must not be called.
extern const SearchKernels searchPortable;
extern const SearchKernels searchSse42;
extern const SearchKernels searchAvx2;
extern const SearchKernels searchAvx512;

/// The best set that this processor and system support.
const SearchKernels& GetSearchKernels() noexcept;

/// Every set that can run here, the best first. Answers how many were stored.
constexpr UInt32 maxSearchKernels = 4;
UInt32 ListSearchKernels(const SearchKernels* (&list)[maxSearchKernels]) noexcept;

} // namespace QV::Impl
