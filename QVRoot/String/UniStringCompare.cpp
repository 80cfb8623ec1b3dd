// Equality by units, order by locale, and the hash that goes with them.
#include <QVRoot/String/PlatformTextImpl.hpp>
#include <QVRoot/String/UniStringImpl.hpp>

namespace QV {

using Impl::UnitRange;

namespace {

/// `UniChar::Compare` for lengths that a string can have.
UniChar::CompareResult CompareUnits(UnitRange a, UnitRange b, bool ignoreCase)
{
    // From a table, since nobody can foretell the branches.
    static constexpr UniChar::CompareResult results[] = {UniChar::Equal, UniChar::Less, UniChar::Equal,
                                                         UniChar::Greater};
    return results[Impl::CompareText(a.units, static_cast<int>(a.length), b.units, static_cast<int>(b.length),
                                     ignoreCase)];
}

} // namespace

bool UniStringComparison::AreEqual(std::u16string_view a, std::u16string_view b) noexcept
{
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(char16_t)) == 0);
}

std::u16string_view UniStringComparison::GetView(const UniString& text)
{
    return Impl::RequireReference(text).GetView();
}

bool UniStringComparison::AreEqual(std::u16string_view a, const char* b)
{
    const auto first = static_cast<unsigned char>(*Impl::RequireText(b));
    if (!a.empty() && first < 0x80 && a.front() != first) {
        return false; // quickly, as most often
    }
    const UInt32 bytes = Impl::GetTerminatedLength(b);
    const UInt32 units = Impl::CountUnits(b, bytes, DefaultCharCode);
    return units == a.size() &&
           Impl::AreEqual(Impl::GetUnits(a),
                          Impl::ConvertedText(b, bytes, units, DefaultCharCode).GetUnits());
}

bool UniStringComparison::AreEqual(std::u16string_view a, const unsigned short* b)
{
    return Impl::AreEqual(Impl::GetUnits(a), UnitRange{b, Impl::GetTerminatedLength(Impl::RequireText(b))});
}

UniChar::CompareResult UniStringComparison::Compare(const UniString& a, const UniString& b)
{
    return CompareUnits(Impl::GetUnits(Impl::RequireReference(a)), Impl::GetUnits(Impl::RequireReference(b)),
                        false);
}

UniChar::CompareResult UniStringComparison::Compare(std::u16string_view a, std::u16string_view b)
{
    const UnitRange first = Impl::GetUnits(a);
    const UnitRange second = Impl::GetUnits(b);
    return UniChar::Compare(first.units, first.length, second.units, second.length, UniChar::CaseSensitive);
}

UniString::CompareResult UniString::Compare(const UniString& other, CaseComparison rule) const
{
    return CompareUnits(Impl::GetUnits(*this), Impl::GetUnits(Impl::RequireReference(other)),
                        rule == UniChar::IgnoreCase);
}

bool UniString::IsEqual(const UniString& other, CaseComparison rule) const
{
    return Compare(other, rule) == UniChar::Equal;
}

UniString::CompareResult NaturalCompare(const UniString& a, const UniString& b,
                                        UniString::CaseComparison rule)
{
    const UnitRange first = Impl::GetUnits(Impl::RequireReference(a));
    const UnitRange second = Impl::GetUnits(Impl::RequireReference(b));
    static constexpr UniChar::CompareResult results[] = {UniChar::Greater, UniChar::Less, UniChar::Equal,
                                                         UniChar::Greater};
    return results[Impl::CompareTextNaturally(first.units, static_cast<int>(first.length), second.units,
                                              static_cast<int>(second.length), rule == UniChar::IgnoreCase)];
}

namespace {

UInt32 HashUnits(UnitRange text) noexcept
{
    constexpr UInt32 multiplier = 65599;
    const UInt32 step = text.length < 32 ? 1 : text.length >> 4;
    UInt32 hash = 0;
    for (UInt64 i = 0; i < text.length; i += step) {
        hash = hash * multiplier + text.units[i];
    }
    return hash;
}

} // namespace

UInt32 UniString::GenerateHashValue() const noexcept
{
    return HashUnits(Impl::GetUnits(*this));
}

std::size_t UniStringHash::operator()(std::u16string_view text) const noexcept
{
    return HashUnits(Impl::GetUnits(text));
}

UniString::CStr Impl::MakePrintable(std::u16string_view text)
{
    UniString printable;
    for (const char32_t c : UniString::CodePoints(text)) {
        const bool isHalf = c >= 0xD800 && c < 0xE000;
        if (isHalf || c < 0x10000) {
            printable.Append(UniChar(static_cast<unsigned short>(isHalf ? 0xFFFD : c)));
        } else {
            printable.Append(UniChar(static_cast<unsigned short>(0xD7C0 + (c >> 10))));
            printable.Append(UniChar(static_cast<unsigned short>(0xDC00 + (c & 0x3FF))));
        }
    }
    return printable.ToCStr(0, UniString::Npos, UTF8CharCode);
}

} // namespace QV
