// The kernels written down unit by unit: for processors that lack the rest, and what everything else is
// tested against.
#include <QVRoot/String/Search/SearchImpl.hpp>

#include <algorithm>

namespace QV::Impl {

namespace {

UInt32 FindUnit(UnitRange text, UInt16 unit)
{
    for (UInt32 i = 0; i < text.length; ++i) {
        if (text.units[i] == unit) {
            return i;
        }
    }
    return searchFailed;
}

UInt32 FindLastUnit(UnitRange text, UInt16 unit)
{
    for (UInt32 i = text.length; i > 0; --i) {
        if (text.units[i - 1] == unit) {
            return i - 1;
        }
    }
    return searchFailed;
}

UInt32 CountUnit(UnitRange text, UInt16 unit)
{
    return static_cast<UInt32>(std::count(text.units, text.units + text.length, unit));
}

UInt32 ReplaceUnit(UInt16* text, UInt32 length, UInt16 unit, UInt16 replacement)
{
    const UInt32 count = CountUnit({text, length}, unit);
    std::replace(text, text + length, unit, replacement);
    return count;
}

bool IsIn(UInt16 unit, const FewUnits& set)
{
    return FindUnit({set.units, set.count}, unit) != searchFailed;
}

UInt32 FindIn(UnitRange text, const FewUnits& set, bool member)
{
    for (UInt32 i = 0; i < text.length; ++i) {
        if (IsIn(text.units[i], set) == member) {
            return i;
        }
    }
    return searchFailed;
}

UInt32 FindLastIn(UnitRange text, const FewUnits& set, bool member)
{
    for (UInt32 i = text.length; i > 0; --i) {
        if (IsIn(text.units[i - 1], set) == member) {
            return i - 1;
        }
    }
    return searchFailed;
}

void CollectIn(UnitRange text, const FewUnits& set, SearchBatch& batch)
{
    for (batch.count = 0; batch.next < text.length && batch.count < batch.room; ++batch.next) {
        if (IsIn(text.units[batch.next], set)) {
            batch.positions[batch.count++] = batch.next;
        }
    }
}

/// Compares from the first unit to the last and charges what a difference has cost.
bool IsOccurrence(const UInt16* text, UnitRange pattern, Int64& effort)
{
    for (UInt32 i = 0; i < pattern.length; ++i) {
        if (text[i] != pattern.units[i]) {
            effort -= i;
            return false;
        }
    }
    return true;
}

void Collect(UnitRange text, UnitRange pattern, SearchBatch& batch)
{
    batch.count = 0;
    while (batch.next <= text.length - pattern.length && batch.effort >= 0) {
        if (IsOccurrence(text.units + batch.next, pattern, batch.effort)) {
            batch.positions[batch.count++] = batch.next;
            batch.next += pattern.length;
            if (batch.count == batch.room) {
                return;
            }
        } else {
            ++batch.next;
        }
    }
}

void FindLast(UnitRange text, UnitRange pattern, SearchBatch& batch)
{
    while (batch.next > 0 && batch.effort >= 0) {
        --batch.next;
        if (IsOccurrence(text.units + batch.next, pattern, batch.effort)) {
            return;
        }
    }
    batch.next = batch.effort >= 0 ? searchFailed : batch.next;
}

UInt32 MapAsciiCase(UnitRange text, UInt16* result, UInt16 first)
{
    UInt32 i = 0;
    for (; i < text.length && text.units[i] < 0x80; ++i) {
        const UInt32 unit = text.units[i];
        result[i] = static_cast<UInt16>(unit ^ (unit - first < 26 ? 0x20 : 0));
    }
    return i;
}

} // namespace

constinit const SearchKernels searchPortable = {"Portable",  FindUnit, FindLastUnit, CountUnit,
                                                ReplaceUnit, FindIn,   FindLastIn,   CollectIn,
                                                Collect,     FindLast, MapAsciiCase};

} // namespace QV::Impl
