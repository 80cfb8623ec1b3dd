#include <QVRoot/String/DecimalTextImpl.hpp>
#include <QVRoot/String/NumberScanImpl.hpp>
#include <QVRoot/String/NumberText.hpp>
#include <QVRoot/String/RealTextImpl.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace QV {

namespace {

using Impl::ScannedInteger;
using Impl::ZeroTerminated;

template <class Unit>
bool IsTrimmable(Unit c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// Whether the text, which is not empty, begins or ends with white space. `at` is a position in it.
template <class Unit>
bool HasSpaceAtEnds(const Unit* text, const Unit* at)
{
    if (IsTrimmable(*text)) {
        return true;
    }
    while (*at != 0) {
        ++at;
    }
    return at != text && IsTrimmable(at[-1]);
}

/// What is shorter than an int is read as one.
template <class Number>
using Widened = std::conditional_t<(sizeof(Number) >= sizeof(int)), Number,
                                   std::conditional_t<std::is_signed_v<Number>, int, unsigned int>>;

/// A number with more digits than fit 64 bits for sure.
template <class Number, class Unit>
Number ReadLongInteger(const Unit* digits, bool isNegative)
{
    ScannedInteger scanned;
    Impl::ScanDigits(digits, ZeroTerminated{}, 10, scanned);
    scanned.isNegative = isNegative;
    return static_cast<Number>(Impl::Saturate<Widened<Number>>(scanned));
}

/// Answers the end of the number, or null.
template <class Number, class Unit>
const Unit* ReadNumber(const Unit* at, Number& value)
{
    if constexpr (std::is_floating_point_v<Number>) {
        return Impl::ScanReal(at, ZeroTerminated{}, value) ? at : nullptr;
    } else {
        const bool isNegative = Impl::SkipSign(at, ZeroTerminated{});
        ScannedInteger scanned;
        const Unit* const end = Impl::TakeDigits(at, ZeroTerminated{}, scanned.magnitude);
        if (end == at) {
            return nullptr;
        }
        if (end - at > Impl::RoomyDigits) [[unlikely]] {
            value = ReadLongInteger<Number>(at, isNegative);
            return end;
        }
        scanned.isNegative = isNegative;
        value = static_cast<Number>(Impl::Saturate<Widened<Number>>(scanned));
        return end;
    }
}

template <class Number, class Unit>
bool ReadValue(const Unit* text, Number& value, ToValueMode mode, TrimWSMode trim)
{
    if (text == nullptr) [[unlikely]] {
        return false;
    }
    const Unit* const end = ReadNumber(Impl::SkipSpace(text, ZeroTerminated{}), value);
    if (end == nullptr) {
        return false;
    }
    if (mode != ToValueBeginning && *Impl::SkipSpace(end, ZeroTerminated{}) != 0) {
        return false;
    }
    return trim != TrimWSRefused || !HasSpaceAtEnds(text, end);
}

/// The text and its terminator, cut to the buffer.
bool CopyCut(const char* text, USize length, char* to, USize size)
{
    if (to == nullptr || size == 0) {
        return false;
    }
    length = std::min(length, size - 1);
    std::memcpy(to, text, length);
    to[length] = '\0';
    return length != 0;
}

template <class Integer>
bool WriteInteger(Integer value, char* text, USize size)
{
    const auto magnitude = Impl::GetMagnitude(value);
    const UInt32 digits = Impl::CountDecimalDigits(magnitude);
    const UInt32 length = digits + (value < 0);
    if (text == nullptr || size <= length) [[unlikely]] {
        char whole[Impl::MaxDecimalDigits + 2];
        return WriteInteger(value, whole, sizeof(whole)) && CopyCut(whole, length, text, size);
    }
    *text = '-';
    text += value < 0;
    Impl::WriteDecimal(magnitude, text, digits);
    text[digits] = '\0';
    return true;
}

bool WriteReal(double value, char* text, USize size)
{
    const bool isNegative = std::signbit(value);
    const double magnitude = std::fabs(value);
    if (text != nullptr && size >= 40) [[likely]] {
        *text = '-';
        if (char* const end = Impl::WriteShortFixed(magnitude, 6, text + isNegative)) {
            *end = '\0';
            return true;
        }
    }
    Impl::RealText whole;
    Impl::MakeRealText(magnitude, 'f', 6, false, whole);
    char signedText[Impl::RealText::Capacity + 1];
    signedText[0] = '-';
    std::memcpy(signedText + isNegative, whole.text, whole.length);
    return CopyCut(signedText, whole.length + isNegative, text, size);
}

} // namespace

bool strtovalue(const char* text, short& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const char* text, unsigned short& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const char* text, int& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const char* text, unsigned int& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const char* text, long& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const char* text, unsigned long& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const char* text, Int64& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const char* text, UInt64& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const char* text, float& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const char* text, double& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const unsigned short* text, short& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const unsigned short* text, unsigned short& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const unsigned short* text, int& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const unsigned short* text, unsigned int& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const unsigned short* text, long& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const unsigned short* text, unsigned long& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const unsigned short* text, Int64& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const unsigned short* text, UInt64& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const unsigned short* text, float& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool strtovalue(const unsigned short* text, double& value, ToValueMode mode, TrimWSMode trim)
{
    return ReadValue(text, value, mode, trim);
}

bool valuetostr(short value, char* text, USize size)
{
    return WriteInteger(int{value}, text, size);
}

bool valuetostr(unsigned short value, char* text, USize size)
{
    return WriteInteger(static_cast<unsigned int>(value), text, size);
}

bool valuetostr(int value, char* text, USize size)
{
    return WriteInteger(value, text, size);
}

bool valuetostr(unsigned int value, char* text, USize size)
{
    return WriteInteger(value, text, size);
}

bool valuetostr(long value, char* text, USize size)
{
    return WriteInteger(value, text, size);
}

bool valuetostr(unsigned long value, char* text, USize size)
{
    return WriteInteger(value, text, size);
}

bool valuetostr(Int64 value, char* text, USize size)
{
    return WriteInteger(value, text, size);
}

bool valuetostr(UInt64 value, char* text, USize size)
{
    return WriteInteger(value, text, size);
}

bool valuetostr(float value, char* text, USize size)
{
    return WriteReal(value, text, size);
}

bool valuetostr(double value, char* text, USize size)
{
    return WriteReal(value, text, size);
}

} // namespace QV
