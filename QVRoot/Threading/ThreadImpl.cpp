#include <QVRoot/Threading/ThreadImpl.hpp>

#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>
#include <QVRoot/Threading/ImplementationImpl.hpp>
#include <QVRoot/Threading/ParkImpl.hpp>
#include <QVRoot/Threading/TaskRunImpl.hpp>
#include <QVRoot/Threading/ThreadListImpl.hpp>

namespace QV::Impl {

namespace {

constexpr UInt32 IdIsAwaited = 0xFFFFFFFF;

constinit ThreadSlot endSlot(&ThreadImpl::EndCurrent);

/// For the indexes 1 to 10.
constexpr Int32 nativePriorities[] = {-2, -2, -1, -1, 0, 0, 1, 1, 2, 2};

} // namespace

ThreadImpl::ThreadImpl(const RunnableTask& task, const UniString& name) : name_(name), task_(task) {}

ThreadImpl::~ThreadImpl()
{
    CloseNativeThread(native_);
}

ThreadImpl* ThreadImpl::Make(const RunnableTask& task, const UniString& name)
{
    void* const block = MemoryManager::Allocate(sizeof(ThreadImpl), MemoryManager::ThrowOnFailure, true);
    return new (block) ThreadImpl(task, name);
}

void ThreadImpl::ReleaseReference() noexcept
{
    if (references_.Decrement() == 0) {
        this->~ThreadImpl();
        MemoryManager::Free(this);
    }
}

void ThreadImpl::SetUpWrapper(UInt32 id) noexcept
{
    state_.SetWrapper();
    id_.store(id, std::memory_order_relaxed);
}

ThreadImpl& ThreadImpl::GetMain()
{
    static constinit std::atomic<ThreadImpl*> made = nullptr;
    static constinit FastLock lock;
    alignas(ThreadImpl) static char storage[sizeof(ThreadImpl)];
    ThreadImpl* thread = made.load(std::memory_order_acquire);
    if (thread == nullptr) {
        const FastLockGuard guard(lock);
        thread = made.load(std::memory_order_acquire);
        if (thread == nullptr) {
            thread = new (storage) ThreadImpl(RunnableTask(), UniString());
            thread->SetUpWrapper(GetMainThreadId());
            ThreadList::Add(*thread);
            made.store(thread, std::memory_order_release);
        }
    }
    return *thread;
}

ThreadImpl& ThreadImpl::Adopt()
{
    const UInt32 id = GetCurrentId();
    if (id == GetMainThreadId()) {
        SetCurrentThreadImpl(&GetMain());
        return GetMain();
    }
    // A thread whose destructors are running already is not listed any more.
    const bool hasEnded = GetCurrentThreadImpl() == EndedThread;
    ThreadImpl* const thread = Make(RunnableTask(), UniString());
    thread->SetUpWrapper(id);
    if (!hasEnded) {
        ThreadList::Add(*thread);
    }
    endSlot.Set(thread);
    SetCurrentThreadImpl(thread);
    return *thread;
}

void ThreadImpl::EndCurrent(void* current)
{
    // When the process ends, other threads may have died with our locks in their hands.
    if (IsProcessEnding()) {
        return;
    }
    auto* const thread = static_cast<ThreadImpl*>(current);
    thread->values_.Clear();
    SetCurrentThreadImpl(EndedThread);
    ThreadList::Remove(*thread);
    {
        const FastLockGuard guard(thread->lock_);
        thread->hasEnded_ = true;
    }
    thread->ReleaseReference();
}

ThreadState ThreadImpl::GetState() const
{
    const FastLockGuard guard(lock_);
    return state_;
}

UInt32 ThreadImpl::GetId() const noexcept
{
    UInt32 id = id_.load(std::memory_order_acquire);
    if (id == 0 && GetState().IsInitialized()) {
        return 0;
    }
    // The thread tells its id as soon as it runs.
    while (id == 0 || id == IdIsAwaited) {
        if (id == IdIsAwaited || id_.compare_exchange_weak(id, IdIsAwaited)) {
            Park(id_, IdIsAwaited, Deadline());
        }
        id = id_.load(std::memory_order_acquire);
    }
    return id;
}

void ThreadImpl::PublishId() noexcept
{
    if (id_.exchange(GetCurrentId()) == IdIsAwaited) {
        UnparkAll(id_);
    }
}

void ThreadImpl::Start()
{
    bool isFirst = false;
    bool isStarted = false;
    {
        const FastLockGuard guard(lock_);
        isFirst = state_.SetRunning();
        isStarted = isFirst && StartNative();
        if (isFirst && !isStarted) {
            state_.SetInitialized();
        }
    }
    if (!isFirst) {
        QV_THROW(IllegalThreadStateException, "Failed to start thread: thread hasn't been initialized yet.");
    }
    if (!isStarted) {
        QV_THROW(ThreadingException, "Failed to start thread.");
    }
}

bool ThreadImpl::StartNative()
{
    // The new thread's own reference and its place in the list are there before it runs.
    AddReference();
    ThreadList::Add(*this);
    if (StartNativeThread(native_, this)) {
        return true;
    }
    ThreadList::Remove(*this);
    ReleaseReference();
    return false;
}

void ThreadImpl::RunTask()
{
    RunReporting(task_, "Unhandled C++ exception - thread terminated");
}

void ThreadImpl::Finish() noexcept
{
    ThreadList::Remove(*this);
    Notification notification;
    {
        const FastLockGuard guard(lock_);
        state_.SetFinished();
        joiners_.NotifyAll(notification);
    }
    notification.Complete();
}

void RunStartedThread(ThreadImpl* thread)
{
    // Takes over the reference. It is given up here and not by the slot, since the task may be destroyed with
    // it, and the system calls the slots with locks of its own held.
    struct Finisher {
        ~Finisher()
        {
            // While the thread is still whole, so that destructors may lock, wait and use other values.
            thread->values_.Clear();
            thread->Finish();
            ThreadImpl::EndCurrent(thread);
        }
        ThreadImpl* thread;
    };
    SetCurrentThreadImpl(thread);
    thread->PublishId();
    const Finisher finisher = {thread};
    thread->RunTask();
}

bool ThreadImpl::Join(UInt32 milliseconds, bool interruptible)
{
    ThreadImpl& caller = GetCurrent();
    if (&caller == this) {
        QV_THROW(DeadlockException, "Failed to join thread: deadlock detected.");
    }
    Waiter waiter(caller);
    lock_.Enter();
    if (state_.IsWrapper() || state_.IsFinished()) {
        const bool isFinished = state_.IsFinished();
        lock_.Leave();
        return isFinished;
    }
    const MonitorState::Result result = joiners_.Wait(lock_, waiter, milliseconds, interruptible, [] {});
    if (result == MonitorState::WasInterrupted) {
        QV_THROW(InterruptedException, "Thread interrupted while waiting for a thread die.");
    }
    return result == MonitorState::WasNotified || GetState().IsFinished();
}

void ThreadImpl::SetPriority(ThreadPriority priority)
{
    if (priority < ThreadPriority::Lowest || priority > ThreadPriority::Highest) {
        QV_THROW(IllegalArgumentException, "Invalid priority value.");
    }
    const Int32 native = nativePriorities[priority.GetIndex() - ThreadPriority::Lowest];
    const UInt32 id = GetId();
    bool isSet = false;
    {
        const FastLockGuard guard(lock_);
        isSet = HasPriority() && SetNativePriority(native_, id, native);
        if (isSet) {
            nativePriority_ = native;
        }
    }
    if (!isSet) {
        QV_THROW(ThreadingException, "Failed to set thread priority.");
    }
}

ThreadPriority ThreadImpl::GetPriority() const
{
    const UInt32 id = GetId();
    Int32 native = 0;
    bool isKnown = false;
    {
        const FastLockGuard guard(lock_);
        native = nativePriority_;
        isKnown = HasPriority() && GetNativePriority(native_, id, native);
    }
    if (!isKnown) {
        QV_THROW(ThreadingException, "Failed to get thread priority.");
    }
    const Int32 clamped = native < -2 ? -2 : native > 2 ? 2 : native;
    return ThreadPriority::Normal + 2 * clamped;
}

} // namespace QV::Impl
