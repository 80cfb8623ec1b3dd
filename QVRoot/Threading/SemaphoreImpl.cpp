#include <QVRoot/Threading/SemaphoreImpl.hpp>

#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/ArrivalImpl.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>
#include <QVRoot/Threading/Timeout.hpp>

namespace QV::Impl {

bool SemaphoreImpl::TakeBeforeArrival() noexcept
{
    return Impl::TakeBeforeArrival(
        polling_, [this] { return TryTake(); },
        [this] { return word_.load(std::memory_order_relaxed) >= Queued; });
}

/// Under the `FastLock`. Answers true when there was a permit to take after all.
bool SemaphoreImpl::TakeOrMarkQueued() noexcept
{
    for (;;) {
        if (TryTake()) {
            return true;
        }
        UInt64 word = word_.load(std::memory_order_relaxed);
        if (word >= Queued ||
            (word == 0 && word_.compare_exchange_weak(word, Queued, std::memory_order_relaxed))) {
            return false;
        }
    }
}

MonitorState::Result SemaphoreImpl::Take(UInt32 milliseconds, bool interruptible)
{
    if (TakeBeforeArrival()) {
        return MonitorState::WasNotified;
    }
    // May allocate, which the `FastLock` must not see.
    Waiter waiter(ThreadImpl::GetCurrent());
    lock_.Enter();
    if (TakeOrMarkQueued()) {
        lock_.Leave();
        return MonitorState::WasNotified;
    }
    return waiters_.Wait(lock_, waiter, milliseconds, interruptible, [this] {
        if (waiters_.IsEmpty()) {
            word_.fetch_and(~UInt64{Queued}, std::memory_order_relaxed);
        }
    });
}

void SemaphoreImpl::Acquire(bool interruptible)
{
    switch (Take(Timeout::Infinite, interruptible)) {
    case MonitorState::WasNotified:
        return;
    case MonitorState::WasInterrupted:
        QV_THROW(InterruptedException, "Thread interruptible while acquiring semaphore.");
    default:
        QV_THROW(SynchronizationException, "Internal error occurred while acquiring semaphore.");
    }
}

bool SemaphoreImpl::TryAcquire(UInt32 timeoutMs, bool interruptible)
{
    if (timeoutMs == 0) {
        return false;
    }
    switch (Take(timeoutMs, interruptible)) {
    case MonitorState::WasNotified:
        return true;
    case MonitorState::HasTimedOut:
        return false;
    case MonitorState::WasInterrupted:
        QV_THROW(InterruptedException, "Thread interrupted while acquiring semaphore.");
    default:
        QV_THROW(SynchronizationException, "Internal error occurred while acquiring semaphore.");
    }
}

void SemaphoreImpl::Release()
{
    // Waiters that are being interrupted refuse the permit until they have left the queue.
    for (UInt32 round = 0; !TryPut(); ++round) {
        if (word_.load(std::memory_order_relaxed) == maximum_) {
            QV_THROW(SynchronizationException,
                     "Failed to release semaphore: the maximum count of the semaphore exceeded.");
        }
        if (HandOver()) {
            return;
        }
        YieldWhileSpinning(round);
    }
}

bool SemaphoreImpl::HandOver()
{
    Notification notification;
    lock_.Enter();
    const Waiter* const next = waiters_.NotifyOne(notification, WaiterQueue::Refusing::Stays);
    if (next != nullptr && waiters_.IsEmpty()) {
        word_.fetch_and(~UInt64{Queued}, std::memory_order_relaxed);
    }
    lock_.Leave();
    notification.Complete();
    return next != nullptr;
}

} // namespace QV::Impl
