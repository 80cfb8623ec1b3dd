#include "Worker.hpp"

#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/LockGuard.hpp>
#include <QVRoot/Threading/NamedSemaphore.hpp>
#include <QVRoot/Threading/Semaphore.hpp>

#include <memory>
#include <vector>

using namespace QV;
using namespace QV::Test;

TEST(SemaphoreTest, ChecksItsCounts)
{
    EXPECT_EQ(GetOutcome([] { Semaphore(0, 0); }),
              "IllegalArgumentException: Invalid maximum count: maximum count is 0.");
    EXPECT_EQ(
        GetOutcome([] { Semaphore(2, 1); }),
        "IllegalArgumentException: Invalid maximum count: maximum count must be greater then initial count.");
    const std::string exceeded =
        "SynchronizationException: Failed to release semaphore: the maximum count of the "
        "semaphore exceeded.";
    Semaphore one(1, 1);
    EXPECT_EQ(GetOutcome([&] { one.Release(); }), exceeded);
    Semaphore full(0xFFFFFFFF, 0xFFFFFFFF);
    EXPECT_EQ(GetOutcome([&] { full.Release(); }), exceeded);
    full.Acquire(true);
    full.Release();
    Semaphore empty(0, 2);
    EXPECT_FALSE(empty.TryAcquire(0, true));
    empty.Release();
    empty.Release();
    EXPECT_EQ(GetOutcome([&] { empty.Release(); }), exceeded);
    EXPECT_TRUE(empty.TryAcquire(0, true));
    EXPECT_TRUE(empty.TryAcquire(Timeout(0, 0, 1, 0), true));
    UInt32 remaining = 1;
    EXPECT_FALSE(empty.TryAcquire(15, true, &remaining));
    EXPECT_EQ(remaining, 0u);
}

// Two releases in a row must not wake the same thread, and each wakes the oldest.
TEST(SemaphoreTest, EveryPermitWakesOneWaiterInOrder)
{
    Semaphore semaphore(0, 8);
    std::atomic<int> woken = 0;
    std::vector<int> places(6);
    std::vector<std::unique_ptr<Worker>> waiters;
    for (int i = 0; i < 6; ++i) {
        waiters.push_back(std::make_unique<Worker>([&, i] {
            i % 2 == 0 ? semaphore.Acquire(false) : static_cast<void>(semaphore.TryAcquire(Long, false));
            places[i] = woken++;
        }));
        waiters.back()->WaitUntilItWaits();
    }
    semaphore.Release();
    waiters[0]->GetOutcome();
    semaphore.Release();
    semaphore.Release();
    waiters[1]->GetOutcome();
    waiters[2]->GetOutcome();
    EXPECT_EQ(woken, 3);
    EXPECT_EQ(places[0], 0);
    for (int i = 0; i < 4; ++i) {
        semaphore.Release();
    }
    waiters.clear();
    EXPECT_EQ(woken, 6);
    EXPECT_TRUE(semaphore.TryAcquire(0, true)) << "the permit that nobody waited for";
    EXPECT_FALSE(semaphore.TryAcquire(0, true));
}

TEST(SemaphoreTest, InterruptsSayWhichFormWaited)
{
    Semaphore semaphore(0, 1);
    Worker blocking([&] { semaphore.Acquire(true); });
    Worker timed([&] { semaphore.TryAcquire(Long, true); });
    Settle();
    blocking.Interrupt();
    timed.Interrupt();
    EXPECT_EQ(blocking.GetOutcome(), "InterruptedException: Thread interruptible while acquiring semaphore.");
    EXPECT_EQ(timed.GetOutcome(), "InterruptedException: Thread interrupted while acquiring semaphore.");
    EXPECT_EQ(timed.GetFile(), "Threading/SemaphoreImpl");
    semaphore.Release(); // nobody is queued any more
    EXPECT_TRUE(semaphore.TryAcquire(0, true));
}

namespace {

// A name that no other run uses, with characters that no file name has.
std::string MakeName()
{
    static int count = 0;
    return "qv/test: \xC3\xA4 " + std::to_string(Thread::GetCurrentThreadId()) + "." +
           std::to_string(++count) + "." + std::to_string(reinterpret_cast<UInt64>(&count) >> 12);
}

} // namespace

TEST(NamedSemaphoreTest, IsSharedByNameAndEndsWithItsLastUser)
{
    const std::string name = MakeName();
    {
        NamedSemaphore first(name.c_str(), 1);
        {
            NamedSemaphore second(name.c_str(), 7);
            NamedSemaphore other((name + "x").c_str(), 0);
            second.Acquire(true);
            EXPECT_FALSE(other.TryAcquire(0, true));
        }
        EXPECT_FALSE(first.TryAcquire(0, true)) << "the second user's count was taken, or the first's lost";
        UInt32 remaining = 1;
        EXPECT_FALSE(first.TryAcquire(Timeout(0, 0, 0, 15), true, &remaining));
        EXPECT_EQ(remaining, 0u);
        Worker waiter([&] { NamedSemaphore(name.c_str(), 0).Acquire(true); });
        Settle();
        waiter.Interrupt();
        Settle();
        EXPECT_FALSE(waiter.IsDone()) << "waits for a named semaphore are not interruptible";
        first.Release();
        EXPECT_EQ(waiter.GetOutcome(), "");
    }
    NamedSemaphore anew(name.c_str(), 2);
    EXPECT_TRUE(anew.TryAcquire(0, true));
    EXPECT_TRUE(anew.TryAcquire(100, true));
    EXPECT_FALSE(anew.TryAcquire(0, true));
}

TEST(NamedSemaphoreTest, RefusesWhatTheSystemRefuses)
{
    EXPECT_EQ(GetOutcome([] { NamedSemaphore(nullptr, 0); }),
              "IllegalArgumentException: Invalid semaphore name: name is null.");
    const std::string name = MakeName();
    const std::string refused = "SynchronizationException: Failed to create named semaphore.";
    EXPECT_EQ(GetOutcome([&] { NamedSemaphore(name.c_str(), 0x80000000); }), refused);
    EXPECT_EQ(GetOutcome([&] { NamedSemaphore("no\\such\\space", 0); }), refused);
    NamedSemaphore full(name.c_str(), 0x7FFFFFFF);
    EXPECT_EQ(GetOutcome([&] { full.Release(); }),
              "SynchronizationException: Failed to release the semaphore.");
}
