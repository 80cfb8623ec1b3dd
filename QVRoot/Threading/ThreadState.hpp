/// Where a thread is in its life, and the steps that are allowed.
///
/// Threads: a value.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

class ThreadState {
public:
    enum State : UInt32 {
        Initialized = 0, ///< constructed, not started
        Running = 1,     ///< started
        Finished = 2,    ///< its task has returned or thrown
        Wrapper = 3,     ///< stands for a thread that the library did not start
    };

    constexpr ThreadState() noexcept = default;
    constexpr ThreadState(State state) noexcept : state_(state) {}

    /// Each answers whether the step was allowed and has happened.
    constexpr bool SetRunning() noexcept { return Change(Initialized, Running); }
    constexpr bool SetInitialized() noexcept { return Change(Running, Initialized); }
    constexpr bool SetWrapper() noexcept { return Change(Initialized, Wrapper); }
    /// Allowed from everywhere.
    constexpr bool SetFinished() noexcept
    {
        state_ = Finished;
        return true;
    }

    constexpr bool IsInitialized() const noexcept { return state_ == Initialized; }
    constexpr bool IsRunning() const noexcept { return state_ == Running; }
    constexpr bool IsFinished() const noexcept { return state_ == Finished; }
    constexpr bool IsWrapper() const noexcept { return state_ == Wrapper; }

    constexpr bool operator==(const ThreadState& other) const noexcept = default;
    constexpr bool operator==(State state) const noexcept { return state_ == state; }

private:
    constexpr bool Change(State from, State to) noexcept
    {
        if (state_ != from) {
            return false;
        }
        state_ = to;
        return true;
    }

    State state_ = Initialized;
};

static_assert(sizeof(ThreadState) == 4);

} // namespace QV
