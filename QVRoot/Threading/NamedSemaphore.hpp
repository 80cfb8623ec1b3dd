/// A semaphore that processes share by its name.
///
///     NamedSemaphore turn("printer", 1);
///     const LockGuard guard(turn);
///
/// Whoever comes first makes it with the initial count; it is gone when the last process lets go of it, also
/// by a crash. Any process of any user can open it. Its maximum is 0x7FFFFFFF.
///
/// A kernel object of its own: waits are not interruptible.
///
/// Threads: any. Errors: `IllegalArgumentException` for a null name; `SynchronizationException` when the
/// system refuses. Allocation: one block when it is made.
#pragma once

#include <QVRoot/Threading/Lockable.hpp>

namespace QV {

namespace Impl {
class NamedSemaphoreImpl;
}

class QV_EXPORT NamedSemaphore final : public Lockable {
public:
    /// The name is in the default code page. Of a semaphore that exists already, the count is left alone.
    NamedSemaphore(const char* name, UInt32 initialCount);
    ~NamedSemaphore() override;

    void Acquire(bool interruptible = false) override;
    bool TryAcquire(UInt32 timeoutMs, bool interruptible = false, UInt32* remaining = nullptr) override;
    bool TryAcquire(const Timeout& timeout, bool interruptible = false, UInt32* remaining = nullptr) override;
    void Release() override;

private:
    Impl::NamedSemaphoreImpl* impl_;
};

} // namespace QV
