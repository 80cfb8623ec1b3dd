#include <QVRoot/Threading/Lock.hpp>

#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/HandOverLockImpl.hpp>
#include <QVRoot/Threading/ImplementationImpl.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>

namespace QV {

namespace {

constexpr Impl::LockFailures failures = {
    QV_SOURCE_FILE,
    __LINE__,
    "Thread interrupted while acquiring lock.",
    "Internal error occurred while acquiring lock.",
    "Thread interrupted while trying to acquire lock.",
    "Internal error occurred while trying to acquire lock.",
};

void RefuseOwner(const Impl::HandOverLock& lock)
{
    if (lock.IsOwnedBy(Impl::GetCurrentId())) {
        QV_THROW(DeadlockException, "Deadlock occurred: trying to reacquire a non-reentrant lock.");
    }
}

} // namespace

Lock::Lock() : impl_(Impl::MakeImplementation<Impl::HandOverLock>()) {}

Lock::~Lock()
{
    Impl::DestroyImplementation(impl_);
}

void Lock::Acquire(bool interruptible)
{
    if (!impl_->TryTake()) [[unlikely]] {
        RefuseOwner(*impl_);
        impl_->Acquire(interruptible, failures);
    }
}

bool Lock::TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    const Impl::RemainingTime time(timeoutMs, remaining);
    if (impl_->TryTake()) [[likely]] {
        return true;
    }
    RefuseOwner(*impl_);
    return impl_->TryAcquire(timeoutMs, interruptible, failures);
}

bool Lock::TryAcquire(const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return TryAcquire(timeout(), interruptible, remaining);
}

void Lock::Release()
{
    if (!impl_->TryFree()) [[unlikely]] {
        impl_->Release(failures);
    }
}

} // namespace QV
