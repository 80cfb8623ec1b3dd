#include <QVRoot/Logging/LogSystemImpl.hpp>

#include <time.h>
#include <unistd.h>

namespace QV::Impl {

LogInstant GetLogInstant(bool precise) noexcept
{
    timespec now = {};
    clock_gettime(precise ? CLOCK_REALTIME : CLOCK_REALTIME_COARSE, &now);
    return {now.tv_sec, static_cast<UInt32>(now.tv_nsec / 1000)};
}

UInt32 GetLogProcessId() noexcept
{
    return static_cast<UInt32>(getpid());
}

} // namespace QV::Impl
