// The services of `UniChar` that work on runs of units: order, case, width and normal forms.
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/String/PlatformTextImpl.hpp>
#include <QVRoot/String/Search/SearchImpl.hpp>
#include <QVRoot/String/Transcode/TranscodeImpl.hpp>
#include <QVRoot/String/UniChar.hpp>

#include <cstring>

namespace QV {

namespace {

/// The system's services count in signed numbers.
bool IsTooLong(unsigned int length)
{
    return length > 0x7FFFFFFF;
}

bool IsAscii(const unsigned short* text, unsigned int length)
{
    return text != nullptr && Impl::IsAscii(text, length);
}

Impl::TextMapping GetMapping(UniChar::Case target)
{
    return target == UniChar::UpperCase ? Impl::TextMapping::UpperCase : Impl::TextMapping::LowerCase;
}

Impl::TextMapping GetMapping(UniChar::Width target)
{
    return target == UniChar::HalfWidth ? Impl::TextMapping::HalfWidth : Impl::TextMapping::FullWidth;
}

unsigned int ComputeMappedLength(const unsigned short* text, unsigned int length, Impl::TextMapping mapping)
{
    // Every ASCII character maps to one unit.
    if (length == 0 || IsTooLong(length) || IsAscii(text, length)) {
        return length;
    }
    const int mapped = Impl::MapText(mapping, text, static_cast<int>(length), nullptr, 0);
    return mapped == 0 ? length : static_cast<unsigned int>(mapped);
}

bool ConvertMapped(const unsigned short* text, unsigned int length, unsigned short* result,
                   unsigned int resultLength, Impl::TextMapping mapping)
{
    if (length == 0) {
        return true;
    }
    // A destination of length 0 would be a question for the length; no mapping is that short.
    if (resultLength == 0 || IsTooLong(length) || IsTooLong(resultLength)) {
        return false;
    }
    const int written =
        Impl::MapText(mapping, text, static_cast<int>(length), result, static_cast<int>(resultLength));
    return written != 0 && static_cast<unsigned int>(written) == resultLength;
}

} // namespace

UniChar::CompareResult UniChar::Compare(const unsigned short* text1, unsigned int length1,
                                        const unsigned short* text2, unsigned int length2,
                                        CaseComparison caseComparison)
{
    if (IsTooLong(length1) || IsTooLong(length2)) {
        return Equal;
    }
    // From a table, since nobody can foretell the branches.
    static constexpr CompareResult results[] = {Equal, Less, Equal, Greater};
    return results[Impl::CompareText(text1, static_cast<int>(length1), text2, static_cast<int>(length2),
                                     caseComparison == IgnoreCase)];
}

unsigned int UniChar::ComputeCaseConvertedLength(const unsigned short* text, unsigned int length, Case target)
{
    return ComputeMappedLength(text, length, GetMapping(target));
}

bool UniChar::ConvertCase(const unsigned short* text, unsigned int length, unsigned short* result,
                          unsigned int resultLength, Case target)
{
    if (length == resultLength && text != nullptr && result != nullptr) {
        // ASCII at the start counts for itself, whatever follows.
        const UInt16 first = target == UpperCase ? 'a' : 'A';
        const unsigned int mapped = Impl::GetSearchKernels().mapAsciiCase({text, length}, result, first);
        text += mapped;
        result += mapped;
        length -= mapped;
        resultLength -= mapped;
    }
    return ConvertMapped(text, length, result, resultLength, GetMapping(target));
}

unsigned int UniChar::ComputeWidthConvertedLength(const unsigned short* text, unsigned int length,
                                                  Width target)
{
    return ComputeMappedLength(text, length, GetMapping(target));
}

bool UniChar::ConvertWidth(const unsigned short* text, unsigned int length, unsigned short* result,
                           unsigned int resultLength, Width target)
{
    return ConvertMapped(text, length, result, resultLength, GetMapping(target));
}

// Normalization.

namespace {

/// Units in a block of the memory manager, freed unless handed out.
class UnitBlock {
public:
    explicit UnitBlock(int units) : units_(Allocate(static_cast<USize>(units))) {}
    ~UnitBlock() { MemoryManager::Free(units_); }
    UnitBlock(const UnitBlock&) = delete;
    UnitBlock& operator=(const UnitBlock&) = delete;

    unsigned short* Get() const { return units_; }
    unsigned short* HandOut()
    {
        unsigned short* const units = units_;
        units_ = nullptr;
        return units;
    }

private:
    static unsigned short* Allocate(USize units)
    {
        return static_cast<unsigned short*>(MemoryManager::Allocate(
            units * sizeof(unsigned short), MemoryManager::ReturnNullOnFailure, true));
    }

    unsigned short* units_;
};

void HandOutCopy(const unsigned short* text, int length, unsigned short** result, unsigned int* resultLength)
{
    UnitBlock copy(length);
    if (copy.Get() != nullptr) {
        if (length != 0) {
            std::memcpy(copy.Get(), text, static_cast<USize>(length) * sizeof(unsigned short));
        }
        *result = copy.HandOut();
        *resultLength = static_cast<unsigned int>(length);
    }
}

/// One attempt with a given size; true when it was the last.
bool TryNormalize(Impl::NormalizationForm form, const unsigned short* text, int length, int& size,
                  unsigned short** result, unsigned int* resultLength)
{
    UnitBlock block(size);
    if (block.Get() == nullptr) {
        return true;
    }
    auto status = Impl::NormalizationStatus::Failed;
    const int written = Impl::NormalizeText(form, text, length, block.Get(), size, status);
    if (written > 0 || status == Impl::NormalizationStatus::Done) {
        *result = block.HandOut();
        *resultLength = written > 0 ? static_cast<unsigned int>(written) : 0;
    } else if (status == Impl::NormalizationStatus::TooSmall) {
        size = -written;
        return false;
    } else if (status == Impl::NormalizationStatus::InvalidText) {
        HandOutCopy(text, length, result, resultLength);
    }
    return true;
}

} // namespace

void UniChar::ConvertToUnicodeNormalizationForm(const unsigned short* text, unsigned int length,
                                                unsigned short** result, unsigned int* resultLength,
                                                NormalizationFormType form)
{
    using Form = Impl::NormalizationForm;
    constexpr Form forms[] = {Form::D, Form::C, Form::KD, Form::KC};
    if (static_cast<unsigned int>(form) > NFKC || IsTooLong(length) || (text == nullptr && length != 0)) {
        return;
    }
    const int units = static_cast<int>(length);
    if (length == 0 || IsAscii(text, length)) {
        HandOutCopy(text, units, result, resultLength); // all forms of ASCII are alike
        return;
    }
    int size = Impl::EstimateNormalizedLength(forms[form], text, units);
    constexpr int maxAttempts = 10;
    for (int attempt = 0; attempt < maxAttempts && size >= 0; ++attempt) {
        if (TryNormalize(forms[form], text, units, size, result, resultLength)) {
            return;
        }
    }
}

void UniChar::ConvertToDecomposed(const unsigned short* text, unsigned int length, unsigned short** result,
                                  unsigned int* resultLength)
{
    ConvertToUnicodeNormalizationForm(text, length, result, resultLength, NFD);
}

void UniChar::ConvertToComposed(const unsigned short* text, unsigned int length, unsigned short** result,
                                unsigned int* resultLength)
{
    ConvertToUnicodeNormalizationForm(text, length, result, resultLength, NFC);
}

void UniChar::ConvertToCompatibilityDecomposed(const unsigned short* text, unsigned int length,
                                               unsigned short** result, unsigned int* resultLength)
{
    ConvertToUnicodeNormalizationForm(text, length, result, resultLength, NFKD);
}

void UniChar::ConvertToCompatibilityComposed(const unsigned short* text, unsigned int length,
                                             unsigned short** result, unsigned int* resultLength)
{
    ConvertToUnicodeNormalizationForm(text, length, result, resultLength, NFKC);
}

} // namespace QV
