#include <QVRoot/BasicEnvironment/ClockImpl.hpp>
#include <QVRoot/BasicEnvironment/System.hpp>

#include <time.h>

namespace QV {

namespace {

Int64 ReadMilliseconds(clockid_t clock) noexcept
{
    timespec now = {};
    clock_gettime(clock, &now);
    return Int64{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

} // namespace

Int64 Impl::GetCurrentSeconds() noexcept
{
    return time(nullptr);
}

Int64 Impl::GetCurrentMilliseconds() noexcept
{
    return ReadMilliseconds(CLOCK_REALTIME);
}

UInt64 System::GetCurrentTimeMillis() noexcept
{
    return static_cast<UInt64>(ReadMilliseconds(CLOCK_MONOTONIC));
}

} // namespace QV
