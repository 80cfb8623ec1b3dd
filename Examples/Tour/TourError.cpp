#include "TourError.hpp"

#include <string>

namespace Tour {

using namespace QV;

UniString TourError::GetLine() const
{
    UniString line = file_;
    if (offset_ != NoOffset) {
        line += ": offset ";
        line += std::to_string(offset_).c_str();
    }
    if (!what_.IsEmpty()) {
        line += ": ";
        line += what_;
    }
    return line;
}

} // namespace Tour
