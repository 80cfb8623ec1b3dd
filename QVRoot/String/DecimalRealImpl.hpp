/// From decimal or binary digits to the nearest floating-point value.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

/// The decimal number digits · 10^exponent. With `cutDigits` the true number lies between this one and that
/// with one digit more in the last place.
struct DecimalNumber {
    UInt64 digits = 0;
    Int64 exponent = 0;
    bool cutDigits = false;
};

/// The nearest value, or false where 128 bits of the power of ten do not decide it or it is not a normal
/// number.
template <class Real>
bool MakeNearest(const DecimalNumber& number, Real& result) noexcept;

/// The value of digits · 2^exponent, rounded to nearest, ties to even. The lowest bit of `digits` stands for
/// everything that was cut.
template <class Real>
Real MakeNearestBinary(UInt64 digits, Int64 exponent) noexcept;

} // namespace QV::Impl
