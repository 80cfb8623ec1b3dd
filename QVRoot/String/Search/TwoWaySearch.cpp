#include <QVRoot/String/Search/TextSearchImpl.hpp>

#include <algorithm>

namespace QV::Impl {

namespace {

template <bool Reversed>
UInt16 GetUnitOf(UnitRange text, UInt32 position) noexcept
{
    return text.units[Reversed ? text.length - 1 - position : position];
}

} // namespace

template <bool Reversed>
UInt16 TwoWaySearch<Reversed>::GetUnit(UInt32 position) const noexcept
{
    return GetUnitOf<Reversed>(pattern_, position);
}

/// Where the suffix begins that is the greatest, in the order of units or in the inverse order; with its
/// period.
template <bool Reversed>
UInt32 TwoWaySearch<Reversed>::FindMaximalSuffix(bool inverse, UInt32& period) const noexcept
{
    UInt32 suffix = 0;
    UInt32 candidate = 1;
    UInt32 equal = 0;
    period = 1;
    while (candidate + equal < pattern_.length) {
        const UInt16 a = GetUnit(suffix + equal);
        const UInt16 b = GetUnit(candidate + equal);
        if (a == b) {
            if (++equal == period) {
                candidate += period;
                equal = 0;
            }
        } else if ((b < a) != inverse) {
            candidate += equal + 1;
            equal = 0;
            period = candidate - suffix;
        } else {
            suffix = candidate++;
            equal = 0;
            period = 1;
        }
    }
    return suffix;
}

template <bool Reversed>
TwoWaySearch<Reversed>::TwoWaySearch(UnitRange pattern) noexcept : pattern_(pattern)
{
    UInt32 inversePeriod = 0;
    const UInt32 suffix = FindMaximalSuffix(false, period_);
    const UInt32 inverseSuffix = FindMaximalSuffix(true, inversePeriod);
    critical_ = suffix;
    if (inverseSuffix > suffix) {
        critical_ = inverseSuffix;
        period_ = inversePeriod;
    }
    isPeriodic_ = critical_ + period_ <= pattern_.length;
    for (UInt32 i = 0; i < critical_ && isPeriodic_; ++i) {
        isPeriodic_ = GetUnit(i) == GetUnit(i + period_);
    }
    if (!isPeriodic_) {
        period_ = std::max(critical_, pattern_.length - critical_) + 1;
    }
}

/// Compares the right part upwards, then the left one downwards. `known` units from the start are known to be
/// in place after a shift by the period.
template <bool Reversed>
UInt32 TwoWaySearch<Reversed>::Find(UnitRange text, UInt32 start) const noexcept
{
    UInt32 known = 0;
    UInt64 position = start;
    while (position + pattern_.length <= text.length) {
        const UInt32 at = static_cast<UInt32>(position);
        UInt32 right = std::max(critical_, known);
        while (right < pattern_.length && GetUnit(right) == GetUnitOf<Reversed>(text, at + right)) {
            ++right;
        }
        if (right < pattern_.length) {
            position += right - critical_ + 1;
            known = 0;
            continue;
        }
        UInt32 left = critical_;
        while (left > known && GetUnit(left - 1) == GetUnitOf<Reversed>(text, at + left - 1)) {
            --left;
        }
        if (left <= known) {
            return at;
        }
        position += period_;
        known = isPeriodic_ ? pattern_.length - period_ : 0;
    }
    return searchFailed;
}

template class TwoWaySearch<false>;
template class TwoWaySearch<true>;

} // namespace QV::Impl
