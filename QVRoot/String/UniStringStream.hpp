/// Strings on the standard library's streams, for test messages and the like: as UTF-8, with U+FFFD for half
/// surrogate pairs. `<ostream>` is needed only where it is used.
#pragma once

#include <QVRoot/String/UniString.hpp>

#include <iosfwd>

namespace QV {

namespace Impl {
QV_EXPORT UniString::CStr MakePrintable(std::u16string_view text);
}

template <class Traits, UnitText Text>
std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& stream, const Text& text)
{
    const auto bytes = Impl::MakePrintable(text.GetView());
    return stream << std::basic_string_view<char, Traits>(bytes.GetText(), bytes.GetLength());
}

} // namespace QV
