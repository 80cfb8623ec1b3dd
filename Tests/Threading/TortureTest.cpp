// All primitives under random operations, interrupts, time-outs and cancels. What must hold is counted.
#include "Torture.hpp"
#include "Worker.hpp"

#include <QVRoot/Threading/Barrier.hpp>
#include <QVRoot/Threading/Condition.hpp>
#include <QVRoot/Threading/Lock.hpp>
#include <QVRoot/Threading/LockGuard.hpp>
#include <QVRoot/Threading/ReadWriteLock.hpp>
#include <QVRoot/Threading/ReentrantLock.hpp>
#include <QVRoot/Threading/Semaphore.hpp>
#include <QVRoot/Threading/SpinLock.hpp>
#include <QVRoot/Threading/TicketLock.hpp>

#include <deque>

using namespace QV;
using namespace QV::Test;

namespace {

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__) || defined(_WIN32)
constexpr int Generations = 5000;
constexpr int ThreadsStarted = 1000;
#else
constexpr int Generations = 100000;
constexpr int ThreadsStarted = 10000;
#endif

template <class L>
class Exclusion : public Scenario {
public:
    explicit Exclusion(const char* name, bool isReentrant = false) : name_(name), isReentrant_(isReentrant) {}

    const char* GetName() const override { return name_; }
    void Step(Player& player) override
    {
        if (!player.AcquireSomehow(lock_)) {
            return;
        }
        const LockGuard guard(lock_, LockGuard::Adopt());
        ++acquired_;
        if (isReentrant_ && player.Chance(4)) {
            const LockGuard again(lock_, true);
            ++count_;
        } else {
            ++count_;
        }
        if (player.Chance(64)) {
            Thread::Yield();
        }
    }
    void Check() override
    {
        EXPECT_EQ(count_, acquired_);
        EXPECT_TRUE(lock_.TryAcquire(UInt32{0}, true, nullptr));
        lock_.Release();
    }

private:
    const char* name_;
    bool isReentrant_;
    L lock_;
    UInt64 count_ = 0;
    std::atomic<UInt64> acquired_ = 0;
};

class Tickets : public Scenario {
public:
    const char* GetName() const override { return "TicketLock"; }
    void Step(Player& player) override
    {
        if (player.Chance(2)) {
            const TicketLockGuard guard(plain_);
            ++plainCount_;
        } else {
            const ReentrantTicketLockGuard guard(reentrant_);
            const ReentrantTicketLockGuard again(reentrant_);
            ++reentrantCount_;
        }
        ++acquired_;
    }
    void Check() override { EXPECT_EQ(plainCount_ + reentrantCount_, acquired_); }

private:
    TicketLock plain_;
    ReentrantTicketLock reentrant_;
    UInt64 plainCount_ = 0;
    UInt64 reentrantCount_ = 0;
    std::atomic<UInt64> acquired_ = 0;
};

class Permits : public Scenario {
public:
    const char* GetName() const override { return "Semaphore"; }
    void Step(Player& player) override
    {
        if (player.AcquireSomehow(semaphore_)) {
            EXPECT_LE(++inside_, static_cast<int>(Count));
            if (player.Chance(16)) {
                Thread::Yield();
            }
            --inside_;
            semaphore_.Release();
        }
    }
    void Check() override
    {
        for (UInt32 i = 0; i < Count; ++i) {
            EXPECT_TRUE(semaphore_.TryAcquire(0, true));
        }
        EXPECT_FALSE(semaphore_.TryAcquire(0, true));
    }

private:
    static constexpr UInt32 Count = 2;

    Semaphore semaphore_{Count, Count};
    std::atomic<int> inside_ = 0;
};

template <class L>
class ReadersAndWriters : public Scenario {
public:
    explicit ReadersAndWriters(const char* name) : name_(name) {}

    const char* GetName() const override { return name_; }
    void Step(Player& player) override
    {
        const bool writes = player.Chance(3);
        Lockable& view = writes ? lock_.GetWriteLock() : lock_.GetReadLock();
        if (player.AcquireSomehow(view)) {
            const LockGuard guard(view, LockGuard::Adopt());
            std::atomic<int>& mine = writes ? writers_ : readers_;
            ++mine;
            EXPECT_TRUE(writers_ == 0 || (writers_ == 1 && readers_ == 0));
            if (player.Chance(64)) {
                Thread::Yield();
            }
            --mine;
        }
    }
    void Check() override
    {
        EXPECT_TRUE(lock_.GetWriteLock().TryAcquire(UInt32{0}, true));
        lock_.GetWriteLock().Release();
    }

private:
    const char* name_;
    L lock_;
    std::atomic<int> readers_ = 0;
    std::atomic<int> writers_ = 0;
};

// What went in comes out.
class BoundedQueue : public Scenario {
public:
    const char* GetName() const override { return "BoundedQueue"; }
    void Step(Player& player) override
    {
        const bool puts = player.Chance(2);
        const int unfit = puts ? 2 : 0;
        player.doing = "acquires";
        const LockGuard guard(lock_, player.Chance(2));
        for (int i = 0; i < 3 && filled_ == unfit; ++i) {
            player.doing = "waits for a moment";
            (puts ? notFull_ : notEmpty_).Wait(1 + i, player.Chance(2));
        }
        if (filled_ != unfit) {
            filled_ += puts ? 1 : -1;
            ++(puts ? in_ : out_);
            (puts ? notEmpty_ : notFull_).Notify();
        }
    }
    void Check() override { EXPECT_EQ(in_ - out_, filled_); }

private:
    Lock lock_;
    Condition notEmpty_{lock_};
    Condition notFull_{lock_};
    int filled_ = 0;
    Int64 in_ = 0;
    Int64 out_ = 0;
};

// Waits that only a notification ends: each goes to the oldest, and none is lost or invented.
template <class L>
class Parade : public Scenario {
public:
    explicit Parade(const char* name, std::size_t places) : name_(name), places_(places) {}

    const char* GetName() const override { return name_; }
    void Step(Player& player) override
    {
        player.doing = "acquires";
        const LockGuard guard(lock_, player.Chance(2));
        if (player.Chance(2) && waiting_.size() < places_) {
            bool isNotified = false;
            waiting_.push_back(&isNotified);
            player.doing = "waits";
            condition_.Wait(false);
            EXPECT_TRUE(isNotified);
            --underWay_;
        } else if (player.Chance(16)) {
            NotifyAll();
        } else if (!waiting_.empty()) {
            *waiting_.front() = true;
            waiting_.pop_front();
            ++underWay_;
            condition_.Notify();
        }
    }
    void LetGo() override
    {
        const LockGuard guard(lock_);
        places_ = 0;
        NotifyAll();
    }

private:
    // Not as long as a notification is under way: that must not need any help.
    void NotifyAll()
    {
        if (underWay_ != 0) {
            return;
        }
        underWay_ = waiting_.size();
        for (bool* const isNotified : waiting_) {
            *isNotified = true;
        }
        waiting_.clear();
        condition_.NotifyAll();
    }

    const char* name_;
    L lock_;
    Condition condition_{lock_};
    std::size_t places_;
    std::deque<bool*> waiting_;
    std::size_t underWay_ = 0;
};

class Breaking : public Scenario {
public:
    const char* GetName() const override { return "Barrier"; }
    void Step(Player& player) override
    {
        if (barrier_.IsBroken()) {
            barrier_.Reset();
        }
        player.doing = "waits for a moment";
        try {
            const UInt32 index = barrier_.Await(3, player.Chance(2));
            EXPECT_LT(index, 3u);
            lastArrivals_ += index == 0;
            return;
        } catch (const BrokenBarrierException&) {
        } catch (const TimeoutException&) {
        }
    }
    void Check() override { EXPECT_EQ(lastArrivals_, trips_); }

private:
    UInt64 trips_ = 0;
    std::atomic<UInt64> lastArrivals_ = 0;
    Barrier barrier_{3, RunnableTask([this] { ++trips_; })};
};

// The monitor alone: sleeping, joining, and being told of interrupts.
class Naps : public Scenario {
public:
    const char* GetName() const override { return "Naps"; }
    void Step(Player& player) override
    {
        if (!player.Chance(8)) {
            player.doing = "sleeps";
            Thread::Sleep(player.random() / 16 % 3, player.Chance(2));
            return;
        }
        std::atomic<bool> hasRun = false;
        Thread other(RunnableTask([&hasRun] { hasRun = true; }), u"short");
        other.Start();
        player.doing = "joins";
        try {
            while (!other.Join(1, player.Chance(2))) {
            }
        } catch (const InterruptedException&) {
            other.Join(false); // it uses this frame
            throw;
        }
        EXPECT_TRUE(hasRun);
    }
};

void AddAll(Torture& torture, UInt32 threads)
{
    torture.Add<Exclusion<Lock>>("Lock");
    torture.Add<Exclusion<ReentrantLock>>("ReentrantLock", true);
    torture.Add<Exclusion<SpinLock>>("SpinLock");
    torture.Add<Exclusion<ReentrantSpinLock>>("ReentrantSpinLock", true);
    torture.Add<Tickets>();
    torture.Add<Permits>();
    torture.Add<ReadersAndWriters<ReadWriteLock>>("ReadWriteLock");
    torture.Add<ReadersAndWriters<ReentrantReadWriteLock>>("ReentrantReadWriteLock");
    torture.Add<BoundedQueue>();
    torture.Add<Parade<Lock>>("Condition of a Lock", (threads + 3) / 4);
    torture.Add<Parade<ReentrantLock>>("Condition of a ReentrantLock", (threads + 3) / 4);
    torture.Add<Parade<SpinLock>>("Condition of a SpinLock", (threads + 3) / 4);
    torture.Add<Breaking>();
    torture.Add<Naps>();
}

// Two seconds for one scenario.
template <class S, class... Arguments>
void RunAlone(Arguments... arguments)
{
    for (const UInt32 threads : {2u, 4u, 16u}) {
        SCOPED_TRACE(threads);
        Torture torture(threads, 650);
        torture.Add<S>(arguments...);
        torture.Run();
    }
}

} // namespace

TEST(TortureTest, LocksExclude)
{
    RunAlone<Exclusion<Lock>>("Lock");
    RunAlone<Exclusion<ReentrantLock>>("ReentrantLock", true);
}

TEST(TortureTest, PermitsAreKept)
{
    RunAlone<Permits>();
}

TEST(TortureTest, ReadersAndWritersStayApart)
{
    RunAlone<ReadersAndWriters<ReadWriteLock>>("ReadWriteLock");
    RunAlone<ReadersAndWriters<ReentrantReadWriteLock>>("ReentrantReadWriteLock");
}

TEST(TortureTest, EveryNotificationGoesToTheOldest)
{
    RunAlone<Parade<Lock>>("Condition of a Lock", std::size_t{1});
    RunAlone<Parade<ReentrantLock>>("Condition of a ReentrantLock", std::size_t{1});
}

TEST(TortureTest, MonitorsKeepCount)
{
    Torture torture(16, 10000);
    torture.Add<Naps>();
    torture.Add<BoundedQueue>();
    torture.Add<Breaking>();
    torture.Run();
}

TEST(TortureTest, EverythingAtOnce)
{
    const UInt32 threads = GetTortureNumber("QV_TORTURE_THREADS", 16);
    Torture torture(threads, GetTortureNumber("QV_TORTURE_SECONDS", 5) * 1000);
    AddAll(torture, threads);
    torture.Run();
}

TEST(TortureTest, LocksAndPermitsGoToTheOldest)
{
    Lock plain;
    ReentrantLock reentrant;
    Semaphore semaphore(1, 1);
    for (int round = 0; round < 60; ++round) {
        Lockable& lock = round % 3 == 0   ? static_cast<Lockable&>(plain)
                         : round % 3 == 1 ? static_cast<Lockable&>(reentrant)
                                          : semaphore;
        std::vector<int> order;
        std::vector<std::unique_ptr<Worker>> workers;
        lock.Acquire(false);
        for (int i = 0; i < 8; ++i) {
            workers.push_back(std::make_unique<Worker>([&lock, &order, i] {
                const LockGuard guard(lock);
                order.push_back(i);
            }));
            workers.back()->WaitUntilItWaits();
        }
        lock.Release();
        workers.clear();
        EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7}));
    }
}

TEST(TortureTest, GenerationsFollowEachOther)
{
    int generation = 0;
    Barrier barrier(4, RunnableTask([&] { ++generation; }));
    const auto party = [&] {
        for (int i = 1; i <= Generations; ++i) {
            EXPECT_LT(barrier.Await(true), 4u);
            EXPECT_EQ(generation, i); // the next one needs this thread
        }
    };
    Worker a(party);
    Worker b(party);
    Worker c(party);
    Worker d(party);
    EXPECT_EQ(a.GetOutcome() + b.GetOutcome() + c.GetOutcome() + d.GetOutcome(), "");
}

TEST(TortureTest, ManyThreadsStartAndEnd)
{
    const UInt32 before = Thread::GetThreads().GetCount();
    std::atomic<int> count = 0;
    for (int i = 0; i < ThreadsStarted; i += 10) {
        std::vector<std::unique_ptr<Worker>> workers;
        for (int j = 0; j < 10; ++j) {
            workers.push_back(std::make_unique<Worker>([&] { ++count; }));
        }
    }
    EXPECT_EQ(count, ThreadsStarted);
    EXPECT_EQ(Thread::GetThreads().GetCount(), before);
}
