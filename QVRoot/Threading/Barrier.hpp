/// A place where a fixed number of threads meet, again and again.
///
///     Barrier barrier(3, RunnableTask([&] { … }));
///     const UInt32 missing = barrier.Await(true); // 2, 1, 0 in the order of arrival
///
/// When the last party arrives the action, if there is one, runs on its thread, before any other party goes
/// on. A party that is interrupted, or whose time runs out, breaks the barrier for all that wait; so does an
/// action that throws. A broken barrier refuses everybody until `Reset`.
///
/// An interrupt that is pending on arrival breaks the barrier, even in a wait that is not interruptible; it
/// reports `InterruptedException`. One that is interrupted while it waits reports `BrokenBarrierException`,
/// like the others, unless the barrier tripped first: then it goes on and the interrupt stays pending.
/// Refused arrivals count until `Reset`, so parties and waiting parties may look odd while the barrier is
/// broken.
///
/// Threads: any. Errors: `IllegalArgumentException` from the constructors; `BrokenBarrierException`,
/// `InterruptedException`, `TimeoutException`; a `QVException` of the action, on the last party, while
/// anything else that it throws is swallowed. Allocation: two blocks when it is made.
#pragma once

#include <QVRoot/Threading/Condition.hpp>
#include <QVRoot/Threading/ReentrantLock.hpp>
#include <QVRoot/Threading/Runnable.hpp>

#include <atomic>

namespace QV {

namespace Impl {
class Notification;
}

class QV_EXPORT Barrier final : public Waitable {
public:
    /// At least one party.
    explicit Barrier(UInt32 parties);
    /// The action must not be null.
    Barrier(UInt32 parties, const RunnableTask& action);
    ~Barrier() override;
    Barrier(const Barrier&) = delete;
    Barrier& operator=(const Barrier&) = delete;

    /// Waits for the others and returns how many were missing on arrival.
    UInt32 Await(bool interruptible = false);
    /// `TimeoutException` when the time has run out; the barrier is broken then.
    UInt32 Await(UInt32 timeoutMs, bool interruptible, UInt32* remaining = nullptr);
    UInt32 Await(const Timeout& timeout, bool interruptible, UInt32* remaining = nullptr);

    /// The same; the timed forms answer false when the time has run out.
    void Wait(bool interruptible = false) override;
    bool Wait(UInt32 timeoutMs, bool interruptible, UInt32* remaining = nullptr) override;
    bool Wait(const Timeout& timeout, bool interruptible, UInt32* remaining = nullptr) override;

    UInt32 GetParties() const noexcept { return parties_; }
    UInt32 GetNumberOfWaitingParties() const noexcept { return parties_ - remaining_.load(); }
    bool IsBroken() const noexcept { return broken_.load(); }

    /// Sends away whoever waits, with `BrokenBarrierException`, and starts anew.
    void Reset();

private:
    class Visit;

    void NotifyAll(Impl::Notification& departing);
    void BreakBarrier(Impl::Notification& departing);
    UInt32 Arrive(Impl::Notification& departing);
    void Trip(Impl::Notification& departing);
    void CheckWhole(UInt32 generation) const;
    bool GiveUp(UInt32 generation, bool isInterrupted);
    UInt32 DoWait(bool interruptible);
    bool DoWait(UInt32 timeoutMs, bool interruptible, UInt32& index);

    ReentrantLock lock_;
    Condition tripped_;
    UInt32 parties_;
    // Changed under the lock, read without.
    std::atomic<UInt32> remaining_;
    std::atomic<UInt32> generation_ = 0;
    std::atomic<bool> broken_ = false;
    RunnableTask action_;
};

} // namespace QV
