/// The pool behind its handle. Counted: by the handle and by every thread.
///
/// One lock guards everything. A thread without work polls the queue for a moment, outside the lock, before
/// it sleeps. Whoever adds a task wakes a sleeper only when nobody polls and nobody is on the way from sleep;
/// and whoever leaves work behind when it stops polling wakes the next. So a stream of tasks costs no
/// wake-ups.
#pragma once

#include <QVRoot/Threading/ImplementationImpl.hpp>
#include <QVRoot/Threading/Thread.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>
#include <QVRoot/Threading/ThreadPool.hpp>

namespace QV::Impl {

class ThreadPoolImpl {
public:
    explicit ThreadPoolImpl(const ThreadPoolOptions& options, UInt32 threadCount);
    ~ThreadPoolImpl();

    void AddReference() noexcept { references_.Increment(); }
    void ReleaseReference() noexcept;

    void StartAll();
    /// The calling thread's share of the work.
    void RunWorker();

    /// How an attempt to queue a task ended.
    enum class Push { Accepted, Full, IsShutDown };
    /// On `Accepted` the task has been taken. Throws `InterruptedException`.
    Push TryPush(RunnableTask& task, UInt32 timeoutMs, bool interruptible);
    /// Queues the task, or answers false when there was no place in time. A thread of the pool runs the
    /// task rather than wait. Throws `InterruptedException`, and `RejectedExecutionException` after shutdown.
    bool PushOrRun(RunnableTask& task, UInt32 timeoutMs, bool interruptible);

    static void RunTask(const RunnableTask& task);

    void Shutdown();
    Array<RunnableTask> ShutdownNow();
    bool IsShutdown() const;
    bool IsTerminated() const;
    bool AwaitTermination(UInt32 timeoutMs, bool interruptible);
    /// Parts with the threads, and waits for their ends unless called on one of them.
    void Close() noexcept;

    const ThreadPoolOptions& GetOptions() const noexcept { return options_; }
    UInt32 GetThreadCount() const noexcept { return threadCount_; }
    UInt32 GetQueueLength() const noexcept { return count_.load(std::memory_order_relaxed); }

private:
    class Departure;

    UInt32 GetCount() const noexcept { return count_.load(std::memory_order_relaxed); }
    bool HasNews() const noexcept;
    bool IsOwnThread() const;
    Thread MakeThread(const UniString& name);
    void Put(RunnableTask& task) noexcept;
    RunnableTask Get() noexcept;
    bool Poll() noexcept;
    void WakeOne(Notification& notification);
    bool Next(RunnableTask& task, ThreadImpl& me);
    void Depart(bool isForced) noexcept;
    void Replace(const Thread& thread) noexcept;

    const ThreadPoolOptions options_;
    const UInt32 threadCount_;
    TSRefCounter references_{1};
    mutable FastLock lock_; ///< guards what follows; the counts are atomic for those who only look
    RunnableTask* queue_ = nullptr;
    UInt32 first_ = 0;
    std::atomic<UInt32> count_ = 0;
    std::atomic<bool> isShutdown_ = false;
    UInt32 searching_ = 0; ///< threads that poll or have been woken to look
    UInt32 alive_ = 0;
    Polling polling_;
    WaiterQueue idle_;
    WaiterQueue forPlaces_;
    WaiterQueue forTermination_;
    Array<Thread> threads_;
};

} // namespace QV::Impl
