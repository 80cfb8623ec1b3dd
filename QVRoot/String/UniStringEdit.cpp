// Inserting, replacing and deleting ranges.
#include <QVRoot/String/UniStringImpl.hpp>

#include <algorithm>

namespace QV {

namespace {

/// From this many units on, a string that uses half of its buffer or less gives the rest up.
constexpr UInt32 minShrinkUnits = 34;

} // namespace

/// Makes `newCount` units at `start` in place of `count` and answers where they are; what they hold is open.
/// The buffer is private then. On failure nothing has changed: a new buffer is filled before it is installed.
unsigned short* UniString::OpenGap(UInt32 start, UInt32 count, UInt32 newCount)
{
    MakeUsable();
    if (newCount == count) {
        AboutToDelete();
        return buffer_->content + start;
    }
    const UInt32 oldLength = buffer_->length;
    const UInt64 newLength = UInt64{oldLength} - count + newCount;
    const UInt64 capacity = buffer_->capacity;
    UInt64 request = 0; // 0: the buffer stays
    if (newLength == 0) {
        Clear();
        return buffer_->content;
    }
    if (newCount > count) {
        if (IsShared()) {
            request = newLength;
        } else if (newLength > capacity) {
            request = std::max(newLength, UInt64{oldLength} + oldLength / 2);
        }
    } else if (newLength >= minShrinkUnits && newLength <= (capacity + IsShared()) / 2) {
        request = newLength; // of a shared buffer there would be a copy with one unit more first
    } else if (IsShared()) {
        request = capacity;
    }
    unsigned short* const content = buffer_->content;
    const UInt32 tail = oldLength - start - count;
    if (request == 0) {
        std::memmove(content + start + newCount, content + start + count, USize{tail} * sizeof(UInt16));
    } else {
        SharedBuffer* const buffer = AllocateBuffer(static_cast<UInt32>(std::min<UInt64>(request, Npos)));
        Impl::CopyUnits(buffer->content, content, start);
        Impl::CopyUnits(buffer->content + start + newCount, content + start + count, tail);
        SetBuffer(buffer);
    }
    buffer_->length = static_cast<UInt32>(newLength);
    return buffer_->content + start;
}

/// The units may lie in the string's own buffer.
void UniString::ReplaceUnits(UInt32 start, UInt32 count, const unsigned short* units, UInt32 newCount)
{
    if (PointsInside(units)) {
        const UniString kept(*this); // the gap goes into another buffer then
        Impl::CopyUnits(OpenGap(start, count, newCount), units, newCount);
    } else {
        Impl::CopyUnits(OpenGap(start, count, newCount), units, newCount);
    }
}

void UniString::Insert(unsigned int position, const UniString& source, unsigned int start, unsigned int count)
{
    SetSubstring(position, 0, source, start, count);
}

void UniString::Insert(unsigned int position, UniChar c)
{
    SetSubstring(position, 0, c);
}

void UniString::SetSubstring(unsigned int position, unsigned int count, const UniString& source,
                             unsigned int sourceStart, unsigned int sourceCount)
{
    const Impl::UnitRange units = Impl::GetUnits(Impl::RequireReference(source));
    sourceCount = source.CheckRange(sourceStart, sourceCount);
    count = CheckRange(position, count);
    ReplaceUnits(position, count, units.units + sourceStart, sourceCount);
}

void UniString::SetSubstring(unsigned int position, unsigned int count, const char* text, QVCharCode code)
{
    SetSubstring(position, count, text, Impl::GetTerminatedLength(Impl::RequireText(text)), code);
}

void UniString::SetSubstring(unsigned int position, unsigned int count, const char* text,
                             unsigned int byteCount, QVCharCode code)
{
    Impl::RequireText(text);
    count = CheckRange(position, count);
    const Impl::ConvertedText converted(text, byteCount, code);
    ReplaceUnits(position, count, converted.GetUnits().units, converted.GetUnits().length);
}

void UniString::SetSubstring(unsigned int position, unsigned int count, const unsigned char* text,
                             QVCharCode code)
{
    SetSubstring(position, count, reinterpret_cast<const char*>(text), code);
}

void UniString::SetSubstring(unsigned int position, unsigned int count, const unsigned short* text)
{
    SetSubstring(position, count, text, Impl::GetTerminatedLength(Impl::RequireText(text)));
}

void UniString::SetSubstring(unsigned int position, unsigned int count, const unsigned short* text,
                             unsigned int textCount)
{
    Impl::RequireText(text);
    count = CheckRange(position, count);
    ReplaceUnits(position, count, text, textCount);
}

void UniString::SetSubstring(unsigned int position, unsigned int count, UniChar c)
{
    count = CheckRange(position, count);
    *OpenGap(position, count, 1) = c;
}

void UniString::Pad(unsigned int length, UniChar c)
{
    if (length > GetLength()) {
        SetLength(length, c);
    }
}

void UniString::Fill(UniChar c, unsigned int start, unsigned int count)
{
    count = CheckRange(start, count);
    AboutToDelete();
    std::fill_n(buffer_->content + start, count, static_cast<unsigned short>(c));
}

void UniString::Delete(unsigned int position)
{
    Delete(position, 1);
}

void UniString::Delete(unsigned int start, unsigned int count)
{
    count = CheckRange(start, count);
    if (count != 0) {
        OpenGap(start, count, 0);
    }
}

void UniString::DeleteFirst()
{
    Delete(0, 1);
}

void UniString::DeleteLast()
{
    Delete(GetLength() - 1, 1);
}

unsigned int UniString::DeleteFirst(const UniString& pattern, unsigned int start, unsigned int count)
{
    Impl::RequireReference(pattern);
    const UInt32 found = FindFirst(pattern, start, CheckRange(start, count));
    if (found != Npos) {
        Delete(found, pattern.GetLength());
    }
    return found;
}

unsigned int UniString::DeleteFirst(UniChar c, unsigned int start, unsigned int count)
{
    const UInt32 found = FindFirst(c, start, CheckRange(start, count));
    if (found != Npos) {
        Delete(found, 1);
    }
    return found;
}

unsigned int UniString::DeleteLast(const UniString& pattern)
{
    const UInt32 found = FindLast(pattern);
    if (found != Npos) {
        Delete(found, pattern.GetLength());
    }
    return found;
}

unsigned int UniString::DeleteLast(UniChar c)
{
    const UInt32 found = FindLast(c);
    if (found != Npos) {
        Delete(found, 1);
    }
    return found;
}

unsigned int UniString::DeleteAll(const UniString& pattern, unsigned int start, unsigned int count)
{
    const UInt32 width = Impl::RequireReference(pattern).GetLength();
    count = CheckRange(start, count);
    if (width == 0) {
        return 0;
    }
    if (&pattern == this) {
        return DeleteAll(UniString(pattern), start, count);
    }
    Impl::Occurrences occurrences(Impl::GetUnits(*this, start, count), Impl::GetUnits(pattern));
    return RemoveAll(occurrences, start, width);
}

unsigned int UniString::DeleteAll(UniChar c, unsigned int start, unsigned int count)
{
    count = CheckRange(start, count);
    const UInt16 unit = c;
    Impl::Occurrences occurrences(Impl::GetUnits(*this, start, count), Impl::UnitRange{&unit, 1});
    return RemoveAll(occurrences, start, 1);
}

/// Moves together what lies between the occurrences, which are `width` units each: in place, as far as the
/// search has come, or into the copy of a shared buffer.
UInt32 UniString::RemoveAll(Impl::Occurrences& occurrences, UInt32 start, UInt32 width)
{
    if (!occurrences.FindMore()) {
        return 0;
    }
    SharedBuffer* const target = IsShared() ? AllocateBuffer(buffer_->capacity) : buffer_;
    const unsigned short* const source = buffer_->content;
    const UInt32 oldLength = buffer_->length;
    UInt32 from = 0;
    UInt32 length = 0;
    const auto keepUpTo = [&](UInt32 end) {
        if (length != from || target != buffer_) {
            std::memmove(target->content + length, source + from, USize{end - from} * sizeof(UInt16));
        }
        length += end - from;
    };
    UInt32 number = 0;
    do {
        for (const UInt32 position : occurrences) {
            keepUpTo(start + position);
            from = start + position + width;
        }
        number += occurrences.GetCount();
    } while (occurrences.FindMore());
    keepUpTo(oldLength);
    target->length = length;
    if (target != buffer_) {
        SetBuffer(target);
    }
    DecreaseCapacity(length);
    return number;
}

} // namespace QV
