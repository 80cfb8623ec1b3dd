#include <QVRoot/BasicEnvironment/ClockImpl.hpp>
#include <QVRoot/BasicEnvironment/System.hpp>

#include <windows.h>

#include <atomic>

namespace QV {

namespace {

/// Units of 100 ns since 1970.
Int64 GetCurrentTicks() noexcept
{
    constexpr Int64 ticksTo1970 = 116444736000000000;
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return (Int64{now.dwHighDateTime} << 32 | now.dwLowDateTime) - ticksTo1970;
}

/// Ticks a second of the performance counter; constant while the system runs.
UInt64 GetCounterFrequency() noexcept
{
    static constinit std::atomic<UInt64> known = 0;
    UInt64 frequency = known.load(std::memory_order_relaxed);
    if (frequency == 0) {
        LARGE_INTEGER value;
        QueryPerformanceFrequency(&value);
        frequency = static_cast<UInt64>(value.QuadPart);
        known.store(frequency, std::memory_order_relaxed);
    }
    return frequency;
}

} // namespace

Int64 Impl::GetCurrentSeconds() noexcept
{
    return GetCurrentTicks() / 10'000'000;
}

Int64 Impl::GetCurrentMilliseconds() noexcept
{
    return GetCurrentTicks() / 10'000;
}

UInt64 System::GetCurrentTimeMillis() noexcept
{
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    const UInt64 ticks = static_cast<UInt64>(now.QuadPart);
    const UInt64 frequency = GetCounterFrequency();
    // In two steps: the ticks of a long uptime times 1000 would not fit.
    return ticks / frequency * 1000 + ticks % frequency * 1000 / frequency;
}

} // namespace QV
