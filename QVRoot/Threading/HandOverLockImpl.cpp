#include <QVRoot/Threading/HandOverLockImpl.hpp>

#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/ArrivalImpl.hpp>
#include <QVRoot/Threading/Lock.hpp>
#include <QVRoot/Threading/ReentrantLock.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>

#include <typeinfo>

namespace QV::Impl {

HandOverLock* HandOverLock::Find(Lockable& lockable) noexcept
{
    if (typeid(lockable) == typeid(Lock)) {
        return &Get(static_cast<Lock&>(lockable));
    }
    if (typeid(lockable) == typeid(ReentrantLock)) {
        return &Get(static_cast<ReentrantLock&>(lockable));
    }
    return nullptr;
}

HandOverLock& HandOverLock::Get(Lock& lock) noexcept
{
    return *lock.impl_;
}

HandOverLock& HandOverLock::Get(ReentrantLock& lock) noexcept
{
    return *lock.impl_;
}

bool HandOverLock::TakeIfFree(UInt32 me) noexcept
{
    UInt64 word = word_.load(std::memory_order_relaxed);
    while (!MustWait(word)) {
        if (word_.compare_exchange_weak(word, word | Held, std::memory_order_acquire)) {
            owner_.store(me, std::memory_order_relaxed);
            return true;
        }
    }
    return false;
}

bool HandOverLock::TakeBeforeArrival(UInt32 me) noexcept
{
    return Impl::TakeBeforeArrival(
        polling_, [this, me] { return TakeIfFree(me); },
        [this] { return (word_.load(std::memory_order_relaxed) & Queued) != 0; });
}

/// Under the `FastLock`. Answers true when the lock became free in the meantime and was taken.
bool HandOverLock::TakeOrMarkQueued(UInt32 me) noexcept
{
    UInt64 word = word_.load(std::memory_order_relaxed);
    for (;;) {
        if (!MustWait(word)) {
            if (word_.compare_exchange_weak(word, word | Held, std::memory_order_acquire)) {
                owner_.store(me, std::memory_order_relaxed);
                return true;
            }
        } else if ((word & Queued) != 0 ||
                   word_.compare_exchange_weak(word, word | Queued, std::memory_order_relaxed)) {
            return false;
        }
    }
}

/// Under the `FastLock`, after a removal.
void HandOverLock::ForgetQueueIfEmpty() noexcept
{
    if (waiters_.IsEmpty()) {
        word_.fetch_and(~UInt64{Queued}, std::memory_order_relaxed);
    }
}

/// `WasNotified` says that the caller is the owner now.
MonitorState::Result HandOverLock::Take(UInt32 milliseconds, bool interruptible)
{
    const UInt32 me = GetCurrentId();
    if (TakeIfFree(me) || TakeBeforeArrival(me)) {
        return MonitorState::WasNotified;
    }
    // May allocate, which the `FastLock` must not see.
    Waiter waiter(ThreadImpl::GetCurrent());
    lock_.Enter();
    if (TakeOrMarkQueued(me)) {
        lock_.Leave();
        return MonitorState::WasNotified;
    }
    return waiters_.Wait(lock_, waiter, milliseconds, interruptible, [this] { ForgetQueueIfEmpty(); });
}

void HandOverLock::Acquire(bool interruptible, const LockFailures& failures)
{
    switch (Take(Timeout::Infinite, interruptible)) {
    case MonitorState::WasNotified:
        return;
    case MonitorState::WasInterrupted:
        throw InterruptedException(failures.interruptedAcquiring, failures.file, failures.line);
    default:
        throw SynchronizationException(failures.failedAcquiring, failures.file, failures.line);
    }
}

bool HandOverLock::TryAcquire(UInt32 milliseconds, bool interruptible, const LockFailures& failures)
{
    if (milliseconds == 0) {
        return TakeIfFree(GetCurrentId());
    }
    switch (Take(milliseconds, interruptible)) {
    case MonitorState::WasNotified:
        return true;
    case MonitorState::HasTimedOut:
        return false;
    case MonitorState::WasInterrupted:
        throw InterruptedException(failures.interruptedTrying, failures.file, failures.line);
    default:
        throw SynchronizationException(failures.failedTrying, failures.file, failures.line);
    }
}

void HandOverLock::Release(const LockFailures& failures)
{
    if (!IsOwnedBy(GetCurrentId())) {
        throw SynchronizationException("Attempting to release an unowned lock.", failures.file,
                                       failures.line);
    }
    if (GetNesting() != 0) {
        SetNesting(GetNesting() - 1);
    } else {
        Notification notification;
        Give(notification);
        notification.Complete();
    }
}

void HandOverLock::Give(Notification& notification)
{
    // Waiters that are being interrupted refuse the lock until they have left the queue.
    for (UInt32 round = 0;; ++round) {
        UInt64 word = word_.load(std::memory_order_relaxed);
        while ((word & Queued) == 0) {
            owner_.store(0, std::memory_order_relaxed);
            if (word_.compare_exchange_weak(word, word & ~UInt64{Held}, std::memory_order_release)) {
                return;
            }
        }
        if (HandOver(notification)) {
            return;
        }
        YieldWhileSpinning(round);
    }
}

/// Answers false when the lock still belongs to the caller.
bool HandOverLock::HandOver(Notification& notification)
{
    const FastLockGuard guard(lock_);
    const Waiter* const next = waiters_.NotifyOne(notification, WaiterQueue::Refusing::Stays);
    if (next != nullptr) {
        // The new owner reads its id only after its monitor is unlocked by the notification.
        owner_.store(next->threadId, std::memory_order_relaxed);
        ForgetQueueIfEmpty();
    }
    return next != nullptr;
}

bool HandOverLock::Receive(Waiter& waiter)
{
    const FastLockGuard guard(lock_);
    UInt64 word = word_.load(std::memory_order_relaxed);
    do {
        if ((word & Held) == 0 || IsOwnedBy(waiter.threadId)) {
            return false;
        }
    } while ((word & Queued) == 0 &&
             !word_.compare_exchange_weak(word, word | Queued, std::memory_order_relaxed));
    waiters_.Append(waiter);
    waiter.isHeir = true;
    // A releaser that comes after this one leaves the `FastLock` must not find the monitor busy.
    waiter.monitor.Unlock();
    return true;
}

bool HandOverLock::TryEnterReader() noexcept
{
    // The first guess is the usual case, and saves a load that the exchange would wait for.
    UInt64 word = Free;
    do {
        if (word_.compare_exchange_weak(word, word + OneReader, std::memory_order_acquire)) {
            return true;
        }
    } while (!MustWait(word));
    return false;
}

bool HandOverLock::TryLeaveReader() noexcept
{
    UInt64 word = OneReader;
    do {
        if (word_.compare_exchange_weak(word, word - OneReader, std::memory_order_release)) {
            return true;
        }
    } while (!MustWait(word) && CountReaders(word) > ((word & WriterWaits) != 0 ? 1 : 0));
    return false;
}

Int32 HandOverLock::AddReaders(Int32 count) noexcept
{
    const UInt64 change = OneReader * static_cast<UInt64>(static_cast<Int64>(count));
    return CountReaders(word_.fetch_add(change, std::memory_order_acq_rel) + change);
}

void HandOverLock::SetWriterWaits(bool waits) noexcept
{
    if (waits) {
        word_.fetch_or(WriterWaits, std::memory_order_relaxed);
    } else {
        word_.fetch_and(~UInt64{WriterWaits}, std::memory_order_relaxed);
    }
}

} // namespace QV::Impl
