#include <QVRoot/Threading/HandOverLockImpl.hpp>

#include <QVRoot/Threading/SpinLockImpl.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>

namespace QV::Impl {

bool HandOverLock::TakeBySpinning(UInt32 me) noexcept
{
    // Only as long as nobody is queued: this thread has not arrived yet, so it may not overtake.
    for (UInt32 spins = polling_.GetLimit(); spins != 0; --spins) {
        const UInt64 word = word_.load(std::memory_order_relaxed);
        if (word == Free && TryTake(me)) {
            polling_.Note(true);
            return true;
        }
        if ((word & Queued) != 0) {
            return false;
        }
        PauseProcessor();
    }
    polling_.Note(false);
    return false;
}

/// Under the `FastLock`. Answers true when the lock became free in the meantime and was taken.
bool HandOverLock::TakeOrMarkQueued(UInt32 me) noexcept
{
    UInt64 word = word_.load(std::memory_order_relaxed);
    for (;;) {
        if (word == Free) {
            if (word_.compare_exchange_weak(word, me, std::memory_order_acquire)) {
                return true;
            }
        } else if ((word & Queued) != 0 ||
                   word_.compare_exchange_weak(word, word | Queued, std::memory_order_relaxed)) {
            return false;
        }
    }
}

MonitorState::Result HandOverLock::Take(UInt32 me, UInt32 milliseconds, bool interruptible)
{
    if (TakeBySpinning(me)) {
        return MonitorState::WasNotified;
    }
    // May allocate, which the `FastLock` must not see.
    Waiter waiter(ThreadImpl::GetCurrent());
    lock_.Enter();
    if (TakeOrMarkQueued(me)) {
        lock_.Leave();
        return MonitorState::WasNotified;
    }
    return waiters_.Wait(lock_, waiter, milliseconds, interruptible, [this] {
        if (waiters_.IsEmpty()) {
            word_.fetch_and(~UInt64{Queued}, std::memory_order_relaxed);
        }
    });
}

void HandOverLock::GiveContended(UInt32 me)
{
    // Waiters that are being interrupted refuse the lock until they have left the queue.
    for (UInt32 round = 0; !HandOver(); ++round) {
        if (TryFree(me)) {
            return;
        }
        YieldWhileSpinning(round);
    }
}

/// Answers false when the lock still belongs to the caller.
bool HandOverLock::HandOver()
{
    Notification notification;
    lock_.Enter();
    const Waiter* const next = waiters_.NotifyOne(notification, WaiterQueue::Refusing::Stays);
    if (next != nullptr) {
        // The new owner reads its id only after its monitor is unlocked, below.
        word_.store(next->threadId | (waiters_.IsEmpty() ? UInt64{0} : UInt64{Queued}),
                    std::memory_order_release);
    }
    lock_.Leave();
    notification.Complete();
    return next != nullptr;
}

} // namespace QV::Impl
