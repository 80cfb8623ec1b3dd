// Views of a range.
#include <QVRoot/String/UniStringImpl.hpp>

namespace QV {

UniString::ConstSubstring::ConstSubstring(const UniString& string, unsigned int start, unsigned int count)
    : string_(&Impl::RequireReference(string)), start_(start), length_(string.CheckRange(start, count))
{
}

/// What the string has gained or lost tells how long the new text is.
template <class... Source>
UniString::Substring& UniString::Substring::Put(const Source&... source)
{
    const UInt32 rest = string_->GetLength() - view_.length_;
    string_->SetSubstring(view_.start_, view_.length_, source...);
    view_.length_ = string_->GetLength() - rest;
    return *this;
}

UniString::Substring& UniString::Substring::operator=(const UniString& text)
{
    return Put(text);
}

UniString::Substring& UniString::Substring::operator=(const Substring& text)
{
    return *this = static_cast<ConstSubstring>(Impl::RequireReference(text));
}

UniString::Substring& UniString::Substring::operator=(const ConstSubstring& text)
{
    const UniString& source = *Impl::RequireReference(text).string_;
    return Put(source, text.IsEmpty() ? 0 : text.start_, text.GetLength());
}

UniString::Substring& UniString::Substring::operator=(const char* text)
{
    return Put(text);
}

UniString::Substring& UniString::Substring::operator=(const unsigned char* text)
{
    return Put(text);
}

UniString::Substring& UniString::Substring::operator=(const unsigned short* text)
{
    return Put(text);
}

UniString::Substring& UniString::Substring::operator=(UniChar c)
{
    return Put(c);
}

UniString::UniString(const ConstSubstring& text)
    : UniString(*Impl::RequireReference(text).string_, text.IsEmpty() ? 0 : text.start_, text.GetLength())
{
}

UniString::UniString(const Substring& text) : UniString(Impl::RequireReference(text).view_) {}

UniString::Substring UniString::operator()(unsigned int start, unsigned int count) &
{
    return Substring(*this, start, count);
}

UniString::ConstSubstring UniString::operator()(unsigned int start, unsigned int count) const&
{
    return ConstSubstring(*this, start, count);
}

UniString::Substring UniString::GetSubstring(unsigned int start, unsigned int count) &
{
    return Substring(*this, start, count);
}

UniString::ConstSubstring UniString::GetSubstring(unsigned int start, unsigned int count) const&
{
    return ConstSubstring(*this, start, count);
}

UniString::Substring UniString::GetPrefix(unsigned int count) &
{
    return Substring(*this, 0, count);
}

UniString::ConstSubstring UniString::GetPrefix(unsigned int count) const&
{
    return ConstSubstring(*this, 0, count);
}

// A suffix that is too long would begin before the string: its start wraps and is refused.

UniString::Substring UniString::GetSuffix(unsigned int count) &
{
    return Substring(*this, GetLength() - count, count);
}

UniString::ConstSubstring UniString::GetSuffix(unsigned int count) const&
{
    return ConstSubstring(*this, GetLength() - count, count);
}

/// Narrows a range to what stands between two characters in it.
void UniString::GetEnclosed(UniChar opening, UniChar closing, UInt32& start, UInt32& count) const
{
    count = CheckRange(start, count);
    const UInt32 end = start + count;
    const UInt32 opened = FindFirst(opening, start, count);
    const UInt32 first = opened == Npos ? end : opened + 1;
    const UInt32 closed = FindFirst(closing, first, end - first);
    start = closed == Npos ? end : first;
    count = closed == Npos ? 0 : closed - first;
}

UniString::Substring UniString::operator()(UniChar opening, UniChar closing, unsigned int start,
                                           unsigned int count) &
{
    GetEnclosed(opening, closing, start, count);
    return Substring(*this, start, count);
}

UniString::ConstSubstring UniString::operator()(UniChar opening, UniChar closing, unsigned int start,
                                                unsigned int count) const&
{
    GetEnclosed(opening, closing, start, count);
    return ConstSubstring(*this, start, count);
}

UniString::Substring UniString::GetSubstring(UniChar opening, UniChar closing, unsigned int start,
                                             unsigned int count) &
{
    return (*this)(opening, closing, start, count);
}

UniString::ConstSubstring UniString::GetSubstring(UniChar opening, UniChar closing, unsigned int start,
                                                  unsigned int count) const&
{
    return (*this)(opening, closing, start, count);
}

} // namespace QV
