/// A number of permits, handed out in the order of arrival.
///
///     Semaphore slots(4, 4);
///     const LockGuard slot(slots);
///
/// Any thread may release, up to the maximum. Without waiters, acquiring and releasing are one
/// compare-and-swap each.
///
/// Threads: any. Errors: `IllegalArgumentException` for counts that make no sense; `SynchronizationException`
/// when a release exceeds the maximum; `InterruptedException` from an interruptible wait. Allocation: one
/// block when it is made.
#pragma once

#include <QVRoot/Threading/Lockable.hpp>

namespace QV {

namespace Impl {
class SemaphoreImpl;
}

class QV_EXPORT Semaphore final : public Lockable {
public:
    /// The maximum is at least 1 and not below the initial count.
    Semaphore(UInt32 initialCount, UInt32 maximumCount);
    ~Semaphore() override;

    void Acquire(bool interruptible = false) override;
    bool TryAcquire(UInt32 timeoutMs, bool interruptible = false, UInt32* remaining = nullptr) override;
    bool TryAcquire(const Timeout& timeout, bool interruptible = false, UInt32* remaining = nullptr) override;
    void Release() override;

private:
    Impl::SemaphoreImpl* impl_;
};

} // namespace QV
