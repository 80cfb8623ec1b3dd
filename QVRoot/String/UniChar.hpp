/// One UTF-16 code unit, and the text services that work on runs of units.
///
///     UniChar c('x');
///     if (c.IsASCIIHexaDigit()) …
///
/// Lengths are UTF-16 units. A surrogate pair is two `UniChar`s; nothing here combines them.
///
/// Threads: a value type; the static services may be called from any thread. Errors: nothing throws.
/// Allocation: only the normalization forms, as their comments say.
#pragma once

#include <QVRoot/String/CharCode.hpp>

#include <compare>

namespace QV {

class QV_EXPORT UniChar {
public:
    enum CompareResult { Less = 0, Equal = 1, Greater = 2 };
    enum CaseComparison : int { CaseSensitive = 0, IgnoreCase = 1 };
    enum Case { LowerCase = 0, UpperCase = 1 };
    enum Width { HalfWidth = 0, FullWidth = 1 };
    enum NormalizationFormType { NFD = 0, NFC = 1, NFKD = 2, NFKC = 3 };

    constexpr UniChar() noexcept = default;
    constexpr UniChar(unsigned short unit) noexcept : unit_(unit) {}
    constexpr UniChar(char16_t unit) noexcept : unit_(unit) {}
    /// A byte of 0x80 or above is taken as a one-byte text in the default code page; where that does not
    /// convert the unit is 0.
    UniChar(char c) : unit_(IsUnicodeCompatible(c) ? static_cast<unsigned short>(c) : CharToUnicode(c)) {}
    UniChar(unsigned char c) : UniChar(static_cast<char>(c)) {}

    constexpr operator unsigned short() const noexcept { return unit_; }
    /// A unit of 0x80 or above is converted to the default code page, by a similar character or '?' if need
    /// be; 0 where that is not one byte, as under UTF-8.
    operator char() const { return UnicodeToChar(unit_); }
    operator unsigned char() const { return static_cast<unsigned char>(UnicodeToChar(unit_)); }

    friend constexpr bool operator==(UniChar a, UniChar b) noexcept { return a.unit_ == b.unit_; }
    friend constexpr auto operator<=>(UniChar a, UniChar b) noexcept { return a.unit_ <=> b.unit_; }

    static constexpr bool IsANSICompatible(unsigned short unit) noexcept { return unit < 0x80; }
    static constexpr bool IsUnicodeCompatible(char c) noexcept
    {
        return static_cast<unsigned char>(c) < 0x80;
    }

    constexpr bool IsASCII() const noexcept { return unit_ < 0x80; }
    constexpr bool IsASCIIDigit() const noexcept { return IsBetween('0', '9'); }
    constexpr bool IsASCIIHexaDigit() const noexcept
    {
        return IsASCIIDigit() || IsBetween('A', 'F') || IsBetween('a', 'f');
    }
    constexpr bool IsASCIILower() const noexcept { return IsBetween('a', 'z'); }
    constexpr bool IsASCIIUpper() const noexcept { return IsBetween('A', 'Z'); }

    /// The unit less 0x30, whatever it is: test first.
    constexpr int GetASCIIDigitValue() const noexcept { return unit_ - 0x30; }
    /// '0' to '9' less 0x30, 'A' to 'Z' less 55, everything else less 87: test first.
    constexpr int GetASCIIHexaDigitValue() const noexcept
    {
        return IsASCIIDigit() ? unit_ - 0x30 : IsASCIIUpper() ? unit_ - 55 : unit_ - 87;
    }

    /// The standard library's wide-character classification of the unit, in the process's current locale.
    bool IsAlpha() const;
    bool IsAlphaNumeric() const;
    bool IsControl() const;
    bool IsDigit() const;
    bool IsLower() const;
    bool IsPunctuation() const;
    bool IsUpper() const;
    bool IsWhiteSpace() const;

    /// Compares in the user's locale; on Linux that is the environment's `LC_COLLATE`, and "C" stands for the
    /// order that most languages share. A comparison that fails answers `Equal`.
    static CompareResult Compare(const unsigned short* text1, unsigned int length1,
                                 const unsigned short* text2, unsigned int length2,
                                 CaseComparison caseComparison);

    /// The length after case mapping; the text's own length when the mapping fails. Characters map one to
    /// one, without regard to language or neighbours: "\u00DF" has no upper case.
    static unsigned int ComputeCaseConvertedLength(const unsigned short* text, unsigned int length,
                                                   Case target);
    /// Maps the case; true when the mapping gave exactly `resultLength` units.
    static bool ConvertCase(const unsigned short* text, unsigned int length, unsigned short* result,
                            unsigned int resultLength, Case target);

    /// The same for half-width and full-width forms. Katakana with sound marks change their length.
    static unsigned int ComputeWidthConvertedLength(const unsigned short* text, unsigned int length,
                                                    Width target);
    static bool ConvertWidth(const unsigned short* text, unsigned int length, unsigned short* result,
                             unsigned int resultLength, Width target);

    /// Normalize into a new block, which the caller releases with `MemoryManager::Free`. Text with
    /// unpaired surrogates or noncharacters comes back unchanged. On any failure, memory-full included, the
    /// two results stay as they were.
    static void ConvertToDecomposed(const unsigned short* text, unsigned int length, unsigned short** result,
                                    unsigned int* resultLength);
    static void ConvertToComposed(const unsigned short* text, unsigned int length, unsigned short** result,
                                  unsigned int* resultLength);
    static void ConvertToCompatibilityDecomposed(const unsigned short* text, unsigned int length,
                                                 unsigned short** result, unsigned int* resultLength);
    static void ConvertToCompatibilityComposed(const unsigned short* text, unsigned int length,
                                               unsigned short** result, unsigned int* resultLength);

    /// The conversions of 8-bit text as the string classes use them: text that is ASCII throughout is copied
    /// or counted without a conversion, except for `SymbolCharCode`. They return units or bytes, 0 on
    /// failure.
    static unsigned int ANSIToUnicode(const char* source, unsigned int sourceLength,
                                      unsigned short* destination, unsigned int destinationLength,
                                      QVCharCode code);
    static unsigned int UnicodeToANSI(const unsigned short* source, unsigned int sourceLength,
                                      char* destination, unsigned int destinationLength, QVCharCode code,
                                      OnConversionError rule);
    static unsigned int GetUnicodeLength(const char* source, unsigned int sourceLength, QVCharCode code);
    static unsigned int GetANSILength(const unsigned short* source, unsigned int sourceLength,
                                      QVCharCode code, OnConversionError rule);

private:
    constexpr bool IsBetween(unsigned short first, unsigned short last) const noexcept
    {
        return unit_ >= first && unit_ <= last;
    }

    static unsigned short CharToUnicode(char c);
    static char UnicodeToChar(unsigned short unit);
    static void ConvertToUnicodeNormalizationForm(const unsigned short* text, unsigned int length,
                                                  unsigned short** result, unsigned int* resultLength,
                                                  NormalizationFormType form);

    unsigned short unit_ = 0;
};

static_assert(sizeof(UniChar) == 2);

} // namespace QV
