#include <QVRoot/BasicEnvironment/System.hpp>

#include <QVRoot/Threading/ParkImpl.hpp>

namespace QV {

UInt64 System::GetCurrentTimeMillis() noexcept
{
    constexpr UInt64 nanosInMilli = 1'000'000;
    return Impl::GetMonotonicNanos() / nanosInMilli;
}

} // namespace QV
