#include <QVRoot/Threading/ConditionImpl.hpp>

#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/Condition.hpp>
#include <QVRoot/Threading/ImplementationImpl.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>

namespace QV {

namespace Impl {

/// Whoever gets the lock next goes on only when this thread is out of its way.
void ConditionImpl::ReleaseLockable(UInt32 me, Notification& heir)
{
    handOver_ = HandOverLock::Find(lockable_);
    if (handOver_ != nullptr && handOver_->IsOwnedBy(me) && handOver_->GetNesting() == 0) {
        handOver_->Give(heir);
    } else {
        lockable_.Release();
    }
}

MonitorState::Result ConditionImpl::WaitReleased(Waiter& waiter, UInt32 milliseconds, bool interruptible,
                                                 bool& isReleased)
{
    const Presence presence(present_);
    Notification heir;
    lock_.Enter();
    try {
        // Nobody can notify before this thread is queued: that takes the lock held here.
        ReleaseLockable(waiter.threadId, heir);
        isReleased = true;
    } catch (...) {
        lock_.Leave();
        throw;
    }
    return waiters_.Wait(
        lock_, waiter, milliseconds, interruptible, [] {}, &heir);
}

MonitorState::Result ConditionImpl::Wait(UInt32 milliseconds, bool interruptible)
{
    Waiter waiter(ThreadImpl::GetCurrent());
    MonitorState::Result result = MonitorState::GoesOn;
    bool isReleased = false;
    try {
        result = WaitReleased(waiter, milliseconds, interruptible, isReleased);
    } catch (...) {
        if (isReleased) {
            lockable_.Acquire(false);
        }
        throw;
    }
    if (!waiter.isHeir) {
        lockable_.Acquire(false);
    }
    return result;
}

MonitorState::Result ConditionImpl::WaitAndLeave(UInt32 milliseconds, bool interruptible)
{
    Waiter waiter(ThreadImpl::GetCurrent());
    bool isReleased = false;
    return WaitReleased(waiter, milliseconds, interruptible, isReleased);
}

void ConditionImpl::Notify()
{
    if (present_.load() == 0) {
        return;
    }
    Notification notification;
    {
        const FastLockGuard guard(lock_);
        waiters_.PassOne(notification, handOver_);
    }
    notification.Complete();
}

void ConditionImpl::NotifyAll()
{
    if (present_.load() == 0) {
        return;
    }
    Notification notification;
    {
        const FastLockGuard guard(lock_);
        waiters_.PassAll(notification, handOver_);
    }
    notification.Complete();
}

void ConditionImpl::NotifyAllToLeave(Notification& notification)
{
    const FastLockGuard guard(lock_);
    waiters_.PassAll(notification, nullptr);
}

} // namespace Impl

using Impl::MonitorState;

Condition::Condition(Lockable& lockable) : impl_(Impl::MakeImplementation<Impl::ConditionImpl>(lockable)) {}

Condition::~Condition()
{
    Impl::DestroyImplementation(impl_);
}

void Condition::Wait(bool interruptible)
{
    switch (impl_->Wait(Timeout::Infinite, interruptible)) {
    case MonitorState::WasNotified:
        return;
    case MonitorState::WasInterrupted:
        QV_THROW(InterruptedException, "Thread interrupted while waiting for condition.");
    default:
        QV_THROW(SynchronizationException, "Internal error occurred while waiting for condition.");
    }
}

bool Condition::Wait(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    const Impl::RemainingTime time(timeoutMs, remaining);
    switch (impl_->Wait(timeoutMs, interruptible)) {
    case MonitorState::WasNotified:
        return true;
    case MonitorState::HasTimedOut:
        return false;
    case MonitorState::WasInterrupted:
        QV_THROW(InterruptedException, "Thread interrupted while waiting for condition.");
    default:
        QV_THROW(SynchronizationException, "Internal error occurred while waiting for condition.");
    }
}

bool Condition::Wait(const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return Wait(timeout(), interruptible, remaining);
}

void Condition::Notify()
{
    impl_->Notify();
}

void Condition::NotifyAll()
{
    impl_->NotifyAll();
}

} // namespace QV
