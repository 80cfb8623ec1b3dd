/// The thread behind its handles: task, state, monitor. Counted; the running thread itself holds a reference,
/// and so does the main thread's for ever.
#pragma once

#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Threading/Atomic.hpp>
#include <QVRoot/Threading/NativeThreadImpl.hpp>
#include <QVRoot/Threading/Runnable.hpp>
#include <QVRoot/Threading/ThreadMonitorImpl.hpp>
#include <QVRoot/Threading/ThreadPriority.hpp>
#include <QVRoot/Threading/ThreadState.hpp>
#include <QVRoot/Threading/ThreadValuesImpl.hpp>
#include <QVRoot/Threading/WaiterQueueImpl.hpp>

namespace QV::Impl {

/// Stands in the place of a thread's object once that thread is running its last destructors.
inline ThreadImpl* const EndedThread = reinterpret_cast<ThreadImpl*>(1);

class ThreadImpl {
public:
    /// With one reference, the caller's.
    static ThreadImpl* Make(const RunnableTask& task, const UniString& name);

    /// The calling thread's; made when there is none yet, which may fail for lack of memory. Must not be
    /// called inside a `FastLock`.
    static ThreadImpl& GetCurrent()
    {
        ThreadImpl* const thread = GetCurrentThreadImpl();
        if (thread != nullptr && thread != EndedThread) [[likely]] {
            return *thread;
        }
        return Adopt();
    }
    static ThreadImpl& GetMain();

    /// Called when a thread ends that the library knows, on that thread.
    static void EndCurrent(void* thread);

    void AddReference() noexcept { references_.Increment(); }
    void ReleaseReference() noexcept;

    ThreadMonitorImpl& GetMonitor() noexcept { return monitor_; }
    const ThreadMonitorImpl& GetMonitor() const noexcept { return monitor_; }
    const UniString& GetName() const noexcept { return name_; }
    const RunnableTask& GetTask() const noexcept { return task_; }
    ThreadState GetState() const;
    UInt32 GetId() const noexcept;

    /// For the thread itself only.
    ThreadValues& GetValues() noexcept { return values_; }

    void Start();
    bool Join(UInt32 milliseconds, bool interruptible);
    void SetPriority(ThreadPriority priority);
    ThreadPriority GetPriority() const;

private:
    friend class ThreadList;
    friend void RunStartedThread(ThreadImpl* thread);

    ThreadImpl(const RunnableTask& task, const UniString& name);
    ~ThreadImpl();

    static ThreadImpl& Adopt();

    void SetUpWrapper(UInt32 id) noexcept;
    bool StartNative();
    void RunTask();
    void Finish() noexcept;
    void PublishId() noexcept;
    bool HasPriority() const noexcept { return !hasEnded_ && (state_.IsRunning() || state_.IsWrapper()); }

    ThreadMonitorImpl monitor_;
    TSRefCounter references_{1};
    /// 0: not known; `IdIsAwaited`: somebody sleeps here until the thread has told it.
    mutable std::atomic<UInt32> id_ = 0;
    ThreadValues values_;
    mutable FastLock lock_; ///< guards what follows, but for name and task, which do not change
    ThreadState state_;
    bool hasEnded_ = false; ///< of a wrapper: its thread is gone
    Int32 nativePriority_ = 0;
    NativeThread native_;
    WaiterQueue joiners_;
    UniString name_;
    RunnableTask task_;
    ThreadImpl* previousInList_ = nullptr;
    ThreadImpl* nextInList_ = nullptr;
    bool isListed_ = false;
};

} // namespace QV::Impl
