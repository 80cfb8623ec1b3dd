/// The critical section inside every blocking primitive: for sections that do not wait for anybody.
///
/// Recursive. Polls for a moment before it sleeps. Nothing is created, so making one cannot fail; entering
/// fails only when one thread nests it 2^32 times.
#pragma once

#include <CurrentThreadImpl.hpp>

#include <atomic>

namespace QV::Impl {

class FastLock {
public:
    constexpr FastLock() noexcept = default;
    FastLock(const FastLock&) = delete;
    FastLock& operator=(const FastLock&) = delete;

    /// Throws `SynchronizationException` when it cannot be entered.
    void Enter()
    {
        const UInt32 me = GetCurrentId();
        if (TrySet(me)) [[likely]] {
            return;
        }
        EnterContended(me);
    }

    bool TryEnter()
    {
        const UInt32 me = GetCurrentId();
        return TrySet(me) || TryNest(me);
    }

    void Leave() noexcept
    {
        if (nesting_ != 0) {
            --nesting_;
            return;
        }
        owner_.store(0, std::memory_order_relaxed);
        // From here on the lock may be gone: another thread may have entered, left and destroyed it.
        if (state_.exchange(Free, std::memory_order_release) == HeldWithSleepers) {
            WakeSleeper();
        }
    }

private:
    enum : UInt32 { Free, Held, HeldWithSleepers };

    bool TrySet(UInt32 me) noexcept
    {
        UInt32 expected = Free;
        if (!state_.compare_exchange_strong(expected, Held, std::memory_order_acquire)) {
            return false;
        }
        owner_.store(me, std::memory_order_relaxed);
        return true;
    }

    bool TryNest(UInt32 me);
    void EnterContended(UInt32 me);
    void WakeSleeper() noexcept;

    std::atomic<UInt32> state_ = Free;
    std::atomic<UInt32> owner_ = 0;
    UInt32 nesting_ = 0;
};

/// Throws `SynchronizationException`, naming the platform's source file.
[[noreturn]] void ThrowFastLockFailure(const char* message);

class FastLockGuard {
public:
    explicit FastLockGuard(FastLock& lock) : lock_(lock) { lock_.Enter(); }
    ~FastLockGuard() { lock_.Leave(); }
    FastLockGuard(const FastLockGuard&) = delete;
    FastLockGuard& operator=(const FastLockGuard&) = delete;

private:
    FastLock& lock_;
};

} // namespace QV::Impl
