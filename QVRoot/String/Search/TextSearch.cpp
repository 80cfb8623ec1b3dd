#include <QVRoot/String/Search/TextSearchImpl.hpp>

#include <algorithm>

namespace QV::Impl {

namespace {

/// What failed candidates may cost before a search changes its method: little beside reading the text.
Int64 GetEffort(UnitRange text) noexcept
{
    return Int64{text.length} * 4 + 1024;
}

FewUnits MakeSet(UInt16 unit) noexcept
{
    FewUnits set = {};
    set.count = 1;
    set.units[0] = unit;
    return set;
}

} // namespace

UInt32 FindFirst(UnitRange text, UInt16 unit) noexcept
{
    return GetSearchKernels().findUnit(text, unit);
}

UInt32 FindLast(UnitRange text, UInt16 unit) noexcept
{
    return GetSearchKernels().findLastUnit(text, unit);
}

UInt32 FindFirst(UnitRange text, UnitRange pattern) noexcept
{
    if (pattern.length == 1) {
        return FindFirst(text, pattern.units[0]);
    }
    if (pattern.length > text.length) {
        return searchFailed;
    }
    UInt32 found = searchFailed;
    SearchBatch batch = {0, &found, 1, 0, GetEffort(text)};
    GetSearchKernels().collect(text, pattern, batch);
    if (batch.effort < 0) [[unlikely]] {
        return TwoWaySearch<false>(pattern).Find(text, batch.next);
    }
    return found;
}

UInt32 FindLast(UnitRange text, UnitRange pattern) noexcept
{
    if (pattern.length == 1) {
        return FindLast(text, pattern.units[0]);
    }
    if (pattern.length > text.length) {
        return searchFailed;
    }
    SearchBatch batch = {text.length - pattern.length + 1, nullptr, 0, 0, GetEffort(text)};
    GetSearchKernels().findLast(text, pattern, batch);
    if (batch.effort >= 0) [[likely]] {
        return batch.next;
    }
    const UnitRange rest = {text.units, batch.next + pattern.length - 1};
    const UInt32 fromEnd = TwoWaySearch<true>(pattern).Find(rest, 0);
    return fromEnd == searchFailed ? searchFailed : rest.length - pattern.length - fromEnd;
}

UInt32 Count(UnitRange text, UInt16 unit) noexcept
{
    return GetSearchKernels().countUnit(text, unit);
}

UInt32 Count(UnitRange text, UnitRange pattern) noexcept
{
    if (pattern.length == 1) {
        return Count(text, pattern.units[0]);
    }
    UInt32 count = 0;
    for (Occurrences occurrences(text, pattern); occurrences.FindMore();) {
        count += occurrences.GetCount();
    }
    return count;
}

UnitSet::UnitSet(UnitRange units) noexcept : all_(units), few_{}
{
    for (UInt32 i = 0; i < units.length; ++i) {
        const UInt16 unit = units.units[i];
        table_[unit % tableSize / 64] |= UInt64{1} << unit % 64;
        isInTable_ = isInTable_ && unit < tableSize;
        const UInt16* const end = few_.units + std::min(few_.count, FewUnits::most);
        if (std::find(few_.units, const_cast<UInt16*>(end), unit) == end) {
            if (few_.count < FewUnits::most) {
                few_.units[few_.count] = unit;
            }
            ++few_.count;
        }
    }
    if (few_.count > FewUnits::most) {
        few_.count = 0;
    }
}

bool UnitSet::IsIn(UInt16 unit) const noexcept
{
    const bool maybe = (table_[unit % tableSize / 64] >> unit % 64 & 1) != 0;
    return maybe && (isInTable_ ? unit < tableSize : Impl::FindFirst(all_, unit) != searchFailed);
}

UInt32 UnitSet::FindFirst(UnitRange text, bool member) const noexcept
{
    if (few_.count != 0) {
        return GetSearchKernels().findIn(text, few_, member);
    }
    for (UInt32 i = 0; i < text.length; ++i) {
        if (IsIn(text.units[i]) == member) {
            return i;
        }
    }
    return searchFailed;
}

UInt32 UnitSet::FindLast(UnitRange text, bool member) const noexcept
{
    if (few_.count != 0) {
        return GetSearchKernels().findLastIn(text, few_, member);
    }
    for (UInt32 i = text.length; i > 0; --i) {
        if (IsIn(text.units[i - 1]) == member) {
            return i - 1;
        }
    }
    return searchFailed;
}

Occurrences::Occurrences(UnitRange text, UnitRange pattern) noexcept
    : kernels_(GetSearchKernels()), text_(text), pattern_(pattern), set_(nullptr),
      units_(MakeSet(pattern.units[0])), batch_{0, positions_, room, 0, GetEffort(text)}
{
}

Occurrences::Occurrences(UnitRange text, const UnitSet& set) noexcept
    : kernels_(GetSearchKernels()), text_(text), pattern_{nullptr, 1}, set_(&set),
      units_(set.few_), batch_{0, positions_, room, 0, 0}
{
}

bool Occurrences::FindMore() noexcept
{
    batch_.count = 0;
    if (batch_.next > text_.length || text_.length - batch_.next < pattern_.length) {
        return false;
    }
    if (set_ != nullptr && units_.count == 0) {
        CollectFromSet();
    } else if (pattern_.length == 1) {
        kernels_.collectIn(text_, units_, batch_);
    } else if (batch_.effort >= 0) {
        kernels_.collect(text_, pattern_, batch_);
    }
    if (batch_.count == 0 && batch_.effort < 0) [[unlikely]] {
        CollectLinearly();
    }
    return batch_.count != 0;
}

UInt32 Occurrences::CountRest() const noexcept
{
    if (set_ == nullptr && pattern_.length == 1) {
        return Impl::Count({text_.units + batch_.next, text_.length - batch_.next}, pattern_.units[0]);
    }
    Occurrences rest = set_ != nullptr ? Occurrences(text_, *set_) : Occurrences(text_, pattern_);
    rest.batch_.next = batch_.next;
    UInt32 count = 0;
    while (rest.FindMore()) {
        count += rest.GetCount();
    }
    return count;
}

void Occurrences::CollectFromSet() noexcept
{
    for (; batch_.next < text_.length && batch_.count < room; ++batch_.next) {
        if (set_->IsIn(text_.units[batch_.next])) {
            positions_[batch_.count++] = batch_.next;
        }
    }
}

void Occurrences::CollectLinearly() noexcept
{
    const TwoWaySearch<false> search(pattern_);
    while (batch_.count < room) {
        const UInt32 found = search.Find(text_, batch_.next);
        if (found == searchFailed) {
            batch_.next = text_.length;
            return;
        }
        positions_[batch_.count++] = found;
        batch_.next = found + pattern_.length;
    }
}

} // namespace QV::Impl
