// Players go through seeded steps of one or many scenarios, while a conductor interrupts and cancels them and
// replaces those who leave. When a player makes no progress for long, the conductor says what everybody was
// doing and ends the process.
//
// QV_TORTURE_SECONDS and QV_TORTURE_THREADS make the run of everything at once longer and wider,
// QV_TORTURE_SEED makes all runs different ones.
#pragma once

#include <QVRoot/BasicEnvironment/System.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/Lockable.hpp>
#include <QVRoot/Threading/Thread.hpp>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <utility>
#include <vector>

namespace QV::Test {

inline UInt32 GetTortureNumber(const char* name, UInt32 usual)
{
    const char* const asked = std::getenv(name);
    return asked == nullptr ? usual : static_cast<UInt32>(std::strtoul(asked, nullptr, 10));
}

struct Player {
    bool Chance(unsigned oneIn) { return random() / 16 % oneIn == 0; }

    // Acquires in one of four ways; answers whether it did.
    bool AcquireSomehow(Lockable& lock)
    {
        const bool interruptible = Chance(2);
        switch (random() / 16 % 4) {
        case 0:
            doing = "acquires";
            lock.Acquire(interruptible);
            return true;
        case 1:
            return lock.TryAcquire(UInt32{0}, interruptible, nullptr);
        case 2:
            doing = "acquires for a moment";
            return lock.TryAcquire(1, interruptible, nullptr);
        default:
            doing = "acquires for long";
            return lock.TryAcquire(60000, interruptible, nullptr);
        }
    }

    std::minstd_rand random;
    Thread thread;
    std::atomic<const char*> scenario = "";
    std::atomic<const char*> doing = "";
    std::atomic<UInt64> steps = 0;
    std::atomic<UInt64> interruptsSent = 0;
    std::atomic<UInt64> interruptsSeen = 0;
    std::atomic<bool> hasLeft = false;
    UInt64 stepsThen = 0; // the conductor's
    UInt64 timeThen = 0;
};

class Scenario {
public:
    virtual ~Scenario() = default;
    virtual const char* GetName() const = 0;
    virtual void Step(Player& player) = 0;
    // At the end: sends whoever waits without a limit on his way.
    virtual void LetGo() {}
    // When nobody is inside any more.
    virtual void Check() {}
};

class Torture {
public:
    Torture(UInt32 threads, UInt32 milliseconds)
        : players_(threads), milliseconds_(milliseconds), random_(GetTortureNumber("QV_TORTURE_SEED", 1))
    {
    }

    template <class S, class... Arguments>
    void Add(Arguments&&... arguments)
    {
        scenarios_.push_back(std::make_unique<S>(std::forward<Arguments>(arguments)...));
    }

    void Run()
    {
        for (Player& player : players_) {
            Enter(player);
        }
        const UInt64 end = System::GetCurrentTimeMillis() + milliseconds_;
        while (System::GetCurrentTimeMillis() < end) {
            Thread::Sleep(1);
            Disturb(players_[random_() / 16 % players_.size()]);
            Watch();
        }
        stop_ = true;
        for (Player& player : players_) {
            while (!player.hasLeft) {
                for (const auto& scenario : scenarios_) {
                    scenario->LetGo();
                }
                Watch();
                Thread::Sleep(1);
            }
            player.thread.Join(false);
        }
        UInt64 steps = 0;
        for (const Player& player : players_) {
            steps += player.steps;
            EXPECT_LE(player.interruptsSeen, player.interruptsSent);
        }
        for (const auto& scenario : scenarios_) {
            SCOPED_TRACE(scenario->GetName());
            scenario->Check();
        }
        EXPECT_GT(steps, players_.size());
        testing::Test::RecordProperty("steps", static_cast<int>(steps));
    }

private:
    static constexpr UInt64 Patience = 60000; // ms

    void Enter(Player& player)
    {
        player.random.seed(static_cast<unsigned>(random_()));
        player.hasLeft = false;
        player.timeThen = System::GetCurrentTimeMillis();
        player.thread = Thread(RunnableTask([this, &player] { Play(player); }), u"player");
        player.thread.Start();
    }

    void Play(Player& player)
    {
        while (!stop_ && !Thread::Canceled()) {
            Scenario& scenario = *scenarios_[player.random() / 16 % scenarios_.size()];
            player.scenario = scenario.GetName();
            player.doing = "begins";
            try {
                scenario.Step(player);
            } catch (const InterruptedException&) {
                ++player.interruptsSeen;
            }
            player.doing = "ends";
            ++player.steps;
        }
        player.hasLeft = true;
    }

    void Disturb(Player& player)
    {
        if (player.hasLeft) {
            player.thread.Join(false);
            Enter(player);
            return;
        }
        ++player.interruptsSent;
        if (random_() / 16 % 64 == 0) {
            player.thread.Cancel();
        } else {
            player.thread.Interrupt();
        }
    }

    void Watch()
    {
        const UInt64 now = System::GetCurrentTimeMillis();
        for (Player& player : players_) {
            if (player.steps != player.stepsThen || player.hasLeft) {
                player.stepsThen = player.steps;
                player.timeThen = now;
            } else if (now - player.timeThen > Patience) {
                Report(player);
            }
        }
    }

    [[noreturn]] void Report(const Player& stuck)
    {
        for (const Player& player : players_) {
            const Thread& thread = player.thread;
            std::fprintf(stderr, "%s thread %lld: %s %s after %llu steps%s%s%s\n",
                         &player == &stuck ? "STUCK" : "     ", thread.GetId(), player.scenario.load(),
                         player.doing.load(), player.steps.load(),
                         thread.IsInterrupted() ? ", interrupt pending" : "",
                         thread.IsCanceled() ? ", canceled" : "", player.hasLeft ? ", has left" : "");
        }
        std::fflush(stderr);
        std::abort();
    }

    std::vector<Player> players_;
    std::vector<std::unique_ptr<Scenario>> scenarios_;
    UInt32 milliseconds_;
    std::minstd_rand random_;
    std::atomic<bool> stop_ = false;
};

} // namespace QV::Test
