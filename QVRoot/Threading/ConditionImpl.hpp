/// The waiters of a `Condition`.
///
/// When the lockable is a lock with a queue of its own, a notified waiter moves there without waking up: it
/// would only find the lock held by whoever has notified it. It goes on as the owner.
#pragma once

#include <QVRoot/Threading/HandOverLockImpl.hpp>

namespace QV::Impl {

class ConditionImpl {
public:
    explicit ConditionImpl(Lockable& lockable) noexcept : lockable_(lockable) {}

    MonitorState::Result Wait(UInt32 milliseconds, bool interruptible);
    void Notify();
    void NotifyAll();

    /// The same for waiters that do not need the lockable any more: they wake up without it, all at once,
    /// when the notification is completed. What the wait throws, it throws without the lockable.
    MonitorState::Result WaitAndLeave(UInt32 milliseconds, bool interruptible);
    void NotifyAllToLeave(Notification& notification);

private:
    void ReleaseLockable(UInt32 me, Notification& heir);
    MonitorState::Result WaitReleased(Waiter& waiter, UInt32 milliseconds, bool interruptible,
                                      bool& isReleased);

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

} // namespace QV::Impl
