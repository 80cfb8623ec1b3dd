/// From decimal or binary digits to the nearest floating-point value.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

/// The value nearest to digits · 10^exponent, or false where 128 bits of the power of ten do not decide it or
/// it is not a normal number. With `cutDigits` the true number lies between this one and that with one more
/// in its last digit.
template <class Real>
bool MakeNearest(UInt64 digits, Int64 exponent, bool cutDigits, Real& result) noexcept;

/// The value of digits · 2^exponent, rounded to nearest, ties to even. The lowest bit of `digits` stands for
/// everything that was cut.
template <class Real>
Real MakeNearestBinary(UInt64 digits, Int64 exponent) noexcept;

} // namespace QV::Impl
