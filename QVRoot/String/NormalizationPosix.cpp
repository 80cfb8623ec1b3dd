#include <QVRoot/String/PlatformTextImpl.hpp>

#include <unicode/unorm2.h>

namespace QV::Impl {

namespace {

const UNormalizer2* GetNormalizer(NormalizationForm form)
{
    UErrorCode error = U_ZERO_ERROR;
    switch (form) {
    case NormalizationForm::C:
        return unorm2_getNFCInstance(&error);
    case NormalizationForm::KD:
        return unorm2_getNFKDInstance(&error);
    case NormalizationForm::KC:
        return unorm2_getNFKCInstance(&error);
    default:
        return unorm2_getNFDInstance(&error);
    }
}

/// Whether every surrogate has its partner and no code point is a noncharacter, as Windows demands.
bool IsInterchangeable(const UInt16* text, int length)
{
    for (int i = 0; i < length; ++i) {
        const UInt16 unit = text[i];
        if (unit < 0xD800) [[likely]] {
            continue;
        }
        if (unit <= 0xDFFF) {
            if (unit > 0xDBFF || i + 1 == length || (text[i + 1] & 0xFC00) != 0xDC00) {
                return false;
            }
            // The last two code points of each plane end in low surrogates DFFE and DFFF.
            if ((unit & 0x3F) == 0x3F && text[++i] >= 0xDFFE) {
                return false;
            }
            i += (unit & 0x3F) != 0x3F;
        } else if (unit >= 0xFFFE || (unit >= 0xFDD0 && unit <= 0xFDEF)) {
            return false;
        }
    }
    return true;
}

} // namespace

int EstimateNormalizedLength(NormalizationForm form, const UInt16* text, int length) noexcept
{
    if (text == nullptr && length != 0) {
        return -1;
    }
    const bool composed = form == NormalizationForm::C || form == NormalizationForm::KC;
    const Int64 estimate = length + (composed ? length / 8 : length / 2) + 16LL;
    return static_cast<int>(estimate > 0x7FFFFFFF ? 0x7FFFFFFF : estimate);
}

int NormalizeText(NormalizationForm form, const UInt16* text, int length, UInt16* result, int resultLength,
                  NormalizationStatus& status) noexcept
{
    if (!IsInterchangeable(text, length)) {
        status = NormalizationStatus::InvalidText;
        return 0;
    }
    UErrorCode error = U_ZERO_ERROR;
    const UNormalizer2* const normalizer = GetNormalizer(form);
    if (normalizer == nullptr) {
        status = NormalizationStatus::Failed;
        return 0;
    }
    const int needed = unorm2_normalize(normalizer, reinterpret_cast<const UChar*>(text), length,
                                        reinterpret_cast<UChar*>(result), resultLength, &error);
    if (error == U_BUFFER_OVERFLOW_ERROR) {
        status = NormalizationStatus::TooSmall;
        return -needed;
    }
    status = U_FAILURE(error) ? NormalizationStatus::Failed : NormalizationStatus::Done;
    return U_FAILURE(error) ? 0 : needed;
}

} // namespace QV::Impl
