#include <QVRoot/Threading/FastLockImpl.hpp>

#include <QVRoot/Threading/ParkImpl.hpp>
#include <QVRoot/Threading/SpinLockImpl.hpp>

namespace QV::Impl {

bool FastLock::TryNest(UInt32 me)
{
    // Only the owner can find its own id here, so a relaxed load tells.
    if (owner_.load(std::memory_order_relaxed) != me) {
        return false;
    }
    if (nesting_ == 0xFFFFFFFF) {
        ThrowFastLockFailure("Failed to acquire fast lock: failed to enter critical section.");
    }
    ++nesting_;
    return true;
}

void FastLock::EnterContended(UInt32 me)
{
    if (TryNest(me)) {
        return;
    }
    for (UInt32 spins = GetSpinLimit(); spins != 0; --spins) {
        PauseProcessor();
        if (state_.load(std::memory_order_relaxed) == Free && TrySet(me)) {
            return;
        }
    }
    // Whoever slept here must suppose that others still do.
    for (UInt32 round = 0; state_.exchange(HeldWithSleepers, std::memory_order_acquire) != Free; ++round) {
        if (Park(state_, HeldWithSleepers, Deadline()) == ParkResult::Failed) {
            YieldWhileSpinning(round);
        }
    }
    owner_.store(me, std::memory_order_relaxed);
}

void FastLock::WakeSleeper() noexcept
{
    UnparkOne(state_);
}

} // namespace QV::Impl
