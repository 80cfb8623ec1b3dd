/// A fixed number of threads that run tasks from a queue of limited length.
///
///     ThreadPool pool(ThreadPool::GetProcessorCount());
///     Array<Future<UInt32>> counts;
///     for (const UniString& text : texts) {
///         counts.Append(pool.Submit([&text] { return CountWords(text); }));
///     }
///
/// Tasks begin in the order in which they were accepted. A task that throws, is canceled or is interrupted
/// harms neither its thread nor the next task. A thread that a task ends by force is replaced.
///
/// When the queue is full, the pool does what its options say: it waits for a place, refuses the task, or
/// runs it on the calling thread. A thread of the pool never waits for a place: it runs the task itself, or
/// the pool might come to a halt. For the same reason a task should not wait for the result of another one of
/// its pool.
///
/// Threads: any. Errors: `IllegalArgumentException` from the constructor, `ThreadingException` when the
/// system has not as many threads to give: the pool does not exist then; what `Executor` says. Allocation:
/// the queue, once, 8 bytes for each place; accepting a task allocates nothing.
#pragma once

#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Threading/Executor.hpp>

namespace QV {

namespace Impl {
class ThreadPoolImpl;
}

/// What a pool does with a task for which its queue has no place.
enum class WhenFull : UInt32 {
    Wait,        ///< waits for one; `RejectedExecutionException` when the time has run out
    Refuse,      ///< `RejectedExecutionException`
    RunInCaller, ///< runs the task before `Execute` returns
};

struct ThreadPoolOptions {
    UInt32 queueCapacity = 1024; ///< tasks that wait for a thread, at least 1
    WhenFull whenFull = WhenFull::Wait;
    UInt32 fullTimeoutMs = Timeout::Infinite; ///< the longest wait for a place
    bool interruptible = true; ///< whether that wait ends with `InterruptedException` at an interrupt
    UniString name;            ///< of the threads; a number from 1 on follows it
};

class QV_EXPORT ThreadPool final : public Executor {
public:
    /// Starts the threads, at least one.
    explicit ThreadPool(UInt32 threadCount, const ThreadPoolOptions& options = ThreadPoolOptions());
    /// Shuts down in order: waits until every accepted task has run and the threads are gone. Use
    /// `ShutdownNow` before to have it sooner. On a thread of the pool itself it does not wait.
    ~ThreadPool() override;

    /// Waits for a place in the queue whatever the options say; false when there was none in time, at once
    /// for a time of 0. `InterruptedException`; `RejectedExecutionException` after shutdown.
    bool TryExecute(RunnableTask task, UInt32 timeoutMs = 0, bool interruptible = false,
                    UInt32* remaining = nullptr);
    bool TryExecute(RunnableTask task, const Timeout& timeout, bool interruptible = false,
                    UInt32* remaining = nullptr);

    void Shutdown() override;
    Array<RunnableTask> ShutdownNow() override;
    bool IsShutdown() const override;
    bool IsTerminated() const override;
    using Executor::AwaitTermination;
    bool AwaitTermination(UInt32 timeoutMs, bool interruptible, UInt32* remaining = nullptr) override;

    UInt32 GetThreadCount() const noexcept;
    /// Tasks that wait for a thread; of the past by the time the caller sees it.
    UInt32 GetQueueLength() const noexcept;

    /// How many threads the machine runs at a time, at least 1.
    static UInt32 GetProcessorCount() noexcept;

private:
    void Accept(RunnableTask task) override;

    Impl::ThreadPoolImpl* impl_;
};

} // namespace QV
