/// Busy locks that serve in the order of arrival: each thread draws a ticket and gives the processor away
/// until its number is up. For sections of a few instructions, with no more threads than processors.
///
///     const TicketLockGuard guard(lock);
///
/// Nobody checks who releases. Neither interruptible nor timed.
///
/// Threads: any. Errors: none. Allocation: none.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

// A system header may have renamed our member by now.
#undef Yield

namespace QV {

class QV_EXPORT TicketLock {
public:
    constexpr TicketLock() noexcept = default;
    TicketLock(const TicketLock&) = delete;
    TicketLock& operator=(const TicketLock&) = delete;

    void Acquire() noexcept;
    void Release() noexcept;

private:
    static void Yield() noexcept;

    UInt32 nowServing_ = 0;
    UInt32 nextTicket_ = 0;
};

/// The same for an owner that may acquire it again. Releasing takes one level away, whoever does it.
class QV_EXPORT ReentrantTicketLock {
public:
    constexpr ReentrantTicketLock() noexcept = default;
    ReentrantTicketLock(const ReentrantTicketLock&) = delete;
    ReentrantTicketLock& operator=(const ReentrantTicketLock&) = delete;

    void Acquire() noexcept;
    void Release() noexcept;

private:
    UInt32 nowServing_ = 0;
    UInt32 nextTicket_ = 0;
    Int64 ownerThreadId_ = 0;
    UInt32 holdCount_ = 0;
};

static_assert(sizeof(TicketLock) == 8);
static_assert(sizeof(ReentrantTicketLock) == 24);

/// Holds a ticket lock, volatile or not, for the length of a scope.
class TicketLockGuard {
public:
    explicit TicketLockGuard(TicketLock& lock) noexcept : lock_(&lock) { lock_->Acquire(); }
    explicit TicketLockGuard(volatile TicketLock& lock) noexcept
        : TicketLockGuard(const_cast<TicketLock&>(lock))
    {
    }
    ~TicketLockGuard() { lock_->Release(); }
    TicketLockGuard(const TicketLockGuard&) = delete;
    TicketLockGuard& operator=(const TicketLockGuard&) = delete;

private:
    TicketLock* lock_;
};

class ReentrantTicketLockGuard {
public:
    explicit ReentrantTicketLockGuard(ReentrantTicketLock& lock) noexcept : lock_(&lock) { lock_->Acquire(); }
    explicit ReentrantTicketLockGuard(volatile ReentrantTicketLock& lock) noexcept
        : ReentrantTicketLockGuard(const_cast<ReentrantTicketLock&>(lock))
    {
    }
    ~ReentrantTicketLockGuard() { lock_->Release(); }
    ReentrantTicketLockGuard(const ReentrantTicketLockGuard&) = delete;
    ReentrantTicketLockGuard& operator=(const ReentrantTicketLockGuard&) = delete;

private:
    ReentrantTicketLock* lock_;
};

} // namespace QV
