/// String literals: `using namespace QV::Literals; const UniString text = u"text"_us;`
#pragma once

#include <QVRoot/String/UniString.hpp>

namespace QV::Literals {

inline UniString operator""_us(const char16_t* text, std::size_t length)
{
    return UniString(std::u16string_view(text, length));
}

inline UniString operator""_us(const char8_t* text, std::size_t length)
{
    return UniString(std::u8string_view(text, length));
}

} // namespace QV::Literals
