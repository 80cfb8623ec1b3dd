#include <QVRoot/Logging/LogLockImpl.hpp>

#include <QVRoot/Threading/SpinLockImpl.hpp>

namespace QV::Impl {

void LogLock::EnterContended() noexcept
{
    for (UInt32 spins = polling_.GetLimit(); spins != 0; --spins) {
        PauseProcessor();
        if (TryEnter()) {
            polling_.Note(true);
            return;
        }
    }
    polling_.Note(false);
    constexpr UInt32 longestSleep = 1; // ms: after that a wake-up must have been missed
    sleepers_.fetch_add(1, std::memory_order_relaxed);
    for (UInt32 round = 0; !TryEnter(); ++round) {
        if (Park(word_, Held, Deadline::After(longestSleep)) == ParkResult::Failed) {
            YieldWhileSpinning(round);
        }
        isWaking_.store(false, std::memory_order_relaxed);
    }
    sleepers_.fetch_sub(1, std::memory_order_relaxed);
}

void LogLock::WakeSleeper() noexcept
{
    if (!isWaking_.load(std::memory_order_relaxed)) {
        isWaking_.store(true, std::memory_order_relaxed);
        UnparkOne(word_);
    }
}

} // namespace QV::Impl
