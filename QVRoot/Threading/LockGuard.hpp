/// Holds a lock for the length of a scope.
///
///     const LockGuard guard(lock);
///
/// Serves every `Lockable`: locks, spin locks, the views of read-write locks, permits of a semaphore. The
/// ticket locks have guards of their own.
#pragma once

#include <QVRoot/Threading/Lockable.hpp>

namespace QV {

class LockGuard {
public:
    /// Acquires; throws what the lock throws.
    explicit LockGuard(Lockable& lock, bool interruptible = false) : lock_(lock)
    {
        lock_.Acquire(interruptible);
    }
    /// Takes over a lock that is held already.
    struct Adopt {};
    LockGuard(Lockable& lock, Adopt) noexcept : lock_(lock) {}

    ~LockGuard() { lock_.Release(); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

private:
    Lockable& lock_;
};

} // namespace QV
