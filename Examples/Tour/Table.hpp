/// Prints what the runs found out, side by side.
#pragma once

#include "BackEnds.hpp"

namespace Tour {

void PrintTable(const std::vector<BackEndRun>& runs);

} // namespace Tour
