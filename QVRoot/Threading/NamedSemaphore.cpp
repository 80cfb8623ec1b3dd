#include <QVRoot/Threading/NamedSemaphore.hpp>

#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Threading/NamedSemaphoreImpl.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>

namespace QV {

NamedSemaphore::NamedSemaphore(const char* name, UInt32 initialCount) : impl_(nullptr)
{
    if (name == nullptr) {
        QV_THROW(IllegalArgumentException, "Invalid semaphore name: name is null.");
    }
    impl_ = Impl::OpenNamedSemaphore(UniString(name), initialCount);
}

NamedSemaphore::~NamedSemaphore()
{
    Impl::CloseNamedSemaphore(impl_);
}

void NamedSemaphore::Acquire(bool)
{
    Impl::AcquireNamedSemaphore(*impl_, Timeout::Infinite);
}

bool NamedSemaphore::TryAcquire(UInt32 timeoutMs, bool, UInt32* remaining)
{
    const Impl::RemainingTime time(timeoutMs, remaining);
    return Impl::AcquireNamedSemaphore(*impl_, timeoutMs);
}

bool NamedSemaphore::TryAcquire(const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return TryAcquire(timeout(), interruptible, remaining);
}

void NamedSemaphore::Release()
{
    Impl::ReleaseNamedSemaphore(*impl_);
}

} // namespace QV
