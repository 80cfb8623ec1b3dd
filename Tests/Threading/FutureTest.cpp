#include "Worker.hpp"

#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/FutureTask.hpp>
#include <QVRoot/Threading/Promise.hpp>
#include <QVRoot/Threading/Semaphore.hpp>

#include <Tests/Support/FaultSweep.hpp>
#include <memory>
#include <stdexcept>

using namespace QV;
using namespace QV::Test;

namespace {

const std::string canceledText = "CancellationException: The task was canceled.";

// Counts the copies of what a task holds.
struct Counted {
    explicit Counted(int& count) : count(count) { ++count; }
    Counted(const Counted& other) : count(other.count) { ++count; }
    ~Counted() { --count; }
    int& count;
};

// A task that says when it runs and then waits to be interrupted or let go.
struct Blocking {
    Semaphore begun{0, 1};
    Semaphore go{0, 1};
    std::atomic<bool> wasInterrupted = false;

    void operator()()
    {
        begun.Release();
        try {
            go.Acquire(true);
        } catch (const InterruptedException&) {
            wasInterrupted = true;
            throw;
        }
    }
};

} // namespace

TEST(FutureTest, CarriesResultsOfEveryKind)
{
    FutureTask number([] { return 42; });
    EXPECT_FALSE(number.GetFuture().IsDone());
    EXPECT_FALSE(number.GetFuture().Wait(1, true));
    number.GetTask().Run();
    EXPECT_TRUE(number.GetFuture().IsDone());
    const Future<int> one = number.GetFuture();
    const Future<int> two = one;
    EXPECT_EQ(one.Get(), 42);
    EXPECT_EQ(&one.Get(), &two.Get());

    int object = 0;
    FutureTask reference([&]() -> int& { return object; });
    reference.GetTask().Run();
    EXPECT_EQ(&Future(reference.GetFuture()).Get(), &object);
    EXPECT_EQ(&reference.GetFuture().Take(), &object);

    FutureTask nothing([&] { object = 1; });
    nothing.GetTask().Run();
    nothing.GetTask().Run(); // once only
    nothing.GetFuture().Get(true);
    EXPECT_EQ(object, 1);

    FutureTask movable([p = std::make_unique<int>(7)]() mutable { return std::move(p); });
    movable.GetTask().Run();
    const Future<std::unique_ptr<int>> other = movable.GetFuture();
    EXPECT_EQ(*other.Get(), 7);
    EXPECT_EQ(*movable.GetFuture().Get(), 7); // of a handle that goes
    EXPECT_EQ(GetOutcome([&] { other.Get(); }), "IllegalStateException: The result was taken already.");
    EXPECT_TRUE(other.IsDone());

    const Future<int> none;
    EXPECT_FALSE(none.IsValid());
    EXPECT_EQ(GetOutcome([&] { none.Get(); }), "IllegalStateException: The future refers to no result.");
}

TEST(FutureTest, CarriesExceptionsOfEveryKind)
{
    FutureTask own([]() -> int { QV_THROW(IllegalArgumentException, "no"); });
    own.GetTask().Run();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(GetOutcome([&] { own.GetFuture().Get(); }), "IllegalArgumentException: no");
    }
    FutureTask foreign([]() -> int& { throw std::out_of_range("far"); });
    foreign.GetTask().Run();
    EXPECT_THROW(foreign.GetFuture().Get(), std::out_of_range);
    FutureTask odd([] { throw 3; });
    odd.GetTask().Run();
    EXPECT_NO_THROW(odd.GetFuture().Wait());
    EXPECT_THROW(odd.GetFuture().Get(), int);
    EXPECT_FALSE(odd.GetFuture().IsCanceled());
}

TEST(FutureTest, WaitsEndByResultTimeOrInterrupt)
{
    FutureTask task([] { return 5; });
    const Future<int> future = task.GetFuture();
    UInt32 remaining = 1;
    EXPECT_EQ(GetOutcome([&] { future.Get(20, true, &remaining); }),
              "TimeoutException: Timeout expired while waiting for a result.");
    EXPECT_EQ(remaining, 0u);
    EXPECT_EQ(GetOutcome([&] { future.Get(Timeout(0, 0, 0, 0), true); }),
              "TimeoutException: Timeout expired while waiting for a result.");

    Worker interrupted([&] { future.Get(true); });
    Settle();
    interrupted.Interrupt();
    EXPECT_EQ(interrupted.GetOutcome(),
              "InterruptedException: Thread interrupted while waiting for a result.");

    std::atomic<int> sum = 0;
    {
        Worker a([&] { sum += future.Get(Long, true); });
        Worker b([&] { sum += future.Get(); });
        Worker c([&] { sum += future.Get(Timeout(0, 1, 0, 0), false) * 10; });
        Settle();
        task.GetTask().Run();
    }
    EXPECT_EQ(sum, 60);

    Future<void> self;
    FutureTask waitsForItself([&] { self.Wait(); });
    self = waitsForItself.GetFuture();
    waitsForItself.GetTask().Run();
    EXPECT_EQ(GetOutcome([&] { self.Get(); }),
              "DeadlockException: Failed to wait for a result: the calling thread is computing it.");
}

TEST(FutureTest, CanceledBeforeItBeginsItNeverRuns)
{
    int held = 0;
    bool ran = false;
    {
        FutureTask task([&, counted = Counted(held)] { ran = true; });
        EXPECT_EQ(held, 1);
        Future<void> future = task.GetFuture();
        EXPECT_TRUE(future.TryCancel());
        EXPECT_TRUE(future.IsDone());
        EXPECT_TRUE(future.IsCanceled());
        EXPECT_TRUE(future.TryCancel());
        task.GetTask().Run();
        future.Wait();
        EXPECT_EQ(GetOutcome([&] { future.Get(); }), canceledText);
    }
    EXPECT_FALSE(ran);
    EXPECT_EQ(held, 0);

    // A task that is dropped will not run either.
    Future<void> dropped;
    {
        FutureTask task([&, counted = Counted(held)] { ran = true; });
        dropped = task.GetFuture();
        EXPECT_FALSE(dropped.IsDone());
    }
    EXPECT_EQ(held, 0);
    EXPECT_EQ(GetOutcome([&] { dropped.Get(); }), canceledText);
    EXPECT_FALSE(ran);
}

TEST(FutureTest, CancelingInterruptsTheThreadThatRuns)
{
    Blocking work;
    FutureTask task([&] { work(); });
    Worker runner([&] {
        task.GetTask().Run();
        EXPECT_FALSE(Thread::Interrupted());
    });
    work.begun.Acquire();
    Future<void> future = task.GetFuture();
    EXPECT_TRUE(future.TryCancel());
    EXPECT_TRUE(future.IsCanceled());
    EXPECT_EQ(GetOutcome([&] { future.Get(); }), canceledText);
    EXPECT_TRUE(work.wasInterrupted);
    EXPECT_EQ(runner.GetOutcome(), "");
}

TEST(FutureTest, AnInterruptThatWasNotTakenEndsWithTheTask)
{
    for (const bool foreign : {false, true}) {
        Semaphore begun(0, 1);
        std::atomic<bool> canceled = false;
        FutureTask task([&] {
            begun.Release();
            while (!canceled) {
                Thread::Yield();
            }
            return 1; // as if nothing had been
        });
        Worker runner([&] {
            if (foreign) {
                Thread::GetCurrent().Interrupt();
            }
            task.GetTask().Run();
            EXPECT_EQ(Thread::Interrupted(), foreign) << "somebody else's goes on";
        });
        begun.Acquire();
        Future<int> future = task.GetFuture();
        EXPECT_TRUE(future.TryCancel());
        EXPECT_FALSE(future.IsDone()) << "the work still uses what it uses";
        canceled = true;
        EXPECT_EQ(GetOutcome([&] { future.Get(); }), canceledText);
    }
    FutureTask late([] { return 1; });
    late.GetTask().Run();
    EXPECT_FALSE(late.GetFuture().TryCancel());
    EXPECT_EQ(late.GetFuture().Get(), 1);
}

// A cancellation that comes at any moment of the work is either in time or without any effect.
TEST(FutureTest, CancelingRacesWithTheEnd)
{
    int canceled = 0;
    for (int i = 0; i < 300; ++i) {
        FutureTask task([] { return 1; });
        std::atomic<bool> go = false;
        bool leaked = true;
        bool inTime = false;
        {
            Worker runner([&] {
                while (!go) {
                    Thread::Yield();
                }
                task.GetTask().Run();
                leaked = Thread::Interrupted();
            });
            go = true;
            for (int spin = 0; spin < i % 64; ++spin) {
                Thread::Yield();
            }
            inTime = task.GetFuture().TryCancel();
        }
        EXPECT_FALSE(leaked);
        EXPECT_EQ(GetOutcome([&] { EXPECT_EQ(task.GetFuture().Get(), 1); }), inTime ? canceledText : "");
        canceled += inTime;
    }
    RecordProperty("canceled", canceled);
}

TEST(FutureTest, WhatATaskHoldsGoesBeforeTheResultIsSeen)
{
    int held = 0;
    FutureTask task([counted = Counted(held)] { return counted.count; });
    task.GetTask().Run();
    EXPECT_EQ(task.GetFuture().Get(), 1);
    EXPECT_EQ(held, 0);
}

TEST(PromiseTest, IsKeptOnce)
{
    Promise<UniString> text;
    const Future<UniString> future = text.GetFuture();
    EXPECT_TRUE(text.SetValue(u"abc", 2u));
    EXPECT_TRUE(future.Get() == u"ab");
    const std::string kept = "IllegalStateException: The promise was kept already.";
    EXPECT_EQ(GetOutcome([&] { text.SetValue(u"x"); }), kept);
    EXPECT_EQ(GetOutcome([&] { text.SetException(std::make_exception_ptr(1)); }), kept);

    Promise<void> failed;
    EXPECT_EQ(GetOutcome([&] { failed.SetException(nullptr); }),
              "IllegalArgumentException: Invalid exception: exception is null.");
    EXPECT_TRUE(failed.SetException(std::make_exception_ptr(3)));
    EXPECT_THROW(failed.GetFuture().Get(), int);

    int object = 0;
    Promise<int&> reference;
    reference.SetValue(object);
    EXPECT_EQ(&reference.GetFuture().Get(), &object);

    Future<int> orphan;
    {
        Promise<int> promise;
        orphan = promise.GetFuture();
        Promise<int> moved(std::move(promise));
    }
    EXPECT_EQ(GetOutcome([&] { orphan.Get(); }),
              "ExecutionException: The promise was given up without a result.");
}

TEST(PromiseTest, LearnsOfCancellationAndOfFailedValues)
{
    Promise<int> promise;
    Future<int> future = promise.GetFuture();
    EXPECT_FALSE(promise.IsCanceled());
    EXPECT_TRUE(future.TryCancel());
    EXPECT_TRUE(promise.IsCanceled());
    EXPECT_FALSE(promise.SetValue(1));
    EXPECT_FALSE(promise.SetException(std::make_exception_ptr(1)));
    EXPECT_EQ(GetOutcome([&] { future.Get(); }), canceledText);

    struct Fragile {
        explicit Fragile(bool breaks, Future<Fragile>* canceled = nullptr)
        {
            if (canceled != nullptr) {
                canceled->Cancel();
            }
            if (breaks) {
                throw 1;
            }
        }
    };
    Promise<Fragile> fragile;
    EXPECT_THROW(fragile.SetValue(true), int);
    EXPECT_FALSE(fragile.GetFuture().IsDone());
    EXPECT_TRUE(fragile.SetValue(false));
    EXPECT_NO_THROW(fragile.GetFuture().Get());

    for (const bool breaks : {false, true}) {
        Promise<Fragile> other;
        Future<Fragile> canceledInside = other.GetFuture();
        if (breaks) {
            EXPECT_THROW(other.SetValue(true, &canceledInside), int);
        } else {
            EXPECT_FALSE(other.SetValue(false, &canceledInside));
        }
        EXPECT_EQ(GetOutcome([&] { canceledInside.Get(); }), canceledText);
    }
}

TEST(PromiseTest, NeedsOneBlockOrNothing)
{
    QV::Testing::SweepAllocationFailures([] {
        try {
            Promise<int> promise;
            FutureTask task([] { return 1; });
            task.GetTask().Run();
            return promise.SetValue(task.GetFuture().Get());
        } catch (const OutOfMemoryException&) {
            return false;
        }
    });
}
