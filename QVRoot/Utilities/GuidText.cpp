#include <QVRoot/String/String.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Utilities/GuidTextImpl.hpp>

#include <cstring>

namespace QV {

namespace {

const unsigned short* AsUnits(const char16_t* text) noexcept
{
    return reinterpret_cast<const unsigned short*>(text);
}

/// Units up to the terminator, at most `limit`.
UInt32 GetLengthUpTo(const unsigned short* text, UInt32 limit) noexcept
{
    UInt32 length = 0;
    while (length < limit && text[length] != 0) {
        ++length;
    }
    return length;
}

template <class Unit>
QVErrCode ParsePrefix(const Unit* text, const Unit* end, Guid& value) noexcept
{
    return text == nullptr ? ErrGuidFormat : Impl::ParseGuidPlainly(text, end, true, value);
}

} // namespace

QVErrCode Guid::ConvertToString(char* buffer) const noexcept
{
    return ConvertToString(buffer, TextSize);
}

QVErrCode Guid::ConvertToString(char* buffer, UInt32 size) const noexcept
{
    if (buffer == nullptr) {
        return ErrNullPointer;
    }
    if (size < TextSize) {
        return ErrParam;
    }
    Impl::PrintGuid(*this, buffer);
    buffer[Impl::guidTextLength] = 0;
    return NoError;
}

String Guid::ToString() const
{
    char text[Impl::guidTextLength];
    Impl::PrintGuid(*this, text);
    return String(text, Impl::guidTextLength);
}

UniString Guid::ToUniString() const
{
    char text[Impl::guidTextLength];
    unsigned short units[Impl::guidTextLength];
    Impl::PrintGuid(*this, text);
    for (UInt32 i = 0; i < Impl::guidTextLength; ++i) {
        units[i] = static_cast<unsigned short>(text[i]);
    }
    return UniString(units, Impl::guidTextLength);
}

QVErrCode Guid::ConvertFromString(const char* text) noexcept
{
    if (text == nullptr) {
        return ErrGuidFormat;
    }
    const char* const first = text + (*text == '{');
    const void* const end = std::memchr(first, 0, Impl::guidTextLength);
    if (end == nullptr ? Impl::ParseSeparatedGuid(first, *this)
                       : end == first + Impl::guidDigits && Impl::ParseBareGuid(first, *this)) [[likely]] {
        return NoError;
    }
    return Impl::ParseGuidPlainly<char>(first, nullptr, false, *this);
}

QVErrCode Guid::ConvertFromString(const unsigned short* text) noexcept
{
    if (text == nullptr) {
        return ErrGuidFormat;
    }
    const unsigned short* const first = text + (*text == '{');
    if (GetLengthUpTo(first, Impl::guidTextLength) == Impl::guidTextLength &&
        Impl::ParseSeparatedGuid(first, *this)) [[likely]] {
        return NoError;
    }
    return Impl::ParseGuidPlainly<unsigned short>(first, nullptr, false, *this);
}

QVErrCode Guid::ConvertFromString(const char16_t* text) noexcept
{
    return ConvertFromString(AsUnits(text));
}

QVErrCode Guid::ConvertFromString(const UniString& text) noexcept
{
    const std::u16string_view view = text.GetView();
    const unsigned short* const end = AsUnits(view.data() + view.size());
    const unsigned short* first = AsUnits(view.data());
    first += first != end && *first == '{';
    if (end - first >= Impl::guidTextLength && Impl::ParseSeparatedGuid(first, *this)) [[likely]] {
        return NoError;
    }
    return first == end ? ErrGuidFormat : Impl::ParseGuidPlainly(first, end, false, *this);
}

QVErrCode Guid::ConvertFromPrefixString(const char* text) noexcept
{
    return ParsePrefix<char>(text, nullptr, *this);
}

QVErrCode Guid::ConvertFromPrefixString(const unsigned short* text) noexcept
{
    return ParsePrefix<unsigned short>(text, nullptr, *this);
}

QVErrCode Guid::ConvertFromPrefixString(const char16_t* text) noexcept
{
    return ConvertFromPrefixString(AsUnits(text));
}

QVErrCode Guid::ConvertFromPrefixString(const UniString& text) noexcept
{
    const std::u16string_view view = text.GetView();
    return ParsePrefix(AsUnits(view.data()), AsUnits(view.data() + view.size()), *this);
}

} // namespace QV
