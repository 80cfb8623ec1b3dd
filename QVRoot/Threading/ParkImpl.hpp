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

} // namespace QV::Impl
