/// A thread of execution.
///
///     Thread reader(RunnableTask([&] { … }), "reader");
///     reader.Start();
///     reader.Join(false);
///
/// A `Thread` is a cheap handle: copies refer to the same thread. Threads that the library did not start, the
/// main thread too, get theirs when they ask for it or wait in a primitive of the library for the first time;
/// their state is `Wrapper` and their name is empty. A thread lives on without any handle.
///
/// Interrupting a thread ends the interruptible wait that it is in, or the next one, with an
/// `InterruptedException`. Canceling does the same and leaves a mark for good.
///
/// Threads: any. Errors: `IllegalThreadStateException` when the handle refers to no thread; what each member
/// says. Allocation: one block per thread.
#pragma once

#include <QVRoot/Containers/PagedArray.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Threading/Cancelable.hpp>
#include <QVRoot/Threading/Interruptible.hpp>
#include <QVRoot/Threading/Runnable.hpp>
#include <QVRoot/Threading/ThreadPriority.hpp>
#include <QVRoot/Threading/ThreadState.hpp>
#include <QVRoot/Threading/Waitable.hpp>

// A system header may have renamed our member by now.
#undef Yield

namespace QV {

namespace Impl {
class ThreadImpl;
}

class QV_EXPORT Thread final : public Waitable, public Cancelable {
public:
    /// Refers to no thread.
    Thread() noexcept;
    /// A thread that will run the task. The name is for people.
    Thread(const RunnableTask& task, const UniString& name);
    Thread(const Thread& other) noexcept;
    Thread(Thread&& other) noexcept;
    Thread& operator=(const Thread& other) noexcept;
    Thread& operator=(Thread&& other) noexcept;
    ~Thread() override;

    /// Starts the thread, once: `IllegalThreadStateException` when it is running or has run, or when the
    /// system has no thread to give; then it can be tried again. What the task throws goes to
    /// `ErrorReporting`.
    void Start();

    /// Wait until the thread has finished. A `Wrapper` is not waited for: the timed forms answer false at
    /// once. A thread that joins itself gets a `DeadlockException`.
    void Join(bool interruptible = false);
    bool Join(UInt32 timeoutMs, bool interruptible, UInt32* remaining = nullptr);
    bool Join(const Timeout& timeout, bool interruptible, UInt32* remaining = nullptr);

    void Wait(bool interruptible = false) override;
    bool Wait(UInt32 timeoutMs, bool interruptible, UInt32* remaining = nullptr) override;
    bool Wait(const Timeout& timeout, bool interruptible, UInt32* remaining = nullptr) override;

    void Interrupt();
    /// Whether an interrupt is pending.
    bool IsInterrupted() const;
    /// The same for the calling thread; the interrupt is taken thereby.
    static bool Interrupted();

    void Cancel() override;
    bool IsCanceled() const override;
    /// The same for the calling thread; when it is true, the interrupt that came with it is taken, so that
    /// cleaning up can wait.
    static bool Canceled();

    /// Of a running thread or a `Wrapper`. `IllegalArgumentException` for an index outside 1 to 10,
    /// `ThreadingException` when the system refuses; lack of privilege is no error.
    void SetPriority(const ThreadPriority& priority);
    /// The lowest index with the thread's priority: 1, 3, 5, 7 or 9.
    ThreadPriority GetPriority() const;

    UniString GetName() const;
    /// The operating system's id; 0 before the start. The system uses ids again.
    Int64 GetId() const;
    ThreadState GetState() const;
    /// Null for a `Wrapper`.
    RunnableTask GetTask() const;

    static Thread GetCurrent();
    static Thread GetMain();
    static bool IsMain() noexcept;
    /// Costs a load.
    static Int64 GetCurrentThreadId() noexcept;
    /// All threads that the library knows and that have not ended.
    static PagedArray<Thread, 8> GetThreads();

    /// A time of 0 gives the processor to another thread and ignores interrupts.
    static void Sleep(UInt32 milliseconds, bool interruptible = false);
    static void Sleep(const Timeout& timeout, bool interruptible = false);
    static void Yield() noexcept;

    /// Registers the object to be told when this thread is interrupted; null clears it. It is told on the
    /// interrupting thread with a lock held, so it must not wait for this thread. Not nestable:
    /// `SynchronizationException`.
    void BlockOn(Interruptible* interruptible);

    /// Throws, with the caller's location, when the handle refers to no thread.
    void CheckState(const char* file, UInt32 line) const;

    /// Whether both refer to the same thread.
    bool operator==(const Thread& other) const noexcept { return impl_ == other.impl_; }

private:
    explicit Thread(Impl::ThreadImpl* impl) noexcept;

    Impl::ThreadImpl* impl_;
};

} // namespace QV
