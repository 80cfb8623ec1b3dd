/// What qvlog can do. Each answers the program's exit status.
#pragma once

#include "LineSource.hpp"
#include "Options.hpp"

#include <memory>
#include <vector>

namespace QVLog {

/// Exit statuses that all commands share; those of `check` go from 0 to 3.
enum Status { Sound = 0, Torn = 1, Damaged = 2, NoLog = 3, CannotRead = 4, CannotWrite = 5, BadUsage = 64 };

int Show(const Options& options);
int Check(const Options& options);
int PrintStatistics(const Options& options);
int WriteReport(const Options& options);

/// Null when the log cannot be opened, which is told.
std::unique_ptr<LineSource> OpenSource(const std::string& path, bool isLive);
/// All of them; empty when one cannot be opened.
std::vector<std::unique_ptr<LineSource>> OpenSources(const Options& options, bool isLive);

} // namespace QVLog
