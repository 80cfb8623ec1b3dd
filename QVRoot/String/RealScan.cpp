#include <QVRoot/String/DecimalRealImpl.hpp>
#include <QVRoot/String/NumberScanImpl.hpp>

#include <charconv>
#include <cmath>

namespace QV::Impl {

namespace {

/// Explicit exponents are cut here: far beyond every type, and far enough from the ends of an Int64 for the
/// longest texts.
constexpr Int64 maxExponent = 1'000'000'000'000'000;

/// The exponent behind the letter that introduces it; moves `at` behind it. Without digits there is none.
template <class Unit, class End>
Int64 ScanExponent(const Unit*& at, End end) noexcept
{
    const Unit* p = at + 1;
    const bool isNegative = SkipSign(p, end);
    if (PeekUnit(p, end) - UInt32{'0'} > 9) {
        return 0;
    }
    Int64 exponent = 0;
    for (UInt32 digit; (digit = PeekUnit(p, end) - UInt32{'0'}) <= 9; ++p) {
        exponent = std::min(exponent * 10 + digit, maxExponent);
    }
    at = p;
    return isNegative ? -exponent : exponent;
}

/// Decimal digits beyond these cannot change the value, except that they are there.
constexpr UInt32 maxDigits = 800;

/// The digits of a decimal number as text that the standard library rounds correctly, whatever their number.
template <class Real, class Unit>
Real MakeFromText(const Unit* digits, const Unit* end, Int64 exponent) noexcept
{
    char text[maxDigits + 32];
    char* to = text;
    Int64 pointsBefore = 0; // digits behind the point so far, less those that were left out in front of it
    bool behindPoint = false;
    for (const Unit* p = digits; p != end; ++p) {
        const UInt32 digit = *p - UInt32{'0'};
        if (digit > 9) {
            behindPoint = true;
            continue;
        }
        pointsBefore += behindPoint;
        if (to != text + maxDigits) {
            *to = static_cast<char>(*p);
            to += to != text || digit != 0;
        } else {
            --pointsBefore;
            to[-1] |= digit != 0; // an odd last digit stands for all that follow
        }
    }
    exponent -= pointsBefore;
    const Int64 magnitude = exponent + (to - text);
    *to++ = 'e';
    to = std::to_chars(to, text + sizeof(text), exponent).ptr;
    Real value = 0;
    if (std::from_chars(text, to, value).ec == std::errc::result_out_of_range) {
        value = magnitude > 0 ? std::numeric_limits<Real>::infinity() : Real(0);
    }
    return value;
}

/// The leading digits of a text that has too many.
struct LeadingDigits {
    UInt64 digits = 0;
    Int64 cutCount = 0;
    bool isCut = false; ///< not only zeros are missing

    template <class Unit>
    LeadingDigits(const Unit* at, const Unit* end) noexcept
    {
        Int64 left = RoomyDigits;
        for (; at != end; ++at) {
            const UInt32 digit = *at - UInt32{'0'};
            if (digit > 9) {
                continue; // the point
            }
            if (left != 0) {
                digits = digits * 10 + digit;
                left -= digits != 0;
            } else {
                isCut = isCut || digit != 0;
                ++cutCount;
            }
        }
    }
};

template <class Real, class Unit, class End>
bool ScanDecimalReal(const Unit*& at, End end, Real& result) noexcept
{
    UInt64 digits = 0;
    Int64 exponent = 0;
    const Unit* p = TakeDigits(at, end, digits);
    Int64 count = p - at;
    if (PeekUnit(p, end) == '.') {
        const Unit* const decimals = p + 1;
        p = TakeManyDigits(decimals, end, digits);
        exponent = decimals - p;
        count += p - decimals;
    }
    if (count == 0) {
        return false;
    }
    const Unit* const digitsEnd = p;
    Int64 explicitExponent = 0;
    if ((PeekUnit(p, end) | 0x20) == 'e') {
        const Unit* exponentEnd = p;
        explicitExponent = ScanExponent(exponentEnd, end);
        p = exponentEnd;
        exponent += explicitExponent;
    }
    bool isCut = false;
    if (count > RoomyDigits) [[unlikely]] {
        const LeadingDigits leading(at, digitsEnd);
        digits = leading.digits;
        exponent += leading.cutCount;
        isCut = leading.isCut;
    }
    if (!MakeNearest(digits, exponent, isCut, result)) [[unlikely]] {
        result = MakeFromText<Real>(at, digitsEnd, explicitExponent);
    }
    at = p;
    return true;
}

/// The number behind "0x".
template <class Real, class Unit, class End>
bool ScanHexReal(const Unit*& at, End end, Real& result) noexcept
{
    const Unit* p = at;
    UInt64 digits = 0;
    Int64 exponent = 0;
    bool hasDigits = false;
    bool behindPoint = false;
    for (;; ++p) {
        const UInt32 c = PeekUnit(p, end);
        const UInt32 digit = GetDigitValue(c);
        if (digit < 16) {
            hasDigits = true;
            if (digits >> 59 == 0) {
                digits = digits << 4 | digit;
                exponent -= behindPoint ? 4 : 0;
            } else {
                digits |= digit != 0;
                exponent += behindPoint ? 0 : 4;
            }
        } else if (c == '.' && !behindPoint) {
            behindPoint = true;
        } else {
            break;
        }
    }
    if (!hasDigits) {
        return false;
    }
    if ((PeekUnit(p, end) | 0x20) == 'p') {
        exponent += ScanExponent(p, end);
    }
    result = MakeNearestBinary<Real>(digits, exponent);
    at = p;
    return true;
}

/// "inf" and "nan" in their forms.
template <class Real, class Unit, class End>
bool ScanNamedReal(const Unit*& at, End end, Real& result) noexcept
{
    if (HasWord(at, end, "inf")) {
        at += HasWord(at + 3, end, "inity") ? 8 : 3;
        result = std::numeric_limits<Real>::infinity();
        return true;
    }
    if (!HasWord(at, end, "nan")) {
        return false;
    }
    at += 3;
    result = std::numeric_limits<Real>::quiet_NaN();
    if (PeekUnit(at, end) == '(') {
        const Unit* p = at + 1;
        while (GetDigitValue(PeekUnit(p, end)) < 36 || PeekUnit(p, end) == '_') {
            ++p;
        }
        if (PeekUnit(p, end) == ')') {
            at = p + 1;
        }
    }
    return true;
}

} // namespace

template <class Real, class Unit, class End>
bool ScanReal(const Unit*& at, End end, Real& result) noexcept
{
    const Unit* p = at;
    const bool isNegative = SkipSign(p, end);
    bool found = false;
    if (PeekUnit(p, end) == '0' && (PeekUnit(p + 1, end) | 0x20) == 'x') {
        const Unit* digits = p + 2;
        found = ScanHexReal(digits, end, result);
        p = found ? digits : p;
    }
    found = found || ScanDecimalReal(p, end, result) || ScanNamedReal(p, end, result);
    if (found) {
        result = isNegative ? -result : result;
        at = p;
    }
    return found;
}

template bool ScanReal(const char*&, const char*, float&) noexcept;
template bool ScanReal(const char*&, const char*, double&) noexcept;
template bool ScanReal(const char*&, ZeroTerminated, float&) noexcept;
template bool ScanReal(const char*&, ZeroTerminated, double&) noexcept;
template bool ScanReal(const UInt16*&, const UInt16*, float&) noexcept;
template bool ScanReal(const UInt16*&, const UInt16*, double&) noexcept;
template bool ScanReal(const UInt16*&, ZeroTerminated, float&) noexcept;
template bool ScanReal(const UInt16*&, ZeroTerminated, double&) noexcept;

} // namespace QV::Impl
