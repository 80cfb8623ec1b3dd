#include "Worker.hpp"

#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/BasicEnvironment/System.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/Lock.hpp>
#include <QVRoot/Threading/LockGuard.hpp>
#include <QVRoot/Threading/Semaphore.hpp>

#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace QV;
using namespace QV::Test;

namespace {

bool IsListed(const Thread& thread)
{
    return Thread::GetThreads().Find(thread) != PagedArray<Thread, 8>::NotFound;
}

} // namespace

TEST(ThreadTest, LivesFromInitializedToFinished)
{
    Semaphore go(0, 1);
    Int64 idInside = 0;
    Thread seenInside;
    Thread thread(RunnableTask([&] {
                      idInside = Thread::GetCurrentThreadId();
                      seenInside = Thread::GetCurrent();
                      go.Acquire(false);
                  }),
                  u"a n\u00E4me");
    EXPECT_TRUE(thread.GetState().IsInitialized());
    EXPECT_EQ(thread.GetId(), 0);
    EXPECT_FALSE(IsListed(thread));
    thread.Start();
    EXPECT_TRUE(thread.GetState().IsRunning());
    EXPECT_NE(thread.GetId(), 0);
    EXPECT_TRUE(IsListed(thread));
    EXPECT_FALSE(thread.Join(0, true));
    const std::string started =
        "IllegalThreadStateException: Failed to start thread: thread hasn't been initialized yet.";
    EXPECT_EQ(GetOutcome([&] { thread.Start(); }), started);
    go.Release();
    UInt32 remaining = 0;
    EXPECT_TRUE(thread.Join(Long, true, &remaining));
    EXPECT_GT(remaining, Long / 2);
    EXPECT_TRUE(thread.GetState().IsFinished());
    EXPECT_FALSE(IsListed(thread));
    EXPECT_TRUE(thread.Join(Timeout(0, 0, 0, 0), true));
    EXPECT_EQ(GetOutcome([&] { thread.Start(); }), started);
    EXPECT_EQ(thread.GetId(), idInside);
    EXPECT_TRUE(seenInside == thread);
    EXPECT_TRUE(thread.GetName() == UniString(u"a n\u00E4me"));
    EXPECT_FALSE(thread.GetTask().IsNull());
}

TEST(ThreadTest, StateAllowsOnlyItsSteps)
{
    ThreadState state;
    EXPECT_FALSE(state.SetInitialized());
    EXPECT_TRUE(state.SetRunning());
    EXPECT_FALSE(state.SetRunning() || state.SetWrapper());
    EXPECT_TRUE(state.SetInitialized());
    EXPECT_TRUE(state.SetWrapper());
    EXPECT_FALSE(state.SetRunning() || state.SetInitialized());
    EXPECT_TRUE(state.SetFinished() && state.SetFinished());
    EXPECT_TRUE(state == ThreadState::Finished && state == ThreadState(ThreadState::Finished));
}

TEST(ThreadTest, AHandleWithoutAThreadSaysWhereItWasUsed)
{
    Thread none;
    EXPECT_TRUE(none == Thread());
    try {
        none.Start();
        FAIL();
    } catch (const IllegalThreadStateException& e) {
        EXPECT_STREQ(e.GetFileName(), "Threading/Thread");
        EXPECT_NE(e.GetLineNumber(), 0u);
    }
    none = Thread::GetCurrent();
    Thread moved(std::move(none));
    EXPECT_EQ(moved.GetId(), Thread::GetCurrentThreadId());
    EXPECT_THROW(none.Join(true), IllegalThreadStateException);
}

TEST(ThreadTest, RunsOnWithoutAHandleAndWithoutATask)
{
    Semaphore done(0, 1);
    auto runs = std::make_shared<int>(0);
    Thread(RunnableTask([&done, runs] {
               Settle();
               ++*runs;
               done.Release();
           }),
           u"alone")
        .Start();
    done.Acquire(false);
    EXPECT_EQ(*runs, 1);
    for (int i = 0; runs.use_count() != 1 && i < 1000; ++i) {
        Thread::Sleep(1); // the thread lets go of its task at its very end
    }
    EXPECT_EQ(runs.use_count(), 1);
    Thread idle(RunnableTask(), u"");
    idle.Start();
    EXPECT_TRUE(idle.Join(Long, true));
}

TEST(ThreadTest, JoiningOneselfIsADeadlock)
{
    const std::string deadlock = "DeadlockException: Failed to join thread: deadlock detected.";
    Worker self([] { Thread::GetCurrent().Join(Long, true); });
    EXPECT_EQ(self.GetOutcome(), deadlock);
    EXPECT_EQ(GetOutcome([] { Thread::GetCurrent().Wait(true); }), deadlock);
}

TEST(ThreadTest, JoinersAreWokenTogetherAndMayBeInterrupted)
{
    Semaphore go(0, 1);
    Worker target([&] { go.Acquire(false); });
    Worker a([&] { target.GetThread().Join(true); });
    Worker b([&] { EXPECT_TRUE(target.GetThread().Wait(Long, true)); });
    Worker interrupted([&] { target.GetThread().Join(true); });
    UInt32 remaining = 1;
    EXPECT_FALSE(target.GetThread().Join(15, true, &remaining));
    EXPECT_EQ(remaining, 0u);
    interrupted.Interrupt();
    EXPECT_EQ(interrupted.GetOutcome(),
              "InterruptedException: Thread interrupted while waiting for a thread die.");
    go.Release();
    EXPECT_EQ(a.GetOutcome() + b.GetOutcome(), "");
}

TEST(ThreadTest, SleepsAndIsInterrupted)
{
    Thread::GetCurrent().Interrupt();
    Thread::Sleep(0, true);
    const UInt64 start = System::GetCurrentTimeMillis();
    Thread::Sleep(Timeout(0, 0, 0, 30), false);
    EXPECT_GE(System::GetCurrentTimeMillis() - start + 1, 30u);
    EXPECT_TRUE(Thread::GetCurrent().IsInterrupted());
    EXPECT_EQ(GetOutcome([] { Thread::Sleep(Long, true); }),
              "InterruptedException: Thread interrupted while sleeping.");
    EXPECT_FALSE(Thread::Interrupted());
    Thread::GetCurrent().Interrupt();
    EXPECT_TRUE(Thread::Interrupted());
    EXPECT_FALSE(Thread::Interrupted());
}

TEST(ThreadTest, CancelingInterruptsAndLeavesAMark)
{
    std::atomic<bool> canceledInside = false;
    std::atomic<bool> interruptLeft = true;
    Worker worker([&] {
        EXPECT_FALSE(Thread::Canceled());
        GetOutcome([] { Thread::Sleep(Long, true); });
        Thread::GetCurrent().Interrupt();
        canceledInside = Thread::Canceled();
        interruptLeft = Thread::Interrupted();
    });
    Cancelable& cancelable = worker.GetThread();
    EXPECT_FALSE(cancelable.IsCanceled());
    Settle();
    cancelable.Cancel();
    EXPECT_EQ(worker.GetOutcome(), "");
    EXPECT_TRUE(cancelable.IsCanceled());
    EXPECT_TRUE(canceledInside);
    EXPECT_FALSE(interruptLeft);
}

TEST(ThreadTest, TellsTheObjectThatItBlocksOn)
{
    struct Listener : Interruptible {
        void Interrupt() override
        {
            ++calls;
            throw 1; // nobody's business
        }
        int calls = 0;
    };
    Listener listener;
    Thread thread(RunnableTask(), u"");
    const std::string set =
        "SynchronizationException: Illegal block on set operation: interruptible interface set "
        "operations aren't nestable.";
    const std::string reset =
        "SynchronizationException: Illegal block on reset operation: interruptible interface "
        "reset operations must be preceded by set operations.";
    EXPECT_EQ(GetOutcome([&] { thread.BlockOn(nullptr); }), reset);
    thread.BlockOn(&listener);
    EXPECT_EQ(GetOutcome([&] { thread.BlockOn(&listener); }), set);
    thread.Interrupt();
    thread.Cancel();
    thread.BlockOn(nullptr);
    thread.Interrupt();
    EXPECT_EQ(listener.calls, 2);
}

TEST(ThreadTest, PrioritiesComeBackAsOddNumbers)
{
    Semaphore go(0, 1);
    Worker worker([&] { go.Acquire(false); });
    Thread& thread = worker.GetThread();
    EXPECT_EQ(thread.GetPriority(), ThreadPriority::Normal);
    for (int index = 1; index <= 10; ++index) {
        thread.SetPriority(index);
        EXPECT_EQ(thread.GetPriority(), (index - 1) / 2 * 2 + 1);
    }
    for (const int index : {0, 11, -1}) {
        EXPECT_EQ(GetOutcome([&] { thread.SetPriority(index); }),
                  "IllegalArgumentException: Invalid priority value.");
    }
    go.Release();
    Thread unstarted(RunnableTask(), u"");
    EXPECT_EQ(GetOutcome([&] { unstarted.SetPriority(5); }),
              "ThreadingException: Failed to set thread priority.");
    EXPECT_EQ(GetOutcome([&] { unstarted.GetPriority(); }),
              "ThreadingException: Failed to get thread priority.");
}

TEST(ThreadTest, AdoptsTheMainThread)
{
    EXPECT_TRUE(Thread::IsMain());
    EXPECT_TRUE(Thread::GetMain() == Thread::GetCurrent());
    EXPECT_TRUE(Thread::GetMain().GetState().IsWrapper());
    EXPECT_TRUE(Thread::GetMain().GetName().IsEmpty());
    EXPECT_EQ(Thread::GetMain().GetId(), Thread::GetCurrentThreadId());
    EXPECT_TRUE(IsListed(Thread::GetMain()));
    Worker other([] {
        EXPECT_FALSE(Thread::IsMain());
        EXPECT_FALSE(Thread::GetMain().Join(Long, true)) << "a wrapper is not waited for";
    });
    EXPECT_EQ(other.GetOutcome(), "");
}

namespace {

// Runs on a thread that the library knows nothing about, and returns when that has ended.
template <class Work>
void RunForeign(Work work)
{
    std::thread(work).join();
}

} // namespace

TEST(ThreadTest, AdoptsForeignThreadsForAsLongAsTheyRun)
{
    Thread kept;
    RunForeign([&] {
        const UInt32 before = Thread::GetThreads().GetCount();
        kept = Thread::GetCurrent();
        EXPECT_TRUE(kept == Thread::GetCurrent());
        EXPECT_TRUE(kept.GetState().IsWrapper());
        EXPECT_TRUE(kept.GetName().IsEmpty() && kept.GetTask().IsNull());
        EXPECT_EQ(kept.GetId(), Thread::GetCurrentThreadId());
        EXPECT_TRUE(IsListed(kept));
        EXPECT_EQ(Thread::GetThreads().GetCount(), before + 1);
        kept.SetPriority(4);
        EXPECT_EQ(kept.GetPriority(), 3);
    });
    EXPECT_TRUE(kept.GetState().IsWrapper()) << "and never finished";
    EXPECT_FALSE(IsListed(kept));
    EXPECT_THROW(kept.SetPriority(4), ThreadingException);
}

// Waiting adopts; the thread can be interrupted then like any other.
TEST(ThreadTest, ForeignThreadsWaitLikeOurs)
{
    Lock lock;
    const LockGuard guard(lock);
    RunForeign([&] {
        EXPECT_FALSE(lock.TryAcquire(10, true));
        Thread::GetCurrent().Interrupt();
        EXPECT_EQ(GetOutcome([&] { lock.Acquire(true); }),
                  "InterruptedException: Thread interrupted while acquiring lock.");
    });
}

namespace {

std::mutex reportsLock;
std::vector<std::string> reports;

std::vector<std::string> CollectReports(RunnableTask task)
{
    reports.clear();
    const auto old = ErrorReporting::SetSink([](const ErrorReport& report) {
        const std::lock_guard guard(reportsLock);
        reports.push_back(report.text);
    });
    Thread thread(task, u"");
    thread.Start();
    EXPECT_TRUE(thread.Join(Long, true));
    EXPECT_TRUE(thread.GetState().IsFinished());
    ErrorReporting::SetSink(old);
    return reports;
}

} // namespace

TEST(ThreadTest, ReportsWhatATaskThrows)
{
    using Reports = std::vector<std::string>;
    EXPECT_EQ(CollectReports(RunnableTask([] { throw IllegalStateException("x", "file", 1); })),
              Reports{"QV::IllegalStateException"});
    EXPECT_EQ(CollectReports(RunnableTask([] { throw std::string("x"); })),
              Reports{"Unhandled C++ exception - thread terminated"});
    EXPECT_EQ(CollectReports(RunnableTask([] {})), Reports{});
}

TEST(RunnableTaskTest, SharesItsRunnable)
{
    struct Counting : Runnable {
        explicit Counting(int& alive) : alive_(alive) { ++alive_; }
        ~Counting() override { --alive_; }
        void Run() override { ++runs; }
        int& alive_;
        int runs = 0;
    };
    int alive = 0;
    {
        auto* const runnable = new Counting(alive);
        RunnableTask task(runnable);
        RunnableTask copy = task;
        task = RunnableTask();
        EXPECT_TRUE(task.IsNull() && !(task == copy));
        task.Run();
        copy.Run();
        EXPECT_EQ(runnable->runs, 1);
        const RunnableTask moved = std::move(copy);
        EXPECT_TRUE(copy.IsNull());
        EXPECT_EQ(alive, 1);
    }
    EXPECT_EQ(alive, 0);
}
