/// The system's clock: the seam below the time functions.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

/// Seconds since 1970-01-01 00:00 UTC, as cheaply as the system has them.
Int64 GetCurrentSeconds() noexcept;

/// The same in milliseconds.
Int64 GetCurrentMilliseconds() noexcept;

} // namespace QV::Impl
