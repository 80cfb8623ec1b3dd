/// Numbers to text and back, in the C locale whatever the process's locale is.
///
///     int height;
///     if (strtovalue("12 ", height)) …          // 12
///     char text[32];
///     valuetostr(height, text, sizeof(text));   // "12"
///
/// Reading skips white space, then takes the longest text that is a number: for integers an optional sign and
/// decimal digits; for floating point also a fraction, an exponent, hexadecimal digits behind "0x", "inf",
/// "infinity", "nan" and "nan(…)" in any case. "1e" is the number 1 followed by an 'e'.
///
/// What does not fit a type is defined on both targets alike: integers stop at the nearest limit of the type;
/// `short` and `unsigned short` are read as `int` and `unsigned int` and then cut to 16 bits; a minus sign
/// negates an unsigned number modulo its range, and when its magnitude is too large the limit stands as it
/// is. Floating point is rounded to nearest and becomes infinite or zero where it must.
///
/// Threads: any. Errors: only the results; nothing throws. A null text holds no number. Allocation: none.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

/// What may follow the number.
enum ToValueMode : int {
    ToValueWholeText = 0, ///< white space only
    ToValueBeginning = 1, ///< anything
};

/// What becomes of text that begins or ends with a space, tab, line feed or carriage return.
enum TrimWSMode : int {
    TrimWSAllowed = 0,
    TrimWSRefused = 1,
};

/// Answers whether the text is a number under the two rules. A number that was found is stored, whatever the
/// answer; without one the value stays as it was.
/// @{
QV_EXPORT bool strtovalue(const char* text, short& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const char* text, unsigned short& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const char* text, int& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const char* text, unsigned int& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const char* text, long& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const char* text, unsigned long& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const char* text, Int64& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const char* text, UInt64& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const char* text, float& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const char* text, double& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const unsigned short* text, short& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const unsigned short* text, unsigned short& value,
                          ToValueMode mode = ToValueWholeText, TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const unsigned short* text, int& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const unsigned short* text, unsigned int& value,
                          ToValueMode mode = ToValueWholeText, TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const unsigned short* text, long& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const unsigned short* text, unsigned long& value,
                          ToValueMode mode = ToValueWholeText, TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const unsigned short* text, Int64& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const unsigned short* text, UInt64& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const unsigned short* text, float& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);
QV_EXPORT bool strtovalue(const unsigned short* text, double& value, ToValueMode mode = ToValueWholeText,
                          TrimWSMode trim = TrimWSAllowed);

template <class Number>
bool strtovalue(const char16_t* text, Number& value, ToValueMode mode = ToValueWholeText,
                TrimWSMode trim = TrimWSAllowed)
{
    return strtovalue(reinterpret_cast<const unsigned short*>(text), value, mode, trim);
}
/// @}

/// Writes a number into a buffer of `size` characters, with its terminator and cut where it is too long:
/// integers in decimal, floating point with six decimals. Answers whether at least one character was written.
/// 24 characters hold every integer, 320 every double.
/// @{
QV_EXPORT bool valuetostr(short value, char* text, USize size);
QV_EXPORT bool valuetostr(unsigned short value, char* text, USize size);
QV_EXPORT bool valuetostr(int value, char* text, USize size);
QV_EXPORT bool valuetostr(unsigned int value, char* text, USize size);
QV_EXPORT bool valuetostr(long value, char* text, USize size);
QV_EXPORT bool valuetostr(unsigned long value, char* text, USize size);
QV_EXPORT bool valuetostr(Int64 value, char* text, USize size);
QV_EXPORT bool valuetostr(UInt64 value, char* text, USize size);
QV_EXPORT bool valuetostr(float value, char* text, USize size);
QV_EXPORT bool valuetostr(double value, char* text, USize size);
/// @}

} // namespace QV
