#include <QVRoot/String/DecimalTextImpl.hpp>
#include <QVRoot/String/RealTextImpl.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace QV::Impl {

namespace {

char* WriteChars(RealText& result, double value, std::chars_format format, int precision)
{
    char* const last = result.text + RealText::Capacity;
    return precision < 0 ? std::to_chars(result.text, last, value, format).ptr
                         : std::to_chars(result.text, last, value, format, precision).ptr;
}

/// Where the exponent begins; the end of a text that has none.
char* FindExponent(char* first, char* end, char letter)
{
    return std::find(first, end, letter);
}

/// A point behind the digits of a text that has none.
char* RequirePoint(char* first, char* end, char exponentLetter)
{
    char* const exponent = FindExponent(first, end, exponentLetter);
    if (std::find(first, exponent, '.') != exponent) {
        return end;
    }
    std::copy_backward(exponent, end, end + 1);
    *exponent = '.';
    return end + 1;
}

/// "%g" that keeps its trailing zeros: the exponent under "%e" decides between the two styles.
char* WriteAllOfGeneral(RealText& result, double value, int precision)
{
    char* end = WriteChars(result, value, std::chars_format::scientific, precision - 1);
    const char* const letter = FindExponent(result.text, end, 'e');
    int exponent = 0;
    std::from_chars(letter + 2, end, exponent);
    exponent = letter[1] == '-' ? -exponent : exponent;
    if (exponent >= -4 && exponent < precision) {
        end = WriteChars(result, value, std::chars_format::fixed, precision - 1 - exponent);
    }
    return end;
}

} // namespace

void MakeRealText(double magnitude, char conversion, int precision, bool alternative,
                  RealText& result) noexcept
{
    if (!std::isfinite(magnitude)) {
        std::memcpy(result.text, std::isnan(magnitude) ? "nan" : "inf", 3);
        result.length = 3;
        result.zerosAt = 3;
        result.zeros = 0;
        return;
    }
    if (precision < 0 && conversion != 'a') {
        precision = 6;
    }
    const int usedPrecision = std::min(precision, RealText::MaxPrecision);
    char* end = nullptr;
    switch (conversion) {
    case 'e':
        end = WriteChars(result, magnitude, std::chars_format::scientific, usedPrecision);
        break;
    case 'g':
        end = alternative ? WriteAllOfGeneral(result, magnitude, std::max(usedPrecision, 1))
                          : WriteChars(result, magnitude, std::chars_format::general, usedPrecision);
        break;
    case 'a':
        end = WriteChars(result, magnitude, std::chars_format::hex, usedPrecision);
        break;
    default:
        if (usedPrecision <= 9) {
            end = WriteShortFixed(magnitude, usedPrecision, result.text);
        }
        if (end == nullptr) {
            end = WriteChars(result, magnitude, std::chars_format::fixed, usedPrecision);
        }
        break;
    }
    const char exponentLetter = conversion == 'a' ? 'p' : 'e';
    if (alternative) {
        end = RequirePoint(result.text, end, exponentLetter);
    }
    result.length = static_cast<UInt32>(end - result.text);
    result.zerosAt = static_cast<UInt32>(FindExponent(result.text, end, exponentLetter) - result.text);
    const bool keepsZeros = conversion != 'g' || alternative;
    result.zeros = keepsZeros ? static_cast<UInt32>(precision - usedPrecision) : 0;
}

char* WriteShortFixed(double magnitude, int precision, char* to) noexcept
{
    constexpr int mantissaBits = 53;
    const auto bits = std::bit_cast<UInt64>(magnitude);
    const int biased = static_cast<int>(bits >> (mantissaBits - 1));
    const UInt64 mantissa = (bits & ((UInt64{1} << (mantissaBits - 1)) - 1)) | UInt64{biased != 0}
                                                                                   << (mantissaBits - 1);
    // magnitude = mantissa / 2^shift
    const int shift = 1075 - biased;
    if (shift < -10) {
        return nullptr;
    }
    UInt64 whole = 0;
    UInt64 decimals = 0;
    if (shift <= 0) {
        whole = mantissa << -shift;
    } else if (shift <= 84) {
        whole = shift < 64 ? mantissa >> shift : 0;
        const UInt64 fraction = shift < 64 ? mantissa & ((UInt64{1} << shift) - 1) : mantissa;
        // fraction · 10^precision, below 2^83, in two words of 32 and 64 bits
        const UInt64 power = PowersOfTen[precision];
        const UInt64 low = (fraction & 0xFFFFFFFF) * power;
        const UInt64 high = (fraction >> 32) * power + (low >> 32);
        const UInt32 lowest = static_cast<UInt32>(low);
        // rest / 2^shift is what the digits leave over; half of that is the limit for rounding.
        bool roundsUp = false;
        if (shift <= 32) {
            const UInt64 all = high << 32 | lowest;
            const UInt64 half = UInt64{1} << (shift - 1);
            const UInt64 rest = all & (2 * half - 1);
            decimals = all >> shift;
            roundsUp = rest > half || (rest == half && ((precision == 0 ? whole : decimals) & 1) != 0);
        } else {
            const int upperShift = shift - 32;
            const UInt64 half = UInt64{1} << (upperShift - 1);
            const UInt64 rest = high & (2 * half - 1);
            decimals = high >> upperShift;
            const bool isTie = rest == half && lowest == 0;
            roundsUp = isTie ? ((precision == 0 ? whole : decimals) & 1) != 0 : rest >= half;
        }
        decimals += roundsUp;
        if (decimals == power) {
            decimals = 0;
            ++whole;
        }
    }
    const UInt32 wholeDigits = CountDecimalDigits(whole);
    WriteDecimal(whole, to, wholeDigits);
    to += wholeDigits;
    if (precision != 0) {
        *to++ = '.';
        WriteDecimal(static_cast<UInt32>(decimals), to, static_cast<UInt32>(precision));
        to += precision;
    }
    return to;
}

} // namespace QV::Impl
