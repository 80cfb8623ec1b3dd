/// What a thread does that finds a lock taken, before it queues up.
#pragma once

#include <QVRoot/Threading/ParkImpl.hpp>
#include <QVRoot/Threading/SpinLockImpl.hpp>

namespace QV::Impl {

/// Tries again and again, for about as long as it takes to wake a thread up. With less patience, two threads
/// with short sections would put each other to sleep in turn for ever.
///
/// A thread that has not arrived has no place in the order yet, and may not overtake those who have: `tryTake`
/// must fail while threads are queued, which `areQueued` tells. But once they are through, nobody has to sleep
/// any more, so this thread gives them its processor; if that takes long, it queues up as well.
template <class TryTake, class AreQueued>
bool TakeBeforeArrival(Polling& polling, TryTake tryTake, AreQueued areQueued)
{
    constexpr UInt32 patience = 12; // in units of the usual limit
    constexpr UInt64 patienceInNanos = 20000;
    UInt64 deadline = 0;
    for (UInt32 spins = polling.GetLimit() * patience; spins != 0; --spins) {
        if (tryTake()) {
            polling.Note(true);
            return true;
        }
        if (!areQueued()) {
            PauseProcessor();
            continue;
        }
        YieldWhileSpinning(0);
        const UInt64 now = GetMonotonicNanos();
        deadline = deadline == 0 ? now + patienceInNanos : deadline;
        if (now >= deadline) {
            break;
        }
    }
    polling.Note(false);
    return false;
}

} // namespace QV::Impl
