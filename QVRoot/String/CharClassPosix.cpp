#include <QVRoot/String/CharPageImpl.hpp>

#include <unicode/uchar.h>

namespace QV::Impl {

bool IsLetter(UInt16 unit) noexcept
{
    return u_isalpha(unit) || u_charType(unit) == U_LETTER_NUMBER;
}

} // namespace QV::Impl
