#include "Worker.hpp"

#include <QVRoot/BasicEnvironment/System.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/Condition.hpp>
#include <QVRoot/Threading/Lock.hpp>
#include <QVRoot/Threading/LockGuard.hpp>
#include <QVRoot/Threading/ReentrantLock.hpp>

#include <memory>
#include <vector>

using namespace QV;
using namespace QV::Test;

namespace {

class ConditionTest : public testing::Test {
protected:
    // A thread that waits and then does something with the lock held.
    template <class Work>
    std::unique_ptr<Worker> MakeWaiter(bool interruptible, Work afterwards)
    {
        auto waiter = std::make_unique<Worker>([this, interruptible, afterwards] {
            const LockGuard guard(lock_);
            ++arrived_;
            condition_.Wait(interruptible);
            afterwards();
        });
        WaitUntilQueued();
        return waiter;
    }
    std::unique_ptr<Worker> MakeWaiter(bool interruptible)
    {
        return MakeWaiter(interruptible, [] {});
    }

    // The waiters queue before they release the lock, so whoever sees a new arrival under it sees it queued.
    void WaitUntilQueued()
    {
        ++expected_;
        for (;;) {
            const LockGuard guard(lock_);
            if (arrived_ == expected_) {
                return;
            }
        }
    }

    Lock lock_;
    Condition condition_{lock_};
    int arrived_ = 0;
    int expected_ = 0;
};

} // namespace

TEST_F(ConditionTest, NotifiesInTheOrderOfArrival)
{
    std::vector<int> order;
    std::vector<std::unique_ptr<Worker>> waiters;
    for (int i = 0; i < 10; ++i) {
        waiters.push_back(MakeWaiter(true, [&order, i] { order.push_back(i); }));
    }
    for (int i = 0; i < 5; ++i) {
        condition_.Notify();
        waiters[i]->GetOutcome();
    }
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_FALSE(waiters[5]->IsDone());
    condition_.NotifyAll();
    waiters.clear();
    EXPECT_EQ(order.size(), 10u);
    condition_.Notify(); // nobody is there, and nothing is kept for the next one
    const LockGuard guard(lock_);
    EXPECT_FALSE(condition_.Wait(10, true));
}

TEST_F(ConditionTest, HoldsTheLockBeforeItReportsAnything)
{
    UInt32 remaining = 0;
    const auto timed = [&] {
        const LockGuard guard(lock_);
        const UInt64 start = System::GetCurrentTimeMillis();
        EXPECT_FALSE(condition_.Wait(Timeout(0, 0, 0, 20), true, &remaining));
        EXPECT_GE(System::GetCurrentTimeMillis() - start + 1, 20u);
        EXPECT_EQ(GetOutcome([&] { lock_.TryAcquire(0, true); }).substr(0, 17), "DeadlockException");
    };
    Worker timedOut(timed);
    const auto interrupted = MakeWaiter(true);
    {
        const LockGuard guard(lock_);
        interrupted->Interrupt();
        Settle(40);
        EXPECT_FALSE(interrupted->IsDone());
        EXPECT_FALSE(timedOut.IsDone());
    }
    EXPECT_EQ(timedOut.GetOutcome(), "");
    EXPECT_EQ(remaining, 0u);
    EXPECT_EQ(interrupted->GetOutcome(),
              "InterruptedException: Thread interrupted while waiting for condition.");
    EXPECT_EQ(interrupted->GetFile(), "Threading/ConditionImpl");
    EXPECT_TRUE(lock_.TryAcquire(0, true)) << "the interrupted thread has kept the lock";
    lock_.Release();
}

TEST_F(ConditionTest, WithoutTheLockThereIsNoWait)
{
    EXPECT_EQ(GetOutcome([&] { condition_.Wait(true); }),
              "SynchronizationException: Attempting to release an unowned lock.");
    condition_.Notify();
    condition_.NotifyAll();
    const auto waiter = MakeWaiter(false); // the refused wait has left nothing behind in the queue
    condition_.Notify();
    EXPECT_EQ(waiter->GetOutcome(), "");
}

TEST_F(ConditionTest, ANotificationGoesToTheNextWhenTheOldestIsBeingInterrupted)
{
    const auto stubborn = MakeWaiter(false);
    stubborn->Interrupt(); // stays pending, and does not keep it from being notified
    const auto refusing = MakeWaiter(true);
    const auto next = MakeWaiter(true);
    condition_.Notify();
    EXPECT_EQ(stubborn->GetOutcome(), "");
    {
        // The lock keeps it inside the wait, where its interrupt has been decided already or is about to be.
        const LockGuard guard(lock_);
        refusing->Interrupt();
        condition_.Notify();
    }
    EXPECT_EQ(next->GetOutcome(), "");
    EXPECT_EQ(refusing->GetOutcome(),
              "InterruptedException: Thread interrupted while waiting for condition.");
}

TEST_F(ConditionTest, AnInterruptAfterTheNotificationStaysPending)
{
    std::atomic<bool> pending = false;
    const auto waiter = MakeWaiter(true, [&] { pending = Thread::Interrupted(); });
    {
        const LockGuard guard(lock_);
        condition_.Notify();
        waiter->Interrupt();
    }
    EXPECT_EQ(waiter->GetOutcome(), "");
    EXPECT_TRUE(pending);
}

TEST_F(ConditionTest, APendingInterruptIsTakenInsteadOfWaiting)
{
    Worker interrupted([&] {
        Thread::GetCurrent().Interrupt();
        const LockGuard guard(lock_);
        EXPECT_FALSE(condition_.Wait(10, false));
        EXPECT_TRUE(Thread::GetCurrent().IsInterrupted());
        condition_.Wait(Long, true);
    });
    EXPECT_EQ(interrupted.GetOutcome(),
              "InterruptedException: Thread interrupted while waiting for condition.");
}

// A time-out that races with a notification: whichever wins, no notification is lost.
TEST_F(ConditionTest, NoNotificationIsLostToATimeout)
{
    int given = 0;
    std::atomic<int> taken = 0;
    Worker waiter([&] {
        const LockGuard guard(lock_);
        for (int round = 0; round < 300; ++round) {
            const int before = given;
            if (condition_.Wait(1, true)) {
                ++taken;
                EXPECT_GT(given, before);
            }
        }
    });
    int sent = 0;
    while (!waiter.IsDone()) {
        Thread::Sleep(1);
        const LockGuard guard(lock_);
        ++given;
        ++sent;
        condition_.Notify();
    }
    EXPECT_GT(taken, 0);
    EXPECT_LE(taken, sent);
}

TEST(ReentrantConditionTest, ReleasesOneLevelOnly)
{
    ReentrantLock lock;
    Condition condition(lock);
    const LockGuard outer(lock);
    const LockGuard inner(lock);
    Worker other([&] { EXPECT_FALSE(lock.TryAcquire(30, true)); });
    EXPECT_FALSE(condition.Wait(60, true));
}
