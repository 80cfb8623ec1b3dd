/// The search kernels over a class `V` that tells what a register of one instruction set can do. Included by
/// the file of each set. `V` is private to that file, and so is everything that is made of it here: no code
/// for one set can stand in for code of another.
///
/// A comparison answers a `V::Match`, which is cheap to combine; `V::GetBits` turns it into `V::bitsPerUnit`
/// bits for each unit. Ranges shorter than a register go to `V::Half` and in the end to plain loops; what is
/// left behind the last full register is looked at together with units that were seen before.
#pragma once

#include <QVRoot/String/Search/SearchImpl.hpp>

#include <cstring>
#include <x86intrin.h>

namespace QV::Impl {

namespace {

/// Half of the smallest register.
struct NoVector {};

template <class V>
constexpr bool isVector = true;
template <>
constexpr bool isVector<NoVector> = false;

inline UInt32 GetLowestBit(UInt32 bits)
{
    return static_cast<UInt32>(_bit_scan_forward(static_cast<int>(bits)));
}

inline UInt32 GetHighestBit(UInt32 bits)
{
    return static_cast<UInt32>(_bit_scan_reverse(static_cast<int>(bits)));
}

/// The bits for units from `first` on, and for those before `end`.
template <class V>
UInt32 KeepFrom(UInt32 bits, UInt32 first)
{
    return bits >> first * V::bitsPerUnit << first * V::bitsPerUnit;
}

template <class V>
UInt32 KeepBefore(UInt32 bits, UInt32 end)
{
    return bits & ((UInt32{1} << end * V::bitsPerUnit) - 1);
}

/// Calls `visit` with the position of each set bit, upwards or downwards, until it answers false.
template <class V, class Visit>
bool VisitUp(UInt32 bits, UInt32 block, Visit& visit)
{
    for (; bits != 0; bits &= bits - 1) {
        if (!visit(block + GetLowestBit(bits) / V::bitsPerUnit)) {
            return false;
        }
    }
    return true;
}

template <class V, class Visit>
bool VisitDown(UInt32 bits, UInt32 block, Visit& visit)
{
    while (bits != 0) {
        const UInt32 bit = GetHighestBit(bits);
        if (!visit(block + bit / V::bitsPerUnit)) {
            return false;
        }
        bits ^= UInt32{1} << bit;
    }
    return true;
}

/// Visits the positions of [from, end) where `test` holds, in order, until a visit answers false.
template <class V, class Test, class Visit>
bool ScanUp(UInt32 from, UInt32 end, const Test& test, Visit visit)
{
    if constexpr (!isVector<V>) {
        for (UInt32 i = from; i < end; ++i) {
            if (test.IsMatch(i) && !visit(i)) {
                return false;
            }
        }
        return true;
    } else {
        constexpr UInt32 lanes = V::lanes;
        if (end - from < lanes) {
            return ScanUp<typename V::Half>(from, end, test, visit);
        }
        UInt32 i = from;
        if (end - i >= 16 * lanes) {
            // Long texts are read from borders of registers on, since reads across cache lines cost twice.
            const UInt32 aligned = test.template CountToBorder<V>(i);
            const UInt32 bits = V::GetBits(test.template GetMatch<V>(i));
            if (!VisitUp<V>(KeepBefore<V>(bits, aligned), i, visit)) {
                return false;
            }
            i += aligned;
        }
        for (; end - i >= 4 * lanes; i += 4 * lanes) {
            const auto match0 = test.template GetMatch<V>(i);
            const auto match1 = test.template GetMatch<V>(i + lanes);
            const auto match2 = test.template GetMatch<V>(i + 2 * lanes);
            const auto match3 = test.template GetMatch<V>(i + 3 * lanes);
            if (V::IsAny(V::Or(V::Or(match0, match1), V::Or(match2, match3)))) {
                if (!VisitUp<V>(V::GetBits(match0), i, visit) ||
                    !VisitUp<V>(V::GetBits(match1), i + lanes, visit) ||
                    !VisitUp<V>(V::GetBits(match2), i + 2 * lanes, visit) ||
                    !VisitUp<V>(V::GetBits(match3), i + 3 * lanes, visit)) {
                    return false;
                }
            }
        }
        for (; end - i >= lanes; i += lanes) {
            if (!VisitUp<V>(V::GetBits(test.template GetMatch<V>(i)), i, visit)) {
                return false;
            }
        }
        if (i == end) {
            return true;
        }
        const UInt32 last = end - lanes;
        return VisitUp<V>(KeepFrom<V>(V::GetBits(test.template GetMatch<V>(last)), i - last), last, visit);
    }
}

/// The same from the end down.
template <class V, class Test, class Visit>
bool ScanDown(UInt32 begin, UInt32 end, const Test& test, Visit visit)
{
    if constexpr (!isVector<V>) {
        for (UInt32 i = end; i > begin; --i) {
            if (test.IsMatch(i - 1) && !visit(i - 1)) {
                return false;
            }
        }
        return true;
    } else {
        constexpr UInt32 lanes = V::lanes;
        if (end - begin < lanes) {
            return ScanDown<typename V::Half>(begin, end, test, visit);
        }
        UInt32 i = end;
        for (; i - begin >= lanes; i -= lanes) {
            const auto match = test.template GetMatch<V>(i - lanes);
            if (!VisitDown<V>(V::GetBits(match), i - lanes, visit)) {
                return false;
            }
        }
        return i == begin ||
               VisitDown<V>(KeepBefore<V>(V::GetBits(test.template GetMatch<V>(begin)), i - begin), begin,
                            visit);
    }
}

/// A test of the units of a text.
struct TextTest {
    const UInt16* text;

    /// How many units lie before the next border of a register.
    template <class V>
    UInt32 CountToBorder(UInt32 position) const
    {
        constexpr USize size = V::lanes * sizeof(UInt16);
        return static_cast<UInt32>((0 - reinterpret_cast<USize>(text + position)) % size / sizeof(UInt16));
    }
};

/// A unit that equals a given one.
struct IsUnit : TextTest {
    UInt16 unit;

    template <class V>
    typename V::Match GetMatch(UInt32 position) const
    {
        return V::Equal(V::Load(text + position), V::Spread(unit));
    }
    bool IsMatch(UInt32 position) const { return text[position] == unit; }
};

/// A unit that is in a set, or is not.
template <bool Member>
struct IsIn : TextTest {
    const FewUnits& set;

    template <class V>
    typename V::Match GetMatch(UInt32 position) const
    {
        const auto units = V::Load(text + position);
        auto match = V::Equal(units, V::Spread(set.units[0]));
        for (UInt32 i = 1; i < set.count; ++i) {
            match = V::Or(match, V::Equal(units, V::Spread(set.units[i])));
        }
        return Member ? match : V::Not(match);
    }
    bool IsMatch(UInt32 position) const
    {
        for (UInt32 i = 0; i < set.count; ++i) {
            if (text[position] == set.units[i]) {
                return Member;
            }
        }
        return !Member;
    }
};

/// A start where the first and the last unit of a pattern are in place.
struct IsCandidate : TextTest {
    UInt32 distance;
    UInt16 first;
    UInt16 last;

    template <class V>
    typename V::Match GetMatch(UInt32 position) const
    {
        return V::And(V::Equal(V::Load(text + position), V::Spread(first)),
                      V::Equal(V::Load(text + position + distance), V::Spread(last)));
    }
    bool IsMatch(UInt32 position) const
    {
        return text[position] == first && text[position + distance] == last;
    }
};

inline UInt64 LoadFour(const UInt16* units)
{
    UInt64 four;
    std::memcpy(&four, units, sizeof(four));
    return four;
}

/// Compares what lies between the first and the last unit of a pattern; a difference is charged.
inline bool IsOccurrence(const UInt16* text, UnitRange pattern, Int64& effort)
{
    const UInt32 end = pattern.length - 1;
    UInt32 i = 1;
    for (; i + 4 <= end; i += 4) {
        if (LoadFour(text + i) != LoadFour(pattern.units + i)) {
            effort -= i + 4;
            return false;
        }
    }
    for (; i < end; ++i) {
        if (text[i] != pattern.units[i]) {
            effort -= i + 4;
            return false;
        }
    }
    return true;
}

template <class V>
struct SearchWith {
    static UInt32 FindUnit(UnitRange text, UInt16 unit)
    {
        return FindFirst(text.length, IsUnit{{text.units}, unit});
    }
    static UInt32 FindLastUnit(UnitRange text, UInt16 unit)
    {
        return FindLast(text.length, IsUnit{{text.units}, unit});
    }
    static UInt32 FindIn(UnitRange text, const FewUnits& set, bool member)
    {
        return member ? FindFirst(text.length, IsIn<true>{{text.units}, set})
                      : FindFirst(text.length, IsIn<false>{{text.units}, set});
    }
    static UInt32 FindLastIn(UnitRange text, const FewUnits& set, bool member)
    {
        return member ? FindLast(text.length, IsIn<true>{{text.units}, set})
                      : FindLast(text.length, IsIn<false>{{text.units}, set});
    }

    static UInt32 CountUnit(UnitRange text, UInt16 unit)
    {
        const IsUnit test = {{text.units}, unit};
        UInt64 bits = 0;
        UInt32 i = 0;
        for (; text.length - i >= V::lanes; i += V::lanes) {
            bits += static_cast<UInt32>(_mm_popcnt_u32(V::GetAllBits(test.GetMatch<V>(i))));
        }
        UInt32 count = static_cast<UInt32>(bits / V::bitsOfMatch);
        for (; i < text.length; ++i) {
            count += test.IsMatch(i);
        }
        return count;
    }

    static UInt32 ReplaceUnit(UInt16* text, UInt32 length, UInt16 unit, UInt16 replacement)
    {
        UInt64 bits = 0;
        UInt32 i = 0;
        for (; length - i >= V::lanes; i += V::lanes) {
            const auto units = V::Load(text + i);
            const auto match = V::Equal(units, V::Spread(unit));
            bits += static_cast<UInt32>(_mm_popcnt_u32(V::GetAllBits(match)));
            V::Store(text + i, V::Select(match, V::Spread(replacement), units));
        }
        UInt32 count = static_cast<UInt32>(bits / V::bitsOfMatch);
        for (; i < length; ++i) {
            if (text[i] == unit) {
                text[i] = replacement;
                ++count;
            }
        }
        return count;
    }

    static void CollectIn(UnitRange text, const FewUnits& set, SearchBatch& batch)
    {
        batch.count = 0;
        const auto store = [&batch](UInt32 position) {
            batch.positions[batch.count++] = position;
            batch.next = position + 1;
            return batch.count != batch.room;
        };
        const bool finished =
            set.count == 1 ? ScanUp<V>(batch.next, text.length, IsUnit{{text.units}, set.units[0]}, store)
                           : ScanUp<V>(batch.next, text.length, IsIn<true>{{text.units}, set}, store);
        if (finished) {
            batch.next = text.length;
        }
    }

    static void Collect(UnitRange text, UnitRange pattern, SearchBatch& batch)
    {
        batch.count = 0;
        const UInt32 end = text.length - pattern.length + 1;
        const auto visit = [&](UInt32 position) {
            if (position < batch.next) {
                return true; // overlaps the last occurrence
            }
            if (IsOccurrence(text.units + position, pattern, batch.effort)) {
                batch.positions[batch.count++] = position;
                batch.next = position + pattern.length;
                return batch.count != batch.room;
            }
            if (batch.effort >= 0) [[likely]] {
                return true;
            }
            batch.next = position + 1;
            return false;
        };
        if (batch.next >= end || ScanUp<V>(batch.next, end, MakeCandidate(text, pattern), visit)) {
            batch.next = text.length;
        }
    }

    static void FindLastPattern(UnitRange text, UnitRange pattern, SearchBatch& batch)
    {
        const UInt32 end = batch.next;
        batch.next = searchFailed;
        const auto visit = [&](UInt32 position) {
            if (IsOccurrence(text.units + position, pattern, batch.effort)) {
                batch.next = position;
                return false;
            }
            batch.next = batch.effort < 0 ? position : searchFailed;
            return batch.effort >= 0;
        };
        ScanDown<V>(0, end, MakeCandidate(text, pattern), visit);
    }

    static UInt32 MapAsciiCase(UnitRange text, UInt16* result, UInt16 first)
    {
        UInt32 i = 0;
        for (; text.length - i >= V::lanes; i += V::lanes) {
            const auto units = V::Load(text.units + i);
            if (!V::IsAscii(units)) {
                return i;
            }
            V::Store(result + i, V::MapLetters(units, first));
        }
        for (; i < text.length && text.units[i] < 0x80; ++i) {
            const UInt32 unit = text.units[i];
            result[i] = static_cast<UInt16>(unit ^ (unit - first < 26 ? 0x20 : 0));
        }
        return i;
    }

private:
    static IsCandidate MakeCandidate(UnitRange text, UnitRange pattern)
    {
        const UInt32 distance = pattern.length - 1;
        return {{text.units}, distance, pattern.units[0], pattern.units[distance]};
    }

    template <class Test>
    static UInt32 FindFirst(UInt32 length, const Test& test)
    {
        UInt32 found = searchFailed;
        ScanUp<V>(0, length, test, [&found](UInt32 position) {
            found = position;
            return false;
        });
        return found;
    }

    template <class Test>
    static UInt32 FindLast(UInt32 length, const Test& test)
    {
        UInt32 found = searchFailed;
        ScanDown<V>(0, length, test, [&found](UInt32 position) {
            found = position;
            return false;
        });
        return found;
    }
};

template <class V>
constexpr SearchKernels MakeSearchKernels(const char* name)
{
    using Search = SearchWith<V>;
    return {name,
            Search::FindUnit,
            Search::FindLastUnit,
            Search::CountUnit,
            Search::ReplaceUnit,
            Search::FindIn,
            Search::FindLastIn,
            Search::CollectIn,
            Search::Collect,
            Search::FindLastPattern,
            Search::MapAsciiCase};
}

} // namespace

} // namespace QV::Impl
