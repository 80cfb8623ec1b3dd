#include <QVRoot/String/DecimalRealImpl.hpp>

#include <array>
#include <bit>
#include <cmath>
#include <limits>

namespace QV::Impl {

namespace {

/// 5^q as (high · 2^64 + low) · 2^shift with the high bit of `high` set; rounded down.
struct PowerOfFive {
    UInt64 high;
    UInt64 low;
};

constexpr int firstPower = -330;
constexpr int lastPower = 310;

/// A large integer in 32-bit words, lowest first.
struct Wide {
    static constexpr int wordCount = 30;

    UInt32 words[wordCount] = {};

    constexpr void MultiplyByFive()
    {
        UInt64 carry = 0;
        for (UInt32& word : words) {
            carry += UInt64{word} * 5;
            word = static_cast<UInt32>(carry);
            carry >>= 32;
        }
    }

    constexpr void DivideByFive()
    {
        UInt64 rest = 0;
        for (int i = wordCount - 1; i >= 0; --i) {
            rest = (rest << 32) | words[i];
            words[i] = static_cast<UInt32>(rest / 5);
            rest %= 5;
        }
    }

    /// The 64 bits that end `skipped` bits below the highest bit that is set; zeros fill up.
    constexpr UInt64 GetTopBits(int skipped) const
    {
        int top = wordCount - 1;
        while (words[top] == 0) {
            --top;
        }
        const int zeros = std::countl_zero(words[top]);
        const int first = top - skipped / 32;
        const UInt64 upper = (UInt64{GetWord(first)} << 32) | GetWord(first - 1);
        return zeros == 0 ? upper : (upper << zeros) | (GetWord(first - 2) >> (32 - zeros));
    }

    constexpr UInt32 GetWord(int i) const { return i < 0 ? 0 : words[i]; }
};

using PowerTable = std::array<PowerOfFive, lastPower - firstPower + 1>;

constexpr PowerTable MakePowerTable()
{
    PowerTable table{};
    Wide power;
    power.words[0] = 1;
    for (int q = 0; q <= lastPower; ++q) {
        table[static_cast<USize>(q - firstPower)] = {power.GetTopBits(0), power.GetTopBits(64)};
        power.MultiplyByFive();
    }
    // Dividing on and on rounds down just as one division by the whole power would.
    Wide inverse;
    inverse.words[Wide::wordCount - 1] = 0x80000000;
    for (int q = -1; q >= firstPower; --q) {
        inverse.DivideByFive();
        table[static_cast<USize>(q - firstPower)] = {inverse.GetTopBits(0), inverse.GetTopBits(64)};
    }
    return table;
}

constexpr PowerTable powers = MakePowerTable();

/// Powers up to this one are exact in 128 bits.
constexpr int lastExactPower = 55;

/// floor(log2(10^q)), exact for the powers of the table.
constexpr int GetBinaryExponent(int q)
{
    return (q * 217706) >> 16;
}

struct Product {
    UInt64 high;
    UInt64 low;
};

constexpr Product Multiply(UInt64 a, UInt64 b)
{
    const UInt64 aLow = a & 0xFFFFFFFF;
    const UInt64 bLow = b & 0xFFFFFFFF;
    const UInt64 low = aLow * bLow;
    const UInt64 middle1 = (a >> 32) * bLow + (low >> 32);
    const UInt64 middle2 = aLow * (b >> 32) + (middle1 & 0xFFFFFFFF);
    return {(a >> 32) * (b >> 32) + (middle1 >> 32) + (middle2 >> 32), (middle2 << 32) | (low & 0xFFFFFFFF)};
}

template <class Real>
struct Layout {
    using Bits = std::conditional_t<sizeof(Real) == 8, UInt64, UInt32>;

    static constexpr int mantissaBits = std::numeric_limits<Real>::digits;
    static constexpr int maxExponent = std::numeric_limits<Real>::max_exponent - 1;
    static constexpr int minExponent = std::numeric_limits<Real>::min_exponent - 1;
    static_assert(sizeof(Bits) == sizeof(Real) && std::numeric_limits<Real>::is_iec559);

    /// A normal number from its leading bits (the highest of `mantissaBits` set) and the exponent of the
    /// first of them.
    static Real Make(UInt64 mantissa, int exponent)
    {
        const Bits fraction = static_cast<Bits>(mantissa) & ((Bits{1} << (mantissaBits - 1)) - 1);
        return std::bit_cast<Real>(
            static_cast<Bits>((static_cast<Bits>(exponent + maxExponent) << (mantissaBits - 1)) | fraction));
    }
};

/// Powers of ten that a Real holds exactly.
constexpr double exactPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                  1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
template <class Real>
constexpr int lastExactRealPower = sizeof(Real) == 8 ? 22 : 10;

/// Whether the processor rounds as results are to be rounded, which a program may have changed.
bool RoundsToNearest()
{
    static const volatile float tiny = std::numeric_limits<float>::min();
    return 1 + tiny == 1 - tiny;
}

/// Digits and power both exact: one operation rounds the result once.
template <class Real>
bool MakeFromExactParts(UInt64 digits, Int64 exponent, Real& result)
{
    constexpr int last = lastExactRealPower<Real>;
    if (digits >> Layout<Real>::mantissaBits != 0 || exponent < -last || exponent > last ||
        !RoundsToNearest()) {
        return false;
    }
    const Real exact = static_cast<Real>(static_cast<Int64>(digits));
    result = exponent < 0 ? exact / static_cast<Real>(exactPowers[-exponent])
                          : exact * static_cast<Real>(exactPowers[exponent]);
    return true;
}

/// The first 128 bits of digits · 5^q, too small by less than 4 in the last place: of `low`, or by the quick
/// way, which leaves half of the power out, less than 3 in that of `high`.
struct LeadingBits {
    UInt64 high;
    UInt64 low;
    int exponent; ///< of the first bit
    bool isExact;
};

template <bool IsQuick>
LeadingBits MultiplyByPower(UInt64 digits, int q)
{
    const PowerOfFive& power = powers[static_cast<USize>(q - firstPower)];
    const int zeros = std::countl_zero(digits);
    digits <<= zeros;
    const Product upper = Multiply(digits, power.high);
    const Product lower = IsQuick ? Product{0, 0} : Multiply(digits, power.low);
    const UInt64 low = upper.low + lower.high;
    const UInt64 high = upper.high + (low < upper.low);
    const int exponent = GetBinaryExponent(q) + 64 - zeros;
    const bool isExact = !IsQuick && lower.low == 0 && q >= 0 && q <= lastExactPower;
    if (high >> 63 != 0) {
        return {high, low, exponent, isExact};
    }
    return {(high << 1) | (low >> 63), (low << 1) | (lower.low >> 63), exponent - 1, isExact};
}

template <class Real>
bool MakeRounded(const LeadingBits& bits, bool roundsUp, Real& result)
{
    int exponent = bits.exponent;
    UInt64 mantissa = (bits.high >> (64 - Layout<Real>::mantissaBits)) + roundsUp;
    if (mantissa >> Layout<Real>::mantissaBits != 0) {
        mantissa >>= 1;
        ++exponent;
    }
    if (exponent < Layout<Real>::minExponent || exponent > Layout<Real>::maxExponent) {
        return false;
    }
    result = Layout<Real>::Make(mantissa, exponent);
    return true;
}

/// digits · 10^q. Where what is missing behind the leading bits could change the rounding, more of them are
/// taken, or the answer is false.
template <class Real>
bool MakeFromTable(UInt64 digits, int q, Real& result)
{
    constexpr int restBits = 64 - Layout<Real>::mantissaBits;
    constexpr UInt64 half = UInt64{1} << (restBits - 1);
    constexpr UInt64 restMask = 2 * half - 1;
    const LeadingBits quick = MultiplyByPower<true>(digits, q);
    const UInt64 quickRest = quick.high & restMask;
    // Too small by less than 3.
    if (quickRest + 3 < half || quickRest > half) [[likely]] {
        return MakeRounded(quick, quickRest > half, result);
    }
    const LeadingBits bits = MultiplyByPower<false>(digits, q);
    const UInt64 rest = bits.high & restMask;
    if (!bits.isExact &&
        ((rest == half && bits.low == 0) || (rest == half - 1 && bits.low > ~UInt64{0} - 4))) {
        return false;
    }
    const bool isTie = rest == half && bits.low == 0;
    const bool isOdd = (bits.high >> restBits & 1) != 0;
    return MakeRounded(bits, isTie ? isOdd : rest >= half, result);
}

} // namespace

template <class Real>
bool MakeNearest(UInt64 digits, Int64 exponent, bool cutDigits, Real& result) noexcept
{
    if (!cutDigits && MakeFromExactParts(digits, exponent, result)) {
        return true;
    }
    if (digits == 0) {
        result = 0;
        return true;
    }
    if (exponent < firstPower || exponent > lastPower) {
        return false;
    }
    const int q = static_cast<int>(exponent);
    if (!cutDigits) {
        return MakeFromTable(digits, q, result);
    }
    Real above;
    return MakeFromTable(digits, q, result) && MakeFromTable(digits + 1, q, above) && result == above;
}

template <class Real>
Real MakeNearestBinary(UInt64 digits, Int64 exponent) noexcept
{
    if (digits == 0) {
        return 0;
    }
    const int zeros = std::countl_zero(digits);
    digits <<= zeros;
    exponent += 63 - zeros;
    if (exponent > Layout<Real>::maxExponent) {
        return std::numeric_limits<Real>::infinity();
    }
    // Below the smallest normal number bits go missing one by one.
    Int64 cut = 64 - Layout<Real>::mantissaBits;
    if (exponent < Layout<Real>::minExponent) {
        cut += Layout<Real>::minExponent - exponent;
    }
    if (cut > 64) {
        return 0;
    }
    const UInt64 half = UInt64{1} << (cut - 1);
    const UInt64 rest = digits & (half * 2 - 1);
    UInt64 mantissa = cut == 64 ? 0 : digits >> cut;
    mantissa += rest > half || (rest == half && (mantissa & 1) != 0);
    return std::ldexp(static_cast<Real>(mantissa), static_cast<int>(exponent - 63 + cut));
}

template bool MakeNearest(UInt64, Int64, bool, float&) noexcept;
template bool MakeNearest(UInt64, Int64, bool, double&) noexcept;
template float MakeNearestBinary(UInt64, Int64) noexcept;
template double MakeNearestBinary(UInt64, Int64) noexcept;

} // namespace QV::Impl
