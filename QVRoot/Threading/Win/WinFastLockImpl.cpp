#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/FastLockImpl.hpp>

namespace QV::Impl {

void ThrowFastLockFailure(const char* message)
{
    QV_THROW(SynchronizationException, message);
}

} // namespace QV::Impl
