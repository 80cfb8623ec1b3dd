#include <QVRoot/String/CharPageImpl.hpp>

#include <windows.h>

namespace QV::Impl {

bool IsLetter(UInt16 unit) noexcept
{
    const WCHAR text = unit;
    WORD type = 0;
    return GetStringTypeW(CT_CTYPE1, &text, 1, &type) && (type & C1_ALPHA) != 0;
}

} // namespace QV::Impl
