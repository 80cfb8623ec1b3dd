#include "Worker.hpp"

#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/DirectExecutor.hpp>
#include <QVRoot/Threading/Semaphore.hpp>
#include <QVRoot/Threading/ThreadLocal.hpp>
#include <QVRoot/Threading/ThreadPool.hpp>

#include <Tests/Support/FaultSweep.hpp>
#include <memory>
#include <set>
#include <stdexcept>
#include <vector>

using namespace QV;
using namespace QV::Test;

namespace {

const std::string canceledText = "CancellationException: The task was canceled.";
const std::string shutDownText = "RejectedExecutionException: The executor was shut down.";

ThreadPoolOptions WithQueue(UInt32 capacity, WhenFull whenFull = WhenFull::Wait)
{
    ThreadPoolOptions options;
    options.queueCapacity = capacity;
    options.whenFull = whenFull;
    return options;
}

// Keeps threads of a pool busy until it is opened.
struct Gate {
    Semaphore begun{0, 1000};
    Semaphore open{0, 1000};

    // Returns when the thread has begun.
    Future<void> Block(Executor& executor, bool interruptible = false)
    {
        Future<void> future = executor.Submit([this, interruptible] {
            begun.Release();
            open.Acquire(interruptible);
        });
        begun.Acquire();
        return future;
    }
};

} // namespace

TEST(ThreadPoolTest, RunsTasksInOrderOnThreadsOfItsOwn)
{
    ThreadPoolOptions options;
    options.name = u"worker ";
    ThreadPool pool(1, options);
    EXPECT_EQ(pool.GetThreadCount(), 1u);
    std::vector<int> order;
    for (int i = 0; i < 100; ++i) {
        pool.Execute([&order, i] { order.push_back(i); });
    }
    const UniString name = pool.Submit([] { return Thread::GetCurrent().GetName(); }).Get();
    EXPECT_TRUE(name == u"worker 1");
    ASSERT_EQ(order.size(), 100u);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));

    Gate gate;
    ThreadPool two(2);
    gate.Block(two);
    gate.Block(two);
    EXPECT_EQ(two.GetQueueLength(), 0u);
    gate.open.Release();
    gate.open.Release();

    EXPECT_EQ(GetOutcome([] { ThreadPool(0); }),
              "IllegalArgumentException: Invalid number of threads: number of threads is 0.");
    EXPECT_EQ(GetOutcome([] { ThreadPool(1, WithQueue(0)); }),
              "IllegalArgumentException: Invalid queue capacity: queue capacity is 0.");
    EXPECT_EQ(GetOutcome([&] { pool.Execute(RunnableTask()); }),
              "IllegalArgumentException: Invalid task: task is null.");
}

TEST(ThreadPoolTest, AFullQueueWaitsRefusesOrRunsInTheCaller)
{
    Gate gate;
    std::atomic<int> ran = 0;
    ThreadPool waiting(1, WithQueue(1));
    gate.Block(waiting);
    waiting.Execute([&] { ++ran; });
    UInt32 remaining = 1;
    EXPECT_FALSE(waiting.TryExecute(RunnableTask([&] { ++ran; })));
    EXPECT_FALSE(waiting.TryExecute(RunnableTask([&] { ++ran; }), 20, true, &remaining));
    EXPECT_EQ(remaining, 0u);
    Worker interrupted([&] { waiting.Execute([&] { ++ran; }); });
    Settle();
    interrupted.Interrupt();
    EXPECT_EQ(interrupted.GetOutcome(),
              "InterruptedException: Thread interrupted while waiting for a place in a queue.");
    Worker patient([&] { waiting.Execute([&] { ran += 10; }); });
    Worker timed([&] { EXPECT_TRUE(waiting.TryExecute(RunnableTask([&] { ran += 100; }), Long, true)); });
    Settle();
    EXPECT_EQ(ran, 0);
    gate.open.Release();
    EXPECT_EQ(patient.GetOutcome() + timed.GetOutcome(), "");
    waiting.Shutdown();
    EXPECT_TRUE(waiting.AwaitTermination(Long, true));
    EXPECT_EQ(ran, 111);

    ThreadPoolOptions brief = WithQueue(2);
    brief.fullTimeoutMs = 10;
    for (const ThreadPoolOptions& options : {brief, WithQueue(2, WhenFull::Refuse)}) {
        ThreadPool refusing(1, options);
        gate.Block(refusing);
        refusing.Execute([] {});
        refusing.Execute([] {});
        EXPECT_EQ(GetOutcome([&] { refusing.Submit([] {}); }),
                  "RejectedExecutionException: The executor's queue is full.");
        EXPECT_EQ(refusing.GetQueueLength(), 2u);
        gate.open.Release();
    }

    ThreadPool helping(1, WithQueue(1, WhenFull::RunInCaller));
    gate.Block(helping);
    helping.Execute([] {});
    EXPECT_EQ(helping.Submit([] { return Thread::GetCurrentThreadId(); }).Get(),
              Thread::GetCurrentThreadId());
    gate.open.Release();
}

// Otherwise a pool whose tasks make tasks would come to a halt.
TEST(ThreadPoolTest, ItsOwnThreadsRunWhatHasNoPlace)
{
    ThreadPool pool(2, WithQueue(1));
    std::atomic<int> ran = 0;
    std::vector<Future<void>> all;
    for (int i = 0; i < 50; ++i) {
        all.push_back(pool.Submit([&] {
            for (int j = 0; j < 5; ++j) {
                pool.Execute([&] { ++ran; });
            }
        }));
    }
    pool.Shutdown();
    for (const Future<void>& future : all) {
        GetOutcome([&] { future.Get(); }); // some came too late for the tasks that they make
    }
    EXPECT_TRUE(pool.AwaitTermination(Long, true));
    EXPECT_GT(ran, 0);
}

TEST(ThreadPoolTest, TasksThatThrowHarmNobody)
{
    static std::vector<std::string>* reports;
    std::vector<std::string> texts;
    reports = &texts;
    ErrorReporting::Sink const before =
        ErrorReporting::SetSink([](const ErrorReport& report) { reports->push_back(report.text); });
    {
        ThreadPool pool(1);
        pool.Execute([] { QV_THROW(IllegalStateException, "x"); });
        pool.Execute([] { throw 1; });
        const Future<void> foreign = pool.Submit([] { throw std::out_of_range("y"); });
        EXPECT_THROW(foreign.Get(), std::out_of_range);
        const Future<void> own = pool.Submit([] { QV_THROW(IllegalStateException, "z"); });
        EXPECT_EQ(GetOutcome([&] { own.Get(); }), "IllegalStateException: z");
        EXPECT_EQ(pool.Submit([] { return 1; }).Get(), 1);
    }
    ErrorReporting::SetSink(before);
    EXPECT_EQ(texts, (std::vector<std::string>{"QV::IllegalStateException",
                                               "Unhandled C++ exception - task ended"}));
}

TEST(ThreadPoolTest, CancelsQueuedAndRunningTasks)
{
    Gate gate;
    ThreadPool pool(1);
    Future<void> running = gate.Block(pool, true);
    bool ran = false;
    Future<void> queued = pool.Submit([&] { ran = true; });
    EXPECT_TRUE(queued.TryCancel());
    EXPECT_TRUE(queued.IsDone());
    Future<bool> next = pool.Submit([] { return Thread::Interrupted(); });
    EXPECT_TRUE(running.TryCancel());
    EXPECT_EQ(GetOutcome([&] { running.Get(); }), canceledText);
    EXPECT_FALSE(next.Get());
    EXPECT_FALSE(ran);
}

TEST(ThreadPoolTest, NoInterruptReachesTheNextTask)
{
    ThreadPool pool(2);
    std::atomic<int> leaks = 0;
    const auto work = [&leaks](int spins) {
        leaks += Thread::GetCurrent().IsInterrupted();
        for (int i = 0; i < spins; ++i) {
            Thread::Yield();
        }
    };
    int canceled = 0;
    for (int i = 0; i < 1000; ++i) {
        Future<void> a = pool.Submit([&, i] { work(i % 5); });
        Future<void> b = pool.Submit([&, i] { work(i % 3); });
        for (int spin = 0; spin < i % 7; ++spin) {
            Thread::Yield();
        }
        // A task that was begun may see its own interrupt: only those that were not canceled count.
        canceled += a.TryCancel();
        b.Wait();
        a.Wait();
        EXPECT_EQ(pool.Submit([] { return Thread::GetCurrent().IsInterrupted(); }).Get(), false);
    }
    // What a task leaves pending on its own thread goes, too.
    pool.Submit([] { Thread::GetCurrent().Interrupt(); }).Wait();
    for (int i = 0; i < 10; ++i) {
        EXPECT_FALSE(pool.Submit([] { return Thread::Interrupted(); }).Get());
    }
    RecordProperty("canceled", canceled);
}

TEST(ThreadPoolTest, ShutdownRunsWhatWasAccepted)
{
    Gate gate;
    std::atomic<int> ran = 0;
    ThreadPool pool(2, WithQueue(2));
    gate.Block(pool);
    gate.Block(pool);
    pool.Execute([&] { ++ran; });
    pool.Execute([&] { ++ran; });
    Worker blocked([&] { pool.Execute([&] { ran += 100; }); });
    Settle();
    EXPECT_FALSE(pool.IsShutdown());
    EXPECT_FALSE(pool.AwaitTermination(Timeout(0, 0, 0, 10), true));
    pool.Shutdown();
    pool.Shutdown();
    EXPECT_TRUE(pool.IsShutdown());
    EXPECT_EQ(blocked.GetOutcome(), shutDownText);
    EXPECT_EQ(GetOutcome([&] { pool.Submit([] {}); }), shutDownText);
    EXPECT_EQ(GetOutcome([&] { pool.TryExecute(RunnableTask([] {})); }), shutDownText);
    EXPECT_FALSE(pool.IsTerminated());
    Worker interrupted([&] { pool.Wait(true); });
    Settle();
    interrupted.Interrupt();
    EXPECT_EQ(interrupted.GetOutcome(),
              "InterruptedException: Thread interrupted while waiting for the executor's end.");
    UInt32 remaining = 0;
    Worker awaiting([&] { EXPECT_TRUE(pool.Wait(Long, true, &remaining)); });
    gate.open.Release();
    gate.open.Release();
    EXPECT_EQ(awaiting.GetOutcome(), "");
    EXPECT_GT(remaining, 0u);
    EXPECT_TRUE(pool.IsTerminated());
    EXPECT_EQ(ran, 2);
}

TEST(ThreadPoolTest, ShutdownNowGivesBackWhatHasNotBegun)
{
    Gate gate;
    ThreadPool pool(2);
    Future<void> running = gate.Block(pool, true);
    Future<void> stubborn = gate.Block(pool, false);
    std::vector<Future<int>> queued;
    for (int i = 0; i < 10; ++i) {
        queued.push_back(pool.Submit([i] { return i; }));
    }
    Array<RunnableTask> rest = pool.ShutdownNow();
    ASSERT_EQ(rest.GetCount(), 10u);
    EXPECT_TRUE(pool.IsShutdown());
    EXPECT_EQ(GetOutcome([&] { running.Get(); }),
              "InterruptedException: Thread interruptible while acquiring semaphore.");
    EXPECT_FALSE(stubborn.IsDone());
    rest[3].Run();
    EXPECT_EQ(queued[3].Get(), 3);
    EXPECT_FALSE(queued[4].IsDone());
    rest.Clear();
    EXPECT_EQ(GetOutcome([&] { queued[4].Get(); }), canceledText);
    EXPECT_EQ(pool.ShutdownNow().GetCount(), 0u);
    gate.open.Release();
    EXPECT_TRUE(pool.AwaitTermination(Long, false));
}

TEST(ThreadPoolTest, MayEndOnAThreadOfItsOwn)
{
    Gate gate;
    auto pool = std::make_unique<ThreadPool>(2);
    std::atomic<int> ran = 0;
    Semaphore ended(0, 1);
    EXPECT_EQ(pool->Submit([&] { return GetOutcome([&] { pool->Wait(); }); }).Get(),
              "DeadlockException: Failed to wait for the executor: the calling thread is one of its own.");
    const Future<void> blocked = gate.Block(*pool);
    pool->Execute([&] {
        gate.begun.Acquire();
        pool.reset();
        ended.Release();
    });
    const Future<void> last = pool->Submit([&] { ++ran; });
    gate.begun.Release();
    ended.Acquire();
    gate.open.Release();
    last.Get();
    blocked.Get(); // nobody else waits for it
    EXPECT_EQ(ran, 1);
}

TEST(ThreadPoolTest, ValuesOfItsThreadsAreGoneWithIt)
{
    static std::atomic<int> alive;
    struct Counted {
        Counted() { ++alive; }
        ~Counted() { --alive; }
    };
    ThreadLocal<Counted> value;
    {
        Gate gate;
        ThreadPool pool(3);
        for (int i = 0; i < 3; ++i) {
            gate.Block(pool);
        }
        for (int i = 0; i < 3; ++i) {
            gate.open.Release();
        }
        for (int i = 0; i < 100; ++i) {
            pool.Execute([&] { value.Get(); });
        }
        pool.Submit([&] { value.Get(); }).Get();
        EXPECT_GT(alive, 0);
    }
    EXPECT_EQ(alive, 0);
}

TEST(ThreadPoolTest, TenThousandTasksOfEightSubmitters)
{
    for (const UInt32 capacity : {1u, 7u, 1024u}) {
        std::atomic<UInt64> sum = 0;
        std::atomic<UInt32> failures = 0;
        {
            ThreadPool pool(3, WithQueue(capacity));
            std::vector<std::unique_ptr<Worker>> submitters;
            for (UInt64 s = 0; s < 8; ++s) {
                submitters.push_back(std::make_unique<Worker>([&, s] {
                    std::vector<Future<UInt64>> futures;
                    for (UInt64 i = 0; i < 10000 / 8; ++i) {
                        const UInt64 value = s * 10000 + i;
                        futures.push_back(pool.Submit([&sum, value] {
                            sum += value;
                            return value;
                        }));
                    }
                    for (UInt64 i = 0; i < futures.size(); ++i) {
                        failures += futures[i].Get() != s * 10000 + i;
                    }
                }));
            }
        }
        EXPECT_EQ(failures, 0u);
        EXPECT_EQ(sum, 8u * (1249u * 1250u / 2) + 1250u * 10000u * 28u);
    }
}

// Whatever the moment, every accepted task has run or was given back, and nobody waits for ever.
TEST(ThreadPoolTest, ShutdownRacesWithSubmitters)
{
    for (int round = 0; round < 200; ++round) {
        std::atomic<UInt32> accepted = 0, ran = 0;
        UInt32 returned = 0;
        {
            ThreadPool pool(2, WithQueue(1 + round % 5));
            const auto submit = [&] {
                for (;;) {
                    pool.Execute([&] { ++ran; });
                    ++accepted;
                }
            };
            Worker one(submit), two(submit);
            for (int spin = 0; spin < round % 20; ++spin) {
                Thread::Yield();
            }
            if (round % 2 == 0) {
                returned = pool.ShutdownNow().GetCount();
            } else {
                pool.Shutdown();
            }
            EXPECT_EQ(one.GetOutcome(), shutDownText);
            EXPECT_EQ(two.GetOutcome(), shutDownText);
        }
        EXPECT_EQ(ran + returned, accepted);
    }
}

TEST(ThreadPoolTest, NoMemoryLeavesEverythingAsItWas)
{
    ASSERT_TRUE(FaultInjection::IsEnabled()) << "run with a debug-value file of Tests/Support";
    const auto usePool = [] {
        return GetOutcome([] {
            ThreadPool pool(2, WithQueue(4));
            EXPECT_EQ(pool.Submit([] { return 1; }).Get(), 1);
        });
    };
    Settle(); // after other tests
    const UInt64 liveBlocks = FaultInjection::GetLiveBlocks();
    bool failed = true;
    for (UInt64 n = 1; failed; ++n) {
        FaultInjection::FailOnce(n);
        const std::string outcome = usePool();
        FaultInjection::Disable();
        failed = FaultInjection::GetFailures() != 0;
        EXPECT_EQ(outcome.empty(), !failed) << outcome;
        ASSERT_LT(n, 100u);
        // Threads let go of their objects a moment after they were joined.
        for (UInt32 i = 0; i < 1000 && FaultInjection::GetLiveBlocks() != liveBlocks; ++i) {
            Thread::Sleep(1);
        }
        if (QV::Testing::IsStringCacheDisabled()) {
            EXPECT_EQ(FaultInjection::GetLiveBlocks(), liveBlocks) << n;
        }
    }
    Gate gate;
    ThreadPool pool(1);
    gate.Block(pool);
    std::atomic<int> ran = 0;
    pool.Execute([&] { ++ran; });
    FaultInjection::FailOnce(1);
    EXPECT_THROW(pool.ShutdownNow(), OutOfMemoryException);
    FaultInjection::Disable();
    EXPECT_FALSE(pool.IsShutdown());
    EXPECT_EQ(pool.GetQueueLength(), 1u);
    FaultInjection::FailOnce(1);
    EXPECT_THROW(pool.Submit([&] { ++ran; }), OutOfMemoryException);
    FaultInjection::Disable();
    gate.open.Release();
    pool.Shutdown();
    pool.Wait();
    EXPECT_EQ(ran, 1);
}

TEST(DirectExecutorTest, RunsOnTheCallersThread)
{
    Gate gate;
    DirectExecutor executor;
    EXPECT_EQ(executor.Submit([] { return Thread::GetCurrentThreadId(); }).Get(),
              Thread::GetCurrentThreadId());
    EXPECT_EQ(
        executor.Submit([&] { return GetOutcome([&] { executor.Wait(); }); }).Get(),
        "DeadlockException: Failed to wait for the executor: the calling thread runs one of its tasks.");
    Worker other([&] { executor.Execute([&] { gate.open.Acquire(); }); });
    Settle();
    EXPECT_FALSE(executor.IsShutdown());
    EXPECT_EQ(executor.ShutdownNow().GetCount(), 0u);
    EXPECT_EQ(GetOutcome([&] { executor.Execute([] {}); }), shutDownText);
    EXPECT_FALSE(executor.AwaitTermination(10, true));
    EXPECT_FALSE(executor.IsTerminated());
    gate.open.Release();
    EXPECT_TRUE(executor.AwaitTermination(Long, true));
    EXPECT_TRUE(executor.IsTerminated());
}
