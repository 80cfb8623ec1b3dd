// The hand-over of a lock in every order of steps: three threads acquire it once each, as the algorithm of
// `HandOverLock` and `WaiterQueue` has it, while an interrupt comes at any moment and any time may run out.
// The monitors make the steps of the real state machine.
#include <QVRoot/Threading/ThreadMonitorImpl.hpp>

#include <algorithm>
#include <array>
#include <compare>
#include <gtest/gtest.h>
#include <set>

using namespace QV;
using namespace QV::Impl;

namespace {

constexpr int Threads = 3;
constexpr int Nobody = -1;

// What a thread does next.
enum class Step {
    Take, // the compare-and-swap of an uncontended acquisition
    EnterToQueue,
    TakeOrMark, // under the internal lock
    Queue,      // append, begin to wait
    LeaveQueued,
    Sleep,
    Relock, // the own monitor, after the wait
    EnterToWithdraw,
    Own,
    Free, // the compare-and-swap of an uncontended release
    EnterToGive,
    Scan,
    LeaveGiving,
    LetGo, // unlocks the monitor of the one that was notified
    Done,
};

struct World {
    int owner = Nobody;
    bool flag = false;   // threads are queued
    int inside = Nobody; // of the internal lock
    std::array<int, Threads> queue = {Nobody, Nobody, Nobody};
    std::array<Step, Threads> step = {};
    std::array<UInt32, Threads> word = {};
    std::array<int, Threads> monitorOwner = {Nobody, Nobody, Nobody};
    std::array<int, Threads> given = {Nobody, Nobody, Nobody}; // to whom a releaser has handed the lock
    std::array<MonitorState::Result, Threads> result = {};
    int interrupts = 3;

    auto operator<=>(const World&) const = default;

    int GetCount() const
    {
        return static_cast<int>(std::count_if(queue.begin(), queue.end(), [](int t) { return t != Nobody; }));
    }
    void Remove(int thread)
    {
        *std::remove(queue.begin(), queue.end(), thread) = Nobody;
        flag = flag && GetCount() != 0;
    }
};

class HandOverModel {
public:
    // Thread 0 waits without a limit, thread 1 without interrupts, thread 2 with both.
    static bool HasLimit(int thread) { return thread != 0; }
    static bool IsInterruptible(int thread) { return thread != 1; }

    void Explore(const World& world)
    {
        if (!seen.insert(world).second) {
            return;
        }
        bool moved = false;
        for (int thread = 0; thread < Threads; ++thread) {
            World next = world;
            if (Advance(next, thread, false)) {
                moved = true;
                Explore(next);
            }
            next = world;
            if (world.step[thread] == Step::Sleep && HasLimit(thread) && Advance(next, thread, true)) {
                moved = true;
                Explore(next);
            }
            if (world.interrupts != 0 && world.step[thread] != Step::Done) {
                next = world;
                --next.interrupts;
                MonitorState::Interrupt(next.word[thread]);
                Explore(next);
            }
        }
        if (!moved) {
            CheckEnd(world);
        }
        EXPECT_LE(std::count(world.step.begin(), world.step.end(), Step::Own), 1);
        EXPECT_EQ(world.flag, world.GetCount() != 0);
    }

    std::set<World> seen;
    int ends = 0;

private:
    static bool Enter(World& w, int me, Step then)
    {
        if (w.inside != Nobody) {
            return false;
        }
        w.inside = me;
        w.step[me] = then;
        return true;
    }

    // One step of a thread; false when it cannot move.
    static bool Advance(World& w, int me, bool timedOut)
    {
        switch (w.step[me]) {
        case Step::Take:
            w.step[me] = Step::EnterToQueue;
            if (w.owner == Nobody && !w.flag) {
                w.owner = me;
                w.step[me] = Step::Own;
            }
            return true;
        case Step::EnterToQueue:
            return Enter(w, me, Step::TakeOrMark);
        case Step::TakeOrMark:
            if (w.owner == Nobody) {
                w.owner = me;
                w.inside = Nobody;
                w.step[me] = Step::Own;
            } else {
                // Marking and appending are one here: nobody reads the queue without the internal lock.
                w.flag = true;
                w.queue[w.GetCount()] = me;
                w.step[me] = Step::Queue;
            }
            return true;
        case Step::Queue:
            if (w.monitorOwner[me] != Nobody) {
                return false;
            }
            w.step[me] = Step::LeaveQueued;
            if (!MonitorState::BeginWait(w.word[me], IsInterruptible(me))) {
                w.Remove(me);
                w.inside = Nobody;
                w.step[me] = Step::Done;
                w.result[me] = MonitorState::WasInterrupted;
            }
            return true;
        case Step::LeaveQueued:
            w.inside = Nobody;
            w.step[me] = Step::Sleep;
            return true;
        case Step::Sleep:
            if (!timedOut && !MonitorState::IsWaitOver(w.word[me])) {
                return false;
            }
            w.result[me] = MonitorState::EndWait(w.word[me], timedOut);
            w.step[me] = Step::Relock;
            return true;
        case Step::Relock:
            if (w.monitorOwner[me] != Nobody) {
                return false;
            }
            w.step[me] = w.result[me] == MonitorState::WasNotified ? Step::Own : Step::EnterToWithdraw;
            EXPECT_TRUE(w.step[me] != Step::Own || w.owner == me) << "woken without the lock";
            return true;
        case Step::EnterToWithdraw:
            if (w.inside != Nobody) {
                return false;
            }
            w.Remove(me);
            w.step[me] = Step::Done;
            return true;
        case Step::Own:
            EXPECT_EQ(w.owner, me);
            w.step[me] = Step::Free;
            return true;
        case Step::Free:
            w.step[me] = Step::EnterToGive;
            if (!w.flag) {
                w.owner = Nobody;
                w.step[me] = Step::Done;
            }
            return true;
        case Step::EnterToGive:
            return Enter(w, me, Step::Scan);
        case Step::Scan:
            w.given[me] = NotifyOldest(w, me);
            w.step[me] = Step::LeaveGiving;
            return true;
        case Step::LeaveGiving:
            w.inside = Nobody;
            w.step[me] = w.given[me] == Nobody ? Step::Free : Step::LetGo;
            return true;
        case Step::LetGo:
            w.monitorOwner[w.given[me]] = Nobody;
            w.step[me] = Step::Done;
            return true;
        case Step::Done:
            return false;
        }
        return false;
    }

    static int NotifyOldest(World& w, int me)
    {
        for (int i = 0; i < w.GetCount(); ++i) {
            const int thread = w.queue[i];
            EXPECT_EQ(w.monitorOwner[thread], Nobody);
            if (MonitorState::Notify(w.word[thread])) {
                w.monitorOwner[thread] = me;
                w.Remove(thread);
                w.owner = thread;
                return thread;
            }
        }
        return Nobody;
    }

    void CheckEnd(const World& w)
    {
        ++ends;
        for (int thread = 0; thread < Threads; ++thread) {
            EXPECT_EQ(w.step[thread], Step::Done) << "thread " << thread << " is stuck";
            EXPECT_EQ(w.monitorOwner[thread], Nobody);
        }
        EXPECT_EQ(w.owner, Nobody);
        EXPECT_EQ(w.inside, Nobody);
        EXPECT_FALSE(w.flag);
    }
};

} // namespace

TEST(HandOverModelTest, NobodyIsForgottenInAnyOrderOfSteps)
{
    HandOverModel model;
    model.Explore({});
    EXPECT_GT(model.ends, 10);
    RecordProperty("states", static_cast<int>(model.seen.size()));
}
