// Locks, conditions, semaphores and threads against those of the standard library. `Contended` has the named
// number of threads go round a short section; its time is for one acquisition by any of them. The standard
// mutex lets newcomers barge; ours are handed on in the order of arrival.
#include <QVRoot/Threading/Barrier.hpp>
#include <QVRoot/Threading/Condition.hpp>
#include <QVRoot/Threading/Lock.hpp>
#include <QVRoot/Threading/LockGuard.hpp>
#include <QVRoot/Threading/ReadWriteLock.hpp>
#include <QVRoot/Threading/ReentrantLock.hpp>
#include <QVRoot/Threading/Semaphore.hpp>
#include <QVRoot/Threading/SpinLock.hpp>
#include <QVRoot/Threading/Thread.hpp>
#include <QVRoot/Threading/TicketLock.hpp>

#include <benchmark/benchmark.h>

#include <barrier>
#include <condition_variable>
#include <mutex>
#include <pthread.h>
#include <semaphore>
#include <shared_mutex>
#include <thread>
#include <vector>

namespace {

using namespace QV;

template <class L>
struct Ours {
    L lock;
    void Acquire() { lock.Acquire(false); }
    void Release() { lock.Release(); }
};

template <>
struct Ours<TicketLock> {
    TicketLock lock;
    void Acquire() { lock.Acquire(); }
    void Release() { lock.Release(); }
};

struct OurReader {
    ReadWriteLock lock;
    void Acquire() { lock.GetReadLock().Acquire(false); }
    void Release() { lock.GetReadLock().Release(); }
};

struct OurWriter {
    ReadWriteLock lock;
    void Acquire() { lock.GetWriteLock().Acquire(false); }
    void Release() { lock.GetWriteLock().Release(); }
};

struct OurSemaphore {
    Semaphore semaphore{1, 1};
    void Acquire() { semaphore.Acquire(false); }
    void Release() { semaphore.Release(); }
};

template <class L>
struct Standard {
    L lock;
    void Acquire() { lock.lock(); }
    void Release() { lock.unlock(); }
};

struct StandardReader {
    std::shared_mutex lock;
    void Acquire() { lock.lock_shared(); }
    void Release() { lock.unlock_shared(); }
};

struct StandardSemaphore {
    std::counting_semaphore<> semaphore{1};
    void Acquire() { semaphore.acquire(); }
    void Release() { semaphore.release(); }
};

// A started thread, as the library and the standard have it.
struct OurThread {
    template <class Work>
    explicit OurThread(Work work) : thread(RunnableTask(work), UniString())
    {
        thread.Start();
    }
    ~OurThread() { thread.Join(false); }
    Thread thread;
};

struct StandardThread {
    template <class Work>
    explicit StandardThread(Work work) : thread(work)
    {
    }
    ~StandardThread() { thread.join(); }
    std::thread thread;
};

template <class L>
void Uncontended(benchmark::State& state)
{
    const StandardThread second([] {}); // with one thread, the C library takes shortcuts
    static L lock;
    for (auto _ : state) {
        lock.Acquire();
        benchmark::ClobberMemory();
        lock.Release();
    }
}
BENCHMARK(Uncontended<Ours<Lock>>)->Name("Uncontended/QVLock");
BENCHMARK(Uncontended<Standard<std::mutex>>)->Name("Uncontended/std::mutex");
BENCHMARK(Uncontended<Ours<ReentrantLock>>)->Name("UncontendedReentrant/QVReentrantLock");
BENCHMARK(Uncontended<Standard<std::recursive_mutex>>)->Name("UncontendedReentrant/std::recursive_mutex");
BENCHMARK(Uncontended<OurReader>)->Name("UncontendedRead/QVReadWriteLock");
BENCHMARK(Uncontended<StandardReader>)->Name("UncontendedRead/std::shared_mutex");
BENCHMARK(Uncontended<OurWriter>)->Name("UncontendedWrite/QVReadWriteLock");
BENCHMARK(Uncontended<Standard<std::shared_mutex>>)->Name("UncontendedWrite/std::shared_mutex");
BENCHMARK(Uncontended<OurSemaphore>)->Name("UncontendedSemaphore/QVSemaphore");
BENCHMARK(Uncontended<StandardSemaphore>)->Name("UncontendedSemaphore/std::counting_semaphore");
BENCHMARK(Uncontended<Ours<SpinLock>>)->Name("UncontendedSpin/QVSpinLock");
BENCHMARK(Uncontended<Ours<TicketLock>>)->Name("UncontendedSpin/QVTicketLock");

template <class L>
void Contended(benchmark::State& state)
{
    static L lock;
    static UInt64 shared = 0;
    for (auto _ : state) {
        lock.Acquire();
        for (int i = 0; i < 8; ++i) {
            benchmark::DoNotOptimize(++shared);
        }
        lock.Release();
        for (int i = 0; i < 64; ++i) {
            benchmark::DoNotOptimize(i);
        }
    }
    state.SetItemsProcessed(state.iterations());
}
#define QV_BENCHMARK_CONTENDED(threads)                                                                      \
    BENCHMARK(Contended<Ours<Lock>>)->Name("Contended" #threads "/QVLock")->Threads(threads);                \
    BENCHMARK(Contended<Standard<std::mutex>>)->Name("Contended" #threads "/std::mutex")->Threads(threads);  \
    BENCHMARK(Contended<OurSemaphore>)                                                                       \
        ->Name("ContendedSemaphore" #threads "/QVSemaphore")                                                 \
        ->Threads(threads);                                                                                  \
    BENCHMARK(Contended<StandardSemaphore>)                                                                  \
        ->Name("ContendedSemaphore" #threads "/std::counting_semaphore")                                     \
        ->Threads(threads)
QV_BENCHMARK_CONTENDED(2);
QV_BENCHMARK_CONTENDED(4);

// Sections of about 10 µs with as much between them.
void WorkLong()
{
    for (int i = 0; i < 20000; ++i) {
        benchmark::DoNotOptimize(i);
    }
}

template <class L>
void ContendedLong(benchmark::State& state)
{
    static L lock;
    for (auto _ : state) {
        lock.Acquire();
        WorkLong();
        lock.Release();
        WorkLong();
    }
}
BENCHMARK(ContendedLong<Ours<Lock>>)->Name("ContendedLong2/QVLock")->Threads(2)->UseRealTime();
BENCHMARK(ContendedLong<Standard<std::mutex>>)->Name("ContendedLong2/std::mutex")->Threads(2)->UseRealTime();

// Of a hundred visits, five write.
template <class Reader, class Writer, class L>
void ReadMostly(benchmark::State& state, L& lock, Reader read, Writer write)
{
    static UInt64 shared = 0;
    UInt64 seen = 0;
    int i = state.thread_index() * 5;
    for (auto _ : state) {
        if (++i % 20 == 0) {
            write(lock, [] { benchmark::DoNotOptimize(++shared); });
        } else {
            read(lock, [&] { benchmark::DoNotOptimize(seen += shared); });
        }
    }
    state.SetItemsProcessed(state.iterations());
}

void ReadMostlyQV(benchmark::State& state)
{
    static ReadWriteLock lock;
    const auto guarded = [](Lockable& view, auto work) {
        const LockGuard guard(view);
        work();
    };
    ReadMostly(
        state, lock, [&](ReadWriteLock& l, auto work) { guarded(l.GetReadLock(), work); },
        [&](ReadWriteLock& l, auto work) { guarded(l.GetWriteLock(), work); });
}
BENCHMARK(ReadMostlyQV)->Name("ReadMostly4/QVReadWriteLock")->Threads(4)->UseRealTime();

void ReadMostlyStd(benchmark::State& state)
{
    static std::shared_mutex lock;
    ReadMostly(
        state, lock,
        [](std::shared_mutex& l, auto work) {
            const std::shared_lock guard(l);
            work();
        },
        [](std::shared_mutex& l, auto work) {
            const std::unique_lock guard(l);
            work();
        });
}
BENCHMARK(ReadMostlyStd)->Name("ReadMostly4/std::shared_mutex")->Threads(4)->UseRealTime();

// Rounds of a barrier.
template <class B, class T, class Arrive>
void Rounds(benchmark::State& state, B& barrier, int parties, Arrive arrive)
{
    std::vector<std::unique_ptr<T>> others;
    for (int i = 1; i < parties; ++i) {
        others.push_back(std::make_unique<T>([&] {
            for (auto rounds = state.max_iterations; rounds != 0; --rounds) {
                arrive(barrier);
            }
        }));
    }
    for (auto _ : state) {
        arrive(barrier);
    }
}

void BarrierRoundsQV(benchmark::State& state)
{
    const int parties = static_cast<int>(state.range(0));
    Barrier barrier(static_cast<UInt32>(parties));
    Rounds<Barrier, OurThread>(state, barrier, parties, [](Barrier& b) { b.Await(false); });
}
BENCHMARK(BarrierRoundsQV)->Name("BarrierRounds/QVBarrier")->Arg(2)->Arg(4)->UseRealTime();

void BarrierRoundsStd(benchmark::State& state)
{
    const int parties = static_cast<int>(state.range(0));
    std::barrier barrier(parties);
    Rounds<std::barrier<>, StandardThread>(state, barrier, parties,
                                           [](std::barrier<>& b) { b.arrive_and_wait(); });
}
BENCHMARK(BarrierRoundsStd)->Name("BarrierRounds/std::barrier")->Arg(2)->Arg(4)->UseRealTime();

void BarrierRoundsPthread(benchmark::State& state)
{
    const int parties = static_cast<int>(state.range(0));
    pthread_barrier_t barrier;
    pthread_barrier_init(&barrier, nullptr, static_cast<unsigned>(parties));
    Rounds<pthread_barrier_t, StandardThread>(state, barrier, parties,
                                              [](pthread_barrier_t& b) { pthread_barrier_wait(&b); });
    pthread_barrier_destroy(&barrier);
}
BENCHMARK(BarrierRoundsPthread)->Name("BarrierRounds/pthread")->Arg(2)->Arg(4)->UseRealTime();

// The turn goes to the other thread and comes back, under one lock and two conditions.
void ConditionPingPongQV(benchmark::State& state)
{
    Lock lock;
    Condition mine(lock);
    Condition theirs(lock);
    int turn = 0;
    {
        OurThread other([&] {
            const LockGuard guard(lock);
            for (;;) {
                while (turn == 0) {
                    theirs.Wait(false);
                }
                if (turn == 2) {
                    return;
                }
                turn = 0;
                mine.Notify();
            }
        });
        const LockGuard guard(lock);
        for (auto _ : state) {
            turn = 1;
            theirs.Notify();
            while (turn != 0) {
                mine.Wait(false);
            }
        }
        turn = 2;
        theirs.Notify();
    }
}
BENCHMARK(ConditionPingPongQV)->Name("ConditionPingPong/QVCondition")->UseRealTime();

void ConditionPingPongStd(benchmark::State& state)
{
    std::mutex lock;
    std::condition_variable mine;
    std::condition_variable theirs;
    int turn = 0;
    {
        StandardThread other([&] {
            std::unique_lock guard(lock);
            for (;;) {
                while (turn == 0) {
                    theirs.wait(guard);
                }
                if (turn == 2) {
                    return;
                }
                turn = 0;
                mine.notify_one();
            }
        });
        std::unique_lock guard(lock);
        for (auto _ : state) {
            turn = 1;
            theirs.notify_one();
            while (turn != 0) {
                mine.wait(guard);
            }
        }
        turn = 2;
        theirs.notify_one();
    }
}
BENCHMARK(ConditionPingPongStd)->Name("ConditionPingPong/std::condition_variable")->UseRealTime();

void NotifyNobodyQV(benchmark::State& state)
{
    Lock lock;
    Condition condition(lock);
    for (auto _ : state) {
        condition.Notify();
    }
}
BENCHMARK(NotifyNobodyQV)->Name("NotifyNobody/QVCondition");

void NotifyNobodyStd(benchmark::State& state)
{
    std::condition_variable condition;
    for (auto _ : state) {
        condition.notify_one();
    }
}
BENCHMARK(NotifyNobodyStd)->Name("NotifyNobody/std::condition_variable");

template <class S, class T, class Put, class Take>
void HandOver(benchmark::State& state, S& there, S& back, Put put, Take take)
{
    std::atomic<bool> done = false;
    T other([&] {
        for (;;) {
            take(there);
            if (done) {
                return;
            }
            put(back);
        }
    });
    for (auto _ : state) {
        put(there);
        take(back);
    }
    done = true;
    put(there);
}

void SemaphoreHandOverQV(benchmark::State& state)
{
    Semaphore there(0, 1);
    Semaphore back(0, 1);
    HandOver<Semaphore, OurThread>(
        state, there, back, [](Semaphore& s) { s.Release(); }, [](Semaphore& s) { s.Acquire(false); });
}
BENCHMARK(SemaphoreHandOverQV)->Name("SemaphoreHandOver/QVSemaphore")->UseRealTime();

void SemaphoreHandOverStd(benchmark::State& state)
{
    using S = std::counting_semaphore<>;
    S there(0);
    S back(0);
    HandOver<S, StandardThread>(
        state, there, back, [](S& s) { s.release(); }, [](S& s) { s.acquire(); });
}
BENCHMARK(SemaphoreHandOverStd)->Name("SemaphoreHandOver/std::counting_semaphore")->UseRealTime();

void StartAndJoinQV(benchmark::State& state)
{
    for (auto _ : state) {
        const OurThread thread([] {});
    }
}
BENCHMARK(StartAndJoinQV)->Name("StartAndJoin/QVThread")->UseRealTime();

void StartAndJoinStd(benchmark::State& state)
{
    for (auto _ : state) {
        const StandardThread thread([] {});
    }
}
BENCHMARK(StartAndJoinStd)->Name("StartAndJoin/std::thread")->UseRealTime();

void CurrentThreadQV(benchmark::State& state)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(Thread::GetCurrentThreadId());
    }
}
BENCHMARK(CurrentThreadQV)->Name("CurrentThread/QVThread");

void CurrentThreadStd(benchmark::State& state)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::this_thread::get_id());
    }
}
BENCHMARK(CurrentThreadStd)->Name("CurrentThread/std::thread");

} // namespace
