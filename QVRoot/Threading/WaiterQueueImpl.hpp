/// The threads that wait at a primitive, oldest first. An entry lies on the stack of the thread that waits,
/// so queueing allocates nothing and cannot fail.
///
/// The primitive's `FastLock` guards its queue. Whoever notifies a waiter holds the waiter's monitor until it
/// has left the `FastLock`: only then can the waiter go on, and even destroy the primitive.
#pragma once

#include <QVRoot/Threading/ThreadMonitorImpl.hpp>

namespace QV::Impl {

class HandOverLock;
class ThreadImpl;

struct Waiter {
    explicit Waiter(ThreadImpl& thread) noexcept;

    ThreadMonitorImpl& monitor;
    UInt32 threadId;
    bool isQueued = false;
    bool isHeir = false; ///< becomes the owner of the lock that received it
    Waiter* previous = nullptr;
    Waiter* next = nullptr; ///< also links the waiters of a `Notification`
    WakeUp wakeUp;
};

/// Waiters that have left the queue and whose monitors are still held. To be completed without any lock.
class Notification {
public:
    void Add(Waiter& waiter) noexcept;
    /// Lets the waiters go.
    void Complete() noexcept;

private:
    Waiter* first_ = nullptr;
    Waiter** end_ = &first_;
};

class WaiterQueue {
public:
    constexpr WaiterQueue() noexcept = default;
    WaiterQueue(const WaiterQueue&) = delete;
    WaiterQueue& operator=(const WaiterQueue&) = delete;

    bool IsEmpty() const noexcept { return first_ == nullptr; }
    void Append(Waiter& waiter) noexcept;
    void Remove(Waiter& waiter) noexcept;

    /// What becomes of a waiter that does not take a notification because it is being interrupted.
    enum class Refusing { Stays, IsRemoved };

    /// Notifies the oldest waiter that takes it and removes it. Null when nobody does: all that are queued
    /// still are about to leave on their own.
    Waiter* NotifyOne(Notification& notification, Refusing refusing);
    /// Notifies and removes all.
    void NotifyAll(Notification& notification);

    /// The same for a condition: those who refuse are removed as well, and the lock that the others need next
    /// receives them, if there is one and it is not free. Then they sleep on until it is theirs.
    bool PassOne(Notification& notification, HandOverLock* lock);
    void PassAll(Notification& notification, HandOverLock* lock);

    /// Queues the calling thread's entry and waits. `lock` is the primitive's, held on entry and left before
    /// the wait. The result is `WasNotified` exactly when a notification has removed the entry; otherwise it
    /// has been removed here, followed by `afterRemoval`, under the lock. So it is when the wait throws. When
    /// the lock has been left, and before the thread sleeps, `first` is completed.
    template <class AfterRemoval>
    MonitorState::Result Wait(FastLock& lock, Waiter& waiter, UInt32 milliseconds, bool interruptible,
                              AfterRemoval afterRemoval, Notification* first = nullptr);

private:
    Waiter* first_ = nullptr;
    Waiter* last_ = nullptr;
};

template <class AfterRemoval>
MonitorState::Result WaiterQueue::Wait(FastLock& lock, Waiter& waiter, UInt32 milliseconds,
                                       bool interruptible, AfterRemoval afterRemoval, Notification* first)
{
    const auto withdraw = [&] {
        if (waiter.isQueued) {
            Remove(waiter);
            afterRemoval();
        }
        lock.Leave();
    };
    const auto completeFirst = [&] {
        if (first != nullptr) {
            first->Complete();
        }
    };
    Append(waiter);
    waiter.monitor.Lock();
    if (!waiter.monitor.BeginWait(interruptible)) {
        waiter.monitor.Unlock();
        withdraw();
        completeFirst();
        return MonitorState::WasInterrupted;
    }
    lock.Leave();
    completeFirst();
    try {
        const MonitorState::Result result = waiter.monitor.FinishWait(milliseconds);
        waiter.monitor.Unlock();
        if (result != MonitorState::WasNotified) {
            lock.Enter();
            withdraw();
        }
        return result;
    } catch (...) {
        waiter.monitor.Unlock();
        lock.Enter();
        withdraw();
        throw;
    }
}

} // namespace QV::Impl
