/// Runs every task at once, on the thread that hands it over: for tests, and where threads would not pay.
///
///     DirectExecutor executor;
///     executor.Submit([] { return 42; }).Get();
///
/// Threads: any number may run tasks at the same time. They are not the executor's own, so `ShutdownNow`
/// interrupts nobody. Errors: what `Executor` says. Allocation: one block when it is made.
#pragma once

#include <QVRoot/Threading/Executor.hpp>

namespace QV {

namespace Impl {
class DirectExecutorImpl;
}

class QV_EXPORT DirectExecutor final : public Executor {
public:
    DirectExecutor();
    /// Shuts down and waits for the tasks that other threads are running. It must not be called in one.
    ~DirectExecutor() override;

    void Shutdown() override;
    /// Nothing waits here: the array is empty.
    Array<RunnableTask> ShutdownNow() override;
    bool IsShutdown() const override;
    bool IsTerminated() const override;
    using Executor::AwaitTermination;
    bool AwaitTermination(UInt32 timeoutMs, bool interruptible, UInt32* remaining = nullptr) override;

private:
    void Accept(RunnableTask task) override;

    Impl::DirectExecutorImpl* impl_;
};

} // namespace QV
