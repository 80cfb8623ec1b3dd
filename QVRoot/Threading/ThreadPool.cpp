#include <QVRoot/Threading/ThreadPool.hpp>

#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>
#include <QVRoot/Threading/ThreadPoolImpl.hpp>

#include <algorithm>
#include <thread>

namespace QV {

namespace {

void CheckOptions(UInt32 threadCount, const ThreadPoolOptions& options)
{
    if (threadCount == 0) {
        QV_THROW(IllegalArgumentException, "Invalid number of threads: number of threads is 0.");
    }
    if (options.queueCapacity == 0) {
        QV_THROW(IllegalArgumentException, "Invalid queue capacity: queue capacity is 0.");
    }
}

} // namespace

ThreadPool::ThreadPool(UInt32 threadCount, const ThreadPoolOptions& options)
{
    CheckOptions(threadCount, options);
    impl_ = Impl::MakeImplementation<Impl::ThreadPoolImpl>(options, threadCount);
    try {
        impl_->StartAll();
    } catch (...) {
        impl_->Close();
        impl_->ReleaseReference();
        throw;
    }
}

ThreadPool::~ThreadPool()
{
    impl_->Close();
    impl_->ReleaseReference();
}

void ThreadPool::Accept(RunnableTask task)
{
    const ThreadPoolOptions& options = impl_->GetOptions();
    const UInt32 timeoutMs = options.whenFull == WhenFull::Wait ? options.fullTimeoutMs : 0;
    if (impl_->PushOrRun(task, timeoutMs, options.interruptible)) {
        return;
    }
    if (options.whenFull != WhenFull::RunInCaller) {
        QV_THROW(RejectedExecutionException, "The executor's queue is full.");
    }
    Impl::ThreadPoolImpl::RunTask(task);
}

bool ThreadPool::TryExecute(RunnableTask task, UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    if (task.IsNull()) {
        QV_THROW(IllegalArgumentException, "Invalid task: task is null.");
    }
    const Impl::RemainingTime time(timeoutMs, remaining);
    return impl_->PushOrRun(task, timeoutMs, interruptible);
}

bool ThreadPool::TryExecute(RunnableTask task, const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return TryExecute(std::move(task), timeout(), interruptible, remaining);
}

void ThreadPool::Shutdown()
{
    impl_->Shutdown();
}

Array<RunnableTask> ThreadPool::ShutdownNow()
{
    return impl_->ShutdownNow();
}

bool ThreadPool::IsShutdown() const
{
    return impl_->IsShutdown();
}

bool ThreadPool::IsTerminated() const
{
    return impl_->IsTerminated();
}

bool ThreadPool::AwaitTermination(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    const Impl::RemainingTime time(timeoutMs, remaining);
    return impl_->AwaitTermination(timeoutMs, interruptible);
}

UInt32 ThreadPool::GetThreadCount() const noexcept
{
    return impl_->GetThreadCount();
}

UInt32 ThreadPool::GetQueueLength() const noexcept
{
    return impl_->GetQueueLength();
}

UInt32 ThreadPool::GetProcessorCount() noexcept
{
    return std::max(std::thread::hardware_concurrency(), 1u);
}

} // namespace QV
