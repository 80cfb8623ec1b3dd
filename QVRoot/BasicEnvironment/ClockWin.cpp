#include <QVRoot/BasicEnvironment/ClockImpl.hpp>

#include <windows.h>

namespace QV::Impl {

namespace {

/// Units of 100 ns since 1970.
Int64 GetCurrentTicks() noexcept
{
    constexpr Int64 ticksTo1970 = 116444736000000000;
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return (Int64{now.dwHighDateTime} << 32 | now.dwLowDateTime) - ticksTo1970;
}

} // namespace

Int64 GetCurrentSeconds() noexcept
{
    return GetCurrentTicks() / 10'000'000;
}

Int64 GetCurrentMilliseconds() noexcept
{
    return GetCurrentTicks() / 10'000;
}

} // namespace QV::Impl
