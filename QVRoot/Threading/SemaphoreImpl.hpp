/// The permits of a `Semaphore`.
///
/// One word holds the count, and a flag as long as threads are queued. Without the flag the word changes by
/// compare-and-swap; with it, only under the `FastLock`. A permit released to a waiter goes to it directly,
/// so the count stays 0 as long as somebody waits, and two releases never wake the same thread.
#pragma once

#include <QVRoot/Threading/WaiterQueueImpl.hpp>

namespace QV::Impl {

class SemaphoreImpl {
public:
    SemaphoreImpl(UInt32 initialCount, UInt32 maximumCount) noexcept
        : word_(initialCount), maximum_(maximumCount)
    {
    }

    /// Takes a permit that is there for everybody.
    bool TryTake() noexcept
    {
        UInt64 word = word_.load(std::memory_order_relaxed);
        while (word != 0 && word < Queued) {
            if (word_.compare_exchange_weak(word, word - 1, std::memory_order_acquire)) {
                return true;
            }
        }
        return false;
    }
    /// Adds a permit to the count. Fails when threads are queued, or the count is at its maximum.
    bool TryPut() noexcept
    {
        UInt64 word = word_.load(std::memory_order_relaxed);
        while (word < maximum_) {
            if (word_.compare_exchange_weak(word, word + 1, std::memory_order_release)) {
                return true;
            }
        }
        return false;
    }

    /// The rest.
    void Acquire(bool interruptible);
    bool TryAcquire(UInt32 timeoutMs, bool interruptible);
    void Release();

private:
    /// The low half is the count.
    enum : UInt64 { Queued = UInt64{1} << 32 };

    bool TakeBeforeArrival() noexcept;
    bool TakeOrMarkQueued() noexcept;
    MonitorState::Result Take(UInt32 milliseconds, bool interruptible);
    bool HandOver();

    std::atomic<UInt64> word_;
    UInt64 maximum_;
    Polling polling_;
    FastLock lock_;
    WaiterQueue waiters_;
};

} // namespace QV::Impl
