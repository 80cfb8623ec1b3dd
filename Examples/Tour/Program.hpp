/// The program behind `main`.
#pragma once

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/String/UniString.hpp>

namespace Tour {

/// The exit codes are those of the usage text. What fails is one line on standard error.
int RunProgram(const QV::Array<QV::UniString>& arguments);

} // namespace Tour
