#include <QVRoot/Threading/ThreadPoolImpl.hpp>

#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/NativeThreadImpl.hpp>
#include <QVRoot/Threading/ParkImpl.hpp>
#include <QVRoot/Threading/SpinLockImpl.hpp>
#include <QVRoot/Threading/TaskRunImpl.hpp>

#include <string>

namespace QV::Impl {

namespace {

/// Milliseconds up to a deadline, rounded up.
UInt32 GetRest(Deadline deadline) noexcept
{
    if (deadline.nanos == Deadline::Never) {
        return Timeout::Infinite;
    }
    const UInt64 now = GetMonotonicNanos();
    return now >= deadline.nanos ? 0 : static_cast<UInt32>((deadline.nanos - now + 999'999) / 1'000'000);
}

/// What one thread of a pool runs.
class WorkerTask final : public Runnable {
public:
    explicit WorkerTask(ThreadPoolImpl& pool) noexcept : pool_(pool) { pool.AddReference(); }
    ~WorkerTask() override { pool_.ReleaseReference(); }
    void Run() override { pool_.RunWorker(); }

private:
    ThreadPoolImpl& pool_;
};

} // namespace

/// Signs a thread off, also when it is ended by force.
class ThreadPoolImpl::Departure {
public:
    explicit Departure(ThreadPoolImpl& pool) noexcept : pool_(pool) {}
    ~Departure() { pool_.Depart(isForced_); }
    Departure(const Departure&) = delete;
    Departure& operator=(const Departure&) = delete;

    void Expect() noexcept { isForced_ = false; }

private:
    ThreadPoolImpl& pool_;
    bool isForced_ = true;
};

ThreadPoolImpl::ThreadPoolImpl(const ThreadPoolOptions& options, UInt32 threadCount)
    : options_(options), threadCount_(threadCount)
{
    threads_.Reserve(threadCount);
    const USize size = USize{options.queueCapacity} * sizeof(RunnableTask);
    queue_ = static_cast<RunnableTask*>(MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true));
    std::uninitialized_default_construct_n(queue_, options.queueCapacity);
}

ThreadPoolImpl::~ThreadPoolImpl()
{
    std::destroy_n(queue_, options_.queueCapacity);
    MemoryManager::Free(queue_);
}

void ThreadPoolImpl::ReleaseReference() noexcept
{
    if (references_.Decrement() == 0) {
        DestroyImplementation(this);
    }
}

Thread ThreadPoolImpl::MakeThread(const UniString& name)
{
    return Thread(RunnableTask(new WorkerTask(*this)), name);
}

void ThreadPoolImpl::StartAll()
{
    for (UInt32 i = 0; i < threadCount_; ++i) {
        UniString name(options_.name);
        name += std::to_string(i + 1).c_str();
        Thread thread = MakeThread(name);
        const FastLockGuard guard(lock_);
        thread.Start();
        threads_.Append(std::move(thread));
        ++alive_;
    }
}

bool ThreadPoolImpl::IsOwnThread() const
{
    ThreadImpl* const known = GetCurrentThreadImpl();
    if (known == nullptr || known == EndedThread) {
        return false;
    }
    const Thread current = Thread::GetCurrent();
    const FastLockGuard guard(lock_);
    for (const Thread& thread : threads_) {
        if (thread == current) {
            return true;
        }
    }
    return false;
}

void ThreadPoolImpl::Put(RunnableTask& task) noexcept
{
    const UInt32 count = GetCount();
    const USize place = USize{first_} + count;
    queue_[place < options_.queueCapacity ? place : place - options_.queueCapacity] = std::move(task);
    count_.store(count + 1, std::memory_order_relaxed);
}

RunnableTask ThreadPoolImpl::Get() noexcept
{
    RunnableTask task = std::move(queue_[first_]);
    first_ = first_ + 1 == options_.queueCapacity ? 0 : first_ + 1;
    count_.store(GetCount() - 1, std::memory_order_relaxed);
    return task;
}

/// Under the lock: a sleeper is woken unless somebody is looking anyway.
void ThreadPoolImpl::WakeOne(Notification& notification)
{
    if (searching_ == 0 && idle_.NotifyOne(notification, WaiterQueue::Refusing::Stays) != nullptr) {
        ++searching_;
    }
}

ThreadPoolImpl::Push ThreadPoolImpl::TryPush(RunnableTask& task, UInt32 timeoutMs, bool interruptible)
{
    Notification notification;
    lock_.Enter();
    if (GetCount() == options_.queueCapacity && !isShutdown_ && timeoutMs != 0) {
        lock_.Leave();
        // May allocate, which the `FastLock` must not see.
        ThreadImpl& me = ThreadImpl::GetCurrent();
        const Deadline deadline = Deadline::After(timeoutMs);
        lock_.Enter();
        for (UInt32 rest = timeoutMs; GetCount() == options_.queueCapacity && !isShutdown_ && rest != 0;
             rest = GetRest(deadline)) {
            Waiter waiter(me);
            if (forPlaces_.Wait(lock_, waiter, rest, interruptible, [] {}) == MonitorState::WasInterrupted) {
                QV_THROW(InterruptedException, "Thread interrupted while waiting for a place in a queue.");
            }
            lock_.Enter();
        }
    }
    const Push result = isShutdown_                            ? Push::IsShutDown
                        : GetCount() == options_.queueCapacity ? Push::Full
                                                               : Push::Accepted;
    if (result == Push::Accepted) {
        Put(task);
        WakeOne(notification);
    }
    lock_.Leave();
    notification.Complete();
    return result;
}

void ThreadPoolImpl::RunTask(const RunnableTask& task)
{
    RunReporting(task, "Unhandled C++ exception - task ended");
}

bool ThreadPoolImpl::PushOrRun(RunnableTask& task, UInt32 timeoutMs, bool interruptible)
{
    Push result = TryPush(task, 0, false);
    if (result == Push::Full && timeoutMs != 0) {
        if (IsOwnThread()) {
            RunTask(task);
            return true;
        }
        result = TryPush(task, timeoutMs, interruptible);
    }
    if (result == Push::IsShutDown) {
        QV_THROW(RejectedExecutionException, "The executor was shut down.");
    }
    return result == Push::Accepted;
}

/// Without the lock. Answers whether looking has paid.
bool ThreadPoolImpl::Poll() noexcept
{
    for (UInt32 spins = polling_.GetLimit(); spins != 0; --spins) {
        if (HasNews()) {
            polling_.Note(true);
            return true;
        }
        PauseProcessor();
    }
    polling_.Note(false);
    return false;
}

bool ThreadPoolImpl::HasNews() const noexcept
{
    return count_.load(std::memory_order_relaxed) != 0 || isShutdown_.load(std::memory_order_relaxed);
}

/// Waits for a task; false when there will be none.
bool ThreadPoolImpl::Next(RunnableTask& task, ThreadImpl& me)
{
    Notification notification;
    lock_.Enter();
    while (GetCount() == 0) {
        if (isShutdown_) {
            lock_.Leave();
            return false;
        }
        ++searching_;
        lock_.Leave();
        Poll();
        lock_.Enter();
        --searching_;
        if (!HasNews()) {
            // Whoever wakes this thread counts it as searching.
            Waiter waiter(me);
            idle_.Wait(lock_, waiter, Timeout::Infinite, false, [] {});
            lock_.Enter();
            --searching_;
        }
    }
    task = Get();
    if (GetCount() != 0) {
        WakeOne(notification);
    }
    forPlaces_.NotifyOne(notification, WaiterQueue::Refusing::Stays);
    lock_.Leave();
    notification.Complete();
    return true;
}

void ThreadPoolImpl::RunWorker()
{
    Departure departure(*this);
    ThreadImpl& me = ThreadImpl::GetCurrent();
    for (RunnableTask task; Next(task, me);) {
        RunTask(task);
        task = RunnableTask();
        // An interrupt belongs to the task that it was meant for.
        if (me.GetMonitor().IsInterrupted()) {
            me.GetMonitor().TestAndClearInterrupted();
        }
    }
    departure.Expect();
}

void ThreadPoolImpl::Depart(bool isForced) noexcept
{
    Notification notification;
    if (isForced) {
        Replace(Thread::GetCurrent());
    }
    {
        const FastLockGuard guard(lock_);
        if (--alive_ == 0 && isShutdown_) {
            forTermination_.NotifyAll(notification);
        }
    }
    notification.Complete();
}

/// Starts another thread in the place of one that is being ended by force.
void ThreadPoolImpl::Replace(const Thread& thread) noexcept
{
    try {
        Thread successor = MakeThread(thread.GetName());
        const FastLockGuard guard(lock_);
        for (Thread& place : threads_) {
            if (place == thread && !(isShutdown_ && GetCount() == 0)) {
                successor.Start();
                std::swap(place, successor);
                ++alive_;
                break;
            }
        }
    } catch (...) {
        // There is no thread to be had: the others go on.
    }
}

void ThreadPoolImpl::Shutdown()
{
    Notification notification;
    {
        const FastLockGuard guard(lock_);
        isShutdown_ = true;
        while (idle_.NotifyOne(notification, WaiterQueue::Refusing::Stays) != nullptr) {
            ++searching_;
        }
        forPlaces_.NotifyAll(notification);
        if (alive_ == 0) {
            forTermination_.NotifyAll(notification);
        }
    }
    notification.Complete();
}

Array<RunnableTask> ThreadPoolImpl::ShutdownNow()
{
    Array<RunnableTask> tasks;
    Array<Thread> threads;
    threads.Reserve(threadCount_);
    for (bool isTaken = false; !isTaken;) {
        // Allocated before anything changes, and outside the lock.
        const UInt32 room = GetQueueLength();
        tasks.Reserve(room);
        const FastLockGuard guard(lock_);
        isTaken = GetCount() <= room;
        while (isTaken && GetCount() != 0) {
            tasks.Append(Get());
        }
        if (isTaken) {
            isShutdown_ = true;
            for (const Thread& thread : threads_) {
                threads.Append(thread);
            }
        }
    }
    Shutdown();
    for (Thread& thread : threads) {
        thread.Interrupt();
    }
    return tasks;
}

bool ThreadPoolImpl::IsShutdown() const
{
    return isShutdown_.load(std::memory_order_acquire);
}

bool ThreadPoolImpl::IsTerminated() const
{
    const FastLockGuard guard(lock_);
    return isShutdown_ && alive_ == 0;
}

bool ThreadPoolImpl::AwaitTermination(UInt32 timeoutMs, bool interruptible)
{
    if (IsOwnThread()) {
        QV_THROW(DeadlockException, "Failed to wait for the executor: the calling thread is one of its own.");
    }
    const Deadline deadline = Deadline::After(timeoutMs);
    ThreadImpl& me = ThreadImpl::GetCurrent();
    lock_.Enter();
    for (UInt32 rest = timeoutMs; !(isShutdown_ && alive_ == 0); rest = GetRest(deadline)) {
        if (rest == 0) {
            lock_.Leave();
            return false;
        }
        Waiter waiter(me);
        if (forTermination_.Wait(lock_, waiter, rest, interruptible, [] {}) == MonitorState::WasInterrupted) {
            QV_THROW(InterruptedException, "Thread interrupted while waiting for the executor's end.");
        }
        lock_.Enter();
    }
    lock_.Leave();
    return true;
}

void ThreadPoolImpl::Close() noexcept
{
    // When the process ends, the threads may be gone without a word.
    if (IsProcessEnding()) {
        return;
    }
    Shutdown();
    const bool waits = !IsOwnThread();
    Array<Thread> threads;
    try {
        if (waits) {
            AwaitTermination(Timeout::Infinite, false);
        }
        {
            const FastLockGuard guard(lock_);
            threads.Swap(threads_);
        }
        for (Thread& thread : threads) {
            if (waits) {
                thread.Join(false);
            }
        }
    } catch (...) {
        // There is no memory for the calling thread's own object.
        for (UInt32 round = 0; waits && !IsTerminated(); ++round) {
            YieldWhileSpinning(round);
        }
        const FastLockGuard guard(lock_);
        threads.Swap(threads_);
    }
}

} // namespace QV::Impl
