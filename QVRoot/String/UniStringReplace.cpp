// Replacing what is found.
#include <QVRoot/String/UniStringImpl.hpp>

#include <algorithm>

namespace QV {

namespace {

/// Fills a buffer from its start. Pieces are short, so they are copied by whole blocks, as long as there is
/// room for what is written too much.
class UnitWriter {
public:
    UnitWriter(unsigned short* to, UInt64 room) noexcept : to_(to), end_(to + room) {}

    /// Copies units that are followed by others up to `readable`.
    void Put(const unsigned short* from, const unsigned short* end, const unsigned short* readable) noexcept
    {
        const auto count = static_cast<USize>(end - from);
        const USize blocks = (count + block - 1) / block * block;
        if (count <= longest && static_cast<USize>(readable - from) >= blocks &&
            static_cast<USize>(end_ - to_) >= blocks) [[likely]] {
            for (USize i = 0; i < count; i += block) {
                std::memcpy(to_ + i, from + i, block * sizeof(UInt16));
            }
        } else {
            Impl::CopyUnits(to_, from, count);
        }
        to_ += count;
    }

    static constexpr USize block = 16;

private:
    static constexpr USize longest = 8 * block;

    unsigned short* to_;
    unsigned short* const end_;
};

/// The text that is put in, followed by readable units.
class Replacement {
public:
    explicit Replacement(Impl::UnitRange text) noexcept : units_(text.units), length_(text.length)
    {
        if (length_ <= UnitWriter::block) {
            Impl::CopyUnits(padded_, text.units, length_);
            units_ = padded_;
        }
    }

    void PutInto(UnitWriter& writer) const noexcept
    {
        writer.Put(units_, units_ + length_, units_ + std::max<USize>(length_, UnitWriter::block));
    }

private:
    const unsigned short* units_;
    const USize length_;
    unsigned short padded_[UnitWriter::block] = {};
};

} // namespace

unsigned int UniString::ReplaceFirst(const UniString& pattern, const UniString& replacement,
                                     unsigned int start, unsigned int count)
{
    Impl::RequireReference(replacement);
    const UInt32 width = Impl::RequireReference(pattern).GetLength();
    const UInt32 found = FindFirst(pattern, start, CheckRange(start, count));
    if (found != Npos) {
        SetSubstring(found, width, replacement);
    }
    return found;
}

unsigned int UniString::ReplaceLast(const UniString& pattern, const UniString& replacement)
{
    Impl::RequireReference(replacement);
    const UInt32 found = FindLast(pattern);
    if (found != Npos) {
        SetSubstring(found, pattern.GetLength(), replacement);
    }
    return found;
}

unsigned int UniString::ReplaceFirst(UniChar c, UniChar replacement, unsigned int start, unsigned int count)
{
    const UInt32 found = FindFirst(c, start, CheckRange(start, count));
    if (found != Npos) {
        SetChar(found, replacement);
    }
    return found;
}

unsigned int UniString::ReplaceLast(UniChar c, UniChar replacement)
{
    const UInt32 found = FindLast(c);
    if (found != Npos) {
        SetChar(found, replacement);
    }
    return found;
}

unsigned int UniString::ReplaceAll(UniChar c, UniChar replacement, unsigned int start, unsigned int count)
{
    count = CheckRange(start, count);
    AboutToDelete();
    return Impl::GetSearchKernels().replaceUnit(buffer_->content + start, count, c, replacement);
}

unsigned int UniString::ReplaceAll(const UniString& pattern, const UniString& replacement, unsigned int start,
                                   unsigned int count)
{
    Impl::RequireReference(replacement);
    const Impl::UnitRange units = Impl::GetUnits(Impl::RequireReference(pattern));
    count = CheckRange(start, count);
    if (units.length == 0) {
        return InsertEverywhere(replacement, start, count);
    }
    Impl::Occurrences occurrences(Impl::GetUnits(*this, start, count), units);
    if (!occurrences.FindMore()) {
        return 0;
    }
    const UInt32 number = occurrences.GetCount() + occurrences.CountRest();
    if (number == 1) {
        SetSubstring(start + *occurrences.begin(), units.length, replacement);
    } else {
        InstallReplaced(occurrences, number, start, units.length, replacement);
    }
    return number;
}

/// Builds the text with every occurrence replaced and installs it. The first batch has been found.
void UniString::InstallReplaced(Impl::Occurrences& occurrences, UInt32 number, UInt32 start, UInt32 width,
                                const UniString& replacement)
{
    const Impl::UnitRange text = Impl::GetUnits(*this);
    const UInt64 length = text.length + (UInt64{replacement.GetLength()} - width) * number; // modulo 2^64
    SharedBuffer* const buffer = AllocateBuffer(static_cast<UInt32>(std::min<UInt64>(length, Npos)));
    UnitWriter writer(buffer->content, buffer->capacity);
    const Replacement put(Impl::GetUnits(replacement));
    const unsigned short* rest = text.units;
    const unsigned short* const end = text.units + text.length;
    do {
        for (const UInt32 position : occurrences) {
            const unsigned short* const found = text.units + start + position;
            writer.Put(rest, found, end);
            put.PutInto(writer);
            rest = found + width;
        }
    } while (occurrences.FindMore());
    writer.Put(rest, end, end);
    if (length != 0) {
        buffer->length = static_cast<UInt32>(length);
    }
    SetBuffer(buffer);
}

/// Puts the text before every unit of the range and behind the last one.
UInt32 UniString::InsertEverywhere(const UniString& text, UInt32 start, UInt32 count)
{
    if (count == 0) {
        SetSubstring(start, 0, text);
        return 1;
    }
    const Impl::UnitRange old = Impl::GetUnits(*this);
    const UInt64 length = old.length + UInt64{text.GetLength()} * (UInt64{count} + 1);
    SharedBuffer* const buffer = AllocateBuffer(static_cast<UInt32>(std::min<UInt64>(length, Npos)));
    UnitWriter writer(buffer->content, buffer->capacity);
    const Replacement put(Impl::GetUnits(text));
    const unsigned short* const end = old.units + old.length;
    const unsigned short* rest = old.units;
    for (UInt32 i = start; i <= start + count; ++i) {
        writer.Put(rest, old.units + i, end);
        put.PutInto(writer);
        rest = old.units + i;
    }
    writer.Put(rest, end, end);
    buffer->length = static_cast<UInt32>(length);
    SetBuffer(buffer);
    return count + 1;
}

} // namespace QV
