/// What the logger asks the system. `LogSystemPosix.cpp` and `LogSystemWin.cpp` implement it.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

struct LogInstant {
    Int64 seconds; ///< since 1970-01-01 00:00 UTC
    UInt32 microseconds;
};

/// The time; as of the system's last tick unless it is to be precise.
LogInstant GetLogInstant(bool precise) noexcept;

UInt32 GetLogProcessId() noexcept;

} // namespace QV::Impl
