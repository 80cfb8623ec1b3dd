#include <QVRoot/Threading/Barrier.hpp>

#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/LockGuard.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>

namespace QV {

namespace {

/// How far a reset goes back, so that waiters of the last few generations see it.
constexpr UInt32 resetStep = 4;

} // namespace

Barrier::Barrier(UInt32 parties) : tripped_(lock_), parties_(parties), remaining_(parties)
{
    if (parties == 0) {
        QV_THROW(IllegalArgumentException, "Invalid number of parties: number of parties is 0.");
    }
}

Barrier::Barrier(UInt32 parties, const RunnableTask& action) : Barrier(parties)
{
    if (action.IsNull()) {
        QV_THROW(IllegalArgumentException, "Invalid task: task is null.");
    }
    action_ = action;
}

Barrier::~Barrier() = default;

void Barrier::BreakBarrier()
{
    broken_ = true;
    tripped_.NotifyAll();
}

/// The part of every arrival that does not wait: returns the number of parties still missing.
UInt32 Barrier::Arrive()
{
    const UInt32 index = --remaining_;
    if (broken_) {
        QV_THROW(BrokenBarrierException, "Barrier broken.");
    }
    if (Impl::ThreadImpl::GetCurrent().GetMonitor().TestAndClearInterrupted()) {
        BreakBarrier();
        QV_THROW(InterruptedException, "Thread interrupted, barrier broken.");
    }
    if (index == 0) {
        Trip();
    }
    return index;
}

void Barrier::Trip()
{
    remaining_ = parties_;
    ++generation_;
    tripped_.NotifyAll();
    try {
        // The others cannot go on before this thread leaves the lock.
        action_.Run();
    } catch (const QVException&) {
        broken_ = true;
        throw;
    } catch (...) {
        broken_ = true;
        Impl::PassOnForcedUnwinding();
    }
}

/// After a wait: throws when the barrier broke or was reset in the meantime.
void Barrier::CheckWhole(UInt32 generation) const
{
    if (broken_ || static_cast<Int32>(generation_ - generation) < 0) {
        QV_THROW(BrokenBarrierException, "Barrier broken.");
    }
}

UInt32 Barrier::DoWait(bool interruptible)
{
    const LockGuard guard(lock_, true);
    const UInt32 generation = generation_;
    const UInt32 index = Arrive();
    if (index != 0) {
        try {
            tripped_.Wait(interruptible);
        } catch (const InterruptedException&) {
            BreakByInterrupt(generation);
        }
        CheckWhole(generation);
    }
    return index;
}

/// Answers false when the time has run out.
bool Barrier::DoWait(UInt32 timeoutMs, bool interruptible, UInt32& index)
{
    const LockGuard guard(lock_, true);
    const UInt32 generation = generation_;
    index = Arrive();
    if (index == 0) {
        return true;
    }
    bool notified = true;
    try {
        notified = tripped_.Wait(timeoutMs, interruptible, nullptr);
    } catch (const InterruptedException&) {
        BreakByInterrupt(generation);
    }
    CheckWhole(generation);
    if (notified || generation_ != generation) {
        return true;
    }
    BreakBarrier();
    return false;
}

/// An interrupt that came too late to stop this generation must not break the next one.
void Barrier::BreakByInterrupt(UInt32 generation)
{
    if (generation_ == generation) {
        BreakBarrier();
    } else {
        Impl::ThreadImpl::GetCurrent().GetMonitor().RestoreInterrupt();
    }
}

UInt32 Barrier::Await(bool interruptible)
{
    return DoWait(interruptible);
}

UInt32 Barrier::Await(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    const Impl::RemainingTime time(timeoutMs, remaining);
    UInt32 index = 0;
    if (!DoWait(timeoutMs, interruptible, index)) {
        QV_THROW(TimeoutException, "Timeout expired. Barrier is broken.");
    }
    return index;
}

UInt32 Barrier::Await(const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return Await(timeout(), interruptible, remaining);
}

void Barrier::Wait(bool interruptible)
{
    DoWait(interruptible);
}

bool Barrier::Wait(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    const Impl::RemainingTime time(timeoutMs, remaining);
    UInt32 index = 0;
    return DoWait(timeoutMs, interruptible, index);
}

bool Barrier::Wait(const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return Wait(timeout(), interruptible, remaining);
}

void Barrier::Reset()
{
    const LockGuard guard(lock_);
    remaining_ = parties_;
    broken_ = false;
    generation_ -= resetStep;
    tripped_.NotifyAll();
}

} // namespace QV
