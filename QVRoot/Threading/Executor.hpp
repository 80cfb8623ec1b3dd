/// Somebody who runs tasks: `ThreadPool`, or `DirectExecutor`.
///
///     ThreadPool pool(4);
///     Executor& executor = pool;
///     executor.Execute([&] { … });
///     Future<UInt32> sum = executor.Submit([&] { return Sum(numbers); });
///     executor.Shutdown();
///     executor.AwaitTermination(Timeout::Infinite, true);
///
/// An executor accepts tasks until it is shut down. `Shutdown` lets what was accepted run; `ShutdownNow`
/// gives back what has not begun and interrupts what is running. It has terminated when it was shut down and
/// nothing is left to run: that is what its `Wait` waits for.
///
/// Threads: any. Errors: `RejectedExecutionException` for a task that is not accepted,
/// `IllegalArgumentException` for a null task; it will not run then. What a task of `Execute` throws goes to
/// `ErrorReporting`; what a task of `Submit` throws goes to its future. Allocation: a block per callable.
#pragma once

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/Threading/FutureTask.hpp>
#include <QVRoot/Threading/Waitable.hpp>

namespace QV {

class QV_EXPORT Executor : public Waitable {
public:
    Executor(const Executor&) = delete;
    Executor& operator=(const Executor&) = delete;
    ~Executor() override;

    /// Has the task run. Throws when it is not accepted.
    void Execute(RunnableTask task);
    template <class Callable>
    requires(std::is_invocable_v<std::decay_t<Callable>&> &&
             !std::is_same_v<std::decay_t<Callable>, RunnableTask>) void Execute(Callable&& callable)
    {
        Execute(RunnableTask(std::forward<Callable>(callable)));
    }

    /// Has the callable run and answers with the future of its result.
    template <class Callable>
    auto Submit(Callable&& callable) -> Future<std::invoke_result_t<std::decay_t<Callable>&>>
    {
        FutureTask<std::invoke_result_t<std::decay_t<Callable>&>> task(std::forward<Callable>(callable));
        Execute(std::move(task).GetTask());
        return std::move(task).GetFuture();
    }

    /// Accepts no more tasks; those accepted will run. Calls on an executor that was shut down do nothing.
    virtual void Shutdown() = 0;
    /// The same, but tasks that have not begun are taken out and returned, and the threads of those that run
    /// are interrupted. A task that is then dropped cancels its future. When there is no memory for the
    /// array, nothing has happened.
    virtual Array<RunnableTask> ShutdownNow() = 0;

    virtual bool IsShutdown() const = 0;
    virtual bool IsTerminated() const = 0;

    /// Waits until the executor has terminated; false when the time has run out. `DeadlockException` on a
    /// thread that is running one of its tasks, `InterruptedException`.
    virtual bool AwaitTermination(UInt32 timeoutMs, bool interruptible, UInt32* remaining = nullptr) = 0;
    bool AwaitTermination(const Timeout& timeout, bool interruptible, UInt32* remaining = nullptr)
    {
        return AwaitTermination(timeout(), interruptible, remaining);
    }

    /// The same.
    void Wait(bool interruptible = false) override;
    bool Wait(UInt32 timeoutMs, bool interruptible, UInt32* remaining = nullptr) override;
    bool Wait(const Timeout& timeout, bool interruptible, UInt32* remaining = nullptr) override;

protected:
    Executor() = default;

    /// Takes a task that is not null, or throws and leaves everything as it was.
    virtual void Accept(RunnableTask task) = 0;
};

} // namespace QV
