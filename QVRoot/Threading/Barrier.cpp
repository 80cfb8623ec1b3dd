#include <QVRoot/Threading/Barrier.hpp>

#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/ConditionImpl.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>

namespace QV {

namespace {

/// How far a reset goes back, so that waiters of the last few generations see it.
constexpr UInt32 resetStep = 4;

} // namespace

/// Holds the barrier's lock, and afterwards lets those go who were notified under it. They do not come back
/// to the lock: what they need to know stands in atomics.
class Barrier::Visit {
public:
    explicit Visit(Barrier& barrier, bool interruptible = false) : lock_(barrier.lock_)
    {
        lock_.Acquire(interruptible);
    }
    ~Visit()
    {
        if (holdsLock) {
            lock_.Release();
        }
        departing.Complete();
    }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

    bool holdsLock = true;
    Impl::Notification departing;

private:
    ReentrantLock& lock_;
};

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

/// An action that resets or visits its own barrier lets nobody go: the others leave when it has ended.
void Barrier::NotifyAll(Impl::Notification& departing)
{
    if (Impl::HandOverLock::Get(lock_).GetNesting() == 0) {
        tripped_.impl_->NotifyAllToLeave(departing);
    }
}

void Barrier::BreakBarrier(Impl::Notification& departing)
{
    broken_ = true;
    NotifyAll(departing);
}

/// The part of every arrival that does not wait: returns the number of parties still missing.
UInt32 Barrier::Arrive(Impl::Notification& departing)
{
    const UInt32 index = --remaining_;
    if (broken_) {
        QV_THROW(BrokenBarrierException, "Barrier broken.");
    }
    if (Impl::ThreadImpl::GetCurrent().GetMonitor().TestAndClearInterrupted()) {
        BreakBarrier(departing);
        QV_THROW(InterruptedException, "Thread interrupted, barrier broken.");
    }
    if (index == 0) {
        Trip(departing);
    }
    return index;
}

void Barrier::Trip(Impl::Notification& departing)
{
    remaining_ = parties_;
    ++generation_;
    // The others cannot go on before this thread leaves the lock. Until then they need not know, either: who
    // gives up meanwhile takes the lock first and finds that the barrier has tripped.
    try {
        action_.Run();
    } catch (const QVException&) {
        broken_ = true;
        NotifyAll(departing);
        throw;
    } catch (...) {
        broken_ = true;
        NotifyAll(departing);
        Impl::PassOnForcedUnwinding();
        return;
    }
    NotifyAll(departing);
}

/// After a wait: throws when the barrier broke or was reset in the meantime.
void Barrier::CheckWhole(UInt32 generation) const
{
    if (broken_ || static_cast<Int32>(generation_ - generation) < 0) {
        QV_THROW(BrokenBarrierException, "Barrier broken.");
    }
}

/// For a party that nobody has notified. Answers false when it breaks the barrier because its time has run
/// out. What came too late to stop this generation must not break the next one.
bool Barrier::GiveUp(UInt32 generation, bool isInterrupted)
{
    Visit visit(*this);
    const bool isOver = generation_ != generation;
    if (isInterrupted) {
        if (isOver) {
            Impl::ThreadImpl::GetCurrent().GetMonitor().RestoreInterrupt();
        } else {
            BreakBarrier(visit.departing);
        }
    }
    CheckWhole(generation);
    if (!isOver) {
        BreakBarrier(visit.departing);
    }
    return isOver;
}

UInt32 Barrier::DoWait(bool interruptible)
{
    UInt32 index = 0;
    DoWait(Timeout::Infinite, interruptible, index);
    return index;
}

/// Answers false when the time has run out.
bool Barrier::DoWait(UInt32 timeoutMs, bool interruptible, UInt32& index)
{
    using Impl::MonitorState;
    UInt32 generation = 0;
    MonitorState::Result result = MonitorState::WasNotified;
    {
        Visit visit(*this, true);
        generation = generation_;
        index = Arrive(visit.departing);
        if (index != 0) {
            visit.holdsLock = false;
            result = tripped_.impl_->WaitAndLeave(timeoutMs, interruptible);
        }
    }
    if (result != MonitorState::WasNotified) {
        return GiveUp(generation, result == MonitorState::WasInterrupted);
    }
    if (index != 0) {
        CheckWhole(generation);
    }
    return true;
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
    Visit visit(*this);
    remaining_ = parties_;
    // In this order: who wakes up and finds the barrier whole must find that it was reset.
    generation_ -= resetStep;
    broken_ = false;
    NotifyAll(visit.departing);
}

} // namespace QV
