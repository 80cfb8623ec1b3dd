/// The logger's lock. Entering costs one atomic exchange, leaving a plain store. It is not fair: whoever
/// runs may enter again before a waiter wakes, since handing a line's few nanoseconds over costs more than
/// the line.
#pragma once

#include <QVRoot/Threading/ParkImpl.hpp>

#include <atomic>

namespace QV::Impl {

class LogLock {
public:
    void Enter() noexcept
    {
        if (word_.exchange(Held, std::memory_order_acquire) != Free) [[unlikely]] {
            EnterContended();
        }
    }

    void Leave() noexcept
    {
        word_.store(Free, std::memory_order_release);
        // A waiter may have gone to sleep between the two. It does not rely on being woken.
        if (sleepers_.load(std::memory_order_relaxed) != 0) [[unlikely]] {
            WakeSleeper();
        }
    }

private:
    enum : UInt32 { Free, Held };

    void EnterContended() noexcept;
    void WakeSleeper() noexcept;
    bool TryEnter() noexcept
    {
        return word_.load(std::memory_order_relaxed) == Free &&
               word_.exchange(Held, std::memory_order_acquire) == Free;
    }

    std::atomic<UInt32> word_ = Free;
    std::atomic<UInt32> sleepers_ = 0;
    std::atomic<bool> isWaking_ = false; ///< one is enough: it takes a while to arrive
    Polling polling_;
};

} // namespace QV::Impl
