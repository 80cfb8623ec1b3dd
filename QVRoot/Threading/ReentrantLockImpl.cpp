#include <QVRoot/Threading/ReentrantLock.hpp>

#include <QVRoot/Exceptions/SourceFile.hpp>
#include <QVRoot/Threading/HandOverLockImpl.hpp>
#include <QVRoot/Threading/ImplementationImpl.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>

namespace QV {

namespace {

constexpr Impl::LockFailures failures = {
    QV_SOURCE_FILE,
    __LINE__,
    "Thread interrupted while acquiring reentrant lock.",
    "Internal error occurred while acquiring reentrant lock.",
    "Thread interrupted while trying to acquire reentrant lock.",
    "Internal error occurred while trying to acquire reentrant lock.",
};

/// Takes the lock, or takes it once more.
bool TryTakeOrNest(Impl::HandOverLock& lock) noexcept
{
    if (lock.TryTake()) [[likely]] {
        return true;
    }
    if (!lock.IsOwnedBy(Impl::GetCurrentId())) {
        return false;
    }
    lock.SetNesting(lock.GetNesting() + 1);
    return true;
}

} // namespace

ReentrantLock::ReentrantLock() : impl_(Impl::MakeImplementation<Impl::HandOverLock>()) {}

ReentrantLock::~ReentrantLock()
{
    Impl::DestroyImplementation(impl_);
}

void ReentrantLock::Acquire(bool interruptible)
{
    if (!TryTakeOrNest(*impl_)) [[unlikely]] {
        impl_->Acquire(interruptible, failures);
    }
}

bool ReentrantLock::TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    const Impl::RemainingTime time(timeoutMs, remaining);
    return TryTakeOrNest(*impl_) || impl_->TryAcquire(timeoutMs, interruptible, failures);
}

bool ReentrantLock::TryAcquire(const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return TryAcquire(timeout(), interruptible, remaining);
}

void ReentrantLock::Release()
{
    if (impl_->GetNesting() != 0 || !impl_->TryFree()) [[unlikely]] {
        impl_->Release(failures);
    }
}

} // namespace QV
