// Searching. Everything goes through the one search of `Search/`.
#include <QVRoot/String/Transcode/TranscodeImpl.hpp>
#include <QVRoot/String/UniStringImpl.hpp>

namespace QV {

namespace {

using Impl::UnitRange;

unsigned int AddStart(UInt32 found, unsigned int start)
{
    return found == Impl::searchFailed ? UniString::Npos : start + found;
}

unsigned int FindFirstOf(const UniString& text, UnitRange set, bool member, unsigned int start,
                         unsigned int count)
{
    return AddStart(Impl::UnitSet(set).FindFirst(Impl::GetUnits(text, start, count), member), start);
}

unsigned int FindLastOf(const UniString& text, UnitRange set, bool member)
{
    return Impl::UnitSet(set).FindLast(Impl::GetUnits(text), member);
}

UnitRange RequireUnits(const UniString& text)
{
    return Impl::GetUnits(Impl::RequireReference(text));
}

Impl::ConvertedText Convert(const char* text, QVCharCode code)
{
    return Impl::ConvertedText(text, Impl::GetTerminatedLength(Impl::RequireText(text)), code);
}

} // namespace

unsigned int UniString::FindFirst(const UniString& pattern, unsigned int start, unsigned int count) const
{
    const UnitRange units = RequireUnits(pattern);
    return units.length == 0 ? start
                             : AddStart(Impl::FindFirst(Impl::GetUnits(*this, start, count), units), start);
}

unsigned int UniString::FindFirst(UniChar c, unsigned int start, unsigned int count) const noexcept
{
    return AddStart(Impl::FindFirst(Impl::GetUnits(*this, start, count), c), start);
}

unsigned int UniString::FindLast(const UniString& pattern) const
{
    const UnitRange units = RequireUnits(pattern);
    return units.length == 0 ? GetLength() : Impl::FindLast(Impl::GetUnits(*this), units);
}

unsigned int UniString::FindLast(UniChar c) const noexcept
{
    return Impl::FindLast(Impl::GetUnits(*this), c);
}

unsigned int UniString::FindFirstIn(const UniString& set, unsigned int start, unsigned int count) const
{
    return FindFirstOf(*this, RequireUnits(set), true, start, count);
}

unsigned int UniString::FindFirstIn(const char* set, QVCharCode code, unsigned int start,
                                    unsigned int count) const
{
    return FindFirstOf(*this, Convert(set, code).GetUnits(), true, start, count);
}

unsigned int UniString::FindFirstNotIn(const UniString& set, unsigned int start, unsigned int count) const
{
    return FindFirstOf(*this, RequireUnits(set), false, start, count);
}

unsigned int UniString::FindFirstNotIn(const char* set, QVCharCode code, unsigned int start,
                                       unsigned int count) const
{
    return FindFirstOf(*this, Convert(set, code).GetUnits(), false, start, count);
}

unsigned int UniString::FindLastIn(const UniString& set) const
{
    return FindLastOf(*this, RequireUnits(set), true);
}

unsigned int UniString::FindLastIn(const char* set, QVCharCode code) const
{
    return FindLastOf(*this, Convert(set, code).GetUnits(), true);
}

unsigned int UniString::FindLastNotIn(const UniString& set) const
{
    return FindLastOf(*this, RequireUnits(set), false);
}

unsigned int UniString::FindLastNotIn(const char* set, QVCharCode code) const
{
    return FindLastOf(*this, Convert(set, code).GetUnits(), false);
}

bool UniString::Contains(const UniString& pattern, unsigned int start, unsigned int count) const
{
    const UnitRange units = RequireUnits(pattern);
    return units.length == 0 ||
           Impl::FindFirst(Impl::GetUnits(*this, start, count), units) != Impl::searchFailed;
}

bool UniString::Contains(UniChar c, unsigned int start, unsigned int count) const noexcept
{
    return FindFirst(c, start, count) != Npos;
}

bool UniString::BeginsWith(const UniString& pattern) const
{
    const UnitRange units = RequireUnits(pattern);
    return Impl::AreEqual(Impl::GetUnits(*this, 0, units.length), units);
}

bool UniString::BeginsWith(UniChar c) const noexcept
{
    return !IsEmpty() && GetChar(0) == c;
}

bool UniString::EndsWith(const UniString& pattern) const
{
    const UnitRange units = RequireUnits(pattern);
    const UInt32 length = GetLength();
    return length >= units.length &&
           Impl::AreEqual(Impl::GetUnits(*this, length - units.length, units.length), units);
}

bool UniString::EndsWith(UniChar c) const noexcept
{
    return !IsEmpty() && GetChar(GetLength() - 1) == c;
}

unsigned int UniString::Count(const UniString& pattern, unsigned int start, unsigned int count) const
{
    const UnitRange units = RequireUnits(pattern);
    const UnitRange range = Impl::GetUnits(*this, start, count);
    return units.length == 0 ? range.length + 1 : Impl::Count(range, units);
}

unsigned int UniString::Count(UniChar c, unsigned int start, unsigned int count) const noexcept
{
    return Impl::Count(Impl::GetUnits(*this, start, count), c);
}

bool UniString::IsASCII() const noexcept
{
    const UnitRange units = Impl::GetUnits(*this);
    return Impl::IsAscii(units.units, units.length);
}

} // namespace QV
