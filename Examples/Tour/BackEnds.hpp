/// The memory back ends. A process has one for its whole life, so each is measured in a process of its own.
#pragma once

#include "Measurements.hpp"
#include "Options.hpp"

#include <vector>

namespace Tour {

struct BackEndRun {
    const char* name;
    Measurements measurements;
};

/// Runs the tour once per back end. A run that fails ends it all: then `exitCode` is that run's, and the runs
/// are incomplete.
std::vector<BackEndRun> RunBackEnds(const QV::Array<QV::UniString>& arguments, int* exitCode);

} // namespace Tour
