#include <QVRoot/Threading/ThreadMonitorImpl.hpp>

#include <QVRoot/Threading/SpinLockImpl.hpp>

namespace QV::Impl {

bool WakeUp::Run() const noexcept
{
    return word_ == nullptr || UnparkOne(*word_);
}

template <class Step>
UInt32 ThreadMonitorImpl::Advance(Step step) noexcept
{
    UInt32 before = state_.load(std::memory_order_relaxed);
    UInt32 after;
    do {
        after = before;
        step(after);
    } while (!state_.compare_exchange_weak(before, after, std::memory_order_acq_rel));
    return before;
}

void ThreadMonitorImpl::Lock()
{
    monitorLock_.Enter();
    ownerThreadId_.store(GetCurrentId(), std::memory_order_relaxed);
}

bool ThreadMonitorImpl::TryLock()
{
    if (!monitorLock_.TryEnter()) {
        return false;
    }
    ownerThreadId_.store(GetCurrentId(), std::memory_order_relaxed);
    return true;
}

void ThreadMonitorImpl::Unlock() noexcept
{
    ownerThreadId_.store(0, std::memory_order_relaxed);
    monitorLock_.Leave();
}

bool ThreadMonitorImpl::IsOwnedByCaller() const noexcept
{
    return ownerThreadId_.load(std::memory_order_relaxed) == GetCurrentId();
}

ThreadMonitorImpl::Result ThreadMonitorImpl::Wait(bool interruptible)
{
    return TimedWait(0xFFFFFFFF, interruptible);
}

ThreadMonitorImpl::Result ThreadMonitorImpl::TimedWait(UInt32 milliseconds, bool interruptible)
{
    return BeginWait(interruptible) ? FinishWait(milliseconds) : Result::WasInterrupted;
}

bool ThreadMonitorImpl::BeginWait(bool interruptible)
{
    if (!IsOwnedByCaller()) {
        ThrowMonitorNotOwned(
            "Failed to wait for thread monitor: the caller thread the is not the owner of the "
            "thread monitor.");
    }
    bool waits = false;
    Advance([&](UInt32& state) { waits = MonitorState::BeginWait(state, interruptible); });
    if (waits) {
        Unlock();
    }
    return waits;
}

ThreadMonitorImpl::Result ThreadMonitorImpl::FinishWait(UInt32 milliseconds)
{
    bool failed = false;
    bool over = PollUntilOver() || SleepUntilOver(milliseconds, failed);
    Result result = Result::GoesOn;
    for (UInt32 round = 0;; ++round) {
        Advance([&](UInt32& state) { result = MonitorState::EndWait(state, !over); });
        if (result != Result::GoesOn) {
            break;
        }
        // What was promised comes, even if the system does not let the thread sleep.
        over = SleepUntilOver(0xFFFFFFFF, failed);
        if (!over) {
            YieldWhileSpinning(round);
        }
    }
    Lock();
    if (failed && result == Result::HasTimedOut) {
        ThrowMonitorFailure("Failed to wait for thread monitor: internal error.");
    }
    return result;
}

bool ThreadMonitorImpl::PollUntilOver() noexcept
{
    for (UInt32 spins = polling_.GetLimit(); spins != 0; --spins) {
        if (MonitorState::IsWaitOver(state_.load(std::memory_order_relaxed))) {
            polling_.Note(true);
            return true;
        }
        PauseProcessor();
    }
    polling_.Note(false);
    return false;
}

/// Answers whether the wait is over for another reason than the time or a failure.
bool ThreadMonitorImpl::SleepUntilOver(UInt32 milliseconds, bool& failed) noexcept
{
    const Deadline deadline = Deadline::After(milliseconds);
    for (;;) {
        UInt32 state = state_.load(std::memory_order_acquire);
        if (MonitorState::IsWaitOver(state)) {
            return true;
        }
        const UInt32 asleep = state | MonitorState::Asleep;
        if (state != asleep && !state_.compare_exchange_weak(state, asleep, std::memory_order_acq_rel)) {
            continue;
        }
        const ParkResult result = Park(state_, asleep, deadline);
        if (result != ParkResult::Woken) {
            failed = result == ParkResult::Failed;
            return false;
        }
    }
}

void ThreadMonitorImpl::CheckNotifier() const
{
    if (!IsOwnedByCaller()) {
        ThrowMonitorNotOwned("Failed to notify thread monitor: the caller thread the is not the owner of the "
                             "thread monitor.");
    }
}

bool ThreadMonitorImpl::Promise()
{
    CheckNotifier();
    bool taken = false;
    Advance([&](UInt32& state) { taken = MonitorState::Promise(state); });
    return taken;
}

bool ThreadMonitorImpl::Notify(WakeUp& wakeUp)
{
    CheckNotifier();
    bool taken = false;
    UInt32 after = 0;
    const UInt32 before = Advance([&](UInt32& state) {
        taken = MonitorState::Notify(state);
        after = state;
    });
    if (MonitorState::NeedsWakeUp(before, after)) {
        wakeUp.Set(state_);
    }
    return taken;
}

bool ThreadMonitorImpl::Notify()
{
    WakeUp wakeUp;
    const bool taken = Notify(wakeUp);
    if (!wakeUp.Run()) {
        Advance([](UInt32& state) { state &= ~UInt32{MonitorState::Notified}; });
        ThrowMonitorFailure("Failed to notify thread monitor: failed to signal manual-reset event.");
    }
    return taken;
}

bool ThreadMonitorImpl::IsInterrupted() const noexcept
{
    return MonitorState::HasInterrupt(state_.load(std::memory_order_acquire));
}

bool ThreadMonitorImpl::TestAndClearInterrupted() noexcept
{
    return MonitorState::HasInterrupt(
        Advance([](UInt32& state) { state &= ~UInt32{MonitorState::Interrupted}; }));
}

void ThreadMonitorImpl::WakeIfNeeded(UInt32 before, UInt32 after, const char* failure)
{
    if (MonitorState::NeedsWakeUp(before, after) && !UnparkOne(state_)) {
        ThrowMonitorFailure(failure);
    }
}

void ThreadMonitorImpl::Interrupt()
{
    UInt32 after = 0;
    const UInt32 before = Advance([&](UInt32& state) {
        MonitorState::Interrupt(state);
        after = state;
    });
    WakeIfNeeded(before, after, "Failed to interrupt thread monitor: failed to signal manual-reset event.");
    TellInterruptible();
}

bool ThreadMonitorImpl::IsCanceled() const noexcept
{
    return (state_.load(std::memory_order_acquire) & MonitorState::Canceled) != 0;
}

bool ThreadMonitorImpl::ClearInterruptAndTestCanceled() noexcept
{
    return (Advance([](UInt32& state) { state &= ~UInt32{MonitorState::Interrupted}; }) &
            MonitorState::Canceled) != 0;
}

void ThreadMonitorImpl::Cancel()
{
    UInt32 after = 0;
    const UInt32 before = Advance([&](UInt32& state) {
        MonitorState::Cancel(state);
        after = state;
    });
    WakeIfNeeded(before, after, "Failed to cancel thread monitor: failed to signal manual-reset event.");
    TellInterruptible();
}

void ThreadMonitorImpl::TellInterruptible() noexcept
{
    try {
        const FastLockGuard guard(blockedOnLock_);
        if (blockedOn_ != nullptr) {
            blockedOn_->Interrupt();
        }
    } catch (...) {
    }
}

void ThreadMonitorImpl::BlockOn(Interruptible* interruptible)
{
    const FastLockGuard guard(blockedOnLock_);
    if (interruptible != nullptr && blockedOn_ != nullptr) {
        ThrowMonitorFailure("Illegal block on set operation: interruptible interface set operations aren't "
                            "nestable.");
    }
    if (interruptible == nullptr && blockedOn_ == nullptr) {
        ThrowMonitorFailure(
            "Illegal block on reset operation: interruptible interface reset operations must be "
            "preceded by set operations.");
    }
    blockedOn_ = interruptible;
}

void ThreadMonitorImpl::RestoreInterrupt() noexcept
{
    Advance([](UInt32& state) { MonitorState::Interrupt(state); });
}

} // namespace QV::Impl
