// Pools of threads. `Tasks` hands ten thousand small tasks to two threads and waits for the last one: the
// time is for one task. `Futures` does the same with a result for each. `RoundTrip` submits one task and
// waits for its result.
#include <QVRoot/Threading/Semaphore.hpp>
#include <QVRoot/Threading/ThreadLocal.hpp>
#include <QVRoot/Threading/ThreadPool.hpp>

#include <benchmark/benchmark.h>

#include <future>
#include <vector>

#ifdef QV_PEER_BOOST_ASIO
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#endif
#ifdef QV_PEER_TBB
#include <tbb/global_control.h>
#include <tbb/task_arena.h>
#endif
#ifdef QV_PEER_QT
// Its macros stand in the way of other headers.
#include <QThreadPool>
#endif

namespace {

using namespace QV;

constexpr int threads = 2;
constexpr int tasks = 10000;

// Counts tasks down; the last one opens the way.
class Countdown {
public:
    void Expect(int count) { left_ = count; }
    void Count()
    {
        if (left_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            done_.Release();
        }
    }
    void Await() { done_.Acquire(false); }

private:
    std::atomic<int> left_ = 0;
    Semaphore done_{0, 1};
};

// A pool takes any callable, and one that gives an `int` with a `std::future` or its like.
struct OurPool {
    ThreadPool pool{threads};
    template <class Work>
    void Post(Work work)
    {
        pool.Execute(work);
    }
    template <class Work>
    auto Submit(Work work)
    {
        return pool.Submit(work);
    }
    static int Get(Future<int>& future) { return future.Get(); }
};

// What the others lack of futures is made of the standard's.
template <class Pool>
struct WithPackagedTasks : Pool {
    template <class Work>
    std::future<int> Submit(Work work)
    {
        auto task = std::make_shared<std::packaged_task<int()>>(work);
        std::future<int> future = task->get_future();
        this->Post([task] { (*task)(); });
        return future;
    }
    static int Get(std::future<int>& future) { return future.get(); }
};

struct StandardAsync {
    template <class Work>
    std::future<int> Submit(Work work)
    {
        return std::async(std::launch::async, work);
    }
    static int Get(std::future<int>& future) { return future.get(); }
};

#ifdef QV_PEER_BOOST_ASIO
struct BoostPool {
    boost::asio::thread_pool pool{threads};
    template <class Work>
    void Post(Work work)
    {
        boost::asio::post(pool, work);
    }
    ~BoostPool() { pool.join(); }
};
#endif

#ifdef QV_PEER_QT
struct QtPool {
    QThreadPool pool;
    QtPool() { pool.setMaxThreadCount(threads); }
    template <class Work>
    void Post(Work work)
    {
        pool.start(work);
    }
};
#endif

#ifdef QV_PEER_TBB
// The thread that calls is not one of the two.
struct TbbPool {
    tbb::global_control control{tbb::global_control::max_allowed_parallelism, threads + 1};
    tbb::task_arena arena{threads, 0};
    template <class Work>
    void Post(Work work)
    {
        arena.enqueue(work);
    }
};
#endif

template <class Pool>
void Tasks(benchmark::State& state)
{
    Pool pool;
    Countdown countdown;
    for (auto _ : state) {
        countdown.Expect(tasks);
        for (int i = 0; i < tasks; ++i) {
            pool.Post([&countdown] { countdown.Count(); });
        }
        countdown.Await();
    }
    state.SetItemsProcessed(state.iterations() * tasks);
}

template <class Pool>
void Futures(benchmark::State& state)
{
    Pool pool;
    const int count = static_cast<int>(state.range(0));
    std::vector<decltype(pool.Submit([] { return 1; }))> futures;
    futures.reserve(static_cast<std::size_t>(count));
    for (auto _ : state) {
        int sum = 0;
        for (int i = 0; i < count; ++i) {
            futures.push_back(pool.Submit([i] { return i; }));
        }
        for (auto& future : futures) {
            sum += Pool::Get(future);
        }
        benchmark::DoNotOptimize(sum);
        futures.clear();
    }
    state.SetItemsProcessed(state.iterations() * count);
}

template <class Pool>
void RoundTrip(benchmark::State& state)
{
    Pool pool;
    for (auto _ : state) {
        auto future = pool.Submit([] { return 1; });
        benchmark::DoNotOptimize(Pool::Get(future));
    }
}

// A thread's own value, against the language's.
ThreadLocal<int> ourValue;
thread_local int theirValue = 0;

void OurThreadLocal(benchmark::State& state)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(++*ourValue);
    }
}

void TheirThreadLocal(benchmark::State& state)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(++theirValue);
    }
}

BENCHMARK(Tasks<OurPool>)->Name("Tasks/QVThreadPool")->UseRealTime();
BENCHMARK(Futures<OurPool>)->Name("Futures/QVThreadPool")->Arg(tasks)->UseRealTime();
BENCHMARK(RoundTrip<OurPool>)->Name("RoundTrip/QVThreadPool")->UseRealTime();
BENCHMARK(Futures<StandardAsync>)->Name("Futures/StdAsync")->Arg(tasks / 100)->UseRealTime();
BENCHMARK(RoundTrip<StandardAsync>)->Name("RoundTrip/StdAsync")->UseRealTime();
#ifdef QV_PEER_BOOST_ASIO
BENCHMARK(Tasks<BoostPool>)->Name("Tasks/BoostAsio")->UseRealTime();
BENCHMARK(Futures<WithPackagedTasks<BoostPool>>)->Name("Futures/BoostAsio")->Arg(tasks)->UseRealTime();
BENCHMARK(RoundTrip<WithPackagedTasks<BoostPool>>)->Name("RoundTrip/BoostAsio")->UseRealTime();
#endif
#ifdef QV_PEER_QT
BENCHMARK(Tasks<QtPool>)->Name("Tasks/Qt")->UseRealTime();
BENCHMARK(Futures<WithPackagedTasks<QtPool>>)->Name("Futures/Qt")->Arg(tasks)->UseRealTime();
BENCHMARK(RoundTrip<WithPackagedTasks<QtPool>>)->Name("RoundTrip/Qt")->UseRealTime();
#endif
#ifdef QV_PEER_TBB
BENCHMARK(Tasks<TbbPool>)->Name("Tasks/Tbb")->UseRealTime();
BENCHMARK(Futures<WithPackagedTasks<TbbPool>>)->Name("Futures/Tbb")->Arg(tasks)->UseRealTime();
BENCHMARK(RoundTrip<WithPackagedTasks<TbbPool>>)->Name("RoundTrip/Tbb")->UseRealTime();
#endif
BENCHMARK(OurThreadLocal)->Name("ThreadLocal/QV");
BENCHMARK(TheirThreadLocal)->Name("ThreadLocal/Language");

} // namespace
