/// Search in UTF-16 text as strings use it, over the kernels of `SearchImpl.hpp`.
///
/// The cost is linear in the text, whatever the pattern: a search whose candidates keep failing late goes
/// over to an algorithm that never looks back.
#pragma once

#include <QVRoot/String/Search/SearchImpl.hpp>

namespace QV::Impl {

/// The position of a unit or an occurrence, or `searchFailed`. Patterns have at least one unit.
UInt32 FindFirst(UnitRange text, UInt16 unit) noexcept;
UInt32 FindLast(UnitRange text, UInt16 unit) noexcept;
UInt32 FindFirst(UnitRange text, UnitRange pattern) noexcept;
UInt32 FindLast(UnitRange text, UnitRange pattern) noexcept;

/// How often a unit occurs, and a pattern without overlapping itself.
UInt32 Count(UnitRange text, UInt16 unit) noexcept;
UInt32 Count(UnitRange text, UnitRange pattern) noexcept;

/// A set of units, made ready for searching.
class UnitSet {
public:
    explicit UnitSet(UnitRange units) noexcept;

    /// The first and the last unit that is in the set, or with `member` false, that is not.
    UInt32 FindFirst(UnitRange text, bool member) const noexcept;
    UInt32 FindLast(UnitRange text, bool member) const noexcept;

private:
    friend class Occurrences;

    bool IsIn(UInt16 unit) const noexcept;

    static constexpr UInt32 tableSize = 2048;

    UnitRange all_;
    FewUnits few_;                      ///< empty when there are more
    bool isInTable_ = true;             ///< whether the table tells all
    UInt64 table_[tableSize / 64] = {}; ///< by the low bits of the members
};

/// The occurrences of a pattern or of the units of a set, without overlaps, a batch at a time:
///
///     for (Occurrences occurrences(text, pattern); occurrences.FindMore();)
///         for (UInt32 position : occurrences) …
class Occurrences {
public:
    Occurrences(UnitRange text, UnitRange pattern) noexcept;
    /// The set must live on.
    Occurrences(UnitRange text, const UnitSet& set) noexcept;
    Occurrences(const Occurrences&) = delete;
    Occurrences& operator=(const Occurrences&) = delete;

    /// False when there are no more.
    bool FindMore() noexcept;

    /// How many come behind the batch.
    UInt32 CountRest() const noexcept;

    const UInt32* begin() const noexcept { return positions_; }
    const UInt32* end() const noexcept { return positions_ + batch_.count; }
    UInt32 GetCount() const noexcept { return batch_.count; }

private:
    void CollectFromSet() noexcept;
    void CollectLinearly() noexcept;

    static constexpr UInt32 room = 128;

    const SearchKernels& kernels_;
    const UnitRange text_;
    const UnitRange pattern_;
    const UnitSet* const set_;
    FewUnits units_;
    SearchBatch batch_;
    UInt32 positions_[room];
};

/// The Two-Way algorithm: finds in linear time and constant space, at a low speed that no pattern changes.
/// With `Reversed` text and pattern are read from their ends, and so are positions.
template <bool Reversed>
class TwoWaySearch {
public:
    explicit TwoWaySearch(UnitRange pattern) noexcept;

    /// The first occurrence that begins at or behind `start`.
    UInt32 Find(UnitRange text, UInt32 start) const noexcept;

private:
    UInt16 GetUnit(UInt32 position) const noexcept;
    UInt32 FindMaximalSuffix(bool inverse, UInt32& period) const noexcept;

    const UnitRange pattern_;
    UInt32 critical_; ///< where the pattern falls into two parts
    UInt32 period_;
    bool isPeriodic_;
};

} // namespace QV::Impl
