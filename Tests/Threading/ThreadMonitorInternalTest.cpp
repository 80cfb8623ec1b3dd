// What lies below the primitives: the monitor, its state machine step by step, the internal lock.
#include "Worker.hpp"

#include <QVRoot/BasicEnvironment/System.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>
#include <QVRoot/Threading/Lock.hpp>
#include <QVRoot/Threading/LockGuard.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>

#include <map>
#include <set>
#include <thread>
#include <vector>

using namespace QV;
using namespace QV::Impl;
using namespace QV::Test;

namespace {

#if defined(__SANITIZE_THREAD__)
constexpr int Rounds = 300;
#else
constexpr int Rounds = 3000;
#endif

MonitorState::Result WaitOnce(ThreadMonitorImpl& monitor, UInt32 milliseconds, bool interruptible)
{
    const MonitorGuard guard(monitor);
    return monitor.TimedWait(milliseconds, interruptible);
}

bool NotifyOnce(ThreadMonitorImpl& monitor)
{
    const MonitorGuard guard(monitor);
    return monitor.Notify();
}

} // namespace

TEST(ThreadMonitorTest, RefusesWhoeverDoesNotOwnIt)
{
    ThreadMonitorImpl monitor;
    EXPECT_EQ(
        GetOutcome([&] { monitor.TimedWait(0, true); }),
        "IllegalMonitorStateException: Failed to wait for thread monitor: the caller thread the is not the "
        "owner of the thread monitor.");
    EXPECT_EQ(
        GetOutcome([&] { monitor.Notify(); }),
        "IllegalMonitorStateException: Failed to notify thread monitor: the caller thread the is not the "
        "owner of the thread monitor.");
    const MonitorGuard guard(monitor);
    Worker other([&] {
        EXPECT_FALSE(monitor.TryLock());
        monitor.Notify();
    });
    EXPECT_EQ(other.GetOutcome().substr(0, 28), "IllegalMonitorStateException");
}

TEST(ThreadMonitorTest, DecidesWhoWins)
{
    ThreadMonitorImpl monitor;
    EXPECT_FALSE(NotifyOnce(monitor)) << "nobody waits, and nothing is kept";
    EXPECT_EQ(WaitOnce(monitor, 10, true), MonitorState::HasTimedOut);

    monitor.Interrupt();
    EXPECT_EQ(WaitOnce(monitor, 10, false), MonitorState::HasTimedOut);
    EXPECT_TRUE(monitor.IsInterrupted());
    EXPECT_EQ(WaitOnce(monitor, Long, true), MonitorState::WasInterrupted);
    EXPECT_FALSE(monitor.IsInterrupted());

    // Between the halves of a wait others find the thread waiting, without any race.
    const auto wait = [&](bool interruptible, auto between) {
        monitor.Lock();
        EXPECT_TRUE(monitor.BeginWait(interruptible));
        between();
        const MonitorState::Result result = monitor.FinishWait(10);
        monitor.Unlock();
        return result;
    };
    EXPECT_EQ(wait(true,
                   [&] {
                       EXPECT_TRUE(NotifyOnce(monitor));
                       monitor.Interrupt();
                   }),
              MonitorState::WasNotified);
    EXPECT_TRUE(monitor.TestAndClearInterrupted());
    EXPECT_EQ(wait(true,
                   [&] {
                       monitor.Interrupt();
                       EXPECT_FALSE(NotifyOnce(monitor));
                   }),
              MonitorState::WasInterrupted);
    EXPECT_EQ(wait(false,
                   [&] {
                       monitor.Interrupt();
                       EXPECT_FALSE(monitor.IsInterrupted()) << "not while interrupts are disabled";
                       EXPECT_TRUE(NotifyOnce(monitor));
                   }),
              MonitorState::WasNotified);
    monitor.Cancel();
    EXPECT_TRUE(monitor.ClearInterruptAndTestCanceled());
    EXPECT_FALSE(monitor.IsInterrupted());
    EXPECT_TRUE(monitor.IsCanceled());
}

// Waits on the very edge: notifications, interrupts and time-outs all at once. What was sent is accounted
// for.
TEST(ThreadMonitorTest, LosesAndInventsNothingUnderARace)
{
    ThreadMonitorImpl monitor;
    std::atomic<bool> done = false;
    std::atomic<int> started = 0;
    std::atomic<int> ended = 0;
    int results[4] = {};
    int notified = 0;
    Worker waiter([&] {
        for (int i = 0; i < Rounds; ++i) {
            ++started;
            ++results[WaitOnce(monitor, i % 3 == 0 ? 1 : i % 3 == 1 ? 0 : Long, i % 2 == 0)];
            ++ended;
        }
        done = true;
    });
    Worker interrupter([&] {
        while (!done) {
            monitor.Interrupt();
            Thread::Yield();
        }
    });
    while (!done) {
        int wait = 0;
        {
            const MonitorGuard guard(monitor); // the waiter cannot get out before it is left
            if (monitor.Notify()) {
                ++notified;
                wait = started;
            }
        }
        while (ended < wait) { // a wait is notified once
            Thread::Yield();
        }
    }
    EXPECT_EQ(waiter.GetOutcome() + interrupter.GetOutcome(), "");
    EXPECT_EQ(results[MonitorState::WasNotified], notified);
    EXPECT_EQ(results[1] + results[2] + results[3], Rounds);
}

namespace {

// One thread waits, again and again, while others notify, interrupt and let its time run out, in every order
// that there is. The steps are those of the real state machine; the sleep is modelled as a step that is
// possible only after a wake-up.
class WaitModel {
public:
    struct State {
        UInt32 word = 0;
        int step = 0; // of the waiter: 0 begin, 1 look, 2 asleep, 3 end, 4 done
        bool awake = false;
        bool timedOut = false;
        int notifications = 1;
        int interrupts = 2;
        int accepted = 0; // notifications
        int waits = 2;
        int results[4] = {};

        auto operator<=>(const State&) const = default;
    };

    explicit WaitModel(bool interruptible, bool timed) : interruptible_(interruptible), timed_(timed) {}

    void Explore(const State& state)
    {
        if (!seen_.insert(state).second) {
            return;
        }
        bool moved = false;
        const auto go = [&](State next) {
            moved = true;
            Explore(next);
        };
        StepWaiter(state, go);
        StepOthers(state, go);
        if (!moved) {
            CheckEnd(state);
        }
    }

    std::set<State> seen_;
    std::set<int> outcomes_;

private:
    template <class Go>
    void StepWaiter(State state, Go go)
    {
        switch (state.step) {
        case 0:
            if (state.waits-- == 0) {
                return;
            }
            state.timedOut = false;
            if (MonitorState::BeginWait(state.word, interruptible_)) {
                state.step = 1;
            } else {
                ++state.results[MonitorState::WasInterrupted];
            }
            return go(state);
        case 1:
            if (MonitorState::IsWaitOver(state.word)) {
                state.step = 3;
            } else {
                state.word |= MonitorState::Asleep;
                state.step = 2;
                state.awake = false;
            }
            return go(state);
        case 2:
            if (state.awake) {
                State next = state;
                next.step = 1;
                go(next);
            }
            if (timed_) {
                state.timedOut = true;
                state.step = 3;
                go(state);
            }
            return;
        case 3:
            ++state.results[MonitorState::EndWait(state.word, state.timedOut)];
            state.step = 0;
            return go(state);
        }
    }

    template <class Go>
    void StepOthers(const State& state, Go go)
    {
        if (state.notifications != 0) {
            State next = state;
            --next.notifications;
            next.accepted += MonitorState::Notify(next.word);
            next.awake |= MonitorState::NeedsWakeUp(state.word, next.word);
            go(next);
        }
        if (state.interrupts != 0) {
            State next = state;
            --next.interrupts;
            MonitorState::Interrupt(next.word);
            next.awake |= MonitorState::NeedsWakeUp(state.word, next.word);
            go(next);
        }
    }

    void CheckEnd(const State& state)
    {
        const bool pending = (state.word & MonitorState::Interrupted) != 0;
        // A thread may sleep for ever only when nobody has told it anything that it listens to.
        if (state.step == 2) {
            EXPECT_FALSE(MonitorState::IsWaitOver(state.word));
        } else {
            EXPECT_EQ(state.word & ~UInt32{MonitorState::Interrupted}, 0u);
        }
        EXPECT_EQ(state.results[MonitorState::WasNotified], state.accepted);
        EXPECT_LE(state.results[MonitorState::WasInterrupted] + pending, 2);
        EXPECT_GE(state.results[MonitorState::WasInterrupted] + pending, 1);
        if (!interruptible_) {
            EXPECT_EQ(state.results[MonitorState::WasInterrupted], 0);
        }
        outcomes_.insert(state.results[1] * 100 + state.results[2] * 10 + state.results[3]);
    }

    bool interruptible_;
    bool timed_;
};

} // namespace

TEST(MonitorStateTest, HoldsInEveryOrderOfEvents)
{
    for (const bool interruptible : {false, true}) {
        for (const bool timed : {false, true}) {
            SCOPED_TRACE(testing::Message() << interruptible << timed);
            WaitModel model(interruptible, timed);
            model.Explore({});
            EXPECT_GT(model.outcomes_.size(), 1u);
        }
    }
}

TEST(FastLockTest, ExcludesOthersAndNests)
{
    FastLock lock;
    int count = 0;
    {
        const auto work = [&] {
            for (int i = 0; i < 5000; ++i) {
                const FastLockGuard outer(lock);
                const FastLockGuard inner(lock);
                if (++count % 1000 == 0) {
                    Thread::Sleep(1); // lets the others fall asleep
                }
            }
        };
        Worker a(work);
        Worker b(work);
        Worker c(work);
    }
    EXPECT_EQ(count, 15000);
    lock.Enter();
    EXPECT_TRUE(lock.TryEnter());
    lock.Leave();
    std::thread([&] { EXPECT_FALSE(lock.TryEnter()); }).join();
    lock.Leave();
    std::thread([&] { EXPECT_TRUE(lock.TryEnter()); }).join();
}

namespace {

Lock* contended = nullptr;
std::atomic<int> lateWaits = 0;

void WaitAtThreadEnd(void*)
{
    lateWaits += GetOutcome([] { contended->TryAcquire(2, true); }).empty();
    lateWaits += Thread::GetCurrent().GetState().IsWrapper();
}

// Made before and after the library's own slot: one is called earlier, one later.
constinit ThreadSlot earlySlot(&WaitAtThreadEnd);
constinit ThreadSlot lateSlot(&WaitAtThreadEnd);

} // namespace

TEST(ThreadEndTest, WhatRunsLateMayStillWait)
{
    constexpr int threads = 20;
    int mark = 0;
    Lock lock;
    const LockGuard guard(lock);
    contended = &lock;
    lateWaits = 0;
    const UInt32 before = Thread::GetThreads().GetCount();
    for (int i = 0; i < threads; ++i) {
        std::thread([&] {
            earlySlot.Set(&mark);
            Thread::GetCurrent();
            lateSlot.Set(&mark);
        }).join();
    }
    EXPECT_EQ(lateWaits, threads * 4);
    EXPECT_EQ(Thread::GetThreads().GetCount(), before);
}
