// Trimming and splitting.
#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/String/UniStringImpl.hpp>

namespace QV {

namespace {

using Impl::UnitRange;

UInt32 CountLeadingSpace(UnitRange text)
{
    UInt32 count = 0;
    while (count < text.length && UniChar(text.units[count]).IsWhiteSpace()) {
        ++count;
    }
    return count;
}

UInt32 CountTrailingSpace(UnitRange text)
{
    UInt32 rest = text.length;
    while (rest > 0 && UniChar(text.units[rest - 1]).IsWhiteSpace()) {
        --rest;
    }
    return text.length - rest;
}

} // namespace

void UniString::TrimLeft()
{
    Delete(0, CountLeadingSpace(Impl::GetUnits(*this)));
}

void UniString::TrimLeft(UniChar c)
{
    const UInt16 unit = c;
    const UInt32 first = Impl::UnitSet({&unit, 1}).FindFirst(Impl::GetUnits(*this), false);
    Delete(0, first == Impl::searchFailed ? GetLength() : first);
}

void UniString::TrimRight()
{
    const UInt32 count = CountTrailingSpace(Impl::GetUnits(*this));
    Delete(GetLength() - count, count);
}

void UniString::TrimRight(UniChar c)
{
    const UInt16 unit = c;
    const UInt32 last = Impl::UnitSet({&unit, 1}).FindLast(Impl::GetUnits(*this), false);
    Delete(last + 1, Npos); // from 0 on when there is none
}

void UniString::Trim()
{
    TrimLeft();
    TrimRight();
}

void UniString::Trim(UniChar c)
{
    TrimLeft(c);
    TrimRight(c);
}

namespace {

/// Appends the parts of `text` between the occurrences, which are `width` units each.
unsigned int AppendParts(const UniString& text, Impl::Occurrences& occurrences, UInt32 width, bool keepEmpty,
                         Array<UniString>& parts)
{
    const bool found = occurrences.FindMore();
    parts.Reserve((found ? occurrences.GetCount() + occurrences.CountRest() : 0) + 1);
    UInt32 start = 0;
    const auto append = [&](UInt32 end) {
        if (keepEmpty || end != start) {
            parts.Emplace(text, start, end - start);
        }
        start = end + width;
    };
    if (found) {
        do {
            for (const UInt32 position : occurrences) {
                append(position);
            }
        } while (occurrences.FindMore());
    }
    append(text.GetLength());
    return parts.GetCount();
}

} // namespace

unsigned int UniString::Split(const UniString& separator, Array<UniString>* parts) const
{
    Impl::RequireReference(separator);
    if (parts == nullptr) {
        return 0;
    }
    // Shared copies, since either string may be in the array.
    const UniString text(*this);
    const UniString pattern(separator);
    parts->Clear();
    if (pattern.IsEmpty()) {
        return 0;
    }
    Impl::Occurrences occurrences(Impl::GetUnits(text), Impl::GetUnits(pattern));
    return AppendParts(text, occurrences, pattern.GetLength(), true, *parts);
}

unsigned int UniString::Split(const UniString& separators, EmptyPartProcessing rule,
                              Array<UniString>* parts) const
{
    Impl::RequireReference(separators);
    if (parts == nullptr) {
        return 0;
    }
    const UniString text(*this);
    const UniString units(separators);
    parts->Clear();
    const Impl::UnitSet set(Impl::GetUnits(units));
    Impl::Occurrences occurrences(Impl::GetUnits(text), set);
    return AppendParts(text, occurrences, 1, rule == KeepEmptyParts, *parts);
}

} // namespace QV
