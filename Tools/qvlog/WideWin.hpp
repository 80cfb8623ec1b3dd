/// Paths for Windows.
#pragma once

#include <string>

namespace QVLog {

std::wstring Widen(const std::string& text);

} // namespace QVLog
