#include "Worker.hpp"

#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/Threading/Semaphore.hpp>
#include <QVRoot/Threading/ThreadLocal.hpp>

#include <QVRoot/MemoryManagement/Core/FaultInjection.hpp>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace QV;
using namespace QV::Test;

namespace {

std::atomic<int> alive = 0;

// Leaves its name in a list when it goes.
struct Tracked {
    Tracked() { ++alive; }
    Tracked(std::string name, std::vector<std::string>& log) : name(std::move(name)), log(&log) { ++alive; }
    Tracked(Tracked&& other) : name(std::move(other.name)), log(std::exchange(other.log, nullptr))
    {
        ++alive;
    }
    Tracked& operator=(Tracked&& other) = default;
    ~Tracked()
    {
        if (log != nullptr) {
            log->push_back(name);
        }
        --alive;
    }

    std::string name;
    std::vector<std::string>* log = nullptr;
};

constinit ThreadLocal<int> global;

} // namespace

TEST(ThreadLocalTest, EveryThreadHasItsOwn)
{
    ThreadLocal counter([] { return 10; });
    EXPECT_EQ(counter.TryGet(), nullptr);
    EXPECT_EQ(++*counter, 11);
    EXPECT_EQ(global.Set(5), 5);
    std::thread([&] {
        EXPECT_EQ(counter.TryGet(), nullptr);
        EXPECT_EQ(*counter, 10);
        EXPECT_EQ(*global, 0);
        EXPECT_EQ(counter.Set(3), 3);
        EXPECT_EQ(counter.Set(4), 4);
    }).join();
    EXPECT_EQ(*counter.TryGet(), 11);
    counter.Clear();
    counter.Clear();
    EXPECT_EQ(counter.TryGet(), nullptr);
    EXPECT_EQ(counter.Get(), 10);
    EXPECT_EQ(*global, 5);
    global.Clear();
}

TEST(ThreadLocalTest, ManyOfThemNeedNoSlotOfTheSystem)
{
    std::vector<std::unique_ptr<ThreadLocal<UInt32>>> many;
    for (UInt32 i = 0; i < 5000; ++i) {
        many.push_back(std::make_unique<ThreadLocal<UInt32>>());
        many.back()->Set(i);
    }
    for (UInt32 i = 0; i < 5000; i += 2) {
        many[i] = std::make_unique<ThreadLocal<UInt32>>();
        EXPECT_EQ(many[i]->TryGet(), nullptr) << "an index that was used before";
    }
    for (UInt32 i = 0; i < 5000; ++i) {
        ASSERT_EQ(many[i]->Get(), i % 2 == 0 ? 0 : i);
    }
}

TEST(ThreadLocalTest, ValuesGoWithTheirThreadInReverseOrder)
{
    std::vector<std::string> log;
    ThreadLocal<Tracked> a, b, c;
    const auto work = [&] {
        b.Set(Tracked("b", log));
        a.Set(Tracked("a", log));
        c.Set(Tracked("c", log));
        c.Clear();
        EXPECT_EQ(log, std::vector<std::string>{"c"});
    };
    {
        Worker worker(work);
    }
    EXPECT_EQ(log, (std::vector<std::string>{"c", "a", "b"}));
    log.clear();
    std::thread(work).join(); // not of the library
    EXPECT_EQ(log, (std::vector<std::string>{"c", "a", "b"}));
    EXPECT_EQ(alive, 0);
}

TEST(ThreadLocalTest, DestructorsMayUseWhatIsLeftAndMakeMore)
{
    std::vector<std::string> log;
    static ThreadLocal<Tracked>* others;
    struct Maker {
        std::vector<std::string>* log = nullptr;
        ~Maker()
        {
            if (log != nullptr) {
                log->push_back("uses " + others->Get().name);
                Thread::Sleep(1);
            }
        }
    };
    ThreadLocal<Tracked> early, late;
    ThreadLocal<Maker> maker;
    for (const bool lateOnly : {false, true}) {
        others = lateOnly ? &late : &early;
        log.clear();
        Worker([&] {
            early.Set(Tracked("early", log));
            maker.Get().log = &log;
        });
        EXPECT_EQ(log, (std::vector<std::string>{lateOnly ? "uses " : "uses early", "early"}));
        EXPECT_EQ(alive, 0);
    }

    // One that makes itself anew for ever is left to the end of its variable.
    static int deaths;
    static bool rises;
    struct Phoenix {
        ThreadLocal<Phoenix>* place = nullptr;
        ~Phoenix()
        {
            ++deaths;
            if (rises) {
                place->Get().place = place;
            }
        }
    };
    deaths = 0;
    rises = true;
    {
        ThreadLocal<Phoenix> phoenix;
        Worker([&] { phoenix.Get().place = &phoenix; });
        EXPECT_EQ(deaths, 4);
        rises = false;
    }
    EXPECT_EQ(deaths, 5);
}

TEST(ThreadLocalTest, ValuesGoWithTheirVariable)
{
    std::vector<std::string> log;
    auto value = std::make_unique<ThreadLocal<Tracked>>();
    Semaphore ready(0, 4), go(0, 4);
    {
        const auto work = [&] {
            value->Get().name = "other";
            ready.Release();
            go.Acquire();
        };
        Worker one(work), two(work);
        value->Set(Tracked("mine", log));
        ready.Acquire();
        ready.Acquire();
        EXPECT_EQ(alive, 3);
        value.reset();
        EXPECT_EQ(alive, 0);
        EXPECT_EQ(log, std::vector<std::string>{"mine"});
        go.Release();
        go.Release();
    }
}

// Threads end while the variable goes: every value is destroyed exactly once, by whoever has it.
TEST(ThreadLocalTest, ThreadsEndWhileTheVariableGoes)
{
    for (int round = 0; round < 300; ++round) {
        auto value = std::make_unique<ThreadLocal<Tracked>>();
        Semaphore made(0, 3);
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([&] {
                value->Get();
                made.Release();
            });
        }
        for (int i = 0; i < 3; ++i) {
            made.Acquire();
        }
        value.reset();
        EXPECT_EQ(alive, 0);
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
}

TEST(ThreadLocalTest, NoMemoryLeavesNoValue)
{
    ASSERT_TRUE(FaultInjection::IsEnabled()) << "run with a debug-value file of Tests/Support";
    // The thread's own object, its table, the value.
    for (UInt64 n = 1; n <= 4; ++n) {
        ThreadLocal<Tracked> value;
        std::thread([&] {
            FaultInjection::FailOnce(n);
            EXPECT_EQ(GetOutcome([&] { value.Get(); }).empty(), n == 4) << n;
            FaultInjection::Disable();
            EXPECT_EQ(value.TryGet() != nullptr, n == 4);
            EXPECT_EQ(alive, n == 4);
            value.Get();
        }).join();
        EXPECT_EQ(alive, 0);
    }
}
