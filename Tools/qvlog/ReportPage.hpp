/// The page around a report's data: everything it needs stands in it.
#pragma once

#include <string_view>

namespace QVLog {

extern const std::string_view reportHead; ///< up to the data
extern const std::string_view reportTail; ///< behind it

} // namespace QVLog
