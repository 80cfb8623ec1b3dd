/// A place to wait for a change of what a lock guards.
///
///     const LockGuard guard(lock);
///     while (queue.IsEmpty()) {
///         condition.Wait(true);
///     }
///
/// Waiting releases the lock once and holds it again before it reports anything, an interrupt too. Waiters
/// are notified in the order of arrival, and a wait ends for no other reason than those described, but the
/// state may have changed again until the lock is held.
///
/// A wait with a `ReentrantLock` that is held twice releases one level only, so nobody else gets in.
///
/// Threads: any; whoever waits holds the lock. Errors: what releasing the lock throws, before the wait;
/// `InterruptedException`. Allocation: one block when it is made.
#pragma once

#include <QVRoot/Threading/Lockable.hpp>
#include <QVRoot/Threading/Waitable.hpp>

namespace QV {

namespace Impl {
class ConditionImpl;
}

class QV_EXPORT Condition final : public Waitable {
public:
    /// Bound to the lock for good; does not own it.
    explicit Condition(Lockable& lockable);
    ~Condition() override;
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    void Wait(bool interruptible = false) override;
    /// Answers whether the wait was notified. Getting the lock back may take longer than the time given.
    bool Wait(UInt32 timeoutMs, bool interruptible, UInt32* remaining = nullptr) override;
    bool Wait(const Timeout& timeout, bool interruptible, UInt32* remaining = nullptr) override;

    /// Wakes the oldest waiter that is not being interrupted. The lock need not be held.
    void Notify();
    void NotifyAll();

private:
    friend class Barrier;

    Impl::ConditionImpl* impl_;
};

} // namespace QV
