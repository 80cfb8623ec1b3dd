/// Floating-point numbers as text, exact to the last digit, in the C locale.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

/// A magnitude as text. More decimals than a double can have come out as a number of zeros, to be inserted at
/// `zerosAt`.
struct RealText {
    /// Beyond, every further decimal is 0.
    static constexpr int MaxPrecision = 1080;
    static constexpr UInt32 Capacity = 310 + MaxPrecision + 16;

    UInt32 length = 0;
    UInt32 zerosAt = 0;
    UInt32 zeros = 0;
    char text[Capacity];
};

/// Formats the magnitude as the conversion 'f', 'e', 'g' or 'a' does. A negative precision is the default
/// one. `alternative` keeps the point and, under 'g', trailing zeros. The text has no sign and, under 'a', no
/// "0x"; letters are in lower case.
void MakeRealText(double magnitude, char conversion, int precision, bool alternative,
                  RealText& result) noexcept;

/// Writes a finite magnitude with `precision` (0 to 9) decimals and answers the end of the text, or null
/// where the number is too large for this way. Needs room for 32 characters.
char* WriteShortFixed(double magnitude, int precision, char* to) noexcept;

} // namespace QV::Impl
