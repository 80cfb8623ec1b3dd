#include <QVRoot/String/PlatformTextImpl.hpp>
#include <QVRoot/String/Search/TextSearchImpl.hpp>

#include <windows.h>

namespace QV::Impl {

namespace {

const WCHAR* ToWide(const UInt16* text)
{
    return reinterpret_cast<const WCHAR*>(text);
}

WCHAR* ToWide(UInt16* text)
{
    return reinterpret_cast<WCHAR*>(text);
}

DWORD GetFlag(TextMapping mapping)
{
    switch (mapping) {
    case TextMapping::UpperCase:
        return LCMAP_UPPERCASE;
    case TextMapping::HalfWidth:
        return LCMAP_HALFWIDTH;
    case TextMapping::FullWidth:
        return LCMAP_FULLWIDTH;
    default:
        return LCMAP_LOWERCASE;
    }
}

NORM_FORM GetForm(NormalizationForm form)
{
    switch (form) {
    case NormalizationForm::C:
        return NormalizationC;
    case NormalizationForm::KD:
        return NormalizationKD;
    case NormalizationForm::KC:
        return NormalizationKC;
    default:
        return NormalizationD;
    }
}

NormalizationStatus GetStatus(DWORD error)
{
    switch (error) {
    case ERROR_SUCCESS:
        return NormalizationStatus::Done;
    case ERROR_INSUFFICIENT_BUFFER:
        return NormalizationStatus::TooSmall;
    case ERROR_NO_UNICODE_TRANSLATION:
        return NormalizationStatus::InvalidText;
    default:
        return NormalizationStatus::Failed;
    }
}

int FindZero(const UInt16* text, int length)
{
    const UInt32 zero = FindFirst({text, static_cast<UInt32>(length)}, 0);
    return zero == searchFailed ? length : static_cast<int>(zero);
}

} // namespace

TextOrder CompareText(const UInt16* text1, int length1, const UInt16* text2, int length2,
                      bool ignoreCase) noexcept
{
    return static_cast<TextOrder>(CompareStringW(GetUserDefaultLCID(), ignoreCase ? NORM_IGNORECASE : 0,
                                                 ToWide(text1), length1, ToWide(text2), length2));
}

TextOrder CompareTextNaturally(const UInt16* text1, int length1, const UInt16* text2, int length2,
                               bool ignoreCase) noexcept
{
    const DWORD flags = SORT_DIGITSASNUMBERS | (ignoreCase ? LINGUISTIC_IGNORECASE : 0);
    return static_cast<TextOrder>(CompareStringEx(LOCALE_NAME_USER_DEFAULT, flags, ToWide(text1),
                                                  FindZero(text1, length1), ToWide(text2),
                                                  FindZero(text2, length2), nullptr, nullptr, 0));
}

int MapText(TextMapping mapping, const UInt16* text, int length, UInt16* result, int resultLength) noexcept
{
    if (result == nullptr && resultLength != 0) {
        return 0;
    }
    return LCMapStringW(GetUserDefaultLCID(), GetFlag(mapping), ToWide(text), length, ToWide(result),
                        resultLength);
}

int EstimateNormalizedLength(NormalizationForm form, const UInt16* text, int length) noexcept
{
    return text == nullptr && length != 0 ? -1
                                          : NormalizeString(GetForm(form), ToWide(text), length, nullptr, 0);
}

int NormalizeText(NormalizationForm form, const UInt16* text, int length, UInt16* result, int resultLength,
                  NormalizationStatus& status) noexcept
{
    // Success need not set the last error, and it is what tells an empty result from a failure.
    SetLastError(ERROR_SUCCESS);
    const int written = NormalizeString(GetForm(form), ToWide(text), length, ToWide(result), resultLength);
    status = GetStatus(GetLastError());
    return written;
}

} // namespace QV::Impl
