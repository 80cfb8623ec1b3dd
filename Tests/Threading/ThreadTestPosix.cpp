// What only this platform has: forced ends of threads, forks, and processes that die with a semaphore.
#include "Worker.hpp"

#include <QVRoot/Threading/NamedSemaphore.hpp>
#include <QVRoot/Threading/ThreadPool.hpp>

#include <cstdlib>
#include <pthread.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

using namespace QV;
using namespace QV::Test;

namespace {

// Runs a check in a child process; answers whether it held.
template <class Check>
bool HoldsInChild(Check check)
{
    const pid_t child = fork();
    if (child == 0) {
        _exit(check() ? 0 : 1); // leaves no destructor a chance
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

TEST(PosixThreadTest, AForcedEndFinishesTheThread)
{
    bool unwound = false;
    struct Note {
        ~Note() { flag = true; }
        bool& flag;
    };
    Thread thread(RunnableTask([&] {
                      const Note note = {unwound};
                      pthread_exit(nullptr);
                  }),
                  u"");
    thread.Start();
    EXPECT_TRUE(thread.Join(Long, true));
    EXPECT_TRUE(unwound);
}

TEST(PosixThreadTest, APoolReplacesAThreadThatIsEndedByForce)
{
    ThreadPool pool(1);
    const Int64 before = pool.Submit([] { return Thread::GetCurrentThreadId(); }).Get();
    const Future<void> forced = pool.Submit([] { pthread_exit(nullptr); });
    EXPECT_EQ(GetOutcome([&] { forced.Get(); }), "ExecutionException: The thread was ended by force.");
    const Future<Int64> after = pool.Submit([] { return Thread::GetCurrentThreadId(); });
    EXPECT_NE(after.Get(Long, false), before);
}

TEST(PosixThreadTest, AForkedChildHasAnIdOfItsOwn)
{
    const Int64 here = Thread::GetCurrentThreadId();
    EXPECT_TRUE(HoldsInChild([&] {
        const Int64 there = Thread::GetCurrentThreadId();
        return there == getpid() && there != here;
    }));
}

TEST(PosixNamedSemaphoreTest, WhatADeadProcessLeftBehindCountsForNothing)
{
    const std::string name = "dead/" + std::to_string(getpid());
    EXPECT_TRUE(HoldsInChild([&] {
        auto* const left = new NamedSemaphore(name.c_str(), 5);
        return left->TryAcquire(0, false);
    }));
    NamedSemaphore mine(name.c_str(), 1);
    EXPECT_TRUE(HoldsInChild([&] {
        mine.~NamedSemaphore();
        return true;
    })) << "a fork's child lets go of what it has inherited";
    EXPECT_TRUE(mine.TryAcquire(0, true));
    EXPECT_FALSE(mine.TryAcquire(0, true));
    EXPECT_TRUE(HoldsInChild([&] {
        NamedSemaphore(name.c_str(), 9).Release();
        return true;
    })) << "a process that comes and goes";
    EXPECT_TRUE(mine.TryAcquire(Long, true));
}
