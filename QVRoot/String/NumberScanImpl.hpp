/// Numbers out of text, in the C locale: what `strtol` and `strtod` accept, for 8-bit and UTF-16 units alike.
///
/// A text is the range from `at` to `end`, a pointer or `ZeroTerminated`. The functions take the longest text
/// that is a number, move `at` behind it and answer true; without a number they leave `at` alone. White space
/// before the number is the caller's to skip.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <algorithm>
#include <limits>
#include <type_traits>

namespace QV::Impl {

/// White space of the C locale.
template <class Unit>
constexpr bool IsSpace(Unit c) noexcept
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The end of a text that ends at its zero. The functions never pass a zero, so it needs no test.
struct ZeroTerminated {};

/// The next unit; 0, which is part of no number, at the end.
template <class Unit, class End>
std::make_unsigned_t<Unit> PeekUnit(const Unit* at, End end) noexcept
{
    if constexpr (!std::is_same_v<End, ZeroTerminated>) {
        if (at == end) {
            return 0;
        }
    }
    return static_cast<std::make_unsigned_t<Unit>>(*at);
}

template <class Unit, class End>
const Unit* SkipSpace(const Unit* at, End end) noexcept
{
    while (IsSpace(PeekUnit(at, end))) {
        ++at;
    }
    return at;
}

/// 0 to 35 for a digit or letter, more for everything else.
constexpr UInt32 GetDigitValue(UInt32 c) noexcept
{
    if (c - '0' <= 9) {
        return c - '0';
    }
    const UInt32 letter = (c | 0x20) - 'a';
    return letter < 26 ? letter + 10 : 255;
}

/// Whether the text at `at` is `word`, which is in lower-case letters; the text may mix the cases.
template <class Unit, class End>
bool HasWord(const Unit* at, End end, const char* word) noexcept
{
    for (; *word != 0; ++at, ++word) {
        if ((PeekUnit(at, end) | 0x20) != static_cast<unsigned char>(*word)) {
            return false;
        }
    }
    return true;
}

/// Whether "0x" and a hexadecimal digit come next.
template <class Unit, class End>
bool HasHexPrefix(const Unit* at, End end) noexcept
{
    return PeekUnit(at, end) == '0' && (PeekUnit(at + 1, end) | 0x20) == 'x' &&
           GetDigitValue(PeekUnit(at + 2, end)) < 16;
}

template <class Unit, class End>
bool SkipSign(const Unit*& at, End end) noexcept
{
    const auto c = PeekUnit(at, end);
    at += c == '-' || c == '+';
    return c == '-';
}

struct ScannedInteger {
    UInt64 magnitude = 0;
    bool isNegative = false;
    bool overflows = false; ///< the magnitude does not fit 64 bits
};

/// The value as T, at the nearest limit where it does not fit. As in C, a negative number is taken modulo
/// the range of an unsigned type, unless its magnitude is too large.
template <class T>
T Saturate(const ScannedInteger& scanned) noexcept
{
    UInt64 limit = static_cast<UInt64>(std::numeric_limits<T>::max());
    if (std::is_signed_v<T>) {
        limit += scanned.isNegative;
    } else if (scanned.overflows || scanned.magnitude > limit) {
        return std::numeric_limits<T>::max();
    }
    const UInt64 magnitude = scanned.overflows ? limit : std::min(scanned.magnitude, limit);
    return static_cast<T>(scanned.isNegative ? 0 - magnitude : magnitude);
}

/// Digits of a base; false when there is none.
template <class Unit, class End>
bool ScanDigits(const Unit*& at, End end, UInt32 base, ScannedInteger& result) noexcept
{
    const Unit* p = at;
    UInt64 value = 0;
    for (;; ++p) {
        const UInt32 digit = GetDigitValue(PeekUnit(p, end));
        if (digit >= base) {
            break;
        }
        if (value > (~UInt64{0} - digit) / base) [[unlikely]] {
            result.overflows = true;
        }
        value = value * base + digit;
    }
    result.magnitude = value;
    const bool found = p != at;
    at = p;
    return found;
}

/// Decimal digits, added to a number that may wrap; answers their end.
template <class Unit, class End>
const Unit* TakeDigits(const Unit* at, End end, UInt64& digits) noexcept
{
    for (UInt32 digit; (digit = PeekUnit(at, end) - UInt32{'0'}) <= 9; ++at) {
        digits = digits * 10 + digit;
    }
    return at;
}

/// The same for many digits: by fours, so that not every digit waits for the one before.
template <class Unit, class End>
const Unit* TakeManyDigits(const Unit* at, End end, UInt64& digits) noexcept
{
    const auto peek = [&](int ahead) { return PeekUnit(at + ahead, end) - UInt32{'0'}; };
    for (;;) {
        const UInt32 first = peek(0);
        if (first > 9) {
            return at;
        }
        const UInt32 second = peek(1);
        if (second > 9) {
            digits = digits * 10 + first;
            return at + 1;
        }
        const UInt32 third = peek(2);
        if (third > 9) {
            digits = digits * 100 + (first * 10 + second);
            return at + 2;
        }
        const UInt32 fourth = peek(3);
        if (fourth > 9) {
            digits = digits * 1000 + (first * 100 + second * 10 + third);
            return at + 3;
        }
        digits = digits * 10000 + (first * 1000 + second * 100 + third * 10 + fourth);
        at += 4;
    }
}

/// So many decimal digits fit 64 bits, whatever they are.
constexpr Int64 RoomyDigits = 19;

template <class Unit, class End>
bool ScanDecimalDigits(const Unit*& at, End end, ScannedInteger& result) noexcept
{
    const Unit* const digitsEnd = TakeDigits(at, end, result.magnitude);
    const Int64 count = digitsEnd - at;
    if (count > RoomyDigits) [[unlikely]] {
        return ScanDigits(at, end, 10, result);
    }
    at = digitsEnd;
    return count != 0;
}

/// An integer with an optional sign. Base 16 allows "0x" in front; base 0 tells bases 8, 10 and 16 apart by
/// the prefix, as C does.
template <class Unit, class End>
bool ScanInteger(const Unit*& at, End end, UInt32 base, ScannedInteger& result) noexcept
{
    const Unit* p = at;
    result.isNegative = SkipSign(p, end);
    if (base == 0 || base == 16) {
        if (HasHexPrefix(p, end)) {
            p += 2;
            base = 16;
        } else if (base == 0) {
            base = PeekUnit(p, end) == '0' ? 8 : 10;
        }
    }
    const bool found = base == 10 ? ScanDecimalDigits(p, end, result) : ScanDigits(p, end, base, result);
    if (found) {
        at = p;
    }
    return found;
}

/// A floating-point number: decimal or hexadecimal with an optional exponent, "inf", "infinity", "nan" or
/// "nan(characters)". Rounded to the nearest value, ties to even; what is too large gives infinity, what is
/// too small zero, either with its sign. For float and double, and units of 8 and 16 bits.
template <class Real, class Unit, class End>
bool ScanReal(const Unit*& at, End end, Real& result) noexcept;

} // namespace QV::Impl
