#include <QVRoot/Threading/DirectExecutor.hpp>

#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/Condition.hpp>
#include <QVRoot/Threading/ImplementationImpl.hpp>
#include <QVRoot/Threading/Lock.hpp>
#include <QVRoot/Threading/LockGuard.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>
#include <QVRoot/Threading/TaskRunImpl.hpp>
#include <QVRoot/Threading/Thread.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>

namespace QV {

namespace Impl {

/// A task that is running, on the stack of its thread.
struct DirectRun {
    Int64 threadId;
    DirectRun* previous = nullptr;
    DirectRun* next = nullptr;
};

class DirectExecutorImpl {
public:
    void Run(const RunnableTask& task);
    void Shutdown();
    bool IsShutdown();
    bool IsTerminated();
    bool AwaitTermination(UInt32 timeoutMs, bool interruptible);

private:
    void Begin(DirectRun& run);
    void End(DirectRun& run);
    void CheckOutside() const;

    Lock lock_;
    Condition ended_{lock_};
    bool isShutdown_ = false;
    DirectRun* running_ = nullptr;
};

void DirectExecutorImpl::Begin(DirectRun& run)
{
    const LockGuard guard(lock_);
    if (isShutdown_) {
        QV_THROW(RejectedExecutionException, "The executor was shut down.");
    }
    run.next = running_;
    if (running_ != nullptr) {
        running_->previous = &run;
    }
    running_ = &run;
}

void DirectExecutorImpl::End(DirectRun& run)
{
    const LockGuard guard(lock_);
    (run.previous == nullptr ? running_ : run.previous->next) = run.next;
    if (run.next != nullptr) {
        run.next->previous = run.previous;
    }
    if (running_ == nullptr) {
        ended_.NotifyAll();
    }
}

void DirectExecutorImpl::Run(const RunnableTask& task)
{
    struct Running {
        Running(DirectExecutorImpl& executor, DirectRun& run) : executor(executor), run(run)
        {
            executor.Begin(run);
        }
        ~Running() { executor.End(run); }
        DirectExecutorImpl& executor;
        DirectRun& run;
    };
    // From here on the lock does not need memory.
    ThreadImpl::GetCurrent();
    DirectRun run = {Thread::GetCurrentThreadId()};
    const Running running(*this, run);
    RunReporting(task, "Unhandled C++ exception - task ended");
}

void DirectExecutorImpl::Shutdown()
{
    const LockGuard guard(lock_);
    isShutdown_ = true;
    ended_.NotifyAll();
}

bool DirectExecutorImpl::IsShutdown()
{
    const LockGuard guard(lock_);
    return isShutdown_;
}

bool DirectExecutorImpl::IsTerminated()
{
    const LockGuard guard(lock_);
    return isShutdown_ && running_ == nullptr;
}

void DirectExecutorImpl::CheckOutside() const
{
    for (const DirectRun* run = running_; run != nullptr; run = run->next) {
        if (run->threadId == Thread::GetCurrentThreadId()) {
            QV_THROW(DeadlockException,
                     "Failed to wait for the executor: the calling thread runs one of its tasks.");
        }
    }
}

bool DirectExecutorImpl::AwaitTermination(UInt32 timeoutMs, bool interruptible)
{
    const LockGuard guard(lock_);
    CheckOutside();
    UInt32 rest = timeoutMs;
    while (!isShutdown_ || running_ != nullptr) {
        if (rest == 0) {
            return false;
        }
        if (rest == Timeout::Infinite) {
            ended_.Wait(interruptible);
        } else {
            ended_.Wait(rest, interruptible, &rest);
        }
    }
    return true;
}

} // namespace Impl

DirectExecutor::DirectExecutor() : impl_(Impl::MakeImplementation<Impl::DirectExecutorImpl>()) {}

DirectExecutor::~DirectExecutor()
{
    impl_->Shutdown();
    impl_->AwaitTermination(Timeout::Infinite, false);
    Impl::DestroyImplementation(impl_);
}

void DirectExecutor::Accept(RunnableTask task)
{
    impl_->Run(task);
}

void DirectExecutor::Shutdown()
{
    impl_->Shutdown();
}

Array<RunnableTask> DirectExecutor::ShutdownNow()
{
    impl_->Shutdown();
    return {};
}

bool DirectExecutor::IsShutdown() const
{
    return impl_->IsShutdown();
}

bool DirectExecutor::IsTerminated() const
{
    return impl_->IsTerminated();
}

bool DirectExecutor::AwaitTermination(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    const Impl::RemainingTime time(timeoutMs, remaining);
    return impl_->AwaitTermination(timeoutMs, interruptible);
}

} // namespace QV
