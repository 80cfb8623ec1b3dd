/// The order of ASCII characters in a locale, taken from its collator once: most comparisons meet nothing
/// else and need not ask the collator then.
#pragma once

#include <QVRoot/String/PlatformTextImpl.hpp>

#include <unicode/ucol.h>

namespace QV::Impl {

class AsciiOrder {
public:
    /// Reads the order from a collator of tertiary strength, which may compare digits as numbers. Where the
    /// locale gives sequences of ASCII characters an order of their own ("ch" in Czech), the result answers
    /// nothing.
    void Learn(const UCollator* collator) noexcept;

    static constexpr TextOrder undecided = static_cast<TextOrder>(-1);

    /// What the collator would answer, or `undecided` when the texts hold more than it takes ASCII to decide.
    TextOrder Compare(const UInt16* text1, int length1, const UInt16* text2, int length2,
                      bool ignoreCase) const noexcept;

private:
    TextOrder CompareStart(const UInt16* text1, int length1, const UInt16* text2, int length2) const noexcept;
    TextOrder CompareNaturally(const UInt16* text1, int length1, const UInt16* text2, int length2,
                               bool ignoreCase) const noexcept;
    bool IsDecided(const UInt16* text, int length, int position) const noexcept;

    static constexpr UInt32 count = 0x80;

    bool usable_ = false;
    bool numeric_ = false;
    bool foldable_ = false;     ///< capitals and small letters differ in case only
    UInt8 letters_[count] = {}; ///< rank without regard to case; 0 for what the collator ignores
    UInt8 ranks_[count] = {};
};

} // namespace QV::Impl
