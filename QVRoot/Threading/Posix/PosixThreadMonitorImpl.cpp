#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/ThreadMonitorImpl.hpp>

namespace QV::Impl {

void ThrowMonitorFailure(const char* message)
{
    QV_THROW(SynchronizationException, message);
}

void ThrowMonitorNotOwned(const char* message)
{
    QV_THROW(IllegalMonitorStateException, message);
}

} // namespace QV::Impl
