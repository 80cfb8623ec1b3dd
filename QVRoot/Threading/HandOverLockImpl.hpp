/// What `Lock` and `ReentrantLock` have in common: an owner, a queue, and the hand-over from one to the next.
///
/// One word holds the owner's id, and a flag as long as threads are queued. Without the flag the word changes
/// by compare-and-swap; with it, only under the `FastLock`. A release with waiters makes the next owner
/// itself, so there is no moment in which the lock is free and waited for, and a woken thread has nothing
/// left to do.
#pragma once

#include <QVRoot/Threading/WaiterQueueImpl.hpp>

namespace QV::Impl {

class HandOverLock {
public:
    constexpr HandOverLock() noexcept = default;

    bool IsOwnedBy(UInt32 me) const noexcept
    {
        // Only this thread writes its own id here or has it taken away.
        return static_cast<UInt32>(word_.load(std::memory_order_relaxed)) == me;
    }

    /// Takes the lock when it is free.
    bool TryTake(UInt32 me) noexcept
    {
        UInt64 expected = Free;
        return word_.compare_exchange_strong(expected, me, std::memory_order_acquire);
    }

    /// For a thread that is not the owner: waits until it is. `WasNotified` says so.
    MonitorState::Result Take(UInt32 me, UInt32 milliseconds, bool interruptible);

    /// For the owner.
    void Give(UInt32 me)
    {
        if (!TryFree(me)) {
            GiveContended(me);
        }
    }

private:
    /// The low half is the owner's id.
    enum : UInt64 { Free = 0, Queued = UInt64{1} << 32 };

    bool TryFree(UInt32 me) noexcept
    {
        UInt64 expected = me;
        return word_.compare_exchange_strong(expected, Free, std::memory_order_release);
    }

    bool TakeBySpinning(UInt32 me) noexcept;
    bool TakeOrMarkQueued(UInt32 me) noexcept;
    void GiveContended(UInt32 me);
    bool HandOver();

    std::atomic<UInt64> word_ = Free;
    Polling polling_;
    FastLock lock_;
    WaiterQueue waiters_;
};

} // namespace QV::Impl
