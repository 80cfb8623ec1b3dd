/// Integers as decimal text.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <bit>
#include <cstring>
#include <type_traits>

namespace QV::Impl {

/// The most digits of a 64-bit number.
constexpr UInt32 MaxDecimalDigits = 20;

struct DigitPairs {
    char text[200];
};

inline constexpr DigitPairs TwoDigits = [] {
    DigitPairs pairs{};
    for (int i = 0; i < 100; ++i) {
        pairs.text[2 * i] = static_cast<char>('0' + i / 10);
        pairs.text[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}();

inline constexpr UInt64 PowersOfTen[] = {1ull,
                                         10ull,
                                         100ull,
                                         1000ull,
                                         10000ull,
                                         100000ull,
                                         1000000ull,
                                         10000000ull,
                                         100000000ull,
                                         1000000000ull,
                                         10000000000ull,
                                         100000000000ull,
                                         1000000000000ull,
                                         10000000000000ull,
                                         100000000000000ull,
                                         1000000000000000ull,
                                         10000000000000000ull,
                                         100000000000000000ull,
                                         1000000000000000000ull,
                                         10000000000000000000ull};

constexpr UInt32 CountDecimalDigits(UInt64 value) noexcept
{
    // 1233 / 4096 is a little more than log10(2): right or one too large.
    const UInt32 guess = static_cast<UInt32>(std::bit_width(value | 1)) * 1233 >> 12;
    return guess + (value >= PowersOfTen[guess] || guess == 0);
}

/// Writes exactly `count` digits; the number must have no more.
template <class Number>
void WriteDecimal(Number value, char* to, UInt32 count) noexcept
{
    static_assert(std::is_unsigned_v<Number>);
    while (count >= 2) {
        count -= 2;
        std::memcpy(to + count, TwoDigits.text + value % 100 * 2, 2);
        value /= 100;
    }
    if (count != 0) {
        *to = static_cast<char>('0' + value % 10);
    }
}

/// The magnitude of a number of any integer type.
template <class Integer>
constexpr std::make_unsigned_t<Integer> GetMagnitude(Integer value) noexcept
{
    using Unsigned = std::make_unsigned_t<Integer>;
    return value < 0 ? static_cast<Unsigned>(Unsigned{0} - static_cast<Unsigned>(value))
                     : static_cast<Unsigned>(value);
}

} // namespace QV::Impl
