/// How the conversions look a code page up.
#pragma once

#include <QVRoot/String/CharCode.hpp>

namespace QV::Impl {

/// The code page that a value stands for; 1 when the system's own is none of the table.
QVCharCode ResolveCharCode(QVCharCode code);

} // namespace QV::Impl
