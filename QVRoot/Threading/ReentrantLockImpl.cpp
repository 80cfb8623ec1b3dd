#include <QVRoot/Threading/ReentrantLock.hpp>

#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/HandOverLockImpl.hpp>
#include <QVRoot/Threading/ImplementationImpl.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>

namespace QV {

namespace Impl {

struct ReentrantLockImpl {
    /// Takes the lock, or takes it once more.
    bool TryTake(UInt32 me) noexcept
    {
        if (lock.IsOwnedBy(me)) {
            ++holdCount;
            return true;
        }
        if (!lock.TryTake(me)) {
            return false;
        }
        holdCount = 1;
        return true;
    }

    MonitorState::Result Take(UInt32 me, UInt32 milliseconds, bool interruptible)
    {
        const MonitorState::Result result = lock.Take(me, milliseconds, interruptible);
        if (result == MonitorState::WasNotified) {
            holdCount = 1;
        }
        return result;
    }

    HandOverLock lock;
    UInt32 holdCount = 0; ///< the owner's
};

} // namespace Impl

using Impl::GetCurrentId;
using Impl::MonitorState;

ReentrantLock::ReentrantLock() : impl_(Impl::MakeImplementation<Impl::ReentrantLockImpl>()) {}

ReentrantLock::~ReentrantLock()
{
    Impl::DestroyImplementation(impl_);
}

void ReentrantLock::Acquire(bool interruptible)
{
    const UInt32 me = GetCurrentId();
    if (impl_->TryTake(me)) [[likely]] {
        return;
    }
    switch (impl_->Take(me, Timeout::Infinite, interruptible)) {
    case MonitorState::WasNotified:
        return;
    case MonitorState::WasInterrupted:
        QV_THROW(InterruptedException, "Thread interrupted while acquiring reentrant lock.");
    default:
        QV_THROW(SynchronizationException, "Internal error occurred while acquiring reentrant lock.");
    }
}

bool ReentrantLock::TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    const Impl::RemainingTime time(timeoutMs, remaining);
    const UInt32 me = GetCurrentId();
    if (impl_->TryTake(me)) [[likely]] {
        return true;
    }
    if (timeoutMs == 0) {
        return false;
    }
    switch (impl_->Take(me, timeoutMs, interruptible)) {
    case MonitorState::WasNotified:
        return true;
    case MonitorState::HasTimedOut:
        return false;
    case MonitorState::WasInterrupted:
        QV_THROW(InterruptedException, "Thread interrupted while trying to acquire reentrant lock.");
    default:
        QV_THROW(SynchronizationException, "Internal error occurred while trying to acquire reentrant lock.");
    }
}

bool ReentrantLock::TryAcquire(const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return TryAcquire(timeout(), interruptible, remaining);
}

void ReentrantLock::Release()
{
    const UInt32 me = GetCurrentId();
    if (!impl_->lock.IsOwnedBy(me)) [[unlikely]] {
        QV_THROW(SynchronizationException, "Attempting to release an unowned lock.");
    }
    if (--impl_->holdCount == 0) {
        impl_->lock.Give(me);
    }
}

} // namespace QV
