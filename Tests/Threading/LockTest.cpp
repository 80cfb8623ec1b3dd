#include "Worker.hpp"

#include <QVRoot/BasicEnvironment/System.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/Lock.hpp>
#include <QVRoot/Threading/LockGuard.hpp>
#include <QVRoot/Threading/ReentrantLock.hpp>
#include <QVRoot/Threading/SingletonLock.hpp>
#include <QVRoot/Threading/SpinLock.hpp>
#include <QVRoot/Threading/StdLockable.hpp>
#include <QVRoot/Threading/TicketLock.hpp>

#include <memory>
#include <mutex>
#include <vector>

using namespace QV;
using namespace QV::Test;

// What `Lock` and `ReentrantLock` share; the parameter says whether it is the reentrant one.
class ExclusiveLockTest : public testing::TestWithParam<bool> {
protected:
    std::string GetName() const { return GetParam() ? "reentrant lock" : "lock"; }
    std::string GetFile() const { return GetParam() ? "Threading/ReentrantLockImpl" : "Threading/LockImpl"; }

private:
    Lock plain_;
    ReentrantLock reentrant_;

protected:
    Lockable& lock_ = GetParam() ? static_cast<Lockable&>(reentrant_) : plain_;
};

INSTANTIATE_TEST_SUITE_P(Threading, ExclusiveLockTest, testing::Bool(),
                         [](const auto& info) { return info.param ? "ReentrantLock" : "Lock"; });

TEST_P(ExclusiveLockTest, RefusesAReleaseByAnotherThread)
{
    const std::string refused = "SynchronizationException: Attempting to release an unowned lock.";
    EXPECT_EQ(GetOutcome([&] { lock_.Release(); }), refused);
    const LockGuard guard(lock_);
    Worker other([&] { lock_.Release(); });
    EXPECT_EQ(other.GetOutcome(), refused);
    EXPECT_EQ(other.GetFile(), GetFile());
}

TEST_P(ExclusiveLockTest, IsHandedOnInTheOrderOfArrival)
{
    std::vector<int> order;
    lock_.Acquire(false);
    {
        std::vector<std::unique_ptr<Worker>> workers;
        for (int i = 0; i < 6; ++i) {
            workers.push_back(std::make_unique<Worker>([&, i] {
                i % 2 == 0 ? lock_.Acquire(false) : static_cast<void>(lock_.TryAcquire(Long, false));
                order.push_back(i);
                lock_.Release();
            }));
            workers.back()->WaitUntilItWaits();
        }
        lock_.Release();
    }
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

TEST_P(ExclusiveLockTest, TimesOutAndLeavesTheQueue)
{
    UInt32 remaining = 0;
    {
        const LockGuard guard(lock_);
        Worker other([&] {
            EXPECT_FALSE(lock_.TryAcquire(0, true, &remaining));
            EXPECT_EQ(remaining, 0u);
            const UInt64 start = System::GetCurrentTimeMillis();
            EXPECT_FALSE(lock_.TryAcquire(Timeout(0, 0, 0, 30), true, &remaining));
            EXPECT_GE(System::GetCurrentTimeMillis() - start + 1, 30u);
            EXPECT_LE(remaining, 1u);
        });
    }
    Worker next([&] { EXPECT_TRUE(lock_.TryAcquire(Long, true, &remaining)); });
    EXPECT_EQ(next.GetOutcome(), "");
    EXPECT_GT(remaining, Long / 2);
}

TEST_P(ExclusiveLockTest, InterruptsEndOnlyInterruptibleWaits)
{
    lock_.Acquire(false);
    Worker blocking([&] { lock_.Acquire(true); });
    Worker timed([&] { lock_.TryAcquire(Long, true); });
    Worker early([&] {
        Thread::GetCurrent().Interrupt();
        lock_.Acquire(true);
    });
    Worker stubborn([&] {
        lock_.Acquire(false);
        const bool pending = Thread::GetCurrent().IsInterrupted();
        lock_.Release();
        EXPECT_TRUE(pending);
        Thread::Sleep(Long, true);
    });
    Settle();
    blocking.Interrupt();
    timed.Interrupt();
    stubborn.Interrupt();
    EXPECT_EQ(blocking.GetOutcome(),
              "InterruptedException: Thread interrupted while acquiring " + GetName() + ".");
    EXPECT_EQ(timed.GetOutcome(),
              "InterruptedException: Thread interrupted while trying to acquire " + GetName() + ".");
    EXPECT_EQ(early.GetOutcome(), blocking.GetOutcome());
    EXPECT_FALSE(stubborn.IsDone());
    lock_.Release();
    EXPECT_EQ(stubborn.GetOutcome(), "InterruptedException: Thread interrupted while sleeping.");
}

TEST(LockTest, ReacquiringIsADeadlockWhateverTheTime)
{
    const std::string deadlock =
        "DeadlockException: Deadlock occurred: trying to reacquire a non-reentrant lock.";
    Lock lock;
    const LockGuard guard(lock);
    EXPECT_EQ(GetOutcome([&] { lock.Acquire(true); }), deadlock);
    EXPECT_EQ(GetOutcome([&] { lock.TryAcquire(0, true); }), deadlock);
    EXPECT_EQ(GetOutcome([&] { lock.TryAcquire(Long, false); }), deadlock);
}

TEST(LockTest, ReentrantLockIsFreeAfterTheLastLevel)
{
    ReentrantLock lock;
    lock.Acquire(true);
    EXPECT_TRUE(lock.TryAcquire(0, true));
    EXPECT_TRUE(lock.TryAcquire(Long, true));
    for (int held = 3; held > 0; --held) {
        Worker other([&] { EXPECT_FALSE(lock.TryAcquire(0, true)); });
        EXPECT_EQ(other.GetOutcome(), "");
        lock.Release();
    }
    Worker other([&] {
        EXPECT_TRUE(lock.TryAcquire(0, true));
        lock.Release();
    });
}

// The owner that leaves last may still be on its way out of `Release` when the next one destroys the lock.
TEST(LockTest, MayBeDestroyedByTheNextOwner)
{
    for (int round = 0; round < 300; ++round) {
        auto lock = std::make_unique<Lock>();
        lock->Acquire(false);
        Worker heir([&] {
            lock->Acquire(false);
            lock->Release();
            lock.reset();
        });
        if (round % 3 == 0) {
            Thread::Yield();
        }
        lock->Release();
    }
}

TEST(LockTest, WorksWithTheGuardsOfTheStandardLibrary)
{
    Lock first;
    ReentrantLock second;
    SpinLock third;
    StdLockable a(first);
    StdLockable b(second);
    StdLockable<Lockable> c(third);
    int count = 0;
    const auto work = [&](auto& x, auto& y, auto& z) {
        for (int i = 0; i < 2000; ++i) {
            const std::scoped_lock guard(x, y, z);
            ++count;
        }
    };
    {
        Worker forwards([&] { work(a, b, c); });
        Worker backwards([&] { work(c, b, a); });
    }
    EXPECT_EQ(count, 4000);
    std::unique_lock guard(a);
    Worker other([&] {
        EXPECT_FALSE(a.try_lock_for(std::chrono::microseconds(1)));
        EXPECT_FALSE(a.try_lock_until(std::chrono::steady_clock::now() + std::chrono::milliseconds(10)));
        EXPECT_FALSE(std::unique_lock(a, std::try_to_lock).owns_lock());
    });
}

TEST(BusyLockTest, SpinLocksIgnoreTimeoutsAndOwners)
{
    SpinLock plain;
    ReentrantSpinLock reentrant;
    UInt32 remaining = 0;
    EXPECT_TRUE(plain.TryAcquire(Long, true, &remaining));
    EXPECT_EQ(remaining, Long);
    EXPECT_FALSE(plain.TryAcquire(Timeout(0, 0, 7, 0), true, &remaining));
    EXPECT_EQ(remaining, 7000u);
    EXPECT_TRUE(reentrant.TryAcquire(Long, true, &remaining));
    reentrant.Acquire(true);
    Worker other([&] {
        plain.Release();
        EXPECT_FALSE(reentrant.TryAcquire(Long, true, &remaining));
        EXPECT_EQ(remaining, Long);
        reentrant.Release(); // takes a level away from its owner
    });
    EXPECT_EQ(other.GetOutcome(), "");
    EXPECT_TRUE(plain.TryAcquire(0, true));
    reentrant.Release();
    Worker next([&] { EXPECT_TRUE(reentrant.TryAcquire(0, true)); });
}

namespace {

template <class Guarded>
void CountTogether(Guarded guarded)
{
    int count = 0;
    {
        const auto work = [&] {
            for (int i = 0; i < 3000; ++i) {
                guarded([&] { ++count; });
            }
        };
        Worker a(work);
        Worker b(work);
        Worker c(work);
    }
    EXPECT_EQ(count, 9000);
}

} // namespace

TEST(BusyLockTest, ExcludeEachOther)
{
    SpinLock spin;
    ReentrantSpinLock reentrantSpin;
    volatile TicketLock ticket;
    volatile ReentrantTicketLock reentrantTicket;
    CountTogether([&](auto step) {
        const LockGuard guard(spin);
        step();
    });
    CountTogether([&](auto step) {
        const LockGuard outer(reentrantSpin);
        const LockGuard inner(reentrantSpin);
        step();
    });
    CountTogether([&](auto step) {
        const TicketLockGuard guard(ticket);
        step();
    });
    CountTogether([&](auto step) {
        const ReentrantTicketLockGuard outer(reentrantTicket);
        const ReentrantTicketLockGuard inner(reentrantTicket);
        step();
    });
    CountTogether([&](auto step) {
        const LockGuard outer(SingletonLock::GetLock());
        const LockGuard inner(SingletonLock::GetLock());
        step();
    });
}

TEST(TimeoutTest, KeepsTheLow32Bits)
{
    EXPECT_EQ(Timeout(0, 0, 1, 500)(), 1500u);
    EXPECT_EQ(Timeout(1, 1, 1, 1)(), 3661001u);
    EXPECT_EQ(Timeout(1193, 2, 47, 295)(), Timeout::Infinite);
    EXPECT_EQ(Timeout(1193, 2, 47, 296)(), 0u);
    EXPECT_EQ(Timeout(0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF)(),
              static_cast<UInt32>(((0xFFFFFFFFull * 60 + 0xFFFFFFFF) * 60 + 0xFFFFFFFF) * 1000 + 0xFFFFFFFF));
}
