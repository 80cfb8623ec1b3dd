/// Makes a lock usable where the standard library wants one.
///
///     StdLockable mutex(lock);
///     std::unique_lock guard(mutex);
///     std::scoped_lock both(mutex, other);
///
/// It refers to the lock and costs what the lock costs; with a final class as `L`, calls are direct. Where
/// the lock throws for misuse, so does this.
#pragma once

#include <QVRoot/Threading/Lockable.hpp>

#include <chrono>

namespace QV {

template <class L = Lockable>
class StdLockable {
public:
    explicit StdLockable(L& lock) noexcept : lock_(lock) {}

    void lock() { lock_.Acquire(false); }
    bool try_lock() { return lock_.TryAcquire(UInt32{0}, false, nullptr); }
    void unlock() { lock_.Release(); }

    /// Rounded up to whole milliseconds; what does not fit is no limit.
    template <class Rep, class Period>
    bool try_lock_for(const std::chrono::duration<Rep, Period>& duration)
    {
        using Milliseconds = std::chrono::duration<double, std::milli>;
        const double count = std::chrono::duration_cast<Milliseconds>(duration).count();
        if (!(count > 0)) {
            return try_lock();
        }
        const UInt32 timeout =
            count >= Timeout::Infinite ? UInt32{Timeout::Infinite} : static_cast<UInt32>(count);
        return lock_.TryAcquire(timeout + (timeout < count ? 1 : 0), false, nullptr);
    }
    template <class Clock, class Duration>
    bool try_lock_until(const std::chrono::time_point<Clock, Duration>& time)
    {
        return try_lock_for(time - Clock::now());
    }

private:
    L& lock_;
};

} // namespace QV
