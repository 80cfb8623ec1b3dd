/// Faults of threads, tasks and synchronization.
///
/// Every class has the four constructors of `QV_EXCEPTION_MEMBERS`: a message as `UniString` or as
/// `const char*`, source file and line, with or without a cause. Its code is fixed; every edge of the tree is
/// a virtual base, so that a class is caught through each of its parents.
#pragma once

#include <QVRoot/Exceptions/QVException.hpp>

namespace QV {

/// Threads, tasks and synchronization.
class QV_EXPORT ThreadingException : public virtual QVException {
    QV_EXCEPTION_MEMBERS(ThreadingException)
};

/// Locks, conditions, semaphores and barriers.
class QV_EXPORT SynchronizationException : public virtual ThreadingException {
    QV_EXCEPTION_MEMBERS(SynchronizationException)
};

/// The barrier was broken while a party waited.
class QV_EXPORT BrokenBarrierException : public virtual SynchronizationException {
    QV_EXCEPTION_MEMBERS(BrokenBarrierException)
};

/// The thread would wait for itself.
class QV_EXPORT DeadlockException : public virtual SynchronizationException {
    QV_EXCEPTION_MEMBERS(DeadlockException)
};

/// The thread does not own what it gives back.
class QV_EXPORT IllegalMonitorStateException : public virtual SynchronizationException {
    QV_EXCEPTION_MEMBERS(IllegalMonitorStateException)
};

/// The thread was interrupted while it waited.
class QV_EXPORT InterruptedException : public virtual SynchronizationException {
    QV_EXCEPTION_MEMBERS(InterruptedException)
};

/// The time has run out.
class QV_EXPORT TimeoutException : public virtual SynchronizationException {
    QV_EXCEPTION_MEMBERS(TimeoutException)
};

/// The task was canceled.
class QV_EXPORT CancellationException : public virtual ThreadingException {
    QV_EXCEPTION_MEMBERS(CancellationException)
};

/// An object is not of the expected class.
class QV_EXPORT ClassCastException : public virtual ThreadingException {
    QV_EXCEPTION_MEMBERS(ClassCastException)
};

/// A task ended with an exception, which is the cause.
class QV_EXPORT ExecutionException : public virtual ThreadingException {
    QV_EXCEPTION_MEMBERS(ExecutionException)
};

/// The thread is in a state that does not allow the operation.
class QV_EXPORT IllegalThreadStateException : public virtual ThreadingException {
    QV_EXCEPTION_MEMBERS(IllegalThreadStateException)
};

/// An executor does not take the task.
class QV_EXPORT RejectedExecutionException : public virtual ThreadingException {
    QV_EXCEPTION_MEMBERS(RejectedExecutionException)
};

} // namespace QV
