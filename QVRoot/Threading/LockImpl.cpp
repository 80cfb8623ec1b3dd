#include <QVRoot/Threading/Lock.hpp>

#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/HandOverLockImpl.hpp>
#include <QVRoot/Threading/ImplementationImpl.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>

namespace QV {

using Impl::GetCurrentId;
using Impl::MonitorState;

namespace {

void RefuseOwner(const Impl::HandOverLock& lock, UInt32 me)
{
    if (lock.IsOwnedBy(me)) {
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
    const UInt32 me = GetCurrentId();
    if (impl_->TryTake(me)) [[likely]] {
        return;
    }
    RefuseOwner(*impl_, me);
    switch (impl_->Take(me, Timeout::Infinite, interruptible)) {
    case MonitorState::WasNotified:
        return;
    case MonitorState::WasInterrupted:
        QV_THROW(InterruptedException, "Thread interrupted while acquiring lock.");
    default:
        QV_THROW(SynchronizationException, "Internal error occurred while acquiring lock.");
    }
}

bool Lock::TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    const Impl::RemainingTime time(timeoutMs, remaining);
    const UInt32 me = GetCurrentId();
    if (impl_->TryTake(me)) [[likely]] {
        return true;
    }
    RefuseOwner(*impl_, me);
    if (timeoutMs == 0) {
        return false;
    }
    switch (impl_->Take(me, timeoutMs, interruptible)) {
    case MonitorState::WasNotified:
        return true;
    case MonitorState::HasTimedOut:
        return false;
    case MonitorState::WasInterrupted:
        QV_THROW(InterruptedException, "Thread interrupted while trying to acquire lock.");
    default:
        QV_THROW(SynchronizationException, "Internal error occurred while trying to acquire lock.");
    }
}

bool Lock::TryAcquire(const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return TryAcquire(timeout(), interruptible, remaining);
}

void Lock::Release()
{
    const UInt32 me = GetCurrentId();
    if (!impl_->IsOwnedBy(me)) [[unlikely]] {
        QV_THROW(SynchronizationException, "Attempting to release an unowned lock.");
    }
    impl_->Give(me);
}

} // namespace QV
