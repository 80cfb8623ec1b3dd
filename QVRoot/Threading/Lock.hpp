/// A mutual exclusion that is handed on in the order of arrival.
///
///     Lock lock;
///     {
///         const LockGuard guard(lock);
///         …
///     }
///
/// Not reentrant. Nobody barges: while threads wait, a newcomer queues behind them even if the lock is free.
/// Free and uncontended, acquiring is one compare-and-swap, and so is releasing.
///
/// Threads: any. Errors: `DeadlockException` when the owner acquires again, also with `TryAcquire`;
/// `SynchronizationException` when another thread than the owner releases; `InterruptedException` from an
/// interruptible wait. After an error the lock is as it was before the call. Allocation: one block when it is
/// made; a thread that the library did not start gets its `Thread` when it waits for the first time.
///
/// Destroying a lock that is held or waited for is not guarded. The thread that releases last need not have
/// returned from `Release` when the next owner destroys it. Thread ids are used again by the system: a lock
/// that a dead thread left behind looks owned to a later thread of the same id.
#pragma once

#include <QVRoot/Threading/Lockable.hpp>

namespace QV {

namespace Impl {
class HandOverLock;
}

class QV_EXPORT Lock final : public Lockable {
public:
    Lock();
    ~Lock() override;

    void Acquire(bool interruptible = false) override;
    bool TryAcquire(UInt32 timeoutMs, bool interruptible = false, UInt32* remaining = nullptr) override;
    bool TryAcquire(const Timeout& timeout, bool interruptible = false, UInt32* remaining = nullptr) override;
    void Release() override;

private:
    friend class Impl::HandOverLock;

    Impl::HandOverLock* impl_;
};

} // namespace QV
