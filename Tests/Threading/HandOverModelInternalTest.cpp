// The hand-over of a lock, and of a condition's waiters to it, in every order of steps: three threads go
// through the algorithms of `HandOverLock`, `ConditionImpl` and `WaiterQueue`, while interrupts come at any
// moment and any time may run out. The monitors make the steps of the real state machine.
#include <QVRoot/Threading/ThreadMonitorImpl.hpp>

#include <algorithm>
#include <array>
#include <compare>
#include <gtest/gtest.h>
#include <set>
#include <vector>

using namespace QV;
using namespace QV::Impl;

namespace {

constexpr int Threads = 3;
constexpr int Nobody = -1;

using Crowd = std::array<int, Threads>;
constexpr Crowd Empty = {Nobody, Nobody, Nobody};

int Count(const Crowd& crowd)
{
    return static_cast<int>(std::count_if(crowd.begin(), crowd.end(), [](int t) { return t != Nobody; }));
}

bool RemoveFrom(Crowd& crowd, int thread)
{
    const auto end = std::remove(crowd.begin(), crowd.end(), thread);
    const bool found = end != crowd.end();
    if (found) {
        *end = Nobody;
    }
    return found;
}

// What a thread does while it owns the lock.
enum class Role {
    Passer,        // nothing
    Waiter,        // waits for the condition unless it has come true
    Notifier,      // makes it true and notifies all
    LooseNotifier, // makes it true, and notifies one when it has released the lock
};

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
    EnterCondition,
    WaitInCondition,
    EnterToWithdrawFromCondition,
    Promise,
    Receive, // under both internal locks
    LeaveCondition,
    Done,
};

// How far a waiter or notifier is.
enum class Phase { Before, InCondition, Returning, After };

struct World {
    int owner = Nobody;
    bool flag = false;   // threads are queued
    int inside = Nobody; // of the lock's internal lock
    int insideCondition = Nobody;
    Crowd queue = Empty;
    Crowd waiting = Empty; // for the condition
    int present = 0;
    bool isTrue = false; // what the waiters wait for
    std::array<Step, Threads> step = {};
    std::array<Phase, Threads> phase = {};
    std::array<UInt32, Threads> word = {};
    Crowd monitorOwner = Empty;
    Crowd given = Empty; // whom a thread has notified, and not let go yet
    std::array<bool, Threads> isHeir = {};
    std::array<MonitorState::Result, Threads> result = {};
    int interrupts = 3;

    auto operator<=>(const World&) const = default;
};

class HandOverModel {
public:
    explicit HandOverModel(std::array<Role, Threads> roles) : roles_(roles) {}

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
            if (world.step[thread] == Step::Sleep && HasLimit(world, thread) && Advance(next, thread, true)) {
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
        EXPECT_TRUE(world.inside != Nobody || world.flag == (Count(world.queue) != 0));
        EXPECT_GE(world.present, Count(world.waiting));
    }

    std::set<World> seen;
    std::set<MonitorState::Result> outcomes; // of waits for the condition
    int ends = 0;

private:
    // Thread 0 waits without a limit, thread 1 without interrupts, thread 2 with both; but those who come for
    // the condition get the lock in any case.
    bool IsPatient(const World& w, int me) const
    {
        return roles_[me] != Role::Passer && w.phase[me] != Phase::InCondition;
    }
    bool HasLimit(const World& w, int me) const { return me != 0 && !IsPatient(w, me); }
    bool IsInterruptible(const World& w, int me) const { return me != 1 && !IsPatient(w, me); }

    static bool Enter(int& inside, int me)
    {
        if (inside != Nobody) {
            return false;
        }
        inside = me;
        return true;
    }

    static void RemoveFromQueue(World& w, int thread)
    {
        RemoveFrom(w.queue, thread);
        w.flag = w.flag && Count(w.queue) != 0;
    }

    // One step of a thread; false when it cannot move.
    bool Advance(World& w, int me, bool timedOut)
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
            w.step[me] = Step::TakeOrMark;
            return Enter(w.inside, me);
        case Step::TakeOrMark:
            if (w.owner == Nobody) {
                w.owner = me;
                w.inside = Nobody;
                w.step[me] = Step::Own;
            } else {
                // Marking and appending are one here: nobody reads the queue without the internal lock.
                w.flag = true;
                w.queue[Count(w.queue)] = me;
                w.step[me] = Step::Queue;
            }
            return true;
        case Step::Queue:
            if (w.monitorOwner[me] != Nobody) {
                return false;
            }
            w.step[me] = Step::LeaveQueued;
            if (!MonitorState::BeginWait(w.word[me], IsInterruptible(w, me))) {
                RemoveFromQueue(w, me);
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
            return WakeUp(w, me, timedOut);
        case Step::Relock:
            return w.monitorOwner[me] == Nobody && GoOn(w, me);
        case Step::EnterToWithdraw:
            if (w.inside != Nobody) {
                return false;
            }
            RemoveFromQueue(w, me);
            w.step[me] = Step::Done;
            return true;
        case Step::Own:
            EXPECT_EQ(w.owner, me);
            w.step[me] = UseLock(w, me);
            return true;
        case Step::Free:
            w.step[me] = Step::EnterToGive;
            if (!w.flag) {
                w.owner = Nobody;
                w.step[me] = AfterRelease(w, me);
            }
            return true;
        case Step::EnterToGive:
            w.step[me] = Step::Scan;
            return Enter(w.inside, me);
        case Step::Scan:
            HandOverToOldest(w, me);
            w.step[me] = Step::LeaveGiving;
            return true;
        case Step::LeaveGiving:
            w.inside = Nobody;
            w.step[me] = w.given[me] == Nobody ? Step::Free : AfterRelease(w, me);
            return true;
        case Step::LetGo:
            w.monitorOwner[w.given[me]] = Nobody;
            w.given[me] = Nobody;
            w.step[me] = AfterLettingGo(w, me);
            return true;
        case Step::Done:
            return false;
        default:
            return AdvanceInCondition(w, me);
        }
    }

    bool AdvanceInCondition(World& w, int me)
    {
        switch (w.step[me]) {
        case Step::EnterCondition:
            w.step[me] = roles_[me] == Role::Waiter ? Step::Free : Step::Promise;
            return Enter(w.insideCondition, me);
        case Step::WaitInCondition: // the lock is released; append, begin to wait
            if (w.monitorOwner[me] != Nobody) {
                return false;
            }
            w.step[me] = Step::LeaveCondition;
            if (MonitorState::BeginWait(w.word[me], IsInterruptible(w, me))) {
                w.waiting[Count(w.waiting)] = me;
            } else {
                EndWait(w, me, MonitorState::WasInterrupted);
            }
            return true;
        case Step::EnterToWithdrawFromCondition:
            if (w.insideCondition != Nobody) {
                return false;
            }
            RemoveFrom(w.waiting, me);
            EndWait(w, me, w.result[me]);
            w.step[me] = Step::Take;
            return true;
        case Step::Promise:
            w.step[me] = PromiseOldest(w, me) ? Step::Receive : Step::LeaveCondition;
            return true;
        case Step::Receive:
            return w.inside == Nobody && ReceiveOrNotify(w, me);
        default:
            EXPECT_EQ(w.step[me], Step::LeaveCondition);
            w.insideCondition = Nobody;
            w.step[me] = w.given[me] == Nobody ? AfterLettingGo(w, me) : Step::LetGo;
            return true;
        }
    }

    static bool WakeUp(World& w, int me, bool timedOut)
    {
        if (!timedOut && !MonitorState::IsWaitOver(w.word[me])) {
            return false;
        }
        const UInt32 before = w.word[me];
        w.result[me] = MonitorState::EndWait(w.word[me], timedOut);
        if (w.result[me] != MonitorState::GoesOn) {
            w.step[me] = Step::Relock;
        }
        return w.word[me] != before;
    }

    // After a wait, with the own monitor.
    bool GoOn(World& w, int me)
    {
        const bool isNotified = w.result[me] == MonitorState::WasNotified;
        if (w.phase[me] != Phase::InCondition || roles_[me] != Role::Waiter) {
            w.step[me] = isNotified ? Step::Own : Step::EnterToWithdraw;
        } else if (isNotified) {
            w.step[me] = w.isHeir[me] ? Step::Own : Step::Take;
            EndWait(w, me, w.result[me]);
        } else {
            w.step[me] = Step::EnterToWithdrawFromCondition;
        }
        EXPECT_TRUE(w.step[me] != Step::Own || w.owner == me) << "woken without the lock";
        return true;
    }

    void EndWait(World& w, int me, MonitorState::Result result)
    {
        outcomes.insert(result);
        w.phase[me] = Phase::Returning;
        --w.present;
    }

    Step UseLock(World& w, int me) const
    {
        const Role role = roles_[me];
        w.isTrue = w.isTrue || role == Role::Notifier || role == Role::LooseNotifier;
        if (w.phase[me] == Phase::Before && role == Role::Waiter && !w.isTrue) {
            w.phase[me] = Phase::InCondition;
            ++w.present;
            return Step::EnterCondition;
        }
        if (w.phase[me] == Phase::Before && role == Role::Notifier && w.present != 0) {
            w.phase[me] = Phase::InCondition;
            return Step::EnterCondition;
        }
        w.phase[me] = w.phase[me] == Phase::Returning ? Phase::After : w.phase[me];
        return Step::Free;
    }

    Step AfterRelease(World& w, int me) const
    {
        if (roles_[me] == Role::Waiter && w.phase[me] == Phase::InCondition) {
            return Step::WaitInCondition;
        }
        return w.given[me] != Nobody ? Step::LetGo : AfterLettingGo(w, me);
    }

    Step AfterLettingGo(World& w, int me) const
    {
        switch (roles_[me]) {
        case Role::Waiter:
            // An interrupt may have kept it from waiting at all; then it needs the lock again.
            return w.phase[me] == Phase::InCondition ? Step::Sleep
                   : w.phase[me] == Phase::Returning ? Step::Take
                                                     : Step::Done;
        case Role::Notifier:
            return w.phase[me] == Phase::InCondition ? (w.phase[me] = Phase::After, Step::Free) : Step::Done;
        case Role::LooseNotifier:
            if (w.phase[me] == Phase::Before && w.present != 0) {
                w.phase[me] = Phase::InCondition;
                return Step::EnterCondition;
            }
            return Step::Done;
        default:
            return Step::Done;
        }
    }

    static void HandOverToOldest(World& w, int me)
    {
        for (const int thread : Crowd(w.queue)) {
            if (thread != Nobody && w.monitorOwner[thread] == Nobody &&
                MonitorState::Notify(w.word[thread])) {
                w.monitorOwner[thread] = me;
                w.given[me] = thread;
                RemoveFromQueue(w, thread);
                w.owner = thread;
                return;
            }
        }
    }

    // The rest of the condition's queue is for the next one to be notified.
    static bool PromiseOldest(World& w, int me)
    {
        for (const int thread : Crowd(w.waiting)) {
            if (thread != Nobody && w.monitorOwner[thread] == Nobody) {
                RemoveFrom(w.waiting, thread);
                if (MonitorState::Promise(w.word[thread])) {
                    w.monitorOwner[thread] = me;
                    w.given[me] = thread;
                    return true;
                }
            }
        }
        return false;
    }

    bool ReceiveOrNotify(World& w, int me) const
    {
        const int thread = w.given[me];
        if (w.owner == Nobody || w.owner == thread) {
            EXPECT_TRUE(MonitorState::Notify(w.word[thread])) << "what was promised is taken";
            w.step[me] = Step::LeaveCondition;
            return true;
        }
        w.flag = true;
        w.queue[Count(w.queue)] = thread;
        w.isHeir[thread] = true;
        w.monitorOwner[thread] = Nobody;
        w.given[me] = Nobody;
        w.step[me] = roles_[me] == Role::Notifier ? Step::Promise : Step::LeaveCondition;
        return true;
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
        EXPECT_EQ(w.insideCondition, Nobody);
        EXPECT_EQ(w.present, 0);
        EXPECT_FALSE(w.flag);
    }

    std::array<Role, Threads> roles_;
};

} // namespace

TEST(HandOverModelTest, NobodyIsForgottenInAnyOrderOfSteps)
{
    HandOverModel model({Role::Passer, Role::Passer, Role::Passer});
    model.Explore({});
    EXPECT_GT(model.ends, 10);
    RecordProperty("states", static_cast<int>(model.seen.size()));
}

TEST(HandOverModelTest, ConditionsPassTheirWaitersOnInAnyOrderOfSteps)
{
    using enum Role;
    std::vector<std::array<Role, Threads>> casts = {{Waiter, Waiter, Notifier},
                                                    {Waiter, Passer, LooseNotifier}};
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
    casts.insert(casts.end(), {{Waiter, Notifier, Waiter},
                               {LooseNotifier, Passer, Waiter},
                               {Waiter, Notifier, Passer},
                               {Notifier, Waiter, Passer}});
#endif
    for (const auto& roles : casts) {
        SCOPED_TRACE(testing::Message() << static_cast<int>(roles[0]) << static_cast<int>(roles[1])
                                        << static_cast<int>(roles[2]));
        HandOverModel model(roles);
        model.Explore({});
        EXPECT_GT(model.ends, 10);
        EXPECT_GT(model.outcomes.size(), 1u);
    }
}
