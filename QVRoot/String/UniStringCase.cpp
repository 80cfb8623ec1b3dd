// Case, width and normal forms.
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/String/UniStringImpl.hpp>

#include <algorithm>

namespace QV {

/// Maps a range into a new buffer. Where the mapping fails the string stays as it is.
template <class Target>
void UniString::MapRange(UInt32 start, UInt32 count, Target target,
                         unsigned int (*measure)(const unsigned short*, unsigned int, Target),
                         bool (*convert)(const unsigned short*, unsigned int, unsigned short*, unsigned int,
                                         Target))
{
    count = CheckRange(start, count);
    if (count == 0) {
        return;
    }
    const Impl::UnitRange text = Impl::GetUnits(*this);
    const unsigned short* const range = text.units + start;
    const UInt32 mapped = measure(range, count, target);
    const UInt64 length = UInt64{text.length} - count + mapped;
    SharedBuffer* const buffer = AllocateBuffer(static_cast<UInt32>(std::min<UInt64>(length, Npos)));
    if (!convert(range, count, buffer->content + start, mapped, target)) {
        ReleaseBuffer(buffer);
        return;
    }
    Impl::CopyUnits(buffer->content, text.units, start);
    Impl::CopyUnits(buffer->content + start + mapped, range + count, text.length - start - count);
    buffer->length = static_cast<UInt32>(length);
    SetBuffer(buffer);
}

void UniString::SetToUpperCase(unsigned int start, unsigned int count)
{
    MapRange(start, count, UniChar::UpperCase, UniChar::ComputeCaseConvertedLength, UniChar::ConvertCase);
}

void UniString::SetToLowerCase(unsigned int start, unsigned int count)
{
    MapRange(start, count, UniChar::LowerCase, UniChar::ComputeCaseConvertedLength, UniChar::ConvertCase);
}

void UniString::SetToFullWidth(unsigned int start, unsigned int count)
{
    MapRange(start, count, UniChar::FullWidth, UniChar::ComputeWidthConvertedLength, UniChar::ConvertWidth);
}

void UniString::SetToHalfWidth(unsigned int start, unsigned int count)
{
    MapRange(start, count, UniChar::HalfWidth, UniChar::ComputeWidthConvertedLength, UniChar::ConvertWidth);
}

UniString UniString::ToUpperCase(unsigned int start, unsigned int count) const
{
    UniString mapped(*this);
    mapped.SetToUpperCase(start, count);
    return mapped;
}

UniString UniString::ToLowerCase(unsigned int start, unsigned int count) const
{
    UniString mapped(*this);
    mapped.SetToLowerCase(start, count);
    return mapped;
}

namespace {

using NormalForm = void (*)(const unsigned short*, unsigned int, unsigned short**, unsigned int*);

/// All forms of ASCII text are alike. Where the system hands nothing out, the text stays as it is.
UniString Normalize(const UniString& text, NormalForm convert)
{
    if (text.IsASCII()) {
        return text;
    }
    const Impl::UnitRange units = Impl::GetUnits(text);
    unsigned short* result = nullptr;
    unsigned int length = 0;
    convert(units.units, units.length, &result, &length);
    if (result == nullptr) {
        return text;
    }
    const UniString::UStr owner(result, true);
    return UniString(result, length);
}

} // namespace

UniString UniString::ToComposed() const
{
    return Normalize(*this, UniChar::ConvertToComposed);
}

UniString UniString::ToDecomposed() const
{
    return Normalize(*this, UniChar::ConvertToDecomposed);
}

UniString UniString::ToCompatibilityComposed() const
{
    return Normalize(*this, UniChar::ConvertToCompatibilityComposed);
}

UniString UniString::ToCompatibilityDecomposed() const
{
    return Normalize(*this, UniChar::ConvertToCompatibilityDecomposed);
}

} // namespace QV
