/// Views of a range of a string.
///
///     UniString text(u"key=value");
///     text.GetPrefix(3) = u"name";                       // "name=value"
///     if (text(5) == "value") …
///
/// A view refers to its string and must not outlive it. When the string has become shorter the view is
/// shorter too, at worst empty.
///
/// Threads: as for the string. Errors: `IllegalReferenceException` for a range outside the string when the
/// view is made. Allocation: none, but for the assignments.
#pragma once

#include <QVRoot/String/UniString.hpp>

namespace QV {

/// A view that can only be read.
class QV_EXPORT UniString::ConstSubstring {
public:
    const UniString& GetString() const noexcept { return *string_; }
    unsigned int GetStart() const noexcept { return start_; }
    unsigned int GetLength() const noexcept { return static_cast<unsigned int>(GetView().size()); }
    bool IsEmpty() const noexcept { return GetLength() == 0; }
    /// The position is not checked.
    UniChar operator[](unsigned int position) const noexcept { return string_->GetChar(start_ + position); }
    std::u16string_view GetView() const noexcept
    {
        const std::u16string_view all = string_->GetView();
        return start_ < all.size() ? all.substr(start_, length_) : std::u16string_view();
    }

private:
    friend class UniString;
    friend class Substring;

    ConstSubstring(const UniString& string, unsigned int start, unsigned int count);

    const UniString* string_;
    unsigned int start_;
    unsigned int length_;
};

/// A view that can be assigned to: that replaces the range in the string, and the view then covers what has
/// been put there. Copying a view makes another view of the same range.
class QV_EXPORT UniString::Substring {
public:
    Substring(const Substring&) noexcept = default;

    Substring& operator=(const UniString& text);
    Substring& operator=(const Substring& text);
    Substring& operator=(const ConstSubstring& text);
    Substring& operator=(const char* text);
    Substring& operator=(const unsigned char* text);
    Substring& operator=(const unsigned short* text);
    Substring& operator=(const char16_t* text)
    {
        return *this = reinterpret_cast<const unsigned short*>(text);
    }
    Substring& operator=(UniChar c);

    operator ConstSubstring() const noexcept { return view_; }
    const UniString& GetString() const noexcept { return view_.GetString(); }
    unsigned int GetStart() const noexcept { return view_.GetStart(); }
    unsigned int GetLength() const noexcept { return view_.GetLength(); }
    bool IsEmpty() const noexcept { return view_.IsEmpty(); }
    UniChar operator[](unsigned int position) const noexcept { return view_[position]; }
    std::u16string_view GetView() const noexcept { return view_.GetView(); }

private:
    friend class UniString;

    Substring(UniString& string, unsigned int start, unsigned int count)
        : string_(&string), view_(string, start, count)
    {
    }
    template <class... Source>
    Substring& Put(const Source&... source);

    UniString* string_;
    ConstSubstring view_;
};

template <CharacterType Character>
UniString::Substring UniString::operator()(Character opening, Character closing, unsigned int start,
                                           unsigned int count) &
{
    return (*this)(UniChar(opening), UniChar(closing), start, count);
}

template <CharacterType Character>
UniString::ConstSubstring UniString::operator()(Character opening, Character closing, unsigned int start,
                                                unsigned int count) const&
{
    return (*this)(UniChar(opening), UniChar(closing), start, count);
}

template <CharacterType Character>
UniString::Substring UniString::GetSubstring(Character opening, Character closing, unsigned int start,
                                             unsigned int count) &
{
    return (*this)(UniChar(opening), UniChar(closing), start, count);
}

template <CharacterType Character>
UniString::ConstSubstring UniString::GetSubstring(Character opening, Character closing, unsigned int start,
                                                  unsigned int count) const&
{
    return (*this)(UniChar(opening), UniChar(closing), start, count);
}

} // namespace QV
