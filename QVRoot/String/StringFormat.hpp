/// `String::Format`: printf into a `String`.
///
///     String line;
///     line.Format("%-10s %5d", name, count);
///
/// The language and the check of formats are those of CheckedFormat.hpp. Threads: one at a time for a string.
/// Errors: `ErrMemoryFull` as a code, a mismatch as an exception; the string is then as it was. Allocation:
/// a new buffer.
#pragma once

#include <QVRoot/String/CheckedFormat.hpp>
#include <QVRoot/String/String.hpp>

namespace QV {

template <class... Arguments>
QVErrCode String::Format(PrintFormat<char, std::type_identity_t<Arguments>...> format,
                         const Arguments&... arguments)
{
    const FormatArgument list[sizeof...(Arguments) + 1] = {arguments..., 0};
    return FormatInto(format.GetText(), list, sizeof...(Arguments), format.IsChecked());
}

} // namespace QV
