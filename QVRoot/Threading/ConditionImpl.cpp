#include <QVRoot/Threading/Condition.hpp>

#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/HandOverLockImpl.hpp>
#include <QVRoot/Threading/ImplementationImpl.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>
#include <QVRoot/Threading/WaiterQueueImpl.hpp>

namespace QV {

namespace Impl {

class ConditionImpl {
public:
    explicit ConditionImpl(Lockable& lockable) noexcept : lockable_(lockable) {}

    MonitorState::Result Wait(UInt32 milliseconds, bool interruptible);
    void Notify();
    void NotifyAll();

private:
    void ReleaseLockable(UInt32 me, Notification& heir);
    MonitorState::Result WaitReleased(Waiter& waiter, UInt32 milliseconds, bool interruptible);

    /// Counts a thread in for the length of its wait.
    struct Presence {
        explicit Presence(std::atomic<UInt32>& count) noexcept : count_(count) { count_.fetch_add(1); }
        ~Presence() { count_.fetch_sub(1); }
        std::atomic<UInt32>& count_;
    };

    Lockable& lockable_;
    /// Not below the length of the queue. A waiter is counted before it releases the lockable, so whoever has
    /// that afterwards knows of it without entering the `FastLock`.
    std::atomic<UInt32> present_ = 0;
    FastLock lock_;
    HandOverLock* handOver_ = nullptr; ///< the lockable's, once somebody has waited
    WaiterQueue waiters_;
};

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

MonitorState::Result ConditionImpl::WaitReleased(Waiter& waiter, UInt32 milliseconds, bool interruptible)
{
    const Presence presence(present_);
    Notification heir;
    lock_.Enter();
    try {
        // Nobody can notify before this thread is queued: that takes the lock held here.
        ReleaseLockable(waiter.threadId, heir);
    } catch (...) {
        lock_.Leave();
        throw;
    }
    try {
        return waiters_.Wait(
            lock_, waiter, milliseconds, interruptible, [] {}, &heir);
    } catch (...) {
        lockable_.Acquire(false);
        throw;
    }
}

MonitorState::Result ConditionImpl::Wait(UInt32 milliseconds, bool interruptible)
{
    Waiter waiter(ThreadImpl::GetCurrent());
    const MonitorState::Result result = WaitReleased(waiter, milliseconds, interruptible);
    if (!waiter.isHeir) {
        lockable_.Acquire(false);
    }
    return result;
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
