/// Runs tasks where nobody can catch what they throw.
#pragma once

#include <QVRoot/Threading/Runnable.hpp>

namespace QV::Impl {

/// What escapes the task goes to `ErrorReporting`: a `QVException` with its type and code, anything else as
/// `unknown`. Only a forced unwinding of the thread passes through.
void RunReporting(const RunnableTask& task, const char* unknown);

} // namespace QV::Impl
