#include <QVRoot/Logging/LogSystemImpl.hpp>

#include <windows.h>

namespace QV::Impl {

LogInstant GetLogInstant(bool precise) noexcept
{
    constexpr Int64 ticksTo1970 = 116444736000000000;
    constexpr Int64 ticksInSecond = 10'000'000;
    FILETIME now;
    if (precise) {
        GetSystemTimePreciseAsFileTime(&now);
    } else {
        GetSystemTimeAsFileTime(&now);
    }
    const Int64 ticks = (Int64{now.dwHighDateTime} << 32 | now.dwLowDateTime) - ticksTo1970;
    return {ticks / ticksInSecond, static_cast<UInt32>(ticks % ticksInSecond / 10)};
}

UInt32 GetLogProcessId() noexcept
{
    return GetCurrentProcessId();
}

} // namespace QV::Impl
