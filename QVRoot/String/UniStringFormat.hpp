/// `UniString::Printf` and `UniString::Scanf`.
///
///     UniString line = UniString::Printf("%-10s %5d", name, count);
///     int width, height;
///     if (line.Scanf("%d x %d", &width, &height) == 2) …
///
/// The language and the check of formats are those of CheckedFormat.hpp. Formats are 8-bit text in the
/// default code page or UTF-16; width and precision count UTF-16 units, and arrays for text hold such.
///
/// Threads: any. Errors: `IllegalTypeException`, `IllegalArgumentException`, `NullPointerException`,
/// `OutOfMemoryException`. Allocation: the result; for Scanf only formats and text that are converted.
#pragma once

#include <QVRoot/String/CheckedFormat.hpp>
#include <QVRoot/String/UniString.hpp>

namespace QV {

/// What the formatting engine calls for each piece of text: appends it to the `UniString`.
QV_EXPORT void UniStringHandleTextForPrintf(void* string, const unsigned short* text, UInt32 count);

/// What the scanning engine reads: the units of the string and their number, valid until it is changed.
QV_EXPORT const unsigned short* UniStringHandleTextForScanf(const UniString& string, UInt32* count);

template <class Unit, class... Arguments>
UniString UniString::PrintfFwd(const FormatSyntax::Format<Unit>& format, const Arguments&... arguments)
{
    const FormatArgument list[sizeof...(Arguments) + 1] = {arguments..., 0};
    return CheckedPrintf(format.GetUnits(), list, sizeof...(Arguments), format.IsChecked());
}

template <class... Arguments>
UniString UniString::Printf(PrintFormat<char, std::type_identity_t<Arguments>...> format,
                            const Arguments&... arguments)
{
    return PrintfFwd<char>(format, arguments...);
}

template <class... Arguments>
UniString UniString::Printf(PrintFormat<char16_t, std::type_identity_t<Arguments>...> format,
                            const Arguments&... arguments)
{
    return PrintfFwd<char16_t>(format, arguments...);
}

template <class... Arguments>
int UniString::Scanf(ScanFormat<char, char16_t, std::type_identity_t<Arguments>...> format,
                     Arguments&&... arguments) const
{
    const ScanArgument list[] = {arguments..., static_cast<int*>(nullptr)};
    return CheckedScanf(format.GetUnits(), list, sizeof...(Arguments), format.IsChecked());
}

template <class... Arguments>
int UniString::Scanf(ScanFormat<char16_t, char16_t, std::type_identity_t<Arguments>...> format,
                     Arguments&&... arguments) const
{
    const ScanArgument list[] = {arguments..., static_cast<int*>(nullptr)};
    return CheckedScanf(format.GetUnits(), list, sizeof...(Arguments), format.IsChecked());
}

} // namespace QV
