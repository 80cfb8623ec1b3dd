/// What `Lock`, `ReentrantLock` and the read-write locks have in common: an owner, a queue, and the hand-over
/// from one to the next.
///
/// One word says whether the lock is held, whether threads are queued, and for the read-write locks how many
/// readers there are. While nobody is queued it changes by compare-and-swap, otherwise only under the
/// `FastLock`. The owner's id stands beside it, written by the owner, so that nobody waits for it to be
/// known. A release with waiters makes the next owner itself, so there is no moment in which the lock is free
/// and waited for, and a woken thread has nothing left to do.
#pragma once

#include <QVRoot/Threading/WaiterQueueImpl.hpp>

namespace QV {
class Lock;
class Lockable;
class ReentrantLock;
} // namespace QV

namespace QV::Impl {

/// What a class of locks says when it fails, and the place that it names.
struct LockFailures {
    const char* file;
    UInt32 line;
    const char* interruptedAcquiring;
    const char* failedAcquiring;
    const char* interruptedTrying;
    const char* failedTrying;
};

class HandOverLock {
public:
    constexpr HandOverLock() noexcept = default;

    /// That of a lock, or null if it is of another kind.
    static HandOverLock* Find(Lockable& lockable) noexcept;
    static HandOverLock& Get(Lock& lock) noexcept;
    static HandOverLock& Get(ReentrantLock& lock) noexcept;

    bool IsOwnedBy(UInt32 me) const noexcept
    {
        // Only this thread writes its own id here or has it taken away.
        return owner_.load(std::memory_order_relaxed) == me;
    }

    /// The plain case of acquiring and releasing; they fail when anything is out of the ordinary.
    bool TryTake() noexcept
    {
        UInt64 expected = Free;
        if (!word_.compare_exchange_strong(expected, Held, std::memory_order_acquire)) {
            return false;
        }
        owner_.store(GetCurrentId(), std::memory_order_relaxed);
        return true;
    }
    bool TryFree() noexcept
    {
        const UInt32 me = GetCurrentIdIfKnown();
        if (me == 0 || !IsOwnedBy(me)) {
            return false;
        }
        owner_.store(0, std::memory_order_relaxed);
        UInt64 expected = Held;
        if (word_.compare_exchange_strong(expected, Free, std::memory_order_release)) {
            return true;
        }
        owner_.store(me, std::memory_order_relaxed);
        return false;
    }

    /// How often the owner has acquired the lock once more. Only the owner changes it.
    UInt32 GetNesting() const noexcept { return nesting_.load(std::memory_order_relaxed); }
    void SetNesting(UInt32 levels) noexcept { nesting_.store(levels, std::memory_order_relaxed); }

    /// Everything else, for a thread that is not the owner.
    void Acquire(bool interruptible, const LockFailures& failures);
    bool TryAcquire(UInt32 milliseconds, bool interruptible, const LockFailures& failures);
    /// Gives up one level, or the lock. Throws when the caller does not own it.
    void Release(const LockFailures& failures);
    /// For the owner: gives up the lock. The next one goes on when the notification is completed.
    void Give(Notification& notification);

    /// Counts a reader in or out without taking the lock. They fail while the lock is owned or waited for,
    /// and when the last reader leaves and a writer has to hear of it.
    bool TryEnterReader() noexcept;
    bool TryLeaveReader() noexcept;

    /// For the owner. `AddReaders` returns the number that there are now.
    Int32 GetReaders() const noexcept { return CountReaders(word_.load(std::memory_order_acquire)); }
    Int32 AddReaders(Int32 count) noexcept;
    /// Whether the last reader must take the lock to leave.
    void SetWriterWaits(bool waits) noexcept;

    /// Queues a thread whose wait for a condition was notified, as if it came to acquire the lock: it wakes
    /// up as the owner. The caller holds its monitor, which is left. False when there is no owner to wait
    /// for.
    bool Receive(Waiter& waiter);

private:
    /// The high half is the number of readers.
    enum : UInt64 { Free = 0, Held = 1, Queued = 2, WriterWaits = 4, OneReader = UInt64{1} << 32 };

    static bool MustWait(UInt64 word) noexcept { return (word & (Held | Queued)) != 0; }
    static Int32 CountReaders(UInt64 word) noexcept { return static_cast<Int32>(word >> 32); }

    bool TakeIfFree(UInt32 me) noexcept;
    bool TakeBeforeArrival(UInt32 me) noexcept;
    bool TakeOrMarkQueued(UInt32 me) noexcept;
    MonitorState::Result Take(UInt32 milliseconds, bool interruptible);
    bool HandOver(Notification& notification);
    void ForgetQueueIfEmpty() noexcept;

    std::atomic<UInt64> word_ = Free;
    std::atomic<UInt32> owner_ = 0;
    std::atomic<UInt32> nesting_ = 0;
    Polling polling_;
    FastLock lock_;
    WaiterQueue waiters_;
};

} // namespace QV::Impl
