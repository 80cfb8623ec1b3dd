/// From a locale's own texts to the symbols of numbers.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

/// What the operating system says of the user's locale, zero-terminated. A text may be empty.
struct LocaleNumberTexts {
    UInt16 decimal[8] = {};
    UInt16 thousands[8] = {};
    UInt16 list[8] = {};
    UInt16 grouping[17] =
        {}; ///< sizes from the decimal symbol on: "3;0", where a last 0 stands for repetition
};

/// The seam: the only part that asks the operating system.
LocaleNumberTexts GetLocaleNumberTexts() noexcept;

struct NumberSymbols {
    UInt16 decimal;
    UInt16 grouping;
    UInt16 list;
};

/// First characters, with substitutes for those that are missing, digits or in conflict.
NumberSymbols ResolveNumberSymbols(const LocaleNumberTexts& texts) noexcept;

struct GroupingPattern {
    UInt8 sizes[9] = {}; ///< as many as 16 characters can name
    UInt32 count = 0;
    bool repeatsLast = false;
};

GroupingPattern ParseGrouping(const UInt16* text) noexcept;

/// The grouping of the C library (sizes as bytes; a zero ends the list and repeats the last size, the largest
/// char ends it without) as the text above, cut to 16 characters.
void MakeGroupingText(const char* grouping, UInt16 (&text)[17]) noexcept;

} // namespace QV::Impl
