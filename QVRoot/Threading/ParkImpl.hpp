/// Sleeping on a word of memory: the one place where a thread of the library blocks in the kernel. Locks,
/// thread monitors and their time-outs are written over these few functions.
///
/// Nothing here allocates or throws.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <atomic>

namespace QV::Impl {

enum class ParkResult { Woken, TimedOut, Failed };

/// Nanoseconds of a clock that never goes back.
UInt64 GetMonotonicNanos() noexcept;

/// A point of that clock; what never comes is `Never`.
struct Deadline {
    static constexpr UInt64 Never = ~UInt64{0};

    /// `milliseconds` from now; 0xFFFFFFFF means no limit.
    static Deadline After(UInt32 milliseconds) noexcept
    {
        constexpr UInt64 nanosInMilli = 1'000'000;
        return {milliseconds == 0xFFFFFFFF ? Never : GetMonotonicNanos() + milliseconds * nanosInMilli};
    }

    UInt64 nanos = Never;
};

/// Sleeps as long as the word has the given value. May return for no reason; a time-out is never early.
ParkResult Park(const std::atomic<UInt32>& word, UInt32 value, Deadline deadline) noexcept;

/// Wake one or all of the threads that sleep on the word. Only the address is used, so the word itself may be
/// gone by now. Answers false when the system refuses.
bool UnparkOne(const std::atomic<UInt32>& word) noexcept;
bool UnparkAll(const std::atomic<UInt32>& word) noexcept;

/// Tells the processor that this is a loop of polling.
void PauseProcessor() noexcept;

/// How often a waiter polls before it sleeps: about a microsecond, not at all on a single processor.
UInt32 GetSpinLimit() noexcept;

/// Remembers whether polling has paid at one place. Where whoever is waited for shares the processor, it
/// never does and only keeps them from it; then it is tried again just now and then.
class Polling {
public:
    constexpr Polling() noexcept = default;

    /// How often to poll this time.
    UInt32 GetLimit() const noexcept
    {
        const UInt32 failures = failures_.load(std::memory_order_relaxed);
        return failures < Patience || failures % TryEvery == 0 ? GetSpinLimit() : 0;
    }
    void Note(bool succeeded) noexcept
    {
        // Threads may overwrite each other's count: it is a guess.
        const UInt32 failures = succeeded ? 0 : failures_.load(std::memory_order_relaxed) + 1;
        failures_.store(failures, std::memory_order_relaxed);
    }

private:
    enum : UInt32 { Patience = 4, TryEvery = 64 };

    std::atomic<UInt32> failures_ = 0;
};

} // namespace QV::Impl
