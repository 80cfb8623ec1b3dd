/// What the library knows about the calling thread: one load each.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

class ThreadImpl;

/// Trivial and in the thread's static block, so that it outlives every destructor.
struct CurrentThreadRecord {
    ThreadImpl* thread;
    UInt32 id;
};
[[gnu::tls_model("initial-exec")]] extern constinit thread_local CurrentThreadRecord currentThread;

/// Asks the system and keeps the answer.
UInt32 FetchCurrentThreadId() noexcept;

/// The operating system's id of the calling thread, never 0.
inline UInt32 GetCurrentId() noexcept
{
    const UInt32 id = currentThread.id;
    if (id != 0) [[likely]] {
        return id;
    }
    return FetchCurrentThreadId();
}

/// The same without asking: 0 when the thread's first call has not come yet.
inline UInt32 GetCurrentIdIfKnown() noexcept
{
    return currentThread.id;
}

/// The calling thread's object; null when it has none yet.
inline ThreadImpl* GetCurrentThreadImpl() noexcept
{
    return currentThread.thread;
}
inline void SetCurrentThreadImpl(ThreadImpl* thread) noexcept
{
    currentThread.thread = thread;
}

} // namespace QV::Impl
