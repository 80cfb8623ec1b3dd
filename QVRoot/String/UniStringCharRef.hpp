/// What `text[position]` is for a string that may be changed.
#pragma once

#include <QVRoot/String/UniString.hpp>

namespace QV {

/// A writable unit of a string. Writing first makes the buffer private.
class UniString::UniCharRef {
public:
    UniCharRef(UniString& string, unsigned int position) noexcept : string_(&string), position_(position) {}
    UniCharRef(const UniCharRef&) = default;

    UniCharRef& operator=(UniChar c)
    {
        string_->SetChar(position_, c);
        return *this;
    }
    UniCharRef& operator=(unsigned short unit) { return *this = UniChar(unit); }
    UniCharRef& operator=(char16_t unit) { return *this = UniChar(unit); }
    UniCharRef& operator=(char c) { return *this = UniChar(c); }
    UniCharRef& operator=(unsigned char c) { return *this = UniChar(c); }
    UniCharRef& operator=(const UniCharRef& other) { return *this = other.GetChar(); }

    UniChar GetChar() const noexcept { return string_->GetChar(position_); }
    operator UniChar() const noexcept { return GetChar(); }
    operator unsigned short() const noexcept { return GetChar(); }
    operator char() const { return static_cast<char>(GetChar()); }
    operator unsigned char() const { return static_cast<unsigned char>(GetChar()); }

    friend bool operator==(const UniCharRef& a, UniChar b) noexcept { return a.GetChar() == b; }
    friend bool operator==(const UniCharRef& a, const UniCharRef& b) noexcept
    {
        return a.GetChar() == b.GetChar();
    }

    bool IsASCII() const noexcept { return GetChar().IsASCII(); }
    bool IsASCIIDigit() const noexcept { return GetChar().IsASCIIDigit(); }
    bool IsASCIIHexaDigit() const noexcept { return GetChar().IsASCIIHexaDigit(); }
    bool IsASCIILower() const noexcept { return GetChar().IsASCIILower(); }
    bool IsASCIIUpper() const noexcept { return GetChar().IsASCIIUpper(); }
    int GetASCIIDigitValue() const noexcept { return GetChar().GetASCIIDigitValue(); }
    int GetASCIIHexaDigitValue() const noexcept { return GetChar().GetASCIIHexaDigitValue(); }
    bool IsAlpha() const { return GetChar().IsAlpha(); }
    bool IsAlphaNumeric() const { return GetChar().IsAlphaNumeric(); }
    bool IsControl() const { return GetChar().IsControl(); }
    bool IsDigit() const { return GetChar().IsDigit(); }
    bool IsLower() const { return GetChar().IsLower(); }
    bool IsPunctuation() const { return GetChar().IsPunctuation(); }
    bool IsUpper() const { return GetChar().IsUpper(); }
    bool IsWhiteSpace() const { return GetChar().IsWhiteSpace(); }

private:
    UniString* string_;
    unsigned int position_;
};

inline UniString::UniCharRef UniString::operator[](unsigned int position) noexcept
{
    return UniCharRef(*this, position);
}

} // namespace QV
