/// Comparison of strings and views with each other and with other kinds of text.
///
///     if (text == "yes" || text.GetPrefix(2) == u"ja") …
///     std::unordered_map<UniString, int, UniStringHash, std::equal_to<>> counts;   // found by any view
///
/// `==` compares units. `<` and its like follow the order of the user's locale, with regard to case: texts of
/// which neither is less may still differ. `const char*` is in the default code page.
///
/// Threads: as for the strings. Errors: `NullPointerException` and `NullReferenceException`. Allocation: only
/// for 8-bit text of more than 256 units.
#pragma once

#include <QVRoot/String/UniString.hpp>

#include <functional>

namespace QV {

/// What the operators below come down to.
class QV_EXPORT UniStringComparison {
public:
    static bool AreEqual(std::u16string_view a, std::u16string_view b) noexcept;
    static bool AreEqual(std::u16string_view a, const char* b);
    static bool AreEqual(std::u16string_view a, const unsigned short* b);
    static bool AreEqual(std::u16string_view a, const char16_t* b)
    {
        return AreEqual(a, reinterpret_cast<const unsigned short*>(b));
    }
    static UniChar::CompareResult Compare(const UniString& a, const UniString& b);
    static UniChar::CompareResult Compare(std::u16string_view a, std::u16string_view b);
    template <class A, class B>
    static UniChar::CompareResult Compare(const A& a, const B& b)
    {
        return Compare(GetView(a), GetView(b));
    }

    static std::u16string_view GetView(const UniString& text);
    template <class View>
    requires(!std::derived_from<View, UniString>) static std::u16string_view GetView(const View& view)
    {
        return view.GetView();
    }
};

template <UnitText A, UnitText B>
bool operator==(const A& a, const B& b)
{
    return UniStringComparison::AreEqual(UniStringComparison::GetView(a), UniStringComparison::GetView(b));
}
template <UnitText A>
bool operator==(const A& a, std::u16string_view b)
{
    return UniStringComparison::AreEqual(UniStringComparison::GetView(a), b);
}
template <UnitText A>
bool operator==(const A& a, const char* b)
{
    return UniStringComparison::AreEqual(UniStringComparison::GetView(a), b);
}
template <UnitText A>
bool operator==(const A& a, const unsigned short* b)
{
    return UniStringComparison::AreEqual(UniStringComparison::GetView(a), b);
}
template <UnitText A>
bool operator==(const A& a, const char16_t* b)
{
    return UniStringComparison::AreEqual(UniStringComparison::GetView(a), b);
}

template <UnitText A, UnitText B>
bool operator<(const A& a, const B& b)
{
    return UniStringComparison::Compare(a, b) == UniChar::Less;
}
template <UnitText A, UnitText B>
bool operator>(const A& a, const B& b)
{
    return UniStringComparison::Compare(a, b) == UniChar::Greater;
}
template <UnitText A, UnitText B>
bool operator<=(const A& a, const B& b)
{
    return !(a > b);
}
template <UnitText A, UnitText B>
bool operator>=(const A& a, const B& b)
{
    return !(a < b);
}

/// Compares in the user's locale with digits as numbers: "page 9" before "page 10". The texts end at their
/// first zero. A comparison that fails answers `Greater`.
QV_EXPORT UniString::CompareResult NaturalCompare(const UniString& a, const UniString& b,
                                                  UniString::CaseComparison rule = UniChar::CaseSensitive);

/// Hashes strings and whatever equals them alike.
struct QV_EXPORT UniStringHash {
    using is_transparent = void;

    std::size_t operator()(const UniString& text) const noexcept { return text.GenerateHashValue(); }
    std::size_t operator()(std::u16string_view text) const noexcept;
};

} // namespace QV

template <>
struct std::hash<QV::UniString> {
    std::size_t operator()(const QV::UniString& text) const noexcept { return text.GenerateHashValue(); }
};
