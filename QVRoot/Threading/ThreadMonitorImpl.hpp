/// The place where a thread waits: every wait of the library, but for the busy locks, ends here.
///
/// The flags are bits of one word, and each step is one atomic exchange of that word for its successor. The
/// word is the monitor's event as well: a waiting thread polls it for a moment and then sleeps on it. The
/// functions of `MonitorState` are the whole state machine; they know neither threads nor memory.
///
/// The monitor's lock is held by whoever is about to notify, so that the waiter cannot be gone before that is
/// done. A waiter takes its own lock, begins to wait (which gives the lock back) and has it again afterwards.
#pragma once

#include <QVRoot/Threading/FastLockImpl.hpp>
#include <QVRoot/Threading/Interruptible.hpp>
#include <QVRoot/Threading/ParkImpl.hpp>

#include <atomic>

namespace QV::Impl {

struct MonitorState {
    enum Flag : UInt32 {
        Waiting = 1,             ///< the thread is in a wait
        Notified = 2,            ///< that wait has been notified
        Interrupted = 4,         ///< an interrupt is pending
        Canceled = 8,            ///< the thread was canceled, for good
        InterruptsDisabled = 16, ///< the wait leaves interrupts pending
        Asleep = 32,             ///< the thread sleeps, or is about to: a change needs a wake-up
        Promised = 64,           ///< the notification is certain, but is to come later
    };

    /// How a wait ended; or that it may not end yet.
    enum Result : UInt32 { GoesOn = 0, WasNotified = 1, WasInterrupted = 2, HasTimedOut = 3 };

    static bool HasInterrupt(UInt32 state) noexcept
    {
        return (state & (Interrupted | InterruptsDisabled)) == Interrupted;
    }
    /// Whether a waiting thread has a reason to go on.
    static bool IsWaitOver(UInt32 state) noexcept { return (state & Notified) != 0 || HasInterrupt(state); }

    /// Answers false when a pending interrupt is taken instead of waiting.
    static bool BeginWait(UInt32& state, bool interruptible) noexcept
    {
        state &= ~UInt32{Notified | InterruptsDisabled | Asleep | Promised};
        if (interruptible && (state & Interrupted) != 0) {
            state &= ~UInt32{Interrupted};
            return false;
        }
        state |= interruptible ? UInt32{Waiting} : Waiting | InterruptsDisabled;
        return true;
    }

    /// A notification wins over everything, and a promised one is waited for; a time-out leaves an interrupt
    /// that came too late pending.
    static Result EndWait(UInt32& state, bool timedOut) noexcept
    {
        Result result = HasTimedOut;
        if ((state & Notified) != 0) {
            result = WasNotified;
        } else if ((state & Promised) != 0) {
            return GoesOn;
        } else if (!timedOut) {
            result = WasInterrupted;
            state &= ~UInt32{Interrupted};
        }
        state &= ~UInt32{Waiting | Notified | InterruptsDisabled | Asleep | Promised};
        return result;
    }

    /// Answers whether the wait takes the notification.
    static bool Notify(UInt32& state) noexcept
    {
        if (HasInterrupt(state) || (state & Waiting) == 0) {
            return false;
        }
        state |= Notified;
        return true;
    }

    /// Like `Notify`, but the thread goes on waiting, without a limit or interrupts, until it is notified.
    static bool Promise(UInt32& state) noexcept
    {
        if (HasInterrupt(state) || (state & Waiting) == 0) {
            return false;
        }
        state |= Promised | InterruptsDisabled;
        return true;
    }

    static void Interrupt(UInt32& state) noexcept { state |= Interrupted; }
    static void Cancel(UInt32& state) noexcept { state |= Canceled | Interrupted; }

    /// Whether the step from one state to the other must wake the thread.
    static bool NeedsWakeUp(UInt32 before, UInt32 after) noexcept
    {
        return (before & Asleep) != 0 && !IsWaitOver(before) && IsWaitOver(after);
    }
};

/// The second half of a notification, for after the locks were left: the call of the system. It touches
/// nothing but an address, so the waiter may be gone.
class WakeUp {
public:
    void Set(const std::atomic<UInt32>& word) noexcept { word_ = &word; }
    /// Answers false when the system refuses.
    bool Run() const noexcept;

private:
    const std::atomic<UInt32>* word_ = nullptr;
};

class ThreadMonitorImpl {
public:
    using Result = MonitorState::Result;

    constexpr ThreadMonitorImpl() noexcept = default;
    ThreadMonitorImpl(const ThreadMonitorImpl&) = delete;
    ThreadMonitorImpl& operator=(const ThreadMonitorImpl&) = delete;

    void Lock();
    bool TryLock();
    void Unlock() noexcept;

    /// Both need the lock, throw `IllegalMonitorStateException` without it, and return with it. They throw
    /// `SynchronizationException`, with the lock held, when the system does not let the thread sleep.
    Result Wait(bool interruptible);
    Result TimedWait(UInt32 milliseconds, bool interruptible);

    /// Needs the lock. Answers whether the thread waited and takes it: a thread that is being interrupted
    /// does not.
    bool Notify();

    /// Whether an interrupt is pending that a wait would report; the second form clears it.
    bool IsInterrupted() const noexcept;
    bool TestAndClearInterrupted() noexcept;

    /// Ends an interruptible wait of the thread, or the next one, then tells the object of `BlockOn`.
    void Interrupt();

    bool IsCanceled() const noexcept;
    bool ClearInterruptAndTestCanceled() noexcept;
    /// Marks the thread for good and interrupts it.
    void Cancel();

    /// Registers the object to be told of interrupts, on the interrupting thread, with a lock held: it must
    /// not wait for this thread. Null clears it. Calls do not nest: `SynchronizationException`.
    void BlockOn(Interruptible* interruptible);

    /// Leaves an interrupt pending without telling anybody: for the thread itself.
    void RestoreInterrupt() noexcept;

    /// The two halves of a timed wait. Between them the thread counts as waiting and its lock is free. False:
    /// a pending interrupt was taken, there is no second half, and the lock stays held.
    bool BeginWait(bool interruptible);
    Result FinishWait(UInt32 milliseconds);

    /// A notification whose wake-up is left to the caller.
    bool Notify(WakeUp& wakeUp);

    /// Takes the thread's wait for a notification that another primitive is to give. Needs the lock. False as
    /// for `Notify`.
    bool Promise();

private:
    /// Replaces the state by its successor and returns what was there.
    template <class Step>
    UInt32 Advance(Step step) noexcept;

    bool IsOwnedByCaller() const noexcept;
    void CheckNotifier() const;
    bool SleepUntilOver(UInt32 milliseconds, bool& failed) noexcept;
    bool PollUntilOver() noexcept;
    void TellInterruptible() noexcept;
    void WakeIfNeeded(UInt32 before, UInt32 after, const char* failure);

    std::atomic<UInt32> state_ = 0;
    std::atomic<UInt32> ownerThreadId_ = 0;
    Polling polling_;
    FastLock monitorLock_;
    FastLock blockedOnLock_;
    Interruptible* blockedOn_ = nullptr;
};

/// These throw `SynchronizationException` and `IllegalMonitorStateException`, naming the platform's source
/// file.
[[noreturn]] void ThrowMonitorFailure(const char* message);
[[noreturn]] void ThrowMonitorNotOwned(const char* message);

/// Holds a monitor's lock.
class MonitorGuard {
public:
    explicit MonitorGuard(ThreadMonitorImpl& monitor) : monitor_(monitor) { monitor_.Lock(); }
    ~MonitorGuard() { monitor_.Unlock(); }
    MonitorGuard(const MonitorGuard&) = delete;
    MonitorGuard& operator=(const MonitorGuard&) = delete;

private:
    ThreadMonitorImpl& monitor_;
};

} // namespace QV::Impl
