/// What can be acquired and released: every lock of the library but the ticket locks, the views of the
/// read-write locks, and the semaphores.
///
/// Times are milliseconds, 0xFFFFFFFF (`Timeout::Infinite`) is no limit. An interruptible wait ends with
/// `InterruptedException` when the thread is interrupted; the others leave the interrupt pending.
/// `remaining`, unless it is null, receives what is left of the time, however the call ends; only then is a
/// clock read.
///
/// Threads: any. Errors: what each class says.
#pragma once

#include <QVRoot/Threading/Timeout.hpp>

namespace QV {

class QV_EXPORT Lockable {
public:
    virtual ~Lockable();

    /// Waits as long as it takes.
    virtual void Acquire(bool interruptible = false) = 0;

    /// Answers false when the time has run out; a time of 0 does not wait.
    virtual bool TryAcquire(UInt32 timeoutMs, bool interruptible = false, UInt32* remaining = nullptr) = 0;
    virtual bool TryAcquire(const Timeout& timeout, bool interruptible = false, UInt32* remaining = nullptr);

    virtual void Release() = 0;

protected:
    constexpr Lockable() noexcept = default;
    Lockable(const Lockable&) = delete;
    Lockable& operator=(const Lockable&) = delete;
};

} // namespace QV
