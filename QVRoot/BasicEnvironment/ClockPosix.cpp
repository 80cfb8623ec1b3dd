#include <QVRoot/BasicEnvironment/ClockImpl.hpp>

#include <time.h>

namespace QV::Impl {

Int64 GetCurrentSeconds() noexcept
{
    return time(nullptr);
}

Int64 GetCurrentMilliseconds() noexcept
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return Int64{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

} // namespace QV::Impl
