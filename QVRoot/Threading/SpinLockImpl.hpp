/// The smallest lock: for sections of a few instructions that must neither allocate, adopt a thread nor
/// call the system. Constant-initialised, four bytes, not recursive, not fair.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <atomic>

namespace QV::Impl {

/// Gives the processor to another thread; sleeps for 1 ms once `round` passes 64, so that a waiter of high
/// priority cannot starve the owner for ever.
void YieldWhileSpinning(UInt32 round) noexcept;

class SpinLock {
public:
    constexpr SpinLock() noexcept = default;
    SpinLock(const SpinLock&) = delete;
    SpinLock& operator=(const SpinLock&) = delete;

    bool TryLock() noexcept
    {
        return !held_.load(std::memory_order_relaxed) && !held_.exchange(true, std::memory_order_acquire);
    }
    void Lock() noexcept
    {
        if (!TryLock()) {
            LockContended();
        }
    }
    void Unlock() noexcept { held_.store(false, std::memory_order_release); }

private:
    void LockContended() noexcept;

    std::atomic<bool> held_ = false;
};

class SpinLockGuard {
public:
    explicit SpinLockGuard(SpinLock& lock) noexcept : lock_(lock) { lock_.Lock(); }
    ~SpinLockGuard() { lock_.Unlock(); }
    SpinLockGuard(const SpinLockGuard&) = delete;
    SpinLockGuard& operator=(const SpinLockGuard&) = delete;

private:
    SpinLock& lock_;
};

} // namespace QV::Impl
