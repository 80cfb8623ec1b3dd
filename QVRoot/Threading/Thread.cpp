#include <QVRoot/Threading/Thread.hpp>

#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>
#include <QVRoot/Threading/ThreadListImpl.hpp>

#include <utility>

namespace QV {

using Impl::ThreadImpl;

Thread::Thread() noexcept : impl_(nullptr) {}

Thread::Thread(const RunnableTask& task, const UniString& name) : impl_(ThreadImpl::Make(task, name)) {}

Thread::Thread(ThreadImpl* impl) noexcept : impl_(impl)
{
    impl->AddReference();
}

Thread::Thread(const Thread& other) noexcept : Waitable(other), Cancelable(other), impl_(other.impl_)
{
    if (impl_ != nullptr) {
        impl_->AddReference();
    }
}

Thread::Thread(Thread&& other) noexcept : impl_(std::exchange(other.impl_, nullptr)) {}

Thread& Thread::operator=(const Thread& other) noexcept
{
    Thread copy(other);
    std::swap(impl_, copy.impl_);
    return *this;
}

Thread& Thread::operator=(Thread&& other) noexcept
{
    std::swap(impl_, other.impl_);
    return *this;
}

Thread::~Thread()
{
    if (impl_ != nullptr) {
        impl_->ReleaseReference();
    }
}

void Thread::CheckState(const char* file, UInt32 line) const
{
    if (impl_ == nullptr) [[unlikely]] {
        throw IllegalThreadStateException("The thread object refers to no thread.", file, line);
    }
}

void Thread::Start()
{
    CheckState(QV_SOURCE_FILE, __LINE__);
    impl_->Start();
}

void Thread::Join(bool interruptible)
{
    Join(Timeout::Infinite, interruptible, nullptr);
}

bool Thread::Join(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    CheckState(QV_SOURCE_FILE, __LINE__);
    const Impl::RemainingTime time(timeoutMs, remaining);
    return impl_->Join(timeoutMs, interruptible);
}

bool Thread::Join(const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return Join(timeout(), interruptible, remaining);
}

void Thread::Wait(bool interruptible)
{
    Join(interruptible);
}

bool Thread::Wait(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    return Join(timeoutMs, interruptible, remaining);
}

bool Thread::Wait(const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return Join(timeout(), interruptible, remaining);
}

void Thread::Interrupt()
{
    CheckState(QV_SOURCE_FILE, __LINE__);
    impl_->GetMonitor().Interrupt();
}

bool Thread::IsInterrupted() const
{
    CheckState(QV_SOURCE_FILE, __LINE__);
    return impl_->GetMonitor().IsInterrupted();
}

bool Thread::Interrupted()
{
    return ThreadImpl::GetCurrent().GetMonitor().TestAndClearInterrupted();
}

void Thread::Cancel()
{
    CheckState(QV_SOURCE_FILE, __LINE__);
    impl_->GetMonitor().Cancel();
}

bool Thread::IsCanceled() const
{
    CheckState(QV_SOURCE_FILE, __LINE__);
    return impl_->GetMonitor().IsCanceled();
}

bool Thread::Canceled()
{
    Impl::ThreadMonitorImpl& monitor = ThreadImpl::GetCurrent().GetMonitor();
    return monitor.IsCanceled() && monitor.ClearInterruptAndTestCanceled();
}

void Thread::SetPriority(const ThreadPriority& priority)
{
    CheckState(QV_SOURCE_FILE, __LINE__);
    impl_->SetPriority(priority);
}

ThreadPriority Thread::GetPriority() const
{
    CheckState(QV_SOURCE_FILE, __LINE__);
    return impl_->GetPriority();
}

UniString Thread::GetName() const
{
    CheckState(QV_SOURCE_FILE, __LINE__);
    return impl_->GetName();
}

Int64 Thread::GetId() const
{
    CheckState(QV_SOURCE_FILE, __LINE__);
    return impl_->GetId();
}

ThreadState Thread::GetState() const
{
    CheckState(QV_SOURCE_FILE, __LINE__);
    return impl_->GetState();
}

RunnableTask Thread::GetTask() const
{
    CheckState(QV_SOURCE_FILE, __LINE__);
    return impl_->GetTask();
}

Thread Thread::GetCurrent()
{
    return Thread(&ThreadImpl::GetCurrent());
}

Thread Thread::GetMain()
{
    return Thread(&ThreadImpl::GetMain());
}

bool Thread::IsMain() noexcept
{
    return Impl::GetCurrentId() == Impl::GetMainThreadId();
}

Int64 Thread::GetCurrentThreadId() noexcept
{
    return Impl::GetCurrentId();
}

PagedArray<Thread, 8> Thread::GetThreads()
{
    struct References {
        ~References()
        {
            for (ThreadImpl* const thread : all) {
                thread->ReleaseReference();
            }
        }
        Array<ThreadImpl*> all;
    };
    const References threads = {Impl::ThreadList::GetAll()};
    PagedArray<Thread, 8> handles;
    for (ThreadImpl* const thread : threads.all) {
        handles.Append(Thread(thread));
    }
    return handles;
}

void Thread::Sleep(UInt32 milliseconds, bool interruptible)
{
    if (milliseconds == 0) {
        Impl::YieldProcessor();
        return;
    }
    Impl::ThreadMonitorImpl& monitor = ThreadImpl::GetCurrent().GetMonitor();
    Impl::MonitorState::Result result;
    {
        const Impl::MonitorGuard guard(monitor);
        result = monitor.TimedWait(milliseconds, interruptible);
    }
    if (result == Impl::MonitorState::WasInterrupted) {
        QV_THROW(InterruptedException, "Thread interrupted while sleeping.");
    }
}

void Thread::Sleep(const Timeout& timeout, bool interruptible)
{
    Sleep(timeout(), interruptible);
}

void Thread::Yield() noexcept
{
    Impl::YieldProcessor();
}

void Thread::BlockOn(Interruptible* interruptible)
{
    CheckState(QV_SOURCE_FILE, __LINE__);
    impl_->GetMonitor().BlockOn(interruptible);
}

} // namespace QV
