// Everything at once, for a moment: threads take locks, semaphores and conditions in a seeded order while
// they are interrupted and time out. What must hold is counted.
#include "Worker.hpp"

#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/Barrier.hpp>
#include <QVRoot/Threading/Condition.hpp>
#include <QVRoot/Threading/Lock.hpp>
#include <QVRoot/Threading/LockGuard.hpp>
#include <QVRoot/Threading/ReadWriteLock.hpp>
#include <QVRoot/Threading/ReentrantLock.hpp>
#include <QVRoot/Threading/Semaphore.hpp>

#include <memory>
#include <random>
#include <vector>

using namespace QV;
using namespace QV::Test;

namespace {

constexpr int Threads = 4;
constexpr UInt32 Duration = 250; // ms

class Torture : public testing::Test {
protected:
    // Runs `step` on several threads and interrupts them all the time; an interrupt ends a step.
    template <class Step>
    void Run(Step step)
    {
        std::atomic<bool> stop = false;
        std::vector<std::unique_ptr<Worker>> workers;
        for (int i = 0; i < Threads; ++i) {
            workers.push_back(std::make_unique<Worker>([&, i] {
                std::minstd_rand random(static_cast<unsigned>(i + 1));
                while (!stop) {
                    try {
                        step(random);
                    } catch (const InterruptedException&) {
                        ++interrupts_;
                    } catch (const BrokenBarrierException&) {
                    }
                    ++steps_;
                }
                Thread::Interrupted();
            }));
        }
        std::minstd_rand random(99);
        for (UInt32 i = 0; i < Duration; ++i) {
            Thread::Sleep(1);
            workers[random() % Threads]->Interrupt();
        }
        stop = true;
        for (const auto& worker : workers) {
            EXPECT_EQ(worker->GetOutcome(), "");
        }
        EXPECT_GT(steps_, 10);
    }

    // Acquires in one of four ways; answers whether it did.
    static bool AcquireSomehow(Lockable& lock, std::minstd_rand& random)
    {
        const unsigned choice = random();
        const bool interruptible = (choice & 64) != 0;
        switch (choice / 256 % 4) {
        case 0:
            lock.Acquire(interruptible);
            return true;
        case 1:
            return lock.TryAcquire(0, interruptible);
        case 2:
            return lock.TryAcquire(1, interruptible);
        default:
            return lock.TryAcquire(Long, interruptible);
        }
    }

    std::atomic<int> steps_ = 0;
    std::atomic<int> interrupts_ = 0;
};

} // namespace

TEST_F(Torture, LocksExclude)
{
    Lock plain;
    ReentrantLock reentrant;
    int plainCount = 0;
    int reentrantCount = 0;
    std::atomic<int> acquired = 0;
    Run([&](std::minstd_rand& random) {
        Lockable& lock = random() % 2 == 0 ? static_cast<Lockable&>(plain) : reentrant;
        if (AcquireSomehow(lock, random)) {
            const LockGuard guard(lock, LockGuard::Adopt());
            ++(&lock == &plain ? plainCount : reentrantCount);
            ++acquired;
            if (random() % 64 == 0) {
                Thread::Yield();
            }
        }
    });
    EXPECT_EQ(plainCount + reentrantCount, acquired);
    EXPECT_TRUE(plain.TryAcquire(0, true) && reentrant.TryAcquire(0, true));
    plain.Release();
    reentrant.Release();
}

TEST_F(Torture, PermitsAreKept)
{
    constexpr UInt32 permits = 2;
    Semaphore semaphore(permits, permits);
    std::atomic<int> inside = 0;
    Run([&](std::minstd_rand& random) {
        if (AcquireSomehow(semaphore, random)) {
            EXPECT_LE(++inside, static_cast<int>(permits));
            if (random() % 16 == 0) {
                Thread::Yield();
            }
            --inside;
            semaphore.Release();
        }
    });
    for (UInt32 i = 0; i < permits; ++i) {
        EXPECT_TRUE(semaphore.TryAcquire(0, true));
    }
    EXPECT_FALSE(semaphore.TryAcquire(0, true));
}

// A bounded queue: what went in comes out, and nobody sleeps while there is something to do.
TEST_F(Torture, ABoundedQueueMovesOn)
{
    Lock lock;
    Condition notEmpty(lock);
    Condition notFull(lock);
    int filled = 0;
    Int64 in = 0;
    Int64 out = 0;
    Run([&](std::minstd_rand& random) {
        const bool puts = random() % 2 == 0;
        const LockGuard guard(lock, random() % 2 == 0);
        for (int i = 0; i < 3 && filled == (puts ? 2 : 0); ++i) {
            (puts ? notFull : notEmpty).Wait(1 + random() % 2, random() % 2 == 0);
        }
        if (filled != (puts ? 2 : 0)) {
            filled += puts ? 1 : -1;
            ++(puts ? in : out);
            (puts ? notEmpty : notFull).Notify();
        }
    });
    EXPECT_EQ(in - out, filled);
    EXPECT_GT(out, 10);
}

TEST_F(Torture, ReadersAndWritersStayApart)
{
    ReadWriteLock lock;
    std::atomic<int> readers = 0;
    std::atomic<int> writers = 0;
    Run([&](std::minstd_rand& random) {
        const bool writes = random() % 3 == 0;
        Lockable& view = writes ? lock.GetWriteLock() : lock.GetReadLock();
        if (AcquireSomehow(view, random)) {
            const LockGuard guard(view, LockGuard::Adopt());
            ++(writes ? writers : readers);
            EXPECT_TRUE(writers == 0 || (writers == 1 && readers == 0));
            --(writes ? writers : readers);
        }
    });
    EXPECT_TRUE(lock.GetWriteLock().TryAcquire(UInt32{0}, true));
    lock.GetWriteLock().Release();
}

TEST_F(Torture, BarriersBreakAndRecover)
{
    Barrier barrier(2);
    Run([&](std::minstd_rand& random) {
        if (barrier.IsBroken()) {
            barrier.Reset();
        }
        UInt32 index = 0;
        if (random() % 2 == 0) {
            barrier.Wait(2, random() % 4 != 0);
        } else {
            try {
                index = barrier.Await(3, true);
            } catch (const TimeoutException&) {
            }
        }
        EXPECT_LT(index, 2u);
    });
}
