#include <QVRoot/Threading/Semaphore.hpp>

#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/Threading/ImplementationImpl.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>
#include <QVRoot/Threading/SemaphoreImpl.hpp>

namespace QV {

Semaphore::Semaphore(UInt32 initialCount, UInt32 maximumCount) : impl_(nullptr)
{
    if (maximumCount == 0) {
        QV_THROW(IllegalArgumentException, "Invalid maximum count: maximum count is 0.");
    }
    if (maximumCount < initialCount) {
        QV_THROW(IllegalArgumentException,
                 "Invalid maximum count: maximum count must be greater then initial count.");
    }
    impl_ = Impl::MakeImplementation<Impl::SemaphoreImpl>(initialCount, maximumCount);
}

Semaphore::~Semaphore()
{
    Impl::DestroyImplementation(impl_);
}

void Semaphore::Acquire(bool interruptible)
{
    if (!impl_->TryTake()) [[unlikely]] {
        impl_->Acquire(interruptible);
    }
}

bool Semaphore::TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    const Impl::RemainingTime time(timeoutMs, remaining);
    return impl_->TryTake() || impl_->TryAcquire(timeoutMs, interruptible);
}

bool Semaphore::TryAcquire(const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return TryAcquire(timeout(), interruptible, remaining);
}

void Semaphore::Release()
{
    if (!impl_->TryPut()) [[unlikely]] {
        impl_->Release();
    }
}

} // namespace QV
